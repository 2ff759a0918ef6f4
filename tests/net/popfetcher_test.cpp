#include "net/popsession.h"

#include "config/settings.h"
#include "net/identifierlist.h"
#include "support/memory.h"

using namespace Qt::StringLiterals;

using Reason = AccountFetchReason;

// The dialogue with a server: login, encryption, failures, the requests for single messages.

class PopFetcherTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void endings_data();
    void endings();
    void encryption_data();
    void encryption();
    void refusedLogin_data();
    void refusedLogin();
    void logHidesSecrets();
    void statuses();
    void timeOut();
    void stop_data();
    void stop();
    void loginTest();
    void bodies();
    void bodiesWithoutUidl();
    void idleForLong();
    void bodyRefused();
    void bodyOfAnotherMailbox();
    void bodyAfterRenumbering();
    void bodiesTakenBack();
};

namespace {

struct Ending
{
    const char *name;
    QByteArray script;
    quint32 flags;
    Reason reason;
    const char *detail;
};

const QByteArray kEmpty = "C: STAT\nS: +OK 0 0\n";
const QByteArray kStamped = "S: +OK <1896.697170952@dbc.mtview.ca.us>\nC: CAPA\nS: -ERR\n";
const QByteArray kDigest = "C: APOP mrose c4c9334bac560ecc979e58001b3e22fb\n";
const QByteArray kUser = "C: USER mrose\nS: +OK\nC: PASS tanstaaf\nS: +OK\n";

const Ending kEndings[] = {
    {"empty mailbox", popLogin() + kEmpty + popQuit(), kLeave, Reason::None, ""},
    {"hangs up instead of an answer to QUIT", popLogin() + kEmpty + "C: QUIT\nX\n", kLeave, Reason::None, ""},
    {"service refused", "S: -ERR go away\n", kLeave, Reason::Unavailable, "-ERR go away"},
    {"greeting of another protocol", "S: 220 smtp\n", kLeave, Reason::Unavailable, "220 smtp"},
    {"CAPA refused", "S: +OK\nC: CAPA\nS: -ERR\n" + kUser + kEmpty + popQuit(), kLeave, Reason::None, ""},
    {"APOP accepted", kStamped + kDigest + "S: +OK\n" + kEmpty + popQuit(), AccountApop, Reason::None, ""},
    {"APOP refused, then USER", kStamped + kDigest + "S: -ERR\n" + kUser + kEmpty + popQuit(), AccountApop,
     Reason::None, ""},
    {"APOP not wanted", kStamped + kUser + kEmpty + popQuit(), kLeave, Reason::None, ""},
    {"greeting without a stamp", popLogin() + kEmpty + popQuit(), AccountApop, Reason::None, ""},
    {"greeting with a stamp the wrong way round",
     "S: +OK >x<\nC: CAPA\nS: -ERR\n" + kUser + kEmpty + popQuit(), AccountApop, Reason::None, ""},
    {"greeting with an empty stamp", "S: +OK <>\nC: CAPA\nS: -ERR\n" + kUser + kEmpty + popQuit(),
     AccountApop, Reason::None, ""},
    {"hangs up within the greeting", "P: +OK he\nX\n", kLeave, Reason::ConnectionClosed,
     "Awaited was: the greeting"},
    {"hangs up within the listing", popLogin() + "C: STAT\nS: +OK 2 9\nC: UIDL\nS: +OK\nS: 1 a\nX\n", kLeave,
     Reason::ConnectionClosed, "Awaited was: the list of identifiers"},
    {"STAT refused", popLogin() + "C: STAT\nS: -ERR\n", kLeave, Reason::Unexpected, "-ERR"},
    {"STAT without a number", popLogin() + "C: STAT\nS: +OK welcome\n", kLeave, Reason::Unexpected,
     "+OK welcome"},
    {"STAT with a negative number", popLogin() + "C: STAT\nS: +OK -1 0\n", kLeave, Reason::Unexpected,
     "+OK -1 0"},
    {"LIST refused", popLogin() + "C: STAT\nS: +OK 1 9\nC: UIDL\nS: -ERR\nC: LIST\nS: -ERR no\n", kLeave,
     Reason::Unexpected, "-ERR no"},
    {"listing without an end", popLogin() + "C: STAT\nS: +OK 1 9\nC: UIDL\nS: +OK\nG: 1100 1 a\\r\\n\n",
     kLeave, Reason::Unexpected, "The server's listing does not end"},
    {"capabilities without an end", "S: +OK\nC: CAPA\nS: +OK\nG: 1100 UIDL\\r\\n\n", kLeave,
     Reason::Unexpected, "The server's list of capabilities does not end"},
    {"reply that is none", popLogin() + popListing("1 a", "1 9") + "C: RETR 1\nS: what?\n", kLeave,
     Reason::Unexpected, "what?"},
    {"DELE refused",
     popLogin() + popListing("1 a", "1 9") + "C: RETR 1\n" + popText("a") + "C: DELE 1\nS: -ERR locked\n", 0,
     Reason::Unexpected, "-ERR locked"},
    {"hangs up within a message",
     popLogin() + popListing("1 a", "1 9") + "C: RETR 1\nS: +OK\nS: Subject: a\nX\n", kLeave,
     Reason::ConnectionClosed, "Awaited was: messages"},
};

} // namespace

