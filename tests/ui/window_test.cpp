#include "faketransfers.h"
#include "windowprogram.h"

#include "message/message.h"
#include "support/mail.h"
#include "support/scratch.h"
#include "ui/list/messagelist.h"
#include "ui/look/askingbar.h"
#include "ui/look/looks.h"
#include "ui/look/messageboxes.h"
#include "ui/main/listpane.h"
#include "ui/main/mainwindow.h"
#include "ui/main/panes.h"
#include "ui/main/statusline.h"
#include "ui/main/welcome.h"
#include "ui/reader/messageview.h"
#include "ui/tree/grouptree.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <set>

using namespace Qt::StringLiterals;

class WindowTest : public QObject
{
    Q_OBJECT

private slots:
    void aFirstStartSaysWhatToDo()
    {
        Program program(false);
        program.open();
        const auto *welcome = program.window->findChild<Welcome *>();
        QVERIFY(welcome->isVisible());
        QVERIFY(!program.window->findChild<MessageView *>()->isVisible());
        program.add(program.inbox(), "One");
        program.engine.importMail({program.scratch.write(u"mail"_s, mailText("x@y", "Two"))},
                                  program.inbox());
        QTRY_VERIFY(!welcome->isVisible());
        QVERIFY(program.list->hasFocus());
        QTRY_COMPARE(program.list->messages().totalCount(), 2);
        QTRY_VERIFY2(program.bar().contains(u"1 message"_s), qPrintable(program.bar()));
    }

    void theFirstAccountIsOffered()
    {
        Program program(false);
        program.open();
        program.window->offerFirstAccount();
        QMessageBox *box = program.box();
        QVERIFY(box);
        QCOMPARE(box->windowTitle(), u"Velmar"_s);
        QCOMPARE(box->text(), u"You have not set up any incoming mail accounts.\n"
                              "Would you like to set one up now?"_s);
        QStringList buttons;
        for (const QAbstractButton *button : box->buttons())
            buttons += button->text();
        buttons.sort();
        QCOMPARE(buttons, QStringList({u"&No"_s, u"&Yes"_s}));
        program.answer(u"No"_s);
        const auto *first = program.window->findChild<QAbstractButton *>(u"welcomeAccount"_s);
        QTRY_COMPARE(QApplication::focusWidget(), first);
        AccountData batch;
        batch.name = u"Batch"_s;
        batch.kind = AccountKind::BatchFile;
        QVERIFY(program.engine.accounts().add(batch) > 0);
        QTRY_VERIFY(!program.window->boxes().isBusy());
        program.window->offerFirstAccount();
        QVERIFY(!program.window->boxes().isBusy());
    }

    void closingWarnsOfTransfers()
    {
        FakeClients clients;
        Program program;
        program.open();
        AccountManager &accounts = program.engine.accounts();
        accounts.setFactory(&clients);
        const int home = accounts.add(popAccount(u"Home"_s));
        accounts.account(home)->fetch(true, true);
        QVERIFY(!program.window->close());
        QCOMPARE(program.box()->text(), u"Mail is being transferred."_s);
        program.answer(u"Wait"_s);
        QTRY_VERIFY(!program.window->boxes().isBusy());
        QVERIFY(program.window->isVisible());
        QVERIFY(!clients.of(home)->wasStopped);
        QVERIFY(!program.window->close());
        program.answer(u"Stop and close"_s);
        QTRY_VERIFY(!program.window->isVisible());
        QVERIFY(!accounts.isBusy());
    }

    void keysMoveAndMark()
    {
        Program program;
        program.open();
        QVERIFY(program.list->hasFocus());
        program.key(Qt::Key_F);
        QCOMPARE(program.list->current().article, program.articles[2]);
        program.key(Qt::Key_F);
        QCOMPARE(program.list->current().article, program.articles[1]);
        program.key(Qt::Key_B);
        QCOMPARE(program.list->current().article, program.articles[2]);
        program.key(Qt::Key_S);
        QVERIFY(program.has(program.articles[2], Mark::Flagged));
        program.key(Qt::Key_S);
        QVERIFY(!program.has(program.articles[2], Mark::Flagged));
        program.key(Qt::Key_M);
        QVERIFY(program.has(program.articles[2], Mark::Read));
        program.key(Qt::Key_M);
        QVERIFY(!program.has(program.articles[2], Mark::Read));
        program.key(Qt::Key_W);
        QVERIFY(program.has(program.articles[2], Mark::Watched));
        program.key(Qt::Key_K);
        QVERIFY(program.has(program.articles[2], Mark::Ignored) &&
                !program.has(program.articles[2], Mark::Watched));
        program.key(Qt::Key_C, Qt::ShiftModifier);
        QTRY_COMPARE(program.inbox().counts().unread, 0U);
    }

