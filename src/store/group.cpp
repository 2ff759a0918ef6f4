#include "store/group.h"

#include "config/directory.h"
#include "config/reporter.h"
#include "config/settings.h"
#include "store/grouprepair.h"
#include "store/summary.h"

#include <QElapsedTimer>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// Dead rows are dropped when they are many, and many of all.
constexpr int kManyDeadRows = 1000;
constexpr int kDeadShare = 4;

constexpr qint64 kRepairSlice = 256 * 1024; ///< bytes scanned between two looks at the clock

} // namespace

Group::Group(GroupRecord record, const QString &directory, QObject *parent)
    : QObject(parent)
    , m_record(std::move(record))
    , m_files(directory)
{
    m_files.setCompresses(compresses());
}

Group::~Group() = default;

/// What waits to be sent stays for moments, and is read twice in them.
bool Group::compresses() const
{
    return !has(GroupUncompressed) && role() != GroupRole::Outbox;
}

GroupRecord Group::record() const
{
    GroupRecord record = m_record;
    record.flags |= m_files.needsRepair() ? quint32(GroupNeedsRepair) : 0;
    return record;
}

OverviewFile::Counts Group::counts()
{
    if (isOpen())
        return m_files.overviews().counts();
    if (!m_countsKnown) {
        if (const auto head = OverviewFile::headOf(m_files.directory()))
            m_closedCounts = head->counts;
        else if (!QFile::exists(m_files.directory()))
            m_closedCounts = {}; // nothing ever came: asking makes no files
        else
            m_closedCounts = ready() ? m_files.overviews().counts() : OverviewFile::Counts();
        m_countsKnown = true;
    }
    return m_closedCounts;
}

Group::Opened Group::open()
{
    if (m_state != Opened::Closed)
        return m_state;
    const bool writable = storeAccess() == StoreAccess::ReadWrite;
    switch (m_files.open(writable)) {
    case GroupFiles::State::Good:
    case GroupFiles::State::Recovered: m_state = Opened::Ready; break;
    case GroupFiles::State::Damaged: m_state = writable ? Opened::NeedsRepair : Opened::Failed; break;
    case GroupFiles::State::Unreadable: m_state = Opened::Failed; break;
    }
    if (m_state == Opened::Ready && needsRepair() && writable)
        m_state = Opened::NeedsRepair;
    if (m_state == Opened::Failed)
        report(ReportLevel::Warning, "Unable to open group '%s'", qUtf8Printable(m_record.name));
    return m_state;
}

void Group::close()
{
    if (isOpen()) {
        m_closedCounts = m_files.overviews().counts();
        m_countsKnown = true;
    }
    emit closing();
    m_record = record(); // what was found damaged is not forgotten
    m_repair.reset();
    m_files.close();
    m_state = Opened::Closed;
}

bool Group::repair()
{
    Repair state = Repair::Working;
    while (state == Repair::Working)
        state = repairStep(1000);
    return state == Repair::Done;
}

Group::Repair Group::repairStep(int milliseconds)
{
    if (!m_repair) {
        if (open() == Opened::Failed)
            return Repair::Failed;
        if (m_state == Opened::Ready && !m_files.sync())
            return Repair::Failed;
        m_state = Opened::NeedsRepair; // nothing may come or go meanwhile
        m_repair = std::make_unique<GroupRepair>(m_files);
    }
    QElapsedTimer timer;
    timer.start();
    GroupRepair::Progress progress = GroupRepair::Progress::Working;
    while (progress == GroupRepair::Progress::Working && !timer.hasExpired(milliseconds))
        progress = m_repair->step(kRepairSlice);
    if (progress == GroupRepair::Progress::Working)
        return Repair::Working;
    m_repair.reset();
    m_state = progress == GroupRepair::Progress::Done ? Opened::Ready : Opened::Failed;
    if (m_state == Opened::Failed)
        return Repair::Failed;
    m_record.flags &= ~quint32(GroupNeedsRepair);
    m_countsKnown = false;
    emit rowsReset();
    emit countsChanged();
    return Repair::Done;
}

/// Opens the group for whatever is wanted, and repairs it when that is the only way.
bool Group::ready()
{
    if (open() == Opened::Ready)
        return true;
    return m_state == Opened::NeedsRepair && !m_repair && m_repairsItself &&
           boolSetting(Setting::AutoRepairs) && repair();
}

/// The same for a message that comes, whose loss must not go without a word.
bool Group::readyToTake()
{
    if (ready())
        return true;
    report(ReportLevel::Warning, "Unable to open group '%s'", qUtf8Printable(m_record.name));
    return false;
}

int Group::rowCount()
{
    return ready() ? m_files.overviews().rowCount() : 0;
}

int Group::rowOf(quint32 article)
{
    return ready() ? m_files.overviews().rowOf(article) : -1;
}

