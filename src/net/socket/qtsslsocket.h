#pragma once

#include "net/socket/tcppointer.h"
#include "net/socket/tlschoice.h"

#include <QHostAddress>
#include <QIODevice>
#include <QList>
#include <QStringList>
#include <QTimer>

#include <deque>
#include <memory>
#include <optional>

class Dialler;
class TlsEngine;

/// A TCP connection that speaks TLS as a client: from its start, or over a connection that was plain so far.
///
/// connected() comes when the handshake is done and the certificate is accepted; before that nothing can be
/// read or written. What the server sends waits in TCP and in here, 2 MB at most, until it is taken. Every
/// signal comes from the event loop, none from within a call, and whoever gets one may delete the socket.
/// When the server goes away, by the book or not, that is connectionClosed() and never an error; what came
/// before is to be taken first.
class QtSSLSocket : public QIODevice
{
    Q_OBJECT

public:
    explicit QtSSLSocket(TlsChoice choice, QObject *parent = nullptr);
    ~QtSSLSocket() override;

    void connectToHost(const QString &hostOrAddress, quint16 port, const QList<QHostAddress> &known = {});

    /// Takes over @p connection; the handshake begins at the next turn of the event loop. What the server has
    /// sent until then is thrown away: it was not encrypted (RFC 2595, 2.2).
    void startOver(TcpPointer connection);

    /// There is nothing to open by hand. False.
    bool open(OpenMode mode) override;

    /// What was handed over still goes out, then the notice that TLS has for the end. connectionClosed()
    /// comes when nothing had to wait, else delayedCloseFinished(). Nothing is read any more.
    void close() override;

    /// Ends at once; nothing is told. After a close() what was encrypted still goes out.
    void abort();

    bool isSequential() const override { return true; }
    bool isConnected() const { return m_state == State::Open; }

    qint64 bytesAvailable() const override; ///< decrypted so far
    qint64 bytesToWrite() const override;

    /// What has come, decrypted, up to 256 kB at a time; until it is empty nothing new is announced. The fast
    /// way to read.
    QByteArray takeAvailable();

    /// As read() and write(), with a text for what went wrong. -1: nothing was done.
    qint64 readBlock(char *data, qint64 most);
    qint64 writeBlock(const char *data, qint64 length);

    /// Every error so far, with ", " between.
    QString errorText() const { return m_errors.join(QStringLiteral(", ")); }

    /// Of the server, once the handshake is done.
    const CertificateInfo &certificate() const { return m_report.certificate; }
    QList<QHostAddress> addresses() const; ///< that the host has, as far as they were looked up
    QString peerAddress() const { return m_peerAddress; } ///< empty before there is a connection
    QHostAddress localAddress() const;

signals:
    void connected();
    void connectionClosed();
    void delayedCloseFinished();
    void error(int code); ///< a SocketError, or another number
    void hostFound();

protected:
    qint64 readData(char *data, qint64 most) override;
    qint64 writeData(const char *data, qint64 length) override;

private slots:
    void readFromSocket();     ///< also when something went out
    void sslConnect();         ///< TCP stands
    void finishClose();        ///< TCP has ended
    void finishDelayedClose(); ///< TCP has ended after a close()
    void socketError(int code);

private:
    enum class State { Idle, Connecting, Handshaking, Judging, Open, Closing, Ended };
    enum class End { None, Closed, DelayedClosed, Error };

    void adopt(TcpPointer connection);
    void beginHandshake();
    void discardPlain();

    void pump();
    void announce();
    void announceEnd();
    bool step();
    bool shakeHands();
    void goUp();
    bool exchange();
    bool feed();
    bool finishSending();
    bool decrypt();
    bool encrypt();
    void judge();
    void judged(bool accept);
    QString problemTexts() const;

    void failTls(const char *what);
    void fail(int code, const QString &text);
    void noteLoss();
    void endWithoutServer();
    void end(End how);
    bool isDrained() const;
    void later() { m_later.start(); }

    TlsChoice m_choice;
    State m_state = State::Idle;
    std::unique_ptr<Dialler> m_dialler;
    TcpPointer m_tcp;
    std::unique_ptr<TlsEngine> m_engine;
    QTimer m_later; ///< pumps at the next turn of the event loop

    QByteArray m_received; ///< decrypted; the first m_receivedSize bytes count
    qsizetype m_receivedSize = 0;
    qsizetype m_taken = 0;           ///< of them
    std::deque<QByteArray> m_toSend; ///< not yet encrypted
    qsizetype m_sentOfFirst = 0;
    qint64 m_toSendSize = 0;

    bool m_pumping = false;
    bool m_isUp = false;       ///< connected() is due
    bool m_mustJudge = false;  ///< the judge is due
    bool m_hasNews = false;    ///< readyRead() is due
    qint64 m_written = 0;      ///< bytesWritten() is due
    bool m_serverGone = false; ///< nothing more comes
    bool m_closesLate = false; ///< something waited at the close()
    End m_end = End::None;     ///< the last signal is due
    int m_code = 0;
    std::optional<int> m_loss; ///< why the server is gone, when it did not just go
    QString m_peerAddress;
    quint16 m_port = 0;
    CertificateReport m_report;
    QStringList m_errors;
};
