#include "accountsprogram.h"
#include "ui/accounts/accountsdialog.h"
#include "ui/accounts/certificatelist.h"
#include "ui/accounts/keeponserver.h"
#include "ui/look/askingbar.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QSignalSpy>
#include <QSpinBox>

using namespace Qt::StringLiterals;

namespace {

void choose(QComboBox *box, int data)
{
    box->setCurrentIndex(box->findData(data));
}

QString note(const AccountEditor &editor, AccountField which)
{
    const auto *label = editor.form().findChild<QLabel *>(u"field%1note"_s.arg(int(which)));
    return label && label->isVisible() ? label->text() : QString();
}

} // namespace

class AccountEditorTest : public QObject
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
    void optionsThatCannotBeReadStay();
    void cancelForgets();
    void everyWindowHasItsName();
    void oneNumberOfDaysIsProposed();
    void theKeyboardReachesEverything();
};

void AccountEditorTest::everyKindShowsItsFields_data()
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

void AccountEditorTest::everyKindShowsItsFields()
{
    QFETCH(AccountKind, kind);
    QFETCH(QList<AccountField>, has);
    QFETCH(QList<AccountField>, lacks);
    AccountsProgram program;
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

void AccountEditorTest::nothingEnteredChangesNothing()
{
    AccountsProgram program;
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

void AccountEditorTest::whatIsEnteredIsSaved()
{
    AccountsProgram program;
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

void AccountEditorTest::portFollowsEncryption()
{
    AccountsProgram program;
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

void AccountEditorTest::problemsStandAtTheirFields_data()
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

void AccountEditorTest::problemsStandAtTheirFields()
{
    QFETCH(AccountField, field);
    QFETCH(QString, text);
    QFETCH(QString, problem);
    AccountsProgram program;
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

void AccountEditorTest::noEncryptionIsWarnedOf()
{
    AccountsProgram program;
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

void AccountEditorTest::passwordGoesWhereItIsWanted()
{
    AccountsProgram program;
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

void AccountEditorTest::acceptedCertificatesAreTakenBack()
{
    AccountsProgram program;
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

void AccountEditorTest::aNewAccountIsEntered()
{
    AccountsProgram program;
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

void AccountEditorTest::aFileIsChosenForABatch()
{
    AccountsProgram program;
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

void AccountEditorTest::loginIsTried()
{
    AccountsProgram program;
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

/// Only who enters others writes over them.
void AccountEditorTest::optionsThatCannotBeReadStay()
{
    AccountsProgram program;
    QVERIFY(program.accounts().save());
    const QString path = configPathOf(u"Accounts/%1/Options"_s.arg(program.home));
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    const QByteArray tooLong(5'000'000, 'x');
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(tooLong) == tooLong.size());
    file.close();
    QVERIFY(program.accounts().load());
    const auto editor = program.edit(program.home);
    field<QLineEdit>(*editor, AccountField::Name)->setText(u"House"_s);
    press(*editor, "apply");
    QCOMPARE(program.data(program.home).name, u"House"_s);
    program.accounts().account(program.home)->noteLargestMail(1000);
    QVERIFY(Scratch::read(path) == tooLong);
    field<QLineEdit>(*editor, AccountField::CaFile)->setText(program.scratch.write(u"ca.pem"_s, "x"));
    press(*editor, "apply");
    QVERIFY(Scratch::read(path).contains("ca.pem"));
    program.accounts().account(program.home)->noteLargestMail(1000);
    QVERIFY(Scratch::read(path).contains("1000"));
}

void AccountEditorTest::cancelForgets()
{
    AccountsProgram program;
    const auto editor = program.edit(program.home);
    field<QLineEdit>(*editor, AccountField::Name)->setText(u"House"_s);
    QTest::keyClick(editor.get(), Qt::Key_Escape);
    QVERIFY(!editor->isVisible());
    QCOMPARE(program.data(program.home).name, u"Home"_s);
}

void AccountEditorTest::everyWindowHasItsName()
{
    AccountsProgram program;
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

void AccountEditorTest::oneNumberOfDaysIsProposed()
{
    AccountsProgram program;
    const auto editor = program.edit(program.home);
    const auto *inEditor =
        editor->form().findChild<QSpinBox *>(u"field%1amount"_s.arg(int(AccountField::DaysOnServer)));
    KeepOnServer inWizard;
    QCOMPARE(inWizard.findChild<QSpinBox *>(u"days"_s)->value(), inEditor->value());
}

void AccountEditorTest::theKeyboardReachesEverything()
{
    AccountsProgram program;
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

QTEST_MAIN(AccountEditorTest)
#include "accounteditor_test.moc"
