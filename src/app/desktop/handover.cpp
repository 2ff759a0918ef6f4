#include "app/desktop/handover.h"

#include "config/reporter.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QLocalSocket>
#include <QStringDecoder>
#include <QTimer>
#include <QtEndian>

#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr QByteArrayView kGreeting = "velmar 1\n";
constexpr QByteArrayView kAccepted = "OK\n";
constexpr int kLengthSize = 4;
constexpr int kMostVisitors = 64;

/// Whether nobody else can put something into this directory or take something out.
bool isPrivate(const QString &path)
{
    struct stat status = {};
    return path.startsWith(u'/') && ::lstat(QFile::encodeName(path).constData(), &status) == 0 &&
           S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() && (status.st_mode & 077) == 0;
}

bool fitsSocketAddress(const QString &path)
{
    return std::size_t(QFile::encodeName(path).size()) < sizeof(sockaddr_un::sun_path);
}

int left(const QDeadlineTimer &deadline)
{
    return int(std::max<qint64>(deadline.remainingTime(), 0));
}

bool expect(QLocalSocket &socket, QByteArrayView words, const QDeadlineTimer &deadline)
{
    while (socket.bytesAvailable() < words.size()) {
        if (!socket.waitForReadyRead(left(deadline)))
            return false;
    }
    return socket.read(words.size()) == words;
}

QByteArray framed(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    QByteArray frame(kLengthSize, Qt::Uninitialized);
    qToBigEndian(quint32(bytes.size()), frame.data());
    return frame + bytes;
}

/// One connection to the server, until the text is whole or patience is at its end.
class Visitor : public QObject
{
    Q_OBJECT

public:
    Visitor(QLocalSocket *socket, int patience, QObject *parent)
        : QObject(parent)
        , m_socket(socket)
    {
        m_socket->setParent(this);
        connect(m_socket, &QLocalSocket::readyRead, this, &Visitor::read);
        connect(m_socket, &QLocalSocket::disconnected, this, &QObject::deleteLater);
        QTimer::singleShot(patience, this, [this] { hangUp(); });
        m_socket->write(kGreeting.data(), kGreeting.size());
        read();
    }

signals:
    void finished(const QString &text);

private:
    void read()
    {
        if (m_done)
            return;
        m_bytes += m_socket->readAll();
        if (m_bytes.size() < kLengthSize)
            return;
        const qint64 length = qFromBigEndian<quint32>(m_bytes.constData());
        if (length > kLongestHandOver || m_bytes.size() > kLengthSize + length)
            return hangUp();
        if (m_bytes.size() == kLengthSize + length)
            accept();
    }

    void accept()
    {
        QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString text = utf8(QByteArrayView(m_bytes).sliced(kLengthSize));
        if (utf8.hasError())
            return hangUp();
        m_done = true;
        m_socket->write(kAccepted.data(), kAccepted.size());
        m_socket->flush();
        m_socket->disconnectFromServer();
        emit finished(text); // nothing may follow: whoever listens may end the program
    }

    void hangUp()
    {
        if (!std::exchange(m_done, true))
            note(u"Another process connected and sent no command line"_s);
        m_socket->abort();
        deleteLater();
    }

    QLocalSocket *m_socket;
    QByteArray m_bytes;
    bool m_done = false;
};

} // namespace

QStringList handOverSockets(const QString &canonicalDirectory)
{
    const QString uid = QString::number(::geteuid());
    const QString own = QDir::tempPath() + u"/velmar-"_s + uid;
    ::mkdir(QFile::encodeName(own).constData(), 0700); // when it is there already, the check below decides

    const QByteArray hash =
        QCryptographicHash::hash(canonicalDirectory.toUtf8(), QCryptographicHash::Sha256).toHex().left(16);
    QStringList sockets;
    // A job of the system's scheduler has no XDG_RUNTIME_DIR and must still find the window's socket.
    for (const QString &place : {qEnvironmentVariable("XDG_RUNTIME_DIR"), u"/run/user/"_s + uid, own}) {
        const QString socket = place + u"/velmar-"_s + QString::fromLatin1(hash);
        if (isPrivate(place) && fitsSocketAddress(socket) && !sockets.contains(socket))
            sockets.append(socket);
    }
    return sockets;
}

bool handOver(const QString &socketPath, const QString &text, const QDeadlineTimer &deadline)
{
    QLocalSocket socket;
    socket.connectToServer(socketPath);
    if (!socket.waitForConnected(left(deadline)) || !expect(socket, kGreeting, deadline))
        return false;
    socket.write(framed(text));
    while (socket.bytesToWrite() > 0) {
        if (!socket.waitForBytesWritten(left(deadline)))
            return false;
    }
    return expect(socket, kAccepted, deadline);
}

HandOverServer::HandOverServer(QObject *parent)
    : QObject(parent)
{
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&m_server, &QLocalServer::newConnection, this, &HandOverServer::welcome);
}

bool HandOverServer::listen(const QStringList &sockets)
{
    return std::any_of(sockets.begin(), sockets.end(), [this](const QString &socket) {
        QLocalServer::removeServer(socket);
        return m_server.listen(socket);
    });
}

void HandOverServer::welcome()
{
    while (QLocalSocket *socket = m_server.nextPendingConnection()) {
        if (m_visitors >= kMostVisitors) {
            delete socket; // who means it tries again
            continue;
        }
        ++m_visitors;
        auto *visitor = new Visitor(socket, m_patience, this);
        connect(visitor, &QObject::destroyed, this, [this] { --m_visitors; });
        connect(visitor, &Visitor::finished, this, &HandOverServer::messageReceived);
    }
}

#include "handover.moc"
