#include "faketransfers.h"
#include "support/scratch.h"

#include "config/clock.h"
#include "ui/look/elidedlabel.h"
#include "ui/transfers/fetchercontrol.h"
#include "ui/transfers/fetchererrorlist.h"
#include "ui/transfers/fetcherstatus.h"
#include "ui/transfers/transfererrorcard.h"
#include "ui/transfers/transfertexts.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <QTreeView>

using namespace Qt::StringLiterals;

namespace {

/// Two accounts, their clients in the test's hand, and the window that watches them.
struct Transfers
{
    Transfers()
    {
        accounts.setFactory(&clients);
        home = accounts.add(popAccount(u"Home"_s));
        club = accounts.add(popAccount(u"Sailing club"_s));
        control = std::make_unique<FetcherControl>(accounts);
    }

    FakeFetcher &fetch(int account)
    {
        accounts.account(account)->fetch(true, true);
        return *clients.of(account);
    }

    void failLogin(int account)
    {
        fetch(account).end(AccountFetchReason::Unexpected, u"-ERR [AUTH] Authentication failed."_s);
    }

    QString words(int account, const char *label) const
    {
        return control->card(account)->findChild<QLabel *>(QLatin1StringView(label))->text();
    }

    template <typename Widget = QPushButton>
    Widget *find(const char *name) const
    {
        return control->findChild<Widget *>(QLatin1StringView(name));
    }

    Scratch scratch;
    FakeClients clients;
    AccountManager accounts;
    std::unique_ptr<FetcherControl> control;
    int home = 0;
    int club = 0;
};

bool isShown(const QWidget *widget)
{
    return widget && widget->isVisible();
}

} // namespace

/// The window of transfers and the list of errors.
class TransfersTest : public QObject
{
    Q_OBJECT

private slots:
    void theWords();
    void aRowFollowsItsTransfer();
    void stopEndsIt();
    void singleMessagesAreShownWhileTheyCome();
    void singleMessagesThatFail();
    void rowsFollowTheirAccounts();
    void namesHaveTheRoomThereIs();
    void opensAndHidesByItself();
    void whoOnlyWaitedDoesNotCount();
    void whatTheUserOpenedStays();
    void aFailureExplainsItself();
    void whatHasWorkedIsTriedAgain_data();
    void whatHasWorkedIsTriedAgain();
    void theSameAgainIsCounted();
    void successTakesTheCardAway();
    void anAccountThatNeverBeganGetsARow();
    void pauseLeavesTheAccountOut();
    void errorsAreListedAndCopied();
    void doubleClickOpensTheWholeText();
    void theKeyboardReachesEverything();
    void amounts_data();
    void amounts();
};

void TransfersTest::theWords()
{
    Transfers t;
    QCOMPARE(t.control->windowTitle(), u"Transfer Status"_s);
    QCOMPARE(t.find("close")->text(), u"Close"_s);
    QCOMPARE(t.find("showErrors")->text(), u"Show &Errors"_s);
    QStringList labels;
    for (const QLabel *label : t.control->findChildren<QLabel *>())
        labels += label->text();
    for (const QString &column : {u"Account"_s, u"Type"_s, u"Status"_s})
        QVERIFY2(labels.contains(column), qPrintable(column));
    t.control->slotShowErrors();
    const FetcherErrorList *list = t.control->errorList();
    QCOMPARE(list->windowTitle(), u"Transfer Errors"_s);
    QStringList buttons;
    for (const QPushButton *button : list->findChildren<QPushButton *>())
        buttons += button->text();
    for (const QString &text : {u"Close"_s, u"C&lear All"_s, u"&Copy All"_s})
        QVERIFY2(buttons.contains(text), qPrintable(text));
    const auto *model = list->findChild<QTreeView *>()->model();
    QStringList columns;
    for (int i = 0; i < model->columnCount(); ++i)
        columns += model->headerData(i, Qt::Horizontal).toString();
    QCOMPARE(columns, QStringList({u"Account"_s, u"Time"_s, u"Error"_s}));
}

