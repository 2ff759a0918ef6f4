#include "ui/main/accountcommands.h"

#include "config/settings.h"
#include "engine/engine.h"
#include "ui/accounts/accountsdialog.h"
#include "ui/accounts/accountwindows.h"
#include "ui/accounts/accountwizard.h"
#include "ui/accounts/outgoingoffer.h"
#include "ui/look/messageboxes.h"
#include "ui/transfers/fetchercontrol.h"

#include <QLocale>
#include <QMenu>

#include <algorithm>

using namespace Qt::StringLiterals;

AccountCommands::AccountCommands(Engine &engine, MessageBoxes &boxes, QWidget *window)
    : QObject(window)
    , m_engine(engine)
    , m_boxes(boxes)
    , m_window(window)
    , m_questions(window)
    , m_transfers(new FetcherControl(engine.accounts(), window))
{
    engine.setQuestions(&m_questions);
    engine.setPasswordKeeper(&m_keyring);
    connect(&accounts().errors(), &TransferErrors::added, this, &AccountCommands::tellFailure);
    connect(&m_engine.delivery(), &Delivery::newMail, this, [this](const std::vector<NewMail> &mail) {
        for (const NewMail &each : mail)
            m_outcome.arrived += int(each.articles.size());
    });
    connect(&m_engine.outbox(), &Outbox::sent, this, [this] {
        if (!std::exchange(m_owesOutcome, true)) // filed a moment after its session
            m_outcome = {};
        ++m_outcome.sent;
        if (!m_isTransferring)
            QMetaObject::invokeMethod(this, &AccountCommands::tellOutcome, Qt::QueuedConnection);
    });
    connect(&accounts(), &AccountManager::fetchEnded, this, &AccountCommands::fetchEnded);
    connect(&accounts(), &AccountManager::fetchDropped, this,
            [this](Account *account) { fetchEnded(account, AccountFetchReason::Stopped); });
    connect(&accounts(), &AccountManager::accountDeleted, this,
            [this](const Account *account) { emit troubleEnded(account->number()); });
    connect(&accounts(), &AccountManager::accountUpdated, this, [this](const Account *account) {
        if (account->data().has(AccountLeftOut))
            emit troubleEnded(account->number());
    });
    connect(&m_engine.transfers(), &Transfers::changed, this, &AccountCommands::follow);
    connect(m_transfers, &FetcherControl::mendWanted, this, &AccountCommands::mend);
    connect(m_transfers, &FetcherControl::getAllWanted, this, &AccountCommands::getAllMail);
}

AccountCommands::~AccountCommands()
{
    m_engine.setQuestions(nullptr);
    m_engine.setPasswordKeeper(nullptr);
}

AccountManager &AccountCommands::accounts() const
{
    return m_engine.accounts();
}

// --- Getting mail ---------------------------------------------------------------------------------------

bool AccountCommands::anyReceives() const
{
    const auto &all = accounts().accounts();
    return std::any_of(all.begin(), all.end(),
                       [](const auto &account) { return account->data().isIncoming(); });
}

bool AccountCommands::getMail(int group)
{
    if (!anyReceives())
        return false;
    std::vector<int> here;
    for (const AccountData &account : accounts().all()) {
        if (account.isIncoming() && !account.has(AccountLeftOut) &&
            m_engine.delivery().groupFor(account.group).number() == group)
            here.push_back(account.number);
    }
    if (here.empty())
        return getAllMail();
    for (const int number : here)
        getMailOf(number);
    return true;
}

bool AccountCommands::getAllMail()
{
    if (!anyReceives())
        return false;
    for (const AccountData &account : accounts().all()) {
        if (account.isIncoming() && !account.has(AccountLeftOut))
            getMailOf(account.number);
    }
    return true;
}

void AccountCommands::getMailOf(int number)
{
    Account *account = accounts().account(number);
    if (!account)
        return;
    if (account->data().isNetwork() && !isOnline())
        return emit onlineWanted();
    account->clearMark();
    m_asked.insert(number);
    if (account->fetch(true, true) == FetchAnswer::Nothing)
        m_asked.remove(number);
}

bool AccountCommands::canDeleteOnServer(const Overview &message) const
{
    const Account *account = accounts().account(message.account());
    return account && account->kind() == AccountKind::Pop3 &&
           (message.serverSize() > 0 || message.serverHash() != 0);
}

/// What was said of a failure goes when the account has come through.
void AccountCommands::fetchEnded(Account *account, AccountFetchReason reason)
{
    m_outcome.isAsked = m_asked.remove(account->number()) || m_outcome.isAsked;
    m_outcome.isStopped = m_outcome.isStopped || reason == AccountFetchReason::Stopped;
    if (reason != AccountFetchReason::None)
        return;
    emit troubleEnded(account->number());
    if (account == m_failedAccount) {
        m_failedAccount = nullptr;
        emit mended();
    }
}

void AccountCommands::stopTransfers()
{
    accounts().stopAll();
}

/// How many accounts send just now.
int AccountCommands::sending() const
{
    const auto &all = accounts().accounts();
    return int(std::count_if(all.begin(), all.end(), [](const auto &account) {
        return account->isFetching() && !account->data().isIncoming();
    }));
}

QString AccountCommands::progressInWords() const
{
    const TransferProgress now = m_engine.transfers().progress();
    const int senders = sending();
    if (now.accounts == 1)
        return now.status;
    if (senders == now.accounts)
        return tr("Sending mail through %1 accounts").arg(now.accounts);
    if (senders > 0)
        return tr("Sending and getting mail: %1 accounts").arg(now.accounts);
    const QString text = tr("Getting mail from %1 accounts").arg(now.accounts);
    return now.totalMessages == 0
               ? text
               : tr("%1: %2 of %3 messages")
                     .arg(text, QLocale().toString(now.messages), QLocale().toString(now.totalMessages));
}

