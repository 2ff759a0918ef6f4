#include "ui/tree/grouptreemodel.h"

#include "config/settings.h"
#include "store/groupstore.h"

#include <QGuiApplication>
#include <QLocale>
#include <QStyleHints>

#include <algorithm>

// How the rows come and go.

namespace {

/// The desktop's order of names, and numbers by their value.
QCollator newCollator()
{
    const QLocale locale;
    QCollator collator(locale.language() == QLocale::C ? QLocale(QLocale::English) : locale);
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}

std::unique_ptr<GroupNode> newFixed(GroupRow kind, int number, std::size_t rank)
{
    auto node = std::make_unique<GroupNode>();
    node->kind = kind;
    node->number = number;
    node->rank = rank;
    return node;
}

bool hasSamePlace(const GroupRecord &a, const GroupRecord &b)
{
    return a.name == b.name && a.parent == b.parent && a.role == b.role && a.kind == b.kind;
}

/// From @p first on.
void numberRows(const GroupNode &parent, int first)
{
    for (std::size_t row = std::size_t(first); row < parent.shown.size(); ++row)
        parent.shown[row]->row = int(row);
}

} // namespace

GroupTreeModel::GroupTreeModel(GroupStore &store, QObject *parent)
    : QAbstractItemModel(parent)
    , m_store(store)
    , m_collator(newCollator())
    , m_hidesRead(boolSetting(Setting::HideReadGroups))
    , m_fullNames(boolSetting(Setting::FullFolderNames))
{
    connect(&store, &GroupStore::groupAdded, this, &GroupTreeModel::groupAdded);
    connect(&store, &GroupStore::groupRemoved, this, &GroupTreeModel::groupRemoved);
    connect(&store, &GroupStore::groupChanged, this, &GroupTreeModel::groupChanged);
    m_waitTimer.setSingleShot(true);
    m_waitTimer.setInterval(QGuiApplication::styleHints()->mouseDoubleClickInterval());
    connect(&m_waitTimer, &QTimer::timeout, this, &GroupTreeModel::settleWaiting);
    for (Group *group : store.groups()) {
        watch(group);
        m_groups.insert(group->number(), group);
    }
    rebuild();
}

GroupTreeModel::~GroupTreeModel() = default;

void GroupTreeModel::watch(Group *group)
{
    connect(group, &Group::countsChanged, this, [this, group] { countsChanged(group); });
}

// --- The tree ---------------------------------------------------------------------------------------------

void GroupTreeModel::rebuild()
{
    beginResetModel();
    m_root = std::make_unique<GroupNode>();
    m_nodes.clear();
    m_waiting.clear();
    m_flagged = 0;
    m_hidable = 0;
    addFixed(*m_root);
    for (Group *group : m_store.groups())
        enter(group);
    fillShown(*m_root);
    endResetModel();
    emit flaggedCountChanged(m_flagged);
}

void GroupTreeModel::addFixed(GroupNode &root)
{
    const auto add = [this](GroupNode &parent, GroupRow kind, int number, std::size_t rank) {
        GroupNode *node = adopt(parent, newFixed(kind, number, rank));
        m_nodes.insert(number, node);
        return node;
    };
    GroupNode *accounts = add(root, GroupRow::Section, kAllAccounts, 0);
    add(root, GroupRow::Section, kMail, 1);
    add(root, GroupRow::Section, kNews, 2);
    add(root, GroupRow::HiddenLine, kHiddenLine, 3);
    add(*accounts, GroupRow::Flagged, kFlaggedList, 2 * placeOfRole(GroupRole::Inbox) + 1);
}

/// Makes the node of @p group, and of what is above it, without telling the views.
GroupNode *GroupTreeModel::enter(Group *group)
{
    if (GroupNode *known = nodeOf(group->number()))
        return known;
    GroupNode *parent = placeFor(*group);
    auto made = std::make_unique<GroupNode>();
    made->number = group->number();
    made->group = group;
    made->placed = group->record();
    made->rank = 2 * placeOfRole(group->role());
    made->essential = false;
    setKey(*made);
    GroupNode *node = adopt(*parent, std::move(made));
    m_nodes.insert(node->number, node);
    m_hidable += node->isHidable() ? 1 : 0;
    count(*node);
    weigh(*node);
    return node;
}

