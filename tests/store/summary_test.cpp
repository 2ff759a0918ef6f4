#include "store/summary.h"

#include "message/message.h"

#include <QTest>

using namespace Qt::StringLiterals;

class SummaryTest : public QObject
{
    Q_OBJECT

private slots:
    void marks_data();
    void marks();
    void identifiers();
    void messageWithoutADate();
};

void SummaryTest::marks_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<Marks>("marks");
    const auto row = [](const char *name, const QByteArray &text, Marks marks) {
        QTest::newRow(name) << QByteArray("Date: 2 Jan 1970\n") + text << marks;
    };
    row("plain", "Subject: x\n\nx", {});
    row("important", "Importance: HIGH \n\nx", Mark::HighImportance);
    row("unimportant, encoded", "Importance: =?utf-8?Q?Low?=\n\nx", Mark::LowImportance);
    row("a receipt is asked for", "Return-Receipt-To: a@b\n\nx", Mark::ReceiptWanted);
    row("an empty field asks for none", "Disposition-Notification-To:\n\nx", {});
    row("mailing list", "List-Id: <a.b>\n\nx", Mark::List);
    row("uuencode in the text", "Subject: x\n\nbegin 644 a\n#0V%T\nend\n", Mark::Attachments);
    row("an HTML text is no attachment", "Content-Type: text/html\n\nx", {});
    row("signed", "Content-Type: multipart/signed; boundary=b\n\n--b\n\nx\n--b\n\ny\n--b--\n", Mark::Signed);
    row("encrypted",
        "Content-Type: multipart/encrypted; boundary=b\n\n--b\nContent-Type: application/pgp-encrypted\n\n1\n"
        "--b--\n",
        Mark::Encrypted);
}

void SummaryTest::marks()
{
    QFETCH(QByteArray, text);
    const Overview overview = summaryOf(Message(text), 1000).overview;
    Marks found;
    for (int bit = 0; bit < 32; ++bit)
        found.setFlag(Mark(1u << bit), overview.has(Mark(1u << bit)));
    QTEST(found, "marks");
    QCOMPARE(overview.date(), 86400);
}

void SummaryTest::identifiers()
{
    const Summary summary =
        summaryOf(Message("Message-ID: (x) <c@d> y\nReferences: <a@b>\n\t<b@c>\nIn-Reply-To: <z@z>\n\n"), 0);
    QCOMPARE(summary.texts.messageId, u"<c@d>"_s);
    QCOMPARE(summary.overview.idHash(), identifierHash("<c@d>"));
    QCOMPARE(summary.overview.parentHash(), identifierHash("<b@c>"));
    QCOMPARE(summary.overview.rootHash(), identifierHash("<a@b>"));
    const Overview answer = summaryOf(Message("Message-ID: none\nIn-Reply-To: yours <z@z>\n\n"), 0).overview;
    QCOMPARE(answer.idHash(), 0);
    QCOMPARE(answer.parentHash(), identifierHash("<z@z>"));
}

void SummaryTest::messageWithoutADate()
{
    const Overview overview = summaryOf(Message("Date: soon\n\n"), 1000).overview;
    QCOMPARE(overview.date(), 1000);
    QCOMPARE(overview.arrival(), 1000);
    QVERIFY(overview.has(Mark::DateUnreadable));
}

QTEST_GUILESS_MAIN(SummaryTest)
#include "summary_test.moc"
