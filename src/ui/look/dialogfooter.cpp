#include "ui/look/dialogfooter.h"

#include "ui/look/colours.h"
#include "ui/look/metrics.h"
#include "ui/look/velmarstyle.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QPushButton>

namespace {

QPushButton *footerButton(const QString &text, QWidget *parent)
{
    auto *button = new QPushButton(text, parent);
    button->setAutoDefault(false); // else the accent would wander with the focus
    return button;
}

} // namespace

DialogFooter::DialogFooter(const QString &verb, QWidget *parent)
    : QWidget(parent)
    , m_layout(new QHBoxLayout(this))
    , m_cancel(footerButton(tr("Cancel"), this))
    , m_default(footerButton(verb, this))
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_default->setDefault(true);
    m_layout->setContentsMargins(space::card + 4, space::group, space::card + 4, space::group);
    m_layout->setSpacing(space::between);
    m_layout->addStretch(1);
    m_layout->addWidget(m_cancel);
    m_layout->addWidget(m_default);
    connect(m_default, &QPushButton::clicked, this, &DialogFooter::accepted);
    connect(m_cancel, &QPushButton::clicked, this, &DialogFooter::rejected);
}

QPushButton *DialogFooter::addButton(const QString &text)
{
    QPushButton *button = footerButton(text, this);
    m_layout->insertWidget(m_layout->indexOf(m_cancel), button);
    setTabOrder(button, m_cancel);
    return button;
}

QPushButton *DialogFooter::addSecondary(const QString &text)
{
    QPushButton *button = footerButton(text, this);
    setButtonKind(button, ButtonKind::Ghost);
    m_layout->insertWidget(m_leading++, button);
    return button;
}

QPushButton *DialogFooter::addDangerous(const QString &text)
{
    QPushButton *button = footerButton(text, this);
    setButtonKind(button, ButtonKind::Dangerous);
    m_layout->insertWidget(m_leading++, button);
    return button;
}

void DialogFooter::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(QRect(0, 0, width(), 1), colour(Role::Line));
}