    void aMessageThatIsShownCountsAsRead_data()
    {
        QTest::addColumn<bool>("keepsUnread");
        QTest::newRow("after a moment") << false;
        QTest::newRow("not where the group keeps them unread") << true;
    }

    void aMessageThatIsShownCountsAsRead()
    {
        QFETCH(bool, keepsUnread);
        Program program;
        if (keepsUnread)
            program.engine.groups().setOptions(program.inbox(), GroupKeepsUnread);
        program.open();
        program.readTimer->setInterval(0);
        program.key(Qt::Key_F);
        QVERIFY(!program.window->findChild<MessageView *>()->isEmpty());
        QCOMPARE(program.readTimer->isActive(), !keepsUnread);
        QTRY_VERIFY(!program.readTimer->isActive());
        QCOMPARE(program.has(program.articles[2], Mark::Read), !keepsUnread);
    }

    void spaceReadsThroughWhatIsUnread()
    {
        Program program;
        program.open();
        for (int i = 2; i >= 0; --i) {
            program.key(Qt::Key_Space);
            QCOMPARE(program.list->current().article, program.articles[std::size_t(i)]);
        }
        program.key(Qt::Key_Space);
        QCOMPARE(program.inbox().counts().unread, 0U);
        QCOMPARE(program.bar(), u"All read"_s);
    }

    void deletedMessagesGoToTheWasteBasketAndComeBack()
    {
        Program program;
        program.open();
        program.key(Qt::Key_F);
        program.key(Qt::Key_Delete);
        QCOMPARE(program.list->messages().totalCount(), 2);
        QCOMPARE(program.group(GroupRole::WasteBasket)->counts().total, 1U);
        QCOMPARE(program.list->current().article, program.articles[1]);
        QCOMPARE(program.bar(), u"1 message moved to Waste basket"_s);
        program.key(Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(program.list->messages().totalCount(), 3);
        QCOMPARE(program.group(GroupRole::WasteBasket)->counts().total, 0U);
        QCOMPARE(program.list->messages().item(program.list->currentIndex().row()).texts.subject, u"Third"_s);
        QCOMPARE(program.bar(), u"Undone: 1 message moved to Waste basket"_s);
    }

    void deletingForGoodAsks()
    {
        Program program;
        program.open();
        program.key(Qt::Key_F);
        program.key(Qt::Key_Down, Qt::ShiftModifier);
        program.key(Qt::Key_Delete, Qt::ShiftModifier);
        program.answer(u"Cancel"_s);
        QTRY_VERIFY(!program.window->findChild<QMessageBox *>());
        QCOMPARE(program.inbox().counts().total, 3U);
        program.window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(program.window.get()));
        program.key(Qt::Key_Delete, Qt::ShiftModifier);
        program.answer(u"Delete 2 messages"_s);
        QTRY_COMPARE(program.inbox().counts().total, 1U);
        QCOMPARE(program.group(GroupRole::WasteBasket)->counts().total, 0U);
    }

    void manyMessagesAreDeletedInSlices()
    {
        Program program;
        for (int i = 0; i < 60; ++i)
            program.add(program.inbox(), "Many " + QByteArray::number(i));
        program.open();
        program.key(Qt::Key_A, Qt::ControlModifier);
        program.key(Qt::Key_Delete);
        QVERIFY(program.engine.tasks().isBusy());
        QTRY_COMPARE(program.group(GroupRole::WasteBasket)->counts().total, 63U);
        QTRY_COMPARE(program.list->messages().totalCount(), 0);
        QTRY_VERIFY(program.window->actions().find(u"edit.undo")->isEnabled());
        program.key(Qt::Key_Z, Qt::ControlModifier);
        QTRY_COMPARE(program.inbox().counts().total, 63U);
    }

