#include "ui/tree/grouptree.h"

#include "ui/look/colours.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/rows.h"
#include "ui/look/styleparts.h"
#include "ui/look/velmarstyle.h"

#include <QContextMenuEvent>
#include <QDragMoveEvent>
#include <QMouseEvent>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

constexpr int kIndent = 18;
constexpr int kEdge = 20;         ///< icons and section titles begin here
constexpr int kTrailingEdge = 27; ///< counts end here
constexpr int kOpenAfter = 700;   ///< milliseconds over a folded group while dragging

} // namespace

GroupDelegate::GroupDelegate(const GroupTreeModel &model, QObject *parent)
    : QStyledItemDelegate(parent)
    , m_model(model)
{}

QSize GroupDelegate::sizeHint(const QStyleOptionViewItem &, const QModelIndex &index) const
{
    return {0, rowHeight(m_model.groupAt(index) ? RowKind::Tree : RowKind::TreeSection)};
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
    if (m_model.groupAt(index))
        paintGroup(painter, option, index);
    else
        paintSection(painter, option, index);
    painter->restore();
}

void GroupDelegate::paintSection(QPainter *painter, const QStyleOptionViewItem &option,
                                 const QModelIndex &index) const
{
    painter->setFont(fontScaled(option.font, scale::section, QFont::DemiBold));
    painter->setPen(colour(Role::Text2));
    const QRect text = option.rect.adjusted(kEdge, space::inner, -kEdge, 0);
    painter->drawText(QStyle::visualRect(option.direction, option.rect, text),
                      int(QStyle::visualAlignment(option.direction, Qt::AlignLeading)) | Qt::AlignVCenter,
                      index.data().toString());
}

void GroupDelegate::paintGroup(QPainter *painter, const QStyleOptionViewItem &option,
                               const QModelIndex &index) const
{
    Group &group = *m_model.groupAt(index);
    const int depth = m_model.depthOf(index);
    const bool selected = option.state & QStyle::State_Selected;
    const bool calls = GroupTreeModel::countCalls(group);
    paintRowState(painter, option, option.widget);
    paintRowFocus(painter, option, option.widget);
    if (m_model.rowCount(index) > 0) {
        const Qt::ArrowType folded = option.direction == Qt::RightToLeft ? Qt::LeftArrow : Qt::RightArrow;
        paintChevron(painter, chevronRect(option.rect, depth, option.direction),
                     option.state & QStyle::State_Open ? Qt::DownArrow : folded, colour(Role::Text3),
                     iconSize(IconUse::Row) * 3 / 4);
    }
    const int size = iconSize(IconUse::Row);
    const auto visual = [&](const QRect &rect) {
        return QStyle::visualRect(option.direction, option.rect, rect);
    };
    QRect icon(option.rect.x() + kEdge + depth * kIndent, option.rect.y(), size, option.rect.height());
    paintIcon(painter, visual(icon), GroupTreeModel::iconOf(group),
              colour(selected ? Role::Link : Role::Text2), option.direction);

    QRect rest(icon.right() + 1 + space::between, icon.y(), 0, icon.height());
    rest.setRight(option.rect.right() - kTrailingEdge);
    if (group.needsRepair()) {
        const QRect sign(rest.right() - size + 1, rest.y(), size, rest.height());
        paintIcon(painter, visual(sign), u"error"_s, colour(Role::Error), option.direction);
        rest.setRight(sign.x() - space::between);
    } else if (const QString count = GroupTreeModel::countText(group); !count.isEmpty()) {
        const QFont font = fontScaled(option.font, scale::section, calls ? QFont::DemiBold : QFont::Normal);
        painter->setFont(font);
        painter->setPen(colour(calls ? (selected ? Role::Text : Role::Link) : Role::Text3));
        const int width = QFontMetrics(font).horizontalAdvance(count) + 1;
        const QRect place(rest.right() - width + 1, rest.y(), width, rest.height());
        painter->drawText(visual(place), Qt::AlignCenter, count);
        rest.setRight(place.x() - space::between);
    }
    const QFont font = fontScaled(option.font, 1, calls ? QFont::DemiBold : QFont::Normal);
    painter->setFont(font);
    painter->setPen(colour(Role::Text));
    painter->drawText(visual(rest),
                      int(QStyle::visualAlignment(option.direction, Qt::AlignLeading)) | Qt::AlignVCenter,
                      QFontMetrics(font).elidedText(group.name(), Qt::ElideRight, rest.width()));
}

