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

// What the user and the start of the program do with waiting messages; the senders' side is in
// outboxqueue.cpp.

using namespace Qt::StringLiterals;

namespace {

using Fate = OutboxRecipient::Fate;
using Durable = OutboxFile::Durable;

constexpr int kUndoDelay = 10; ///< seconds, unless the user chose others
constexpr int kMostUndoDelay = 24 * 3600;
constexpr int kSyncedTogether = 20; ///< milliseconds
constexpr int kFiledTogether = 200; ///< the same
constexpr int kToldTogether = 20;   ///< the same

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
    m_telling.setSingleShot(true);
    m_telling.setInterval(kToldTogether);
    connect(&m_telling, &QTimer::timeout, this, &Outbox::changed);
    connect(&m_filing, &SentFiling::filed, this, &Outbox::sent);
    connect(&m_filing, &SentFiling::draftSettled, this, &Outbox::draftSettled);
    connect(&m_sendoff, &Sendoff::ended, this, &Outbox::endLeases);
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
    const std::optional<Overview> overview = group().overview(record.place.article);
    const bool isThere = overview && record.place.group == group().number() &&
                         overview->textCrc() == record.crc && overview->unpackedLength() == record.length;
    if (!isThere && group().isOpen() && !record.has(Fate::Served)) {
        note(u"A message that was handed over for sending is not there any more"_s);
        m_file.drop(ticket);
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
    for (const OutboxRecord &record : m_file.records())
        known.insert(record.place.article);
    if (group().counts().total == qint64(known.size()) && !group().isOpen())
        return;
    Articles strangers;
    for (int row = 0; row < group().rowCount(); ++row) {
        const Overview &overview = group().row(row);
        if (!overview.isDead() && !known.contains(overview.article()))
            strangers.push_back(overview.article());
    }
    for (const quint32 article : strangers)
        adopt(article, found != OutboxFile::Found::Whole);
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

/// What the user does in the list of the group.
void Outbox::followGroup()
{
    connect(&group(), &Group::messagesRemoved, this, &Outbox::messagesRemoved, Qt::UniqueConnection);
    connect(&group(), &Group::messagesAdded, this, [this](const Articles &articles) {
        if (m_isOwnChange)
            return;
        for (const quint32 article : articles)
            adopt(article, false);
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
    for (OutboxRecord &record : m_file.records()) {
        if (!removed.contains(record.place.article) || record.copy)
            continue;
        record.isWithdrawn = true;
        if (!record.isLeased)
            tickets.push_back(record.ticket);
    }
    for (const quint64 ticket : tickets) {
        const OutboxRecord &record = *m_file.find(ticket);
        const int draft = record.wish.draft;
        if (record.has(Fate::Served)) {
            settle(ticket);
        } else {
            m_file.drop(ticket);
            giveUp(draft);
        }
    }
    m_syncing.start();
    touched();
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

namespace {

/// Whether @p text is marked to be encrypted and nobody has done it.
bool wouldLeaveInClear(const QByteArray &text)
{
    const Message message(text);
    return message.rawHeader("X-Velmar-Encrypt").compare("yes", Qt::CaseInsensitive) == 0 &&
           !message.rawHeader("Content-Type").toLower().startsWith("multipart/encrypted");
}

} // namespace

quint64 Outbox::add(const QByteArray &message, int identity, const SendWish &wish)
{
    const QByteArray text = Message(message).text();
    if (!wish.isBounce && wouldLeaveInClear(text)) {
        report(ReportLevel::Warning, "The message is to be encrypted, which is not possible yet.\n"
                                     "It was not sent.");
        return 0;
    }
    std::optional<OutboxRecord> record = recordFor(text, identity, wish);
    if (!record)
        return 0;
    const bool isNews = !wish.isBounce && isPost(text);
    const QList<QByteArray> recipients = outgoingRecipients(text, true);
    std::vector<quint64> tickets;
    for (const OutboxTransport transport : {OutboxTransport::Mail, OutboxTransport::News}) {
        const bool isMail = transport == OutboxTransport::Mail;
        if (isMail ? isNews && recipients.isEmpty() : !isNews)
            continue;
        record->transport = transport;
        record->account = accountFor(*record);
        record->recipients.clear();
        for (const QByteArray &address : isMail ? recipients : QList<QByteArray>())
            record->recipients.push_back({address, Fate::Open, {}});
        if (record->recipients.empty())
            record->recipients.emplace_back();
        tickets.push_back(m_file.add(*record, Durable::Now));
    }
    if (!storeText(text, tickets)) {
        for (const quint64 ticket : tickets)
            m_file.drop(ticket);
        m_file.sync();
        return 0;
    }
    touched();
    OutboxRecord &first = *m_file.find(tickets.front());
    first.isFresh = true;
    const int account = first.account;
    m_sendoff.resume(account);
    if (account == 0 && first.transport == OutboxTransport::Mail)
        emit accountMissing();
    else if (first.hold == OutboxRecord::Hold::None)
        sendWaiting(false);
    return tickets.front();
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
        for (const OutboxRecord &record : m_file.records())
            m_entries.push_back(record.entry(now));
    }
    return m_entries;
}

const OutboxEntry *Outbox::entry(quint64 ticket) const
{
    const std::vector<OutboxEntry> &all = entries();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [ticket](const OutboxEntry &entry) { return entry.ticket == ticket; });
    return found == all.end() ? nullptr : &*found;
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
               return record.wish.draft == draft;
           });
}

QByteArray Outbox::takeBack(quint64 ticket, const Keep &keep)
{
    std::vector<quint64> together;
    for (const OutboxRecord &record : m_file.records()) {
        const OutboxRecord *wanted = m_file.find(ticket);
        if (!wanted || record.place != wanted->place)
            continue;
        if (record.isLeased || record.isServed() || record.copy)
            return {};
        together.push_back(record.ticket);
    }
    const OutboxRecord *record = m_file.find(ticket);
    QByteArray text = record ? m_filing.textOf(*record) : QByteArray();
    if (text.isNull())
        return {};
    const bool wasServed = record->has(Fate::Served);
    if (wasServed)
        text = onlyTo(text, record->entry(clockSeconds()).remaining);
    if (keep && !keep(text))
        return {};
    const bool isKept = keep || record->wish.draft != 0;
    const auto leaving = isKept ? SentFiling::Leaving::ForGood : SentFiling::Leaving::ToBasket;
    const QScopedValueRollback own(m_isOwnChange, true);
    for (const quint64 one : together) {
        if (one == ticket && wasServed)
            settle(ticket);
        else if (!m_filing.forget(one, leaving))
            return {};
    }
    m_file.sync();
    touched();
    return text;
}

void Outbox::sendNow(quint64 ticket)
{
    OutboxRecord *record = m_file.find(ticket);
    if (!record || record->isLeased || record->isServed() || record->copy)
        return;
    if (!m_file.mark(ticket, OutboxVerb::Wait, {}, Durable::Now))
        return;
    touched();
    if (record->account == 0 && record->transport == OutboxTransport::Mail)
        emit accountMissing();
    else
        m_sendoff.start(record->account, Sendoff::Wish::AtOnce);
}

void Outbox::holdUntil(quint64 ticket, qint64 due)
{
    const OutboxRecord *record = m_file.find(ticket);
    if (!record || record->isLeased || record->isServed() || record->has(Fate::Doubtful) || due <= 0)
        return;
    m_file.mark(ticket, OutboxVerb::Wait, {}, Durable::Later);
    m_file.mark(ticket, OutboxVerb::Hold, {QByteArray::number(due)}, Durable::Now);
    touched();
}

void Outbox::settleAsSent(quint64 ticket)
{
    const OutboxRecord *record = m_file.find(ticket);
    if (!record || record->isLeased || !record->has(Fate::Doubtful) ||
        !m_file.mark(ticket, OutboxVerb::Settled, {}, Durable::Now))
        return;
    if (record->isServed())
        settle(ticket);
    touched();
}

void Outbox::remove(quint64 ticket)
{
    const OutboxRecord *record = m_file.find(ticket);
    if (!record || record->isLeased || record->copy)
        return;
    const QScopedValueRollback own(m_isOwnChange, true);
    const int draft = record->wish.draft;
    if (record->has(Fate::Served))
        settle(ticket); // some have got it
    else if (m_filing.forget(ticket, SentFiling::Leaving::ToBasket))
        giveUp(draft);
    m_file.sync();
    touched();
}

void Outbox::giveUp(int draft)
{
    if (draft != 0 && !holdsDraft(draft))
        emit draftReturned(draft);
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

int Outbox::accountFor(int identity) const
{
    int any = 0;
    int first = 0;
    for (const AccountData &account : m_accounts.all()) {
        if (account.kind != AccountKind::Smtp)
            continue;
        if (account.identity == identity && identity != 0)
            return account.number;
        if (account.identity == 0 && any == 0)
            any = account.number;
        if (first == 0)
            first = account.number;
    }
    return any != 0 ? any : first;
}

int Outbox::accountFor(const OutboxRecord &record) const
{
    if (record.transport == OutboxTransport::Mail)
        return accountFor(record.identity);
    for (const AccountData &account : m_accounts.all()) {
        if (account.kind == AccountKind::Nntp)
            return account.number;
    }
    return 0;
}

/// Whose account is gone, or who never had one, gets another.
void Outbox::assignAccounts()
{
    if (storeAccess() != StoreAccess::ReadWrite)
        return;
    for (OutboxRecord &record : m_file.records()) {
        const Account *account = m_accounts.account(record.account);
        const AccountKind wanted =
            record.transport == OutboxTransport::Mail ? AccountKind::Smtp : AccountKind::Nntp;
        if (record.isLeased || (account && account->kind() == wanted))
            continue;
        const int other = accountFor(record);
        if (other != record.account)
            m_file.mark(record.ticket, OutboxVerb::Account, {QByteArray::number(other)}, Durable::Later);
    }
    touched();
}
