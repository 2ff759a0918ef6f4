#include "net/socket/gsocket.h"

#include "net/socket/dialler.h"
#include "net/socket/qtsslsocket.h"

#include <QElapsedTimer>
#include <QHash>
#include <QTcpSocket>

namespace {

constexpr qint64 kBlock = 256 * 1024;             // bytes that are read at once
constexpr qint64 kLongestLine = 64 * 1024 * 1024; // bytes
constexpr qint64 kSliceMilliseconds = 8;

/// Every socket that lives, with a number that no later one has: an address alone may be taken again.
QHash<const GSocket *, quint64> &registry()
{
    static QHash<const GSocket *, quint64> s_registry;
    return s_registry;
}

quint64 enter(const GSocket *socket)
{
    static quint64 s_last = 0;
    registry().insert(socket, ++s_last);
    return s_last;
}

/// Whether the socket with that number still lives, wherever it was called from.
bool lives(const GSocket *socket, quint64 serial)
{
    return registry().value(socket) == serial;
}

} // namespace

/// It may be in the middle of a signal of its own.
void GSocket::TlsRelease::operator()(QtSSLSocket *socket) const
{
    socket->abort();
    socket->deleteLater();
}

GSocket::GSocket(bool useTLS, TlsChoice tls, QObject *parent)
    : QObject(parent)
    , m_choice(std::move(tls))
    , m_tls(useTLS ? new QtSSLSocket(m_choice) : nullptr)
    , m_serial(enter(this))
{
    m_later.setSingleShot(true);
    m_later.setInterval(0);
    connect(&m_later, &QTimer::timeout, this, &GSocket::slotReadyRead);
    if (m_tls)
        wireTls();
}

GSocket::~GSocket()
{
    registry().remove(this);
}

bool GSocket::isLive(const GSocket *socket)
{
    return registry().contains(socket);
}

void GSocket::wireTls()
{
    QtSSLSocket *tls = m_tls.get();
    connect(tls, &QtSSLSocket::hostFound, this, &GSocket::hostFound);
    connect(tls, &QtSSLSocket::connected, this, &GSocket::slotTlsConnected);
    connect(tls, &QtSSLSocket::readyRead, this, &GSocket::slotReadyRead);
    connect(tls, &QtSSLSocket::bytesWritten, this, &GSocket::slotBytesWritten);
    connect(tls, &QtSSLSocket::connectionClosed, this, [this] { end(End::Closed); });
    connect(tls, &QtSSLSocket::delayedCloseFinished, this, [this] { end(End::DelayedClosed); });
    connect(tls, &QtSSLSocket::error, this, [this](int code) { fail(code, m_tls->errorText()); });
}

void GSocket::connectToHost(const QString &hostOrAddress, quint16 port, const QList<QHostAddress> &known)
{
    if (m_choice.serverName.isEmpty())
        m_choice.serverName = hostOrAddress;
    if (m_tls)
        return m_tls->connectToHost(hostOrAddress, port, known);
    if (m_dialler || m_plain || m_closing)
        return;
    m_dialler = std::make_unique<Dialler>();
    connect(m_dialler.get(), &Dialler::hostFound, this, &GSocket::hostFound);
    connect(m_dialler.get(), &Dialler::connected, this, &GSocket::slotDialled);
    connect(m_dialler.get(), &Dialler::failed, this, [this](int code) { fail(code, socketErrorText(code)); });
    m_dialler->dial(hostOrAddress, port, known);
}

void GSocket::slotDialled()
{
    m_plain = m_dialler->take();
    m_peerAddress = m_plain->peerAddress().toString();
    QTcpSocket *plain = m_plain.get();
    connect(plain, &QTcpSocket::readyRead, this, &GSocket::slotReadyRead);
    connect(plain, &QTcpSocket::bytesWritten, this, &GSocket::slotBytesWritten);
    connect(plain, &QTcpSocket::errorOccurred, this, &GSocket::slotPlainError);
    connect(plain, &QTcpSocket::disconnected, this, &GSocket::slotPlainDisconnected);
    emit connected();
}

/// The end of the connection follows.
void GSocket::slotPlainError()
{
    const std::optional<int> code = socketErrorCode(m_plain->error(), SocketPhase::Connected);
    if (!code || m_end)
        return;
    m_errorText = socketErrorText(*code);
    m_code = *code;
    m_end = End::Error;
}

void GSocket::slotPlainDisconnected()
{
    end(m_end.value_or(End::Closed));
}

void GSocket::slotTlsConnected()
{
    m_peerAddress = m_tls->peerAddress();
    emit connected();
}

void GSocket::slotBytesWritten(qint64 bytes)
{
    emit bytesWritten(int(bytes));
}

void GSocket::startTLS()
{
    if (m_tls || !isConnected())
        return;
    m_plain->disconnect(this);
    m_queue.clear();
    m_tls.reset(new QtSSLSocket(m_choice));
    wireTls();
    m_tls->startOver(std::move(m_plain));
}

qint64 GSocket::writeBlock(const char *data, qint64 length)
{
    if (!isConnected())
        return -1;
    return m_tls ? m_tls->writeBlock(data, length) : m_plain->write(data, length);
}

