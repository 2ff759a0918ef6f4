#include "net/smtp/smtpsender.h"

#include "net/account.h"
#include "net/smtp/smtpmail.h"

#include <limits>

// The dialogue: what is awaited and for how long, how lines are said and heard, and the end. The login and
// the messages have files of their own.

using namespace Qt::StringLiterals;

namespace {

constexpr int kMinute = 60; // seconds; the times are those of RFC 5321 4.5.3.2

QByteArray withoutLineEnd(QByteArray line)
{
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    return line;
}

} // namespace

constexpr std::array<SMTPSender::Step, std::size_t(SMTPSender::State::Ended) + 1> SMTPSender::s_steps = {{
    {State::Preparing, QT_TRANSLATE_NOOP("SMTPSender", "nothing"), 0, &SMTPSender::unexpected},
    {State::Connecting, QT_TRANSLATE_NOOP("SMTPSender", "a connection"), 2 * kMinute, &SMTPSender::ignore},
    {State::Greeting, QT_TRANSLATE_NOOP("SMTPSender", "the greeting"), 5 * kMinute, &SMTPSender::greeting},
    {State::Handshake, QT_TRANSLATE_NOOP("SMTPSender", "encryption"), 2 * kMinute, &SMTPSender::ignore},
    {State::Ehlo, QT_TRANSLATE_NOOP("SMTPSender", "the reply to EHLO"), 5 * kMinute, &SMTPSender::ehloReply},
    {State::Helo, QT_TRANSLATE_NOOP("SMTPSender", "the reply to HELO"), 5 * kMinute, &SMTPSender::heloReply},
    {State::StartTls, QT_TRANSLATE_NOOP("SMTPSender", "the reply to STARTTLS"), 2 * kMinute,
     &SMTPSender::startTlsReply},
    {State::CramMd5, QT_TRANSLATE_NOOP("SMTPSender", "the challenge of CRAM-MD5"), 5 * kMinute,
     &SMTPSender::cramMd5Reply},
    {State::CramMd5Answer, QT_TRANSLATE_NOOP("SMTPSender", "the reply to the login"), 5 * kMinute,
     &SMTPSender::authReply},
    {State::Login, QT_TRANSLATE_NOOP("SMTPSender", "the reply to AUTH LOGIN"), 5 * kMinute,
     &SMTPSender::loginReply},
    {State::LoginUser, QT_TRANSLATE_NOOP("SMTPSender", "the reply to the user name"), 5 * kMinute,
     &SMTPSender::loginReply},
    {State::LoginPassword, QT_TRANSLATE_NOOP("SMTPSender", "the reply to the login"), 5 * kMinute,
     &SMTPSender::authReply},
    {State::Plain, QT_TRANSLATE_NOOP("SMTPSender", "the reply to the login"), 5 * kMinute,
     &SMTPSender::plainReply},
    {State::EhloList, QT_TRANSLATE_NOOP("SMTPSender", "the rest of the reply to EHLO"), 5 * kMinute,
     &SMTPSender::ehloReply},
    {State::MailFrom, QT_TRANSLATE_NOOP("SMTPSender", "the reply to MAIL"), 5 * kMinute,
     &SMTPSender::mailReply},
    {State::RcptTo, QT_TRANSLATE_NOOP("SMTPSender", "the reply to RCPT"), 5 * kMinute,
     &SMTPSender::rcptReply},
    {State::Data, QT_TRANSLATE_NOOP("SMTPSender", "the reply to DATA"), 2 * kMinute, &SMTPSender::dataReply},
    {State::Writing, QT_TRANSLATE_NOOP("SMTPSender", "the way for the message"), 3 * kMinute,
     &SMTPSender::earlyReply},
    {State::Text, QT_TRANSLATE_NOOP("SMTPSender", "the reply to the message"), 10 * kMinute,
     &SMTPSender::textReply},
    {State::Quit, QT_TRANSLATE_NOOP("SMTPSender", "the reply to QUIT"), 1 * kMinute, &SMTPSender::quitReply},
    {State::Rset, QT_TRANSLATE_NOOP("SMTPSender", "the reply to RSET"), 5 * kMinute, &SMTPSender::rsetReply},
    {State::Ended, QT_TRANSLATE_NOOP("SMTPSender", "nothing"), 0, &SMTPSender::ignore},
}};

