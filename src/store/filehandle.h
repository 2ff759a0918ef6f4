#pragma once

#include <QByteArrayView>
#include <QString>

#include <cstddef>

/// An open file by its descriptor, closed when the handle goes. Reads and writes are whole or failed: short
/// ones and interruptions are carried on with. Nothing here reports; the caller knows the words.
class FileHandle
{
public:
    enum class Mode {
        Read,
        ReadWrite, ///< made when missing, readable by its owner only
        Truncate,  ///< the same, emptied
    };

    FileHandle() = default;
    FileHandle(const QString &path, Mode mode);
    ~FileHandle();
    FileHandle(FileHandle &&other) noexcept;
    FileHandle &operator=(FileHandle &&other) noexcept;

    bool isOpen() const { return m_descriptor >= 0; }
    int descriptor() const { return m_descriptor; }
    void close();

    /// Bytes in the file; -1 on failure.
    qint64 size() const;

    /// Reads up to @p length bytes at @p position; fewer only at the end of the file, -1 on failure.
    qint64 readAt(qint64 position, char *target, qint64 length) const;

    /// False when not all was written; what was written stays.
    bool writeAt(qint64 position, QByteArrayView bytes) const;

    /// Two pieces, one after the other, in one system call where possible.
    bool writeAt(qint64 position, QByteArrayView first, QByteArrayView second) const;

    /// Cuts the file off at @p size bytes.
    bool cut(qint64 size) const;

    /// Has the system begin to write the contents, where it can be asked to, and does not wait.
    void startWriting() const;

    /// Forces the contents to the disk.
    bool sync() const;

private:
    int m_descriptor = -1;
};
