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

private:
    Delivery &m_delivery;
    SessionMade m_sessionMade;
};
