#include "ui/tree/grouptexts.h"

#include <QCoreApplication>
#include <QLocale>

using namespace Qt::StringLiterals;

namespace {

constexpr quint32 kMostShown = 9999;

constexpr std::array kRolesInOrder = {
    GroupRole::Inbox,    GroupRole::Drafts,  GroupRole::Outbox, GroupRole::SentMail,
    GroupRole::SentNews, GroupRole::Archive, GroupRole::Junk,   GroupRole::WasteBasket,
};

struct RoleLook
{
    const char *icon;
    bool showsAll;
    bool unreadCalls;
    bool flaggedCounts;
};
constexpr std::array kRoleLooks = {
    RoleLook{"folder", false, true, true},  // None
    RoleLook{"inbox", false, true, true},   // Inbox
    RoleLook{"outbox", true, false, true},  // Outbox
    RoleLook{"sent", false, false, true},   // SentMail
    RoleLook{"sent", false, false, true},   // SentNews
    RoleLook{"waste", false, false, false}, // WasteBasket
    RoleLook{"drafts", true, false, true},  // Drafts
    RoleLook{"junk", true, false, false},   // Junk
    RoleLook{"archive", false, true, true}, // Archive
};
static_assert(kRoleLooks.size() == std::size_t(GroupRole::Archive) + 1);
static_assert(kRolesInOrder.size() + 1 == kRoleLooks.size());

const RoleLook &lookOf(GroupRole role)
{
    return kRoleLooks[std::size_t(role)];
}

/// For the translators: the names of the roles as they are written into the groups file.
[[maybe_unused]] constexpr const char *kRoleNames[] = {
    QT_TRANSLATE_NOOP("GroupRole", "Inbox"),        QT_TRANSLATE_NOOP("GroupRole", "Outbox"),
    QT_TRANSLATE_NOOP("GroupRole", "Sent mail"),    QT_TRANSLATE_NOOP("GroupRole", "Sent news"),
    QT_TRANSLATE_NOOP("GroupRole", "Waste basket"), QT_TRANSLATE_NOOP("GroupRole", "Drafts"),
    QT_TRANSLATE_NOOP("GroupRole", "Junk"),         QT_TRANSLATE_NOOP("GroupRole", "Archive"),
};
static_assert(std::size(kRoleNames) == kRolesInOrder.size());

} // namespace

std::size_t placeOfRole(GroupRole role)
{
    return std::size_t(std::find(kRolesInOrder.begin(), kRolesInOrder.end(), role) - kRolesInOrder.begin());
}

QString shownNameOf(const Group &group)
{
    const char *given = kGroupRoles[std::size_t(group.role())].name;
    const bool asGiven = group.role() != GroupRole::None && group.name() == QLatin1StringView(given);
    return asGiven ? QCoreApplication::translate("GroupRole", given) : group.name();
}

QString iconNameOf(const Group &group)
{
    if (group.role() == GroupRole::None) {
        switch (group.kind()) {
        case GroupKind::Folder: break;
        case GroupKind::Newsgroup: return u"newsgroup"_s;
        case GroupKind::Mailbox: return u"mail"_s;
        case GroupKind::List: return u"mailing-list"_s;
        }
    }
    return QString::fromLatin1(lookOf(group.role()).icon);
}

bool showsAllOf(GroupRole role)
{
    return lookOf(role).showsAll;
}

bool unreadCalls(GroupRole role)
{
    return lookOf(role).unreadCalls;
}

bool flaggedCounts(GroupRole role)
{
    return lookOf(role).flaggedCounts;
}

QString badgeText(quint32 count)
{
    if (count == 0)
        return {};
    return count > kMostShown ? countInWords(kMostShown) + u'+' : countInWords(count);
}

QString countInWords(qint64 count)
{
    return QLocale(QLocale::English).toString(count);
}
