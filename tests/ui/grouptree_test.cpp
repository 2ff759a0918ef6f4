#include "message/message.h"
#include "store/groupstore.h"
#include "support/mail.h"
#include "support/scratch.h"
#include "ui/list/messagelistmodel.h"
#include "ui/tree/groupdrag.h"
#include "ui/tree/groupmatch.h"
#include "ui/tree/grouptree.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QContextMenuEvent>
#include <QDragMoveEvent>
#include <QMimeData>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kNoon = 1795176000; ///< Fri, 20 Nov 2026 12:00:00 UTC

/// A store and what fills it.
class Groups
{
public:
    Groups()
    {
        if (!store.load())
            qFatal("the store of the test cannot be loaded");
    }

    Group &role(GroupRole role) { return *store.group(role); }

    Group &make(const QString &path, GroupKind kind = GroupKind::Folder)
    {
        Group *made = store.make(path, kind);
        if (!made)
            qFatal("%s cannot be made", qPrintable(path));
        return *made;
    }

    quint32 add(Group &group, Marks marks = {})
    {
        const QByteArray id = QByteArray::number(++m_last);
        return store.add(group, Message(mailText(id, "Subject " + id)), marks, 0, kNoon);
    }

    /// As after a start: nothing of this was made in the run of the program.
    std::unique_ptr<GroupTree> open()
    {
        auto tree = std::make_unique<GroupTree>(store);
        tree->resize(236, 700);
        tree->show();
        tree->setFocus();
        if (!QTest::qWaitForWindowActive(tree.get()))
            qFatal("the tree cannot be shown");
        return tree;
    }

    Scratch scratch;
    GroupStore store;

private:
    int m_last = 0;
};

void list(const QAbstractItemModel &model, const QModelIndex &parent, const QString &indent,
          QStringList &rows)
{
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        rows.append(indent + index.data().toString());
        list(model, index, indent + u'.', rows);
    }
}

/// Every row that is shown, a point for each level, without those that are always there.
QStringList rowsOf(GroupTree &tree)
{
    QStringList rows;
    list(*tree.model(), {}, {}, rows);
    const qsizetype mail = rows.indexOf(u"Mail"_s);
    return mail < 0 ? QStringList() : rows.sliced(mail);
}

QString lineOf(GroupTree &tree)
{
    const GroupTreeModel &model = tree.groups();
    return model.indexOf(kHiddenLine).data().toString();
}

QPoint placeOf(GroupTree &tree, int number)
{
    return tree.visualRect(tree.groups().indexOf(number)).center();
}

void click(GroupTree &tree, int number, Qt::MouseButton button = Qt::LeftButton)
{
    QTest::mouseClick(tree.viewport(), button, {}, placeOf(tree, number));
}

