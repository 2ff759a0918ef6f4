#include "identity/templates.h"

#include "config/clock.h"
#include "identity/bodytext.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QDir>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kNow = 1'795'000'000; // Thu Nov 18 06:26:40 2026 UTC

const QByteArray kMessage = "From: =?utf-8?q?J=C3=B6rg_%from?= <joerg@example.net>\n"
                            "To: \"Lovelace, Ada\" <ada@example.org>, b@example.org\n"
                            "Cc: Carl <carl@example.org>\n"
                            "Sender: office@example.net\n"
                            "Date: Fri, 20 Nov 2026 09:30:00 +0100\n"
                            "Subject: =?utf-8?q?100=25_=E2=9C=93?=\n"
                            "Newsgroups: misc.test,alt.test\n"
                            "Organization: Example\n"
                            "Message-ID: <1@example.net>\n"
                            "X-Mailer: %now and %%\n"
                            "\n"
                            "Line one\n"
                            "100%% of %from\n";

TemplateValues valuesOf(const QByteArray &message)
{
    TemplateValues values;
    values.message = Message(message);
    values.identity.name = u"Ada"_s;
    values.identity.address = u"ada@example.org"_s;
    values.quotedBody = [] { return u"J\u00f6rg wrote:\n\n> Line %one\n"_s; };
    return values;
}

void put(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("the test cannot write %s", qPrintable(path));
}

QString templatePath(const QString &file)
{
    return configPathOf(u"Templates/"_s + file);
}

} // namespace

class TemplatesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void expands_data();
    void expands();
    void fieldsThatAreMissing_data();
    void fieldsThatAreMissing();
    void timeNow();
    void quotedBodyOnlyWhenAskedFor();
    void oneLineEach_data();
    void oneLineEach();
    void variables();
    void longTexts();
    void bodies_data();
    void bodies();
    void files();
    void filesByHand_data();
    void filesByHand();
    void fileFailures();
};

void TemplatesTest::expands_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("found"); // without the line end of the last line
    const auto row = [](const char *name, const QString &text, const QString &found) {
        QTest::newRow(name) << text << found;
    };
    row("nothing", u""_s, u""_s);
    row("lines, empty ones too", u"a\n\nb\n"_s, u"a\n\nb\n"_s);
    row("two percent signs", u"100%% sure"_s, u"100% sure"_s);
    row("three", u"%%%identity[name]"_s, u"%Ada"_s);
    row("four", u"%%%%"_s, u"%%"_s);
    row("five", u"%%%%%"_s, u"%%%"_s);
    row("at both ends", u"%%a%%"_s, u"%a%"_s);
    row("one alone", u"5 % of 3%"_s, u"5 % of 3%"_s);
    row("escaped variable", u"%%from"_s, u"%from"_s);
    row("an argument is no place for two", u"%identity[%%]"_s, u"Ada <ada@example.org>[%]"_s);
    row("letters behind a name belong to it", u"%fromX"_s, u"%fromX"_s);
    row("unknown with an argument", u"%nonsense[a b]"_s, u"%nonsense[a b]"_s);
    row("digits end a name", u"%messageid2"_s, u"<1@example.net>2"_s);
    row("in any case", u"%MessageID %IDENTITY[Name]"_s, u"<1@example.net> Ada"_s);
    row("several in a line", u"%identity[name]%identity[name],%messageid"_s, u"AdaAda,<1@example.net>"_s);
    row("an argument ends at the first bracket", u"%identity[name]]"_s, u"Ada]"_s);
    row("a bracket that does not end", u"%messageid[name"_s, u"<1@example.net>[name"_s);
    row("an argument does not go over lines", u"%messageid[a\nb]"_s, u"<1@example.net>[a\nb]"_s);
    row("an empty argument", u"%identity[]"_s, u"Ada <ada@example.org>"_s);
    row("an argument without meaning", u"%identity[shoe size]"_s, u"Ada <ada@example.org>"_s);
    row("values are not expanded again", u"%header[X-Mailer] %from[name]"_s,
        u"%now and %% J\u00f6rg %from"_s);
    row("values do not join with what follows", u"%subjectfrom %subject"_s, u"%subjectfrom 100% \u2713"_s);
    row("body", u"%body"_s, u"Line one\n100%% of %from\n"_s);
    row("body quoted", u"[%body[quoted]]"_s, u"[J\u00f6rg wrote:\n\n> Line %one\n]"_s);
    row("cc", u"%cc|%cc[name]|%cc[address]"_s, u"Carl <carl@example.org>|Carl|carl@example.org"_s);
    row("date", u"%date"_s, u"Fri, 20 Nov 2026 09:30:00 +0100"_s);
    row("date in a format", u"%date[d MMM]|%date[yyyy-MM-dd hh:mm]"_s, u"20 Nov|2026-11-20 08:30"_s);
    row("from", u"%from|%from[name]|%from[address]"_s,
        u"J\u00f6rg %from <joerg@example.net>|J\u00f6rg %from|joerg@example.net"_s);
    row("followupto", u"%followupto"_s, u"misc.test,alt.test"_s);
    row("velmarversion", u"%velmarversion"_s, u"2.29m"_s);
    row("header", u"%header[organization]|%header[ MESSAGE-ID ]|%header[None]|%header"_s,
        u"Example|<1@example.net>||"_s);
    row("identity", u"%identity|%identity[name]|%identity[address]"_s,
        u"Ada <ada@example.org>|Ada|ada@example.org"_s);
    row("messageid", u"%messageid"_s, u"<1@example.net>"_s);
    row("newsgroups", u"%newsgroups"_s, u"misc.test,alt.test"_s);
    row("organization", u"%organization"_s, u"Example"_s);
    row("qtversion", u"%qtversion"_s, QString::fromLatin1(qVersion()));
    row("replyto without the field", u"%replyto|%replyto[name]|%replyto[address]"_s,
        u"J\u00f6rg %from <joerg@example.net>|J\u00f6rg %from|joerg@example.net"_s);
    row("subject", u"%subject"_s, u"100% \u2713"_s);
    row("sender", u"%sender|%sender[name]|%sender[address]"_s, u"office@example.net||office@example.net"_s);
    row("to, the first of them", u"%to|%to[name]|%to[address]"_s,
        u"\"Lovelace, Ada\" <ada@example.org>, b@example.org|Lovelace, Ada|ada@example.org"_s);
}

