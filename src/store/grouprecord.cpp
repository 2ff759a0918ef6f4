#include "store/grouprecord.h"

QString wordOf(GroupKind kind)
{
    return QString::fromLatin1(kGroupKindNames[std::size_t(kind)]);
}

QString wordOf(GroupRole role)
{
    return QString::fromLatin1(kGroupRoles[std::size_t(role)].word);
}

GroupKind kindOf(const QString &word)
{
    for (std::size_t i = 0; i < kGroupKindNames.size(); ++i) {
        if (word == QLatin1String(kGroupKindNames[i]))
            return GroupKind(i);
    }
    return GroupKind::Folder;
}

GroupRole roleOf(const QString &word)
{
    for (std::size_t i = 1; i < kGroupRoles.size(); ++i) {
        if (word == QLatin1String(kGroupRoles[i].word))
            return GroupRole(i);
    }
    return GroupRole::None;
}
