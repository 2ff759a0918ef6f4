#include "support/grouptrees.h"

#include <QAbstractItemModelTester>
#include <QElapsedTimer>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

class GroupTreeTest : public QObject
{
    Q_OBJECT

private slots:
    void beginsWithTheRoles()
    {
        Groups groups;
        groups.add(groups.role(GroupRole::Inbox), Mark::Flagged);
        const auto tree = groups.open();
        const QAbstractItemModelTester tester(tree->model());
        QStringList rows;
        list(*tree->model(), {}, {}, rows);
        QCOMPARE(rows, (QStringList{u"All accounts"_s, u".Inbox"_s, u".Flagged"_s, u".Drafts"_s, u".Outbox"_s,
                                    u".Sent mail"_s, u".Junk"_s, u".Waste basket"_s}));
        groups.add(groups.role(GroupRole::SentNews), Mark::Read);
        QCOMPARE(tree->model()->index(5, 0, tree->model()->index(0, 0)).data().toString(), u"Sent news"_s);
    }

    void ordersByName()
    {
        Groups groups;
        setBoolSetting(Setting::HideReadGroups, false);
        for (const char *path : {"beta", "Alpha/Zoo", "Alpha/ärger", "Alpha", "10 ships", "9 boats"})
            groups.make(QString::fromUtf8(path));
        groups.make(u"comp.lang.c++"_s, GroupKind::Newsgroup);
        const auto tree = groups.open();
        const QAbstractItemModelTester tester(tree->model());
        QCOMPARE(rowsOf(*tree),
                 (QStringList{u"Mail"_s, u".9 boats"_s, u".10 ships"_s, u".Alpha"_s, u"..ärger"_s, u"..Zoo"_s,
                              u".beta"_s, u"News"_s, u".comp.lang.c++"_s}));
        groups.make(u"Alpha/middle"_s);
        QCOMPARE(rowsOf(*tree)[5], u"..middle"_s);
        QVERIFY(groups.store.rename(*groups.store.find(u"9 boats"_s), u"Zebra"_s));
        QCOMPARE(rowsOf(*tree)[7], u".Zebra"_s);
    }

    void fullNamesAreNotNested()
    {
        Groups groups;
        setBoolSetting(Setting::HideReadGroups, false);
        for (const char *path : {"Home 2", "Home/Sailing club", "Home/Bills"})
            groups.make(QString::fromUtf8(path));
        const auto tree = groups.open();
        tree->setCurrent(groups.store.find(u"Home/Bills"_s)->number());
        tree->setFullNames(true);
        const QAbstractItemModelTester tester(tree->model());
        QVERIFY(boolSetting(Setting::FullFolderNames));
        QCOMPARE(rowsOf(*tree), (QStringList{u"Mail"_s, u".Home"_s, u".Home/Bills"_s, u".Home/Sailing club"_s,
                                             u".Home 2"_s}));
        QCOMPARE(tree->current(), groups.store.find(u"Home/Bills"_s));
        groups.make(u"Home/Aunts"_s);
        QCOMPARE(rowsOf(*tree)[2], u".Home/Aunts"_s);
        tree->setFullNames(false);
        QCOMPARE(rowsOf(*tree)[2], u"..Aunts"_s);
    }

    void goingElsewhereDoesNotBringBackWhatIsRemoved()
    {
        Groups groups;
        setBoolSetting(Setting::HideReadGroups, false);
        Group &folder = groups.make(u"Folder"_s);
        groups.make(u"Other"_s);
        const auto tree = groups.open();
        tree->setCurrent(folder.number());
        const int inbox = groups.role(GroupRole::Inbox).number();
        connect(tree.get(), &GroupTree::currentGroupChanged, tree.get(),
                [&tree, inbox] { tree->setCurrent(inbox); });
        QVERIFY(groups.store.remove(folder));
        groups.make(u"Later"_s);
        QCOMPARE(rowsOf(*tree), (QStringList{u"Mail"_s, u".Later"_s, u".Other"_s}));
    }

    void flaggedCountsAllButJunkAndWaste()
    {
        Groups groups;
        Group &folder = groups.make(u"Folder"_s);
        const quint32 first = groups.add(folder, Mark::Flagged);
        groups.add(groups.role(GroupRole::Inbox), Mark::Flagged);
        groups.add(groups.role(GroupRole::Junk), Mark::Flagged);
        groups.add(groups.role(GroupRole::WasteBasket), Mark::Flagged);
        const auto tree = groups.open();
        const GroupTreeModel &model = tree->groups();
        const QSignalSpy counted(tree.get(), &GroupTree::flaggedCountChanged);
        const auto shown = [&model] { return model.lookOf(model.indexOf(kFlaggedList), false).count; };
        QCOMPARE(shown(), u"2"_s);
        folder.setMarks({first}, {}, Mark::Flagged);
        QCOMPARE(shown(), u"1"_s);
        groups.add(folder, Mark::Flagged);
        groups.add(folder, Mark::Flagged);
        QCOMPARE(counted.last().first().toUInt(), 3U);
        QVERIFY(groups.store.remove(folder));
        QCOMPARE(shown(), u"1"_s);
    }

