#include "compose/references.h"

#include "message/messageid.h"

#include <algorithm>

namespace {

constexpr qsizetype kMostIds = 24;
constexpr qsizetype kLongestId = 250;

bool isUsable(const QByteArray &id)
{
    const auto isInner = [](char c) { return c > ' ' && c < 0x7f && c != '<' && c != '>'; };
    return id.size() > 2 && id.size() <= kLongestId && id.startsWith('<') && id.endsWith('>') &&
           std::all_of(id.begin() + 1, id.end() - 1, isInner);
}

} // namespace

QList<QByteArray> usableIds(QByteArrayView field)
{
    QList<QByteArray> ids = messageIds(field);
    ids.removeIf([](const QByteArray &id) { return !isUsable(id); });
    return ids;
}

QByteArray answerInReplyTo(const Message &original)
{
    return usableIds(original.rawHeader("Message-ID")).value(0);
}

QByteArray answerReferences(const Message &original)
{
    QList<QByteArray> ids = usableIds(original.references());
    if (ids.isEmpty())
        ids = usableIds(original.rawHeader("In-Reply-To"));
    if (original.references().isEmpty() && ids.size() > 1)
        ids.clear(); // nobody knows which of them comes first
    const QByteArray parent = answerInReplyTo(original);
    ids.removeAll(parent);
    if (!parent.isEmpty())
        ids.append(parent);
    if (ids.size() > kMostIds)
        ids.remove(1, ids.size() - kMostIds);
    return ids.join(' ');
}
