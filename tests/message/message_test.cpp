#include "message/message.h"

#include "config/clock.h"
#include "message/messageid.h"
#include "message/mimecontext.h"
#include "support/scratch.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;

class MessageTest : public QObject
{
    Q_OBJECT

private slots:
    void lineEndsAreNormalised_data();
    void lineEndsAreNormalised();
    void headersAreAnswered_data();
    void headersAreAnswered();
    void copiesShareOneText();
    void datesComeFromTheirFields_data();
    void datesComeFromTheirFields();
    void theSenderOfAMailbox_data();
    void theSenderOfAMailbox();
    void importanceIsHighOrLow_data();
    void importanceIsHighOrLow();
    void fieldsWithASubstitute();
    void identifiersAreCutOut();
    void newIdentifiers_data();
    void newIdentifiers();
    void subjectsLoseAndGainTheReplyMarker_data();
    void subjectsLoseAndGainTheReplyMarker();
    void crossReferences();
    void theSummaryHoldsWhatIsThere();
    void theSummaryIsEscaped();
    void messagesAreSaved_data();
    void messagesAreSaved();
    void aFailedSaveLeavesTheOldFile();
    void manyFieldsTakeLinearTime();
};

void MessageTest::lineEndsAreNormalised_data()
{
    QTest::addColumn<QByteArray>("raw");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("Unix") << QByteArray("A: b\n\nc\n") << QByteArray("A: b\n\nc\n");
    QTest::newRow("network") << QByteArray("A: b\r\n\r\nc\r\n") << QByteArray("A: b\n\nc\n");
    QTest::newRow("mixed") << QByteArray("\nA: b\r\n\nc\r\r\nd\re\r") << QByteArray("\nA: b\n\nc\nd\re\r");
    QTest::newRow("NULs stay") << QByteArray("a\0\r\nb", 5) << QByteArray("a\0\nb", 4);
}

void MessageTest::lineEndsAreNormalised()
{
    QFETCH(QByteArray, raw);
    const Message message(raw);
    QTEST(message.text(), "text");
    QCOMPARE(message.text().sliced(message.bodyOffset()), message.body().toByteArray());
}

void MessageTest::headersAreAnswered_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<HeaderFlags>("flags");
    QTest::addColumn<QString>("value");
    const HeaderFlags decode = HeaderFlag::Decode;
    const HeaderFlags strip = HeaderFlag::StripComments;
    QTest::newRow("decoded") << QByteArray("=?utf-8?Q?=C3=BC?= x") << decode << u"ü x"_s;
    QTest::newRow("as written") << QByteArray("=?utf-8?Q?=C3=BC?= x") << HeaderFlags()
                                << u"=?utf-8?Q?=C3=BC?= x"_s;
    QTest::newRow("comments, greedy") << QByteArray("a (b) c (d) e") << strip << u"a  e"_s;
    QTest::newRow("comment at the end") << QByteArray("a (b)") << (decode | strip) << u"a"_s;
    QTest::newRow("brackets the wrong way round") << QByteArray("a )b( c") << strip << u"a )b( c"_s;
    QTest::newRow("decoded brackets count")
        << QByteArray("a =?utf-8?Q?(b?= c)") << (decode | strip) << u"a"_s;
    QTest::newRow("raw, in the message's set") << QByteArray("\xc6\xc1") << decode << u"фа"_s;
    QTest::newRow("raw UTF-8") << QByteArray("\xc3\xbc") << decode << u"ü"_s;
    QTest::newRow("folded") << QByteArray("a\n\t  b") << decode << u"a   b"_s;
}

void MessageTest::headersAreAnswered()
{
    QFETCH(QByteArray, field);
    QFETCH(HeaderFlags, flags);
    const Message message("subject: " + field +
                          "\nSubject: second\nContent-Type: text/plain; charset=koi8-r\n\n");
    for (int i = 0; i < 2; ++i) // the second answer comes from memory
        QTEST(message.header("Subject", flags), "value");
    QCOMPARE(message.header("SUBJECT", flags), message.header("subject", flags));
    QVERIFY(message.header("X-Missing").isEmpty());
}

