#include "engine/accountreceiver.h"

#include "config/reporter.h"
#include "store/serverplace.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

AccountReceiver::AccountReceiver(Delivery &delivery, const AccountData &account)
    : m_delivery(&delivery)
    , m_account(account.number)
    , m_batch(delivery, account)
{}

/// What is stored is made safe; the journal tells the next session of it.
AccountReceiver::~AccountReceiver()
{
    if (!m_delivery)
        return;
    if (!flush())
        note(u"The last messages for account %1 may have to be fetched again"_s.arg(m_account));
    m_delivery->announce();
}

std::optional<QList<QByteArray>> AccountReceiver::recover()
{
    ArrivalJournal journal(m_account);
    if (!m_delivery || !journal.settle([this](int number) { return m_delivery->store().group(number); }))
        return {};
    m_hasArrived = true;
    return journal.arrived();
}

bool AccountReceiver::store(const ReceivedMessage &message)
{
    if (message.headerOnly)
        return m_batch.storeHeader(message.identifier, message.text, message.serverSize);
    return m_batch.store(message.identifier, Message(message.text),
                         {.serverHash = identifierHash(message.identifier)});
}

bool AccountReceiver::complete(const WaitingMessage &place, const ReceivedMessage &message)
{
    m_completions.push_back({place, message.identifier, Message(message.text)});
    return true;
}

bool AccountReceiver::flush()
{
    return m_batch.flush() && completeWhatWaits();
}

void AccountReceiver::remembered()
{
    m_batch.done();
    if (std::exchange(m_hasArrived, false))
        ArrivalJournal(m_account).forgetArrived();
}

bool AccountReceiver::completeWhatWaits()
{
    if (m_completions.empty() || !m_delivery)
        return m_completions.empty();
    GroupStore &store = m_delivery->store();
    store.settleTransfer(); // they are looked up where they stay
    std::vector<GroupStore::WholeMessage> whole;
    std::vector<Completion> homeless;
    for (const Completion &completion : std::exchange(m_completions, {})) {
        const MessageRef place = find(completion);
        if (!place.isNull())
            whole.push_back({place, completion.text, identifierHash(completion.identifier)});
        else if (!isHere(completion))
            homeless.push_back(completion);
    }
    bool completed = true;
    if (!whole.empty()) {
        completed = store.complete(whole);
        std::vector<DeliveredMessage> delivered;
        for (GroupStore::WholeMessage &message : whole)
            delivered.push_back({message.place, std::move(message.text), m_account, false, true});
        m_delivery->handOn(std::move(delivered));
    }
    return completed && storeAsNew(homeless);
}

bool AccountReceiver::storeAsNew(const std::vector<Completion> &completions)
{
    for (const Completion &completion : completions) {
        if (!m_batch.store(completion.identifier, completion.text,
                           {.serverHash = identifierHash(completion.identifier)}))
            return false;
    }
    return completions.empty() || m_batch.flush();
}

/// Where the message waits now; null when it is gone.
MessageRef AccountReceiver::find(const Completion &completion) const
{
    const MessageRef place{completion.place.group, completion.place.article};
    if (waits(place, completion.identifier))
        return place;
    for (const MessageIndex::Place &known : m_delivery->store().findMessage(completion.text.messageId())) {
        const MessageRef other{known.group, known.article};
        if (waits(other, completion.identifier))
            return other;
    }
    return completion.text.messageId().isEmpty() ? findEverywhere(completion.identifier) : MessageRef();
}

/// For a message without a Message-ID, which no index knows.
MessageRef AccountReceiver::findEverywhere(const QByteArray &identifier) const
{
    for (Group *group : m_delivery->store().groups()) {
        for (int row = group->rowCount() - 1; row >= 0; --row) {
            if (!group->row(row).has(Mark::HeaderOnly) || group->row(row).idHash() != 0)
                continue;
            const MessageRef place{group->number(), group->row(row).article()};
            if (waits(place, identifier))
                return place;
        }
    }
    return {};
}

/// Whether its whole was put here before, wherever it lies now.
bool AccountReceiver::isHere(const Completion &completion) const
{
    const quint64 hash = identifierHash(completion.identifier);
    const QByteArray messageId = completion.text.messageId();
    if (messageId.isEmpty())
        return isHereWithoutId(hash);
    const auto places = m_delivery->store().findMessage(messageId);
    return std::any_of(places.begin(), places.end(), [&](const MessageIndex::Place &place) {
        Group *group = m_delivery->store().group(place.group);
        const std::optional<Overview> overview = group ? group->overview(place.article) : std::nullopt;
        return overview && isWhole(*overview, hash);
    });
}

bool AccountReceiver::isHereWithoutId(quint64 hash) const
{
    for (Group *group : m_delivery->store().groups()) {
        for (int row = group->rowCount() - 1; row >= 0; --row) {
            const Overview &overview = group->row(row);
            if (overview.idHash() == 0 && !overview.isDead() && isWhole(overview, hash))
                return true;
        }
    }
    return false;
}

bool AccountReceiver::isWhole(const Overview &overview, quint64 hash) const
{
    return overview.account() == (m_account & 0xffff) && !overview.has(Mark::HeaderOnly) &&
           overview.serverHash() == hash;
}

bool AccountReceiver::waits(MessageRef place, const QByteArray &identifier) const
{
    Group *group = m_delivery->store().group(place.group);
    const std::optional<Overview> overview = group ? group->overview(place.article) : std::nullopt;
    if (!overview || !overview->has(Mark::HeaderOnly))
        return false;
    const std::optional<ServerPlace> known = serverPlaceOf(group->readMessage(*overview));
    return known && known->account == m_account && known->identifier == identifier;
}
