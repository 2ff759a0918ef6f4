#include "html/urls.h"

#include <QUrl>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

struct Opening
{
    QStringView text;
    QStringView prefix; ///< what the target needs before it
};

constexpr std::array kOpenings = {
    Opening{u"http://", u""},     Opening{u"https://", u""},   Opening{u"ftp://", u""},
    Opening{u"nntp://", u""},     Opening{u"news:", u""},      Opening{u"mailto:", u""},
    Opening{u"www.", u"http://"}, Opening{u"ftp.", u"ftp://"},
};

constexpr std::array kSafeSchemes = {u"http", u"https", u"mailto", u"ftp", u"news", u"nntp"};
constexpr qsizetype kLongestTarget = 8 * 1024;
constexpr qsizetype kLongestLocalPart = 64; // RFC 5321, 4.5.3.1
constexpr qsizetype kLongestDomain = 255;

bool isAscii(QChar c)
{
    return c < u'\x80';
}
bool isAtom(QChar c) // RFC 5322 atext and the dot
{
    return c.isLetterOrNumber() || (isAscii(c) && QStringView(u"!#$%&'*+-/=?^_`{|}~.").contains(c));
}
bool isDomain(QChar c)
{
    return c.isLetterOrNumber() || c == u'-' || c == u'.';
}

bool endsUrl(QChar c)
{
    return c <= u' ' || c == u'<' || c == u'>' || c == u'"' || c == u'`' || c == u'|' || c == u'\\' ||
           c == u'^' || c.isSpace() || c == u'\x2028' || c == u'\x201C' || c == u'\x201D' || c == u'\xAB' ||
           c == u'\xBB';
}

/// Cuts punctuation off the end, and brackets that are not opened inside. One count, then one step each.
qsizetype withoutTrailing(QStringView url)
{
    constexpr QStringView kOpen = u"([{";
    constexpr QStringView kClose = u")]}";
    std::array<qsizetype, 3> surplus = {};
    for (const QChar c : url) {
        if (const qsizetype open = kOpen.indexOf(c); open >= 0)
            --surplus[std::size_t(open)];
        else if (const qsizetype close = kClose.indexOf(c); close >= 0)
            ++surplus[std::size_t(close)];
    }
    qsizetype length = url.size();
    for (; length > 0; --length) {
        const QChar last = url[length - 1];
        const qsizetype close = kClose.indexOf(last);
        if (close >= 0 ? surplus[std::size_t(close)]-- <= 0 : !QStringView(u".,;:!?'*_([{…").contains(last))
            break;
    }
    return length;
}

/// Domains are labels with dots between, the last of them no number.
bool isDomainName(QStringView domain)
{
    if (domain.isEmpty() || domain.size() > kLongestDomain || domain.startsWith(u'.') ||
        domain.startsWith(u'-') || domain.contains(u".."))
        return false;
    const qsizetype dot = domain.lastIndexOf(u'.');
    const QStringView last = domain.sliced(dot + 1);
    return dot > 0 && last.size() >= 2 && std::all_of(domain.begin(), domain.end(), isDomain) &&
           std::all_of(last.begin(), last.end(), [](QChar c) { return c.isLetterOrNumber() || c == u'-'; }) &&
           std::any_of(last.begin(), last.end(), [](QChar c) { return c.isLetter(); });
}

qsizetype hostLength(QStringView text)
{
    const auto limit = text.begin() + std::min(text.size(), kLongestDomain + 1);
    return std::find_if_not(text.begin(), limit, isDomain) - text.begin();
}

class Finder
{
public:
    explicit Finder(QStringView text)
        : m_text(text)
    {}

    QList<UrlRange> run()
    {
        for (qsizetype at = 0; at < m_text.size();) {
            const QChar c = m_text[at];
            const qsizetype end = c == u'@' ? address(at) : isAscii(c) && c.isLetter() ? opening(at) : -1;
            at = end < 0 ? at + 1 : end;
            m_taken = end < 0 ? m_taken : end;
        }
        return m_found;
    }

private:
    /// The end of the URL that begins at @p at; -1: none does.
    qsizetype opening(qsizetype at)
    {
        if (at > 0 && (m_text[at - 1].isLetterOrNumber() || m_text[at - 1] == u'@'))
            return -1;
        for (const auto &[text, prefix] : kOpenings) {
            if (m_text.sliced(at).startsWith(text, Qt::CaseInsensitive))
                return url(at, text, prefix);
        }
        return -1;
    }

