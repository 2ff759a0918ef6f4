#pragma once

#include <QString>

#include <array>

/// What a group is; the words are those of the groups file and of the command line.
enum class GroupKind { Folder, Newsgroup, Mailbox, List };
constexpr std::array kGroupKindNames = {"folder", "newsgroup", "mailbox", "list"};
static_assert(kGroupKindNames.size() == std::size_t(GroupKind::List) + 1);

/// What a group is for. Each role but None belongs to one group at most: to one that is there from the first
/// start, or, of those behind kLastRoleMadeAtStart, to one that its first use makes.
enum class GroupRole { None, Inbox, Outbox, SentMail, SentNews, WasteBasket, Drafts, Junk, Archive };
constexpr GroupRole kLastRoleMadeAtStart = GroupRole::Junk;

struct GroupRoleRow
{
    const char *word; ///< in the groups file
    const char *name; ///< of the group that is made for it
};
constexpr std::array kGroupRoles = {
    GroupRoleRow{"", ""},
    GroupRoleRow{"inbox", "Inbox"},
    GroupRoleRow{"outbox", "Outbox"},
    GroupRoleRow{"sent_mail", "Sent mail"},
    GroupRoleRow{"sent_news", "Sent news"},
    GroupRoleRow{"waste_basket", "Waste basket"},
    GroupRoleRow{"drafts", "Drafts"},
    GroupRoleRow{"junk", "Junk"},
    GroupRoleRow{"archive", "Archive"},
};
static_assert(kGroupRoles.size() == std::size_t(GroupRole::Archive) + 1);

/// Bits of a group's flags and options. They lie in the groups file: a bit once used keeps its meaning.
enum GroupFlag : quint32 { GroupNeedsRepair = 0x80 };
enum GroupOption : quint32 {
    GroupUncompressed = 0x01, ///< messages are stored as they are
    GroupKeepsUnread = 0x02,  ///< showing a message does not mark it as read
};

constexpr int kMostGroupNumber = 1'000'000'000; ///< only damage makes greater ones; the next must fit an int

/// What the groups file says about a group.
struct GroupRecord
{
    int number = 0; ///< its identity, and the name of its directory
    QString name;   ///< without "/"
    GroupKind kind = GroupKind::Folder;
    GroupRole role = GroupRole::None;
    int parent = 0; ///< number of the group it lies in; 0: at the top
    quint32 flags = 0;
    quint32 options = 0;
    int account = 0; ///< number of the account it belongs to; 0: none

    bool operator==(const GroupRecord &) const = default;
};

/// The words of a kind and a role, and back; an unknown word is a folder, or no role.
QString wordOf(GroupKind kind);
QString wordOf(GroupRole role);
GroupKind kindOf(const QString &word);
GroupRole roleOf(const QString &word);