void PopFetcherTest::endings_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("slice");
    for (int row = 0; row < int(std::size(kEndings)); ++row) {
        QTest::newRow(kEndings[row].name) << row << 0;
        if (!kEndings[row].script.contains("G:")) // the client leaves before it is all said
            QTest::addRow("%s, byte by byte", kEndings[row].name) << row << 1;
    }
}

void PopFetcherTest::endings()
{
    QFETCH(int, row);
    QFETCH(int, slice);
    const Ending &ending = kEndings[row];
    PopUserAtTest user(ending.flags);
    QVERIFY(user.play(ending.script, PopTask::Fetch, slice));
    QCOMPARE(user.end.reason, ending.reason);
    QCOMPARE(user.end.detail, QString::fromLatin1(ending.detail));
    QCOMPARE(user.end.times, 1);
}

void PopFetcherTest::encryption_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<quint32>("flags");
    QTest::addColumn<Reason>("reason");
    const quint32 wanted = AccountStartTls | AccountNeedsEncryption;
    QTest::newRow("STLS, and what came in plain behind it thrown away")
        << QByteArray("S: +OK\nC: CAPA\nS: +OK\nS: STLS\nS: .\nC: STLS\n"
                      "P: +OK\\r\\n+OK forged\\r\\nSTLS\\r\\n.\\r\\n\nT\nC: CAPA\nS: +OK\nS: UIDL\nS: .\n") +
               kUser + kEmpty + popQuit()
        << wanted << Reason::None;
    QTest::newRow("not offered: nothing is said")
        << QByteArray("S: +OK\nC: CAPA\nS: +OK\nS: TOP\nS: .\nE\nQ\n") << wanted << Reason::LoginFailed;
    QTest::newRow("not offered, and allowed to go without: what is wanted is wanted")
        << QByteArray("S: +OK\nC: CAPA\nS: -ERR\nE\nQ\n") << quint32(AccountStartTls) << Reason::LoginFailed;
    QTest::newRow("offered and refused") << QByteArray("S: +OK\nC: CAPA\nS: +OK\nS: STLS\nS: .\nC: STLS\n"
                                                       "S: -ERR\nE\nQ\n")
                                         << wanted << Reason::LoginFailed;
    QTest::newRow("this machine itself may do without")
        << popLogin() + kEmpty + popQuit() << quint32(AccountNeedsEncryption) << Reason::None;
}

void PopFetcherTest::encryption()
{
    QFETCH(QByteArray, script);
    QFETCH(quint32, flags);
    QFETCH(Reason, reason);
    PopUserAtTest user(flags);
    const TestCertificate root({.commonName = "Root", .signsOthers = true});
    const TestCertificate own({.addresses = {"127.0.0.1"}}, &root);
    const QString directory = user.scratch.path(u"certificates"_s);
    QVERIFY(QDir().mkpath(directory));
    AccountOptions options;
    options.caFile = root.write(directory, u"root"_s).certificate;
    QVERIFY(writeAccountOptions(7, options));
    ScriptedServer server(script, own.write(directory, u"own"_s));
    QVERIFY(user.play(server));
    QCOMPARE(user.end.reason, reason);
}