    qsizetype url(qsizetype at, QStringView opening, QStringView prefix)
    {
        const qsizetype begin = at + opening.size();
        const qsizetype limit = std::min(m_text.size(), at + kLongestTarget);
        if (!prefix.isEmpty() &&
            !isDomainName(m_text.sliced(begin, hostLength(m_text.first(limit).sliced(begin)))))
            return -1;
        const qsizetype end =
            std::find_if(m_text.begin() + begin, m_text.begin() + limit, endsUrl) - m_text.begin();
        const qsizetype length = withoutTrailing(m_text.sliced(at, end - at));
        if (length <= opening.size())
            return -1;
        const QStringView rest = m_text.sliced(begin, at + length - begin);
        if (opening.endsWith(u':') && !rest.contains(u'.') && !rest.contains(u'@'))
            return at + length; // "news:" is a word, too
        m_found.append({at, length, prefix.toString() + m_text.sliced(at, length).toString()});
        return at + length;
    }

    /// The end of the mail address around the "@" at @p at; -1: there is none.
    qsizetype address(qsizetype at)
    {
        qsizetype begin = at;
        while (begin > m_taken && at - begin < kLongestLocalPart && isAtom(m_text[begin - 1]))
            --begin;
        while (begin < at && !m_text[begin].isLetterOrNumber() && m_text[begin] != u'_')
            ++begin;
        qsizetype end = at + 1;
        while (end < m_text.size() && end - at <= kLongestDomain && isDomain(m_text[end]))
            ++end;
        while (end > at + 1 && !m_text[end - 1].isLetterOrNumber())
            --end;
        if (begin == at || m_text[at - 1] == u'.' || !isDomainName(m_text.sliced(at + 1, end - at - 1)))
            return -1;
        m_found.append({begin, end - begin, u"mailto:"_s + m_text.sliced(begin, end - begin).toString()});
        return end;
    }

    QStringView m_text;
    qsizetype m_taken = 0; ///< where the last address ended
    QList<UrlRange> m_found;
};

/// Pieces of addresses by which the services that send in bulk learn of an opened message.
constexpr std::array kBeacons = std::to_array<QStringView>({
    u"/wf/open", u"/track/open", u"/open.aspx",    u"/open.php",  u"/open.gif",  u"/trk/open", u"/e/open",
    u"/q/open",  u"/mpss/o/",    u"/cl/o/",        u"/pixel.gif", u"/pixel.png", u"/px.gif",   u"/beacon",
    u"/1x1.",    u"/blank.gif",  u"/tracking.gif", u"/track.gif", u"/openpixel", u"/imp.gif",
});

/// Parameters that name who followed a link, besides utm_...
constexpr auto kTracking = std::to_array<QStringView>({
    u"fbclid",
    u"gclid",
    u"gclsrc",
    u"dclid",
    u"gbraid",
    u"wbraid",
    u"msclkid",
    u"yclid",
    u"twclid",
    u"ttclid",
    u"li_fat_id",
    u"igshid",
    u"mc_cid",
    u"mc_eid",
    u"mkt_tok",
    u"_hsenc",
    u"_hsmi",
    u"__hssc",
    u"__hstc",
    u"__hsfp",
    u"vero_id",
    u"vero_conv",
    u"oly_anon_id",
    u"oly_enc_id",
    u"wickedid",
    u"rb_clickid",
    u"s_kwcid",
    u"ml_subscriber",
    u"ml_subscriber_hash",
    u"elqtrackid",
    u"sc_cid",
    u"mkevt",
    u"hsctatracking",
});

/// The alphabets of Unicode that a label uses, as bits of our own.
enum Alphabet : unsigned {
    Latin = 1,
    Han = 2,
    Kana = 4,
    Hangul = 8,
    Bopomofo = 16,
    OtherAlphabet = 32,
};

