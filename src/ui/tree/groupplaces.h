#pragma once

#include <QHash>
#include <QSet>

class Group;
class GroupStore;

/// Where a group may be put: into folders and lists, not into itself or what lies below it, not where it is
/// or where another has its name. Groups with a role do not move.
class GroupPlaces
{
public:
    /// Looks at every group once.
    GroupPlaces(const GroupStore &store, const Group &moved);

    /// @p target null: the top of the tree.
    bool take(const Group *target) const;

private:
    int m_moved;
    bool m_moves;
    QHash<int, int> m_parents;
    QSet<int> m_closed; ///< it is there, or a namesake
};
