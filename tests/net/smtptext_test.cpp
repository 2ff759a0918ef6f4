#include "net/smtpsession.h"

#include "message/message.h"
#include "message/mimecontext.h"
#include "net/smtp/headerencoding.h"
#include "net/smtp/smtptext.h"
#include "net/smtp/transferencoding.h"
#include "support/memory.h"

using namespace Qt::StringLiterals;

using Reason = AccountFetchReason;

// The text of a message as it leaves: without what nobody may see, and in what its server takes.

class SmtpTextTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void hiddenFields_data();
    void hiddenFields();
    void texts_data();
    void texts();
    void lettersInHeaders_data();
    void lettersInHeaders();
    void longHeaderLines();
    void reencoded_data();
    void reencoded();
    void fitsTheServerAnew();
    void largeMessage();
};

namespace {

const QByteArray kMail = "C: MAIL FROM:<ada@example.com>\n";

/// All that goes over the wire of @p message, but for the final dot and the doubled ones.
QByteArray textOf(const QByteArray &message)
{
    SmtpText text(message);
    while (!text.survey(1)) {
    }
    QByteArray all;
    while (!text.atEnd())
        all += text.take(1);
    return all;
}

} // namespace

void SmtpTextTest::hiddenFields_data()
{
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QByteArray>("sent");
    const auto row = [](const char *name, const QByteArray &message, const QByteArray &sent) {
        QTest::newRow(name) << message << sent;
    };
    row("folded, in any case",
        "A: 1\nbCC: a@x,\n b@x\n\tc@x\nX-velmar-Anything: 1\n 2\nB: 2\n\nBcc: body\nX-VELMAR-SIGN: 1\n",
        "A: 1\nB: 2\n\nBcc: body\nX-VELMAR-SIGN: 1\n");
    row("blanks before the colon, none at all, and the copies of one who sends on",
        "Bcc : a@x\nBCC \t : a@x,\n b@x\nBcc\t: c@x\nBcc\n : d@x\nX-VELMAR-SIGN\n"
        "X-VELMAR-RCPT-TO\t: a@x\nResent-Bcc: b@x\nBccc: kept\n\nx\n",
        "Bccc: kept\n\nx\n");
    row("behind empty lines, which would end the header", "\n\nA: 1\nBcc: a@x\n\nx\n", "A: 1\n\nx\n");
    row("an empty line of others ends the header, too", "A: 1\r\nBcc: a@x\r\n\r\nBcc: body\r\n",
        "A: 1\n\nBcc: body\n");
    row("behind a bare CR", "Subject: x\rBcc: a@x\nB: 2\n\nx\n", "Subject: x Bcc: a@x\nB: 2\n\nx\n");
    row("behind the line ends of others", "A: 1\r\nBcc: a@x\r\n b@x\r\nB: 2\n\nx\n", "A: 1\nB: 2\n\nx\n");
    row("first and last", "X-VELMAR-SIGN: 1\nA: 1\nBcc: a@x\n\nx\n", "A: 1\n\nx\n");
    row("no body", "A: 1\nBcc: a@x\n", "A: 1\n");
}

void SmtpTextTest::hiddenFields()
{
    QFETCH(const QByteArray, message);
    QTEST(textOf(message), "sent");
}

void SmtpTextTest::texts_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("lines");
    QTest::newRow("leading dots") << QByteArray(".\n..\n.a\nb.\n")
                                  << QByteArray("C: ..\nC: ...\nC: ..a\nC: b.\n");
    QTest::newRow("no line end at the end") << QByteArray("a\nb") << QByteArray("C: a\nC: b\n");
    QTest::newRow("empty lines at the end") << QByteArray("a\n\n\n") << QByteArray("C: a\nC:\nC:\n");
    QTest::newRow("no text") << QByteArray() << QByteArray();
    QTest::newRow("a line end hidden as a bare CR")
        << QByteArray("a\r.\rb\r\n.\r\r\nc\r") << QByteArray("C: a\nC: ..\nC: b\nC: ..\nC: c\n");
}

void SmtpTextTest::texts()
{
    QFETCH(const QByteArray, body);
    QFETCH(const QByteArray, lines);
    SmtpUserAtTest user(0, {});
    user.queue.add(waitingMail("bob@example.org", body));
    QVERIFY(user.play(smtpHello() + kMail +
                      "S: 250 ok\nC: RCPT TO:<bob@example.org>\nS: 250 ok\nC: DATA\nS: 354 go\n" +
                      arrivingMail("bob@example.org", lines) + "S: 250 ok\n" + smtpQuit()));
}