void AccountCommands::follow()
{
    const TransferProgress now = m_engine.transfers().progress();
    const bool wasTransferring = std::exchange(m_isTransferring, now.accounts > 0);
    if (m_isTransferring && !wasTransferring) {
        if (!std::exchange(m_owesOutcome, true))
            m_outcome = {};
        emit transfersBegan();
    }
    if (m_isTransferring)
        return emit progressed(progressInWords(), now.bytes, now.totalBytes);
    if (!wasTransferring)
        return;
    emit transfersEnded();
    // that it has ended is heard before why
    QMetaObject::invokeMethod(this, &AccountCommands::tellOutcome, Qt::QueuedConnection);
}

/// What came last in a session may wait for more to be announced with.
void AccountCommands::tellOutcome()
{
    if (m_isTransferring || !m_owesOutcome)
        return; // the next ones have begun already: their end tells of all
    m_engine.delivery().announce();
    m_owesOutcome = false;
    const Outcome &outcome = m_outcome;
    const QString arrived = outcome.arrived == 1
                                ? tr("1 new message")
                                : tr("%1 new messages").arg(QLocale().toString(outcome.arrived));
    const QString sent = outcome.sent == 1 ? tr("1 message sent")
                                           : tr("%1 messages sent").arg(QLocale().toString(outcome.sent));
    QStringList words;
    if (outcome.isStopped)
        words += tr("Stopped");
    if (outcome.sent > 0)
        words += sent;
    if (outcome.arrived > 0)
        words += arrived;
    if (!words.isEmpty())
        emit settled(words.join(u", "_s));
    else if (outcome.isAsked && !outcome.hasFailed)
        emit settled(tr("No new mail"));
}

void AccountCommands::tellFailure(const TransferError &error)
{
    m_outcome.hasFailed = true;
    Account *account = accounts().account(error.account);
    const AccountData data = account ? account->data() : AccountData();
    const QString text = transferNotice(error, data);
    emit noticed(error, text);
    if (!account || !m_asked.contains(error.account))
        return;
    m_failedAccount = account;
    const TransferExplanation words = explainTransferError(error, data, m_transfers->hasWorked(data));
    emit failed(text, words.button,
                [this, action = words.action, number = error.account] { mend(action, number); });
}

void AccountCommands::mend(MendAction action, int account)
{
    switch (action) {
    case MendAction::Nothing: break;
    case MendAction::TryAgain:
    case MendAction::EnterPassword:
    case MendAction::SeeCertificate: return getMailOf(account); // which asks
    case MendAction::GoOnline: return emit onlineWanted();
    case MendAction::EditAccount: return editAccount(account);
    case MendAction::ShowLog: return showLog(account);
    }
}

void AccountCommands::keepGetMailMenu(QMenu *menu)
{
    connect(menu, &QMenu::aboutToShow, this, [this, menu] { fillGetMailMenu(menu); });
}

void AccountCommands::fillGetMailMenu(QMenu *menu)
{
    menu->clear();
    for (const AccountData &account : accounts().all()) {
        if (!account.isIncoming())
            continue;
        QString name = account.name;
        QAction *action = menu->addAction(name.replace(u'&', u"&&"_s));
        action->setEnabled(!account.has(AccountLeftOut));
        connect(action, &QAction::triggered, this, [this, number = account.number] { getMailOf(number); });
    }
    if (menu->isEmpty())
        menu->addAction(tr("No account yet"))->setEnabled(false);
}

// --- Windows --------------------------------------------------------------------------------------------

namespace {

void bringForward(QWidget *window)
{
    window->show();
    window->raise();
    window->activateWindow();
}

} // namespace

void AccountCommands::newAccount(AccountKind kind, int identity)
{
    if (m_wizard)
        return bringForward(m_wizard);
    m_wizard = new AccountWizard(m_engine, m_discovery, m_tester, m_window);
    m_wizard->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_wizard, &AccountWizard::accountMade, this, [this](int number) {
        const Account *made = accounts().account(number);
        if (made && made->data().isIncoming())
            m_asked.insert(number);
    });
    if (kind != AccountKind::None)
        m_wizard->beginWith(kind, identity);
    m_wizard->open();
}

void AccountCommands::manageAccounts()
{
    if (m_dialog)
        return bringForward(m_dialog);
    m_dialog = new AccountsDialog(m_engine, m_window);
    m_dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_dialog, &AccountsDialog::newAccountWanted, this, [this] { newAccount(); });
    m_dialog->show();
}

void AccountCommands::editAccount(int account)
{
    ::editAccount(m_engine, account, m_tester, m_window);
}

void AccountCommands::showLog(int number)
{
    if (Account *account = accounts().account(number))
        showAccountLog(*account, m_window);
}

void AccountCommands::showTransfers()
{
    bringForward(m_transfers);
}

void AccountCommands::offerOutgoingAccount(int identity, bool isWished)
{
    if (m_boxes.isBusy() || (m_offered.contains(identity) && !isWished))
        return;
    m_offered.insert(identity);
    const auto setUp = [this, identity] { newAccount(AccountKind::Smtp, identity); };
    if (!::offerOutgoingAccount(m_engine, m_boxes, this, setUp))
        offerOtherAccount(m_engine, m_boxes, this, identity, setUp);
}

void AccountCommands::offerFirstAccount()
{
    if (anyReceives())
        return;
    m_boxes.ask({tr("You have not set up any incoming mail accounts.\nWould you like to set one up now?"),
                 {},
                 {tr("&Yes"), tr("&No")},
                 false,
                 ReportLevel::Information},
                this, [this](int button) {
                    if (button == 0)
                        newAccount();
                });
}
