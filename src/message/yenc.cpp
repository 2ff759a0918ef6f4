#include "message/yenc.h"

#include "message/lineends.h"

namespace {

constexpr std::array<quint32, 256> crcTable()
{
    std::array<quint32, 256> table{};
    for (quint32 index = 0; index < 256; ++index) {
        quint32 value = index;
        for (int bit = 0; bit < 8; ++bit)
            value = value & 1 ? value >> 1 ^ 0xedb88320 : value >> 1;
        table[index] = value;
    }
    return table;
}
constexpr std::array<quint32, 256> kCrc = crcTable();

/// The word behind " KEY=" of a control line; empty when it is not there.
QByteArrayView attribute(QByteArrayView line, QByteArrayView key)
{
    for (qsizetype at = line.indexOf(key); at > 0; at = line.indexOf(key, at + 1)) {
        if (line[at - 1] != ' ')
            continue;
        const QByteArrayView value = line.sliced(at + key.size());
        const qsizetype blank = value.indexOf(' ');
        return blank < 0 ? value : value.first(blank);
    }
    return {};
}

qint64 number(QByteArrayView line, QByteArrayView key)
{
    return std::max<qint64>(0, attribute(line, key).toByteArray().toLongLong());
}

void decodeLine(QByteArrayView line, char *&out)
{
    const char *end = line.end();
    for (const char *in = line.begin(); in < end; ++in) {
        if (*in == '=' && ++in < end)
            *out++ = char(*in - 64 - 42);
        else if (in < end)
            *out++ = char(*in - 42);
    }
}

/// Reads what the "=ybegin" line tells, without the name: nothing behind that is an attribute.
void readBegin(QByteArrayView line, YencBlock &block)
{
    const qsizetype name = line.indexOf(" name=");
    const QByteArrayView numbers = line.first(name < 0 ? line.size() : name);
    block.name = name < 0 ? QByteArray() : line.sliced(name + 6).trimmed().toByteArray();
    block.line = int(std::min<qint64>(number(numbers, "line="), 1 << 20));
    block.size = number(numbers, "size=");
    block.part = int(std::min<qint64>(number(numbers, "part="), 1 << 30));
    block.total = int(std::min<qint64>(number(numbers, "total="), 1 << 30));
}

/// Compares what came out with what the "=yend" line announces.
void checkEnd(QByteArrayView line, YencBlock &block)
{
    block.ended = true;
    const bool piece = block.part > 0;
    const qint64 announced = piece && block.end >= block.begin ? block.end - block.begin + 1 : block.size;
    block.sizeMatches = block.bytes.size() == announced && block.bytes.size() == number(line, "size=");
    // "crc32" of a piece is that of the whole file, which is not here.
    const QByteArrayView given = attribute(line, piece ? "pcrc32=" : "crc32=");
    bool readable = false;
    const quint32 expected = given.toByteArray().toUInt(&readable, 16);
    if (readable)
        block.crcMatches = crc32(block.bytes) == expected;
}

} // namespace

quint32 crc32(QByteArrayView bytes)
{
    quint32 value = 0xffffffff;
    for (const char byte : bytes)
        value = kCrc[(value ^ quint8(byte)) & 0xff] ^ value >> 8;
    return ~value;
}

bool isYencBegin(QByteArrayView line, QByteArrayView *name)
{
    if (!line.startsWith("=ybegin "))
        return false;
    const qsizetype at = line.indexOf("name=");
    if (at < 0 || !line.contains("line=") || !line.contains("size="))
        return false;
    if (name)
        *name = line.sliced(at + 5).trimmed();
    return true;
}

YencBlock decodeYenc(QByteArrayView encoded)
{
    YencBlock block;
    QByteArrayView rest = encoded;
    QByteArrayView first;
    do
        first = takeLine(rest);
    while (!rest.isEmpty() && !isYencBegin(first));
    readBegin(first, block);

    block.bytes.resize(rest.size());
    char *out = block.bytes.data();
    QByteArrayView last;
    while (!rest.isEmpty() && last.isEmpty()) {
        const QByteArrayView line = takeLine(rest);
        if (line.startsWith("=yend ")) {
            last = line;
        } else if (line.startsWith("=ypart ")) {
            block.begin = number(line, "begin=");
            block.end = number(line, "end=");
        } else {
            decodeLine(line, out);
        }
    }
    block.bytes.truncate(out - block.bytes.constData());
    if (!last.isEmpty())
        checkEnd(last, block);
    return block;
}
