#pragma once

#include "engine/discoverynetwork.h"
#include "engine/logintest.h"
#include "net/accountdata.h"
#include "net/keyring/desktopkeyring.h"
#include "ui/accounts/windowquestions.h"
#include "ui/transfers/transferexplanation.h"

#include <QObject>
#include <QPointer>
#include <QSet>

#include <functional>

class Account;
class AccountManager;
class AccountWizard;
class AccountsDialog;
class Engine;
class FetcherControl;
class MessageBoxes;
class Overview;
class QMenu;
class QWidget;

/// What the user does with accounts: gets mail from them, sets them up, sees and stops what they transfer,
/// mends what has failed. For as long as it lives, the questions of connections are put to the user.
class AccountCommands : public QObject
{
    Q_OBJECT

public:
    /// Everything must outlive this; dialogs belong to @p window.
    AccountCommands(Engine &engine, MessageBoxes &boxes, QWidget *window);
    ~AccountCommands() override;

    /// Gets the mail of the accounts that deliver into the group of that number, or, where none does, of all.
    /// False: there is no account to get mail from.
    bool getMail(int group);
    bool getAllMail();
    void getMailOf(int account);

    void stopTransfers();
    bool isTransferring() const { return m_isTransferring; }
    bool isSending() const { return sending() > 0; }

    /// Whether the message came from an account that can delete it on its server.
    bool canDeleteOnServer(const Overview &message) const;

    /// Opens the wizard, for a kind or, with None, for all that there are; for an identity that needs it.
    void newAccount(AccountKind kind = AccountKind::None, int identity = 0);
    void manageAccounts();
    void editAccount(int account);
    void showTransfers();
    void showLog(int account);

    /// The product's question, where no account is there yet that mail comes from.
    void offerFirstAccount();

    /// The same, where something that was written as @p identity waits to be sent and no account is for it:
    /// once a run, and whenever the user wants it sent.
    void offerOutgoingAccount(int identity, bool isWished);

    /// Makes @p menu offer each account whose mail can be got, whenever it opens.
    void keepGetMailMenu(QMenu *menu);

signals:
    /// Of all transfers together, in bytes; @p total 0: nobody knows, the text counts.
    void progressed(const QString &text, qint64 done, qint64 total);
    void transfersBegan();
    void transfersEnded();

    /// Somebody wants mail and the program works offline.
    void onlineWanted();

    /// What the user asked for has ended, in words for the status line: "3 new messages", "Stopped".
    void settled(const QString &text);

    /// It has failed; @p mend is what a button @p button does, where it is not empty.
    void failed(const QString &text, const QString &button, const std::function<void()> &mend);

    /// The account that failed() told of last has come through since.
    void mended();

    /// A failure, in one line for the list of notices.
    void noticed(const TransferError &error, const QString &text);

    /// What was noticed of that account holds no more: it has come through, is paused or is gone.
    void troubleEnded(int account);

private:
    AccountManager &accounts() const;
    bool anyReceives() const;
    int sending() const;
    QString progressInWords() const;
    void fillGetMailMenu(QMenu *menu);
    void mend(MendAction action, int account);
    void tellFailure(const TransferError &error);
    void follow();
    void fetchEnded(Account *account, AccountFetchReason reason);
    void tellOutcome();

    Engine &m_engine;
    MessageBoxes &m_boxes;
    QWidget *m_window;
    WindowQuestions m_questions;
    DesktopKeyring m_keyring;
    SystemDiscoveryNetwork m_discovery;
    SystemLoginTester m_tester;
    FetcherControl *m_transfers;
    QPointer<AccountWizard> m_wizard;
    QPointer<AccountsDialog> m_dialog;
    QPointer<Account> m_failedAccount; ///< failed() told of it last
    QSet<int> m_asked;                 ///< accounts whose mail the user wanted and waits for
    bool m_isTransferring = false;
    QSet<int> m_offered; ///< identities for which an account was offered

    /// What has come of the transfers since they began, until it is told.
    struct Outcome
    {
        int arrived = 0; ///< new messages
        int sent = 0;    ///< messages that everybody has got
        bool isAsked = false;
        bool hasFailed = false;
        bool isStopped = false; ///< by the user, one of them at least
    };
    Outcome m_outcome;
    bool m_owesOutcome = false; ///< it is not told yet
};
