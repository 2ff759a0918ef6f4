#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

/// What a part of a message is: its category (high byte the class, low byte the kind) and the encoding it
/// travels in. The numbers are the ones that windows, filters and `velmar-cli parse` show.

enum PartCategory : int {
    PlainTextPart = 0x101,
    HtmlPart = 0x102,
    VCardPart = 0x103,
    OtherTextPart = 0x104, ///< any other text, and text in a character set that nobody here can read
    AttachmentPart = 0x202,
    PgpEncryptedPart = 0x203,
    PgpSignaturePart = 0x204,
    ImagePart = 0x300,
    DigestPart = 0x601,
    MixedPart = 0x602,
    AlternativePart = 0x603,
    EncryptedPart = 0x604,
    SignedPart = 0x605,
    MessagePart = 0x701, ///< message/rfc822 and message/delivery-status
    PartialPart = 0x702,
    NewsPart = 0x703,
};

enum TransferEncoding : int {
    SevenBit = 1,
    EightBit,
    Binary,
    QuotedPrintable,
    Base64,
    Uuencode,
    Yenc, ///< only of a block found inside a text, never taken from a header
};

constexpr bool isTextCategory(int category)
{
    return category >> 8 == 1;
}
constexpr bool isMultipartCategory(int category)
{
    return category >> 8 == 6;
}
/// Whether the content is a message of its own, whose parts follow in the list.
constexpr bool isEnclosedCategory(int category)
{
    return category == MessagePart || category == NewsPart;
}

/// One entry of a message's part list. Positions and lengths are bytes.
struct MIMEPart
{
    QString name;               ///< file name as the sender gave it, decoded; never a path to trust
    QString desc;               ///< Content-Description, decoded
    QByteArray contenttype;     ///< lower case, "text/plain" when the part names none
    QByteArray charset;         ///< lower case; of a text, "iso-8859-1" for none and for "us-ascii"
    QByteArray contentid;       ///< as written, with its angle brackets
    QByteArray contentlocation; ///< as written
    int encoding = SevenBit;    ///< TransferEncoding
    int type = AttachmentPart;  ///< PartCategory
    qsizetype hdroffset = 0;    ///< start of the part's own header lines
    qsizetype offset = 0;       ///< start of its content
    qsizetype length = 0;
    bool needsstrip = false; ///< holds a PGP armour, or is a block with its begin and end lines
    int within = -1;         ///< the part in whose decoded bytes the positions count; -1 the message's text

    int parent = -1;        ///< the part it stands in; -1 the message itself
    QByteArray disposition; ///< lower case: "inline", "attachment" or empty
    bool labelled = false;  ///< the sender named a character set other than "us-ascii"
    bool flowed = false;    ///< text/plain; format=flowed (RFC 3676)
    bool delsp = false;     ///< the blank before a soft line break of a flowed text goes too

    /// The name for people: "Untitled" when there is none.
    QString displayName() const;

    /// A name to save it under: safe in any directory, with the type's extension when the part has no name.
    QString fileName() const;

    /// Whether a person would call it an attachment, rather than a piece of the text or of the frame.
    bool isAttachment() const;
};

/// The category of @p contenttype (lower case); @p profile is the parameter of that name, for text/directory.
int categoryOf(QByteArrayView contenttype, QByteArrayView profile = {});

/// The code of a Content-Transfer-Encoding in any case; 1 for an empty one, 0 for one that is not known.
int encodingOf(QByteArrayView name);
