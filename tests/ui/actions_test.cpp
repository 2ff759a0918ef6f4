#include "ui/actions/actionregistry.h"
#include "ui/actions/commandpalette.h"
#include "ui/actions/keyhelp.h"
#include "ui/actions/paletteitems.h"

#include <QAction>
#include <QDialog>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

enum Need : unsigned { Chosen = 1, Many = 2 };

constexpr ActionRow kRows[] = {
    {"message.delete", "&Delete", "delete", "Del", Chosen},
    {"message.flag", "&Flagged", "flag", "S", Chosen, ActionRow::Checks},
    {"view.flags", "Only fl&agged…", "", "Ctrl+Shift+F"},
    {"group.read", "Mark &all as read", "catch-up", "Shift+C"},
    {"message.read", "Mark as &read", "", "M", Chosen | Many},
    {"view.twin", "Twin", "", "F9", 0, ActionRow::Hidden},
};

/// A window with those actions and a field and a button in it.
struct Window
{
    Window()
        : registry(&widget)
        , palette(registry)
    {
        auto *layout = new QVBoxLayout(&widget);
        layout->addWidget(button = new QPushButton(u"Button"_s));
        layout->addWidget(field = new QLineEdit);
        for (const ActionRow &row : kRows)
            registry.add(row, "Test");
        widget.resize(800, 600);
        widget.show();
        button->setFocus();
    }

    QAction *operator[](const char *name) { return registry.find(QString::fromLatin1(name)); }
    QStringList listed()
    {
        QStringList names;
        const QAbstractItemModel *model = widget.findChild<QListView *>(u"paletteList"_s)->model();
        for (int row = 0; row < model->rowCount(); ++row)
            names.append(model->index(row, 0).data().toString());
        return names;
    }
    QLineEdit *paletteField() { return widget.findChild<QLineEdit *>(u"paletteField"_s); }

    QWidget widget;
    ActionRegistry registry;
    CommandPalette palette;
    QPushButton *button;
    QLineEdit *field;
};

} // namespace

class ActionsTest : public QObject
{
    Q_OBJECT

private slots:
    void needsDecideWhatIsEnabled()
    {
        Window window;
        window.registry.setHave(0);
        QVERIFY(!window["message.delete"]->isEnabled());
        QVERIFY(window["view.flags"]->isEnabled());
        window.registry.setHave(Chosen);
        QVERIFY(window["message.delete"]->isEnabled());
        QVERIFY(!window["message.read"]->isEnabled());
        window.registry.setHave(Chosen | Many);
        QVERIFY(window["message.read"]->isEnabled());
        QVERIFY(!window["no.such"]);
    }

    void singleKeysActUnlessOneWritesOrSwitchesThemOff()
    {
        Window window;
        QVERIFY(QTest::qWaitForWindowActive(&window.widget));
        QSignalSpy read(window["group.read"], &QAction::triggered);
        QTest::keyClick(window.button, Qt::Key_C, Qt::ShiftModifier);
        QCOMPARE(read.count(), 1);
        window.field->setFocus();
        QTest::keyClick(window.field, Qt::Key_C, Qt::ShiftModifier);
        QCOMPARE(read.count(), 1);
        QCOMPARE(window.field->text().toLower(), u"c"_s);
        window.button->setFocus();
        window.registry.setSingleKeys(false);
        QTest::keyClick(window.button, Qt::Key_C, Qt::ShiftModifier);
        QCOMPARE(read.count(), 1);
        QCOMPARE(window["message.delete"]->shortcut(), QKeySequence(Qt::Key_Delete)); // writes nothing
        QCOMPARE(window["view.flags"]->shortcut(), QKeySequence(u"Ctrl+Shift+F"_s));
        window.registry.setSingleKeys(true);
        QTest::keyClick(window.button, Qt::Key_C, Qt::ShiftModifier);
        QCOMPARE(read.count(), 2);
    }

