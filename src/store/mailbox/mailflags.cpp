#include "store/mailbox/mailflags.h"

namespace {

bool named(QByteArrayView name, QByteArrayView wanted)
{
    return name.size() == wanted.size() && name.compare(wanted, Qt::CaseInsensitive) == 0;
}

void addLetters(MailFlags &flags, QByteArrayView letters)
{
    flags.answered |= letters.contains('A');
    flags.flagged |= letters.contains('F');
    flags.deleted |= letters.contains('D');
    flags.draft |= letters.contains('T');
    flags.forwarded |= letters.contains('P');
}

void addBits(MailFlags &flags, uint bits)
{
    flags.read |= (bits & 0x0001) != 0;
    flags.answered |= (bits & 0x0002) != 0;
    flags.flagged |= (bits & 0x0004) != 0;
    flags.deleted |= (bits & 0x0008) != 0;
    flags.forwarded |= (bits & 0x1000) != 0;
}

} // namespace

MailFlags flagsOfHeader(QByteArrayView text)
{
    MailFlags flags;
    forEachField(text, [&flags](QByteArrayView name, QByteArrayView value) {
        if (named(name, "Status")) {
            flags.read |= value.contains('R');
            flags.deleted |= value.contains('D');
        } else if (named(name, "X-Status")) {
            addLetters(flags, value);
        } else if (named(name, "X-Mozilla-Status")) {
            bool ok = false;
            const uint bits = value.trimmed().toByteArray().toUInt(&ok, 16);
            addBits(flags, ok ? bits : 0);
        }
    });
    return flags;
}

qsizetype fieldName(QByteArrayView line, qsizetype &colon)
{
    constexpr qsizetype kLongestName = 76;
    const qsizetype most = qMin(line.size(), kLongestName + 1);
    qsizetype length = 0;
    while (length < most && line[length] > ' ' && line[length] < 127 && line[length] != ':')
        ++length;
    colon = length;
    while (colon < most && (line[colon] == ' ' || line[colon] == '\t'))
        ++colon;
    return colon < most && line[colon] == ':' ? length : 0;
}

bool looksLikeField(QByteArrayView line)
{
    qsizetype colon = 0;
    return fieldName(line, colon) > 0;
}
