#include "engine/messagework.h"

#include "store/groupstore.h"

#include <QElapsedTimer>

#include <algorithm>
#include <tuple>

namespace {

constexpr std::size_t kLookedUpTogether = 256; ///< messages between two looks at the clock
constexpr std::size_t kMarkedTogether = 256;
constexpr std::size_t kRemovedTogether = 1000; ///< messages that one sync takes away
constexpr int kRowsTogether = 4096;

} // namespace

MessageWork::MessageWork(GroupStore &store, UndoJournal &journal, std::shared_ptr<const MessageRefs> messages)
    : m_store(store)
    , m_journal(journal)
    , m_messages(std::move(messages))
{}

MessageWork::~MessageWork() = default;

MessageWork::Progress MessageWork::step(int milliseconds)
{
    if (!m_isGathered) {
        m_isGathered = gather(milliseconds);
        return Progress::Working;
    }
    return work(milliseconds);
}

/// Looks the messages up; true when all of them are.
bool MessageWork::gather(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    Group *group = nullptr;
    while (m_gathered < m_messages->size() && !timer.hasExpired(milliseconds)) {
        const std::size_t end = std::min(m_gathered + kLookedUpTogether, m_messages->size());
        for (; m_gathered < end; ++m_gathered) {
            Entry entry;
            entry.now = m_journal.whereNow((*m_messages)[m_gathered]);
            entry.index = m_gathered;
            if (!group || group->number() != entry.now.group)
                group = m_store.group(entry.now.group);
            const std::optional<Overview> overview =
                group ? group->overview(entry.now.article) : std::nullopt;
            if (!overview)
                ++m_skipped;
            else if (take(entry, *overview))
                m_entries.push_back(entry);
        }
    }
    if (m_gathered < m_messages->size())
        return false;
    const auto order = [](const Entry &entry) {
        return std::tuple(entry.now.group, entry.target, entry.now.article);
    };
    const auto isBefore = [&](const Entry &one, const Entry &other) { return order(one) < order(other); };
    if (!std::is_sorted(m_entries.begin(), m_entries.end(), isBefore))
        std::sort(m_entries.begin(), m_entries.end(), isBefore);
    const auto isSame = [](const Entry &one, const Entry &other) { return one.now == other.now; };
    m_entries.erase(std::unique(m_entries.begin(), m_entries.end(), isSame), m_entries.end());
    return true;
}

std::size_t MessageWork::endOfRun(std::size_t begin) const
{
    std::size_t end = begin;
    while (end < m_entries.size() && m_entries[end].now.group == m_entries[begin].now.group &&
           m_entries[end].target == m_entries[begin].target)
        ++end;
    return end;
}

Articles MessageWork::articlesOf(std::size_t begin, std::size_t end) const
{
    Articles articles;
    articles.reserve(end - begin);
    for (std::size_t i = begin; i < end; ++i)
        articles.push_back(m_entries[i].now.article);
    return articles;
}

/// The change like @p like, but for its messages; begun when there is none yet.
UndoChange &MessageWork::changeFor(const UndoChange &like)
{
    const auto key = [](const UndoChange &change) {
        return std::tie(change.kind, change.source, change.target, change.origin, change.marksSet,
                        change.marksCleared, change.tagsSet, change.tagsCleared);
    };
    const auto found = std::find_if(m_changes.rbegin(), m_changes.rend(),
                                    [&](const UndoChange &change) { return key(change) == key(like); });
    if (found != m_changes.rend())
        return *found;
    m_changes.push_back(like);
    return m_changes.back();
}

// --- Taking elsewhere -----------------------------------------------------------------------------------

TransferWork::TransferWork(GroupStore &store, UndoJournal &journal,
                           std::shared_ptr<const MessageRefs> messages, Transfer::Kind kind)
    : MessageWork(store, journal, std::move(messages))
    , m_kind(kind)
{}

qint64 TransferWork::done() const
{
    return qint64(m_next + (m_transfer ? m_transfer->done() : 0));
}

void TransferWork::settle()
{
    if (!m_transfer)
        return;
    m_transfer->settle();
    harvest();
}

