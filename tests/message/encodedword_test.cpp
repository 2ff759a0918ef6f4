#include "message/charset.h"
#include "message/encodedword.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;

class EncodedWordTest : public QObject
{
    Q_OBJECT

private slots:
    void wordsAreRead_data();
    void wordsAreRead();
    void rawBytesAreRead_data();
    void rawBytesAreRead();
    void longValuesTakeLinearTime_data();
    void longValuesTakeLinearTime();
    void wordsAreWritten_data();
    void wordsAreWritten();
    void whatIsWrittenIsReadAgain();
    void longTextsAreSeveralWords_data();
    void longTextsAreSeveralWords();
    void charsetsAreWrittenToTheLetter_data();
    void charsetsAreWrittenToTheLetter();
};

void EncodedWordTest::wordsAreRead_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("none") << u"a =? b ?= c"_s << u"a =? b ?= c"_s;
    QTest::newRow("Q") << u"=?iso-8859-1?Q?Gr=FC=DFe_an_alle?="_s << u"Grüße an alle"_s;
    QTest::newRow("lower case") << u"=?UTF-8?q?Gr=c3=bc=C3=9fe?="_s << u"Grüße"_s;
    QTest::newRow("base64") << u"=?utf-8?B?R3LDvMOfZQ==?="_s << u"Grüße"_s;
    QTest::newRow("base64 without padding, with blanks") << u"=?utf-8?b?R3LD vMOf ZQ?="_s << u"Grüße"_s;
    QTest::newRow("base64 joined behind padding") << u"=?utf-8?b?YQ==YmM=?="_s << u"abc"_s;
    QTest::newRow("blanks between words stay") << u"=?utf-8?Q?a?=  =?utf-8?Q?b?= c"_s << u"a  b c"_s;
    QTest::newRow("no blank between words") << u"x=?utf-8?Q?a?==?utf-8?Q?b?=y"_s << u"xaby"_s;
    QTest::newRow("blanks inside a word") << u"=?utf-8?Q?a b?="_s << u"a b"_s;
    QTest::newRow("language") << u"=?iso-8859-1*de?Q?=FC?="_s << u"ü"_s;
    QTest::newRow("unknown set, byte for byte") << u"=?x-none?Q?=FC=41?="_s << u"üA"_s;
    QTest::newRow("empty set") << u"=??Q?a?="_s << u"a"_s;
    QTest::newRow("empty text") << u"a=?utf-8?Q?"
                                   "?=b"_s
                                << u"ab"_s;
    QTest::newRow("equals sign that escapes nothing") << u"=?utf-8?Q?1=2=?="_s << u"1=2="_s;
    QTest::newRow("raw characters in a word") << u"=?koi8-r?Q?Ж=C1?="_s << u"Жа"_s;
    QTest::newRow("neither B nor Q") << u"=?utf-8?X?abc?= =?utf-8?Q?d?="_s << u"=?utf-8?X?abc?= d"_s;
    QTest::newRow("two letters for one") << u"=?utf-8?BQ?abc?="_s << u"=?utf-8?BQ?abc?="_s;
    QTest::newRow("no end") << u"=?utf-8?Q?abc"_s << u"=?utf-8?Q?abc"_s;
    QTest::newRow("ends everywhere") << u"=?"_s << u"=?"_s;
    QTest::newRow("broken one before a good one") << u"=?utf-8 =?utf-8?Q?a?="_s << u"=?utf-8 a"_s;
    QTest::newRow("a word inside a word") << u"=?utf-8?Q?a=?utf-8?Q?b?=c?="_s << u"abc"_s;
    QTest::newRow("an encoded word") << u"=?utf-8?Q?=3D=3Futf-8=3FQ=3F=41=3F=3D?=!"_s << u"A!"_s;
    QTest::newRow("base64 of a word") << u"=?utf-8?B?PT91dGYtOD9RP2E/PQ==?="_s << u"a"_s;
    QTest::newRow("decoded text opens a word") << u"==?u?Q?=3Fu=3FQ=3Fa?=?="_s << u"a"_s;
    QTest::newRow("decoded text and what follows open one") << u"=?u?Q?x=3D?=?u?Q?a?="_s << u"xa"_s;
    QTest::newRow("an empty word between the halves of one") << u"==?u?B?=?=?u?Q?a?="_s << u"a"_s;
    QTest::newRow("line ends and NULs") << u"=?utf-8?Q?a=0D=0Ab=00c=E2=80=A8d?="_s << u"a  b c d"_s;
    QTest::newRow("character split in UTF-8") << u"=?utf-8?Q?Gr=C3?= =?utf-8?Q?=BCn?="_s << u"Grü n"_s;
    QTest::newRow("split in base64") << u"=?UTF-8?B?8J8=?==?utf-8?B?mIAh?="_s << u"😀!"_s;
    QTest::newRow("split in GBK") << u"=?gbk?Q?=C4?= =?gbk?Q?=E3x?="_s << u"你 x"_s;
    QTest::newRow("cut at the end") << u"=?utf-8?Q?a=C3?= =?utf-8?Q?b?="_s << u"a\uFFFD b"_s;
}