SMTPSender::SMTPSender(Account &account, SmtpTask task, OutgoingQueue *queue, QObject *parent)
    : Fetcher(account, parent)
    , m_task(task)
    , m_queue(queue)
{
    static_assert([] {
        for (std::size_t row = 0; row < s_steps.size(); ++row) {
            if (std::size_t(s_steps[row].state) != row)
                return false;
        }
        return true;
    }());
    m_slice.setSingleShot(true);
    connect(&m_slice, &QTimer::timeout, this, &SMTPSender::sendNext);
    m_ahead.setSingleShot(true);
    connect(&m_ahead, &QTimer::timeout, this, &SMTPSender::lookAhead);
    m_replyLimit.setSingleShot(true);
    connect(&m_replyLimit, &QTimer::timeout, this, &SMTPSender::lookAtReplyLimit);
    connect(this, &Fetcher::fetchComplete, this, [this] { emit sendComplete(this, m_sent); });
    connect(this, &Fetcher::fetchError, this,
            [this](Fetcher *, AccountFetchReason reason, const QString &detail) {
                emit sendError(this, reason, detail, m_sent);
            });
}

SMTPSender::~SMTPSender()
{
    releaseAll(tr("The transfer was stopped"));
    m_password.fill('\0');
}

void SMTPSender::abandoned()
{
    m_state = State::Ended;
    m_slice.stop();
    m_replyLimit.stop();
    releaseAll(tr("The transfer was stopped"));
}

bool SMTPSender::start()
{
    if (!account() || (m_task == SmtpTask::Send && !m_queue))
        return false;
    enter(State::Connecting);
    openConnection();
    return true;
}

int SMTPSender::patience() const
{
    return int(qint64(step().seconds) * m_minute / kMinute);
}

void SMTPSender::enter(State state)
{
    m_state = state;
    setTimeLimit(patience());
    startReplyLimit();
}

/// Several addresses may be tried one after the other, each as long.
void SMTPSender::startReplyLimit()
{
    if (m_state == State::Connecting || patience() == 0)
        m_replyLimit.stop();
    else
        m_replyLimit.start(patience());
}

/// While the user looks at a certificate nobody else is late.
void SMTPSender::lookAtReplyLimit()
{
    if (isTimeLimitHeld())
        startReplyLimit();
    else
        slotTimeout();
}

/// The one place that speaks: @p shown is what the log gets to see of a secret.
void SMTPSender::say(const QByteArray &command, State next, const QByteArray &shown)
{
    enter(next);
    logLine(">>>> ", shown.isEmpty() ? command : shown);
    const QByteArray line = command + "\r\n";
    socket()->writeBlock(line.constData(), line.size());
    socket()->flush();
}

/// Several at once, for a server that takes them so (RFC 2920).
void SMTPSender::sayAll(const QList<QByteArray> &commands, State next)
{
    enter(next);
    const QByteArray lines = commandLines(commands);
    socket()->writeBlock(lines.constData(), lines.size());
    socket()->flush();
}

QByteArray SMTPSender::commandLines(const QList<QByteArray> &commands)
{
    QByteArray lines;
    for (const QByteArray &command : commands) {
        logLine(">>>> ", command);
        lines += command + "\r\n";
    }
    return lines;
}

void SMTPSender::slotLineAvailable(const QString &line)
{
    if (m_state != State::Ended)
        hear(withoutLineEnd(line.toLatin1()));
}

