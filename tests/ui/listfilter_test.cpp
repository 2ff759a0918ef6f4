#include "config/clock.h"
#include "ui/list/messagelist.h"
#include "ui/list/quickfilterbar.h"
#include "ui/listbox.h"

#include <QAbstractItemModelTester>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

namespace {

Articles addAll(Box &box)
{
    Articles articles;
    for (const Mail &mail : kMails)
        articles.push_back(box.add(mail));
    return articles;
}

GroupView flatView()
{
    GroupView view;
    view.sort = {MessageColumn::Date, Qt::DescendingOrder, false, true};
    return view;
}

constexpr MessageSort kFlat = {MessageColumn::Date, Qt::DescendingOrder, false, false};

} // namespace

/// What narrows, divides and gathers a list: filters, headings, the flagged messages of all groups.
class ListFilterTest : public QObject
{
    Q_OBJECT

private slots:
    void filters_data()
    {
        QTest::addColumn<bool>("unread");
        QTest::addColumn<bool>("flagged");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("shown");
        QTest::newRow("unread") << true << false << QString() << u"d b e"_s;
        QTest::newRow("flagged") << false << true << QString() << u"e"_s;
        QTest::newRow("unread and flagged") << true << true << QString() << u"e"_s;
        QTest::newRow("nothing passes") << true << true << u"tide"_s << QString();
        QTest::newRow("a word of the subject") << false << false << u"tide"_s << u"d b a"_s;
        QTest::newRow("a name") << false << false << u"ZOE"_s << u"a"_s;
        QTest::newRow("an address") << false << false << u"b@example"_s << u"c"_s;
        QTest::newRow("all words, each anywhere") << false << false << u" ada  ti "_s << u"b"_s;
        QTest::newRow("accents on one side only") << false << false << u"ánchörs"_s << u"e"_s;
        QTest::newRow("a mark and a word") << true << false << u"carl"_s << u"d"_s;
        QTest::newRow("blanks narrow nothing") << false << false << u"  "_s << u"d b e c a"_s;
    }

    void filters()
    {
        QFETCH(bool, unread);
        QFETCH(bool, flagged);
        QFETCH(QString, text);
        Box box;
        addAll(box);
        MessageListModel model;
        const QAbstractItemModelTester tester(&model);
        model.setGroup(&box.inbox(), kFlat);
        model.setFilter({unread, flagged, false, text});
        QTRY_VERIFY(!model.isFiltering());
        QTEST(subjects(model), "shown");
        QCOMPARE(model.shownCount(), model.rowCount());
        QCOMPARE(model.totalCount(), 5);
        model.setFilter({});
        QCOMPARE(model.rowCount(), 5);
    }

    void aFilterFollowsWhatHappens()
    {
        Box box;
        const Articles articles = addAll(box);
        MessageListModel model;
        model.setGroup(&box.inbox(), kFlat);
        model.setFilter({true, false, false, u"tide"_s});
        box.add({"f", "Tide gauge", "Dora <d@example.org>", 50, "", Marks()});
        box.add({"g", "Harbour", "Dora <d@example.org>", 55, "", Marks()});
        model.settle();
        QCOMPARE(subjects(model), u"f d b"_s);
        box.inbox().setMarks({articles[1]}, Mark::Read, {});
        model.settle();
        QCOMPARE(subjects(model), u"f d"_s);
        box.inbox().setMarks({articles[0]}, {}, Mark::Read);
        model.settle();
        QCOMPARE(subjects(model), u"f d a"_s);
    }

    void wordsThatGrowAndShrinkFindTheSame()
    {
        Box box;
        addAll(box);
        MessageListModel model;
        model.setGroup(&box.inbox(), kFlat);
        for (const auto &[text, shown] : {std::pair(u"a"_s, u"d b e c a"_s), std::pair(u"an"_s, u"e"_s),
                                          std::pair(u"a"_s, u"d b e c a"_s), std::pair(u"ad"_s, u"b e"_s)}) {
            model.setFilter({false, false, false, text});
            QTRY_VERIFY(!model.isFiltering());
            QCOMPARE(subjects(model), shown);
        }
    }

