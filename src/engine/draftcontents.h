#pragma once

#include "store/filehandle.h"

#include <QByteArray>
#include <QCryptographicHash>
#include <QList>
#include <QString>

#include <memory>
#include <optional>

/// The bytes of a draft's attachments, each a file whose name is its hash: what several versions hold is
/// stored once.
class DraftContents
{
public:
    /// @p directory in full; it is made with the first content.
    explicit DraftContents(QString directory);

    /// Stores @p data unless it is there, synced; its key. Empty when it cannot be written.
    std::optional<QByteArray> keep(const QByteArray &data);

    enum class Progress { Working, Done, Failed };

    /// The same in slices of some milliseconds: to be called until it is done; other data ends what was begun
    /// before. What it did is not lost on keep().
    Progress keepOn(const QByteArray &data);
    qint64 storedSoFar() const { return m_storing ? m_storing->synced : 0; } ///< bytes of that

    bool knows(const QByteArray &data) const; ///< keep() has nothing to do

    /// Empty when it is gone or damaged. What was read is known: keep() and a second read() have nothing to
    /// do.
    std::optional<QByteArray> read(const QByteArray &key);

    /// Removes what none of @p keys names.
    void removeAllBut(const QList<QByteArray> &keys);

    /// Lets go of the bytes that keep() and read() remember, but for those of @p keys, and of what is half
    /// stored.
    void forgetAllBut(const QList<QByteArray> &keys);

private:
    struct Known
    {
        QByteArray data; ///< shared with whoever attached it, so that its address stays its own
        QByteArray key;
    };

    /// A content on its way: hashed, then written and synced piece by piece, at last put in its place.
    struct Storing
    {
        QByteArray data;
        QCryptographicHash hash{QCryptographicHash::Blake2b_256};
        qint64 hashed = 0;
        QByteArray key;
        FileHandle file;
        qint64 written = 0;
        qint64 synced = 0;
    };

    QString pathOf(const QByteArray &key) const;
    QString pathOfNew(const QByteArray &key) const { return pathOf(key) + u'~'; }
    const Known *known(const QByteArray &data) const;
    Progress goOn(const QByteArray &data, qsizetype pieceSize);
    Progress step(qsizetype pieceSize);
    bool hashOn();
    Progress beginWriting(qsizetype pieceSize);
    Progress putInPlace();
    Progress ended(Progress progress);

    QString m_directory;
    QList<Known> m_known; ///< those that lie on the disk: large ones are hashed and compared once
    std::unique_ptr<Storing> m_storing;
};
