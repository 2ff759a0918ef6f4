#include "ui/list/messagelistmodel.h"

#include "config/clock.h"
#include "config/settings.h"
#include "message/message.h"
#include "ui/texts/messagetexts.h"

#include <QElapsedTimer>
#include <QMimeData>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kKeptTexts = 500; ///< several screens full

/// A relay that takes long is made rarely, so that an import into a large group stays quick.
constexpr int kRestAfterRelay = 10; ///< times what it took
constexpr int kLongestRest = 400;   ///< milliseconds: what is new is shown within a second

constexpr int kFirstOfFilter = 8;          ///< milliseconds: a small group is filtered in these
constexpr qint64 kBetweenFilterings = 150; ///< milliseconds between two pictures of what was found
constexpr int kBetweenLooksAtDay = 60'000; ///< milliseconds; a computer may have slept over midnight
constexpr quint32 kSpanOffset = 3;         ///< spans of headings in an index, from 1

// What an index carries: two of 32 bits; of a heading no group and its span.
static_assert(sizeof(quintptr) == sizeof(quint64));

quint64 keyOf(MessageRef message)
{
    return quint64(quint32(message.group)) << 32 | message.article;
}

quint64 keyOfSpan(int span)
{
    return quint64(span) + kSpanOffset;
}

bool isKeyOfSpan(quint64 key)
{
    return key >> 32 == 0;
}

MessageRef refOfKey(quint64 key)
{
    return isKeyOfSpan(key) ? MessageRef() : MessageRef{int(quint32(key >> 32)), quint32(key)};
}

} // namespace

MessageListModel::MessageListModel(QObject *parent)
    : QAbstractTableModel(parent)
    , m_texts(kKeptTexts)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &MessageListModel::settle);
    connect(&m_ranks, &TextRanks::progressed, this, &MessageListModel::sortingProgressed);
    connect(&m_ranks, &TextRanks::finished, this, &MessageListModel::ranked);
    connect(&m_matches, &FilterRun::progressed, this, [this](int done, int total) {
        if (clockMilliseconds() - m_lastShown >= kBetweenFilterings)
            showFiltered();
        emit filterProgressed(done, total);
    });
    connect(&m_matches, &FilterRun::finished, this, &MessageListModel::filterFound);
    m_dayTimer.setInterval(kBetweenLooksAtDay);
    connect(&m_dayTimer, &QTimer::timeout, this, &MessageListModel::checkDay);
    m_dayTimer.start();
}

MessageListModel::~MessageListModel() = default;

void MessageListModel::setGroup(Group *group, const MessageSort &sort)
{
    setSource(group ? std::make_unique<GroupRows>(*group) : nullptr, sort);
}

void MessageListModel::setSource(std::unique_ptr<MessageRows> rows, const MessageSort &sort)
{
    beginResetModel();
    m_ranks.clear();
    m_matches.stop();
    m_filter = {};
    m_held = {};
    m_timer.stop();
    m_texts.clear();
    m_changed.clear();
    m_moved = false;
    m_sort = sort;
    m_order = MessageOrder(rows.get());
    m_rows = std::move(rows);
    if (m_rows) {
        watch();
        order();
    }
    endResetModel();
    rank();
    emit filterChanged();
    emit relaid();
}

void MessageListModel::watch()
{
    connect(m_rows.get(), &MessageRows::rowsMoved, this, &MessageListModel::collect);
    connect(m_rows.get(), &MessageRows::rowsChanged, this, &MessageListModel::collectChanged);
    connect(m_rows.get(), &MessageRows::rowsReset, this, &MessageListModel::resetRows);
}

void MessageListModel::hold(MessageRef message)
{
    if (!m_rows || message == m_held)
        return;
    const int before = heldRow();
    m_held = message;
    m_rows->hold(message);
    // Who was shown for the reader's sake alone goes now, after what is under way in the view.
    if (m_order.isFiltered() && before >= 0 && std::size_t(before) < m_matches.matches().size() &&
        !m_matches.matches()[std::size_t(before)])
        QMetaObject::invokeMethod(this, &MessageListModel::showFiltered, Qt::QueuedConnection);
}

void MessageListModel::setSortOrder(const MessageSort &sort)
{
    if (sort == m_sort)
        return;
    const bool sameColumn = sort.column == m_sort.column;
    m_sort = sort;
    m_order.promoteAgain();
    if (!sameColumn)
        m_ranks.clear();
    if (sameColumn || !isTextColumn(sort.column))
        relay();
    rank();
    emit sortChanged();
}

