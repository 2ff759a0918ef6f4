#include "net/smtpsession.h"

#include "support/memory.h"

#include <QSignalSpy>

using Reason = AccountFetchReason;

// Several commands at once, and the beginning of a message behind the text before it (RFC 2920).

class SmtpPipeliningTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void pipelined_data();
    void pipelined();
    void batchInHalves();
    void oneBehindTheOther_data();
    void oneBehindTheOther();
    void nothingEarlyAfterABreak();
    void stoppedWithTheNextUnderWay();
    void tooLargeToBeBegunEarly();
    void notLookedForDuringALongText();
};

void SmtpPipeliningTest::pipelined_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QByteArrayList>("calls");
    const QByteArray batch = kMailFromAda + "C: RCPT TO:<bob@example.org>\nC: RCPT TO:<eve@example.net>\nQ\n";
    const QByteArray text = "C: DATA\nS: 354 go\n" + arrivingMail("bob@example.org, eve@example.net");
    QTest::newRow("taken") << batch + "S: 250 a\nS: 250 b\nS: 250 c\n" + text + "S: 250 ok\n"
                           << QByteArrayList{"sending 1 bob@example.org eve@example.net",
                                             "accepted 1 bob@example.org eve@example.net", "release 1"};
    QTest::newRow("one refused") << batch + "S: 250 a\nS: 550 b\nS: 250 c\n" + text + "S: 250 ok\n"
                                 << QByteArrayList{"refused 1 | bob@example.org 550 b",
                                                   "sending 1 eve@example.net", "accepted 1 eve@example.net",
                                                   "release 1"};
    QTest::newRow("the sender refused") << batch + "S: 550 a\nS: 503 b\nS: 503 c\n"
                                        << QByteArrayList{"refused 1 |  550 a", "release 1"};
    QTest::newRow("the sender refused, says one who lies")
        << batch + "S: 550 a\nS: 250 b\nS: 452 c\nC: RSET\nS: 250 ok\n"
        << QByteArrayList{"refused 1 |  550 a", "release 1"};
    QTest::newRow("all refused") << batch + "S: 250 a\nS: 550 b\nS: 551 c\nC: RSET\nS: 250 ok\n"
                                 << QByteArrayList{
                                        "refused 1 | bob@example.org 550 b | eve@example.net 551 c",
                                        "release 1"};
}

void SmtpPipeliningTest::pipelined()
{
    QFETCH(const QByteArray, script);
    SmtpUserAtTest user(0, {});
    user.queue.add(waitingMail("bob@example.org, eve@example.net"));
    QVERIFY(user.play(
        smtpHello("SIZE 1000000|PIPELINING") +
        QByteArray(script).replace("MAIL FROM:<ada@example.com>", "MAIL FROM:<ada@example.com> SIZE=89") +
        smtpQuit()));
    QTEST(user.queue.calls, "calls");
}

/// Whatever the pieces that the answers come in, nothing more is said before the last of them.
void SmtpPipeliningTest::batchInHalves()
{
    for (const int slice : {1, 3, 7}) {
        SmtpUserAtTest user(0, {});
        user.queue.add(waitingMail("bob@example.org, eve@example.net"));
        QVERIFY(
            user.play(smtpHello("PIPELINING") + kMailFromAda +
                          "C: RCPT TO:<bob@example.org>\nC: RCPT TO:<eve@example.net>\nP: 250 a\\r\\n250\nQ\n"
                          "P:  b\\r\\n\nQ\nP: 250-c\\r\\n250 c\nQ\nP: \\r\\n\nC: DATA\nS: 354 go\n" +
                          arrivingMail("bob@example.org, eve@example.net") + "S: 250 ok\n" + smtpQuit(),
                      SmtpTask::Send, slice));
        QCOMPARE(user.queue.calls.value(1), QByteArray("accepted 1 bob@example.org eve@example.net"));
    }
}

