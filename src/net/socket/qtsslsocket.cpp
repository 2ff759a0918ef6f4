#include "net/socket/qtsslsocket.h"

#include "net/socket/dialler.h"
#include "net/socket/socketerror.h"
#include "net/socket/tlsengine.h"

#include <QPointer>
#include <QScopedValueRollback>
#include <QTcpSocket>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kBlock = 256 * 1024;     // bytes that are decrypted ahead
constexpr qint64 kMostInTcp = 256 * 1024;    // bytes that wait to go out before encrypting stops
constexpr qint64 kMostAnswers = 1024 * 1024; // the same with what TLS says by itself, before reading stops
constexpr qsizetype kSmallPiece = 16 * 1024; // what is written in pieces smaller than this is joined
constexpr int kMostPlainReads = 64;          // of what a server sends in plain before a handshake

} // namespace

QtSSLSocket::QtSSLSocket(TlsChoice choice, QObject *parent)
    : QIODevice(parent)
    , m_choice(std::move(choice))
{
    m_later.setSingleShot(true);
    m_later.setInterval(0);
    connect(&m_later, &QTimer::timeout, this, &QtSSLSocket::pump);
}

QtSSLSocket::~QtSSLSocket() = default;

void QtSSLSocket::connectToHost(const QString &hostOrAddress, quint16 port, const QList<QHostAddress> &known)
{
    if (m_state != State::Idle)
        return;
    m_state = State::Connecting;
    m_port = port;
    if (m_choice.serverName.isEmpty())
        m_choice.serverName = hostOrAddress;
    m_dialler = std::make_unique<Dialler>();
    connect(m_dialler.get(), &Dialler::hostFound, this, &QtSSLSocket::hostFound);
    connect(m_dialler.get(), &Dialler::connected, this, &QtSSLSocket::sslConnect);
    connect(m_dialler.get(), &Dialler::failed, this, &QtSSLSocket::socketError);
    m_dialler->dial(hostOrAddress, port, known);
}

QList<QHostAddress> QtSSLSocket::addresses() const
{
    return m_dialler ? m_dialler->addresses() : QList<QHostAddress>();
}

void QtSSLSocket::sslConnect()
{
    adopt(m_dialler->take());
    beginHandshake();
    pump();
}

void QtSSLSocket::startOver(TcpPointer connection)
{
    if (m_state != State::Idle)
        return;
    m_state = State::Connecting;
    m_port = connection->peerPort();
    connection->disconnect();
    adopt(std::move(connection));
    QMetaObject::invokeMethod(
        this,
        [this] {
            discardPlain();
            beginHandshake();
            pump();
        },
        Qt::QueuedConnection);
}

void QtSSLSocket::adopt(TcpPointer connection)
{
    m_tcp = std::move(connection);
    m_peerAddress = m_tcp->peerAddress().toString();
    QTcpSocket *tcp = m_tcp.get();
    connect(tcp, &QTcpSocket::readyRead, this, &QtSSLSocket::readFromSocket);
    connect(tcp, &QTcpSocket::bytesWritten, this, &QtSSLSocket::readFromSocket);
    connect(tcp, &QTcpSocket::disconnected, this, &QtSSLSocket::finishClose);
    connect(tcp, &QTcpSocket::errorOccurred, this, &QtSSLSocket::noteLoss);
    if (tcp->state() == QAbstractSocket::UnconnectedState)
        m_serverGone = true;
}

/// What is still on its way through the kernel counts as sent before, too. A server that never stops is met
/// with a handshake that fails.
void QtSSLSocket::discardPlain()
{
    const QSignalBlocker quiet(m_tcp.get());
    m_tcp->readAll();
    for (int i = 0; i < kMostPlainReads && m_tcp->waitForReadyRead(0); ++i)
        m_tcp->readAll();
    m_serverGone |= m_tcp->state() == QAbstractSocket::UnconnectedState;
}

