#pragma once

#include "store/overview.h"

#include <QString>

/// How a record lies in a bin: "MSGD", the first twenty words of its overview, then the data.
namespace BinFormat {

constexpr char kMagic[] = {'M', 'S', 'G', 'D'};
constexpr qint64 kMagicSize = sizeof kMagic;
constexpr qint64 kHeaderSize = kMagicSize + Overview::kBinWords * 4;
static_assert(kHeaderSize == 84);

constexpr qint64 kFlagsOffset = 8; ///< of overview word 1 in the header

/// Positions are 32 bits; a bin is left for the next one long before, so that compacting one stays short.
constexpr qint64 kFullBin = 64 * 1024 * 1024;
constexpr qint64 kLargestBin = 0xffffffffLL;
constexpr qint64 kLongestText = 0x7fffffff - kHeaderSize;

inline QString binPath(const QString &directory, int bin)
{
    return directory + QStringLiteral("/Bin") + QString::number(bin);
}

inline QString cachePath(const QString &directory, int bin)
{
    return directory + QStringLiteral("/Headers") + QString::number(bin);
}

} // namespace BinFormat
