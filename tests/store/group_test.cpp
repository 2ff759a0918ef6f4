#include "groupattest.h"
#include "store/bincompactor.h"
#include "store/binformat.h"
#include "support/memory.h"

#include <QTest>

using namespace Qt::StringLiterals;

/// What a kill, a power cut or a damaged disk may leave of a group.
class GroupTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void overviewCutAtEveryByte();
    void overviewWithFlippedBytes();
    void overviewIs_data();
    void overviewIs();
    void anUnsettledOverviewKeepsItsRows();
    void wrongCountsAreWritten();
    void binHeaderWithFlippedBytes();
    void binIs_data();
    void binIs();
    void aTornRecordSwallowsNothing();
    void aTextLostInAPowerCut();
    void headerCacheIs_data();
    void headerCacheIs();
    void articleNumbersAreNeverGivenTwice();
    void theRepairFlag();
    void withoutRepairs();
    void rowsOfTheDeadAreDropped();
};

void GroupTest::overviewCutAtEveryByte()
{
    Fixture f;
    f.group->close();
    const Snapshot before = snapshotOf(f.directory);
    const QByteArray overview = before[u"Overview"_s];
    QCOMPARE(overview.size(), 6 * kRecord);
    for (qsizetype size = overview.size() - 1; size >= 0; --size) {
        restore(f.directory, before);
        overwrite(f.file(u"Overview"_s), overview.first(size));
        f.open();
        // What was not cut off keeps its marks; the rest comes from the bin, where marks are as of then.
        QStringList expected = {u"1:1"_s, u"3:3"_s, u"4:4"_s, u"5:5"_s};
        if (size >= 4 * kRecord)
            expected[1] += u'R';
        if (size >= 5 * kRecord)
            expected[2] += u'F';
        QCOMPARE(f.contents(), expected);
        QVERIFY(f.countsAreRight());
        QCOMPARE(f.add("new"), 6u);
        f.group->close();
    }
    QVERIFY(!f.scratch.notes.isEmpty());
}

void GroupTest::overviewWithFlippedBytes()
{
    Fixture f;
    f.group->close();
    const Snapshot before = snapshotOf(f.directory);
    for (qsizetype at = 0; at < 6 * kRecord; at += 3) {
        restore(f.directory, before);
        QByteArray overview = before[u"Overview"_s];
        overview[at] = char(~overview[at]);
        overwrite(f.file(u"Overview"_s), overview);
        f.open();
        QStringList expected = f.whole;
        if (at / kRecord == 3)
            expected[1] = u"3:3"_s;
        if (at / kRecord == 4)
            expected[2] = u"4:4"_s;
        QCOMPARE(f.contents(), expected);
        QVERIFY(f.countsAreRight());
        f.group->close();
    }
}

void GroupTest::overviewIs_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("exists");
    QTest::newRow("missing") << QByteArray() << false;
    QTest::newRow("empty") << QByteArray() << true;
    QTest::newRow("garbage") << QByteArray("garbage\n").repeated(200) << true;
    QTest::newRow("zeros") << QByteArray(4096, '\0') << true;
    QTest::newRow("the magic alone") << QByteArray("VOVW") << true;
}

void GroupTest::overviewIs()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, exists);
    Fixture f;
    f.group->close();
    if (exists)
        overwrite(f.file(u"Overview"_s), bytes);
    else
        QFile::remove(f.file(u"Overview"_s));
    f.open();
    QCOMPARE(f.contents(), (QStringList{u"1:1"_s, u"3:3"_s, u"4:4"_s, u"5:5"_s}));
    QVERIFY(f.countsAreRight());
    QVERIFY(f.scratch.notes.join(u'\n').contains(u"was repaired: 0 messages kept, 4 recovered"_s));
    f.reopen();
    QCOMPARE(f.contents().size(), 4);
    QCOMPARE(f.add("new"), 6u);
    QCOMPARE(f.scratch.reports, QStringList());
}

void GroupTest::anUnsettledOverviewKeepsItsRows()
{
    Fixture f;
    f.add("6");
    f.group->setMarks({1}, Mark::Read, {});
    f.group->remove({5});
    const Snapshot killed = snapshotOf(f.directory); // no flush
    for (const int torn : {0, 1, kRecord - 1}) {
        restore(f.directory, killed);
        QByteArray overview = killed[u"Overview"_s];
        overview.append(QByteArray(torn, 'x'));
        overwrite(f.file(u"Overview"_s), overview);
        f.open();
        QCOMPARE(f.contents(), (QStringList{u"1:1R"_s, u"3:3R"_s, u"4:4F"_s, u"6:6"_s}));
        QVERIFY(f.countsAreRight());
        QCOMPARE(f.add("new"), 7u);
        f.group->close();
    }
}

