#include "net/smtpsession.h"

#include "config/settings.h"
#include "net/smtp/envelope.h"
#include "support/memory.h"

using namespace Qt::StringLiterals;

using Reason = AccountFetchReason;

// The messages of a sender: envelopes, transactions and refusals.

class SmtpMessagesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void clientName_data();
    void clientName();
    void envelopes_data();
    void envelopes();
    void addresses_data();
    void addresses();
    void transactions_data();
    void transactions();
    void recipientsPerTransaction();
    void onlyTheRest();
    void injection();
    void notWrittenDown();
    void noRoomToWriteDown();
    void parameters_data();
    void parameters();
    void inTheMiddleOfTheText_data();
    void inTheMiddleOfTheText();
};

void SmtpMessagesTest::clientName_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<QString>("address");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("full name") << u"pc.example.org"_s << u"127.0.0.1"_s << QByteArray("pc.example.org");
    QTest::newRow("bare name") << u"pc"_s << u"192.0.2.7"_s << QByteArray("[192.0.2.7]");
    QTest::newRow("version 6") << u"pc"_s << u"2001:db8::7%3"_s << QByteArray("[IPv6:2001:db8::7]");
    QTest::newRow("version 4 in 6") << u"pc"_s << u"::ffff:192.0.2.7"_s << QByteArray("[192.0.2.7]");
    QTest::newRow("a name that is no name")
        << u"a.b\r\nQUIT"_s << u"192.0.2.7"_s << QByteArray("[192.0.2.7]");
    QTest::newRow("letters beyond ASCII")
        << u"b\u00fcro.example"_s << u"192.0.2.7"_s << QByteArray("[192.0.2.7]");
}

void SmtpMessagesTest::clientName()
{
    QFETCH(const QString, host);
    QFETCH(const QString, address);
    QTEST(smtpClientName(host, QHostAddress(address)), "name");
}

void SmtpMessagesTest::envelopes_data()
{
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QByteArray>("sender");
    QTest::addColumn<QByteArray>("recipients");
    const auto row = [](const char *name, const QByteArray &header, const QByteArray &sender,
                        const QByteArray &recipients) {
        QTest::newRow(name) << header << sender << recipients;
    };
    row("fields of the envelope",
        "From: a@x\nSender: b@x\nX-Velmar-Mail-From: Z <z@x>\nX-VELMAR-RCPT-TO: c@x,\n \"D, E\" <d@x>\nTo: "
        "no@x\n",
        "z@x", "c@x d@x");
    row("sent on",
        "From: a@x\nSender: b@x\nResent-From: R <r@x>\nResent-To: c@x\nTo: no@x\nX-Velmar-Rcpt-To:\n", "r@x",
        "c@x");
    row("a sender for many authors", "From: a@x, b@x\nSender: s@x\nTo: c@x\nCc: d@x, c@X, C@x\n", "s@x",
        "c@x d@x C@x");
    row("a group", "From: a@x\nTo: friends: c@x, d@x;, e@x\n", "a@x", "c@x d@x e@x");
    row("nobody", "From: a@x\nTo: undisclosed-recipients:;\nBcc: b@x\n", "a@x", "");
    row("a notice", "From: a@x\nX-VELMAR-MAIL-FROM: <>\nTo: c@x\n", "<>", "c@x");
    row("no sender", "To: c@x\n", "none", "c@x");
}

void SmtpMessagesTest::envelopes()
{
    QFETCH(const QByteArray, header);
    QFETCH(const QByteArray, sender);
    const Envelope envelope = envelopeOf(header + "\nTo: body@x\n");
    const QByteArray found = envelope.sender ? *envelope.sender : QByteArray("none");
    QCOMPARE(found.isEmpty() ? QByteArray("<>") : found, sender);
    QTEST(envelope.recipients.join(' '), "recipients");
}

void SmtpMessagesTest::addresses_data()
{
    QTest::addColumn<QByteArray>("written");
    QTest::addColumn<QByteArray>("wire"); ///< empty: it cannot be used
    QTest::addColumn<bool>("needsUtf8");
    const auto row = [](const QByteArray &written, const QByteArray &wire, bool needsUtf8 = false) {
        QTest::newRow(written.left(30).simplified().constData()) << written << wire << needsUtf8;
    };
    row("bob@example.org", "bob@example.org");
    row("bob", "bob");
    row("\"a b>c\"@example.org", "\"a b>c\"@example.org");
    row("\"a\\\" b\"@example.org", "\"a\\\" b\"@example.org");
    row("bob@b\xc3\xbc"
        "cher.example",
        "bob@xn--bcher-kva.example");
    row("b\xc3\xb6"
        "b@example.org",
        "b\xc3\xb6"
        "b@example.org",
        true);
    row("bob@example.org>\r\nRCPT TO:<eve@example.net", "");
    row("bob@example.org> SIZE=1", "");
    row("bob@", "");
    row("\"a\\\r\nDATA\"@example.org", "");
    row("\"open@example.org", "");
    row(QByteArray("a\0b@example.org", 15), "");
    row("@example.org", "");
    row("bob@", "");
    row(QByteArray(2000, 'a') + "@example.org", "");
}