std::unique_ptr<QMimeData> filesAt(const QString &path)
{
    auto mime = std::make_unique<QMimeData>();
    mime->setUrls({QUrl::fromLocalFile(path)});
    return mime;
}

} // namespace

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

    void theLineShowsWhatIsHidden()
    {
        Groups groups;
        groups.make(u"Old"_s);
        const auto tree = groups.open();
        click(*tree, kHiddenLine);
        QCOMPARE(rowsOf(*tree), (QStringList{u"Mail"_s, u".Old"_s, u"Hide 1 read group"_s}));
        QVERIFY(boolSetting(Setting::HideReadGroups));
        tree->setCurrentIndex(tree->groups().indexOf(kHiddenLine));
        QTest::keyClick(tree.get(), Qt::Key_Return);
        QVERIFY(rowsOf(*tree).isEmpty());
        tree->setHidesRead(false);
        QVERIFY(!boolSetting(Setting::HideReadGroups));
        QCOMPARE(rowsOf(*tree), (QStringList{u"Mail"_s, u".Old"_s}));
    }

    void currentSurvivesChanges()
    {
        Groups groups;
        Group &folder = groups.make(u"Folder"_s);
        Group &other = groups.make(u"Other"_s);
        groups.add(other);
        const auto tree = groups.open();
        QSignalSpy changed(tree.get(), &GroupTree::currentGroupChanged);
        const QSignalSpy flagged(tree.get(), &GroupTree::flaggedChosen);
        tree->setCurrent(folder.number()); // read, and so hidden until now
        QCOMPARE(tree->current(), &folder);
        QCOMPARE(tree->currentIndex().data().toString(), u"Folder"_s);
        QVERIFY(groups.store.rename(folder, u"Zzz"_s));
        QVERIFY(groups.store.reparent(folder, other.number()));
        QCOMPARE(tree->current(), &folder);
        QCOMPARE(tree->currentIndex().data().toString(), u"Zzz"_s);
        QCOMPARE(changed.count(), 1);
        QVERIFY(groups.store.remove(folder));
        QCOMPARE(changed.count(), 2);
        QVERIFY(!changed.last().first().value<Group *>());
        QVERIFY(!tree->current());
        tree->setCurrent(kFlaggedList);
        QCOMPARE(tree->currentNumber(), kFlaggedList);
        QCOMPARE(flagged.count(), 1);
        QCOMPARE(changed.count(), 2);
    }

    void foldsByMouseAndKeysAndRemembers()
    {
        Groups groups;
        setBoolSetting(Setting::HideReadGroups, false);
        Group &home = groups.make(u"Home"_s);
        Group &club = groups.make(u"Home/Club"_s);
        const auto tree = groups.open();
        const QSignalSpy changed(tree.get(), &GroupTree::collapsedChanged);
        tree->setCurrent(home.number());
        QTest::keyClick(tree.get(), Qt::Key_Left);
        QCOMPARE(tree->collapsed(), QList<int>{home.number()});
        QTest::keyClick(tree.get(), Qt::Key_Right);
        QVERIFY(tree->collapsed().isEmpty());
        click(*tree, kMail);
        QCOMPARE(tree->collapsed(), QList<int>{kMail});
        QCOMPARE(tree->current(), &home);
        tree->setCurrentIndex(tree->groups().indexOf(kMail));
        QCOMPARE(tree->current(), &home); // a heading is never chosen
        QTest::keyClick(tree.get(), Qt::Key_Space);
        QVERIFY(tree->collapsed().isEmpty());
        QCOMPARE(changed.count(), 4);
        tree->setCollapsed({home.number()});
        QVERIFY(groups.store.rename(club, u"Sailing club"_s));
        QVERIFY(!tree->isExpanded(tree->groups().indexOf(home.number())));
        tree->setCurrent(club.number()); // opens what is above
        QVERIFY(tree->isExpanded(tree->groups().indexOf(home.number())));
    }

    void typingSeeks_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("found");
        QTest::newRow("start of a name") << u"sai"_s << u"Home/Sailing club"_s;
        QTest::newRow("start of a word") << u"club"_s << u"Home/Sailing club"_s;
        QTest::newRow("within a word") << u"ills"_s << u"Home/Bills"_s;
        QTest::newRow("with a blank") << u"ling c"_s << u"Home/Sailing club"_s;
        QTest::newRow("a visible one first") << u"b"_s << u"Home/Bills"_s;
        QTest::newRow("a hidden one when there is no other") << u"bo"_s << u"Boats"_s;
        QTest::newRow("digits") << u"20"_s << u"Almanac 2026"_s;
        QTest::newRow("the same letter again") << u"aaa"_s << u"Austria"_s;
        QTest::newRow("nothing like that") << u"qqw"_s << u"Inbox"_s;
    }

    void typingSeeks()
    {
        QFETCH(QString, typed);
        QFETCH(QString, found);
        Groups groups;
        for (const char *path : {"Home/Bills", "Home/Sailing club", "Almanac 2026", "Archives", "Austria"})
            groups.add(groups.make(QString::fromUtf8(path)));
        groups.make(u"Boats"_s);
        const auto tree = groups.open();
        tree->setCurrent(groups.role(GroupRole::Inbox).number());
        QTest::keyClicks(tree.get(), typed);
        QVERIFY(tree->current());
        QCOMPARE(groups.store.pathOf(*tree->current()), found);
        QTest::keyClick(tree.get(), Qt::Key_Escape);
        QTest::keyClicks(tree.get(), u"inb"_s); // begins anew
        QCOMPARE(tree->current(), &groups.role(GroupRole::Inbox));
    }

    void keysBelongToTheTree_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("taken");
        const auto row = [](const char *name, int key, const char *text, bool taken) {
            QTest::newRow(name) << key << QString::fromLatin1(text) << taken;
        };
        row("letter", Qt::Key_N, "n", true);
        row("digit", Qt::Key_1, "1", true);
        row("Del", Qt::Key_Delete, "", true);
        row("Enter", Qt::Key_Return, "\r", true);
        row("arrow", Qt::Key_Down, "", true);
        row("Space reads on", Qt::Key_Space, " ", false);
        row("key help", Qt::Key_Question, "?", false);
        row("quick filter", Qt::Key_Slash, "/", false);
        row("function key", Qt::Key_F2, "", false);
    }

    void keysBelongToTheTree()
    {
        QFETCH(int, key);
        QFETCH(QString, text);
        Groups groups;
        const auto tree = groups.open();
        tree->setCurrent(groups.role(GroupRole::Inbox).number());
        QKeyEvent asked(QEvent::ShortcutOverride, key, Qt::NoModifier, text);
        asked.ignore();
        QApplication::sendEvent(tree.get(), &asked);
        QTEST(asked.isAccepted(), "taken");
        QKeyEvent withCtrl(QEvent::ShortcutOverride, key, Qt::ControlModifier, text);
        withCtrl.ignore();
        QApplication::sendEvent(tree.get(), &withCtrl);
        QCOMPARE(withCtrl.isAccepted(), key == Qt::Key_Return);
    }

    void keysAsk()
    {
        Groups groups;
        Group &folder = groups.make(u"Folder"_s);
        const auto tree = groups.open();
        tree->setCurrent(folder.number());
        const QSignalSpy list(tree.get(), &GroupTree::listWanted);
        const QSignalSpy tab(tree.get(), &GroupTree::newTabWanted);
        const QSignalSpy removal(tree.get(), &GroupTree::removeWanted);
        const QSignalSpy menu(tree.get(), &GroupTree::menuWanted);
        QTest::keyClick(tree.get(), Qt::Key_Return);
        QCOMPARE(list.count(), 1);
        QTest::keyClick(tree.get(), Qt::Key_Return, Qt::ControlModifier);
        QCOMPARE(tab.first().first().toInt(), folder.number());
        QTest::keyClick(tree.get(), Qt::Key_Delete);
        QCOMPARE(removal.first().first().value<Group *>(), &folder);
        QContextMenuEvent byKey(QContextMenuEvent::Keyboard, {1, 1}, {});
        QApplication::sendEvent(tree->viewport(), &byKey);
        QCOMPARE(menu.first().first().value<Group *>(), &folder);
        const QRect row = tree->visualRect(tree->currentIndex());
        QVERIFY(row.contains(tree->viewport()->mapFromGlobal(menu.first().last().toPoint())));
        QTest::keyClick(tree.get(), Qt::Key_Home);
        QCOMPARE(tree->current(), &groups.role(GroupRole::Inbox));
        QTest::keyClick(tree.get(), Qt::Key_Down);
        QCOMPARE(tree->currentNumber(), kFlaggedList);
    }

    void otherButtonsLeaveTheGroupAlone()
    {
        Groups groups;
        Group &inbox = groups.role(GroupRole::Inbox);
        Group &drafts = groups.role(GroupRole::Drafts);
        const auto tree = groups.open();
        tree->setCurrent(inbox.number());
        const QSignalSpy tab(tree.get(), &GroupTree::newTabWanted);
        click(*tree, drafts.number(), Qt::RightButton);
        click(*tree, drafts.number(), Qt::MiddleButton);
        QCOMPARE(tree->current(), &inbox);
        QCOMPARE(tab.count(), 1);
        click(*tree, drafts.number());
        QCOMPARE(tree->current(), &drafts);
    }

    void groupsGoWhereTheyMay_data()
    {
        QTest::addColumn<QString>("moved");
        QTest::addColumn<QString>("target");
        QTest::addColumn<bool>("goes");
        QTest::newRow("into another") << u"Other"_s << u"Home"_s << true;
        QTest::newRow("up") << u"Home/Club/Races"_s << u"Home"_s << true;
        QTest::newRow("to the top") << u"Home/Club/Races"_s << QString() << true;
        QTest::newRow("into itself") << u"Home"_s << u"Home"_s << false;
        QTest::newRow("below itself") << u"Home"_s << u"Home/Club/Races"_s << false;
        QTest::newRow("where it is") << u"Home/Club"_s << u"Home"_s << false;
        QTest::newRow("at the top already") << u"Home"_s << QString() << false;
        QTest::newRow("beside a namesake") << u"Club"_s << u"Home"_s << false;
        QTest::newRow("into a role") << u"Other"_s << u"Inbox"_s << false;
        QTest::newRow("into a newsgroup") << u"Other"_s << u"comp.lang.c++"_s << false;
        QTest::newRow("a role") << u"Drafts"_s << u"Home"_s << false;
    }

    void groupsGoWhereTheyMay()
    {
        QFETCH(QString, moved);
        QFETCH(QString, target);
        QFETCH(bool, goes);
        Groups groups;
        for (const char *path : {"Home/Club/Races", "Other", "Club"})
            groups.add(groups.make(QString::fromUtf8(path)));
        groups.make(u"comp.lang.c++"_s, GroupKind::Newsgroup);
        const auto tree = groups.open();
        GroupTreeModel &model = tree->groups();
        Group *group = groups.store.find(moved);
        Group *into = target.isEmpty() ? nullptr : groups.store.find(target);
        const QSignalSpy dropped(tree.get(), &GroupTree::groupDropped);
        QCOMPARE(model.mayMove(*group, into), goes);
        const std::unique_ptr<QMimeData> mime(model.mimeData({model.indexOf(group->number())}));
        const QModelIndex place = model.indexOf(into ? into->number() : kMail);
        model.keep(into ? into->number() : 0);
        model.dropMimeData(mime.get(), Qt::MoveAction, -1, -1, place);
        QCOMPARE(dropped.count(), goes ? 1 : 0);
        if (goes)
            QVERIFY(groups.store.reparent(*group, into ? into->number() : 0));
    }

    void messagesGoIntoOtherGroups()
    {
        Groups groups;
        Group &inbox = groups.role(GroupRole::Inbox);
        Group &folder = groups.make(u"Folder"_s);
        const quint32 article = groups.add(folder);
        const auto tree = groups.open();
        GroupTreeModel &model = tree->groups();
        QMimeData mime;
        const MessageRefs messages = {{folder.number(), article}};
        mime.setData(QString::fromLatin1(kMessagesMimeType), encodeDragged(messages));
        const QSignalSpy dropped(tree.get(), &GroupTree::messagesDropped);
        for (const int no : {folder.number(), groups.role(GroupRole::Outbox).number(), kMail, kFlaggedList})
            model.dropMimeData(&mime, Qt::MoveAction, -1, -1, model.indexOf(no));
        QCOMPARE(dropped.count(), 0);
        model.dropMimeData(&mime, Qt::CopyAction, -1, -1, model.indexOf(inbox.number()));
        QCOMPARE(dropped.count(), 1);
        QCOMPARE(dropped[0][0].value<MessageRefs>(), messages);
        QCOMPARE(dropped[0][1].value<Group *>(), &inbox);
        QCOMPARE(dropped[0][2].toBool(), true);
    }

    void filesAreDroppedFromOutside()
    {
        Groups groups;
        Group &home = groups.make(u"Home"_s);
        Group &club = groups.make(u"Home/Club"_s);
        groups.add(home);
        groups.add(club);
        const auto tree = groups.open();
        tree->setCollapsed({home.number()});
        const QSignalSpy dropped(tree.get(), &GroupTree::filesDropped);
        const auto mime = filesAt(u"/tmp/mail.mbox"_s);
        const auto over = [&](int number) {
            QDragMoveEvent move(placeOf(*tree, number), Qt::CopyAction, mime.get(), Qt::LeftButton, {});
            move.ignore();
            QApplication::sendEvent(tree->viewport(), &move);
            return move.isAccepted();
        };
        QDragEnterEvent enter(placeOf(*tree, kMail), Qt::CopyAction, mime.get(), Qt::LeftButton, {});
        QApplication::sendEvent(tree->viewport(), &enter);
        QVERIFY(enter.isAccepted());
        QVERIFY(!over(kMail));
        QVERIFY(!over(groups.role(GroupRole::Outbox).number()));
        QVERIFY(over(home.number()));
        QTRY_VERIFY(tree->isExpanded(tree->groups().indexOf(home.number()))); // opens under the mouse
        QVERIFY(over(club.number()));
        QDropEvent drop(placeOf(*tree, club.number()), Qt::CopyAction, mime.get(), Qt::LeftButton, {});
        QApplication::sendEvent(tree->viewport(), &drop);
        QCOMPARE(dropped.count(), 1);
        QCOMPARE(dropped[0][0].toStringList(), QStringList{u"/tmp/mail.mbox"_s});
        QCOMPARE(dropped[0][1].value<Group *>(), &club);
    }

    void anotherProgramsNumbersMeanNothing()
    {
        Groups groups;
        Group &folder = groups.make(u"Folder"_s);
        groups.add(folder);
        const auto tree = groups.open();
        QMimeData mime;
        mime.setData(QString::fromLatin1(kMessagesMimeType), encodeDragged({{folder.number(), 1}}));
        const QSignalSpy dropped(tree.get(), &GroupTree::messagesDropped);
        const QPoint place = placeOf(*tree, groups.role(GroupRole::Inbox).number());
        QDropEvent drop(place, Qt::MoveAction, &mime, Qt::LeftButton, {});
        QApplication::sendEvent(tree->viewport(), &drop);
        QCOMPARE(dropped.count(), 0);
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

    void namesMatch_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("distance");
        QTest::newRow("start") << u"sail"_s << u"Home/Sailing club"_s << 0;
        QTest::newRow("word") << u"club"_s << u"Home/Sailing club"_s << 1;
        QTest::newRow("inside") << u"lub"_s << u"Home/Sailing club"_s << 2;
        QTest::newRow("above") << u"home"_s << u"Home/Sailing club"_s << 3;
        QTest::newRow("inside above") << u"ome"_s << u"Home/Sailing club"_s << 4;
        QTest::newRow("initials") << u"clc"_s << u"comp.lang.c++"_s << 6;
        QTest::newRow("letters in order") << u"almnc"_s << u"Almanac"_s << 10;
        QTest::newRow("accents") << u"arger"_s << u"Ärger"_s << 0;
        QTest::newRow("other letters") << u"xyz"_s << u"Home"_s << -1;
        QTest::newRow("words in any order") << u"club home"_s << u"Home/Sailing club"_s << 4;
        QTest::newRow("one word is missing") << u"club away"_s << u"Home/Sailing club"_s << -1;
    }

    void namesMatch()
    {
        QFETCH(QString, typed);
        QFETCH(QString, path);
        const QStringList words = foldedForSearch(typed).split(u' ');
        QTEST(matchDistance(words, SearchName::of(path)), "distance");
    }
};

QTEST_MAIN(GroupTreeTest)
#include "grouptree_test.moc"