MessageWork::Progress TransferWork::work(int milliseconds)
{
    if (!m_transfer) {
        if (m_next == m_entries.size())
            return Progress::Done;
        begin();
        return Progress::Working;
    }
    const Transfer::Progress progress = m_transfer->step(milliseconds);
    if (progress == Transfer::Progress::Working)
        return Progress::Working;
    harvest();
    return progress == Transfer::Progress::Failed ? Progress::Failed : Progress::Working;
}

void TransferWork::begin()
{
    m_end = endOfRun(m_next);
    const Entry &first = m_entries[m_next];
    Group *source = m_store.group(first.now.group);
    Group *target = m_store.group(first.target);
    if (source && target) {
        m_transfer = std::make_unique<Transfer>(m_store, *source, articlesOf(m_next, m_end), *target, m_kind);
        return;
    }
    m_skipped += qint64(m_end - m_next);
    m_next = m_end;
}

/// Takes down what the transfer has done.
void TransferWork::harvest()
{
    const std::unique_ptr<Transfer> transfer = std::move(m_transfer);
    const Articles &gone = transfer->gone();
    std::size_t at = m_next;
    for (std::size_t i = 0; i < gone.size(); ++i) {
        while (m_entries[at].now.article != gone[i]) // both rise
            ++at;
        const MessageRef now{m_entries[at].target, transfer->arrived()[i]};
        m_reached.push_back(now);
        arrived(m_entries[at], now);
    }
    m_count += qint64(gone.size());
    m_skipped += qint64(m_end - m_next - gone.size());
    m_next = m_end;
}

MoveWork::MoveWork(GroupStore &store, UndoJournal &journal, std::shared_ptr<const MessageRefs> messages,
                   Target target)
    : TransferWork(store, journal, std::move(messages), Transfer::Kind::Move)
    , m_targetOf(std::move(target))
{}

bool MoveWork::take(Entry &entry, const Overview &overview)
{
    entry.target = m_targetOf(overview);
    entry.origin = int(overview.originGroup());
    return entry.target != 0 && entry.target != entry.now.group;
}

void MoveWork::settle()
{
    TransferWork::settle();
    while (restoreOrigins()) {
    }
}

MessageWork::Progress MoveWork::work(int milliseconds)
{
    return restoreOrigins() ? Progress::Working : TransferWork::work(milliseconds);
}

void MoveWork::arrived(const Entry &entry, MessageRef now)
{
    UndoChange like;
    like.kind = UndoChange::Kind::Move;
    like.source = entry.now.group;
    like.target = entry.target;
    like.origin = entry.origin;
    changeFor(like).messages.push_back(now);
}

/// Some of them; false when there are none left.
bool MoveWork::restoreOrigins()
{
    if (!m_origin || m_originsRestored == m_reached.size())
        return false;
    const int number = m_reached[m_originsRestored].group;
    Articles some;
    while (m_originsRestored < m_reached.size() && m_reached[m_originsRestored].group == number &&
           some.size() < kMarkedTogether)
        some.push_back(m_reached[m_originsRestored++].article);
    if (Group *group = m_store.group(number))
        group->setOrigin(some, *m_origin);
    return true;
}

CopyWork::CopyWork(GroupStore &store, UndoJournal &journal, std::shared_ptr<const MessageRefs> messages,
                   int target, MessageRefs before)
    : TransferWork(store, journal, std::move(messages), Transfer::Kind::Copy)
    , m_target(target)
    , m_before(std::move(before))
{}

bool CopyWork::take(Entry &entry, const Overview &)
{
    entry.target = m_target;
    return true;
}

void CopyWork::arrived(const Entry &entry, MessageRef now)
{
    UndoChange like;
    like.kind = UndoChange::Kind::Copy;
    like.target = m_target;
    UndoChange &change = changeFor(like);
    change.messages.push_back(entry.now);
    change.copies.push_back(now);
    if (entry.index < m_before.size())
        m_journal.follow(m_journal.whereNow(m_before[entry.index]), now);
}

// --- Marks and tags -------------------------------------------------------------------------------------

BitsWork::BitsWork(GroupStore &store, UndoJournal &journal, std::shared_ptr<const MessageRefs> messages,
                   Bits bits, int onlyIn)
    : MessageWork(store, journal, std::move(messages))
    , m_bits(bits)
    , m_onlyIn(onlyIn)
{}

