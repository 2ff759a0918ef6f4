#include "net/web/weburl.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr quint16 kPlainPort = 80;
constexpr quint16 kEncryptedPort = 443;
constexpr qsizetype kLongestUrl = 8 * 1024;
constexpr qsizetype kLongestName = 253; // RFC 1035, without the dot at the end
constexpr qsizetype kLongestLabel = 63;

/// Names that only a machine's own network resolves.
constexpr std::array kHomeDomains = {u"localhost", u"local", u"internal", u"intranet",    u"private",
                                     u"corp",      u"home",  u"lan",      u"localdomain", u"home.arpa"};

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool isLabel(QStringView label)
{
    return !label.isEmpty() && label.size() <= kLongestLabel &&
           std::all_of(label.begin(), label.end(), [](QChar c) {
               return isDigit(c) || (c >= u'a' && c <= u'z') || c == u'-' || c == u'_';
           });
}

/// Resolvers take "0x7f.1", "2130706433" and "127.1" for addresses.
bool looksLikeNumber(QStringView label)
{
    return label.startsWith(u"0x") || std::all_of(label.begin(), label.end(), isDigit);
}

bool isHomeName(const QString &host)
{
    return std::any_of(kHomeDomains.begin(), kHomeDomains.end(), [&](QStringView domain) {
        return host.endsWith(domain) &&
               (host.size() == domain.size() || host[host.size() - domain.size() - 1] == u'.');
    });
}

bool isNetName(const QString &host)
{
    const QStringList labels = host.split(u'.');
    return host.size() <= kLongestName && labels.size() > 1 &&
           std::all_of(labels.begin(), labels.end(), isLabel) && !looksLikeNumber(labels.last()) &&
           !isHomeName(host);
}

/// False: neither an address in its proper form nor a name of the net.
bool takeHost(WebUrl &result, QString host)
{
    if (host.endsWith(u'.'))
        host.chop(1);
    const bool isIPv6 = host.contains(u':');
    QHostAddress literal;
    if (literal.setAddress(host) && (isIPv6 || literal.toString() == host)) {
        result.literal = literal;
        result.host = literal.toString();
        return true;
    }
    result.host = host;
    return !isIPv6 && isNetName(host);
}

/// Path and query in bytes that fit into a request line; empty when they do not.
QByteArray targetOf(const QUrl &url)
{
    QByteArray target = url.path(QUrl::FullyEncoded).toLatin1();
    if (!target.startsWith('/'))
        target.prepend('/');
    if (url.hasQuery())
        target += '?' + url.query(QUrl::FullyEncoded).toLatin1();
    const bool fits = target.size() <= kLongestUrl &&
                      std::all_of(target.begin(), target.end(), [](char c) { return c > ' ' && c < '\x7F'; });
    return fits ? target : QByteArray();
}

} // namespace

QByteArray WebUrl::hostAndPort() const
{
    const QByteArray name = host.toLatin1();
    return (host.contains(u':') ? '[' + name + ']' : name) + ':' + QByteArray::number(port);
}

QByteArray WebUrl::hostField() const
{
    const QByteArray full = hostAndPort();
    const bool isUsual = port == (isEncrypted ? kEncryptedPort : kPlainPort);
    return isUsual ? full.first(full.lastIndexOf(':')) : full;
}

QByteArray WebUrl::whole() const
{
    return (isEncrypted ? "https://" : "http://") + hostField() + target;
}

std::optional<WebUrl> webUrlOf(const QUrl &url)
{
    WebUrl result;
    const QString scheme = url.scheme(); // in lower case
    result.isEncrypted = scheme == "https"_L1;
    if (!url.isValid() || (!result.isEncrypted && scheme != "http"_L1) || !url.userInfo().isEmpty())
        return std::nullopt;
    const int port = url.port(result.isEncrypted ? kEncryptedPort : kPlainPort);
    result.port = quint16(port);
    result.target = targetOf(url);
    if (port <= 0 || result.target.isEmpty() || !takeHost(result, url.host(QUrl::FullyEncoded).toLower()))
        return std::nullopt;
    return result;
}