void TemplatesTest::expands()
{
    QFETCH(QString, text);
    QFETCH(QString, found);
    Scratch scratch;
    QCOMPARE(expandTemplate(text, valuesOf(kMessage)), found + u'\n');
}

void TemplatesTest::fieldsThatAreMissing_data()
{
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("found");
    const QByteArray answered = "Reply-To: List <list@example.org>, x@example.org\nFrom: a@example.org\n"
                                "Followup-To: poster\nNewsgroups: misc.test\nX-Organization: Other\n\n";
    QTest::newRow("replyto") << answered << u"%replyto|%replyto[name]|%replyto[address]"_s
                             << u"List <list@example.org>, x@example.org|List|list@example.org"_s;
    QTest::newRow("followupto") << answered << u"%followupto"_s << u"poster"_s;
    QTest::newRow("the other organization") << answered << u"%organization"_s << u"Other"_s;
    QTest::newRow("no date") << answered << u"%date|%date[d MMM]"_s << u"|"_s;
    QTest::newRow("a date that is none")
        << QByteArray("Date: soon\n\n") << u"%date|%date[d MMM]"_s << u"soon|"_s;
    QTest::newRow("a new message") << QByteArray()
                                   << u"%subject%body%date%from%from[name]%cc[address]%to%sender%replyto%"
                                      "followupto%newsgroups%organization%messageid%header[To]"_s
                                   << QString();
}

void TemplatesTest::fieldsThatAreMissing()
{
    QFETCH(QByteArray, message);
    QFETCH(QString, text);
    QFETCH(QString, found);
    Scratch scratch;
    QCOMPARE(expandTemplate(text, valuesOf(message)), found + u'\n');
}

void TemplatesTest::timeNow()
{
    Scratch scratch;
    const ClockOverride clock([] { return kNow * 1000; });
    const TemplateValues values = valuesOf({});
    const QDateTime now = QDateTime::fromSecsSinceEpoch(kNow);
    QCOMPARE(expandTemplate(u"%now"_s, values), now.toString() + u'\n');
    QCOMPARE(expandTemplate(u"%now[yyyy-MM-dd 'at' hh.mm] %now[ddd]"_s, values),
             now.toString(u"yyyy-MM-dd 'at' hh.mm ddd"_s) + u'\n');
    QVERIFY(expandTemplate(u"%platform"_s, values).size() > 3);
}

void TemplatesTest::quotedBodyOnlyWhenAskedFor()
{
    Scratch scratch;
    TemplateValues values = valuesOf(kMessage);
    int asked = 0;
    values.quotedBody = [&asked] { return QString::number(++asked); };
    expandTemplate(u"%body %%body[quoted] %from"_s, values);
    QCOMPARE(asked, 0);
    QCOMPARE(expandTemplate(u"%body[Quoted]"_s, values), u"1\n"_s);
    values.quotedBody = nullptr;
    QCOMPARE(expandTemplate(u"a%body[quoted]b"_s, values), u"ab\n"_s);
}

