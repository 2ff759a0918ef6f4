#include "ui/list/messageorder.h"

#include "config/clock.h"
#include "config/settings.h"
#include "store/messagerows.h"

#include <QCoreApplication>

#include <algorithm>
#include <limits>
#include <utility>

namespace {

constexpr quint32 kNoRow = 0xffffffff;
constexpr quint64 kSign = quint64(1) << 63;
constexpr int kDeepest = 0xfff0; ///< depths beyond are drawn at the same place anyway

quint64 dateKey(const Overview &overview)
{
    return quint64(overview.date()) ^ kSign; // as if it had no sign
}

qint64 dateOf(quint64 key)
{
    return qint64(key ^ kSign);
}

/// Unread first, then what was answered, what was forwarded, the rest.
quint32 stateKey(const Overview &overview)
{
    if (!overview.has(Mark::Read))
        return 0;
    if (overview.has(Mark::Replied))
        return 1;
    return overview.has(Mark::Forwarded) ? 2 : 3;
}

quint32 numericKey(const Overview &overview, MessageColumn column)
{
    switch (column) {
    case MessageColumn::State: return stateKey(overview);
    case MessageColumn::Flag: return overview.has(Mark::Flagged) ? 1 : 0;
    case MessageColumn::Clip: return overview.has(Mark::Attachments) ? 1 : 0;
    case MessageColumn::Score: return quint32(overview.score() + 0x8000);
    case MessageColumn::Size: return overview.size();
    case MessageColumn::Subject:
    case MessageColumn::From:
    case MessageColumn::Date:
    case MessageColumn::Thread: break;
    }
    return 0;
}

} // namespace

MessageOrder::MessageOrder(const MessageRows *rows)
    : m_rows(rows)
    , m_dates(clockNow())
    , m_expandNew(boolSetting(Setting::ExpandThreadsByDefault))
    , m_subjectParts(boolSetting(Setting::SubjectNewThread))
{}

void MessageOrder::rebuild(const MessageSort &sort, const std::vector<quint32> &ranks)
{
    if (!m_rows)
        return;
    Group *group = m_rows->group();
    m_threaded = sort.threads && group;
    m_expanded.resize(std::size_t(m_rows->rowCount()), m_expandNew);
    promote();
    const std::vector<Key> keys = oldestFirst();
    if (!m_threaded)
        m_threads.reset();
    else if (m_threads)
        m_threads->update();
    else
        m_threads = std::make_unique<Threads>(*group);
    arrange(keys, sort, ranks);
    m_position.assign(std::size_t(m_rows->rowCount()), 0);
    for (std::size_t i = 0; i < m_order.size(); ++i)
        m_position[m_order[i]] = quint32(i) + 1;
    findShown();
}

/// Rows that came since the last time are looked at; a list of flagged messages has nothing to promote.
void MessageOrder::promote()
{
    if (!boolSetting(Setting::PromoteFlagged) || !m_rows->group()) {
        m_promoted.clear();
        return;
    }
    for (int row = int(m_promoted.size()); row < m_rows->rowCount(); ++row)
        m_promoted.push_back(m_rows->row(row).has(Mark::Flagged));
}

std::vector<MessageOrder::Key> MessageOrder::oldestFirst() const
{
    std::vector<Key> keys;
    const int rows = m_rows->rowCount();
    keys.reserve(std::size_t(rows));
    for (int row = 0; row < rows; ++row) {
        if (m_rows->isListed(row))
            keys.push_back({dateKey(m_rows->row(row)), quint32(row)});
    }
    if (!std::is_sorted(keys.begin(), keys.end()))
        std::sort(keys.begin(), keys.end());
    return keys;
}

/// Turns keys in order of the date into keys of the column and sorts by them; equal ones stand newest first.
void MessageOrder::addColumnKeys(std::vector<Key> &keys, const MessageSort &sort,
                                 const std::vector<quint32> &ranks, const std::vector<int> &parents) const
{
    const bool descending = sort.order == Qt::DescendingOrder;
    if (sort.column == MessageColumn::Date) {
        if (descending)
            std::reverse(keys.begin(), keys.end());
        return;
    }
    const bool byText = isTextColumn(sort.column);
    const std::vector<quint32> sizes =
        sort.column == MessageColumn::Thread ? threadSizes(parents) : std::vector<quint32>();
    quint32 age = quint32(keys.size());
    for (Key &key : keys) {
        const bool unranked = byText && key.row >= ranks.size();
        quint32 value = byText          ? (unranked ? kNoRow : ranks[key.row])
                        : sizes.empty() ? numericKey(m_rows->row(int(key.row)), sort.column)
                                        : sizes[key.row];
        if (descending && !unranked)
            value = kNoRow - 1 - value;
        key.key = quint64(value) << 32 | age--;
    }
    std::sort(keys.begin(), keys.end());
}

