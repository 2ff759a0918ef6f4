#pragma once

#include <QSet>

/// Somebody's wish that an account fetch, as it waits for its turn.
struct AccountFetchRequest
{
    int account = 0;
    bool manual = false;         ///< the user asked for it
    bool allConnections = false; ///< all of the account's connections are to be used

    /// A person waits for it, and may be asked: also of those that fetch along by a chain only when somebody
    /// began it.
    bool attended = false;
    QSet<int> visited; ///< accounts that fetched before it in its chain

    bool operator==(const AccountFetchRequest &other) const
    {
        return account == other.account && manual == other.manual && allConnections == other.allConnections;
    }
};
