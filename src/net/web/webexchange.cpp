#include "net/web/webexchange.h"

#include <QNetworkProxy>
#include <QSslSocket>

#include <algorithm>

namespace {

constexpr qsizetype kMostAddresses = 4; // that are tried, one after the other

/// The same for every user. Without a user agent some servers give nothing; this one is what all of them
/// begin with.
constexpr char kFields[] = "User-Agent: Mozilla/5.0\r\n"
                           "Accept-Encoding: identity\r\n"
                           "Connection: close\r\n"
                           "\r\n";

} // namespace

constexpr std::array<WebExchange::Step, 7> WebExchange::s_steps = {{
    {State::Idle, &WebExchange::ignoreBytes, &WebExchange::ignoreLoss},
    {State::Resolving, &WebExchange::ignoreBytes, &WebExchange::ignoreLoss},
    {State::Connecting, &WebExchange::ignoreBytes, &WebExchange::connectToNext},
    {State::Tunnelling, &WebExchange::tunnelBytes, &WebExchange::tunnelLoss},
    {State::Encrypting, &WebExchange::ignoreBytes, &WebExchange::encryptionLoss},
    {State::Answering, &WebExchange::answerBytes, &WebExchange::answerLoss},
    {State::Ended, &WebExchange::ignoreBytes, &WebExchange::ignoreLoss},
}};

WebExchange::WebExchange(WebUrl url, const WebAccess &access, WebProxy proxy, qint64 mostBytes,
                         QObject *parent)
    : QObject(parent)
    , m_url(std::move(url))
    , m_access(access)
    , m_proxy(std::move(proxy))
    , m_tunnel(HttpAnswer::Content::Unwanted, 0)
    , m_answer(HttpAnswer::Content::Wanted, mostBytes)
{
    static_assert([] {
        for (std::size_t i = 0; i < s_steps.size(); ++i) {
            if (s_steps[i].state != State(i))
                return false;
        }
        return true;
    }());
    m_attempt.setSingleShot(true);
    connect(&m_attempt, &QTimer::timeout, this, &WebExchange::connectToNext);
}

WebExchange::~WebExchange()
{
    stop();
}

void WebExchange::stop()
{
    m_state = State::Ended;
    m_attempt.stop();
    closeSocket();
}

void WebExchange::end(WebProblem problem)
{
    if (m_state == State::Ended)
        return;
    stop();
    emit ended(problem);
}

/// An address in the URL is judged here even when a proxy does the rest: it could reach what we must not.
void WebExchange::start()
{
    const bool isLiteral = !m_url.literal.isNull();
    if (!m_access.policy->permitsPort(m_url.port) ||
        (isLiteral && !m_access.policy->permitsAddress(m_url.literal)))
        return end(WebProblem::Forbidden);
    m_port = m_proxy.isSet() ? m_proxy.port : m_url.port;
    if (m_proxy.isSet())
        resolve(m_proxy.host);
    else if (isLiteral)
        resolved({m_url.literal});
    else
        resolve(m_url.host);
}

void WebExchange::resolve(const QString &name)
{
    m_state = State::Resolving;
    if (const QHostAddress literal(name); !literal.isNull())
        return resolved({literal}); // a proxy's
    m_access.resolver->resolve(name, this,
                               [this](const QList<QHostAddress> &addresses) { resolved(addresses); });
}

/// A name with one forbidden address is refused whole: an honest name has none, and with a choice among
/// several whoever owns the name would only have to try often enough.
void WebExchange::resolved(const QList<QHostAddress> &addresses)
{
    if (m_state == State::Ended)
        return;
    const auto isPermitted = [this](const QHostAddress &address) {
        return m_proxy.isSet() || m_access.policy->permitsAddress(address);
    };
    if (addresses.isEmpty())
        return end(WebProblem::NoSuchHost);
    if (!std::all_of(addresses.begin(), addresses.end(), isPermitted))
        return end(WebProblem::Forbidden);
    m_addresses = addresses.first(std::min(addresses.size(), kMostAddresses));
    m_attemptMilliseconds = m_access.limits.connectMilliseconds / int(m_addresses.size());
    connectToNext();
}

