#include "groupattest.h"
#include "store/bincompactor.h"
#include "store/compression.h"
#include "support/memory.h"

#include <QTest>
#include <QtEndian>

#include <cstring>

using namespace Qt::StringLiterals;

/// A compaction is cut short anywhere, or somebody reads beside it.
class GroupCompactionTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void compactionCutShort_data();
    void compactionCutShort();
    void compactionKeepsWhatTheOverviewsLost();
    void readBesideACompaction();
};

void GroupCompactionTest::compactionCutShort_data()
{
    QTest::addColumn<bool>("old"); ///< the bin is still the old one
    QTest::addColumn<bool>("tilde");
    QTest::addColumn<QByteArray>("moved"); ///< "", "whole", "garbage"
    QTest::addColumn<bool>("told");        ///< the overviews have the new positions
    QTest::newRow("the new bin is half written") << true << true << QByteArray() << false;
    QTest::newRow("the positions are written") << true << true << QByteArray("whole") << false;
    QTest::newRow("the positions are half written") << true << true << QByteArray("temporary") << false;
    QTest::newRow("the bin is replaced") << false << false << QByteArray("whole") << false;
    QTest::newRow("the overviews are told") << false << false << QByteArray("whole") << true;
    QTest::newRow("the positions are gone") << false << false << QByteArray() << true;
    QTest::newRow("the positions are damaged") << false << false << QByteArray("garbage") << false;
    QTest::newRow("the positions are lost") << false << false << QByteArray() << false;
    QTest::newRow("all there, an overview damaged") << false << false << QByteArray("damage") << false;
}

void GroupCompactionTest::compactionCutShort()
{
    QFETCH(bool, old);
    QFETCH(bool, tilde);
    QFETCH(QByteArray, moved);
    QFETCH(bool, told);
    Fixture f;
    f.group->close();
    const Snapshot before = snapshotOf(f.directory);
    f.open();
    QCOMPARE(f.group->rowCount(), 5);
    QCOMPARE(BinCompactor(f.group->files(), 0).run(), BinCompactor::Progress::Done);
    // The positions as they were written: articles rising, back to back in the new bin.
    QByteArray moves(8, '\0');
    for (int row = 0; row < f.group->rowCount(); ++row) {
        const Overview &overview = f.group->row(row);
        if (overview.isDead())
            continue;
        char pair[8];
        qToLittleEndian(overview.article(), pair);
        qToLittleEndian(overview.position(), pair + 4);
        moves.append(pair, 8);
    }
    std::memcpy(moves.data(), "VMOV", 4);
    qToLittleEndian(quint32(crc32Of(QByteArrayView(moves).sliced(8))), moves.data() + 4);
    f.group->close();
    const Snapshot after = snapshotOf(f.directory);
    QVERIFY(after[u"Bin0"_s].size() < before[u"Bin0"_s].size());

    Snapshot files = before;
    files[u"Bin0"_s] = old ? before[u"Bin0"_s] : after[u"Bin0"_s];
    files[u"Overview"_s] = told ? after[u"Overview"_s] : before[u"Overview"_s];
    if (tilde)
        files[u"Bin0~"_s] = moved.isEmpty() ? after[u"Bin0"_s].first(100) : after[u"Bin0"_s];
    if (moved == "whole" || moved == "damage")
        files[u"Bin0.moved"_s] = moves;
    else if (moved == "garbage")
        files[u"Bin0.moved"_s] = QByteArray("VMOVgarbage");
    else if (moved == "temporary")
        files[u"Bin0.moved~"_s] = moves.first(10);
    QStringList expected = f.whole;
    if (moved == "damage") {
        files[u"Overview"_s][3 * kRecord + 40] = '\x77'; // that of article 3
        expected[1] = u"3:3R"_s;                         // compaction wrote its marks into the new bin
    }
    restore(f.directory, files);
    for (int start = 0; start < 2; ++start) {
        f.open();
        if (moved.isEmpty() && !old && !told)
            QVERIFY(f.group->repair());
        QCOMPARE(f.contents(), expected);
        QVERIFY(f.countsAreRight());
        QCOMPARE(f.scratch.reports, QStringList());
        f.group->close();
        QVERIFY(QDir(f.directory).entryList({u"*~"_s, u"*.moved"_s}).isEmpty());
    }
    f.open();
    QCOMPARE(f.add("new"), 6u);
    QVERIFY(f.group->flush());
    QFile::remove(f.file(u"Overview"_s));
    f.reopen();
    QCOMPARE(f.contents().size(), 5);
}

void GroupCompactionTest::compactionKeepsWhatTheOverviewsLost()
{
    Fixture f;
    // A whole message in the bin that no overview knows, with a known one behind it.
    f.group->close();
    QByteArray overview = Scratch::read(f.file(u"Overview"_s));
    overview.remove(4 * kRecord, kRecord); // article 4
    overwrite(f.file(u"Overview"_s), overview);
    QFile file(f.file(u"Overview"_s));
    OverviewFile rewritten(f.directory);
    QVERIFY(rewritten.rewrite(OverviewFile::intactRecords(f.directory), 6));
    rewritten.close();
    f.open();
    QCOMPARE(f.contents().size(), 3);
    QCOMPARE(BinCompactor(f.group->files(), 0).run(), BinCompactor::Progress::Failed);
    QCOMPARE(f.scratch.reports, QStringList{u"Unable to determine bin size"_s});
    QVERIFY((f.group->record().flags & GroupNeedsRepair) != 0);
    QVERIFY(f.group->repair());
    QCOMPARE(f.contents(), (QStringList{u"1:1"_s, u"3:3R"_s, u"4:4"_s, u"5:5"_s}));
    QCOMPARE(BinCompactor(f.group->files(), 0).run(), BinCompactor::Progress::Done);
    QCOMPARE(f.contents().size(), 4);
}

void GroupCompactionTest::readBesideACompaction()
{
    Fixture f;
    GroupFiles reader(f.directory);
    QCOMPARE(reader.open(false), GroupFiles::State::Good);
    std::vector<Overview> seen;
    for (int row = 0; row < reader.overviews().rowCount(); ++row)
        seen.push_back(reader.overviews().row(row));
    const auto subjectOf = [&](const Overview &overview) {
        return Message(reader.readMessage(overview)).subject();
    };
    for (const bool opened : {false, true}) { // the reader has the old bin open, or not yet
        if (opened)
            QCOMPARE(subjectOf(seen[4]), u"Number 5"_s);
        f.group->remove({opened ? 3u : 1u});
        QVERIFY(f.group->flush());
        QCOMPARE(BinCompactor(f.group->files(), 0).run(), BinCompactor::Progress::Done);
        QVERIFY(f.group->files().rewriteOverviews(OverviewFile::intactRecords(f.directory), 6));
        QCOMPARE(subjectOf(seen[4]), u"Number 5"_s);
        QCOMPARE(subjectOf(seen[3]), u"Number 4"_s);
    }
    QCOMPARE(f.scratch.reports, QStringList());
    reader.close();
    QCOMPARE(reader.open(false), GroupFiles::State::Good);
    QVERIFY(reader.readMessage(seen[2]).isNull()); // deleted meanwhile
    QCOMPARE(f.scratch.reports.size(), 1);
}

QTEST_GUILESS_MAIN(GroupCompactionTest)
#include "groupcompaction_test.moc"
