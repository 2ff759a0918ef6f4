#include "identity/signatures.h"

#include "identity/namefolder.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QDir>
#include <QDirIterator>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using Kind = Signature::Kind;

Q_DECLARE_METATYPE(Kind)

namespace {

QString folder(const QString &file = {})
{
    return configPathOf(u"Identities/3/Signatures"_s) + (file.isEmpty() ? QString() : u'/' + file);
}

void put(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("the test cannot write %s", qPrintable(path));
}

/// All files of the configuration directory, relative to it.
QStringList everyFile()
{
    QStringList files;
    QDirIterator entries(configDirectory(),
                         QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        if (const QFileInfo info(entries.next()); !info.isDir())
            files += QDir(configDirectory()).relativeFilePath(info.filePath());
    }
    files.sort();
    return files;
}

} // namespace

class SignaturesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void thereAndBack_data();
    void thereAndBack();
    void anyName_data();
    void anyName();
    void refusedNames_data();
    void refusedNames();
    void filesOfPeople_data();
    void filesOfPeople();
    void order();
    void anotherKindInOneStep();
    void failures();
    void tooLarge();
    void taglines_data();
    void taglines();
    void taglinesByHand_data();
    void taglinesByHand();
    void nextTagline_data();
    void nextTagline();
    void damagedTaglines();
};

void SignaturesTest::thereAndBack_data()
{
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("found");
    const QString usual = u"Ada Lovelace\nK\u00f6nigstr. 1 \u2764"_s;
    QTest::newRow("plain") << Kind::Plain << usual << usual;
    QTest::newRow("HTML") << Kind::Html << u"<b>Ada</b>\n<i>x</i>"_s << u"<b>Ada</b>\n<i>x</i>"_s;
    QTest::newRow("command") << Kind::Command << u"fortune -s | tail -n 3"_s << u"fortune -s | tail -n 3"_s;
    QTest::newRow("plain that looks like a mark")
        << Kind::Plain << u"Signature: html\n<b>"_s << u"Signature: html\n<b>"_s;
    QTest::newRow("HTML that looks like a mark")
        << Kind::Html << u"Signature: command\nrm x"_s << u"Signature: command\nrm x"_s;
    QTest::newRow("line ends behind it") << Kind::Plain << u"a\r\nb\n\n\r\n"_s << u"a\nb"_s;
    QTest::newRow("blanks and empty lines before it") << Kind::Plain << u"\n  a  "_s << u"\n  a  "_s;
    QTest::newRow("empty") << Kind::Plain << QString() << QString();
    QTest::newRow("empty HTML") << Kind::Html << QString() << QString();
}

void SignaturesTest::thereAndBack()
{
    QFETCH(Kind, kind);
    QFETCH(QString, text);
    Scratch scratch;
    QVERIFY(writeSignature(3, {u"Work"_s, kind, text}));
    const std::optional<Signature> read = readSignature(3, u"Work"_s);
    QVERIFY(read);
    QCOMPARE(read->kind, kind);
    QTEST(read->text, "found");
    QCOMPARE(read->name, u"Work"_s);
    QVERIFY(scratch.reports.isEmpty());
}