void SmtpMessagesTest::addresses()
{
    QFETCH(const QByteArray, written);
    QFETCH(const QByteArray, wire);
    const EnvelopeAddress address = envelopeAddress(written);
    QCOMPARE(address.isUsable, !wire.isEmpty());
    if (!wire.isEmpty())
        QCOMPARE(address.wire, wire);
    QTEST(address.needsUtf8, "needsUtf8");
    QCOMPARE(address.written, written);
}

void SmtpMessagesTest::transactions_data()
{
    QTest::addColumn<QByteArrayList>("messages");
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QByteArrayList>("calls");
    QTest::addColumn<QString>("detail");
    const auto row = [](const char *name, const QByteArrayList &messages, const QByteArray &script,
                        const QByteArrayList &calls, const QString &detail = {}) {
        QTest::newRow(name) << messages << script << calls << detail;
    };
    const QByteArray two = "bob@example.org, eve@example.net";
    const QByteArray next = smtpDelivery("dan@example.org");
    const QByteArrayList nextCalls = {"sending 2 dan@example.org", "accepted 2 dan@example.org", "release 2"};
    row("two messages", {waitingMail(), waitingMail("dan@example.org")}, smtpDelivery() + next,
        QByteArrayList{"sending 1 bob@example.org", "accepted 1 bob@example.org", "release 1"} + nextCalls);
    row("two recipients, one of them refused and the other elsewhere",
        {waitingMail(two), waitingMail("dan@example.org")},
        kMailFromAda +
            "S: 250 ok\nC: RCPT TO:<bob@example.org>\nS: 550-no\nS: 550 such user\nC: RCPT "
            "TO:<eve@example.net>\n"
            "S: 251 moved\nC: DATA\nS: 354 go\n" +
            arrivingMail(two) + "S: 250 ok\n" + next,
        QByteArrayList{"refused 1 | bob@example.org 550 no such user", "sending 1 eve@example.net",
                       "accepted 1 eve@example.net", "release 1"} +
            nextCalls,
        u"bob@example.org: 550 no such user"_s);
    row("all recipients refused", {waitingMail(two), waitingMail("dan@example.org")},
        kMailFromAda +
            "S: 250 ok\nC: RCPT TO:<bob@example.org>\nS: 550 a\nC: RCPT TO:<eve@example.net>\nS: 450 b\nC: "
            "RSET\n"
            "S: 250 ok\n" +
            next,
        QByteArrayList{"refused 1 | bob@example.org 550 a | eve@example.net 450 b", "release 1"} + nextCalls,
        u"bob@example.org: 550 a\neve@example.net: 450 b"_s);
    row("MAIL refused", {waitingMail(two), waitingMail("dan@example.org")},
        kMailFromAda + "S: 552 large\n" + next,
        QByteArrayList{"refused 1 |  552 large", "release 1"} + nextCalls, u"Message 1: 552 large"_s);
    row("DATA refused", {waitingMail(), waitingMail("dan@example.org")},
        kMailFromAda +
            "S: 250 ok\nC: RCPT TO:<bob@example.org>\nS: 250 ok\nC: DATA\nS: 451 later\nC: RSET\nS: 250 "
            "ok\n" +
            next,
        QByteArrayList{"refused 1 |  451 later", "release 1"} + nextCalls, u"Message 1: 451 later"_s);
    row("the text refused", {waitingMail(), waitingMail("dan@example.org")},
        kMailFromAda + "S: 250 ok\nC: RCPT TO:<bob@example.org>\nS: 250 ok\nC: DATA\nS: 354 go\n" +
            arrivingMail() + "S: 554 spam\n" + next,
        QByteArrayList{"sending 1 bob@example.org", "refused 1 |  554 spam", "release 1"} + nextCalls,
        u"Message 1: 554 spam"_s);
    row("one refused before the text is", {waitingMail(two), waitingMail("dan@example.org")},
        kMailFromAda +
            "S: 250 ok\nC: RCPT TO:<bob@example.org>\nS: 550 a\nC: RCPT TO:<eve@example.net>\nS: 250 b\nC: "
            "DATA\n"
            "S: 354 go\n" +
            arrivingMail(two) + "S: 554 spam\n" + next,
        QByteArrayList{"refused 1 | bob@example.org 550 a", "sending 1 eve@example.net",
                       "refused 1 | eve@example.net 554 spam", "release 1"} +
            nextCalls,
        u"bob@example.org: 550 a\neve@example.net: 554 spam"_s);
    row("too many for one transaction, says the server", {waitingMail(two)},
        kMailFromAda +
            "S: 250 ok\nC: RCPT TO:<bob@example.org>\nS: 250 a\nC: RCPT TO:<eve@example.net>\nS: 452 too "
            "many\n"
            "C: DATA\nS: 354 go\n" +
            arrivingMail(two) + "S: 250 ok\n" + kMailFromAda +
            "S: 250 ok\nC: RCPT TO:<eve@example.net>\nS: 250 ok\nC: DATA\nS: 354 go\n" + arrivingMail(two) +
            "S: 250 ok\n",
        {"sending 1 bob@example.org", "accepted 1 bob@example.org", "sending 1 eve@example.net",
         "accepted 1 eve@example.net", "release 1"});
    row("too many for one transaction, says an old server", {waitingMail(two)},
        kMailFromAda +
            "S: 250 ok\nC: RCPT TO:<bob@example.org>\nS: 250 a\nC: RCPT TO:<eve@example.net>\nS: 552 too "
            "many\n"
            "C: DATA\nS: 354 go\n" +
            arrivingMail(two) + "S: 250 ok\n" + kMailFromAda +
            "S: 250 ok\nC: RCPT TO:<eve@example.net>\nS: 552 full\nC: RSET\nS: 250 ok\n",
        {"sending 1 bob@example.org", "accepted 1 bob@example.org", "refused 1 | eve@example.net 552 full",
         "release 1"},
        u"eve@example.net: 552 full"_s);
    row("signed, and with letters that this server does not take",
        {"From: ada@example.com\nTo: bob@example.org\nMIME-Version: 1.0\n"
         "Content-Type: multipart/signed; boundary=s\n\n--s\n\ncaf\xc3\xa9\n--s\n\nxx\n--s--\n"},
        {},
        {"refused 1 |  0 The message holds letters beyond ASCII where they must stay as they are, as in what "
         "is signed, and the server takes none",
         "release 1"},
        u"Message 1: The message holds letters beyond ASCII where they must stay as they are, as in what is "
        u"signed, and the server takes none"_s);
    row("no room, for the only one", {waitingMail()},
        kMailFromAda + "S: 250 ok\nC: RCPT TO:<bob@example.org>\nS: 452 full\nC: RSET\nS: 250 ok\n",
        {"refused 1 | bob@example.org 452 full", "release 1"}, u"bob@example.org: 452 full"_s);
    row("no recipients, and nothing that could be one",
        {"From: ada@example.com\nSubject: x\n\nx\n", waitingMail("<bob@>"), "To: bob@example.org\n\nx\n"}, {},
        {"refused 1 |  0 The message has no recipients", "release 1",
         "refused 2 | bob@ 0 This is no address that mail can be sent to", "release 2",
         "refused 3 |  0 The message has no sender whom a server can answer", "release 3"},
        u"Message 1: The message has no recipients\nbob@: This is no address that mail can be "
        u"sent to\n"
        "Message 3: The message has no sender whom a server can answer"_s);
}