void GroupTest::wrongCountsAreWritten()
{
    // After a power cut a settled header may belong to older records.
    Fixture f;
    f.group->close();
    const QByteArray head = Scratch::read(f.file(u"Overview"_s)).first(kRecord);
    f.open();
    f.group->setMarks({1, 5}, Mark::Read, {});
    QVERIFY(f.group->flush());
    f.group->close();
    overwrite(f.file(u"Overview"_s), head + Scratch::read(f.file(u"Overview"_s)).sliced(kRecord));
    f.open();
    QCOMPARE(f.group->counts().unread, 3u);
    f.group->recount();
    QVERIFY(f.group->flush());
    f.reopen();
    QCOMPARE(f.group->counts().unread, 1u);
    QVERIFY(f.countsAreRight());
}

void GroupTest::binHeaderWithFlippedBytes()
{
    Fixture f;
    f.group->close();
    const Snapshot before = snapshotOf(f.directory);
    const qsizetype third = before[u"Bin0"_s].indexOf("MSGD", before[u"Bin0"_s].indexOf("MSGD", 4) + 4);
    for (int at = 0; at < BinFormat::kHeaderSize; ++at) {
        restore(f.directory, before);
        QByteArray bin = before[u"Bin0"_s];
        bin[third + at] = char(~bin[third + at]);
        overwrite(f.file(u"Bin0"_s), bin);
        f.open();
        QVERIFY2(f.group->repair(), QByteArray::number(at).constData());
        QCOMPARE(f.contents(), f.whole);
        QVERIFY(f.countsAreRight());
        f.group->close();
        // And mended in the bin: the next repair needs no overviews.
        QFile::remove(f.file(u"Overview"_s));
        f.open();
        QCOMPARE(f.contents().size(), 4);
        f.group->close();
    }
}

void GroupTest::binIs_data()
{
    QTest::addColumn<int>("cut"); ///< bytes that are left; -1: all, and garbage is put in front
    QTest::addColumn<QStringList>("left");
    QTest::newRow("garbage in front") << -1 << QStringList{u"1:1"_s, u"3:3"_s, u"4:4"_s, u"5:5"_s};
    QTest::newRow("missing") << 0 << QStringList();
    QTest::newRow("cut in the last") << 1 << QStringList{u"1:1"_s, u"3:3R"_s, u"4:4F"_s};
}

void GroupTest::binIs()
{
    QFETCH(int, cut);
    QFETCH(QStringList, left);
    Fixture f;
    f.group->close();
    QByteArray bin = Scratch::read(f.file(u"Bin0"_s));
    if (cut < 0)
        bin.prepend(QByteArray(5000, 'M') + "MSGDMSGD");
    else
        bin.chop(cut == 0 ? bin.size() : cut);
    overwrite(f.file(u"Bin0"_s), bin);
    f.open();
    QVERIFY(f.group->repair());
    // What has moved in the file is known by its article and its text again.
    QStringList expected = left;
    if (cut < 0)
        expected = f.whole;
    QCOMPARE(f.contents(), expected);
    QVERIFY(f.countsAreRight());
    QCOMPARE(f.add("new"), 6u);
}

void GroupTest::aTornRecordSwallowsNothing()
{
    Fixture f;
    f.group->close();
    const QByteArray bin = Scratch::read(f.file(u"Bin0"_s));
    const QByteArray record = bin.sliced(bin.lastIndexOf("MSGD"));
    for (qsizetype size = 1; size <= record.size(); size += 7) {
        overwrite(f.file(u"Bin0"_s), bin + record.first(size)); // killed while it was written
        f.open();
        QCOMPARE(f.contents(), f.whole);
        f.group->close();
        const qint64 after = QFile(f.file(u"Bin0"_s)).size();
        QVERIFY(size == record.size() ? after == bin.size() + size : after == bin.size());
    }
    f.open();
    QCOMPARE(f.add("6"), 6u);
    QVERIFY(f.group->flush());
    f.group->close();
    QFile::remove(f.file(u"Overview"_s));
    f.open();
    QCOMPARE(f.contents().size(), 5); // the orphan did not come back
    QCOMPARE(f.contents().last(), u"6:6"_s);
}

void GroupTest::aTextLostInAPowerCut()
{
    Fixture f;
    const qint64 safe = f.group->files().bin(0).size();
    f.add("6");
    f.add("7");
    Snapshot files = snapshotOf(f.directory);
    files[u"Bin0"_s].replace(safe, files[u"Bin0"_s].size() - safe,
                             QByteArray(files[u"Bin0"_s].size() - safe, '\0'));
    restore(f.directory, files);
    f.open();
    QCOMPARE(f.contents(), f.whole);
    QVERIFY(f.countsAreRight());
    QCOMPARE(f.add("new"), 8u);
    QVERIFY(f.group->flush());
    f.reopen();
    QCOMPARE(f.contents().size(), 5);
}

