#include "message/mimepart.h"

#include "message/contenttypes.h"
#include "message/safename.h"

using namespace Qt::StringLiterals;

namespace {

struct CategoryRow
{
    const char *prefix; ///< of the type
    const char *ending; ///< of the type as well; empty fits all that the rows before left
    PartCategory category;
};

constexpr CategoryRow kCategories[] = {
    {"text/", "/plain", PlainTextPart},
    {"text/", "/html", HtmlPart},
    {"text/", "/x-vcard", VCardPart},
    {"text/", "", OtherTextPart},
    {"application/", "/pgp-encrypted", PgpEncryptedPart},
    {"application/", "/pgp-signature", PgpSignaturePart},
    {"image/", "", ImagePart},
    {"multipart/", "/digest", DigestPart},
    {"multipart/", "/alternative", AlternativePart},
    {"multipart/", "/encrypted", EncryptedPart},
    {"multipart/", "/signed", SignedPart},
    {"multipart/", "", MixedPart},
    {"message/", "/rfc822", MessagePart},
    {"message/", "/delivery-status", MessagePart},
    {"message/", "/partial", PartialPart},
    {"message/", "/news", NewsPart},
};

struct BareType
{
    const char *type;
    PartCategory category;
};

constexpr BareType kBareTypes[] = {
    {"text", PlainTextPart},
    {"multipart", MixedPart},
    {"message", MessagePart},
};

constexpr std::array kEncodings = {"", "7bit", "8bit", "binary", "quoted-printable", "base64", "x-uuencode"};
static_assert(kEncodings.size() == Uuencode + 1);

} // namespace

QString MIMEPart::displayName() const
{
    return name.isEmpty() ? u"Untitled"_s : name;
}

QString MIMEPart::fileName() const
{
    const QString safe = safeFileName(name);
    return name.isEmpty() ? safe + extensionOf(contenttype) : safe;
}

bool MIMEPart::isAttachment() const
{
    if (isMultipartCategory(type) || type == PgpEncryptedPart || type == PgpSignaturePart)
        return false;
    if (disposition == "attachment" || type == AttachmentPart)
        return true;
    return !isTextCategory(type) && !isEnclosedCategory(type) && contentid.isEmpty();
}

int categoryOf(QByteArrayView contenttype, QByteArrayView profile)
{
    if (contenttype == "text/directory" && profile.compare("vcard", Qt::CaseInsensitive) == 0)
        return VCardPart;
    for (const BareType &bare : kBareTypes) {
        if (contenttype == QByteArrayView(bare.type))
            return bare.category;
    }
    for (const CategoryRow &row : kCategories) {
        if (contenttype.startsWith(QByteArrayView(row.prefix)) &&
            contenttype.endsWith(QByteArrayView(row.ending)))
            return row.category;
    }
    return AttachmentPart;
}

int encodingOf(QByteArrayView name)
{
    if (name.isEmpty())
        return SevenBit;
    for (std::size_t code = SevenBit; code < kEncodings.size(); ++code) {
        if (name.compare(QByteArrayView(kEncodings[code]), Qt::CaseInsensitive) == 0)
            return int(code);
    }
    return 0;
}
