#include "config/settings.h"
#include "net/account.h"
#include "net/smtp/smtpmail.h"
#include "net/smtp/smtpsender.h"

#include <QLocale>

#include <limits>

// The messages: one transaction for each, or several where a message has more recipients than one may have.

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kBlock = 64 * 1024;    // bytes of text that are made ready at once
constexpr qint64 kMostUnsent = 256 * 1024; // bytes that wait in the socket
constexpr qint64 kLongText = 1024 * 1024;  // bytes that may take long to go out
constexpr QByteArrayView kDot = ".\r\n";
constexpr int kStatusMilliseconds = 100;
constexpr int kMostTroubles = 20; // lines

QString sizeText(qint64 bytes)
{
    return QLocale().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

/// At most so many recipients in one transaction.
qsizetype mostRecipients()
{
    const int most = intSetting(Setting::MaxSMTPRecipients);
    return most > 0 ? most : std::numeric_limits<qsizetype>::max();
}

} // namespace

/// Goes from message to message until one is on its way. A loop, for many may be refused here.
void SMTPSender::sendNext()
{
    enter(State::Preparing);
    if (m_isStopping && m_isNextSaid) // its replies are outstanding
        return end(AccountFetchReason::Stopped);
    while (m_mail || takeMail()) {
        if (std::exchange(m_isNextSaid, false))
            return awaitTransaction();
        if (!m_mail->prepare())
            return m_slice.start(0);
        if (fitMail())
            continue;
        if (beginMail())
            return;
        releaseMail({});
    }
    if (m_isStopping)
        m_reason = AccountFetchReason::Stopped;
    quit();
}

bool SMTPSender::takeMail()
{
    if (m_isStopping || !account())
        return false;
    m_mail = m_next ? std::move(m_next) : nextMail();
    if (!m_mail)
        return false;
    ++m_number;
    if (m_number > m_total) // the queue has to look at all that it holds
        m_total = m_number + m_queue->waiting(account()->number());
    setStatus(tr("Sending message %1 of %2...").arg(m_number).arg(m_total), true);
    showProgress();
    return true;
}

std::unique_ptr<SmtpMail> SMTPSender::nextMail()
{
    const std::optional<OutgoingMessage> message = m_queue->next(account()->number());
    return message ? std::make_unique<SmtpMail>(*message) : nullptr;
}

/// While a reply is awaited there is time to look at the next message. Not where the text in hand takes long:
/// the next one can be taken back as long as it is not leased, its date is that of its lease, and two large
/// ones would be in memory.
void SMTPSender::lookAhead()
{
    const bool isTime = m_mail && !m_mail->hasWaiting() && m_mail->text().size() <= kLongText;
    if (m_next || !isTime || m_isStopping || !m_sent || !m_extensions.pipelining || !account() ||
        !account()->takesCommandsEarly())
        return;
    m_next = nextMail();
    m_isNextReady = m_next && m_next->prepare();
}

/// Where nothing speaks against it the transaction of the next message goes out together with the final dot
/// of the one in hand, unless that is not the last of its message (RFC 2920 3.1). The replies come in order,
/// so what becomes of the one does not touch the other.
bool SMTPSender::mayBeginNext()
{
    return m_next && m_isNextReady && !m_isStopping && m_extensions.pipelining && !m_mail->hasWaiting() &&
           m_next->isPlain() && fits(m_next->text()) && !isTooLarge(m_next->text()) &&
           m_queue->hasRoom(m_next->ticket());
}

QByteArray SMTPSender::beginNext()
{
    m_isNextSaid = true;
    return commandLines(transaction(*m_next));
}

bool SMTPSender::fits(const SmtpText &text) const
{
    return text.longestLine() <= kLongestMailLine && !text.hasEightBitHeader() &&
           (m_extensions.eightBitMime || !text.hasEightBitBody());
}

bool SMTPSender::isTooLarge(const SmtpText &text) const
{
    return m_extensions.sizeLimit > 0 && text.size() > m_extensions.sizeLimit;
}