void SmtpTextTest::lettersInHeaders_data()
{
    QTest::addColumn<QByteArray>("extensions");
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QByteArray>("sent"); ///< the lines of the header; empty: nothing
    QTest::addColumn<QByteArrayList>("calls");
    const QByteArray from = "From: ada@example.com\n";
    const QByteArrayList toBob = {"sending 1 bob@example.org", "accepted 1 bob@example.org", "release 1"};
    const QByteArray names = "To: J\xc3\xbcrg <bob@example.org>,\n \"\xc3\x84, B\" <bob@example.org>\n";
    const QByteArray odd = "To: b\xc3\xb6\xc3\xb6@example.org, bob@example.org\n";
    QTest::newRow("names and texts, also in other sets and for those who would take them")
        << QByteArray("8BITMIME|SMTPUTF8")
        << from + names + "Subject: Gr\xfc\xdf"_ba + "e\nX-A : \xe2\x82\xac\n"
        << QByteArray(
               "C: From: ada@example.com\nC: To: =?UTF-8?q?J=C3=BCrg?= <bob@example.org>,\n"
               "C:  =?UTF-8?q?=C3=84=2C_B?= <bob@example.org>\nC: Subject: =?UTF-8?q?Gr=C3=BC=C3=9Fe?=\n"
               "C: X-A: =?UTF-8?q?=E2=82=AC?=\n")
        << toBob;
    QTest::newRow("an address that the server does not take, beside one that it does")
        << QByteArray("8BITMIME") << from + odd
        << QByteArray("C: From: ada@example.com\nC: To: =?UTF-8?q?b=C3=B6=C3=B6=40example=2Eorg?=:;,\n"
                      "C:  bob@example.org\n")
        << QByteArrayList{"refused 1 | b\xc3\xb6\xc3\xb6@example.org 0 The server takes no address with "
                          "letters "
                          "beyond ASCII before the '@'"} +
               toBob;
    QTest::newRow("what machines read")
        << QByteArray("8BITMIME") << from + "To: bob@example.org\nContent-Type: a/b; name=\xc3\xa4\n"
        << QByteArray()
        << QByteArrayList{"refused 1 |  0 The header of the message holds letters "
                          "beyond ASCII where they cannot be encoded, and the "
                          "server takes none",
                          "release 1"};
}

/// What a header holds beyond ASCII never leaves as it is, unless the server takes it so.
void SmtpTextTest::lettersInHeaders()
{
    QFETCH(const QByteArray, extensions);
    QFETCH(const QByteArray, header);
    QFETCH(const QByteArray, sent);
    SmtpUserAtTest user(0, {});
    user.queue.add(header + "\nx\n");
    QByteArray script = smtpHello(extensions);
    if (!sent.isEmpty())
        script += kMail + "S: 250 ok\nC: RCPT TO:<bob@example.org>\nS: 250 ok\nC: DATA\nS: 354 go\n" + sent +
                  "C:\nC: x\nC: .\nS: 250 ok\n";
    QVERIFY(user.play(script + smtpQuit()));
    QTEST(user.queue.calls, "calls");
}

/// A field of one long line, as others send them; unfolded it is what it was.
void SmtpTextTest::longHeaderLines()
{
    const QByteArray token(1200, 'x');
    for (const QByteArray &value :
         {QByteArray("<a@example.org> ").repeated(200) + "<b@example.org>", token + "  a \t" + token + " b",
          QByteArray("a b") + QByteArray(2000, ' ')}) {
        const QByteArray message = "A: 1\nReferences: " + value + "\nB: 2\n\nx\n";
        const QByteArray folded = withEncodedHeader(message, false);
        QCOMPARE(QByteArray(folded).replace("\n ", " ").replace("\n\t", "\t").simplified(),
                 message.simplified());
        const QByteArrayList lines = folded.split('\n');
        QVERIFY(lines.size() > message.count('\n') + (value.startsWith("a b") ? 0 : 1));
        for (const QByteArray &line : lines)
            QVERIFY(!line.trimmed().contains(' ') || line.size() <= kLongestMailLine);
    }
}

void SmtpTextTest::reencoded_data()
{
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<bool>("mayHaveEightBit");
    QTest::addColumn<bool>("changes");
    const QByteArray head = "From: ada@example.com\nTo: bob@example.org\nMIME-Version: 1.0\n";
    const QByteArray text = "Content-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: 8bit\n\n"
                            "Gr\xc3\xbc\xc3\x9f"
                            "e = \n.\n" +
                            QByteArray("\xc3\xa4").repeated(300) + "\nend \n";
    const QByteArray mixed =
        "Content-Type: multipart/mixed; boundary=b\nContent-Transfer-Encoding: 8bit\n\n"
        "--b\n" +
        text +
        "\n--b\nContent-Type: image/png\nContent-Transfer-Encoding: base64\n\nAAAA\n"
        "--b\nContent-Type: message/rfc822\nContent-Transfer-Encoding: 8bit\n\nSubject: in\n" +
        text + "\n--b--\n";
    const QByteArray sealed =
        "Content-Type: multipart/signed; boundary=s; protocol=\"application/pgp-signature\"\n\n--s\n" + text +
        "\n--s\nContent-Type: application/pgp-signature\n\nxx\n--s--\n";
    QTest::newRow("a text") << head + text << false << true;
    QTest::newRow("a text that may go") << head + text << true << false;
    QTest::newRow("parts, and a message among them") << head + mixed << false << true;
    QTest::newRow("signed") << head + sealed << false << false;
    QTest::newRow("signed within") << head + "Content-Type: multipart/mixed; boundary=o\n\n--o\n" + sealed +
                                          "\n--o--\n"
                                   << false << false;
    QTest::newRow("without labels") << QByteArray("From: a@x\n\ncaf\xe9\n") << false << true;
    QTest::newRow("a long line") << head + "Content-Type: text/plain\n\n" + QByteArray(5000, 'x') + "\n"
                                 << true << true;
}

