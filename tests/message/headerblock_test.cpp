#include "message/headerblock.h"

#include <QTest>

class HeaderBlockTest : public QObject
{
    Q_OBJECT

private slots:
    void theHeaderEndsAtTheFirstEmptyLine_data();
    void theHeaderEndsAtTheFirstEmptyLine();
    void whatBeginsAField();
    void fieldsAreFound_data();
    void fieldsAreFound();
    void fieldsAreListedInOrder();
    void hugeHeadersTakeLinearTime_data();
    void hugeHeadersTakeLinearTime();
};

void HeaderBlockTest::theHeaderEndsAtTheFirstEmptyLine_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("usual") << QByteArray("A: b\nC: d\n\nbody\n\nmore") << QByteArray("A: b\nC: d\n")
                           << QByteArray("body\n\nmore");
    QTest::newRow("no body") << QByteArray("A: b\n") << QByteArray("A: b\n") << QByteArray();
    QTest::newRow("no line end") << QByteArray("A: b") << QByteArray("A: b") << QByteArray();
    QTest::newRow("empty") << QByteArray() << QByteArray() << QByteArray();
    QTest::newRow("empty line only") << QByteArray("\n") << QByteArray() << QByteArray();
    QTest::newRow("a line of blanks is a continuation")
        << QByteArray("A: b\n \nC: d\n\nx") << QByteArray("A: b\n \nC: d\n") << QByteArray("x");
    QTest::newRow("one empty line in front")
        << QByteArray("\nA: b\n\nx") << QByteArray("\nA: b\n") << QByteArray("x");
    QTest::newRow("empty lines in front")
        << QByteArray("\n\n\nA: b\n\nx") << QByteArray("\n\n\nA: b\n") << QByteArray("x");
    QTest::newRow("no header at all")
        << QByteArray("\nHello world\n\nA: b") << QByteArray() << QByteArray("Hello world\n\nA: b");
}

void HeaderBlockTest::theHeaderEndsAtTheFirstEmptyLine()
{
    QFETCH(QByteArray, text);
    const HeaderExtent extent = headerExtent(text);
    QTEST(text.first(extent.length), "header");
    QTEST(text.sliced(extent.bodyOffset), "body");
}

void HeaderBlockTest::whatBeginsAField()
{
    QVERIFY(beginsWithField("X-A_b!:") && isFieldLine("X-A_b!:"));
    QVERIFY(!beginsWithField("Subject : a") && isFieldLine("Subject \t: a"));
    for (const char *none : {"", ":", " : a", "Subject", "Two words: a", "a\x7f: b", "\xc3\xa9: a", " A: b"})
        QVERIFY2(!beginsWithField(none) && !isFieldLine(none), none);
}

void HeaderBlockTest::fieldsAreFound_data()
{
    QTest::addColumn<QByteArray>("block");
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("plain") << QByteArray("Subject: a\n") << QByteArray("a");
    QTest::newRow("folded with a tab") << QByteArray("Subject: a\n\tb\n") << QByteArray("a b");
    QTest::newRow("all but the first blank stay") << QByteArray("Subject: a\n   b\n") << QByteArray("a   b");
    QTest::newRow("lines of blanks") << QByteArray("Subject: a\n \n\t\n b\n") << QByteArray("a   b");
    QTest::newRow("begins on the next line") << QByteArray("Subject:\n a \n") << QByteArray("a");
    QTest::newRow("the first one counts") << QByteArray("Subject: a\nSubject: b\n") << QByteArray("a");
    QTest::newRow("an empty first one counts") << QByteArray("Subject:\nSubject: b\n") << QByteArray();
    QTest::newRow("lower case") << QByteArray("subject: a\n") << QByteArray("a");
    QTest::newRow("blank before the colon") << QByteArray("Subject : a\n") << QByteArray();
    QTest::newRow("inside another name") << QByteArray("X-Old-Subject: a\nSubject: b\n") << QByteArray("b");
    QTest::newRow("inside another value")
        << QByteArray("X: Subject: a\n Subject: b\nSubject: c") << QByteArray("c");
    QTest::newRow("behind a mailbox's line")
        << QByteArray("From a@b Thu 12:00:00\nSubject: a\n") << QByteArray("a");
    QTest::newRow("behind garbage") << QByteArray("garbage\nmore of it\nSubject: a\n") << QByteArray("a");
    QTest::newRow("begins with a blank") << QByteArray(" Subject: a\n") << QByteArray();
    QTest::newRow("with a NUL") << QByteArray("Subject: a\0b\n", 13) << QByteArray("a\0b", 3);
    QTest::newRow("none") << QByteArray() << QByteArray();
}

void HeaderBlockTest::fieldsAreFound()
{
    QFETCH(QByteArray, block);
    QTEST(HeaderFields(block).value("Subject"), "value");
}

void HeaderBlockTest::fieldsAreListedInOrder()
{
    const QByteArray block("B: 1\n 2\nno field\nA:\n");
    const HeaderFields fields(block);
    QCOMPARE(fields.count(), 2);
    QCOMPARE(fields.at(0).name.toByteArray(), QByteArray("B"));
    QCOMPARE(fields.at(0).value.toByteArray(), QByteArray("1\n 2"));
    QCOMPARE(fields.at(1).name.toByteArray(), QByteArray("A"));
    QVERIFY(fields.contains("a"));
    QVERIFY(!fields.contains("no field"));
}

void HeaderBlockTest::hugeHeadersTakeLinearTime_data()
{
    QTest::addColumn<QByteArray>("filler");
    QTest::newRow("fields") << QByteArray("X: y\n");
    QTest::newRow("continuations") << QByteArray(" \n");
    QTest::newRow("one name without a colon") << QByteArray("xxxxx");
    QTest::newRow("colons") << QByteArray(":");
    QTest::newRow("the name itself") << QByteArray("Subject ");
}

void HeaderBlockTest::hugeHeadersTakeLinearTime()
{
    QFETCH(QByteArray, filler);
    const QByteArray block = "A: b\n" + filler.repeated(10'000'000 / filler.size()) +
                             (filler.endsWith(QByteArray("\n")) ? "" : "\n") + "Subject: a\n\n";
    QElapsedTimer timer;
    timer.start();
    const HeaderExtent extent = headerExtent(block);
    const HeaderFields fields(QByteArrayView(block).first(extent.length));
    for (int i = 0; i < 10; ++i)
        QCOMPARE(fields.value("Subject"), QByteArray("a"));
    QVERIFY2(timer.elapsed() < 5000, "took longer than any linear pass needs");
}

QTEST_GUILESS_MAIN(HeaderBlockTest)
#include "headerblock_test.moc"