/// A value that brought a line of its own could pretend to be a header field, or the end of the text.
void TemplatesTest::oneLineEach_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("encoded line ends") << QByteArray("=?utf-8?q?a=0D=0ABcc:_x=40y=0A=0A.=0A?=");
    QTest::newRow("encoded, base64") << QByteArray("=?utf-8?b?YQpCY2M6IHhAeQo=?=");
    QTest::newRow("bare line ends") << QByteArray("a\rBcc: x@y\r\r.");
    QTest::newRow("folded") << QByteArray("a\n Bcc: x@y\n\t.");
    QTest::newRow("NULs and other controls") << QByteArray("a\0b\x0b\x0c\x1b[31m", 9);
    QTest::newRow("separators of lines and paragraphs") << QByteArray("a\xe2\x80\xa8"
                                                                      "b\xe2\x80\xa9"
                                                                      "c\xc2\x85"
                                                                      "d");
    QTest::newRow("in a quoted name") << QByteArray("\"a\\\rBcc: x@y\" <a@example.org>");
    QTest::newRow("in an encoded name") << QByteArray("=?utf-8?q?a=0ABcc:?= <a@example.org>");
    QTest::newRow("in an address") << QByteArray("<\"a\rb\"@example.org>");
}

void TemplatesTest::oneLineEach()
{
    QFETCH(QByteArray, value);
    Scratch scratch;
    QByteArray message;
    for (const char *field : {"From", "To", "Cc", "Sender", "Reply-To", "Subject", "Newsgroups",
                              "Followup-To", "Organization", "Date", "Message-ID", "X-Any"})
        message += QByteArray(field) + ": " + value + '\n';
    TemplateValues values = valuesOf(message + "\ntext\n");
    values.identity.name = values.identity.address = u"a\r\nBcc: x@y"_s;
    static const QRegularExpression controls(u"[\\x{0}-\\x{1f}\\x{7f}-\\x{9f}\\x{2028}\\x{2029}]"_s);
    int seen = 0;
    for (const TemplateVariable &variable : templateVariables()) {
        if (qstrcmp(variable.name, "body") == 0)
            continue;
        for (const char *argument : {"", "[name]", "[address]", "[X-Any]"}) {
            const QString text = u'%' + QLatin1String(variable.name) + QLatin1String(argument);
            const QString line = expandTemplate(text, values).chopped(1);
            QVERIFY2(!line.contains(controls), qPrintable(text + u" gives "_s + line));
            seen += line.isEmpty() ? 0 : 1;
        }
    }
    QVERIFY2(seen > 20, "the values must be there to be looked at");
}

void TemplatesTest::variables()
{
    Scratch scratch;
    QStringList names;
    for (const TemplateVariable &variable : templateVariables()) {
        names += QLatin1String(variable.name);
        QVERIFY(qstrlen(variable.meaning) > 0);
        const QString text = u'%' + names.last();
        QVERIFY2(expandTemplate(text, valuesOf(kMessage)) != text + u'\n', variable.name);
    }
    names.sort();
    QCOMPARE(names.join(u' '), u"body cc date followupto from header identity messageid newsgroups now "
                               "organization platform qtversion replyto sender subject to velmarversion"_s);
}

