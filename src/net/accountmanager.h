#pragma once

#include "net/account.h"
#include "net/accountsfile.h"
#include "net/namecache.h"
#include "net/transfererrors.h"

#include <QObject>

#include <deque>
#include <memory>
#include <vector>

class PasswordKeeper;

/// Why an account cannot be entered as it is.
enum class AccountFault {
    None,
    NoName,
    NameTaken,
    Separator, ///< name, host, user, password or address hold a tab or a line end
};

/// The accounts of the program: owns the list, loads and saves it, and lets its accounts fetch, not too many
/// at once.
class AccountManager : public QObject
{
    Q_OBJECT

public:
    explicit AccountManager(QObject *parent = nullptr);
    ~AccountManager() override;

    /// @name What the accounts need from above; each outlives the manager's use of it, null takes it away
    /// @{
    void setFactory(FetcherFactory *factory) { m_factory = factory; }
    void setQuestions(UserQuestions *questions) { m_questions = questions; } ///< null: nobody is asked
    void setPasswordKeeper(PasswordKeeper *keeper) { m_keeper = keeper; }
    FetcherFactory *factory() const { return m_factory; }
    UserQuestions *questions() const { return m_questions; }
    PasswordKeeper *passwordKeeper() const { return m_keeper; }
    /// @}

    /// False after a report: the list could not be read, is empty, and will not be written in this run.
    bool load();

    /// Writes what changed, and what the logs still have in memory. False after a report.
    bool save();

    const std::vector<std::unique_ptr<Account>> &accounts() const { return m_accounts; }

    /// The same as the file holds them.
    std::vector<AccountData> all() const;

    Account *account(int number) const; ///< null when there is none
    Account *find(const QString &name) const;

    /// What is wrong with @p data; of the account with its number the name counts as free.
    AccountFault faultOf(const AccountData &data) const;

    /// Enters @p account under a new number, which is returned; 0 when it has a fault.
    int add(AccountData data);

    /// Puts @p data in the place of the one with its number. False, and nothing changed, when it has a fault.
    bool update(const AccountData &data);

    /// Stops it, takes it out, and sets its directory aside under "Accounts/Removed", from where it goes
    /// after 30 days; no password of it stays.
    void remove(int number);

    /// Puts the account of that number at @p place of the list, from 0; accountUpdated() tells of it.
    void move(int number, int place);

    /// @name Fetching
    /// @{

    /// All that receive.
    void fetchAll(bool manual);

    /// Those whose interval has passed; to be called now and then.
    void fetchWhatIsDue();

    /// Ends what runs or waits, at the next safe point.
    void stopAll();

    /// While on, no fetch begins: the program is closing.
    void setFetchesBlocked(bool blocked);
    bool areFetchesBlocked() const { return m_blocked; }

    /// The end of the program: no fetch begins any more, and what runs ends here and now, with what has
    /// arrived whole in the store.
    void shutDown();

    /// Clients that run; those that only hold an idle connection do not count.
    int runningFetchers() const;
    bool isBusy() const; ///< something runs or waits
    /// @}

    TransferErrors &errors() { return m_errors; }
    NameCache &names() { return m_names; }
    void flushLogs();

signals:
    void accountAdded(Account *account);
    void accountUpdated(Account *account);
    void accountDeleted(Account *account); ///< it is out of the list and about to go

    /// @name Of any account, for those who watch them all
    /// @{
    void fetchStarted(Account *account);
    void fetchEnded(Account *account, AccountFetchReason reason, const QString &detail);
    void fetchDropped(Account *account);
    void servingStarted(Account *account);
    void servingEnded(Account *account, AccountFetchReason reason, const QString &detail);
    void markChanged(Account *account);
    /// @}

private:
    friend class Account;

    Account *enter(const AccountData &data);
    void passOn(Account &account);
    bool isFull() const; ///< `FetchConcurrency` is reached
    void queue(const AccountFetchRequest &request);
    void dropRequests(int account);
    bool isQueued(int account) const;
    void startWaiting();
    void forgetChainsTo(int number);
    void moveInKeyring(const AccountData &from, const AccountData &to);
    void removeFromKeyring(const AccountData &data, int number);

    FetcherFactory *m_factory = nullptr;
    UserQuestions *m_questions = nullptr;
    PasswordKeeper *m_keeper = nullptr;
    AccountsFile m_file;
    NameCache m_names;
    TransferErrors m_errors;
    int m_counter = 0; ///< the highest number given so far
    std::deque<AccountFetchRequest> m_queue;
    std::vector<std::unique_ptr<Account>> m_accounts;
    bool m_changed = false;
    bool m_secretChanged = false; ///< a stored password is another one, or gone
    bool m_blocked = false;
};
