#include "compose/editing.h"
#include "compose/quotemarks.h"
#include "compose/quoting.h"
#include "html/htmlescape.h"
#include "html/htmltotext.h"

using namespace Qt::StringLiterals;

namespace {

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

/// @p text up to the signature that stands below it.
QString above(const QString &text, const QString &previous)
{
    const qsizetype separator = signatureStart(text);
    if (separator >= 0)
        return text.first(separator);
    return !previous.isEmpty() && text.endsWith(previous) ? text.chopped(previous.size()) : text;
}

/// An empty line between the text and what comes below; its own empty lines stay.
QString joined(QString text, const QString &block, bool wasThere)
{
    if (block.isEmpty() || wasThere)
        return text + block;
    if (!text.isEmpty() && !text.endsWith(u'\n'))
        text += u'\n';
    return text + u'\n' + block;
}

struct Span
{
    qsizetype start = -1;
    qsizetype end = -1;
};

/// Whether the separator at @p at stands alone in its block: between tags, with its blank in any spelling.
Span separatorBlock(QStringView html, qsizetype at)
{
    QStringView rest = html.sliced(at + 2);
    const auto skip = [&](QStringView text) {
        const bool is = rest.startsWith(text);
        rest = is ? rest.sliced(text.size()) : rest;
        return is;
    };
    if (!skip(u" ") && !skip(u"\u00A0") && !skip(u"&nbsp;") && !skip(u"&#160;"))
        return {};
    qsizetype start = at;
    while (start > 0 && html[start - 1].isSpace())
        --start;
    if (!rest.startsWith(u'<') || start == 0 || html[start - 1] != u'>')
        return {};
    for (;;) { // the spans around it begin with it, and so does its paragraph
        const qsizetype open = html.first(start).lastIndexOf(u'<');
        const QStringView tag = open < 0 ? QStringView() : html.sliced(open, start - open);
        const bool isBlock = tag.startsWith(u"<p") || tag.startsWith(u"<div");
        if (!isBlock && !tag.startsWith(u"<span"))
            return {start, start};
        start = open;
        if (isBlock || start == 0 || html[start - 1] != u'>')
            return {start, start};
    }
}

/// How deep quotations are nested where @p at stands.
bool isInQuotation(QStringView html, qsizetype at)
{
    const QStringView behind = html.sliced(at);
    return behind.count(u"</blockquote") > behind.count(u"<blockquote");
}

/// The rich signature that stands at the end, from its separator on; start is -1 where there is none.
Span richSignature(const QString &html)
{
    constexpr int kMostTries = 200;
    const qsizetype body = html.lastIndexOf(u"</body>", -1, Qt::CaseInsensitive);
    const qsizetype end = body < 0 ? html.size() : body;
    qsizetype from = end;
    for (int i = 0; i < kMostTries && from > 0; ++i) {
        from = QStringView(html).first(from).lastIndexOf(u"--");
        if (from < 0)
            break;
        const Span block = separatorBlock(html, from);
        if (block.start < 0)
            continue;
        const bool isForwarded = html.indexOf(kForwardEnd, from) >= 0;
        return isForwarded || isInQuotation(html, from) ? Span{-1, end} : Span{block.start, end};
    }
    return {-1, end};
}

QString richBlock(bool isSeparated, const QString &signature, bool isHtml, const QString &tagline)
{
    const auto lines = [](const QString &text) {
        QString html = htmlEscaped(text.trimmed());
        return html.replace(u'\n', u"<br>"_s);
    };
    if (signature.trimmed().isEmpty() && tagline.trimmed().isEmpty())
        return {};
    QString out = isSeparated ? u"<p>-- </p>"_s : QString();
    if (!signature.trimmed().isEmpty())
        out += isHtml ? u"<div>"_s + signature + u"</div>"_s : u"<p>"_s + lines(signature) + u"</p>"_s;
    if (!tagline.trimmed().isEmpty())
        out += u"<p>"_s + lines(tagline) + u"</p>"_s;
    return out;
}

} // namespace

QString setSignature(Composition &composition, const QString &signature, bool isHtml, const QString &tagline,
                     const QString &previous)
{
    const bool isSeparated = composition.identity.has(IdentityStandardSeparator);
    const QString plain = isHtml ? htmlToText(signature) : signature;
    const QString block = plainBlock(isSeparated, plain, tagline);
    const QString text = above(composition.text, previous);
    composition.text = joined(text, block, text.size() < composition.text.size());
    if (!composition.html.isEmpty()) {
        const Span old = richSignature(composition.html);
        const qsizetype start = old.start < 0 ? old.end : old.start;
        composition.html.replace(start, old.end - start, richBlock(isSeparated, signature, isHtml, tagline));
    }
    return block;
}
