#pragma once

#include "message/mimepart.h"

#include <QHash>

#include <optional>
#include <vector>

/// The two halves of a multipart/signed (RFC 1847) and where they are in the list.
struct SignedParts
{
    QByteArray content;   ///< the signed bytes exactly, header lines included, with "\n" line ends
    QByteArray signature; ///< the signature after its transfer decoding
    int contentPart = -1;
    int signaturePart = -1;
};

/// The parts of a message as one flat list: message order, parents before their children. The multipart that
/// the message itself is stands for the whole list and is no entry of it (see type()); a message without
/// parts is one entry, and so are the uuencode and yEnc blocks behind the text that holds them.
///
/// The message's text is shared, not copied. At most 10,000 parts are listed and 100 levels are entered; what
/// lies beyond is one part 0x202, and truncated() says so.
class MIMEContext
{
public:
    /// Reads @p messageText ("\n" line ends). Anything has parts: what is broken is taken for what it most
    /// looks like, and no byte of the body gets lost. Time is linear in the text.
    static MIMEContext parse(const QByteArray &messageText);

    /// The category of the message itself, such as 0x603 for multipart/alternative.
    int type() const { return m_type; }
    const std::vector<MIMEPart> &parts() const { return m_parts; }
    int count() const { return int(m_parts.size()); }

    /// The part at @p index, which must be in the list.
    const MIMEPart &part(int index) const { return m_parts[std::size_t(index)]; }

    /// Whether the limits of depth, number or size were reached, so that some parts are not listed singly.
    bool truncated() const { return m_truncated; }

    /// The part whose Content-ID is @p id, with or without angle brackets; -1 when there is none.
    int indexOfContentId(QByteArrayView id) const;

    /// A parameter of a Content- field of a part (of the message itself for -1), as ("content-type",
    /// "micalg"); empty when there is none.
    QByteArray parameter(int index, QByteArrayView field, QByteArrayView name) const;

    /// The header lines of a part as they stand, and its content before any decoding. The views hold as long
    /// as this object does.
    QByteArrayView rawHeader(int index) const;
    QByteArrayView rawContent(int index) const;

    /// The content after its transfer decoding, an enclosed message's too; multiparts as they stand. Line
    /// ends inside an encoded part are the sender's own. What is broken is decoded as far as it goes; of a
    /// damaged yEnc block that is noted.
    QByteArray decodedBytes(int index) const;

    /// The content as text with "\n" line ends: in its character set, an unlabelled one as UTF-8 where it is
    /// valid UTF-8. Of HTML without a label a byte order mark or a <meta charset> in the first 1,024 bytes
    /// counts.
    QString decodedText(int index) const;

    /// The same without the lines of the uuencode and yEnc blocks that are listed as attachments; in
    /// @p charset, if it has a converter, whatever the part is labelled with. @p most bounds the bytes that
    /// are decoded of a long content; -1: all of them.
    QString displayText(int index, const QByteArray &charset = {}, qsizetype most = -1) const;

    /// The bytes of a part after transfer decoding and, for a text, its text.
    struct Content
    {
        QByteArray bytes;
        QString text;
    };
    Content decodedContent(int index) const;

    /// Writes the decoded content over @p path, whole or not at all. False after the warning "Unable to save
    /// decoded file".
    bool savePart(int index, const QString &path) const;

    /// The signed content and the signature of a multipart/signed: the message itself for -1, else a part
    /// with category 0x605. Empty when it is none or one half is missing.
    std::optional<SignedParts> signedParts(int index = -1) const;

    /// The list as lines for a log.
    QByteArray dump() const;

private:
    friend class MIMEParser;

    const QByteArray &source(const MIMEPart &part) const;
    QByteArray decode(const MIMEPart &part, QByteArrayView content) const;
    QString toText(const MIMEPart &part, const QByteArray &bytes, const QByteArray &wanted = {}) const;

    QByteArray m_text;
    std::vector<MIMEPart> m_parts;
    QHash<int, QByteArray> m_decoded; ///< kept where positions count in them, or where it saves work
    qsizetype m_headerLength = 0;     ///< of the message's own header
    int m_type = PlainTextPart;
    bool m_truncated = false;
};
