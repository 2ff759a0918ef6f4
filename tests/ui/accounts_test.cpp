#include "faketransfers.h"
#include "support/scratch.h"

#include "config/directory.h"
#include "engine/engine.h"
#include "engine/logintest.h"
#include "net/passwordkeeper.h"
#include "ui/accounts/accounteditor.h"
#include "ui/accounts/accountform.h"
#include "ui/accounts/accountlistmodel.h"
#include "ui/accounts/accountsdialog.h"
#include "ui/accounts/certificatelist.h"
#include "ui/accounts/keeponserver.h"
#include "ui/look/askingbar.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

/// Answers as the test says, and remembers what it was given.
class FakeTester : public LoginTester
{
public:
    void test(const AccountData &account, const AccountOptions &options, CertificateJudge, QObject *context,
              std::function<void(const LoginResult &)> done) override
    {
        tried = account;
        triedOptions = options;
        QTimer::singleShot(0, context, [this, done = std::move(done)] { done(result); });
    }

    AccountData tried;
    AccountOptions triedOptions;
    LoginResult result;
};

/// A keyring in memory.
class FakeKeeper : public PasswordKeeper
{
public:
    void isAvailable(std::function<void(bool)> answer) override { answer(true); }
    void read(const QString &key, std::function<void(bool, const QString &)> answer) override
    {
        answer(kept.contains(key), kept.value(key));
    }
    void write(const QString &key, const QString &password, std::function<void(bool)> answer) override
    {
        kept.insert(key, password);
        answer(true);
    }
    void remove(const QString &key, std::function<void(bool)> answer) override
    {
        kept.remove(key);
        answer(true);
    }

    QHash<QString, QString> kept;
};

struct Program
{
    Program()
    {
        createStoreDirectories();
        if (!engine.load())
            qFatal("the engine does not load");
        engine.accounts().setFactory(&clients);
        engine.accounts().setPasswordKeeper(&keeper);
        home = engine.accounts().add(popAccount(u"Home"_s));
        club = engine.accounts().add(popAccount(u"Club"_s));
    }

    const AccountData &data(int account) const { return accounts().account(account)->data(); }
    AccountManager &accounts() const { return const_cast<Engine &>(engine).accounts(); }

    std::unique_ptr<AccountEditor> edit(const AccountData &account)
    {
        auto editor = std::make_unique<AccountEditor>(engine, account, tester);
        editor->setAttribute(Qt::WA_DeleteOnClose, false);
        editor->show();
        return editor;
    }
    std::unique_ptr<AccountEditor> edit(int account) { return edit(data(account)); }

    Scratch scratch;
    FakeClients clients;
    FakeTester tester;
    FakeKeeper keeper;
    Engine engine;
    int home = 0;
    int club = 0;
};

template <typename Widget>
Widget *field(const AccountEditor &editor, AccountField which)
{
    auto *widget = qobject_cast<Widget *>(editor.form().control(which));
    if (!widget)
        qFatal("there is no such field");
    return widget;
}

void choose(QComboBox *box, int data)
{
    box->setCurrentIndex(box->findData(data));
}

QString note(const AccountEditor &editor, AccountField which)
{
    const auto *label = editor.form().findChild<QLabel *>(u"field%1note"_s.arg(int(which)));
    return label && label->isVisible() ? label->text() : QString();
}

void press(QWidget &window, const char *button)
{
    auto *found = window.findChild<QPushButton *>(QLatin1StringView(button));
    if (!found || !found->isEnabled())
        qFatal("no button to press: %s", button);
    QTest::mouseClick(found, Qt::LeftButton);
}

} // namespace

/// The editor of accounts and the list of them.
class AccountsTest : public QObject
{
    Q_OBJECT

private slots:
    void everyKindShowsItsFields_data();
    void everyKindShowsItsFields();
    void nothingEnteredChangesNothing();
    void whatIsEnteredIsSaved();
    void portFollowsEncryption();
    void problemsStandAtTheirFields_data();
    void problemsStandAtTheirFields();
    void noEncryptionIsWarnedOf();
    void passwordGoesWhereItIsWanted();
    void acceptedCertificatesAreTakenBack();
    void aNewAccountIsEntered();
    void aFileIsChosenForABatch();
    void loginIsTried();
    void cancelForgets();
    void deletingSaysWhatIsLost();
    void aCopyIsAProposal();
    void orderIsChanged();
    void theListFollowsItsAccounts();
    void theListSaysHowTheLastFetchEnded_data();
    void theListSaysHowTheLastFetchEnded();
    void everyWindowHasItsName();
    void oneNumberOfDaysIsProposed();
    void anEmptyListLeadsToTheWizard();
    void theKeyboardReachesEverything();
};

