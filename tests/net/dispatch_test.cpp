#include "net/accountmanager.h"
#include "net/fakes.h"

#include "config/clock.h"
#include "config/settings.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(AccountKind)

class DispatchTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }

    // which requests begin
    void kinds_data();
    void kinds();
    void whatIsDropped_data();
    void whatIsDropped();
    void theLimit();
    void theLimitBehindTheKeyring();
    void anEqualRequestWaitsOnce();
    void aClientThatCannotStart();
    void aKindThatCannotBeServed();

    // chains and intervals
    void chains_data();
    void chains();
    void intervals();
    void aRefusedLogin();

    // the end
    void reasons_data();
    void reasons();
    void wordsOfSeveralLines();
    void unattendedFailuresLeaveAMark();
    void stopping();
    void removedWhileFetching();
    void theEndOfTheProgram();
    void theListOfErrors();
};

void DispatchTest::kinds_data()
{
    QTest::addColumn<AccountKind>("kind");
    QTest::addColumn<int>("connections");
    QTest::addColumn<bool>("manual");
    QTest::addColumn<bool>("all");
    QTest::addColumn<int>("clients");
    QTest::addColumn<bool>("firstIsOutgoing");
    QTest::newRow("POP3 has one client") << AccountKind::Pop3 << 4 << true << true << 1 << false;
    QTest::newRow("offline IMAP") << AccountKind::OfflineImap << 4 << true << true << 1 << false;
    QTest::newRow("online IMAP") << AccountKind::OnlineImap << 0 << false << true << 1 << false;
    QTest::newRow("news, all of its connections") << AccountKind::Nntp << 3 << true << true << 3 << true;
    QTest::newRow("news, no number of connections") << AccountKind::Nntp << 0 << true << true << 1 << true;
    QTest::newRow("news, one connection") << AccountKind::Nntp << 3 << true << false << 1 << true;
    QTest::newRow("news by itself does not send") << AccountKind::Nntp << 2 << false << true << 2 << false;
    QTest::newRow("news, garbage in its file") << AccountKind::Nntp << -7 << true << true << 1 << true;
    QTest::newRow("a sender has the outgoing mail") << AccountKind::Smtp << 1 << false << false << 1 << true;
    QTest::newRow("a batch file") << AccountKind::BatchFile << 0 << false << true << 1 << false;
    QTest::newRow("a batch file, not all") << AccountKind::BatchFile << 0 << true << false << 0 << false;
}

