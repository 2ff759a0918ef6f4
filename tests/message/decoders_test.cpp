#include "message/decoders.h"
#include "message/encodedblocks.h"
#include "message/mimepart.h"
#include "message/yenc.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// Bytes as the published description has it: each byte plus 42, the four critical
/// results escaped.
QByteArray yencoded(const QByteArray &bytes)
{
    QByteArray line;
    for (const char byte : bytes) {
        const char shifted = char(byte + 42);
        if (shifted == '\0' || shifted == '\n' || shifted == '\r' || shifted == '=')
            line.append('=').append(char(shifted + 64));
        else
            line.append(shifted);
    }
    return line;
}

QByteArray everyByte()
{
    QByteArray bytes;
    for (int value = 0; value < 256; ++value)
        bytes += char(value);
    return bytes;
}

} // namespace

class DecodersTest : public QObject
{
    Q_OBJECT

private slots:
    void base64_data();
    void base64();
    void base64OfEverySize();
    void quotedPrintable_data();
    void quotedPrintable();
    void uuencode_data();
    void uuencode();
    void yencWhole();
    void yencDamage_data();
    void yencDamage();
    void yencPiece();
    void blocks_data();
    void blocks();
    void textWithoutBlocks();
    void longInputTakesLinearTime();
};

void DecodersTest::base64_data()
{
    QTest::addColumn<QByteArray>("encoded");
    QTest::addColumn<QByteArray>("decoded");
    const auto row = [](const char *name, const char *encoded, const char *decoded) {
        QTest::newRow(name) << QByteArray(encoded) << QByteArray(decoded);
    };
    row("nothing", "", "");
    row("whole groups", "SGVsbG8h", "Hello!");
    row("one padding", "SGVsbG8=", "Hello");
    row("two paddings", "SGVsbA==", "Hell");
    row("padding is missing, three digits", "SGVsbG8", "Hello");
    row("padding is missing, two digits", "SGVsbA", "Hell");
    row("a single digit left over is no byte", "SGVsS", "Hel");
    row("a line end inside a group", "SGV\nsbG\n8h\n", "Hello!");
    row("stray bytes",
        "SG Vs*b\tG\x80"
        "8h",
        "Hello!");
    row("CRLF", "SGVs\r\nbG8h\r\n", "Hello!");
    row("two texts joined on one line", "SGVsbA==bG8h", "Helllo!");
    row("two texts joined, a line each", "SGVsbA==\nbG8h\n", "Helllo!");
    row("footer of a list behind the padding", "SGVsbG8=\n\n____________\nlist mailing list\n", "Hello");
    row("nothing but padding", "====", "");
}

void DecodersTest::base64()
{
    QFETCH(QByteArray, encoded);
    QTEST(decodeBase64(encoded), "decoded");
}

void DecodersTest::base64OfEverySize()
{
    const QByteArray bytes = everyByte();
    for (qsizetype size = 0; size <= bytes.size(); ++size) {
        QByteArray encoded = bytes.first(size).toBase64();
        QCOMPARE(decodeBase64(encoded), bytes.first(size));
        for (qsizetype at = 76; at < encoded.size(); at += 77)
            encoded.insert(at, '\n');
        QCOMPARE(decodeBase64(encoded), bytes.first(size));
    }
}

void DecodersTest::quotedPrintable_data()
{
    QTest::addColumn<QByteArray>("encoded");
    QTest::addColumn<QByteArray>("decoded");
    const auto row = [](const char *name, const char *encoded, const char *decoded) {
        QTest::newRow(name) << QByteArray(encoded) << QByteArray(decoded);
    };
    row("plain", "a line\nanother\n", "a line\nanother\n");
    row("escapes in both cases", "=C3=a9=3D", "\xc3\xa9=");
    row("soft line break", "one =\nline", "one line");
    row("soft break with blanks behind it", "one= \t\nline", "oneline");
    row("soft break with CRLF", "one=\r\nline\r\n", "oneline\n");
    row("soft break at the end", "one=", "one");
    row("blanks at the end of a line go", "one \t\ntwo \n", "one\ntwo\n");
    row("an escaped blank at the end stays", "one=20\n", "one \n");
    row("no escape", "1=2, =ZZ, =4", "1=2, =ZZ, =4");
    row("an escape across the line end is none", "a=4\n1", "a=4\n1");
    row("two signs", "==41", "=A");
    row("nothing", "", "");
}

void DecodersTest::quotedPrintable()
{
    QFETCH(QByteArray, encoded);
    QTEST(decodeQuotedPrintable(encoded), "decoded");
}