void QtSSLSocket::beginHandshake()
{
    if (m_state != State::Connecting)
        return;
    QString problem;
    m_engine = TlsEngine::create(m_choice.caFile, m_choice.serverName, problem);
    m_state = State::Handshaking;
    if (!m_engine)
        fail(int(SocketError::Tls), problem);
}

bool QtSSLSocket::open(OpenMode)
{
    if (isOpen()) {
        setErrorString(u"QtSSLSocket::open: Already open"_s);
        m_errors += errorString();
    }
    return false;
}

void QtSSLSocket::readFromSocket()
{
    pump();
}

/// The end of the connection follows.
void QtSSLSocket::noteLoss()
{
    m_loss = socketErrorCode(m_tcp->error(), SocketPhase::Connected);
}

void QtSSLSocket::finishClose()
{
    if (m_state == State::Closing)
        return finishDelayedClose();
    m_serverGone = true;
    pump();
}

void QtSSLSocket::finishDelayedClose()
{
    end(m_closesLate ? End::DelayedClosed : End::Closed);
    pump();
}

void QtSSLSocket::socketError(int code)
{
    fail(code, socketErrorText(code));
    pump();
}

/// Moves what can be moved, then tells: signals come when everything is settled, so whatever their slots do
/// finds it so.
void QtSSLSocket::pump()
{
    if (m_pumping)
        return;
    {
        const QScopedValueRollback guard(m_pumping, true);
        while (step()) {
        }
        if (m_serverGone && m_state != State::Ended && isDrained())
            endWithoutServer();
    }
    announce();
}

void QtSSLSocket::endWithoutServer()
{
    if (m_loss)
        fail(*m_loss, socketErrorText(*m_loss));
    else
        end(End::Closed);
}

/// One round. False: nothing moved.
bool QtSSLSocket::step()
{
    switch (m_state) {
    case State::Handshaking: return shakeHands();
    case State::Open: return exchange();
    case State::Closing: return finishSending();
    default: return false;
    }
}

bool QtSSLSocket::shakeHands()
{
    const bool fed = feed();
    const TlsEngine::Outcome outcome = m_engine->handshake().outcome;
    const bool drained = m_engine->drain(*m_tcp) > 0; // an alert goes out also when it failed
    switch (outcome) {
    case TlsEngine::Outcome::Wait: return fed || drained;
    case TlsEngine::Outcome::Ended: m_serverGone = true; return false;
    case TlsEngine::Outcome::Failed: failTls("SSL error: "); return false;
    case TlsEngine::Outcome::Done: break;
    }
    m_report = m_engine->examine(m_choice.serverName, m_port);
    m_mustJudge = !m_report.problems.empty();
    if (m_mustJudge)
        m_state = State::Judging;
    else
        goUp();
    return !m_mustJudge;
}

void QtSSLSocket::goUp()
{
    m_state = State::Open;
    m_isUp = true;
    setOpenMode(ReadWrite | Unbuffered);
}

bool QtSSLSocket::exchange()
{
    bool moved = feed();
    moved |= decrypt();
    moved |= encrypt();
    return moved && m_state == State::Open;
}

/// False: nothing came, or it has to wait.
bool QtSSLSocket::feed()
{
    if (!m_tcp->isReadable() || m_tcp->bytesToWrite() > kMostAnswers)
        return false;
    const qint64 fed = m_engine->feed(*m_tcp);
    if (fed < 0 && m_tcp->state() == QAbstractSocket::ConnectedState)
        fail(int(SocketError::Read), m_engine->errorText());
    return fed > 0;
}

/// False: nothing new.
bool QtSSLSocket::decrypt()
{
    const qsizetype before = m_receivedSize;
    while (m_receivedSize < kBlock) {
        if (m_received.size() != kBlock)
            m_received = QByteArray(kBlock, Qt::Uninitialized);
        const TlsEngine::Result result =
            m_engine->read(m_received.data() + m_receivedSize, kBlock - m_receivedSize);
        if (result.outcome == TlsEngine::Outcome::Done) {
            m_receivedSize += result.bytes;
            continue;
        }
        m_serverGone |= result.outcome == TlsEngine::Outcome::Ended;
        if (result.outcome == TlsEngine::Outcome::Failed)
            failTls("Failed to read from SSL, ");
        break;
    }
    m_hasNews |= m_receivedSize > before;
    return m_receivedSize > before;
}

