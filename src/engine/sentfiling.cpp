#include "engine/sentfiling.h"

#include "compose/messagebuilder.h"
#include "config/clock.h"
#include "config/reporter.h"
#include "config/settings.h"
#include "engine/outboxtext.h"
#include "identity/identitymanager.h"
#include "store/compression.h"
#include "store/groupstore.h"

#include <QDateTime>

#include <algorithm>
#include <map>

using namespace Qt::StringLiterals;

namespace {
constexpr std::size_t kMostCopies = 20;      ///< of one original that get its marks
constexpr qint64 kMostAtOnce = 1'000'000;    ///< bytes of a text that is packed ahead
constexpr qint64 kMostPrepared = 4'000'000;  ///< bytes of all of these
constexpr qint64 kMostInMemory = 16'000'000; ///< bytes of texts that are filed together, or one text
} // namespace

SentFiling::SentFiling(GroupStore &store, IdentityManager &identities, OutboxFile &file, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_identities(identities)
    , m_file(file)
{}

QByteArray SentFiling::textOf(const OutboxRecord &record) const
{
    Group *group = m_store.group(record.place.group);
    const int row = group ? group->rowOf(record.place.article) : -1;
    if (row < 0 || group->row(row).textCrc() != record.crc ||
        group->row(row).unpackedLength() != record.length || group->row(row).isGone())
        return {};
    return group->readMessage(group->row(row));
}

bool SentFiling::keepsCopy(const OutboxRecord &record) const
{
    if (!record.wish.keepsCopy)
        return false;
    if (record.transport == OutboxTransport::News)
        return boolSetting(Setting::KeepSentNews);
    return boolSetting(record.wish.isBounce ? Setting::KeepBouncedMail : Setting::KeepSentMail);
}

/// The group that was chosen, that of the original, that of the identity, or the one for all.
Group *SentFiling::targetOf(const OutboxRecord &record) const
{
    const bool isPost = record.transport == OutboxTransport::News;
    const Identity *identity = m_identities.identity(record.identity);
    Group *original = m_store.group(record.wish.original.group);
    const bool isOwnPlace =
        original && (original->kind() == GroupKind::Newsgroup || original->role() == GroupRole::Outbox ||
                     original->role() == GroupRole::Drafts || original->role() == GroupRole::WasteBasket ||
                     original->role() == GroupRole::Junk);
    if (Group *chosen = m_store.group(record.wish.sentGroup))
        return chosen;
    if (boolSetting(Setting::FileInSameFolder) && record.wish.isReply && original && !isOwnPlace)
        return original;
    Group *usual = identity ? m_store.group(isPost ? identity->sentNews : identity->sentMail) : nullptr;
    return usual ? usual : m_store.group(isPost ? GroupRole::SentNews : GroupRole::SentMail);
}

/// Whether what was handed out last is what left.
bool SentFiling::wasHandedOutSo(const OutboxRecord &record)
{
    return !record.leasedText.isEmpty() && record.leasedAt.toSecsSinceEpoch() == record.date &&
           record.leasedAt.offsetFromUtc() == record.zone;
}

/// What left, and where its copy goes.
std::optional<SentFiling::Job> SentFiling::collect(const OutboxRecord &record) const
{
    Job job{record.ticket, {}, {}, nullptr};
    if (!keepsCopy(record))
        return job;
    if (wasHandedOutSo(record)) {
        job.sent = withoutControls(record.leasedText);
        job.target = targetOf(record);
        return job;
    }
    Group *outbox = m_store.group(record.place.group);
    if (outbox)
        outbox->rowCount(); // opens it
    if (outbox && !outbox->isOpen())
        return {}; // it cannot be looked into now
    const QByteArray text = textOf(record);
    if (text.isNull())
        return job; // said already; what was sent is not sent again for that
    const QDateTime date = QDateTime::fromSecsSinceEpoch(record.date, Qt::OffsetFromUTC, record.zone);
    job.sent = withoutControls(record.transport == OutboxTransport::News ? postedForm(text) : text);
    if (record.date != 0)
        job.sent = dated(job.sent, date, record.wish.isBounce);
    job.target = targetOf(record);
    return job;
}

/// False: it cannot be packed, and that was said.
bool SentFiling::pack(Job &job) const
{
    if (!job.target)
        return true;
    const bool isSentGroup =
        job.target->role() == GroupRole::SentMail || job.target->role() == GroupRole::SentNews;
    const bool isRead = boolSetting(isSentGroup ? Setting::MarkReadOnSend : Setting::MarkReadOnSendFile);
    job.copy = m_store.pack(*job.target, Message(std::exchange(job.sent, {})),
                            {.time = clockSeconds(), .marks = isRead ? Marks(Mark::Read) : Marks()});
    return !job.copy.data.isNull();
}

std::optional<SentFiling::Job> SentFiling::prepare(const OutboxRecord &record) const
{
    std::optional<Job> job = collect(record);
    return job && pack(*job) ? std::move(job) : std::nullopt;
}

/// In two steps, for there is time twice on the way of a message.
bool SentFiling::prepareNext(const std::vector<quint64> &tickets)
{
    if (m_collected) {
        Job job = *std::exchange(m_collected, std::nullopt);
        const OutboxRecord *record = m_file.find(job.ticket);
        job.target = record ? targetOf(*record) : nullptr; // the group may have been removed since
        if (job.target && pack(job)) {
            m_preparedBytes += job.copy.data.size();
            m_prepared.insert_or_assign(job.ticket, std::move(job));
        }
        return true;
    }
    for (auto ticket = tickets.rbegin(); ticket != tickets.rend() && !m_prepared.contains(*ticket);
         ++ticket) {
        const OutboxRecord *record = m_file.find(*ticket);
        if (!record || record->copy || record->length > kMostAtOnce ||
            m_preparedBytes + record->length > kMostPrepared)
            continue;
        m_collected = collect(*record);
        if (m_collected && m_collected->target)
            return true;
        m_collected.reset();
    }
    return false;
}

/// What was prepared, unless the copy goes elsewhere by now.
std::optional<SentFiling::Job> SentFiling::takePrepared(const OutboxRecord &record)
{
    auto prepared = m_prepared.extract(record.ticket);
    if (prepared && keepsCopy(record) && targetOf(record) == prepared.mapped().target)
        return std::move(prepared.mapped());
    return prepare(record);
}

void SentFiling::forgetPrepared()
{
    m_collected.reset();
    m_prepared.clear();
    m_preparedBytes = 0;
}

void SentFiling::file(const std::vector<quint64> &tickets)
{
    std::vector<Job> jobs;
    qint64 inMemory = 0;
    for (const quint64 ticket : tickets) {
        const OutboxRecord *record = m_file.find(ticket);
        if (!record)
            continue;
        if (record->copy) { // begun before
            recover(ticket);
            continue;
        }
        if (inMemory + record->length > kMostInMemory) {
            fileTogether(std::exchange(jobs, {}));
            inMemory = 0;
            record = m_file.find(ticket); // they have left
        }
        std::optional<Job> job = record ? takePrepared(*record) : std::nullopt;
        if (!job)
            continue;
        inMemory += job->copy.data.size();
        jobs.push_back(std::move(*job));
    }
    fileTogether(std::move(jobs));
    forgetPrepared(); // what went another way meanwhile
}

void SentFiling::fileTogether(std::vector<Job> jobs)
{
    std::vector<quint64> done;
    if (jobs.empty() || !announce(jobs) || !store(jobs))
        return;
    for (const Job &job : jobs)
        done.push_back(job.ticket);
    finish(done);
}

/// The acceptances and the names of the copies are on the disk before anything is stored.
bool SentFiling::announce(std::vector<Job> &jobs)
{
    std::map<Group *, quint32> next;
    std::vector<OutboxFile::Mark> marks;
    for (const Job &job : jobs) {
        SentCopy copy;
        if (job.target) {
            job.target->rowCount(); // opens it
            const auto place =
                next.try_emplace(job.target, job.target->files().overviews().nextArticle()).first;
            const Overview &overview = job.copy.summary.overview;
            copy = {{job.target->number(), place->second++}, overview.unpackedLength(), overview.textCrc()};
        }
        marks.push_back({job.ticket,
                         OutboxVerb::Copy,
                         {QByteArray::number(copy.place.group), QByteArray::number(copy.place.article),
                          QByteArray::number(copy.length), QByteArray::number(copy.crc)}});
    }
    m_file.mark(marks); // sync() tells what could not be written
    return m_file.sync();
}

bool SentFiling::store(const std::vector<Job> &jobs)
{
    std::map<Group *, Articles> stored;
    bool good = true;
    for (const Job &job : jobs) {
        if (!job.target)
            continue;
        const quint32 article = m_store.addQuietly(*job.target, job.copy);
        good = good && article != 0;
        if (article != 0)
            stored[job.target].push_back(article);
    }
    for (const auto &[group, articles] : stored) {
        group->tellOfAdded(articles);
        good = group->flush() && good;
    }
    return good;
}

/// An article of that text which was given since the copy was announced; also one that was deleted again.
quint32 SentFiling::findCopy(const SentCopy &copy) const
{
    Group *group = m_store.group(copy.place.group);
    const int rows = group ? group->rowCount() : 0;
    for (int row = rows - 1; row >= 0 && group->row(row).article() >= copy.place.article; --row) {
        const Overview &overview = group->row(row);
        if (overview.textCrc() == copy.crc && overview.unpackedLength() == copy.length)
            return overview.article();
    }
    return 0;
}

void SentFiling::recover(quint64 ticket)
{
    OutboxRecord *record = m_file.find(ticket);
    if (!record || !record->copy)
        return;
    if (!record->copy->place.isNull()) {
        Group *group = m_store.group(record->copy->place.group);
        if (group)
            group->rowCount(); // opens it
        if (group && !group->isOpen())
            return; // it cannot be looked into now
        if (findCopy(*record->copy) == 0) {
            const std::optional<Job> job = prepare(*record);
            if (!job)
                return;
            std::vector<Job> jobs = {*job};
            if (!announce(jobs) || !store(jobs))
                return;
        } else if (!group->flush()) {
            return;
        }
    }
    finish({ticket});
}

/// Where it lies by now: it may have been moved, or copied, since.
MessageRefs SentFiling::placesOf(const OutboxOriginal &original) const
{
    MessageRefs places;
    if (Group *group = m_store.group(original.place.group); group && group->overview(original.place.article))
        places.push_back(original.place);
    if (original.messageId.isEmpty() || !places.empty())
        return places;
    for (const MessageIndex::Place &place : m_store.findMessage(original.messageId)) {
        Group *group = m_store.group(place.group);
        const std::optional<Overview> overview = group ? group->overview(place.article) : std::nullopt;
        if (overview && group->texts(*overview).messageId.toLatin1() == original.messageId)
            places.push_back({place.group, place.article});
        if (places.size() >= kMostCopies)
            break;
    }
    return places;
}

void SentFiling::markOriginals(const OutboxRecord &record) const
{
    Marks set;
    set.setFlag(Mark::Replied, record.wish.isReply);
    set.setFlag(Mark::Forwarded, record.wish.isForward);
    if (!set)
        return;
    const bool unflags = record.wish.isReply && boolSetting(Setting::UnflagOnReply);
    std::map<int, Articles> found;
    for (const OutboxOriginal &original : record.originals) {
        for (const MessageRef place : placesOf(original))
            found[place.group].push_back(place.article);
    }
    for (const auto &[group, articles] : found)
        m_store.group(group)->setMarks(articles, set, unflags ? Marks(Mark::Flagged) : Marks());
}

/// The entries of one message have tickets side by side.
bool SentFiling::isNeededElsewhere(const OutboxRecord &record, const std::set<quint64> &except) const
{
    for (const quint64 ticket : {record.ticket - 1, record.ticket + 1}) {
        const OutboxRecord *other = m_file.find(ticket);
        if (other && other->place == record.place && !except.contains(ticket))
            return true;
    }
    return false;
}

/// The copies are safe: the messages leave the outbox, and at last they are forgotten. What still waits for
/// others, because it was deleted and may come back, is only told that its copy is there.
void SentFiling::finish(const std::vector<quint64> &tickets)
{
    struct Filed
    {
        quint64 ticket;
        MessageRef copy;
        bool lacksCopy;
    };
    std::vector<Filed> filed;
    std::map<int, Articles> leaving;
    std::set<quint64> going;
    for (const quint64 ticket : tickets) {
        const OutboxRecord *record = m_file.find(ticket);
        if (!record)
            continue;
        markOriginals(*record);
        if (!record->isServed() && !record->isTaken) {
            m_file.mark(ticket, OutboxVerb::Filed, {}, OutboxFile::Durable::Later);
            continue;
        }
        going.insert(ticket);
        const SentCopy copy = record->copy.value_or(SentCopy());
        const quint32 article = copy.place.isNull() ? 0 : findCopy(copy);
        filed.push_back({ticket, article == 0 ? MessageRef() : MessageRef{copy.place.group, article},
                         copy.place.isNull() && keepsCopy(*record)});
    }
    for (const quint64 ticket : going) {
        const OutboxRecord *record = m_file.find(ticket);
        if (!isNeededElsewhere(*record, going))
            leaving[record->place.group].push_back(record->place.article);
    }
    for (auto &[number, articles] : leaving) {
        std::sort(articles.begin(), articles.end());
        articles.erase(std::unique(articles.begin(), articles.end()), articles.end());
        Group *group = m_store.group(number);
        if (group && !m_store.deleteMessages(*group, articles, true))
            return; // they are found at the next start, with their copies
    }
    std::set<quint64> done;
    for (const Filed &one : filed) {
        if (const OutboxRecord *record = m_file.find(one.ticket))
            settleDraft(*record, one.lacksCopy, done);
        done.insert(one.ticket);
    }
    m_file.drop(done);
    for (const Filed &one : filed)
        emit this->filed(one.ticket, one.copy);
    m_file.compact();
}

/// What was taken back is written on in its draft. Where there is no copy, the draft alone tells what was
/// sent; the next start offers it, and says so.
void SentFiling::settleDraft(const OutboxRecord &record, bool lacksCopy, const std::set<quint64> &done)
{
    const int draft = record.wish.draft;
    lacksCopy = lacksCopy && !record.away; // else the user threw it away, and it lies there
    if (lacksCopy)
        report(ReportLevel::Warning, "%s",
               qUtf8Printable(
                   draft == 0 ? tr("A message was sent, but cannot be read any more.\nNo copy was stored.")
                              : tr("A message was sent, but cannot be read any more.\nNo copy was stored; "
                                   "its draft is kept.")));
    if (draft == 0 || record.isTaken || isNeededElsewhere(record, done))
        return;
    if (lacksCopy)
        emit draftLacksCopy(draft);
    else
        emit draftSettled(draft);
}

bool SentFiling::takeOut(const OutboxRecord &record, Leaving how)
{
    Group *group = m_store.group(record.place.group);
    const Articles articles = {record.place.article};
    if (!group || !group->overview(articles[0]))
        return true;
    if (how == Leaving::ToBasket)
        return !m_store.move(*group, articles, *m_store.group(GroupRole::WasteBasket)).empty();
    return m_store.deleteMessages(*group, articles, true);
}

bool SentFiling::forget(quint64 ticket, Leaving how)
{
    const OutboxRecord *record = m_file.find(ticket);
    if (!record)
        return true;
    if (!isNeededElsewhere(*record) && !takeOut(*record, how))
        return false;
    m_file.drop({ticket});
    return true;
}
