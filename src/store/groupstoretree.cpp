// The tree of the groups: which there are, what they are called, and where they lie.

#include "store/groupstore.h"

#include "config/directory.h"
#include "config/files.h"
#include "config/reporter.h"

#include <QDir>
#include <QFile>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

const QString kRemovedMark = u"/Removed"_s; ///< in the directory of a group

QString directoryOf(int number)
{
    return configPathOf(u"Groups/%1"_s.arg(number));
}

bool isGoodName(const QString &name)
{
    return !name.trimmed().isEmpty() && !name.contains(u'/') &&
           std::none_of(name.begin(), name.end(),
                        [](QChar c) { return c.category() == QChar::Other_Control; });
}

bool isAlwaysThere(GroupRole role)
{
    return role != GroupRole::None && role <= kLastRoleMadeAtStart;
}

QStringList levelsOf(const QString &path)
{
    return (path.startsWith(u'/') ? path.sliced(1) : path).split(u'/');
}

} // namespace

std::vector<Group *> GroupStore::groups() const
{
    std::vector<Group *> groups;
    for (const auto &group : m_groups)
        groups.push_back(group.get());
    return groups;
}

std::vector<Group *> GroupStore::children(int parent) const
{
    std::vector<Group *> children;
    for (const auto &group : m_groups) {
        if (group->record().parent == parent)
            children.push_back(group.get());
    }
    return children;
}

Group *GroupStore::group(int number) const
{
    const auto found = std::find_if(m_groups.begin(), m_groups.end(),
                                    [number](const auto &group) { return group->number() == number; });
    return found == m_groups.end() ? nullptr : found->get();
}

Group *GroupStore::group(GroupRole role) const
{
    if (role == GroupRole::None)
        return nullptr;
    const auto found = std::find_if(m_groups.begin(), m_groups.end(),
                                    [role](const auto &group) { return group->role() == role; });
    return found == m_groups.end() ? nullptr : found->get();
}

Group &GroupStore::archive()
{
    if (Group *known = group(GroupRole::Archive))
        return *known;
    GroupRecord record;
    record.role = GroupRole::Archive;
    const QString name = QString::fromLatin1(kGroupRoles[std::size_t(record.role)].name);
    record.name = name;
    for (int i = 2; find(record.name); ++i)
        record.name = u"%1 %2"_s.arg(name).arg(i);
    record.number = m_nextNumber++;
    Group *made = enter(record);
    emit groupAdded(made);
    return *made;
}

Group *GroupStore::find(const QString &path) const
{
    Group *found = nullptr;
    for (const QString &level : levelsOf(path)) {
        const std::vector<Group *> siblings = children(found ? found->number() : 0);
        const auto next = std::find_if(siblings.begin(), siblings.end(),
                                       [&](Group *group) { return group->name() == level; });
        if (next == siblings.end())
            return nullptr;
        found = *next;
    }
    return found;
}

QString GroupStore::pathOf(const Group &group) const
{
    const Group *parent = this->group(group.record().parent);
    return parent ? pathOf(*parent) + u'/' + group.name() : group.name();
}

Group *GroupStore::make(const QString &path, GroupKind kind)
{
    const QStringList levels = levelsOf(path);
    if (!std::all_of(levels.begin(), levels.end(), isGoodName))
        return nullptr;
    Group *group = nullptr;
    for (qsizetype i = 0; i < levels.size(); ++i) {
        Group *existing = find(levels.first(i + 1).join(u'/'));
        if (!existing) {
            GroupRecord record;
            record.number = m_nextNumber++;
            record.name = levels[i];
            record.kind = i + 1 == levels.size() ? kind : GroupKind::Folder;
            record.parent = group ? group->number() : 0;
            existing = enter(record);
            emit groupAdded(existing);
        }
        group = existing;
    }
    return group;
}

bool GroupStore::rename(Group &group, const QString &name)
{
    if (!isGoodName(name))
        return false;
    const std::vector<Group *> siblings = children(group.record().parent);
    if (std::any_of(siblings.begin(), siblings.end(),
                    [&](Group *sibling) { return sibling != &group && sibling->name() == name; }))
        return false;
    GroupRecord record = group.record();
    record.name = name;
    group.setRecord(record);
    emit groupChanged(&group);
    return true;
}

bool GroupStore::reparent(Group &group, int parent)
{
    if (group.role() != GroupRole::None || (parent != 0 && !this->group(parent)))
        return false;
    for (const Group *above = this->group(parent); above; above = this->group(above->record().parent)) {
        if (above == &group)
            return false;
    }
    const std::vector<Group *> siblings = children(parent);
    if (std::any_of(siblings.begin(), siblings.end(), [&](const Group *sibling) {
            return sibling != &group && sibling->name() == group.name();
        }))
        return false;
    GroupRecord record = group.record();
    record.parent = parent;
    group.setRecord(record);
    emit groupChanged(&group);
    return true;
}

