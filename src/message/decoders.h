#pragma once

#include <QByteArray>
#include <QByteArrayView>

/// The transfer decodings. All of them take what mail really holds: what is broken is skipped or kept as it
/// stands, nothing fails, and time is linear. Line ends are "\n"; a "\r" before one is tolerated.

/// Base64 (RFC 2045 section 6.8). Bytes outside the alphabet are skipped; padding may be missing, or stand in
/// the middle where texts were joined. Lines behind the padding that are no base64, such as the footer of a
/// mailing list, end it.
QByteArray decodeBase64(QByteArrayView encoded);

/// Quoted-printable (RFC 2045 section 6.7): soft line breaks joined, blanks at line ends dropped. An "=" that
/// is no escape stays.
QByteArray decodeQuotedPrintable(QByteArrayView encoded);

/// A uuencoded block. Lines before "begin " (if there is one) and behind "end" are not looked at. Blanks lost
/// at line ends count as zeros; lines that are no data are skipped.
QByteArray decodeUuencode(QByteArrayView encoded);

/// Whether @p line, without its end, can be a line of uuencoded data.
bool isUuencodeLine(QByteArrayView line);
