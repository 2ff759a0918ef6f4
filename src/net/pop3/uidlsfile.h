#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

/// One line of a UIDLs file.
struct UidlsEntry
{
    qint64 taken = 0; ///< when the message was first taken: seconds since 1970 UTC
    QByteArray identifier;
};

/// The file "UIDLs" of an account: the identifiers of the messages that were taken and are still on the
/// server. A first line with the number of those that follow; then a line "seconds identifier" each.
///
/// What cannot be understood of it is skipped and noted. When it holds fewer than its first line says, or is
/// missing, what its ".backup" names counts as well: to remember too much does not harm.
class UidlsFile
{
public:
    explicit UidlsFile(int account);

    /// Nothing: it is there and cannot be read, after "Unable to read UIDLs file".
    std::optional<QList<UidlsEntry>> read() const;

    /// Writes it, and the same as its ".backup". False after "Unable to write UIDLs file": the old one is as
    /// it was.
    [[nodiscard]] bool write(const QList<UidlsEntry> &entries) const;

    /// Deletes both.
    void remove() const;

private:
    QString m_name;
};
