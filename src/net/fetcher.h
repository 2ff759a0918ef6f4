#pragma once

#include "net/fetchreason.h"
#include "net/socket/gsocket.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QString>

#include <vector>

class Account;

/// A client of one protocol at work for one account: the base of them all. It enters itself into the list of
/// live fetchers, opens its connection, runs its protocol, says how it ended with fetchComplete() or
/// fetchError(), exactly once, and is then deleted by its account.
class Fetcher : public QObject
{
    Q_OBJECT

public:
    explicit Fetcher(Account &account, QObject *parent = nullptr);
    ~Fetcher() override;

    /// Begins. False: it could not, and nothing more comes from it.
    virtual bool start() = 0;

    /// Whether it holds an open connection and has nothing to do.
    virtual bool isIdle() const { return false; }

    /// Ends the work at the next safe point; the session ends with reason 1.
    virtual void stop() {}

    Account *account() const; ///< null once the account is gone
    QString lastError() const { return m_lastError; }
    QString status() const { return m_status; }

    static const std::vector<Fetcher *> &live();
    static int busyCount(); ///< the live ones that are not idle

signals:
    /// @p received: whether new mail came.
    void fetchComplete(Fetcher *fetcher, bool received);
    void fetchError(Fetcher *fetcher, AccountFetchReason reason, const QString &detail, bool received);
    void statusChanged(const QString &text);

    /// Bytes and messages of this session so far; 0 of 0 while nobody knows.
    void progressed(qint64 bytesDone, qint64 bytesTotal, int done, int total);

protected:
    /// Makes the socket, wires it to the five slots, and connects to the account's server: by the address
    /// that the cache of names holds, else by name.
    void openConnection();
    GSocket *socket() const { return m_socket.get(); }
    void closeConnection();

    void setStatus(const QString &text, bool log);

    /// One line of the protocol into the account's log. Never a password.
    void logLine(const char *direction, const QByteArray &line);

    static QString connectionErrorText(int code);

    /// @p text as the bytes that a protocol with a final dot sends (RFC 5321 4.5.2): line ends "\r\n",
    /// leading dots doubled, "\r\n.\r\n" behind it. A line end at the end of the text opens no further line.
    static QByteArray terminateBody(const QByteArray &text);

    void setLastError(const QString &text) { m_lastError = text; }

protected slots:
    virtual void slotConnected() = 0; ///< also when startTLS() has brought TLS up
    virtual void slotConnectionError(int code) = 0;
    virtual void slotLineAvailable(const QString &line) = 0;
    virtual void slotConnectionClosed() = 0;
    virtual void slotHostFound() {}

private:
    QPointer<Account> m_account;
    std::unique_ptr<GSocket> m_socket;
    QString m_lastError;
    QString m_status;
};
