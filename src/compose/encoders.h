#pragma once

#include <QByteArray>
#include <QByteArrayView>

/// The transfer encodings for writing. Lines end in "\n". Each form comes twice: appended to a text that is
/// being built, so that a large attachment exists once more and not twice, and by itself.

/// Base64 (RFC 2045 section 6.8) in lines of 76.
void appendBase64Lines(QByteArray &out, QByteArrayView bytes);
QByteArray encodeBase64Lines(QByteArrayView bytes);

/// How many bytes that is for so many.
qsizetype base64LinesSize(qsizetype bytes);

/// Quoted-printable (RFC 2045 section 6.7): "=%02X", "=20" before a line end, "=\n" within 76. A line end
/// behind a CR belongs to the data and is written "=0A=\n", so that it comes back as it was. The F of "From "
/// that begins a line is escaped: transports put a ">" before it.
void appendQuotedPrintable(QByteArray &out, QByteArrayView text);
QByteArray encodeQuotedPrintable(QByteArrayView text);

/// "begin 644 " to "end\n". Line ends in @p name become blanks; the same in the next.
void appendUuencodeBlock(QByteArray &out, QByteArrayView bytes, const QByteArray &name);
QByteArray encodeUuencodeBlock(QByteArrayView bytes, const QByteArray &name);

/// "=ybegin" to "=yend", lines of 128. What transports change is escaped as well: a dot that begins a line,
/// blanks and tabs at either end of one.
void appendYencBlock(QByteArray &out, QByteArrayView bytes, const QByteArray &name);
QByteArray encodeYencBlock(QByteArrayView bytes, const QByteArray &name);

/// Whether @p text may travel as it is: no line over 998 bytes (RFC 5322 2.1.1), no CR, no NUL.
bool canGoUnencoded(QByteArrayView text);