/// Also brings out what the engine has to say by itself, an answer to an update of keys for one. False:
/// nothing moved.
bool QtSSLSocket::encrypt()
{
    bool moved = m_engine->drain(*m_tcp) > 0;
    while (m_toSendSize > 0 && m_tcp->bytesToWrite() < kMostInTcp) {
        const QByteArrayView rest = QByteArrayView(m_toSend.front()).sliced(m_sentOfFirst);
        const TlsEngine::Result result = m_engine->write(rest);
        const bool drained = m_engine->drain(*m_tcp) > 0;
        moved |= drained;
        if (result.outcome == TlsEngine::Outcome::Failed)
            failTls("SSL error: ");
        if (result.outcome == TlsEngine::Outcome::Wait && drained)
            continue;
        if (result.outcome != TlsEngine::Outcome::Done)
            break;
        moved = true;
        m_written += result.bytes;
        m_toSendSize -= result.bytes;
        m_sentOfFirst += result.bytes;
        if (m_sentOfFirst == m_toSend.front().size()) {
            m_toSend.pop_front();
            m_sentOfFirst = 0;
        }
    }
    return moved;
}

/// The rest, then the notice of the end, then the end of the connection, which waits for both.
bool QtSSLSocket::finishSending()
{
    m_tcp->readAll(); // a connection that is closed with something unread may take back what it has sent
    encrypt();
    if (m_toSendSize == 0 && m_tcp->state() == QAbstractSocket::ConnectedState) {
        m_engine->sayEnd();
        m_engine->drain(*m_tcp);
        m_tcp->disconnectFromHost();
    }
    return false;
}

bool QtSSLSocket::isDrained() const
{
    return m_receivedSize == 0 || m_state != State::Open;
}

/// Tells what is due. Each slot may delete this.
void QtSSLSocket::announce()
{
    const QPointer<QtSSLSocket> self(this);
    if (std::exchange(m_mustJudge, false))
        judge();
    if (self && std::exchange(m_isUp, false))
        emit connected();
    if (self && std::exchange(m_hasNews, false) && m_receivedSize > 0)
        emit readyRead();
    if (self && m_written > 0)
        emit bytesWritten(std::exchange(m_written, 0));
    if (self && m_end != End::None)
        announceEnd();
}

/// Not before everything is taken that came before it.
void QtSSLSocket::announceEnd()
{
    if (m_receivedSize > 0)
        return;
    setOpenMode(NotOpen);
    switch (std::exchange(m_end, End::None)) {
    case End::Closed: emit connectionClosed(); break;
    case End::DelayedClosed: emit delayedCloseFinished(); break;
    case End::Error: emit error(m_code); break;
    case End::None: break;
    }
}

void QtSSLSocket::judge()
{
    if (!m_choice.judge)
        return judged(false);
    m_choice.judge(m_report, [self = QPointer(this)](bool accept) {
        if (self)
            self->judged(accept);
    });
}

/// May be called from anywhere, so the event loop does the rest.
void QtSSLSocket::judged(bool accept)
{
    if (m_state != State::Judging)
        return;
    if (accept) {
        goUp();
    } else {
        fail(int(SocketError::Tls), u"SSL error: "_s + problemTexts());
    }
    later();
}

QString QtSSLSocket::problemTexts() const
{
    QStringList texts;
    for (const CertificateProblem &problem : m_report.problems)
        texts += problem.text;
    return texts.join(u", ");
}

void QtSSLSocket::failTls(const char *what)
{
    fail(int(SocketError::Tls), QLatin1StringView(what) + m_engine->errorText());
}

