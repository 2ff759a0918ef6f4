#include "net/web/webproxy.h"

#include "config/settings.h"

#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

constexpr quint16 kUsualPort = 8080;

std::optional<quint16> portOf(const QString &text)
{
    if (text.isEmpty())
        return kUsualPort;
    bool isNumber = false;
    const quint16 port = text.toUShort(&isNumber);
    return isNumber && port > 0 ? std::optional(port) : std::nullopt;
}

} // namespace

std::optional<WebProxy> webProxyOfSettings()
{
    constexpr QLatin1StringView kScheme("http://");
    QString host = stringSetting(Setting::WebProxy).trimmed();
    if (host.isEmpty())
        return WebProxy();
    if (host.startsWith(kScheme, Qt::CaseInsensitive))
        host.remove(0, kScheme.size());
    if (host.endsWith(u'/'))
        host.chop(1);
    QUrl url;
    url.setHost(host, QUrl::StrictMode);
    const std::optional<quint16> port = portOf(stringSetting(Setting::WebProxyPort).trimmed());
    if (!url.isValid() || url.host().isEmpty() || !port)
        return std::nullopt;
    return WebProxy{url.host(QUrl::FullyEncoded), *port};
}