    /// What the reader looks at stays until they go on.
    void theCurrentMessageStaysUnderAFilter()
    {
        const ClockOverride clock([] { return kNoon * 1000; });
        Box box;
        const Articles articles = addAll(box);
        MessageList list;
        list.setGroup(&box.inbox(), flatView());
        QVERIFY(list.setCurrent(box.ref(articles[1])));
        QSignalSpy currentChanged(&list, &MessageList::currentChangedTo);
        list.messages().setFilter({true, false, false, {}});
        box.inbox().setMarks({articles[1]}, Mark::Read, {});
        list.messages().settle();
        QCOMPARE(subjects(list.messages()), u"[Today] d b e"_s);
        QCOMPARE(list.current(), box.ref(articles[1]));
        QCOMPARE(currentChanged.count(), 0);
        QVERIFY(list.step(MessageList::Step::Previous));
        QTRY_COMPARE(list.messages().shownCount(), 2);
        QCOMPARE(list.current(), box.ref(articles[3]));
    }

    /// Answers stand below what they answer when that passes too; nothing that passes is folded away.
    void threadsUnderAFilter()
    {
        Box box;
        addAll(box);
        MessageListModel model;
        model.setGroup(&box.inbox(), kPlain);
        model.setFilter({true, false, false, {}});
        QCOMPARE(subjects(model), u"b >d e"_s);
        QVERIFY(!model.hasAnswers(0));
        model.setFilter({});
        QCOMPARE(subjects(model), u"a e c"_s);
    }

    void theBarAndTheListAgree()
    {
        Box box;
        addAll(box);
        MessageList list;
        QuickFilterBar bar(list);
        list.setGroup(&box.inbox(), flatView());
        bar.resize(bar.sizeHint());
        bar.show();
        auto *field = bar.findChild<QLineEdit *>(u"quickFilterField"_s);
        QTest::keyClicks(field, u"tide"_s);
        QCOMPARE(list.messages().shownCount(), 3);
        QCOMPARE(bar.words(), u"3 of 5 shown"_s);
        QTest::keyClick(field, Qt::Key_Escape);
        QVERIFY(field->text().isEmpty() && list.messages().filter().isEmpty());
        list.messages().setFilter({true, false, false, u"x"_s});
        QCOMPARE(field->text(), u"x"_s);
        list.setGroup(&box.inbox(), flatView());
        QVERIFY(field->text().isEmpty() && bar.words().isEmpty());
    }

    void headingsDivideByDate_data()
    {
        QTest::addColumn<qint64>("ago"); // days
        QTest::addColumn<QString>("text");
        QTest::newRow("in the future") << qint64(-3) << u"Later"_s;
        QTest::newRow("today") << qint64(0) << u"Today"_s;
        QTest::newRow("yesterday") << qint64(1) << u"Yesterday"_s;
        QTest::newRow("a weekday") << qint64(6) << u"Saturday"_s;
        QTest::newRow("a week ago") << qint64(7) << u"Earlier this month"_s;
        QTest::newRow("last month") << qint64(20) << u"October"_s;
        QTest::newRow("the first of January") << qint64(323) << u"January"_s;
        QTest::newRow("last year") << qint64(324) << u"2025"_s;
        QTest::newRow("no date at all") << kNoon / 86400 << u"Older"_s;
    }

    void headingsDivideByDate()
    {
        QFETCH(qint64, ago);
        const DateHeadings headings(QDateTime::fromSecsSinceEpoch(kNoon));
        QTEST(headings.text(headings.spanOf(kNoon - ago * 86400)), "text");
    }

    /// At the beginning of a month the last week reaches into the one before.
    void noSpanOverlapsAnother()
    {
        const DateHeadings headings(QDateTime(QDate(2026, 3, 3), QTime(12, 0)));
        const auto textOf = [&headings](const QDate &day) {
            return headings.text(headings.spanOf(day.startOfDay().toSecsSinceEpoch()));
        };
        QCOMPARE(textOf({2026, 3, 1}), u"Sunday"_s);
        QCOMPARE(textOf({2026, 2, 25}), u"Wednesday"_s);
        QCOMPARE(textOf({2026, 2, 24}), u"February"_s);
    }

    void headingsAreNoMessages()
    {
        const ClockOverride clock([] { return kNoon * 1000; });
        Box box;
        const Articles articles = addAll(box);
        MessageList list;
        list.setGroup(&box.inbox(), flatView());
        list.show();
        const MessageListModel &model = list.messages();
        QCOMPARE(subjects(model), u"[Today] d b e c a"_s);
        list.selectAll();
        QCOMPARE(list.selectedCount(), 5);
        QCOMPARE(list.selected().size(), 5U);
        QVERIFY(list.setCurrent(box.ref(articles[3])));
        QTest::keyClick(&list, Qt::Key_Up);
        QCOMPARE(list.current(), box.ref(articles[3]));
        QTest::keyClick(&list, Qt::Key_End);
        QCOMPARE(list.current(), box.ref(articles[0]));
        QTest::keyClick(&list, Qt::Key_Home);
        QCOMPARE(list.current(), box.ref(articles[3]));
        QCOMPARE(model.index(0, 0).data(Qt::AccessibleTextRole).toString(), u"Today, 5 messages"_s);
        const QPoint heading = list.visualRect(model.index(0, 2)).center();
        QTest::mouseClick(list.viewport(), Qt::RightButton, {}, heading);
        QCOMPARE(list.currentIndex().row(), 1);
        QCOMPARE(list.selectedCount(), 1);
    }