void DecodersTest::uuencode_data()
{
    QTest::addColumn<QByteArray>("encoded");
    QTest::addColumn<QByteArray>("decoded");
    const auto row = [](const char *name, const char *encoded, const char *decoded) {
        QTest::newRow(name) << QByteArray(encoded) << QByteArray(decoded);
    };
    row("whole", "begin 644 a\n#0V%T\n`\nend\n", "Cat");
    row("text around it", "hello\nbegin 644 a\n#0V%T\n`\nend\nbye\n", "Cat");
    row("zero as a blank", "begin 644 a\n#0V%T\n \nend\n", "Cat");
    row("no end", "begin 644 a\n#0V%T\n", "Cat");
    row("no begin", "#0V%T\n`\nend\n", "Cat");
    row("a checksum behind the data", "begin 644 a\n#0V%T*\n`\nend\n", "Cat");
    row("a line that is no data", "begin 644 a\n#0V%T\nwhat is this\n#0V%T\nend\n", "CatCat");
    row("CRLF", "begin 644 a\r\n#0V%T\r\n`\r\nend\r\n", "Cat");
    QTest::newRow("zeros lost at the line's end")
        << QByteArray("begin 644 a\n#00\nend\n") << QByteArray("A\0\0", 3);
}

void DecodersTest::uuencode()
{
    QFETCH(QByteArray, encoded);
    QTEST(decodeUuencode(encoded), "decoded");
}

void DecodersTest::yencWhole()
{
    const QByteArray bytes = everyByte();
    const QByteArray crc = QByteArray::number(crc32(bytes), 16);
    QCOMPARE(crc32("123456789"), 0xcbf43926U); // the check value of the published polynomial
    const YencBlock block = decodeYenc("=ybegin line=128 size=256 name=my photo.jpg\n" + yencoded(bytes) +
                                       "\n=yend size=256 crc32=" + crc + "\n");
    QCOMPARE(block.bytes, bytes);
    QCOMPARE(block.name, "my photo.jpg");
    QCOMPARE(block.line, 128);
    QCOMPARE(block.size, 256);
    QCOMPARE(block.crcMatches, std::optional(true));
    QVERIFY(block.isIntact());
}

void DecodersTest::yencDamage_data()
{
    QTest::addColumn<QByteArray>("end");
    QTest::addColumn<bool>("ended");
    QTest::addColumn<bool>("sizeMatches");
    QTest::addColumn<int>("crc"); // -1 none, else whether it agrees
    QTest::newRow("whole") << QByteArray("=yend size=3 crc32=884863d2\n") << true << true << 1;
    QTest::newRow("checksum in upper case")
        << QByteArray("=yend size=3 crc32=884863D2\n") << true << true << 1;
    QTest::newRow("no checksum") << QByteArray("=yend size=3\n") << true << true << -1;
    QTest::newRow("wrong checksum") << QByteArray("=yend size=3 crc32=12345678\n") << true << true << 0;
    QTest::newRow("wrong size") << QByteArray("=yend size=4 crc32=884863d2\n") << true << false << 1;
    QTest::newRow("no end") << QByteArray() << false << false << -1;
}

void DecodersTest::yencDamage()
{
    QFETCH(QByteArray, end);
    QFETCH(int, crc);
    const YencBlock block = decodeYenc("=ybegin line=128 size=3 name=a\n" + yencoded("123") + "\n" + end);
    QCOMPARE(block.bytes, "123");
    QTEST(block.ended, "ended");
    QTEST(block.sizeMatches, "sizeMatches");
    QCOMPARE(block.crcMatches.has_value() ? int(*block.crcMatches) : -1, crc);
}

void DecodersTest::yencPiece()
{
    const YencBlock block =
        decodeYenc("=ybegin part=2 total=3 line=128 size=9 name=a\n=ypart begin=4 end=6\n" + yencoded("123") +
                   "\n=yend size=3 part=2 pcrc32=884863d2 crc32=0\n");
    QCOMPARE(block.bytes, "123");
    QCOMPARE(block.part, 2);
    QCOMPARE(block.total, 3);
    QCOMPARE(block.begin, 4);
    QVERIFY(block.isIntact());
}