void SignaturesTest::anyName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("file");
    QTest::newRow("usual") << u"Work, short (2)"_s << u"Work, short (2)"_s;
    QTest::newRow("letters of others") << u"\u041f\u0440\u0438\u0432\u0435\u0442 \u4f60\u597d"_s
                                       << u"\u041f\u0440\u0438\u0432\u0435\u0442 \u4f60\u597d"_s;
    QTest::newRow("a path upwards") << u"../../Index"_s << u"%2E.%2F..%2FIndex"_s;
    QTest::newRow("a full path") << u"/etc/passwd"_s << u"%2Fetc%2Fpasswd"_s;
    QTest::newRow("the folder") << u"."_s << u"%2E"_s;
    QTest::newRow("the one above") << u".."_s << u"%2E%2E"_s;
    QTest::newRow("hidden") << u".profile"_s << u"%2Eprofile"_s;
    QTest::newRow("a dot at the end") << u"etc."_s << u"etc%2E"_s;
    QTest::newRow("as if escaped") << u"50%2Foff"_s << u"50%252Foff"_s;
    QTest::newRow("half-written") << u"Work~"_s << u"Work%7E"_s;
    QTest::newRow("backslash and device signs") << u"C:\\a<b>\"|?*"_s << u"C%3A%5Ca%3Cb%3E%22%7C%3F%2A"_s;
    QTest::newRow("a device") << u"con"_s << u"%63on"_s;
    QTest::newRow("a device with an extension") << u"LPT1.txt"_s << u"%4CPT1.txt"_s;
    QTest::newRow("underscore") << u"_con"_s << u"_con"_s;
    QTest::newRow("turned direction") << u"a\u202eb"_s << u"a%E2%80%AEb"_s;
}

void SignaturesTest::anyName()
{
    QFETCH(QString, name);
    QFETCH(QString, file);
    Scratch scratch;
    put(configPathOf(u"Identities/Index"_s), "untouched");
    QVERIFY(writeSignature(3, {name, Kind::Plain, u"of it"_s}));
    QCOMPARE(everyFile(), QStringList({u"Identities/3/Signatures/"_s + file, u"Identities/Index"_s}));
    QCOMPARE(signatureNames(3), QStringList{name});
    const std::optional<Signature> read = readSignature(3, name);
    QVERIFY(read && read->text == u"of it"_s && read->name == name);
    QVERIFY(removeSignature(3, name));
    QCOMPARE(everyFile(), QStringList{u"Identities/Index"_s});
    QCOMPARE(Scratch::read(configPathOf(u"Identities/Index"_s)), QByteArray("untouched"));
}

void SignaturesTest::refusedNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("empty") << QString();
    QTest::newRow("blanks") << u" \t\n"_s;
    QTest::newRow("too long") << QString(241, u'x');
    QTest::newRow("too long when escaped") << QString(81, u'/');
    QTest::newRow("too long in UTF-8") << QString(121, QChar(0xe4));
}

void SignaturesTest::refusedNames()
{
    QFETCH(QString, name);
    Scratch scratch;
    QVERIFY(!writeSignature(3, {name, Kind::Plain, u"x"_s}));
    QCOMPARE(scratch.reports, QStringList{u"Unable to write signature file"_s});
    QVERIFY(everyFile().isEmpty());
}

/// Files that somebody put there, named as he liked.
void SignaturesTest::filesOfPeople_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    QTest::newRow("a plain text") << u"old"_s << QByteArray("Ada\r\nB\r\n") << u"old"_s << u"Ada\nB"_s;
    QTest::newRow("not UTF-8") << u"old"_s << QByteArray("\xc4 da") << u"old"_s << u"\u00c4 da"_s;
    QTest::newRow("signs unescaped") << u"a:b?"_s << QByteArray("x") << u"a:b?"_s << u"x"_s;
    QTest::newRow("a percent sign") << u"50%"_s << QByteArray("x") << u"50%"_s << u"x"_s;
    QTest::newRow("escaped for no reason") << u"%61b"_s << QByteArray("x") << u"ab"_s << u"x"_s;
    QTest::newRow("an escaped line end") << u"a%0Ab"_s << QByteArray("x") << u"a b"_s << u"x"_s;
    QTest::newRow("an escaped way out")
        << u"x%2F..%2F..%2FIndex"_s << QByteArray("x") << u"x/../../Index"_s << u"x"_s;
}

