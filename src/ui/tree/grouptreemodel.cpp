#include "ui/tree/grouptreemodel.h"

#include "store/groupstore.h"
#include "ui/list/messagelistmodel.h"
#include "ui/look/icons.h"
#include "ui/texts/harmless.h"
#include "ui/texts/messagetexts.h"
#include "ui/tree/groupdrag.h"
#include "ui/tree/groupplaces.h"

#include <QMimeData>

#include <algorithm>

using namespace Qt::StringLiterals;

// What the views ask. How the rows come and go is in grouptreechanges.cpp.

namespace {

GroupNode *nodeAt(const QModelIndex &index)
{
    return static_cast<GroupNode *>(index.internalPointer());
}

} // namespace

GroupRow GroupTreeModel::kindOf(const QModelIndex &index) const
{
    return index.isValid() ? nodeAt(index)->kind : GroupRow::Section;
}

Group *GroupTreeModel::groupAt(const QModelIndex &index) const
{
    return index.isValid() ? nodeAt(index)->group : nullptr;
}

int GroupTreeModel::numberAt(const QModelIndex &index) const
{
    return index.isValid() ? nodeAt(index)->number : 0;
}

QModelIndex GroupTreeModel::indexOf(int number) const
{
    const GroupNode *node = nodeOf(number);
    return node ? indexOf(*node) : QModelIndex();
}

Group *GroupTreeModel::group(int number) const
{
    const GroupNode *node = nodeOf(number);
    return node ? node->group : nullptr;
}

int GroupTreeModel::depthOf(const QModelIndex &index) const
{
    int depth = 0;
    for (QModelIndex above = index.parent(); above.isValid(); above = above.parent())
        ++depth;
    return std::max(0, depth - 1);
}

QString GroupTreeModel::pathOf(int number) const
{
    QStringList levels;
    const GroupNode *node = nodeOf(number);
    for (; node && node->isGroup(); node = nodeOf(node->placed.parent))
        levels.prepend(shownNameOf(*node->group));
    return levels.join(u'/');
}

std::vector<int> GroupTreeModel::inOrder() const
{
    std::vector<int> numbers;
    forEachBelow(*m_root, [&numbers](const GroupNode &node) {
        if (node.isGroup() || node.kind == GroupRow::Flagged)
            numbers.push_back(node.number);
    });
    return numbers;
}

QString GroupTreeModel::countText(Group &group)
{
    if (showsAllOf(group.role()))
        return badgeText(group.counts().total);
    return unreadCalls(group.role()) ? badgeText(group.counts().unread) : QString();
}

bool GroupTreeModel::countCalls(Group &group)
{
    return unreadCalls(group.role()) && group.counts().unread > 0;
}

GroupTreeModel::Look GroupTreeModel::lookOf(const QModelIndex &index, bool folded) const
{
    const GroupNode &node = *nodeAt(index);
    Look look;
    look.name = index.data().toString();
    if (node.kind == GroupRow::Flagged) {
        look.icon = u"flag"_s;
        look.count = badgeText(m_flagged);
    }
    if (node.kind == GroupRow::Section && folded)
        look.count = badgeText(node.below);
    if (!node.isGroup())
        return look;
    Group &group = *node.group;
    look.icon = iconNameOf(group);
    look.hasFailed = group.needsRepair() || m_failing.contains(node.number);
    if (showsAllOf(group.role())) {
        look.count = badgeText(node.counts.total);
    } else if (unreadCalls(group.role())) {
        // What holds nothing itself is there for what lies below it.
        const quint32 below = folded || node.counts.total == 0 ? node.below : 0;
        look.count = badgeText(node.counts.unread + below);
        look.calls = !look.count.isEmpty();
        look.isBold = node.counts.unread > 0 || (folded && node.below > 0);
    }
    return look;
}

