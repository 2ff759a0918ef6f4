#include "ui/look/messagebar.h"
#include "ui/look/barkinds.h"

#include "ui/look/elidedlabel.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"
#include "ui/look/toolbuttons.h"
#include "ui/look/velmarstyle.h"

#include <QAccessible>
#include <QCheckBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {

const BarKindRow &rowOf(MessageBar::Kind kind)
{
    return kBarKinds[std::size_t(kind)];
}

constexpr qreal kBorderStrength = 60 / 255.0;

QPushButton *textButton(QWidget *parent)
{
    auto *button = new QPushButton(parent);
    setButtonKind(button, ButtonKind::Ghost);
    button->setAutoDefault(false);
    button->setFocusPolicy(Qt::TabFocus);
    button->hide();
    return button;
}

} // namespace

MessageBar::MessageBar(QWidget *parent)
    : QWidget(parent)
    , m_sign(new QWidget(this))
    , m_text(new ElidedLabel({}, this))
    , m_tick(new QCheckBox(this))
    , m_first(textButton(this))
    , m_second(textButton(this))
    , m_close(newToolButton(u"close"_s, tr("Close"), this))
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_first->setObjectName(u"first"_s);
    m_second->setObjectName(u"second"_s);
    m_tick->setObjectName(u"tick"_s);
    m_tick->hide();
    m_close->setObjectName(u"close"_s);
    m_close->setFocusPolicy(Qt::TabFocus);
    auto *layout = new QHBoxLayout(this);
    layout->setSpacing(0);
    layout->addWidget(m_sign);
    layout->addWidget(m_text, 1);
    layout->addSpacing(space::between);
    layout->addWidget(m_tick);
    layout->addWidget(m_first);
    layout->addWidget(m_second);
    layout->addSpacing(space::between);
    layout->addWidget(m_close);
    arrange();
    connect(m_first, &QPushButton::clicked, this, &MessageBar::firstClicked);
    connect(m_second, &QPushButton::clicked, this, &MessageBar::secondClicked);
    connect(m_tick, &QCheckBox::clicked, this, &MessageBar::ticked);
    connect(m_close, &QToolButton::clicked, this, [this] {
        hide();
        emit closed();
    });
    hide();
}

void MessageBar::showMessage(Kind kind, const QString &text, const QString &first, const QString &second)
{
    m_kind = kind;
    m_text->setText(text);
    m_first->setText(first);
    m_first->setVisible(!first.isEmpty());
    m_second->setText(second);
    m_second->setVisible(!second.isEmpty());
    setAccessibleName(m_text->text());
    m_tick->setText({});
    fitTick();
    show();
    update();
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void MessageBar::offerTick(const QString &text)
{
    m_tick->setText(text);
    m_tick->setChecked(false);
    fitTick();
}

/// What the bar says goes before the box.
void MessageBar::fitTick()
{
    const int others = m_sign->width() + m_text->sizeHint().width() + m_first->sizeHint().width() +
                       m_second->sizeHint().width() + m_close->width() + 2 * space::dialog;
    m_tick->setVisible(!m_tick->text().isEmpty() && others + m_tick->sizeHint().width() <= width());
}

void MessageBar::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    fitTick();
}

void MessageBar::changeText(const QString &text)
{
    m_text->setText(text);
    setAccessibleName(m_text->text());
}

QString MessageBar::text() const
{
    return m_text->text();
}

QSize MessageBar::sizeHint() const
{
    return {QWidget::sizeHint().width(), hintHeight()};
}

QSize MessageBar::minimumSizeHint() const
{
    return {QWidget::minimumSizeHint().width(), hintHeight()};
}

int MessageBar::hintHeight() const
{
    return messageBarHeight();
}

void MessageBar::arrange()
{
    const int size = iconSize(IconUse::Row);
    m_sign->setFixedWidth(size + space::group + space::between + 2);
    m_close->setIconSize({size, size});
    layout()->setContentsMargins(0, 5, 5, 5);
}

void MessageBar::paintEvent(QPaintEvent *)
{
    const BarKindRow &row = rowOf(m_kind);
    QPainter painter(this);
    const QColor fill = colour(row.ground);
    paintPanel(&painter, rect(), radius::field, fill,
               isHighContrast(currentScheme()) ? colour(Role::Line)
                                               : blended(row.colour, fill, kBorderStrength));
    const int size = iconSize(IconUse::Row);
    const QRect place(space::group, 0, size + 1, height());
    paintIcon(&painter,
              QStyle::alignedRect(layoutDirection(), Qt::AlignCenter, QSize(size, size),
                                  QStyle::visualRect(layoutDirection(), rect(), place)),
              QLatin1StringView(row.sign), colour(row.colour), layoutDirection());
}

void MessageBar::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange && m_close)
        arrange();
    QWidget::changeEvent(event);
}
