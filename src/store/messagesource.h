#pragma once

#include "store/overview.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>

/// A message as a mailbox on disk gives it.
struct IncomingMessage
{
    QByteArray text;               ///< "\n" line ends
    Marks marks;                   ///< what the mailbox remembered about it
    std::optional<qint64> arrival; ///< seconds since 1970 UTC, where the mailbox knows
    QString folder;                ///< below the place it is imported to; empty: right there
};

/// The messages of an mbox, a Maildir, a folder of message files or one message file, one after the other.
class MessageSource
{
public:
    virtual ~MessageSource() = default;

    enum class Outcome { Message, End, Failed };
    virtual Outcome next(IncomingMessage &message) = 0;

    /// What was passed over because it is no mail.
    virtual int skipped() const = 0;

    /// How far it is, in whatever unit; total may be 0 when it is not known.
    virtual qint64 done() const = 0;
    virtual qint64 total() const = 0;

    /// The source for @p path, told by looking at it. Null, with a sentence for the user in @p reason, when
    /// it is no mail or cannot be read.
    static std::unique_ptr<MessageSource> open(const QString &path, QString &reason);
};
