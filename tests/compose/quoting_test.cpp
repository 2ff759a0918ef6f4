#include "compose/quoting.h"

#include "support/scratch.h"

#include <QElapsedTimer>
#include <QLocale>
#include <QTest>

using namespace Qt::StringLiterals;

class QuotingTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_scratch = std::make_unique<Scratch>(); }
    void cleanup() { m_scratch.reset(); }

    void longLinesAreWrapped_data();
    void longLinesAreWrapped();
    void quotedParagraphsAreFilled_data();
    void quotedParagraphsAreFilled();
    void linesAreQuoted_data();
    void linesAreQuoted();
    void signaturesAreFound_data();
    void signaturesAreFound();
    void variablesAreFilledIn_data();
    void variablesAreFilledIn();
    void theTextToQuoteIsTheReaders_data();
    void theTextToQuoteIsTheReaders();
    void aQuotationHasItsLeadingText();
    void hostileTextsTakeLinearTime_data();
    void hostileTextsTakeLinearTime();

private:
    std::unique_ptr<Scratch> m_scratch;
};

void QuotingTest::longLinesAreWrapped_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("wrapped"); // at 20
    const auto row = [](const char *name, const QString &text, const QString &wrapped) {
        QTest::newRow(name) << text << wrapped;
    };
    const auto same = [&](const char *name, const QString &text) { row(name, text, text); };
    row("at blanks", u"one two three four five six"_s, u"one two three four\nfive six"_s);
    row("the end of the text stays", u"one two three four five six\n"_s, u"one two three four\nfive six\n"_s);
    row("the blanks of a break go", u"one two three four   five six"_s, u"one two three four\nfive six"_s);
    same("exactly as wide", u"one two three four 5"_s);
    same("blanks at the end of a short line", u"one two   "_s);
    same("empty lines", u"\n\na\n\n"_s);
    same("a word that is longer", u"http://example.org/a/very/long/address"_s);
    row("an address between words", u"see http://example.org/a/very/long/address for more"_s,
        u"see\nhttp://example.org/a/very/long/address\nfor more"_s);
    same("quoted", u"> one two three four five six seven\n>> one two three four five six seven"_s);
    row("no piece looks quoted", u"it is well known that > is greater"_s,
        u"it is well known\nthat > is greater"_s);
    row("nor like a mailbox's separator", u"it came to me today From the sea"_s,
        u"it came to me\ntoday From the sea"_s);
    row("nor like a signature", u"one two three four -- "_s, u"one two three four\n--"_s);
    row("a signature stays", u"one two three four five six\n-- \nJoe Smith, Somewhere, Some Street"_s,
        u"one two three four\nfive six\n-- \nJoe Smith, Somewhere, Some Street"_s);
    row("only behind the last separator", u"-- \none two three four five six\n-- \nJoe"_s,
        u"-- \none two three four\nfive six\n-- \nJoe"_s);
    same("a forwarded message",
         u"----- Begin forwarded message -----\none two three four five six\n-- \nsome signature as long as "
         u"this\n------ End forwarded message ------\n"_s);
    row("wide characters count twice", u"あああああ いいいい ううううう"_s,
        u"あああああ いいいい\nううううう"_s);
    row("between ideographs", u"漢字漢字漢字漢字漢字漢字"_s, u"漢字漢字漢字漢字漢字\n漢字"_s);
    row("no closing mark begins a line", u"漢字漢字漢字漢字漢字。漢"_s, u"漢字漢字漢字漢字漢\n字。漢"_s);
    row("no opening mark ends one", u"漢字漢字漢字漢字漢（漢）"_s, u"漢字漢字漢字漢字漢\n（漢）"_s);
    row("Hangul at blanks", u"가나다 라마바 사아자차"_s, u"가나다 라마바\n사아자차"_s);
    row("accents take no place", u"e\u0301e\u0301e\u0301e\u0301 e\u0301e\u0301e\u0301e\u0301 abcd abcd x"_s,
        u"e\u0301e\u0301e\u0301e\u0301 e\u0301e\u0301e\u0301e\u0301 abcd abcd\nx"_s);
    row("characters of two halves stay whole", u"😀😀😀😀😀 😀😀😀😀😀 a"_s, u"😀😀😀😀😀\n😀😀😀😀😀 a"_s);
    row("tabs are as wide as they are shown", u"a\tb\tc\td e"_s, u"a\tb\tc\nd e"_s);
    same("an address with ideographs", u"http://example.org/漢字漢字漢字"_s);
}