/// How many messages are in the thread of each topmost row.
std::vector<quint32> MessageOrder::threadSizes(const std::vector<int> &parents) const
{
    std::vector<quint32> sizes(std::size_t(m_rows->rowCount()), 1);
    std::vector<int> tops(parents.begin(), parents.end()); // shortened on the way, so that none is long
    for (std::size_t row = 0; row < tops.size(); ++row) {
        int top = int(row);
        while (tops[std::size_t(top)] != Threads::kNone)
            top = tops[std::size_t(top)];
        for (int at = int(row); tops[std::size_t(at)] != Threads::kNone;)
            at = std::exchange(tops[std::size_t(at)], top) == top ? top : at;
        if (top != int(row) && m_rows->isListed(int(row)))
            ++sizes[std::size_t(top)];
    }
    return sizes;
}

void MessageOrder::arrange(const std::vector<Key> &byDate, const MessageSort &sort,
                           const std::vector<quint32> &ranks)
{
    std::vector<int> parents = m_threaded ? liveParents() : std::vector<int>();
    std::vector<Key> tops = m_threaded ? roots(byDate, parents, sort) : byDate;
    addColumnKeys(tops, sort, ranks, parents);
    const auto isPromoted = [this](const Key &key) { return !m_promoted.empty() && m_promoted[key.row]; };
    const auto others = std::stable_partition(tops.begin(), tops.end(), isPromoted);
    const Family family = m_threaded ? familyOf(std::move(parents), byDate) : Family();
    m_runs.clear();
    m_order.clear();
    m_depths.clear();
    m_order.reserve(byDate.size());
    m_depths.reserve(m_threaded ? byDate.size() : 0);
    const bool byDateSpan = sort.headings && sort.column == MessageColumn::Date;
    for (auto top = tops.begin(); top != tops.end(); ++top) {
        if (top < others)
            beginRun(kFlagged);
        else if (byDateSpan)
            beginRun(m_dates.spanOf(dateOf(top->key)));
        else if (others != tops.begin())
            beginRun(kOthers);
        if (m_threaded)
            emitThread(top->row, family);
        else
            m_order.push_back(top->row);
    }
    if (!m_threaded)
        m_depths.shrink_to_fit();
}

void MessageOrder::beginRun(int span)
{
    if (m_runs.empty() || m_runs.back().span != span)
        m_runs.push_back({quint32(m_order.size()), span});
}

/// From the newest on, so that what is put in front of a list leaves it oldest first.
MessageOrder::Family MessageOrder::familyOf(std::vector<int> parents, const std::vector<Key> &byDate)
{
    Family family;
    family.parent = std::move(parents);
    family.first.resize(family.parent.size(), kNoRow);
    family.next.resize(family.parent.size(), kNoRow);
    for (auto key = byDate.rbegin(); key != byDate.rend(); ++key) {
        const int parent = family.parent[key->row];
        if (parent == Threads::kNone)
            continue;
        family.next[key->row] = family.first[std::size_t(parent)];
        family.first[std::size_t(parent)] = key->row;
    }
    return family;
}

std::vector<int> MessageOrder::liveParents() const
{
    std::vector<int> parents(std::size_t(m_rows->rowCount()));
    for (int row = 0; row < int(parents.size()); ++row)
        parents[std::size_t(row)] = liveParent(row);
    return parents;
}

/// The topmost messages, by the date of the newest in their threads, oldest first; for any other column than
/// the date by their own.
std::vector<MessageOrder::Key> MessageOrder::roots(const std::vector<Key> &byDate,
                                                   const std::vector<int> &parents, const MessageSort &sort)
{
    std::vector<Key> tops;
    if (sort.column != MessageColumn::Date) {
        std::copy_if(byDate.begin(), byDate.end(), std::back_inserter(tops),
                     [&parents](const Key &key) { return parents[key.row] == Threads::kNone; });
        return tops;
    }
    std::vector<bool> seen(parents.size());
    for (auto key = byDate.rbegin(); key != byDate.rend(); ++key) {
        int row = int(key->row);
        if (seen[std::size_t(row)])
            continue;
        // Whatever is seen on the way up has had its topmost message listed.
        for (int above = row; above != Threads::kNone && !seen[std::size_t(above)];
             above = parents[std::size_t(above)]) {
            seen[std::size_t(above)] = true;
            row = above;
        }
        if (parents[std::size_t(row)] == Threads::kNone)
            tops.push_back({key->key, quint32(row)});
    }
    std::reverse(tops.begin(), tops.end());
    return tops;
}

