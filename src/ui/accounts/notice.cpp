#include "ui/accounts/notice.h"

#include "ui/look/barkinds.h"
#include "ui/look/metrics.h"
#include "ui/look/signlabel.h"
#include "ui/look/styleparts.h"
#include "ui/look/velmarstyle.h"

#include <QAccessible>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>

using namespace Qt::StringLiterals;

Notice::Notice(QWidget *parent)
    : Panel(Role::InformationBar, parent)
    , m_sign(new SignLabel({}, Role::Text2, IconUse::Row))
    , m_text(new QLabel)
    , m_button(new QPushButton)
{
    m_text->setTextFormat(Qt::PlainText);
    m_text->setWordWrap(true);
    m_button->setObjectName(u"noticeButton"_s);
    m_button->setAutoDefault(false);
    setButtonKind(m_button, ButtonKind::Ghost);
    auto *layout = new QGridLayout(this);
    layout->setContentsMargins(space::group, space::between, space::group, space::between);
    layout->setHorizontalSpacing(space::between);
    layout->setVerticalSpacing(space::inner);
    layout->setColumnStretch(1, 1);
    layout->addWidget(m_sign, 0, 0, Qt::AlignTop);
    layout->addWidget(m_text, 0, 1);
    auto *below = new QHBoxLayout; // its words in line with the others
    below->addSpacing(m_sign->sizeHint().width() + space::between - kGhostPadding);
    below->addWidget(m_button);
    below->addStretch(1);
    layout->addLayout(below, 1, 0, 1, 2);
    connect(m_button, &QPushButton::clicked, this, &Notice::clicked);
    hide();
}

void Notice::say(MessageBar::Kind kind, const QString &text, const QString &button)
{
    const BarKindRow &row = kBarKinds[std::size_t(kind)];
    setGround(row.ground);
    m_sign->setSign(QLatin1String(row.sign), row.colour);
    m_text->setText(text);
    m_button->setText(button);
    m_button->setVisible(!button.isEmpty());
    setAccessibleName(text);
    setVisible(!text.isEmpty());
    if (text.isEmpty())
        return;
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

QString Notice::text() const
{
    return m_text->text();
}
