#include "engine/discoveryfetch.h"

#include "net/web/webexchange.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int kMostRedirections = 3;
constexpr quint16 kPort = 443;

/// Published settings lie at their well-known place; other ports are somebody else's services.
class SettingsPolicy : public PublicPolicy
{
public:
    bool permitsPort(quint16 port) const override { return port == kPort; }
};

bool isRedirection(int status)
{
    constexpr std::array kRedirections = {301, 302, 303, 307, 308};
    return std::find(kRedirections.begin(), kRedirections.end(), status) != kRedirections.end();
}

} // namespace

DiscoveryFetch::DiscoveryFetch(QUrl url, WebAccess access, QObject *parent)
    : QObject(parent)
    , m_url(std::move(url))
    , m_access(std::move(access))
{
    m_whole.setSingleShot(true);
    connect(&m_whole, &QTimer::timeout, this, [this] { fail(WebProblem::TooSlow); });
}

DiscoveryFetch::~DiscoveryFetch() = default;

WebAccess DiscoveryFetch::toTheWorld(qint64 mostBytes)
{
    WebAccess access = WebAccess::toTheWorld();
    access.policy = std::make_shared<SettingsPolicy>();
    access.limits.bytes = mostBytes;
    access.limits.redirections = kMostRedirections;
    access.accept = "text/xml, application/xml";
    return access;
}

void DiscoveryFetch::start()
{
    m_whole.start(m_access.limits.wholeMilliseconds);
    QMetaObject::invokeMethod(
        this, [this] { visit(); }, Qt::QueuedConnection);
}

void DiscoveryFetch::visit()
{
    if (m_isOver)
        return;
    const std::optional<WebUrl> parts = webUrlOf(m_url);
    const std::optional<WebProxy> proxy = webProxyOfSettings();
    if (!parts)
        return fail(WebProblem::BadAddress);
    if (!parts->isEncrypted)
        return fail(WebProblem::Downgrade);
    if (!proxy)
        return fail(WebProblem::BadProxy);
    m_exchange = new WebExchange(*parts, m_access, *proxy, m_access.limits.bytes, this);
    connect(m_exchange, &WebExchange::ended, this, &DiscoveryFetch::slotEnded);
    m_exchange->start();
}

void DiscoveryFetch::slotEnded(WebProblem problem)
{
    const HttpAnswer &answer = m_exchange->answer();
    if (problem != WebProblem::None)
        return fail(problem);
    if (isRedirection(answer.status()))
        return follow(answer.field("location"));
    if (answer.status() == 200 && !answer.content().isEmpty())
        return end(answer.content(), {});
    end({}, {});
}

void DiscoveryFetch::follow(const QByteArray &location)
{
    std::exchange(m_exchange, nullptr)->deleteLater(); // it is what speaks
    if (location.isEmpty())
        return fail(WebProblem::BadAnswer);
    if (++m_redirections > m_access.limits.redirections)
        return fail(WebProblem::Redirections);
    m_url = m_url.resolved(QUrl::fromEncoded(location));
    visit();
}

void DiscoveryFetch::fail(WebProblem problem)
{
    end({}, webProblemText(problem));
}

void DiscoveryFetch::end(const QByteArray &bytes, const QString &problem)
{
    if (m_isOver)
        return;
    m_isOver = true;
    m_whole.stop();
    if (m_exchange)
        m_exchange->stop();
    emit finished(bytes, problem);
}