Group *GroupTreeModel::nextUnread(int from) const
{
    Group *first = nullptr;
    Group *next = nullptr;
    bool passed = false;
    forEachBelow(*m_root, [&](const GroupNode &node) {
        if (node.isGroup() && unreadCalls(node.group->role()) && node.counts.unread > 0) {
            if (!first)
                first = node.group;
            if (passed && !next)
                next = node.group;
        }
        passed = passed || node.number == from;
    });
    return next ? next : first;
}

QModelIndex GroupTreeModel::index(int row, int column, const QModelIndex &parent) const
{
    const GroupNode *node = parent.isValid() ? nodeAt(parent) : m_root.get();
    if (column != 0 || row < 0 || std::size_t(row) >= node->shown.size())
        return {};
    return createIndex(row, 0, node->shown[std::size_t(row)]);
}

QModelIndex GroupTreeModel::indexOf(const GroupNode &node) const
{
    return node.row >= 0 ? createIndex(node.row, 0, &node) : QModelIndex();
}

QModelIndex GroupTreeModel::parent(const QModelIndex &index) const
{
    const GroupNode *above = index.isValid() ? nodeAt(index)->parent : nullptr;
    return above && above != m_root.get() ? indexOf(*above) : QModelIndex();
}

int GroupTreeModel::rowCount(const QModelIndex &parent) const
{
    return int((parent.isValid() ? nodeAt(parent) : m_root.get())->shown.size());
}

QVariant GroupTreeModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const GroupNode &node = *nodeAt(index);
    switch (role) {
    case Qt::DisplayRole: return nameOf(node);
    case Qt::DecorationRole: return node.isGroup() ? icon(iconNameOf(*node.group)) : QVariant();
    case Qt::AccessibleTextRole: return spoken(node);
    case Qt::ToolTipRole: return toolTip(node);
    default: return {};
    }
}

QString GroupTreeModel::nameOf(const GroupNode &node) const
{
    if (node.isGroup())
        return harmlessLine(m_fullNames ? pathOf(node.number) : shownNameOf(*node.group));
    if (node.kind == GroupRow::HiddenLine)
        return hiddenInWords();
    return fixedNameOf(node.number);
}

QString GroupTreeModel::hiddenInWords() const
{
    const QString count = countInWords(m_hidable);
    if (m_showsAll)
        return m_hidable == 1 ? tr("Hide 1 read group") : tr("Hide %1 read groups").arg(count);
    return m_hidable == 1 ? tr("1 read group hidden") : tr("%1 read groups hidden").arg(count);
}

QString GroupTreeModel::spoken(const GroupNode &node) const
{
    QStringList words = {nameOf(node)};
    if (node.kind == GroupRow::Flagged)
        words.append(messagesInWords(m_flagged));
    if (node.kind == GroupRow::Section && node.below > 0)
        words.append(tr("%1 unread below").arg(countInWords(node.below)));
    if (!node.isGroup())
        return words.join(u", "_s);
    if (node.counts.unread > 0)
        words.append(tr("%1 unread").arg(countInWords(node.counts.unread)));
    words.append(messagesInWords(node.counts.total));
    if (node.below > 0)
        words.append(tr("%1 unread below").arg(countInWords(node.below)));
    if (node.group->needsRepair())
        words.append(tr("needs repair"));
    if (m_failing.contains(node.number))
        words.append(m_failing.value(node.number));
    return words.join(u", "_s);
}

/// Names and texts of servers are shown as they are, so nothing in it is markup.
QString GroupTreeModel::toolTip(const GroupNode &node) const
{
    if (node.kind == GroupRow::Flagged)
        return tr("What is flagged, in all groups");
    if (!node.isGroup())
        return {};
    QStringList counts;
    if (node.counts.unread > 0)
        counts.append(tr("%1 unread").arg(countInWords(node.counts.unread)));
    counts.append(messagesInWords(node.counts.total));
    QStringList lines = {harmlessLine(pathOf(node.number)), counts.join(u", "_s)};
    if (node.below > 0)
        lines.append(tr("%1 unread in the groups below").arg(countInWords(node.below)));
    if (node.group->needsRepair())
        lines.append(tr("This group is damaged and waits for its repair."));
    if (m_failing.contains(node.number))
        lines.append(harmlessLine(m_failing.value(node.number)));
    for (QString &line : lines)
        line = line.toHtmlEscaped();
    return u"<p style='white-space:pre'>%1</p>"_s.arg(lines.join(u"<br>"_s));
}

