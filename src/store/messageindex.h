#pragma once

#include "config/indexfile.h"

#include <QHash>

#include <vector>

/// Where messages are, by the hash of their Message-ID: every live message of the store, found in O(1).
/// Several messages may share an identifier; that thousands do costs nothing extra.
///
/// On disk it is two files: "MsgIDs", the list of entries, and "MsgIDIndex", the table over it, together with
/// each group's generation as of then. Both are written now and then, whole; at the start the groups that
/// have changed since are read again from their overviews.
class MessageIndex
{
public:
    MessageIndex();

    struct Place
    {
        int group = 0;
        quint32 article = 0;
        bool operator==(const Place &) const = default;
    };

    /// Reads both files. False: there is nothing to build on, every group must be added.
    bool load();

    /// Writes both files if anything changed. @p generations: each group's number and generation.
    [[nodiscard]] bool save(const QHash<int, quint64> &generations);
    bool isChanged() const { return m_changed; }

    /// What the files knew of the group; empty when they did not know it.
    std::optional<quint64> generationOf(int group) const;

    void add(quint64 idHash, Place place);
    void remove(quint64 idHash, Place place);
    void removeGroup(int group);
    void clear();

    /// All places of the identifier. An identifier's hash may be shared by chance: compare the Message-ID
    /// where that matters.
    std::vector<Place> find(quint64 idHash) const;

    int size() const { return int(m_live); }

private:
    struct Entry
    {
        quint64 hash = 0; ///< 0: free to be used again
        quint32 group = 0;
        quint32 article = 0;
        quint32 next = 0; ///< the next entry with this hash; behind the newest comes the oldest
    };

    void gather();
    void chain();
    std::size_t findSlot(quint64 hash) const;
    void rebuildTable();
    void insertSlot(quint32 entry);
    std::size_t slotOf(quint64 hash) const { return std::size_t(hash) & (m_table.size() - 1); }
    QByteArray encodedEntries() const;
    QByteArray encodedTable(const QHash<int, quint64> &generations) const;
    bool takeEntries(const QByteArray &bytes);
    bool takeTable(const QByteArray &bytes);

    IndexFile m_list;
    IndexFile m_index;
    std::vector<Entry> m_entries;
    std::vector<quint32> m_table; ///< the newest entry of a hash + 1; 0 is free; a power of two in size
    std::size_t m_live = 0;
    QHash<int, quint64> m_generations;
    bool m_changed = false;
};