void EncodedWordTest::wordsAreRead()
{
    QFETCH(QString, value);
    QTEST(decodeEncodedWords(value), "text");
}

void EncodedWordTest::rawBytesAreRead_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QByteArray>("fallback");
    QTest::addColumn<QString>("text");
    QTest::newRow("UTF-8") << QByteArray("Gr\xc3\xbcn") << QByteArray("koi8-r") << u"Grün"_s;
    QTest::newRow("the message's own set") << QByteArray("\xc6\xc1") << QByteArray("koi8-r") << u"фа"_s;
    QTest::newRow("no set") << QByteArray("\x80 5 \xfc") << QByteArray() << u"€ 5 ü"_s;
    QTest::newRow("beside a word") << QByteArray("\xfc =?utf-8?Q?=C3=BC?=") << QByteArray() << u"ü ü"_s;
    QTest::newRow("carriage return, NUL") << QByteArray("a\rb\0c", 5) << QByteArray() << u"a b c"_s;
}

void EncodedWordTest::rawBytesAreRead()
{
    QFETCH(QByteArray, value);
    QFETCH(QByteArray, fallback);
    QTEST(decodeHeaderText(value, fallback), "text");
}

void EncodedWordTest::longValuesTakeLinearTime_data()
{
    QTest::addColumn<QString>("piece");
    QTest::addColumn<int>("repeats");
    QTest::newRow("3,000 words of 66 characters")
        << u"=?iso-8859-2?Q?"_s + u"=E6b"_s.repeated(12) + u"?=\n "_s << 30'000;
    QTest::newRow("neither B nor Q") << u"=?a?X?"_s << 300'000;
    QTest::newRow("words in words in words") << u"=?a?Q?"_s << 300'000;
    QTest::newRow("open beginnings") << u"=?"_s << 1'000'000;
    QTest::newRow("question marks") << u"=?a?Q???"_s << 300'000;
    QTest::newRow("split characters") << u"=?utf-8?Q?=C3?= "_s << 100'000;
}

void EncodedWordTest::longValuesTakeLinearTime()
{
    QFETCH(QString, piece);
    QFETCH(int, repeats);
    const QString value = piece.repeated(repeats) + u"?="_s.repeated(repeats);
    QElapsedTimer timer;
    timer.start();
    const QString text = decodeEncodedWords(value);
    QVERIFY(!text.isEmpty() && text.size() <= value.size());
    QVERIFY2(timer.elapsed() < 5000, "took longer than any linear pass needs");
}

void EncodedWordTest::wordsAreWritten_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("charset");
    QTest::addColumn<QByteArray>("written");
    QTest::newRow("ASCII") << u"a = b? (c_d)"_s << QByteArray("utf-8") << QByteArray("a = b? (c_d)");
    QTest::newRow("UTF-8") << u"ü = b?"_s << QByteArray("utf-8") << QByteArray("=?utf-8?q?=C3=BC_=3D_b=3F?=");
    QTest::newRow("Latin-1") << u"für \"dich\""_s << QByteArray("ISO-8859-1")
                             << QByteArray("=?ISO-8859-1?q?f=FCr_\"dich\"?=");
    QTest::newRow("does not fit") << u"Ж"_s << QByteArray("iso-8859-1") << QByteArray("=?utf-8?q?=D0=96?=");
    QTest::newRow("no such set") << u"ü"_s << QByteArray("no?such\n") << QByteArray("=?utf-8?q?=C3=BC?=");
    QTest::newRow("line end") << u"a\nBcc: b"_s << QByteArray("utf-8")
                              << QByteArray("=?utf-8?q?a=0ABcc:_b?=");
    QTest::newRow("underscore") << u"ü_"_s << QByteArray("utf-8") << QByteArray("=?utf-8?q?=C3=BC=5F?=");
}

