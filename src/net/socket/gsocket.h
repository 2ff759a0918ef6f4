#pragma once

#include "net/socket/certificate.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QString>

#include <deque>
#include <functional>
#include <memory>

class QTcpSocket;
class QtSSLSocket;

/// Numbers of the errors of a socket, as the messages of the program know them.
enum class SocketError { Refused, HostNotFound, Read, Tls };

/// What decides on a certificate that has a problem: it is given the report and answers, at once or later,
/// by calling @p answer with whether the connection may go on. Nothing is sent before.
using CertificateJudge =
    std::function<void(const CertificateReport &report, std::function<void(bool accept)> answer)>;

/// How a socket trusts and names its server.
struct TlsChoice
{
    QString serverName;     ///< the account's host: for SNI and for the check, also when connected by address
    QString caFile;         ///< certificates trusted besides those of the system; empty: none
    CertificateJudge judge; ///< null: a certificate with a problem is refused
};

/// A connection that speaks in lines, plain or over TLS, and can be promoted in place (STARTTLS, STLS).
///
/// What arrives waits as it was read in a queue of chunks and is joined to lines only when one is wanted.
/// Not more than 2 MB and one line wait: beyond that the server waits. A line of more than 64 MB ends the
/// session with lineTooLong().
class GSocket : public QObject
{
    Q_OBJECT

public:
    GSocket(bool useTLS, TlsChoice tls, QObject *parent = nullptr);
    ~GSocket() override;

    void connectToHost(const QString &hostOrAddress, quint16 port);

    /// Hands @p length bytes on. -1: nothing was taken. What waits to be sent is bytesToWrite().
    qint64 writeBlock(const char *data, qint64 length);
    qint64 bytesToWrite() const;

    /// What was handed over still goes out.
    void close();
    qint64 bytesAvailable() const;
    bool isConnected() const;
    bool isEncrypted() const; ///< TLS is up and its certificate accepted

    /// Promotes the plain connection to TLS; connected() comes again when it is up. What the server sent in
    /// plain so far, read or not, is thrown away. Nothing when TLS is in use.
    void startTLS();

    /// The next whole line with its end, each byte a character (Latin-1); empty when there is none.
    QString readLine();

    /// While on, what arrives is handed out by blockAvailable() as it came, in blocks and not in lines, NULs
    /// included. Off again, lines go on behind what putBack() returned. Both may be called from within the
    /// slots of either signal.
    void setBlockMode(bool on);
    void putBack(const QByteArray &rest);

    /// No more is read from the server while this is on.
    void setPaused(bool paused);

    /// The text of the last error; for the log and for people who want to know.
    QString errorText() const;

    /// The server's certificate once TLS is up.
    CertificateInfo certificate() const;

    /// The address that the connection was made to, for the cache of names; empty before.
    QString peerAddress() const;

    /// Whether @p socket is one of those that live.
    static bool isLive(const GSocket *socket);

signals:
    void connected();
    void lineAvailable(const QString &line);
    void blockAvailable(const QByteArray &block);
    void lineTooLong();
    void bytesWritten(int bytes);
    void error(int code);    ///< a SocketError, or another number
    void connectionClosed(); ///< by the server, or by close() with nothing left to send
    void delayedCloseFinished();
    void hostFound();

private slots:
    void slotReadyRead();
};
