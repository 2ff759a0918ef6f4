#include "net/fetcher.h"

#include "net/account.h"
#include "net/accountmanager.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMostLogged = 8192; ///< bytes of a line, which may have millions

std::vector<Fetcher *> &liveFetchers()
{
    static std::vector<Fetcher *> fetchers;
    return fetchers;
}

} // namespace

Fetcher::Fetcher(Account &account, QObject *parent)
    : QObject(parent)
    , m_account(&account)
{
    liveFetchers().push_back(this);
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &Fetcher::lookAtTimeLimit);
}

Fetcher::~Fetcher()
{
    std::erase(liveFetchers(), this);
}

const std::vector<Fetcher *> &Fetcher::live()
{
    return liveFetchers();
}

int Fetcher::busyCount()
{
    return int(std::count_if(live().begin(), live().end(), [](const Fetcher *fetcher) {
        return !fetcher->isIdle() && !fetcher->hasEnded();
    }));
}

Account *Fetcher::account() const
{
    return m_account;
}

/// Whether this is the first end.
bool Fetcher::end()
{
    if (std::exchange(m_ended, true))
        return false;
    m_timer.stop();
    deleteLater();
    return true;
}

void Fetcher::complete(bool received)
{
    if (end())
        emit fetchComplete(this, received);
}

void Fetcher::fail(AccountFetchReason reason, const QString &detail, bool received)
{
    if (end())
        emit fetchError(this, reason, detail, received);
}

void Fetcher::abandon()
{
    end();
    m_account.clear();
    abandoned();
    if (!m_socket)
        return;
    m_socket->disconnect(this);
    m_socket->close();
}

void Fetcher::noteLoginRefused(const QString &reply)
{
    if (m_account)
        m_account->loginRefused(reply);
}

void Fetcher::setStatus(const QString &text, bool log)
{
    m_status = text;
    if (log && m_account)
        m_account->log(text);
    emit statusChanged(text);
}

void Fetcher::logLine(const char *direction, const QByteArray &line)
{
    if (m_account && m_account->isLogged())
        m_account->log(QLatin1String(direction) +
                       QString::fromLatin1(line.first(qMin(line.size(), kMostLogged))));
}

QString Fetcher::connectionErrorText(int code)
{
    switch (SocketError(code)) {
    case SocketError::Refused: return u"Connection refused"_s;
    case SocketError::HostNotFound: return u"Host not found"_s;
    case SocketError::Read: return u"Unable to read from socket"_s;
    case SocketError::Tls: return u"SSL error"_s;
    }
    return u"Connection error (%1)"_s.arg(code);
}

QByteArray Fetcher::terminateBody(const QByteArray &text)
{
    QByteArray body;
    body.reserve(text.size() + text.size() / 32 + 8);
    qsizetype from = 0;
    while (from < text.size()) {
        const qsizetype feed = text.indexOf('\n', from);
        const qsizetype next = feed < 0 ? text.size() : feed + 1;
        qsizetype to = feed < 0 ? text.size() : feed;
        if (to > from && feed >= 0 && text[to - 1] == '\r')
            --to;
        if (from > 0)
            body += "\r\n";
        if (to > from && text[from] == '.')
            body += '.';
        body.append(QByteArrayView(text).sliced(from, to - from));
        from = next;
    }
    return body + "\r\n.\r\n";
}

void Fetcher::setTimeLimit(int milliseconds)
{
    m_timeLimit = milliseconds;
    m_timer.stop();
    restartTimeLimit();
}

/// Cheap, for it is called with every block that arrives: the timer runs out by the old time and looks.
void Fetcher::restartTimeLimit()
{
    m_quiet.start();
    if (m_timeLimit <= 0 || m_ended)
        m_timer.stop();
    else if (m_holds == 0 && !m_timer.isActive())
        m_timer.start(m_timeLimit);
}

void Fetcher::holdTimeLimit()
{
    ++m_holds;
    m_timer.stop();
}

void Fetcher::releaseTimeLimit()
{
    if (m_holds > 0 && --m_holds == 0)
        restartTimeLimit();
}

void Fetcher::lookAtTimeLimit()
{
    const qint64 left = m_timeLimit - m_quiet.elapsed();
    if (left > 0) {
        m_timer.start(int(left));
        return;
    }
    if (m_account && !m_connected) // an address that says nothing is as good as one that refuses
        m_account->manager().names().forget(m_account->data().host);
    slotTimeout();
}

void Fetcher::slotTimeout()
{
    fail(AccountFetchReason::TimedOut, {}, false);
}
