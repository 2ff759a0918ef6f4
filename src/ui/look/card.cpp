#include "ui/look/card.h"

#include "ui/look/colours.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"

#include <QKeyEvent>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace {
constexpr int kChevronRoom = 24;
}

Card::Card(const QString &icon, const QString &title, const QString &line, QWidget *parent)
    : QAbstractButton(parent)
    , m_icon(icon)
    , m_line(line)
{
    setText(title);
    setAccessibleName(title);
    setAccessibleDescription(line);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
}

void Card::setFirst(bool first)
{
    m_first = first;
    update();
}

QSize Card::sizeHint() const
{
    return {columnWidth(80), 2 * textHeight() + space::inner + 2 * space::group};
}

QSize Card::minimumSizeHint() const
{
    return {columnWidth(30), sizeHint().height()};
}

/// Enter does what the card says; in a dialog it would press the default button instead.
void Card::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        click();
    else
        QAbstractButton::keyPressEvent(event);
}

void Card::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool hovered = underMouse() || isDown();
    const Role ground = m_first ? Role::InformationBar : hovered ? Role::Hover : Role::Card;
    paintPanel(&painter, rect(), radius::card, colour(ground), colour(m_first ? Role::Accent : Role::Line));
    if (hasFocus())
        paintFocusRing(&painter, rect(), radius::card);
    const auto visual = [this](const QRect &part) {
        return QStyle::visualRect(layoutDirection(), rect(), part);
    };
    const int iconRoom = space::card + ::iconSize(IconUse::Card) + space::card;
    paintIcon(&painter, visual({space::card, 0, ::iconSize(IconUse::Card), height()}), m_icon,
              colour(m_first ? Role::Accent : Role::Text2), layoutDirection());
    const QRect words(iconRoom, 0, width() - iconRoom - kChevronRoom - space::card, height());
    const int top = (height() - 2 * textHeight() - space::inner) / 2;
    const int side = int(QStyle::visualAlignment(layoutDirection(), Qt::AlignLeading)) | Qt::AlignVCenter;
    const auto line = [&](int y, const QFont &font, Role role, const QString &text) {
        painter.setFont(font);
        painter.setPen(colour(role));
        painter.drawText(visual({words.x(), y, words.width(), textHeight()}), side,
                         QFontMetrics(font).elidedText(text, Qt::ElideRight, words.width()));
    };
    line(top, fontScaled(1, QFont::DemiBold), Role::Text, text());
    line(top + textHeight() + space::inner, fontScaled(1), Role::Text2, m_line);
    const QRect chevron =
        visual({width() - space::card - kChevronRoom / 2 - space::inner, 0, kChevronRoom / 2, height()});
    paintChevron(&painter, chevron, layoutDirection() == Qt::RightToLeft ? Qt::LeftArrow : Qt::RightArrow,
                 colour(Role::Text2), ::iconSize(IconUse::Row) - 2);
}

void Card::enterEvent(QEnterEvent *event)
{
    update();
    QAbstractButton::enterEvent(event);
}

void Card::leaveEvent(QEvent *event)
{
    update();
    QAbstractButton::leaveEvent(event);
}
