#include "windowprogram.h"

#include "engine/stallwatch.h"
#include "ui/actions/commandpalette.h"
#include "ui/reader/messageview.h"

#include <QAccessible>
#include <QDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>

/// A day with the window and without a mouse, from one end to the other: what the keys do is seen in the
/// mail, and in the end everything is undone again.
class TourTest : public QObject
{
    Q_OBJECT

private:
    static QString subject(const Program &program)
    {
        return program.viewers()->current().reader()->message().subject();
    }

    static void type(Program &program, const char *text)
    {
        for (const char *c = text; *c; ++c)
            QTest::keyClick(QApplication::focusWidget(), *c);
        Q_UNUSED(program)
    }

    static void read(Program &program)
    {
        program.key(Qt::Key_F);
        QCOMPARE(subject(program), u"Third"_s);
        program.key(Qt::Key_N);
        QCOMPARE(subject(program), u"Second"_s);
        program.key(Qt::Key_B);
        QCOMPARE(subject(program), u"Third"_s);
        program.key(Qt::Key_N);
        QCOMPARE(subject(program), u"Second"_s);
        program.key(Qt::Key_Space);
        QCOMPARE(subject(program), u"First"_s);
        program.key(Qt::Key_M); // read since the message was left; unread again
    }

    static void openEveryMenu(Program &program)
    {
        for (QAction *title : program.window->menuBar()->actions()) {
            const QKeySequence key = QKeySequence::mnemonic(title->text());
            QVERIFY2(!key.isEmpty(), qPrintable(title->text()));
            const QKeyCombination combination = key[0];
            QTest::keyClick(program.window.get(), combination.key(), combination.keyboardModifiers());
            QTRY_VERIFY2(title->menu()->isVisible(), qPrintable(title->text()));
            for (const QAction *entry : title->menu()->actions())
                QVERIFY2(entry->isSeparator() || entry->text().contains(u'&') ||
                             entry->text().startsWith(u"Undo"),
                         qPrintable(entry->text()));
            QTest::keyClick(title->menu(), Qt::Key_Escape);
            QTRY_VERIFY(!title->menu()->isVisible());
            if (program.window->menuBar()->activeAction())
                QTest::keyClick(program.window->menuBar(), Qt::Key_Escape);
        }
    }

    static void sort(Program &program)
    {
        program.key(Qt::Key_P, Qt::ControlModifier | Qt::ShiftModifier);
        type(program, "sort by subject");
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QTRY_COMPARE(program.subjects().value(0), u"First"_s);
        program.key(Qt::Key_P, Qt::ControlModifier | Qt::ShiftModifier);
        type(program, "sort by date");
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QTRY_COMPARE(program.subjects().value(0), u"Third"_s);
        QVERIFY(program.list->hasFocus());
    }

    static void search(Program &program)
    {
        program.key(Qt::Key_Slash);
        type(program, "second");
        QTRY_VERIFY(!program.subjects().contains(u"Third"_s)); // the current message stays in any case
        QVERIFY(program.subjects().contains(u"Second"_s));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
        QTRY_COMPARE(program.subjects().size(), 3);
        program.list->setFocus();
        program.key(Qt::Key_F, Qt::ControlModifier);
        QVERIFY(qobject_cast<QLineEdit *>(QApplication::focusWidget()));
        type(program, "hello");
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
        program.list->setFocus();
    }

    static void file(Program &program)
    {
        QVERIFY(program.window->selectMessage(program.articles[2]));
        program.key(Qt::Key_A);
        Group *archive = program.group(GroupRole::Archive);
        QVERIFY(archive);
        QCOMPARE(archive->counts().total, 1U);
        program.key(Qt::Key_J);
        QCOMPARE(program.group(GroupRole::Junk)->counts().total, 1U);
        program.key(Qt::Key_1);
        QVERIFY(program.inbox().overview(program.articles[0])->tags() != 0);
        program.key(Qt::Key_S);
        QVERIFY(program.has(program.articles[0], Mark::Flagged));
        program.key(Qt::Key_M, Qt::ControlModifier | Qt::AltModifier);
        auto *dialog = program.window->findChild<QDialog *>(u"groupDialog"_s);
        QVERIFY(dialog);
        dialog->activateWindow();
        QTRY_VERIFY(dialog->isActiveWindow());
        type(program, "sail");
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QTRY_COMPARE(program.inbox().counts().total, 0U);
    }

    static void undoAll(Program &program)
    {
        for (int i = 0; i < 50 && program.window->actions().find(u"edit.undo")->isEnabled(); ++i)
            program.act("edit.undo");
        QTRY_COMPARE(program.inbox().counts().total, 3U);
        QCOMPARE(program.group(GroupRole::Archive)->counts().total, 0U);
        QCOMPARE(program.group(GroupRole::Junk)->counts().total, 0U);
        for (int row = 0; row < program.inbox().rowCount(); ++row) {
            const Overview overview = program.inbox().row(row);
            QVERIFY(overview.isDead() ||
                    (overview.tags() == 0 && !overview.has(Mark::Flagged) && !overview.has(Mark::Junk)));
        }
    }

private slots:
    void byKeyboardAlone()
    {
        Program program;
        Group *club = program.engine.groups().make(u"Sailing club"_s);
        program.open();
        StallWatch watch;
        read(program);
        sort(program);
        search(program);
        file(program);
        QCOMPARE(club->counts().total, 1U);
        undoAll(program);
        QCOMPARE(club->counts().total, 0U);
        QTest::qWait(0);
        qInfo("The longest that the loop was held: %.1f ms, %s", watch.longest().milliseconds,
              qPrintable(watch.longest().event));
    }

    void everyMenuOpensByItsLetter()
    {
        Program program;
        program.open();
        openEveryMenu(program);
    }

    void everyActionIsInAMenuOrHasAKey()
    {
        Program program;
        program.open();
        QSet<const QAction *> inMenus;
        for (const QMenu *menu : program.window->findChildren<QMenu *>()) {
            for (const QAction *action : menu->actions())
                inMenus.insert(action);
        }
        for (const ActionRegistry::Entry &entry : program.window->actions().entries()) {
            const bool hidden = entry.row->traits & ActionRow::Hidden;
            QVERIFY2(inMenus.contains(entry.action) || (hidden && !entry.action->shortcuts().isEmpty()),
                     entry.row->name);
        }
    }

    void everyControlHasANameForTheScreenReader()
    {
        Program program;
        program.open();
        for (const QWidget *widget : program.window->findChildren<QWidget *>()) {
            if (widget->focusPolicy() == Qt::NoFocus || !widget->isVisible())
                continue;
            const QAccessibleInterface *spoken =
                QAccessible::queryAccessibleInterface(const_cast<QWidget *>(widget));
            const bool isInner = widget->objectName().startsWith(u"qt_");
            QVERIFY2(isInner || (spoken && !spoken->text(QAccessible::Name).isEmpty()),
                     qPrintable(QString::fromLatin1(widget->metaObject()->className()) + u' ' +
                                widget->objectName()));
        }
    }
};

QTEST_MAIN(TourTest)
#include "tour_test.moc"
