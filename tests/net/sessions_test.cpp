#include "net/accountmanager.h"
#include "net/fakes.h"

#include "config/settings.h"
#include "support/memory.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

/// Sessions of accounts that serve requests for single messages, beside fetches and never as one.
class SessionsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void idleSessions();
    void sessions();
    void aSessionThatIsStillToBegin();
    void servingIsNoFetch();
    void servingEndsWithItsSession();
};

void SessionsTest::idleSessions()
{
    AccountRig rig;
    Account *account = rig.add(accountData(u"a"_s));
    QVERIFY(account->openSession(true));
    const QPointer<FakeFetcher> session = rig.factory.last();
    QCOMPARE(account->session(), session.get());
    QCOMPARE(account->fetch(true, true), FetchAnswer::Nothing); // it serves a request
    session->idle = true;
    QCOMPARE(rig.manager.runningFetchers(), 0); // room for others
    session->endsWhenStopped = false;
    QCOMPARE(account->fetch(true, true), FetchAnswer::Waiting);
    QCOMPARE(session->stops, 1);
    QCOMPARE(rig.factory.made.size(), 1u); // the mailbox is locked until it is gone
    session->complete(false);
    QCOMPARE(rig.factory.made.size(), 2u);
    QVERIFY(account->isFetching());
    QVERIFY(!account->session());

    AccountData online = accountData(u"b"_s, AccountKind::OnlineImap);
    Account *imap = rig.add(online);
    QCOMPARE(imap->fetch(true, true), FetchAnswer::Begun);
    QCOMPARE(imap->fetch(true, true), FetchAnswer::Begun); // beside the one session
    QCOMPARE(imap->fetch(true, true), FetchAnswer::Nothing);
}

void SessionsTest::sessions()
{
    AccountRig rig;
    Account *account = rig.addWithoutPassword();
    const QSignalSpy ended(account, &Account::sessionEnded);
    const QSignalSpy fetches(account, &Account::fetchEnded);
    QVERIFY(account->openSession(false));
    QCOMPARE(ended.size(), 1); // no password, and nobody to ask
    QCOMPARE(ended[0][0].value<AccountFetchReason>(), AccountFetchReason::LoginFailed);
    AccountData data = account->data();
    data.password = u"lovelace"_s;
    QVERIFY(rig.manager.update(data));
    QVERIFY(account->openSession(false));
    QVERIFY(account->openSession(false)); // the same
    QCOMPARE(rig.factory.made.size(), 1u);
    rig.factory.last()->fail(AccountFetchReason::ConnectionClosed, {}, false);
    QCOMPARE(ended.size(), 2);
    QCOMPARE(fetches.size(), 0);
    setBoolSetting(Setting::Online, false);
    QVERIFY(!account->openSession(true));
}

/// Whoever wants something of it meanwhile is served by the same one.
void SessionsTest::aSessionThatIsStillToBegin()
{
    AccountRig rig;
    Account *account = rig.addWithoutPassword();
    const QSignalSpy ended(account, &Account::sessionEnded);
    QVERIFY(account->openSession(true));
    QVERIFY(account->openSession(true));
    QTRY_COMPARE(rig.user.passwords.size(), 1u);
    QVERIFY(account->openSession(true));
    rig.user.passwordAnswer(u"lovelace"_s, PasswordKeeping::ThisRun);
    QCOMPARE(rig.factory.made.size(), 1u);
    rig.factory.last()->complete(false);
    QCOMPARE(ended.size(), 1);
    rig.factory.refused = {AccountKind::Pop3};
    QVERIFY(account->openSession(true));
    QCOMPARE(ended.size(), 2); // there is none for this kind
    QVERIFY(!account->session());
}

/// It shows what it does, can be stopped, and counts for nothing that fetches count for.
void SessionsTest::servingIsNoFetch()
{
    AccountRig rig;
    AccountData data = accountData(u"a"_s);
    data.chained = rig.add(accountData(u"chained"_s))->number();
    Account *account = rig.add(data);
    const QSignalSpy begun(&rig.manager, &AccountManager::servingStarted);
    const QSignalSpy ended(&rig.manager, &AccountManager::servingEnded);
    const QSignalSpy fetches(&rig.manager, &AccountManager::fetchStarted);
    const QSignalSpy fetchesEnded(&rig.manager, &AccountManager::fetchEnded);
    QVERIFY(account->openSession(true));
    QVERIFY(account->isServing());
    QCOMPARE(begun.size(), 1);
    FakeFetcher &session = *rig.factory.last();
    session.setStatus(u"Fetching message 1..."_s, false);
    QCOMPARE(account->status(), u"Fetching message 1..."_s);
    session.setIdle(true);
    QVERIFY(!account->isServing());
    QCOMPARE(ended.size(), 1);
    QCOMPARE(ended[0][1].value<AccountFetchReason>(), AccountFetchReason::None);
    QCOMPARE(account->status(), QString());
    session.setIdle(false); // it has another request
    QVERIFY(account->isServing());
    QCOMPARE(begun.size(), 2);
    account->stop();
    QCOMPARE(session.stops, 1);
    QCOMPARE(ended.size(), 2);
    QCOMPARE(ended[1][1].value<AccountFetchReason>(), AccountFetchReason::Stopped);
    QCOMPARE(account->lastFetch(), 0);
    QCOMPARE(rig.factory.order, QStringList{u"a"_s}); // nobody fetched along
    QCOMPARE(fetches.size() + fetchesEnded.size(), 0);
}

void SessionsTest::servingEndsWithItsSession()
{
    AccountRig rig;
    Account *account = rig.addWithoutPassword();
    const QSignalSpy begun(account, &Account::servingStarted);
    const QSignalSpy ended(account, &Account::servingEnded);
    QVERIFY(account->openSession(true));
    QVERIFY(account->isServing()); // the user sees what waits for the password
    QTRY_COMPARE(rig.user.passwords.size(), 1u);
    rig.user.passwordAnswer({}, PasswordKeeping::ThisRun);
    QCOMPARE(ended.size(), 1);
    QCOMPARE(ended[0][0].value<AccountFetchReason>(), AccountFetchReason::LoginFailed);
    account->keepPassword(u"lovelace"_s, PasswordKeeping::ThisRun);
    QVERIFY(account->openSession(true));
    rig.factory.last()->fail(AccountFetchReason::TimedOut, u"why"_s, false);
    QCOMPARE(ended.size(), 2);
    QCOMPARE(ended[1][1].toString(), u"why"_s);
    QCOMPARE(account->outcome(), AccountFetchReason::None);
    QVERIFY(account->errors().empty());
    QCOMPARE(rig.manager.errors().all().size(), 2u); // it is told all the same
    QVERIFY(account->openSession(true));
    rig.factory.last()->setIdle(true);
    rig.factory.last()->complete(false); // after its time
    QCOMPARE(begun.size(), 3);
    QCOMPARE(ended.size(), 3);
    rig.factory.refused = {AccountKind::Pop3};
    QVERIFY(account->openSession(true));
    QVERIFY(account->openSession(true) && !account->isServing());
    QCOMPARE(begun.size(), ended.size());
}

QTEST_GUILESS_MAIN(SessionsTest)
#include "sessions_test.moc"
