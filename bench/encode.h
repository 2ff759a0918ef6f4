#pragma once

#include "languages.h"

#include <QByteArray>
#include <QString>

/// What a mail program does to texts before it sends them.

/// @p text in the language's character set; it must fit.
QByteArray inCharset(const QString &text, const QByteArray &charset);

/// RFC 2045 section 6.7.
QByteArray quotedPrintable(const QByteArray &bytes);

/// In lines of 76 characters.
QByteArray base64Lines(const QByteArray &bytes);

QByteArray transferEncoded(const QByteArray &bytes, Transfer transfer);
const char *transferName(Transfer transfer);

/// The value of a header field: as it is when it is ASCII, else in encoded words, folded (RFC 2047).
QByteArray headerValue(const QString &text, const QByteArray &charset);
