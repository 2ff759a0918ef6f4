#include "store/threads.h"

#include "message/message.h"
#include "store/group.h"
#include "store/messageindex.h"
#include "store/summary.h"
#include "support/mail.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// An empty group.
struct Fixture
{
    Fixture()
    {
        QString name = u"Groups"_s;
        configFile(name, true);
        GroupRecord record;
        record.number = 1;
        record.name = u"Test"_s;
        group = std::make_unique<Group>(record, configPathOf(u"Groups/1"_s));
    }
    void add(const QByteArray &id, const QByteArray &more = {})
    {
        const QByteArray text = mailText(id, "Number " + id, more);
        group->add(text, summaryOf(Message(text), 1000));
    }

    Scratch scratch;
    std::unique_ptr<Group> group;
};

} // namespace

class ThreadsTest : public QObject
{
    Q_OBJECT

private slots:
    void threads_data();
    void threads();
    void aLateParent();
    void aDeepThread();
    void manyWithOneIdentifier();
};

void ThreadsTest::threads_data()
{
    QTest::addColumn<QList<QByteArray>>("mails"); ///< "id: reference reference", in the order of arrival
    QTest::addColumn<QList<int>>("parents");
    QTest::newRow("a chain") << QList<QByteArray>{"a:", "b: <a>", "c: <a> <b>"} << QList<int>{-1, 0, 1};
    QTest::newRow("backwards") << QList<QByteArray>{"c: <a> <b>", "b: <a>", "a:"} << QList<int>{1, 2, -1};
    QTest::newRow("the parent is missing") << QList<QByteArray>{"a:", "c: <a> <b>"} << QList<int>{-1, 0};
    QTest::newRow("two answer each other") << QList<QByteArray>{"a: <b>", "b: <a>"} << QList<int>{1, -1};
    QTest::newRow("three in a circle")
        << QList<QByteArray>{"a: <c>", "b: <a>", "c: <b>"} << QList<int>{2, 0, -1};
    QTest::newRow("itself") << QList<QByteArray>{"a: <a>"} << QList<int>{-1};
    QTest::newRow("twice the same") << QList<QByteArray>{"a:", "a:", "b: <a>"} << QList<int>{-1, -1, 0};
}

void ThreadsTest::threads()
{
    QFETCH(QList<QByteArray>, mails);
    QFETCH(QList<int>, parents);
    Fixture f;
    Threads late(*f.group); // takes them in one after the other
    for (const QByteArray &mail : mails) {
        const qsizetype colon = mail.indexOf(':');
        f.add(mail.first(colon), "References:" + mail.sliced(colon + 1) + "\n");
        late.update();
    }
    const Threads atOnce(*f.group);
    for (int row = 0; row < parents.size(); ++row) {
        QCOMPARE(atOnce.parent(row), parents[row]);
        int steps = 0;
        for (int at = row; at != Threads::kNone; at = late.parent(at))
            QVERIFY(++steps <= mails.size()); // never in a circle
    }
}

void ThreadsTest::aLateParent()
{
    Fixture f;
    f.add("a");
    f.add("c", "References: <a> <b>\n");
    f.add("d", "References: <a> <b> <c>\n");
    Threads threads(*f.group);
    QCOMPARE(threads.parent(1), 0); // below the first reference in its stead
    f.add("b", "References: <a>\n");
    threads.update();
    QCOMPARE(threads.parent(1), 3);
    QCOMPARE(threads.parent(2), 1);
    QCOMPARE(threads.parent(3), 0);
    QCOMPARE(threads.root(2), 0);
}

void ThreadsTest::aDeepThread()
{
    constexpr int kDepth = 100'000;
    Fixture f;
    QCOMPARE(f.group->rowCount(), 0);
    std::vector<Overview> rows(kDepth);
    for (int i = 0; i < kDepth; ++i) {
        rows[std::size_t(i)].setArticle(quint32(i) + 1);
        rows[std::size_t(i)].setIdHash(quint64(i) + 1000);
        rows[std::size_t(i)].setParentHash(i == 0 ? 0 : quint64(i) + 999);
        rows[std::size_t(i)].setRootHash(i == 0 ? 0 : 1000);
    }
    QVERIFY(f.group->files().rewriteOverviews(rows, kDepth + 1));
    const Threads threads(*f.group);
    QCOMPARE(threads.parent(0), Threads::kNone);
    for (int i = 1; i < kDepth; ++i)
        QCOMPARE(threads.parent(i), i - 1);
    // The same with answers before what they answer, where circles must be looked for.
    for (int i = 0; i < kDepth; ++i) {
        rows[std::size_t(i)].setParentHash(i == kDepth - 1 ? 0 : quint64(i) + 1001);
        rows[std::size_t(i)].setRootHash(i == kDepth - 1 ? 0 : quint64(kDepth) + 999);
    }
    QVERIFY(f.group->files().rewriteOverviews(rows, kDepth + 1));
    const Threads backwards(*f.group);
    for (int i = 0; i < kDepth - 1; ++i)
        QVERIFY(backwards.parent(i) > i);
}

void ThreadsTest::manyWithOneIdentifier()
{
    Scratch scratch;
    constexpr int kMany = 200'000;
    MessageIndex index;
    for (quint32 article = 1; article <= kMany; ++article)
        index.add(42, {1, article});
    index.add(43, {2, 7});
    QCOMPARE(index.find(42).size(), std::size_t(kMany));
    QVERIFY(index.save({{1, 10}, {2, 20}}));
    MessageIndex loaded;
    QVERIFY(loaded.load());
    QCOMPARE(loaded.size(), kMany + 1);
    QCOMPARE(loaded.generationOf(2), std::optional<quint64>(20));
    for (quint32 article = 1; article < kMany; ++article)
        loaded.remove(42, {1, article});
    QCOMPARE(loaded.find(42), (std::vector<MessageIndex::Place>{{1, kMany}}));
    loaded.remove(42, {1, kMany});
    QVERIFY(loaded.find(42).empty());
    loaded.add(42, {3, 1});
    QCOMPARE(loaded.find(42), (std::vector<MessageIndex::Place>{{3, 1}}));
    QCOMPARE(loaded.find(43), (std::vector<MessageIndex::Place>{{2, 7}}));
}

QTEST_GUILESS_MAIN(ThreadsTest)
#include "threads_test.moc"
