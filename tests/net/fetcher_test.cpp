#include "net/fetcher.h"

#include "net/accountlog.h"
#include "net/fakes.h"
#include "servers/certificates.h"
#include "servers/scriptedserver.h"

#include "config/clock.h"
#include "config/settings.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// A client that opens its connection and notes what comes.
class Talker : public FakeFetcher
{
public:
    explicit Talker(Account &account)
        : FakeFetcher(account, {})
    {
        QObject::connect(this, &Fetcher::statusChanged, this, [this](const QString &text) { said += text; });
    }

    bool start() override
    {
        openConnection();
        return true;
    }

    QStringList said;
    QStringList lines;
    int connections = 0;

protected:
    void slotConnected() override { ++connections; }
    void slotLineAvailable(const QString &line) override { lines += line; }
    void slotConnectionClosed() override { fail(AccountFetchReason::ConnectionClosed, {}, false); }
};

/// An account whose client is a Talker.
struct Rig
{
    explicit Rig(quint16 port, quint32 flags = 0)
    {
        setBoolSetting(Setting::EnableLogging, true);
        manager.setQuestions(&user);
        manager.load();
        AccountData data = accountData(u"a"_s);
        data.host = u"localhost"_s;
        data.port = port;
        data.flags = flags;
        account = manager.account(manager.add(data));
        ended = std::make_unique<QSignalSpy>(account, &Account::fetchEnded);
    }

    /// A client on its own, wired as the account would.
    Talker *talk(bool attended = true)
    {
        auto *talker = new Talker(*account);
        talker->setAttended(attended);
        QObject::connect(talker, &Fetcher::fetchError, account,
                         [this](Fetcher *fetcher, AccountFetchReason why, const QString &text) {
                             reason = why;
                             detail = text;
                             lastError = fetcher->lastError();
                         });
        talker->start();
        return talker;
    }

    QStringList log() const
    {
        account->flushLog();
        QStringList lines;
        for (const AccountLogLine &line : readAccountLog(account->number()))
            lines += line.text;
        return lines;
    }

    Scratch scratch;
    FakeUser user;
    AccountManager manager;
    Account *account = nullptr;
    std::unique_ptr<QSignalSpy> ended;
    AccountFetchReason reason = AccountFetchReason::None;
    QString detail;
    QString lastError;
};

quint16 deadPort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

const QString kResolving = u"Resolving host localhost..."_s;
const QString kConnecting = u"Connecting to localhost..."_s;

} // namespace

class FetcherTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void bodies_data();
    void bodies();
    void errorTexts();
    void theBusyCount();
    void aLineArrives();
    void namesAreRemembered();
    void namesAreNotRemembered();
    void staleAddresses();
    void silentAddresses();
    void cacheOfNames();
    void refusedConnections();
    void endlessLines();
    void timeLimits();
    void theTimeLimitStandsStill();
    void aQuestionHoldsTheTimeLimit_data();
    void aQuestionHoldsTheTimeLimit();
    void anAccountsOwnAuthority();
    void mayLogIn_data();
    void mayLogIn();
    void theEndComesOnce();
};

void FetcherTest::bodies_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("sent");
    QTest::newRow("empty") << QByteArray() << QByteArray("\r\n.\r\n");
    QTest::newRow("a line without an end") << QByteArray("one") << QByteArray("one\r\n.\r\n");
    QTest::newRow("a line end at the end opens no line") << QByteArray("one\n") << QByteArray("one\r\n.\r\n");
    QTest::newRow("an empty last line stays") << QByteArray("one\n\n") << QByteArray("one\r\n\r\n.\r\n");
    QTest::newRow("line ends") << QByteArray("one\r\ntwo\nthree")
                               << QByteArray("one\r\ntwo\r\nthree\r\n.\r\n");
    QTest::newRow("a single dot") << QByteArray("a\n.\nb\n") << QByteArray("a\r\n..\r\nb\r\n.\r\n");
    QTest::newRow("two dots") << QByteArray("..b") << QByteArray("...b\r\n.\r\n");
    QTest::newRow("dots within") << QByteArray("a.b\nc.") << QByteArray("a.b\r\nc.\r\n.\r\n");
    QTest::newRow("an empty line") << QByteArray("\n") << QByteArray("\r\n.\r\n");
    QTest::newRow("an empty line first") << QByteArray("\n.") << QByteArray("\r\n..\r\n.\r\n");
    QTest::newRow("a lone return") << QByteArray("a\rb\n") << QByteArray("a\rb\r\n.\r\n");
}

