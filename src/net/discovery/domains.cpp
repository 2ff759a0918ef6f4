#include "net/discovery/domains.h"

#include <QUrl>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLongestAddress = 254; // RFC 5321 4.5.3.1.3
constexpr qsizetype kLongestName = 253;    // RFC 1035
constexpr qsizetype kLongestLabel = 63;

/// Names that only a machine's own network resolves.
constexpr std::array kHomeDomains = {u"localhost",   u"local",     u"internal", u"intranet",
                                     u"private",     u"corp",      u"home",     u"lan",
                                     u"localdomain", u"home.arpa", u"invalid",  u"onion"};

/// What countries put between themselves and those who register.
constexpr std::array kGenericLabels = {
    u"ac",  u"ad",   u"asn",    u"biz",  u"co",   u"com", u"ed",  u"edu", u"firm",   u"gen", u"go",
    u"gob", u"gouv", u"gov",    u"gv",   u"id",   u"idv", u"ind", u"inf", u"info",   u"k12", u"lg",
    u"ltd", u"me",   u"mil",    u"muni", u"name", u"ne",  u"net", u"nhs", u"nic",    u"nom", u"or",
    u"org", u"plc",  u"police", u"pp",   u"pro",  u"re",  u"res", u"sch", u"school", u"tm",  u"web"};

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool isLabel(QStringView label)
{
    const auto isPlain = [](QChar c) {
        return isDigit(c) || (c >= u'a' && c <= u'z') || c == u'-' || c == u'_';
    };
    return !label.isEmpty() && label.size() <= kLongestLabel && label.front() != u'-' &&
           label.back() != u'-' && std::all_of(label.begin(), label.end(), isPlain);
}

/// Resolvers take "0x7f.1", "2130706433" and "127.1" for addresses.
bool looksLikeNumber(QStringView label)
{
    return label.startsWith(u"0x") || std::all_of(label.begin(), label.end(), isDigit);
}

bool isHomeName(const QString &host)
{
    return std::any_of(kHomeDomains.begin(), kHomeDomains.end(), [&](QStringView domain) {
        return host == domain || (host.endsWith(domain) && host[host.size() - domain.size() - 1] == u'.');
    });
}

bool isBlankOrControl(QChar c)
{
    return c.isSpace() || c.category() == QChar::Other_Control;
}

} // namespace

MailIdentity mailIdentityOf(const QString &address)
{
    const QString text = address.trimmed();
    const qsizetype at = text.lastIndexOf(u'@');
    if (at <= 0 || text.size() > kLongestAddress || std::any_of(text.begin(), text.end(), isBlankOrControl))
        return {};
    return {text, text.first(at), netHostName(text.sliced(at + 1))};
}

QString netHostName(const QString &name)
{
    QString host = QString::fromLatin1(QUrl::toAce(name.trimmed())).toLower();
    if (host.endsWith(u'.'))
        host.chop(1);
    const QStringList labels = host.split(u'.');
    const bool isName = host.size() <= kLongestName && labels.size() > 1 &&
                        std::all_of(labels.begin(), labels.end(), isLabel) &&
                        !looksLikeNumber(labels.last()) && !isHomeName(host);
    return isName ? host : QString();
}

QString registrableDomain(const QString &host)
{
    const QStringList labels = host.toLower().split(u'.', Qt::SkipEmptyParts);
    if (labels.size() < 3)
        return labels.join(u'.');
    const QString &below = labels[labels.size() - 2];
    const bool isGeneric =
        labels.last().size() == 2 && std::any_of(kGenericLabels.begin(), kGenericLabels.end(),
                                                 [&](QStringView label) { return below == label; });
    return labels.sliced(labels.size() - (isGeneric ? 3 : 2)).join(u'.');
}

bool isSameDomain(const QString &host, const QString &other)
{
    return registrableDomain(host) == registrableDomain(other);
}
