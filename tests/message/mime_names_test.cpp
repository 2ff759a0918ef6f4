#include "message/contentfields.h"
#include "message/contenttypes.h"
#include "message/parameters.h"
#include "message/safename.h"
#include "support/scratch.h"

#include <QTest>

using namespace Qt::StringLiterals;

class MimeNamesTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_scratch = std::make_unique<Scratch>(); }
    void cleanup() { m_scratch.reset(); }
    void parameters_data();
    void parameters();
    void fieldValues_data();
    void fieldValues();
    void names_data();
    void names();
    void repairedNames_data();
    void repairedNames();
    void safeNames_data();
    void safeNames();
    void openedWithoutWarning_data();
    void openedWithoutWarning();
    void categories_data();
    void categories();
    void typesOfNames_data();
    void typesOfNames();
    void extensionsOfTypes_data();
    void extensionsOfTypes();
    void nameToSaveUnder();

private:
    std::unique_ptr<Scratch> m_scratch;
};

void MimeNamesTest::parameters_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<QByteArray>("value");
    const auto row = [](const char *name, const char *field, const char *value) {
        QTest::newRow(name) << QByteArray(field) << QByteArray(value);
    };
    row("token", "x; n=a", "a");
    row("blanks around the sign", "x ; n = a ; m=b", "a");
    row("name in upper case", "x; N=a", "a");
    row("quoted", "x; n=\"a; b=c\"", "a; b=c");
    row("escaped quote", "x; n=\"a\\\"b\\\\c\"", "a\"b\\c");
    row("path with its backslashes", "x; n=\"C:\\temp\\a.doc\"", "C:\\temp\\a.doc");
    row("quotes inside of quotes", "x; n=\"a \"b\" c.txt\"; m=d", "a \"b\" c.txt");
    row("quote never closed", "x; n=\"a b; m=c", "a b");
    row("quote never closed, last", "x; n=\"a b", "a b");
    row("blanks without quotes", "x; n=my file.txt; m=b", "my file.txt");
    row("semicolon left out", "x; m=b n=a", "a");
    row("semicolon left out behind quotes", "x; m=\"b\" n=\"a\"", "a");
    row("first semicolon left out", "text/plain n=a", "a");
    row("comment behind", "x; n=a (why; n=b)", "a");
    row("comment before", "x (n=b); (and) n=a", "a");
    row("parentheses of a name", "x; n=a (1).pdf", "a (1).pdf");
    row("the first of duplicates", "x; n=a; n=b", "a");
    row("not a longer name", "x; nn=b; n=a", "a");
    row("no value", "x; n; n=a", "a");
    row("equals signs at the front", "x; n==_a=b", "=_a=b");
    row("missing", "x; m=a", "");
    row("pieces in any order", "x; n*1=b; n*0=a; n*2=\"c d\"", "abc d");
    row("percent escapes", "x; n*=utf-8'en'a%20%c3%A9", "a \xc3\xa9");
    row("escaped pieces and others", "x; n*0*=utf-8''%41'; n*1=%42; n*2*=%43", "A'%42C");
    row("escapes without a character set", "x; n*=a%20b", "a b");
    row("extended wins over plain", "x; n=plain; n*=utf-8''ext", "ext");
    row("no escape", "x; n*=utf-8''a%2", "a%2");
    row("ten pieces are sorted as numbers",
        "x; n*10=k; n*0=a; n*1=b; n*2=c; n*3=d; n*4=e; n*5=f; n*6=g; n*7=h; n*8=i; n*9=j", "abcdefghijk");
}

void MimeNamesTest::parameters()
{
    QFETCH(QByteArray, field);
    QTEST(ParameterList(field).bytes("n"), "value");
}

