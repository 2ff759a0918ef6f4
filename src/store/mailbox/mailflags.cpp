#include "store/mailbox/mailflags.h"

namespace {

bool named(QByteArrayView name, QByteArrayView wanted)
{
    return name.compare(wanted, Qt::CaseInsensitive) == 0;
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
            const uint bits = value.toByteArray().toUInt(&ok, 16);
            addBits(flags, ok ? bits : 0);
        }
    });
    return flags;
}

bool looksLikeField(QByteArrayView line)
{
    constexpr qsizetype kLongestName = 76;
    qsizetype at = 0;
    while (at < line.size() && at < kLongestName && line[at] > ' ' && line[at] < 127 && line[at] != ':')
        ++at;
    const bool named = at > 0;
    while (at < line.size() && at < kLongestName && (line[at] == ' ' || line[at] == '\t'))
        ++at;
    return named && at < line.size() && line[at] == ':';
}