void GroupTest::headerCacheIs_data()
{
    QTest::addColumn<QByteArray>("damage");
    for (const char *damage : {"missing", "empty", "cut", "garbage", "shifted"})
        QTest::newRow(damage) << QByteArray(damage);
}

void GroupTest::headerCacheIs()
{
    QFETCH(QByteArray, damage);
    Fixture f;
    f.group->close();
    const QString path = f.file(u"Headers0"_s);
    const QByteArray cache = Scratch::read(path);
    if (damage == "missing")
        QFile::remove(path);
    else if (damage == "empty")
        overwrite(path, {});
    else if (damage == "cut")
        overwrite(path, cache.first(cache.size() / 2));
    else if (damage == "garbage")
        overwrite(path, QByteArray(cache.size(), '\xa5'));
    else // records of the same lengths at the same places
        overwrite(path, cache.sliced(cache.size() / 5) + cache.first(cache.size() / 5));
    f.open();
    for (const quint32 article : {1u, 3u, 4u, 5u}) {
        const HeaderTexts texts = f.group->texts(*f.group->overview(article));
        QCOMPARE(texts.subject, u"Number %1"_s.arg(article));
        QCOMPARE(texts.messageId, u"<%1>"_s.arg(article));
    }
    QCOMPARE(f.scratch.reports, QStringList());
}

void GroupTest::articleNumbersAreNeverGivenTwice()
{
    Fixture f;
    f.group->remove({1, 3, 4, 5});
    QVERIFY(f.group->flush());
    for (const bool compact : {false, true}) {
        if (compact)
            QCOMPARE(BinCompactor(f.group->files(), 0).run(), BinCompactor::Progress::Done);
        f.reopen();
        QVERIFY(f.group->repair());
        QCOMPARE(f.contents(), QStringList());
        QCOMPARE(f.group->files().overviews().nextArticle(), 6u);
    }
    QCOMPARE(f.add("new"), 6u);
    f.group->remove({6});
    QVERIFY(f.group->flush());
    f.group->close();
    QFile::resize(f.file(u"Overview"_s), 50); // the bin still knows
    f.open();
    QCOMPARE(f.contents(), QStringList());
    QCOMPARE(f.add("newer"), 7u);
}

void GroupTest::theRepairFlag()
{
    Fixture f;
    f.group->close();
    QByteArray bin = Scratch::read(f.file(u"Bin0"_s));
    bin[0] = 'X';
    overwrite(f.file(u"Bin0"_s), bin);
    f.open();
    QVERIFY(f.group->readMessage(*f.group->overview(1)).isNull());
    QCOMPARE(f.scratch.reports, QStringList{u"Message has invalid header in bin file"_s});
    QCOMPARE(f.group->record().flags, quint32(GroupNeedsRepair));
    const GroupRecord record = f.group->record(); // as the groups file keeps it
    f.group->close();
    f.group = std::make_unique<Group>(record, f.directory);
    QCOMPARE(f.contents(), f.whole);
    QCOMPARE(f.group->record().flags, 0u);
}

void GroupTest::withoutRepairs()
{
    Fixture f;
    f.group->close();
    QFile::resize(f.file(u"Overview"_s), 300);
    setBoolSetting(Setting::AutoRepairs, false);
    f.open();
    QCOMPARE(f.group->rowCount(), 0);
    QVERIFY(f.group->needsRepair());
    QCOMPARE(f.add("new"), 0u);
    QCOMPARE(f.scratch.reports, QStringList{u"Unable to open group 'Test'"_s});
    QVERIFY(f.group->repair());
    QVERIFY(!f.group->needsRepair());
    QCOMPARE(f.contents().size(), 4);
}

void GroupTest::rowsOfTheDeadAreDropped()
{
    Fixture f(1500);
    Articles most;
    for (quint32 article = 100; article <= 1500; ++article)
        most.push_back(article);
    QVERIFY(f.group->remove(most));
    QVERIFY(f.group->tidy());
    QVERIFY(f.group->rowCount() <= 100);
    QVERIFY(f.countsAreRight());
    f.group->close();
    QFile::resize(f.file(u"Overview"_s), 200);
    f.open();
    QCOMPARE(f.group->rowCount(), 98); // 2 was deleted by the fixture
    QCOMPARE(f.add("new"), 1501u);
}

QTEST_GUILESS_MAIN(GroupTest)
#include "group_test.moc"