    void junkGoesAwayAndBack()
    {
        Program program;
        program.open();
        program.key(Qt::Key_F);
        program.key(Qt::Key_J);
        Group &junk = *program.group(GroupRole::Junk);
        QCOMPARE(junk.counts().total, 1U);
        QVERIFY(junk.row(0).has(Mark::Junk));
        program.window->selectGroup(junk.number());
        program.list->setFocus();
        program.key(Qt::Key_F);
        program.key(Qt::Key_J, Qt::ShiftModifier);
        QCOMPARE(junk.counts().total, 0U);
        QCOMPARE(program.inbox().counts().total, 3U);
        QVERIFY(!program.inbox().row(program.inbox().rowCount() - 1).has(Mark::Junk));
    }

    void movesToAGroupChosenByTyping()
    {
        Program program;
        Group *club = program.engine.groups().make(u"Home/Sailing club"_s);
        program.open();
        program.key(Qt::Key_F);
        program.key(Qt::Key_M, Qt::ControlModifier | Qt::AltModifier);
        auto *dialog = program.window->findChild<QDialog *>(u"groupDialog"_s);
        QVERIFY(dialog);
        QTest::keyClicks(dialog->findChild<QLineEdit *>(u"filter"_s), u"sail"_s);
        QTest::keyClick(dialog->findChild<QLineEdit *>(u"filter"_s), Qt::Key_Return);
        QTRY_COMPARE(club->counts().total, 1U);
        QCOMPARE(program.inbox().counts().total, 2U);
    }

    void messagesDropOnGroups_data()
    {
        QTest::addColumn<int>("action");
        QTest::addColumn<int>("left");
        QTest::newRow("moved") << int(Qt::MoveAction) << 2;
        QTest::newRow("copied") << int(Qt::CopyAction) << 3;
    }

    void messagesDropOnGroups()
    {
        QFETCH(int, action);
        QFETCH(int, left);
        Program program;
        program.open();
        Group *target = program.engine.groups().make(u"Target"_s); // one made before is read, and hidden
        const auto *tree = program.window->findChild<GroupTree *>();
        auto *model = static_cast<GroupTreeModel *>(tree->model());
        const std::unique_ptr<QMimeData> mime(
            program.list->messages().mimeData({program.list->messages().index(1, 0)}));
        const QModelIndex place = model->indexOf(target->number());
        QVERIFY(model->canDropMimeData(mime.get(), Qt::DropAction(action), -1, -1, place));
        QVERIFY(!model->canDropMimeData(mime.get(), Qt::DropAction(action), -1, -1, place.parent()));
        model->dropMimeData(mime.get(), Qt::DropAction(action), -1, -1, place);
        QCOMPARE(target->counts().total, 1U);
        QCOMPARE(int(program.inbox().counts().total), left);
    }

    void theTreeKeepsItsOrderAndPlace()
    {
        Program program;
        program.open();
        const auto *tree = program.window->findChild<GroupTree *>();
        const QAbstractItemModel *model = tree->model();
        QStringList names;
        const QModelIndex section = model->index(0, 0);
        for (int row = 0; row < model->rowCount(section); ++row)
            names.append(model->index(row, 0, section).data().toString());
        QCOMPARE(names, (QStringList{u"Inbox"_s, u"Flagged"_s, u"Drafts"_s, u"Outbox"_s, u"Sent mail"_s,
                                     u"Junk"_s, u"Waste basket"_s}));
        Group *made = program.engine.groups().make(u"Made"_s);
        QCOMPARE(tree->current(), &program.inbox());
        QVERIFY(program.window->selectGroup(made->number()));
        QVERIFY(program.engine.groups().rename(*made, u"Renamed"_s));
        QCOMPARE(tree->current(), made);
        QVERIFY(program.engine.groups().remove(*made));
        QTRY_COMPARE(tree->current(), &program.inbox());
        QVERIFY(!program.window->selectGroup(4711));
    }