void FetcherTest::bodies()
{
    QFETCH(QByteArray, text);
    QTEST(FakeFetcher::terminateBody(text), "sent");
}

void FetcherTest::errorTexts()
{
    QCOMPARE(FakeFetcher::connectionErrorText(0), u"Connection refused"_s);
    QCOMPARE(FakeFetcher::connectionErrorText(1), u"Host not found"_s);
    QCOMPARE(FakeFetcher::connectionErrorText(2), u"Unable to read from socket"_s);
    QCOMPARE(FakeFetcher::connectionErrorText(3), u"SSL error"_s);
    QCOMPARE(FakeFetcher::connectionErrorText(7), u"Connection error (7)"_s);
    QCOMPARE(FakeFetcher::connectionErrorText(-1), u"Connection error (-1)"_s);
}

void FetcherTest::theBusyCount()
{
    Rig rig(1);
    QCOMPARE(Fetcher::busyCount(), 0);
    auto *first = new FakeFetcher(*rig.account, {});
    auto *second = new FakeFetcher(*rig.account, {});
    second->idle = true;
    QCOMPARE(Fetcher::live().size(), 2u);
    QCOMPARE(Fetcher::busyCount(), 1);
    first->complete(false);
    QCOMPARE(Fetcher::busyCount(), 0);
    delete second;
    QTRY_COMPARE(Fetcher::live().size(), 0u);
}

void FetcherTest::aLineArrives()
{
    ScriptedServer server("S: +OK hello\nW\nX");
    Rig rig(server.port());
    const QPointer<Talker> talker = rig.talk();
    QTRY_COMPARE(talker->lines, QStringList{u"+OK hello\r\n"_s});
    QCOMPARE(talker->connections, 1);
    QCOMPARE(talker->said, QStringList({kResolving, kConnecting}));
    server.release();
    QTRY_COMPARE(rig.reason, AccountFetchReason::ConnectionClosed);
    QTRY_VERIFY(!talker);
    QVERIFY2(server.finished(), server.problem());
    QCOMPARE(rig.log(), QStringList({kResolving, kConnecting}));
}

void FetcherTest::namesAreRemembered()
{
    ScriptedServer server("S: one\n--\nS: two");
    Rig rig(server.port());
    QPointer<Talker> talker = rig.talk();
    QTRY_COMPARE(talker->lines.size(), 1);
    QCOMPARE(rig.manager.names().find(u"LOCALHOST"_s).first(), QHostAddress(QHostAddress::LocalHost));
    talker->complete(false);
    talker = rig.talk();
    QTRY_COMPARE(talker->lines.size(), 1);
    QCOMPARE(talker->said, QStringList{kConnecting});
    talker->complete(false);
}

void FetcherTest::namesAreNotRemembered()
{
    ScriptedServer server("S: one");
    Rig rig(server.port());
    setBoolSetting(Setting::CacheDNS, false);
    rig.manager.names().store(u"localhost"_s, {QHostAddress(u"127.0.0.77"_s)}); // is not looked at
    Talker *talker = rig.talk();
    QTRY_COMPARE(talker->lines.size(), 1);
    QCOMPARE(talker->said, QStringList({kResolving, kConnecting}));
    talker->complete(false);
}

void FetcherTest::staleAddresses()
{
    ScriptedServer server("S: one");
    Rig rig(server.port());
    rig.manager.names().store(u"localhost"_s, {QHostAddress(u"127.0.0.77"_s)}); // nobody listens there
    Talker *talker = rig.talk();
    QTRY_COMPARE(talker->lines.size(), 1);
    QCOMPARE(talker->said, QStringList({kConnecting, kResolving, kConnecting}));
    QVERIFY(!rig.manager.names().find(u"localhost"_s).contains(QHostAddress(u"127.0.0.77"_s)));
    talker->complete(false);
}

/// They go with the time-out: the next fetch asks for the name.
void FetcherTest::silentAddresses()
{
    ScriptedServer server("E"); // no word of the handshake
    Rig rig(server.port(), AccountTls);
    rig.manager.names().store(u"localhost"_s, {QHostAddress(QHostAddress::LocalHost)});
    rig.talk()->setTimeLimit(50);
    QVERIFY(!rig.manager.names().find(u"localhost"_s).isEmpty());
    QTRY_COMPARE(rig.reason, AccountFetchReason::TimedOut);
    QVERIFY(rig.manager.names().find(u"localhost"_s).isEmpty());
}