    void wordsFindActions_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QStringList>("names");
        QTest::newRow("nothing: all, what cannot be done last")
            << QString()
            << QStringList{u"Only flagged…"_s, u"Mark all as read"_s, u"Delete"_s, u"Flagged"_s,
                           u"Mark as read"_s};
        QTest::newRow("beginnings first") << u"fl"_s << QStringList{u"Only flagged…"_s, u"Flagged"_s};
        QTest::newRow("words in any order")
            << u"READ mark"_s << QStringList{u"Mark all as read"_s, u"Mark as read"_s};
        QTest::newRow("inside a word") << u"lete"_s << QStringList{u"Delete"_s};
        QTest::newRow("no twin of something else") << u"twin"_s << QStringList();
    }
    void wordsFindActions()
    {
        QFETCH(QString, typed);
        QFETCH(QStringList, names);
        Window window;
        window.registry.setHave(0);
        const QList<PaletteItem> items = itemsOf(window.registry);
        QStringList found;
        for (const PaletteMatch &match : matchItems(items, typed))
            found.append(items[match.item].name);
        QCOMPARE(found, names);
    }

    void thePaletteDoesWhatIsChosenAndGivesTheFocusBack()
    {
        Window window;
        window.registry.setHave(Chosen);
        QVERIFY(QTest::qWaitForWindowActive(&window.widget));
        QSignalSpy done(window["message.flag"], &QAction::triggered);
        window.palette.open();
        QVERIFY(window.paletteField()->hasFocus());
        QTest::keyClicks(window.paletteField(), u"flagged"_s);
        QCOMPARE(window.listed(), (QStringList{u"Flagged"_s, u"Only flagged…"_s}));
        QTest::keyClick(window.paletteField(), Qt::Key_Return);
        QCOMPARE(done.count(), 1);
        QVERIFY(!window.palette.isVisible());
        QVERIFY(window.button->hasFocus());
    }

    void whatCannotBeDoneIsNotDone()
    {
        Window window;
        window.registry.setHave(0);
        QSignalSpy done(window["message.delete"], &QAction::triggered);
        window.palette.open(u"delete"_s);
        QTest::keyClick(window.paletteField(), Qt::Key_Return);
        QCOMPARE(done.count(), 0);
        QVERIFY(window.palette.isVisible());
        QTest::keyClick(window.paletteField(), Qt::Key_Escape);
        QVERIFY(!window.palette.isVisible());
    }

    void keysOfTheWindowDoNotReachThroughTheVeil()
    {
        Window window;
        window.registry.setHave(Chosen | Many);
        QVERIFY(QTest::qWaitForWindowActive(&window.widget));
        QSignalSpy deleted(window["message.delete"], &QAction::triggered);
        QSignalSpy filtered(window["view.flags"], &QAction::triggered);
        window.palette.open();
        QTest::keyClick(window.paletteField(), Qt::Key_Delete);
        QTest::keyClick(window.paletteField(), Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(deleted.count() + filtered.count(), 0);
        QTest::keyClick(window.paletteField(), Qt::Key_Tab);
        QVERIFY(window.paletteField()->hasFocus());
    }

    void aPrefixListsOtherThings()
    {
        Window window;
        QString gone;
        window.palette.addSource({u'#', u"groups"_s, [&gone] {
                                      return QList<PaletteItem>{
                                          {u"Inbox"_s, {}, {}, {}, true, [&gone] { gone = u"Inbox"_s; }},
                                          {u"Junk"_s, {}, {}, {}, true, [&gone] { gone = u"Junk"_s; }}};
                                  }});
        window.palette.open(u"#"_s);
        QCOMPARE(window.listed(), (QStringList{u"Inbox"_s, u"Junk"_s}));
        QTest::keyClick(window.paletteField(), Qt::Key_Up); // the ends meet
        QTest::keyClick(window.paletteField(), Qt::Key_Return);
        QCOMPARE(gone, u"Junk"_s);
    }

    void theKeyHelpListsKeysAndNarrows()
    {
        Window window;
        QDialog *dialog = showKeyHelp(window.registry);
        auto *list = dialog->findChild<QTreeWidget *>(u"keyList"_s);
        const auto shown = [list] {
            QStringList names;
            for (QTreeWidgetItemIterator row(list, QTreeWidgetItemIterator::NotHidden); *row; ++row) {
                if ((*row)->parent() && !(*row)->parent()->isHidden())
                    names.append((*row)->text(0));
            }
            return names;
        };
        QVERIFY(shown().contains(u"Mark all as read"_s));
        dialog->findChild<QLineEdit *>()->setText(u"shift+c"_s);
        QCOMPARE(shown(), QStringList{u"Mark all as read"_s});
        dialog->close();
    }
};

QTEST_MAIN(ActionsTest)
#include "actions_test.moc"