/// The parts are the same as before, byte for byte, and the lines are such as every server takes.
void SmtpTextTest::reencoded()
{
    QFETCH(const QByteArray, message);
    QFETCH(const bool, mayHaveEightBit);
    QFETCH(const bool, changes);
    FittingMessage fitting(message, mayHaveEightBit);
    while (!fitting.write(7)) {
    }
    const QByteArray written = fitting.written();
    QCOMPARE(written != message, changes);
    SmtpText text(written);
    QVERIFY(text.survey(1 << 30));
    QCOMPARE(changes && !mayHaveEightBit && text.hasEightBitBody(), false);
    QVERIFY(!changes || text.longestLine() <= 998);
    const MIMEContext before = MIMEContext::parse(message);
    const MIMEContext after = MIMEContext::parse(written);
    QCOMPARE(after.count(), before.count());
    for (int i = 0; i < before.count(); ++i) {
        QCOMPARE(after.part(i).type, before.part(i).type);
        if (!isMultipartCategory(before.part(i).type) && !isEnclosedCategory(before.part(i).type))
            QCOMPARE(after.decodedBytes(i), before.decodedBytes(i));
    }
    QCOMPARE(changes && !Message(written).hasHeader("MIME-Version"), false);
}

/// What was offered before the encryption counts no more, also for a text that was made ready by it.
void SmtpTextTest::fitsTheServerAnew()
{
    const Certificates certificates;
    ScriptedServer server("S: 220 a\nC~ EHLO .*\nS: 250-a\nS: 250-8BITMIME\nS: 250 STARTTLS\n"
                          "C: MAIL FROM:<ada@example.com> BODY=8BITMIME\nS: 530 encrypt\nC: STARTTLS\n"
                          "S: 220 go\nT\nC~ EHLO .*\nS: 250 a\n" +
                              kMail +
                              "S: 250 ok\nC: RCPT TO:<bob@example.org>\nS: 250 ok\nC: DATA\nS: 354 go\n"
                              "C: From: ada@example.com\nC: To: bob@example.org\n"
                              "C: Subject: =?UTF-8?q?=C3=A4?=\nC: MIME-Version: 1.0\n"
                              "C: Content-Transfer-Encoding: quoted-printable\nC:\nC: =C3=A4\nC: .\n"
                              "S: 250 ok\n" +
                              smtpQuit(),
                          certificates.good, ScriptedServer::Encryption::OnDemand);
    SmtpUserAtTest user(0, {});
    user.trusted = certificates.ca;
    user.queue.add(
        "From: ada@example.com\nTo: bob@example.org\nSubject: \xc3\xa4\nMIME-Version: 1.0\n\n\xc3\xa4\n");
    QVERIFY(user.play(server));
    QCOMPARE(user.end.reason, Reason::None);
}

/// Several blocks, with lines of all lengths across their borders.
void SmtpTextTest::largeMessage()
{
    QByteArray body, lines;
    for (int i = 0; body.size() < 1'500'000; ++i) {
        const QByteArray line = (i % 7 == 0 ? "." : "") + QByteArray(i * 37 % 990, char('a' + i % 26));
        body += line + '\n';
        lines += "C: " + QByteArray(line.startsWith('.') ? "." : "") + line + '\n';
    }
    SmtpUserAtTest user(0, {});
    user.queue.add(waitingMail("bob@example.org", body));
    const QByteArray size = QByteArray::number(waitingMail("bob@example.org", body).count('\n') - 4 +
                                               textOf(waitingMail("bob@example.org", body)).size());
    QVERIFY(user.play(smtpHello("SIZE") + "C: MAIL FROM:<ada@example.com> SIZE=" + size +
                      "\nS: 250 ok\nC: RCPT TO:<bob@example.org>\nS: 250 ok\nC: DATA\nS: 354 go\n" +
                      arrivingMail("bob@example.org", lines) + "S: 250 ok\n" + smtpQuit()));
    QCOMPARE(user.end.reason, Reason::None);
    QVERIFY2(user.statuses.filter(u"(100% of 1.5 MB)"_s).size() > 0, qPrintable(user.statuses.join(u'\n')));
    QVERIFY(user.statuses.contains(u"Sending message 1 of 1..."_s));
}

QTEST_GUILESS_MAIN(SmtpTextTest)
#include "smtptext_test.moc"