void FetcherTest::cacheOfNames()
{
    qint64 seconds = 1'000'000;
    const ClockOverride clock([&seconds] { return seconds * 1000; });
    const QHostAddress first(u"192.0.2.1"_s);
    const QHostAddress second(u"2001:db8::1"_s);
    NameCache names;
    QVERIFY(names.find(u"mail.example"_s).isEmpty());
    names.store(u"mail.example"_s, {});
    QVERIFY(names.find(u"mail.example"_s).isEmpty());
    names.store(u"Mail.Example"_s, {first, second});
    QCOMPARE(names.find(u"mail.EXAMPLE"_s), QList({first, second}));
    names.prefer(u"mail.example"_s, second);
    QCOMPARE(names.find(u"mail.example"_s), QList({second, first}));
    seconds += 599;
    QCOMPARE(names.find(u"mail.example"_s).size(), 2);
    seconds += 1;
    QVERIFY(names.find(u"mail.example"_s).isEmpty()); // ten minutes
    names.store(u"mail.example"_s, {first});
    seconds -= 3600; // the clock was set back
    QVERIFY(names.find(u"mail.example"_s).isEmpty());
    names.store(u"mail.example"_s, {first});
    names.forget(u"mail.example"_s);
    QVERIFY(names.find(u"mail.example"_s).isEmpty());
}

void FetcherTest::refusedConnections()
{
    Rig rig(deadPort());
    const QPointer<Talker> talker = rig.talk();
    QTRY_COMPARE(rig.reason, AccountFetchReason::Unreachable);
    QCOMPARE(rig.detail, u"Connection refused"_s);
    QCOMPARE(rig.lastError, u"Connection refused"_s);
    QVERIFY(rig.manager.names().find(u"localhost"_s).isEmpty()); // they go at the first failure
    QTRY_VERIFY(!talker);
}

