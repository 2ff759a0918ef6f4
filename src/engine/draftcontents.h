#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

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

    /// Empty when it is gone or damaged.
    std::optional<QByteArray> read(const QByteArray &key) const;

    /// Removes what none of @p keys names.
    void removeAllBut(const QList<QByteArray> &keys);

    /// Lets go of the bytes that keep() remembers, but for those of @p keys.
    void forgetAllBut(const QList<QByteArray> &keys);

private:
    struct Known
    {
        QByteArray data; ///< shared with whoever attached it, so that its address stays its own
        QByteArray key;
    };

    QString pathOf(const QByteArray &key) const;

    QString m_directory;
    QList<Known> m_known; ///< those that lie on the disk: large ones are hashed and compared once
};
