#pragma once

#include <QByteArray>
#include <QByteArrayView>

/// The text of a message on its way out: without what no recipient may see (Bcc, the internal control
/// headers), its lines ended by "\n" alone, handed out in blocks so that a large one is not there twice. A
/// bare CR is a blank in the header and a line end in the body; none leaves.
class SmtpText
{
public:
    SmtpText() = default;

    /// Shares @p message.
    explicit SmtpText(const QByteArray &message);

    /// @name What is known of it once survey() has seen it all
    /// @{

    /// Looks at about @p bytes more of it. False: not everything was looked at yet.
    bool survey(qsizetype bytes);

    qint64 size() const { return m_size; } ///< RFC 1870: with "\r\n", without doubled dots and the final one
    bool hasEightBitHeader() const { return m_hasEightBitHeader; }
    bool hasEightBitBody() const { return m_hasEightBitBody; }
    qsizetype longestLine() const { return m_longestLine; } ///< bytes without its end
    /// @}

    /// @name The way out; may be gone several times
    /// @{
    void rewind() { m_at = 0; }
    bool atEnd() const { return m_at >= m_header.size() + m_body.size(); }

    /// About @p bytes more of it, in whole lines.
    QByteArray take(qsizetype bytes) { return takeBlock(m_at, bytes); }
    /// @}

private:
    QByteArray takeBlock(qsizetype &at, qsizetype bytes) const;

    QByteArray m_message; ///< keeps the body alive
    QByteArray m_header;  ///< what of it goes out, the empty line included
    QByteArrayView m_body;
    qsizetype m_at = 0;       ///< counted over header and body
    qsizetype m_surveyed = 0; ///< the same
    qint64 m_size = 0;
    qsizetype m_longestLine = 0;
    bool m_hasEightBitHeader = false;
    bool m_hasEightBitBody = false;
};