bool GroupStore::remove(Group &group)
{
    const std::vector<Group *> all = withDescendants(group);
    if (std::any_of(all.begin(), all.end(), [](Group *one) { return isAlwaysThere(one->role()); }))
        return false;
    settleTransfer();
    // Each directory is marked before the groups file forgets it, so that after a crash it is known whether
    // its mail was to go or has lost its place in the list.
    std::vector<GroupRecord> left = records();
    bool marked = true;
    for (const Group *one : all) {
        const QString directory = directoryOf(one->number());
        marked =
            (!QFile::exists(directory) || writeReplacing(directory + kRemovedMark, "removed\n")) && marked;
        std::erase_if(left, [one](const GroupRecord &record) { return record.number == one->number(); });
    }
    if (!marked || !m_file.write(m_nextNumber, left)) {
        for (const Group *one : all)
            QFile::remove(directoryOf(one->number()) + kRemovedMark);
        if (!marked)
            report(ReportLevel::Warning, "Unable to write groups file");
        return false;
    }
    m_saved = std::move(left);
    for (Group *one : all) {
        const int number = one->number();
        m_index.removeGroup(number);
        const auto found = std::find_if(m_groups.begin(), m_groups.end(),
                                        [one](const auto &owned) { return owned.get() == one; });
        const std::unique_ptr<Group> removed = std::move(*found);
        m_groups.erase(found);
        removed->close();
        finishRemoval(number);
        emit groupRemoved(number);
    }
    return true;
}

/// The group and all below it, the lowest first.
std::vector<Group *> GroupStore::withDescendants(Group &group) const
{
    std::vector<Group *> all = {&group};
    for (std::size_t i = 0; i < all.size(); ++i) {
        const std::vector<Group *> below = children(all[i]->number());
        all.insert(all.end(), below.begin(), below.end());
    }
    std::reverse(all.begin(), all.end());
    return all;
}

/// Deletes the directory of a group that was removed; the mark goes last. False when it has none.
bool GroupStore::finishRemoval(int number)
{
    QDir directory(directoryOf(number));
    if (!directory.exists(kRemovedMark.sliced(1)))
        return false;
    const QStringList names = directory.entryList(QDir::Files | QDir::Hidden | QDir::System);
    for (const QString &name : names) {
        if (name != kRemovedMark.sliced(1))
            directory.remove(name);
    }
    directory.removeRecursively();
    return true;
}

void GroupStore::setOptions(Group &group, quint32 options)
{
    GroupRecord record = group.record();
    record.options = options;
    group.setRecord(record);
    emit groupChanged(&group);
}

Group *GroupStore::enter(const GroupRecord &record)
{
    m_groups.push_back(std::make_unique<Group>(record, directoryOf(record.number)));
    Group *group = m_groups.back().get();
    group->setRepairsItself(m_repairsItself);
    connect(group, &Group::rowsReset, this, [this, group] {
        m_index.removeGroup(group->number());
        indexGroup(*group);
    });
    return group;
}

void GroupStore::makeRoleGroups()
{
    for (const auto &claimant : m_groups) {
        if (claimant->role() == GroupRole::None || group(claimant->role()) == claimant.get())
            continue;
        GroupRecord record = claimant->record(); // two claim it: it stays with the first
        record.role = GroupRole::None;
        claimant->setRecord(record);
    }
    for (int role = int(GroupRole::Inbox); role <= int(kLastRoleMadeAtStart); ++role) {
        if (group(GroupRole(role)))
            continue;
        GroupRecord record;
        record.name = QString::fromLatin1(kGroupRoles[std::size_t(role)].name);
        Group *namesake = find(record.name);
        if (namesake && namesake->role() == GroupRole::None && namesake->kind() == GroupKind::Folder) {
            record = namesake->record(); // its line lost the role
            record.role = GroupRole(role);
            namesake->setRecord(record);
            continue;
        }
        record.number = m_nextNumber++;
        record.role = GroupRole(role);
        enter(record);
    }
}

/// Directories with mail in them that no list knows: the groups file was lost, or an old backup was read.
void GroupStore::adoptStrayDirectories()
{
    const QStringList names = QDir(configPathOf(u"Groups"_s)).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &name : names) {
        bool isNumber = false;
        const int number = name.toInt(&isNumber);
        if (!isNumber || number <= 0 || number > kMostGroupNumber || QString::number(number) != name)
            continue;
        if (group(number)) { // a removal that did not get as far as the groups file
            if (storeAccess() == StoreAccess::ReadWrite)
                QFile::remove(directoryOf(number) + kRemovedMark);
            continue;
        }
        m_nextNumber = qMax(m_nextNumber, number + 1);
        if (storeAccess() == StoreAccess::ReadWrite ? finishRemoval(number)
                                                    : QFile::exists(directoryOf(number) + kRemovedMark))
            continue;
        if (QDir(directoryOf(number)).entryList({u"Bin*"_s}, QDir::Files).isEmpty())
            continue;
        GroupRecord record;
        record.number = number;
        record.name = u"Recovered %1"_s.arg(number);
        enter(record);
        note(u"Groups/%1 holds mail and stands in no list: it is shown as '%2'"_s.arg(name, record.name));
    }
}

/// A parent that is not there or lies below its own child would hide the group: it goes to the top.
void GroupStore::straightenParents()
{
    for (const auto &group : m_groups) {
        std::size_t steps = 0;
        const Group *above = group.get();
        while (above && above->record().parent != 0 && steps++ <= m_groups.size())
            above = this->group(above->record().parent);
        if (above && steps <= m_groups.size())
            continue;
        GroupRecord record = group->record();
        record.parent = 0;
        group->setRecord(record);
        note(u"Group '%1' had no place in the tree and was put at its top"_s.arg(record.name));
    }
}
