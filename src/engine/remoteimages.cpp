#include "engine/remoteimages.h"

#include "config/settings.h"
#include "net/web/webproxy.h"
#include "net/web/webrequest.h"
#include "net/web/weburl.h"

#include <algorithm>

namespace {

constexpr qsizetype kMegabyte = 1024 * 1024;

int concurrency()
{
    constexpr int kMost = 16;
    return std::clamp(intSetting(Setting::ImageFetchConcurrency), 1, kMost);
}

/// The bytes that may be kept in memory.
qsizetype cacheSize()
{
    constexpr int kMostMegabytes = 1024;
    return std::clamp(intSetting(Setting::ImageCacheSize), 0, kMostMegabytes) * kMegabyte;
}

QByteArray keyOf(const QUrl &url)
{
    return url.toEncoded(QUrl::RemoveFragment);
}

WebProblem problemOf(RemoteImages::Availability availability)
{
    switch (availability) {
    case RemoteImages::Availability::Disabled: return WebProblem::Disabled;
    case RemoteImages::Availability::Offline: return WebProblem::Offline;
    case RemoteImages::Availability::Available: break;
    }
    return WebProblem::None;
}

} // namespace

RemoteImageRequest::RemoteImageRequest(QUrl url, std::shared_ptr<RemoteImageBudget> budget, QObject *parent)
    : QObject(parent)
    , m_url(std::move(url))
    , m_budget(std::move(budget))
{}

RemoteImageRequest::~RemoteImageRequest()
{
    cancel();
}

void RemoteImageRequest::cancel()
{
    m_finished = true;
    if (m_images)
        std::exchange(m_images, nullptr)->leave(this);
}

void RemoteImageRequest::finish(const QByteArray &bytes, WebProblem problem)
{
    if (m_finished)
        return;
    m_finished = true;
    m_images = nullptr;
    m_bytes = bytes;
    m_problem = webProblemText(problem);
    emit finished();
}

void RemoteImageRequest::finishLater(const QByteArray &bytes, WebProblem problem)
{
    QMetaObject::invokeMethod(
        this, [this, bytes, problem] { finish(bytes, problem); }, Qt::QueuedConnection);
}

RemoteImages::RemoteImages(QObject *parent)
    : QObject(parent)
{}

RemoteImages::RemoteImages(WebAccess access, QObject *parent)
    : QObject(parent)
    , m_access(std::move(access))
{}

RemoteImages::~RemoteImages() = default;

/// Reading the system's certificates takes a while, and most runs never need them.
WebAccess &RemoteImages::access()
{
    if (!m_access)
        m_access = WebAccess::toTheWorld();
    return *m_access;
}

RemoteImages::Availability RemoteImages::availability()
{
    if (boolSetting(Setting::DisableImageFetches))
        return Availability::Disabled;
    return isOnline() ? Availability::Available : Availability::Offline;
}

bool RemoteImages::isFetchable(const QUrl &url)
{
    return webUrlOf(url).has_value();
}

RemoteImageRequest *RemoteImages::fetch(const QUrl &url, const std::shared_ptr<RemoteImageBudget> &budget,
                                        QObject *parent)
{
    auto *request = new RemoteImageRequest(url, budget, parent);
    m_cache.setMaxCost(cacheSize());
    const WebProblem refusal = refusalOf(url, *budget);
    --budget->pictures;
    if (refusal != WebProblem::None)
        request->finishLater({}, refusal);
    else if (const QByteArray *cached = m_cache.object(keyOf(url)))
        request->finishLater(*cached, WebProblem::None);
    else
        join(keyOf(url), request);
    return request;
}

/// What is in memory needs no network, but leave to be shown.
WebProblem RemoteImages::refusalOf(const QUrl &url, const RemoteImageBudget &budget) const
{
    if (!isFetchable(url))
        return WebProblem::BadAddress;
    if (budget.pictures <= 0)
        return WebProblem::TooMany;
    if (budget.bytes <= 0)
        return WebProblem::TooMuch;
    const Availability state = availability();
    const bool isInMemory = m_cache.contains(keyOf(url));
    return state == Availability::Offline && isInMemory ? WebProblem::None : problemOf(state);
}

void RemoteImages::join(const QByteArray &key, RemoteImageRequest *request)
{
    request->m_images = this;
    const auto [flight, isNew] = m_flights.try_emplace(key);
    flight->second.waiting.emplace_back(request);
    if (isNew) {
        m_queue.push_back(key);
        startSoon();
    }
}

void RemoteImages::leave(RemoteImageRequest *request)
{
    const QByteArray key = keyOf(request->m_url);
    const auto flight = m_flights.find(key);
    if (flight == m_flights.end())
        return;
    Waiting &waiting = flight->second.waiting;
    std::erase_if(waiting, [request](const auto &other) { return !other || other == request; });
    if (waiting.empty())
        takeFlight(key);
}

/// Out of the lists, with its connection closed.
RemoteImages::Flight RemoteImages::takeFlight(const QByteArray &key)
{
    Flight flight = std::move(m_flights.extract(key).mapped());
    std::erase(m_queue, key);
    if (flight.request) {
        --m_running;
        flight.request->stop();
        flight.request->deleteLater(); // it may be the one that speaks
    }
    startSoon();
    return flight;
}

void RemoteImages::startSoon()
{
    QMetaObject::invokeMethod(this, &RemoteImages::startWhatMay, Qt::QueuedConnection);
}

void RemoteImages::startWhatMay()
{
    while (m_running < concurrency() && !m_queue.empty()) {
        const QByteArray key = m_queue.front();
        m_queue.pop_front();
        start(key, m_flights.at(key));
    }
}

/// The settings may have changed since it was asked for.
void RemoteImages::start(const QByteArray &key, Flight &flight)
{
    const std::optional<WebProxy> proxy = webProxyOfSettings();
    if (availability() != Availability::Available)
        return land(key, {}, problemOf(availability()));
    if (!proxy)
        return land(key, {}, WebProblem::BadProxy);
    flight.request = new WebRequest(QUrl::fromEncoded(key), access(), *proxy, this);
    ++m_running;
    connect(flight.request, &WebRequest::received, this, [this, key](qint64 bytes) { charge(key, bytes); });
    connect(flight.request, &WebRequest::finished, this,
            [this, key](const QByteArray &bytes, WebProblem problem) { land(key, bytes, problem); });
    flight.request->start();
}

/// Each message that waits for the picture pays for it, once; who cannot does not get it.
void RemoteImages::charge(const QByteArray &key, qint64 bytes)
{
    const Waiting waiting = m_flights.at(key).waiting;
    std::vector<RemoteImageBudget *> charged;
    for (const auto &request : waiting) {
        RemoteImageBudget *budget = request ? request->m_budget.get() : nullptr;
        if (!budget)
            continue;
        if (std::find(charged.begin(), charged.end(), budget) == charged.end()) {
            charged.push_back(budget);
            budget->bytes -= bytes;
        }
        if (budget->bytes < 0) {
            leave(request);
            request->finish({}, WebProblem::TooMuch);
        }
    }
}

void RemoteImages::land(const QByteArray &key, const QByteArray &bytes, WebProblem problem)
{
    const Flight flight = takeFlight(key);
    m_cache.setMaxCost(cacheSize());
    if (problem == WebProblem::None)
        m_cache.insert(key, new QByteArray(bytes), bytes.size());
    for (const auto &request : flight.waiting) {
        if (request)
            request->finish(bytes, problem);
    }
}