void MimeNamesTest::fieldValues_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("plain") << QByteArray("text/plain; a=b") << QByteArray("text/plain");
    QTest::newRow("blanks and case") << QByteArray(" Text / HTML ;") << QByteArray("text/html");
    QTest::newRow("comment") << QByteArray("text/(very)plain (indeed)") << QByteArray("text/plain");
    QTest::newRow("quotes") << QByteArray("\"text/plain\"") << QByteArray("text/plain");
    QTest::newRow("no semicolon") << QByteArray("text/plain charset=x") << QByteArray("text/plain");
    QTest::newRow("a word too many") << QByteArray("base64 encoding; a=b") << QByteArray("base64");
    QTest::newRow("empty") << QByteArray() << QByteArray();
    QTest::newRow("parameters only") << QByteArray("; a=b") << QByteArray();
}

void MimeNamesTest::fieldValues()
{
    QFETCH(QByteArray, field);
    QTEST(ParameterList(field).value(), "value");
}

void MimeNamesTest::names_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<QString>("name");
    const auto row = [](const char *test, const char *field, const QString &name) {
        QTest::newRow(test) << QByteArray(field) << name;
    };
    row("plain", "x; n=a.txt", u"a.txt"_s);
    row("encoded word", "x; n=\"=?iso-8859-1?Q?=E9t=E9.txt?=\"", u"\u00e9t\u00e9.txt"_s);
    row("encoded word without quotes", "x; n==?utf-8?B?w6k=?=", u"\u00e9"_s);
    row("folding between words is no blank", "x; n=\"=?utf-8?Q?a?=  =?utf-8?Q?b?= c\"", u"ab c"_s);
    row("RFC 2231", "x; n*=iso-8859-15''%A4.txt", u"\u20ac.txt"_s);
    row("RFC 2231, set without converter", "x; n*=x-none''%C3%A9", u"\u00e9"_s);
    row("raw UTF-8", "x; n=\"\xc3\xa9\"", u"\u00e9"_s);
    row("raw bytes in the part's own set", "x; n=\"\xc1\"", u"\u0430"_s);
    row("encoded line ends are blanks", "x; n=\"=?utf-8?Q?a=0Ab?=\"", u"a b"_s);
    row("and those of RFC 2231", "x; n*=utf-8''a%0D%0Ab%00c", u"a  b c"_s);
    row("path is kept, it is not for saving", "x; n=\"../../a\"", u"../../a"_s);
}

void MimeNamesTest::names()
{
    QFETCH(QByteArray, field);
    QTEST(attachmentName(ParameterList(field), "n", "koi8-r"), "name");
}

void MimeNamesTest::repairedNames_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<QString>("asItIs");
    QTest::addColumn<QString>("repaired");
    const auto row = [](const char *test, const char *field, const QString &asItIs, const QString &repaired) {
        QTest::newRow(test) << QByteArray(field) << asItIs << repaired;
    };
    row("percent escapes of UTF-8", "x; n=\"%C3%A9.txt\"", u"%C3%A9.txt"_s, u"\u00e9.txt"_s);
    row("extended value in a plain parameter", "x; n=\"utf-8''%C3%A9\"", u"utf-8''%C3%A9"_s, u"\u00e9"_s);
    row("percent sign that is none", "x; n=\"100%.txt\"", u"100%.txt"_s, u"100%.txt"_s);
    row("encoded word cut at its end", "x; n=\"=?utf-8?Q?=C3=A9.txt\"", u"=?utf-8?Q?=C3=A9.txt"_s,
        u"\u00e9.txt"_s);
    row("encoded word cut inside its end", "x; n=\"=?utf-8?B?w6k=?\"", u"=?utf-8?B?w6k=?"_s, u"\u00e9"_s);
    row("UTF-8 twice", "x; n=\"\xc3\x83\xc2\xa9\"", u"\u00c3\u00a9"_s, u"\u00e9"_s);
    row("sound", "x; n=\"=?utf-8?Q?=C3=A9.txt?=\"", u"\u00e9.txt"_s, u"\u00e9.txt"_s);
    row("sound Latin-1", "x; n*=iso-8859-1''%E9", u"\u00e9"_s, u"\u00e9"_s);
}

