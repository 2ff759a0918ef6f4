#include "windowprogram.h"

#include "identity/identitymanager.h"
#include "identity/templates.h"
#include "ui/compose/sendwindow.h"
#include "ui/main/composecommands.h"
#include "ui/main/messagewindow.h"

#include "ui/reader/bodyview.h"
#include "ui/reader/findbar.h"
#include "ui/reader/messageview.h"

#include <QDialog>
#include <QDropEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QSignalSpy>
#include <QTextCursor>

namespace {

const QByteArray kWantsReceipt =
    "Return-Path: <ada@example.org>\nDisposition-Notification-To: ada@example.org\n";

/// A mailbox with somebody who can answer, and one message more in it.
struct Writer : Program
{
    explicit Writer(const QByteArray &header, const QByteArray &body = "Hello\n")
    {
        Identity me;
        me.address = u"clara@tidewater.example"_s;
        engine.identities().add(me);
        added = engine.groups().add(inbox(), Message(mailText("added@x", "Added", header, body)), {}, 0, 1);
        open();
    }

    MessageBar *question() const
    {
        return viewers()->current().reader()->findChild<MessageBar *>(u"question"_s);
    }

    quint32 added;
};

SendWindow *sendWindow()
{
    for (QWidget *widget : QApplication::topLevelWidgets())
        if (auto *found = qobject_cast<SendWindow *>(widget); found && found->isVisible())
            return found;
    return nullptr;
}

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