bool MessageListModel::showsRecipients() const
{
    return m_rows && m_rows->showsRecipients();
}

/// Sorting by text takes a while in a large group: the list stays as it was until it is done.
void MessageListModel::rank()
{
    if (!m_rows || !isTextColumn(m_sort.column) || m_ranks.isRunning())
        return;
    if (std::size_t(m_rows->rowCount()) > m_ranks.ranks().size())
        m_ranks.start(*m_rows, m_sort.column);
}

void MessageListModel::ranked()
{
    relay();
    emit sortingEnded();
    rank(); // for what came meanwhile
}

void MessageListModel::stopSorting()
{
    m_ranks.stop();
    emit sortingEnded();
}

void MessageListModel::order()
{
    m_order.rebuild(m_sort, m_ranks.ranks());
    if (m_filter.isEmpty())
        return;
    if (m_matches.takeIn(m_rows->rowCount()))
        startFilter();
    m_order.filter(&m_matches.matches(), heldRow());
}

// --- Filter ---------------------------------------------------------------------------------------------

void MessageListModel::setFilter(const ListFilter &filter)
{
    if (filter == m_filter || !m_rows)
        return;
    m_filter = filter;
    emit filterChanged();
    if (filter.isEmpty()) {
        m_matches.stop();
        moveRows([this] { m_order.filter(nullptr, -1); });
        emit relaid();
        emit filterEnded();
        return;
    }
    startFilter();
    if (!m_matches.step(kFirstOfFilter))
        showFiltered();
}

void MessageListModel::startFilter()
{
    m_matches.start(*m_rows, m_filter, m_order.rows());
}

void MessageListModel::filterFound()
{
    showFiltered();
    emit filterEnded();
}

void MessageListModel::showFiltered()
{
    if (m_filter.isEmpty() || !m_rows)
        return;
    m_lastShown = clockMilliseconds();
    moveRows([this] { m_order.filter(&m_matches.matches(), heldRow()); });
    emit relaid();
}

// --- What happens to the messages -----------------------------------------------------------------------

void MessageListModel::collect()
{
    m_moved = true;
    if (!m_timer.isActive())
        m_timer.start(std::min(int(m_relayCost) * kRestAfterRelay, kLongestRest));
}

void MessageListModel::collectChanged(const MessageRefs &messages)
{
    m_changed.insert(m_changed.end(), messages.begin(), messages.end());
    if (!m_timer.isActive())
        m_timer.start(0);
}

void MessageListModel::settle()
{
    m_timer.stop();
    if (!m_rows)
        return;
    if (m_moved)
        relay();
    m_moved = false;
    announceChanges();
    rank();
}

void MessageListModel::resetRows()
{
    m_texts.clear();
    m_ranks.clear();
    m_matches.stop(); // it knows the rows by other numbers
    m_order = MessageOrder(m_rows.get());
    relay();
    if (!m_filter.isEmpty())
        startFilter();
    rank();
}

/// Whatever @p change does with the places, every index goes with its message.
void MessageListModel::moveRows(const std::function<void()> &change)
{
    emit layoutAboutToBeChanged();
    const QModelIndexList before = persistentIndexList();
    change();
    QModelIndexList after;
    after.reserve(before.size());
    for (const QModelIndex &old : before) {
        const int place = placeAfterwards(old.internalId());
        after.append(place < 0 ? QModelIndex() : index(place, old.column()));
    }
    changePersistentIndexList(before, after);
    emit layoutChanged();
}

void MessageListModel::relay()
{
    if (!m_rows)
        return;
    QElapsedTimer clock;
    clock.start();
    moveRows([this] { order(); });
    m_relayCost = clock.elapsed();
    emit relaid();
}

/// Where the message is, or the one above it that hides it, or the heading; -1 when it is gone.
int MessageListModel::placeAfterwards(quint64 key) const
{
    if (isKeyOfSpan(key))
        return m_order.headingOf(int(key) - int(kSpanOffset));
    const int row = m_rows->rowOf(refOfKey(key));
    return row < 0 || !m_rows->isListed(row) ? -1 : m_order.nearestPlace(row);
}

