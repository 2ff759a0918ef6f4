#include "faketransfers.h"
#include "windowprogram.h"

#include "identity/identitymanager.h"
#include "ui/compose/sendwindow.h"
#include "ui/look/elidedlabel.h"
#include "ui/look/emptystate.h"
#include "ui/main/outboxcommands.h"
#include "ui/main/statusline.h"

#include <QDialog>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QToolButton>

namespace {

/// A window over two accounts whose clients the test plays.
struct Receiving
{
    Receiving()
    {
        program.open();
        program.engine.accounts().setFactory(&clients);
        home = program.engine.accounts().add(popAccount(u"Home"_s));
        club = program.engine.accounts().add(popAccount(u"Club"_s));
    }

    FakeFetcher &fetch(int account)
    {
        Account *fetching = program.engine.accounts().account(account);
        fetching->clearMark();
        fetching->fetch(true, true);
        return *clients.of(account);
    }

    void end(int account, AccountFetchReason reason)
    {
        FakeFetcher &fetcher = fetch(account);
        reason == AccountFetchReason::None ? fetcher.end() : fetcher.end(reason, {});
        QTRY_VERIFY(!program.engine.accounts().isBusy());
    }

    /// What has arrived so far, as a batch hands it on.
    void arrive(int count)
    {
        std::vector<DeliveredMessage> messages;
        for (int i = 0; i < count; ++i)
            messages.push_back({{program.inbox().number(), program.articles[std::size_t(i)]}, {}, home});
        program.engine.delivery().handOn(std::move(messages));
    }

    /// The count beside the sign in the status line; empty: there is no sign.
    QString count() const
    {
        const auto *mark = program.window->findChild<QToolButton *>(u"noticesButton"_s);
        return mark->isVisible() ? mark->text() : QString();
    }

    QString news() const
    {
        return program.window->findChild<StatusLine *>()->findChild<ElidedLabel *>()->text();
    }

    FakeClients clients;
    Program program;
    int home = 0;
    int club = 0;
};

/// A window in which somebody writes, whose mail counts down before it goes.
struct Writing
{
    Writing()
    {
        Outbox::setUndoDelay(30);
        program.engine.accounts().setFactory(&clients);
        AccountData post = popAccount(u"Post"_s, u"smtp.example.org"_s);
        post.kind = AccountKind::Smtp;
        account = program.engine.accounts().add(post);
        me.name = u"Clara Brandt"_s;
        me.address = u"clara@tidewater.example"_s;
        me.number = program.engine.identities().add(me);
        program.open();
    }

    MessageRef send(const QString &subject)
    {
        Composition composition;
        composition.identity = me;
        composition.to = u"bob@example.org"_s;
        composition.subject = subject;
        composition.text = u"Hello\n"_s;
        const quint64 ticket = program.engine.composer().send(composition, {});
        return program.engine.outbox().entry(ticket)->place;
    }

    std::size_t waiting() { return program.engine.outbox().entries().size(); }

    /// What the bars of the countdowns say, from above.
    std::vector<AskingBar *> bars() const
    {
        std::vector<AskingBar *> shown;
        for (auto *bar : program.window->findChild<QWidget *>(u"countdowns"_s)->findChildren<AskingBar *>())
            if (bar->isVisible())
                shown.push_back(bar);
        std::sort(shown.begin(), shown.end(), [](auto *a, auto *b) { return a->y() < b->y(); });
        return shown;
    }

    static QAbstractButton *button(const MessageBar &bar, QAnyStringView name)
    {
        return bar.findChild<QAbstractButton *>(name.toString());
    }

    MessageBar &bar() const { return program.viewers()->current().pane()->bar(); }

    FakeClients clients;
    Program program;
    Identity me;
    int account = 0;
};

SendWindow *sendWindow()
{
    for (QWidget *each : QApplication::topLevelWidgets())
        if (auto *found = qobject_cast<SendWindow *>(each); found && found->isVisible())
            return found;
    return nullptr;
}

} // namespace

/// What the main window says of fetches, and of mail on its way out.
class WindowTransfersTest : public QObject
{
    Q_OBJECT

private slots:
    void troubleIsCountedByAccount()
    {
        Receiving r;
        for (int i = 0; i < 3; ++i)
            r.end(r.home, AccountFetchReason::TimedOut);
        QCOMPARE(r.count(), u"1"_s);
        r.end(r.club, AccountFetchReason::ConnectionClosed);
        QCOMPARE(r.count(), u"2"_s);
        r.end(r.home, AccountFetchReason::None);
        QCOMPARE(r.count(), u"1"_s);
        r.program.engine.accounts().remove(r.club);
        QCOMPARE(r.count(), QString());
    }