void SMTPSender::hear(const QByteArray &said)
{
    QByteArray line = said;
    if (!m_secret.isEmpty()) // some servers repeat what they do not understand
        line.replace(m_secret, "****");
    logLine("<<<< ", line);
    if (m_state == State::Quit)
        return quitReply({});
    switch (m_reply.take(line)) {
    case SmtpReply::Progress::More:
        if (m_state == State::Ehlo)
            m_state = State::EhloList; // still the same reply, and the same time for it
        if (m_state == State::EhloList && m_reply.code() == 250)
            m_extensions.read(QByteArrayView(line).sliced(4));
        return;
    case SmtpReply::Progress::Broken:
        return m_state == State::Greeting ? end(AccountFetchReason::Unavailable, m_reply.lines())
                                          : endWithReply(m_reply);
    case SmtpReply::Progress::Whole: break;
    }
    if (m_reply.code() == 421 && m_state != State::Greeting)
        return serviceEnds();
    const SmtpReply reply = m_reply; // what follows may wait for the next one
    (this->*step().onReply)(reply);
}

/// 421 may come at any time, and the server hangs up behind it.
void SMTPSender::serviceEnds()
{
    const bool isUnderWay = m_mail && m_state != State::Preparing && m_state != State::Rset;
    if (isUnderWay && !m_mail->isSettled) {
        QList<OutgoingRefusal> refusals = m_mail->takeRefusals();
        refusals += m_mail->refusalFor(m_mail->unrefused(), m_reply.code(), m_reply.text());
        tellRefusals(refusals);
    }
    endWithReply(m_reply);
}

/// The one place that ends: what is in hand is given back first.
void SMTPSender::end(AccountFetchReason reason, const QString &detail)
{
    if (m_state == State::Ended || hasEnded())
        return;
    if (m_state == State::Text && m_isNextSaid && account())
        account()->noteBreakBehindDot();
    m_state = State::Ended;
    m_slice.stop();
    m_replyLimit.stop();
    const QString told = fetchMessage(reason, account() ? account()->name() : QString(), detail).simplified();
    releaseAll(told.isEmpty() ? tr("The transfer was stopped") : told);
    closeConnection();
    if (reason == AccountFetchReason::None) {
        setStatus(tr("Transfer complete"), true);
        return complete(false);
    }
    setLastError(detail);
    fail(reason, detail, false);
}

void SMTPSender::endWithReply(const SmtpReply &reply)
{
    end(AccountFetchReason::Unexpected, reply.lines());
}

void SMTPSender::quit()
{
    setStatus(tr("Disconnecting..."), true);
    say("QUIT", State::Quit);
}

/// All is done by now, whatever the server says to it.
void SMTPSender::quitReply(const SmtpReply &)
{
    if (m_untoldTroubles > 0)
        m_troubles += tr("... and %1 more").arg(m_untoldTroubles);
    end(m_reason, m_troubles.join(u'\n'));
}

void SMTPSender::stop()
{
    if (m_state == State::Ended || m_state == State::Quit || m_isStopping)
        return;
    m_isStopping = true;
    m_slice.stop();
    if (m_state == State::Preparing) {
        m_reason = AccountFetchReason::Stopped;
        m_troubles.clear();
        releaseAll(tr("The transfer was stopped"));
        quit();
    } else if (m_state != State::Text) {
        end(AccountFetchReason::Stopped);
    }
}

void SMTPSender::slotConnectionError(int code)
{
    if (m_state == State::Quit)
        return quitReply({}); // some servers do not close, they break off
    end(AccountFetchReason::Unreachable, connectionFailure(code));
}

void SMTPSender::slotLineTooLong()
{
    end(AccountFetchReason::Unexpected, tr("The server sent a line of more than 64 MB"));
}

void SMTPSender::slotConnectionClosed()
{
    if (m_state == State::Quit)
        return quitReply({});
    end(AccountFetchReason::ConnectionClosed, tr("Awaited was: %1").arg(tr(step().awaits)));
}

void SMTPSender::slotTimeout()
{
    if (m_state == State::Quit)
        return quitReply({});
    end(AccountFetchReason::TimedOut, tr("Awaited was: %1").arg(tr(step().awaits)));
}
