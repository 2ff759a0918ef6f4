#include "ui/identities/managerdelegate.h"

#include "ui/look/colours.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/rows.h"

#include <QPainter>

QSize ManagerDelegate::sizeHint(const QStyleOptionViewItem &, const QModelIndex &) const
{
    return {0, rowHeight(RowKind::TwoLines)};
}

void ManagerDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                            const QModelIndex &index) const
{
    painter->save();
    paintRowState(painter, option, option.widget);
    paintRowFocus(painter, option, option.widget);
    const QRect row = option.rect;
    const auto place = [&option, &row](const QRect &part) {
        return QStyle::visualRect(option.direction, row, part);
    };
    const int size = iconSize(IconUse::Bar);
    paintIcon(painter, place({row.x() + space::card, row.y(), size, row.height()}),
              index.data(ManagerIcon).toString(), colour(Role::Text2), option.direction);
    const auto write = [&](const QRect &part, const QFont &font, Role role, const QString &text,
                           Qt::Alignment side) {
        painter->setFont(font);
        painter->setPen(colour(role));
        painter->drawText(place(part),
                          int(QStyle::visualAlignment(option.direction, side)) | Qt::AlignVCenter,
                          QFontMetrics(font).elidedText(text, Qt::ElideRight, part.width()));
    };
    const int left = row.x() + space::card + size + space::group;
    const int width = row.right() - space::group - left;
    const int top = row.y() + (row.height() - 2 * textHeight() - space::inner) / 2;
    const QString state = index.data(ManagerState).toString();
    const QFont small = fontScaled(scale::small);
    const int end = state.isEmpty()
                        ? 0
                        : std::min(QFontMetrics(small).horizontalAdvance(state) + space::inner, width / 2);
    write({left, top, width - end - space::group, textHeight()}, fontScaled(1, QFont::DemiBold), Role::Text,
          index.data(Qt::DisplayRole).toString(), Qt::AlignLeading);
    write({left + width - end, top, end, textHeight()}, small, Role::Text2, state, Qt::AlignTrailing);
    write({left, top + textHeight() + space::inner, width, textHeight()}, option.font, Role::Text2,
          index.data(ManagerSummary).toString(), Qt::AlignLeading);
    painter->restore();
}
