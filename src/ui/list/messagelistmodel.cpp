#include "ui/list/messagelistmodel.h"

#include "ui/look/icons.h"
#include "ui/texts/messagetexts.h"

#include <QDataStream>
#include <QElapsedTimer>
#include <QIODevice>
#include <QMimeData>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kKeptTexts = 500; ///< several screens full

/// A relay that takes long is made rarely, so that an import into a large group stays quick.
constexpr int kRestAfterRelay = 10; ///< times what it took

// What an index carries: two of 32 bits.
static_assert(sizeof(quintptr) == sizeof(quint64));

quint64 keyOf(MessageRef message)
{
    return quint64(quint32(message.group)) << 32 | message.article;
}

MessageRef refOfKey(quint64 key)
{
    return {int(quint32(key >> 32)), quint32(key)};
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
    if (m_rows)
        m_rows->hold(message);
}

void MessageListModel::setSortOrder(const MessageSort &sort)
{
    if (sort == m_sort)
        return;
    const bool sameColumn = sort.column == m_sort.column;
    m_sort = sort;
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
}

void MessageListModel::collect()
{
    m_moved = true;
    if (!m_timer.isActive())
        m_timer.start(int(m_relayCost) * kRestAfterRelay);
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
    m_order = MessageOrder(m_rows.get());
    relay();
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
        const int place = placeAfterwards(refOf(old));
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

/// Where the message is, or the one above it that hides it; -1 when it is gone.
int MessageListModel::placeAfterwards(MessageRef message) const
{
    const int row = m_rows->rowOf(message);
    return row < 0 || !m_rows->isListed(row) ? -1 : m_order.nearestPlace(row);
}

/// Many changed rows are one range: what is not on the screen costs nothing.
void MessageListModel::announceChanges()
{
    int first = rowCount();
    int last = -1;
    for (const MessageRef message : m_changed) {
        const int place = placeAfterwards(message);
        if (place < 0)
            continue;
        first = std::min(first, place);
        last = std::max(last, place);
    }
    m_changed.clear();
    if (last >= 0)
        emit dataChanged(index(first, 0), index(last, kMessageColumnCount - 1));
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
    moveRows([this, expanded] { m_order.setAllExpanded(expanded); });
    emit relaid();
}

MessageListModel::Item MessageListModel::item(int place) const
{
    Item item;
    const int row = m_order.rowAt(place);
    item.overview = m_rows->row(row);
    item.texts = textsOf(row);
    item.people = peopleOf(m_rows->showsRecipients(row) ? item.texts.to : item.texts.from);
    item.depth = m_order.depthAt(place);
    item.hasAnswers = m_order.hasAnswers(place);
    item.isExpanded = item.hasAnswers && m_order.isExpanded(place);
    return item;
}

MessageListModel::ThreadCounts MessageListModel::threadCounts(int place) const
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
    return createIndex(row, column, quintptr(keyOf(refAt(row))));
}

int MessageListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() || !m_rows ? 0 : m_order.count();
}

int MessageListModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : kMessageColumnCount;
}

QVariant MessageListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || !m_rows)
        return {};
    if (role != Qt::DisplayRole && role != Qt::AccessibleTextRole && role != Qt::ToolTipRole)
        return {};
    const Item item = this->item(index.row());
    if (role == Qt::AccessibleTextRole)
        return spokenRow(item.overview, item.people, item.texts.subject);
    const auto column = MessageColumn(index.column());
    if (role == Qt::ToolTipRole && column == MessageColumn::Date)
        return longDate(item.overview.date());
    return textOf(item, column);
}

QString MessageListModel::textOf(const Item &item, MessageColumn column) const
{
    switch (column) {
    case MessageColumn::State: return item.overview.has(Mark::Read) ? QString() : u"Unread"_s;
    case MessageColumn::Flag: return item.overview.has(Mark::Flagged) ? u"Flagged"_s : QString();
    case MessageColumn::Subject: return subjectOrNone(item.texts.subject);
    case MessageColumn::Clip: return item.overview.has(Mark::Attachments) ? u"Attachments"_s : QString();
    case MessageColumn::From: return item.people;
    case MessageColumn::Score: return scoreText(item.overview.score());
    case MessageColumn::Date: return shortDate(item.overview.date());
    case MessageColumn::Size: return shortSize(item.overview.unpackedLength());
    }
    return {};
}

QVariant MessageListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= kMessageColumnCount)
        return {};
    const MessageColumnRow &column = kMessageColumns[std::size_t(section)];
    const bool isPeople = MessageColumn(section) == MessageColumn::From && showsRecipients();
    const QString name = isPeople ? u"To"_s : QString::fromLatin1(column.name);
    const bool hasIcon = *column.icon != '\0';
    switch (role) {
    case Qt::DisplayRole: return hasIcon ? QString() : name;
    case Qt::DecorationRole: return hasIcon ? QVariant(icon(QString::fromLatin1(column.icon))) : QVariant();
    case Qt::ToolTipRole:
    case Qt::AccessibleTextRole: return name;
    case Qt::InitialSortOrderRole: return int(column.descending ? Qt::DescendingOrder : Qt::AscendingOrder);
    case Qt::TextAlignmentRole: {
        const auto which = MessageColumn(section);
        const bool atEnd =
            which == MessageColumn::Score || which == MessageColumn::Date || which == MessageColumn::Size;
        return int((atEnd ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    }
    default: return {};
    }
}

Qt::ItemFlags MessageListModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return {};
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemNeverHasChildren;
}

void MessageListModel::sort(int column, Qt::SortOrder order)
{
    if (column < 0 || column >= kMessageColumnCount)
        return;
    setSortOrder({MessageColumn(column), order, m_sort.threads});
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

QByteArray encodeDragged(const MessageRefs &messages)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << quint32(messages.size());
    for (const MessageRef message : messages)
        stream << qint32(message.group) << message.article;
    return bytes;
}

MessageRefs decodeDragged(const QByteArray &bytes)
{
    QDataStream stream(bytes);
    quint32 count = 0;
    stream >> count;
    MessageRefs messages;
    for (quint32 i = 0; i < count; ++i) {
        qint32 group = 0;
        quint32 article = 0;
        stream >> group >> article;
        if (stream.status() != QDataStream::Ok)
            return {};
        messages.push_back({group, article});
    }
    return messages;
}
