#pragma once

#include <QByteArray>
#include <QList>

#include <optional>

/// A message as a server gave it.
struct ReceivedMessage
{
    QByteArray text;       ///< "\n" line ends, dots unstuffed
    QByteArray identifier; ///< the server's name for it, no blanks and no controls (the client escapes them)
    bool headerOnly = false; ///< @p text is only the header
    qint64 serverSize = 0;   ///< bytes that the whole has on the server
};

/// Where a message lies that waits for its body.
struct WaitingMessage
{
    int group = 0;
    quint32 article = 0;
};

/// Takes over what one account receives, in batches: store() any number of times, flush(), then the client
/// writes down what it has taken, then remembered(). Only after that may anything be deleted on the server.
/// One object serves one session; its destruction ends an open batch at a safe point.
class MailReceiver
{
public:
    virtual ~MailReceiver() = default;

    /// To be called first: the identifiers of messages that an interrupted session left in the store and had
    /// not yet written down; they come again until remembered(). Empty optional: the store cannot be used
    /// now, nothing may be fetched.
    virtual std::optional<QList<QByteArray>> recover() = 0;

    /// Adds @p message to the batch. False: it is not stored (reported already), and nothing may follow.
    [[nodiscard]] virtual bool store(const ReceivedMessage &message) = 0;

    /// Puts the whole @p message into the place of the one of which only the header was here, keeping its
    /// number and its marks; as part of the batch. Where the header is gone and the whole not here either, it
    /// is stored as a new message. A null @p place: the header is looked for. False as above.
    [[nodiscard]] virtual bool complete(const WaitingMessage &place, const ReceivedMessage &message) = 0;

    /// Makes everything of the batch safe on the disk.
    [[nodiscard]] virtual bool flush() = 0;

    /// After the client wrote down the identifiers of the batch, and those of recover(), also on the disk.
    virtual void remembered() = 0;
};