void PopFetcherTest::refusedLogin_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<bool>("isRefused");
    QTest::newRow("plain") << QByteArray("-ERR wrong password") << true;
    QTest::newRow("with a code") << QByteArray("-ERR [AUTH] wrong password") << true;
    QTest::newRow("in use") << QByteArray("-ERR [IN-USE] locked") << false;
    QTest::newRow("not now") << QByteArray("-ERR [SYS/TEMP] no") << false;
    QTest::newRow("too soon") << QByteArray("-ERR [LOGIN-DELAY] no") << false;
}

void PopFetcherTest::refusedLogin()
{
    QFETCH(QByteArray, reply);
    QFETCH(bool, isRefused);
    for (const QByteArray &said : {"S: +OK\nC: PASS tanstaaf\nS: " + reply, "S: " + reply}) {
        PopUserAtTest user;
        ScriptedServer server("S: +OK\nC: CAPA\nS: -ERR\nC: USER mrose\n" + said + '\n');
        POPFetcher &fetcher = user.meet(server);
        QVERIFY(fetcher.start());
        QVERIFY(user.waitForEnd());
        QCOMPARE(user.end.reason, Reason::Unexpected);
        QCOMPARE(user.end.detail, QString::fromLatin1(reply));
        QCOMPARE(fetcher.isLoginRefused(), isRefused);
    }
}

void PopFetcherTest::logHidesSecrets()
{
    PopUserAtTest user(AccountApop | kLeave);
    setBoolSetting(Setting::EnableLogging, true);
    setBoolSetting(Setting::FlushLogs, true);
    QVERIFY(user.play(kStamped + kDigest + "S: -ERR\n" + kUser + popListing("1 a", "1 9") + "C: RETR 1\n" +
                      popText("a", "confidential") + popQuit()));
    const QByteArray log = user.file(u"Log"_s);
    QVERIFY(log.contains(">>>> PASS ****"));
    QVERIFY(log.contains("<<<< +OK"));
    QVERIFY(log.contains(">>>> RETR 1"));
    QVERIFY(log.contains("(3 lines, 28 bytes)"));
    for (const char *secret : {"tanstaaf", "c4c9334bac56", "confidential"})
        QVERIFY2(!log.contains(secret), secret);
}

void PopFetcherTest::statuses()
{
    PopUserAtTest user(0);
    QVERIFY(user.play(popLogin() + popListing("1 a", "1 28") + "C: RETR 1\n" + popText("a") +
                      "C: DELE 1\nS: +OK\n" + popQuit()));
    QStringList told = user.statuses;
    told.removeAll(u"Deleting message 1..."_s); // within 50 ms of the one before it is not shown
    told.removeIf([](const QString &text) { return text.startsWith(u"Resolving"_s); });
    told.removeDuplicates();
    QCOMPARE(told, QStringList({u"Connecting to 127.0.0.1..."_s, u"Connected"_s,
                                u"Logging in to mailbox Box"_s, u"Listing mailbox contents..."_s,
                                u"Fetching message 1 of 1 (0% of %1)..."_s.arg(
                                    QLocale().formattedDataSize(28, 1, QLocale::DataSizeSIFormat)),
                                u"Disconnecting..."_s, u"Transfer complete"_s}));
}

void PopFetcherTest::timeOut()
{
    PopUserAtTest user;
    setIntSetting(Setting::POPTimeout, 1);
    QVERIFY(user.play(popLogin() + popListing("1 a|2 b", "1 9|2 9") + "C: RETR 1\n" + popText("a") +
                      "C: RETR 2\nS: +OK\nE\n"));
    QCOMPARE(user.end.reason, Reason::TimedOut);
    QVERIFY(user.end.received);
    QCOMPARE(user.store.texts(), std::vector{storedText("a")}); // what has arrived whole is kept
}

