#include "config/listfile.h"

#include "config/clock.h"
#include "config/indexfile.h"
#include "config/listtext.h"
#include "support/scratch.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr ListFileTexts kTexts = {"Unable to read list", "Unable to write list", "Unable to backup list"};
const QString kName = u"Groups/List"_s;

} // namespace

class ListFileTest : public QObject
{
    Q_OBJECT

private slots:
    void writesAndReads();
    void whatIsFound_data();
    void whatIsFound();
    void cutAtEveryByte();
    void unreadableListIsNotWritten();
    void aFullDiskKeepsTheOldList();
    void readOnlyAccess();
    void texts_data();
    void texts();
    void indexes();
    void indexThatKilledItsReader();
};

void ListFileTest::writesAndReads()
{
    Scratch scratch;
    ListFile list(kName, kTexts);
    QCOMPARE(list.read().outcome, ListFile::Outcome::Missing);
    const QStringList lines = {QString::fromUtf8("zwölf\tFelder"), QString(), u"ends"_s};
    QVERIFY(list.write(lines));
    QCOMPARE(Scratch::read(list.path()), QByteArray("zw\xc3\xb6lf\tFelder\n\nends\nend\n"));
    const ListFile::Contents contents = list.read();
    QCOMPARE(contents.outcome, ListFile::Outcome::Whole);
    QCOMPARE(contents.lines, lines);
    QCOMPARE(Scratch::read(list.path() + u".backup"_s), Scratch::read(list.path()));
    QVERIFY(list.write({}));
    QCOMPARE(list.read().lines, QStringList());
}

void ListFileTest::whatIsFound_data()
{
    using Outcome = ListFile::Outcome;
    const QByteArray none;
    QTest::addColumn<QByteArray>("file"); // null: missing
    QTest::addColumn<QByteArray>("backup");
    QTest::addColumn<Outcome>("outcome");
    QTest::addColumn<QStringList>("lines");
    QTest::newRow("cut, backup whole")
        << QByteArray("new\n") << QByteArray("old\nend\n") << Outcome::Backup << QStringList{u"old"_s};
    QTest::newRow("missing, backup whole")
        << none << QByteArray("old\nend\n") << Outcome::Backup << QStringList{u"old"_s};
    QTest::newRow("both cut") << QByteArray("new\n") << QByteArray("old\n") << Outcome::Damaged
                              << QStringList{u"new"_s};
    QTest::newRow("cut, no backup") << QByteArray("a\nb") << none << Outcome::Damaged
                                    << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("missing, backup cut")
        << none << QByteArray("old") << Outcome::Damaged << QStringList{u"old"_s};
    QTest::newRow("garbage") << QByteArray("\0\xff\xfe\n\n", 5) << none << Outcome::Damaged
                             << QStringList{QString::fromLatin1("\0\xff\xfe", 3), QString()};
    QTest::newRow("CRLF") << QByteArray("a\r\nend\r\n") << none << Outcome::Whole << QStringList{u"a"_s};
}

void ListFileTest::whatIsFound()
{
    QFETCH(QByteArray, file);
    QFETCH(QByteArray, backup);
    QFETCH(ListFile::Outcome, outcome);
    Scratch scratch;
    ClockOverride clock([] { return 1234567; });
    QVERIFY(createStoreDirectories());
    if (!file.isNull())
        scratch.write(u"config/"_s + kName, file);
    if (!backup.isNull())
        scratch.write(u"config/"_s + kName + u".backup"_s, backup);
    ListFile list(kName, kTexts);
    const ListFile::Contents contents = list.read();
    QCOMPARE(contents.outcome, outcome);
    QTEST(contents.lines, "lines");
    QCOMPARE(scratch.reports, QStringList());
    QCOMPARE(scratch.notes.isEmpty(), outcome == ListFile::Outcome::Whole);
    if (outcome == ListFile::Outcome::Damaged)
        QCOMPARE(Scratch::read(list.path() + u".damaged-1234"_s), file.isNull() ? backup : file);
}

void ListFileTest::cutAtEveryByte()
{
    Scratch scratch;
    ListFile list(kName, kTexts);
    QVERIFY(list.write({u"first"_s, u"second"_s}));
    QCOMPARE(list.read().outcome, ListFile::Outcome::Whole);
    const QByteArray whole = Scratch::read(list.path());
    for (qsizetype size = whole.size() - 2; size >= 0;
         --size) { // without its last line end it is still whole
        QVERIFY(QFile::resize(list.path(), size));
        const ListFile::Contents contents = list.read();
        QCOMPARE(contents.outcome, ListFile::Outcome::Backup);
        QCOMPARE(contents.lines.size(), 2);
        QCOMPARE(Scratch::read(list.path() + u".backup"_s), whole);
    }
}

