#pragma once

#include <QByteArray>
#include <QByteArrayView>

/// The transfer encodings for writing. Lines end in "\n".

QByteArray encodeBase64Lines(QByteArrayView bytes);    ///< lines of 76
QByteArray encodeQuotedPrintable(QByteArrayView text); ///< "=%02X", "=20" before a line end, "=\n" within 76
QByteArray encodeUuencodeBlock(QByteArrayView bytes, const QByteArray &name); ///< "begin 644 " to "end\n"
QByteArray encodeYencBlock(QByteArrayView bytes, const QByteArray &name);     ///< "=ybegin" to "=yend"

/// Whether @p text may travel as it is: no line over 998 bytes (RFC 5322 2.1.1), no CR, no NUL.
bool canGoUnencoded(QByteArrayView text);