void QuotingTest::longLinesAreWrapped()
{
    QFETCH(QString, text);
    QFETCH(QString, wrapped);
    QCOMPARE(wrapText(text, 20), wrapped);
    QCOMPARE(wrapText(wrapped, 20), wrapped);
}

void QuotingTest::quotedParagraphsAreFilled_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("filled"); // at 30
    const auto row = [](const char *name, const QString &text, const QString &filled) {
        QTest::newRow(name) << text << filled;
    };
    row("lines are joined", u"> one two\n> three four five six seven\n"_s,
        u"> one two three four five six\n> seven\n"_s);
    row("levels stay apart", u">> one\n>> two\n> three\n> four\n"_s, u">> one two\n> three four\n"_s);
    row("spellings of one level do not", u"> > one\n>> two\n"_s, u"> > one two\n"_s);
    row("paragraphs stay apart", u"> one\n> two\n>\n> three\n"_s, u"> one two\n>\n> three\n"_s);
    row("items", u"> - one\n> - two two two two two two\n>   two\n> next\n"_s,
        u"> - one\n> - two two two two two two\n>   two next\n"_s);
    row("indented lines", u"> one\n>     code here\n>     code\n> two\n"_s,
        u"> one\n>     code here\n>     code\n> two\n"_s);
    row("own lines are wrapped, not joined", u"one\ntwo\n> a\n> b\none two three four five six seven\n"_s,
        u"one\ntwo\n> a b\none two three four five six\nseven\n"_s);
    row("a prefix without its blank", u">one two\n>three\n"_s, u"> one two three\n"_s);
    row("ideographs are joined without a blank", u"> 漢字\n> 漢字\n"_s, u"> 漢字漢字\n"_s);
    row("tables", u"> a    b\n> c\td\n> e\n> f\n"_s, u"> a    b\n> c\td\n> e f\n"_s);
    row("quoted signatures", u"> a\n> b\n> -- \n> Joe\n> Here\n>> c\n>> d\n"_s,
        u"> a b\n> -- \n> Joe\n> Here\n>> c d\n"_s);
    row("too deep", u">>>>>>>>>>>>>>>>>>>> one\n>>>>>>>>>>>>>>>>>>>> two"_s,
        u">>>>>>>>>>>>>>>>>>>> one\n>>>>>>>>>>>>>>>>>>>> two"_s);
    row("the signature", u"> a\n> b\n-- \n> c\n> d"_s, u"> a b\n-- \n> c\n> d"_s);
}

void QuotingTest::quotedParagraphsAreFilled()
{
    QFETCH(QString, text);
    QFETCH(QString, filled);
    QCOMPARE(rewrapText(text, 30), filled);
}

void QuotingTest::linesAreQuoted_data()
{
    QTest::addColumn<QString>("prefix");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("quoted");
    QTest::newRow("lines") << u"> "_s << u"a\n\nb\n"_s << u"> a\n>\n> b\n"_s;
    QTest::newRow("quoted ones") << u"> "_s << u"> a\n>> b"_s << u">> a\n>>> b"_s;
    QTest::newRow("another prefix") << u": "_s << u"a\n: b\n> c\n"_s << u": a\n:: b\n:> c\n"_s;
    QTest::newRow("no prefix") << QString() << u"a\nb\n"_s << u"a\nb\n"_s;
    QTest::newRow("odd line ends hide nothing") << u"> "_s << u"a\u2028b\u2029c\rd\r\ne\ff\vg\u0085h"_s
                                                << u"> a\n> b\n> c\n> d\n> e\n> f\n> g\n> h"_s;
    QTest::newRow("places to break go")
        << u"> "_s << u"http://a\u200Bb \uFFFC\u1780\u200B\u1781"_s << u"> http://ab \u1780\u200B\u1781"_s;
    const QString word(900, u'a');
    QTest::newRow("a line without end")
        << u"> "_s << u"> "_s + word + word + u"c\nd"_s
        << u">> "_s + word.chopped(2) + u"\n>> "_s + word + u"\n>> aac\n> d"_s;
    QTest::newRow("at a blank") << u"> "_s << word.chopped(10) + u" b "_s + word
                                << u"> "_s + word.chopped(10) + u" b \n> "_s + word;
    QTest::newRow("controls go") << u"> "_s << QString(u"a\0b\x1b[1mc\td"_s) << u"> ab[1mc\td"_s;
}