/// Whether the text was changed into one that the server takes, and has to be looked at anew.
bool SMTPSender::fitMail()
{
    if (fits(m_mail->text()) || m_mail->isReencoded())
        return false;
    m_mail->reencode(m_extensions.eightBitMime, m_extensions.smtpUtf8);
    return true;
}

/// False: nothing of it can go to anybody, and the queue was told why.
bool SMTPSender::beginMail()
{
    if (isTooLarge(m_mail->text())) {
        refuseMail(tr("The message has %1, and the server takes %2 at most")
                       .arg(sizeText(m_mail->text().size()), sizeText(m_extensions.sizeLimit)));
        return false;
    }
    const auto &sender = m_mail->sender();
    if (!sender || !sender->isUsable) {
        refuseMail(tr("The message has no sender whom a server can answer"));
        return false;
    }
    if (sender->needsUtf8 && !m_extensions.smtpUtf8) {
        refuseMail(tr("The server takes no sender with letters beyond ASCII before the '@'"));
        return false;
    }
    if (!m_mail->hasWaiting()) {
        refuseMail(tr("The message has no recipients"));
        return false;
    }
    if (m_mail->text().hasEightBitHeader() && !m_extensions.smtpUtf8) {
        refuseMail(
            tr("The header of the message holds letters beyond ASCII where they cannot be encoded, and "
               "the server takes none"));
        return false;
    }
    if (m_mail->text().hasEightBitBody() && !m_extensions.eightBitMime) {
        refuseMail(
            tr("The message holds letters beyond ASCII where they must stay as they are, as in what is "
               "signed, and the server takes none"));
        return false;
    }
    tellRefusals(m_mail->takeUnusable(m_extensions.smtpUtf8));
    return beginTransaction();
}

void SMTPSender::refuseMail(const QString &text)
{
    tellRefusals({{{}, 0, text}});
}

bool SMTPSender::beginTransaction()
{
    if (!m_mail->hasWaiting())
        return false;
    if (!m_queue->hasRoom(m_mail->ticket())) {
        endUnwritten();
        return true;
    }
    const QList<QByteArray> commands = transaction(*m_mail);
    commands.size() > 1 ? sayAll(commands, State::MailFrom) : say(commands.first(), State::MailFrom);
    return true;
}

/// The replies to what begins it come now, and there is time.
void SMTPSender::awaitTransaction()
{
    enter(State::MailFrom);
    m_ahead.start(0);
}

/// MAIL and, where the server takes them so, all RCPT behind it. Never DATA: whether there is anything to
/// send is known from the answers.
QList<QByteArray> SMTPSender::transaction(SmtpMail &mail) const
{
    mail.begin(mostRecipients());
    const SmtpText &text = mail.text();
    QByteArray from = "MAIL FROM:<" + mail.sender()->wire + '>';
    if (m_extensions.size)
        from += " SIZE=" + QByteArray::number(text.size());
    const bool isInternational = m_extensions.smtpUtf8 && mail.needsUtf8();
    if (m_extensions.eightBitMime && (isInternational || text.hasEightBitBody()))
        from += " BODY=8BITMIME";
    if (isInternational)
        from += " SMTPUTF8";
    QList<QByteArray> commands = {from};
    if (!m_extensions.pipelining)
        return commands;
    for (qsizetype i = 0; i < mail.count(); ++i)
        commands.append("RCPT TO:<" + mail.recipient(i).wire + '>');
    return commands;
}

void SMTPSender::mailReply(const SmtpReply &reply)
{
    if (reply.code() != 250 && !reply.isRefusal())
        return endWithReply(reply);
    if (wantsLogin(reply)) {
        m_loginWish = reply.lines();
        return m_extensions.pipelining ? enter(State::RcptTo) : logInAfterAll();
    }
    if (reply.isRefusal()) {
        m_mail->isMailRefused = true;
        tellRefusals(m_mail->refusalFor(m_mail->unrefused(), reply.code(), reply.text()));
        m_mail->isSettled = true;
    }
    if (m_extensions.pipelining)
        return enter(State::RcptTo); // the answers to the batch still come
    if (m_mail->isMailRefused)
        return nextTransaction();
    sayRcpt();
}