namespace {

/// A first message, and the text of a second behind whose dot a third begins.
QByteArray threeUpToTheDot()
{
    return smtpHello("PIPELINING") + kMailFromAda +
           "C: RCPT TO:<bob@example.org>\nQ\nS: 250 a\nS: 250 b\nC: DATA\nS: 354 c\n" + arrivingMail() +
           "S: 250 queued\n" + kMailFromAda +
           "C: RCPT TO:<dan@example.org>\nQ\nS: 250 a\nS: 250 b\nC: DATA\nS: 354 c\n" +
           arrivingMail("dan@example.org");
}

const QByteArray kThird = kMailFromAda + "C: RCPT TO:<eve@example.net>\nQ\n";

void addThree(FakeQueue &queue)
{
    for (const char *recipient : {"bob@example.org", "dan@example.org", "eve@example.net"})
        queue.add(waitingMail(recipient));
}

} // namespace

void SmtpPipeliningTest::oneBehindTheOther_data()
{
    QTest::addColumn<QByteArray>("script");    ///< from the beginning of the third on
    QTest::addColumn<QByteArrayList>("calls"); ///< from the reply to the second on
    QTest::addColumn<AccountFetchReason>("reason");
    const auto row = [](const char *name, const QByteArray &script, const QByteArrayList &calls,
                        Reason reason = Reason::WithErrors) {
        QTest::newRow(name) << script << calls << reason;
    };
    const QByteArray taken = kThird + "S: 250 queued\n";
    const QByteArray text = arrivingMail("eve@example.net") + "S: 250 queued\n" + smtpQuit();
    const QByteArrayList second = {"accepted 2 dan@example.org", "release 2"};
    const QByteArrayList third = {"sending 3 eve@example.net", "accepted 3 eve@example.net", "release 3"};
    row("all taken", taken + "S: 250 a\nS: 250 b\nC: DATA\nS: 354 c\n" + text, second + third, Reason::None);
    row("the text before refused", kThird + "S: 554 spam\nS: 250 a\nS: 250 b\nC: DATA\nS: 354 c\n" + text,
        QByteArrayList{"refused 2 |  554 spam", "release 2"} + third);
    row("the sender refused", taken + "S: 550 a\nS: 503 b\n" + smtpQuit(),
        second + QByteArrayList{"refused 3 |  550 a", "release 3"});
    row("nobody taken", taken + "S: 250 a\nS: 550 b\nC: RSET\nS: 250 ok\n" + smtpQuit(),
        second + QByteArrayList{"refused 3 | eve@example.net 550 b", "release 3"});
    row("somebody taken from a sender who is refused",
        taken + "S: 550 a\nS: 250 b\nC: RSET\nS: 250 ok\n" + smtpQuit(),
        second + QByteArrayList{"refused 3 |  550 a", "release 3"});
    row("DATA refused", taken + "S: 250 a\nS: 250 b\nC: DATA\nS: 451 c\nC: RSET\nS: 250 ok\n" + smtpQuit(),
        second + QByteArrayList{"refused 3 |  451 c", "release 3"});
    row("a login wanted", taken + "S: 530 a\nS: 503 b\nE\n", second + QByteArrayList{"release 3 early"},
        Reason::LoginFailed);
    row("the end before the reply to the text", kThird + "X\n", {"release 2 early", "back 3"},
        Reason::ConnectionClosed);
    row("the service ends there", kThird + "S: 421 down\nX\n",
        {"refused 2 |  421 down", "release 2 early", "back 3"}, Reason::Unexpected);
    row("the end behind it", taken + "S: 250 a\nX\n", second + QByteArrayList{"release 3 early"},
        Reason::ConnectionClosed);
}

/// What becomes of a message is its own affair, however early the next one was begun.
void SmtpPipeliningTest::oneBehindTheOther()
{
    QFETCH(const QByteArray, script);
    QFETCH(const QByteArrayList, calls);
    for (const int slice : {0, 1, 5}) {
        SmtpUserAtTest user(0, {});
        addThree(user.queue);
        QVERIFY(user.play(threeUpToTheDot() + script, SmtpTask::Send, slice));
        QCOMPARE(user.queue.calls.mid(4), calls);
        QTEST(user.end.reason, "reason");
        QVERIFY(user.end.sent);
    }
}