void EncodedWordTest::wordsAreWritten()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, charset);
    QTEST(headerText(text, charset), "written");
}

void EncodedWordTest::whatIsWrittenIsReadAgain()
{
    const QString text = u"Łódź, <a@b> \"c\" (d); _=?! "_s + QString(100, u'ß');
    for (const WordPlace place : {WordPlace::Text, WordPlace::Phrase})
        for (const char *charset : {"utf-8", "iso-8859-2"})
            QCOMPARE(decodeHeaderText(encodedWord(text, charset, place)), text);
    QVERIFY(!encodedWord(text, "utf-8", WordPlace::Phrase).contains(','));
}

void EncodedWordTest::longTextsAreSeveralWords_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("charset");
    QTest::addColumn<bool>("several");
    QTest::newRow("900 bytes are one word")
        << QString(u'ü' + QString(882, u'a')) << QByteArray("utf-8") << false;
    QTest::newRow("901 are two") << QString(u'ü' + QString(883, u'a')) << QByteArray("utf-8") << true;
    QTest::newRow("ASCII without a blank") << QString(901, u'a') << QByteArray("utf-8") << true;
    QTest::newRow("blanks to cut at")
        << u"Grüße an alle "_s.repeated(200).trimmed() << QByteArray("iso-8859-1") << true;
    QTest::newRow("no character is cut") << u"😀"_s.repeated(300) << QByteArray("utf-8") << true;
    QTest::newRow("none from what is drawn on it")
        << u"e\u0301\u0323"_s.repeated(200) << QByteArray("utf-8") << true;
    QTest::newRow("nothing but marks") << u"\u0301"_s.repeated(2000) << QByteArray("utf-8") << true;
    QTest::newRow("a set with states") << u"日本語 a"_s.repeated(100) << QByteArray("iso-2022-jp") << true;
}

void EncodedWordTest::longTextsAreSeveralWords()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, charset);
    QString joined;
    const QByteArrayList words = headerText(text, charset).split(' ');
    for (const QByteArray &word : words) {
        QVERIFY(word.size() <= 900);
        joined += decodeHeaderText(word);
    }
    QCOMPARE(joined, text);
    QTEST(words.size() > 1, "several");
    QVERIFY(words.size() <= 1 + 12 * text.size() / 400);
}

void EncodedWordTest::charsetsAreWrittenToTheLetter_data()
{
    QTest::addColumn<QByteArray>("charset");
    QTest::addColumn<QString>("fits");
    QTest::addColumn<QString>("doesNot");
    QTest::newRow("ASCII") << QByteArray("us-ascii") << u"a"_s << u"ü"_s;
    QTest::newRow("Latin-1") << QByteArray("ISO-8859-1") << u"ü"_s << u"€"_s;
    QTest::newRow("windows-1252") << QByteArray("windows-1252") << u"€"_s << u"Ж"_s;
    QTest::newRow("GB2312") << QByteArray("GB2312") << u"中"_s << u"朶"_s;
    QTest::newRow("GBK") << QByteArray("gbk") << u"朶"_s << u"한"_s;
}

void EncodedWordTest::charsetsAreWrittenToTheLetter()
{
    QFETCH(QByteArray, charset);
    QFETCH(QString, fits);
    QFETCH(QString, doesNot);
    const std::optional<QByteArray> bytes = encodeCharset(fits, charset);
    QVERIFY(bytes);
    QCOMPARE(decodeCharset(*bytes, charset), fits);
    QVERIFY(!encodeCharset(doesNot, charset));
}

QTEST_GUILESS_MAIN(EncodedWordTest)
#include "encodedword_test.moc"