void AccountsTest::everyKindShowsItsFields_data()
{
    using F = AccountField;
    QTest::addColumn<AccountKind>("kind");
    QTest::addColumn<QList<AccountField>>("has");
    QTest::addColumn<QList<AccountField>>("lacks");
    QTest::newRow("POP3") << AccountKind::Pop3
                          << QList{F::Name,          F::Address,      F::Host,         F::Apop,
                                   F::LeaveOnServer, F::DaysOnServer, F::DeletesAlong, F::SizeLimit,
                                   F::Group,         F::Identity,     F::JunkTest,     F::CaFile}
                          << QList{F::File, F::Connections, F::NoServerMoves};
    QTest::newRow("IMAP") << AccountKind::OfflineImap << QList{F::Host, F::NoServerMoves, F::SizeLimit}
                          << QList{F::Apop, F::LeaveOnServer, F::File};
    QTest::newRow("news") << AccountKind::Nntp << QList{F::Host, F::Connections, F::Identity}
                          << QList{F::Group, F::Address, F::SizeLimit};
    QTest::newRow("sending") << AccountKind::Smtp
                             << QList{F::Host, F::Address, F::Keeping, F::LeftOut, F::Identity}
                             << QList{F::Interval, F::Group, F::LeaveOnServer, F::Chained, F::JunkTest};
    QTest::newRow("batch") << AccountKind::BatchFile << QList{F::Name, F::File, F::Group, F::Interval}
                           << QList{F::Host, F::Port, F::Password, F::CaFile};
}

void AccountsTest::everyKindShowsItsFields()
{
    QFETCH(AccountKind, kind);
    QFETCH(QList<AccountField>, has);
    QFETCH(QList<AccountField>, lacks);
    Program program;
    AccountData account;
    account.kind = kind;
    const auto editor = program.edit(account);
    for (const AccountField field : has) {
        const QWidget *control = editor->form().control(field);
        QVERIFY2(control, qPrintable(QString::number(int(field))));
        QVERIFY2(!control->accessibleName().isEmpty(), qPrintable(control->objectName()));
    }
    for (const AccountField field : lacks)
        QVERIFY2(!editor->form().control(field), qPrintable(QString::number(int(field))));
}

void AccountsTest::nothingEnteredChangesNothing()
{
    Program program;
    AccountData account = program.data(program.home);
    account.flags |= 1u | 1u << 5 | 1u << 7; // bits without a meaning
    account.others.insert('X', u"later"_s);
    account.identity = 42;
    account.chained = program.club;
    account.sizeLimit = 77;
    QVERIFY(program.accounts().update(account));
    const auto editor = program.edit(program.home);
    const AccountData same = editor->form().data();
    QCOMPARE(same.flags, account.flags);
    QCOMPARE(same.others, account.others);
    QCOMPARE(same.identity, 42);
    QCOMPARE(same.chained, program.club);
    QCOMPARE(same.sizeLimit, 77);
    QCOMPARE(same.password, u"secret42"_s);
    QCOMPARE(same.port, 995);
    QVERIFY(!editor->findChild<QPushButton *>(u"apply"_s)->isEnabled());
}

void AccountsTest::whatIsEnteredIsSaved()
{
    Program program;
    const auto editor = program.edit(program.home);
    field<QLineEdit>(*editor, AccountField::Name)->setText(u"House"_s);
    field<QCheckBox>(*editor, AccountField::LeaveOnServer)->setChecked(true);
    field<QCheckBox>(*editor, AccountField::DaysOnServer)->setChecked(true);
    editor->form()
        .findChild<QSpinBox *>(u"field%1amount"_s.arg(int(AccountField::DaysOnServer)))
        ->setValue(14);
    field<QCheckBox>(*editor, AccountField::Interval)->setChecked(true);
    choose(field<QComboBox>(*editor, AccountField::Chained), program.club);
    field<QCheckBox>(*editor, AccountField::JunkTest)->setChecked(true);
    press(*editor, "apply");
    QVERIFY(editor->isVisible());
    const AccountData &data = program.data(program.home);
    QCOMPARE(data.name, u"House"_s);
    QVERIFY(data.has(AccountLeaveOnServer) && data.has(AccountJunkTest));
    QCOMPARE(data.daysOnServer, 14);
    QCOMPARE(data.fetchInterval, 10);
    QCOMPARE(data.chained, program.club);
    AccountManager again;
    again.load();
    QVERIFY2(again.find(u"House"_s), "it is in the file");
    field<QCheckBox>(*editor, AccountField::Interval)->setChecked(false);
    press(*editor, "ok");
    QVERIFY(!editor->isVisible());
    QCOMPARE(program.data(program.home).fetchInterval, 0);
}

