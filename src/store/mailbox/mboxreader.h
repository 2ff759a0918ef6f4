#pragma once

#include "store/mailbox/fromline.h"
#include "store/mailbox/mailflags.h"

#include <QByteArray>

#include <optional>

class QIODevice;

struct MboxMessage
{
    QByteArray text;            ///< "\n" line ends, the quoting of "From " lines undone, a final line end
    QByteArray sender;          ///< of the separator line; empty when there is none
    std::optional<qint64> date; ///< of the separator line, seconds since 1970 UTC
    MailFlags flags;
    qint64 start = 0; ///< the byte where its separator line begins
    qint64 end = 0;   ///< the byte behind it: where an interrupted import goes on
};

/// Reads the messages of an mbox one after the other, in memory for a message or two. The
/// dialects disagree; what holds here:
///
/// - A line "From ..." separates when it holds a date and follows an empty line (or, for writers that leave
///   the empty line out, when a header field follows it), or when it is "From sender" alone between an empty
///   line and a header field. All other "From " lines are text: mail is full of paragraphs that begin so.
/// - Content-Length is obeyed where a separator or the end of the file stands at its end. "From " lines left
///   unquoted in a text so delimited show that its writer never quotes, and its ">From " lines stay.
///   Everywhere else one ">" goes from every line that matches `>+From `.
/// - One empty line in front of a separator or the end belongs to the mailbox, not to the message.
/// - "\r\n" becomes "\n" when the separator line or the first line of the message ends so.
/// - Status, X-Status and X-Mozilla-Status give the flags and stay in the text.
/// - A message that begins with the two fields of MboxWriter is exact: the fields are taken off, a "\r" stays
///   unless the separator line has one too, Content-Length means nothing, and every "From " line separates.
/// - In front of the first separator, blank lines and a byte order mark are passed over, a text that begins
///   with header fields is a message, and anything else is skipped and noted.
/// - A separator with nothing behind it is no message; it is noted. So is a message over 2 GB.
class MboxReader
{
public:
    /// @p device is open for reading, can seek and outlives the reader. Its size now is the end; what is
    /// appended later is not seen.
    explicit MboxReader(QIODevice &device);

    enum class Outcome {
        Message,
        End,
        Failed, ///< the device gave less than its size; it has been noted
    };
    [[nodiscard]] Outcome next(MboxMessage &message);

    /// Goes on at @p position, the end of a message read earlier.
    void goOnAt(qint64 position);

    qint64 position() const { return m_position; }
    qint64 size() const { return m_size; }

    /// How many messages were passed over because they were empty or too large, or texts that were no mail.
    int skipped() const { return m_skipped; }

private:
    QByteArrayView window(qint64 position, qint64 wanted);
    void moveWindow(qint64 position, qint64 end);
    qint64 lineEnd(qint64 position);
    qint64 findSeparator(qint64 textStart, bool own);
    bool isSeparator(qint64 position, bool follows);
    bool followsEmptyLine(qint64 position);
    qint64 separatorAt(qint64 position);
    std::optional<qint64> contentEnd(qint64 textStart, qint64 limit);
    void skipToFirst();
    bool readOne(MboxMessage &message);
    bool readRange(qint64 start, qint64 end, QByteArray &bytes);
    void fail(qint64 position);
    void skip(const char *why, qint64 start, qint64 end);

    QIODevice &m_device;
    const qint64 m_size;
    qint64 m_position = 0;
    qint64 m_windowStart = 0;
    QByteArray m_window;
    FromLine m_fromLine;      ///< the one looked at last
    qint64 m_fromLineAt = -1; ///< and where it stands
    int m_skipped = 0;
    bool m_leading = true; ///< not yet at a separator
    bool m_failed = false;
};
