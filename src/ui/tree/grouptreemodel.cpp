#include "ui/tree/grouptreemodel.h"

#include "store/groupstore.h"
#include "ui/look/icons.h"
#include "ui/list/messagelistmodel.h"
#include "ui/texts/messagetexts.h"

#include <QLocale>
#include <QMimeData>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr quint32 kMostShown = 9999;

struct RoleLook
{
    const char *icon;
    bool inAllAccounts; ///< with its place in the order below
    bool countsAll;     ///< shows how many there are, not how many are unread
};
constexpr std::array kRoleLooks = {
    RoleLook{"folder", false, false}, // None
    RoleLook{"inbox", true, false},   // Inbox
    RoleLook{"outbox", true, true},   // Outbox
    RoleLook{"sent", true, false},    // SentMail
    RoleLook{"sent", false, false},   // SentNews
    RoleLook{"waste", true, false},   // WasteBasket
    RoleLook{"drafts", true, true},   // Drafts
    RoleLook{"junk", true, true},     // Junk
};
static_assert(kRoleLooks.size() == std::size_t(GroupRole::Junk) + 1);

constexpr GroupRole kRoleOrder[] = {GroupRole::Inbox,    GroupRole::Drafts, GroupRole::Outbox,
                                    GroupRole::SentMail, GroupRole::Junk,   GroupRole::WasteBasket};

const RoleLook &lookOf(const Group &group)
{
    return kRoleLooks[std::size_t(group.role())];
}

bool isNews(const Group &group)
{
    return group.kind() == GroupKind::Newsgroup || group.role() == GroupRole::SentNews;
}

} // namespace

struct GroupTreeModel::Node
{
    QString title; ///< of a section
    Group *group = nullptr;
    int number = 0;
    Node *parent = nullptr;
    std::vector<std::unique_ptr<Node>> children;

    int row() const
    {
        const auto &all = parent->children;
        return int(
            std::find_if(all.begin(), all.end(), [this](const auto &node) { return node.get() == this; }) -
            all.begin());
    }
};

GroupTreeModel::GroupTreeModel(GroupStore &store, QObject *parent)
    : QAbstractItemModel(parent)
    , m_store(store)
{
    connect(&store, &GroupStore::groupAdded, this, [this](Group *group) {
        watch(group);
        rebuild();
    });
    connect(&store, &GroupStore::groupRemoved, this, &GroupTreeModel::rebuild);
    connect(&store, &GroupStore::groupChanged, this, &GroupTreeModel::rebuild);
    for (Group *group : store.groups())
        watch(group);
    rebuild();
}

GroupTreeModel::~GroupTreeModel() = default;

void GroupTreeModel::watch(Group *group)
{
    connect(group, &Group::countsChanged, this, [this, group] { countsChanged(group); });
}

void GroupTreeModel::countsChanged(Group *group)
{
    const QModelIndex index = indexOf(group->number());
    if (index.isValid())
        emit dataChanged(index, index);
}

void GroupTreeModel::rebuild()
{
    beginResetModel();
    m_root = std::make_unique<Node>();
    std::vector<Group *> roles;
    for (const GroupRole role : kRoleOrder) {
        if (Group *group = m_store.group(role))
            roles.push_back(group);
    }
    addSection(u"All accounts"_s, roles);
    addSection(u"Mail"_s, topGroups(false));
    addSection(u"News"_s, topGroups(true));
    endResetModel();
}

/// The groups at the top of the tree that have no place of their own by their role. What was sent to
/// newsgroups is shown with them.
std::vector<Group *> GroupTreeModel::topGroups(bool news) const
{
    std::vector<Group *> groups;
    bool anyNews = false;
    for (Group *group : m_store.children(0)) {
        anyNews =
            anyNews || group->kind() == GroupKind::Newsgroup || (isNews(*group) && group->counts().total > 0);
        if (!lookOf(*group).inAllAccounts && isNews(*group) == news)
            groups.push_back(group);
    }
    std::stable_partition(groups.begin(), groups.end(),
                          [](const Group *group) { return group->role() == GroupRole::None; });
    return news && !anyNews ? std::vector<Group *>() : groups;
}

void GroupTreeModel::addSection(const QString &title, const std::vector<Group *> &groups)
{
    if (groups.empty())
        return;
    auto section = std::make_unique<Node>();
    section->title = title;
    section->parent = m_root.get();
    addBelow(*section, groups);
    m_root->children.push_back(std::move(section));
}

