#include "engine/delivery.h"

#include "config/reporter.h"
#include "engine/arrivalbatch.h"

#include <QElapsedTimer>

#include <map>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int kToldTogether = 100;       ///< milliseconds of arrivals that lists hear of at once
constexpr int kAnnouncedTogether = 1000; ///< the same for people
constexpr int kSlice = 8;                ///< milliseconds of hooks

} // namespace

Delivery::Delivery(GroupStore &store, QObject *parent)
    : QObject(parent)
    , m_store(store)
{
    m_telling.setSingleShot(true);
    m_telling.setInterval(kToldTogether);
    connect(&m_telling, &QTimer::timeout, this, &Delivery::tell);
    m_working.setInterval(0);
    connect(&m_working, &QTimer::timeout, this, &Delivery::work);
    m_announcing.setSingleShot(true);
    m_announcing.setInterval(kAnnouncedTogether);
    connect(&m_announcing, &QTimer::timeout, this, &Delivery::announce);
}

Delivery::~Delivery() = default;

Group &Delivery::groupFor(int number) const
{
    Group *group = number > 0 ? m_store.group(number) : nullptr;
    return group ? *group : *m_store.group(GroupRole::Inbox);
}

quint32 Delivery::add(Group &group, const Message &message, const Arrival &arrival)
{
    const quint32 article = m_store.addQuietly(group, message, arrival);
    if (article == 0)
        return 0;
    m_untold[group.number()].push_back(article);
    if (!m_telling.isActive())
        m_telling.start();
    return article;
}

void Delivery::tell()
{
    m_telling.stop();
    const QHash<int, Articles> untold = std::exchange(m_untold, {});
    for (auto [number, articles] : untold.asKeyValueRange()) {
        if (Group *group = m_store.group(number))
            group->tellOfAdded(articles);
    }
}

void Delivery::handOn(std::vector<DeliveredMessage> messages)
{
    if (messages.empty())
        return;
    std::move(messages.begin(), messages.end(), std::back_inserter(m_waiting));
    if (m_hooks.empty())
        return work();
    m_working.start();
}

void Delivery::work()
{
    QElapsedTimer timer;
    timer.start();
    while (!m_waiting.empty() && (m_hooks.empty() || !timer.hasExpired(kSlice)))
        takeOne();
    if (m_waiting.empty())
        m_working.stop();
    if (!m_unannounced.empty() && !m_announcing.isActive())
        m_announcing.start();
}

void Delivery::takeOne()
{
    DeliveredMessage message = std::move(m_waiting.front());
    m_waiting.pop_front();
    for (DeliveryHook *hook : m_hooks) {
        if (message.place.isNull())
            return;
        hook->take(message);
    }
    if (!message.place.isNull() && !message.completed)
        m_unannounced.push_back(message.place);
}

void Delivery::announce()
{
    m_announcing.stop();
    tell(); // lists first: who follows the announcement must find the message
    std::map<int, Articles> fresh;
    for (const MessageRef &place : std::exchange(m_unannounced, {})) {
        Group *group = m_store.group(place.group);
        const std::optional<Overview> overview = group ? group->overview(place.article) : std::nullopt;
        if (overview && !overview->has(Mark::Read))
            fresh[place.group].push_back(place.article);
    }
    std::vector<NewMail> arrived;
    for (auto &[group, articles] : fresh)
        arrived.push_back({group, std::move(articles)});
    if (!arrived.empty())
        emit newMail(arrived);
}

void Delivery::finish()
{
    for (ArrivalBatch *batch : m_batches) {
        if (!batch->flush())
            note(u"The last messages that arrived may have to be fetched again"_s);
    }
    while (!m_waiting.empty())
        takeOne();
    m_working.stop();
    announce();
}
