#include "config/clock.h"
#include "engine/outbox.h"
#include "engine/outboxtext.h"
#include "identity/identitymanager.h"
#include "store/groupstore.h"

#include <QScopedValueRollback>

#include <algorithm>
#include <map>
#include <set>

// What the user does with waiting messages: taking them back, sending, holding and deleting them.

using namespace Qt::StringLiterals;

namespace {

using Fate = OutboxRecipient::Fate;
using Durable = OutboxFile::Durable;

constexpr qint64 kPauseOfForgetting = 60; ///< seconds after a failure

QByteArray numberField(qint64 number)
{
    return QByteArray::number(number);
}

} // namespace

// --- Taking back ----------------------------------------------------------------------------------------

/// The text keeps only those to whom it has not gone: of what is both mailed and posted, one half may be
/// done.
Outbox::Taking Outbox::lookAtTaking(quint64 ticket) const
{
    const OutboxRecord *wanted = m_file.find(ticket);
    if (!wanted || wanted->away || wanted->isServed() || wanted->copy)
        return {{}, {}, tr("The message was sent already.")};
    if (wanted->isLetGo)
        return {{}, {}, tr("The message is being edited already.")};
    Taking taking{{}, m_filing.textOf(*wanted), {}};
    if (taking.text.isNull())
        return {{}, {}, tr("The message cannot be read. It stays in the outbox.")};
    QStringList notices;
    bool mailWaits = false;
    bool postWaits = false;
    for (const OutboxRecord &record : m_file.records()) {
        if (record.place != wanted->place || record.isServed() || record.copy || record.isLetGo)
            continue;
        if (record.isLeased)
            return {{}, {}, tr("The message is on its way already.")};
        const bool isMail = record.transport == OutboxTransport::Mail;
        (isMail ? mailWaits : postWaits) = true;
        taking.tickets.push_back(record.ticket);
        if (record.has(Fate::Doubtful))
            notices += tr("It may have been sent already.");
        if (isMail && record.has(Fate::Served)) {
            taking.text = onlyTo(taking.text, record.entry(0).remaining);
            notices += tr("Some have it already; they are no recipients any more.");
        }
    }
    const bool isBounce = wanted->wish.isBounce;
    if (!postWaits && !isBounce && isPost(taking.text)) {
        taking.text = withoutPost(taking.text);
        notices += tr("It was posted already, and is only mailed now.");
    }
    if (!mailWaits && !outgoingRecipients(taking.text, true).isEmpty()) {
        taking.text = onlyTo(taking.text, {});
        notices += tr("It was mailed already, and is only posted now.");
    }
    notices.removeDuplicates();
    taking.notice = notices.join(u' ');
    return taking;
}

/// What is taken does not go by itself any more, after a crash neither. False after a report.
bool Outbox::markTaken(const std::vector<quint64> &tickets)
{
    return std::all_of(tickets.begin(), tickets.end(), [&](quint64 ticket) {
        return m_file.mark(ticket, OutboxVerb::Taken, {kTaken}, Durable::Now);
    });
}

/// It waits as before, whether that can be written down now or later.
void Outbox::unmarkTaken(const std::vector<quint64> &tickets)
{
    for (const quint64 ticket : tickets)
        m_file.mark(ticket, OutboxVerb::Taken, {kNotTaken}, Durable::Later);
    m_file.sync();
}

QByteArray Outbox::takeBack(quint64 ticket, const Keep &keep, QString *notice)
{
    Taking taking = lookAtTaking(ticket);
    if (!taking.text.isNull() && !markTaken(taking.tickets)) {
        unmarkTaken(taking.tickets);
        taking = {{}, {}, tr("It cannot be written down that it is taken back. It stays in the outbox.")};
    }
    if (!taking.text.isNull() && keep && !keep(taking.text)) {
        unmarkTaken(taking.tickets);
        taking = {{}, {}, tr("The message cannot be saved as a draft. It stays in the outbox.")};
    }
    if (notice)
        *notice = taking.notice;
    if (!taking.text.isNull())
        letGo(taking.tickets, bool(keep));
    touched();
    return taking.text;
}