void AccountsTest::portFollowsEncryption()
{
    Program program;
    const auto editor = program.edit(program.home);
    auto *encryption = field<QComboBox>(*editor, AccountField::Encryption);
    const auto *port = field<QSpinBox>(*editor, AccountField::Port);
    QCOMPARE(port->value(), 995);
    choose(encryption, int(Encryption::StartTls));
    QCOMPARE(port->value(), 110);
    choose(encryption, int(Encryption::Tls));
    QCOMPARE(port->value(), 995);
    field<QSpinBox>(*editor, AccountField::Port)->setValue(1995);
    choose(encryption, int(Encryption::StartTls));
    QCOMPARE(port->value(), 1995);
    press(*editor, "ok");
    QVERIFY(program.data(program.home).has(AccountStartTls));
    QVERIFY(!program.data(program.home).has(AccountTls));
}

void AccountsTest::problemsStandAtTheirFields_data()
{
    QTest::addColumn<AccountField>("field");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("problem");
    QTest::newRow("no name") << AccountField::Name << u" "_s << u"needs a name"_s;
    QTest::newRow("name taken") << AccountField::Name << u"Club"_s << u"called so already"_s;
    QTest::newRow("tab in the name") << AccountField::Name << u"a\tb"_s << u"tabs"_s;
    QTest::newRow("no address") << AccountField::Address << u"clara"_s << u"@"_s;
    QTest::newRow("no server") << AccountField::Host << QString() << u"needs a name"_s;
    QTest::newRow("address as server") << AccountField::Host << u"clara@example.org"_s << u"mail address"_s;
    QTest::newRow("link as server") << AccountField::Host << u"https://example.org"_s << u"without"_s;
    QTest::newRow("blank in the server") << AccountField::Host << u"pop example"_s << u"no blanks"_s;
    QTest::newRow("no such file") << AccountField::CaFile << u"/no/such/file"_s << u"cannot be read"_s;
}

void AccountsTest::problemsStandAtTheirFields()
{
    QFETCH(AccountField, field);
    QFETCH(QString, text);
    QFETCH(QString, problem);
    Program program;
    const auto editor = program.edit(program.home);
    QLineEdit *line = ::field<QLineEdit>(*editor, field);
    const QString right = line->text();
    line->setText(text);
    QVERIFY2(note(*editor, field).isEmpty(), "nobody is told off while typing");
    press(*editor, "ok");
    QVERIFY(editor->isVisible());
    QVERIFY2(note(*editor, field).contains(problem), qPrintable(note(*editor, field)));
    QCOMPARE(editor->focusWidget(), line);
    QCOMPARE(program.data(program.home).name, u"Home"_s);
    line->setText(right);
    QVERIFY2(note(*editor, field).isEmpty(), "what is mended is not told any more");
    press(*editor, "ok");
    QVERIFY(!editor->isVisible());
}

void AccountsTest::noEncryptionIsWarnedOf()
{
    Program program;
    const auto editor = program.edit(program.home);
    choose(field<QComboBox>(*editor, AccountField::Encryption), int(Encryption::None));
    QVERIFY(note(*editor, AccountField::Encryption).contains(u"Everybody on the way can read"_s));
    press(*editor, "ok");
    QVERIFY2(editor->isVisible(), "required and none: it would never log in");
    QVERIFY(note(*editor, AccountField::NeedsEncryption).contains(u"never logs in"_s));
    field<QLineEdit>(*editor, AccountField::Host)->setText(u"127.0.0.1"_s);
    QVERIFY(note(*editor, AccountField::Encryption).isEmpty());
    QVERIFY(note(*editor, AccountField::NeedsEncryption).isEmpty());
    field<QLineEdit>(*editor, AccountField::Host)->setText(u"pop.example.org"_s);
    field<QCheckBox>(*editor, AccountField::NeedsEncryption)->setChecked(false);
    press(*editor, "ok");
    QVERIFY(!editor->isVisible());
}