void MessageTest::copiesShareOneText()
{
    auto message = std::make_unique<Message>(QByteArray("Subject: a\r\n\r\nbody"));
    const Message copy = *message;
    QCOMPARE(copy.text().constData(), message->text().constData());
    QCOMPARE(&copy.mime(), &message->mime());
    message.reset();
    QCOMPARE(copy.subject(), u"a"_s);
    QCOMPARE(copy.mime().count(), 1);
    QVERIFY(Message().header("Subject").isEmpty());
    QVERIFY(Message().body().isEmpty());
}

void MessageTest::datesComeFromTheirFields_data()
{
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<qint64>("dateOrResent");
    QTest::addColumn<qint64>("dateOnly");
    QTest::newRow("Date") << QByteArray("Date: Thu, 1 Jan 1970 01:00:00 +0000 (EST)\n") << qint64(3600)
                          << qint64(3600);
    QTest::newRow("Resent-Date") << QByteArray("Resent-Date: 2 Jan 1970\n") << qint64(86400) << qint64(0);
    QTest::newRow("unreadable Date") << QByteArray("Date: soon\nResent-Date: 2 Jan 1970\n") << qint64(0)
                                     << qint64(0);
    QTest::newRow("zone in a comment")
        << QByteArray("Date: 1 Jan 1970 01:00 (EST)\n") << qint64(6 * 3600) << qint64(3600);
}

void MessageTest::datesComeFromTheirFields()
{
    QFETCH(QByteArray, header);
    const Message message(header +
                          "Received: from a (b) by c; id 2 Jan 1970;\n Sat, 3 Jan 1970 00:00:00 GMT\n"
                          "Received: by d; 4 Jan 1970\n\n");
    QTEST(message.date(), "dateOrResent");
    QTEST(message.date(DateSource::DateOnly), "dateOnly");
    QCOMPARE(message.receivedDate(), qint64(2 * 86400));
    QVERIFY(!Message(header).receivedDate());
}

void MessageTest::theSenderOfAMailbox_data()
{
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QString>("sender");
    QTest::newRow("Return-Path") << QByteArray("From: a@b\nSender: c@d\nReturn-Path: <e@f>\n") << u"e@f"_s;
    QTest::newRow("Sender") << QByteArray("From: a@b\nSender: C <c@d>\n") << u"c@d"_s;
    QTest::newRow("From") << QByteArray("From: \"x@y, z\" <a@b>, c@d\n") << u"a@b"_s;
    QTest::newRow("a bounce") << QByteArray("From: a@b\nReturn-Path: <>\n") << u"MAILER-DAEMON"_s;
    QTest::newRow("nobody") << QByteArray("Subject: a@b\n") << u"MAILER-DAEMON"_s;
}

void MessageTest::theSenderOfAMailbox()
{
    QFETCH(QByteArray, header);
    QTEST(Message(header).mboxSender(), "sender");
}

void MessageTest::importanceIsHighOrLow_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<Importance>("importance");
    QTest::newRow("high") << QByteArray("HIGH  ") << Importance::High;
    QTest::newRow("low") << QByteArray("=?utf-8?Q?Low?=") << Importance::Low;
    QTest::newRow("normal") << QByteArray("normal") << Importance::Normal;
    QTest::newRow("more than the word") << QByteArray("highest") << Importance::Normal;
    QTest::newRow("empty") << QByteArray() << Importance::Normal;
}

void MessageTest::importanceIsHighOrLow()
{
    QFETCH(QByteArray, value);
    QTEST(Message("Importance: " + value + "\n").importance(), "importance");
}

void MessageTest::fieldsWithASubstitute()
{
    QCOMPARE(Message("X-Organization: a\nOrganization: b\n").organization(), u"b"_s);
    QCOMPARE(Message("X-Organization: a\nOrganization: \n").organization(), u"a"_s);
    QCOMPARE(Message("Return-Receipt-To: a@b\nDisposition-Notification-To: c@d\n").readReceiptTo(), u"c@d"_s);
    QCOMPARE(Message("Return-Receipt-To: a@b\n").readReceiptTo(), u"a@b"_s);
    QVERIFY(Message("To: a@b\n").readReceiptTo().isEmpty());
}

