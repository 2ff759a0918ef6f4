#include "compose/quoting.h"

#include "compose/columns.h"
#include "compose/linewrap.h"
#include "compose/messagebody.h"
#include "compose/quotemarks.h"
#include "config/settings.h"

#include <QDateTime>
#include <QLocale>

using namespace Qt::StringLiterals;

namespace {

constexpr int kMostFooterLines = 12;
constexpr int kLongestValue = 250;
constexpr int kLeastWidth = 40;
constexpr int kMostWidth = 998;           // RFC 5322 section 2.1.1
constexpr qsizetype kLongestQuoted = 900; // characters; an editor takes time in the square of a longer word

/// Characters that end a line in one program and not in another could hide where a quotation ends.
bool endsLine(QChar c)
{
    return c == u'\n' || c == QChar::LineSeparator || c == QChar::ParagraphSeparator || c == u'\x85' ||
           c == u'\v' || c == u'\f';
}

bool isDirectionMark(QChar c)
{
    return (c >= u'\x202A' && c <= u'\x202E') || (c >= u'\x2066' && c <= u'\x2069');
}

/// The reader of HTML puts a place to break into long addresses; what is selected there has them.
bool isBreakMark(QStringView text, qsizetype at)
{
    const auto isAscii = [&](qsizetype i) {
        return i >= 0 && i < text.size() && text[i] > u' ' && text[i] < u'\x7F';
    };
    return text[at] == u'\x200B' && isAscii(at - 1) && isAscii(at + 1);
}

/// Without what cannot be seen; line ends of every kind become "\n".
QString withPlainLines(const QString &text)
{
    QString out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        const bool isFirstOfTwo = c == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n';
        if (endsLine(c) || (c == u'\r' && !isFirstOfTwo))
            out += u'\n';
        else if (((c >= u' ' && c != u'\x7F') || c == u'\t') && c != QChar::ObjectReplacementCharacter &&
                 !isBreakMark(text, i))
            out += c;
    }
    return out;
}

/// A value for one line of a text: no controls, nothing that turns the direction of what stands behind it.
QString valueOf(const QString &text)
{
    QString out;
    for (const QChar c : text.left(kLongestValue * 2).simplified())
        if (c >= u' ' && c != u'\x7F' && !endsLine(c) && !isDirectionMark(c))
            out += c;
    return out.left(kLongestValue);
}

qsizetype lastSeparator(QStringView text, QStringView separator)
{
    for (qsizetype from = text.size(); from > 0;) {
        const qsizetype at = text.first(from).lastIndexOf(separator);
        if (at < 0)
            return -1;
        const qsizetype end = at + separator.size();
        if ((at == 0 || text[at - 1] == u'\n') && (end == text.size() || text[end] == u'\n'))
            return at;
        from = end - 1;
    }
    return -1;
}

bool hasLine(QStringView text, QStringView line)
{
    return lastSeparator(text, line) >= 0;
}

qsizetype separatorStart(QStringView text, QStringView separator)
{
    const qsizetype at = lastSeparator(text, separator);
    return at < 0 || hasLine(text.sliced(at), kForwardEnd) ? -1 : at;
}

QString cutAt(const QString &text, QStringView separator)
{
    qsizetype at = separatorStart(text, separator);
    if (at < 0)
        return text;
    for (qsizetype above = at; above >= 0; above = lastSeparator(QStringView(text).first(at), separator)) {
        const QStringView between = QStringView(text).sliced(above, at - above);
        if (between.count(u'\n') > kMostFooterLines || hasLine(between, kForwardEnd))
            break;
        at = above;
    }
    while (at > 1 && text[at - 1] == u'\n' && text[at - 2] == u'\n')
        --at;
    return text.first(at);
}

/// Wraps the lines that are paragraphs, quoted ones behind their own prefix.
QString withWrappedParagraphs(const QString &text, int width, int longest)
{
    const LineWrap wrap(width);
    const QuoteMarks marks;
    QString out;
    out.reserve(text.size() + text.size() / 32);
    QStringView rest = text;
    while (!rest.isEmpty()) {
        const QStringView line = takeTextLine(rest);
        const qsizetype length = std::min(marks.prefixLength(line), qsizetype(width));
        const QStringView prefix = line.first(length);
        if (line.size() <= longest / 2 || columnsOf(line) <= longest ||
            width - columnsOf(prefix) < LineWrap::kNarrowest)
            out += line;
        else
            wrap.append(out, line.sliced(length), prefix, prefix);
        out += u'\n';
    }
    return out;
}

