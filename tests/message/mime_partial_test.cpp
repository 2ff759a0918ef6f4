#include "message/deliverystatus.h"
#include "message/mimepartial.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QByteArray piece(int number, const QByteArray &total, const QByteArray &body, const QByteArray &id = "i@x")
{
    return "From: Bill@host.com\nTo: joe@other.com\nSubject: Audio mail (part " + QByteArray::number(number) +
           ")\nMessage-ID: <outer" + QByteArray::number(number) +
           "@host>\nMIME-Version: 1.0\nContent-Type: message/partial; id=\"" + id +
           "\"; number=" + QByteArray::number(number) + total + "\n\n" + body;
}

const QByteArray kFirstBody = "X-Extra: dropped\nMessage-ID: <inner@host>\nSubject: Audio mail\n"
                              "MIME-Version: 1.0\nContent-Type: audio/basic;\n name=a\n\nfirst half\n";

} // namespace

class MimePartialTest : public QObject
{
    Q_OBJECT

private slots:
    void joinsInAnyOrder_data();
    void joinsInAnyOrder();
    void whatIsRefused();
    void describe_data();
    void describe();
    void deliveryStatus();
    void deliveryStatusThatIsNone();
};

void MimePartialTest::joinsInAnyOrder_data()
{
    QTest::addColumn<QList<int>>("order");
    QTest::newRow("first to last") << QList<int>{1, 2, 3};
    QTest::newRow("last to first") << QList<int>{3, 2, 1};
    QTest::newRow("mixed, one twice") << QList<int>{2, 2, 3, 3, 1};
}

void MimePartialTest::joinsInAnyOrder()
{
    QFETCH(QList<int>, order);
    const QByteArray bodies[] = {kFirstBody, "second ", "third\n"};
    MIMEPartial partial;
    for (const int number : order) {
        QVERIFY(partial.joined().isEmpty());
        // Only the last piece must tell how many there are (RFC 2046 section 5.2.2).
        partial.add(piece(number, number == 3 ? "; total=3" : "", bodies[number - 1]));
    }
    QVERIFY(partial.isComplete());
    QCOMPARE(partial.joined(),
             "From: Bill@host.com\nTo: joe@other.com\nMessage-ID: <inner@host>\n"
             "Subject: Audio mail\nMIME-Version: 1.0\nContent-Type: audio/basic;\n name=a\n\n"
             "first half\nsecond third\n");
}

void MimePartialTest::whatIsRefused()
{
    MIMEPartial partial;
    QVERIFY(!partial.add("Subject: x\n\nno piece"));
    QVERIFY(partial.add(piece(2, "; total=3", "x")));
    QVERIFY(!partial.add(piece(2, "; total=3", "again")));
    QVERIFY(!partial.add(piece(1, "; total=3", "x", "other@x")));
    QVERIFY(!partial.add(piece(1, "; total=4", "another total")));
    QVERIFY(!partial.add(piece(4, "", "beyond the total")));
    QCOMPARE(partial.count(), 1);
    QCOMPARE(partial.id(), "i@x");

    MIMEPartial other;
    QVERIFY(other.add(piece(5, "", "x")));
    QVERIFY(!other.add(piece(3, "; total=3", "fewer than there are already")));
    QCOMPARE(other.total(), 0);
}

void MimePartialTest::describe_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<bool>("isPiece");
    QTest::newRow("whole") << QByteArray("message/partial; id=a; number=1; total=2") << true;
    QTest::newRow("without total") << QByteArray("Message/Partial; ID=a; NUMBER=1") << true;
    QTest::newRow("other type") << QByteArray("message/rfc822; id=a; number=1") << false;
    QTest::newRow("without id") << QByteArray("message/partial; number=1") << false;
    QTest::newRow("without number") << QByteArray("message/partial; id=a; total=2") << false;
    QTest::newRow("number 0") << QByteArray("message/partial; id=a; number=0") << false;
    QTest::newRow("beyond its total") << QByteArray("message/partial; id=a; number=3; total=2") << false;
    QTest::newRow("more than anybody sends") << QByteArray("message/partial; id=a; number=10001") << false;
}

void MimePartialTest::describe()
{
    QFETCH(QByteArray, type);
    QTEST(MIMEPartial::describe("Content-Type: " + type + "\n\nx").has_value(), "isPiece");
}

void MimePartialTest::deliveryStatus()
{
    QCOMPARE(deliveryStatusText(
                 "Reporting-MTA: dns; mx.example.org\nArrival-Date: Mon, 1 Jan 2024 10:00:00 +0000\n\n"
                 "Original-Recipient: rfc822;alias@example.com\nFinal-Recipient: rfc822; joe@example.com\n"
                 "Action: failed\nStatus: 5.1.1\nRemote-MTA: dns; mail.example.com\n"
                 "Diagnostic-Code: smtp; 550 5.1.1 No such\n user here\n \n"
                 "Final-Recipient: rfc822; ann@example.com\nAction: delayed\nStatus: 4.9.9\n"),
             u"joe@example.com: could not be delivered\n"
             "    Sent to: alias@example.com\n"
             "    Reason: no such mailbox (5.1.1)\n"
             "    The server said: 550 5.1.1 No such user here\n"
             "    Server: mail.example.com\n"
             "\n"
             "ann@example.com: has not been delivered yet\n"
             "    Reason: 4.9.9\n"
             "\n"
             "Reported by: mx.example.org\n"
             "Arrived there: Mon, 1 Jan 2024 10:00:00 +0000\n"_s);
}

void MimePartialTest::deliveryStatusThatIsNone()
{
    QCOMPARE(deliveryStatusText("just words\n\nmore"), u"just words\n\nmore"_s);
    QCOMPARE(deliveryStatusText(""), QString());
}

QTEST_GUILESS_MAIN(MimePartialTest)
#include "mime_partial_test.moc"