    void pausingEndsTheTrouble()
    {
        Receiving r;
        r.end(r.home, AccountFetchReason::TimedOut);
        QCOMPARE(r.count(), u"1"_s);
        AccountData paused = r.program.engine.accounts().account(r.home)->data();
        paused.set(AccountLeftOut, true);
        QVERIFY(r.program.engine.accounts().update(paused));
        QCOMPARE(r.count(), QString());
    }

    void whatWasReadCallsNoMore()
    {
        Receiving r;
        r.end(r.home, AccountFetchReason::TimedOut);
        r.program.act("tools.errors");
        auto *list = r.program.window->findChild<QDialog *>(u"notices"_s);
        QVERIFY(list && list->findChild<QListView *>()->isVisible());
        QCOMPARE(r.count(), QString());
        r.end(r.home, AccountFetchReason::TimedOut);
        QCOMPARE(r.count(), QString());
        r.end(r.home, AccountFetchReason::ConnectionClosed);
        QCOMPARE(r.count(), u"1"_s);
        r.end(r.home, AccountFetchReason::None);
        QVERIFY2(list->findChild<EmptyState *>()->isVisible(), "the row went with its trouble");
    }

    void aBoxCountsNoSecondTime()
    {
        Receiving r;
        setBoolSetting(Setting::SilentTransferErrors, false);
        r.end(r.home, AccountFetchReason::TimedOut);
        r.program.answer(u"OK"_s);
        QCOMPARE(r.count(), u"1"_s);
        r.end(r.home, AccountFetchReason::None);
        QCOMPARE(r.count(), QString());
    }

    void theEndIsSaid_data()
    {
        QTest::addColumn<bool>("stops");
        QTest::addColumn<int>("arrived");
        QTest::addColumn<QString>("said");
        QTest::newRow("nothing new") << false << 0 << u"No new mail"_s;
        QTest::newRow("one") << false << 1 << u"1 new message"_s;
        QTest::newRow("stopped") << true << 0 << u"Stopped"_s;
        QTest::newRow("stopped, with what arrived") << true << 2 << u"Stopped, 2 new messages"_s;
    }

    void theEndIsSaid()
    {
        QFETCH(bool, stops);
        QFETCH(int, arrived);
        QFETCH(QString, said);
        Receiving r;
        r.program.engine.accounts().remove(r.club);
        r.program.act("tools.getMail");
        r.arrive(arrived);
        if (stops)
            r.program.engine.accounts().account(r.home)->stop();
        else
            r.clients.of(r.home)->end();
        QTRY_VERIFY(!r.program.engine.accounts().isBusy());
        QTRY_COMPARE(r.news(), said);
    }

    /// What was asked of several is told once, when the last has ended.
    void severalAreToldTogether()
    {
        Receiving r;
        r.program.act("tools.getMail");
        QPointer<FakeFetcher> club = r.clients.of(r.club);
        r.arrive(2);
        r.clients.of(r.home)->end();
        QTest::qWait(0);
        QVERIFY2(!r.news().contains(u"new message"_s), qPrintable(r.news()));
        club->end();
        QTRY_COMPARE(r.news(), u"2 new messages"_s);
    }

    void eachCountdownHasItsUndo()
    {
        Writing w;
        w.program.key(Qt::Key_F); // that a message is shown does not matter
        QVERIFY(!w.program.window->actions().find(u"write.takeBack")->isEnabled());
        for (const char *subject : {"One", "Two", "Three", "Four", "Five"})
            w.send(QLatin1String(subject));
        QTRY_COMPARE(w.bars().size(), 4U);
        QTRY_VERIFY(w.bars()[0]->y() < w.bars()[1]->y());
        QVERIFY(w.bars()[0]->text().startsWith(u"“Five” is sent in "));
        QCOMPARE(w.bars()[3]->text(), u"2 more messages are about to be sent."_s);
        Writing::button(*w.bars()[1], u"first")->click();
        QCOMPARE(w.waiting(), 4U);
        QVERIFY(sendWindow());
        QCOMPARE(sendWindow()->composition().subject, u"Four"_s);
        QTRY_COMPARE(w.bars().size(), 4U);
        QTRY_COMPARE(w.bars()[3]->text(), u"1 more message is about to be sent."_s);
        w.program.act("write.takeBack");
        QTRY_COMPARE(w.waiting(), 3U);
        QCOMPARE(w.program.engine.outbox().entries().back().state, OutboxState::Held);
    }