/// Some proxy breaks off at what it does not expect: it gets that but once, or it would never get on.
void SmtpPipeliningTest::nothingEarlyAfterABreak()
{
    SmtpUserAtTest user(0, {});
    addThree(user.queue);
    for (const char *recipient : {"bob@example.org", "dan@example.org", "eve@example.net"})
        user.queue.add(waitingMail(recipient));
    ScriptedServer server(threeUpToTheDot() + kThird + "X\n--\n" + threeUpToTheDot() + "Q\nS: 250 queued\n" +
                          kThird + "S: 250 a\nS: 250 b\nC: DATA\nS: 354 c\n" +
                          arrivingMail("eve@example.net") + "S: 250 queued\n" + smtpQuit());
    QVERIFY(user.meet(server).start());
    QVERIFY(user.waitForEnd());
    QPointer<SMTPSender> again =
        new SMTPSender(user.account(), SmtpTask::Send, &user.queue); // goes by itself
    QSignalSpy ended(again, &SMTPSender::sendComplete);
    QVERIFY(again->start());
    QTRY_COMPARE(ended.size(), 1);
    QVERIFY2(server.finished(), server.problem());
    QCOMPARE(user.queue.calls.last(), QByteArray("release 6"));
}

void SmtpPipeliningTest::stoppedWithTheNextUnderWay()
{
    SmtpUserAtTest user(0, {});
    addThree(user.queue);
    ScriptedServer server(threeUpToTheDot() + kThird + "W\nS: 250 queued\nE\n");
    QVERIFY(user.meet(server).start());
    QVERIFY(comesTrue([&] { return server.isWaiting(); }));
    user.sender().stop();
    server.release();
    QVERIFY(user.waitForEnd());
    QVERIFY2(server.finished(), server.problem());
    QCOMPARE(user.end.reason, Reason::Stopped);
    QCOMPARE(user.queue.calls.mid(4), QByteArrayList({"accepted 2 dan@example.org", "release 2", "back 3"}));
}

/// It is known before anything is said of it.
void SmtpPipeliningTest::tooLargeToBeBegunEarly()
{
    SmtpUserAtTest user(0, {});
    user.queue.add(waitingMail("bob@example.org"));
    user.queue.add(waitingMail("dan@example.org"));
    user.queue.add(waitingMail("eve@example.net", QByteArray("Hello.\n").repeated(100)));
    const QByteArray upToTheDot = threeUpToTheDot()
                                      .replace("PIPELINING", "SIZE 500")
                                      .replace("S: 250 SIZE", "S: 250-PIPELINING\nS: 250 SIZE");
    QVERIFY(user.play(QByteArray(upToTheDot).replace(kMailFromAda, kMailFromAda.chopped(1) + " SIZE=72\n") +
                      "Q\nS: 250 queued\n" + smtpQuit()));
    const QByteArrayList calls = {
        "accepted 2 dan@example.org", "release 2",
        "refused 3 |  0 The message has 864 bytes, and the server takes 500 bytes at most", "release 3"};
    QCOMPARE(user.queue.calls.mid(4), calls);
}

/// Until that is out the user may think better of the next message.
void SmtpPipeliningTest::notLookedForDuringALongText()
{
    SmtpUserAtTest user(0, {});
    for (const char *recipient :
         {"bob@example.org", "dan@example.org", "eve@example.net", "fay@example.net"}) {
        const bool isLong = QByteArrayView(recipient).startsWith("eve");
        user.queue.add(waitingMail(recipient, QByteArray("Hello.\n").repeated(isLong ? 1'100'000 : 1)));
    }
    ScriptedServer server(threeUpToTheDot() + kThird +
                          "S: 250 queued\nS: 250 a\nS: 250 b\nC: DATA\nS: 354 c\n" +
                          "C: From: Ada <ada@example.com>\nX\n");
    QVERIFY(user.meet(server).start());
    QVERIFY(user.waitForEnd());
    QCOMPARE(user.queue.calls.last(), QByteArray("release 3 early"));
    QCOMPARE(user.queue.waiting(0), 1);
}

QTEST_GUILESS_MAIN(SmtpPipeliningTest)
#include "smtppipelining_test.moc"
