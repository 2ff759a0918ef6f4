#include "store/mailbox/mboxwriter.h"

#include "store/mailbox/fromline.h"

#include <QIODevice>

#include <array>

namespace {

struct Place
{
    char letter;
    bool MailFlags::*flag;
};

constexpr std::array<Place, 5> kPlaces = {{
    {'A', &MailFlags::answered},
    {'F', &MailFlags::flagged},
    {'D', &MailFlags::deleted},
    {'T', &MailFlags::draft},
    {'P', &MailFlags::forwarded},
}};

/// Takes @p start off the front of @p text, if it is there.
bool take(QByteArrayView &text, QByteArrayView start)
{
    if (!text.startsWith(start))
        return false;
    text = text.sliced(start.size());
    return true;
}

} // namespace

MboxWriter::MboxWriter(QIODevice &device)
    : m_device(device)
{}

bool MboxWriter::write(QByteArrayView text, QByteArrayView sender, qint64 date, const MailFlags &flags)
{
    if (!put(makeFromLine(sender, date) + ownStatusFields(flags)))
        return false;
    qsizetype written = 0;
    for (qsizetype line = nextFromLine(text, 0); line >= 0;) {
        if (!put(text.sliced(written, line - written)) || !put(">"))
            return false;
        written = line;
        line = nextFromLine(text, findBytes(text, kFromWord, line) + kFromWord.size());
    }
    if (!put(text.sliced(written)))
        return false;
    return put(text.isEmpty() || text.endsWith('\n') ? "\n" : "\n\n");
}

bool MboxWriter::put(QByteArrayView bytes)
{
    return m_device.write(bytes.data(), bytes.size()) == bytes.size();
}

QByteArray ownStatusFields(const MailFlags &flags)
{
    QByteArray fields = flags.read ? "Status: RO\nX-Status: " : "Status: O\nX-Status: ";
    for (const Place &place : kPlaces)
        fields += flags.*place.flag ? place.letter : '-';
    return fields + '\n';
}

std::optional<OwnStatus> parseOwnStatus(QByteArrayView text, bool crlf)
{
    const QByteArrayView lineEnd = crlf ? "\r\n" : "\n";
    const qsizetype before = text.size();
    OwnStatus own;
    if (!take(text, "Status: "))
        return {};
    own.flags.read = take(text, "R");
    if (!take(text, "O") || !take(text, lineEnd) || !take(text, "X-Status: "))
        return {};
    for (const Place &place : kPlaces) {
        own.flags.*place.flag = take(text, QByteArrayView(&place.letter, 1));
        if (!(own.flags.*place.flag) && !take(text, "-"))
            return {};
    }
    if (!take(text, lineEnd))
        return {};
    own.length = before - text.size();
    return own;
}
