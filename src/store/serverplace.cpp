#include "store/serverplace.h"

#include <QList>

#include <algorithm>

namespace {

constexpr char kField[] = "X-Velmar-On-Server:";
constexpr qsizetype kPiece = 900; ///< below the 998 bytes that a line may have (RFC 5322 2.1.1)

bool isPlain(QByteArrayView identifier)
{
    return !identifier.isEmpty() && std::all_of(identifier.begin(), identifier.end(),
                                                [](char c) { return uchar(c) > ' ' && c != 0x7f; });
}

/// The first field of @p text with its further lines, without its name and without line ends. Only a piece
/// that fills its line goes on in the next: the header behind the field may begin with a blank.
QByteArray firstField(QByteArrayView text)
{
    QByteArray value;
    qsizetype start = qsizetype(sizeof kField) - 1;
    while (start < text.size()) {
        qsizetype end = text.indexOf('\n', start);
        end = end < 0 ? text.size() : end;
        const QByteArrayView line = text.sliced(start, end - start);
        value += line;
        start = end + 1;
        const bool goesOn = line.size() - line.lastIndexOf(' ') - 1 == kPiece;
        if (!goesOn || start >= text.size() || text[start] != ' ')
            break;
    }
    return value;
}

} // namespace

QByteArray withServerPlace(const ServerPlace &place, QByteArrayView header)
{
    if (!isPlain(place.identifier))
        return {};
    QByteArray text =
        kField + (' ' + QByteArray::number(place.account)) + ' ' + QByteArray::number(place.size);
    text.reserve(text.size() + place.identifier.size() + place.identifier.size() / kPiece * 2 + 4 +
                 header.size());
    for (qsizetype at = 0; at <= place.identifier.size(); at += kPiece) { // behind a full piece an empty one
        text += at == 0 ? " " : "\n ";
        text += QByteArrayView(place.identifier).sliced(at, std::min(kPiece, place.identifier.size() - at));
    }
    text += '\n';
    text += header;
    return text;
}

std::optional<ServerPlace> serverPlaceOf(QByteArrayView text)
{
    if (!text.startsWith(kField))
        return {};
    const QList<QByteArray> words = firstField(text).trimmed().split(' ');
    if (words.size() < 3)
        return {};
    bool hasAccount = false;
    bool hasSize = false;
    ServerPlace place{words[0].toInt(&hasAccount), words[1].toLongLong(&hasSize), words.sliced(2).join()};
    if (!hasAccount || !hasSize || place.size < 0 || !isPlain(place.identifier))
        return {};
    return place;
}