qint64 GSocket::bytesToWrite() const
{
    return m_tls ? m_tls->bytesToWrite() : m_plain ? m_plain->bytesToWrite() : 0;
}

void GSocket::flush()
{
    if (m_plain && isConnected())
        m_plain->flush();
}

bool GSocket::isConnected() const
{
    if (m_closing || m_end || m_over)
        return false;
    return m_tls ? m_tls->isConnected() : m_plain && m_plain->state() == QAbstractSocket::ConnectedState;
}

bool GSocket::isEncrypted() const
{
    return m_tls && isConnected();
}

void GSocket::close()
{
    if (m_closing || m_over)
        return;
    m_closing = true;
    m_queue.clear();
    m_dialler.reset();
    if (m_tls && !m_end)
        m_tls->close();
    else if (m_plain && !m_end)
        closePlain();
    else
        endLater();
}

void GSocket::closePlain()
{
    QTcpSocket *plain = m_plain.get();
    plain->disconnect(this);
    connect(plain, &QTcpSocket::readyRead, plain, [plain] { plain->readAll(); });
    plain->readAll(); // a connection that is closed with something unread may take back what it has sent
    plain->disconnectFromHost();
    if (plain->state() == QAbstractSocket::UnconnectedState)
        return endLater();
    connect(plain, &QTcpSocket::disconnected, this, [this] { end(End::DelayedClosed); });
}

/// What ends at once is told from the event loop all the same.
void GSocket::endLater()
{
    m_end = End::Closed;
    m_later.start();
}

void GSocket::fail(int code, const QString &text)
{
    m_code = code;
    m_errorText = text;
    end(End::Error);
}

void GSocket::end(End how)
{
    m_end = how;
    slotReadyRead();
}

void GSocket::announceEnd()
{
    m_over = true;
    m_plain.reset();
    if (m_tls)
        m_tls->abort();
    m_queue.clear();
    switch (*m_end) {
    case End::Closed: emit connectionClosed(); break;
    case End::DelayedClosed: emit delayedCloseFinished(); break;
    case End::Error: emit error(m_code); break;
    case End::LineTooLong: emit lineTooLong(); break;
    }
}

qint64 GSocket::bytesAvailable() const
{
    return m_queue.size() + (m_tls ? m_tls->bytesAvailable() : m_plain ? m_plain->bytesAvailable() : 0);
}

QString GSocket::readLine()
{
    return m_queue.takeLine();
}

void GSocket::setBlockMode(bool on)
{
    m_blockMode = on;
}

void GSocket::putBack(const QByteArray &rest)
{
    m_queue.prepend(rest);
    m_later.start();
}

void GSocket::setPaused(bool paused)
{
    m_paused = paused;
    if (!paused)
        m_later.start();
}

QList<QHostAddress> GSocket::addresses() const
{
    if (m_dialler)
        return m_dialler->addresses();
    return m_tls ? m_tls->addresses() : QList<QHostAddress>();
}

QHostAddress GSocket::localAddress() const
{
    return m_tls ? m_tls->localAddress() : m_plain ? m_plain->localAddress() : QHostAddress();
}

QString GSocket::errorText() const
{
    return m_errorText;
}

CertificateInfo GSocket::certificate() const
{
    return m_tls ? m_tls->certificate() : CertificateInfo();
}

QByteArray GSocket::takeReceived()
{
    if (m_tls)
        return m_tls->takeAvailable();
    return m_plain ? m_plain->read(std::min(kBlock, m_plain->bytesAvailable())) : QByteArray();
}

/// Reads and hands out in turn, so that only what is not yet a line waits here.
void GSocket::slotReadyRead()
{
    if (m_handingOut || m_over || m_later.isActive()) // its turn comes
        return;
    m_handingOut = true;
    const quint64 serial = m_serial;
    const bool isAllOut = handOut();
    if (!lives(this, serial))
        return;
    m_handingOut = false;
    if (isAllOut && m_end)
        announceEnd();
}

/// False: there is more, for later; or this is gone.
bool GSocket::handOut()
{
    const quint64 serial = m_serial;
    QElapsedTimer timer;
    timer.start();
    while (!m_paused || m_closing) {
        if (m_closing || !handOutNext())
            return true;
        if (!lives(this, serial))
            return false;
        if (timer.elapsed() >= kSliceMilliseconds) {
            m_later.start();
            return false;
        }
    }
    return false;
}

/// One line, one block, or some reading on the way to a line. False: there is nothing. May delete this.
bool GSocket::handOutNext()
{
    if (!m_blockMode && m_queue.size() > kLongestLine && m_queue.firstLineLength() > kLongestLine) {
        m_end = End::LineTooLong;
        return false;
    }
    if (m_blockMode || m_queue.lines() == 0) {
        const QByteArray block = m_blockMode && !m_queue.isEmpty() ? m_queue.takeBlock() : takeReceived();
        if (block.isEmpty())
            return false;
        if (m_blockMode)
            emit blockAvailable(block);
        else
            m_queue.append(block);
        return true;
    }
    emit lineAvailable(m_queue.takeLine());
    return true;
}
