#pragma once

#include "net/fetchreason.h"
#include "net/socket/gsocket.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>

#include <vector>

class Account;

/// A client of one protocol at work for one account: the base of them all. It enters itself into the list of
/// live fetchers, opens its connection, runs its protocol, says how it ended with fetchComplete() or
/// fetchError(), exactly once, and is then deleted from the event loop. What imports without a network is
/// one, too: it never opens a connection.
class Fetcher : public QObject
{
    Q_OBJECT

public:
    explicit Fetcher(Account &account, QObject *parent = nullptr);
    ~Fetcher() override;

    /// Begins. False: it could not, lastError() says why, and nothing more comes from it.
    virtual bool start() = 0;

    /// Whether it holds an open connection and has nothing to do.
    virtual bool isIdle() const { return false; }

    /// Ends the work at the next safe point; the session ends with reason 1. The base does nothing.
    virtual void stop() {}

    /// Ends it here and now without a word: its account goes away, or the program.
    void abandon();

    Account *account() const; ///< null once the account is gone
    bool hasEnded() const { return m_ended; }
    QString lastError() const { return m_lastError; }
    QString status() const { return m_status; }

    /// Whether a person waits for it who may be asked; set by its account before start().
    bool isAttended() const { return m_attended; }
    void setAttended(bool attended) { m_attended = attended; }

    static const std::vector<Fetcher *> &live();
    static int busyCount(); ///< the live ones that are not idle

signals:
    /// @p received: whether new mail came.
    void fetchComplete(Fetcher *fetcher, bool received);
    void fetchError(Fetcher *fetcher, AccountFetchReason reason, const QString &detail, bool received);
    void statusChanged(const QString &text);
    void idleChanged(); ///< isIdle() is another one

    /// Bytes and messages of this session so far; 0 of 0 while nobody knows.
    void progressed(qint64 bytesDone, qint64 bytesTotal, int done, int total);

protected:
    /// @name The connection
    /// @{

    /// Makes the socket, wires it to the slots below, and connects to the account's server: by the addresses
    /// that the cache of names holds; without them, or when they fail, by name.
    void openConnection();
    GSocket *socket() const { return m_socket.get(); }

    /// What was handed over still goes out; connectionClosed() comes.
    void closeConnection();

    /// Whether credentials may be sent now: over TLS, to this machine itself, or where the account allows it.
    bool mayLogIn() const;
    static bool mayLogIn(bool isEncrypted, bool needsEncryption, const QHostAddress &peer);
    /// @}

    /// @name The end, once: whatever is said later is not heard
    /// @{
    void complete(bool received);
    void fail(AccountFetchReason reason, const QString &detail, bool received);
    /// @}

    /// Tells the account that the server refused its user or password with @p reply (not: that the mailbox is
    /// in use, or that the server cannot now). The session is still to be ended.
    void noteLoginRefused(const QString &reply);

    /// @name The time-out
    /// slotTimeout() comes when nothing happened at the socket for the set time. It stands still while the
    /// user is asked, and while a hold lasts. Every sign of life of the socket begins it anew.
    /// @{
    void setTimeLimit(int milliseconds); ///< 0: none
    void restartTimeLimit();
    void holdTimeLimit(); ///< these two nest
    void releaseTimeLimit();
    bool isTimeLimitHeld() const { return m_holds > 0; }
    /// @}

    /// Shows @p text as what it does now; with @p log into the account's log as well.
    void setStatus(const QString &text, bool log);

    /// One line of the protocol into the account's log: @p direction is ">>>> " or "<<<< ". Never a password.
    void logLine(const char *direction, const QByteArray &line);

    static QString connectionErrorText(int code);

    /// The same, and of TLS what was wrong: "SSL error: Self signed certificate".
    QString connectionFailure(int code) const;

    /// @p text as the bytes that a protocol with a final dot sends (RFC 5321 4.5.2): line ends "\r\n",
    /// leading dots doubled, "\r\n.\r\n" behind it. A line end at the end of the text opens no further line.
    static QByteArray terminateBody(const QByteArray &text);

    void setLastError(const QString &text) { m_lastError = text; }

    /// abandon() was called; nothing can be told any more. The base does nothing.
    virtual void abandoned() {}

protected slots:
    virtual void slotConnected() {} ///< also when startTLS() has brought TLS up
    virtual void slotConnectionError(int code);
    virtual void slotLineAvailable(const QString &) {}
    virtual void slotBlockAvailable(const QByteArray &) {}
    virtual void slotLineTooLong(); ///< ends the session with reason 5
    virtual void slotConnectionClosed() {}
    virtual void slotHostFound();
    virtual void slotBytesWritten(int) {}
    virtual void slotTimeout(); ///< ends the session with reason 10

private:
    void connectTo(const QList<QHostAddress> &known);
    void makeSocket();
    void wireSocket();
    TlsChoice tlsChoice();
    void hostFound();
    void connected();
    void connectionFailed(int code);
    void lookAtTimeLimit();
    bool end();

    QPointer<Account> m_account;
    std::unique_ptr<GSocket> m_socket;
    bool m_byName = false;    ///< the connection is made by name, not by an address of the cache
    bool m_connected = false; ///< it was
    bool m_ended = false;
    bool m_attended = false;
    QString m_lastError;
    QString m_status;
    QTimer m_timer;
    QElapsedTimer m_quiet; ///< since the last sign of life
    int m_timeLimit = 0;
    int m_holds = 0;
};
