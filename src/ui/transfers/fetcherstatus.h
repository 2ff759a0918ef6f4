#pragma once

#include "net/fetchreason.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QWidget>

class Account;
class ElidedLabel;
class QProgressBar;
class QTimer;
class QToolButton;
class SignLabel;

/// The row of one account in the window of transfers: what it does, how far it is, how it ended, and a button
/// that stops it. It listens to the account and keeps no other state than what it shows. A session that
/// serves requests for single messages is shown while it does; when that went well, the last fetch is shown
/// again.
class FetcherStatus : public QWidget
{
    Q_OBJECT

public:
    /// @p title stands in the column of types; empty: the account's kind.
    FetcherStatus(Account &account, const QString &title, QWidget *parent = nullptr);

    Account *account() const { return m_account; } ///< null once it is gone
    bool isRunning() const { return m_running; }

    QString status() const;
    QString title() const;

    /// @name The widths in which the texts of the first two columns are shown whole
    /// @{
    int nameWidth() const;
    int typeWidth() const;
    /// @}

    /// Widths of the first two columns, the same for all rows.
    void setColumns(int account, int type);

signals:
    void widthsChanged();

    /// The account does not exist any more, or there is nothing to show of it: the row is to go.
    void gone();

public slots:
    void slotStop();
    void slotAccountDeleted(Account *account);
    void slotAccountUpdated(Account *account);

private:
    void build();
    void started();
    void ended(AccountFetchReason reason, const QString &detail);
    void servingStarted();
    void servingEnded(AccountFetchReason reason, const QString &detail);
    void showRunning(bool running);
    void progressed(qint64 bytesDone, qint64 bytesTotal, int done, int total);
    void showProgress();
    void showStatus(const QString &text);
    void showSign(const QString &icon, int role);
    QString speed() const;

    struct Progress
    {
        qint64 bytesDone = 0;
        qint64 bytesTotal = 0;
        int done = 0;
        int total = 0;
    };

    struct Shown
    {
        QString icon;
        int role = 0;
        QString status;
        QString time;
    };

    QPointer<Account> m_account;
    QString m_title;
    Shown m_shown;  ///< the sign of it only
    Shown m_before; ///< what stood here before a session served
    SignLabel *m_sign;
    ElidedLabel *m_name;
    ElidedLabel *m_type;
    ElidedLabel *m_status;
    ElidedLabel *m_amount; ///< how much of it, while it runs
    ElidedLabel *m_time;   ///< when it ended
    QProgressBar *m_bar;
    QToolButton *m_stop;
    QTimer *m_refresh;
    QElapsedTimer m_since;
    Progress m_progress;
    bool m_running = false;
    bool m_hasNews; ///< of a fetch, or of a failure
};
