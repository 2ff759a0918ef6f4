#pragma once

#include "net/fetcher.h"
#include "net/outgoingqueue.h"
#include "net/smtp/smtpextensions.h"
#include "net/smtp/smtpreply.h"

#include <QElapsedTimer>
#include <QStringList>
#include <QTimer>

#include <array>
#include <memory>

class SmtpMail;
class SmtpText;

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
    bool isLoginRefused() const { return m_loginRefused; }

    /// Whether the server took the name and the password; some take mail without.
    bool isLoggedIn() const { return m_isLoggedIn; }

    /// Milliseconds for which it waits now at most: for the whole of a reply, for the next piece of a text to
    /// go out (RFC 5321 4.5.3.2).
    int patience() const;

    /// How long a minute of patience is.
    void setMinute(int milliseconds) { m_minute = milliseconds; }

signals:
    /// Besides those of every fetcher: how the session ended. @p sent: whether a message went out.
    void sendComplete(Fetcher *sender, bool sent);
    void sendError(Fetcher *sender, AccountFetchReason reason, const QString &detail, bool sent);

protected:
    void abandoned() override;

protected slots:
    void slotConnected() override;
    void slotConnectionError(int code) override;
    void slotLineAvailable(const QString &line) override;
    void slotLineTooLong() override;
    void slotConnectionClosed() override;
    void slotBytesWritten(int bytes) override;
    void slotTimeout() override;

private slots:
    void sendNext();

private:
    /// The numbers are those of the log.
    enum class State {
        Preparing = 0, ///< between two messages; no reply is outstanding
        Connecting = 1,
        Greeting = 2,
        Handshake = 3,
        Ehlo = 4,
        Helo = 5,
        StartTls = 6,
        CramMd5 = 7,
        CramMd5Answer = 8,
        Login = 9,
        LoginUser = 10,
        LoginPassword = 11,
        Plain = 12,
        EhloList = 13,
        MailFrom = 14,
        RcptTo = 15,
        Data = 16,
        Writing = 17, ///< the text, but not its final dot
        Text = 18,
        Quit = 19,
        Rset = 20,
        Ended = 21,
    };
    struct Step
    {
        State state;
        const char *awaits; ///< for the log and for people
        int seconds;        ///< for which it is awaited
        void (SMTPSender::*onReply)(const SmtpReply &reply);
    };
    static const std::array<Step, std::size_t(State::Ended) + 1> s_steps;
    const Step &step() const { return s_steps[std::size_t(m_state)]; }

    /// @name The dialogue
    /// @{
    void enter(State state);
    void startReplyLimit();
    void lookAtReplyLimit();
    void say(const QByteArray &command, State next, const QByteArray &shown = {});
    void sayAll(const QList<QByteArray> &commands, State next);
    QByteArray commandLines(const QList<QByteArray> &commands);
    void saySecret(const QByteArray &secret, State next);
    void hear(const QByteArray &line);
    void serviceEnds();
    void end(AccountFetchReason reason, const QString &detail = {});
    void endWithReply(const SmtpReply &reply);
    void quit();
    void quitReply(const SmtpReply &reply);
    void unexpected(const SmtpReply &reply) { endWithReply(reply); }
    void ignore(const SmtpReply &) {}
    /// @}

    /// @name Up to the login
    /// @{
    void greeting(const SmtpReply &reply);
    void greet();
    QByteArray clientName() const;
    void ehloReply(const SmtpReply &reply);
    void heloReply(const SmtpReply &reply);
    void startTlsReply(const SmtpReply &reply);
    void lookAtEncryption();
    void logIn();
    void tryNextMethod();
    void cramMd5Reply(const SmtpReply &reply);
    void giveUpMethod();
    void loginReply(const SmtpReply &reply);
    void plainReply(const SmtpReply &reply);
    void authReply(const SmtpReply &reply);
    void methodRefused(const SmtpReply &reply);
    void methodsExhausted();
    bool canEncrypt() const;
    bool wantsLogin(const SmtpReply &reply) const;
    void logInAfterAll();
    void ready();
    /// @}

    /// @name A message
    /// @{
    bool takeMail();
    std::unique_ptr<SmtpMail> nextMail();
    void lookAhead();
    bool mayBeginNext();
    QByteArray beginNext();
    bool fits(const SmtpText &text) const;
    bool isTooLarge(const SmtpText &text) const;
    bool fitMail();
    bool beginMail();
    bool beginTransaction();
    void awaitTransaction();
    QList<QByteArray> transaction(SmtpMail &mail) const;
    void refuseMail(const QString &text);
    void mailReply(const SmtpReply &reply);
    void rcptReply(const SmtpReply &reply);
    void sayRcpt();
    void recipientsAnswered();
    void dataReply(const SmtpReply &reply);
    void writeText();
    void writeDot();
    void endUnwritten();
    void earlyReply(const SmtpReply &reply);
    void textReply(const SmtpReply &reply);
    void rsetReply(const SmtpReply &reply);
    void transactionRefused(const SmtpReply &reply);
    void nextTransaction();
    void releaseMail(const QString &reason);
    void releaseAll(const QString &reason);
    void tellRefusals(const QList<OutgoingRefusal> &refusals);
    void addTrouble(const QString &text);
    void showText(bool now);
    void showProgress();
    /// @}

    const SmtpTask m_task;
    OutgoingQueue *const m_queue;
    State m_state = State::Connecting;
    AccountFetchReason m_reason = AccountFetchReason::None; ///< that the session will end with
    QStringList m_troubles;                                 ///< what did not go out
    int m_untoldTroubles = 0;
    bool m_isStopping = false;
    bool m_loginRefused = false;
    bool m_sent = false;

    QByteArray m_user;
    QByteArray m_password;
    QByteArray m_secret; ///< the last that was said; a server may repeat it
    SmtpReply m_reply;
    SmtpExtensions m_extensions;
    int m_method = 0;        ///< the next to try
    QString m_methodRefusal; ///< the last reply that was a refusal of the name or the password
    QString m_loginWish;     ///< the reply that wants a login or encryption before mail
    bool m_isLoggedIn = false;
    bool m_isPlainSaid = false;
    bool m_isGivenUp = false; ///< the login under way, by us

    QTimer m_ahead;        ///< looks at the next message
    QTimer m_slice;        ///< goes on with the look at a large message
    QTimer m_replyLimit;   ///< bytes that drip in do not stop it
    int m_minute = 60'000; ///< milliseconds
    std::unique_ptr<SmtpMail> m_mail;
    std::unique_ptr<SmtpMail> m_next; ///< looked at while m_mail is on its way
    bool m_isNextReady = false;       ///< and looked at to its end
    bool m_isNextSaid = false;        ///< its transaction is under way, too
    qint64 m_behindDot = 0;           ///< bytes of that, which went out with the final dot
    int m_number = 0;                 ///< of the message in hand, from 1
    int m_total = 0;
    int m_done = 0;
    qint64 m_written = 0; ///< bytes of the text
    QElapsedTimer m_sinceStatus;
};
