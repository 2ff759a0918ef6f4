#pragma once

#include "net/socket/tcppointer.h"

#include <QHostAddress>
#include <QObject>
#include <QTimer>

#include <memory>
#include <vector>

class QHostInfo;

/// Makes a TCP connection by name or by address. A name with several addresses has them tried with IPv6 and
/// IPv4 in turn: the next one begins when one fails or is silent for 250 ms, and the first that stands wins
/// (RFC 8305). All of it happens on the event loop, no signal comes from within dial().
class Dialler : public QObject
{
    Q_OBJECT

public:
    explicit Dialler(QObject *parent = nullptr);
    ~Dialler() override;

    /// With addresses in @p known nothing is looked up.
    void dial(const QString &hostOrAddress, quint16 port, const QList<QHostAddress> &known = {});

    /// All that were found for the name, in the order in which they are tried; after hostFound().
    const QList<QHostAddress> &addresses() const { return m_found; }

    /// Hands over the connection, after connected().
    TcpPointer take() { return std::move(m_won); }

    /// @p addresses in the order in which they are tried: the first one's family and the other in turn, not
    /// more than eight.
    static QList<QHostAddress> ordered(const QList<QHostAddress> &addresses);

signals:
    void hostFound();
    void connected();
    void failed(int code); ///< a SocketError, or another number

private:
    void slotResolved(const QHostInfo &found);
    void begin(const QList<QHostAddress> &addresses);
    void tryNext();
    void won(QTcpSocket *socket);
    void lost(QTcpSocket *socket);

    quint16 m_port = 0;
    int m_lookup = -1;
    int m_code = -1; ///< of the failure that says most
    QTimer m_next;
    QList<QHostAddress> m_found;
    QList<QHostAddress> m_addresses; ///< of them not yet tried
    std::vector<TcpPointer> m_attempts;
    TcpPointer m_won;
};
