#include "compose/editing.h"
#include "compose/quotemarks.h"
#include "html/htmlescape.h"
#include "html/htmltotext.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr QStringView kEmptyLine = u"<div><br></div>";
constexpr int kMostTries = 200; ///< places at which a known signature is looked for

QString withLineEnd(QString text)
{
    while (text.endsWith(u'\n'))
        text.chop(1);
    return text.isEmpty() ? text : text + u'\n';
}

/// Signature and tagline with what stands before them; empty where there is neither.
QString plainBlock(bool isSeparated, const QString &signature, const QString &tagline)
{
    const QString first = withLineEnd(signature);
    const QString second = withLineEnd(tagline);
    if (first.isEmpty() && second.isEmpty())
        return {};
    return (isSeparated ? kSignatureSeparator.toString() + u'\n' : QString()) + first +
           (first.isEmpty() || second.isEmpty() ? u""_s : u"\n"_s) + second;
}

/// Each line a block of its own, as the rich editor writes lines.
QString linesOf(const QString &text)
{
    QString html;
    for (const QString &line : text.trimmed().split(u'\n'))
        html += line.isEmpty() ? kEmptyLine.toString() : u"<div>"_s + htmlEscaped(line) + u"</div>"_s;
    return html;
}

QString richBlock(bool isSeparated, const QString &signature, bool isHtml, const QString &tagline)
{
    const bool hasSignature = !signature.trimmed().isEmpty();
    const bool hasTagline = !tagline.trimmed().isEmpty();
    if (!hasSignature && !hasTagline)
        return {};
    QString out = u"<div class=\"%1\">"_s.arg(kSignatureClass);
    if (isSeparated)
        out += u"<div>-- </div>"_s;
    if (hasSignature)
        out += isHtml ? u"<div>"_s + signature + u"</div>"_s : linesOf(signature);
    if (hasSignature && hasTagline)
        out += kEmptyLine;
    if (hasTagline)
        out += linesOf(tagline);
    return out + u"</div>"_s;
}

// --- Finding it again ----------------------------------------------------------------------------------

/// The characters that can be seen, each with where it begins and ends in what they were taken from. Blanks
/// are left out: editors add and drop them.
struct Visible
{
    QString characters;
    std::vector<TextSpan> places;

    void add(QStringView text, TextSpan place)
    {
        for (const QChar c : text) {
            if (c.isSpace())
                continue;
            characters += c;
            places.push_back(place);
        }
    }
};

Visible visibleIn(QStringView text)
{
    Visible visible;
    for (qsizetype i = 0; i < text.size(); ++i)
        visible.add(text.sliced(i, 1), {i, 1});
    return visible;
}

struct Entity
{
    QStringView name;
    QChar character;
};
constexpr std::array kEntities = {Entity{u"&lt;", u'<'},   Entity{u"&gt;", u'>'},   Entity{u"&amp;", u'&'},
                                  Entity{u"&quot;", u'"'}, Entity{u"&#39;", u'\''}, Entity{u"&nbsp;", u' '},
                                  Entity{u"&#160;", u' '}};

/// Those that the editors write; any other stands for itself, and is found where both sides have it.
Visible visibleInHtml(QStringView html)
{
    Visible visible;
    for (qsizetype i = 0; i < html.size();) {
        if (html[i] == u'<') {
            const qsizetype end = html.indexOf(u'>', i);
            i = end < 0 ? html.size() : end + 1;
            continue;
        }
        const auto entity = std::find_if(kEntities.begin(), kEntities.end(), [&](const Entity &each) {
            return html[i] == u'&' && html.sliced(i).startsWith(each.name);
        });
        const qsizetype length = entity == kEntities.end() ? 1 : entity->name.size();
        visible.add(entity == kEntities.end() ? html.sliced(i, 1) : QStringView(&entity->character, 1),
                    {i, length});
        i += length;
    }
    return visible;
}

bool hasLineEnd(QStringView gap)
{
    return std::any_of(gap.begin(), gap.end(), [](QChar c) {
        return c == u'\n' || c == QChar::ParagraphSeparator || c == QChar::LineSeparator;
    });
}

QStringView tagName(QStringView tag)
{
    QStringView name = tag.sliced(1);
    if (name.startsWith(u'/'))
        name = name.sliced(1);
    const auto end = std::find_if_not(name.begin(), name.end(), [](QChar c) { return c.isLetterOrNumber(); });
    return name.first(end - name.begin());
}

/// Whether a tag in @p gap begins another line.
bool hasBreak(QStringView gap)
{
    static constexpr QStringView kWithinLines[] = {u"a",   u"b",   u"big", u"code",  u"em",   u"font",
                                                   u"i",   u"img", u"s",   u"small", u"span", u"strong",
                                                   u"sub", u"sup", u"tt",  u"u"};
    for (qsizetype at = 0; (at = gap.indexOf(u'<', at)) >= 0; ++at) {
        const QStringView name = tagName(gap.sliced(at));
        const bool isWithin = std::any_of(std::begin(kWithinLines), std::end(kWithinLines), [&](auto each) {
            return name.compare(each, Qt::CaseInsensitive) == 0;
        });
        if (!isWithin)
            return true;
    }
    return false;
}