    void aWaitingMessageSaysWhy()
    {
        Writing w;
        w.send(u"Other"_s);
        const MessageRef place = w.send(u"Late"_s);
        w.program.window->selectGroup(place.group);
        QVERIFY(w.program.window->selectMessage(place.article));
        w.program.act("write.changeTime");
        const auto dialogs = w.program.window->findChildren<QDialog *>();
        const auto asking = std::find_if(dialogs.begin(), dialogs.end(), std::mem_fn(&QWidget::isVisible));
        QVERIFY(asking != dialogs.end());
        (*asking)->accept();
        QTRY_VERIFY2(w.bar().text().contains(u"held until"), qPrintable(w.bar().text()));
        w.program.act("write.sendNow");
        QTRY_VERIFY2(!w.bar().text().contains(u"held until"), qPrintable(w.bar().text()));
        const OutboxEntry *entry = w.program.engine.outbox().entryAt(place);
        QVERIFY(entry && entry->state != OutboxState::Held);
        QVERIFY2(w.bars().size() == 1, "the other one goes on counting down");
        w.program.act("edit.delete");
        QTRY_COMPARE(w.waiting(), 1U);
    }

    void sendingOnCanBeTakenBack()
    {
        Writing w;
        w.program.key(Qt::Key_F);
        w.program.act("write.resend");
        auto *dialog = w.program.window->findChild<QDialog *>(u"nameDialog"_s);
        QVERIFY(dialog);
        dialog->findChild<QLineEdit *>()->setText(u"bob@example.org"_s);
        dialog->accept();
        QTRY_COMPARE(w.bars().size(), 1U);
        Writing::button(*w.bars()[0], u"first")->click();
        QCOMPARE(w.waiting(), 0U);
        QCOMPARE(w.program.bar(), u"“Third” is not sent on."_s);
        QVERIFY(!sendWindow());
        QCOMPARE(w.program.inbox().counts().total, 3U);
    }

    void whatStaysSaysWhy_data()
    {
        QTest::addColumn<std::function<void(Writing &)>>("prepare");
        QTest::addColumn<std::function<void(Writing &)>>("then");
        QTest::addColumn<QString>("why");
        QTest::addColumn<QString>("button");
        using Deed = std::function<void(Writing &)>;
        const Deed nothing = [](Writing &) {};
        const auto change = [](auto how) {
            return Deed([how](Writing &w) {
                AccountData account = w.program.engine.accounts().account(w.account)->data();
                how(account, w);
                QVERIFY(w.program.engine.accounts().update(account));
            });
        };
        QTest::newRow("nothing keeps it") << nothing << nothing << QString() << QString();
        QTest::newRow("sent by hand only")
            << Deed([](Writing &) { setBoolSetting(Setting::AutoSend, false); }) << nothing
            << u"waits until you send it"_s << u"Send now"_s;
        QTest::newRow("held back") << change([](AccountData &account, Writing &) {
            account.set(AccountLeftOut, true);
        }) << nothing << u"is held back"_s
                                   << u"Send now"_s;
        QTest::newRow("somebody else's account") << change([](AccountData &account, Writing &w) {
            Identity other;
            other.address = u"other@tidewater.example"_s;
            account.identity = w.program.engine.identities().add(other);
        }) << nothing << u"waits for an account that sends for"_s
                                                 << u"Set up…"_s;
        QTest::newRow("the session failed") << nothing << Deed([](Writing &w) {
            QVERIFY(w.clients.of(w.account));
            w.clients.of(w.account)->end(AccountFetchReason::ConnectionClosed, {});
        }) << u"tried again at"_s << u"Send now"_s;
    }

    void whatStaysSaysWhy()
    {
        QFETCH(std::function<void(Writing &)>, prepare);
        QFETCH(std::function<void(Writing &)>, then);
        QFETCH(QString, why);
        QFETCH(QString, button);
        Writing w;
        Outbox::setUndoDelay(0);
        prepare(w);
        w.program.window->findChild<OutboxCommands *>()->noteSent(
            w.program.engine.outbox().entryAt(w.send(u"Tides"_s))->ticket);
        then(w);
        if (why.isEmpty()) {
            QCOMPARE(w.program.bar(), QString());
            return;
        }
        QTRY_VERIFY2(w.program.bar().contains(why), qPrintable(w.program.bar()));
        QVERIFY(w.program.bar().startsWith(u"“Tides” has not been sent."));
        QCOMPARE(Writing::button(w.bar(), u"first")->text(), button);
    }