void DispatchTest::kinds()
{
    QFETCH(AccountKind, kind);
    QFETCH(int, connections);
    QFETCH(int, clients);
    AccountRig rig;
    AccountData data = accountData(u"a"_s, kind);
    data.connections = connections;
    Account *account = rig.add(data);
    const ClockOverride clock([] { return qint64(7000'000); });
    const QSignalSpy ended(account, &Account::fetchEnded);
    QFETCH(bool, manual);
    QFETCH(bool, all);
    QCOMPARE(account->fetch(manual, all), clients > 0 ? FetchAnswer::Begun : FetchAnswer::Nothing);
    QCOMPARE(account->runningFetchers(), clients);
    QCOMPARE(rig.factory.made.size(), std::size_t(clients));
    for (int i = 0; i < clients; ++i) {
        FakeFetcher &client = *rig.factory.made[std::size_t(i)];
        QVERIFY(client.started);
        QCOMPARE(client.wish.manual, manual);
        QCOMPARE(client.wish.connection, i);
        QFETCH(bool, firstIsOutgoing);
        QCOMPARE(client.wish.outgoing, i == 0 && firstIsOutgoing);
        QCOMPARE(ended.size(), 0); // not before the last one
        client.complete(true);
        client.complete(true);                                       // heard once
        client.fail(AccountFetchReason::TimedOut, u"late"_s, false); // not at all
    }
    QCOMPARE(account->runningFetchers(), 0);
    QCOMPARE(ended.size(), clients > 0 ? 1 : 0);
    QCOMPARE(account->lastFetch(), clients > 0 ? 7000 : 0);
    QCOMPARE(Fetcher::busyCount(), 0);
    QTRY_COMPARE(Fetcher::live().size(), 0u); // they delete themselves
}

void DispatchTest::whatIsDropped_data()
{
    QTest::addColumn<AccountKind>("kind");
    QTest::addColumn<quint32>("flags");
    QTest::addColumn<bool>("online");
    QTest::addColumn<bool>("blocked");
    QTest::addColumn<FetchAnswer>("answer");
    QTest::newRow("nothing in the way") << AccountKind::Pop3 << 0u << true << false << FetchAnswer::Begun;
    QTest::newRow("left out") << AccountKind::Pop3 << quint32(AccountLeftOut) << true << false
                              << FetchAnswer::Nothing;
    QTest::newRow("the program closes") << AccountKind::Pop3 << 0u << true << true << FetchAnswer::Nothing;
    QTest::newRow("offline") << AccountKind::Pop3 << 0u << false << false << FetchAnswer::Nothing;
    QTest::newRow("a batch file needs no network")
        << AccountKind::BatchFile << 0u << false << false << FetchAnswer::Begun;
    QTest::newRow("a batch file is left out")
        << AccountKind::BatchFile << quint32(AccountLeftOut) << true << false << FetchAnswer::Nothing;
}

void DispatchTest::whatIsDropped()
{
    QFETCH(AccountKind, kind);
    QFETCH(quint32, flags);
    QFETCH(bool, online);
    QFETCH(bool, blocked);
    AccountRig rig;
    AccountData data = accountData(u"a"_s, kind);
    data.flags = flags;
    Account *account = rig.add(data);
    setBoolSetting(Setting::Online, online);
    rig.manager.setFetchesBlocked(blocked);
    QTEST(account->fetch(true, true), "answer");
}

void DispatchTest::theLimit()
{
    AccountRig rig;
    setIntSetting(Setting::FetchConcurrency, 2);
    std::vector<Account *> accounts;
    for (const QString &name : {u"a"_s, u"b"_s, u"c"_s, u"d"_s})
        accounts.push_back(rig.add(accountData(name)));
    const QSignalSpy ended(accounts[3], &Account::fetchEnded);
    const QSignalSpy dropped(&rig.manager, &AccountManager::fetchDropped);
    QCOMPARE(accounts[0]->fetch(true, true), FetchAnswer::Begun);
    QCOMPARE(accounts[1]->fetch(true, true), FetchAnswer::Begun);
    QCOMPARE(accounts[1]->fetch(true, true), FetchAnswer::Nothing); // it fetches already
    QCOMPARE(accounts[2]->fetch(true, true), FetchAnswer::Waiting);
    QCOMPARE(accounts[3]->fetch(true, true), FetchAnswer::Waiting);
    QVERIFY(!accounts[2]->isFetching());
    QVERIFY(rig.manager.isBusy());
    rig.factory.made[1]->fail(AccountFetchReason::TimedOut, {}, false);
    QTRY_COMPARE(accounts[2]->runningFetchers(), 1); // the oldest first
    QCOMPARE(accounts[3]->runningFetchers(), 0);
    setBoolSetting(Setting::Online, false);
    rig.factory.made[0]->complete(false);
    QTRY_COMPARE(dropped.size(), 1); // who waits hears that it will not begin
    QCOMPARE(dropped[0][0].value<Account *>(), accounts[3]);
    QCOMPARE(ended.size(), 0); // what never began does not end
    QCOMPARE(accounts[3]->fetch(true, true), FetchAnswer::Nothing);
    setBoolSetting(Setting::Online, true);
    setIntSetting(Setting::FetchConcurrency, 0); // no limit
    for (Account *account : {accounts[0], accounts[1], accounts[3]})
        QCOMPARE(account->fetch(true, true), FetchAnswer::Begun);
    QCOMPARE(rig.manager.runningFetchers(), 4);
}

/// All get their passwords at the same time, and wait for room all the same.
void DispatchTest::theLimitBehindTheKeyring()
{
    AccountRig rig;
    setIntSetting(Setting::FetchConcurrency, 1);
    rig.keyring.entries.insert(u"pop3://ada@pop.example"_s, u"from the ring"_s);
    std::vector<Account *> accounts;
    for (const QString &name : {u"a"_s, u"b"_s, u"c"_s, u"d"_s}) {
        AccountData data = accountData(name);
        data.password.clear();
        data.flags = AccountKeyring;
        accounts.push_back(rig.add(data));
        QCOMPARE(accounts.back()->fetch(true, true), FetchAnswer::Begun);
    }
    QTRY_VERIFY(!accounts[3]->password().isEmpty());
    QCOMPARE(rig.factory.order, QStringList{u"a"_s});
    const QSignalSpy begun(accounts[1], &Account::fetchStarted);
    rig.factory.last()->complete(false);
    QTRY_COMPARE(rig.factory.order, QStringList({u"a"_s, u"b"_s}));
    QCOMPARE(begun.size(), 0); // it had begun before
    const QSignalSpy stopped(accounts[2], &Account::fetchEnded);
    const QSignalSpy offline(accounts[3], &Account::fetchEnded);
    accounts[2]->stop();
    QCOMPARE(stopped.size(), 1);
    QCOMPARE(stopped[0][0].value<AccountFetchReason>(), AccountFetchReason::Stopped);
    setBoolSetting(Setting::Online, false);
    rig.factory.last()->complete(false);
    QTRY_COMPARE(offline.size(), 1);
    QVERIFY(!rig.manager.isBusy());
    QCOMPARE(rig.factory.made.size(), 2u);
}

void DispatchTest::anEqualRequestWaitsOnce()
{
    AccountRig rig;
    setIntSetting(Setting::FetchConcurrency, 1);
    Account *first = rig.add(accountData(u"a"_s));
    Account *second = rig.add(accountData(u"b"_s));
    first->fetch(true, true);
    for (int i = 0; i < 3; ++i)
        QCOMPARE(second->fetch(true, true), FetchAnswer::Waiting);
    rig.factory.endAtOnce = true;
    const QSignalSpy ended(second, &Account::fetchEnded);
    rig.factory.last()->complete(false);
    QTRY_VERIFY(!rig.manager.isBusy());
    QCOMPARE(ended.size(), 1);
    QCOMPARE(rig.factory.order, QStringList({u"a"_s, u"b"_s}));
}

void DispatchTest::aClientThatCannotStart()
{
    AccountRig rig;
    rig.factory.startsWell = false;
    Account *account = rig.add(accountData(u"a"_s));
    const QSignalSpy ended(account, &Account::fetchEnded);
    account->fetch(true, true);
    QCOMPARE(account->runningFetchers(), 0);
    QCOMPARE(ended.size(), 1);
    QCOMPARE(ended[0][1].toString(), u"no socket"_s);
    QTRY_COMPARE(Fetcher::live().size(), 0u);
}

void DispatchTest::aKindThatCannotBeServed()
{
    AccountRig rig;
    rig.factory.refused = {AccountKind::Nntp};
    Account *account = rig.add(accountData(u"news"_s, AccountKind::Nntp));
    const QSignalSpy ended(account, &Account::fetchEnded);
    QCOMPARE(account->fetch(true, true), FetchAnswer::Begun);
    QCOMPARE(ended.size(), 1);
    QCOMPARE(account->errors().size(), 1u);
    QCOMPARE(
        account->errors()[0].text,
        u"Service unavailable for account 'news': Accounts of the kind 'News (NNTP)' cannot be served yet"_s);
    QCOMPARE(rig.scratch.reports, QStringList()); // silent by default
}

void DispatchTest::chains_data()
{
    QTest::addColumn<QList<int>>("chained"); // of the accounts 1, 2, 3
    QTest::addColumn<QStringList>("order");
    QTest::newRow("a chain") << QList<int>{2, 3, 0} << QStringList{u"1"_s, u"2"_s, u"3"_s};
    QTest::newRow("a ring") << QList<int>{2, 3, 1} << QStringList{u"1"_s, u"2"_s, u"3"_s};
    QTest::newRow("a ring further on") << QList<int>{2, 3, 2} << QStringList{u"1"_s, u"2"_s, u"3"_s};
    QTest::newRow("to itself") << QList<int>{1, 0, 0} << QStringList{u"1"_s};
    QTest::newRow("to nobody") << QList<int>{77, 0, 0} << QStringList{u"1"_s};
}

void DispatchTest::chains()
{
    QFETCH(QList<int>, chained);
    for (const bool manual : {true, false}) {
        AccountRig rig;
        rig.factory.endAtOnce = true;
        setIntSetting(Setting::FetchConcurrency,
                      1); // in a ring the first one is free again when its turn comes
        for (int i = 0; i < chained.size(); ++i) {
            AccountData data = accountData(QString::number(i + 1));
            data.chained = chained[i];
            rig.add(data);
        }
        rig.manager.account(1)->fetch(manual, true);
        QTRY_VERIFY(!rig.manager.isBusy());
        QTEST(rig.factory.order, "order");
    }
}

void DispatchTest::intervals()
{
    AccountRig rig;
    qint64 minute = 100;
    const ClockOverride clock([&minute] { return minute * 60'000; });
    AccountData data = accountData(u"a"_s);
    data.fetchInterval = 10;
    Account *account = rig.add(data);
    rig.add(accountData(u"never by itself"_s));
    rig.factory.endAtOnce = true;
    const auto fetchesAfter = [&](qint64 at) {
        minute = at;
        rig.manager.fetchWhatIsDue();
        rig.manager.fetchWhatIsDue();
        const bool ended = QTest::qWaitFor([&] { return !rig.manager.isBusy(); });
        return ended ? int(rig.factory.order.size()) : -1;
    };
    QCOMPARE(fetchesAfter(100), 1);
    QCOMPARE(fetchesAfter(109), 1);
    QCOMPARE(fetchesAfter(110), 2);
    QCOMPARE(fetchesAfter(50), 3); // the clock was set back
    QCOMPARE(fetchesAfter(59), 3);
    data = account->data();
    data.set(AccountLeftOut, true);
    QVERIFY(rig.manager.update(data));
    QCOMPARE(fetchesAfter(500), 3);
}

void DispatchTest::aRefusedLogin()
{
    AccountRig rig;
    qint64 minute = 100;
    const ClockOverride clock([&minute] { return minute * 60'000; });
    AccountData data = accountData(u"a"_s);
    data.fetchInterval = 10;
    Account *account = rig.add(data);
    rig.manager.fetchWhatIsDue();
    rig.factory.last()->noteLoginRefused(u"-ERR lovelace is wrong"_s);
    rig.factory.last()->fail(AccountFetchReason::Unexpected, u"-ERR lovelace is wrong\r\n"_s, false);
    QCOMPARE(account->mark(), AccountMark::LoginRefused);
    QCOMPARE(account->errors().front().detail, u"-ERR **** is wrong"_s);
    minute = 200;
    rig.manager.fetchWhatIsDue();
    QCOMPARE(rig.factory.made.size(), 1u); // a wrong password is not tried again and again
    data = account->data();
    data.password = u"better"_s;
    QVERIFY(rig.manager.update(data)); // the user acts
    QCOMPARE(account->mark(), AccountMark::None);
    rig.manager.fetchWhatIsDue();
    QCOMPARE(rig.factory.made.size(), 2u);
    QCOMPARE(rig.factory.last()->passwordAtStart, u"better"_s);
}

void DispatchTest::reasons_data()
{
    QTest::addColumn<int>("reason");
    QTest::addColumn<QString>("message"); // with the detail "why" for account "a"
    QTest::newRow("0") << 0 << QString();
    QTest::newRow("1") << 1 << QString();
    QTest::newRow("2") << 2 << QString();
    QTest::newRow("3") << 3 << u"Unable to connect to account 'a':\n\nwhy"_s;
    QTest::newRow("4") << 4 << u"Service unavailable for account 'a':\n\nwhy"_s;
    QTest::newRow("5") << 5 << u"Unexpected response received from account 'a':\n\nwhy"_s;
    QTest::newRow("6") << 6 << u"Account 'a' completed transfer with errors:\n\nwhy"_s;
    QTest::newRow("7") << 7 << u"Unable to login to account 'a':\n\nwhy"_s;
    QTest::newRow("8") << 8 << u"Unexpected response received from account 'a':\n\nwhy"_s;
    QTest::newRow("9") << 9 << u"Unexpected response received from account 'a':\n\nwhy"_s;
    QTest::newRow("10") << 10 << u"Account 'a' has timed out"_s;
    QTest::newRow("11") << 11 << u"Error received from account 'a':\n\nwhy"_s;
    QTest::newRow("12") << 12 << u"Account 'a' closed connection unexpectedly"_s;
}

void DispatchTest::reasons()
{
    QFETCH(int, reason);
    QFETCH(QString, message);
    for (const bool silent : {true, false}) {
        AccountRig rig;
        setBoolSetting(Setting::SilentTransferErrors, silent);
        const ClockOverride clock([] { return qint64(7000'000); });
        Account *account = rig.add(accountData(u"a"_s));
        account->fetch(true, true);
        const QSignalSpy ended(account, &Account::fetchEnded);
        rig.factory.last()->fail(AccountFetchReason(reason), u"why"_s, false);
        QCOMPARE(ended.size(), 1);
        QCOMPARE(int(ended[0][0].value<AccountFetchReason>()), reason);
        const bool isServersWord = reason == 11;
        const bool isShown = !message.isEmpty() && (!silent || isServersWord);
        QCOMPARE(rig.scratch.reports, isShown ? QStringList{message} : QStringList());
        const bool isListed = !message.isEmpty() && !isServersWord;
        QCOMPARE(account->errors().size(), isListed ? 1u : 0u);
        QCOMPARE(rig.manager.errors().all().size(), account->errors().size());
        if (isListed) {
            QCOMPARE(account->errors()[0].text, message.simplified());
            QCOMPARE(account->errors()[0].time, 7000);
            QCOMPARE(account->errors()[0].accountName, u"a"_s);
        }
        account->fetch(true, true);
        QVERIFY(account->errors().empty()); // of the last fetch only
    }
}

/// They stay lines in the box, become one in the lists, and bring no controls along.
void DispatchTest::wordsOfSeveralLines()
{
    AccountRig rig;
    setBoolSetting(Setting::SilentTransferErrors, false);
    Account *account = rig.add(accountData(u"a"_s));
    account->fetch(true, true);
    rig.factory.last()->fail(AccountFetchReason::WithErrors, u"one\r\n-ERR two\x1b\r\n"_s, true);
    QCOMPARE(rig.scratch.reports,
             QStringList{u"Account 'a' completed transfer with errors:\n\none\n-ERR two\\x1b"_s});
    const TransferError &error = account->errors().front();
    QCOMPARE(error.detail, u"one -ERR two\\x1b"_s);
    QCOMPARE(error.text, u"Account 'a' completed transfer with errors: one -ERR two\\x1b"_s);
}

void DispatchTest::unattendedFailuresLeaveAMark()
{
    AccountRig rig;
    setBoolSetting(Setting::SilentTransferErrors, false);
    Account *account = rig.add(accountData(u"a"_s));
    const QSignalSpy marks(&rig.manager, &AccountManager::markChanged);
    account->fetch(false, true);
    QVERIFY(!rig.factory.last()->isAttended());
    rig.factory.last()->fail(AccountFetchReason::TimedOut, {}, false);
    QCOMPARE(rig.scratch.reports, QStringList());
    QCOMPARE(account->mark(), AccountMark::Failed);
    QCOMPARE(account->markText(), u"Account 'a' has timed out"_s);
    QCOMPARE(marks.size(), 1);
    account->fetch(false, true);
    QCOMPARE(account->mark(), AccountMark::Failed);
    rig.factory.last()->complete(false);
    QCOMPARE(account->mark(), AccountMark::None); // it mended itself
}

void DispatchTest::stopping()
{
    AccountRig rig;
    setIntSetting(Setting::FetchConcurrency, 2);
    Account *news = rig.add([] {
        AccountData data = accountData(u"news"_s, AccountKind::Nntp);
        data.connections = 2;
        return data;
    }());
    Account *waiting = rig.add(accountData(u"waiting"_s));
    const QSignalSpy newsEnded(news, &Account::fetchEnded);
    const QSignalSpy waitingEnded(waiting, &Account::fetchEnded);
    const QSignalSpy waitingDropped(waiting, &Account::fetchDropped);
    news->fetch(true, true);
    QCOMPARE(waiting->fetch(true, true), FetchAnswer::Waiting);
    rig.manager.setFetchesBlocked(true);
    rig.manager.stopAll();
    QCOMPARE(newsEnded.size(), 1);
    QCOMPARE(newsEnded[0][0].value<AccountFetchReason>(), AccountFetchReason::Stopped);
    QCOMPARE(waitingDropped.size(), 1);
    QCOMPARE(waitingEnded.size(), 0);
    QVERIFY(!rig.manager.isBusy());
    QTRY_COMPARE(Fetcher::live().size(), 0u);
    QCOMPARE(rig.scratch.reports, QStringList());
    QVERIFY(rig.manager.errors().all().empty());
}

void DispatchTest::removedWhileFetching()
{
    AccountRig rig;
    Account *account = rig.add(accountData(u"a"_s));
    const QPointer<Account> guard(account);
    account->fetch(true, true);
    const QPointer<FakeFetcher> client = rig.factory.last();
    client->endsWhenStopped = false;
    const QSignalSpy deleted(&rig.manager, &AccountManager::accountDeleted);
    rig.manager.remove(account->number());
    QCOMPARE(deleted.size(), 1);
    QCOMPARE(client->stops, 1); // what has arrived whole is stored
    QVERIFY(!client->account());
    client->setStatus(u"still there"_s, true); // writes nowhere
    QTRY_VERIFY(!guard);
    QTRY_COMPARE(Fetcher::live().size(), 0u);

    // from within its own end
    Account *second = rig.add(accountData(u"b"_s));
    connect(second, &Account::fetchEnded, &rig.manager,
            [&rig, second] { rig.manager.remove(second->number()); });
    second->fetch(true, true);
    rig.factory.last()->complete(false);
    QTRY_COMPARE(Fetcher::live().size(), 0u);
    QVERIFY(rig.manager.accounts().empty());
}

void DispatchTest::theEndOfTheProgram()
{
    AccountRig rig;
    setIntSetting(Setting::FetchConcurrency, 1);
    Account *running = rig.add(accountData(u"a"_s));
    Account *waiting = rig.add(accountData(u"b"_s));
    const QSignalSpy ended(running, &Account::fetchEnded);
    running->fetch(true, true);
    waiting->fetch(true, true);
    rig.factory.last()->endsWhenStopped = false;
    rig.manager.shutDown();
    QCOMPARE(rig.factory.last()->stops, 1);
    QCOMPARE(Fetcher::busyCount(), 0);
    QCOMPARE(ended.size(), 1);
    QVERIFY(!rig.manager.isBusy());
    QCOMPARE(waiting->fetch(true, true), FetchAnswer::Nothing);
    QTRY_COMPARE(Fetcher::live().size(), 0u);
}

void DispatchTest::theListOfErrors()
{
    AccountRig rig;
    for (int i = 0; i < int(TransferErrors::kMost) + 3; ++i)
        rig.manager.errors().add({1, u"a\tb"_s, 7000 + i, AccountFetchReason::TimedOut, u"x\ny"_s, u"end"_s});
    QCOMPARE(rig.manager.errors().all().size(), TransferErrors::kMost);
    QCOMPARE(rig.manager.errors().all().front().time, 7003);
    QVERIFY(rig.manager.save());
    TransferErrors again;
    again.load();
    QCOMPARE(again.all().size(), TransferErrors::kMost);
    QCOMPARE(again.all().back().accountName, u"a\tb"_s);
    QCOMPARE(again.all().back().detail, u"x\ny"_s);
    QCOMPARE(again.all().back().reason, AccountFetchReason::TimedOut);
    again.clear();
    QVERIFY(again.save());
    TransferErrors empty;
    empty.load();
    QVERIFY(empty.all().empty());
}

QTEST_GUILESS_MAIN(DispatchTest)
#include "dispatch_test.moc"
