#include "ui/reader/cardtexts.h"

#include "ui/texts/harmless.h"

#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

constexpr int kMostLines = 40;
constexpr qsizetype kLongestLine = 400;
constexpr auto kMailto = "mailto:"_L1;

} // namespace

QString harmlessLines(QStringView text)
{
    QStringList lines;
    for (qsizetype start = 0; start <= text.size();) {
        const qsizetype found = text.indexOf(u'\n', start);
        const qsizetype end = found < 0 ? text.size() : found;
        if (lines.size() >= kMostLines) {
            lines.append(u"…"_s);
            break;
        }
        lines.append(harmlessLine(text.sliced(start, end - start), kLongestLine));
        start = end + 1;
    }
    return lines.join(u'\n').trimmed();
}

QString mailtoTarget(const QString &address)
{
    const qsizetype at = address.lastIndexOf(u'@');
    if (at <= 0 || at == address.size() - 1)
        return {};
    return kMailto + QString::fromLatin1(QUrl::toPercentEncoding(address, "@+"));
}

QString addressOf(const QString &value)
{
    if (!value.startsWith(kMailto, Qt::CaseInsensitive))
        return value;
    const QString rest = value.sliced(kMailto.size()).section(u'?', 0, 0);
    return QUrl::fromPercentEncoding(rest.toUtf8());
}

int wrapFlags(const QFontMetrics &metrics, const QString &text, int width)
{
    const QStringList words = text.split(u' ');
    const bool fits = std::all_of(words.begin(), words.end(), [&](const QString &word) {
        return metrics.horizontalAdvance(word) <= width;
    });
    return Qt::AlignLeading | Qt::AlignTop | (fits ? Qt::TextWordWrap : Qt::TextWrapAnywhere);
}

QString personText(const QString &name, const QString &address)
{
    const ShownPerson shown = shownPerson({name, address});
    if (shown.address.isEmpty())
        return isolatedName(harmlessLine(name, 200));
    if (shown.name == shown.address)
        return isolatedAddress(shown.address);
    return isolatedName(shown.name) + u' ' + isolatedAddress(u'<' + shown.address + u'>');
}
