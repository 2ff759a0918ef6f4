#include "engine/logintest.h"
#include "outboxattest.h"
#include "servers/scriptedserver.h"
#include "support/diskfaults.h"
#include "support/memory.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

const QByteArray kHello = "S: 220 ready\nC~ EHLO .*\nS: 250 localhost\n";
const QByteArray kEnvelope = "C: MAIL FROM:<ada@example.org>\nS: 250 ok\nC: RCPT TO:<bob@example.org>\n";
const QByteArray kTextWithoutDot =
    "C: DATA\nS: 354 go on\nC: From: Ada <ada@example.org>\nC: To: bob@example.org\n"
    "C~ Subject: s [0-9]\nC~ Message-ID: <[0-9]>\nC~ Date: .*\nC: \nC: Hello\n";
const QByteArray kText = kTextWithoutDot + "C: .\n";
const QByteArray kBye = "C: QUIT\nS: 221 bye\nX\n";

/// The whole program, whose outgoing account is a scripted server.
struct SendingAtTest : OutboxAtTest
{
    explicit SendingAtTest(const ScriptedServer &server)
    {
        AccountData data = engine.accounts().account(account)->data();
        data.port = server.port();
        engine.accounts().update(data);
        setBoolSetting(Setting::AutoSend, false);
        engine.accounts().setFetchesBlocked(false);
        QObject::connect(&engine.accounts(), &AccountManager::fetchEnded, &engine, [this] { ++ended; });
    }

    bool waitForEnd(int times = 1)
    {
        return comesTrue([&] { return ended >= times && !engine.accounts().isBusy(); }, 20000);
    }

    int ended = 0;
};

} // namespace

/// The outbox and the real sender together.
class OutboxSendingTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void cleanup() { DiskFaults::isFull = false; }
    void sessions_data();
    void sessions();
    void byItself();
    void onlyWhatIsAskedFor();
    void againAfterAFailure();
    void atOnceAfterAll_data();
    void atOnceAfterAll();
    void onAFullDisk();
    void stoppedByTheUser();
    void whyItWaits_data();
    void whyItWaits();
    void theAccountGoesMeanwhile();
    void theProgramEndsMeanwhile();
    void firstLogin_data();
    void firstLogin();
};

void OutboxSendingTest::sessions_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<int>("state"); ///< of the one message; -1: sent
    const QByteArray start = kHello + kEnvelope + "S: 250 ok\n";
    QTest::newRow("taken") << start + kText + "S: 250 taken\n" + kBye << -1;
    QTest::newRow("no word after the dot") << start + kText + "X\n" << int(OutboxState::PerhapsSent);
    QTest::newRow("no word after DATA") << start + "C: DATA\nX\n" << int(OutboxState::Waiting);
    QTest::newRow("no greeting") << QByteArray("X\n") << int(OutboxState::Waiting);
    QTest::newRow("text refused") << start + kText + "S: 554 spam\n" + kBye << int(OutboxState::Refused);
    QTest::newRow("text refused for now")
        << start + kText + "S: 452 full\n" + kBye << int(OutboxState::Retrying);
    QTest::newRow("recipient refused")
        << kHello + kEnvelope + "S: 550 no\nC: RSET\nS: 250 ok\n" + kBye << int(OutboxState::Refused);
}

void OutboxSendingTest::sessions()
{
    QFETCH(QByteArray, script);
    QFETCH(int, state);
    const Scratch scratch;
    ScriptedServer server(script);
    {
        SendingAtTest s(server);
        s.add(outgoing("1"));
        s.outbox.sendWaiting(true);
        QVERIFY(s.waitForEnd());
        QVERIFY2(server.finished(), server.problem());
        QVERIFY(s.engine.shutDown());
    }
    OutboxAtTest next; // what the next run knows
    QCOMPARE(next.subjects(GroupRole::SentMail).size(), state < 0 ? 1 : 0);
    QCOMPARE(int(next.outbox.entries().size()), state < 0 ? 0 : 1);
    if (state >= 0)
        QCOMPARE(int(next.outbox.entries().front().state), state);
}

