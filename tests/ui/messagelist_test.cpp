#include "config/clock.h"
#include "support/mail.h"
#include "ui/list/messagelist.h"
#include "ui/listbox.h"
#include "ui/texts/messagetexts.h"

#include <QAbstractItemModelTester>
#include <QHeaderView>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

void finishSorting(MessageListModel &model)
{
    QSignalSpy ended(&model, &MessageListModel::sortingEnded);
    QVERIFY(ended.count() > 0 || ended.wait());
}

} // namespace

class MessageListTest : public QObject
{
    Q_OBJECT

private slots:
    void sortsByEveryColumn_data()
    {
        QTest::addColumn<int>("column");
        QTest::addColumn<bool>("descending");
        QTest::addColumn<QString>("order");
        const auto row = [](const char *name, MessageColumn column, bool descending, const char *order) {
            QTest::newRow(name) << int(column) << descending << QString::fromLatin1(order);
        };
        row("oldest first", MessageColumn::Date, false, "a c e b d");
        row("newest first", MessageColumn::Date, true, "d b e c a");
        row("unread first, then newest first", MessageColumn::State, false, "d b e c a");
        row("flagged first", MessageColumn::Flag, true, "e d b c a");
        row("subject, without marks of answers and case", MessageColumn::Subject, false, "e c d b a");
        row("subject from the end", MessageColumn::Subject, true, "d b a c e");
        row("from, equal ones newest first", MessageColumn::From, false, "b e c d a");
        row("from, from the end", MessageColumn::From, true, "a d c b e");
    }

    void sortsByEveryColumn()
    {
        QFETCH(int, column);
        QFETCH(bool, descending);
        Box box;
        for (const Mail &mail : kMails)
            box.add(mail);
        MessageListModel model;
        model.setGroup(&box.inbox(), {MessageColumn::Date, Qt::DescendingOrder, false, false});
        model.sort(column, descending ? Qt::DescendingOrder : Qt::AscendingOrder);
        if (isTextColumn(MessageColumn(column)))
            finishSorting(model);
        QTEST(subjects(model), "order");
    }

    void oneTextColumnFollowsAnother()
    {
        Box box;
        for (const Mail &mail : kMails)
            box.add(mail);
        MessageListModel model;
        model.setGroup(&box.inbox(), {MessageColumn::From, Qt::AscendingOrder, false, false});
        finishSorting(model);
        QCOMPARE(subjects(model), u"b e c d a"_s);
        model.sort(int(MessageColumn::Subject), Qt::AscendingOrder);
        finishSorting(model);
        QCOMPARE(subjects(model), u"e c d b a"_s);
        box.add({"f", "Bells", "Dora <d@example.org>", 50});
        finishSorting(model);
        QCOMPARE(subjects(model), u"e f c d b a"_s);
    }

    void widthsSurviveANarrowList()
    {
        Box box;
        MessageList list;
        GroupView view;
        view.widths[std::size_t(MessageColumn::From)] = 222;
        list.setGroup(&box.inbox(), view);
        list.setTwoLines(true);
        list.setTwoLines(false);
        QCOMPARE(list.view(), view);
        QCOMPARE(list.header()->sectionSize(int(MessageColumn::From)), 222);
        list.header()->resizeSection(int(MessageColumn::From), 180);
        QCOMPARE(list.view().widths[std::size_t(MessageColumn::From)], 180);
    }

    void threadsStandWhereTheirNewestMessageWould()
    {
        Box box;
        for (const Mail &mail : kMails)
            box.add(mail);
        MessageListModel model;
        model.setGroup(&box.inbox(), kPlain);
        QCOMPARE(subjects(model), u"a e c"_s);
        QCOMPARE(model.threadCounts(0).messages, 3);
        QCOMPARE(model.threadCounts(0).unread, 2);
        model.setExpanded(0, true);
        model.setExpanded(1, true);
        QCOMPARE(subjects(model), u"a >b >>d e c"_s);
        model.setExpanded(0, false);
        QCOMPARE(subjects(model), u"a e c"_s);
        model.setSortOrder({MessageColumn::Date, Qt::AscendingOrder, true, false});
        model.setAllExpanded(true);
        QCOMPARE(subjects(model), u"c e a >b >>d"_s);
    }

