#include "ui/accounts/accounteditor.h"

#include "engine/engine.h"
#include "net/passwordkeeper.h"
#include "ui/accounts/accountform.h"
#include "ui/accounts/logincheck.h"
#include "ui/look/askingbar.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/hairline.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/wheel.h"
#include "ui/texts/harmless.h"
#include "ui/transfers/transfertexts.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kWidth = 96; ///< characters
constexpr int kHeight = 38;

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
    : QDialog(parent)
    , m_engine(engine)
    , m_tester(tester)
    , m_number(account.number)
{
    setObjectName(u"accountEditor"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    build(account, optionsOf(engine.accounts(), account.number > 0 ? account.number : copied));
    AccountManager &accounts = engine.accounts();
    connect(m_form, &AccountForm::changed, this, &AccountEditor::showChanged);
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
    resize(columnWidth(kWidth), textHeight() * kHeight);
    m_apply->setEnabled(false);
}

void AccountEditor::build(const AccountData &account, const AccountOptions &options)
{
    m_form = new AccountForm(m_engine.accounts(), m_engine.groups(), m_engine.identities(), account, options);
    m_notice = new AskingBar;
    auto *notice = new QWidget;
    auto *room = new QVBoxLayout(notice);
    room->setContentsMargins(space::page, 0, space::page, space::group);
    room->addWidget(m_notice);
    auto *scroll = new QScrollArea;
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(m_form);
    keepFromWheel(m_form);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addWidget(newHead());
    all->addWidget(notice);
    all->addWidget(new HairLine(Qt::Horizontal, this));
    all->addWidget(scroll, 1);
    all->addWidget(newFooter());
    showHead(account);
    auto *name = qobject_cast<QLineEdit *>(m_form->control(AccountField::Name));
    name->setFocus();
    if (account.number == 0)
        name->selectAll(); // it is a proposal, if there is one
}

QWidget *AccountEditor::newHead()
{
    auto *head = new QWidget;
    m_title = new QLabel;
    m_title->setTextFormat(Qt::PlainText);
    setFontScale(m_title, scale::dialog, QFont::DemiBold);
    m_kind = new QLabel;
    setTextRole(m_kind, Role::Text2);
    auto *layout = new QHBoxLayout(head);
    layout->setContentsMargins(space::page, space::dialog, space::page, space::group);
    layout->setSpacing(space::group);
    layout->addWidget(m_title);
    layout->addWidget(m_kind, 0, Qt::AlignBottom);
    layout->addStretch(1);
    return head;
}

QWidget *AccountEditor::newFooter()
{
    auto *footer = new DialogFooter(tr("OK"));
    footer->defaultButton()->setObjectName(u"ok"_s);
    m_apply = footer->addButton(tr("Apply"));
    m_apply->setObjectName(u"apply"_s);
    m_test = footer->addSecondary(tr("&Test login"));
    m_test->setObjectName(u"test"_s);
    m_test->setVisible(canTestLogin(m_form->data().kind));
    connect(m_test, &QPushButton::clicked, this, &AccountEditor::testLogin);
    connect(m_apply, &QPushButton::clicked, this, &AccountEditor::apply);
    connect(footer, &DialogFooter::rejected, this, &QDialog::reject);
    connect(footer, &DialogFooter::accepted, this, [this] {
        if (apply())
            accept();
    });
    return footer;
}

void AccountEditor::showHead(const AccountData &account)
{
    const bool isNew = account.number == 0;
    const QString name = harmlessLine(account.name, 60);
    m_title->setText(isNew ? tr("New account") : name);
    setWindowTitle(isNew ? tr("New account") : tr("Account “%1”").arg(name));
    m_kind->setText(accountKindText(account.kind));
}

void AccountEditor::showChanged()
{
    m_apply->setEnabled(true);
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
    const AccountOptions options = m_form->options();
    const QString entered = m_form->enteredPassword(); // entering empties the field
    if (!enter(data))
        return false;
    if (!accounts.account(m_number)->setOptions(options) || !keepPassword(before, entered) ||
        !accounts.save())
        return false; // said by whoever failed
    showHead(accounts.account(m_number)->data());
    m_form->setStored(accounts.account(m_number)->data(), options);
    m_apply->setEnabled(false);
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