/// The last place of @p known that fills whole lines, below everything that is forwarded and outside of what
/// is quoted; start is -1 where there is none.
template <typename IsGap, typename IsQuoted>
TextSpan lastOf(QStringView text, const Visible &visible, QStringView known, IsGap isGap, IsQuoted isQuoted)
{
    const QString wanted = visibleIn(known).characters;
    const qsizetype forwarded = text.lastIndexOf(kForwardEnd);
    qsizetype at = wanted.isEmpty() ? -1 : visible.characters.lastIndexOf(wanted);
    for (int i = 0; i < kMostTries && at >= 0; ++i) {
        const qsizetype start = visible.places[std::size_t(at)].start;
        if (start < forwarded)
            break;
        const std::size_t behind = std::size_t(at + wanted.size());
        const TextSpan last = visible.places[behind - 1];
        const qsizetype end = last.start + last.length;
        const qsizetype before =
            at == 0 ? 0
                    : visible.places[std::size_t(at - 1)].start + visible.places[std::size_t(at - 1)].length;
        const qsizetype next = behind < visible.places.size() ? visible.places[behind].start : text.size();
        const bool isWhole = (at == 0 || isGap(text.sliced(before, start - before))) &&
                             (behind == visible.places.size() || isGap(text.sliced(end, next - end)));
        if (isWhole && !isQuoted(start))
            return {start, end - start};
        at = at == 0 ? -1 : visible.characters.lastIndexOf(wanted, at - 1);
    }
    return {};
}

bool isInQuotation(QStringView html, qsizetype at)
{
    const QStringView behind = html.sliced(at);
    return behind.count(u"</blockquote", Qt::CaseInsensitive) >
           behind.count(u"<blockquote", Qt::CaseInsensitive);
}

/// How many elements @p part leaves open.
int leftOpen(QStringView part)
{
    static constexpr QStringView kAlone[] = {u"br", u"hr", u"img"};
    int open = 0;
    for (qsizetype at = 0; (at = part.indexOf(u'<', at)) >= 0; ++at) {
        const QStringView name = tagName(part.sliced(at));
        if (std::find(std::begin(kAlone), std::end(kAlone), name) == std::end(kAlone))
            open += at + 1 < part.size() && part[at + 1] == u'/' ? -1 : 1;
    }
    return open;
}

/// With the most of the blocks and spans that open directly before it and close directly behind it.
TextSpan withItsTags(QStringView html, TextSpan span)
{
    constexpr int kMostTags = 8;
    TextSpan widest = span;
    qsizetype start = span.start;
    for (int i = 0; i < kMostTags; ++i) {
        while (start > 0 && html[start - 1].isSpace())
            --start;
        const qsizetype tag = start > 0 && html[start - 1] == u'>' ? html.first(start).lastIndexOf(u'<') : -1;
        const QStringView name = tag < 0 || html[tag + 1] == u'/' ? QStringView() : tagName(html.sliced(tag));
        if (name != u"p" && name != u"div" && name != u"span")
            break;
        start = tag;
        qsizetype end = span.start + span.length;
        int open = leftOpen(html.sliced(start, end - start));
        for (; open > 0 && html.sliced(end).trimmed().startsWith(u"</"); --open)
            end = html.indexOf(u'>', end) + 1;
        if (open == 0 && end > 0)
            widest = {start, end - start};
    }
    return widest;
}

TextSpan findRichSignature(QStringView html, QStringView known)
{
    if (known.isEmpty())
        return {};
    const TextSpan found = lastOf(html, visibleInHtml(html), known, hasBreak,
                                  [html](qsizetype at) { return isInQuotation(html, at); });
    return found.start < 0 ? found : withItsTags(html, found);
}

/// An empty line between the text and what comes below; its own empty lines stay.
QString joined(QString text, const QString &block)
{
    if (block.isEmpty())
        return text;
    if (!text.isEmpty() && !text.endsWith(u'\n'))
        text += u'\n';
    return text + u'\n' + block;
}

} // namespace

SignatureBlock signatureBlock(const Identity &identity, const QString &signature, bool isHtml,
                              const QString &tagline)
{
    const bool isSeparated = identity.has(IdentityStandardSeparator);
    return {plainBlock(isSeparated, isHtml ? htmlToText(signature) : signature, tagline),
            richBlock(isSeparated, signature, isHtml, tagline),
            plainBlock(isSeparated, isHtml ? htmlToText(signature, {.links = false}) : signature, tagline)};
}

TextSpan findSignature(QStringView text, QStringView known)
{
    if (known.isEmpty())
        return {};
    TextSpan found = lastOf(text, visibleIn(text), known, hasLineEnd, [](qsizetype) { return false; });
    if (found.start < 0)
        return found;
    qsizetype end = found.start + found.length;
    while (found.start > 0 && !hasLineEnd(text.sliced(found.start - 1, 1)))
        --found.start;
    while (end < text.size() && !hasLineEnd(text.sliced(end++, 1))) {
    }
    found.length = end - found.start;
    return found;
}

QString setSignature(Composition &composition, const QString &signature, bool isHtml, const QString &tagline,
                     const QString &previous)
{
    const SignatureBlock block = signatureBlock(composition.identity, signature, isHtml, tagline);
    const TextSpan old = findSignature(composition.text, previous);
    composition.text = old.start < 0 ? joined(composition.text, block.plain)
                                     : composition.text.replace(old.start, old.length, block.plain);
    if (composition.html.isEmpty())
        return block.plain;
    TextSpan place = findRichSignature(composition.html, previous);
    if (place.start < 0) {
        const qsizetype body = composition.html.lastIndexOf(u"</body>", -1, Qt::CaseInsensitive);
        place = {body < 0 ? composition.html.size() : body, 0};
        const QStringView before = QStringView(composition.html).first(place.start).trimmed();
        const bool isApart =
            before.isEmpty() || before.endsWith(u"<br></div>") || before.endsWith(u"<br></p>");
        if (!isApart && !block.html.isEmpty())
            composition.html.insert(std::exchange(place.start, place.start + kEmptyLine.size()), kEmptyLine);
    }
    composition.html.replace(place.start, place.length, block.html);
    return block.shown;
}