void SignaturesTest::filesOfPeople()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, name);
    QFETCH(QString, text);
    Scratch scratch;
    put(folder(file), bytes);
    QCOMPARE(signatureNames(3), QStringList{name});
    const std::optional<Signature> read = readSignature(3, name);
    QVERIFY(read);
    QCOMPARE(read->text, text);
    QVERIFY(writeSignature(3, {name, Kind::Plain, u"new"_s}));
    QCOMPARE(everyFile(), QStringList{u"Identities/3/Signatures/"_s + file}); // not a second one beside it
    QVERIFY(removeSignature(3, name));
    QVERIFY(everyFile().isEmpty());
}

void SignaturesTest::order()
{
    Scratch scratch;
    for (const QString &name : {u"b 10"_s, u"B 9"_s, u"a"_s, u"\u00e4"_s, u"A"_s})
        QVERIFY(writeSignature(3, {name, Kind::Plain, name}));
    put(folder(u"c~"_s), "half-written");
    put(folder(u".hidden"_s), "x");
    QVERIFY(QDir().mkpath(folder(u"a folder"_s)));
    const QStringList names = signatureNames(3);
    QCOMPARE(names.size(), 5);
    QVERIFY(names.indexOf(u"B 9"_s) < names.indexOf(u"b 10"_s));
    QVERIFY(names.indexOf(u"a"_s) < names.indexOf(u"B 9"_s));
    QVERIFY(signatureNames(4).isEmpty());
}

void SignaturesTest::anotherKindInOneStep()
{
    Scratch scratch;
    QVERIFY(writeSignature(3, {u"S"_s, Kind::Html, u"<b>x</b>"_s}));
    QVERIFY(QDir().mkpath(folder(u"S~"_s))); // the disk refuses
    QVERIFY(!writeSignature(3, {u"S"_s, Kind::Command, u"fortune"_s}));
    const std::optional<Signature> kept = readSignature(3, u"S"_s);
    QVERIFY(kept && kept->kind == Kind::Html && kept->text == u"<b>x</b>"_s);
    QVERIFY(QDir().rmdir(folder(u"S~"_s)));
    QVERIFY(writeSignature(3, {u"S"_s, Kind::Command, u"fortune"_s}));
    QCOMPARE(everyFile(), QStringList{u"Identities/3/Signatures/S"_s});
}

void SignaturesTest::failures()
{
    Scratch scratch;
    QVERIFY(!readSignature(3, u"None"_s));
    QCOMPARE(scratch.reports, QStringList{u"Unable to open signature file"_s});
    scratch.reports.clear();
    QVERIFY(removeSignature(3, u"None"_s)); // it is gone
    QVERIFY(scratch.reports.isEmpty());
    put(configPathOf(u"Identities/3/Signatures"_s), "a file in the place of the folder");
    QVERIFY(signatureNames(3).isEmpty());
    QVERIFY(!writeSignature(3, {u"S"_s, Kind::Plain, u"x"_s}));
    QCOMPARE(scratch.reports.first(), u"Unable to open signature file"_s);
    QCOMPARE(scratch.reports.last(), u"Unable to write signature file"_s);
    scratch.reports.clear();
    QVERIFY(QDir().mkpath(configPathOf(u"Identities/4/Signatures"_s)));
    QCOMPARE(::mkfifo(qPrintable(configPathOf(u"Identities/4/Signatures/pipe"_s)), 0600), 0);
    QVERIFY(!readSignature(4, u"pipe"_s)); // nobody waits for it
    setStoreAccess(StoreAccess::ReadOnly);
    QVERIFY(!writeSignature(5, {u"S"_s, Kind::Plain, u"x"_s}));
    QVERIFY(!QDir(configPathOf(u"Identities/5"_s)).exists());
}