    /// A box offers the account of another identity, each time that the user wants it sent.
    void anotherAccountMaySend()
    {
        Writing w;
        Outbox::setUndoDelay(0);
        AccountData account = w.program.engine.accounts().account(w.account)->data();
        Identity other;
        other.address = u"other@tidewater.example"_s;
        account.identity = w.program.engine.identities().add(other);
        QVERIFY(w.program.engine.accounts().update(account));
        const MessageRef place = w.send(u"Tides"_s);
        w.program.answer(u"Later"_s);
        QTRY_VERIFY(!w.program.window->boxes().isBusy());
        w.program.window->selectGroup(place.group);
        QVERIFY(w.program.window->selectMessage(place.article));
        w.program.act("write.sendNow");
        QVERIFY(w.program.box());
        QVERIFY2(w.program.box()->text().contains(u"clara@tidewater.example"),
                 qPrintable(w.program.box()->text()));
        QVERIFY(!w.clients.of(w.account));
        w.program.answer(u"Send with “Post”"_s);
        QTRY_VERIFY(w.clients.of(w.account));
        QCOMPARE(w.program.engine.outbox().entryAt(place)->account, w.account);
    }

    void whatMayHaveGoneIsAskedAbout()
    {
        Writing w;
        Outbox::setUndoDelay(0);
        Outbox &outbox = w.program.engine.outbox();
        const MessageRef place = w.send(u"Tides"_s);
        const quint64 ticket = outbox.entryAt(place)->ticket;
        QVERIFY(outbox.next(w.account));
        QVERIFY(outbox.sending(ticket, {"bob@example.org"}));
        outbox.release(ticket, u"the connection was closed"_s);
        QTRY_VERIFY2(w.program.bar().startsWith(u"Nobody knows whether “Tides” was sent."),
                     qPrintable(w.program.bar()));
        QVERIFY2(!w.program.bar().contains(u"program ended"), qPrintable(w.program.bar()));
        const auto *mark = w.program.window->findChild<QToolButton *>(u"noticesButton"_s);
        QVERIFY2(mark->isVisible(), "it can be read again when the bar is taken by another");
        w.program.window->selectGroup(place.group);
        QVERIFY(w.program.window->selectMessage(place.article));
        w.bar().hide();
        w.program.act("write.sendNow");
        QCOMPARE(outbox.entryAt(place)->state, OutboxState::PerhapsSent);
        QCOMPARE(Writing::button(w.bar(), u"first")->text(), u"Send again"_s);
        Writing::button(w.bar(), u"first")->click();
        QVERIFY(outbox.entryAt(place)->state != OutboxState::PerhapsSent);
    }

    void thoseThatStayForOneReasonAreToldTogether()
    {
        Writing w;
        Outbox::setUndoDelay(0);
        setBoolSetting(Setting::AutoSend, false);
        for (const char *subject : {"One", "Two", "Three"})
            w.send(QLatin1String(subject));
        AccountData paused = w.program.engine.accounts().account(w.account)->data();
        paused.set(AccountLeftOut, true);
        QVERIFY(w.program.engine.accounts().update(paused));
        QTRY_VERIFY(w.program.window->actions().find(u"tools.sendWaiting")->isEnabled());
        w.program.act("tools.sendWaiting");
        QTRY_VERIFY2(w.program.bar().startsWith(u"3 messages have not been sent."),
                     qPrintable(w.program.bar()));
        QVERIFY2(w.program.bar().contains(u"is held back"), qPrintable(w.program.bar()));
        QCOMPARE(w.program.window->findChild<QToolButton *>(u"noticesButton"_s)->text(), u"1"_s);
        paused.set(AccountLeftOut, false);
        QVERIFY(w.program.engine.accounts().update(paused));
        QVERIFY(!w.clients.of(w.account));
        Writing::button(w.bar(), u"first")->click();
        QVERIFY(w.clients.of(w.account));
        for (int i = 0; i < 3; ++i)
            QVERIFY(w.program.engine.outbox().next(w.account));
    }

    void whatIsSettledElsewhereIsToldNoMore_data()
    {
        QTest::addColumn<int>("reply"); ///< of the server; 0: none came
        QTest::addColumn<bool>("isDeleted");
        QTest::addColumn<QString>("told");
        QTest::newRow("refused, and deleted") << 550 << true << u"“Tides” could not be sent"_s;
        QTest::newRow("refused, and sent again") << 550 << false << u"“Tides” could not be sent"_s;
        QTest::newRow("perhaps sent, and deleted") << 0 << true << u"Nobody knows whether “Tides”"_s;
        QTest::newRow("perhaps sent, and settled") << 0 << false << u"Nobody knows whether “Tides”"_s;
    }