void OutboxSendingTest::byItself()
{
    const Scratch scratch;
    const QByteArray one = kEnvelope + "S: 250 ok\n" + kText + "S: 250 taken\n";
    ScriptedServer server(kHello + one + one + kBye);
    SendingAtTest s(server);
    Outbox::setUndoDelay(10);
    setBoolSetting(Setting::AutoSend, true);
    s.add(outgoing("1"));
    s.advance(5);
    s.add(outgoing("2"));
    QCOMPARE(server.connections(), 0);
    s.advance(10); // the end of both countdowns
    QVERIFY(s.waitForEnd());
    s.outbox.finish();
    QVERIFY2(server.finished(), server.problem());
    QCOMPARE(s.subjects(GroupRole::SentMail), (QStringList{u"s 1"_s, u"s 2"_s}));
}

/// Without `AutoSend` "Send now" is for one message, and a fetch of the account for all.
void OutboxSendingTest::onlyWhatIsAskedFor()
{
    const Scratch scratch;
    const QByteArray one = kEnvelope + "S: 250 ok\n" + kText + "S: 250 taken\n";
    ScriptedServer server(kHello + one + kBye + "--\n" + kHello + one + one + kBye);
    SendingAtTest s(server);
    QList<quint64> tickets;
    for (const char *id : {"1", "2", "3"})
        tickets += s.add(outgoing(id));
    s.advance(1);
    s.outbox.sendNow(tickets[1]);
    QVERIFY(s.waitForEnd());
    s.outbox.finish();
    QCOMPARE(s.subjects(GroupRole::SentMail), QStringList{u"s 2"_s});
    QCOMPARE(s.outbox.status(tickets[0]), u"The message waits until you send it."_s);
    s.advance(3600);
    QCOMPARE(s.ended, 1);
    s.engine.fetch(s.account);
    QVERIFY(s.waitForEnd(2));
    s.outbox.finish();
    QVERIFY2(server.finished(), server.problem());
    QCOMPARE(s.subjects(GroupRole::SentMail), (QStringList{u"s 2"_s, u"s 1"_s, u"s 3"_s}));
}

void OutboxSendingTest::againAfterAFailure()
{
    const Scratch scratch;
    ScriptedServer server("X\n--\n" + kHello + kEnvelope + "S: 250 ok\n" + kText + "S: 250 taken\n" + kBye);
    SendingAtTest s(server);
    setBoolSetting(Setting::AutoSend, true);
    const quint64 ticket = s.add(outgoing("1"));
    QVERIFY(s.waitForEnd());
    const QString status = s.outbox.status(ticket); // when, and what happened
    QVERIFY2(status.startsWith(u"It is tried again at "_s) && status.contains(u"'out' closed connection"_s),
             qPrintable(status));
    s.advance(59);
    QCOMPARE(s.ended, 1);
    s.advance(2);
    QVERIFY(s.waitForEnd(2));
    QVERIFY2(server.finished(), server.problem());
    s.outbox.finish();
    QCOMPARE(s.subjects(GroupRole::SentMail), QStringList{u"s 1"_s});
}

void OutboxSendingTest::atOnceAfterAll_data()
{
    QTest::addColumn<bool>("isNew");
    QTest::newRow("something new waits") << true;
    QTest::newRow("the program is online again") << false;
}