    void countsSpeakForWhatIsFolded()
    {
        Groups groups;
        setBoolSetting(Setting::HideReadGroups, false);
        Group &home = groups.make(u"Home"_s);
        Group &deep = groups.make(u"Home/Club/Races"_s);
        groups.add(deep);
        groups.add(deep);
        const quint32 own = groups.add(home);
        const auto tree = groups.open();
        const GroupTreeModel &model = tree->groups();
        const auto look = [&](bool folded) { return model.lookOf(model.indexOf(home.number()), folded); };
        QCOMPARE(look(false).count, u"1"_s);
        QCOMPARE(look(true).count, u"3"_s);
        home.setMarks({own}, Mark::Read, {});
        QVERIFY(look(false).count.isEmpty());
        QVERIFY(!look(false).isBold);
        QVERIFY(look(true).isBold);
        QCOMPARE(look(true).count, u"2"_s);
        home.remove({own}); // now it is there for the others only
        QCOMPARE(look(false).count, u"2"_s);
        QVERIFY(!look(false).isBold);
        const QModelIndex mail = model.indexOf(kMail);
        QCOMPARE(model.lookOf(mail, true).count, u"2"_s);
        QVERIFY(model.lookOf(mail, false).count.isEmpty());
        QVERIFY(groups.store.remove(*groups.store.find(u"Home/Club"_s)));
        QVERIFY(look(true).count.isEmpty());
    }

    void countsByRole_data()
    {
        QTest::addColumn<int>("role");
        QTest::addColumn<QString>("count");
        QTest::addColumn<bool>("calls");
        const auto row = [](const char *name, GroupRole role, const QString &count, bool calls) {
            QTest::newRow(name) << int(role) << count << calls;
        };
        row("unread of the inbox", GroupRole::Inbox, u"2"_s, true);
        row("all drafts", GroupRole::Drafts, u"3"_s, false);
        row("all that waits", GroupRole::Outbox, u"3"_s, false);
        row("all junk", GroupRole::Junk, u"3"_s, false);
        row("nothing of the waste basket", GroupRole::WasteBasket, {}, false);
        row("nothing of what was sent", GroupRole::SentMail, {}, false);
    }

    void countsByRole()
    {
        QFETCH(int, role);
        Groups groups;
        Group &group = groups.role(GroupRole(role));
        groups.add(group);
        groups.add(group);
        groups.add(group, Mark::Read);
        QTEST(GroupTreeModel::countText(group), "count");
        QTEST(GroupTreeModel::countCalls(group), "calls");
    }

    void readGroupsAreHidden()
    {
        Groups groups;
        Group &inner = groups.make(u"Home/Club/Races"_s);
        groups.make(u"Home/Bills"_s);
        groups.make(u"Old"_s);
        const auto tree = groups.open();
        const QAbstractItemModelTester tester(tree->model());
        QVERIFY(rowsOf(*tree).isEmpty());
        QCOMPARE(lineOf(*tree), u"5 read groups hidden"_s);

        const quint32 unread = groups.add(inner);
        QCOMPARE(rowsOf(*tree),
                 (QStringList{u"Mail"_s, u".Home"_s, u"..Club"_s, u"...Races"_s, u"2 read groups hidden"_s}));
        QVERIFY(tree->isExpanded(tree->groups().indexOf(inner.number()).parent()));

        tree->setCurrent(inner.number());
        inner.setMarks({unread}, Mark::Read, {});
        tree->setCurrent(groups.role(GroupRole::Drafts).number());
        QVERIFY(rowsOf(*tree).contains(u"...Races"_s)); // a moment longer
        QTRY_VERIFY(rowsOf(*tree).isEmpty());
        QCOMPARE(lineOf(*tree), u"5 read groups hidden"_s);
    }

    void aNewGroupStays()
    {
        Groups groups;
        groups.make(u"Old"_s);
        const auto tree = groups.open();
        groups.make(u"New"_s);
        QCOMPARE(rowsOf(*tree), (QStringList{u"Mail"_s, u".New"_s, u"1 read group hidden"_s}));
        QVERIFY(groups.store.remove(*groups.store.find(u"New"_s)));
        QVERIFY(rowsOf(*tree).isEmpty());
    }

    void whatFailsIsShown()
    {
        Groups groups;
        Group &list = groups.make(u"comp.lang.c++"_s, GroupKind::Newsgroup);
        const auto tree = groups.open();
        const GroupTreeModel &model = tree->groups();
        QVERIFY(!model.indexOf(list.number()).isValid());
        tree->setFailing(list.number(), u"The server said <b>no</b>"_s);
        const QModelIndex index = model.indexOf(list.number());
        QVERIFY(model.lookOf(index, false).hasFailed);
        QVERIFY(index.data(Qt::ToolTipRole).toString().contains(u"&lt;b&gt;no"_s));
        QVERIFY(index.data(Qt::AccessibleTextRole).toString().contains(u"The server said"_s));
        tree->setFailing(list.number(), {});
        QTRY_VERIFY(!model.indexOf(list.number()).isValid());
    }