void FetcherTest::endlessLines()
{
    ScriptedServer server("S: hello\nG: 80000000 x\nS:\nE");
    Rig rig(server.port());
    rig.talk();
    QTRY_COMPARE_WITH_TIMEOUT(rig.reason, AccountFetchReason::Unexpected, 20'000);
    QCOMPARE(rig.detail, u"The server sent a line of more than 64 MB"_s);
}

void FetcherTest::timeLimits()
{
    constexpr int kLimit = 500;
    ScriptedServer server("S: hello\nW\nS: more\nE");
    Rig rig(server.port());
    Talker *talker = rig.talk();
    talker->setTimeLimit(kLimit);
    QElapsedTimer quiet; // since the last line
    qint64 waited = -1;
    connect(talker->socket(), &GSocket::lineAvailable, talker, [&quiet] { quiet.start(); });
    qsizetype lines = 0; // the client goes with its end
    connect(talker, &Fetcher::fetchError, this, [&] {
        waited = quiet.elapsed();
        lines = talker->lines.size();
    });
    QTRY_VERIFY(server.isWaiting());
    QTimer::singleShot(kLimit / 2, talker, [&server] { server.release(); }); // a sign of life
    QTRY_COMPARE(rig.reason, AccountFetchReason::TimedOut);
    QCOMPARE(lines, 2);
    QVERIFY(waited >= kLimit);
}

void FetcherTest::theTimeLimitStandsStill()
{
    Rig rig(1);
    auto *fetcher = new FakeFetcher(*rig.account, {});
    QSignalSpy failed(fetcher, &Fetcher::fetchError);
    fetcher->setTimeLimit(1);
    fetcher->holdTimeLimit();
    fetcher->holdTimeLimit();
    fetcher->releaseTimeLimit();
    QVERIFY(fetcher->isTimeLimitHeld());
    QVERIFY(!failed.wait(20));
    fetcher->releaseTimeLimit();
    QTRY_COMPARE(failed.size(), 1);
    QCOMPARE(failed[0][1].value<AccountFetchReason>(), AccountFetchReason::TimedOut);
}

void FetcherTest::aQuestionHoldsTheTimeLimit_data()
{
    QTest::addColumn<bool>("attended");
    QTest::addColumn<CertificateAnswer>("answer");
    QTest::addColumn<AccountFetchReason>("reason");
    QTest::newRow("accepted") << true << CertificateAnswer::AcceptOnce << AccountFetchReason::None;
    QTest::newRow("refused") << true << CertificateAnswer::Refuse << AccountFetchReason::Unreachable;
    QTest::newRow("nobody there") << false << CertificateAnswer::AcceptOnce
                                  << AccountFetchReason::Unreachable;
}

void FetcherTest::aQuestionHoldsTheTimeLimit()
{
    QFETCH(bool, attended);
    QFETCH(AccountFetchReason, reason);
    const Certificates certificates;
    ScriptedServer server("S: hello", certificates.selfSigned, ScriptedServer::Encryption::FromTheStart);
    Rig rig(server.port(), AccountTls);
    const QPointer<Talker> talker = rig.talk(attended);
    talker->setTimeLimit(60'000);
    if (attended) {
        QTRY_COMPARE(rig.user.certificates.size(), 1u);
        QCOMPARE(rig.user.certificates[0].found.host, u"localhost"_s);
        QVERIFY(talker->isTimeLimitHeld());
        QCOMPARE(talker->connections, 0); // nothing before the answer
        QFETCH(CertificateAnswer, answer);
        rig.user.certificateAnswer(answer);
    }
    if (reason != AccountFetchReason::None) {
        QTRY_COMPARE(rig.reason, reason);
        QVERIFY(rig.detail.startsWith("SSL error: Self signed certificate"_L1));
        QCOMPARE(rig.account->mark(), attended ? AccountMark::None : AccountMark::CertificateRefused);
        return;
    }
    QTRY_COMPARE(talker->lines.size(), 1);
    QVERIFY(talker->mayLogIn());
    QVERIFY(!talker->isTimeLimitHeld());
    talker->complete(false);
}

void FetcherTest::anAccountsOwnAuthority()
{
    const Certificates certificates;
    ScriptedServer server("S: hello\n--\nS: hello", certificates.good,
                          ScriptedServer::Encryption::FromTheStart);
    Rig rig(server.port(), AccountTls);
    rig.talk(false);
    QTRY_COMPARE(rig.reason, AccountFetchReason::Unreachable);
    AccountOptions options;
    options.caFile = certificates.ca;
    QVERIFY(rig.account->setOptions(options));
    Talker *talker = rig.talk(false);
    QTRY_COMPARE(talker->lines.size(), 1);
    talker->complete(false);
}

void FetcherTest::mayLogIn_data()
{
    QTest::addColumn<bool>("encrypted");
    QTest::addColumn<bool>("needsIt");
    QTest::addColumn<QString>("peer");
    QTest::addColumn<bool>("may");
    QTest::newRow("over TLS") << true << true << u"192.0.2.1"_s << true;
    QTest::newRow("in the clear") << false << true << u"192.0.2.1"_s << false;
    QTest::newRow("in the clear, allowed") << false << false << u"192.0.2.1"_s << true;
    QTest::newRow("to this machine") << false << true << u"127.0.0.1"_s << true;
    QTest::newRow("to this machine, IPv6") << false << true << u"::1"_s << true;
    QTest::newRow("to this machine, mapped") << false << true << u"::ffff:127.0.0.1"_s << true;
    QTest::newRow("in the clear, IPv6") << false << true << u"2001:db8::1"_s << false;
    QTest::newRow("not connected") << false << true << QString() << false;
}

void FetcherTest::mayLogIn()
{
    QFETCH(bool, encrypted);
    QFETCH(bool, needsIt);
    QFETCH(QString, peer);
    QTEST(FakeFetcher::mayLogIn(encrypted, needsIt, QHostAddress(peer)), "may");
}

void FetcherTest::theEndComesOnce()
{
    Rig rig(1);
    auto *fetcher = new FakeFetcher(*rig.account, {});
    const QSignalSpy complete(fetcher, &Fetcher::fetchComplete);
    const QSignalSpy failed(fetcher, &Fetcher::fetchError);
    fetcher->fail(AccountFetchReason::WithErrors, u"x"_s, true);
    fetcher->complete(true);
    fetcher->fail(AccountFetchReason::TimedOut, {}, false);
    QCOMPARE(failed.size(), 1);
    QCOMPARE(complete.size(), 0);
    auto *quiet = new FakeFetcher(*rig.account, {});
    const QSignalSpy said(quiet, &Fetcher::fetchError);
    quiet->abandon();
    quiet->fail(AccountFetchReason::TimedOut, {}, false);
    QCOMPARE(said.size(), 0);
    QVERIFY(!quiet->account());
    QTRY_COMPARE(Fetcher::live().size(), 0u);
}

QTEST_GUILESS_MAIN(FetcherTest)
#include "fetcher_test.moc"