void SmtpMessagesTest::transactions()
{
    QFETCH(const QByteArrayList, messages);
    QFETCH(const QByteArray, script);
    QFETCH(const QByteArrayList, calls);
    QFETCH(const QString, detail);
    SmtpUserAtTest user(0, {});
    for (const QByteArray &message : messages)
        user.queue.add(message);
    QVERIFY(user.play(smtpHello() + script + smtpQuit()));
    QCOMPARE(user.queue.calls, calls);
    QCOMPARE(user.end.detail, detail);
    QCOMPARE(user.end.reason, detail.isEmpty() ? Reason::None : Reason::WithErrors);
    QCOMPARE(user.end.sent, calls.join().contains("accepted"));
    QCOMPARE(user.queue.asked, 1);
}

void SmtpMessagesTest::recipientsPerTransaction()
{
    setIntSetting(Setting::MaxSMTPRecipients, 100);
    QByteArrayList all;
    for (int i = 0; i < 250; ++i)
        all.append("r" + QByteArray::number(i) + "@example.org");
    QByteArray script = smtpHello("PIPELINING");
    for (int from = 0; from < 250; from += 100) {
        script += kMailFromAda;
        for (int i = from; i < qMin(from + 100, 250); ++i)
            script += "C: RCPT TO:<" + all[i] + ">\n";
        script += "G: " + QByteArray::number(qMin(101, 251 - from)) + " 250 ok\\r\\n\nC: DATA\nS: 354 go\n" +
                  arrivingMail(all.join(",\nC:  ")) + "S: 250 ok\n";
    }
    SmtpUserAtTest user(0, {});
    user.queue.add(waitingMail(all.join(",\n ")));
    QVERIFY(user.play(script + smtpQuit()));
    QCOMPARE(user.queue.calls.size(), 7);
    QCOMPARE(user.queue.calls[1].count('@') + user.queue.calls[3].count('@') + user.queue.calls[5].count('@'),
             250);
}