    void countsFollowTheMail()
    {
        Program program;
        program.open();
        QCOMPARE(GroupTreeModel::countText(program.inbox()), u"3"_s);
        QVERIFY(GroupTreeModel::countCalls(program.inbox()));
        program.engine.groups().copy(program.inbox(), program.articles, *program.group(GroupRole::Drafts));
        QCOMPARE(GroupTreeModel::countText(*program.group(GroupRole::Drafts)), u"3"_s);
        QVERIFY(!GroupTreeModel::countCalls(*program.group(GroupRole::Drafts)));
        program.window->refresh();
        QCOMPARE(program.window->findChild<StatusLine *>()->text(), u"Inbox: 3 messages, 3 unread"_s);
    }

    void thePiecesOfAMessageAreFoundAndJoined()
    {
        Program program;
        quint32 last = 0;
        for (const char *number : {"1", "2"}) {
            const QByteArray text =
                "From: ada@example.org\nSubject: Log, part " + QByteArray(number) +
                "\nMIME-Version: 1.0\nContent-Type: message/partial; id=\"log@x\"; number=" + number +
                "; total=2\n\n" + (*number == '1' ? "Subject: The whole log\n\nfirst\n" : "second\n");
            last = program.engine.groups().add(program.inbox(), Message(text), {}, 0, 1795176000);
        }
        program.open();
        QVERIFY(program.window->selectMessage(last));
        const MessageView *reader = program.viewers()->current().reader();
        const auto *bar = reader->findChild<AskingBar *>();
        QTRY_VERIFY2(bar->isVisible() && bar->text().contains(u"2"_s), qPrintable(bar->text()));
        QSignalSpy wanted(reader, &MessageView::messageWanted);
        for (QPushButton *button : bar->findChildren<QPushButton *>()) {
            if (button->isVisible() && button->text().contains(u"Join"_s))
                button->click();
        }
        QCOMPARE(wanted.count(), 1);
        QCOMPARE(wanted.first().first().value<Message>().subject(), u"The whole log"_s);
    }

    void reportsWaitForEachOther()
    {
        Program program;
        program.open();
        report(ReportLevel::Warning, "Unable to read <b>this</b>");
        report(ReportLevel::Warning, "Unable to read <b>this</b>");
        report(ReportLevel::Critical, "Something else");
        QVERIFY(program.box());
        QCOMPARE(program.box()->windowTitle(), u"Velmar"_s);
        QCOMPARE(program.box()->text(), u"Unable to read <b>this</b> (2 times)"_s);
        QCOMPARE(program.box()->textFormat(), Qt::PlainText);
        QCOMPARE(program.window->findChildren<QMessageBox *>().size(), 1);
        program.answer(u"OK"_s);
        QVERIFY(program.box());
        QTRY_VERIFY(program.box() && program.box()->text() == u"Something else"_s);
        program.answer(u"OK"_s);
        QTRY_VERIFY(!program.window->boxes().isBusy());
    }

    void errorsOfOneTickShareABox()
    {
        Program program;
        program.open();
        program.engine.queueError(u"One went wrong"_s);
        program.engine.queueError(u"Another went wrong"_s);
        program.engine.tick();
        QVERIFY(program.box());
        QCOMPARE(program.box()->text(), u"One went wrong\n\nAnother went wrong"_s);
        program.answer(u"OK"_s);
        QTRY_VERIFY(!program.window->boxes().isBusy());
    }

    void sizesAndArrangementsComeBack()
    {
        Program program;
        program.open();
        program.window->setGeometry(40, 50, 740, 700);
        program.list->messages().sort(int(MessageColumn::Score), Qt::AscendingOrder);
        program.key(Qt::Key_F8);
        QVERIFY(!program.window->findChild<MessageView *>()->isVisible());
        program.window->close();
        program.open();
        QCOMPARE(program.window->size(), QSize(740, 700));
        QCOMPARE(program.list->messages().sortOrder().column, MessageColumn::Score);
        QVERIFY(!program.window->findChild<MessageView *>()->isVisible());
        const QRect screen =
            program.window->screen()->availableGeometry(); // that of a greater one does not fit
        program.window->setGeometry(QRect(screen.topLeft(), screen.size() * 1.5));
        program.window->close();
        program.open();
        QCOMPARE(program.window->size(), screen.size());
    }

