#include "net/fetcher.h"

#include "config/settings.h"
#include "net/account.h"
#include "net/accountmanager.h"

#include <QHostInfo>

// How a client comes to its connection.

using namespace Qt::StringLiterals;

void Fetcher::openConnection()
{
    if (!m_account)
        return;
    const QString host = m_account->data().host;
    if (boolSetting(Setting::CacheDNS))
        m_addresses = m_account->manager().names().find(host);
    if (!m_addresses.isEmpty())
        setStatus(u"Connecting to "_s + host + u"..."_s, true);
    restartTimeLimit();
    connectNext();
}

/// By the next address that the cache knows, else by name.
void Fetcher::connectNext()
{
    const QString host = m_account->data().host;
    makeSocket();
    m_byName = m_addresses.isEmpty();
    QString target = host;
    if (m_byName)
        setStatus(u"Resolving host "_s + host + u"..."_s, true);
    else
        target = m_addresses.takeFirst().toString();
    m_socket->connectToHost(target, quint16(m_account->data().port));
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
    const QString host = m_account ? m_account->data().host : QString();
    if (!host.isEmpty() && boolSetting(Setting::CacheDNS) && QHostAddress(host).isNull()) {
        // asked a second time for the sake of all addresses: the toolkit still knows them
        QHostInfo::lookupHost(host, this, [this, host](const QHostInfo &found) {
            if (!m_account || found.error() != QHostInfo::NoError)
                return;
            m_account->manager().names().store(host, found.addresses());
            if (m_connected && m_socket)
                m_account->manager().names().prefer(host, QHostAddress(m_socket->peerAddress()));
        });
    }
    slotHostFound();
}

void Fetcher::connected()
{
    restartTimeLimit();
    m_connected = true;
    m_addresses.clear();
    if (m_account)
        m_account->manager().names().prefer(m_account->data().host, QHostAddress(m_socket->peerAddress()));
    slotConnected();
}

void Fetcher::connectionFailed(int code)
{
    restartTimeLimit();
    const bool isTls = code == int(SocketError::Tls);
    if (m_account && !m_socket->errorText().isEmpty())
        m_account->log(m_socket->errorText());
    if (m_account && !m_connected && !isTls) {
        m_account->manager().names().forget(m_account->data().host);
        if (!m_byName && !m_ended)
            return connectNext();
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
    return m_socket->isEncrypted() || !m_account->data().has(AccountNeedsEncryption) ||
           QHostAddress(m_socket->peerAddress()).isLoopback();
}

void Fetcher::slotHostFound()
{
    if (m_account)
        setStatus(u"Connecting to "_s + m_account->data().host + u"..."_s, true);
}

void Fetcher::slotConnectionError(int code)
{
    setLastError(connectionErrorText(code));
    fail(AccountFetchReason::Unreachable, lastError(), false);
}

void Fetcher::slotLineTooLong()
{
    setLastError(tr("The server sent a line of more than 64 MB"));
    fail(AccountFetchReason::Unexpected, lastError(), false);
}
