#include "net/socket/dialler.h"

#include "net/socket/socketerror.h"

#include <QHostInfo>
#include <QNetworkProxy>
#include <QPointer>
#include <QTcpSocket>

#include <algorithm>
#include <chrono>

using namespace std::chrono_literals;

namespace {

constexpr auto kPatience = 250ms;
constexpr qsizetype kMostAddresses = 8;
constexpr qint64 kReadBuffer = 1024 * 1024; // bytes; beyond them the server waits

} // namespace

Dialler::Dialler(QObject *parent)
    : QObject(parent)
{
    m_next.setSingleShot(true);
    m_next.setInterval(kPatience);
    connect(&m_next, &QTimer::timeout, this, &Dialler::tryNext);
}

Dialler::~Dialler()
{
    if (m_lookup >= 0)
        QHostInfo::abortHostLookup(m_lookup);
}

void Dialler::dial(const QString &hostOrAddress, quint16 port, const QList<QHostAddress> &known)
{
    m_port = port;
    const QHostAddress literal(hostOrAddress);
    if (!known.isEmpty() || !literal.isNull()) {
        const QList<QHostAddress> addresses = known.isEmpty() ? QList{literal} : ordered(known);
        QMetaObject::invokeMethod(
            this, [this, addresses] { begin(addresses); }, Qt::QueuedConnection);
        return;
    }
    m_lookup = QHostInfo::lookupHost(hostOrAddress, this, &Dialler::slotResolved);
}

void Dialler::slotResolved(const QHostInfo &found)
{
    m_lookup = -1;
    begin(ordered(found.addresses()));
}

QList<QHostAddress> Dialler::ordered(const QList<QHostAddress> &addresses)
{
    QList<QHostAddress> first;
    QList<QHostAddress> second;
    for (const QHostAddress &address : addresses) {
        const bool isFirst = address.protocol() == addresses.first().protocol();
        QList<QHostAddress> &family = isFirst ? first : second;
        if (!family.contains(address))
            family += address;
    }
    QList<QHostAddress> all;
    for (qsizetype i = 0; i < std::max(first.size(), second.size()); ++i)
        all << first.mid(i, 1) << second.mid(i, 1);
    return all.first(std::min(all.size(), kMostAddresses));
}

void Dialler::begin(const QList<QHostAddress> &addresses)
{
    if (addresses.isEmpty()) {
        emit failed(int(SocketError::HostNotFound));
        return;
    }
    m_found = m_addresses = addresses;
    const QPointer<Dialler> self(this);
    emit hostFound();
    if (self)
        tryNext();
}

void Dialler::tryNext()
{
    if (m_addresses.isEmpty())
        return;
    auto *socket = new QTcpSocket;
    m_attempts.emplace_back(socket);
    socket->setProxy(QNetworkProxy::NoProxy);
    socket->setReadBufferSize(kReadBuffer);
    connect(socket, &QTcpSocket::connected, this, [this, socket] { won(socket); });
    connect(socket, &QTcpSocket::errorOccurred, this, [this, socket] { lost(socket); });
    m_next.start();
    socket->connectToHost(m_addresses.takeFirst(), m_port); // a failure may come at once
}

void Dialler::won(QTcpSocket *socket)
{
    m_next.stop();
    m_addresses.clear();
    socket->disconnect(this);
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    for (TcpPointer &attempt : m_attempts) {
        if (attempt.get() == socket)
            m_won = std::move(attempt);
    }
    m_attempts.clear();
    emit connected();
}

/// A refusal says more than an address family that this machine does not have.
void Dialler::lost(QTcpSocket *socket)
{
    const int code =
        socketErrorCode(socket->error(), SocketPhase::Connecting).value_or(int(SocketError::Refused));
    if (m_code != int(SocketError::Refused))
        m_code = code;
    std::erase_if(m_attempts, [socket](const TcpPointer &attempt) { return attempt.get() == socket; });
    if (!m_addresses.isEmpty())
        return tryNext();
    if (m_attempts.empty())
        emit failed(m_code);
}