bool BitsWork::take(Entry &entry, const Overview &overview)
{
    const quint32 marks = quint32(int(overview.marks()));
    const quint32 tags = overview.tags();
    return (m_onlyIn == 0 || entry.now.group == m_onlyIn) &&
           (((marks & ~m_bits.marksCleared) | m_bits.marksSet) != marks ||
            ((tags & ~m_bits.tagsCleared) | m_bits.tagsSet) != tags);
}

MessageWork::Progress BitsWork::work(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (m_next < m_entries.size() && !timer.hasExpired(milliseconds)) {
        const std::size_t begin = m_next;
        m_next = std::min(endOfRun(begin), begin + kMarkedTogether);
        Group *group = m_store.group(m_entries[begin].now.group);
        if (group && !change(*group, begin, m_next))
            return Progress::Failed;
        m_skipped += group ? 0 : qint64(m_next - begin);
    }
    return m_next < m_entries.size() ? Progress::Working : Progress::Done;
}

/// False after a report.
bool BitsWork::change(Group &group, std::size_t begin, std::size_t end)
{
    for (std::size_t i = begin; i < end; ++i) {
        if (const std::optional<Overview> overview = group.overview(m_entries[i].now.article))
            takeDown(m_entries[i].now, *overview);
        else
            ++m_skipped;
    }
    const Articles some = articlesOf(begin, end);
    bool written = true;
    if ((m_bits.marksSet | m_bits.marksCleared) != 0)
        written = group.setMarks(some, Marks(int(m_bits.marksSet)), Marks(int(m_bits.marksCleared)));
    if ((m_bits.tagsSet | m_bits.tagsCleared) != 0)
        written = group.setTags(some, m_bits.tagsSet, m_bits.tagsCleared) && written;
    return written;
}

/// Only the bits that become others are to be taken back.
void BitsWork::takeDown(MessageRef message, const Overview &overview)
{
    const quint32 marks = quint32(int(overview.marks()));
    UndoChange like;
    like.marksSet = m_bits.marksSet & ~marks;
    like.marksCleared = m_bits.marksCleared & ~m_bits.marksSet & marks;
    like.tagsSet = m_bits.tagsSet & ~overview.tags();
    like.tagsCleared = m_bits.tagsCleared & ~m_bits.tagsSet & overview.tags();
    changeFor(like).messages.push_back(message);
    m_reached.push_back(message);
    ++m_count;
}

// --- Deleting for good ----------------------------------------------------------------------------------

MessageWork::Progress RemoveWork::work(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (m_next < m_entries.size() && !timer.hasExpired(milliseconds)) {
        const std::size_t begin = m_next;
        m_next = std::min(endOfRun(begin), begin + kRemovedTogether);
        Group *group = m_store.group(m_entries[begin].now.group);
        if (group && !m_store.deleteMessages(*group, articlesOf(begin, m_next), true))
            return Progress::Failed;
        (group ? m_count : m_skipped) += qint64(m_next - begin);
    }
    return m_next < m_entries.size() ? Progress::Working : Progress::Done;
}

// --- Looking for messages -------------------------------------------------------------------------------

SearchWork::SearchWork(GroupStore &store, UndoJournal &journal, int group,
                       std::function<bool(const Overview &)> wanted, std::shared_ptr<MessageRefs> found)
    : MessageWork(store, journal, std::make_shared<MessageRefs>())
    , m_group(group)
    , m_wanted(std::move(wanted))
    , m_found(std::move(found))
{}

MessageWork::Progress SearchWork::work(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    Group *group = m_store.group(m_group);
    const int rows = group ? group->rowCount() : 0;
    while (m_row < rows && !timer.hasExpired(milliseconds)) {
        const int end = std::min(m_row + kRowsTogether, rows);
        for (; m_row < end; ++m_row) {
            const Overview &overview = group->row(m_row);
            if (!overview.isDead() && m_wanted(overview))
                m_found->push_back({m_group, overview.article()});
        }
    }
    return m_row < rows ? Progress::Working : Progress::Done;
}
