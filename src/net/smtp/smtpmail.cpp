#include "net/smtp/smtpmail.h"

#include "net/smtp/headerencoding.h"

#include <QCoreApplication>

#include <algorithm>

namespace {

// in one pass of the event loop
constexpr qsizetype kSurveyBytes = 8 * 1024 * 1024;
constexpr qsizetype kEncodeBytes = 512 * 1024;

} // namespace

SmtpMail::SmtpMail(const OutgoingMessage &message)
    : m_ticket(message.ticket)
    , m_message(message.text)
    , m_text(message.text)
{
    const Envelope envelope = envelopeOf(message.text);
    if (envelope.sender)
        m_sender = envelopeAddress(*envelope.sender);
    for (const QByteArray &each : message.remaining.isEmpty() ? envelope.recipients : message.remaining)
        m_waiting.push_back(envelopeAddress(each));
    m_all = qsizetype(m_waiting.size());
}

bool SmtpMail::prepare()
{
    if (!m_fitting)
        return m_text.survey(kSurveyBytes);
    if (!m_fitting->write(kEncodeBytes))
        return false;
    m_message = m_fitting->written();
    m_text = SmtpText(m_message);
    m_fitting.reset();
    return m_text.survey(kEncodeBytes);
}

void SmtpMail::reencode(bool mayHaveEightBit, bool mayBeUtf8)
{
    m_fitting = std::make_unique<FittingMessage>(withEncodedHeader(m_message, mayBeUtf8), mayHaveEightBit);
    m_isReencoded = true;
}

bool SmtpMail::isPlain() const
{
    const auto isReached = [](const EnvelopeAddress &each) {
        return each.isUsable && !each.wire.isEmpty() && !each.needsUtf8;
    };
    return m_sender && m_sender->isUsable && !m_sender->needsUtf8 && !m_waiting.empty() &&
           std::all_of(m_waiting.begin(), m_waiting.end(), isReached) && !m_text.hasEightBitHeader();
}

QList<OutgoingRefusal> SmtpMail::takeUnusable(bool mayBeUtf8)
{
    QList<OutgoingRefusal> refusals;
    std::erase_if(m_waiting, [&](const EnvelopeAddress &each) {
        const bool isWritable = each.isUsable && !each.wire.isEmpty();
        if (isWritable && (mayBeUtf8 || !each.needsUtf8))
            return false;
        const QString reason =
            isWritable
                ? QCoreApplication::translate(
                      "SMTPSender", "The server takes no address with letters beyond ASCII before the '@'")
                : QCoreApplication::translate("SMTPSender", "This is no address that mail can be sent to");
        refusals.append({each.written, 0, reason});
        return true;
    });
    return refusals;
}

void SmtpMail::begin(qsizetype most)
{
    m_recipients.clear();
    for (; !m_waiting.empty() && m_recipients.size() < most; m_waiting.pop_front())
        m_recipients.append(m_waiting.front());
    m_answered = m_postponed = 0;
    m_taken.clear();
    m_refusals.clear();
    isMailRefused = isTextOut = isSending = isSettled = false;
    m_text.rewind();
}

bool SmtpMail::needsUtf8() const
{
    return m_text.hasEightBitHeader() || (m_sender && m_sender->needsUtf8) ||
           std::any_of(m_recipients.begin(), m_recipients.end(),
                       [](const EnvelopeAddress &each) { return each.needsUtf8; });
}

const EnvelopeAddress *SmtpMail::unanswered() const
{
    return m_answered < m_recipients.size() ? &m_recipients[m_answered] : nullptr;
}

void SmtpMail::take()
{
    m_taken.append(m_recipients[m_answered++].written);
}

void SmtpMail::refuse(int code, const QString &text)
{
    m_refusals.append({m_recipients[m_answered++].written, code, text});
}

void SmtpMail::postpone()
{
    m_waiting.push_back(m_recipients[m_answered++]);
    ++m_postponed;
}

void SmtpMail::putBack()
{
    m_waiting.resize(m_waiting.size() - std::size_t(m_postponed));
    m_waiting.insert(m_waiting.begin(), m_recipients.begin(), m_recipients.end());
    m_recipients.clear();
    begin(0);
}

QList<QByteArray> SmtpMail::unrefused() const
{
    QList<QByteArray> addresses = m_taken;
    for (qsizetype i = m_answered; i < m_recipients.size(); ++i)
        addresses.append(m_recipients[i].written);
    return addresses;
}

QList<OutgoingRefusal> SmtpMail::refusalFor(const QList<QByteArray> &recipients, int code,
                                            const QString &text) const
{
    if (recipients.size() == m_all)
        return {{{}, code, text}};
    QList<OutgoingRefusal> refusals;
    for (const QByteArray &each : recipients)
        refusals.append({each, code, text});
    return refusals;
}
