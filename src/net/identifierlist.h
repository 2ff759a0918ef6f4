#pragma once

#include "net/mailreceiver.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

/// Messages that the user asked to be fetched ("FetchIDs") or deleted on the server ("DeleteIDs") at the next
/// fetch of an account. Every change is on the disk when the function returns.
///
/// An object is read once, when it is made: make one, change it, let it go.
///
/// One line each, the identifier and, where something waits for the message, the numbers of its group and
/// article behind blanks; a last line " end", which no identifier can be. What lacks its end is damaged: from
/// a list of messages to fetch its whole lines count, from one of messages to delete nothing does.
class IdentifierList
{
public:
    enum class Purpose { Fetch, Delete };

    IdentifierList(int account, Purpose purpose);

    struct Entry
    {
        QByteArray identifier; ///< no blanks, no controls
        WaitingMessage place;  ///< group 0: nothing waits
    };

    /// In the order in which they were asked for.
    QList<Entry> entries() const { return m_entries; }
    bool contains(const QByteArray &identifier) const { return m_rows.contains(identifier); }

    /// The entry of @p identifier; an empty one when there is none.
    Entry find(const QByteArray &identifier) const;
    bool isEmpty() const { return m_entries.isEmpty(); }

    /// False after a report ("Unable to write fetch IDs file"): the list is as it was.
    [[nodiscard]] bool add(const QList<Entry> &entries);
    [[nodiscard]] bool remove(const QList<QByteArray> &identifiers);

private:
    void read();
    bool write(const QList<Entry> &entries);

    int m_account;
    Purpose m_purpose;
    QList<Entry> m_entries;
    QHash<QByteArray, qsizetype> m_rows;
};
