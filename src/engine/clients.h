#pragma once

#include "engine/delivery.h"
#include "net/fetcherfactory.h"

#include <functional>

class POPFetcher;

/// Makes the clients of all accounts, each with a receiver over the store.
class Clients : public FetcherFactory
{
public:
    explicit Clients(Delivery &delivery);

    std::unique_ptr<Fetcher> make(Account &account, const FetcherWish &wish) override;
    std::unique_ptr<Fetcher> makeSession(Account &account) override;

    /// Who has requests for a session hands them over when it is made, before it starts.
    using SessionMade = std::function<void(Account &, POPFetcher &)>;
    void setSessionMade(SessionMade made) { m_sessionMade = std::move(made); }

    /// Who learns of messages that a fetch found too large to keep on the server, by their identifiers.
    using DeletionProposed = std::function<void(int account, const QByteArray &identifier)>;
    void setDeletionProposed(DeletionProposed proposed) { m_deletionProposed = std::move(proposed); }

private:
    std::unique_ptr<Fetcher> makePop(Account &account);

    Delivery &m_delivery;
    SessionMade m_sessionMade;
    DeletionProposed m_deletionProposed;
};
