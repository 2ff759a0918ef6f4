#pragma once

#include "store/filehandle.h"
#include "store/overview.h"

#include <QByteArray>
#include <QString>

/// What a bin needs from the group it belongs to.
class BinOwner
{
public:
    virtual ~BinOwner() = default;

    /// False where the group's options switch the compression off.
    virtual bool compressesMessages() const = 0;

    /// A record was not where an overview said: the group must be repaired.
    virtual void markForRepair() = 0;
};

/// One numbered bin of a group: message texts back to back, each behind a header that copies its overview. No
/// index: scanning finds every message again. Positions and lengths are bytes; integers on disk are
/// little-endian. Nothing is synced until sync() is called.
class BinFile
{
public:
    /// The bin file @p number in @p directory; @p owner must outlive it. Files are opened when needed.
    BinFile(const QString &directory, int number, BinOwner &owner);

    int number() const { return m_number; }
    QString path() const;

    /// Bytes in the file; 0 when it does not exist.
    qint64 size();

    /// Appends @p text (as received, "\n" line ends) and fills in bin, position, lengths and the compressed
    /// mark of @p overview. False: not stored, the reporter has been told, @p overview is as it was. A failed
    /// append takes its bytes back; where that fails too they are dead, and the next compaction drops them.
    [[nodiscard]] bool appendMessage(QByteArrayView text, Overview &overview);

    /// The same with data that are packed already, by pack() or in the record that @p overview is of: only
    /// its bin and position change.
    [[nodiscard]] bool appendStored(QByteArrayView data, Overview &overview);

    /// The data of the record at @p position as they are stored; null when they cannot be read.
    QByteArray readStored(quint32 position);

    /// The text of the message whose record begins at @p position; null after a report when it cannot be
    /// read. Where there is no record the owner is marked for repair.
    QByteArray readMessage(quint32 position);

    /// The record's header at @p position, without a word when there is none.
    std::optional<Overview> headerAt(quint32 position);

    /// Sets the dead mark of the record at @p position. False when there is no record there.
    bool markDead(quint32 position);

    /// Writes @p overview as the header of the record at its position, whatever is there.
    bool rewriteHeader(const Overview &overview);

    /// Cuts the file off at @p size bytes.
    bool cut(qint64 size);

    /// Has the system begin to write what was changed; it is safe only after sync().
    void startWriting() const;

    /// Forces what was appended to the disk, and the name of a file that is new.
    [[nodiscard]] bool sync();

    /// Forgets the open files, before another one takes the place of this one.
    void close();

private:
    bool openForAppending();
    bool openForReading();
    bool write(QByteArrayView data, Overview &overview);

    QString m_directory;
    int m_number;
    BinOwner &m_owner;
    FileHandle m_file;
    bool m_writable = false;
    bool m_unsynced = false;
    bool m_isNew = false; ///< its name may not be on the disk yet
    qint64 m_end = -1;    ///< where the next record goes, once known
};

/// The data of a record for @p text, compressed where @p mayCompress and it is worth while: sets the lengths
/// and the compressed mark of @p overview. Null after a report where the text is too long.
QByteArray packText(const QByteArray &text, Overview &overview, bool mayCompress);

/// Reads and, if needed, decompresses the data behind a record's header, which begins at @p position in @p
/// file. Null when that fails; @p quiet keeps the reason to itself.
QByteArray readMessageData(const FileHandle &file, qint64 position, const Overview &header, bool quiet);

/// Reads the header at @p position; empty when there is no magic or not enough bytes.
std::optional<Overview> readBinHeader(const FileHandle &file, qint64 position);

/// The header of a record as it lies in a bin.
QByteArray recordHeader(const Overview &overview);