void WebExchange::connectToNext()
{
    m_state = State::Connecting;
    closeSocket();
    if (m_addresses.isEmpty())
        return end(WebProblem::NoConnection);
    openSocket();
    m_attempt.start(m_attemptMilliseconds);
    m_socket->connectToHost(m_addresses.takeFirst(), m_port);
}

void WebExchange::openSocket()
{
    m_socket = new QSslSocket(this);
    m_socket->setProxy(QNetworkProxy::NoProxy); // ours is spoken to here, the desktop's is not asked
    m_socket->setSslConfiguration(m_access.tls);
    connect(m_socket, &QSslSocket::connected, this, &WebExchange::connected);
    connect(m_socket, &QSslSocket::encrypted, this, &WebExchange::encrypted);
    connect(m_socket, &QSslSocket::readyRead, this, &WebExchange::slotReadyRead);
    // Queued: a socket must not be replaced from inside its own failure.
    connect(m_socket, &QSslSocket::errorOccurred, this, &WebExchange::slotLost, Qt::QueuedConnection);
    connect(m_socket, &QSslSocket::disconnected, this, &WebExchange::slotLost, Qt::QueuedConnection);
}

void WebExchange::closeSocket()
{
    if (!m_socket)
        return;
    m_socket->disconnect(this);
    m_socket->abort();
    m_socket->deleteLater();
    m_socket = nullptr;
}

void WebExchange::connected()
{
    m_attempt.stop();
    if (!m_url.isEncrypted)
        ask();
    else if (m_proxy.isSet())
        say("CONNECT " + m_url.hostAndPort() + " HTTP/1.1\r\nHost: " + m_url.hostAndPort() + "\r\n\r\n",
            State::Tunnelling);
    else
        encrypt();
}

void WebExchange::encrypt()
{
    m_state = State::Encrypting;
    m_socket->setPeerVerifyName(m_url.host);
    m_socket->startClientEncryption();
}

void WebExchange::encrypted()
{
    if (m_state == State::Encrypting)
        ask();
}

void WebExchange::ask()
{
    const bool toProxy = m_proxy.isSet() && !m_url.isEncrypted;
    say("GET " + (toProxy ? m_url.whole() : m_url.target) + " HTTP/1.1\r\nHost: " + m_url.hostField() +
            "\r\nAccept: " + m_access.accept + "\r\n" + kFields,
        State::Answering);
}

void WebExchange::say(const QByteArray &text, State next)
{
    m_state = next;
    m_socket->write(text);
}

void WebExchange::slotReadyRead()
{
    (this->*s_steps[std::size_t(m_state)].onBytes)();
}

void WebExchange::slotLost()
{
    if (m_socket && sender() == m_socket) // not one that was given up meanwhile
        (this->*s_steps[std::size_t(m_state)].onLoss)();
}

void WebExchange::ignoreBytes() {}

void WebExchange::ignoreLoss() {}

/// False: that was the end of this exchange.
bool WebExchange::takeBytes(HttpAnswer &answer)
{
    const QByteArray bytes = m_socket->readAll();
    answer.take(bytes);
    if (!bytes.isEmpty())
        emit received(bytes.size());
    if (m_state != State::Ended && answer.problem() != WebProblem::None)
        end(answer.problem());
    return m_state != State::Ended;
}

void WebExchange::tunnelBytes()
{
    if (!takeBytes(m_tunnel) || !m_tunnel.isComplete())
        return;
    if (m_tunnel.status() >= 300)
        end(WebProblem::ProxyRefused);
    else if (m_tunnel.hasSurplus())
        end(WebProblem::BadAnswer); // a server says nothing before it was greeted
    else
        encrypt();
}

void WebExchange::tunnelLoss()
{
    end(WebProblem::ProxyRefused);
}

void WebExchange::encryptionLoss()
{
    const bool isDistrust = m_socket->error() == QAbstractSocket::SslHandshakeFailedError;
    end(isDistrust ? WebProblem::NotTrusted : WebProblem::CutShort);
}

void WebExchange::answerBytes()
{
    if (takeBytes(m_answer) && m_answer.isComplete())
        end(WebProblem::None);
}

void WebExchange::answerLoss()
{
    if (!takeBytes(m_answer))
        return;
    m_answer.close();
    end(m_answer.problem());
}
