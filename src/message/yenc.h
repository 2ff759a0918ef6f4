#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

/// A yEnc block: what its lines "=ybegin", "=ypart" and "=yend" announce, and what came out.
struct YencBlock
{
    QByteArray bytes;               ///< all that is there, also when it is less or more than announced
    QByteArray name;                ///< the rest of the line behind "name="
    qint64 size = 0;                ///< of the whole file
    int line = 0;                   ///< characters on a line
    int part = 0;                   ///< from 1; 0 when the file is in one piece
    int total = 0;                  ///< pieces, 0 when not told
    qint64 begin = 0;               ///< place of the piece in the file, from 1
    qint64 end = 0;                 ///< its last byte
    bool ended = false;             ///< the "=yend" line is there
    bool sizeMatches = false;       ///< as many bytes as the lines announce
    std::optional<bool> crcMatches; ///< empty when no checksum was given for these bytes

    /// Nothing is missing and nothing disagrees.
    bool isIntact() const { return ended && sizeMatches && crcMatches.value_or(true); }
};

/// Decodes the block that begins with @p encoded's first "=ybegin " line.
YencBlock decodeYenc(QByteArrayView encoded);

/// Whether @p line opens a block: "=ybegin " with line, size and name. The name is left in @p name.
bool isYencBegin(QByteArrayView line, QByteArrayView *name = nullptr);

/// The checksum that yEnc uses (CRC-32 as in ISO 3309).
quint32 crc32(QByteArrayView bytes);
