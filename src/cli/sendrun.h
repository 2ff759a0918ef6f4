#pragma once

#include "cli/command.h"

#include <QEventLoop>
#include <QHash>
#include <QObject>
#include <QTimer>

/// Sends what waits in the outbox and may go now, and waits on the event loop for the end: a row for each
/// message that nobody holds back, also for one that was refused before or waits for its next try, then one
/// with their numbers. SIGINT and SIGTERM end it at the next safe point.
class SendRun : public QObject
{
    Q_OBJECT

public:
    explicit SendRun(Session &session);

    /// Returns at the end. False: not all of them were sent, and each of the others was complained about.
    bool run();

private:
    void look();
    void ended(const Account &account, AccountFetchReason reason, const QString &detail);
    bool tell(const OutboxEntry &before);
    QString reasonOf(const OutboxEntry &left) const;

    Session &m_session;
    Outbox &m_outbox;
    AccountManager &m_accounts;
    QHash<int, QString> m_troubles; ///< of accounts, by number
    QEventLoop m_loop;
    QTimer m_timer;
    bool m_isStopping = false;
};
