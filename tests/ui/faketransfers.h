#pragma once

#include "net/accountmanager.h"
#include "net/fetcher.h"
#include "net/fetcherfactory.h"

#include <QPointer>

/// A client that does what the test says.
class FakeFetcher : public Fetcher
{
public:
    using Fetcher::Fetcher;

    bool start() override { return true; }
    void stop() override
    {
        wasStopped = true;
        fail(AccountFetchReason::Stopped, {}, false);
    }

    void say(const QString &text) { setStatus(text, true); }
    void line(const char *direction, const QByteArray &text) { logLine(direction, text); }
    void end() { complete(true); }
    void end(AccountFetchReason reason, const QString &detail) { fail(reason, detail, false); }

    bool isIdle() const override { return idle; }
    void setIdle(bool is)
    {
        idle = is;
        emit idleChanged();
    }

    bool wasStopped = false;
    bool idle = false;
};

/// Makes such clients, and keeps hold of the last one of each account.
class FakeClients : public FetcherFactory
{
public:
    std::unique_ptr<Fetcher> make(Account &account, const FetcherWish &) override
    {
        auto fetcher = std::make_unique<FakeFetcher>(account);
        last[account.number()] = fetcher.get();
        return fetcher;
    }
    std::unique_ptr<Fetcher> makeSession(Account &account) override { return make(account, {}); }

    FakeFetcher *of(int account) const { return last.value(account); }

    QHash<int, QPointer<FakeFetcher>> last;
};

inline AccountData popAccount(const QString &name, const QString &host = QStringLiteral("pop.example.org"))
{
    AccountData account;
    account.name = name;
    account.host = host;
    account.user = QStringLiteral("clara");
    account.password = QStringLiteral("secret42");
    account.kind = AccountKind::Pop3;
    account.port = 995;
    account.set(AccountTls, true);
    account.set(AccountNeedsEncryption, true);
    return account;
}
