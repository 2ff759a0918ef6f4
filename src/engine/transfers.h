#pragma once

#include "net/accountmanager.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QTimer>

/// How far everything is that fetches now, or fetches single messages, taken together.
struct TransferProgress
{
    int accounts = 0;      ///< that do
    qint64 bytes = 0;      ///< received
    qint64 totalBytes = 0; ///< 0 while nobody knows
    int messages = 0;      ///< received
    int totalMessages = 0; ///< 0 while nobody knows
    QString status;        ///< what the only one of them does; empty with several
};

/// What a fetch of an account came to.
struct TransferResult
{
    int received = 0; ///< messages
    qint64 bytes = 0;
    qint64 milliseconds = 0;
};

/// Watches the fetches of all accounts, and what serves single messages, for the status line and the command
/// line.
class Transfers : public QObject
{
    Q_OBJECT

public:
    explicit Transfers(AccountManager &accounts, QObject *parent = nullptr);

    TransferProgress progress() const;

    /// Of the fetch of @p account that runs, or of its last one in this run.
    TransferResult result(int account) const;

signals:
    void changed(); ///< progress(); not more often than people can read

    /// A fetch did, or will not begin.
    void ended(int account, AccountFetchReason reason, const QString &detail);

private:
    struct One
    {
        bool isRunning = false;
        qint64 bytes = 0;
        qint64 totalBytes = 0;
        int messages = 0;
        int totalMessages = 0;
        qint64 began = 0; ///< of the steady clock, milliseconds
        qint64 ended = 0;
    };

    using All = QHash<int, One>; ///< by account number

    void begin(All &all, Account *account);
    void end(All &all, Account *account);
    void add(const All &all, TransferProgress &sum, bool &isKnown) const;
    void take(qint64 bytes, qint64 totalBytes, int messages, int totalMessages);
    void tellSoon();

    AccountManager &m_accounts;
    All m_fetches;
    All m_served; ///< sessions that serve requests
    QElapsedTimer m_clock;
    QTimer m_telling;
};
