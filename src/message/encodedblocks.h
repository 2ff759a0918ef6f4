#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <vector>

/// One block inside a text that is no MIME part: uuencode or yEnc. Positions are bytes in the text; the block
/// includes its begin and end lines.
struct EncPart
{
    QByteArray name;      ///< as written
    int encoding = 0;     ///< TransferEncoding: Uuencode or Yenc
    int line = 0;         ///< characters on a line, announced by yEnc
    qint64 size = 0;      ///< bytes of the file, announced by yEnc
    qsizetype offset = 0; ///< of the begin line
    qsizetype length = 0;
    bool ended = false; ///< its end line is there
};

struct EncodedBlocks
{
    std::vector<EncPart> blocks; ///< in the order of the text, never overlapping
    bool pgp = false;            ///< an inline PGP block begins on some line
    bool truncated = false;      ///< more blocks than were asked for; the rest was left in the text
};

/// Looks through @p text once for at most @p most blocks. A uuencoded block without its "end" ends before the
/// first line that cannot be data, and is none when its first line cannot; one of yEnc without "=yend" runs
/// to the next "=ybegin" or to the end.
EncodedBlocks findEncodedBlocks(QByteArrayView text, int most);

/// Whether @p line opens a uuencoded block: "begin ", three digits, and a name.
bool isUuencodeBegin(QByteArrayView line, QByteArrayView *name = nullptr);

/// @p text without the blocks at the given places.
QByteArray withoutBlocks(QByteArrayView text, const std::vector<EncPart> &blocks);
