#pragma once

#include "net/web/webaccess.h"

#include <QFile>
#include <QHash>
#include <QSslKey>
#include <QSslServer>
#include <QSslSocket>
#include <QTcpSocket>
#include <QTimer>

/// A small picture, as far as its first bytes tell.
inline QByteArray pictureBytes(qsizetype size = 40)
{
    return QByteArray("\x89PNG\r\n\x1A\n").leftJustified(size, 'p');
}

inline QByteArray pictureAnswer(const QByteArray &content = pictureBytes())
{
    return "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nSet-Cookie: you=known\r\nContent-Length: " +
           QByteArray::number(content.size()) + "\r\n\r\n" + content;
}

inline QByteArray redirectTo(const QByteArray &location, int status = 302)
{
    return "HTTP/1.1 " + QByteArray::number(status) +
           " Elsewhere\r\nSet-Cookie: you=known\r\nLocation: " + location +
           "\r\nContent-Length: 5\r\n\r\nhello";
}

/// A web server in the test's own event loop, with the answers that the test laid out; a proxy as well: after
/// a CONNECT it passes bytes on to the port that it was told.
class WebServer : public QObject
{
public:
    enum class Kind { Plain, Encrypted };
    enum class Then { Close, Wait, Drip };

    explicit WebServer(Kind kind = Kind::Plain)
        : m_server(kind == Kind::Plain ? std::make_unique<QTcpServer>() : encryptedServer())
    {
        if (!m_server->listen(QHostAddress::LocalHost))
            qFatal("the test cannot listen");
        connect(m_server.get(), &QTcpServer::pendingConnectionAvailable, this, &WebServer::accept);
    }

    quint16 port() const { return m_server->serverPort(); }

    /// What a request gets whose target is @p target, an absolute one at a proxy; others get a 404.
    void lay(const QByteArray &target, const QByteArray &answer, Then then = Then::Close)
    {
        m_answers.insert(target, {answer, then});
    }

    QList<QByteArray> requests; ///< heads as they came, the empty line included
    int accepted = 0;
    int open = 0;
    int mostOpen = 0;
    quint16 tunnelPort = 0; ///< where every CONNECT leads

    static QSslCertificate certificate() { return QSslCertificate(file("certificate.pem")); }

private:
    struct Laid
    {
        QByteArray answer = "HTTP/1.1 404 No\r\nContent-Length: 0\r\n\r\n";
        Then then = Then::Close;
    };

    static QByteArray file(const char *name)
    {
        QFile file(QStringLiteral(VELMAR_TEST_DATA "/tls/") + QLatin1String(name));
        if (!file.open(QIODevice::ReadOnly))
            qFatal("the test lacks %s", name);
        return file.readAll();
    }

    static std::unique_ptr<QTcpServer> encryptedServer()
    {
        QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
        tls.setLocalCertificate(certificate());
        tls.setPrivateKey(QSslKey(file("key.pem"), QSsl::Ec));
        auto server = std::make_unique<QSslServer>();
        server->setSslConfiguration(tls);
        return server;
    }

    void accept()
    {
        while (QTcpSocket *socket = m_server->nextPendingConnection()) {
            ++accepted;
            mostOpen = std::max(mostOpen, ++open);
            connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
                --open;
                socket->deleteLater();
            });
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
            read(socket);
        }
    }

    void read(QTcpSocket *socket)
    {
        QByteArray &head = m_heads[socket];
        head += socket->readAll();
        if (!head.endsWith("\r\n\r\n"))
            return;
        const QByteArray request = std::exchange(head, {});
        requests += request;
        if (request.startsWith("CONNECT ") && tunnelPort != 0)
            return tunnel(socket);
        answer(socket, m_answers.value(request.split(' ').value(1)));
    }

    static void answer(QTcpSocket *socket, const Laid &laid)
    {
        socket->write(laid.answer);
        if (laid.then == Then::Close)
            return socket->disconnectFromHost();
        if (laid.then == Then::Wait)
            return;
        auto *timer = new QTimer(socket);
        connect(timer, &QTimer::timeout, socket, [socket] { socket->write("."); });
        timer->start(2);
    }

    void tunnel(QTcpSocket *socket)
    {
        auto *beyond = new QTcpSocket(socket);
        socket->disconnect(this);
        connect(socket, &QTcpSocket::disconnected, this, [this] { --open; });
        connect(socket, &QTcpSocket::readyRead, beyond, [=] { beyond->write(socket->readAll()); });
        connect(beyond, &QTcpSocket::readyRead, socket, [=] { socket->write(beyond->readAll()); });
        connect(beyond, &QTcpSocket::connected, socket, [=] { socket->write("HTTP/1.1 200 Go on\r\n\r\n"); });
        beyond->connectToHost(QHostAddress::LocalHost, tunnelPort);
    }

    std::unique_ptr<QTcpServer> m_server;
    QHash<QByteArray, Laid> m_answers;
    QHash<QTcpSocket *, QByteArray> m_heads;
};

/// Names as the test has them; everything that was asked is recorded.
class NamesForTest : public HostResolver
{
public:
    void resolve(const QString &name, QObject *context, Answer answer) override
    {
        asked += name;
        QMetaObject::invokeMethod(
            context, [answer, found = names.value(name)] { answer(found); }, Qt::QueuedConnection);
    }

    QHash<QString, QList<QHostAddress>> names;
    QStringList asked;
};

/// The public policy, but for the test's own server.
class PolicyForTest : public AddressPolicy
{
public:
    bool permitsAddress(const QHostAddress &address) const override
    {
        return address == QHostAddress(QHostAddress::LocalHost) || isGlobalAddress(address);
    }
    bool permitsPort(quint16) const override { return true; }
};

/// Access to the test's own servers: pictures.example and other.example are this machine, inner.example lies
/// in a private network, and rebound.example in both.
struct WebForTest
{
    WebForTest()
    {
        const QHostAddress here(QHostAddress::LocalHost);
        const QHostAddress inner(QStringLiteral("10.0.0.1"));
        names->names = {{QStringLiteral("pictures.example"), {here}},
                        {QStringLiteral("other.example"), {here}},
                        {QStringLiteral("inner.example"), {inner}},
                        {QStringLiteral("rebound.example"), {here, inner}}};
        access.tls.setCaCertificates({WebServer::certificate()});
    }

    std::shared_ptr<NamesForTest> names = std::make_shared<NamesForTest>();
    WebAccess access = {names, std::make_shared<PolicyForTest>(), WebAccess::toTheWorld().tls, {}};
};
