#pragma once

#include <memory>

class Account;
class Fetcher;

/// What a client is made for.
struct FetcherWish
{
    bool manual = false;   ///< the user asked for it
    bool outgoing = false; ///< it is handed the outgoing queue (a sender; the first client of a news account)
    int connection = 0;    ///< which of the account's connections it is, from 0
};

/// Makes the clients of accounts. Declared down here so that the accounts may start what they do not know.
class FetcherFactory
{
public:
    virtual ~FetcherFactory() = default;

    /// The client of @p account's kind, not started yet; the import of a batch-file account as well. Null:
    /// accounts of that kind cannot be served.
    virtual std::unique_ptr<Fetcher> make(Account &account, const FetcherWish &wish) = 0;

    /// A client that stays connected and serves requests for single messages. Null: there is none for that
    /// kind.
    virtual std::unique_ptr<Fetcher> makeSession(Account &account) = 0;
};
