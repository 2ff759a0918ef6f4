#include "engine/engine.h"
#include "message/message.h"
#include "support/mail.h"
#include "support/scratch.h"
#include "ui/look/messageboxes.h"
#include "ui/main/groupcommands.h"

#include <QAbstractButton>
#include <QDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// An engine, a window and the commands between them.
class Program
{
public:
    Program()
    {
        if (!engine.load())
            qFatal("the engine of the test cannot be loaded");
        window.show();
    }
    ~Program() { engine.shutDown(); }

    GroupStore &store() { return engine.groups(); }
    Group &role(GroupRole role) { return *store().group(role); }

    void add(Group &group, Marks marks = {})
    {
        const QByteArray id = QByteArray::number(++m_last);
        store().add(group, Message(mailText(id, "Subject " + id)), marks, 0, 1795176000);
    }

    QString boxText() const
    {
        const QMessageBox *box = boxes.openBox();
        return box ? box->text() + u' ' + box->informativeText() : QString();
    }

    void answer(const QString &button)
    {
        QTRY_VERIFY(boxes.openBox());
        const QPointer<QMessageBox> box = boxes.openBox();
        const QList<QAbstractButton *> buttons = box->buttons();
        for (QAbstractButton *one : buttons) {
            if (one->text().remove(u'&') == button)
                one->click();
        }
        QTRY_VERIFY(!box);
    }

    Scratch scratch;
    Engine engine;
    QWidget window;
    MessageBoxes boxes{&window};
    GroupCommands commands{engine, boxes, &window};

private:
    int m_last = 0;
};

QAction *entryOf(const QMenu &menu, const QString &text)
{
    const QList<QAction *> actions = menu.actions();
    const auto found = std::find_if(actions.begin(), actions.end(), [&text](const QAction *action) {
        return action->text().remove(u'&') == text;
    });
    return found == actions.end() ? nullptr : *found;
}

} // namespace

class GroupCommandsTest : public QObject
{
    Q_OBJECT

private slots:
    void namesAreChecked_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("good");
        QTest::newRow("free") << u"Boats"_s << true;
        QTest::newRow("its own") << u"Bills"_s << true;
        QTest::newRow("a sibling's") << u"Club"_s << false;
        QTest::newRow("empty") << u"  "_s << false;
        QTest::newRow("with a slash") << u"a/b"_s << false;
    }

    void namesAreChecked()
    {
        QFETCH(QString, name);
        QFETCH(bool, good);
        Program program;
        Group *bills = program.store().make(u"Home/Bills"_s);
        program.store().make(u"Home/Club"_s);
        program.commands.rename(*bills);
        auto *dialog = program.window.findChild<QDialog *>(u"nameDialog"_s);
        auto *field = dialog->findChild<QLineEdit *>(u"name"_s);
        field->setText(name);
        QTest::keyClick(field, Qt::Key_Return);
        QCOMPARE(bills->name(), good ? name : u"Bills"_s);
        QCOMPARE(dialog->isVisible(), !good);
    }

    void movesByChoice()
    {
        Program program;
        Group *club = program.store().make(u"Home/Club"_s);
        Group *work = program.store().make(u"Work"_s);
        program.commands.moveTo(*club);
        auto *dialog = program.window.findChild<QDialog *>(u"groupDialog"_s);
        auto *field = dialog->findChild<QLineEdit *>(u"filter"_s);
        QTest::keyClicks(field, u"club"_s);
        QTest::keyClick(field, Qt::Key_Return); // not into itself
        QVERIFY(dialog->isVisible());
        field->clear();
        QTest::keyClicks(field, u"work"_s);
        QTest::keyClick(field, Qt::Key_Return);
        QCOMPARE(program.store().pathOf(*club), u"Work/Club"_s);
        program.commands.move(*club, nullptr);
        QCOMPARE(program.store().pathOf(*club), u"Club"_s);
        program.commands.move(*work, work);
        QTRY_VERIFY(program.boxText().contains(u"“Work” cannot be moved into “Work”."_s));
    }

    void removalTellsWhatGoes_data()
    {
        QTest::addColumn<QStringList>("below");
        QTest::addColumn<int>("messages");
        QTest::addColumn<QString>("words");
        QTest::newRow("nothing") << QStringList() << 0 << u"It holds no messages."_s;
        QTest::newRow("a message") << QStringList() << 1 << u"1 message in it will be deleted for good."_s;
        QTest::newRow("a group below")
            << QStringList{u"A"_s} << 0 << u"The group below it goes too. They hold no messages."_s;
        QTest::newRow("groups below")
            << QStringList{u"A"_s, u"B"_s} << 2 << u"The 2 groups below it go too. 2 messages in them"_s;
    }

    void removalTellsWhatGoes()
    {
        QFETCH(QStringList, below);
        QFETCH(int, messages);
        QFETCH(QString, words);
        Program program;
        Group *home = program.store().make(u"Home"_s);
        Group *last = home;
        for (const QString &name : below)
            last = program.store().make(u"Home/"_s + name);
        for (int i = 0; i < messages; ++i)
            program.add(*last);
        program.commands.remove(*home);
        QTRY_VERIFY2(program.boxText().contains(words), qPrintable(program.boxText()));
        program.answer(u"Cancel"_s);
        QVERIFY(program.store().find(u"Home"_s));
        program.commands.remove(*home);
        program.answer(u"Remove group"_s);
        QTRY_VERIFY(!program.store().find(u"Home"_s));
    }

    void rolesStay()
    {
        Program program;
        program.commands.remove(program.role(GroupRole::Inbox));
        QTRY_VERIFY(program.boxText().contains(u"cannot be removed"_s));
        QVERIFY(program.store().group(GroupRole::Inbox));
    }

    void junkIsEmptied()
    {
        Program program;
        Group &junk = program.role(GroupRole::Junk);
        program.add(junk);
        program.add(junk, Mark::Read);
        program.commands.emptyJunk();
        QTRY_VERIFY(program.boxText().contains(u"Delete 2 messages of junk for good?"_s));
        program.answer(u"Delete 2 messages"_s);
        QTRY_COMPARE(junk.counts().total, 0U);
        QCOMPARE(program.role(GroupRole::WasteBasket).counts().total, 0U);
    }

    void theMenuFitsTheGroup()
    {
        Program program;
        Group &inbox = program.role(GroupRole::Inbox);
        QMenu plain;
        program.commands.fillMenu(&plain, inbox);
        QVERIFY(!entryOf(plain, u"Open in a new tab"_s)); // nobody listens
        QVERIFY(!entryOf(plain, u"Mark all as read"_s)->isEnabled());
        QVERIFY(!entryOf(plain, u"Move to…"_s)->isEnabled());
        QVERIFY(!entryOf(plain, u"Empty junk…"_s));

        const QSignalSpy tab(&program.commands, &GroupCommands::newTabWanted);
        program.add(inbox);
        QMenu menu;
        program.commands.fillMenu(&menu, inbox);
        entryOf(menu, u"Open in a new tab"_s)->trigger();
        QCOMPARE(tab.first().first().toInt(), inbox.number());
        entryOf(menu, u"Mark all as read"_s)->trigger();
        QTRY_COMPARE(inbox.counts().unread, 0U);
        QAction *showing = entryOf(menu, u"Showing a message marks it as read"_s);
        QVERIFY(showing->isChecked());
        showing->trigger();
        QVERIFY(inbox.has(GroupKeepsUnread));
    }
};

QTEST_MAIN(GroupCommandsTest)
#include "groupcommands_test.moc"
