#include "net/pop3/popfetcher.h"

#include "net/account.h"

#include <QCryptographicHash>

// From the greeting to the login.

using namespace Qt::StringLiterals;

namespace {

constexpr int kMostCapabilities = 1000;      ///< lines of the list
constexpr qsizetype kLongestCapability = 64; ///< bytes; RFC 2449 3 allows 12

/// What stands between "<" and the following ">", with both; empty: nothing does.
QByteArray stampOf(const QByteArray &greeting)
{
    const qsizetype start = greeting.indexOf('<');
    const qsizetype end = start < 0 ? -1 : greeting.indexOf('>', start);
    return end > start + 1 ? greeting.mid(start, end - start + 1) : QByteArray();
}

/// A line end in a name or a password would be a command of its own.
bool fitsOnLine(const QByteArray &text)
{
    return !text.contains('\r') && !text.contains('\n') && !text.contains('\0');
}

/// Refusals that say nothing about the name and the password (RFC 2449 8.1, RFC 3206).
bool isForNow(const QByteArray &reply)
{
    const QByteArray text = reply.toUpper();
    return text.contains("[IN-USE]") || text.contains("[LOGIN-DELAY]") || text.contains("[SYS/");
}

} // namespace

void POPFetcher::slotConnected()
{
    if (m_state == State::Handshake) {
        m_capabilities.clear(); // what was said in plain counts no more
        return say("CAPA", State::Capa);
    }
    setStatus(tr("Connected"), true);
    m_state = State::Greeting;
}

void POPFetcher::greeting(const QByteArray &line)
{
    if (!isPositive(line))
        return end(AccountFetchReason::Unavailable, QString::fromUtf8(line.left(1000)));
    m_stamp = stampOf(line);
    say("CAPA", State::Capa);
}

void POPFetcher::capaReply(const QByteArray &line)
{
    if (!isPositive(line))
        return lookAtEncryption(); // an old server: it offers nothing
    m_listed = 0;
    m_state = State::CapaList;
}

void POPFetcher::capaLine(const QByteArray &line)
{
    if (line == ".")
        return lookAtEncryption();
    if (++m_listed > kMostCapabilities)
        return end(AccountFetchReason::Unexpected, tr("The server's list of capabilities does not end"));
    const qsizetype blank = line.indexOf(' ');
    const QByteArray capability = line.first(blank < 0 ? line.size() : blank);
    if (capability.size() <= kLongestCapability)
        m_capabilities.insert(capability.toUpper());
}

void POPFetcher::lookAtEncryption()
{
    if (!account())
        return end(AccountFetchReason::Stopped);
    if (!account()->data().has(AccountStartTls) || socket()->isEncrypted())
        return logIn();
    if (m_capabilities.contains("STLS"))
        return say("STLS", State::Stls);
    end(AccountFetchReason::LoginFailed,
        tr("The account wants an encrypted connection, and the server does not offer one (STLS). Neither the "
           "user name nor the password was sent."));
}

void POPFetcher::stlsReply(const QByteArray &line)
{
    if (isPositive(line)) {
        m_state = State::Handshake;
        return socket()->startTLS();
    }
    end(AccountFetchReason::LoginFailed,
        tr("The server refuses to encrypt the connection. Neither the user name nor the password was "
           "sent.\n%1")
            .arg(QString::fromUtf8(line.left(1000))));
}

void POPFetcher::logIn()
{
    const AccountData &data = account()->data();
    if (!mayLogIn())
        return end(AccountFetchReason::LoginFailed,
                   tr("The connection is not encrypted, and the account does not allow a login without. "
                      "Neither the user name nor the password was sent."));
    if (m_user.isEmpty() || m_password.isEmpty())
        return end(AccountFetchReason::LoginFailed, tr("There is no user name or no password"));
    if (!fitsOnLine(m_user) || !fitsOnLine(m_password))
        return end(AccountFetchReason::LoginFailed, tr("The user name or the password holds a line end"));
    if (!data.has(AccountApop) || m_stamp.isEmpty())
        return sayUser();
    setStatus(tr("Logging in to mailbox ") + data.name, true);
    const QByteArray digest = QCryptographicHash::hash(m_stamp + m_password, QCryptographicHash::Md5).toHex();
    say("APOP " + m_user + ' ' + digest, State::Apop, "APOP " + m_user + " ****");
}

void POPFetcher::sayUser()
{
    if (account())
        setStatus(tr("Logging in to mailbox ") + account()->name(), true);
    say("USER " + m_user, State::User);
}

void POPFetcher::apopReply(const QByteArray &line)
{
    if (isPositive(line))
        return loggedIn();
    sayUser(); // a server may offer APOP and refuse it
}

void POPFetcher::userReply(const QByteArray &line)
{
    if (isPositive(line))
        return say("PASS " + m_password, State::Pass, "PASS ****");
    refuseLogin(line);
}

void POPFetcher::passReply(const QByteArray &line)
{
    if (isPositive(line))
        return loggedIn();
    refuseLogin(line);
}

void POPFetcher::refuseLogin(const QByteArray &line)
{
    m_loginRefused = !isForNow(line);
    if (m_loginRefused)
        noteLoginRefused(QString::fromUtf8(line.left(1000)));
    endWithReply(line);
}

void POPFetcher::loggedIn()
{
    m_password.fill('\0');
    m_password.clear();
    if (m_task == PopTask::Bodies)
        return serveNext();
    setStatus(tr("Listing mailbox contents..."), true);
    say("STAT", State::Stat);
}
