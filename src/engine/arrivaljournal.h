#pragma once

#include "store/filehandle.h"
#include "store/group.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

/// What an account is about to store, so that a crash neither loses nor doubles mail: the file
/// "Accounts/<number>/Arriving".
///
/// Its head names the group and the next article there when the batch began, and is synced before the first
/// message is stored. A line with identifier, length and CRC-32 of each message is written before it is
/// stored, and synced before the group's flush. After the flush, when what has arrived is remembered
/// elsewhere, the file goes. A journal that is found therefore tells which of its messages are in the group:
/// those of its lines that fit the group's articles, in their order, from that number on.
class ArrivalJournal
{
public:
    explicit ArrivalJournal(int account);

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
        std::vector<QByteArray> arrived; ///< the identifiers of the messages that are in the group
    };

    /// What an earlier run left; empty when it left nothing. @p groupOf gives a group by its number, or null.
    std::optional<Found> read(const std::function<Group *(int)> &groupOf) const;

private:
    QString m_path;
    int m_account;
    FileHandle m_file;
    qint64 m_end = 0;
};
