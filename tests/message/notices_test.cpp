#include "message/notices.h"

#include "config/clock.h"
#include "message/message.h"
#include "message/useragent.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

class NoticesTest : public QObject
{
    Q_OBJECT

private slots:
    void theUserAgentNamesVersionAndSystem();
    void receiptsTellWhatTheyAreFor();
    void receiptsOutsideAsciiAreLabelled();
    void receiptsGoToOneAddress_data();
    void receiptsGoToOneAddress();
    void articlesAreCancelled();
    void whatCannotBeCancelled_data();
    void whatCannotBeCancelled();
    void nothingBecomesAHeaderLine();
};

namespace {

/// With the random identifier out of the way.
QString withoutNewId(const QByteArray &notice)
{
    return QString::fromUtf8(notice).replace(QRegularExpression(u"<velmar\\.[0-9a-z]{11,}@example\\.org>"_s),
                                             u"<new>"_s);
}

} // namespace

void NoticesTest::theUserAgentNamesVersionAndSystem()
{
    QCOMPARE(userAgent(), QByteArray("Velmar/2.29m (Qt/") + qVersion() + ") (Unknown-OS)");
}

void NoticesTest::receiptsTellWhatTheyAreFor()
{
    const ClockOverride clock([] { return qint64(0); });
    const Message received("From: A <a@b>\nTo: me@example.org\nSubject: Hello\nDate: D\nMessage-ID: <1@b>\n"
                           "Disposition-Notification-To: \"A, B\" <a@b>\n\nbody");
    const QByteArray receipt =
        readReceipt(received, {{u"Me, Myself"_s, u"me@example.org"_s}, u"r@example.org"_s});
    QCOMPARE(withoutNewId(receipt),
             u"Date: Thu, 1 Jan 1970 00:00:00 +0000\nFrom: \"Me, Myself\" <me@example.org>\nTo: a@b\n"
             "Subject: Read receipt Re: Hello\nMessage-ID: <new>\nIn-Reply-To: <1@b>\nReferences: <1@b>\n"
             "Reply-To: r@example.org\nUser-Agent: "_s +
                 QString::fromLatin1(userAgent()) +
                 u"\n\nThis is a read receipt generated automatically in response to the following\n"
                 "message that you sent me:\n\nFrom: A <a@b>\nTo: me@example.org\nSubject: Hello\nDate: D\n"
                 "Message-ID: <1@b>\n"_s);
}

void NoticesTest::receiptsOutsideAsciiAreLabelled()
{
    const Message received("Return-Receipt-To: a@b\nSubject: =?utf-8?Q?=C3=BC?=\n\n");
    const Message receipt(readReceipt(received, {{u"Jörg"_s, u"me@example.org"_s}, {}}));
    QCOMPARE(receipt.subject(), u"Read receipt Re: ü"_s);
    QCOMPARE(receipt.addresses("From").first().name, u"Jörg"_s);
    QCOMPARE(receipt.rawHeader("Content-Type"), QByteArray("text/plain; charset=utf-8"));
    QVERIFY(receipt.body().endsWith("Subject: \xc3\xbc\n"));
    QVERIFY(!receipt.hasHeader("Reply-To"));
    QVERIFY(!receipt.hasHeader("References"));
}

void NoticesTest::receiptsGoToOneAddress_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<QByteArray>("to");
    QTest::newRow("one") << QByteArray("A <a@b>") << QByteArray("a@b");
    QTest::newRow("several") << QByteArray("a@b, c@d") << QByteArray("a@b");
    QTest::newRow("none") << QByteArray() << QByteArray();
    QTest::newRow("no address") << QByteArray("<>") << QByteArray();
}

void NoticesTest::receiptsGoToOneAddress()
{
    QFETCH(QByteArray, field);
    QFETCH(QByteArray, to);
    const QByteArray receipt =
        readReceipt(Message("Disposition-Notification-To: " + field + "\n"), {{{}, u"me@example.org"_s}, {}});
    QCOMPARE(receipt.isEmpty(), to.isEmpty());
    QCOMPARE(Message(receipt).rawHeader("To"), to);
}

void NoticesTest::articlesAreCancelled()
{
    const ClockOverride clock([] { return qint64(0); });
    const Message article(
        "From: Me <me@example.org>\nNewsgroups: a.b,\n c.d\nMessage-ID: <1@b> <2@b>\n\nbody");
    QCOMPARE(withoutNewId(cancelMessage(article)),
             u"Path: not-for-mail\nDate: Thu, 1 Jan 1970 00:00:00 +0000\nFrom: Me <me@example.org>\n"
             "Newsgroups: a.b,c.d\nSubject: cmsg cancel <1@b>\nMessage-ID: <new>\nControl: cancel <1@b>\n"
             "User-Agent: "_s +
                 QString::fromLatin1(userAgent()) + u"\nLines: 1\n\ncancel <1@b>"_s);
}

void NoticesTest::whatCannotBeCancelled_data()
{
    QTest::addColumn<QByteArray>("article");
    QTest::newRow("no identifier") << QByteArray("From: a@b\nNewsgroups: c\n");
    QTest::newRow("identifier with a control character")
        << QByteArray("From: a@b\nNewsgroups: c\nMessage-ID: <a\x01@b>\n");
    QTest::newRow("no group") << QByteArray("From: a@b\nMessage-ID: <a@b>\n");
    QTest::newRow("no author") << QByteArray("Newsgroups: c\nMessage-ID: <a@b>\n");
}

void NoticesTest::whatCannotBeCancelled()
{
    QFETCH(QByteArray, article);
    QVERIFY(cancelMessage(Message(article)).isEmpty());
}

void NoticesTest::nothingBecomesAHeaderLine()
{
    const QByteArray evil = "=?utf-8?Q?x=0ABcc:_y?= \rBcc: z\r";
    const Message message("From: " + evil + "<a@b\rBcc: x>\nSubject: " + evil + "\nNewsgroups: a\rBcc: b\n" +
                          "Message-ID: <1\rBcc:@b>\nReturn-Receipt-To: " + evil + "<a@b\rBcc: x>\n\n");
    for (const QByteArray &notice :
         {readReceipt(message, {{u"a\nBcc: b"_s, u"a@b\nBcc: c"_s}, u"a\nBcc: b <a@b>"_s}),
          cancelMessage(message)}) {
        QVERIFY(!notice.isEmpty());
        QVERIFY(!notice.contains('\r'));
        QVERIFY(!Message(notice).hasHeader("Bcc"));
    }
}

QTEST_GUILESS_MAIN(NoticesTest)
#include "notices_test.moc"