    void whatIsSettledElsewhereIsToldNoMore()
    {
        QFETCH(int, reply);
        QFETCH(bool, isDeleted);
        QFETCH(QString, told);
        Writing w;
        Outbox::setUndoDelay(0);
        Outbox &outbox = w.program.engine.outbox();
        const MessageRef place = w.send(u"Tides"_s);
        const quint64 ticket = outbox.entryAt(place)->ticket;
        QVERIFY(outbox.next(w.account) && outbox.sending(ticket, {"bob@example.org"}));
        if (reply != 0)
            outbox.refused(ticket, {{QByteArray(), reply, u"no such box"_s}});
        outbox.release(ticket, {});
        QTRY_VERIFY2(w.program.bar().startsWith(told), qPrintable(w.program.bar()));
        QTest::qWait(0);
        w.program.window->findChild<OutboxCommands *>()->changed();
        QVERIFY2(w.program.bar().startsWith(told), "it stays for as long as that holds");
        if (isDeleted)
            w.program.engine.groups().deleteMessages(*w.program.group(GroupRole::Outbox), {place.article});
        else if (reply != 0)
            outbox.sendNow(ticket);
        else
            outbox.settleAsSent(ticket);
        QTRY_COMPARE(w.program.bar(), QString());
    }

    void nothingIsSentOnClosingOffline()
    {
        Writing w;
        const MessageRef place = w.send(u"Soon"_s);
        setOnline(false);
        QVERIFY(!w.program.window->close());
        QCOMPARE(w.program.box()->buttons().size(), 2); // to close and to stay
        w.program.answer(u"Close"_s);
        QTRY_VERIFY(!w.program.window->isVisible());
        QCOMPARE(w.program.engine.outbox().entryAt(place)->state, OutboxState::Held);
    }

    void closingAsksAboutCountdowns_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<bool>("closes");
        QTest::addColumn<bool>("goes");
        QTest::newRow("stay") << u"Stay"_s << false << false;
        QTest::newRow("later") << u"Close"_s << true << false;
        QTest::newRow("now") << u"Send and close"_s << true << true;
    }

    void closingAsksAboutCountdowns()
    {
        QFETCH(QString, answer);
        QFETCH(bool, closes);
        QFETCH(bool, goes);
        Writing w;
        const MessageRef place = w.send(u"Soon"_s);
        QVERIFY(!w.program.window->close());
        QCOMPARE(w.program.box()->text(), u"A message is about to be sent."_s);
        w.program.answer(answer);
        QTRY_VERIFY(!w.program.window->boxes().isBusy());
        QCOMPARE(w.clients.of(w.account) != nullptr, goes);
        if (goes) {
            QVERIFY(w.program.window->isVisible()); // until it is sent
            w.clients.of(w.account)->end();
        }
        QTRY_COMPARE(w.program.window->isVisible(), !closes);
        const OutboxEntry *entry = w.program.engine.outbox().entryAt(place);
        QVERIFY(entry);
        QCOMPARE(entry->state == OutboxState::Held, !goes);
    }

    void closingWaitsForWhatIsBeingSent()
    {
        Writing w;
        const MessageRef place = w.send(u"Soon"_s);
        w.program.engine.outbox().sendNow(w.program.engine.outbox().entryAt(place)->ticket);
        QVERIFY(w.clients.of(w.account));
        QVERIFY(!w.program.window->close());
        QCOMPARE(w.program.box()->text(), u"Mail is being sent."_s);
        w.program.answer(u"Close when it is sent"_s);
        QTRY_VERIFY(!w.program.window->boxes().isBusy());
        QVERIFY(w.program.window->isVisible() && !w.clients.of(w.account)->wasStopped);
        w.clients.of(w.account)->end();
        QTRY_VERIFY(!w.program.window->isVisible());
    }

    void whatIsWrittenOfflineWaits()
    {
        Writing w;
        Outbox::setUndoDelay(0);
        setOnline(false);
        w.send(u"Later"_s);
        QVERIFY(!w.clients.of(w.account));
        QTRY_VERIFY(w.program.window->actions().find(u"tools.sendWaiting")->isEnabled());
        w.program.act("tools.sendWaiting");
        QVERIFY2(w.program.bar().contains(u"offline"), qPrintable(w.program.bar()));
        Writing::button(w.bar(), u"first")->click();
        QVERIFY(isOnline());
        QTRY_VERIFY(w.clients.of(w.account));
    }
};

QTEST_MAIN(WindowTransfersTest)
#include "windowtransfers_test.moc"
