#include "engine/clients.h"

#include "engine/accountreceiver.h"
#include "engine/batchfetcher.h"
#include "net/account.h"
#include "net/pop3/popfetcher.h"
#include "net/smtp/smtpsender.h"

Clients::Clients(Delivery &delivery)
    : m_delivery(delivery)
{}

std::unique_ptr<Fetcher> Clients::make(Account &account, const FetcherWish &)
{
    switch (account.kind()) {
    case AccountKind::Pop3: return makePop(account);
    case AccountKind::Smtp: return makeSmtp(account);
    case AccountKind::BatchFile: return std::make_unique<BatchFetcher>(account, m_delivery);
    case AccountKind::None:
    case AccountKind::OfflineImap:
    case AccountKind::Nntp:
    case AccountKind::OnlineImap: break;
    }
    return nullptr;
}

std::unique_ptr<Fetcher> Clients::makePop(Account &account)
{
    auto fetcher = std::make_unique<POPFetcher>(
        account, PopTask::Fetch, std::make_unique<AccountReceiver>(m_delivery, account.data()));
    if (m_deletionProposed) {
        QObject::connect(fetcher.get(), &POPFetcher::deletionProposed, fetcher.get(),
                         [proposed = m_deletionProposed, number = account.number()](
                             const QByteArray &identifier) { proposed(number, identifier); });
    }
    return fetcher;
}

std::unique_ptr<Fetcher> Clients::makeSmtp(Account &account)
{
    if (!m_outgoing)
        return nullptr;
    return std::make_unique<SMTPSender>(account, SmtpTask::Send, m_outgoing);
}

std::unique_ptr<Fetcher> Clients::makeSession(Account &account)
{
    if (account.kind() != AccountKind::Pop3)
        return nullptr;
    auto session = std::make_unique<POPFetcher>(
        account, PopTask::Bodies, std::make_unique<AccountReceiver>(m_delivery, account.data()));
    if (m_sessionMade)
        m_sessionMade(account, *session);
    return session;
}