void PopFetcherTest::stop_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<int>("stored");
    QTest::newRow("before the greeting") << QByteArray("W\nE\n") << 0;
    QTest::newRow("within a message: what has arrived whole is stored, no QUIT")
        << popLogin() + popListing("1 a|2 b", "1 9|2 9") + "C: RETR 1\n" + popText("a") +
               "C: RETR 2\nS: +OK\nS: Subject: b\nW\nE\nQ\n"
        << 1;
}

void PopFetcherTest::stop()
{
    QFETCH(QByteArray, script);
    QFETCH(int, stored);
    PopUserAtTest user(0);
    ScriptedServer server(script);
    POPFetcher &fetcher = user.meet(server);
    QVERIFY(fetcher.start());
    QTRY_VERIFY(server.isWaiting());
    QTRY_VERIFY(stored == 0 || user.statuses.last().startsWith(u"Fetching"_s));
    QTRY_COMPARE(server.dialogue().socket().bytesToWrite(), 0);
    fetcher.stop();
    server.release();
    QVERIFY(user.waitForEnd());
    QCOMPARE(user.end.reason, Reason::Stopped);
    QCOMPARE(int(user.store.stored.size()), stored);
    QVERIFY2(server.finished(), server.problem());
}

void PopFetcherTest::loginTest()
{
    PopUserAtTest user(0);
    ScriptedServer server(popLogin() + "C: STAT\nS: +OK 5 999\n" + popQuit());
    POPFetcher &fetcher = user.meet(server, PopTask::LoginTest);
    QVERIFY(fetcher.start());
    QVERIFY(user.waitForEnd());
    QCOMPARE(user.end.reason, Reason::None);
    QCOMPARE(fetcher.messageCount(), 5);
    QVERIFY2(server.finished(), server.problem());
    QVERIFY(user.file(u"UIDLs"_s).isEmpty() && user.file(u"Fetched"_s).isEmpty());
}

void PopFetcherTest::bodies()
{
    PopUserAtTest user;
    user.data.sizeLimit = 1;
    QVERIFY(user.play(popLogin() + popListing("1 a|2 b", "1 2000|2 3000") + "C: TOP 1 0\n" + popHeader("a") +
                      "C: TOP 2 0\n" + popHeader("b") + popQuit()));
    const QByteArray listing = "C: UIDL\nS: +OK\nS: 1 b\nS: 2 a\nS: .\n";
    ScriptedServer server(popLogin() + listing + "C: LIST 2\nS: +OK 2 2000\nC: RETR 2\n" + popText("a") +
                          listing + listing + "C: LIST 1\nS: +OK 1 3000\nC: RETR 1\n" + popText("not b") +
                          "C: QUIT\nS: +OK\nX\n");
    POPFetcher &fetcher = user.meet(server, PopTask::Bodies);
    const QSignalSpy idle(&fetcher, &POPFetcher::idleChanged);
    const QSignalSpy progress(&fetcher, &POPFetcher::progressed);
    QStringList told;
    connect(&fetcher, &POPFetcher::bodyFetched, this, [&](const POPFetcherBodyRequest &request) {
        told += u"got "_s + QString::fromLatin1(request.identifier);
    });
    connect(&fetcher, &POPFetcher::bodyFailed, this,
            [&](const POPFetcherBodyRequest &request, const QString &reason) {
                told += QString::fromLatin1(request.identifier) + u": "_s + reason;
            });
    QVERIFY(fetcher.start());
    QTRY_VERIFY(fetcher.isIdle());
    QVERIFY(fetcher.request({"a", {1, 11}}));
    QVERIFY(fetcher.request({"gone", {1, 12}}));
    QVERIFY(fetcher.request({"b", {1, 13}}));
    QTRY_COMPARE(told.size(), 3);
    QTRY_VERIFY(fetcher.isIdle());
    QCOMPARE(told, QStringList(
                       {u"gone: Message no longer exists"_s, u"b: Message no longer exists"_s, u"got a"_s}));
    QCOMPARE(user.store.completed.size(), 1u);
    QCOMPARE(user.store.completed[0].first, 11);
    QCOMPARE(user.store.completed[0].second.text, storedText("a"));
    QCOMPARE(idle.size(), 3); // at first, with the requests, and behind them
    QCOMPARE(progress.last(), (QVariantList{5000, 5000, 3, 3}));
    fetcher.stop();
    QVERIFY(user.waitForEnd());
    QCOMPARE(user.end.reason, Reason::Stopped);
    QVERIFY2(server.finished(), server.problem());
    QVERIFY(!fetcher.request({"a", {1, 11}}));
    // whole now, it is no different from others
    user.data.flags = 0;
    QVERIFY(user.play(popLogin() + popListing("1 a|2 b", "1 2000|2 3000") + "C: TOP 1 0\n" + popHeader("a") +
                      "C: DELE 1\nS: +OK\n" + popQuit()));
}

