#include "engine/discoveryprobe.h"

#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr int kMilliseconds = 5'000;
constexpr qsizetype kMostBytes = 16 * 1024; // honest servers say less before anybody has signed in

/// How servers of one protocol speak.
struct Manner
{
    const char *greeting;   ///< what the first line begins with
    const char *question;   ///< asks what the server can do
    const char *encryption; ///< what the answer has where encryption is offered
    const char *goodbye;
};
constexpr std::array kManners = {
    Manner{"+OK", "CAPA\r\n", "STLS", "QUIT\r\n"},
    Manner{"* OK", "a CAPABILITY\r\n", "STARTTLS", "b LOGOUT\r\n"},
    Manner{"220", "EHLO [127.0.0.1]\r\n", "STARTTLS", "QUIT\r\n"},
};
static_assert(kManners.size() == kMailProtocols.size());

const Manner &mannerOf(MailProtocol protocol)
{
    return kManners[std::size_t(protocol)];
}

/// Whether nothing more belongs to the answer to the question.
bool isLast(MailProtocol protocol, const QByteArray &line)
{
    switch (protocol) {
    case MailProtocol::Pop3: return line == "." || line.startsWith("-ERR");
    case MailProtocol::Imap: return line.startsWith("a ");
    case MailProtocol::Smtp: return line.size() < 4 || line[3] != '-';
    }
    return true;
}

} // namespace

DiscoveryProbe::DiscoveryProbe(const ProbeTarget &target, const QString &caFile, QObject *parent)
    : QObject(parent)
    , m_target(target)
{
    TlsChoice tls;
    tls.serverName = target.host;
    tls.caFile = caFile;
    tls.judge = [this](const CertificateReport &, const std::function<void(bool)> &answer) {
        answer(false);
        end(ProbeAnswer::Untrusted);
    };
    m_socket = std::make_unique<GSocket>(target.encryption == MailEncryption::Tls, tls);
    m_socket->setBlockMode(true); // so that one endless line does not wait for its end
    connect(m_socket.get(), &GSocket::blockAvailable, this, &DiscoveryProbe::take);
    connect(m_socket.get(), &GSocket::error, this, [this] { end(ProbeAnswer::Silent); });
    connect(m_socket.get(), &GSocket::connectionClosed, this, [this] { end(ProbeAnswer::Silent); });
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] { end(ProbeAnswer::Silent); });
}

DiscoveryProbe::~DiscoveryProbe() = default;

void DiscoveryProbe::start()
{
    m_timer.start(kMilliseconds);
    m_socket->connectToHost(m_target.host, m_target.port);
}

void DiscoveryProbe::take(const QByteArray &block)
{
    m_heard += block.size();
    if (m_heard > kMostBytes)
        return end(ProbeAnswer::OtherService);
    m_rest += block;
    for (qsizetype at; !m_isOver && (at = m_rest.indexOf('\n')) >= 0;) {
        const QByteArray next = m_rest.first(at).trimmed();
        m_rest.remove(0, at + 1);
        line(next);
    }
}

void DiscoveryProbe::line(const QByteArray &line)
{
    if (m_greeted)
        capability(line);
    else
        greeting(line);
}

/// A greeting of several lines (RFC 5321) is asked behind its last one.
void DiscoveryProbe::greeting(const QByteArray &line)
{
    const Manner &manner = mannerOf(m_target.protocol);
    if (!line.startsWith(manner.greeting))
        return end(ProbeAnswer::OtherService);
    if (m_target.protocol == MailProtocol::Smtp && !isLast(m_target.protocol, line))
        return;
    if (m_target.encryption == MailEncryption::Tls)
        return end(ProbeAnswer::Works);
    m_greeted = true;
    m_socket->writeBlock(manner.question, qstrlen(manner.question));
}

void DiscoveryProbe::capability(const QByteArray &line)
{
    const Manner &manner = mannerOf(m_target.protocol);
    if (line.toUpper().replace('-', ' ').split(' ').contains(manner.encryption))
        return end(ProbeAnswer::Works);
    if (isLast(m_target.protocol, line))
        end(ProbeAnswer::NoTls);
}

void DiscoveryProbe::end(ProbeAnswer answer)
{
    if (m_isOver)
        return;
    m_isOver = true;
    m_timer.stop();
    const char *goodbye = mannerOf(m_target.protocol).goodbye;
    if (m_socket->isConnected() && answer != ProbeAnswer::OtherService)
        m_socket->writeBlock(goodbye, qstrlen(goodbye));
    // this may be called from within the socket
    QMetaObject::invokeMethod(
        this,
        [this, answer] {
            m_socket->close();
            emit finished(answer);
        },
        Qt::QueuedConnection);
}
