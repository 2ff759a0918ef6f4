#include "compose/messagebuilder.h"
#include "config/clock.h"
#include "config/reporter.h"
#include "config/settings.h"
#include "engine/outbox.h"
#include "engine/outboxtext.h"
#include "identity/identitymanager.h"
#include "store/groupstore.h"

#include <QDateTime>
#include <QScopedValueRollback>

#include <algorithm>
#include <array>
#include <map>

// How waiting messages get to their senders, and what comes back.

using namespace Qt::StringLiterals;

namespace {

using Fate = OutboxRecipient::Fate;
using Durable = OutboxFile::Durable;

/// Seconds until a message that was refused for now is tried again; the last one holds for all further tries,
/// until the first refusal is that long ago.
constexpr std::array<qint64, 4> kPauses = {5 * 60, 15 * 60, 60 * 60, 60 * 60};
constexpr qint64 kLongestTrying = 2 * 24 * 3600;

constexpr qint64 kRest = 60; ///< seconds for which what was given back unsent is let alone

constexpr qsizetype kSmallText = 64 * 1024; ///< bytes; kept until the copy is filed
constexpr std::size_t kFiledAtOnce = 100;
constexpr qint64 kPauseOfFiling = 60; ///< seconds after a failure

} // namespace

int Outbox::waiting(int account) const
{
    const qint64 now = clockSeconds();
    const std::vector<OutboxRecord> &all = m_file.records();
    return int(std::count_if(all.begin(), all.end(), [=, this](const OutboxRecord &record) {
        return record.account == account && isReady(record, now);
    }));
}

/// Whose the servers are is known only with the identities.
bool Outbox::isReady(const OutboxRecord &record, qint64 now) const
{
    return record.mayGo(now) && isWanted(record) && m_identities.isReadable();
}

std::optional<OutgoingMessage> Outbox::next(int account)
{
    if (account == 0 || !isOnline())
        return {};
    group().rowCount();
    if (!group().isOpen())
        return {}; // it waits for its repair; nothing in it is lost
    while (OutboxRecord *record = nextReady(account)) {
        if (std::optional<OutgoingMessage> message = lease(*record))
            return message;
    }
    return {};
}

/// The list is looked through once a second and at its end, not for each message.
OutboxRecord *Outbox::nextReady(int account)
{
    const qint64 now = clockSeconds();
    Ready &ready = m_ready[account];
    for (const bool isOld : {ready.at != now, true}) {
        if (isOld)
            ready = {now, readyTickets(account, now)};
        while (!ready.tickets.empty()) {
            OutboxRecord *record = m_file.find(ready.tickets.front());
            ready.tickets.pop_front();
            if (record && record->account == account && isReady(*record, now))
                return record;
        }
    }
    return nullptr;
}

/// What came back unsent is behind all others: should a session always end at it, they go first.
std::deque<quint64> Outbox::readyTickets(int account, qint64 now) const
{
    std::vector<std::pair<int, quint64>> order;
    for (const OutboxRecord &record : m_file.records()) {
        if (record.account == account && isReady(record, now))
            order.emplace_back(record.returns, record.ticket);
    }
    std::sort(order.begin(), order.end());
    std::deque<quint64> tickets;
    for (const auto &[returns, ticket] : order)
        tickets.push_back(ticket);
    return tickets;
}

/// To the second. The system looks its zone up each time that it is asked.
QDateTime Outbox::localTime()
{
    if (!m_localTime.isValid() || m_localTime.toSecsSinceEpoch() != clockSeconds()) {
        const QDateTime local = clockNow();
        m_localTime = local.toOffsetFromUtc(local.offsetFromUtc());
    }
    return m_localTime;
}

/// None: it cannot go as it is, and waits for the user.
std::optional<OutgoingMessage> Outbox::lease(OutboxRecord &record)
{
    const QDateTime now = localTime();
    QByteArray text = m_filing.textOf(record);
    touched();
    if (text.isNull()) {
        m_file.mark(record.ticket, OutboxVerb::Refused,
                    {"0", indicesField(record.indices({})), textField(tr("It cannot be read"))},
                    Durable::Later);
        return {};
    }
    if (!record.wish.isBounce && wouldLeaveInClear(text)) {
        keepInClear(record);
        return {};
    }
    if (record.isAdopted)
        text = withoutControls(text);
    if (record.transport == OutboxTransport::News)
        text = postedForm(text);
    record.isLeased = true;
    record.isFresh = false;
    record.isPutOff = record.isRefused = false;
    record.leasedAt = now;
    OutgoingMessage message{record.ticket, dated(text, now, record.wish.isBounce), {}};
    record.leasedText = message.text.size() <= kSmallText ? message.text : QByteArray();
    for (const OutboxRecipient &one : record.recipients) {
        if (one.fate == Fate::Open && !one.address.isEmpty())
            message.remaining += one.address;
    }
    return message;
}

bool Outbox::hasRoom(quint64 ticket)
{
    OutboxRecord *record = m_file.find(ticket);
    if (!record || m_file.hasRoom(record->recipients.size()))
        return record != nullptr;
    cannotWrite(*record);
    return false;
}

