#include "net/pop3/poprecord.h"

#include <QCryptographicHash>
#include <QList>

#include <algorithm>

namespace {

constexpr qsizetype kLongestIdentifier = 140;
constexpr qsizetype kCheckLength = 8;

struct Flag
{
    char letter;
    bool PopRecord::*value;
};
constexpr Flag kFlags[] = {
    {'f', &PopRecord::isFetched},
    {'h', &PopRecord::isHeaderOnly},
    {'d', &PopRecord::isDeleted},
};

QByteArray check(QByteArrayView line)
{
    QCryptographicHash hash(QCryptographicHash::Blake2b_160);
    hash.addData(line);
    return hash.result().toHex().first(kCheckLength);
}

QByteArray flagsOf(const PopRecord &record)
{
    QByteArray flags;
    for (const Flag &flag : kFlags) {
        if (record.*flag.value)
            flags += flag.letter;
    }
    return flags.isEmpty() ? QByteArray("-") : flags;
}

bool isOwnName(const QByteArray &identifier)
{
    return identifier.startsWith("%=");
}

} // namespace

QByteArray popIdentifier(QByteArrayView raw)
{
    QByteArray identifier;
    identifier.reserve(std::min(raw.size(), kLongestIdentifier));
    for (const char byte : raw) {
        if (identifier.size() > kLongestIdentifier) // there may be millions more
            break;
        if (byte > 0x20 && byte < 0x7F && byte != '%')
            identifier += byte;
        else
            identifier += '%' + QByteArray(&byte, 1).toHex().toUpper();
    }
    if (identifier.size() <= kLongestIdentifier)
        return identifier;
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(raw);
    return "%#" + hash.result().toHex();
}

QByteArray madeIdentifier(qint64 size, const QByteArray &header, int ordinal)
{
    return "%=" + QByteArray::number(size) + '.' + header + '.' + QByteArray::number(ordinal);
}

QByteArray laterIdentifier(const QByteArray &identifier, qint64 taken)
{
    return identifier + "%~" + QByteArray::number(taken);
}

qint64 sizeInMadeIdentifier(const QByteArray &identifier)
{
    return isOwnName(identifier) ? identifier.mid(2, identifier.indexOf('.') - 2).toLongLong() : -1;
}

QByteArray headerInMadeIdentifier(const QByteArray &identifier)
{
    return isOwnName(identifier) ? identifier.split('.').value(1) : QByteArray();
}

QByteArray popLine(PopLineKind kind, const PopRecord &record)
{
    QByteArray line(1, char(kind));
    if (kind == PopLineKind::Mailbox)
        line += " 1 " + record.identifier;
    else if (kind == PopLineKind::Forgotten)
        line += ' ' + record.identifier;
    else
        line += ' ' + record.identifier + ' ' + QByteArray::number(record.taken) + ' ' +
                QByteArray::number(record.size) + ' ' + (record.header.isEmpty() ? "-" : record.header) +
                ' ' + flagsOf(record) + ' ' + QByteArray::number(record.refusals) + ' ' +
                QByteArray::number(record.absentSince) +
                (record.storedAs.isEmpty() ? QByteArray() : kStoredAsMark + record.storedAs);
    return check(line) + ' ' + line + '\n';
}

std::optional<PopLine> readPopLine(QByteArrayView line)
{
    if (line.size() < kCheckLength + 4 || line[kCheckLength] != ' ')
        return {};
    const QByteArrayView rest = line.sliced(kCheckLength + 1);
    if (line.first(kCheckLength) != check(rest))
        return {};
    const QList<QByteArray> fields = rest.toByteArray().split(' ');
    PopLine read;
    read.kind = PopLineKind(rest.front());
    PopRecord &record = read.record;
    switch (read.kind) {
    case PopLineKind::Mailbox: record.identifier = fields.value(2); return read;
    case PopLineKind::Forgotten: record.identifier = fields.value(1); return read;
    case PopLineKind::Message:
    case PopLineKind::Arriving: break;
    default: return {};
    }
    if (fields.size() < 8)
        return {};
    record.identifier = fields[1];
    record.taken = fields[2].toLongLong();
    record.size = fields[3].toLongLong();
    record.header = fields[4] == "-" ? QByteArray() : fields[4];
    for (const Flag &flag : kFlags)
        record.*flag.value = fields[5].contains(flag.letter);
    record.refusals = fields[6].toInt();
    record.absentSince = fields[7].toLongLong();
    if (fields.value(8).startsWith('='))
        record.storedAs = fields[8].mid(1);
    return read;
}