void MimeNamesTest::repairedNames()
{
    QFETCH(QByteArray, field);
    QTEST(attachmentName(ParameterList(field), "n", {}), "asItIs");
    setBoolSetting(Setting::BrokenAttachmentNames, true);
    QTEST(attachmentName(ParameterList(field), "n", {}), "repaired");
}

void MimeNamesTest::safeNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("safe");
    const auto row = [](const char *test, const QString &name, const QString &safe) {
        QTest::newRow(test) << name << safe;
    };
    row("plain", u"a b.txt"_s, u"a b.txt"_s);
    row("path", u"/etc/passwd"_s, u"passwd"_s);
    row("climbing", u"../../x"_s, u"x"_s);
    row("path of Windows", u"C:\\temp\\a.doc"_s, u"a.doc"_s);
    row("path to nothing", u"a/.."_s, u"Untitled"_s);
    row("empty", QString(), u"Untitled"_s);
    row("dots alone", u"..."_s, u"Untitled"_s);
    row("hidden", u".bashrc"_s, u"bashrc"_s);
    row("control characters", u"a\nb\0c.txt"_s, u"a_b_c.txt"_s);
    row("direction override", u"a\u202egpj.exe"_s, u"agpj.exe"_s);
    row("zero width", u"a\u200b\ufeff.txt"_s, u"a.txt"_s);
    row("characters that Windows forbids", u"a<b>:\"|?*.txt"_s, u"a_b______.txt"_s);
    row("device", u"CON"_s, u"_CON"_s);
    row("device with an extension", u"nul.tar.gz"_s, u"_nul.tar.gz"_s);
    row("device with a number", u"com1.txt"_s, u"_com1.txt"_s);
    row("no device", u"com10.txt"_s, u"com10.txt"_s);
    row("dots and blanks at the end", u"a.exe. ."_s, u"a.exe"_s);
    row("blanks in a row", u"a          .exe"_s, u"a .exe"_s);
    row("long, extension kept", QString(300, u'a') + u".txt"_s, QString(196, u'a') + u".txt"_s);
    row("long, cut between characters", QString(300, u'\u00e9'), QString(100, u'\u00e9'));
    row("long extension is none", u"a."_s + QString(300, u'b'), u"a."_s + QString(198, u'b'));
    row("surrogates are not cut apart", u"\U0001f600"_s.repeated(51), u"\U0001f600"_s.repeated(50));
}

void MimeNamesTest::safeNames()
{
    QFETCH(QString, name);
    const QString safe = safeFileName(name);
    QTEST(safe, "safe");
    QCOMPARE(safeFileName(safe), safe);
}

void MimeNamesTest::openedWithoutWarning_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("safe");
    QTest::newRow("listed") << u"a.png"_s << true;
    QTest::newRow("in any case") << u"A.JPG"_s << true;
    QTest::newRow("not listed") << u"a.exe"_s << false;
    QTest::newRow("only the last extension counts") << u"a.txt.exe"_s << false;
    QTest::newRow("hidden behind a direction override") << u"a\u202etxt.exe"_s << false;
    QTest::newRow("a dot and blanks at the end, which Windows drops") << u"a.exe. .txt . "_s << true;
    QTest::newRow("none") << u"png"_s << false;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("a beginning of a listed one") << u"a.jp"_s << false;
}

void MimeNamesTest::openedWithoutWarning()
{
    QFETCH(QString, name);
    QTEST(isSafeToOpen(name), "safe");
    setStringSetting(Setting::SafeExtensions, QString());
    QVERIFY(!isSafeToOpen(name));
    setStringSetting(Setting::SafeExtensions, u"exe,.PDF"_s);
    QVERIFY(isSafeToOpen(u"a.pdf"_s) && isSafeToOpen(u"b.exe"_s));
}