bool mixesAlphabets(QStringView label)
{
    unsigned used = 0;
    QChar::Script other = QChar::Script_Common;
    for (const char32_t c : label.toUcs4()) {
        const QChar::Script script = QChar::script(c);
        switch (script) {
        case QChar::Script_Unknown:
        case QChar::Script_Common:
        case QChar::Script_Inherited: continue;
        case QChar::Script_Latin: used |= Latin; continue;
        case QChar::Script_Han: used |= Han; continue;
        case QChar::Script_Hiragana:
        case QChar::Script_Katakana: used |= Kana; continue;
        case QChar::Script_Hangul: used |= Hangul; continue;
        case QChar::Script_Bopomofo: used |= Bopomofo; continue;
        default:
            if (other != QChar::Script_Common && other != script)
                return true;
            other = script;
            used |= OtherAlphabet;
        }
    }
    for (const unsigned allowed :
         {OtherAlphabet + 0U, Latin | Han | Kana, Latin | Han | Hangul, Latin | Han | Bopomofo})
        if ((used & ~allowed) == 0)
            return false;
    return true;
}

bool looksLatin(QStringView label)
{
    constexpr QStringView kAlike = u"авсԁеһіјӏкмнорԛѕтԝхуѵьαικνορτυχωϲϳ";
    const bool anyForeign = !std::all_of(label.begin(), label.end(), isAscii);
    return anyForeign && std::all_of(label.begin(), label.end(), [&](QChar c) {
               return (isAscii(c) && !c.isLetter()) || kAlike.contains(c);
           });
}

/// What browsers skip, also inside "java\tscript:".
QString withoutControls(QStringView text)
{
    QString clean;
    for (const QChar c : text.trimmed())
        if (c.unicode() > 0x1F && c.unicode() != 0x7F)
            clean += c;
    return clean;
}

QStringView schemeOf(QStringView target)
{
    return target.first(std::max(target.indexOf(u':'), qsizetype(0)));
}

bool isWithin(const QString &inner, const QString &outer)
{
    if (inner.isEmpty() || outer.isEmpty())
        return false;
    return inner == outer || (inner.endsWith(outer) && inner[inner.size() - outer.size() - 1] == u'.');
}

/// Without what is not seen: marks of direction, joiners, places to break a word. The first words tell
/// enough.
QString asItLooks(QStringView text)
{
    constexpr qsizetype kMostRead = 300;
    QString seen;
    for (const QChar c : text) {
        if (c.category() != QChar::Other_Format)
            seen += c;
        if (seen.size() == kMostRead)
            break;
    }
    return seen.trimmed();
}

/// The hosts that the words of a link promise: those of web addresses wherever they stand, and what it begins
/// with when that is an address of mail or the bare name of a host.
QStringList hostsNamedIn(const QString &text)
{
    QStringList hosts;
    for (const UrlRange &url : findUrls(text)) {
        if (url.start <= 1 || !url.target.startsWith(u"mailto:", Qt::CaseInsensitive))
            hosts.append(hostOf(url.target));
    }
    hosts.removeAll(QString());
    const qsizetype length = hostLength(text);
    const QStringView rest = QStringView(text).sliced(length);
    const bool isWhole = rest.isEmpty() || u"/?#"_s.contains(rest[0]) ||
                         (rest[0] == u':' && rest.size() > 1 && rest[1].isDigit());
    if (hosts.isEmpty() && isWhole && isDomainName(QStringView(text).first(length)))
        hosts.append(hostOf(u"http://"_s + text.first(length)));
    return hosts;
}

/// Browsers go to "http:host", "https:/host" and "https:\\host" as if two slashes stood there.
void putSlashes(QString &target)
{
    const qsizetype begin = target.indexOf(u':') + 1;
    qsizetype end = begin;
    while (end < target.size() && (target[end] == u'/' || target[end] == u'\\'))
        ++end;
    target.replace(begin, end - begin, u"//"_s);
}

} // namespace

QList<UrlRange> findUrls(QStringView text)
{
    return Finder(text).run();
}

QString safeTarget(QStringView target)
{
    if (target.size() > kLongestTarget)
        return {};
    QString clean = withoutControls(target);
    if (clean.startsWith(u'#'))
        return clean.size() > 1 ? clean : QString();
    if (clean.startsWith(u"//"))
        clean.prepend(u"https:"_s);
    else if (clean.startsWith(u"www.", Qt::CaseInsensitive))
        clean.prepend(u"http://"_s);
    const QStringView scheme = schemeOf(clean);
    const auto same = [&](QStringView safe) { return scheme.compare(safe, Qt::CaseInsensitive) == 0; };
    if (std::none_of(kSafeSchemes.begin(), kSafeSchemes.end(), same))
        return {};
    if (same(u"http") || same(u"https") || same(u"ftp"))
        putSlashes(clean);
    return clean.replace(u' ', u"%20"_s);
}