/// Where a node for @p group belongs.
GroupNode *GroupTreeModel::placeFor(const Group &group)
{
    if (group.role() != GroupRole::None)
        return nodeOf(kAllAccounts);
    Group *above = m_groups.value(group.record().parent);
    if (!above)
        return nodeOf(standsUnderNews(group) ? kNews : kMail);
    GroupNode *parent = enter(above);
    while (m_fullNames && parent->isGroup())
        parent = parent->parent;
    return parent;
}

void GroupTreeModel::setKey(GroupNode &node) const
{
    QStringList levels = {node.placed.name};
    if (m_fullNames) {
        for (const GroupNode *above = nodeOf(node.placed.parent); above; above = nodeOf(above->placed.parent))
            levels.prepend(above->placed.name);
    }
    for (const QString &level : levels)
        node.key.push_back(m_collator.sortKey(level));
}

void GroupTreeModel::groupAdded(Group *group)
{
    watch(group);
    m_groups.insert(group->number(), group);
    m_fresh.insert(group->number());
    settle(*enter(group));
}

/// The store removes what lies below a group before the group itself.
void GroupTreeModel::groupRemoved(int number)
{
    m_groups.remove(number);
    m_failing.remove(number);
    m_waiting.remove(number);
    m_fresh.remove(number);
    GroupNode *node = nodeOf(number);
    if (!node || !node->children.empty())
        return rebuild();
    GroupNode &parent = *node->parent;
    takeCounts(*node, {});
    if (node->essential && parent.isGroup())
        --parent.essentialChildren;
    if (!node->essential && node->isHidable())
        --m_hidable;
    m_nodes.remove(number); // before the views hear of it: who goes elsewhere then must not bring it back
    unshow(*node);
    std::erase_if(parent.children, [node](const auto &child) { return child.get() == node; });
    settle(parent);
}

void GroupTreeModel::groupChanged(Group *group)
{
    GroupNode *node = nodeOf(group->number());
    if (!node || !hasSamePlace(node->placed, group->record()))
        return rebuild();
    tellOf(*node);
    settleOrWait(*node);
}

// --- Counts -----------------------------------------------------------------------------------------------

void GroupTreeModel::countsChanged(Group *group)
{
    GroupNode *node = nodeOf(group->number());
    if (!node)
        return;
    count(*node);
    tellOf(*node);
    settleOrWait(*node);
}

void GroupTreeModel::count(GroupNode &node)
{
    takeCounts(node, node.group->counts());
}

/// Lets the sums follow.
void GroupTreeModel::takeCounts(GroupNode &node, const OverviewFile::Counts &now)
{
    const OverviewFile::Counts before = std::exchange(node.counts, now);
    if (unreadCalls(node.placed.role) && now.unread != before.unread) {
        for (GroupNode *above = node.parent; above != m_root.get(); above = above->parent) {
            above->below += now.unread - before.unread; // unsigned: what is taken off comes out right
            tellOf(*above);
        }
    }
    if (flaggedCounts(node.placed.role) && now.flagged != before.flagged) {
        m_flagged += now.flagged - before.flagged;
        const GroupNode &list = *nodeOf(kFlaggedList);
        tellOf(list);
        if (list.row >= 0)
            emit flaggedCountChanged(m_flagged);
    }
}

void GroupTreeModel::tellOf(const GroupNode &node)
{
    const QModelIndex index = indexOf(node);
    if (index.isValid())
        emit dataChanged(index, index);
}

// --- What is shown
// ------------------------------------------------------------------------------------------

bool GroupTreeModel::isEssential(const GroupNode &node) const
{
    const int number = node.number;
    if (number == m_kept || node.counts.unread > 0 || node.essentialChildren > 0)
        return true;
    if (node.placed.role == GroupRole::SentNews)
        return node.counts.total > 0;
    return node.placed.role != GroupRole::None || m_fresh.contains(number) || m_failing.contains(number) ||
           node.group->needsRepair();
}

bool GroupTreeModel::isWanted(const GroupNode &node) const
{
    switch (node.kind) {
    case GroupRow::Flagged: return true;
    case GroupRow::Section: return !node.shown.empty();
    case GroupRow::HiddenLine: return m_hidesRead && m_hidable > 0;
    case GroupRow::Group: break;
    }
    return node.essential || (node.isHidable() && (m_showsAll || !m_hidesRead));
}

/// Finds out whether @p node is essential, and then what is above it.
void GroupTreeModel::weigh(GroupNode &node)
{
    for (GroupNode *one = &node; one->isGroup(); one = one->parent) {
        const bool essential = isEssential(*one);
        if (essential == one->essential)
            return;
        one->essential = essential;
        if (one->isHidable())
            m_hidable += essential ? -1 : 1;
        if (one->parent->isGroup())
            one->parent->essentialChildren += essential ? 1 : -1;
    }
}

