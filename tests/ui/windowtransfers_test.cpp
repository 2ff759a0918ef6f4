#include "faketransfers.h"
#include "windowprogram.h"

#include "ui/look/elidedlabel.h"
#include "ui/look/emptystate.h"
#include "ui/main/statusline.h"

#include <QDialog>
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

} // namespace

/// What the main window says of fetches.
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
};

QTEST_MAIN(WindowTransfersTest)
#include "windowtransfers_test.moc"
