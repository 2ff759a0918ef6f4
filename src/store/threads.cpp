#include "store/threads.h"

#include "store/group.h"

#include <bit>

namespace {

/// Looking for a circle goes up this far; deeper threads begin anew at the top.
constexpr int kDeepest = 1000;

} // namespace

Threads::Threads(Group &group)
    : m_group(group)
{
    update();
}

void Threads::update()
{
    const int first = rowCount();
    const int rows = m_group.rowCount();
    if (rows <= first)
        return;
    m_parents.resize(std::size_t(rows), kNone);
    if (std::size_t(rows) * 2 > m_table.size()) {
        grow(std::size_t(rows));
        for (int row = 0; row < first; ++row)
            enter(row);
    }
    for (int row = first; row < rows; ++row)
        enter(row);
    if (first == 0) {
        for (int row = 0; row < rows; ++row)
            place(row);
        return;
    }
    for (int row = first; row < rows; ++row) {
        place(row);
        // Whoever waited for this one, or lay below a first reference in its stead, moves here.
        const quint64 hash = m_group.row(row).idHash();
        if (hash == 0 || find(hash) != row)
            continue; // another one answers to the identifier already
        for (quint32 at = m_buckets[std::size_t(hash) & (m_buckets.size() - 1)]; at != 0;
             at = m_waits[at - 1].next) {
            const int answer = int(m_waits[at - 1].row);
            if (m_group.row(answer).parentHash() == hash || m_group.row(answer).rootHash() == hash)
                place(answer);
        }
    }
}

int Threads::root(int row) const
{
    while (parent(row) != kNone)
        row = parent(row);
    return row;
}

int Threads::find(quint64 idHash) const
{
    if (idHash == 0)
        return kNone;
    const std::size_t mask = m_table.size() - 1;
    for (std::size_t slot = std::size_t(idHash) & mask; m_table[slot] != 0; slot = (slot + 1) & mask) {
        const int row = int(m_table[slot] - 1);
        if (m_group.row(row).idHash() == idHash)
            return row;
    }
    return kNone;
}

/// Puts the row where others find it, and notes whom it waits for. Dead messages hold no thread together.
void Threads::enter(int row)
{
    const Overview &overview = m_group.row(row);
    if (overview.isDead())
        return;
    if (overview.idHash() != 0 && find(overview.idHash()) == kNone) {
        const std::size_t mask = m_table.size() - 1;
        std::size_t slot = std::size_t(overview.idHash()) & mask;
        while (m_table[slot] != 0)
            slot = (slot + 1) & mask;
        m_table[slot] = quint32(row) + 1;
    }
    wait(row, overview.parentHash());
    if (overview.rootHash() != overview.parentHash())
        wait(row, overview.rootHash());
}

void Threads::wait(int row, quint64 wanted)
{
    if (wanted == 0)
        return;
    quint32 &bucket = m_buckets[std::size_t(wanted) & (m_buckets.size() - 1)];
    m_waits.push_back({quint32(row), bucket});
    bucket = quint32(m_waits.size());
}

void Threads::place(int row)
{
    const Overview &overview = m_group.row(row);
    m_parents[std::size_t(row)] = kNone;
    if (overview.isDead())
        return;
    for (const quint64 wanted : {overview.parentHash(), overview.rootHash()}) {
        const int above = find(wanted);
        if (above != kNone && above != row && !isAbove(row, above)) {
            m_parents[std::size_t(row)] = above;
            m_hasForwardEdge = m_hasForwardEdge || above > row;
            return;
        }
    }
}

/// Whether @p row is an ancestor of @p below; two that answer each other must not.
bool Threads::isAbove(int row, int below) const
{
    // As long as every answer came after what it answers, there is no way back.
    if (below < row && !m_hasForwardEdge)
        return false;
    int steps = 0;
    for (int at = parent(below); at != kNone; at = parent(at)) {
        if (at == row || ++steps > kDeepest)
            return true;
    }
    return false;
}

void Threads::grow(std::size_t rows)
{
    m_table.assign(std::bit_ceil(rows * 3), 0);
    m_buckets.assign(std::bit_ceil(rows), 0);
    m_waits.clear();
}