GroupTree::GroupTree(GroupStore &store, QWidget *parent)
    : QTreeView(parent)
    , m_model(store)
    , m_delegate(m_model)
{
    setObjectName(u"groupTree"_s);
    setAccessibleName(u"Groups"_s);
    setModel(&m_model);
    setItemDelegate(&m_delegate);
    setSurface(this, Role::Sidebar);
    setRoundedRows(this);
    setHeaderHidden(true);
    setIndentation(0);
    setRootIsDecorated(false);
    setExpandsOnDoubleClick(false);
    setFrameShape(QFrame::NoFrame);
    setMouseTracking(true);
    setSelectionMode(SingleSelection);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(ScrollPerPixel);
    setDragDropMode(DropOnly);
    setAutoExpandDelay(kOpenAfter);
    setTabKeyNavigation(false);
    connect(&m_model, &QAbstractItemModel::modelReset, this, &GroupTree::restore);
    connect(&m_model, &GroupTreeModel::messagesDropped, this, &GroupTree::messagesDropped);
    connect(this, &QTreeView::collapsed, this, [this](const QModelIndex &index) { remember(index, true); });
    connect(this, &QTreeView::expanded, this, [this](const QModelIndex &index) { remember(index, false); });
    restore();
}

Group *GroupTree::current() const
{
    return m_model.groupAt(currentIndex());
}

void GroupTree::setCurrent(int group)
{
    const QModelIndex index = m_model.indexOf(group);
    if (index.isValid())
        setCurrentIndex(index);
}

void GroupTree::setCollapsed(const QList<int> &groups)
{
    m_collapsed = groups;
    restore();
}

void GroupTree::restore()
{
    m_restoring = true;
    expandAsRemembered({});
    const QModelIndex index = m_model.indexOf(m_current);
    if (index.isValid())
        setCurrentIndex(index);
    m_restoring = false;
    if (!index.isValid() && m_current != 0) {
        m_current = 0;
        emit currentGroupChanged(nullptr);
    }
}

/// Sections are always open.
void GroupTree::expandAsRemembered(const QModelIndex &parent)
{
    for (int row = 0; row < m_model.rowCount(parent); ++row) {
        const QModelIndex index = m_model.index(row, 0, parent);
        const Group *group = m_model.groupAt(index);
        setExpanded(index, !group || !m_collapsed.contains(group->number()));
        expandAsRemembered(index);
    }
}

void GroupTree::remember(const QModelIndex &index, bool collapsed)
{
    const Group *group = m_model.groupAt(index);
    if (m_restoring)
        return;
    if (!group)
        return setExpanded(index, true);
    m_collapsed.removeAll(group->number());
    if (collapsed)
        m_collapsed.append(group->number());
    emit collapsedChanged();
}

void GroupTree::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    QTreeView::currentChanged(current, previous);
    Group *group = m_model.groupAt(current);
    if (!group || group->number() == m_current)
        return;
    m_current = group->number();
    emit currentGroupChanged(group);
}

void GroupTree::mousePressEvent(QMouseEvent *event)
{
    const QModelIndex index = indexAt(event->pos());
    const bool folds =
        event->button() == Qt::LeftButton && m_model.groupAt(index) && m_model.rowCount(index) > 0;
    if (folds && m_delegate.chevronRect(visualRect(index), m_model.depthOf(index), layoutDirection())
                     .contains(event->pos())) {
        setExpanded(index, !isExpanded(index));
        return;
    }
    QTreeView::mousePressEvent(event);
}

void GroupTree::contextMenuEvent(QContextMenuEvent *event)
{
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    const QModelIndex index = byKey ? currentIndex() : indexAt(event->pos());
    const QPoint position = byKey ? viewport()->mapToGlobal(visualRect(index).center()) : event->globalPos();
    emit menuWanted(m_model.groupAt(index), position);
}

/// Without a key held messages are moved, with Ctrl copied, whatever the desktop would do.
void GroupTree::dragMoveEvent(QDragMoveEvent *event)
{
    event->setDropAction(event->modifiers() & Qt::ControlModifier ? Qt::CopyAction : Qt::MoveAction);
    QTreeView::dragMoveEvent(event);
}

void GroupTree::drawBranches(QPainter *, const QRect &, const QModelIndex &) const {}

void GroupTree::changeEvent(QEvent *event)
{
    QTreeView::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        scheduleDelayedItemsLayout();
}