void PopFetcherTest::bodiesWithoutUidl()
{
    PopUserAtTest user;
    user.data.sizeLimit = 1;
    QVERIFY(user.play(popLogin() + popListing("-ERR", "1 2000|2 2000") + "C: TOP 1 0\n" + popHeader("a") +
                      "C: TOP 2 0\n" + popHeader("b") + "C: TOP 1 0\n" + popHeader("a") + "C: TOP 2 0\n" +
                      popHeader("b") + popQuit()));
    QCOMPARE(user.store.stored.size(), 2u);
    ScriptedServer server(popLogin() +
                          "C: LIST\nS: +OK\nS: 1 2000\nS: 2 2000\nS: .\nC: LIST 1\nS: -ERR\n"
                          "C: RETR 1\n" +
                          popText("a") + "C: LIST 2\nS: +OK 2 2000\nC: RETR 2\n" + popText("b"));
    POPFetcher &fetcher = user.meet(server, PopTask::Bodies);
    QVERIFY(fetcher.request({user.store.stored[1].identifier, {1, 2}}));
    QVERIFY(fetcher.start());
    QTRY_COMPARE(user.store.completed.size(), 1u);
    QCOMPARE(user.store.completed[0].second.text, storedText("b"));
    QVERIFY2(server.finished(), server.problem());
}

void PopFetcherTest::idleForLong()
{
    PopUserAtTest user;
    ScriptedServer server(popLogin() + popQuit());
    POPFetcher &fetcher = user.meet(server, PopTask::Bodies);
    setIntSetting(Setting::POPTimeout, 1); // does not count while nothing is awaited
    QVERIFY(fetcher.start());
    QTRY_VERIFY(fetcher.isIdle());
    QCOMPARE(user.statuses.last(), u"Idle"_s);
    QVERIFY(QMetaObject::invokeMethod(&fetcher, "slotIdleForLong"));
    QVERIFY(user.waitForEnd());
    QCOMPARE(user.end.reason, Reason::None);
    QVERIFY2(server.finished(), server.problem());
}

void PopFetcherTest::bodyRefused()
{
    PopUserAtTest user;
    user.data.sizeLimit = 1;
    QVERIFY(
        user.play(popLogin() + popListing("1 a", "1 2000") + "C: TOP 1 0\n" + popHeader("a") + popQuit()));
    const QByteArray listing =
        "C: UIDL\nS: +OK\nS: 1 a\nS: .\nC: LIST 1\nS: +OK 1 2000\nC: RETR 1\nS: -ERR no\n";
    for (int time = 1; time <= 3; ++time) {
        ScriptedServer server(popLogin() + listing);
        POPFetcher &fetcher = user.meet(server, PopTask::Bodies);
        QSignalSpy failed(&fetcher, &POPFetcher::bodyFailed);
        QVERIFY(fetcher.request({"a", {1, 1}}));
        QVERIFY(fetcher.start());
        QTRY_COMPARE(failed.size(), 1);
        QCOMPARE(failed[0][1].toString(), u"-ERR no"_s);
        if (time < 3) {
            QVERIFY(user.waitForEnd());
            QCOMPARE(user.end.reason, Reason::Unexpected);
        } else {
            QTRY_VERIFY(fetcher.isIdle()); // the third time only the request fails
        }
    }
}

