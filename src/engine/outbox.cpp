#include "engine/outbox.h"

#include "config/clock.h"
#include "config/directory.h"
#include "config/files.h"
#include "config/reporter.h"
#include "config/settings.h"
#include "engine/outboxtext.h"
#include "identity/identitymanager.h"
#include "store/compression.h"
#include "store/groupstore.h"

#include <QFile>
#include <QScopedValueRollback>

#include <algorithm>
#include <set>

// How messages come in, and what the start of the program finds. What the user does with them is in
// outboxuser.cpp, the senders' side in outboxqueue.cpp.

using namespace Qt::StringLiterals;

namespace {

using Fate = OutboxRecipient::Fate;
using Durable = OutboxFile::Durable;

constexpr int kUndoDelay = 10; ///< seconds, unless the user chose others
constexpr int kMostUndoDelay = 24 * 3600;
constexpr int kSyncedTogether = 20; ///< milliseconds
constexpr int kFiledTogether = 200; ///< the same
constexpr int kToldTogether = 20;   ///< the same
constexpr std::size_t kMostOriginals = 1000;

QString undoDelayPath()
{
    return u"Outbox/UndoDelay"_s;
}

} // namespace

Outbox::Outbox(GroupStore &store, AccountManager &accounts, IdentityManager &identities, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_accounts(accounts)
    , m_identities(identities)
    , m_filing(store, identities, m_file)
    , m_sendoff(accounts)
{
    m_syncing.setSingleShot(true);
    m_syncing.setInterval(kSyncedTogether);
    connect(&m_syncing, &QTimer::timeout, this, [this] { m_file.sync(); });
    m_fileSoon.setSingleShot(true);
    m_fileSoon.setInterval(kFiledTogether);
    connect(&m_fileSoon, &QTimer::timeout, this, &Outbox::fileSettled);
    m_prepareSoon.setInterval(0);
    connect(&m_prepareSoon, &QTimer::timeout, this, &Outbox::prepareSettled);
    m_telling.setSingleShot(true);
    m_telling.setInterval(kToldTogether);
    connect(&m_telling, &QTimer::timeout, this, &Outbox::changed);
    connect(&m_filing, &SentFiling::filed, this, &Outbox::sent);
    connect(&m_filing, &SentFiling::draftSettled, this, &Outbox::draftSettled);
    connect(&m_filing, &SentFiling::draftLacksCopy, this, &Outbox::draftLacksCopy);
    connect(&m_sendoff, &Sendoff::ended, this, &Outbox::endLeases);
    connect(&accounts, &AccountManager::fetchStarted, this, &Outbox::fetchStarted);
    connect(&identities, &IdentityManager::changed, this, &Outbox::assignAccounts);
    connect(&accounts, &AccountManager::accountAdded, this, &Outbox::assignAccounts);
    connect(&accounts, &AccountManager::accountUpdated, this, &Outbox::assignAccounts);
    connect(&accounts, &AccountManager::accountDeleted, this, &Outbox::assignAccounts);
}

Outbox::~Outbox() = default;

Group &Outbox::group() const
{
    return *m_store.group(GroupRole::Outbox);
}

void Outbox::touched()
{
    m_isStale = true;
    if (!m_telling.isActive())
        m_telling.start();
}

void Outbox::load()
{
    const OutboxFile::Found found = m_file.load();
    const QScopedValueRollback own(m_isOwnChange, true);
    if (storeAccess() == StoreAccess::ReadWrite && found != OutboxFile::Found::Unreadable) {
        if (found == OutboxFile::Found::Damaged)
            doubtEverything();
        std::vector<quint64> tickets;
        for (const OutboxRecord &record : m_file.records())
            tickets.push_back(record.ticket);
        for (const quint64 ticket : tickets)
            lookUp(ticket);
        adoptAll(found);
        completeTaking();
        m_file.sync();
        fileSettled();
        followGroup();
    }
    const qint64 now = clockSeconds();
    m_lastTick = now;
    for (OutboxRecord &record : m_file.records()) {
        if (record.hold == OutboxRecord::Hold::Countdown)
            record.due = now + undoDelay();
    }
    assignAccounts();
    touched();
}

/// A part of the journal is gone: what it said may have been that a message went out.
void Outbox::doubtEverything()
{
    note(u"The journal of the outbox is damaged: no waiting message is sent without being asked for"_s);
    for (OutboxRecord &record : m_file.records()) {
        if (!record.isServed())
            doubt(record, tr("What is known of the outbox was damaged: it may have been sent already"));
    }
}

void Outbox::doubt(OutboxRecord &record, const QString &reason)
{
    m_file.mark(
        record.ticket, OutboxVerb::Sending,
        {QByteArray::number(record.date), QByteArray::number(record.zone), indicesField(record.indices({}))},
        Durable::Later);
    m_file.mark(record.ticket, OutboxVerb::Told, {textField(reason)}, Durable::Later);
}

/// What the last run left of one message.
void Outbox::lookUp(quint64 ticket)
{
    OutboxRecord &record = *m_file.find(ticket);
    if (record.copy)
        return m_filing.recover(ticket);
    if (record.away)
        return lookForAway(record);
    const std::optional<Overview> overview = group().overview(record.place.article);
    const bool isThere = overview && record.place.group == group().number() &&
                         overview->textCrc() == record.crc && overview->unpackedLength() == record.length;
    if (!isThere && group().isOpen() && !record.has(Fate::Served)) {
        note(u"A message that was handed over for sending is not there any more"_s);
        m_file.drop({ticket});
    } else if (record.isServed() || (!isThere && group().isOpen())) {
        m_settled.push_back(ticket);
    } else if (record.has(Fate::Doubtful)) {
        if (record.reason.isEmpty())
            m_file.mark(ticket, OutboxVerb::Told,
                        {textField(tr("The program ended while it was being sent. It may have arrived."))},
                        Durable::Later);
        m_untold.push_back(ticket);
    }
}

/// Messages in the group that nobody handed over wait for the user; where the journal cannot say so, they may
/// have been sent.
void Outbox::adoptAll(OutboxFile::Found found)
{
    std::set<quint32> known;
    for (const OutboxRecord &record : m_file.records()) {
        if (!record.away)
            known.insert(record.place.article);
    }
    if (group().counts().total == qint64(known.size()) && !group().isOpen())
        return;
    Articles strangers;
    for (int row = 0; row < group().rowCount(); ++row) {
        const Overview &overview = group().row(row);
        if (!overview.isDead() && !known.contains(overview.article()))
            strangers.push_back(overview.article());
    }
    for (const quint32 article : strangers) {
        if (!cameBack(article))
            adopt(article, found != OutboxFile::Found::Whole);
    }
}

void Outbox::adopt(quint32 article, bool isDoubtful)
{
    const std::optional<Overview> overview = group().overview(article);
    const QByteArray text = overview ? group().readMessage(*overview) : QByteArray();
    if (text.isNull())
        return;
    OutboxRecord record;
    record.place = {group().number(), article};
    record.length = overview->unpackedLength();
    record.crc = overview->textCrc();
    record.isAdopted = true;
    record.wish.keepsCopy = true;
    record.wish.isBounce = isResent(text);
    if (const Identity *identity = m_identities.defaultIdentity())
        record.identity = identity->number;
    record.account = accountFor(record);
    for (const QByteArray &address : outgoingRecipients(text, false))
        record.recipients.push_back({address, Fate::Open, {}});
    if (record.recipients.empty())
        record.recipients.emplace_back();
    const quint64 ticket = m_file.add(record, Durable::Later);
    OutboxRecord *added = m_file.find(ticket);
    if (!added)
        return;
    if (isDoubtful)
        return doubt(*added, tr("It is not known whether this message has been sent"));
    m_file.mark(ticket, OutboxVerb::Retry, {"0", "-1", "0"}, Durable::Later);
    m_file.mark(ticket, OutboxVerb::Told,
                {textField(tr("It was put here by hand, and is not sent by itself"))}, Durable::Later);
}

std::optional<OutboxRecord> Outbox::recordFor(const QByteArray &text, int identity,
                                              const SendWish &wish) const
{
    Group &outbox = group();
    outbox.rowCount(); // opens it
    if (!outbox.isOpen()) {
        report(ReportLevel::Warning, "Unable to open group '%s'", qUtf8Printable(outbox.name()));
        return {};
    }
    OutboxRecord record;
    record.place = {outbox.number(), outbox.files().overviews().nextArticle()};
    record.length = quint32(text.size());
    record.crc = crc32Of(text);
    record.identity = identity;
    record.wish = wish;
    record.originals = originalsOf(wish);
    const qint64 now = clockSeconds();
    if (wish.notBefore > now) {
        record.hold = OutboxRecord::Hold::Date;
        record.due = wish.notBefore;
    } else if (wish.countsDown && undoDelay() > 0) {
        record.hold = OutboxRecord::Hold::Countdown;
        record.due = now + undoDelay();
    }
    return record;
}

/// By their Message-IDs they are found again where they lie when it was sent.
std::vector<OutboxOriginal> Outbox::originalsOf(const SendWish &wish) const
{
    MessageRefs places = wish.others;
    places.insert(places.begin(), wish.original);
    std::vector<OutboxOriginal> originals;
    for (const MessageRef place : places) {
        Group *group = place.isNull() ? nullptr : m_store.group(place.group);
        const std::optional<Overview> overview = group ? group->overview(place.article) : std::nullopt;
        if (overview && originals.size() < kMostOriginals)
            originals.push_back({place, group->texts(*overview).messageId.toLatin1()});
    }
    return originals;
}

/// Why a message cannot be taken; empty: it can.
QString Outbox::refusalOf(const QByteArray &text, const SendWish &wish, bool isNews) const
{
    if (!wish.isBounce && wouldLeaveInClear(text))
        return tr("The message is to be encrypted, which is not possible yet.\nIt was not sent.");
    if (!isNews && outgoingRecipients(text, true).isEmpty())
        return tr("You have not specified any recipients");
    if (isNews && newsAccount() == 0)
        return tr("There is no account for news that the message could be posted with.\nIt was not sent.");
    return {};
}

quint64 Outbox::add(const QByteArray &message, int identity, const SendWish &wish)
{
    const QByteArray text = Message(message).text();
    const bool isNews = !wish.isBounce && isPost(text);
    const QString refusal = refusalOf(text, wish, isNews);
    if (!refusal.isEmpty()) {
        report(ReportLevel::Warning, "%s", qUtf8Printable(refusal));
        return 0;
    }
    std::optional<OutboxRecord> record = recordFor(text, identity, wish);
    if (!record)
        return 0;
    const QList<QByteArray> recipients = outgoingRecipients(text, true);
    std::vector<quint64> tickets;
    if (!recipients.isEmpty())
        tickets.push_back(enter(*record, OutboxTransport::Mail, recipients));
    if (isNews)
        tickets.push_back(enter(*record, OutboxTransport::News, {QByteArray()}));
    if (!m_file.sync() || !storeText(text, tickets)) {
        for (const quint64 ticket : tickets)
            m_file.drop({ticket});
        m_file.sync();
        return 0;
    }
    touched();
    OutboxRecord &first = *m_file.find(tickets.front());
    first.isFresh = true;
    const int account = first.account;
    m_sendoff.resume(account);
    const bool isMissing = account == 0 && first.transport == OutboxTransport::Mail;
    if (isMissing && m_identities.isReadable())
        emit accountMissing(identity);
    else if (first.hold == OutboxRecord::Hold::None)
        sendWaiting(false);
    return tickets.front();
}

quint64 Outbox::enter(OutboxRecord record, OutboxTransport transport, const QList<QByteArray> &recipients)
{
    record.transport = transport;
    record.account = accountFor(record);
    for (const QByteArray &address : recipients)
        record.recipients.push_back({address, Fate::Open, {}});
    const std::vector<OutboxOriginal> originals = std::exchange(record.originals, {});
    const quint64 ticket = m_file.add(std::move(record), Durable::Later);
    for (const OutboxOriginal &original : originals) {
        if (ticket != 0)
            m_file.mark(ticket, OutboxVerb::Original, originalFields(original), Durable::Later);
    }
    return ticket;
}

/// The journal has named it; now it comes. Were it the other way round, a crash would leave a message of
/// which nobody knows whether it is to go.
bool Outbox::storeText(const QByteArray &text, const std::vector<quint64> &tickets)
{
    if (std::find(tickets.begin(), tickets.end(), 0) != tickets.end())
        return false;
    const QScopedValueRollback own(m_isOwnChange, true);
    const quint32 article = m_store.add(group(), Message(text), Mark::Read, 0, clockSeconds());
    if (article != 0 && article == m_file.find(tickets.front())->place.article && group().flush())
        return true;
    if (article != 0)
        m_store.deleteMessages(group(), {article}, true);
    return false;
}

const std::vector<OutboxEntry> &Outbox::entries() const
{
    if (std::exchange(m_isStale, false)) {
        m_entries.clear();
        const qint64 now = clockSeconds();
        for (const OutboxRecord &record : m_file.records()) {
            if (!record.away && !record.isLetGo)
                m_entries.push_back(record.entry(now));
        }
    }
    return m_entries;
}

const OutboxEntry *Outbox::entry(quint64 ticket) const
{
    const std::vector<OutboxEntry> &all = entries(); // in the order of their tickets
    const auto found =
        std::lower_bound(all.begin(), all.end(), ticket,
                         [](const OutboxEntry &entry, quint64 wanted) { return entry.ticket < wanted; });
    return found == all.end() || found->ticket != ticket ? nullptr : &*found;
}

const OutboxEntry *Outbox::entryAt(MessageRef place) const
{
    const std::vector<OutboxEntry> &all = entries();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [place](const OutboxEntry &entry) { return entry.place == place; });
    return found == all.end() ? nullptr : &*found;
}

