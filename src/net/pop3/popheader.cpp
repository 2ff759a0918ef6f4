#include "net/pop3/popheader.h"

#include <QCryptographicHash>

#include <algorithm>
#include <array>

namespace {

/// What servers that keep mailboxes in files write into them.
constexpr std::array<QByteArrayView, 7> kServersOwn = {
    "Status", "X-Status", "X-Keywords", "X-UID", "X-UIDL", "X-IMAPbase", "Content-Length",
};

QByteArrayView headerOf(QByteArrayView text)
{
    if (text.startsWith('\n'))
        return {};
    const qsizetype end = text.indexOf("\n\n");
    QByteArrayView header = end < 0 ? text : text.first(end);
    while (header.endsWith('\n'))
        header.chop(1);
    return header;
}

bool isServersOwn(QByteArrayView line)
{
    if (line.isEmpty() ||
        ((line.front() | 0x20) != 's' && (line.front() | 0x20) != 'x' && (line.front() | 0x20) != 'c'))
        return false;
    return std::any_of(kServersOwn.begin(), kServersOwn.end(), [line](QByteArrayView name) {
        return line.size() > name.size() && line[name.size()] == ':' &&
               line.first(name.size()).compare(name, Qt::CaseInsensitive) == 0;
    });
}

} // namespace

QByteArray headerDigest(QByteArrayView text)
{
    QCryptographicHash hash(QCryptographicHash::Blake2b_256);
    QByteArrayView rest = headerOf(text);
    qsizetype start = 0; // of the lines that are not yet in the digest
    qsizetype at = 0;
    bool leavingOut = false;
    while (at < rest.size()) {
        const qsizetype found = rest.indexOf('\n', at);
        const qsizetype end = found < 0 ? rest.size() : found + 1;
        const QByteArrayView line = rest.sliced(at, end - at);
        const bool folded = line.front() == ' ' || line.front() == '\t';
        leavingOut = (folded && leavingOut) || (!folded && isServersOwn(line));
        if (leavingOut) {
            hash.addData(rest.sliced(start, at - start));
            start = end;
        }
        at = end;
    }
    if (start < rest.size()) {
        hash.addData(rest.sliced(start));
        hash.addData(QByteArrayView("\n")); // as if the line were not the last
    }
    return hash.result().first(16).toHex();
}
