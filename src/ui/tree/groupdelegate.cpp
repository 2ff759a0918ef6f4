#include "ui/tree/groupdelegate.h"

#include "ui/look/colours.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/rows.h"
#include "ui/look/styleparts.h"
#include "ui/tree/grouptreemodel.h"

#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

constexpr int kIndent = 18;
constexpr int kEdge = 20;         ///< icons and headings begin here
constexpr int kTrailingEdge = 16; ///< counts end here

bool isOpen(const QStyleOptionViewItem &option)
{
    return option.state & QStyle::State_Open;
}

bool isSelected(const QStyleOptionViewItem &option)
{
    return option.state & QStyle::State_Selected;
}

/// The dotted frame where the keyboard is without anything being chosen, as wide as a selected row.
void paintCursor(QPainter *painter, const QStyleOptionViewItem &option)
{
    QStyleOptionViewItem inset = option;
    inset.rect.adjust(space::between, 0, -space::between, 0);
    paintRowFocus(painter, inset, option.widget);
}

void paintText(QPainter *painter, const QStyleOptionViewItem &option, const QRect &rect, const QString &text,
               const QFont &font, Role role, Qt::TextElideMode elide = Qt::ElideRight)
{
    painter->setFont(font);
    painter->setPen(colour(role));
    const Qt::Alignment side = QStyle::visualAlignment(option.direction, Qt::AlignLeading);
    painter->drawText(QStyle::visualRect(option.direction, option.rect, rect),
                      int(side) | Qt::AlignVCenter | Qt::TextSingleLine,
                      QFontMetrics(font).elidedText(text, elide, rect.width()));
}

/// At the end of @p rect; returns where the text before it must end.
int paintCount(QPainter *painter, const QStyleOptionViewItem &option, const QRect &rect, const QString &count,
               const QFont &font, Role role)
{
    const int width = QFontMetrics(font).horizontalAdvance(count) + 1;
    const QRect place(rect.right() - width + 1, rect.y(), width, rect.height());
    paintText(painter, option, place, count, font, role);
    return place.x() - space::between;
}

} // namespace

GroupDelegate::GroupDelegate(const GroupTreeModel &model, QObject *parent)
    : QStyledItemDelegate(parent)
    , m_model(model)
{}

QSize GroupDelegate::sizeHint(const QStyleOptionViewItem &, const QModelIndex &index) const
{
    const GroupRow kind = m_model.kindOf(index);
    const bool isHead = kind == GroupRow::Section || kind == GroupRow::HiddenLine;
    return {0, rowHeight(isHead ? RowKind::TreeSection : RowKind::Tree)};
}

QRect GroupDelegate::chevronRect(const QRect &rect, int depth, Qt::LayoutDirection direction) const
{
    const int width = kEdge - space::inner / 2;
    return QStyle::visualRect(direction, rect,
                              QRect(rect.x() + 1 + depth * kIndent, rect.y(), width, rect.height()));
}

void GroupDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const
{
    painter->save();
    switch (m_model.kindOf(index)) {
    case GroupRow::Section: paintSection(painter, option, index); break;
    case GroupRow::HiddenLine: paintHiddenLine(painter, option, index); break;
    case GroupRow::Group:
    case GroupRow::Flagged: paintGroup(painter, option, index); break;
    }
    painter->restore();
}

void GroupDelegate::paintFold(QPainter *painter, const QStyleOptionViewItem &option, int depth) const
{
    const Qt::ArrowType folded = option.direction == Qt::RightToLeft ? Qt::LeftArrow : Qt::RightArrow;
    paintChevron(painter, chevronRect(option.rect, depth, option.direction),
                 isOpen(option) ? Qt::DownArrow : folded, colour(Role::Text3),
                 iconSize(IconUse::Row) * 3 / 4);
}

/// An open one needs no sign until somebody is about to fold it.
void GroupDelegate::paintSection(QPainter *painter, const QStyleOptionViewItem &option,
                                 const QModelIndex &index) const
{
    QStyleOptionViewItem words = option;
    words.rect.adjust(0, space::between, 0, 0);
    paintCursor(painter, words);
    const QStyle::State touched = option.state & (QStyle::State_MouseOver | QStyle::State_HasFocus);
    if (!isOpen(option) || touched)
        paintFold(painter, words, 0);
    QRect rest = words.rect.adjusted(kEdge, 0, -kTrailingEdge, 0);
    const QFont font = fontScaled(option.font, scale::section, QFont::DemiBold);
    const GroupTreeModel::Look look = m_model.lookOf(index, !isOpen(option));
    if (!look.count.isEmpty())
        rest.setRight(paintCount(painter, words, rest, look.count, font, Role::Link));
    paintText(painter, words, rest, look.name, font, Role::Text2);
}

void GroupDelegate::paintHiddenLine(QPainter *painter, const QStyleOptionViewItem &option,
                                    const QModelIndex &index) const
{
    QStyleOptionViewItem words = option;
    words.rect.adjust(0, space::between, 0, 0);
    paintCursor(painter, words);
    const bool touched = option.state & QStyle::State_MouseOver;
    paintText(painter, words, words.rect.adjusted(kEdge, 0, -kTrailingEdge, 0), index.data().toString(),
              fontScaled(option.font, scale::section), touched ? Role::Link : Role::Text3);
}

void GroupDelegate::paintGroup(QPainter *painter, const QStyleOptionViewItem &option,
                               const QModelIndex &index) const
{
    const int depth = m_model.depthOf(index);
    const bool hasBelow = m_model.rowCount(index) > 0;
    const bool selected = isSelected(option);
    const GroupTreeModel::Look look = m_model.lookOf(index, hasBelow && !isOpen(option));
    paintRowState(painter, option, option.widget);
    paintCursor(painter, option);
    if (hasBelow)
        paintFold(painter, option, depth);

    const int size = iconSize(IconUse::Row);
    const auto visual = [&](const QRect &rect) {
        return QStyle::visualRect(option.direction, option.rect, rect);
    };
    const QRect icon(option.rect.x() + kEdge + depth * kIndent, option.rect.y(), size, option.rect.height());
    paintIcon(painter, visual(icon), look.icon, colour(selected ? Role::Link : Role::Text2),
              option.direction);

    QRect rest(icon.right() + 1 + space::between, icon.y(), 0, icon.height());
    rest.setRight(option.rect.right() - kTrailingEdge);
    if (look.hasFailed) {
        const QRect sign(rest.right() - size + 1, rest.y(), size, rest.height());
        paintIcon(painter, visual(sign), u"error"_s, colour(Role::Error), option.direction);
        rest.setRight(sign.x() - space::between);
    } else if (!look.count.isEmpty()) {
        const QFont font =
            fontScaled(option.font, scale::section, look.calls ? QFont::DemiBold : QFont::Normal);
        const Role calm = selected ? Role::Text2 : Role::Text3;
        const Role calling = selected ? Role::Text : Role::Link;
        rest.setRight(paintCount(painter, option, rest, look.count, font, look.calls ? calling : calm));
    }
    paintText(painter, option, rest, look.name,
              fontScaled(option.font, 1, look.isBold ? QFont::DemiBold : QFont::Normal), Role::Text,
              m_model.hasFullNames() ? Qt::ElideMiddle : Qt::ElideRight);
}
