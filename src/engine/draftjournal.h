#pragma once

#include "engine/drafts.h"
#include "store/filehandle.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <optional>
#include <vector>

/// The versions of one draft, on the disk: the file "Versions", to which each is appended and synced. When it
/// holds kMost, it becomes "Earlier", in the place of an older one, and a new one begins; of both together
/// the last kMost count.
///
/// A record is a line "version SERIAL TIME CHARACTERS STORED LENGTH CRC", a line with subject, beginning and
/// the keys of the attachments, STORED bytes and a line end. LENGTH is that of the text when it is
/// compressed, else 0; the CRC-32 covers all but itself. What does not fit its CRC is passed over: the
/// records around it are still found.
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
    void rotate();

    QString m_directory;
    FileHandle m_file;
    std::vector<Entry> m_entries;
    std::vector<Entry> m_old; ///< beyond the last kMost, still in the files
    int m_inFile = 0;         ///< records in "Versions"
    int m_lastSerial = 0;
    qint64 m_end = 0; ///< of "Versions", behind its last whole record
};
