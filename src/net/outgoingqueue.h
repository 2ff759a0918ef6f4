#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

/// A message that waits to be sent through one account, handed out to one sender at a time.
struct OutgoingMessage
{
    quint64 ticket = 0; ///< names it to the queue
    QByteArray text;    ///< "\n" line ends, the internal control headers included; Date is that of now

    /// Envelope recipients that are still to be served, when an earlier attempt served some; empty: all that
    /// the message names.
    QList<QByteArray> remaining;
};

/// What a server said about one recipient, or about the message for all of them.
struct OutgoingRefusal
{
    QByteArray recipient; ///< bare address; empty: the message was refused as a whole
    int code = 0;         ///< the reply's, as 550; 0: the sender itself refuses it (no recipients, a local
                          ///< part that the server cannot take)
    QString text;         ///< the reply's text, or the reason in words

    bool isTemporary() const { return code >= 400 && code < 500; }
};

/// Hands the waiting messages of accounts to their senders. sending() is on the disk when it returns, and
/// what a server said of it soon after: so nothing is ever sent twice, whenever the program ends.
class OutgoingQueue
{
public:
    virtual ~OutgoingQueue() = default;

    /// Messages that wait for @p account and may go now: wanted (`AutoSend`, or the user),
    /// not held, not waiting for a later try, not leased.
    virtual int waiting(int account) const = 0;

    /// Leases the next of them; nobody else sees it until it is settled. Empty: there is none.
    virtual std::optional<OutgoingMessage> next(int account) = 0;

    /// Whether what is going to be said of that message can be written down; asked before each transaction,
    /// so that no text is carried to a server in vain. False, after a report: it waits, as all others.
    virtual bool hasRoom(quint64 ticket)
    {
        Q_UNUSED(ticket)
        return true;
    }

    /// The bytes that hold the final dot are about to go out, for @p recipients. False, after a report: this
    /// could not be written down, they must not go.
    [[nodiscard]] virtual bool sending(quint64 ticket, const QList<QByteArray> &recipients) = 0;

    /// The server took the text for @p recipients.
    virtual void accepted(quint64 ticket, const QList<QByteArray> &recipients) = 0;

    /// It did not, for these; the message is not sent to them. After sending() it takes that back.
    virtual void refused(quint64 ticket, const QList<OutgoingRefusal> &refusals) = 0;

    /// The end of the lease. What was neither accepted nor refused waits further; what is in "sending" then
    /// is perhaps sent, goes again only by hand, and is told with @p reason.
    virtual void release(quint64 ticket, const QString &reason) = 0;

    /// The same for one of which nothing was tried: it waits as if it had not been leased.
    virtual void handBack(quint64 ticket) { release(ticket, {}); }
};
