#include "engine/seenaddresses.h"

#include "message/message.h"
#include "store/groupstore.h"
#include "store/messagerows.h"

#include <QElapsedTimer>
#include <QStringMatcher>

#include <algorithm>

namespace {

constexpr int kSlice = 5;                 ///< milliseconds of work
constexpr int kPause = 20;                ///< milliseconds between two slices: nobody waits for it
constexpr qsizetype kLongList = 2000;     ///< characters; longer lists of recipients are cut
constexpr qsizetype kMostCopies = 100;    ///< people in copy of one message
constexpr quint32 kLongText = 256 * 1024; ///< bytes; longer messages are not read for those in copy

QString keyOf(const QString &address)
{
    return address.trimmed().toLower();
}

/// What completing looks through: the name, each word of it, and the address.
QString wordsOf(const Address &address)
{
    QString words;
    const QString name = address.name.toLower();
    QChar before = u' ';
    for (const QChar c : name) {
        if (c.isLetterOrNumber() && !before.isLetterOrNumber() && before != u' ')
            words += u' ';
        words += c;
        before = c;
    }
    return u' ' + words + u' ' + address.address.toLower();
}

} // namespace

SeenAddresses::SeenAddresses(GroupStore &store, QObject *parent)
    : SeenAddresses(store, Limits(), parent)
{}

