#pragma once

#include "store/mailbox/mailflags.h"

#include <QByteArray>

#include <optional>

class QIODevice;

/// Writes messages to an mbox: the separator line, two fields with the flags, the text in which every line
/// that matches `>*From ` has one more ">", and an empty line. MboxReader gives back the same bytes and
/// flags; other programs read the flags too. A text without a final line end gets one.
class MboxWriter
{
public:
    /// @p device is open for writing and outlives the writer.
    explicit MboxWriter(QIODevice &device);

    /// @p text has "\n" line ends, @p sender is a bare address (empty: MAILER-DAEMON), @p date seconds since
    /// 1970 UTC. False when the device did not take all of it; what was written then is of no use.
    [[nodiscard]] bool write(QByteArrayView text, QByteArrayView sender, qint64 date, const MailFlags &flags);

private:
    bool put(QByteArrayView bytes);

    QIODevice &m_device;
};

/// The two fields that follow the separator line in what MboxWriter writes: "Status: RO" for a read message,
/// else "Status: O", and "X-Status: " with the five places AFDTP (answered, flagged, deleted, draft,
/// forwarded), "-" where a flag is not set. Nobody else fills the places so, and they stand in front of the
/// header, so a message's own Status fields are never mistaken for them.
QByteArray ownStatusFields(const MailFlags &flags);

struct OwnStatus
{
    MailFlags flags;
    qsizetype length = 0; ///< of the two lines with their line ends
};

/// Reads the two fields at the start of @p text, whose line ends are "\r\n" if @p crlf. Nothing when they are
/// not there in exactly that form.
std::optional<OwnStatus> parseOwnStatus(QByteArrayView text, bool crlf);
