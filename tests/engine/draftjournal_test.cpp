#include "engine/draftjournal.h"

#include "support/memory.h"
#include "support/scratch.h"

#include <QDir>
#include <QTest>

using namespace Qt::StringLiterals;

// The file of a draft's versions: cut, damaged, unreadable.

class DraftJournalTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }

    void cutAnywhereTheWholeVersionsStay();
    void damageTakesOneVersion();
    void damageIsNeverWrittenOver();
    void unreadableIsSetAsideBeforeItsNameIsTaken();
};

void DraftJournalTest::cutAnywhereTheWholeVersionsStay()
{
    const Scratch scratch;
    const QString directory = scratch.path(u"journal"_s);
    QVERIFY(QDir().mkpath(directory));
    QList<qint64> ends;
    {
        DraftJournal journal(directory);
        for (int i = 1; i <= 4; ++i) {
            const DraftVersion version{i, i, u"Subject\n%1"_s.arg(i), u"\tBeginning"_s, i};
            QVERIFY(journal.append(version, {"aa", "bb"}, "text " + QByteArray::number(i) + '\n'));
            ends += QFileInfo(directory + u"/Versions"_s).size();
        }
    }
    const QString path = directory + u"/Versions"_s;
    const QByteArray whole = Scratch::read(path);
    for (qsizetype size = whole.size(); size >= 0; --size) {
        QVERIFY(QFile::resize(path, size));
        const auto fit = std::count_if(ends.begin(), ends.end(), [size](qint64 end) { return end <= size; });
        DraftJournal journal(directory);
        QCOMPARE(qsizetype(journal.entries().size()), fit);
        for (const DraftJournal::Entry &entry : journal.entries()) {
            QCOMPARE(entry.version.subject, u"Subject\n%1"_s.arg(entry.serial));
            QCOMPARE(entry.contents, QList<QByteArray>({"aa", "bb"}));
            QCOMPARE(journal.text(entry).value_or(QByteArray()),
                     "text " + QByteArray::number(entry.serial) + '\n');
        }
    }
    // It is written on behind what is whole.
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.write(whole.first(ends[2] + 9)) > 0);
    file.close();
    DraftJournal journal(directory);
    QVERIFY(journal.append({5, 5, {}, {}, 5}, {}, "five"));
    const DraftJournal again(directory);
    QCOMPARE(again.entries().size(), std::size_t(4));
    QCOMPARE(again.text(again.entries().back()).value_or(QByteArray()), QByteArray("five"));
}

void DraftJournalTest::damageTakesOneVersion()
{
    Scratch scratch;
    const QString directory = scratch.path(u"journal"_s);
    QVERIFY(QDir().mkpath(directory));
    {
        DraftJournal journal(directory);
        for (int i = 1; i <= 3; ++i)
            QVERIFY(
                journal.append({i, i, {}, {}, i}, {}, "text\nversion 9 9 9 9 9 9\n" + QByteArray::number(i)));
    }
    const QString path = directory + u"/Versions"_s;
    const QByteArray whole = Scratch::read(path);
    for (qsizetype at = 0; at < whole.size(); ++at) {
        QByteArray damaged = whole;
        damaged[at] = char(damaged[at] ^ 0x11);
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(damaged) == damaged.size());
        file.close();
        const DraftJournal journal(directory);
        QCOMPARE(journal.entries().size(), std::size_t(2));
        for (const DraftJournal::Entry &entry : journal.entries())
            QVERIFY(journal.text(entry)->endsWith(QByteArray::number(entry.serial)));
    }
    QVERIFY(!scratch.notes.isEmpty());
    QVERIFY(scratch.notes[0].startsWith(u"A version of a draft is damaged at byte 0 of "_s));
}

void DraftJournalTest::damageIsNeverWrittenOver()
{
    const Scratch scratch;
    const QString directory = scratch.path(u"journal"_s);
    const QString path = directory + u"/Versions"_s;
    QVERIFY(QDir().mkpath(directory));
    {
        DraftJournal journal(directory);
        for (int i = 1; i <= 2; ++i)
            QVERIFY(journal.append({i, i, {}, {}, i}, {}, "text " + QByteArray::number(i)));
    }
    const QByteArray damaged = Scratch::read(path).replace("text 2", "text ?");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(damaged) == damaged.size());
    file.close();
    {
        DraftJournal journal(directory);
        journal.countFrom(7);
        QVERIFY(journal.append({3, 3, {}, {}, 3}, {}, "text 3"));
    }
    QVERIFY(Scratch::read(path).startsWith(damaged));
    QCOMPARE(DraftJournal(directory).entries().size(), std::size_t(2));
    QCOMPARE(DraftJournal(directory).entries().back().serial, 8);
    // Files that cannot be read are kept beside.
    QVERIFY(QFile::remove(path) && QDir().mkdir(path) && QDir().mkdir(directory + u"/Earlier"_s));
    {
        DraftJournal journal(directory);
        QVERIFY(journal.isLost() && journal.append({1, 1, {}, {}, 1}, {}, "one"));
    }
    QCOMPARE(DraftJournal(directory).entries().size(), std::size_t(1));
    QCOMPARE(QDir(directory).entryList({u"*.unreadable"_s}, QDir::Dirs).size(), 2);
}

/// The latest versions take the name of the earlier ones when they are as many as are kept.
void DraftJournalTest::unreadableIsSetAsideBeforeItsNameIsTaken()
{
    constexpr int kMost = 50;
    const Scratch scratch;
    const QString directory = scratch.path(u"journal"_s);
    QVERIFY(QDir().mkpath(directory));
    {
        DraftJournal journal(directory);
        for (int i = 1; i <= kMost; ++i)
            QVERIFY(journal.append({i, i, {}, {}, i}, {}, "text " + QByteArray::number(i)));
    }
    // It can be read no more, and nothing could take its name.
    const QString earlier = directory + u"/Earlier"_s;
    QVERIFY(QDir().mkdir(earlier));
    {
        DraftJournal journal(directory);
        QVERIFY(journal.append({0, 0, {}, {}, 0}, {}, "one more"));
    }
    QVERIFY(QFileInfo(earlier + u".unreadable"_s).isDir());
    QVERIFY2(QFileInfo(earlier).isFile(), "the latest ones took its name");
    QCOMPARE(DraftJournal(directory).entries().size(), std::size_t(kMost));
}

QTEST_GUILESS_MAIN(DraftJournalTest)
#include "draftjournal_test.moc"