void GroupTreeModel::addBelow(Node &parent, const std::vector<Group *> &groups)
{
    for (Group *group : groups) {
        auto node = std::make_unique<Node>();
        node->group = group;
        node->number = group->number();
        node->parent = &parent;
        std::vector<Group *> below = m_store.children(group->number());
        std::erase_if(below, [](const Group *child) { return lookOf(*child).inAllAccounts; });
        addBelow(*node, below);
        parent.children.push_back(std::move(node));
    }
}

GroupTreeModel::Node *GroupTreeModel::nodeOf(const QModelIndex &index)
{
    return static_cast<Node *>(index.internalPointer());
}

Group *GroupTreeModel::groupAt(const QModelIndex &index) const
{
    return index.isValid() ? nodeOf(index)->group : nullptr;
}

const GroupTreeModel::Node *GroupTreeModel::find(const Node &from, int group) const
{
    for (const auto &child : from.children) {
        if (child->number == group && child->group)
            return child.get();
        if (const Node *found = find(*child, group))
            return found;
    }
    return nullptr;
}

QModelIndex GroupTreeModel::indexOf(int group) const
{
    const Node *node = find(*m_root, group);
    return node ? createIndex(node->row(), 0, node) : QModelIndex();
}

int GroupTreeModel::depthOf(const QModelIndex &index) const
{
    int depth = 0;
    for (QModelIndex above = index.parent(); above.isValid(); above = above.parent())
        ++depth;
    return std::max(0, depth - 1);
}

QString GroupTreeModel::countText(Group &group)
{
    const OverviewFile::Counts counts = group.counts();
    const quint32 count = lookOf(group).countsAll ? counts.total : counts.unread;
    if (count == 0)
        return {};
    const QLocale english(QLocale::English);
    return count > kMostShown ? english.toString(kMostShown) + u'+' : english.toString(count);
}

bool GroupTreeModel::countCalls(Group &group)
{
    return !lookOf(group).countsAll && group.counts().unread > 0;
}

QString GroupTreeModel::iconOf(const Group &group)
{
    if (group.role() == GroupRole::None) {
        if (group.kind() == GroupKind::Newsgroup)
            return u"newsgroup"_s;
        if (group.kind() == GroupKind::List)
            return u"mailing-list"_s;
    }
    return QString::fromLatin1(lookOf(group).icon);
}

QModelIndex GroupTreeModel::index(int row, int column, const QModelIndex &parent) const
{
    const Node *node = parent.isValid() ? nodeOf(parent) : m_root.get();
    if (column != 0 || row < 0 || std::size_t(row) >= node->children.size())
        return {};
    return createIndex(row, 0, node->children[std::size_t(row)].get());
}

QModelIndex GroupTreeModel::parent(const QModelIndex &index) const
{
    const Node *above = index.isValid() ? nodeOf(index)->parent : nullptr;
    return above && above != m_root.get() ? createIndex(above->row(), 0, above) : QModelIndex();
}

int GroupTreeModel::rowCount(const QModelIndex &parent) const
{
    return int((parent.isValid() ? nodeOf(parent) : m_root.get())->children.size());
}

QVariant GroupTreeModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    Group *group = groupAt(index);
    if (!group)
        return role == Qt::DisplayRole ? QVariant(nodeOf(index)->title) : QVariant();
    switch (role) {
    case Qt::DisplayRole: return group->name();
    case Qt::DecorationRole: return icon(iconOf(*group));
    case Qt::AccessibleTextRole: {
        const OverviewFile::Counts counts = group->counts();
        return u"%1, %2, %3 unread"_s.arg(group->name(), messagesInWords(counts.total)).arg(counts.unread);
    }
    default: return {};
    }
}

Qt::ItemFlags GroupTreeModel::flags(const QModelIndex &index) const
{
    if (!groupAt(index))
        return Qt::ItemIsEnabled;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDropEnabled;
}

QStringList GroupTreeModel::mimeTypes() const
{
    return {QString::fromLatin1(kMessagesMimeType)};
}

bool GroupTreeModel::canDropMimeData(const QMimeData *mime, Qt::DropAction, int, int,
                                     const QModelIndex &parent) const
{
    return groupAt(parent) && mime->hasFormat(QLatin1StringView(kMessagesMimeType));
}

/// The store moves; the view that the rows came from must not remove them as well, so this never says that it
/// took anything.
bool GroupTreeModel::dropMimeData(const QMimeData *mime, Qt::DropAction action, int, int,
                                  const QModelIndex &parent)
{
    Group *target = groupAt(parent);
    const MessageRefs dragged = decodeDragged(mime->data(QLatin1StringView(kMessagesMimeType)));
    if (target && !dragged.empty())
        emit messagesDropped(dragged, target, action == Qt::CopyAction);
    return false;
}