void AccountsTest::passwordGoesWhereItIsWanted()
{
    Program program;
    const auto keep = [&program](KeepingChoice choice, const QString &entered) {
        const auto editor = program.edit(program.home);
        choose(field<QComboBox>(*editor, AccountField::Keeping), int(choice));
        field<QLineEdit>(*editor, AccountField::Password)->setText(entered);
        press(*editor, "ok");
    };
    keep(KeepingChoice::AccountsFile, u"new one"_s);
    QCOMPARE(program.data(program.home).password, u"new one"_s);
    keep(KeepingChoice::Keyring, {});
    QVERIFY(program.data(program.home).has(AccountKeyring));
    QVERIFY(program.data(program.home).password.isEmpty());
    QCOMPARE(program.keeper.kept.values(), QStringList{u"new one"_s});
    keep(KeepingChoice::Ask, {});
    QVERIFY(program.keeper.kept.isEmpty());
    QVERIFY(program.data(program.home).password.isEmpty());
    QVERIFY(program.data(program.home).has(AccountAsksForPassword));
    for (const char *file : {"Accounts/Index", "Accounts/Index.backup"})
        QVERIFY(!Scratch::read(configPathOf(QLatin1StringView(file))).contains("new one"));
}

void AccountsTest::acceptedCertificatesAreTakenBack()
{
    Program program;
    AccountOptions options;
    options.accepted.resize(2);
    options.accepted[0].sha256 = QByteArray(64, 'a');
    options.accepted[1].sha256 = QByteArray(64, 'b');
    options.accepted[1].commonName = u"two.example"_s;
    QVERIFY(program.accounts().account(program.home)->setOptions(options));
    const auto editor = program.edit(program.home);
    auto *list = editor->form().findChild<QListWidget *>(u"accepted"_s);
    QCOMPARE(list->count(), 2);
    list->setCurrentRow(0);
    press(*editor, "removeCertificate");
    QCOMPARE(program.accounts().account(program.home)->options().accepted.size(), 2u);
    press(*editor, "ok");
    const auto &left = program.accounts().account(program.home)->options().accepted;
    QCOMPARE(left.size(), 1u);
    QCOMPARE(left.front().commonName, u"two.example"_s);
}

void AccountsTest::aNewAccountIsEntered()
{
    Program program;
    AccountData fresh;
    fresh.kind = AccountKind::Pop3;
    fresh.set(AccountTls, true);
    fresh.set(AccountNeedsEncryption, true);
    const auto editor = program.edit(fresh);
    QCOMPARE(field<QSpinBox>(*editor, AccountField::Port)->value(), 995);
    field<QLineEdit>(*editor, AccountField::Name)->setText(u"Press"_s);
    field<QLineEdit>(*editor, AccountField::Host)->setText(u"pop.press.example"_s);
    field<QLineEdit>(*editor, AccountField::User)->setText(u"clara"_s);
    field<QLineEdit>(*editor, AccountField::Password)->setText(u"secret"_s);
    QSignalSpy saved(editor.get(), &AccountEditor::saved);
    press(*editor, "apply");
    press(*editor, "ok");
    QCOMPARE(program.accounts().accounts().size(), 3u);
    const Account *account = program.accounts().find(u"Press"_s);
    QVERIFY(account);
    QCOMPARE(saved.value(0).value(0).toInt(), account->number());
    QCOMPARE(account->data().password, u"secret"_s);
    QVERIFY(account->data().has(AccountNeedsEncryption));
}

void AccountsTest::aFileIsChosenForABatch()
{
    Program program;
    AccountData fresh;
    fresh.kind = AccountKind::BatchFile;
    const auto editor = program.edit(fresh);
    field<QLineEdit>(*editor, AccountField::Name)->setText(u"Spool"_s);
    press(*editor, "ok");
    QVERIFY(note(*editor, AccountField::File).contains(u"Choose the file"_s));
    field<QLineEdit>(*editor, AccountField::File)->setText(program.scratch.write(u"spool"_s, "x"));
    press(*editor, "ok");
    QVERIFY(program.accounts().find(u"Spool"_s)->data().host.endsWith(u"/spool"_s));
}