void SMTPSender::sayRcpt()
{
    say("RCPT TO:<" + m_mail->unanswered()->wire + '>', State::RcptTo);
}

/// 452, and of older servers 552, behind recipients who were taken: so many the server takes in one
/// transaction (RFC 5321 4.5.3.1.10).
void SMTPSender::rcptReply(const SmtpReply &reply)
{
    const bool isTaken = reply.code() == 250 || reply.code() == 251;
    const bool isTooMany = reply.code() == 452 || reply.code() == 552;
    if (!isTaken && !reply.isRefusal())
        return endWithReply(reply);
    if (m_loginWish.isEmpty() && wantsLogin(reply))
        m_loginWish = reply.lines();
    if (isTaken)
        m_mail->take();
    else if (isTooMany && !m_mail->taken().isEmpty() && !m_mail->isMailRefused)
        m_mail->postpone();
    else
        m_mail->refuse(reply.code(), reply.text());
    if (!m_mail->unanswered())
        return recipientsAnswered();
    if (m_extensions.pipelining)
        return enter(State::RcptTo); // for the next answer
    if (m_loginWish.isEmpty())
        return sayRcpt();
    logInAfterAll();
}

void SMTPSender::recipientsAnswered()
{
    if (!m_loginWish.isEmpty())
        return logInAfterAll();
    if (m_mail->isMailRefused)
        return m_mail->taken().isEmpty() ? nextTransaction() : say("RSET", State::Rset);
    tellRefusals(m_mail->takeRefusals());
    if (!m_mail->taken().isEmpty())
        return say("DATA", State::Data);
    m_mail->isSettled = true;
    say("RSET", State::Rset);
}

void SMTPSender::dataReply(const SmtpReply &reply)
{
    if (wantsLogin(reply)) {
        m_loginWish = reply.lines();
        return logInAfterAll();
    }
    if (reply.isRefusal()) {
        transactionRefused(reply);
        return say("RSET", State::Rset);
    }
    if (reply.code() != 354)
        return endWithReply(reply);
    m_written = 0;
    m_sinceStatus.start();
    logLine(">>>> ", "(message " + QByteArray::number(m_number) + ", " +
                         QByteArray::number(m_mail->text().size()) + " bytes)");
    enter(State::Writing);
    writeText();
    if (m_state == State::Text)
        socket()->flush();
}

/// What goes now might go again, and again.
void SMTPSender::endUnwritten()
{
    end(AccountFetchReason::WithErrors, tr("It cannot be written down what is being sent"));
}

/// As much as the socket should hold. Before what holds the final dot the queue writes down that it goes.
/// What the server says before that is no answer to the message, and is heard first.
void SMTPSender::writeText()
{
    SmtpText &text = m_mail->text();
    while (m_state == State::Writing && !m_mail->isTextOut && socket()->bytesToWrite() < kMostUnsent) {
        if (socket()->bytesAvailable() > 0 || m_reply.isBegun())
            return;
        QByteArray block = text.take(kBlock);
        if (!text.atEnd() && block.size() < kBlock)
            block += text.take(kBlock - block.size());
        const QByteArray bytes = terminateBody(block);
        socket()->writeBlock(bytes.constData(), bytes.size() - kDot.size());
        if (text.atEnd())
            writeDot();
    }
}

/// The text travels while the disk is at work; nothing else is to take long between the mark and the dot.
void SMTPSender::writeDot()
{
    m_mail->isTextOut = true;
    socket()->flush();
    lookAhead();
    const bool isNextDue = mayBeginNext();
    if (!m_queue->sending(m_mail->ticket(), m_mail->taken()))
        return endUnwritten();
    m_mail->isSending = true;
    enter(State::Text);
    const QByteArray next = isNextDue ? beginNext() : QByteArray();
    m_behindDot = next.size();
    const QByteArray bytes = kDot.toByteArray() + next;
    socket()->writeBlock(bytes.constData(), bytes.size());
}

