#include "compose/encoders.h"
#include "message/decoders.h"
#include "message/yenc.h"

#include <QRandomGenerator>
#include <QTest>

namespace {

/// The same bytes in every run; all values occur.
QByteArray someBytes(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator random(7);
    std::generate(bytes.begin(), bytes.end(), [&] { return char(random.bounded(256)); });
    return bytes;
}

qsizetype longestLine(const QByteArray &text)
{
    qsizetype longest = 0;
    const QByteArrayList lines = text.split('\n');
    for (const QByteArray &line : lines)
        longest = std::max(longest, line.size());
    return longest;
}

} // namespace

class EncodersTest : public QObject
{
    Q_OBJECT

private slots:
    void base64IsInLines();
    void quotedPrintable_data();
    void quotedPrintable();
    void quotedPrintableComesBack();
    void uuencode_data();
    void uuencode();
    void blocksComeBack();
    void yencEscapesWhatTransportsChange();
    void blockNamesStayOnTheirLine();
    void goingUnencoded_data();
    void goingUnencoded();
};

void EncodersTest::base64IsInLines()
{
    for (qsizetype size = 0; size < 400; ++size) {
        const QByteArray bytes = someBytes(size);
        QByteArray expected;
        for (qsizetype at = 0; at < size; at += 57)
            expected += bytes.mid(at, 57).toBase64() + '\n';
        QCOMPARE(encodeBase64Lines(bytes), expected);
        QCOMPARE(base64LinesSize(size), expected.size());
    }
}

void EncodersTest::quotedPrintable_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("encoded");
    const QByteArray a75(75, 'a');
    QTest::newRow("ASCII") << QByteArray("a b\n") << QByteArray("a b\n");
    QTest::newRow("bytes that need it")
        << QByteArray("Gr\xfc\xdf = \x01\x7f") << QByteArray("Gr=FC=DF =3D =01=7F");
    QTest::newRow("blank at a line end") << QByteArray("a \nb ") << QByteArray("a=20\nb=20");
    QTest::newRow("tab at a line end, tab inside") << QByteArray("a\tb\t\n") << QByteArray("a\tb=09\n");
    QTest::newRow("empty lines") << QByteArray("\n\na\n") << QByteArray("\n\na\n");
    QTest::newRow("NUL") << QByteArray("a\0b", 3) << QByteArray("a=00b");
    QTest::newRow("CR and line end are data") << QByteArray("a\r\nb\n") << QByteArray("a=0D=0A=\nb\n");
    QTest::newRow("CR alone") << QByteArray("a\rb") << QByteArray("a=0Db");
    QTest::newRow("a line of the full width") << a75 + '\n' << a75 + '\n';
    QTest::newRow("one more breaks softly") << a75 + "b\n" << a75 + "=\nb\n";
    QTest::newRow("no escape is cut") << QByteArray(73, 'a') + "\xfc\n" << QByteArray(73, 'a') + "=\n=FC\n";
    QTest::newRow("an escape ends a line") << QByteArray(72, 'a') + "\xfc\n" << QByteArray(72, 'a') + "=FC\n";
    QTest::newRow("what transports would quote") << QByteArray("From a\n From b\nFromage\nx\nFrom c")
                                                 << QByteArray("=46rom a\n From b\nFromage\nx\n=46rom c");
}

void EncodersTest::quotedPrintable()
{
    QFETCH(QByteArray, text);
    QTEST(encodeQuotedPrintable(text), "encoded");
    QCOMPARE(decodeQuotedPrintable(encodeQuotedPrintable(text)), text);
}

void EncodersTest::quotedPrintableComesBack()
{
    const QByteArray text = someBytes(20'000) + QByteArray(5'000, ' ') + QByteArray(5'000, 'x');
    const QByteArray encoded = encodeQuotedPrintable(text);
    QCOMPARE(decodeQuotedPrintable(encoded), text);
    QVERIFY(longestLine(encoded) <= 76);
}

void EncodersTest::uuencode_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("lines");
    QTest::newRow("nothing") << QByteArray() << QByteArray();
    QTest::newRow("three bytes") << QByteArray("Cat") << QByteArray("#0V%T\n");
    QTest::newRow("one byte") << QByteArray("a") << QByteArray("!80``\n");
    QTest::newRow("zeros are grave accents") << QByteArray("\0\0\0", 3) << QByteArray("#````\n");
    QTest::newRow("a full line and one byte")
        << QByteArray(45, '\0') + 'a' << 'M' + QByteArray(60, '`') + "\n!80``\n";
}

void EncodersTest::uuencode()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, lines);
    QCOMPARE(encodeUuencodeBlock(bytes, "a b.gif"), "begin 644 a b.gif\n" + lines + "`\nend\n");
}

void EncodersTest::blocksComeBack()
{
    for (const qsizetype size : {0, 1, 2, 3, 44, 45, 46, 127, 128, 129, 5'000, 64 * 1024, 200'001}) {
        const QByteArray bytes = someBytes(size);
        QCOMPARE(decodeUuencode(encodeUuencodeBlock(bytes, "x")), bytes);
        const YencBlock block = decodeYenc(encodeYencBlock(bytes, "a b=c.bin"));
        QCOMPARE(block.bytes, bytes);
        QVERIFY(block.isIntact());
        QCOMPARE(block.name, "a b=c.bin");
        QCOMPARE(block.line, 128);
    }
}

void EncodersTest::yencEscapesWhatTransportsChange()
{
    // Every byte value at the beginning, inside and at the end of a line.
    QByteArray bytes;
    for (int value = 0; value < 256; ++value)
        bytes += QByteArray(128, char(value)) + QByteArray(127, 'x') + char(value);
    const QByteArray block = encodeYencBlock(bytes, "x");
    QCOMPARE(decodeYenc(block).bytes, bytes);
    QVERIFY(!block.contains('\r') && !block.contains('\0') && longestLine(block) <= 129);
    const QByteArrayList lines = block.split('\n');
    QVERIFY(lines.size() > 256);
    for (const QByteArray &line : lines) {
        QVERIFY(!line.startsWith('.') && !line.startsWith(' ') && !line.startsWith('\t'));
        QVERIFY(!line.endsWith(' ') && !line.endsWith('\t'));
    }
}

void EncodersTest::blockNamesStayOnTheirLine()
{
    const QByteArray name = "a\nend\r\n\0.gif";
    QCOMPARE(encodeUuencodeBlock("Cat", name).count('\n'), 4);
    QCOMPARE(encodeYencBlock("Cat", name).count('\n'), 3);
    QVERIFY(encodeYencBlock("Cat", "n").startsWith("=ybegin line=128 size=3 name=n\n"));
    QVERIFY(encodeYencBlock("Cat", "n").endsWith("\n=yend size=3\n"));
}

void EncodersTest::goingUnencoded_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("can");
    const QByteArray most(998, '\xfc');
    QTest::newRow("empty") << QByteArray() << true;
    QTest::newRow("lines of 998 bytes") << most + '\n' + most + "\n\n" + most << true;
    QTest::newRow("of 999") << most + "x\n" << false;
    QTest::newRow("the last of 999") << "a\n" + most + 'x' << false;
    QTest::newRow("a CR") << QByteArray("a\r\nb\n") << false;
    QTest::newRow("a NUL") << QByteArray("a\0b\n", 4) << false;
}

void EncodersTest::goingUnencoded()
{
    QFETCH(QByteArray, text);
    QTEST(canGoUnencoded(text), "can");
}

QTEST_GUILESS_MAIN(EncodersTest)
#include "encoders_test.moc"
