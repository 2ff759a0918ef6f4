#pragma once

#include <QByteArray>
#include <QByteArrayView>

/// The compressed form of a message in a bin: a zlib stream (RFC 1950) behind the text's length as four
/// bytes, big-endian.

/// Compresses @p text if the result, length included, is smaller than @p limit bytes; empty otherwise. The
/// attempt is given up early when the first 64 KB show that it cannot get there.
QByteArray compressText(QByteArrayView text, qsizetype limit);

/// Decompresses a zlib stream (without the four bytes in front) that must give exactly @p length bytes. Null
/// when it does not; never allocates what the stream cannot produce.
QByteArray decompressText(QByteArrayView stream, quint32 length);

/// CRC-32 as in zlib.
quint32 crc32Of(QByteArrayView bytes);
