#pragma once

#include <QByteArray>

#include <vector>

class MIMEContext;

/// A message ("\n" line ends) with the texts that a server would not take as they are in quoted-printable
/// (RFC 2045 6.7), the header fields of their parts with them: those that have bytes outside ASCII, unless
/// @p mayHaveEightBit, and those that have lines over 998 bytes. Enclosed messages are gone into; nothing
/// within multipart/signed and multipart/encrypted is touched (RFC 1847), nor what is encoded already.
class FittingMessage
{
public:
    FittingMessage(const QByteArray &message, bool mayHaveEightBit);

    /// Makes about @p bytes more of it. False: that was not all.
    bool write(qsizetype bytes);

    /// The message, once write() has made all of it.
    const QByteArray &written() const { return m_written; }

private:
    struct Edit
    {
        qsizetype at;
        qsizetype length;
        QByteArray text = {};  ///< takes the place of what is there
        bool isQuoted = false; ///< or that itself does, in quoted-printable
    };

    void lookAt(const MIMEContext &parts, int index);
    void setEncoding(qsizetype from, qsizetype end, const QByteArray &field);
    bool isWritten() const { return m_at == m_text.size() && m_edit == m_edits.size(); }
    void copyTo(qsizetype end, qsizetype most);
    void writeEdit(const Edit &edit, qsizetype most);
    void quote(qsizetype end, qsizetype most);

    const QByteArray m_text;
    const bool m_mayHaveEightBit;
    std::vector<Edit> m_edits;
    std::size_t m_edit = 0; ///< the next
    qsizetype m_at = 0;     ///< up to where the text is dealt with
    int m_column = 0;       ///< of the quoted line
    QByteArray m_written;
};

/// The most bytes that a line of a message may have on its way (RFC 5321 4.5.3.1.6), without its end.
constexpr qsizetype kLongestMailLine = 998;
