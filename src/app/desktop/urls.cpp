#include "app/desktop/urls.h"

#include "config/files.h"

#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

struct Scheme
{
    const char *name;
    UrlKind kind;
};
constexpr Scheme kSchemes[] = {
    {"file", UrlKind::File}, {"mailto", UrlKind::Mail}, {"velmar", UrlKind::Velmar},
    {"news", UrlKind::News}, {"nntp", UrlKind::Nntp},
};

constexpr std::array kNoWindowTexts = {
    "There is nothing to open",
    "Velmar cannot open message files yet: %s",
    "Velmar cannot write messages yet: %s",
    "Velmar cannot open links to its own folders yet: %s",
    "Velmar cannot open newsgroups yet: %s",
    "Velmar cannot open newsgroups yet: %s",
    "Velmar does not know this kind of link: %s",
};
static_assert(kNoWindowTexts.size() == std::size_t(UrlKind::Unknown) + 1);

int hexDigit(QChar c)
{
    const char16_t digit = c.unicode();
    if (digit >= u'0' && digit <= u'9')
        return digit - u'0';
    const char16_t letter = digit | 0x20;
    return letter >= u'a' && letter <= u'f' ? letter - u'a' + 10 : -1;
}

/// Percent-decoded text: UTF-8, or windows-1252 where that does not fit. A "%" without two digits stays.
QString decoded(QStringView text)
{
    const QByteArray raw = text.toUtf8();
    QByteArray bytes;
    bytes.reserve(raw.size());
    for (qsizetype i = 0; i < raw.size(); ++i) {
        const bool isCode = raw[i] == '%' && i + 2 < raw.size();
        const int high = isCode ? hexDigit(QLatin1Char(raw[i + 1])) : -1;
        const int low = isCode ? hexDigit(QLatin1Char(raw[i + 2])) : -1;
        if (high < 0 || low < 0) {
            bytes += raw[i];
        } else {
            bytes += char(high * 16 + low);
            i += 2;
        }
    }
    return decodeTextFile(bytes);
}

/// One line: a link must not begin a header field of its own.
QString headerText(QStringView text)
{
    QString line = decoded(text);
    line.replace(u'\t', u' ');
    line.removeIf([](QChar c) {
        return c.category() == QChar::Other_Control || c == QChar::LineSeparator ||
               c == QChar::ParagraphSeparator;
    });
    return line.trimmed();
}

QString bodyText(QStringView text)
{
    QString body = decoded(text);
    body.replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n');
    body.removeIf([](QChar c) { return c.category() == QChar::Other_Control && c != u'\n' && c != u'\t'; });
    return body;
}

/// The commas between addresses stand as they are, those within one are written %2C (RFC 6068, section 2).
void addAddresses(QStringList &list, QStringView text)
{
    for (const QStringView part : text.split(u',')) {
        const QString address = headerText(part);
        if (!address.isEmpty())
            list.append(address);
    }
}

/// The first of several counts.
void setOnce(QString &field, const QString &value)
{
    if (field.isEmpty())
        field = value;
}

QString messageIdIn(const QString &text)
{
    const bool whole = text.startsWith(u'<') && text.endsWith(u'>') && text.count(u'@') == 1 &&
                       !text.contains(u' ') && text.count(u'<') == 1 && text.count(u'>') == 1;
    return whole ? text : QString();
}

void setField(MailtoFields &mail, const QString &name, QStringView value)
{
    if (name == u"to")
        addAddresses(mail.to, value);
    else if (name == u"cc")
        addAddresses(mail.cc, value);
    else if (name == u"bcc")
        addAddresses(mail.bcc, value);
    else if (name == u"subject")
        setOnce(mail.subject, headerText(value));
    else if (name == u"body")
        setOnce(mail.body, bodyText(value));
    else if (name == u"in-reply-to")
        setOnce(mail.inReplyTo, messageIdIn(headerText(value)));
}

