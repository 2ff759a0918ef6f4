#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/rows.h"
#include "ui/look/styleparts.h"
#include "ui/look/velmarstyle.h"

#include <QAbstractItemView>
#include <QHeaderView>
#include <QPainter>

#include <algorithm>

namespace {

constexpr int kHeaderLeading = 6;
constexpr int kHeaderTrailing = 12;

QFont headerFont()
{
    return fontScaled(scale::small);
}

bool isSorted(const QStyleOptionHeader *option)
{
    return option->sortIndicator != QStyleOptionHeader::None;
}

} // namespace

void drawHeaderSection(const QStyleOptionHeader *option, QPainter *painter, const QWidget *widget)
{
    const bool touched = isHovered(option) && qobject_cast<const QHeaderView *>(widget) &&
                         static_cast<const QHeaderView *>(widget)->sectionsClickable();
    painter->fillRect(option->rect, touched ? colour(isPressed(option) ? Role::Pressed : Role::Hover)
                                            : option->palette.color(QPalette::Base));
    const QColor ink = colour(isEnabled(option) ? Role::Text2 : Role::Disabled);
    const int arrow = isSorted(option) ? iconSize(IconUse::Row) : 0;
    const bool atEnd = option->textAlignment & Qt::AlignRight;
    QRect line = QStyle::visualRect(option->direction, option->rect,
                                    option->rect.adjusted(kHeaderLeading, 0, -kHeaderTrailing, 0));
    if (option->orientation == Qt::Vertical)
        line = option->rect.adjusted(kHeaderLeading, 0, -kHeaderLeading, 0);
    if (!option->icon.isNull() && option->text.isEmpty()) {
        paintIcon(painter, option->rect, option->icon, iconSize(IconUse::Row), ink, option->direction);
        return;
    }
    painter->save();
    painter->setFont(headerFont());
    painter->setPen(ink);
    const QFontMetrics metrics(headerFont());
    const int room = line.width() - (arrow ? arrow + space::inner : 0);
    const QString text = metrics.elidedText(option->text, Qt::ElideRight, std::max(0, room));
    const Qt::Alignment side = option->textAlignment & Qt::AlignHCenter ? Qt::AlignHCenter
                               : atEnd                                  ? Qt::AlignRight
                                                                        : Qt::AlignLeft;
    painter->drawText(
        line, int(QStyle::visualAlignment(option->direction, side)) | Qt::AlignVCenter | Qt::TextSingleLine,
        text);
    painter->restore();
    if (!arrow)
        return;
    const int beside = metrics.horizontalAdvance(text) + space::inner;
    const QRect rest = QStyle::visualRect(
        option->direction, line, atEnd ? line.adjusted(0, 0, -beside, 0) : line.adjusted(beside, 0, 0, 0));
    // Qt names the arrow after the order of old: "up" is descending, which is the newest or the largest first
    paintChevron(painter, atEnd ? trailing(option, rest, arrow) : leading(option, rest, arrow),
                 option->sortIndicator == QStyleOptionHeader::SortUp ? Qt::DownArrow : Qt::UpArrow, ink,
                 iconSize(IconUse::Row) - 2);
}

QSize headerSectionSize(const QStyleOptionHeader *option)
{
    const int arrow = isSorted(option) ? iconSize(IconUse::Row) + space::inner : 0;
    const int words = QFontMetrics(headerFont()).horizontalAdvance(option->text);
    const int icon = option->icon.isNull() ? 0 : iconSize(IconUse::Row);
    return {kHeaderLeading + std::max(words, icon) + arrow + kHeaderTrailing, columnHeaderHeight()};
}

void drawRow(const QStyleOptionViewItem *option, QPainter *painter, const QWidget *widget)
{
    if (option->backgroundBrush.style() != Qt::NoBrush) {
        painter->fillRect(option->rect, option->backgroundBrush);
    } else if (option->features & QStyleOptionViewItem::Alternate) {
        painter->fillRect(option->rect, option->palette.brush(QPalette::AlternateBase));
    }
    paintRowState(painter, *option, widget);
}

void drawBranch(const QStyleOption *option, QPainter *painter)
{
    if (!(option->state & QStyle::State_Children))
        return;
    const bool open = option->state & QStyle::State_Open;
    const Qt::ArrowType arrow = open                                   ? Qt::DownArrow
                                : option->direction == Qt::RightToLeft ? Qt::LeftArrow
                                                                       : Qt::RightArrow;
    paintChevron(painter, option->rect, arrow, colour(Role::Text3), iconSize(IconUse::Row) * 3 / 4);
}

void drawFocusFrame(const QStyleOptionFocusRect *option, QPainter *painter, const QWidget *widget)
{
    if (!qobject_cast<const QAbstractItemView *>(widget))
        return paintFocusRing(painter, option->rect.adjusted(-2, 0, 2, 0), radius::box); // off the text
    if (option->state & QStyle::State_Selected)
        return; // the bar is the sign there
    painter->save();
    painter->setPen(QPen(colour(Role::Text2), 1, Qt::DotLine));
    painter->setBrush(Qt::NoBrush);
    painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
    painter->restore();
}

void drawDropIndicator(const QStyleOption *option, QPainter *painter)
{
    const QRect rect = option->rect;
    if (rect.isNull())
        return;
    if (rect.height() <= 1)
        painter->fillRect(QRect(rect.x(), rect.y() - 1, rect.width(), 2), colour(Role::Accent));
    else
        paintFocusRing(painter, rect, radius::field);
}