    void aFoldedHeadingHidesAndComesBack()
    {
        const ClockOverride clock([] { return kNoon * 1000; });
        Box box;
        const Articles articles = addAll(box);
        MessageList list;
        list.setGroup(&box.inbox(), flatView());
        list.show();
        QVERIFY(list.setCurrent(box.ref(articles[4])));
        QSignalSpy currentChanged(&list, &MessageList::currentChangedTo);
        QTest::keyClick(&list, Qt::Key_Left);
        QCOMPARE(subjects(list.messages()), u"[Today]"_s);
        QCOMPARE(list.current(), box.ref(articles[4]));
        box.add({"f", "New", "Dora <d@example.org>", 50});
        list.messages().settle();
        QCOMPARE(subjects(list.messages()), u"[Today]"_s);
        QTest::keyClick(&list, Qt::Key_Right);
        QCOMPARE(subjects(list.messages()), u"[Today] f d b e c a"_s);
        QCOMPARE(list.selected(), (MessageRefs{box.ref(articles[4])}));
        QCOMPARE(currentChanged.count(), 0);
        QTest::mouseClick(list.viewport(), Qt::LeftButton, {},
                          list.visualRect(list.messages().index(0, 2)).center());
        QCOMPARE(list.messages().rowCount(), 1);
        QVERIFY(list.step(MessageList::Step::NextUnread));
        QCOMPARE(list.current(), box.ref(articles[3]));
    }

    void headingsChangeAtMidnight()
    {
        Box box;
        addAll(box);
        qint64 now = kNoon;
        const ClockOverride clock([&now] { return now * 1000; });
        MessageListModel model;
        model.setGroup(&box.inbox(), flatView().sort);
        model.setFolded(0, true);
        QVERIFY(!model.checkDay());
        now += 86400;
        QVERIFY(model.checkDay());
        QCOMPARE(subjects(model), u"[Yesterday]"_s); // still folded
    }

    void flaggedOnesStandAboveTheOthers()
    {
        const ClockOverride clock([] { return kNoon * 1000; });
        Box box;
        setBoolSetting(Setting::PromoteFlagged, true);
        const Articles articles = addAll(box);
        MessageListModel model;
        model.setGroup(&box.inbox(), flatView().sort);
        QCOMPARE(subjects(model), u"[Flagged] e [Today] d b c a"_s);
        box.inbox().setMarks({articles[0]}, Mark::Flagged, {}); // it stays under the reader's eyes
        box.add({"f", "New", "Dora <d@example.org>", 50});
        model.settle();
        QCOMPARE(subjects(model), u"[Flagged] e [Today] f d b c a"_s);
        model.sort(int(MessageColumn::Size), Qt::AscendingOrder);
        QVERIFY(subjects(model).startsWith(u"[Flagged] "_s) && subjects(model).contains(u"[Not flagged]"_s));
        QCOMPARE(subjects(model).count(u'['), 2);
    }

    void columnsKeepTheOrderTheyWereGiven()
    {
        Box box;
        MessageList list;
        list.setGroup(&box.inbox(), {});
        list.header()->moveSection(list.header()->visualIndex(int(MessageColumn::Date)), 0);
        const GroupView view = list.view();
        QCOMPARE(view.order[0], int(MessageColumn::Date));
        list.resetColumns();
        QCOMPARE(list.header()->logicalIndex(0), int(MessageColumn::State));
        list.setGroup(&box.inbox(), view);
        QCOMPARE(list.header()->logicalIndex(0), int(MessageColumn::Date));
    }

    void columnsMoveWithoutAMouse()
    {
        Box box;
        MessageList list;
        list.resize(1200, 400);
        list.show();
        list.setGroup(&box.inbox(), {});
        list.showColumnsMenu();
        const auto moves = [&list](const QString &title) {
            for (const QMenu *menu : list.findChildren<QMenu *>()) {
                if (menu->title() == title)
                    return menu->actions();
            }
            return QList<QAction *>();
        };
        const QList<QAction *> before = moves(u"Move towards the beginning"_s);
        QVERIFY(before.size() > 3);
        QVERIFY(!before.first()->isEnabled());
        QVERIFY(!moves(u"Move towards the end"_s).last()->isEnabled());
        const auto lastShown = [&list] {
            int place = kMessageColumnCount - 1;
            while (list.isColumnHidden(list.header()->logicalIndex(place)))
                --place;
            return list.header()->logicalIndex(place);
        };
        const int last = lastShown();
        before.last()->trigger();
        QVERIFY(lastShown() != last);
        QCOMPARE(list.view().order[std::size_t(list.header()->visualIndex(last))], last);
    }