MailtoFields parseMailto(QStringView rest)
{
    MailtoFields mail;
    rest = rest.left(rest.indexOf(u'#') < 0 ? rest.size() : rest.indexOf(u'#'));
    const qsizetype mark = rest.indexOf(u'?');
    addAddresses(mail.to, mark < 0 ? rest : rest.left(mark));
    if (mark < 0)
        return mail;
    for (QStringView field : rest.mid(mark + 1).split(u'&')) {
        if (field.startsWith(u"amp;")) // copied out of a page's source
            field = field.mid(4);
        const qsizetype equals = field.indexOf(u'=');
        if (equals > 0)
            setField(mail, decoded(field.left(equals)).toLower(), field.mid(equals + 1));
    }
    return mail;
}

NewsTarget parseNews(QStringView rest, UrlKind kind)
{
    NewsTarget news;
    if (rest.startsWith(u"//")) {
        const QStringView path = rest.mid(2);
        const qsizetype slash = path.indexOf(u'/');
        const QUrl server(u"nntp://"_s + path.left(slash).toString()); // left(-1) is all of it
        news.server = server.host();
        news.port = server.port(0);
        rest = slash < 0 ? QStringView() : path.mid(slash + 1);
    }
    const QString name = headerText(rest);
    if (kind == UrlKind::News && name.contains(u'@')) {
        news.messageId = name.startsWith(u'<') && name.endsWith(u'>') ? name.mid(1, name.size() - 2) : name;
        return news;
    }
    const qsizetype slash = kind == UrlKind::Nntp ? name.indexOf(u'/') : -1;
    news.group = name.left(slash);
    if (slash >= 0)
        news.article = name.mid(slash + 1);
    return news;
}

} // namespace

ParsedUrl parseUrl(const QString &url)
{
    ParsedUrl parsed;
    parsed.text = url;
    if (url.isEmpty())
        return parsed;
    parsed.kind = UrlKind::Unknown;
    const qsizetype colon = url.indexOf(u':');
    for (const Scheme &scheme : kSchemes) {
        if (colon > 0 &&
            QStringView(url).left(colon).compare(QLatin1String(scheme.name), Qt::CaseInsensitive) == 0)
            parsed.kind = scheme.kind;
    }
    const QStringView rest = QStringView(url).mid(colon + 1);
    if (parsed.kind == UrlKind::File)
        parsed.path = localPath(url);
    else if (parsed.kind == UrlKind::Mail)
        parsed.mail = parseMailto(rest);
    else if (parsed.kind == UrlKind::Velmar)
        parsed.path = headerText(rest);
    else if (parsed.kind == UrlKind::News || parsed.kind == UrlKind::Nntp)
        parsed.news = parseNews(rest, parsed.kind);
    return parsed;
}

const char *noWindowText(UrlKind kind)
{
    return kNoWindowTexts[std::size_t(kind)];
}

QString localPath(const QString &fileUrl)
{
    const QUrl url(fileUrl);
    if (!url.isLocalFile() || (!url.host().isEmpty() && url.host() != u"localhost"))
        return {};
    const QString path = url.path(QUrl::FullyDecoded);
    return path.contains(QChar::Null) ? QString() : path;
}

QString fileUrl(const QString &path)
{
    QUrl url;
    url.setScheme(u"file"_s);
    qsizetype first = 0;
    while (path.size() > first + 1 && path[first] == u'/' && path[first + 1] == u'/')
        ++first; // "//x" would name the machine x
    url.setPath(path.mid(first), QUrl::DecodedMode);
    return url.toString(QUrl::FullyEncoded);
}

bool hasScheme(QStringView text)
{
    const qsizetype colon = text.indexOf(u':');
    if (colon < 2 || text.front().unicode() > 0x7f || !text.front().isLetter())
        return false;
    return std::all_of(text.begin(), text.begin() + colon, [](QChar c) {
        return c.unicode() < 0x80 && (c.isLetterOrNumber() || c == u'+' || c == u'-' || c == u'.');
    });
}