/// Until it can, nothing of this account goes to its server in vain.
void Outbox::cannotWrite(OutboxRecord &record)
{
    record.reason = tr("It cannot be written down that it is being sent");
    m_sendoff.spoil(record.account);
}

/// It came here when nobody looked at that, or by hand.
void Outbox::keepInClear(OutboxRecord &record)
{
    const QString reason = tr("It is to be encrypted, which is not possible yet");
    m_file.mark(record.ticket, OutboxVerb::Retry, {"0", "-1", "0"}, Durable::Later);
    m_file.mark(record.ticket, OutboxVerb::Told, {textField(reason)}, Durable::Later);
    m_syncing.start();
    QMetaObject::invokeMethod(
        this, [this, ticket = record.ticket, reason] { emit failed(ticket, reason); }, Qt::QueuedConnection);
}

bool Outbox::sending(quint64 ticket, const QList<QByteArray> &recipients)
{
    OutboxRecord *record = m_file.find(ticket);
    if (!record || !record->isLeased)
        return false;
    std::vector<int> indices = record->indices(recipients);
    if (qsizetype(indices.size()) < recipients.size()) // rather too many in doubt than one too few
        indices = record->indices({});
    const QDateTime date = record->leasedAt;
    if (m_file.mark(ticket, OutboxVerb::Sending,
                    {QByteArray::number(date.toSecsSinceEpoch()), QByteArray::number(date.offsetFromUtc()),
                     indicesField(indices)},
                    Durable::Now))
        return true;
    cannotWrite(*record);
    return false;
}

void Outbox::accepted(quint64 ticket, const QList<QByteArray> &recipients)
{
    OutboxRecord *record = m_file.find(ticket);
    if (!record)
        return;
    std::vector<int> indices = record->indices(recipients);
    for (std::size_t i = 0; i < record->recipients.size(); ++i) { // also under another spelling
        if (record->recipients[i].fate == Fate::Doubtful)
            indices.push_back(int(i));
    }
    std::sort(indices.begin(), indices.end());
    indices.erase(std::unique(indices.begin(), indices.end()), indices.end());
    m_file.mark(ticket, OutboxVerb::Accepted, {indicesField(indices)}, Durable::Later);
    m_syncing.start();
    touched();
}

void Outbox::refused(quint64 ticket, const QList<OutgoingRefusal> &refusals)
{
    OutboxRecord *record = m_file.find(ticket);
    if (!record)
        return;
    for (const OutgoingRefusal &refusal : refusals) {
        const bool isWhole = refusal.recipient.isEmpty();
        const std::vector<int> indices =
            record->indices(isWhole ? QList<QByteArray>() : QList<QByteArray>{refusal.recipient});
        const QString text = refusal.text.trimmed().isEmpty() ? tr("It was refused") : refusal.text.trimmed();
        m_file.mark(ticket, OutboxVerb::Refused,
                    {QByteArray::number(refusal.code), indicesField(indices), textField(text)},
                    Durable::Later);
        record->isPutOff = record->isPutOff || refusal.isTemporary();
        record->isRefused = record->isRefused || !refusal.isTemporary();
    }
    m_syncing.start();
    touched();
}

void Outbox::release(quint64 ticket, const QString &reason)
{
    endLease(ticket, [&](OutboxRecord &record) { released(record, reason); });
}

void Outbox::handBack(quint64 ticket)
{
    endLease(ticket, [](OutboxRecord &) {});
}

void Outbox::endLease(quint64 ticket, const std::function<void(OutboxRecord &)> &unserved)
{
    OutboxRecord *record = m_file.find(ticket);
    if (!record || !std::exchange(record->isLeased, false))
        return;
    touched();
    if (record->isServed())
        return settle(ticket);
    record->leasedText.clear();
    unserved(*record);
    record = m_file.find(ticket);
    if (record && record->away) { // the user deleted it meanwhile
        const int draft = record->wish.draft;
        if (record->has(Fate::Served))
            settle(ticket);
        giveUp(draft);
        record = m_file.find(ticket);
    }
    if (record)
        assignAccount(*record); // its own may be gone
}

/// The end of a lease that did not end in the acceptance by all.
void Outbox::released(OutboxRecord &record, const QString &reason)
{
    const quint64 ticket = record.ticket;
    m_syncing.start();
    if (record.has(Fate::Doubtful)) {
        const QString why = reason.isEmpty() ? tr("The connection ended") : reason;
        const QString told = tr("It may have arrived: %1").arg(why);
        m_file.mark(ticket, OutboxVerb::Told, {textField(told)}, Durable::Later);
        emit perhapsSent(ticket);
        return;
    }
    if (record.isPutOff && record.has(Fate::Open)) {
        putOff(record);
    } else if (record.has(Fate::Open)) {
        record.restsUntil = clockSeconds() + kRest;
        m_file.mark(ticket, OutboxVerb::Returned, {QByteArray::number(record.returns + 1)}, Durable::Later);
    }
    if (!record.isPutOff && !reason.isEmpty() && reason != record.reason)
        m_file.mark(ticket, OutboxVerb::Told, {textField(reason)}, Durable::Later);
    if (record.isRefused || record.isGivenUp)
        emit failed(ticket, record.entry(clockSeconds()).reason);
}

