#pragma once

#include "compose/composition.h"
#include "message/mimepart.h"

#include <optional>
#include <vector>

/// A part of a body as it is going to be written: its Content- lines, and its content or its parts. The bytes
/// are shared with the attachment they come from and encoded straight into the message.
struct BodyPart
{
    QByteArray fields;                    ///< each with its "\n"
    QByteArray content;                   ///< not yet encoded
    TransferEncoding encoding = SevenBit; ///< that it is written in; Uuencode and Yenc: a block in a text
    QByteArray name;                      ///< of such a block
    QByteArray boundary;                  ///< of a multipart
    std::vector<BodyPart> parts;          ///< of a multipart; of a text the blocks behind it
};

/// How texts are written.
struct TextRules
{
    QByteArray charset;           ///< wanted; UTF-8 where a text does not fit, unless it is forced
    bool quotedPrintable = false; ///< for all that is not ASCII
    bool sevenBit = false;        ///< nothing may be changed on its way: it gets signed (RFC 3156 section 3)
    bool isForced = false;        ///< what does not fit into charset goes as "?", in HTML as its number
};

/// A text of type "text/" + @p subtype.
BodyPart textPart(const QString &text, const char *subtype, const TextRules &rules);

/// The plain text with the attachments as blocks behind it. Empty: the text cannot go as it is, and beside a
/// transfer encoding there are no blocks.
std::optional<BodyPart> textWithBlocks(const QString &text, const QList<Attachment> &attachments,
                                       AttachmentForm form, TextRules rules);

enum class Disposition { Attachment, Inline };

BodyPart attachmentPart(const Attachment &attachment, Disposition disposition, const TextRules &rules);

/// "multipart/" + @p subtype around @p parts; @p parameters as "type=\"text/html\"".
BodyPart multipart(const char *subtype, std::vector<BodyPart> parts, const QByteArrayList &parameters = {});

/// The bytes that appendPart() adds, or a little more; with a text in quoted-printable perhaps less.
qsizetype writtenSize(const BodyPart &part);

/// Adds the Content- lines, an empty line and the content, ending in "\n" where it is a text of its own.
void appendPart(QByteArray &out, const BodyPart &part);