void SmtpMessagesTest::onlyTheRest()
{
    SmtpUserAtTest user(0, {});
    user.queue.add(waitingMail("bob@example.org, eve@example.net"), {"eve@example.net"});
    QVERIFY(user.play(smtpHello() + kMailFromAda +
                      "S: 250 ok\nC: RCPT TO:<eve@example.net>\nS: 250 ok\nC: DATA\nS: 354 go\n" +
                      arrivingMail("bob@example.org, eve@example.net") + "S: 250 ok\n" + smtpQuit()));
    QCOMPARE(user.queue.calls.value(1), QByteArray("accepted 1 eve@example.net"));
}

/// Nothing that stands in an address gets to be a command, wherever the address comes from.
void SmtpMessagesTest::injection()
{
    SmtpUserAtTest user(0, {});
    const QByteArray evil = "bob@example.org>\r\nRCPT TO:<eve@example.net";
    user.queue.add(waitingMail(), {evil, "bob@example.org"});
    user.queue.add("From: \"a\\\r\nDATA\" <x>y@example.com\nTo: bob@example.org\n\nx\n");
    QVERIFY(user.play(smtpHello("PIPELINING") + kMailFromAda +
                      "C: RCPT TO:<bob@example.org>\nS: 250 ok\nS: 250 ok\nC: DATA\nS: 354 go\n" +
                      arrivingMail() + "S: 250 ok\n" + smtpQuit()));
    QCOMPARE(
        user.queue.calls,
        QByteArrayList({"refused 1 | " + evil + " 0 This is no address that mail can be sent to",
                        "sending 1 bob@example.org", "accepted 1 bob@example.org", "release 1",
                        "refused 2 |  0 The message has no sender whom a server can answer", "release 2"}));
}

/// What cannot be written down does not go: without its final dot the server throws it away.
void SmtpMessagesTest::notWrittenDown()
{
    SmtpUserAtTest user(0, {});
    user.queue.add(waitingMail("bob@example.org", QByteArray("Hello.\n").repeated(100000)));
    user.queue.canWrite = false;
    QByteArray script = smtpHello() + kMailFromAda +
                        "S: 250 ok\nC: RCPT TO:<bob@example.org>\nS: 250 ok\nC: DATA\nS: 354 go\n";
    ScriptedServer server(script + "C: From: Ada <ada@example.com>\nW\nE\n");
    QVERIFY(user.meet(server).start());
    QVERIFY(user.waitForEnd());
    QVERIFY(comesTrue([&] { return server.isWaiting() && server.dialogue().hasLeft(); }));
    QVERIFY(!server.dialogue().socket().readAll().contains("\r\n.\r\n"));
    QCOMPARE(user.end.reason, Reason::WithErrors);
    QCOMPARE(user.queue.calls, QByteArrayList({"sending 1 bob@example.org", "release 1 early"}));
}

/// A full disk: no text is carried to the server in vain.
void SmtpMessagesTest::noRoomToWriteDown()
{
    SmtpUserAtTest user(0, {});
    user.queue.add(waitingMail());
    user.queue.isRoomy = false;
    QVERIFY(user.play(smtpHello() + "E\n"));
    QCOMPARE(user.end.reason, Reason::WithErrors);
    QCOMPARE(user.queue.calls, QByteArrayList({"release 1 early"}));
}