/// Whatever pause the failures before have brought about.
void OutboxSendingTest::atOnceAfterAll()
{
    QFETCH(bool, isNew);
    const Scratch scratch;
    const QByteArray one = kEnvelope + "S: 250 ok\n" + kText + "S: 250 taken\n";
    ScriptedServer server("X\n--\nX\n--\n" + kHello + one + (isNew ? one : QByteArray()) + kBye);
    SendingAtTest s(server);
    setBoolSetting(Setting::AutoSend, true);
    s.add(outgoing("1"));
    QVERIFY(s.waitForEnd());
    s.advance(61);
    QVERIFY(s.waitForEnd(2));
    s.advance(2);
    QCOMPARE(s.ended, 2);
    if (isNew) {
        s.add(outgoing("2"));
    } else {
        setOnline(false);
        s.advance(1);
        setOnline(true);
        s.advance(1);
    }
    QVERIFY(s.waitForEnd(3));
    QVERIFY2(server.finished(), server.problem());
}

/// Nothing is carried to the server again and again that cannot be written down.
void OutboxSendingTest::onAFullDisk()
{
    const Scratch scratch;
    const QByteArray start = kHello + kEnvelope + "S: 250 ok\n";
    ScriptedServer server(start + kTextWithoutDot + "E\n--\n" + kHello + "E\n--\n" + start + kText +
                          "S: 250 taken\n" + kBye);
    SendingAtTest s(server);
    const quint64 ticket = s.add(outgoing("1"));
    DiskFaults::isFull = true;
    s.outbox.sendWaiting(true);
    QVERIFY(s.waitForEnd());
    s.advance(61);
    QVERIFY(s.waitForEnd(2));
    s.advance(61);
    QCOMPARE(s.ended, 2);
    QVERIFY(!s.engine.accounts().isBusy());
    const QString status = s.outbox.status(ticket);
    QVERIFY2(status.contains(u"cannot be written down"_s), qPrintable(status));
    DiskFaults::isFull = false;
    s.advance(300);
    QVERIFY(s.waitForEnd(3));
    QVERIFY2(server.finished(), server.problem());
    s.outbox.finish();
    QCOMPARE(s.subjects(GroupRole::SentMail), QStringList{u"s 1"_s});
}

void OutboxSendingTest::stoppedByTheUser()
{
    const Scratch scratch;
    ScriptedServer server("S: 220 ready\nC~ EHLO .*\nE\n");
    SendingAtTest s(server);
    setBoolSetting(Setting::AutoSend, true);
    const quint64 ticket = s.add(outgoing("1"));
    QVERIFY(comesTrue([&] { return server.connections() == 1; }));
    s.engine.accounts().account(s.account)->stop();
    QVERIFY(s.waitForEnd());
    s.advance(24 * 3600); // not by itself
    QCOMPARE(s.ended, 1);
    QVERIFY(!s.engine.accounts().isBusy());
    QCOMPARE(s.outbox.status(ticket), u"The message waits: sending through “out” was stopped."_s);
}

void OutboxSendingTest::whyItWaits_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<QString>("status");
    QTest::newRow("countdown") << u"countdown"_s << u"The message is sent in 10 seconds."_s;
    QTest::newRow("date") << u"date"_s << u"The message is held until *."_s;
    QTest::newRow("offline") << u"offline"_s << u"The message waits until Velmar is online again."_s;
    QTest::newRow("account held back") << u"leftout"_s << u"The message waits: account “out” is held back."_s;
    QTest::newRow("not asked for") << u"byhand"_s << u"The message waits until you send it."_s;
    QTest::newRow("under way") << u"leased"_s << u"The message is being sent."_s;
}

void OutboxSendingTest::whyItWaits()
{
    QFETCH(QString, what);
    QFETCH(QString, status);
    const Scratch scratch;
    OutboxAtTest f;
    Outbox::setUndoDelay(what == u"countdown"_s ? 10 : 0);
    setBoolSetting(Setting::AutoSend, what != u"byhand"_s);
    AccountData data = f.engine.accounts().account(f.account)->data();
    data.set(AccountLeftOut, what == u"leftout"_s);
    f.engine.accounts().update(data);
    const quint64 ticket = f.add(outgoing("1"), {.notBefore = what == u"date"_s ? kNow + 86400 * 3 : 0});
    QVERIFY(what != u"leased"_s || f.outbox.next(f.account));
    setOnline(what != u"offline"_s);
    const QString said = f.outbox.status(ticket);
    const QString saidAtPlace = f.outbox.statusAt(f.outbox.entry(ticket)->place);
    setOnline(true);
    const auto pattern = QRegularExpression::fromWildcard(status);
    QVERIFY2(pattern.match(said).hasMatch(), qPrintable(said));
    QCOMPARE(saidAtPlace, said);
}

