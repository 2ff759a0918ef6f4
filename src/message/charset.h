#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

/// Character sets by the names that mail uses. A name that is not made of letters, digits and ". _ : + -", or
/// that means the machine's own set, has no converter.

/// Whether texts in @p charset can be read; case does not matter.
bool hasConverter(QByteArrayView charset);

/// @p bytes as text. Bytes that mean nothing in the set become U+FFFD, and a character cut at the end is one
/// of them. Empty when the set has no converter.
std::optional<QString> decodeCharset(QByteArrayView bytes, QByteArrayView charset);

/// @p text in @p charset; empty when the set has no converter or a character does not fit into it.
std::optional<QByteArray> encodeCharset(const QString &text, QByteArrayView charset);

/// Bytes of a header or a text that names no character set, or one without a converter: UTF-8 when they are
/// valid UTF-8, else @p fallback if that has a converter, else windows-1252. Control characters survive.
QString decodeUnlabelled(QByteArrayView bytes, QByteArrayView fallback = {});

/// Whether @p bytes are valid UTF-8 (RFC 3629); ASCII is.
bool isUtf8(QByteArrayView bytes);
