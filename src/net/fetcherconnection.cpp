#include "net/fetcher.h"

#include "config/settings.h"
#include "net/account.h"
#include "net/accountmanager.h"

// How a client comes to its connection.

using namespace Qt::StringLiterals;

void Fetcher::openConnection()
{
    if (!m_account)
        return;
    QList<QHostAddress> known;
    if (boolSetting(Setting::CacheDNS))
        known = m_account->manager().names().find(m_account->data().host);
    connectTo(known);
}

/// To the addresses that the cache knows, or by name.
void Fetcher::connectTo(const QList<QHostAddress> &known)
{
    const QString host = m_account->data().host;
    m_byName = known.isEmpty();
    setStatus((m_byName ? u"Resolving host "_s : u"Connecting to "_s) + host + u"..."_s, true);
    restartTimeLimit();
    makeSocket();
    m_socket->connectToHost(host, quint16(m_account->data().port), known);
}

void Fetcher::makeSocket()
{
    if (m_socket) { // it may be the one that called
        m_socket->disconnect(this);
        m_socket.release()->deleteLater();
    }
    m_socket = std::make_unique<GSocket>(m_account->data().has(AccountTls), tlsChoice());
    wireSocket();
}

void Fetcher::wireSocket()
{
    GSocket *socket = m_socket.get();
    connect(socket, &GSocket::hostFound, this, &Fetcher::hostFound);
    connect(socket, &GSocket::connected, this, &Fetcher::connected);
    connect(socket, &GSocket::error, this, &Fetcher::connectionFailed);
    connect(socket, &GSocket::lineAvailable, this, [this](const QString &line) {
        restartTimeLimit();
        slotLineAvailable(line); // may delete this
    });
    connect(socket, &GSocket::blockAvailable, this, [this](const QByteArray &block) {
        restartTimeLimit();
        slotBlockAvailable(block);
    });
    connect(socket, &GSocket::bytesWritten, this, [this](int bytes) {
        restartTimeLimit();
        slotBytesWritten(bytes);
    });
    connect(socket, &GSocket::lineTooLong, this, [this] { slotLineTooLong(); });
    connect(socket, &GSocket::connectionClosed, this, [this] { slotConnectionClosed(); });
    connect(socket, &GSocket::delayedCloseFinished, this, [this] { slotConnectionClosed(); });
}

/// The user is asked by way of the account; the time-out stands still meanwhile.
TlsChoice Fetcher::tlsChoice()
{
    TlsChoice tls;
    tls.serverName = m_account->data().host;
    tls.caFile = m_account->options().caFile;
    const QPointer<Fetcher> guard(this);
    tls.judge = [this, guard](const CertificateReport &report, const std::function<void(bool)> &answer) {
        if (!guard || !m_account)
            return answer(false);
        holdTimeLimit();
        m_account->judge(report, m_attended, this, [this, answer](bool accept) {
            releaseTimeLimit();
            answer(accept);
        });
    };
    return tls;
}

void Fetcher::hostFound()
{
    restartTimeLimit();
    if (!m_byName)
        return;
    if (m_account && boolSetting(Setting::CacheDNS))
        m_account->manager().names().store(m_account->data().host, m_socket->addresses());
    slotHostFound();
}

void Fetcher::connected()
{
    restartTimeLimit();
    m_connected = true;
    if (m_account)
        m_account->manager().names().prefer(m_account->data().host, QHostAddress(m_socket->peerAddress()));
    slotConnected();
}

/// What the cache knew may be of yesterday's network: after it the name is tried.
void Fetcher::connectionFailed(int code)
{
    restartTimeLimit();
    if (m_account && !m_socket->errorText().isEmpty())
        m_account->log(m_socket->errorText());
    const bool isReached = m_connected || code == int(SocketError::Tls);
    if (m_account && !isReached) {
        m_account->manager().names().forget(m_account->data().host);
        if (!m_byName && !m_ended)
            return connectTo({});
    }
    slotConnectionError(code);
}

void Fetcher::closeConnection()
{
    if (m_socket)
        m_socket->close();
}

bool Fetcher::mayLogIn() const
{
    if (!m_socket || !m_account)
        return false;
    return mayLogIn(m_socket->isEncrypted(), m_account->data().has(AccountNeedsEncryption),
                    QHostAddress(m_socket->peerAddress()));
}

bool Fetcher::mayLogIn(bool isEncrypted, bool needsEncryption, const QHostAddress &peer)
{
    return isEncrypted || !needsEncryption || peer.isLoopback();
}

void Fetcher::slotHostFound()
{
    if (m_account)
        setStatus(u"Connecting to "_s + m_account->data().host + u"..."_s, true);
}

QString Fetcher::connectionFailure(int code) const
{
    const QString text = connectionErrorText(code);
    const QString said = m_socket && code == int(SocketError::Tls) ? m_socket->errorText() : QString();
    return said.startsWith(text) ? said : text;
}

void Fetcher::slotConnectionError(int code)
{
    setLastError(connectionFailure(code));
    fail(AccountFetchReason::Unreachable, lastError(), false);
}

void Fetcher::slotLineTooLong()
{
    setLastError(tr("The server sent a line of more than 64 MB"));
    fail(AccountFetchReason::Unexpected, lastError(), false);
}
