#pragma once

#include "net/accountdata.h"
#include "net/fetchreason.h"

#include <QObject>
#include <QStringList>

#include <vector>

class AccountManager;
class Fetcher;

/// One failure of a transfer, as the list of errors shows it.
struct TransferError
{
    int account = 0;
    QString accountName;
    qint64 time = 0; ///< seconds since 1970 UTC
    AccountFetchReason reason = AccountFetchReason::None;
    QString detail; ///< the server's line, or the socket's text
    QString text;   ///< what a person is told, white space simplified
};

/// One configured server and what goes on with it now. Owned by the AccountManager; what holds one for long
/// holds it by QPointer.
class Account : public QObject
{
    Q_OBJECT

public:
    Account(AccountManager &manager, const AccountData &data);
    ~Account() override;

    const AccountData &data() const { return m_data; }
    int number() const { return m_data.number; }
    QString name() const { return m_data.name; }
    AccountKind kind() const { return m_data.kind; }

    /// Starts a fetch (a sender: a send). @p manual: the user asked for it; @p allConnections: not only one.
    void fetch(bool manual, bool allConnections);

    /// Ends what runs, at the next safe point.
    void stop();

    int runningFetchers() const { return int(m_fetchers.size()); }
    bool isFetching() const { return !m_fetchers.empty(); }
    const std::vector<Fetcher *> &fetchers() const { return m_fetchers; }
    QString status() const { return m_status; }

    /// Of the last fetch.
    const std::vector<TransferError> &errors() const { return m_errors; }

    /// Adds a line to the account's log, where logs are kept.
    void log(const QString &text);

signals:
    void statusChanged(const QString &text);
    void progressed(qint64 bytesDone, qint64 bytesTotal, int done, int total);
    void fetchStarted();
    void fetchEnded(AccountFetchReason reason, const QString &detail);

public slots:
    void slotFetchComplete(Fetcher *fetcher, bool received);
    void slotFetchError(Fetcher *fetcher, AccountFetchReason reason, const QString &detail, bool received);

private:
    friend class AccountManager;

    AccountManager &m_manager;
    AccountData m_data;
    std::vector<Fetcher *> m_fetchers;
    std::vector<TransferError> m_errors;
    QString m_status;
};
