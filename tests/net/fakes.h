#pragma once

#include "net/accountmanager.h"
#include "net/fetcher.h"
#include "net/fetcherfactory.h"
#include "net/passwordkeeper.h"
#include "net/questions.h"

#include "support/scratch.h"

#include <QHash>
#include <QPointer>
#include <QTimer>

#include <memory>
#include <vector>

// What the tests of accounts have instead of clients, a user, and a keyring.

/// A client that does what the test says and nothing else.
class FakeFetcher : public Fetcher
{
public:
    FakeFetcher(Account &account, const FetcherWish &wish)
        : Fetcher(account)
        , wish(wish)
    {}

    bool start() override
    {
        started = true;
        passwordAtStart = account()->password();
        if (!startsWell)
            setLastError(QStringLiteral("no socket"));
        return startsWell;
    }
    bool isIdle() const override { return idle; }
    void stop() override
    {
        ++stops;
        if (endsWhenStopped)
            fail(AccountFetchReason::Stopped, {}, false);
    }

    using Fetcher::closeConnection;
    using Fetcher::complete;
    using Fetcher::connectionErrorText;
    using Fetcher::fail;
    using Fetcher::holdTimeLimit;
    using Fetcher::isTimeLimitHeld;
    using Fetcher::logLine;
    using Fetcher::mayLogIn;
    using Fetcher::noteLoginRefused;
    using Fetcher::openConnection;
    using Fetcher::releaseTimeLimit;
    using Fetcher::setStatus;
    using Fetcher::setTimeLimit;
    using Fetcher::socket;
    using Fetcher::terminateBody;

    void setIdle(bool is)
    {
        idle = is;
        emit idleChanged();
    }

    const FetcherWish wish;
    bool started = false;
    bool startsWell = true;
    bool idle = false;
    bool endsWhenStopped = true;
    int stops = 0;
    QString passwordAtStart;
};

class FakeFactory : public FetcherFactory
{
public:
    std::unique_ptr<Fetcher> make(Account &account, const FetcherWish &wish) override
    {
        order += account.name();
        if (refused.contains(account.kind()))
            return nullptr;
        auto fetcher = std::make_unique<FakeFetcher>(account, wish);
        fetcher->startsWell = startsWell;
        made.push_back(fetcher.get());
        if (endAtOnce)
            QTimer::singleShot(0, fetcher.get(), [one = fetcher.get()] { one->complete(false); });
        return fetcher;
    }
    std::unique_ptr<Fetcher> makeSession(Account &account) override { return make(account, {}); }

    FakeFetcher *last() const { return made.empty() ? nullptr : made.back().get(); }

    std::vector<QPointer<FakeFetcher>> made;
    QStringList order; ///< names of the accounts that asked
    QList<AccountKind> refused;
    bool startsWell = true;
    bool endAtOnce = false;
};

/// A user who answers when the test says so.
class FakeUser : public UserQuestions
{
public:
    void askCertificate(const CertificateQuestion &question,
                        std::function<void(CertificateAnswer)> answer) override
    {
        certificates.push_back(question);
        certificateAnswer = std::move(answer);
    }
    void askPassword(const PasswordQuestion &question,
                     std::function<void(const QString &, PasswordKeeping)> answer) override
    {
        passwords.push_back(question);
        passwordAnswer = std::move(answer);
    }
    void withdraw(int account) override { withdrawn += account; }

    std::vector<CertificateQuestion> certificates;
    std::vector<PasswordQuestion> passwords;
    std::function<void(CertificateAnswer)> certificateAnswer;
    std::function<void(const QString &, PasswordKeeping)> passwordAnswer;
    QList<int> withdrawn;
};

/// Answers from the event loop, as a keyring does.
class FakeKeyring : public PasswordKeeper
{
public:
    void isAvailable(std::function<void(bool)> answer) override
    {
        QTimer::singleShot(0, [this, answer] { answer(works); });
    }
    void read(const QString &key, std::function<void(bool, const QString &)> answer) override
    {
        QTimer::singleShot(0, [this, key, answer] { answer(works && entries.contains(key), entries[key]); });
    }
    void write(const QString &key, const QString &password, std::function<void(bool)> answer) override
    {
        if (works)
            entries.insert(key, password);
        QTimer::singleShot(0, [this, answer] { answer(works); });
    }
    void remove(const QString &key, std::function<void(bool)> answer) override
    {
        entries.remove(key);
        QTimer::singleShot(0, [this, answer] { answer(works); });
    }

    QHash<QString, QString> entries;
    bool works = true;
};

/// An account with a password, so that nobody is asked.
inline AccountData accountData(const QString &name, AccountKind kind = AccountKind::Pop3)
{
    AccountData account;
    account.name = name;
    account.kind = kind;
    account.host =
        kind == AccountKind::BatchFile ? QStringLiteral("/var/spool/batch") : QStringLiteral("pop.example");
    account.user = QStringLiteral("ada");
    account.password = QStringLiteral("lovelace");
    account.port = 110;
    return account;
}

/// Accounts of a user, with clients that the test moves.
struct AccountRig
{
    AccountRig()
    {
        manager.setFactory(&factory);
        manager.setQuestions(&user);
        manager.setPasswordKeeper(&keyring);
        manager.load();
    }

    Account *add(const AccountData &data)
    {
        const int number = manager.add(data);
        if (number == 0)
            qFatal("the test's account has a fault");
        return manager.account(number);
    }

    Account *addWithoutPassword(quint32 flags = 0)
    {
        AccountData data = accountData(QStringLiteral("a"));
        data.password.clear();
        data.flags = flags;
        return add(data);
    }

    Scratch scratch;
    FakeFactory factory;
    FakeUser user;
    FakeKeyring keyring;
    AccountManager manager;
};