void QtSSLSocket::fail(int code, const QString &text)
{
    m_errors += text;
    m_code = code;
    end(End::Error);
}

/// What was decrypted before can still be taken.
void QtSSLSocket::end(End how)
{
    if (m_state == State::Ended)
        return;
    m_state = State::Ended;
    m_end = how;
    m_toSend.clear();
    m_toSendSize = 0;
    if (!m_tcp)
        return;
    m_tcp->disconnect(this);
    m_tcp->disconnectFromHost(); // an alert may be on its way
}

void QtSSLSocket::close()
{
    if (m_state == State::Idle || m_state == State::Closing || m_state == State::Ended)
        return;
    m_taken = m_receivedSize = 0;
    m_closesLate = bytesToWrite() > 0;
    setOpenMode(NotOpen);
    if (m_state == State::Open && !m_serverGone) {
        const QScopedValueRollback guard(m_pumping, true);
        m_state = State::Closing;
        finishSending(); // at once: the owner may be gone before the next turn of the event loop
    } else {
        m_dialler.reset();
        end(End::Closed);
    }
    later();
}

void QtSSLSocket::abort()
{
    m_state = State::Ended;
    m_end = End::None;
    m_mustJudge = m_isUp = m_hasNews = false;
    m_written = 0;
    m_dialler.reset();
    m_tcp.reset();
    m_later.stop();
    setOpenMode(NotOpen);
}

QHostAddress QtSSLSocket::localAddress() const
{
    return m_tcp ? m_tcp->localAddress() : QHostAddress();
}

qint64 QtSSLSocket::bytesAvailable() const
{
    return m_receivedSize - m_taken;
}

qint64 QtSSLSocket::bytesToWrite() const
{
    return m_toSendSize + (m_tcp ? m_tcp->bytesToWrite() : 0);
}

QByteArray QtSSLSocket::takeAvailable()
{
    if (m_receivedSize == 0 && m_state == State::Open && !m_pumping) {
        const QScopedValueRollback guard(m_pumping, true);
        while (m_receivedSize < kBlock && step()) {
        }
        m_hasNews = false; // the caller takes them
    }
    if (m_end != End::None || m_serverGone)
        later();
    const qsizetype start = std::exchange(m_taken, 0);
    const qsizetype size = std::exchange(m_receivedSize, 0);
    if (size < kBlock / 2 || start > 0)
        return m_received.mid(start, size - start); // the large block serves again
    QByteArray block = std::exchange(m_received, {});
    block.truncate(size);
    return block;
}

qint64 QtSSLSocket::readData(char *data, qint64 most)
{
    const qint64 size = std::min<qint64>(most, bytesAvailable());
    std::copy_n(m_received.constData() + m_taken, size, data);
    m_taken += size;
    if (m_taken == m_receivedSize)
        m_taken = m_receivedSize = 0;
    later();
    return size;
}

qint64 QtSSLSocket::writeData(const char *data, qint64 length)
{
    if (!m_toSend.empty() && m_toSend.back().size() + length <= kSmallPiece)
        m_toSend.back().append(data, length);
    else if (length > 0)
        m_toSend.emplace_back(data, length);
    m_toSendSize += length;
    later();
    return length;
}

qint64 QtSSLSocket::readBlock(char *data, qint64 most)
{
    if (!data)
        setErrorString(u"QSocket::readBlock: Null pointer error"_s);
    else if (!isOpen())
        setErrorString(u"QSocket::readBlock: Socket is not open"_s);
    else
        return read(data, most);
    m_errors += errorString();
    return -1;
}

qint64 QtSSLSocket::writeBlock(const char *data, qint64 length)
{
    if (!data)
        setErrorString(u"QSocket::writeBlock: Null pointer error"_s);
    else if (!isOpen())
        setErrorString(u"QSocket::writeBlock: Socket is not open"_s);
    else
        return write(data, length);
    m_errors += errorString();
    return -1;
}