void SignaturesTest::tooLarge()
{
    Scratch scratch;
    put(folder(u"S"_s), "x");
    QVERIFY(QFile::resize(folder(u"S"_s), 1'000'000'000));
    QVERIFY(!readSignature(3, u"S"_s));
    QVERIFY(!writeSignature(3, {u"T"_s, Kind::Plain, QString(2'000'000, u'x')}));
    QCOMPARE(scratch.reports,
             QStringList({u"Unable to open signature file"_s, u"Unable to write signature file"_s}));
}

void SignaturesTest::taglines_data()
{
    QTest::addColumn<QStringList>("written");
    QTest::addColumn<QStringList>("found");
    const QStringList usual{u"One."_s, u"Two\n  lines \u2764"_s, u"100 %"_s};
    QTest::newRow("usual") << usual << usual;
    QTest::newRow("none") << QStringList() << QStringList();
    QTest::newRow("empty ones") << QStringList{QString(), u"a"_s, u" \n "_s} << QStringList{u"a"_s};
    const QStringList percents{u"%"_s, u"%%\na"_s, u"a\n%\nb"_s, u"%a"_s};
    QTest::newRow("percent signs") << percents << percents;
    QTest::newRow("line ends") << QStringList{u"a\r\nb\n"_s} << QStringList{u"a\nb"_s};
    QTest::newRow("an empty line inside") << QStringList{u"a\n\nb"_s} << QStringList{u"a\n\nb"_s};
}

void SignaturesTest::taglines()
{
    QFETCH(QStringList, written);
    Scratch scratch;
    QVERIFY(writeTaglines(3, written));
    QTEST(readTaglines(3), "found");
    QVERIFY(scratch.reports.isEmpty());
}

void SignaturesTest::taglinesByHand_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("found");
    QTest::newRow("without a last line end") << QByteArray("a\n%\nb") << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("separators around") << QByteArray("%\n%\na\n%\n\n%\n") << QStringList{u"a"_s};
    QTest::newRow("from Windows") << QByteArray("a\r\n%\r\nb\r\n") << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("not UTF-8") << QByteArray("\xe4\n") << QStringList{u"\u00e4"_s};
    QTest::newRow("empty") << QByteArray() << QStringList();
}

void SignaturesTest::taglinesByHand()
{
    QFETCH(QByteArray, bytes);
    Scratch scratch;
    put(configPathOf(u"Identities/3/Taglines"_s), bytes);
    QTEST(readTaglines(3), "found");
}

void SignaturesTest::nextTagline_data()
{
    QTest::addColumn<QStringList>("taglines");
    QTest::newRow("none") << QStringList();
    QTest::newRow("one") << QStringList{u"a"_s};
    QTest::newRow("one, twice") << QStringList{u"a"_s, u"a"_s};
    QTest::newRow("two") << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("many") << QStringList{u"a"_s, u"b"_s, u"b"_s, u"c"_s, u"d"_s};
}

/// Never the same twice in a row, and in the end each of them.
void SignaturesTest::nextTagline()
{
    QFETCH(QStringList, taglines);
    Scratch scratch;
    QVERIFY(writeTaglines(3, taglines));
    const QSet<QString> all(taglines.begin(), taglines.end());
    QSet<QString> seen;
    QString before;
    for (int i = 0; i < 500; ++i) {
        const QString next = ::nextTagline(3);
        QCOMPARE(next.isEmpty(), all.isEmpty());
        QVERIFY(all.size() < 2 || next != before);
        before = next;
        if (!next.isEmpty())
            seen += next;
    }
    QCOMPARE(seen, all);
}

void SignaturesTest::damagedTaglines()
{
    Scratch scratch;
    QVERIFY(readTaglines(3).isEmpty());
    QVERIFY(scratch.reports.isEmpty());
    QVERIFY(QDir().mkpath(configPathOf(u"Identities/3/Taglines"_s)));
    QVERIFY(readTaglines(3).isEmpty());
    QCOMPARE(::nextTagline(3), QString());
    QCOMPARE(scratch.reports, QStringList(2, u"Unable to open tagline file"_s));
    QVERIFY(!writeTaglines(3, {u"a"_s}));
    QCOMPARE(scratch.reports.last(), u"Unable to write tagline file"_s);
}

QTEST_GUILESS_MAIN(SignaturesTest)
#include "signatures_test.moc"
