#pragma once

#include "engine/drafts.h"
#include "store/filehandle.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

/// The versions of one draft, on the disk: the file "Versions", to which each is appended and synced. When it
/// holds kMost, it becomes "Earlier", in the place of an older one, and a new one begins; of both together
/// the last kMost count.
///
/// A record is a line "version SERIAL TIME CHARACTERS STORED LENGTH CRC", a line with subject, beginning and
/// the keys of the attachments, STORED bytes and a line end. LENGTH is that of the text when it is
/// compressed, else 0; the CRC-32 covers all but itself. What does not fit its CRC is passed over: the
/// records around it are still found, and it stays in its file. A file that cannot be read is never written
/// to: it is kept beside, with ".unreadable" behind its name.
class DraftJournal
{
public:
    static constexpr int kMost = 50;

    /// @p directory is that of the draft, in full; it need not be there yet.
    explicit DraftJournal(QString directory);

    struct Entry
    {
        int serial = 0; ///< rises with each version, from 1
        DraftVersion version;
        QList<QByteArray> contents; ///< keys of its attachments
        bool isEarlier = false;     ///< lies in the older file
        qint64 position = 0;        ///< of its text in the file
        qint64 stored = 0;          ///< bytes there
        qint64 length = 0;          ///< of the text, when it is compressed
    };

    /// The last kMost, the oldest first.
    const std::vector<Entry> &entries() const { return m_entries; }

    /// Whether there were versions and none can be read: a file cannot be opened, or is damaged throughout.
    /// The beginning of a first version, which was being written, is none.
    bool isLost() const { return m_entries.empty() && m_hasDamage; }

    /// The next version's serial is above @p serial, too.
    void countFrom(int serial) { m_lastSerial = qMax(m_lastSerial, serial); }

    /// The text of one; empty when it cannot be read any more.
    std::optional<QByteArray> text(const Entry &entry) const;

    /// Appends a version and syncs it. False: the file is as it was.
    [[nodiscard]] bool append(const DraftVersion &version, const QList<QByteArray> &contents,
                              const QByteArray &text);

    /// The keys that any record of the files names, those that no longer count included.
    QList<QByteArray> contents() const;

private:
    std::vector<Entry> read(bool isEarlier);
    QString pathOf(bool isEarlier) const;
    bool openForWriting();
    bool setUnreadableAside();
    void rotate();

    QString m_directory;
    FileHandle m_file;
    std::vector<Entry> m_entries;
    std::vector<Entry> m_old; ///< beyond the last kMost, still in the files
    int m_inFile = 0;         ///< records in "Versions"
    int m_lastSerial = 0;
    qint64 m_end = 0;         ///< of "Versions": where the next record goes
    bool m_hasDamage = false; ///< nothing can be read of a file that holds something
    QStringList m_unreadable; ///< files that are there and cannot be read
};