void QuotingTest::linesAreQuoted()
{
    QFETCH(QString, prefix);
    QFETCH(QString, text);
    setStringSetting(Setting::QuotePrefix, prefix);
    QTEST(quotedText(text), "quoted");
}

void QuotingTest::signaturesAreFound_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("without");
    const auto row = [](const char *name, const QString &text, const QString &without) {
        QTest::newRow(name) << text << without;
    };
    row("none", u"text\n--\nno separator\n -- \n"_s, u"text\n--\nno separator\n -- \n"_s);
    row("one", u"text\n\n\n-- \nJoe\n"_s, u"text\n"_s);
    row("alone", u"-- \nJoe"_s, QString());
    row("without an end", u"text\n-- "_s, u"text\n"_s);
    row("with a footer of the list", u"text\n-- \nJoe\n-- \nList\nhttp://x\n"_s, u"text\n"_s);
    row("the one above is text when far away", u"a\n-- \n"_s + u"b\n"_s.repeated(40) + u"-- \nJoe\n"_s,
        u"a\n-- \n"_s + u"b\n"_s.repeated(40));
    row("quoted", u"> text\n> -- \n> Joe\n"_s, u"> text\n> -- \n> Joe\n"_s);
    const QString forwarded =
        u"----- Begin forwarded message -----\nx\n-- \nJoe\n------ End forwarded message ------\n"_s;
    row("forwarded", forwarded, forwarded);
    row("below a forwarded message", forwarded + u"-- \nMe\n"_s, forwarded);
}

void QuotingTest::signaturesAreFound()
{
    QFETCH(QString, text);
    QTEST(withoutSignature(text), "without");
}

void QuotingTest::variablesAreFilledIn_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *name, const QString &format, const QString &text) {
        QTest::newRow(name) << format << text;
    };
    row("the default", defaultStringSetting(Setting::AttributionText), u"Joe %s Smith wrote:"_s);
    row("author", u"%f|%e|%F"_s, u"Joe %s Smith|joe@example.org|Joe %s Smith <joe@example.org>"_s);
    row("the rest", u"%s|%n|%i|%D"_s, u"Été|a.b,c.d|<1@x>|Thu, 30 Mar 2006 18:36:28 +0200"_s);
    row("date", u"%d"_s, u"Thursday, 30 March 2006"_s);
    row("no variables", u"100%% of %x %"_s, u"100% of %x %"_s);
}

void QuotingTest::variablesAreFilledIn()
{
    QFETCH(QString, format);
    QLocale::setDefault(QLocale::c());
    setStringSetting(Setting::AttributionText, format);
    const Message message("From: \"Joe %s Smith\" <joe@example.org>\n"
                          "Subject: =?utf-8?Q?=C3=89t=C3=A9?=\nNewsgroups: a.b,c.d\nMessage-ID: <1@x>\n"
                          "Date: Thu, 30 Mar 2006 18:36:28 +0200\n\nbody\n");
    QTEST(attribution(message, false), "text");
    const Message hostile("From: =?utf-8?Q?a=0Ab=E2=80=AE=E2=80=A8c?= <x@y>\n\n");
    setStringSetting(Setting::AttributionText, u"%f"_s);
    QCOMPARE(attribution(hostile, false), u"a b c"_s);
    QCOMPARE(attribution(hostile, true), u"You wrote:"_s);
}