/// Many changed rows are one range: what is not on the screen costs nothing.
void MessageListModel::announceChanges()
{
    bool moved = false;
    for (const MessageRef message : m_changed)
        moved = (m_order.isFiltered() && m_matches.look(m_rows->rowOf(message))) || moved;
    if (moved)
        showFiltered();
    int first = rowCount();
    int last = -1;
    for (const MessageRef message : m_changed) {
        const int place = placeAfterwards(keyOf(message));
        if (place < 0)
            continue;
        first = std::min(first, place);
        last = std::max(last, place);
    }
    m_changed.clear();
    if (last >= 0)
        emit dataChanged(index(first, 0), index(last, kMessageColumnCount - 1));
}

void MessageListModel::announceAll()
{
    if (rowCount() > 0)
        emit dataChanged(index(0, 0), index(rowCount() - 1, kMessageColumnCount - 1));
}

bool MessageListModel::checkDay()
{
    if (m_order.isOf(clockNow().date()))
        return false;
    m_order.setDay(clockNow());
    relay();
    announceAll();
    return true;
}

void MessageListModel::setTags(TagNames names)
{
    m_tags = std::move(names);
    announceAll();
}

// --- What is there --------------------------------------------------------------------------------------

ShownHeading MessageListModel::heading(int place) const
{
    return {m_order.textOf(m_order.spanAt(place)), m_order.messagesUnder(place), m_order.isFolded(place)};
}

void MessageListModel::setFolded(int place, bool folded)
{
    if (!isHeading(place) || m_order.isFolded(place) == folded)
        return;
    moveRows([this, place, folded] { m_order.setFolded(place, folded); });
    emit relaid();
}

bool MessageListModel::hidesUnread(int heading) const
{
    if (!m_order.isFolded(heading))
        return false;
    const std::vector<int> rows = m_order.rowsUnder(heading);
    return std::any_of(rows.begin(), rows.end(),
                       [this](int row) { return !m_rows->row(row).has(Mark::Read); });
}

int MessageListModel::headingAbove(MessageRef message) const
{
    return m_rows ? m_order.headingAbove(m_rows->rowOf(message)) : -1;
}

int MessageListModel::messageNear(int place, int direction) const
{
    for (const int step : {direction, -direction}) {
        for (int at = place; at >= 0 && at < rowCount(); at += step) {
            if (!isHeading(at))
                return at;
        }
    }
    return -1;
}

int MessageListModel::messagesBetween(int first, int last) const
{
    return last - first + 1 - m_order.headingsBetween(first, last);
}

MessageRef MessageListModel::refAt(int place) const
{
    return isHeading(place) ? MessageRef() : m_rows->refAt(m_order.rowAt(place));
}

bool MessageListModel::has(MessageRef message) const
{
    const int row = m_rows ? m_rows->rowOf(message) : -1;
    return row >= 0 && m_rows->isListed(row);
}

const Overview &MessageListModel::overviewAt(int place) const
{
    return m_rows->row(m_order.rowAt(place));
}

int MessageListModel::placeOf(MessageRef message) const
{
    return m_rows ? m_order.placeOf(m_rows->rowOf(message)) : -1;
}

MessageRefs MessageListModel::refsAt(const std::vector<int> &places) const
{
    MessageRefs messages;
    for (const int place : places) {
        if (isHeading(place))
            continue;
        messages.push_back(refAt(place));
        if (!hasAnswers(place) || isExpanded(place))
            continue;
        for (const int row : m_order.rowsBelow(place))
            messages.push_back(m_rows->refAt(row));
    }
    return messages;
}

MessageRefs MessageListModel::threadOf(int place) const
{
    while (m_order.depthAt(place) > 0)
        --place;
    MessageRefs messages = {refAt(place)};
    for (const int row : m_order.rowsBelow(place))
        messages.push_back(m_rows->refAt(row));
    return messages;
}

int MessageListModel::reveal(MessageRef message)
{
    if (!m_rows)
        return -1;
    const int row = m_rows->rowOf(message);
    if (row < 0 || !m_rows->isListed(row))
        return -1;
    if (const int heading = m_order.headingAbove(row); heading >= 0)
        setFolded(heading, false);
    while (m_order.placeOf(row) < 0) {
        const int above = m_order.nearestPlace(row);
        if (above < 0 || isExpanded(above))
            return -1;
        setExpanded(above, true);
    }
    return m_order.placeOf(row);
}

