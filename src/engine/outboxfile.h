#pragma once

#include "engine/outboxrecord.h"
#include "store/filehandle.h"

#include <QByteArray>
#include <QString>

#include <set>
#include <vector>

/// What is known of the waiting messages: the list, and its journal "Outbox/Journal", to which every change
/// is appended before it counts.
///
/// A line is the CRC-32 of its rest in eight digits, the ticket, a word and its fields, separated by blanks.
/// What is behind the last line is NULs, reserved beforehand: so a mark is on the disk after one fdatasync of
/// data alone, and an acceptance finds its place on a full disk, too. The journal is written anew, with what
/// still holds, when it is loaded and when little of it holds any more.
class OutboxFile
{
public:
    OutboxFile();

    enum class Found {
        Missing,
        Whole,
        Damaged,    ///< lines in its midst cannot be read: what they said of is doubtful
        Unreadable, ///< nothing may be sent in this run
    };

    /// Reads it and writes it anew. A last line that was cut off never counted.
    Found load();

    std::vector<OutboxRecord> &records() { return m_records; }
    const std::vector<OutboxRecord> &records() const { return m_records; }
    OutboxRecord *find(quint64 ticket); ///< null when there is none; holds until one is added or goes
    const OutboxRecord *find(quint64 ticket) const;

    enum class Durable {
        Later, ///< with the next that is Now, or with sync()
        Now,   ///< on the disk when the call returns
    };

    /// Enters a message and gives it its ticket, which is returned; 0 after a report.
    quint64 add(OutboxRecord record, Durable durable);

    /// Writes what happened, then applies it. False after a report: it is not on the disk, and with Now not
    /// applied either.
    bool mark(quint64 ticket, OutboxVerb verb, const OutboxFields &fields, Durable durable);

    /// Several that are Later, written at once. False after a report: they are applied nonetheless.
    struct Mark
    {
        quint64 ticket;
        OutboxVerb verb;
        OutboxFields fields;
    };
    bool mark(const std::vector<Mark> &marks);

    /// Whether a mark that is Now and names so many recipients finds its place. False after a report.
    bool hasRoom(std::size_t recipients);

    /// The messages are done with.
    void drop(const std::set<quint64> &tickets);

    /// False after a report.
    bool sync();
    bool isReadable() const { return !m_isUnreadable; }
    bool isUnsynced() const { return m_isUnsynced; }

    /// Writes the journal anew when that is worth while.
    void compact();

    QString path() const;

private:
    bool open();
    bool rewrite();
    bool reserve(qint64 length);
    bool append(const QByteArray &line, Durable durable);
    bool apply(quint64 ticket, OutboxVerb verb, const OutboxFields &fields);
    bool readLine(QByteArrayView line);
    Found read(const QByteArray &bytes);
    bool failed();

    std::vector<OutboxRecord> m_records;
    quint64 m_next = 1;
    FileHandle m_file;
    qint64 m_end = 0;
    qint64 m_written = 0; ///< its size when it was written anew
    qint64 m_reserved = 0;
    bool m_isUnsynced = false;
    bool m_isUnreadable = false;
    bool m_isReported = false; ///< that it cannot be written, since it last could
};