QString remoteAddress(QStringView source)
{
    if (source.size() > kLongestTarget)
        return {};
    QString clean = withoutControls(source);
    if (clean.startsWith(u"//"))
        clean.prepend(u"https:"_s);
    if (!clean.startsWith(u"http://", Qt::CaseInsensitive) &&
        !clean.startsWith(u"https://", Qt::CaseInsensitive))
        return {};
    const QUrl url(clean);
    return url.isValid() && !url.host().isEmpty() && url.userInfo().isEmpty() ? clean : QString();
}

bool isBeacon(QStringView address)
{
    const qsizetype slashes = address.indexOf(u"//");
    const qsizetype path = address.indexOf(u'/', slashes < 0 ? 0 : slashes + 2);
    if (path < 0)
        return false;
    QStringView rest = address.sliced(path);
    rest = rest.first(std::find(rest.begin(), rest.end(), u'?') - rest.begin());
    return std::any_of(kBeacons.begin(), kBeacons.end(),
                       [&](QStringView beacon) { return rest.contains(beacon, Qt::CaseInsensitive); });
}

QString withoutTracking(const QString &target, QStringList *removed)
{
    const qsizetype question = target.indexOf(u'?');
    const qsizetype hash = target.indexOf(u'#');
    if (question < 0 || (hash >= 0 && hash < question) || !target.startsWith(u"http", Qt::CaseInsensitive))
        return target;
    const qsizetype end = hash < 0 ? target.size() : hash;
    QStringList kept;
    const QString query = target.sliced(question + 1, end - question - 1);
    for (const QString &pair : query.split(u'&')) {
        const QString name = pair.section(u'=', 0, 0).toLower();
        const bool tells = name.startsWith(u"utm_") ||
                           std::find(kTracking.begin(), kTracking.end(), name) != kTracking.end();
        if (!tells)
            kept.append(pair);
        else if (removed && !removed->contains(name))
            removed->append(name);
    }
    const QString rest = kept.join(u'&');
    return target.first(question) + (rest.isEmpty() ? QString() : u'?' + rest) + target.sliced(end);
}

bool isConfusable(QStringView host)
{
    const QList<QStringView> labels = host.split(u'.', Qt::SkipEmptyParts);
    const bool latinEnd =
        !labels.isEmpty() && std::all_of(labels.last().begin(), labels.last().end(), isAscii);
    return std::any_of(labels.begin(), labels.end(), [latinEnd](QStringView label) {
        return mixesAlphabets(label) || (latinEnd && looksLatin(label));
    });
}

QString hostOf(QStringView target)
{
    QStringView rest = target;
    if (target.startsWith(u"mailto:", Qt::CaseInsensitive)) {
        rest = rest.sliced(7);
        rest = rest.first(std::find(rest.begin(), rest.end(), u'?') - rest.begin());
        rest = rest.sliced(rest.lastIndexOf(u'@') + 1);
    } else if (const qsizetype slashes = rest.indexOf(u"://"); slashes > 0) {
        rest = rest.sliced(slashes + 3);
        const auto end = std::find_if(rest.begin(), rest.end(), [](QChar c) {
            return c == u'/' || c == u'?' || c == u'#' || c == u'\\';
        });
        rest = rest.first(end - rest.begin());
        rest = rest.sliced(rest.lastIndexOf(u'@') + 1); // "paypal.example@evil.example" goes to evil.example
        if (const qsizetype port = rest.lastIndexOf(u':'); port > 0 && !rest.endsWith(u']'))
            rest = rest.first(port);
    } else {
        return {};
    }
    QString host = rest.toString().toLower();
    while (host.endsWith(u'.'))
        host.chop(1);
    return host.startsWith(u"www.") ? host.sliced(4) : host;
}

bool isDeceptive(QStringView text, QStringView target)
{
    const QString actual = hostOf(target);
    if (actual.isEmpty() && !target.startsWith(u"mailto:", Qt::CaseInsensitive))
        return false;
    const QStringList named = hostsNamedIn(asItLooks(text));
    return std::any_of(named.begin(), named.end(), [&actual](const QString &host) {
        return !isWithin(host, actual) && !isWithin(actual, host);
    });
}
