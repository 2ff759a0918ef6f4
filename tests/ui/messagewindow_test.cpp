#include "windowprogram.h"

#include "ui/reader/bodyview.h"
#include "ui/reader/findbar.h"
#include "ui/reader/messageview.h"

#include <QLineEdit>
#include <QMenu>

namespace {

constexpr char kLink[] = "See https://harbour.example/tides for more.\n";

QWidget *messageWindow()
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (widget->isVisible() && widget->objectName() == u"messageWindow")
            return widget;
    }
    return nullptr;
}

} // namespace

/// A message in a window of its own, and what leads from there to the main window.
class MessageWindowTest : public QObject
{
    Q_OBJECT

private:
    static QWidget *openLink(Program &program)
    {
        program.open();
        if (!program.window->openMessageFile(
                program.scratch.write(u"link.eml"_s, mailText("x@y", "Tides", {}, kLink))))
            return nullptr;
        QWidget *opened = messageWindow();
        if (opened)
            opened->activateWindow();
        return opened && QTest::qWaitForWindowActive(opened) ? opened : nullptr;
    }

private slots:
    void theTargetOfALinkIsShown()
    {
        Program program;
        QWidget *opened = openLink(program);
        QVERIFY(opened);
        auto *hint = opened->findChild<QWidget *>(u"targetHint"_s);
        auto *body = opened->findChild<BodyView *>();
        QVERIFY(hint && !hint->isVisible());
        body->setFocus();
        program.key(Qt::Key_Tab); // to the first link
        QTRY_VERIFY(hint->isVisible());
        QVERIFY2(hint->accessibleName().contains(u"harbour.example/tides"),
                 qPrintable(hint->accessibleName()));
    }

    void escClosesTheFindBarAndThenTheWindow()
    {
        Program program;
        QPointer<QWidget> opened = openLink(program);
        QVERIFY(opened);
        program.key(Qt::Key_F, Qt::ControlModifier);
        auto *bar = opened->findChild<FindBar *>();
        QTRY_VERIFY(bar->isVisible());
        program.key(Qt::Key_Escape);
        QVERIFY(opened->isVisible() && !bar->isVisible());
        program.key(Qt::Key_Escape);
        QTRY_VERIFY(!opened || !opened->isVisible());
    }

    void mailFromAPersonIsFoundInTheMainWindow()
    {
        Program program;
        QWidget *opened = openLink(program);
        QVERIFY(opened);
        opened->findChild<QWidget *>(u"sender"_s)->setFocus();
        program.key(Qt::Key_Return);
        auto *menu = opened->findChild<QMenu *>(u"personMenu"_s);
        QVERIFY(menu);
        for (QAction *action : menu->actions()) {
            if (action->text().contains(u"Find mail"))
                action->trigger();
        }
        QCOMPARE(program.viewers()->current().filter().text, u"ada@example.org"_s);
    }

    void theKeyOfTheTreeTurnsItOffAndOn()
    {
        Program program;
        program.open();
        const QAction *action = program.window->actions().find(u"view.groupTree");
        const auto *tree = program.window->findChild<QWidget *>(u"groupTree"_s);
        for (const bool shown : {true, false, true}) {
            QCOMPARE(tree->isVisible(), shown);
            QCOMPARE(action->isChecked(), shown);
            program.key(Qt::Key_F9);
        }
    }
};

QTEST_MAIN(MessageWindowTest)
#include "messagewindow_test.moc"
