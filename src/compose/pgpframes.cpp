#include "compose/headerwriter.h"
#include "compose/messagebuilder.h"

namespace {

constexpr char kPreamble[] = "This message is in MIME format.\n";

/// "multipart/" and what stands behind it, then an empty line and the preamble.
QByteArray frameBegin(const QByteArray &subtype, const QByteArray &boundary, const QByteArrayList &parameters)
{
    QByteArray text;
    FoldedField field(text, "Content-Type");
    field.add("multipart/" + subtype + ';');
    field.add("boundary=\"" + boundary + "\";");
    for (qsizetype i = 0; i < parameters.size(); ++i)
        field.add(i + 1 < parameters.size() ? parameters.at(i) + ';' : parameters.at(i));
    field.end();
    return text + '\n' + kPreamble;
}

QByteArray withLineEnd(const QByteArray &text)
{
    return text.endsWith('\n') ? text : text + '\n';
}

} // namespace

QByteArray signedBody(const QByteArray &signedPart, const QByteArray &signature, const QByteArray &micalg)
{
    const QByteArray boundary = newBoundary({signedPart, signature});
    // The line end before a boundary belongs to the boundary (RFC 2046 5.1.1): what was signed keeps its own.
    return frameBegin("signed", boundary, {"micalg=" + micalg, "protocol=\"application/pgp-signature\""}) +
           "--" + boundary + '\n' + signedPart + "\n--" + boundary +
           "\nContent-Type: application/pgp-signature\n\n" + withLineEnd(signature) + "--" + boundary +
           "--\n";
}

QByteArray encryptedBody(const QByteArray &armoured)
{
    const QByteArray boundary = newBoundary({armoured});
    return frameBegin("encrypted", boundary, {"protocol=\"application/pgp-encrypted\""}) + "--" + boundary +
           "\nContent-Type: application/pgp-encrypted\n\nVersion: 1\n\n--" + boundary +
           "\nContent-Type: application/octet-stream\n\n" + withLineEnd(armoured) + "--" + boundary + "--\n";
}
