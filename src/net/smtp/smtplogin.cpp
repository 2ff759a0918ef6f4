#include "net/account.h"
#include "net/smtp/crammd5.h"
#include "net/smtp/envelope.h"
#include "net/smtp/smtpmail.h"
#include "net/smtp/smtpsender.h"

#include <QSysInfo>

// From the greeting to the login.

using namespace Qt::StringLiterals;

namespace {

/// A command line has 512 bytes (RFC 5321 4.5.3.1.4); a longer answer waits to be asked for (RFC 4954 4).
constexpr qsizetype kLongestCommand = 510;

constexpr int kMethods = 3;

/// Whether @p code says that the method, or AUTH altogether, is not known, and nothing of the name and the
/// password.
bool concernsMethod(int code)
{
    return code == 500 || code == 502 || code == 503 || code == 504;
}

} // namespace

void SMTPSender::slotConnected()
{
    if (m_state == State::Handshake) {
        setStatus(tr("SSL negotiation complete"), true);
        return greet();
    }
    setStatus(socket()->isEncrypted() ? tr("SSL negotiation complete") : tr("Connected"), true);
    enter(State::Greeting);
}

void SMTPSender::greeting(const SmtpReply &reply)
{
    if (reply.code() != 220)
        return end(AccountFetchReason::Unavailable, reply.lines());
    greet();
}

/// What was offered before, in the clear, counts no more.
void SMTPSender::greet()
{
    m_extensions = {};
    m_isLoggedIn = m_isGivenUp = false;
    if (m_mail)
        m_mail->forgetEncoding();
    say("EHLO " + clientName(), State::Ehlo);
}

QByteArray SMTPSender::clientName() const
{
    return smtpClientName(QSysInfo::machineHostName(), socket()->localAddress());
}

void SMTPSender::ehloReply(const SmtpReply &reply)
{
    if (reply.isPermanent() && !socket()->isEncrypted() && account() &&
        account()->data().has(AccountStartTls))
        return lookAtEncryption(); // HELO would offer none either
    if (reply.isPermanent())
        return say("HELO " + clientName(), State::Helo);
    if (reply.code() != 250)
        return endWithReply(reply);
    m_extensions.read(reply.argument()); // many servers end with an extension
    lookAtEncryption();
}

void SMTPSender::heloReply(const SmtpReply &reply)
{
    if (reply.code() != 250)
        return endWithReply(reply);
    m_extensions = {};
    lookAtEncryption();
}

void SMTPSender::lookAtEncryption()
{
    if (!account())
        return end(AccountFetchReason::Stopped);
    if (!account()->data().has(AccountStartTls) || socket()->isEncrypted())
        return logIn();
    if (m_extensions.startTls)
        return say("STARTTLS", State::StartTls);
    end(AccountFetchReason::LoginFailed,
        tr("The account wants an encrypted connection, and the server does not offer one (STARTTLS). Neither "
           "the user name nor the password nor a message was sent."));
}

void SMTPSender::startTlsReply(const SmtpReply &reply)
{
    if (reply.code() == 220) {
        enter(State::Handshake);
        return socket()->startTLS();
    }
    end(AccountFetchReason::LoginFailed,
        tr("The server refuses to encrypt the connection. Neither the user name nor the password nor a "
           "message was sent.\n%1")
            .arg(reply.lines()));
}

void SMTPSender::logIn()
{
    m_user = account()->data().user.toUtf8();
    m_password = account()->password().toUtf8();
    if (m_user.isEmpty() || m_password.isEmpty())
        return ready();
    if (!mayLogIn())
        return end(AccountFetchReason::LoginFailed,
                   tr("The connection is not encrypted, and the account does not allow a login without. "
                      "Neither the user name nor the password was sent."));
    if (m_user.contains('\0') || m_password.contains('\0'))
        return end(AccountFetchReason::LoginFailed, tr("The user name or the password holds a NUL"));
    m_method = 0;
    m_methodRefusal.clear();
    tryNextMethod();
}