/// Its draft is there: whether that can be written down now or later, it does not go out of here any more.
/// What cannot be forgotten yet is forgotten later.
void Outbox::letGo(const std::vector<quint64> &tickets, bool isKept)
{
    const QScopedValueRollback own(m_isOwnChange, true);
    for (const quint64 ticket : tickets) {
        if (const OutboxRecord *record = m_file.find(ticket); record && !record->isLetGo)
            m_file.mark(ticket, OutboxVerb::Taken, {kLetGo}, Durable::Later);
    }
    m_file.sync();
    m_forgetAgain = 0;
    for (const quint64 ticket : tickets) {
        const OutboxRecord *record = m_file.find(ticket);
        if (!record)
            continue;
        const bool mayGo = (isKept || record->wish.draft != 0) && !record->has(Fate::Doubtful);
        if (record->has(Fate::Served))
            settle(ticket); // some have got it
        else if (!m_filing.forget(ticket,
                                  mayGo ? SentFiling::Leaving::ForGood : SentFiling::Leaving::ToBasket))
            m_forgetAgain = clockSeconds() + kPauseOfForgetting;
    }
    m_file.sync();
}

/// What a crash or a full disk left of that.
void Outbox::completeTaking()
{
    std::vector<quint64> tickets;
    for (const OutboxRecord &record : m_file.records()) {
        if (record.isLetGo)
            tickets.push_back(record.ticket);
    }
    if (!tickets.empty())
        letGo(tickets, false);
}

// --- Sending and holding --------------------------------------------------------------------------------

void Outbox::sendNow(const QList<quint64> &tickets)
{
    std::set<quint64> wanted;
    std::set<MessageRef> places;
    for (const quint64 ticket : tickets) {
        const OutboxRecord *record = m_file.find(ticket);
        if (!record || record->isServed() || record->copy || record->away || record->isLetGo)
            continue;
        wanted.insert(ticket);
        places.insert(record->place);
    }
    if (wanted.empty())
        return;
    const Durable durable = wanted.size() == 1 ? Durable::Now : Durable::Later; // then all at once
    std::map<int, int> identities; // by the accounts that are to send, one of each
    for (const OutboxRecord &record : m_file.records()) {
        const bool goesAlong = places.contains(record.place) && !record.has(Fate::Doubtful) &&
                               !record.isGivenUp && !record.isServed() && record.has(Fate::Open);
        if ((!wanted.contains(record.ticket) && !goesAlong) || record.isLeased || record.copy ||
            record.away || record.isLetGo)
            continue;
        const bool isMarked = m_file.mark(record.ticket, OutboxVerb::Wait, {}, durable);
        if (isMarked && record.transport == OutboxTransport::Mail)
            identities.emplace(record.account, record.identity);
    }
    if (durable == Durable::Later && !m_file.sync())
        identities.clear();
    touched();
    if (!m_identities.isReadable())
        return;
    for (const auto &[account, identity] : identities) {
        if (account == 0)
            emit accountMissing(identity);
        else
            m_sendoff.start(account, Sendoff::Wish::AtOnce);
    }
}

bool Outbox::holdUntil(quint64 ticket, qint64 due)
{
    const OutboxRecord *record = m_file.find(ticket);
    if (!record || record->isLeased || record->isServed() || record->copy || record->isLetGo ||
        record->has(Fate::Doubtful) || due <= 0)
        return false;
    const bool isHeld = m_file.mark(ticket, OutboxVerb::Hold, {numberField(due)}, Durable::Now);
    touched();
    return isHeld;
}

void Outbox::settleAsSent(quint64 ticket)
{
    const OutboxRecord *record = m_file.find(ticket);
    if (!record || record->isLeased || record->isLetGo || !record->has(Fate::Doubtful) ||
        !m_file.mark(ticket, OutboxVerb::Settled, {}, Durable::Now))
        return;
    if (record->isServed())
        settle(ticket);
    touched();
}

// --- Deleting, and bringing back ------------------------------------------------------------------------