/// Refused for now: it is tried again, for two days.
void Outbox::putOff(OutboxRecord &record)
{
    const qint64 now = clockSeconds();
    const qint64 first = record.attempts == 0 ? now : record.firstRefusal;
    const auto pause = qMin<std::size_t>(std::size_t(record.attempts), kPauses.size() - 1);
    const qint64 due = now - first >= kLongestTrying ? -1 : now + kPauses[pause];
    m_file.mark(record.ticket, OutboxVerb::Retry,
                {QByteArray::number(record.attempts + 1), QByteArray::number(due), QByteArray::number(first)},
                Durable::Later);
}

void Outbox::settle(quint64 ticket)
{
    if (std::find(m_settled.begin(), m_settled.end(), ticket) == m_settled.end())
        m_settled.push_back(ticket);
    if (m_settled.size() >= kFiledAtOnce)
        return fileSettled();
    if (!m_fileSoon.isActive())
        m_fileSoon.start();
    m_prepareSoon.start(); // while the server is at work
}

void Outbox::prepareSettled()
{
    if (!m_filing.prepareNext(m_settled))
        m_prepareSoon.stop();
}

void Outbox::fileSettled()
{
    m_fileSoon.stop();
    m_prepareSoon.stop();
    if (m_settled.empty())
        return;
    const QScopedValueRollback own(m_isOwnChange, true);
    m_filing.file(std::vector(m_settled)); // who is told of a filed one may settle another
    std::erase_if(m_settled, [this](quint64 ticket) {
        const OutboxRecord *record = m_file.find(ticket);
        return !record ||
               (!record->isServed() && !record->isTaken && !record->copy && !record->wish.keepsCopy);
    });
    m_fileAgain = m_settled.empty() ? 0 : clockSeconds() + kPauseOfFiling;
    touched();
}

/// A sender that went without giving back what it had.
void Outbox::endLeases(int account, const QString &reason)
{
    std::vector<quint64> leased;
    for (OutboxRecord &record : m_file.records()) {
        if (record.account != account)
            continue;
        record.isFresh = false; // nobody is asked a second time
        if (record.isLeased)
            leased.push_back(record.ticket);
    }
    for (const quint64 ticket : leased)
        release(ticket, reason);
    touched(); // why it waits
}

void Outbox::finish()
{
    m_syncing.stop();
    fileSettled();
    m_file.sync();
}

void Outbox::tick()
{
    const qint64 now = clockSeconds();
    for (const quint64 ticket : std::exchange(m_untold, {}))
        emit perhapsSent(ticket);
    const std::vector<OutboxRecord> &all = m_file.records();
    const bool isDue = std::any_of(all.begin(), all.end(), [&](const OutboxRecord &record) {
        return record.due > m_lastTick && record.due <= now;
    });
    m_lastTick = now;
    const bool wasOnline = std::exchange(m_wasOnline, isOnline());
    if (m_wasOnline && !wasOnline)
        m_sendoff.resumeAll();
    if (isDue || wasOnline != m_wasOnline)
        touched();
    m_file.compact();
    if (m_forgetAgain != 0 && m_forgetAgain <= now)
        completeTaking();
    if (!m_settled.empty() && !m_fileSoon.isActive() && m_fileAgain <= now)
        fileSettled();
    sendWaiting(false);
}

/// What goes by itself, and what was asked for.
bool Outbox::isWanted(const OutboxRecord &record) const
{
    return record.isAsked || record.attempts > 0 || record.hold == OutboxRecord::Hold::Date ||
           boolSetting(Setting::AutoSend);
}

/// 0: those of all accounts.
void Outbox::askAll(int account)
{
    const qint64 now = clockSeconds();
    for (OutboxRecord &record : m_file.records()) {
        if (account != 0 && record.account != account)
            continue;
        record.restsUntil = 0;
        record.isAsked = record.isAsked || record.mayGo(now);
    }
}

/// One that the user began elsewhere is for all that waits.
void Outbox::fetchStarted(const Account *account)
{
    if (!m_sendoff.hasStarted(account->number()))
        askAll(account->number());
    touched();
}

void Outbox::sendWaiting(bool manual)
{
    const qint64 now = clockSeconds();
    if (manual)
        askAll(0);
    std::optional<int> missing;
    std::map<int, Sendoff::Wish> accounts;
    for (const OutboxRecord &record : m_file.records()) {
        if (!isReady(record, now))
            continue;
        if (record.account == 0 && record.transport == OutboxTransport::Mail && !missing)
            missing = record.identity;
        Sendoff::Wish &wish = accounts.try_emplace(record.account, Sendoff::Wish::ByItself).first->second;
        if (manual)
            wish = Sendoff::Wish::AtOnce;
        else if (record.isFresh)
            wish = Sendoff::Wish::Attended;
    }
    if (manual && missing)
        emit accountMissing(*missing);
    for (const auto &[account, wish] : accounts)
        m_sendoff.start(account, wish);
}