/// Where the server names none, each may be one that it knows.
void SMTPSender::tryNextMethod()
{
    const bool isAnyOffered = m_extensions.offersLogin();
    const std::array<bool, kMethods> offered = {m_extensions.cramMd5, m_extensions.plain, m_extensions.login};
    while (m_method < kMethods && isAnyOffered && !offered[std::size_t(m_method)])
        ++m_method;
    if (m_method >= kMethods)
        return methodsExhausted();
    setStatus(tr("Authenticating..."), true);
    switch (m_method++) {
    case 0: return say("AUTH CRAM-MD5", State::CramMd5);
    case 1: break;
    default: return say("AUTH LOGIN", State::Login);
    }
    m_secret = ('\0' + m_user + '\0' + m_password).toBase64();
    const QByteArray command = "AUTH PLAIN " + m_secret;
    m_isPlainSaid = command.size() <= kLongestCommand;
    say(m_isPlainSaid ? command : QByteArray("AUTH PLAIN"), State::Plain,
        m_isPlainSaid ? "AUTH PLAIN ****" : "AUTH PLAIN");
}

void SMTPSender::saySecret(const QByteArray &secret, State next)
{
    m_secret = secret;
    say(secret, next, "****");
}

void SMTPSender::cramMd5Reply(const SmtpReply &reply)
{
    if (reply.code() != 334)
        return authReply(reply);
    const auto challenge =
        QByteArray::fromBase64Encoding(reply.argument(), QByteArray::AbortOnBase64DecodingErrors);
    if (!challenge || (*challenge).isEmpty())
        return giveUpMethod();
    saySecret(cramMd5Response(reply.argument(), m_user, m_password), State::CramMd5Answer);
}

/// What is no challenge is not answered. 501 follows, which says nothing of the password.
void SMTPSender::giveUpMethod()
{
    m_isGivenUp = true;
    say("*", State::CramMd5Answer);
}

void SMTPSender::loginReply(const SmtpReply &reply)
{
    if (reply.code() != 334)
        return authReply(reply);
    if (m_state == State::Login)
        saySecret(m_user.toBase64(), State::LoginUser);
    else
        saySecret(m_password.toBase64(), State::LoginPassword);
}

void SMTPSender::plainReply(const SmtpReply &reply)
{
    if (reply.code() != 334 || m_isPlainSaid)
        return authReply(reply);
    m_isPlainSaid = true;
    saySecret(m_secret, State::Plain);
}

void SMTPSender::authReply(const SmtpReply &reply)
{
    if (reply.code() == 235) {
        m_isLoggedIn = true;
        return ready();
    }
    if (reply.code() == 530 && canEncrypt())
        return say("STARTTLS", State::StartTls);
    if (reply.isPermanent() && reply.code() != 530)
        return methodRefused(reply);
    endWithReply(reply);
}

/// Real servers answer 535 to a method they do not know, so what follows is tried after that, too.
void SMTPSender::methodRefused(const SmtpReply &reply)
{
    if (!concernsMethod(reply.code()) || !m_methodRefusal.isEmpty())
        m_methodRefusal = reply.lines();
    m_loginRefused |= !concernsMethod(reply.code()) && !m_isGivenUp;
    m_isGivenUp = false;
    tryNextMethod();
}

/// A server that knows no login at all takes mail without.
void SMTPSender::methodsExhausted()
{
    if (m_methodRefusal.isEmpty())
        return ready();
    if (m_loginRefused)
        noteLoginRefused(m_methodRefusal);
    end(AccountFetchReason::Unexpected, m_methodRefusal);
}

bool SMTPSender::canEncrypt() const
{
    return m_extensions.startTls && !socket()->isEncrypted();
}

/// 530 says that mail is taken behind a login alone, or over an encrypted connection: so will it be with
/// every other message. Where all that is done it is a refusal of this one.
bool SMTPSender::wantsLogin(const SmtpReply &reply) const
{
    return reply.code() == 530 && (!m_isLoggedIn || canEncrypt());
}

/// What the server offers to that end is tried, once; the messages wait.
void SMTPSender::logInAfterAll()
{
    m_mail->putBack();
    const QString said = std::exchange(m_loginWish, {});
    if (canEncrypt())
        return say("STARTTLS", State::StartTls);
    if (!m_user.isEmpty())
        noteLoginRefused(said);
    end(AccountFetchReason::LoginFailed, said);
}

void SMTPSender::ready()
{
    m_loginRefused = false;
    for (QByteArray *secret : {&m_password, &m_secret}) {
        secret->fill('\0');
        secret->clear();
    }
    if (account())
        account()->noteLargestMail(m_extensions.sizeLimit);
    if (m_task == SmtpTask::LoginTest)
        return quit();
    sendNext();
}