/// What has its name there is not the message that waits.
void PopFetcherTest::bodyOfAnotherMailbox()
{
    PopUserAtTest user;
    user.data.sizeLimit = 1;
    QVERIFY(
        user.play(popLogin() + popListing("1 a", "1 2000") + "C: TOP 1 0\n" + popHeader("a") + popQuit()));
    user.data.user = u"carol"_s;
    ScriptedServer server(popLogin().replace("mrose", "carol") + "C: UIDL\nS: +OK\nS: 1 a\nS: .\n");
    POPFetcher &fetcher = user.meet(server, PopTask::Bodies);
    QSignalSpy failed(&fetcher, &POPFetcher::bodyFailed);
    QVERIFY(fetcher.request({"a", {1, 1}}));
    QVERIFY(fetcher.start());
    QTRY_COMPARE(failed.size(), 1);
    QCOMPARE(failed[0][1].toString(), u"Message no longer exists"_s);
    QTRY_VERIFY(fetcher.isIdle());
    QVERIFY2(server.finished(), server.problem());
}

/// No fetch has learnt the new names yet: the message is known by its size and header.
void PopFetcherTest::bodyAfterRenumbering()
{
    PopUserAtTest user;
    user.data.sizeLimit = 1;
    QVERIFY(user.play(popLogin() + popListing("1 a|2 b", "1 2000|2 2000") + "C: TOP 1 0\n" + popHeader("a") +
                      "C: TOP 2 0\n" + popHeader("b") + popQuit()));
    ScriptedServer server(popLogin() +
                          "C: UIDL\nS: +OK\nS: 1 x\nS: 2 y\nS: .\nC: LIST\nS: +OK\nS: 1 2000\nS: 2  2000\n"
                          "S: .\nC: LIST 1\nS: +OK  1  2000\nC: RETR 1\n" +
                          popText("a") + "C: LIST 2\nS: +OK 2 2000\nC: RETR 2\n" + popText("b") + popQuit());
    POPFetcher &fetcher = user.meet(server, PopTask::Bodies);
    QVERIFY(fetcher.request({"b", {1, 12}}));
    QVERIFY(fetcher.start());
    QTRY_COMPARE(user.store.completed.size(), 1u);
    QCOMPARE(user.store.completed[0].first, 12);
    QCOMPARE(user.store.completed[0].second.identifier, "b");
    QCOMPARE(user.store.completed[0].second.text, storedText("b"));
    QTRY_VERIFY(fetcher.isIdle());
    fetcher.stop();
    QVERIFY(user.waitForEnd());
    QVERIFY2(server.finished(), server.problem());
}

void PopFetcherTest::bodiesTakenBack()
{
    PopUserAtTest user;
    user.data.sizeLimit = 1;
    QVERIFY(user.play(popLogin() + popListing("1 a|2 b", "1 2000|2 3000") + "C: TOP 1 0\n" + popHeader("a") +
                      "C: TOP 2 0\n" + popHeader("b") + popQuit()));
    ScriptedServer server(popLogin() + "C: UIDL\nS: +OK\nS: 1 a\nS: 2 b\nS: .\nC: LIST 2\nS: +OK 2 3000\n" +
                          "C: RETR 2\nS: +OK\nX\n");
    POPFetcher &fetcher = user.meet(server, PopTask::Bodies);
    const QSignalSpy failed(&fetcher, &POPFetcher::bodyFailed);
    QVERIFY(fetcher.request({"a", {1, 11}}));
    QVERIFY(fetcher.request({"b", {1, 12}}));
    fetcher.forget("a");
    fetcher.forget("nobody");
    QVERIFY(fetcher.start());
    QVERIFY(user.waitForEnd());
    QVERIFY2(server.finished(), server.problem());
    QCOMPARE(failed.size(), 1);
    QCOMPARE(failed[0][0].value<POPFetcherBodyRequest>().identifier, "b");
    QVERIFY(user.file(u"Fetched"_s).contains(" b ") && user.file(u"Fetched"_s).contains(" fh 1 ")); // counted
}

QTEST_GUILESS_MAIN(PopFetcherTest)

#include "popfetcher_test.moc"