void MimeNamesTest::categories_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<int>("category");
    const std::pair<const char *, int> rows[] = {
        {"text", 0x101},
        {"text/plain", 0x101},
        {"text/html", 0x102},
        {"text/x-vcard", 0x103},
        {"text/directory", 0x104},
        {"text/calendar", 0x104},
        {"application/pdf", 0x202},
        {"audio/basic", 0x202},
        {"application/pgp-encrypted", 0x203},
        {"application/pgp-signature", 0x204},
        {"image/jpeg", 0x300},
        {"multipart/digest", 0x601},
        {"multipart", 0x602},
        {"multipart/mixed", 0x602},
        {"multipart/related", 0x602},
        {"multipart/alternative", 0x603},
        {"multipart/encrypted", 0x604},
        {"multipart/signed", 0x605},
        {"message", 0x701},
        {"message/rfc822", 0x701},
        {"message/delivery-status", 0x701},
        {"message/partial", 0x702},
        {"message/news", 0x703},
        {"message/external-body", 0x202},
        {"", 0x202},
        {"nonsense", 0x202},
        {"application/plain", 0x202},
        {"textual/plain", 0x202},
    };
    for (const auto &[type, category] : rows)
        QTest::newRow(type) << QByteArray(type) << category;
}

void MimeNamesTest::categories()
{
    QFETCH(QByteArray, type);
    QTEST(categoryOf(type), "category");
    QCOMPARE(categoryOf("text/directory", "vCard"), 0x103);
}

void MimeNamesTest::typesOfNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("type");
    const std::pair<const char *, const char *> rows[] = {
        {"photo.JPG", "image/jpeg"},
        {"a.jpeg", "image/jpeg"},
        {"a.htm", "text/html"},
        {"a.rtf", "text/rtf"},
        {"a.txt", "text/plain"},
        {"a.snd", "audio/basic"},
        {"a.bmp", "image/x-ms-bmp"},
        {"a.eps", "application/postscript"},
        {"a.mpeg", "video/mpeg"},
        {"a.nws", "message/news"},
        {"x.unknownext", "application/octet-stream"},
        {"a.tar.zip", "application/zip"},
        {"zip", "application/octet-stream"},
        {"", "application/octet-stream"},
        {"dir.zip/file", "application/octet-stream"},
    };
    for (const auto &[name, type] : rows)
        QTest::newRow(*name ? name : "empty") << QString::fromLatin1(name) << QByteArray(type);
}

void MimeNamesTest::typesOfNames()
{
    QFETCH(QString, name);
    QTEST(tabledContentTypeOf(name), "type");
    // The desktop may know more and by other names, but what nobody knows stays unknown.
    QCOMPARE(contentTypeOf(u"photo.JPG"_s), "image/jpeg");
    QCOMPARE(contentTypeOf(u"x.unknownext"_s), "application/octet-stream");
    QCOMPARE(contentTypeOf(u"Makefile"_s), "application/octet-stream");
}

void MimeNamesTest::extensionsOfTypes_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QString>("extension");
    const std::pair<const char *, const char *> rows[] = {
        {"image/jpeg", ".jpg"},
        {"IMAGE/JPEG", ".jpg"},
        {"application/rtf", ".rtf"},
        {"image/bmp", ".bmp"},
        {"text/html", ".html"},
        {"text/x-nobody-knows", ".txt"},
        {"message/x-nobody-knows", ".eml"},
        {"application/x-nobody-knows", ""},
        {"application/octet-stream", ""},
    };
    for (const auto &[type, extension] : rows)
        QTest::newRow(type) << QByteArray(type) << QString::fromLatin1(extension);
}

void MimeNamesTest::extensionsOfTypes()
{
    QFETCH(QByteArray, type);
    QTEST(tabledExtensionOf(type), "extension");
    QTEST(extensionOf(type), "extension");
}

void MimeNamesTest::nameToSaveUnder()
{
    MIMEPart part;
    part.contenttype = "image/png";
    QCOMPARE(part.displayName(), u"Untitled"_s);
    QCOMPARE(part.fileName(), u"Untitled.png"_s);
    part.name = u"../a.gif"_s;
    QCOMPARE(part.displayName(), u"../a.gif"_s);
    QCOMPARE(part.fileName(), u"a.gif"_s);
}

QTEST_GUILESS_MAIN(MimeNamesTest)
#include "mime_names_test.moc"
