#include "accountsprogram.h"
#include "ui/accounts/accountlistmodel.h"
#include "ui/accounts/accountsdialog.h"

#include <QDialog>
#include <QLineEdit>
#include <QListView>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

class AccountListTest : public QObject
{
    Q_OBJECT

private slots:
    void deletingSaysWhatIsLost();
    void aCopyIsAProposal();
    void orderIsChanged();
    void theListFollowsItsAccounts();
    void theListSaysHowTheLastFetchEnded_data();
    void theListSaysHowTheLastFetchEnded();
    void anEmptyListLeadsToTheWizard();
};

void AccountListTest::deletingSaysWhatIsLost()
{
    AccountsProgram program;
    AccountsDialog dialog(program.engine);
    dialog.setAttribute(Qt::WA_DeleteOnClose, false);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    dialog.select(program.club);
    auto *list = dialog.findChild<QListView *>(u"accounts"_s);
    QTest::keyClick(list, Qt::Key_Delete);
    auto *question = dialog.findChild<QDialog *>(u"deleteDialog"_s);
    QVERIFY(question && question->isVisible());
    QTest::keyClick(question, Qt::Key_Return); // Enter keeps it
    QVERIFY(program.accounts().find(u"Club"_s));
    QTRY_VERIFY(!dialog.findChild<QDialog *>(u"deleteDialog"_s));
    press(dialog, "delete");
    press(*dialog.findChild<QDialog *>(u"deleteDialog"_s), "deleteAccount");
    QVERIFY(!program.accounts().find(u"Club"_s));
    QCOMPARE(list->model()->rowCount(), 1);
    QVERIFY(!Scratch::read(configPathOf(u"Accounts/Index"_s)).contains("Club"));
}

void AccountListTest::aCopyIsAProposal()
{
    AccountsProgram program;
    AccountOptions options;
    options.caFile = program.scratch.write(u"ca.pem"_s, "x");
    QVERIFY(program.accounts().account(program.home)->setOptions(options));
    AccountsDialog dialog(program.engine);
    dialog.setAttribute(Qt::WA_DeleteOnClose, false);
    dialog.show();
    dialog.select(program.home);
    press(dialog, "copy");
    auto *editor = dialog.findChild<AccountEditor *>();
    QVERIFY(editor);
    QCOMPARE(field<QLineEdit>(*editor, AccountField::Name)->selectedText(), u"Copy of Home"_s);
    QCOMPARE(program.accounts().accounts().size(), 2u);
    field<QLineEdit>(*editor, AccountField::User)->setText(u"arthur"_s);
    press(*editor, "ok");
    const Account *copy = program.accounts().find(u"Copy of Home"_s);
    QVERIFY(copy);
    QCOMPARE(copy->data().host, u"pop.example.org"_s);
    QCOMPARE(copy->data().user, u"arthur"_s);
    QCOMPARE(copy->options().caFile, options.caFile);
    QVERIFY2(copy->password().isEmpty(), "another user has another password");
    QCOMPARE(program.data(program.home).password, u"secret42"_s);
    QCOMPARE(dialog.findChild<QListView *>(u"accounts"_s)->currentIndex().row(), 2);
    dialog.select(program.home);
    press(dialog, "copy");
    QCOMPARE(field<QLineEdit>(*dialog.findChildren<AccountEditor *>().last(), AccountField::Name)->text(),
             u"Copy of Home 2"_s);
}

void AccountListTest::orderIsChanged()
{
    AccountsProgram program;
    AccountsDialog dialog(program.engine);
    dialog.setAttribute(Qt::WA_DeleteOnClose, false);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    dialog.select(program.club);
    QVERIFY(!dialog.findChild<QPushButton *>(u"down"_s)->isEnabled());
    press(dialog, "up");
    QCOMPARE(program.accounts().accounts().front()->name(), u"Club"_s);
    auto *list = dialog.findChild<QListView *>(u"accounts"_s);
    QCOMPARE(list->currentIndex().row(), 0);
    list->setFocus();
    QTest::keyClick(list, Qt::Key_Down, Qt::AltModifier);
    QCOMPARE(program.accounts().accounts().front()->name(), u"Home"_s);
    AccountManager again;
    again.load();
    QCOMPARE(again.accounts().back()->name(), u"Club"_s);
}

void AccountListTest::theListFollowsItsAccounts()
{
    AccountsProgram program;
    AccountsDialog dialog(program.engine);
    dialog.setAttribute(Qt::WA_DeleteOnClose, false);
    dialog.show();
    dialog.select(program.home);
    press(dialog, "fetch");
    const Account &account = *program.accounts().account(program.home);
    QVERIFY(account.isFetching());
    QVERIFY(!dialog.findChild<QPushButton *>(u"fetch"_s)->isEnabled());
    FakeFetcher &fetcher = *program.clients.of(program.home);
    fetcher.say(u"Receiving"_s);
    QCOMPARE(stateOf(account).text, u"Receiving"_s);
    fetcher.end(AccountFetchReason::TimedOut, {});
    QTRY_VERIFY(stateOf(account).isWrong);
    QVERIFY(stateOf(account).text.contains(u"did not answer in time"_s));
    AccountData left = account.data();
    left.set(AccountLeftOut, true);
    QVERIFY(program.accounts().update(left));
    QCOMPARE(stateOf(account).text, u"Paused"_s);
    QCOMPARE(accountSummary(account), u"Mail (POP3), pop.example.org, port 995, TLS"_s);
}

void AccountListTest::theListSaysHowTheLastFetchEnded_data()
{
    QTest::addColumn<AccountFetchReason>("reason");
    QTest::addColumn<QString>("word");
    QTest::newRow("well") << AccountFetchReason::None << u"Fetched "_s;
    QTest::newRow("stopped") << AccountFetchReason::Stopped << u"Stopped "_s;
    QTest::newRow("failed") << AccountFetchReason::TimedOut << u"Failed "_s;
    QTest::newRow("in part") << AccountFetchReason::WithErrors << u"Partly fetched "_s;
}

/// The editing is what takes the mark of a failure away.
void AccountListTest::theListSaysHowTheLastFetchEnded()
{
    QFETCH(AccountFetchReason, reason);
    QFETCH(QString, word);
    AccountsProgram program;
    const Account &account = *program.accounts().account(program.home);
    QVERIFY(stateOf(account).text.isEmpty());
    program.accounts().account(program.home)->fetch(true, true);
    program.clients.of(program.home)->end(reason, {});
    QTRY_VERIFY(!account.isFetching());
    AccountData changed = account.data();
    changed.password = u"another"_s;
    QVERIFY(program.accounts().update(changed));
    QVERIFY2(stateOf(account).text.startsWith(word), qPrintable(stateOf(account).text));
    QVERIFY(!stateOf(account).isWrong);
}

void AccountListTest::anEmptyListLeadsToTheWizard()
{
    AccountsProgram program;
    program.accounts().remove(program.home);
    program.accounts().remove(program.club);
    AccountsDialog dialog(program.engine);
    dialog.setAttribute(Qt::WA_DeleteOnClose, false);
    dialog.show();
    QSignalSpy wanted(&dialog, &AccountsDialog::newAccountWanted);
    QVERIFY(!dialog.findChild<QPushButton *>(u"edit"_s)->isEnabled());
    press(dialog, "new");
    QCOMPARE(wanted.size(), 1);
    QVERIFY(!dialog.findChild<QListView *>(u"accounts"_s)->isVisible());
}

QTEST_MAIN(AccountListTest)
#include "accountlist_test.moc"
