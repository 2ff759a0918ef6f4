#include "ui/list/messageorder.h"

#include "config/settings.h"
#include "store/messagerows.h"

#include <algorithm>

namespace {

constexpr quint32 kNoRow = 0xffffffff;
constexpr int kDeepest = 0xfff0; ///< depths beyond are drawn at the same place anyway

quint64 dateKey(const Overview &overview)
{
    return quint64(overview.date()) ^ (quint64(1) << 63); // as if it had no sign
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
    case MessageColumn::Size: return overview.unpackedLength();
    case MessageColumn::Subject:
    case MessageColumn::From:
    case MessageColumn::Date: break;
    }
    return 0;
}

} // namespace

MessageOrder::MessageOrder(const MessageRows *rows)
    : m_rows(rows)
    , m_expandNew(boolSetting(Setting::ExpandThreadsByDefault))
{}

void MessageOrder::rebuild(const MessageSort &sort, const std::vector<quint32> &ranks)
{
    if (!m_rows)
        return;
    Group *group = m_rows->group();
    m_threaded = sort.threads && group;
    m_expanded.resize(std::size_t(m_rows->rowCount()), m_expandNew);
    std::vector<Key> keys = oldestFirst();
    if (m_threaded) {
        if (m_threads)
            m_threads->update();
        else
            m_threads = std::make_unique<Threads>(*group);
        arrangeThreads(keys, sort, ranks);
    } else {
        m_threads.reset();
        m_depths = {};
        addColumnKeys(keys, sort, ranks);
        m_order.resize(keys.size());
        std::transform(keys.begin(), keys.end(), m_order.begin(), [](const Key &key) { return key.row; });
    }
    m_position.assign(std::size_t(m_rows->rowCount()), 0);
    for (std::size_t i = 0; i < m_order.size(); ++i)
        m_position[m_order[i]] = quint32(i) + 1;
    findShown();
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
                                 const std::vector<quint32> &ranks) const
{
    const bool descending = sort.order == Qt::DescendingOrder;
    if (sort.column == MessageColumn::Date) {
        if (descending)
            std::reverse(keys.begin(), keys.end());
        return;
    }
    const bool byText = isTextColumn(sort.column);
    quint32 age = quint32(keys.size());
    for (Key &key : keys) {
        const bool unranked = byText && key.row >= ranks.size();
        quint32 value = byText ? (unranked ? kNoRow : ranks[key.row])
                               : numericKey(m_rows->row(int(key.row)), sort.column);
        if (descending && !unranked)
            value = kNoRow - 1 - value;
        key.key = quint64(value) << 32 | age--;
    }
    std::sort(keys.begin(), keys.end());
}

void MessageOrder::arrangeThreads(const std::vector<Key> &byDate, const MessageSort &sort,
                                  const std::vector<quint32> &ranks)
{
    Family family;
    family.parent = liveParents();
    std::vector<Key> tops = roots(byDate, family.parent, sort);
    addColumnKeys(tops, sort, ranks);

    // From the newest on, so that what is put in front of a list leaves it oldest first.
    family.first.resize(family.parent.size(), kNoRow);
    family.next.resize(family.parent.size(), kNoRow);
    for (auto key = byDate.rbegin(); key != byDate.rend(); ++key) {
        const int parent = family.parent[key->row];
        if (parent == Threads::kNone)
            continue;
        family.next[key->row] = family.first[std::size_t(parent)];
        family.first[std::size_t(parent)] = key->row;
    }
    m_order.clear();
    m_depths.clear();
    m_order.reserve(byDate.size());
    m_depths.reserve(byDate.size());
    for (const Key &top : tops)
        emitThread(top.row, family);
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

void MessageOrder::findShown()
{
    m_shown.clear();
    if (!m_threaded) {
        m_shown.shrink_to_fit();
        return;
    }
    m_shown.reserve(m_order.size());
    for (std::size_t at = 0; at < m_order.size();) {
        m_shown.push_back(quint32(at));
        at = m_expanded[m_order[at]] ? at + 1 : endOfThread(at);
    }
}

int MessageOrder::liveParent(int row) const
{
    int above = m_threads->parent(row);
    while (above != Threads::kNone && !m_rows->isListed(above))
        above = m_threads->parent(above);
    return above;
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
    if (!m_threaded)
        return int(position);
    const auto found = std::lower_bound(m_shown.begin(), m_shown.end(), position);
    return found != m_shown.end() && *found == position ? int(found - m_shown.begin()) : -1;
}

bool MessageOrder::hasAnswers(int place) const
{
    if (!m_threaded)
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

/// The positions below @p position that are shown when it is expanded.
std::vector<quint32> MessageOrder::visibleBelow(std::size_t position) const
{
    std::vector<quint32> visible;
    const std::size_t end = endOfThread(position);
    for (std::size_t at = position + 1; at < end;) {
        visible.push_back(quint32(at));
        at = m_expanded[m_order[at]] ? at + 1 : endOfThread(at);
    }
    return visible;
}

int MessageOrder::placesBelow(int place) const
{
    return m_threaded ? int(visibleBelow(position(place)).size()) : 0;
}

void MessageOrder::expand(int place)
{
    const std::vector<quint32> visible = visibleBelow(position(place));
    m_expanded[std::size_t(rowAt(place))] = true;
    m_shown.insert(m_shown.begin() + place + 1, visible.begin(), visible.end());
}

void MessageOrder::collapse(int place)
{
    const auto first = m_shown.begin() + place + 1;
    m_shown.erase(first, first + placesBelow(place));
    m_expanded[std::size_t(rowAt(place))] = false;
}

void MessageOrder::setAllExpanded(bool expanded)
{
    std::fill(m_expanded.begin(), m_expanded.end(), expanded);
    findShown();
}

int MessageOrder::nearestPlace(int row) const
{
    int place = placeOf(row);
    if (!m_threaded || row < 0 || row >= m_threads->rowCount())
        return place;
    while (place < 0 && (row = liveParent(row)) != Threads::kNone)
        place = placeOf(row);
    return place;
}