    void nextUnreadGoesDownTheTree()
    {
        Groups groups;
        Group &inbox = groups.role(GroupRole::Inbox);
        Group &zoo = groups.make(u"Zoo"_s);
        Group &deep = groups.make(u"Alpha/Deep"_s);
        Group &news = groups.make(u"comp.lang.c++"_s, GroupKind::Newsgroup);
        for (Group *group : {&inbox, &zoo, &deep, &news, &groups.role(GroupRole::Junk),
                             &groups.role(GroupRole::Drafts), &groups.role(GroupRole::WasteBasket)})
            groups.add(*group);
        const auto tree = groups.open();
        QCOMPARE(tree->nextUnread(nullptr), &inbox);
        QCOMPARE(tree->nextUnread(&inbox), &deep);
        QCOMPARE(tree->nextUnread(&deep), &zoo);
        QCOMPARE(tree->nextUnread(&zoo), &news);
        QCOMPARE(tree->nextUnread(&news), &inbox);
        for (Group *group : {&zoo, &deep, &news})
            group->setMarks({1}, Mark::Read, {});
        QCOMPARE(tree->nextUnread(&inbox), &inbox);
        inbox.setMarks({1}, Mark::Read, {});
        QVERIFY(!tree->nextUnread(&inbox));
    }

    void opensAGroupAtTheStart_data()
    {
        QTest::addColumn<bool>("inbox");
        QTest::addColumn<QString>("chosen");
        QTest::addColumn<QString>("last");
        QTest::addColumn<QString>("opens");
        QTest::newRow("the inbox") << true << QString() << u"Last"_s << u"Inbox"_s;
        QTest::newRow("the last one") << false << QString() << u"Last"_s << u"Last"_s;
        QTest::newRow("the last one has gone") << false << QString() << QString() << u"Inbox"_s;
        QTest::newRow("the chosen one") << true << u"Chosen"_s << u"Last"_s << u"Chosen"_s;
    }

    void opensAGroupAtTheStart()
    {
        QFETCH(bool, inbox);
        QFETCH(QString, chosen);
        QFETCH(QString, last);
        QFETCH(QString, opens);
        Groups groups;
        groups.make(u"Chosen"_s);
        groups.make(u"Last"_s);
        const auto numberOf = [&groups](const QString &name) {
            const Group *group = name.isEmpty() ? nullptr : groups.store.find(name);
            return group ? group->number() : 0;
        };
        setBoolSetting(Setting::AutoDisplayInbox, inbox);
        setIntSetting(Setting::AutoOpenGroup, numberOf(chosen));
        QCOMPARE(GroupTree::groupAtStart(groups.store, numberOf(last)), numberOf(opens));
        setIntSetting(Setting::AutoOpenGroup, 4711);
        QVERIFY(GroupTree::groupAtStart(groups.store, 4712) == numberOf(u"Inbox"_s));
    }

    void rowsSpeak()
    {
        Groups groups;
        Group &inbox = groups.role(GroupRole::Inbox);
        groups.add(inbox);
        groups.add(inbox, Mark::Read);
        const auto tree = groups.open();
        const QModelIndex index = tree->groups().indexOf(inbox.number());
        QCOMPARE(index.data(Qt::AccessibleTextRole).toString(), u"Inbox, 1 unread, 2 messages"_s);
    }

    void manyGroupsAreQuick()
    {
        constexpr int kMany = 5000;
        Groups groups;
        setBoolSetting(Setting::HideReadGroups, false);
        const auto tree = groups.open();
        for (int i = 0; i < 20; ++i)
            groups.make(u"alt.test.%1"_s.arg(i), GroupKind::Newsgroup);
        const QSignalSpy resets(tree->model(), &QAbstractItemModel::modelReset);
        QElapsedTimer timer;
        timer.start();
        for (int i = 20; i < kMany; ++i)
            groups.make(u"alt.test.%1"_s.arg(i), GroupKind::Newsgroup);
        for (int i = 0; i < kMany; i += 50)
            groups.add(*groups.store.find(u"alt.test.%1"_s.arg(i)));
        tree->setHidesRead(true);
        QTest::keyClicks(tree.get(), u"4990"_s);
        QCOMPARE(tree->current()->name(), u"alt.test.4990"_s);
        qInfo("%d groups in %lld ms", kMany, timer.elapsed());
        QCOMPARE(resets.count(), 1);                                             // of setHidesRead()
        QCOMPARE(tree->model()->rowCount(tree->groups().indexOf(kNews)), kMany); // made in this run
    }
};

QTEST_MAIN(GroupTreeTest)
#include "grouptree_test.moc"