void DecodersTest::blocks_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArrayList>("names");
    QTest::addColumn<bool>("pgp");
    const auto row = [](const char *name, const char *text, const QByteArrayList &names, bool pgp = false) {
        QTest::newRow(name) << QByteArray(text) << names << pgp;
    };
    row("uuencode", "hi\nbegin 644 a.zip\n#0V%T\n`\nend\nbye\n", {"a.zip"});
    row("name with blanks", "begin 644 my file.zip\n#0V%T\nend\n", {"my file.zip"});
    row("no mode", "begin here\n#0V%T\nend\n", {});
    row("mode of two digits", "begin 64 a\n#0V%T\nend\n", {});
    row("not at the line's start", " begin 644 a\n#0V%T\nend\n", {});
    row("without end, data", "begin 644 a\n#0V%T\nthat was it, my friend\n", {"a"});
    row("without end, no data: a sentence", "begin 100 years ago\nthere was nothing.\n", {});
    row("end in spite of odd data", "begin 644 a\nwhatever\nend\n", {"a"});
    row("the second begins where the first has no end", "begin 644 a\n#0V%T\nbegin 644 b\n#0V%T\nend\n",
        {"a", "b"});
    row("yEnc", "=ybegin line=128 size=3 name=a b.bin\n[\\]\n=yend size=3\n", {"a b.bin"});
    row("yEnc without size", "=ybegin line=128 name=a\n[\\]\n=yend size=3\n", {});
    row("yEnc without end", "=ybegin line=128 size=3 name=a\n[\\]\n", {"a"});
    row("yEnc twice, the first without end",
        "=ybegin line=1 size=3 name=a\n[\\]\n=ybegin line=1 size=3 name=b\n[\\]\n=yend size=3\n", {"a", "b"});
    row("begin inside yEnc is data", "=ybegin line=1 size=3 name=a\nbegin 644 b\nend\n=yend size=3\n", {"a"});
    row("PGP signed", "-----BEGIN PGP SIGNED MESSAGE-----\nHash: SHA1\n", {}, true);
    row("PGP message", "text\n-----BEGIN PGP MESSAGE-----  \n", {}, true);
    row("PGP key is no message", "-----BEGIN PGP PUBLIC KEY BLOCK-----\n", {});
    row("quoted PGP is none", "> -----BEGIN PGP MESSAGE-----\n", {});
}

void DecodersTest::blocks()
{
    QFETCH(QByteArray, text);
    const EncodedBlocks found = findEncodedBlocks(text, 100);
    QByteArrayList names;
    for (const EncPart &block : found.blocks)
        names += block.name;
    QTEST(names, "names");
    QTEST(found.pgp, "pgp");
    QVERIFY(!found.truncated);
}

void DecodersTest::textWithoutBlocks()
{
    const QByteArray text =
        "one\nbegin 644 a\n#0V%T\n`\nend\ntwo\n=ybegin line=1 size=3 name=b\n[\\]\n=yend size=3\n"
        "three\nbegin 644 c\n#0V%T\nfour\n";
    const EncodedBlocks found = findEncodedBlocks(text, 100);
    QCOMPARE(withoutBlocks(text, found.blocks), "one\ntwo\nthree\nfour\n");
    QCOMPARE(found.blocks[1].line, 1);
    QCOMPARE(found.blocks[1].size, 3);
    QVERIFY(!found.blocks[2].ended);

    const EncodedBlocks first = findEncodedBlocks(text, 1);
    QCOMPARE(first.blocks.size(), 1U);
    QVERIFY(first.truncated);
    QCOMPARE(withoutBlocks(text, first.blocks), "one\n" + text.sliced(text.indexOf("two")));
}

/// Each of these is quadratic for a decoder that looks ahead too far; 4 MB then take minutes.
void DecodersTest::longInputTakesLinearTime()
{
    constexpr qsizetype size = 4 << 20;
    QElapsedTimer timer;
    timer.start();
    for (const char *unit : {"=", "QQ=", "QQ==\n", "=\n", " ", "=4", "begin 644 a\n", "begin 644 a\nx y\n",
                             "=ybegin line=1 size=1 name=a\n", "#0V%T\n", "-----BEGIN PGP MESSAGE-----\n"}) {
        const QByteArray input = QByteArray(unit).repeated(size / qsizetype(qstrlen(unit)));
        QVERIFY(decodeBase64(input).size() <= size);
        QVERIFY(decodeQuotedPrintable(input).size() <= size);
        QVERIFY(decodeUuencode(input).size() <= 5 * size);
        QVERIFY(decodeYenc(input).bytes.size() <= size);
        QVERIFY(findEncodedBlocks(input, 1000).blocks.size() <= 1000);
    }
    QVERIFY2(timer.elapsed() < 30'000, qPrintable(QString::number(timer.elapsed())));
}

QTEST_GUILESS_MAIN(DecodersTest)
#include "decoders_test.moc"
