#pragma once

#include "net/accountmanager.h"

#include <QHash>
#include <QObject>

/// Starts the senders of outgoing accounts: one at most for each, sooner or later again where a session
/// failed, and not by itself where the user stopped it.
class Sendoff : public QObject
{
    Q_OBJECT

public:
    explicit Sendoff(AccountManager &accounts, QObject *parent = nullptr);

    enum class Wish {
        ByItself,
        Attended, ///< the same, but the user is there and may be asked
        AtOnce,   ///< the user wants it, whatever happened before
    };

    /// Has the account send now. False: it does not.
    bool start(int account, Wish wish);

    /// Something new waits: what the user stopped may go on.
    void resume(int account);

    /// When the account is tried again by itself: seconds since 1970 UTC; 0: at once.
    qint64 nextTry(int account) const { return m_troubles.value(account).notBefore; }

signals:
    /// No sender of this account has anything in hand any more.
    void ended(int account, const QString &reason);

private:
    struct Trouble
    {
        int failures = 0;
        qint64 notBefore = 0;
        bool isStopped = false; ///< by the user
    };

    void fetchEnded(Account *account, AccountFetchReason reason, const QString &detail);

    AccountManager &m_accounts;
    QHash<int, Trouble> m_troubles;
};
