#pragma once

#include "store/group.h"

/// What is shown of a group by its role: its name, its icon, and which of its counts matter.

/// The list of what is flagged in all groups, where the number of a group is asked for.
constexpr int kFlaggedList = -1;

/// The place of a role among the first groups of the tree; beyond all of them for no role.
std::size_t placeOfRole(GroupRole role);

/// In the user's language as long as a group has the name that its role gave it.
QString shownNameOf(const Group &group);
QString iconNameOf(const Group &group);

/// Drafts, the outbox and junk show how many messages lie there, not how many are unread.
bool showsAllOf(GroupRole role);

/// Whether unread messages of a group with this role want to be read: not what was written here, what is junk
/// and what was thrown away.
bool unreadCalls(GroupRole role);

/// Whether its flagged messages stand in the list of them.
bool flaggedCounts(GroupRole role);

/// "9,999+" beyond that; empty for 0.
QString badgeText(quint32 count);

/// "1,284", as the other counts of the windows.
QString countInWords(qint64 count);