    void answersOfADeletedMessageMoveUp()
    {
        Box box;
        Articles articles;
        for (const Mail &mail : kMails)
            articles.push_back(box.add(mail));
        MessageListModel model;
        const QAbstractItemModelTester tester(&model);
        model.setGroup(&box.inbox(), kPlain);
        model.setAllExpanded(true);
        QVERIFY(box.inbox().remove({articles[1]}));
        model.settle();
        QCOMPARE(subjects(model), u"a >d e c"_s);
        QVERIFY(box.inbox().remove({articles[0]}));
        model.settle();
        QCOMPARE(subjects(model), u"d e c"_s);
    }

    void aCollapsedThreadStandsForAllInIt()
    {
        Box box;
        for (const Mail &mail : kMails)
            box.add(mail);
        MessageListModel model;
        model.setGroup(&box.inbox(), kPlain);
        QCOMPARE(model.refsAt({0}).size(), 3U);
        QCOMPARE(model.refsAt({1}).size(), 1U);
        model.setExpanded(0, true);
        QCOMPARE(model.refsAt({0}).size(), 1U);
        QCOMPARE(model.threadOf(1).size(), 3U);
    }

    void changesOfOnePassComeTogether()
    {
        Box box;
        MessageListModel model;
        const QAbstractItemModelTester tester(&model);
        model.setGroup(&box.inbox(), kPlain);
        QSignalSpy relaid(&model, &MessageListModel::relaid);
        for (const Mail &mail : kMails)
            box.add(mail);
        QCOMPARE(model.rowCount(), 0);
        QTRY_COMPARE(relaid.count(), 1);
        QCOMPARE(subjects(model), u"a e c"_s);
        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        box.inbox().setMarks({1, 3, 5}, Mark::Flagged, {});
        box.inbox().setMarks({1, 3, 5}, Mark::Read, {});
        QTRY_COMPARE(changed.count(), 1);
        QCOMPARE(relaid.count(), 1);
    }

    void selectionAndCurrentStayWithTheirMessages()
    {
        Box box;
        Articles articles;
        for (const Mail &mail : kMails)
            articles.push_back(box.add(mail));
        MessageList list;
        list.setGroup(&box.inbox(), plainView());
        list.messages().setAllExpanded(true);
        QVERIFY(list.setCurrent(box.ref(articles[3])));
        list.selectionModel()->select(list.messages().index(list.messages().placeOf(box.ref(articles[2])), 0),
                                      QItemSelectionModel::Select | QItemSelectionModel::Rows);
        QSignalSpy currentChanged(&list, &MessageList::currentChangedTo);
        box.add({"f", "New", "Dora <d@example.org>", 50});
        list.messages().settle();
        list.messages().sort(int(MessageColumn::Flag), Qt::DescendingOrder);
        QCOMPARE(list.current(), box.ref(articles[3]));
        MessageRefs selected = list.selected();
        std::sort(selected.begin(), selected.end());
        QCOMPARE(selected, (MessageRefs{box.ref(articles[2]), box.ref(articles[3])}));
        QCOMPARE(currentChanged.count(), 0);
    }

    void theNextMessageFollowsOneThatIsTakenAway()
    {
        Box box;
        Articles articles;
        for (const Mail &mail : kMails)
            articles.push_back(box.add(mail));
        MessageList list;
        list.setGroup(&box.inbox(), plainView());
        QVERIFY(list.setCurrent(box.ref(articles[4])));
        QSignalSpy currentChanged(&list, &MessageList::currentChangedTo);
        QVERIFY(box.inbox().remove({articles[4]}));
        list.messages().settle();
        QCOMPARE(list.current(), box.ref(articles[2]));
        QCOMPARE(currentChanged.count(), 1);
        QVERIFY(box.inbox().remove(articles));
        list.messages().settle();
        QVERIFY(list.current().isNull());
        QVERIFY(currentChanged.last().first().value<MessageRef>().isNull());
    }