    void panesTakeTurns()
    {
        Program program;
        program.open();
        program.key(Qt::Key_F);
        QSet<QWidget *> visited;
        for (int i = 0; i < 3; ++i) {
            program.key(Qt::Key_F6);
            visited.insert(QApplication::focusWidget());
        }
        QCOMPARE(visited.size(), 3);
        QVERIFY(program.list->hasFocus());
        program.key(Qt::Key_F6, Qt::ShiftModifier);
        QVERIFY(program.window->findChild<GroupTree *>()->hasFocus());
    }

    /// Tab comes round to where it began, past every control, and stays nowhere.
    void tabIsNoTrap()
    {
        Program program;
        program.open();
        program.key(Qt::Key_F);
        std::set<QWidget *> visited;
        QWidget *start = QApplication::focusWidget();
        for (int i = 0; i < 100; ++i) {
            program.key(Qt::Key_Tab);
            QWidget *focus = QApplication::focusWidget();
            QVERIFY(focus && focus->isVisible() && focus->isEnabled());
            if (focus == start)
                break;
            QVERIFY2(visited.insert(focus).second, qPrintable(focus->objectName()));
        }
        QCOMPARE(QApplication::focusWidget(), start);
        for (const char *name : {"groupTree", "groupTabs", "quickFilterField", "messageList", "sender"})
            QVERIFY2(visited.contains(program.window->findChild<QWidget *>(QLatin1StringView(name))) ||
                         start->objectName() == QLatin1StringView(name),
                     name);
    }

    void everyButtonHasANameAndATip()
    {
        Program program;
        program.open();
        for (const QAbstractButton *button : program.window->findChildren<QAbstractButton *>()) {
            if (!button->isVisible())
                continue;
            const bool named = !button->accessibleName().isEmpty() || !button->text().isEmpty();
            QVERIFY2(named, button->metaObject()->className());
            QVERIFY2(!button->text().isEmpty() || !button->toolTip().isEmpty(),
                     qPrintable(button->accessibleName()));
        }
        QCOMPARE(program.list->messages().index(1, 0).data(Qt::AccessibleTextRole).toString().left(12),
                 u"unread, Ada,"_s);
    }

    void mnemonicsAndKeysAreUnique()
    {
        Program program;
        program.open();
        QSet<QKeySequence> keys;
        for (const ActionRegistry::Entry &entry : program.window->actions().entries()) {
            const QAction *action = entry.action;
            for (const QKeySequence &key : action->shortcuts()) {
                QVERIFY2(!keys.contains(key), qPrintable(key.toString()));
                keys.insert(key);
            }
        }
        for (const QMenu *menu : program.window->findChildren<QMenu *>()) {
            QSet<QChar> letters;
            for (const QAction *action : menu->actions()) {
                const qsizetype at = action->text().indexOf(u'&');
                if (at < 0)
                    continue;
                const QChar letter = action->text().at(at + 1).toLower();
                QVERIFY2(!letters.contains(letter), qPrintable(menu->title() + u": "_s + action->text()));
                letters.insert(letter);
            }
        }
    }

    void aMessageFileOpensInItsOwnWindow()
    {
        Program program;
        program.open();
        QVERIFY(program.window->openMessageFile(
            program.scratch.write(u"a.eml"_s, mailText("x@y", "Out of a file"))));
        QWidget *opened = nullptr;
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            if (widget->isVisible() && widget->objectName() == u"messageWindow")
                opened = widget;
        }
        QVERIFY(opened);
        QCOMPARE(opened->windowTitle(), u"Out of a file - Velmar"_s);
        QVERIFY(!program.window->openMessageFile(program.scratch.path(u"none.eml"_s)));
        program.answer(u"OK"_s);
        QVERIFY(!program.window->openMessageFile(u"/dev/zero"_s));
        program.answer(u"OK"_s);
    }
};

QTEST_MAIN(WindowTest)
#include "window_test.moc"