void TransfersTest::aRowFollowsItsTransfer()
{
    Transfers t;
    t.control->show();
    QVERIFY(!t.control->row(t.home));
    FakeFetcher &fetcher = t.fetch(t.home);
    const FetcherStatus *row = t.control->row(t.home);
    QVERIFY(row && row->isRunning());
    QCOMPARE(row->title(), u"Mail (POP3)"_s);
    fetcher.say(u"Receiving message 3 of 12"_s);
    QCOMPARE(row->status(), u"Receiving message 3 of 12"_s);
    emit fetcher.progressed(300'000, 1'200'000, 3, 12);
    const auto *bar = row->findChild<QProgressBar *>();
    QTRY_COMPARE(bar->value(), 250);
    QVERIFY(bar->isVisible());
    QVERIFY2(row->findChild<ElidedLabel *>(u"amount"_s)->text().startsWith(u"3 of 12, "_s), "the counts");
    fetcher.end();
    QTRY_VERIFY(!row->isRunning());
    QCOMPARE(row->status(), u"3 messages fetched"_s);
    QVERIFY(!bar->isVisible());
}

void TransfersTest::stopEndsIt()
{
    Transfers t;
    t.control->show();
    QPointer<FakeFetcher> fetcher = &t.fetch(t.home);
    auto *stop = t.control->row(t.home)->findChild<QToolButton *>(u"stop"_s);
    QVERIFY(isShown(stop));
    QCOMPARE(stop->accessibleName(), u"Stop Home"_s);
    stop->setFocus();
    QTest::keyClick(stop, Qt::Key_Space);
    QTRY_COMPARE(t.control->row(t.home)->status(), u"Stopped"_s);
    QVERIFY(!isShown(stop));
    QVERIFY(!t.control->card(t.home));
    QCOMPARE(t.control->running(), 0);
}

/// A session that serves them has its row and its button; when it rests, what was there before is there
/// again.
void TransfersTest::singleMessagesAreShownWhileTheyCome()
{
    Transfers t;
    setBoolSetting(Setting::OpenStatusOnFetch, true);
    Account &home = *t.accounts.account(t.home);
    QVERIFY(home.openSession(true));
    QVERIFY2(!t.control->isVisible(), "it is no fetch");
    t.control->show();
    const QPointer<FetcherStatus> first = t.control->row(t.home);
    QVERIFY(first && first->isRunning());
    QCOMPARE(t.control->running(), 1);
    QVERIFY(t.find("stopAll")->isEnabled());
    FakeFetcher *session = t.clients.of(t.home);
    session->say(u"Fetching message 7..."_s);
    QCOMPARE(first->status(), u"Fetching message 7..."_s);
    emit session->progressed(0, 0, 1, 4);
    QTRY_COMPARE(first->findChild<QProgressBar *>()->value(), 250);
    QVERIFY(isShown(first->findChild<QToolButton *>(u"stop"_s)));
    session->setIdle(true);
    QVERIFY2(!t.control->row(t.home), "there is nothing to show of it");
    QCOMPARE(t.control->running(), 0);
    session->end();
    QTRY_VERIFY(!home.session());

    t.fetch(t.home).end();
    FetcherStatus *row = t.control->row(t.home);
    QTRY_VERIFY(!row->isRunning());
    const QString before = row->status();
    QVERIFY(home.openSession(true));
    QVERIFY(row->isRunning() && row->status() != before);
    auto *stop = row->findChild<QToolButton *>(u"stop"_s);
    stop->click();
    QVERIFY(t.clients.of(t.home) == nullptr || t.clients.of(t.home)->wasStopped);
    QTRY_VERIFY(!row->isRunning());
    QCOMPARE(t.control->row(t.home), row);
    QCOMPARE(row->status(), before);
    QVERIFY(!isShown(stop));
}

void TransfersTest::singleMessagesThatFail()
{
    Transfers t;
    t.control->show();
    QVERIFY(t.accounts.account(t.home)->openSession(true));
    t.clients.of(t.home)->end(AccountFetchReason::TimedOut, {});
    const FetcherStatus *row = t.control->row(t.home);
    QVERIFY(row && !row->isRunning());
    QVERIFY(!row->status().isEmpty());
    QVERIFY(t.control->card(t.home));
}

void TransfersTest::rowsFollowTheirAccounts()
{
    Transfers t;
    t.fetch(t.home);
    t.failLogin(t.club);
    QTRY_VERIFY(t.control->card(t.club));
    AccountData renamed = t.accounts.account(t.home)->data();
    renamed.name = u"House"_s;
    QVERIFY(t.accounts.update(renamed));
    QCOMPARE(t.control->row(t.home)->accessibleName(), u"House"_s);
    t.accounts.remove(t.club);
    QVERIFY(!t.control->row(t.club));
    QVERIFY(!t.control->card(t.club));
    QVERIFY(t.control->row(t.home));
}

void TransfersTest::namesHaveTheRoomThereIs()
{
    Transfers t;
    t.control->show();
    t.control->resize(1200, 500);
    t.fetch(t.home);
    t.fetch(t.club);
    const auto rename = [&t](const QString &name) {
        AccountData data = t.accounts.account(t.club)->data();
        data.name = name;
        QVERIFY(t.accounts.update(data));
    };
    const auto nameOf = [&t](int account) {
        const QString name = t.accounts.account(account)->name();
        for (const ElidedLabel *label : t.control->row(account)->findChildren<ElidedLabel *>())
            if (label->text() == name)
                return label;
        return static_cast<const ElidedLabel *>(nullptr);
    };
    rename(u"The mailbox of the editors of the almanac"_s);
    QVERIFY(nameOf(t.club));
    QTRY_VERIFY2(!nameOf(t.club)->isElided(), "there is room for it");
    QTRY_COMPARE(nameOf(t.home)->width(), nameOf(t.club)->width());
    const int wide = nameOf(t.club)->width();
    rename(QString(300, u'x'));
    QTRY_VERIFY2(nameOf(t.club)->isElided(), "the tool tip has the rest");
    QTRY_VERIFY(nameOf(t.club)->width() > wide && nameOf(t.club)->width() < t.control->width() / 2);
    t.control->resize(700, 500);
    QTRY_VERIFY(nameOf(t.club)->width() < 350);
}

void TransfersTest::opensAndHidesByItself()
{
    Transfers t;
    setBoolSetting(Setting::OpenStatusOnFetch, true);
    FakeFetcher &one = t.fetch(t.home);
    QVERIFY(t.control->isVisible());
    FakeFetcher &two = t.fetch(t.club);
    QCOMPARE(t.control->running(), 2);
    one.end();
    QTRY_COMPARE(t.control->running(), 1);
    QVERIFY(t.control->isVisible());
    two.end();
    QTRY_VERIFY(!t.control->isVisible());
    QCOMPARE(t.control->running(), 0);
}

/// An account whose turn never came ends, too; the others go on running.
void TransfersTest::whoOnlyWaitedDoesNotCount()
{
    Transfers t;
    setBoolSetting(Setting::OpenStatusOnFetch, true);
    setIntSetting(Setting::FetchConcurrency, 1);
    t.fetch(t.home);
    QCOMPARE(t.accounts.account(t.club)->fetch(true, true), FetchAnswer::Waiting);
    t.accounts.account(t.club)->stop();
    QCOMPARE(t.control->running(), 1);
    QVERIFY(t.control->isVisible());
    QVERIFY(t.find("stopAll")->isEnabled());
}

void TransfersTest::whatTheUserOpenedStays()
{
    Transfers t;
    t.fetch(t.home).end();
    QVERIFY2(!t.control->isVisible(), "the setting is off");
    QTRY_COMPARE(t.control->running(), 0);
    t.control->show();
    auto *box = t.find<QCheckBox>("openItself");
    QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
    QVERIFY(boolSetting(Setting::OpenStatusOnFetch));
    t.fetch(t.home).end();
    QTRY_COMPARE(t.control->running(), 0);
    QVERIFY(t.control->isVisible());
}

void TransfersTest::aFailureExplainsItself()
{
    Transfers t;
    t.control->show();
    t.failLogin(t.club);
    QTRY_VERIFY(isShown(t.control->card(t.club)));
    QCOMPARE(t.words(t.club, "title"), u"Sailing club: the password was refused"_s);
    QVERIFY(t.words(t.club, "words").contains(u"Nothing was lost"_s));
    QCOMPARE(t.words(t.club, "line"), u"<<<< -ERR [AUTH] Authentication failed."_s);
    QCOMPARE(t.control->row(t.club)->status(), u"The password was refused"_s);
    QSignalSpy mend(t.control.get(), &FetcherControl::mendWanted);
    for (const char *button : {"mend", "other", "log"})
        QTest::mouseClick(t.control->card(t.club)->findChild<QPushButton *>(QLatin1StringView(button)),
                          Qt::LeftButton);
    QCOMPARE(mend.size(), 3);
    QCOMPARE(mend[0][0].value<MendAction>(), MendAction::EnterPassword);
    QCOMPARE(mend[1][0].value<MendAction>(), MendAction::TryAgain);
    QCOMPARE(mend[2][0].value<MendAction>(), MendAction::ShowLog);
    QCOMPARE(mend[0][1].toInt(), t.club);
}

void TransfersTest::whatHasWorkedIsTriedAgain_data()
{
    QTest::addColumn<bool>("workedBefore"); // in an earlier run
    QTest::addColumn<bool>("worksFirst");
    QTest::addColumn<bool>("isMoved"); // to another server
    QTest::addColumn<MendAction>("first");
    QTest::addColumn<MendAction>("second");
    QTest::newRow("never worked") << false << false << false << MendAction::EditAccount
                                  << MendAction::TryAgain;
    QTest::newRow("worked a moment ago")
        << false << true << false << MendAction::TryAgain << MendAction::EditAccount;
    QTest::newRow("worked in an earlier run")
        << true << false << false << MendAction::TryAgain << MendAction::EditAccount;
    QTest::newRow("worked with another server")
        << true << true << true << MendAction::EditAccount << MendAction::TryAgain;
}

void TransfersTest::whatHasWorkedIsTriedAgain()
{
    QFETCH(bool, workedBefore);
    QFETCH(bool, worksFirst);
    QFETCH(bool, isMoved);
    Transfers t;
    if (workedBefore) {
        QDir().mkpath(configPathOf(u"Accounts/%1"_s.arg(t.home)));
        QFile uidls(configPathOf(u"Accounts/%1/UIDLs"_s.arg(t.home)));
        QVERIFY(uidls.open(QIODevice::WriteOnly));
        t.control = std::make_unique<FetcherControl>(t.accounts);
    }
    if (worksFirst) {
        t.fetch(t.home).end();
        QTRY_COMPARE(t.control->running(), 0);
    }
    if (isMoved) {
        AccountData data = t.accounts.account(t.home)->data();
        data.host = u"mail.example.net"_s;
        QVERIFY(t.accounts.update(data));
    }
    t.fetch(t.home).end(AccountFetchReason::Unreachable, u"Connection refused"_s);
    QTRY_VERIFY(t.control->card(t.home));
    QSignalSpy mend(t.control.get(), &FetcherControl::mendWanted);
    for (const char *button : {"mend", "other"})
        t.control->card(t.home)->findChild<QPushButton *>(QLatin1StringView(button))->click();
    QTEST(mend[0][0].value<MendAction>(), "first");
    QTEST(mend[1][0].value<MendAction>(), "second");
}

void TransfersTest::theSameAgainIsCounted()
{
    Transfers t;
    for (int i = 0; i < 3; ++i) {
        t.failLogin(t.home);
        QTRY_COMPARE(t.control->running(), 0);
    }
    QVERIFY2(t.words(t.home, "time").endsWith(u", third time"_s), qPrintable(t.words(t.home, "time")));
    t.fetch(t.home).end(AccountFetchReason::TimedOut, {});
    QTRY_COMPARE(t.words(t.home, "title"), u"Home: the server did not answer in time"_s);
    QVERIFY(!t.words(t.home, "time").contains(u','));
    QCOMPARE(t.control->findChildren<TransferErrorCard *>().size(), 1);
}

void TransfersTest::successTakesTheCardAway()
{
    Transfers t;
    t.failLogin(t.home);
    QTRY_VERIFY(t.control->card(t.home));
    QTRY_COMPARE(t.control->running(), 0);
    t.fetch(t.home).end();
    QTRY_VERIFY(!t.control->card(t.home));
}

void TransfersTest::anAccountThatNeverBeganGetsARow()
{
    Transfers t;
    t.accounts.errors().add(
        {t.home, u"Home"_s, clockSeconds(), AccountFetchReason::LoginFailed, {}, u"No"_s});
    QVERIFY(t.control->row(t.home));
    QCOMPARE(t.control->row(t.home)->title(), u"Errors"_s);
    t.fetch(t.home);
    QCOMPARE(t.control->row(t.home)->title(), u"Mail (POP3)"_s);
}

void TransfersTest::pauseLeavesTheAccountOut()
{
    Transfers t;
    t.control->show();
    t.failLogin(t.home);
    QTRY_VERIFY(isShown(t.control->card(t.home)));
    QTest::mouseClick(t.control->card(t.home)->findChild<QPushButton *>(u"pause"_s), Qt::LeftButton);
    QVERIFY(t.accounts.account(t.home)->data().has(AccountLeftOut));
    QVERIFY(!t.control->card(t.home));
}

void TransfersTest::errorsAreListedAndCopied()
{
    Transfers t;
    const auto add = [&t](const QString &name, qint64 time, const QString &text) {
        t.accounts.errors().add({t.home, name, time, AccountFetchReason::TimedOut, {}, text});
    };
    add(u"Home"_s, 1'700'000'000, u"Account 'Home' has timed out"_s);
    t.control->show();
    QTest::mouseClick(t.find("showErrors"), Qt::LeftButton);
    FetcherErrorList *list = t.control->errorList();
    QVERIFY(isShown(list));
    add(u"Club"_s, 1'700'000'060, u"Second"_s); // while it is open
    const auto *model = list->findChild<QTreeView *>()->model();
    QCOMPARE(model->rowCount(), 2);
    QTest::mouseClick(list->findChild<QPushButton *>(u"copyAll"_s), Qt::LeftButton);
    QCOMPARE(QApplication::clipboard()->text(),
             u"Club\t2023-11-14 22:14:20\tSecond\nHome\t2023-11-14 22:13:20\tAccount 'Home' has timed out"_s);
    QTest::mouseClick(list->findChild<QPushButton *>(u"clearAll"_s), Qt::LeftButton);
    QCOMPARE(model->rowCount(), 0);
    QVERIFY(t.accounts.errors().all().empty());
    QVERIFY(!list->findChild<QPushButton *>(u"copyAll"_s)->isEnabled());
    t.control->slotShowErrors();
    QCOMPARE(t.control->errorList(), list);
}

void TransfersTest::doubleClickOpensTheWholeText()
{
    Transfers t;
    const QString whole = u"Unable to connect: "_s + QString(2000, u'x');
    t.accounts.errors().add({t.home, u"Home"_s, 0, AccountFetchReason::Unreachable, {}, whole});
    t.control->slotShowErrors();
    auto *view = t.control->errorList()->findChild<QTreeView *>();
    view->setCurrentIndex(view->model()->index(0, 0));
    QTest::keyClick(view, Qt::Key_Return);
    auto *dialog = t.control->errorList()->findChild<QDialog *>(u"error"_s);
    QVERIFY(isShown(dialog));
    QCOMPARE(dialog->findChild<QLabel *>(u"text"_s)->text(), whole);
    QSignalSpy mend(t.control.get(), &FetcherControl::mendWanted);
    QTest::mouseClick(dialog->findChild<QPushButton *>(u"showLog"_s), Qt::LeftButton);
    QCOMPARE(mend.value(0).value(0).value<MendAction>(), MendAction::ShowLog);
    QCOMPARE(mend.value(0).value(1).toInt(), t.home);
}

void TransfersTest::theKeyboardReachesEverything()
{
    Transfers t;
    t.control->show();
    t.failLogin(t.club);
    t.fetch(t.home);
    QTRY_VERIFY(isShown(t.control->card(t.club)));
    QVERIFY(QTest::qWaitForWindowActive(t.control.get()));
    QSet<QWidget *> missing;
    for (QAbstractButton *button : t.control->findChildren<QAbstractButton *>())
        if (button->isVisible() && button->isEnabled())
            missing.insert(button);
    QVERIFY(missing.size() >= 9);
    for (int i = 0; i < 30 && !missing.isEmpty(); ++i) {
        QTest::keyClick(t.control.get(), Qt::Key_Tab);
        missing.remove(QApplication::focusWidget());
    }
    QVERIFY2(missing.isEmpty(), missing.isEmpty() ? "" : qPrintable((*missing.begin())->objectName()));
    QTest::keyClick(t.control.get(), Qt::Key_Escape);
    QVERIFY(!t.control->isVisible());
}

void TransfersTest::amounts_data()
{
    QTest::addColumn<QList<qint64>>("given"); // bytes done and in all, messages done and in all, milliseconds
    QTest::addColumn<QString>("text");
    QTest::newRow("nothing known") << QList<qint64>{0, 0, 0, 0, 5000} << QString();
    QTest::newRow("counts") << QList<qint64>{0, 0, 3, 12, 5000} << u"3 of 12"_s;
    QTest::newRow("no speed before a second")
        << QList<qint64>{300'000, 600'000, 0, 0, 999} << u"300 kB of 600 kB"_s;
    QTest::newRow("speed and time") << QList<qint64>{300'000, 900'000, 1, 3, 3000}
                                    << u"1 of 3, 300 kB of 900 kB, 100 kB/s, about 6 s"_s;
    QTest::newRow("minutes") << QList<qint64>{300'000, 12'300'000, 0, 0, 3000}
                             << u"300 kB of 12.3 MB, 100 kB/s, about 2 min"_s;
    QTest::newRow("all of it") << QList<qint64>{300'000, 300'000, 0, 0, 3000}
                               << u"300 kB of 300 kB, 100 kB/s"_s;
    QTest::newRow("total unknown") << QList<qint64>{300'000, 0, 0, 0, 3000} << u"300 kB, 100 kB/s"_s;
}

void TransfersTest::amounts()
{
    QFETCH(QList<qint64>, given);
    QTEST(transferAmount(given[0], given[1], int(given[2]), int(given[3]), given[4]), "text");
}

QTEST_MAIN(TransfersTest)
#include "transfers_test.moc"