void SmtpMessagesTest::parameters_data()
{
    QTest::addColumn<QByteArray>("extensions");
    QTest::addColumn<QByteArray>("recipients");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("mail"); ///< what follows the sender; "-": there is no MAIL
    QTest::addColumn<QByteArray>("rcpt");
    QTest::addColumn<QByteArray>("refusal");
    const auto row = [](const char *name, const QByteArray &extensions, const QByteArray &recipients,
                        const QByteArray &body, const QByteArray &mail, const QByteArray &rcpt,
                        const QByteArray &refusal = {}) {
        QTest::newRow(name) << extensions << recipients << body << mail << rcpt << refusal;
    };
    const QByteArray bob = "bob@example.org";
    const QByteArray odd = "b\xc3\xb6"
                           "b@example.org";
    row("all that is offered and needed", "SIZE|8BITMIME|SMTPUTF8", bob,
        "Gr\xc3\xbc\xc3\x9f"
        "e\n",
        " SIZE=73 BODY=8BITMIME", bob);
    row("nothing is needed", "8BITMIME|SMTPUTF8", bob, "x\n", "", bob);
    row("a size without a limit", "SIZE 0", bob, "x\n", " SIZE=67", bob);
    row("just as large as may be", "SIZE 67", bob, "x\n", " SIZE=67", bob);
    row("too large", "SIZE 66", bob, "x\n", "-", bob,
        " 0 The message has 67 bytes, and the server takes 66 bytes at most");
    row("a recipient with letters beyond ASCII", "8BITMIME|SMTPUTF8", odd, "x\n", " BODY=8BITMIME SMTPUTF8",
        odd);
    row("a server that knows none", "8BITMIME", odd, "x\n", "-", odd,
        odd + " 0 The server takes no address with letters beyond ASCII before the '@'");
}

void SmtpMessagesTest::parameters()
{
    QFETCH(const QByteArray, extensions);
    QFETCH(const QByteArray, recipients);
    QFETCH(const QByteArray, body);
    QFETCH(const QByteArray, mail);
    QFETCH(const QByteArray, rcpt);
    QFETCH(const QByteArray, refusal);
    SmtpUserAtTest user(0, {});
    user.queue.add(waitingMail(recipients, body));
    QByteArray script = smtpHello(extensions);
    if (mail != "-")
        script += "C: MAIL FROM:<ada@example.com>" + mail + "\nS: 250 ok\nC: RCPT TO:<" + rcpt +
                  ">\nS: 250 ok\nC: DATA\nS: 354 go\n" + arrivingMail(recipients, "C: " + body) +
                  "S: 250 ok\n";
    QVERIFY(user.play(script + smtpQuit()));
    QCOMPARE(user.queue.calls.first(), mail == "-" ? "refused 1 | " + refusal : "sending 1 " + recipients);
}

void SmtpMessagesTest::inTheMiddleOfTheText_data()
{
    QTest::addColumn<QByteArray>("end");
    QTest::addColumn<QString>("detail");
    QTest::addColumn<QByteArrayList>("calls");
    QTest::newRow("refused: what is left of it would be read as commands")
        << QByteArray("S: 552 enough\nW\nE\n") << u"552 enough"_s
        << QByteArrayList{"refused 1 |  552 enough", "release 1 early"};
    QTest::newRow("taken, says one who cannot have it yet")
        << QByteArray("S: 250 got it\nW\nE\n") << u"250 got it"_s << QByteArrayList{"release 1 early"};
    QTest::newRow("closed") << QByteArray("X\n") << u"Awaited was: the way for the message"_s
                            << QByteArrayList{"release 1 early"};
}

/// Before its end a message can be refused; it cannot be taken, and nobody has to wonder whether it was.
void SmtpMessagesTest::inTheMiddleOfTheText()
{
    QFETCH(const QByteArray, end);
    SmtpUserAtTest user(0, {});
    user.queue.add(waitingMail("bob@example.org", QByteArray("Hello.\n").repeated(3'000'000)));
    ScriptedServer server(smtpHello() + kMailFromAda +
                          "S: 250 ok\nC: RCPT TO:<bob@example.org>\nS: 250 ok\nC: DATA\nS: 354 go\n"
                          "C: From: Ada <ada@example.com>\n" +
                          end);
    QVERIFY(user.meet(server).start());
    QVERIFY(user.waitForEnd());
    QTEST(user.end.detail, "detail");
    QTEST(user.queue.calls, "calls");
}

QTEST_GUILESS_MAIN(SmtpMessagesTest)
#include "smtpmessages_test.moc"