/// What the user does in the list of the group.
void Outbox::followGroup()
{
    connect(&group(), &Group::messagesRemoved, this, &Outbox::messagesRemoved, Qt::UniqueConnection);
    connect(&m_store, &GroupStore::messagesDeleting, this,
            [this](const Group *from, const Articles &articles) {
                if (from == &group() && !m_isOwnChange && !m_store.usesWasteBasket(*from))
                    rescueDoubtful(articles);
            });
    connect(&group(), &Group::messagesAdded, this, [this](const Articles &articles) {
        if (m_isOwnChange)
            return;
        for (const quint32 article : articles) {
            if (!cameBack(article))
                adopt(article, false);
        }
        m_syncing.start();
        touched();
    });
}

void Outbox::messagesRemoved(const Articles &articles)
{
    if (m_isOwnChange)
        return;
    const std::set<quint32> removed(articles.begin(), articles.end());
    std::vector<quint64> tickets;
    for (const OutboxRecord &record : m_file.records()) {
        if (removed.contains(record.place.article) && !record.copy && !record.away)
            tickets.push_back(record.ticket);
    }
    for (const quint64 ticket : tickets) {
        OutboxRecord &record = *m_file.find(ticket);
        const int draft = record.wish.draft;
        const bool isLeased = record.isLeased; // then its end decides
        sendAway(record);
        if (!isLeased)
            giveUp(draft);
    }
    m_syncing.start();
    touched();
}

/// What is known of a deleted message is kept: when it comes back, who was served must not get it again. What
/// some were served of is filed.
void Outbox::sendAway(OutboxRecord &record)
{
    const int row = group().rowOf(record.place.article);
    const QByteArray messageId =
        row < 0 ? QByteArray() : group().texts(group().row(row)).messageId.toLatin1();
    const quint64 ticket = record.ticket;
    m_file.mark(ticket, OutboxVerb::Away, awayFields(messageId), Durable::Later);
    if (record.has(Fate::Served) && !record.isLeased)
        settle(ticket);
}

/// Without a waste basket, too, nothing is destroyed of which nobody knows whether it was sent.
void Outbox::rescueDoubtful(const Articles &articles)
{
    const std::set<quint32> leaving(articles.begin(), articles.end());
    Articles doubtful;
    for (const OutboxRecord &record : m_file.records()) {
        if (record.has(Fate::Doubtful) && !record.away && leaving.contains(record.place.article))
            doubtful.push_back(record.place.article);
    }
    if (!doubtful.empty())
        m_store.move(group(), doubtful, *m_store.group(GroupRole::WasteBasket));
}

/// Whether the message is one that was deleted before: it waits again as it did.
bool Outbox::cameBack(quint32 article)
{
    const std::optional<Overview> overview = group().overview(article);
    bool isKnown = false;
    for (OutboxRecord &record : m_file.records()) {
        if (!overview || !record.away || record.crc != overview->textCrc() ||
            record.length != overview->unpackedLength())
            continue;
        isKnown = true;
        m_file.mark(record.ticket, OutboxVerb::Back, {numberField(group().number()), numberField(article)},
                    Durable::Later);
        const qint64 now = clockSeconds();
        if (record.hold != OutboxRecord::Hold::None && record.due <= now) { // not before it can be seen
            record.hold = OutboxRecord::Hold::Countdown;
            record.due = now + undoDelay();
        }
    }
    return isKnown;
}

/// At the start: one that lies nowhere any more does not come back.
void Outbox::lookForAway(OutboxRecord &record)
{
    const std::vector<MessageIndex::Place> places = m_store.findMessage(*record.away);
    const bool isSomewhere = std::any_of(places.begin(), places.end(), [&](const MessageIndex::Place &place) {
        Group *group = m_store.group(place.group);
        const std::optional<Overview> overview = group ? group->overview(place.article) : std::nullopt;
        return (group && !group->isOpen()) ||
               (overview && overview->textCrc() == record.crc && overview->unpackedLength() == record.length);
    });
    if (!isSomewhere)
        m_file.drop({record.ticket});
    else if (record.has(Fate::Served) && record.wish.keepsCopy)
        m_settled.push_back(record.ticket);
}

void Outbox::giveUp(int draft)
{
    if (draft != 0 && !holdsDraft(draft))
        emit draftReturned(draft);
}