void ListFileTest::unreadableListIsNotWritten()
{
    Scratch scratch;
    ListFile list(kName, kTexts);
    QVERIFY(createStoreDirectories());
    QVERIFY(QDir().mkpath(list.path())); // a folder cannot be opened as a file
    QCOMPARE(list.read().outcome, ListFile::Outcome::Unreadable);
    QCOMPARE(scratch.reports.takeFirst(), u"Unable to read list"_s);
    QVERIFY(QDir().rmdir(list.path()));
    QVERIFY(!list.write({u"a"_s}));
    QCOMPARE(scratch.reports.takeFirst(), u"Unable to write list"_s);
    QVERIFY(!QFile::exists(list.path()));
}

void ListFileTest::aFullDiskKeepsTheOldList()
{
    Scratch scratch;
    ListFile list(kName, kTexts);
    QVERIFY(list.write({u"old"_s}));
    QVERIFY(QFile::link(u"/dev/full"_s, list.path() + u'~'));
    QVERIFY(!list.write({u"new"_s}));
    QCOMPARE(scratch.reports, QStringList{u"Unable to write list"_s});
    QCOMPARE(list.read().lines, QStringList{u"old"_s});
}

void ListFileTest::readOnlyAccess()
{
    Scratch scratch;
    ListFile list(kName, kTexts);
    QVERIFY(list.write({u"a"_s}));
    setStoreAccess(StoreAccess::ReadOnly);
    QCOMPARE(list.read().lines, QStringList{u"a"_s});
    QVERIFY(list.write({}));
    QVERIFY(QFile::resize(list.path(), 1));
    QCOMPARE(list.read().outcome, ListFile::Outcome::Damaged);
    QCOMPARE(QDir(configDirectory() + u"/Groups"_s).entryList(QDir::Files), QStringList{u"List"_s});
}

void ListFileTest::texts_data()
{
    QTest::addColumn<QStringList>("list");
    QTest::addColumn<QString>("field");
    QTest::newRow("plain") << QStringList{u"a"_s, u"b"_s} << "a\\tb";
    QTest::newRow("tab and line end inside") << QStringList{u"a\tb"_s, u"c\n"_s} << "a\\\\tb\\tc\\\\n";
    QTest::newRow("backslashes") << QStringList{u"\\t"_s, u"\\"_s} << "\\\\\\\\t\\t\\\\\\\\";
    QTest::newRow("empty ones") << QStringList{u""_s, u""_s, u"x"_s} << "\\t\\tx";
}

void ListFileTest::texts()
{
    QFETCH(QStringList, list);
    QFETCH(QString, field);
    QCOMPARE(escapedTextList(list), field);
    QCOMPARE(unescapedTextList(field), list);
    QCOMPARE(unescapedText(u"a\\qb\\"_s), u"a\\qb\\"_s);
}

void ListFileTest::indexes()
{
    Scratch scratch;
    IndexFile index(u"MsgIDIndex"_s);
    const auto never = [](const QByteArray &) { return false; };
    QCOMPARE(index.load(never), IndexFile::Outcome::Missing);
    QVERIFY(index.save("content"));
    QByteArray seen;
    const auto reader = [&](const QByteArray &bytes) {
        seen = bytes;
        return QFile::exists(index.path() + u".crash"_s) && !QFile::exists(index.path());
    };
    QCOMPARE(index.load(reader), IndexFile::Outcome::Loaded);
    QCOMPARE(seen, QByteArray("content"));
    QVERIFY(QFile::exists(index.path()));
    QCOMPARE(index.load(never), IndexFile::Outcome::Refused);
    setStoreAccess(StoreAccess::ReadOnly);
    QCOMPARE(index.load([&](const QByteArray &) { return QFile::exists(index.path()); }),
             IndexFile::Outcome::Loaded);
}

void ListFileTest::indexThatKilledItsReader()
{
    Scratch scratch;
    IndexFile index(u"MsgIDIndex"_s);
    QVERIFY(index.save("content"));
    QVERIFY(QFile::rename(index.path(), index.path() + u".crash"_s));
    const auto never = [](const QByteArray &) { return false; };
    QCOMPARE(index.load(never), IndexFile::Outcome::Crashed);
    QCOMPARE(index.load(never), IndexFile::Outcome::Missing);
    QVERIFY(QDir().mkpath(index.path() + u".crash/full"_s)); // a marker that cannot be removed
    QCOMPARE(index.load(never), IndexFile::Outcome::Aborted);
}

QTEST_GUILESS_MAIN(ListFileTest)
#include "listfile_test.moc"
