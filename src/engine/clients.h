#pragma once

#include "engine/delivery.h"
#include "net/fetcherfactory.h"

#include <functional>

class OutgoingQueue;
class POPFetcher;

/// Makes the clients of all accounts, each with a receiver over the store.
class Clients : public FetcherFactory
{
public:
    explicit Clients(Delivery &delivery);

    std::unique_ptr<Fetcher> make(Account &account, const FetcherWish &wish) override;
    std::unique_ptr<Fetcher> makeSession(Account &account) override;

    /// What senders take their messages from; it outlives them. Null: nothing can be sent.
    void setOutgoing(OutgoingQueue *queue) { m_outgoing = queue; }

    /// Who has requests for a session hands them over when it is made, before it starts.
    using SessionMade = std::function<void(Account &, POPFetcher &)>;
    void setSessionMade(SessionMade made) { m_sessionMade = std::move(made); }

    /// Who learns of messages that a fetch found too large to keep on the server, by their identifiers.
    using DeletionProposed = std::function<void(int account, const QByteArray &identifier)>;
    void setDeletionProposed(DeletionProposed proposed) { m_deletionProposed = std::move(proposed); }

private:
    std::unique_ptr<Fetcher> makePop(Account &account);
    std::unique_ptr<Fetcher> makeSmtp(Account &account);

    Delivery &m_delivery;
    OutgoingQueue *m_outgoing = nullptr;
    SessionMade m_sessionMade;
    DeletionProposed m_deletionProposed;
};
