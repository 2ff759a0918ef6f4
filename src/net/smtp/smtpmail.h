#pragma once

#include "net/outgoingqueue.h"
#include "net/smtp/envelope.h"
#include "net/smtp/smtptext.h"
#include "net/smtp/transferencoding.h"

#include <deque>
#include <memory>
#include <optional>

/// One message on its way: its recipients, those of the transaction that runs, and its text.
class SmtpMail
{
public:
    explicit SmtpMail(const OutgoingMessage &message);

    quint64 ticket() const { return m_ticket; }
    SmtpText &text() { return m_text; }

    /// Makes ready a part of the text, and looks at it. False: there is more to do.
    bool prepare();

    /// Begins to put the text, and its header, into an encoding that the server takes; to be prepared again.
    void reencode(bool mayHaveEightBit, bool mayBeUtf8);
    bool isReencoded() const { return m_isReencoded; }

    /// The server says anew what it takes.
    void forgetEncoding() { m_isReencoded = false; }

    /// None: the message names nobody who sends it.
    const std::optional<EnvelopeAddress> &sender() const { return m_sender; }

    /// Nothing about it needs a word of its own: everybody can be reached in ASCII.
    bool isPlain() const;

    /// Takes out of the recipients who cannot be served, with the reason.
    QList<OutgoingRefusal> takeUnusable(bool mayBeUtf8);
    bool hasWaiting() const { return !m_waiting.empty(); }

    /// @name One transaction
    /// @{

    /// Begins one for the next recipients, @p most of them.
    void begin(qsizetype most);
    qsizetype count() const { return m_recipients.size(); }
    bool needsUtf8() const;
    const EnvelopeAddress &recipient(qsizetype place) const { return m_recipients[place]; }

    /// The recipient whom the next answer to RCPT concerns; null once all are answered.
    const EnvelopeAddress *unanswered() const;
    void take();                                ///< the server takes that recipient
    void refuse(int code, const QString &text); ///< it does not
    void postpone();                            ///< it does in a further transaction
    void putBack();                             ///< the transaction never was: all of them wait again
    const QList<QByteArray> &taken() const { return m_taken; }
    QList<OutgoingRefusal> takeRefusals() { return std::exchange(m_refusals, {}); }

    /// The same refusal for @p recipients: one for the message as a whole where these are all that it has.
    QList<OutgoingRefusal> refusalFor(const QList<QByteArray> &recipients, int code,
                                      const QString &text) const;

    /// Those of the transaction that were not refused one by one.
    QList<QByteArray> unrefused() const;

    bool isMailRefused = false; ///< MAIL was, and the answers to the rest of a batch mean nothing
    bool isTextOut = false;     ///< all but the final dot
    bool isSending = false;     ///< the queue knows that the final dot is about to go out
    bool isSettled = false;     ///< and what became of it
    /// @}

private:
    const quint64 m_ticket;
    QByteArray m_message;
    SmtpText m_text;
    std::unique_ptr<FittingMessage> m_fitting; ///< while it is made
    bool m_isReencoded = false;
    std::optional<EnvelopeAddress> m_sender;
    qsizetype m_all = 0; ///< recipients at the beginning
    std::deque<EnvelopeAddress> m_waiting;
    QList<EnvelopeAddress> m_recipients; ///< of the transaction
    qsizetype m_answered = 0;
    qsizetype m_postponed = 0; ///< of these
    QList<QByteArray> m_taken;
    QList<OutgoingRefusal> m_refusals;
};
