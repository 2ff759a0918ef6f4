#pragma once

#include <QByteArray>
#include <QByteArrayView>

/// Takes a text out of the stream of a server that ends it with a line "." (RFC 1939 3): line ends become
/// "\n", doubled dots at the start of a line single ones, and the line end before the final dot is cut. All
/// other bytes stay as they came. The text is held once.
///
/// A dot ends the text only between two "\r\n". Some servers pass on bare "\n" of a message, and then a dot
/// behind one of them may stand in the message (and everything behind it be forged); there the end is
/// believed only when as many bytes have come as were announced or, where nothing was (a header), when no
/// line of the text has ended otherwise. A server that ends all its lines with a bare "\n" is taken at its
/// word.
class DotText
{
public:
    /// A text with more bytes than this is not taken.
    static constexpr qint64 kMostBytes = qint64(1) << 30;

    /// @p announced: the bytes of the text by the server's listing, which may be wrong; 0 or less: not known.
    /// @p bareLineEnds: the server's reply before the text ended with a bare "\n".
    void begin(qint64 announced, bool bareLineEnds);

    /// Takes what belongs to the text off the front of @p stream: all of it, or up to the final dot's line
    /// end. True: the text is complete.
    bool take(QByteArrayView &stream);

    /// More than kMostBytes came. The rest is to be thrown away with the connection.
    bool isTooLong() const { return m_octets > kMostBytes; }

    qint64 octets() const { return m_octets; } ///< of the text on the server, its line ends included
    qint64 lines() const { return m_lines; }

    /// The text; to be given back when its memory may serve for the next one.
    QByteArray takeText() { return std::exchange(m_text, {}); }
    void giveBack(QByteArray &&text);

private:
    bool takePiece(QByteArrayView &stream);
    bool addLine(const char *line, qsizetype length);
    bool addRestOfLine(const char *rest, qsizetype length);
    bool isEnd(const char *line, qsizetype length) const;
    qsizetype dotsToDrop(const char *line, qsizetype length) const;

    QByteArray m_text;
    char *m_out = nullptr;     ///< where the next byte goes, while a piece is taken
    qsizetype m_lineStart = 0; ///< of a line that came in part only
    bool m_isInLine = false;   ///< there is such a line
    bool m_bareLineEnds = false;
    bool m_afterCrLf = true; ///< the line before ended with "\r\n"
    bool m_hasCrLf = false;  ///< some line of the text did
    qint64 m_announced = 0;
    qint64 m_octets = 0;
    qint64 m_lines = 0;
};
