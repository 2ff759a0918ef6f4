#pragma once

#include "net/pop3/popbodyrequest.h"

#include <QByteArray>
#include <QList>

#include <vector>

/// What a person wants done at the next fetch of an account, in its directory: "FetchIDs" names the messages
/// of which the rest is wanted, a line "group article identifier" each; "DeleteIDs" those to be deleted on
/// the server, a line "identifier" each. A wish stays until it is fulfilled or its message is gone from the
/// server.
///
/// The files are read anew by every call: wishes may be added while a fetch runs. A line that means nothing
/// is skipped and noted.
class PopWishes
{
public:
    explicit PopWishes(int account);

    std::vector<POPFetcherBodyRequest> toFetch() const;
    QList<QByteArray> toDelete() const;

    /// False after "Unable to write fetch IDs file" or "Unable to write delete IDs file". A wish that is
    /// there already is not added again.
    bool fetch(const POPFetcherBodyRequest &request);
    bool remove(const QByteArray &identifier);

    /// Takes fulfilled wishes out again. False as above.
    bool fetched(const QList<QByteArray> &identifiers);
    bool removed(const QList<QByteArray> &identifiers);

private:
    QString m_fetchPath;
    QString m_deletePath;
};
