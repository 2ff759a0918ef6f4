#include "engine/arrivalbatch.h"

#include "config/clock.h"
#include "config/reporter.h"
#include "store/serverplace.h"

#include <utility>

ArrivalBatch::ArrivalBatch(Delivery &delivery, const AccountData &account)
    : m_delivery(&delivery)
    , m_account(account.number)
    , m_groupNumber(account.group)
    , m_journal(account.number)
{
    delivery.enter(this);
}

ArrivalBatch::~ArrivalBatch()
{
    if (m_delivery)
        m_delivery->leave(this);
}

bool ArrivalBatch::store(const QByteArray &identifier, const Message &message, Arrival arrival)
{
    arrival.account = m_account;
    arrival.time = clockSeconds();
    return put(identifier, message, message, arrival);
}

bool ArrivalBatch::storeHeader(const QByteArray &identifier, QByteArrayView header, qint64 serverSize)
{
    const QByteArray text = withServerPlace({m_account, serverSize, identifier}, header);
    const Arrival arrival = {
        .account = m_account, .time = clockSeconds(), .marks = Mark::HeaderOnly, .serverSize = serverSize};
    if (text.isNull())
        return false;
    const Message shown = m_delivery && m_delivery->hasHooks() ? Message(header.toByteArray()) : Message();
    return put(identifier, Message(text), shown, arrival);
}

bool ArrivalBatch::put(const QByteArray &identifier, const Message &message, Message shown,
                       const Arrival &arrival)
{
    if (!begin() || !m_journal.announce(identifier, message.text())) {
        report(ReportLevel::Warning, "Unable to write file '%s'", qUtf8Printable(m_journal.path()));
        return false;
    }
    const quint32 article = m_delivery->add(*m_group, message, arrival);
    if (article == 0)
        return false;
    DeliveredMessage delivered;
    delivered.place = {m_group->number(), article};
    delivered.account = m_account;
    delivered.headerOnly = arrival.marks.testFlag(Mark::HeaderOnly);
    if (m_delivery->hasHooks())
        delivered.text = std::move(shown);
    m_stored.push_back(std::move(delivered));
    return true;
}

/// A batch goes into one group: when that vanishes on the way, what was stored there has gone with it.
bool ArrivalBatch::begin()
{
    if (m_isOpen || !m_delivery)
        return m_delivery && !m_group.isNull();
    Group &group = m_delivery->groupFor(m_groupNumber);
    m_group = &group;
    m_isOpen = m_journal.begin(group);
    return m_isOpen;
}

bool ArrivalBatch::flush()
{
    if (!m_isOpen || m_stored.empty())
        return true;
    if (!m_delivery || !m_group || !m_journal.sync() || !m_group->flush())
        return false;
    m_delivery->handOn(std::exchange(m_stored, {}));
    return true;
}

void ArrivalBatch::done()
{
    if (!m_isOpen)
        return;
    m_journal.done();
    m_isOpen = false;
    m_group = nullptr;
}
