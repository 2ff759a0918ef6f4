#include "windowprogram.h"

#include "config/settings.h"
#include "ui/main/grouptabs.h"
#include "ui/main/messagewindow.h"
#include "ui/main/viewers.h"
#include "ui/reader/messageview.h"
#include "ui/tree/grouptree.h"

#include <QAction>

class TabsTest : public QObject
{
    Q_OBJECT

private slots:
    void tabsAreRememberedAsText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("again");
        QTest::newRow("nothing") << QString() << QString();
        QTest::newRow("several") << u"1,*12,-1"_s << u"1,*12,-1"_s;
        QTest::newRow("none in front") << u"3,4"_s << u"*3,4"_s;
        QTest::newRow("twice, nonsense, zero, blanks") << u" 3,x,3,,0, *7 "_s << u"3,*7"_s;
        QTest::newRow("two in front: the last") << u"*3,*4"_s << u"3,*4"_s;
    }
    void tabsAreRememberedAsText()
    {
        QFETCH(QString, text);
        QFETCH(QString, again);
        QCOMPARE(TabsText::fromText(text).toText(), again);
    }

    void groupsOpenInTabsAndComeBackAtTheNextStart()
    {
        Program program;
        Group *club = program.engine.groups().make(u"Sailing club"_s);
        program.add(*club, "Crane");
        program.open();
        GroupTabs *tabs = program.tabs();
        QCOMPARE(tabs->count(), 1);
        QVERIFY(!tabs->tabsClosable());
        program.viewers()->openTab(club->number());
        QCOMPARE(tabs->count(), 2);
        QCOMPARE(tabs->tabText(1), u"Sailing club"_s);
        QCOMPARE(program.window->findChild<GroupTree *>()->current(), club);
        QVERIFY(program.window->windowTitle().startsWith(u"Sailing club"_s));
        program.viewers()->openTab(kFlaggedList);
        program.viewers()->openTab(club->number()); // open already: it comes to the front
        QCOMPARE(tabs->count(), 3);
        QCOMPARE(tabs->currentIndex(), 1);
        program.window->close();
        program.open();
        QCOMPARE(program.tabs()->count(), 3);
        QCOMPARE(program.tabs()->tabText(2), u"Flagged"_s);
    }

    void tabsCloseAndOpenAgain()
    {
        Program program;
        Group *club = program.engine.groups().make(u"Sailing club"_s);
        program.add(*club, "Crane");
        program.open();
        program.viewers()->openTab(club->number());
        program.list = &program.viewers()->current().list();
        program.list->setFocus();
        program.key(Qt::Key_W, Qt::ControlModifier);
        QCOMPARE(program.tabs()->count(), 1);
        QCOMPARE(program.viewers()->current().place(), program.inbox().number());
        QVERIFY(program.viewers()->current().list().hasFocus());
        program.key(Qt::Key_W, Qt::ControlModifier); // the last one stays
        QCOMPARE(program.tabs()->count(), 1);
        program.key(Qt::Key_T, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(program.viewers()->current().place(), club->number());
        program.key(Qt::Key_1, Qt::AltModifier);
        QCOMPARE(program.tabs()->currentIndex(), 0);
        program.key(Qt::Key_PageDown, Qt::ControlModifier);
        QCOMPARE(program.tabs()->currentIndex(), 1);
    }

    void aTabKeepsItsPlaceWhileAnotherIsRead()
    {
        Program program;
        Group *club = program.engine.groups().make(u"Sailing club"_s);
        const quint32 crane = program.add(*club, "Crane");
        program.open();
        QVERIFY(program.window->selectMessage(program.articles[1]));
        program.viewers()->openTab(club->number());
        QVERIFY(program.window->selectMessage(crane));
        QCOMPARE(program.viewers()->current().reader()->message().subject(), u"Crane"_s);
        program.tabs()->setCurrentIndex(0);
        const GroupViewer &first = program.viewers()->current();
        QCOMPARE(first.list().current(), (MessageRef{program.inbox().number(), program.articles[1]}));
        QCOMPARE(first.reader()->message().subject(), u"Second"_s);
    }

    void movedTabsStayWithTheirGroups()
    {
        Program program;
        Group *club = program.engine.groups().make(u"Sailing club"_s);
        program.open();
        program.viewers()->openTab(club->number());
        program.tabs()->moveTab(1, 0);
        QCOMPARE(program.viewers()->current().place(), club->number());
        QCOMPARE(program.viewers()->text().toText(),
                 u"*%1,%2"_s.arg(club->number()).arg(program.inbox().number()));
        program.tabs()->setCurrentIndex(1);
        QCOMPARE(program.viewers()->current().place(), program.inbox().number());
    }

    void theTabOfAGroupThatIsRemovedGoes()
    {
        Program program;
        Group *club = program.engine.groups().make(u"Sailing club"_s);
        program.open();
        program.viewers()->openTab(club->number());
        QVERIFY(program.engine.groups().remove(*club));
        QCOMPARE(program.tabs()->count(), 1);
        QCOMPARE(program.viewers()->current().place(), program.inbox().number());
        QVERIFY(!program.viewers()->canReopen());
    }

    void aMessageIsOpenedInOneWindowOrInOneOfItsOwn_data()
    {
        QTest::addColumn<bool>("separate");
        QTest::addColumn<int>("windows");
        QTest::newRow("one") << false << 1;
        QTest::newRow("each its own") << true << 2;
    }
    void aMessageIsOpenedInOneWindowOrInOneOfItsOwn()
    {
        QFETCH(bool, separate);
        QFETCH(int, windows);
        Program program;
        setBoolSetting(Setting::SeparateWindows, separate);
        program.open();
        for (const quint32 article : {program.articles[0], program.articles[1]}) {
            QVERIFY(program.window->selectMessage(article));
            program.act("message.open");
        }
        int count = 0;
        for (const QWidget *widget : QApplication::topLevelWidgets())
            count += widget->objectName() == u"messageWindow" && widget->isVisible() ? 1 : 0;
        QCOMPARE(count, windows);
    }

    void deedsInAMessagesOwnWindow()
    {
        Program program;
        program.open();
        QVERIFY(program.window->selectMessage(program.articles[2]));
        program.act("message.open");
        QPointer<MessageWindow> window;
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            if (auto *found = qobject_cast<MessageWindow *>(widget); found && found->isVisible())
                window = found;
        }
        QVERIFY(window);
        window->activateWindow();
        QTRY_VERIFY(window->isActiveWindow());
        const auto subject = [&window] { return window->findChild<MessageView *>()->message().subject(); };
        program.key(Qt::Key_F);
        QCOMPARE(subject(), u"Second"_s);
        program.key(Qt::Key_S);
        QVERIFY(program.has(program.articles[1], Mark::Flagged));
        program.key(Qt::Key_Delete);
        QCOMPARE(program.inbox().counts().total, 2U);
        QCOMPARE(subject(), u"First"_s);
        program.key(Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(program.inbox().counts().total, 3U);
        program.key(Qt::Key_Delete);
        program.key(Qt::Key_Delete);
        program.key(Qt::Key_Delete);
        QCOMPARE(program.inbox().counts().total, 0U);
        QTRY_VERIFY(!window || !window->isVisible());
    }

    void closeAtGroupEndClosesTheTab()
    {
        Program program;
        setBoolSetting(Setting::CloseAtGroupEnd, true);
        Group *club = program.engine.groups().make(u"Sailing club"_s);
        program.add(*club, "Crane");
        program.open();
        program.viewers()->openTab(club->number());
        program.viewers()->current().list().setFocus();
        program.key(Qt::Key_N);
        QCOMPARE(program.tabs()->count(), 2);
        program.key(Qt::Key_N);
        QCOMPARE(program.tabs()->count(), 1);
        QVERIFY(program.bar().contains(u"Inbox"_s));
    }
};

QTEST_MAIN(TabsTest)
#include "tabs_test.moc"