void OutboxSendingTest::theAccountGoesMeanwhile()
{
    const Scratch scratch;
    ScriptedServer server(kHello + kEnvelope + "S: 250 ok\n" + kText + "W\nE\n");
    SendingAtTest s(server);
    const quint64 doubtful = s.add(outgoing("1"));
    const quint64 waiting = s.add(outgoing("2"));
    s.outbox.sendWaiting(true);
    QVERIFY(comesTrue([&] { return server.isWaiting(); })); // the dot is out
    s.engine.accounts().remove(s.account);
    QCOMPARE(s.state(doubtful), OutboxState::PerhapsSent);
    QCOMPARE(s.state(waiting), OutboxState::Waiting);
    const int other = s.addAccount(u"other"_s);
    QCOMPARE(s.outbox.waiting(other), 1);
    QCOMPARE(s.outbox.entry(doubtful)->account, other);
}

void OutboxSendingTest::theProgramEndsMeanwhile()
{
    const Scratch scratch;
    ScriptedServer server(kHello + kEnvelope + "S: 250 ok\n" + kText + "W\nE\n");
    {
        SendingAtTest s(server);
        s.add(outgoing("1"));
        s.add(outgoing("2"));
        s.outbox.sendWaiting(true);
        QVERIFY(comesTrue([&] { return server.isWaiting(); })); // the dot is out
        QVERIFY(s.engine.shutDown());
    }
    OutboxAtTest next;
    QCOMPARE(int(next.outbox.entries().size()), 2);
    QCOMPARE(next.outbox.entries()[0].state, OutboxState::PerhapsSent);
    QCOMPARE(next.outbox.entries()[1].state, OutboxState::Waiting);
}

void OutboxSendingTest::firstLogin_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<AccountFetchReason>("reason");
    QTest::addColumn<bool>("refused");
    const QByteArray bye = "C: QUIT\nS: 221 bye\nX\n";
    QTest::newRow("let in") << "S: 235 welcome\n" + bye << AccountFetchReason::None << false;
    QTest::newRow("refused") << QByteArray("S: 535 no\nX\n") << AccountFetchReason::Unexpected << true;
}

/// Of an account that is not saved yet; no message is touched.
void OutboxSendingTest::firstLogin()
{
    QFETCH(QByteArray, reply);
    QFETCH(AccountFetchReason, reason);
    QFETCH(bool, refused);
    const Scratch scratch;
    ScriptedServer server(
        "S: 220 ready\nC~ EHLO .*\nS: 250-localhost\nS: 250 AUTH PLAIN\nC~ AUTH PLAIN .+\n" + reply);
    AccountData data;
    data.name = u"new"_s;
    data.host = u"127.0.0.1"_s;
    data.port = server.port();
    data.user = u"ada"_s;
    data.password = u"secret"_s;
    data.kind = AccountKind::Smtp;
    std::optional<LoginResult> result;
    SystemLoginTester().test(data, {}, nullptr, this, [&](const LoginResult &found) { result = found; });
    QVERIFY(comesTrue([&] { return result.has_value(); }, 20000));
    QCOMPARE(result->reason, reason);
    QCOMPARE(result->isRefused, refused);
    QCOMPARE(result->messages, -1);
    QVERIFY2(server.finished(), server.problem());
}

QTEST_GUILESS_MAIN(OutboxSendingTest)
#include "outboxsending_test.moc"
