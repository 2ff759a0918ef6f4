#include "store/messagerows.h"

#include "store/groupstore.h"

#include <QElapsedTimer>

#include <algorithm>

namespace {

constexpr int kSlice = 5;       ///< milliseconds
constexpr int kAtOnce = 10'000; ///< rows between two looks at the time

quint64 keyOf(MessageRef message)
{
    return quint64(quint32(message.group)) << 32 | message.article;
}

} // namespace

bool holdsOwnMessages(const Group &group)
{
    const GroupRole role = group.role();
    return role == GroupRole::SentMail || role == GroupRole::SentNews || role == GroupRole::Drafts ||
           role == GroupRole::Outbox;
}

bool MessageRows::showsRecipients(int row) const
{
    const Group *group = groupOf(row);
    return group && holdsOwnMessages(*group);
}

HeaderTexts MessageRows::texts(int row) const
{
    Group *group = groupOf(row);
    return group ? group->texts(this->row(row)) : HeaderTexts();
}

// --- One group ------------------------------------------------------------------------------------------

GroupRows::GroupRows(Group &group)
    : m_group(&group)
{
    group.open();
    const auto refs = [this](const Articles &articles) {
        MessageRefs messages;
        for (const quint32 article : articles)
            messages.push_back({m_group->number(), article});
        emit rowsChanged(messages);
    };
    connect(&group, &Group::messagesAdded, this, &MessageRows::rowsMoved);
    connect(&group, &Group::messagesRemoved, this, &MessageRows::rowsMoved);
    connect(&group, &Group::messagesChanged, this, refs);
    connect(&group, &Group::rowsReset, this, &MessageRows::rowsReset);
    connect(&group, &QObject::destroyed, this, &MessageRows::rowsReset);
}

int GroupRows::rowOf(MessageRef message) const
{
    return m_group && m_group->number() == message.group ? m_group->rowOf(message.article) : -1;
}

// --- What is flagged ------------------------------------------------------------------------------------

FlaggedRows::FlaggedRows(GroupStore &store)
    : m_store(store)
{
    m_timer.setInterval(0);
    connect(&m_timer, &QTimer::timeout, this, &FlaggedRows::slice);
    connect(&store, &GroupStore::groupAdded, this, &FlaggedRows::watch);
    connect(&store, &GroupStore::groupRemoved, this, &FlaggedRows::forget);
    for (Group *group : store.groups())
        watch(group);
}

void FlaggedRows::watch(Group *group)
{
    if (group->role() == GroupRole::WasteBasket || group->role() == GroupRole::Junk)
        return;
    const auto check = [this, group](const Articles &articles) { checkAll(*group, articles); };
    connect(group, &Group::messagesAdded, this, check);
    connect(group, &Group::messagesChanged, this, check);
    connect(group, &Group::messagesRemoved, this, check);
    connect(group, &Group::rowsReset, this, [this, group] { lookAgain(group); });
    m_waiting.push_back(group->number());
    m_timer.start();
}

void FlaggedRows::forget(int number)
{
    for (Entry &entry : m_entries) {
        if (entry.ref.group != number)
            continue;
        entry.group = nullptr;
        entry.listed = false;
    }
    emit rowsMoved();
}

/// A repair brought or dropped messages: what is known is right at once, what is new comes in slices.
void FlaggedRows::lookAgain(Group *group)
{
    Articles known;
    for (const Entry &entry : m_entries) {
        if (entry.group == group)
            known.push_back(entry.ref.article);
    }
    checkAll(*group, known);
    m_waiting.push_back(group->number());
    m_timer.start();
}

void FlaggedRows::slice()
{
    QElapsedTimer clock;
    clock.start();
    const std::size_t before = m_entries.size();
    while (!m_waiting.empty() && !clock.hasExpired(kSlice)) {
        Group *group = m_store.group(m_waiting.front());
        if (group && group->counts().flagged > 0 && !lookThrough(*group, kSlice))
            break;
        m_waiting.pop_front();
        m_nextRow = 0;
    }
    if (m_entries.size() > before)
        emit rowsMoved();
    if (!m_waiting.empty())
        return;
    m_timer.stop();
    emit completed();
}

/// False: there is more of it.
bool FlaggedRows::lookThrough(Group &group, int milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    const int rows = group.rowCount();
    while (m_nextRow < rows) {
        if (clock.hasExpired(milliseconds))
            return false;
        for (const int end = std::min(rows, m_nextRow + kAtOnce); m_nextRow < end; ++m_nextRow) {
            const Overview &overview = group.row(m_nextRow);
            if (overview.has(Mark::Flagged) && !overview.isDead())
                check(group, overview.article());
        }
    }
    return true;
}

bool FlaggedRows::belongs(Group &group, quint32 article) const
{
    const std::optional<Overview> overview = group.overview(article);
    return overview && (overview->has(Mark::Flagged) || m_held == MessageRef{group.number(), article});
}

/// Lists the message, or lists it no more. Whether that is news.
bool FlaggedRows::check(Group &group, quint32 article)
{
    const MessageRef ref{group.number(), article};
    const bool listed = belongs(group, article);
    const int row = rowOf(ref);
    if (row >= 0) {
        Entry &entry = m_entries[std::size_t(row)];
        return std::exchange(entry.listed, listed) != listed;
    }
    if (!listed || !group.row(group.rowOf(article)).has(Mark::Flagged))
        return false;
    m_rows.emplace(keyOf(ref), rowCount());
    m_entries.push_back({ref, &group, true});
    return true;
}

void FlaggedRows::checkAll(Group &group, const Articles &articles)
{
    bool moved = false;
    MessageRefs changed;
    for (const quint32 article : articles) {
        const MessageRef ref{group.number(), article};
        if (check(group, article))
            moved = true;
        else if (rowOf(ref) >= 0)
            changed.push_back(ref);
    }
    if (moved)
        emit rowsMoved();
    if (!changed.empty())
        emit rowsChanged(changed);
}

void FlaggedRows::hold(MessageRef message)
{
    const MessageRef before = std::exchange(m_held, message);
    const int row = before == message ? -1 : rowOf(before);
    Group *group = row < 0 ? nullptr : groupOf(row);
    if (group && check(*group, before.article))
        emit rowsMoved();
}

const Overview &FlaggedRows::row(int row) const
{
    static const Overview kGone;
    const Entry &entry = m_entries[std::size_t(row)];
    const int inGroup = entry.group ? entry.group->rowOf(entry.ref.article) : -1;
    return inGroup < 0 ? kGone : entry.group->row(inGroup);
}

int FlaggedRows::rowOf(MessageRef message) const
{
    const auto found = m_rows.find(keyOf(message));
    return found == m_rows.end() ? -1 : found->second;
}
