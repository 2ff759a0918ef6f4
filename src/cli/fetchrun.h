#pragma once

#include "cli/command.h"

#include <QEventLoop>
#include <QObject>
#include <QTimer>

/// Fetches accounts and waits on the event loop until all of it has ended: a row for each account, those that
/// fetch along included. SIGINT and SIGTERM end it at the next safe point.
class FetchRun : public QObject
{
    Q_OBJECT

public:
    explicit FetchRun(Session &session);

    /// Returns at the end. False: an account failed, or was not fetched.
    bool run(const std::vector<int> &accounts);

private:
    void look();
    void ended(Account *account, AccountFetchReason reason, const QString &detail);
    void showProgress();
    void explain(const Account &account, AccountFetchReason reason, const QString &detail);

    Session &m_session;
    AccountManager &m_accounts;
    QEventLoop m_loop;
    QTimer m_timer;
    bool m_isStopping = false;
    bool m_good = true;
};