void MessageOrder::emitThread(quint32 root, const Family &family)
{
    quint32 row = root;
    int depth = 0;
    while (true) {
        m_order.push_back(row);
        m_depths.push_back(quint16(std::min(depth, kDeepest)));
        if (family.first[row] != kNoRow) {
            row = family.first[row];
            ++depth;
            continue;
        }
        while (row != root && family.next[row] == kNoRow) {
            row = quint32(family.parent[row]);
            --depth;
        }
        if (row == root)
            return;
        row = family.next[row];
    }
}

// --- What is shown --------------------------------------------------------------------------------------

void MessageOrder::filter(const std::vector<bool> *matches, int held)
{
    m_matches = matches;
    m_held = held;
    findShown();
}

void MessageOrder::findShown()
{
    m_shown.clear();
    m_matching = 0;
    m_plain = !m_threaded && !m_matches && m_runs.empty();
    if (m_plain) {
        m_shown.shrink_to_fit();
        m_headingPlaces.clear();
        return;
    }
    if (m_runs.empty())
        showRun(0, m_order.size());
    for (std::size_t run = 0; run < m_runs.size(); ++run) {
        const std::size_t heading = m_shown.size();
        const int before = m_matching;
        m_shown.push_back(headingEntry(m_runs[run].begin));
        showRun(m_runs[run].begin, endOfRun(run));
        if (m_matches && m_matching == before)
            m_shown.resize(heading);
        else if (m_folded.contains(keyOf(m_runs[run].span)))
            m_shown.resize(heading + 1);
    }
    findHeadings();
}

/// Enters what is shown of the positions from @p begin to @p end.
void MessageOrder::showRun(std::size_t begin, std::size_t end)
{
    for (std::size_t at = begin; at < end;) {
        if (m_matches) {
            if (isShownByFilter(m_order[at])) {
                m_shown.push_back(messageEntry(quint32(at)));
                ++m_matching;
            }
            ++at;
            continue;
        }
        m_shown.push_back(messageEntry(quint32(at)));
        at = !m_threaded || m_expanded[m_order[at]] ? at + 1 : endOfThread(at);
    }
}

void MessageOrder::findHeadings()
{
    m_headingPlaces.clear();
    for (const Run &run : m_runs) {
        const auto found = std::lower_bound(m_shown.begin(), m_shown.end(), headingEntry(run.begin));
        if (found != m_shown.end() && *found == headingEntry(run.begin))
            m_headingPlaces.push_back(int(found - m_shown.begin()));
    }
}

int MessageOrder::liveParent(int row) const
{
    int above = m_threads->parent(row);
    while (above != Threads::kNone && !m_rows->isListed(above))
        above = m_threads->parent(above);
    if (above == Threads::kNone || !m_subjectParts)
        return above;
    const quint32 subject = m_rows->row(row).subjectHash();
    return subject == 0 || subject == m_rows->row(above).subjectHash() ? above : Threads::kNone;
}

std::size_t MessageOrder::endOfThread(std::size_t position) const
{
    std::size_t end = position + 1;
    while (end < m_depths.size() && m_depths[end] > m_depths[position])
        ++end;
    return end;
}

int MessageOrder::placeOf(int row) const
{
    if (row < 0 || std::size_t(row) >= m_position.size() || m_position[std::size_t(row)] == 0)
        return -1;
    const quint32 position = m_position[std::size_t(row)] - 1;
    if (m_plain)
        return int(position);
    const auto found = std::lower_bound(m_shown.begin(), m_shown.end(), messageEntry(position));
    return found != m_shown.end() && *found == messageEntry(position) ? int(found - m_shown.begin()) : -1;
}

/// With a filter it counts what is shown above it alone.
int MessageOrder::depthAt(int place) const
{
    if (!m_threaded)
        return 0;
    if (!m_matches)
        return m_depths[position(place)];
    int depth = 0;
    for (int row = liveParent(rowAt(place)); row != Threads::kNone; row = liveParent(row))
        depth += isShownByFilter(quint32(row)) ? 1 : 0;
    return depth;
}

bool MessageOrder::hasAnswers(int place) const
{
    if (!m_threaded || m_matches)
        return false;
    const std::size_t at = position(place);
    return at + 1 < m_depths.size() && m_depths[at + 1] > m_depths[at];
}

