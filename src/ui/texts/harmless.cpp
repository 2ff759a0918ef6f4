#include "ui/texts/harmless.h"

#include "html/urls.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int kMostAccents = 3; ///< on one letter; real scripts need no more

bool isLineBreak(QChar c)
{
    const QChar::Category category = c.category();
    return category == QChar::Other_Control || category == QChar::Separator_Line ||
           category == QChar::Separator_Paragraph;
}

/// Invisible characters, but for the two that join and part letters in Indic and Persian words and emoji.
bool isInvisible(QChar c)
{
    return (c.category() == QChar::Other_Format && c != u'\x200C' && c != u'\x200D') || c == u'\xFFFC';
}

/// The first mail address in @p name that is not @p address.
QString otherAddressIn(const QString &name, const QString &address)
{
    const QList<UrlRange> found = findUrls(name);
    for (const UrlRange &url : found) {
        const QString text = name.sliced(url.start, url.length);
        if (text.contains(u'@') && text.compare(address, Qt::CaseInsensitive) != 0)
            return text;
    }
    return {};
}

} // namespace

QString harmlessLine(QStringView text, qsizetype most)
{
    QString out;
    int accents = 0;
    for (const QChar c : text.first(std::min(text.size(), most * 4))) {
        if (isInvisible(c))
            continue;
        const bool accent = c.category() == QChar::Mark_NonSpacing;
        accents = accent ? accents + 1 : 0;
        if (accents <= kMostAccents)
            out += isLineBreak(c) ? u' ' : c;
    }
    out = out.simplified();
    if (out.size() > most) {
        out.truncate(most - (out[most - 1].isHighSurrogate() ? 1 : 0));
        out += u'…';
    }
    return out;
}

QString isolatedAddress(const QString &text)
{
    return u'\x2066' + text + u'\x2069';
}

QString isolatedName(const QString &text)
{
    return u'\x2068' + text + u'\x2069';
}

QString withoutIdleMarks(QString text)
{
    const bool fromRight = std::any_of(text.begin(), text.end(), [](QChar c) {
        return c.direction() == QChar::DirR || c.direction() == QChar::DirAL;
    });
    return fromRight ? text : text.remove(u'\x2066').remove(u'\x2068').remove(u'\x2069');
}

QString asToolTip(const QString &text)
{
    // plain text that looks like markup would be drawn as such: so it always is some
    return text.isEmpty() ? text : u"<p style='white-space: pre-wrap'>"_s + text.toHtmlEscaped() + u"</p>"_s;
}

ShownPerson shownPerson(const Address &address)
{
    ShownPerson shown{harmlessLine(address.name, 200), harmlessLine(address.address, 400), {}};
    shown.claim = otherAddressIn(shown.name, shown.address);
    if (shown.name.isEmpty() || !shown.claim.isEmpty() ||
        shown.name.compare(shown.address, Qt::CaseInsensitive) == 0)
        shown.name = shown.address;
    return shown;
}

QString shortPerson(const Address &address)
{
    const ShownPerson shown = shownPerson(address);
    return shown.name == shown.address ? isolatedAddress(shown.address) : isolatedName(shown.name);
}