/// Linear: where it is not, each of these takes minutes.
void TemplatesTest::longTexts()
{
    Scratch scratch;
    QElapsedTimer timer;
    timer.start();
    const TemplateValues values = valuesOf(kMessage);
    const int count = 200'000;
    QCOMPARE(expandTemplate(QString(count * 2, u'%'), values), QString(count, u'%') + u'\n');
    QCOMPARE(expandTemplate(u"%identity[name]"_s.repeated(count), values), u"Ada"_s.repeated(count) + u'\n');
    const QString open = u"%x["_s.repeated(count);
    QCOMPARE(expandTemplate(open, values), open + u'\n');
    QCOMPARE(expandTemplate(open + u']', values), open + u"]\n"_s);
    QCOMPARE(expandTemplate(QString(count, u'\n'), values), QString(count + 1, u'\n'));
    QVERIFY2(timer.elapsed() < 10'000, "an instant would be enough");
}

void TemplatesTest::bodies_data()
{
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QString>("found");
    const auto multipart = [](const QByteArray &kind, const QByteArrayList &parts,
                              const QByteArray &boundary) {
        return "Content-Type: multipart/" + kind + "; boundary=" + boundary + "\n\n--" + boundary + '\n' +
               parts.join("\n--" + boundary + '\n') + "\n--" + boundary + "--\n";
    };
    const QByteArray plain = "Content-Type: text/plain\n\nPlain";
    const QByteArray html = "Content-Type: text/html\n\n<p>Rich <b>text</b></p>";
    const QByteArray attached = "Content-Type: text/plain\nContent-Disposition: attachment; filename=a\n\nNo";
    const QByteArray enclosed = "Content-Type: message/rfc822\n\nSubject: x\n\nInner";
    QTest::newRow("plain, in its transfer encoding")
        << QByteArray("Content-Type: text/plain; charset=iso-8859-1\n"
                      "Content-Transfer-Encoding: quoted-printable\n\n=E4=\n b\n")
        << u"\u00e4 b\n"_s;
    QTest::newRow("alternatives") << multipart("alternative", {plain, html}, "a") << u"Plain"_s;
    QTest::newRow("HTML only") << html + "\n" << u"Rich text"_s;
    QTest::newRow("alternatives, the rich one with pictures")
        << multipart("alternative", {plain, multipart("related", {html}, "b")}, "a") << u"Plain"_s;
    QTest::newRow("alternatives without a plain one")
        << multipart("alternative", {multipart("related", {html}, "b")}, "a") << u"Rich text"_s;
    QTest::newRow("alternatives with an attachment beside")
        << multipart("mixed", {multipart("alternative", {plain, html}, "b"), attached}, "a") << u"Plain"_s;
    QTest::newRow("a rich text that stands for itself beside a plain one")
        << multipart("mixed", {plain, html}, "a") << u"Plain\nRich text"_s;
    QTest::newRow("an enclosed message is none of it")
        << multipart("mixed", {plain, enclosed}, "a") << u"Plain"_s;
    QTest::newRow("nothing but enclosed messages")
        << multipart("digest", {"\nSubject: x\n\nInner"}, "a") << u"Inner"_s;
    QTest::newRow("nothing but attachments") << multipart("mixed", {attached}, "a") << QString();
    QTest::newRow("no body") << QByteArray("Subject: x\n") << QString();
}

void TemplatesTest::bodies()
{
    QFETCH(QByteArray, message);
    QString text = bodyText(Message(message));
    QFETCH(QString, found);
    if (!found.endsWith(u'\n') && text.endsWith(u'\n'))
        text.chop(1);
    QCOMPARE(text, found);
}

void TemplatesTest::files()
{
    Scratch scratch;
    QVERIFY(templateNames().isEmpty());
    for (const QString &text : {u"Dear %from[name],\n\n%body[quoted]"_s, u"a\n"_s, u"\n"_s, QString()}) {
        QVERIFY(writeTemplate(u"Thanks / \u00e4.txt"_s, text));
        QCOMPARE(readTemplate(u"Thanks / \u00e4.txt"_s), std::optional(text));
    }
    QVERIFY(writeTemplate(u"../Config"_s, u"x"_s));
    QCOMPARE(templateNames(), QStringList({u"../Config"_s, u"Thanks / \u00e4.txt"_s}));
    QCOMPARE(QDir(templatePath({})).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden).size(),
             2);
    QVERIFY(!QFileInfo::exists(configPathOf(u"Config"_s)));
    QVERIFY(hasTemplate(u"../Config"_s) && !hasTemplate(u"Config"_s));
    QVERIFY(removeTemplate(u"../Config"_s));
    QVERIFY(!hasTemplate(u"../Config"_s));
    QVERIFY(scratch.reports.isEmpty());
}

void TemplatesTest::filesByHand_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("found");
    QTest::newRow("with a last line end") << QByteArray("a\nb\n") << u"a\nb"_s;
    QTest::newRow("without") << QByteArray("a\nb") << u"a\nb"_s;
    QTest::newRow("from Windows") << QByteArray("a\r\nb\r\n") << u"a\nb"_s;
    QTest::newRow("a byte order mark") << QByteArray("\xef\xbb\xbf"
                                                     "a")
                                       << u"a"_s;
    QTest::newRow("not UTF-8") << QByteArray("\xe4\n") << u"\u00e4"_s;
    QTest::newRow("empty") << QByteArray() << QString();
}

void TemplatesTest::filesByHand()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, found);
    Scratch scratch;
    put(templatePath(u"T"_s), bytes);
    QCOMPARE(templateNames(), QStringList{u"T"_s});
    QCOMPARE(readTemplate(u"T"_s), std::optional(found));
}

void TemplatesTest::fileFailures()
{
    Scratch scratch;
    QVERIFY(!readTemplate(u"None"_s));
    QCOMPARE(scratch.reports, QStringList{u"Unable to read file '%1'"_s.arg(templatePath(u"None"_s))});
    QVERIFY(!writeTemplate(u" "_s, u"x"_s));
    QVERIFY(QDir().mkpath(templatePath(u"T~"_s)));
    QVERIFY(!writeTemplate(u"T"_s, u"x"_s));
    QCOMPARE(scratch.reports.last(), u"Unable to write file '%1'"_s.arg(templatePath(u"T"_s)));
}

QTEST_GUILESS_MAIN(TemplatesTest)
#include "templates_test.moc"