/// Shows and hides @p node and what is above it as it has become.
void GroupTreeModel::settle(GroupNode &node)
{
    weigh(node);
    for (GroupNode *one = &node; one != m_root.get(); one = one->parent) {
        const bool wanted = isWanted(*one);
        if (wanted && one->row < 0)
            show(*one);
        else if (!wanted && one->row >= 0)
            unshow(*one);
    }
    updateHiddenLine();
}

void GroupTreeModel::settleOrWait(GroupNode &node)
{
    if (node.row < 0 || isEssential(node))
        return settle(node);
    m_waiting.insert(node.number);
    if (!m_waitTimer.isActive())
        m_waitTimer.start();
}

void GroupTreeModel::settleWaiting()
{
    if (QGuiApplication::mouseButtons() != Qt::NoButton)
        return m_waitTimer.start();
    const QSet<int> waiting = std::exchange(m_waiting, {});
    for (const int number : waiting) {
        if (GroupNode *node = nodeOf(number))
            settle(*node);
    }
}

/// Together with what is above it, which cannot be seen without it.
void GroupTreeModel::show(GroupNode &node)
{
    GroupNode &parent = *node.parent;
    const auto place = std::upper_bound(
        parent.shown.begin(), parent.shown.end(), &node,
        [](const GroupNode *one, const GroupNode *other) { return comesBefore(*one, *other); });
    const int row = int(place - parent.shown.begin());
    const bool isSeen = &parent == m_root.get() || parent.row >= 0;
    if (isSeen)
        beginInsertRows(indexOf(parent), row, row);
    parent.shown.insert(place, &node);
    numberRows(parent, row);
    if (isSeen)
        endInsertRows();
    else
        show(parent);
}

void GroupTreeModel::unshow(GroupNode &node)
{
    if (node.row < 0)
        return;
    GroupNode &parent = *node.parent;
    const int row = node.row;
    beginRemoveRows(indexOf(parent), row, row);
    parent.shown.erase(parent.shown.begin() + row);
    node.row = -1;
    numberRows(parent, row);
    endRemoveRows();
}

/// What is shown below @p node, from the beginning and without telling the views.
void GroupTreeModel::fillShown(GroupNode &node) const
{
    node.shown.clear();
    for (const auto &child : node.children) {
        fillShown(*child);
        child->row = -1;
        if (isWanted(*child))
            node.shown.push_back(child.get());
    }
    numberRows(node, 0);
}

void GroupTreeModel::updateHiddenLine()
{
    GroupNode &line = *nodeOf(kHiddenLine);
    const bool wanted = isWanted(line);
    if (wanted && line.row < 0)
        show(line);
    else if (!wanted && line.row >= 0)
        unshow(line);
    else if (m_hidable != m_toldHidable)
        tellOf(line);
    m_toldHidable = m_hidable;
}

void GroupTreeModel::replaceShown()
{
    beginResetModel();
    fillShown(*m_root);
    endResetModel();
}

void GroupTreeModel::keep(int number)
{
    const int before = std::exchange(m_kept, number);
    if (GroupNode *node = nodeOf(number))
        settleOrWait(*node);
    GroupNode *left = before != number ? nodeOf(before) : nullptr;
    if (left && left->isGroup())
        settleOrWait(*left);
}

void GroupTreeModel::setHidesRead(bool hides)
{
    if (hides != boolSetting(Setting::HideReadGroups))
        setBoolSetting(Setting::HideReadGroups, hides);
    if (hides == m_hidesRead)
        return;
    m_hidesRead = hides;
    m_showsAll = false;
    replaceShown();
}

void GroupTreeModel::setShowsAll(bool shows)
{
    if (shows == m_showsAll)
        return;
    m_showsAll = shows;
    replaceShown();
}

void GroupTreeModel::setFullNames(bool full)
{
    if (full != boolSetting(Setting::FullFolderNames))
        setBoolSetting(Setting::FullFolderNames, full);
    if (full == m_fullNames)
        return;
    m_fullNames = full;
    rebuild();
}

void GroupTreeModel::setFailing(int group, const QString &text)
{
    if (text.isEmpty())
        m_failing.remove(group);
    else
        m_failing.insert(group, text);
    if (GroupNode *node = nodeOf(group)) {
        tellOf(*node);
        settleOrWait(*node);
    }
}
