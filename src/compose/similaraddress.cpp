#include "compose/similaraddress.h"

namespace {

QChar folded(QStringView text, qsizetype at)
{
    return text[at].toCaseFolded();
}

bool isOneSlipAway(QStringView a, QStringView b)
{
    if (a.size() > b.size())
        std::swap(a, b);
    if (b.size() - a.size() > 1)
        return false;
    qsizetype head = 0;
    while (head < a.size() && folded(a, head) == folded(b, head))
        ++head;
    qsizetype tail = 0;
    while (tail < a.size() - head && folded(a, a.size() - 1 - tail) == folded(b, b.size() - 1 - tail))
        ++tail;
    const qsizetype left = a.size() - head - tail;
    const qsizetype right = b.size() - head - tail;
    if (right == 0)
        return false; // the same
    const bool isExchanged = left == 2 && right == 2 && folded(a, head) == folded(b, head + 1) &&
                             folded(a, head + 1) == folded(b, head);
    return isExchanged || right == 1;
}

} // namespace

QString similarAddress(const QString &address, const QStringList &known)
{
    for (const QString &one : known)
        if (isOneSlipAway(address, one))
            return one;
    return {};
}