void SMTPSender::slotBytesWritten(int bytes)
{
    if (m_state != State::Writing && m_state != State::Text)
        return;
    const bool isOut = m_state == State::Text && socket()->bytesToWrite() == 0;
    m_written = isOut ? m_mail->text().size() : m_written + bytes; // not all pieces are told
    startReplyLimit();
    showText(isOut);
    if (m_state == State::Writing)
        writeText();
}

/// Before its end a message can only be refused, and what would follow now is text to the server.
void SMTPSender::earlyReply(const SmtpReply &reply)
{
    if (reply.isRefusal())
        transactionRefused(reply);
    endWithReply(reply);
}

void SMTPSender::textReply(const SmtpReply &reply)
{
    const bool isUnwritten = socket()->bytesToWrite() > m_behindDot;
    if (reply.isRefusal()) {
        transactionRefused(reply);
        return isUnwritten ? endWithReply(reply) : nextTransaction();
    }
    if (reply.code() != 250 || isUnwritten) // who takes what it has not got yet is lying
        return endWithReply(reply);
    m_queue->accepted(m_mail->ticket(), m_mail->taken());
    m_mail->isSettled = true;
    m_sent = true;
    nextTransaction();
}

void SMTPSender::rsetReply(const SmtpReply &reply)
{
    if (reply.code() != 250)
        return endWithReply(reply);
    nextTransaction();
}

void SMTPSender::transactionRefused(const SmtpReply &reply)
{
    tellRefusals(m_mail->refusalFor(m_mail->taken(), reply.code(), reply.text()));
    m_mail->isSettled = true;
}

void SMTPSender::nextTransaction()
{
    if (!m_isStopping && beginTransaction())
        return;
    releaseMail(m_isStopping && m_mail->hasWaiting() ? tr("The transfer was stopped") : QString());
    sendNext();
}

void SMTPSender::releaseMail(const QString &reason)
{
    if (!m_mail)
        return;
    const std::unique_ptr<SmtpMail> mail = std::move(m_mail);
    ++m_done;
    m_queue->release(mail->ticket(), reason);
}

/// Of the next one nobody has been told anything that counts.
void SMTPSender::releaseAll(const QString &reason)
{
    releaseMail(reason);
    if (m_next)
        m_queue->handBack(std::exchange(m_next, nullptr)->ticket());
}

void SMTPSender::tellRefusals(const QList<OutgoingRefusal> &refusals)
{
    if (refusals.isEmpty())
        return;
    m_queue->refused(m_mail->ticket(), refusals);
    for (const OutgoingRefusal &refusal : refusals) {
        const QString who = refusal.recipient.isEmpty() ? tr("Message %1").arg(m_number)
                                                        : QString::fromUtf8(refusal.recipient);
        const QString code = refusal.code > 0 ? QString::number(refusal.code) + u' ' : QString();
        addTrouble(who + u": "_s + code + refusal.text);
    }
}

/// What does not end the session but is told when it ends.
void SMTPSender::addTrouble(const QString &text)
{
    m_reason = AccountFetchReason::WithErrors;
    if (m_troubles.size() < kMostTroubles)
        m_troubles += text;
    else
        ++m_untoldTroubles;
}

void SMTPSender::showText(bool now)
{
    if (!now && m_sinceStatus.elapsed() < kStatusMilliseconds)
        return;
    m_sinceStatus.start();
    const qint64 size = std::max<qint64>(1, m_mail->text().size());
    const qint64 percent = std::min<qint64>(100, m_written * 100 / size);
    setStatus(tr("Sending message %1 of %2 (%3% of %4)...")
                  .arg(m_number)
                  .arg(m_total)
                  .arg(percent)
                  .arg(sizeText(size)),
              false);
    showProgress();
}

/// The sizes of messages that wait are not known, so bytes are told where there is one alone.
void SMTPSender::showProgress()
{
    const qint64 size = m_total == 1 && m_mail ? m_mail->text().size() : 0;
    emit progressed(std::min(m_written, size), size, m_done, m_total);
}