void MessageTest::identifiersAreCutOut()
{
    const Message message("Message-ID: see <a@b> (c)\nIn-Reply-To: Joe's <c@d> of <e@f>\n"
                          "References: <1@x> <2@x><3\n @x> junk <> <4@x <5@x>\n\n");
    QCOMPARE(message.messageId(), QByteArray("<a@b>"));
    QCOMPARE(message.inReplyTo(), QByteArray("<c@d> of <e@f>"));
    QCOMPARE(message.referenceIds(), (QList<QByteArray>{"<1@x>", "<2@x>", "<3@x>", "<5@x>"}));
    QVERIFY(cutMessageId("a@b").isEmpty());
    QVERIFY(cutMessageId("<>").isEmpty());
    QVERIFY(cutMessageId(">a@b<").isEmpty());
}

void MessageTest::newIdentifiers_data()
{
    QTest::addColumn<QString>("sender");
    QTest::addColumn<QString>("domain"); // a pattern
    QTest::newRow("address") << u"a@Example.org"_s << u"[Ee]xample\\.org"_s;
    QTest::newRow("split at the first at sign") << u"a@b@c"_s << u"[a-zA-Z0-9._-]+"_s;
    QTest::newRow("international") << u"a@müller.example"_s << u"xn--mller-kva\\.example"_s;
    QTest::newRow("no domain") << u"a@"_s << u"[a-zA-Z0-9._-]+"_s;
    QTest::newRow("no local part") << u"@b.example"_s << u"(?!b\\.example)[a-zA-Z0-9._-]+"_s;
    QTest::newRow("no header injection") << u"a@b>\nBcc: c"_s << u"[a-zA-Z0-9._-]+"_s;
}

void MessageTest::newIdentifiers()
{
    QFETCH(QString, sender);
    QFETCH(QString, domain);
    const ClockOverride clock([] { return qint64(1'234'567'890'123); });
    const auto matches = [&](const QByteArray &id, const QString &local) {
        const QString pattern =
            QRegularExpression::anchoredPattern(u"<velmar\\."_s + local + u"@"_s + domain + u">"_s);
        return QRegularExpression(pattern).match(QString::fromLatin1(id)).hasMatch();
    };
    // 1,234,567,890 is kf12oi in base 36.
    QVERIFY(matches(newMessageId(sender), u"kf12oi[0-9a-z]{11}"_s));
    QVERIFY(matches(newMessageId(sender, {36, 37, 99}), u"100000011[0-9a-z]{4}\\.99"_s));
    QVERIFY(newMessageId(sender) != newMessageId(sender));
}

void MessageTest::subjectsLoseAndGainTheReplyMarker_data()
{
    QTest::addColumn<QByteArray>("subject");
    QTest::addColumn<QString>("base");
    QTest::addColumn<QString>("reply");
    QTest::newRow("none") << QByteArray("a") << u"a"_s << u"Re: a"_s;
    QTest::newRow("usual") << QByteArray("Re: a") << u"a"_s << u"Re: a"_s;
    QTest::newRow("upper case, blanks") << QByteArray("RE:   a") << u"a"_s << u"RE:   a"_s;
    QTest::newRow("one is taken") << QByteArray("re:Re: a") << u"Re: a"_s << u"re:Re: a"_s;
    QTest::newRow("inside") << QByteArray("More: a") << u"More: a"_s << u"Re: More: a"_s;
    QTest::newRow("encoded") << QByteArray("=?utf-8?Q?Re:_a?=") << u"a"_s << u"Re: a"_s;
    QTest::newRow("empty") << QByteArray() << u""_s << u"Re: "_s;
}

void MessageTest::subjectsLoseAndGainTheReplyMarker()
{
    QFETCH(QByteArray, subject);
    const Message message("Subject: " + subject + "\n");
    QTEST(message.baseSubject(), "base");
    QTEST(message.replySubject(), "reply");
}

