#pragma once

#include "store/overview.h"

#include <vector>

class Group;

/// Who answers whom in a group, from the hashes in the overviews alone, by the references and the field
/// In-Reply-To (the rules of RFC 5256, REFERENCES): a message lies below the one it answers; while that one
/// is missing, below the first of its references that is there. Nothing lies below itself. A message that
/// arrives later takes the answers that waited for it.
///
/// Memory is about 36 bytes a row.
class Threads
{
public:
    static constexpr int kNone = -1;

    /// Reads every row of @p group.
    explicit Threads(Group &group);

    /// Takes in the rows that came since. Rows that got other numbers need a new object.
    void update();

    /// The row that @p row lies below; kNone at the top.
    int parent(int row) const { return m_parents[std::size_t(row)]; }

    /// The topmost row of the thread.
    int root(int row) const;

    int rowCount() const { return int(m_parents.size()); }

private:
    int find(quint64 idHash) const;
    void enter(int row);
    void place(int row);
    bool isAbove(int row, int below) const;
    void grow(std::size_t rows);
    void wait(int row, quint64 wanted);

    /// A row that lies below an identifier, or would if that were here.
    struct Wait
    {
        quint32 row;
        quint32 next; ///< index + 1 of the next in the same bucket; 0 at the end
    };

    Group &m_group;
    std::vector<int> m_parents;
    std::vector<quint32> m_table;   ///< by the hash of the Message-ID: row + 1; a power of two in size
    std::vector<quint32> m_buckets; ///< by the hash of the wanted identifier: index + 1 into m_waits
    std::vector<Wait> m_waits;
    bool m_hasForwardEdge = false; ///< some row lies below a later one
};