    void stepsGoToUnreadMessagesInsideThreads()
    {
        Box box;
        Articles articles;
        for (const Mail &mail : kMails)
            articles.push_back(box.add(mail));
        MessageList list;
        list.setGroup(&box.inbox(), plainView());
        QVERIFY(list.step(MessageList::Step::NextUnread));
        QCOMPARE(list.current(), box.ref(articles[1]));
        QVERIFY(list.step(MessageList::Step::NextUnread));
        QCOMPARE(list.current(), box.ref(articles[3]));
        QVERIFY(list.step(MessageList::Step::PreviousUnread));
        QCOMPARE(list.current(), box.ref(articles[1]));
        QVERIFY(list.step(MessageList::Step::NextUnreadThread));
        QCOMPARE(list.current(), box.ref(articles[4]));
        QVERIFY(!list.step(MessageList::Step::NextUnread));
        QCOMPARE(list.current(), box.ref(articles[4]));
    }

    /// Opening reads no text at all; what is painted keeps a bounded number of texts.
    void showsAHundredThousandMessages()
    {
        constexpr int kMany = 100'000;
        Box box;
        box.add(kMails[0]);
        std::vector<Overview> overviews;
        Overview overview = box.inbox().row(0);
        for (int i = 0; i < kMany; ++i) {
            overview.setArticle(quint32(i) + 1);
            overview.setDate(kNoon + (i * 7919LL) % kMany);
            overview.setIdHash(quint64(i) + 1);
            overview.setParentHash(i % 5 ? quint64(i) : 0);
            overview.setRootHash(overview.parentHash());
            overviews.push_back(overview);
        }
        QVERIFY(box.inbox().files().rewriteOverviews(overviews, kMany + 1));
        MessageListModel model;
        model.setGroup(&box.inbox(), kPlain);
        QCOMPARE(model.rowCount(), kMany / 5);
        model.setAllExpanded(true);
        QCOMPARE(model.rowCount(), kMany);
        model.setSortOrder({MessageColumn::Date, Qt::DescendingOrder, false, false});
        QCOMPARE(model.rowCount(), kMany);
        for (int place = 1; place < kMany; ++place)
            QVERIFY(model.overviewAt(place - 1).date() >= model.overviewAt(place).date());
        QCOMPARE(model.placeOf(model.refAt(kMany / 2)), kMany / 2);
    }

    void datesAreShort_data()
    {
        QTest::addColumn<qint64>("date");
        QTest::addColumn<QString>("text");
        QTest::newRow("today") << kNoon - 4680 << u"10:42"_s;
        QTest::newRow("yesterday") << kNoon - 86400 << u"Thu 12:00"_s;
        QTest::newRow("six days ago") << kNoon - 6 * 86400 << u"Sat 12:00"_s;
        QTest::newRow("a week ago") << kNoon - 7 * 86400 << u"13 Nov"_s;
        QTest::newRow("tomorrow") << kNoon + 86400 << u"21 Nov"_s;
        QTest::newRow("another year") << kNoon - 700 * 86400LL << u"20 Dec 2024"_s;
        QTest::newRow("no date at all") << qint64(0) << u"1 Jan 1970"_s;
    }

    void datesAreShort()
    {
        QFETCH(qint64, date);
        const ClockOverride clock([] { return kNoon * 1000; });
        QTEST(shortDate(date), "text");
    }

    void rowsSpeak()
    {
        const ClockOverride clock([] { return kNoon * 1000; });
        Overview overview;
        overview.setDate(kNoon);
        overview.setMark(Mark::Flagged, true);
        overview.setMark(Mark::Attachments, true);
        QCOMPARE(spokenRow(overview, u"Ada"_s, u"Tides"_s),
                 u"unread, flagged, Ada, Tides, 12:00, attachment"_s);
        overview.setMarks(Mark::Read);
        QCOMPARE(spokenRow(overview, u"Ada"_s, {}), u"Ada, (no subject), 12:00"_s);
    }

    void draggedMessagesSurviveTheirJourney()
    {
        const MessageRefs dragged = {{7, 1}, {9, 1}, {7, 5}};
        const QByteArray bytes = encodeDragged(dragged);
        QCOMPARE(decodeDragged(bytes), dragged);
        for (qsizetype size = 0; size < bytes.size(); ++size)
            QVERIFY(decodeDragged(bytes.first(size)).empty());
    }
};

QTEST_MAIN(MessageListTest)
#include "messagelist_test.moc"