    void aReceiptIsAskedForWhereTheMessageIs_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<bool>("isAskedAgain");
        QTest::addColumn<int>("sent");
        QTest::newRow("sent") << u"first"_s << false << 1;
        QTest::newRow("never") << u"second"_s << false << 0;
        QTest::newRow("closed") << u"close"_s << false << 0;
        QTest::newRow("not answered") << QString() << true << 0;
    }

    void aReceiptIsAskedForWhereTheMessageIs()
    {
        QFETCH(QString, button);
        QFETCH(bool, isAskedAgain);
        QFETCH(int, sent);
        Writer w(kWantsReceipt);
        QVERIFY(w.window->selectMessage(w.articles[0]));
        QVERIFY(!w.question()->isVisible());
        QVERIFY(w.window->selectMessage(w.added));
        QVERIFY(w.question()->isVisible());
        QVERIFY2(w.question()->text().startsWith(u"Ada would like a receipt"),
                 qPrintable(w.question()->text()));
        if (!button.isEmpty())
            w.question()->findChild<QAbstractButton *>(button)->click();
        QVERIFY(w.window->selectMessage(w.articles[0]));
        QVERIFY(!w.question()->isVisible());
        QVERIFY(w.window->selectMessage(w.added));
        QCOMPARE(w.question()->isVisible(), isAskedAgain);
        QCOMPARE(int(w.engine.outbox().entries().size()), sent);
    }

    void anAnswerQuotesWhatIsSelectedInItsWindow()
    {
        Writer w({}, "One sentence. Another one.\n");
        QVERIFY(w.window->selectMessage(w.added));
        w.act("message.open");
        auto *opened = qobject_cast<MessageWindow *>(messageWindow());
        QVERIFY(opened);
        auto *body = opened->findChild<BodyView *>();
        QTextCursor cursor = body->document()->find(u"Another one."_s);
        body->setTextCursor(cursor);
        w.window->selectMessage(w.articles[0]);
        emit opened->deedWanted(u"write.reply"_s);
        QVERIFY(sendWindow());
        const QString text = sendWindow()->composition().text;
        QVERIFY2(text.contains(u"> Another one.") && !text.contains(u"One sentence"), qPrintable(text));
    }

    void anAttachmentOfOnesOwnOpensWithCare()
    {
        Writer w({});
        w.act("write.new");
        QVERIFY(sendWindow());
        emit sendWindow()->attachmentOpened({u"setup.exe"_s, "application/octet-stream", "MZ\x90", {}});
        QVERIFY2(sendWindow()->bar().text().contains(u"is a program"),
                 qPrintable(sendWindow()->bar().text()));
    }

    void anAddressIsDropped()
    {
        Writer w({});
        QMimeData data;
        data.setUrls({QUrl(u"mailto:bob@example.org?subject=Tides&attach=/etc/passwd"_s)});
        QDragEnterEvent enter({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(w.window.get(), &enter);
        QVERIFY(enter.isAccepted());
        QDropEvent drop({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(w.window.get(), &drop);
        QVERIFY(sendWindow());
        QCOMPARE(sendWindow()->composition().to, u"bob@example.org"_s);
        QCOMPARE(sendWindow()->composition().subject, u"Tides"_s);
        QVERIFY(sendWindow()->composition().attachments.isEmpty());
    }

    void halfAMessageIsNotForwarded()
    {
        Writer w({});
        const quint32 half = w.engine.groups().add(w.inbox(), Message(mailText("half@x", "Half", {}, {})),
                                                   Mark::HeaderOnly, 0, 1);
        QVERIFY(w.window->selectMessage(half));
        w.act("write.forward");
        QVERIFY(!sendWindow());
        QVERIFY2(w.bar().contains(u"Only the header"), qPrintable(w.bar()));
        QSignalSpy wanted(w.window->findChild<ComposeCommands *>(), &ComposeCommands::restWanted);
        w.viewers()->current().pane()->bar().findChild<QAbstractButton *>(u"first"_s)->click();
        QCOMPARE(wanted.size(), 1);
        QCOMPARE(wanted[0][0].value<MessageRefs>(), MessageRefs({{w.inbox().number(), half}}));
        w.act("write.reply");
        QVERIFY(sendWindow());
        QVERIFY(sendWindow()->bar().isVisible());
    }

    void answersAndForwardsBeginWithATemplate_data()
    {
        QTest::addColumn<QByteArray>("action");
        QTest::addColumn<QString>("to");
        QTest::addColumn<QString>("cc");
        QTest::newRow("reply") << QByteArray("write.replyTemplate") << u"Ada"_s << QString();
        QTest::newRow("reply to all")
            << QByteArray("write.replyAllTemplate") << u"Ada"_s << u"bob@example.org"_s;
        QTest::newRow("forward") << QByteArray("write.forwardTemplate") << QString() << QString();
    }

    void answersAndForwardsBeginWithATemplate()
    {
        QFETCH(QByteArray, action);
        QFETCH(QString, to);
        QFETCH(QString, cc);
        Writer w("Cc: bob@example.org\n");
        QVERIFY(writeTemplate(u"Greeting"_s, u"Dear reader,\n"_s));
        QVERIFY(w.window->selectMessage(w.added));
        w.act(action.constData());
        const auto dialogs = w.window->findChildren<QDialog *>();
        const auto asking = std::find_if(dialogs.begin(), dialogs.end(), std::mem_fn(&QWidget::isVisible));
        QVERIFY(asking != dialogs.end());
        (*asking)->accept();
        QTRY_VERIFY(sendWindow());
        const Composition begun = sendWindow()->composition();
        QVERIFY2(begun.text.contains(u"Dear reader,"), qPrintable(begun.text));
        QVERIFY2(to.isEmpty() ? begun.to.isEmpty() : begun.to.contains(to), qPrintable(begun.to));
        QVERIFY2(cc.isEmpty() ? begun.cc.isEmpty() : begun.cc.contains(cc), qPrintable(begun.cc));
    }

    void aFollowUpNeedsAList()
    {
        Writer w("List-Post: <mailto:club@example.org>\n");
        QVERIFY(w.window->selectMessage(w.articles[0]));
        w.act("write.followUp");
        QVERIFY(!sendWindow());
        QVERIFY2(w.bar().contains(u"no mailing list"), qPrintable(w.bar()));
        QVERIFY(w.window->selectMessage(w.added));
        w.act("write.followUp");
        QVERIFY(sendWindow());
        QCOMPARE(sendWindow()->composition().to, u"club@example.org"_s);
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
