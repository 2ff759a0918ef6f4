#pragma once

#include "net/accountmanager.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>

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

    /// Something new waits: what the user stopped, or what rests after a failure, is tried at once.
    void resume(int account);

    /// The program is online again: what failed before need not fail now.
    void resumeAll();

    /// What the session under way could not do ends it badly, whatever its sender says: it is not tried again
    /// at once.
    void spoil(int account) { m_spoilt.insert(account); }

    /// What keeps the account from sending by itself: its last session failed, or was stopped.
    struct Trouble
    {
        int failures = 0;
        qint64 notBefore = 0;   ///< when it is tried again: seconds since 1970 UTC; 0: at once
        bool isStopped = false; ///< by the user; it is not
        QString said;           ///< how the last session failed, for people
    };
    Trouble trouble(int account) const { return m_troubles.value(account); }

    /// Whether the fetch that begins or runs is one of start(); else the user wanted it elsewhere.
    bool hasStarted(int account) const { return m_started.contains(account); }

signals:
    /// No sender of this account has anything in hand any more.
    void ended(int account, const QString &reason);

private:
    void fetchEnded(Account *account, AccountFetchReason reason, const QString &detail);

    AccountManager &m_accounts;
    QHash<int, Trouble> m_troubles;
    QSet<int> m_started;
    QSet<int> m_spoilt;
};