Qt::ItemFlags GroupTreeModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::ItemIsDropEnabled; // below the last row is the top of the tree
    const Qt::ItemFlags enabled = Qt::ItemIsEnabled;
    switch (kindOf(index)) {
    case GroupRow::Section: return enabled | Qt::ItemIsDropEnabled;
    case GroupRow::HiddenLine: return enabled | Qt::ItemNeverHasChildren;
    case GroupRow::Flagged: return enabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
    case GroupRow::Group: break;
    }
    const bool moves = groupAt(index)->role() == GroupRole::None;
    return enabled | Qt::ItemIsSelectable | Qt::ItemIsDropEnabled |
           (moves ? Qt::ItemIsDragEnabled : Qt::NoItemFlags);
}

// --- Dragging -------------------------------------------------------------------------------------------

QStringList GroupTreeModel::mimeTypes() const
{
    return {QString::fromLatin1(kMessagesMimeType), QString::fromLatin1(kGroupMimeType), u"text/uri-list"_s};
}

QMimeData *GroupTreeModel::mimeData(const QModelIndexList &indexes) const
{
    const Group *group = indexes.isEmpty() ? nullptr : groupAt(indexes.first());
    if (!group)
        return nullptr;
    auto *mime = new QMimeData;
    mime->setData(QString::fromLatin1(kGroupMimeType), QByteArray::number(group->number()));
    return mime;
}

/// What lies in the outbox is sent, so nothing gets there by a slip of the hand.
bool GroupTreeModel::takesMessages(const Group &target, const MessageRefs &messages) const
{
    return target.role() != GroupRole::Outbox &&
           std::any_of(messages.begin(), messages.end(),
                       [&target](const MessageRef &message) { return message.group != target.number(); });
}

bool GroupTreeModel::canDropMimeData(const QMimeData *mime, Qt::DropAction, int, int,
                                     const QModelIndex &parent) const
{
    Group *target = groupAt(parent);
    if (mime->hasFormat(QLatin1StringView(kGroupMimeType))) {
        const Group *moved = group(draggedGroup(*mime));
        const bool isPlace = target || !parent.isValid() || kindOf(parent) == GroupRow::Section;
        return moved && isPlace && numberAt(parent) != kAllAccounts &&
               GroupPlaces(m_store, *moved).take(target);
    }
    if (!target)
        return false;
    if (mime->hasFormat(QLatin1StringView(kMessagesMimeType)))
        return takesMessages(*target, decodeDragged(mime->data(QLatin1StringView(kMessagesMimeType))));
    return target->role() != GroupRole::Outbox && !draggedFiles(*mime).isEmpty();
}

/// The store moves; the view that the rows came from must not remove them as well, so this never says that it
/// took anything.
bool GroupTreeModel::dropMimeData(const QMimeData *mime, Qt::DropAction action, int row, int column,
                                  const QModelIndex &parent)
{
    if (!canDropMimeData(mime, action, row, column, parent))
        return false;
    Group *target = groupAt(parent);
    if (mime->hasFormat(QLatin1StringView(kGroupMimeType)))
        emit groupDropped(group(draggedGroup(*mime)), target);
    else if (mime->hasFormat(QLatin1StringView(kMessagesMimeType)))
        emit messagesDropped(decodeDragged(mime->data(QLatin1StringView(kMessagesMimeType))), target,
                             action == Qt::CopyAction);
    else
        emit filesDropped(draggedFiles(*mime), target);
    return false;
}
