#pragma once

#include <functional>

class Group;
class GroupStore;
class QComboBox;

/// Adds the groups of @p store that @p offers lets through to @p box, by their full names, with their icons
/// and in the order of the tree; the number of each is its data.
void addGroups(QComboBox &box, const GroupStore &store, const std::function<bool(const Group &)> &offers);