SeenAddresses::SeenAddresses(GroupStore &store, Limits limits, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_limits(limits)
{
    m_timer.setInterval(kPause);
    connect(&m_timer, &QTimer::timeout, this, &SeenAddresses::slice);
}

void SeenAddresses::start()
{
    if (std::exchange(m_started, true))
        return;
    connect(&m_store, &GroupStore::groupAdded, this, &SeenAddresses::watch);
    const std::vector<Group *> groups = m_store.groups();
    for (const bool ownOnes : {true, false}) {
        for (Group *group : groups) {
            if (holdsOwnMessages(*group) == ownOnes)
                watch(group);
        }
    }
    m_timer.start();
}

/// Junk and what was thrown away are no company; drafts have gone to nobody yet.
bool SeenAddresses::isWorthIt(const Group &group) const
{
    return group.role() != GroupRole::Junk && group.role() != GroupRole::WasteBasket &&
           group.role() != GroupRole::Drafts && group.kind() != GroupKind::Newsgroup;
}

void SeenAddresses::watch(Group *group)
{
    if (!isWorthIt(*group))
        return;
    m_waiting.push_back({group->number(), -1});
    connect(group, &Group::messagesAdded, this,
            [this, group](const Articles &articles) { lookAtArrived(group, articles); });
    m_timer.start();
}

void SeenAddresses::lookAtArrived(Group *group, const Articles &articles)
{
    const bool isStillToBegin = std::any_of(m_waiting.begin(), m_waiting.end(), [group](const Place &place) {
        return place.group == group->number() && place.nextRow < 0;
    });
    if (isStillToBegin)
        return;
    for (const quint32 article : articles)
        m_arrived.push_back({group->number(), article});
    while (m_arrived.size() > std::size_t(m_limits.messages))
        m_arrived.pop_front();
    m_timer.start();
}

void SeenAddresses::slice()
{
    QElapsedTimer clock;
    clock.start();
    const std::size_t before = m_entries.size();
    while (!m_arrived.empty() && !clock.hasExpired(kSlice)) {
        const MessageRef place = m_arrived.front();
        m_arrived.pop_front();
        Group *group = m_store.group(place.group);
        const int row = group ? group->rowOf(place.article) : -1;
        if (row >= 0)
            look(*group, row);
    }
    while (!m_waiting.empty() && !clock.hasExpired(kSlice) && lookThrough(m_waiting.front(), clock))
        m_waiting.pop_front();
    if (isComplete())
        m_timer.stop();
    if (m_entries.size() != before || isComplete())
        emit changed();
}

/// The newest messages first. True: nothing more is to be found in that group.
bool SeenAddresses::lookThrough(Place &place, const QElapsedTimer &clock)
{
    Group *group = m_store.group(place.group);
    if (!group || group->needsRepair())
        return true;
    const int rows = group->rowCount();
    place.nextRow = place.nextRow < 0 ? rows - 1 : std::min(place.nextRow, rows - 1);
    while (place.nextRow >= 0 && m_looked < m_limits.messages) {
        look(*group, place.nextRow--);
        if (clock.hasExpired(kSlice))
            return place.nextRow < 0;
    }
    return true;
}

void SeenAddresses::look(Group &group, int row)
{
    const Overview overview = group.row(row);
    if (overview.isDead() || overview.has(Mark::Junk))
        return;
    ++m_looked;
    const bool isOwn = holdsOwnMessages(group);
    const HeaderTexts texts = group.texts(overview);
    takeAll(parseAddresses((isOwn ? texts.to : texts.from).left(kLongList)), isOwn);
    if (isOwn && m_read < m_limits.copies && overview.unpackedLength() <= kLongText) {
        ++m_read;
        lookForCopies(group, overview);
    }
}

void SeenAddresses::lookForCopies(Group &group, const Overview &overview)
{
    const Message message(group.readMessage(overview));
    for (const char *field : {"Cc", "Bcc"})
        takeAll(message.addresses(field).mid(0, kMostCopies), true);
}

void SeenAddresses::takeAll(const QList<Address> &addresses, bool isWritten)
{
    for (const Address &address : addresses)
        take(address, isWritten);
}

void SeenAddresses::take(const Address &address, bool isWritten)
{
    const QString key = keyOf(address.address);
    const auto place = m_places.constFind(key);
    if (place == m_places.constEnd()) {
        if (!isValidAddress(address.address) || m_entries.size() >= std::size_t(m_limits.addresses))
            return;
        m_places.insert(key, int(m_entries.size()));
        m_entries.push_back({{address, 1, !isWritten}, wordsOf(address)});
        return;
    }
    Entry &entry = m_entries[std::size_t(*place)];
    Known &known = entry.known;
    if (known.address.name.isEmpty() && !address.name.isEmpty()) {
        known.address.name = address.name;
        entry.words = wordsOf(known.address);
    }
    if (known.collected == isWritten) { // what it counted so far was something else
        known.weight = isWritten ? 1 : known.weight;
        known.collected = known.collected && !isWritten;
    } else {
        ++known.weight;
    }
}

void SeenAddresses::addWritten(const QList<Address> &addresses)
{
    for (const Address &address : addresses) {
        const auto place = m_places.constFind(keyOf(address.address));
        if (place == m_places.constEnd() || m_entries[std::size_t(*place)].known.collected)
            take(address, true);
    }
    emit changed();
}

QList<SeenAddresses::Known> SeenAddresses::complete(const QString &beginning, int most) const
{
    const QStringMatcher wanted(u' ' + beginning.trimmed().toLower());
    std::vector<const Known *> found;
    if (wanted.pattern().size() > 1) {
        for (const Entry &entry : m_entries) {
            if (wanted.indexIn(entry.words) >= 0)
                found.push_back(&entry.known);
        }
    }
    const auto comesFirst = [](const Known *a, const Known *b) {
        if (a->collected != b->collected)
            return b->collected;
        if (a->weight != b->weight)
            return a->weight > b->weight;
        return a->address.address < b->address.address;
    };
    const auto end = found.begin() + std::min(std::ptrdiff_t(found.size()), std::ptrdiff_t(qMax(0, most)));
    std::partial_sort(found.begin(), end, found.end(), comesFirst);
    QList<Known> list;
    std::transform(found.begin(), end, std::back_inserter(list), [](const Known *known) { return *known; });
    return list;
}

bool SeenAddresses::isKnown(const QString &address) const
{
    return m_places.contains(keyOf(address));
}

QStringList SeenAddresses::writtenTo() const
{
    QStringList addresses;
    for (const Entry &entry : m_entries) {
        if (!entry.known.collected)
            addresses += entry.known.address.address;
    }
    return addresses;
}
