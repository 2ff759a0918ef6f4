#pragma once

#include "net/socket/linequeue.h"
#include "net/socket/socketerror.h"
#include "net/socket/tcppointer.h"
#include "net/socket/tlschoice.h"

#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>

#include <memory>
#include <optional>

class Dialler;
class QtSSLSocket;

/// A connection that speaks in lines, plain or over TLS, and can be promoted in place (STARTTLS, STLS).
///
/// What arrives waits as it was read in a queue of chunks and is joined to lines only when one is wanted.
/// Not more than 2 MB and one line wait: beyond that the server waits. A line of more than 64 MB ends the
/// session with lineTooLong(). Lines are handed out for about 8 ms at a time, then the event loop has its
/// turn. Whoever gets a signal may delete the socket. The last signal of a connection is one of
/// lineTooLong(), error(), connectionClosed() and delayedCloseFinished(); the lines that came before it come
/// before it.
class GSocket : public QObject
{
    Q_OBJECT

public:
    GSocket(bool useTLS, TlsChoice tls, QObject *parent = nullptr);
    ~GSocket() override;

    /// Once in the life of a socket. Signals come later, from the event loop.
    /// Of several addresses the next is tried when one fails or is silent for 250 ms, both families in turn.
    /// With addresses in @p known nothing is looked up.
    void connectToHost(const QString &hostOrAddress, quint16 port, const QList<QHostAddress> &known = {});

    /// Hands @p length bytes on. -1: nothing was taken, because there is no connection, or TLS is on its way.
    /// All is taken else, so whoever has much to send does it in pieces, as bytesToWrite() falls.
    qint64 writeBlock(const char *data, qint64 length);
    qint64 bytesToWrite() const;

    /// Gives what was handed on to the system at once, as far as it takes it, where the event loop would do
    /// so in its next turn: for who waits for an answer to it. bytesWritten() may come from within.
    void flush();

    /// What was handed over still goes out, for a few seconds also when the socket is deleted; nothing is
    /// handed out any more. delayedCloseFinished() comes when something had to wait, else connectionClosed().
    void close();
    qint64 bytesAvailable() const; ///< read and not handed out
    bool isConnected() const;      ///< can be written to
    bool isEncrypted() const;      ///< TLS is up and its certificate accepted

    /// Promotes the plain connection to TLS; connected() comes again when it is up. What the server sent in
    /// plain so far, read or not, is thrown away. Nothing when TLS is in use, or when there is no connection.
    void startTLS();

    /// The next whole line with its end, each byte a character (Latin-1), a NUL a space; empty when there is
    /// none.
    QString readLine();

    /// While on, what arrives is handed out by blockAvailable() as it came, in blocks and not in lines, NULs
    /// included. Off again, lines go on behind what putBack() returned. Both may be called from within the
    /// slots of either signal.
    void setBlockMode(bool on);
    void putBack(const QByteArray &rest);

    /// Nothing is handed out while this is on, and what comes fills the buffers until the server waits.
    void setPaused(bool paused);

    /// The text of the last error; for the log and for people who want to know.
    QString errorText() const;

    /// The server's certificate once TLS is up.
    CertificateInfo certificate() const;

    /// What the name was found to mean, for the cache of names; from hostFound() on.
    QList<QHostAddress> addresses() const;

    /// The address that the connection was made to; empty before.
    QString peerAddress() const { return m_peerAddress; }

    /// The address of this end of the connection; null before it is made.
    QHostAddress localAddress() const;

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

private:
    struct TlsRelease
    {
        void operator()(QtSSLSocket *socket) const;
    };
    enum class End { Closed, DelayedClosed, Error, LineTooLong };

    void wireTls();
    void slotDialled();
    void slotPlainError();
    void slotPlainDisconnected();
    void slotTlsConnected();
    void closePlain();
    void endLater();
    void fail(int code, const QString &text);
    void end(End how);
    void announceEnd();

    QByteArray takeReceived();
    bool handOut();
    bool handOutNext();
    void slotBytesWritten(qint64 bytes);

    TlsChoice m_choice;
    std::unique_ptr<Dialler> m_dialler;
    TcpPointer m_plain;
    std::unique_ptr<QtSSLSocket, TlsRelease> m_tls;
    LineQueue m_queue;
    QTimer m_later; ///< hands out more at the next turn of the event loop
    quint64 m_serial;
    bool m_blockMode = false;
    bool m_paused = false;
    bool m_handingOut = false;
    bool m_closing = false;
    bool m_over = false;      ///< the last signal is out
    std::optional<End> m_end; ///< it is due behind what is queued
    int m_code = 0;
    QString m_errorText;
    QString m_peerAddress;
};
