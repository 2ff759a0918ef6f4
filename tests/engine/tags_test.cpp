#include "engine/tags.h"

#include "engine/engine.h"
#include "message/message.h"
#include "support/mail.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QStringList namesOf(const Tags &tags)
{
    QStringList names;
    for (const Tag &tag : tags.all())
        names += tag.name;
    return names;
}

const QStringList kFirst = {u"Important"_s, u"Work"_s, u"Personal"_s, u"To do"_s, u"Later"_s};

} // namespace

class TagsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void atFirst();
    void changes();
    void names_data();
    void names();
    void theFile_data();
    void theFile();
    void allBitsTaken();
    void aRemovedTagLeavesItsMessages();
};

void TagsTest::atFirst()
{
    const Scratch scratch;
    Tags tags;
    tags.load();
    QCOMPARE(namesOf(tags), kFirst);
    QCOMPARE(tags.bitOfKey(1), 1u);
    QCOMPARE(tags.bitOfKey(5), 16u);
    QCOMPARE(tags.bitOfKey(6), 0u);
    QCOMPARE(tags.bitOfKey(0), 0u);
    QVERIFY(tags.save());
    QVERIFY(!QFile::exists(configPathOf(u"Tags"_s))); // nobody changed them
}

void TagsTest::changes()
{
    const Scratch scratch;
    QDir().mkpath(configPathOf({}));
    Tags tags;
    tags.load();
    QSignalSpy changed(&tags, &Tags::changed);
    QCOMPARE(tags.add(u" Trip \t to  Rome "_s, 500), 5);
    QVERIFY(tags.rename(1, u"Office"_s));
    tags.setHue(0, 12);
    tags.moveTo(5, 0);
    tags.remove(2);
    QCOMPARE(changed.size(), 5);
    const QStringList expected = {u"Trip to Rome"_s, u"Important"_s, u"Office"_s, u"To do"_s, u"Later"_s};
    QCOMPARE(namesOf(tags), expected);
    QCOMPARE(tags.bitOfKey(1), 32u);
    QCOMPARE(tags.of(0xffffffe1), (std::vector<Tag>{{5, u"Trip to Rome"_s, 359}, {0, u"Important"_s, 12}}));
    QVERIFY(tags.save());
    Tags again;
    again.load();
    QCOMPARE(again.all(), tags.all());
    QCOMPARE(again.resting(), 4u);
    again.moveTo(5, 99);
    QCOMPARE(namesOf(again).last(), u"Trip to Rome"_s);
}

void TagsTest::names_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("good");
    QTest::newRow("new") << u"Trip"_s << true;
    QTest::newRow("its own in another case") << u"WORK"_s << true;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("blank") << u" \t"_s << false;
    QTest::newRow("another's") << u"later"_s << false;
}

void TagsTest::names()
{
    QFETCH(QString, name);
    QFETCH(bool, good);
    const Scratch scratch;
    Tags tags;
    tags.load();
    QCOMPARE(tags.rename(1, name), good);
    QCOMPARE(tags.tag(1)->name, good ? name : u"Work"_s);
    QVERIFY(!tags.rename(17, u"Nobody's"_s));
}

void TagsTest::theFile_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QStringList>("expected");
    const QStringList one = {u"A"_s};
    QTest::newRow("in any order") << QByteArray("hue 5\tname B\tbit 31") << QStringList{u"A"_s, u"B"_s};
    QTest::newRow("an unknown field")
        << QByteArray("bit 2\tname B\thue 1\tzzz") << QStringList{u"A"_s, u"B"_s};
    QTest::newRow("a bit too high") << QByteArray("bit 32\tname B\thue 1") << one;
    QTest::newRow("a bit below") << QByteArray("bit -1\tname B\thue 1") << one;
    QTest::newRow("a bit twice") << QByteArray("bit 0\tname B\thue 1") << one;
    QTest::newRow("a name twice") << QByteArray("bit 3\tname a\thue 1") << one;
    QTest::newRow("no name") << QByteArray("bit 3\tname  \thue 1") << one;
    QTest::newRow("no colour") << QByteArray("bit 3\tname B") << one;
    QTest::newRow("rubbish") << QByteArray("\xff\xfe") << one;
}

void TagsTest::theFile()
{
    QFETCH(QByteArray, line);
    QFETCH(QStringList, expected);
    const Scratch scratch;
    QDir().mkpath(configPathOf({}));
    scratch.write(u"config/Tags"_s, "bit 0\tname A\thue 0\n" + line + "\nend\n");
    Tags tags;
    tags.load();
    QCOMPARE(namesOf(tags), expected);
    QCOMPARE(scratch.notes.isEmpty(), expected.size() == 2);
}

void TagsTest::allBitsTaken()
{
    const Scratch scratch;
    Tags tags;
    tags.load();
    for (int bit = 5; bit < Tags::kBits; ++bit)
        QCOMPARE(tags.add(QString::number(bit), 0), bit);
    QCOMPARE(tags.add(u"one more"_s, 0), -1);
    tags.remove(7);
    QCOMPARE(tags.add(u"one more"_s, 0), -1); // messages may have it still
    tags.release(1u << 7);
    QCOMPARE(tags.add(u"one more"_s, 0), 7);
}

void TagsTest::aRemovedTagLeavesItsMessages()
{
    const Scratch scratch;
    Engine engine;
    QVERIFY(engine.load());
    Group &group = *engine.groups().group(GroupRole::Inbox);
    for (int i = 0; i < 3; ++i)
        engine.groups().add(group, Message(mailText(QByteArray::number(i), "n")), {}, 0, 1);
    QVERIFY(group.setTags({1, 2}, 3, 0));
    engine.tags().remove(0);
    QCOMPARE(engine.tags().resting(), 1u);
    QTRY_COMPARE(engine.tags().resting(), 0u);
    QCOMPARE(group.overview(1)->tags(), 2u);
    QVERIFY(!engine.journal().nextUndo());
    QVERIFY(engine.shutDown());
    // One that a crash left half done is completed by the next start.
    scratch.write(u"config/Tags"_s, "resting 2\nend\n");
    Engine next;
    QVERIFY(next.load());
    QTRY_COMPARE(next.tags().resting(), 0u);
    QCOMPARE(next.groups().group(GroupRole::Inbox)->overview(2)->tags(), 0u);
}

QTEST_GUILESS_MAIN(TagsTest)
#include "tags_test.moc"
