#include "net/web/webrequest.h"

#include "net/web/pictures.h"
#include "net/web/webexchange.h"

using namespace Qt::StringLiterals;

namespace {

bool isRedirection(int status)
{
    constexpr std::array kRedirections = {301, 302, 303, 307, 308};
    return std::find(kRedirections.begin(), kRedirections.end(), status) != kRedirections.end();
}

} // namespace

WebRequest::WebRequest(QUrl url, WebAccess access, WebProxy proxy, QObject *parent)
    : QObject(parent)
    , m_url(std::move(url))
    , m_access(std::move(access))
    , m_proxy(std::move(proxy))
{
    m_whole.setSingleShot(true);
    connect(&m_whole, &QTimer::timeout, this, [this] { end({}, WebProblem::TooSlow); });
}

WebRequest::~WebRequest()
{
    stop();
}

void WebRequest::start()
{
    m_whole.start(m_access.limits.wholeMilliseconds);
    QMetaObject::invokeMethod(
        this, [this] { visit(m_url); }, Qt::QueuedConnection);
}

void WebRequest::stop()
{
    m_isOver = true;
    m_whole.stop();
    if (m_exchange) {
        m_exchange->stop();
        m_exchange->deleteLater(); // it may be the one that speaks
        m_exchange = nullptr;
    }
}

void WebRequest::end(const QByteArray &bytes, WebProblem problem)
{
    if (m_isOver)
        return;
    stop();
    emit finished(bytes, problem);
}

void WebRequest::visit(const QUrl &url)
{
    if (m_isOver)
        return;
    const std::optional<WebUrl> parts = webUrlOf(url);
    if (!parts)
        return end({}, WebProblem::BadAddress);
    m_url = url;
    m_exchange = new WebExchange(*parts, m_access, m_proxy, m_access.limits.bytes, this);
    connect(m_exchange, &WebExchange::received, this, &WebRequest::slotReceived);
    connect(m_exchange, &WebExchange::ended, this, &WebRequest::slotEnded);
    m_exchange->start();
}

/// What is no picture is not waited for.
void WebRequest::slotReceived(qint64 bytes)
{
    const QByteArray content = m_exchange->answer().content();
    if (content.size() >= kBytesThatTell && !beginsPicture(content))
        return end({}, WebProblem::NoPicture);
    emit received(bytes);
}

void WebRequest::slotEnded(WebProblem problem)
{
    const HttpAnswer &answer = m_exchange->answer(); // lives on until the event loop turns
    if (problem != WebProblem::None)
        return end({}, problem);
    if (isRedirection(answer.status()))
        return follow(answer.field("location"));
    if (answer.status() != 200)
        return end({}, WebProblem::Refused);
    if (!beginsPicture(answer.content()))
        return end({}, WebProblem::NoPicture);
    end(answer.content(), WebProblem::None);
}

void WebRequest::follow(const QByteArray &location)
{
    std::exchange(m_exchange, nullptr)->deleteLater();
    const QUrl next = m_url.resolved(QUrl::fromEncoded(location));
    if (location.isEmpty())
        return end({}, WebProblem::BadAnswer);
    if (++m_redirections > m_access.limits.redirections)
        return end({}, WebProblem::Redirections);
    if (m_url.scheme() == "https"_L1 && next.scheme() == "http"_L1)
        return end({}, WebProblem::Downgrade);
    visit(next);
}