bool Outbox::holdsDraft(int draft) const
{
    const std::vector<OutboxRecord> &all = m_file.records();
    return draft != 0 && std::any_of(all.begin(), all.end(), [draft](const OutboxRecord &record) {
               return record.wish.draft == draft && !record.away && !record.isLetGo;
           });
}

bool Outbox::hasLetGo(MessageRef place) const
{
    const std::vector<OutboxRecord> &all = m_file.records();
    return std::any_of(all.begin(), all.end(), [place](const OutboxRecord &record) {
        return record.isLetGo && !record.away && record.place == place;
    });
}

int Outbox::undoDelay()
{
    QFile file(configPathOf(undoDelayPath()));
    if (!file.open(QIODevice::ReadOnly))
        return kUndoDelay;
    bool isNumber = false;
    const int seconds = file.read(16).trimmed().toInt(&isNumber);
    return isNumber && seconds >= 0 ? qMin(seconds, kMostUndoDelay) : kUndoDelay;
}

void Outbox::setUndoDelay(int seconds)
{
    QString path = undoDelayPath();
    if (!configFile(path, false) || !writeReplacing(path, QByteArray::number(qMax(0, seconds)) + '\n'))
        report(ReportLevel::Warning, "Unable to write file '%s'", qUtf8Printable(path));
}