void QuotingTest::theTextToQuoteIsTheReaders_data()
{
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *name, const QByteArray &message, const QString &text) {
        QTest::newRow(name) << message << text;
    };
    const QByteArray words = QByteArray("word ").repeated(40);
    row("plain", "\n\n\ntext\nmore\n\n-- \nJoe\n", u"text\nmore\n"_s);
    row("nothing", "Subject: x\n\n\n\n", QString());
    row("a long line is a paragraph", "\n" + words,
        u"word word word word word word word word word word word word word word word\n"_s.repeated(2) +
            u"word word word word word word word word word word\n"_s);
    row("flowed",
        "Content-Type: text/plain; format=flowed\n\none \ntwo\n> a \n> b\n>> c\n  stuffed\n >from\n-- "
        "\nJoe\n",
        u"one two\n> a b\n>> c\n stuffed\n >from\n"_s);
    row("HTML", "Content-Type: text/html\n\n<p>One</p><blockquote>two</blockquote><p>-- <br>Joe</p>",
        u"One\n\n> two\n"_s);
    row("plain before HTML",
        "Content-Type: multipart/alternative; boundary=b\n\n--b\n\nplain\n--b\nContent-Type: text/html\n\n"
        "<p>rich</p>\n--b--\n",
        u"plain\n"_s);
    row("text of another kind", "Content-Type: text/markdown\n\n*text*\n", u"*text*\n"_s);
    row("an empty plain form does not count",
        "Content-Type: multipart/alternative; boundary=b\n\n--b\n\n \n--b\nContent-Type: text/html\n\n"
        "<p>rich</p>\n--b--\n",
        u"rich\n"_s);
    row("texts of a list, but no files",
        "Content-Type: multipart/mixed; boundary=b\n\n--b\n\none\n--b\nContent-Type: text/plain; name=a.txt\n"
        "Content-Disposition: attachment\n\nfile\n--b\nContent-Type: message/rfc822\n\nSubject: x\n\ninner\n"
        "--b\n\ntwo\n--b--\n",
        u"one\ntwo\n"_s);
}

void QuotingTest::theTextToQuoteIsTheReaders()
{
    QFETCH(QByteArray, message);
    QTEST(textToQuote(bodyOf(Message(message).mime())), "text");
}

void QuotingTest::aQuotationHasItsLeadingText()
{
    const Message message("From: Joe <joe@b>\n\ntext\n-- \nJoe\n");
    QCOMPARE(quotation(message, false), u"Joe wrote:\n\n> text\n"_s);
    QCOMPARE(quotation(message, true), u"You wrote:\n\n> text\n"_s);
    QCOMPARE(quotation(message, false, u" selected\u2029text"_s), u"Joe wrote:\n\n>  selected\n> text\n"_s);
    setBoolSetting(Setting::QuoteSigs, true);
    QCOMPARE(quotation(message, false), u"Joe wrote:\n\n> text\n> -- \n> Joe\n"_s);
    setStringSetting(Setting::AttributionText, QString());
    QCOMPARE(quotation(message, false), u"> text\n> -- \n> Joe\n"_s);
    QVERIFY(quotation(Message("From: a@b\n\n"), false).isEmpty());
}

void QuotingTest::hostileTextsTakeLinearTime_data()
{
    QTest::addColumn<QString>("text");
    constexpr int kMega = 1'000'000;
    QTest::newRow("one word") << QString(kMega, u'a');
    QTest::newRow("blanks") << QString(kMega, u' ');
    QTest::newRow("quotation marks") << QString(kMega, u'>');
    QTest::newRow("marks and text") << QString(kMega / 2, u'>') + u" a"_s.repeated(kMega / 4);
    QTest::newRow("words that begin no line") << u"a > "_s.repeated(kMega / 4);
    QTest::newRow("accents") << u"a "_s + QString(kMega, QChar(0x301));
    QTest::newRow("separators") << u"-- \n"_s.repeated(kMega / 4);
    QTest::newRow("separators in a line") << u"-- "_s.repeated(kMega / 3);
    QTest::newRow("marks of forwarding")
        << u"------ End forwarded message ------\n-- \n"_s.repeated(kMega / 40);
    QTest::newRow("lines") << u"> a\n"_s.repeated(kMega / 4);
    QTest::newRow("empty lines") << QString(kMega, u'\n');
    QTest::newRow("ideographs") << QString(kMega, QChar(0x6F22));
    QTest::newRow("colons") << u"://"_s.repeated(kMega / 3);
}

void QuotingTest::hostileTextsTakeLinearTime()
{
    QFETCH(QString, text);
    const QByteArray flowed = "Content-Type: text/plain; format=flowed; charset=utf-8\n\n";
    QElapsedTimer timer;
    timer.start();
    const QString wrapped = wrapText(text, 76);
    const QString filled = rewrapText(text, 76);
    const QString quoted = quotedText(text);
    withoutSignature(text);
    const QString toQuote = textToQuote(bodyOf(Message(flowed + text.toUtf8()).mime()));
    QVERIFY2(timer.elapsed() < 10000, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(wrapped.size() + filled.size() + quoted.size() + toQuote.size() < 12 * text.size() + 1000);
    QVERIFY(wrapped.count(u'a') == text.count(u'a') && wrapped.count(u'>') == text.count(u'>'));
}

QTEST_GUILESS_MAIN(QuotingTest)
#include "quoting_test.moc"