    void threadsSortByTheirSize()
    {
        Box box;
        addAll(box);
        MessageListModel model;
        model.setGroup(&box.inbox(), {MessageColumn::Thread, Qt::DescendingOrder, true, false});
        QCOMPARE(subjects(model), u"a e c"_s);
        model.sort(int(MessageColumn::Thread), Qt::AscendingOrder);
        QCOMPARE(subjects(model), u"e c a"_s);
        QCOMPARE(columnText(model.item(2), MessageColumn::Thread), u"3, 2 new"_s);
    }

    void aChangedSubjectBeginsAThreadWhereThatIsWanted()
    {
        Box box;
        setBoolSetting(Setting::SubjectNewThread, true);
        addAll(box);
        box.add({"f", "Lanterns", "Dora <d@example.org>", 50, "b"});
        MessageListModel model;
        model.setGroup(&box.inbox(), kPlain);
        model.setAllExpanded(true);
        QCOMPARE(subjects(model), u"f a >b >>d e c"_s);
    }

    void typingSeeks()
    {
        Box box;
        const Articles articles = addAll(box);
        MessageList list;
        list.setGroup(&box.inbox(), flatView());
        QVERIFY(list.setCurrent(box.ref(articles[3])));
        list.keyboardSearch(u"l"_s);
        list.keyboardSearch(u"a"_s);
        QTRY_COMPARE(list.current(), box.ref(articles[2]));
        list.keyboardSearch(u"zz"_s);
        QCoreApplication::processEvents();
        QCOMPARE(list.current(), box.ref(articles[2]));
    }

    /// What comes in above leaves what is in view where it is.
    void newMailAboveDoesNotMoveTheView()
    {
        Box box;
        for (int i = 0; i < 60; ++i)
            box.add({"x", "Filler", "Ada <a@example.org>", i});
        MessageList list;
        list.resize(600, 200);
        list.setGroup(&box.inbox(), flatView());
        list.show();
        list.verticalScrollBar()->setValue(list.verticalScrollBar()->maximum() / 2);
        const QPoint middle(20, 100);
        const MessageRef before = MessageListModel::refOf(list.indexAt(middle));
        const int y = list.visualRect(list.indexAt(middle)).y();
        box.add({"n", "New", "Ada <a@example.org>", 100});
        list.messages().settle();
        QCOMPARE(MessageListModel::refOf(list.indexAt(middle)), before);
        QCOMPARE(list.visualRect(list.indexAt(middle)).y(), y);
    }

    void whatIsFlaggedComesTogether()
    {
        Box box;
        const Articles articles = addAll(box);
        Group &drafts = *box.store.group(GroupRole::Drafts);
        Group &waste = *box.store.group(GroupRole::WasteBasket);
        const Articles copied = box.store.copy(box.inbox(), {articles[4], articles[0]}, drafts);
        box.store.copy(box.inbox(), {articles[4]}, waste);
        drafts.setMarks({copied[0]}, Mark::Flagged, {});
        MessageList list;
        list.setSource(std::make_unique<FlaggedRows>(box.store), flatView());
        QTRY_COMPARE(list.messages().totalCount(), 2);
        QVERIFY(!list.messages().group());
        drafts.setMarks({copied[1]}, Mark::Flagged, {});
        list.messages().settle();
        QCOMPARE(list.messages().totalCount(), 3);
        // One that is current stays until the reader goes on.
        const MessageRef current{drafts.number(), copied[1]};
        QVERIFY(list.setCurrent(current));
        drafts.setMarks({copied[1]}, {}, Mark::Flagged);
        list.messages().settle();
        QCOMPARE(list.current(), current);
        QVERIFY(list.setCurrent(box.ref(articles[4])));
        QTRY_COMPARE(list.messages().totalCount(), 2);
        QVERIFY(box.inbox().remove({articles[4]}));
        list.messages().settle();
        QCOMPARE(list.messages().totalCount(), 1);
        QCOMPARE(list.current(), (MessageRef{drafts.number(), copied[0]}));
    }
};

QTEST_MAIN(ListFilterTest)
#include "listfilter_test.moc"