void MessageListModel::setExpanded(int place, bool expanded)
{
    if (isHeading(place))
        return setFolded(place, !expanded);
    if (!hasAnswers(place) || isExpanded(place) == expanded)
        return;
    const int below = m_order.placesBelow(place);
    if (expanded) {
        beginInsertRows({}, place + 1, place + below);
        m_order.expand(place);
        endInsertRows();
    } else {
        beginRemoveRows({}, place + 1, place + below);
        m_order.collapse(place);
        endRemoveRows();
    }
    emit dataChanged(index(place, 0), index(place, kMessageColumnCount - 1));
    emit relaid();
}

void MessageListModel::setAllExpanded(bool expanded)
{
    moveRows([this, expanded] {
        m_order.unfoldAll();
        m_order.setAllExpanded(expanded);
    });
    emit relaid();
}

ShownMessage MessageListModel::item(int place) const
{
    ShownMessage item;
    const int row = m_order.rowAt(place);
    item.overview = m_rows->row(row);
    item.texts = textsOf(row);
    item.subject =
        subjectOrNone(boolSetting(Setting::StripRe) ? baseSubjectOf(item.texts.subject) : item.texts.subject);
    item.people = peopleOf(m_rows->showsRecipients(row) ? item.texts.to : item.texts.from);
    if (m_tags && item.overview.tags() != 0)
        item.tags = m_tags(item.overview.tags());
    item.depth = m_order.depthAt(place);
    item.hasAnswers = m_order.hasAnswers(place);
    item.isExpanded = item.hasAnswers && m_order.isExpanded(place);
    if (item.hasAnswers)
        item.thread = threadCounts(place);
    return item;
}

QString MessageListModel::peopleAt(int place) const
{
    const HeaderTexts texts = textsAt(place);
    return peopleOf(m_rows->showsRecipients(m_order.rowAt(place)) ? texts.to : texts.from);
}

ThreadCounts MessageListModel::threadCounts(int place) const
{
    const auto isUnread = [this](int row) { return !m_rows->row(row).has(Mark::Read); };
    const std::vector<int> below = m_order.rowsBelow(place);
    const auto unread = std::count_if(below.begin(), below.end(), isUnread);
    return {int(below.size()) + 1, int(unread) + (isUnread(m_order.rowAt(place)) ? 1 : 0)};
}

HeaderTexts MessageListModel::textsOf(int row) const
{
    const quint64 key = keyOf(m_rows->refAt(row));
    if (const HeaderTexts *kept = m_texts.object(key))
        return *kept;
    auto texts = std::make_unique<HeaderTexts>(m_rows->texts(row));
    HeaderTexts copy = *texts;
    m_texts.insert(key, texts.release());
    return copy;
}

MessageRef MessageListModel::refOf(const QModelIndex &index)
{
    return index.isValid() ? refOfKey(index.internalId()) : MessageRef();
}

QModelIndex MessageListModel::index(int row, int column, const QModelIndex &parent) const
{
    if (parent.isValid() || row < 0 || row >= rowCount() || column < 0 || column >= kMessageColumnCount)
        return {};
    const quint64 key = isHeading(row) ? keyOfSpan(m_order.spanAt(row)) : keyOf(refAt(row));
    return createIndex(row, column, quintptr(key));
}

int MessageListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() || !m_rows ? 0 : m_order.count();
}

int MessageListModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : kMessageColumnCount;
}

Qt::ItemFlags MessageListModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return {};
    if (isHeading(index.row()))
        return Qt::ItemNeverHasChildren; // never current, never selected
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemNeverHasChildren;
}

void MessageListModel::sort(int column, Qt::SortOrder order)
{
    if (column < 0 || column >= kMessageColumnCount)
        return;
    setSortOrder({MessageColumn(column), order, m_sort.threads, m_sort.headings});
}

QStringList MessageListModel::mimeTypes() const
{
    return {QString::fromLatin1(kMessagesMimeType)};
}

QMimeData *MessageListModel::mimeData(const QModelIndexList &indexes) const
{
    std::vector<int> places;
    for (const QModelIndex &index : indexes)
        places.push_back(index.row());
    std::sort(places.begin(), places.end());
    places.erase(std::unique(places.begin(), places.end()), places.end());
    auto mime = std::make_unique<QMimeData>();
    mime->setData(mimeTypes().first(), encodeDragged(refsAt(places)));
    return mime.release();
}