void MessageTest::crossReferences()
{
    const CrossReference reference = Message("Xref: news.example:119 a.b:12 bad :3 c.d: e.f:x\n").xref();
    QCOMPARE(reference.server, QByteArray("news.example"));
    QCOMPARE(reference.port, 119);
    QCOMPARE(reference.entries.size(), 2);
    QCOMPARE(reference.entries.at(0).group, QByteArray("a.b"));
    QCOMPARE(reference.entries.at(0).article, QByteArray("12"));
    QCOMPARE(reference.entries.at(1).article, QByteArray("x"));
    QVERIFY(Message("Subject: a\n").xref().server.isEmpty());
}

void MessageTest::theSummaryHoldsWhatIsThere()
{
    const Message message("Subject: =?utf-8?Q?=C3=BC=0AX:?= %1\nFrom: A <a@b>\nNewsgroups: x.y\nDate: D\n\n");
    QCOMPARE(message.headerSummary(), u"Date: D\nFrom: A <a@b>\nNewsgroups: x.y\nSubject: ü X: %1\n"_s);
    QVERIFY(Message().headerSummary().isEmpty());
}

void MessageTest::theSummaryIsEscaped()
{
    const Message message("Cc: \"<script>\" <a@b>\nSubject: a & b\n\n");
    QCOMPARE(message.headerSummary(SummaryForm::Html),
             u"<hr><table><tr><td align=left valign=top><font face=\"sanserif\"><b>CC:</b></font></td>"
             "<td align=left valign=top>&quot;&lt;script&gt;&quot; &lt;a@b&gt;</font></td></tr>"
             "<tr><td align=left valign=top><font face=\"sanserif\"><b>Subject:</b></font></td>"
             "<td align=left valign=top>a &amp; b</font></td></tr></table>"_s);
}

void MessageTest::messagesAreSaved_data()
{
    QTest::addColumn<SavedText>("what");
    QTest::addColumn<LineEnds>("lineEnds");
    QTest::addColumn<QByteArray>("file");
    QTest::newRow("raw") << SavedText::Raw << LineEnds::Lf
                         << QByteArray("Subject: a\nContent-Transfer-Encoding: quoted-printable\n\n=C3=BC\n");
    QTest::newRow("raw for Windows")
        << SavedText::Raw << LineEnds::CrLf
        << QByteArray("Subject: a\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n=C3=BC\r\n");
    QTest::newRow("readable") << SavedText::Readable << LineEnds::Lf
                              << QByteArray("Subject: a\n\n\xc3\xbc\n");
    QTest::newRow("readable for Windows")
        << SavedText::Readable << LineEnds::CrLf << QByteArray("Subject: a\r\n\r\n\xc3\xbc\r\n");
}

void MessageTest::messagesAreSaved()
{
    QFETCH(SavedText, what);
    QFETCH(LineEnds, lineEnds);
    Scratch scratch;
    const Message message("Subject: a\nContent-Transfer-Encoding: quoted-printable\n\n=C3=BC\n");
    const QString path = scratch.write(u"saved.txt"_s, "what stood there before, and longer than what comes");
    QVERIFY(message.saveAsText(path, what, lineEnds));
    QTEST(Scratch::read(path), "file");
}

void MessageTest::aFailedSaveLeavesTheOldFile()
{
    Scratch scratch;
    QVERIFY(!Message("a").saveAsText(scratch.path(u"missing/file"_s), SavedText::Raw, LineEnds::Lf));
    QDir().mkpath(scratch.path(u"directory"_s));
    QVERIFY(!Message("a").saveAsText(scratch.path(u"directory"_s), SavedText::Raw, LineEnds::Lf));
}

void MessageTest::manyFieldsTakeLinearTime()
{
    QByteArray text;
    for (int i = 0; i < 100'000; ++i)
        text += "X-Field-" + QByteArray::number(i) + ": value\r\n";
    QElapsedTimer timer;
    timer.start();
    const Message message(text + "Subject: a\r\n\r\n");
    for (int i = 0; i < 1000; ++i)
        QCOMPARE(message.rawHeader("X-Field-" + QByteArray::number(i * 100)), QByteArray("value"));
    QCOMPARE(message.subject(), u"a"_s);
    QVERIFY(timer.elapsed() < 3000);
}

QTEST_GUILESS_MAIN(MessageTest)
#include "message_test.moc"
