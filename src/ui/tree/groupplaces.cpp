#include "ui/tree/groupplaces.h"

#include "store/groupstore.h"

GroupPlaces::GroupPlaces(const GroupStore &store, const Group &moved)
    : m_moved(moved.number())
    , m_moves(moved.role() == GroupRole::None)
{
    for (const Group *group : store.groups()) {
        const int parent = group->record().parent;
        m_parents.insert(group->number(), parent);
        if (group->name() == moved.name())
            m_closed.insert(parent);
    }
}

bool GroupPlaces::take(const Group *target) const
{
    const int into = target ? target->number() : 0;
    if (!m_moves || m_closed.contains(into))
        return false;
    if (target && (target->role() != GroupRole::None || target->kind() == GroupKind::Newsgroup))
        return false;
    for (int above = into; above != 0; above = m_parents.value(above)) {
        if (above == m_moved)
            return false;
    }
    return true;
}