std::vector<int> MessageOrder::rowsBelow(int place) const
{
    if (!m_threaded)
        return {};
    const std::size_t at = position(place);
    return {m_order.begin() + std::ptrdiff_t(at) + 1, m_order.begin() + std::ptrdiff_t(endOfThread(at))};
}

/// The entries below @p position that are shown when it is expanded.
std::vector<quint32> MessageOrder::visibleBelow(std::size_t position) const
{
    std::vector<quint32> visible;
    const std::size_t end = endOfThread(position);
    for (std::size_t at = position + 1; at < end;) {
        visible.push_back(messageEntry(quint32(at)));
        at = m_expanded[m_order[at]] ? at + 1 : endOfThread(at);
    }
    return visible;
}

int MessageOrder::placesBelow(int place) const
{
    return m_threaded && !m_matches ? int(visibleBelow(position(place)).size()) : 0;
}

void MessageOrder::expand(int place)
{
    const std::vector<quint32> visible = visibleBelow(position(place));
    m_expanded[std::size_t(rowAt(place))] = true;
    m_shown.insert(m_shown.begin() + place + 1, visible.begin(), visible.end());
    findHeadings();
}

void MessageOrder::collapse(int place)
{
    const auto first = m_shown.begin() + place + 1;
    m_shown.erase(first, first + placesBelow(place));
    m_expanded[std::size_t(rowAt(place))] = false;
    findHeadings();
}

void MessageOrder::setAllExpanded(bool expanded)
{
    std::fill(m_expanded.begin(), m_expanded.end(), expanded);
    findShown();
}

int MessageOrder::nearestPlace(int row) const
{
    int place = placeOf(row);
    if (!m_threaded || m_matches || row < 0 || row >= m_threads->rowCount())
        return place;
    while (place < 0 && (row = liveParent(row)) != Threads::kNone)
        place = placeOf(row);
    return place;
}

// --- Headings -------------------------------------------------------------------------------------------

std::size_t MessageOrder::runAt(std::size_t position) const
{
    const auto next = std::upper_bound(m_runs.begin(), m_runs.end(), position,
                                       [](std::size_t at, const Run &run) { return at < run.begin; });
    return std::size_t(next - m_runs.begin()) - 1;
}

std::size_t MessageOrder::endOfRun(std::size_t run) const
{
    return run + 1 < m_runs.size() ? m_runs[run + 1].begin : m_order.size();
}

qint64 MessageOrder::keyOf(int span) const
{
    return span < 0 ? std::numeric_limits<qint64>::max() + span : m_dates.begin(span);
}

int MessageOrder::spanAt(int place) const
{
    return m_runs[runAt(position(place))].span;
}

std::vector<int> MessageOrder::rowsUnder(int place) const
{
    const std::size_t run = runAt(position(place));
    std::vector<int> rows;
    for (std::size_t at = m_runs[run].begin; at < endOfRun(run); ++at) {
        if (!m_matches || isShownByFilter(m_order[at]))
            rows.push_back(int(m_order[at]));
    }
    return rows;
}

int MessageOrder::messagesUnder(int place) const
{
    const std::size_t run = runAt(position(place));
    return m_matches ? int(rowsUnder(place).size()) : int(endOfRun(run) - m_runs[run].begin);
}

void MessageOrder::setFolded(int place, bool folded)
{
    const qint64 key = keyOf(spanAt(place));
    if (folded)
        m_folded.insert(key);
    else
        m_folded.erase(key);
    findShown();
}

void MessageOrder::unfoldAll()
{
    m_folded.clear();
    findShown();
}

int MessageOrder::headingOf(int span) const
{
    for (const int place : m_headingPlaces) {
        if (spanAt(place) == span)
            return place;
    }
    return -1;
}

int MessageOrder::headingAbove(int row) const
{
    if (m_runs.empty() || row < 0 || std::size_t(row) >= m_position.size() ||
        m_position[std::size_t(row)] == 0)
        return -1;
    return headingOf(m_runs[runAt(m_position[std::size_t(row)] - 1)].span);
}

int MessageOrder::headingsBetween(int first, int last) const
{
    const auto begin = std::lower_bound(m_headingPlaces.begin(), m_headingPlaces.end(), first);
    return int(std::upper_bound(begin, m_headingPlaces.end(), last) - begin);
}

QString MessageOrder::textOf(int span) const
{
    if (span == kFlagged)
        return QCoreApplication::translate("MessageList", "Flagged");
    return span == kOthers ? QCoreApplication::translate("MessageList", "Not flagged") : m_dates.text(span);
}
