#pragma once

#include "store/filehandle.h"
#include "store/group.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>
#include <optional>
#include <vector>

/// What an account is about to store, so that a crash neither loses nor doubles mail: the file
/// "Accounts/<number>/Arriving".
///
/// Its head names the group and the next article there when the batch began. A line with identifier, length
/// and CRC-32 of each message is written before it is stored; the journal is synced before the group's flush.
/// After the flush, when what has arrived is remembered elsewhere, the file is emptied. A journal that is
/// found therefore tells which of its messages are in the group: those of its lines that fit an article of
/// the account from that number on.
///
/// What a run left is looked up at the next start, before anything else changes the group: settle() keeps the
/// identifiers of what has arrived in "Accounts/<number>/Arrived" until somebody has remembered them.
class ArrivalJournal
{
public:
    explicit ArrivalJournal(int account);

    QString path() const { return m_path; }

    /// Begins a batch into @p group. False: the journal cannot be written, so nothing may be stored.
    [[nodiscard]] bool begin(Group &group);

    /// Before a message is stored. @p identifier is the source's own name for it, in one word.
    [[nodiscard]] bool announce(const QByteArray &identifier, QByteArrayView text);

    /// Before the group's flush.
    [[nodiscard]] bool sync();

    /// After the flush, and after what arrived is remembered.
    void done();

    struct Found
    {
        int group = 0;
        bool isKnown = true; ///< false: the group cannot be looked into now
        struct Arrived
        {
            QByteArray identifier;
            quint32 article;
        };
        std::vector<Arrived> arrived; ///< messages that are in the group, or were and have been removed
    };

    /// What an earlier run left; empty when it left nothing. @p groupOf gives a group by its number, or null.
    std::optional<Found> read(const std::function<Group *(int)> &groupOf) const;

    /// Whether anything is left of an earlier batch; cheap.
    bool isLeft() const;

    /// Turns what an earlier run left into identifiers of arrived(). False: it stays for the next try.
    [[nodiscard]] bool settle(const std::function<Group *(int)> &groupOf);

    /// Identifiers of messages that have arrived and that nobody has remembered yet.
    QList<QByteArray> arrived() const;

    /// They are remembered.
    void forgetArrived();

private:
    QString arrivedPath() const;

    QString m_path;
    int m_account;
    FileHandle m_file;
    qint64 m_end = 0;
};
