#include "ui/accounts/accounteditor.h"

#include "engine/engine.h"
#include "net/passwordkeeper.h"
#include "ui/accounts/accountform.h"
#include "ui/accounts/logincheck.h"
#include "ui/look/askingbar.h"
#include "ui/look/dialogfooter.h"
#include "ui/texts/harmless.h"
#include "ui/transfers/transfertexts.h"

#include <QLineEdit>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace {

AccountOptions optionsOf(AccountManager &accounts, int number)
{
    const Account *account = accounts.account(number);
    return account ? account->options() : AccountOptions();
}

QString faultText(AccountFault fault)
{
    switch (fault) {
    case AccountFault::None: break;
    case AccountFault::NoName: return AccountEditor::tr("The account needs a name.");
    case AccountFault::NameTaken: return AccountEditor::tr("Another account is called so already.");
    case AccountFault::Separator:
        return AccountEditor::tr("Name, server, user and password hold no tabs or line ends.");
    }
    return AccountEditor::tr("It could not be saved.");
}

} // namespace

AccountEditor::AccountEditor(Engine &engine, const AccountData &account, LoginTester &tester, QWidget *parent,
                             int copied)
    : EditorDialog(parent)
    , m_engine(engine)
    , m_tester(tester)
    , m_number(account.number)
{
    setObjectName(u"accountEditor"_s);
    arrange(account, optionsOf(engine.accounts(), account.number > 0 ? account.number : copied));
    AccountManager &accounts = engine.accounts();
    connect(m_form, &AccountForm::changed, this, [this] { setChanged(true); });
    connect(&accounts, &AccountManager::accountDeleted, this, [this](Account *gone) {
        if (gone->number() == m_number)
            reject();
    });
    connect(&accounts, &AccountManager::accountUpdated, this, [this](Account *updated) {
        if (updated->number() == m_number)
            m_form->setStored(updated->data(), updated->options());
    });
    if (PasswordKeeper *keeper = accounts.passwordKeeper()) {
        keeper->isAvailable([form = QPointer<AccountForm>(m_form)](bool is) {
            if (is && form)
                form->offerKeyring();
        });
    }
    setChanged(false);
}

void AccountEditor::arrange(const AccountData &account, const AccountOptions &options)
{
    m_form = new AccountForm(m_engine.accounts(), m_engine.groups(), m_engine.identities(), account, options);
    m_notice = new AskingBar;
    m_test = footer()->addSecondary(tr("&Test login"));
    m_test->setObjectName(u"test"_s);
    m_test->setVisible(canTestLogin(account.kind));
    connect(m_test, &QPushButton::clicked, this, &AccountEditor::testLogin);
    build(m_form, m_notice);
    showName(account);
    auto *name = qobject_cast<QLineEdit *>(m_form->control(AccountField::Name));
    name->setFocus();
    if (account.number == 0)
        name->selectAll(); // it is a proposal, if there is one
}

void AccountEditor::showName(const AccountData &account)
{
    const bool isNew = account.number == 0;
    const QString name = harmlessLine(account.name, 60);
    showHead(isNew ? tr("New account") : name, accountKindText(account.kind));
    setWindowTitle(isNew ? tr("New account") : tr("Account “%1”").arg(name));
}

bool AccountEditor::apply()
{
    if (!m_form->check())
        return false;
    AccountManager &accounts = m_engine.accounts();
    const AccountData data = m_form->data();
    if (const AccountFault fault = accounts.faultOf(data); fault != AccountFault::None) {
        m_notice->tell(MessageBar::Kind::Error, faultText(fault));
        return false;
    }
    const AccountData before = m_number > 0 ? accounts.account(m_number)->data() : data;
    AccountOptions options = m_form->options();
    const QString entered = m_form->enteredPassword(); // entering empties the field
    if (!enter(data))
        return false;
    const AccountOptions &known = accounts.account(m_number)->options(); // what no field here says
    options.identities = known.identities;
    options.largestMail = known.largestMail;
    const bool isKept = options == known || accounts.account(m_number)->setOptions(options);
    if (!isKept || !keepPassword(before, entered) || !accounts.save())
        return false; // said by whoever failed
    showName(accounts.account(m_number)->data());
    m_form->setStored(accounts.account(m_number)->data(), known);
    setChanged(false);
    emit saved(m_number);
    return true;
}

bool AccountEditor::enter(const AccountData &data)
{
    AccountManager &accounts = m_engine.accounts();
    if (m_number > 0)
        return accounts.update(data);
    m_number = accounts.add(data);
    return m_number > 0;
}

/// A new password, or another place for the one there is.
bool AccountEditor::keepPassword(const AccountData &before, const QString &entered)
{
    Account *account = m_engine.accounts().account(m_number);
    if (!account->data().isNetwork())
        return true;
    const KeepingChoice wanted = m_form->keeping();
    const QString password = !entered.isEmpty()           ? entered
                             : !before.password.isEmpty() ? before.password
                                                          : account->password();
    if (wanted == KeepingChoice::Ask) {
        AccountData data = account->data();
        data.password.clear();
        data.set(AccountKeyring, false);
        data.set(AccountAsksForPassword, true);
        if (!m_engine.accounts().update(data))
            return false;
        if (!entered.isEmpty())
            account->keepPassword(entered, PasswordKeeping::ThisRun);
        return true;
    }
    if (password.isEmpty() || (entered.isEmpty() && wanted == keepingOf(before)))
        return true;
    account->keepPassword(password, wanted == KeepingChoice::Keyring ? PasswordKeeping::Keyring
                                                                     : PasswordKeeping::AccountsFile);
    return true;
}

void AccountEditor::testLogin()
{
    if (!m_form->check())
        return;
    AccountData data = m_form->data();
    if (const QString entered = m_form->enteredPassword(); !entered.isEmpty())
        data.password = entered;
    m_test->setEnabled(false);
    m_notice->tell(MessageBar::Kind::Information, tr("Logging in to %1 …").arg(harmlessLine(data.host)));
    m_check = new LoginCheck(m_tester, m_engine.accounts(), data, m_form->options(), this);
    connect(m_check, &LoginCheck::finished, this, [this](bool works, const QString &text) {
        m_notice->tell(works ? MessageBar::Kind::Good : MessageBar::Kind::Error, text);
        m_test->setEnabled(true);
        m_check->deleteLater();
    });
}
