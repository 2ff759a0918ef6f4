#pragma once

#include "net/fetcher.h"
#include "net/outgoingqueue.h"

/// What an SMTPSender is for.
enum class SmtpTask {
    Send,      ///< every message that waits for its account, then QUIT
    LoginTest, ///< greet, promote, log in, quit; no message is touched
};

/// The SMTP client of an account of kind Smtp (RFC 5321, 3207, 4954, 2920, 1870, 6152, 6531).
class SMTPSender : public Fetcher
{
    Q_OBJECT

public:
    /// @p queue outlives this; null for a login test only.
    SMTPSender(Account &account, SmtpTask task, OutgoingQueue *queue, QObject *parent = nullptr);
    ~SMTPSender() override;

    bool start() override;

    /// Starts no further message; one of which the final dot is out waits for its reply, any other is given
    /// back. QUIT where no reply is outstanding, else the connection is closed; reason 1.
    void stop() override;

    /// Whether the session ended because the server refused the name or the password.
    bool isLoginRefused() const;

signals:
    /// Besides those of every fetcher: how the session ended.
    void sendComplete(Fetcher *sender, bool sent);
    void sendError(Fetcher *sender, AccountFetchReason reason, const QString &detail, bool sent);
};