void AccountsTest::loginIsTried()
{
    Program program;
    AccountOptions options;
    options.caFile = program.scratch.write(u"ca.pem"_s, "x");
    QVERIFY(program.accounts().account(program.home)->setOptions(options));
    const auto editor = program.edit(program.home);
    field<QLineEdit>(*editor, AccountField::Password)->setText(u"not saved yet"_s);
    program.tester.result.messages = 12;
    press(*editor, "test");
    const auto *bar = editor->findChild<AskingBar *>();
    QTRY_COMPARE(bar->text(), u"The login works: 12 messages on the server."_s);
    QCOMPARE(program.tester.tried.password, u"not saved yet"_s);
    QCOMPARE(program.tester.triedOptions.caFile, options.caFile);
    QCOMPARE(program.data(program.home).password, u"secret42"_s);
    program.tester.result = {AccountFetchReason::Unexpected, u"-ERR [AUTH] no"_s, true};
    press(*editor, "test");
    QTRY_COMPARE(bar->text(), u"The password was refused. -ERR [AUTH] no"_s);
    QCOMPARE(bar->kind(), MessageBar::Kind::Error);
}

void AccountsTest::cancelForgets()
{
    Program program;
    const auto editor = program.edit(program.home);
    field<QLineEdit>(*editor, AccountField::Name)->setText(u"House"_s);
    QTest::keyClick(editor.get(), Qt::Key_Escape);
    QVERIFY(!editor->isVisible());
    QCOMPARE(program.data(program.home).name, u"Home"_s);
}

void AccountsTest::deletingSaysWhatIsLost()
{
    Program program;
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

void AccountsTest::aCopyIsAProposal()
{
    Program program;
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

void AccountsTest::orderIsChanged()
{
    Program program;
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

void AccountsTest::theListFollowsItsAccounts()
{
    Program program;
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

void AccountsTest::theListSaysHowTheLastFetchEnded_data()
{
    QTest::addColumn<AccountFetchReason>("reason");
    QTest::addColumn<QString>("word");
    QTest::newRow("well") << AccountFetchReason::None << u"Fetched "_s;
    QTest::newRow("stopped") << AccountFetchReason::Stopped << u"Stopped "_s;
    QTest::newRow("failed") << AccountFetchReason::TimedOut << u"Failed "_s;
    QTest::newRow("in part") << AccountFetchReason::WithErrors << u"Partly fetched "_s;
}

/// The editing is what takes the mark of a failure away.
void AccountsTest::theListSaysHowTheLastFetchEnded()
{
    QFETCH(AccountFetchReason, reason);
    QFETCH(QString, word);
    Program program;
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

void AccountsTest::everyWindowHasItsName()
{
    Program program;
    const AccountsDialog dialog(program.engine);
    QCOMPARE(dialog.windowTitle(), u"Accounts"_s);
    const auto editor = program.edit(program.home);
    QCOMPARE(editor->windowTitle(), u"Account “Home”"_s);
    field<QLineEdit>(*editor, AccountField::Name)->setText(u"House"_s);
    press(*editor, "apply");
    QCOMPARE(editor->windowTitle(), u"Account “House”"_s);
    AccountData fresh;
    fresh.kind = AccountKind::Pop3;
    QCOMPARE(program.edit(fresh)->windowTitle(), u"New account"_s);
}

void AccountsTest::oneNumberOfDaysIsProposed()
{
    Program program;
    const auto editor = program.edit(program.home);
    const auto *inEditor =
        editor->form().findChild<QSpinBox *>(u"field%1amount"_s.arg(int(AccountField::DaysOnServer)));
    KeepOnServer inWizard;
    QCOMPARE(inWizard.findChild<QSpinBox *>(u"days"_s)->value(), inEditor->value());
}

void AccountsTest::anEmptyListLeadsToTheWizard()
{
    Program program;
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

void AccountsTest::theKeyboardReachesEverything()
{
    Program program;
    const auto editor = program.edit(program.home);
    QVERIFY(QTest::qWaitForWindowActive(editor.get()));
    QCOMPARE(QApplication::focusWidget(), editor->form().control(AccountField::Name));
    QSet<QWidget *> missing;
    for (const AccountFieldRow &row : accountFields())
        if (QWidget *control = editor->form().control(row.field); control && control->isEnabled())
            missing.insert(control->focusProxy() ? control->focusProxy() : control);
    missing.remove(editor->form().findChild<QListWidget *>(u"accepted"_s)); // empty: there is none
    QVERIFY(missing.size() >= 20);
    for (int i = 0; i < 60 && !missing.isEmpty(); ++i) {
        missing.remove(QApplication::focusWidget());
        QTest::keyClick(editor.get(), Qt::Key_Tab);
    }
    QVERIFY2(missing.isEmpty(), missing.isEmpty() ? "" : qPrintable((*missing.begin())->accessibleName()));
}

QTEST_MAIN(AccountsTest)
#include "accounts_test.moc"
