#include "support/grouptrees.h"
#include "ui/list/messagelistmodel.h"
#include "ui/tree/groupdrag.h"
#include "ui/tree/groupmatch.h"
#include "ui/tree/groupplaces.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDragMoveEvent>
#include <QMimeData>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

std::unique_ptr<QMimeData> filesAt(const QString &path)
{
    auto mime = std::make_unique<QMimeData>();
    mime->setUrls({QUrl::fromLocalFile(path)});
    return mime;
}

} // namespace

class GroupTreeUseTest : public QObject
{
    Q_OBJECT

private slots:
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

    void whatTheEyeIsOnStaysInPlace()
    {
        Groups groups;
        for (int i = 10; i < 60; ++i)
            groups.add(groups.make(u"Group %1"_s.arg(i)));
        groups.make(u"A read one"_s);
        Group &other = groups.make(u"Another read one"_s);
        const auto tree = groups.open();
        tree->setCurrent(groups.role(GroupRole::Inbox).number());
        tree->scrollToBottom();
        const QModelIndex top = tree->indexAt({100, 0});
        QVERIFY(tree->groups().groupAt(top));
        const int number = tree->groups().groupAt(top)->number();
        const int height = tree->visualRect(top).top();
        const auto isThere = [&] {
            QCoreApplication::processEvents();
            return tree->visualRect(tree->groups().indexOf(number)).top() == height;
        };
        groups.add(other); // comes in above
        QVERIFY(isThere());
        click(*tree, kHiddenLine);
        QVERIFY(tree->groups().showsAll());
        QVERIFY(isThere());
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
        QCOMPARE(GroupPlaces(groups.store, *group).take(into), goes);
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
        QTest::newRow("each word for itself") << u"press pr"_s << u"Press/Proofs"_s << 3;
        QTest::newRow("the same place twice") << u"press pr"_s << u"Press/Almanac"_s << -1;
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

QTEST_MAIN(GroupTreeUseTest)
#include "grouptreeuse_test.moc"