std::optional<Overview> Group::overview(quint32 article)
{
    const int row = rowOf(article);
    if (row < 0 || this->row(row).isDead())
        return {};
    return this->row(row);
}

HeaderTexts Group::texts(const Overview &overview)
{
    return ready() ? m_files.texts(overview) : HeaderTexts();
}

QByteArray Group::readMessage(const Overview &overview)
{
    return ready() ? m_files.readMessage(overview) : QByteArray();
}

quint64 Group::generation()
{
    const auto head = OverviewFile::headOf(m_files.directory());
    return head ? head->generation : 0;
}

quint32 Group::add(QByteArrayView text, const Summary &summary)
{
    const quint32 article = addQuietly(text, summary);
    if (article != 0)
        tellOfAdded({article});
    return article;
}

quint32 Group::addQuietly(QByteArrayView text, const Summary &summary)
{
    return readyToTake() ? m_files.append(text, summary) : 0;
}

quint32 Group::addQuietly(const PackedMessage &message)
{
    return readyToTake() ? m_files.append(message) : 0;
}

quint32 Group::addCopy(Group &source, const Overview &original)
{
    return readyToTake() ? m_files.appendCopy(source.m_files, source.number(), original) : 0;
}

void Group::tellOfAdded(const Articles &articles)
{
    if (articles.empty())
        return;
    emit messagesAdded(articles);
    emit countsChanged();
}

void Group::recount()
{
    if (ready())
        m_files.recount();
}

bool Group::complete(const std::vector<Whole> &messages, Articles &completed)
{
    std::vector<GroupFiles::Whole> wanted;
    for (const Whole &message : messages) {
        const std::optional<Overview> overview = this->overview(message.article);
        const bool isTwice =
            std::find(completed.begin(), completed.end(), message.article) != completed.end();
        if (!overview || !overview->has(Mark::HeaderOnly) || isTwice)
            continue;
        wanted.push_back({rowOf(message.article), message.text, message.summary});
        completed.push_back(message.article);
    }
    if (!wanted.empty() && !m_files.complete(wanted)) {
        completed.clear();
        return false;
    }
    if (!wanted.empty())
        emit messagesChanged(completed);
    return true;
}

bool Group::setMarks(const Articles &articles, Marks set, Marks clear)
{
    return change(articles,
                  [=](Overview &overview) { overview.setMarks((overview.marks() & ~clear) | set); });
}

bool Group::setTags(const Articles &articles, quint32 set, quint32 clear)
{
    return change(articles, [=](Overview &overview) { overview.setTags((overview.tags() & ~clear) | set); });
}

bool Group::setOrigin(const Articles &articles, int group)
{
    return change(articles, [=](Overview &overview) { overview.setOrigin(quint32(group), 0); });
}

/// Changes the overviews of the messages, and tells of those that became others by it.
template <typename Change>
bool Group::change(const Articles &articles, Change change)
{
    const OverviewFile::Counts before = counts();
    Articles changed;
    bool written = true;
    for (const quint32 article : articles) {
        const int row = rowOf(article);
        if (row < 0 || this->row(row).isDead())
            continue;
        Overview overview = this->row(row);
        change(overview);
        if (overview.bytes() == this->row(row).bytes())
            continue;
        written = m_files.change(row, overview) && written;
        changed.push_back(article);
    }
    if (!written)
        report(ReportLevel::Warning, "Unable to write group overview file");
    if (!changed.empty())
        emit messagesChanged(changed);
    if (before != counts())
        emit countsChanged();
    return written;
}

bool Group::remove(const Articles &articles)
{
    Articles removed;
    bool written = true;
    for (const quint32 article : articles) {
        if (!overview(article))
            continue;
        if (m_files.kill(rowOf(article)))
            removed.push_back(article);
        else
            written = false;
    }
    if (!removed.empty()) {
        emit messagesRemoved(removed);
        emit countsChanged();
    }
    return written;
}

bool Group::flush()
{
    return !isOpen() || m_files.sync();
}

bool Group::tidy()
{
    const int rows = rowCount();
    const int dead = rows - int(counts().total);
    if (dead < kManyDeadRows || dead < rows / kDeadShare)
        return true;
    if (!m_files.sync()) // a row may only go when its record is dead on the disk
        return false;
    std::vector<Overview> live;
    live.reserve(std::size_t(rows - dead));
    for (int i = 0; i < rows; ++i) {
        if (!row(i).isDead() || i + 1 == rows) // the last one keeps the highest number known
            live.push_back(row(i));
    }
    const quint32 next = m_files.overviews().nextArticle();
    if (!m_files.rewriteOverviews(live, next)) {
        report(ReportLevel::Warning, "Unable to write group overview file");
        return false;
    }
    emit rowsReset();
    return true;
}

void Group::setRecord(const GroupRecord &record)
{
    m_record = record;
    m_files.setCompresses(compresses());
}