QString withoutEmptyEnds(const QString &text)
{
    qsizetype from = 0;
    for (qsizetype at = 0; at < text.size() && text[at].isSpace(); ++at)
        if (text[at] == u'\n')
            from = at + 1;
    qsizetype end = text.size();
    while (end > from && text[end - 1].isSpace())
        --end;
    return end > from ? text.sliced(from, end - from) + u'\n' : QString();
}

/// The beginning of a line that is too long: up to a blank, where there is one in its second half.
QStringView takePiece(QStringView &line)
{
    const qsizetype blank = line.first(kLongestQuoted).lastIndexOf(u' ');
    qsizetype length = blank > kLongestQuoted / 2 ? blank + 1 : kLongestQuoted;
    length -= line[length - 1].isHighSurrogate() ? 1 : 0;
    const QStringView piece = line.first(length);
    line = line.sliced(length);
    return piece;
}

Address authorOf(const Message &message)
{
    for (const char *field : {"From", "Sender", "Reply-To"}) {
        const QList<Address> addresses = message.addresses(field);
        if (!addresses.isEmpty())
            return addresses.first();
    }
    return {};
}

QString variable(QChar letter, const Message &message)
{
    const Address author = authorOf(message);
    const auto moment = [&]() -> std::optional<QDateTime> {
        const std::optional<qint64> seconds = message.readableDate();
        return seconds ? std::optional(QDateTime::fromSecsSinceEpoch(*seconds)) : std::nullopt;
    };
    switch (letter.unicode()) {
    case u'f': return valueOf(author.name.isEmpty() ? author.address : author.name);
    case u'e': return valueOf(author.address);
    case u'F': return valueOf(formatAddress(author));
    case u'd': return moment() ? QLocale().toString(moment()->date(), QLocale::LongFormat) : QString();
    case u't': return moment() ? QLocale().toString(moment()->time(), QLocale::ShortFormat) : QString();
    case u'D': return valueOf(message.header("Date"));
    case u's': return valueOf(message.subject());
    case u'n': return valueOf(message.newsgroups());
    case u'i': return valueOf(QString::fromUtf8(message.messageId()));
    case u'%': return u"%"_s;
    default: return u'%' + QString(letter);
    }
}

} // namespace

qsizetype signatureStart(QStringView text)
{
    return separatorStart(text, kSignatureSeparator);
}

QString withoutSignature(const QString &text)
{
    return cutAt(text, kSignatureSeparator);
}

QString quotedText(const QString &text)
{
    const QuoteMarks marks;
    QString bare = marks.prefix();
    while (bare.endsWith(u' '))
        bare.chop(1);
    const QString lines = withPlainLines(text);
    QString out;
    out.reserve(lines.size() + lines.size() / 16);
    QStringView rest = lines;
    while (!rest.isEmpty()) {
        QStringView line = takeTextLine(rest);
        const QStringView own = line.first(marks.prefixLength(line));
        const QString &mark = line.isEmpty() || marks.isQuoted(line) ? bare : marks.prefix();
        for (out += mark; line.size() > kLongestQuoted && own.size() < kLongestQuoted / 2;) {
            out += takePiece(line);
            out += u'\n' + mark;
            out += own;
        }
        out += line;
        out += u'\n';
    }
    if (!lines.endsWith(u'\n'))
        out.chop(1);
    return out;
}

QString attribution(const Message &message, bool personal)
{
    return filledAttribution(
        stringSetting(personal ? Setting::AttributionTextPersonal : Setting::AttributionText), message);
}

QString filledAttribution(const QString &text, const Message &message)
{
    QString out;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'%' && i + 1 < text.size())
            out += variable(text[++i], message);
        else
            out += text[i];
    }
    return out;
}

QString textToQuote(const MessageBody &body)
{
    QString text = withPlainLines(body.text);
    if (!boolSetting(Setting::QuoteSigs)) {
        text = withoutSignature(text);
        if (body.isFromHtml) // whose blanks at line ends are gone
            text = cutAt(text, u"--");
    }
    if (boolSetting(Setting::SendWrapText)) {
        const int width = std::clamp(intSetting(Setting::SendWrapWidth), kLeastWidth, kMostWidth) -
                          columnsOf(QuoteMarks().prefix());
        text = withWrappedParagraphs(text, width, body.isFlowing ? width : width * 3 / 2);
    }
    return withoutEmptyEnds(text);
}

QString quotation(const Message &message, bool personal, const QString &selected)
{
    return quotation(message, bodyOf(message.mime()), personal, selected);
}

QString quotation(const Message &message, const MessageBody &body, bool personal, const QString &selected)
{
    const QString text = selected.trimmed().isEmpty() ? textToQuote(body) : withoutEmptyEnds(selected);
    if (text.isEmpty())
        return {};
    const QString leading = attribution(message, personal);
    return (leading.isEmpty() ? QString() : leading + u"\n\n"_s) + quotedText(text);
}
