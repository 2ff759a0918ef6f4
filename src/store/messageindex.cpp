#include "store/messageindex.h"

#include "config/reporter.h"
#include "store/compression.h"

#include <QtEndian>

#include <bit>
#include <cstring>

using namespace Qt::StringLiterals;

namespace {

constexpr char kListMagic[] = {'V', 'I', 'D', '1'};
constexpr char kIndexMagic[] = {'V', 'I', 'X', '1'};
constexpr std::size_t kSmallestTable = 1024;
constexpr qsizetype kEntrySize = 16;
constexpr qsizetype kHeadSize = 8; ///< the magic and a CRC-32 of the rest

/// Numbers back to back behind a head with magic and CRC-32.
class Writer
{
public:
    explicit Writer(qsizetype expected)
    {
        m_bytes.reserve(expected + kHeadSize);
        m_bytes.resize(kHeadSize);
    }
    template <typename Number>
    void put(Number number)
    {
        char bytes[sizeof number];
        qToLittleEndian(number, bytes);
        m_bytes.append(bytes, sizeof bytes);
    }
    QByteArray finish(const char *magic)
    {
        std::memcpy(m_bytes.data(), magic, 4);
        qToLittleEndian(crc32Of(QByteArrayView(m_bytes).sliced(kHeadSize)), m_bytes.data() + 4);
        return std::move(m_bytes);
    }

private:
    QByteArray m_bytes;
};

class Reader
{
public:
    Reader(const QByteArray &bytes, const char *magic)
        : m_rest(bytes)
    {
        m_good = bytes.size() >= kHeadSize && std::memcmp(bytes.constData(), magic, 4) == 0 &&
                 qFromLittleEndian<quint32>(bytes.constData() + 4) == crc32Of(m_rest.sliced(kHeadSize));
        m_rest = m_good ? m_rest.sliced(kHeadSize) : QByteArrayView();
    }
    template <typename Number>
    Number get()
    {
        if (m_rest.size() < qsizetype(sizeof(Number))) {
            m_good = false;
            return 0;
        }
        const Number number = qFromLittleEndian<Number>(m_rest.data());
        m_rest = m_rest.sliced(sizeof(Number));
        return number;
    }
    qsizetype left() const { return m_rest.size(); }
    bool isGood() const { return m_good; }

private:
    QByteArrayView m_rest;
    bool m_good = false;
};

} // namespace

MessageIndex::MessageIndex()
    : m_list(u"MsgIDs"_s)
    , m_index(u"MsgIDIndex"_s)
    , m_table(kSmallestTable, 0)
{}

bool MessageIndex::load()
{
    const auto takeList = [this](const QByteArray &bytes) { return takeEntries(bytes); };
    const auto takeIndex = [this](const QByteArray &bytes) { return takeTable(bytes); };
    if (m_list.load(takeList) == IndexFile::Outcome::Loaded &&
        m_index.load(takeIndex) == IndexFile::Outcome::Loaded)
        return true;
    m_generations.clear();
    clear();
    return false;
}

void MessageIndex::clear()
{
    m_entries.clear();
    rebuildTable();
    m_changed = true;
}

bool MessageIndex::save(const QHash<int, quint64> &generations)
{
    if (!m_changed && generations == m_generations)
        return true;
    gather();
    // The table names the list it belongs to, so that a crash between the two files is noticed.
    if (!m_list.save(encodedEntries()) || !m_index.save(encodedTable(generations))) {
        report(ReportLevel::Warning, "Unable to write message index");
        return false;
    }
    m_generations = generations;
    m_changed = false;
    return true;
}

std::optional<quint64> MessageIndex::generationOf(int group) const
{
    const auto found = m_generations.constFind(group);
    return found == m_generations.constEnd() ? std::nullopt : std::optional(*found);
}

void MessageIndex::add(quint64 idHash, Place place)
{
    if (idHash == 0)
        return;
    m_entries.push_back({idHash, quint32(place.group), place.article, 0});
    ++m_live;
    m_changed = true;
    if (m_entries.size() * 2 > m_table.size())
        rebuildTable();
    else
        insertSlot(quint32(m_entries.size() - 1));
}

void MessageIndex::remove(quint64 idHash, Place place)
{
    const std::size_t slot = findSlot(idHash);
    if (idHash == 0 || m_table[slot] == 0)
        return;
    const quint32 newest = m_table[slot] - 1;
    quint32 before = newest;
    do {
        const quint32 at = m_entries[before].next;
        Entry &entry = m_entries[at];
        if (int(entry.group) == place.group && entry.article == place.article) {
            m_entries[before].next = entry.next;
            if (at == newest && before != newest)
                m_table[slot] = before + 1;
            entry.hash = 0; // the slot of the last one stays, so that the search for others goes on over it
            --m_live;
            m_changed = true;
            return;
        }
        before = at;
    } while (before != newest);
}

void MessageIndex::removeGroup(int group)
{
    const std::size_t before = m_entries.size();
    std::erase_if(m_entries, [group](const Entry &entry) { return int(entry.group) == group; });
    if (m_entries.size() == before)
        return;
    rebuildTable();
    m_changed = true;
}

std::vector<MessageIndex::Place> MessageIndex::find(quint64 idHash) const
{
    std::vector<Place> places;
    const std::size_t slot = findSlot(idHash);
    if (idHash == 0 || m_table[slot] == 0)
        return places;
    const quint32 newest = m_table[slot] - 1;
    quint32 at = newest;
    do {
        at = m_entries[at].next;
        places.push_back({int(m_entries[at].group), m_entries[at].article});
    } while (at != newest);
    return places;
}

/// The slot of a hash, or the free one where its search ends.
std::size_t MessageIndex::findSlot(quint64 hash) const
{
    std::size_t slot = slotOf(hash);
    while (m_table[slot] != 0 && m_entries[m_table[slot] - 1].hash != hash)
        slot = (slot + 1) & (m_table.size() - 1);
    return slot;
}

/// Puts the live entries with the same hash side by side, as the file has them.
void MessageIndex::gather()
{
    std::vector<Entry> live;
    live.reserve(m_live);
    for (const quint32 slot : m_table) {
        if (slot == 0 || m_entries[slot - 1].hash == 0)
            continue;
        quint32 at = slot - 1;
        do {
            at = m_entries[at].next;
            live.push_back(m_entries[at]);
        } while (at != slot - 1);
    }
    m_entries = std::move(live);
    rebuildTable();
}

/// Links the entries with the same hash that stand side by side.
void MessageIndex::chain()
{
    quint32 oldest = 0;
    for (quint32 i = 0; i < m_entries.size(); ++i) {
        const bool isLast = i + 1 == m_entries.size() || m_entries[i + 1].hash != m_entries[i].hash;
        m_entries[i].next = isLast ? oldest : i + 1;
        oldest = isLast ? i + 1 : oldest;
    }
}

void MessageIndex::rebuildTable()
{
    m_table.assign(std::max(kSmallestTable, std::bit_ceil(m_entries.size() * 4)), 0);
    m_live = 0;
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        if (m_entries[i].hash == 0)
            continue;
        insertSlot(quint32(i));
        ++m_live;
    }
}

void MessageIndex::insertSlot(quint32 entry)
{
    const std::size_t slot = findSlot(m_entries[entry].hash);
    const quint32 newest = m_table[slot] != 0 ? m_table[slot] - 1 : entry;
    m_entries[entry].next = newest == entry ? entry : m_entries[newest].next;
    m_entries[newest].next = entry;
    m_table[slot] = entry + 1;
}

QByteArray MessageIndex::encodedEntries() const
{
    Writer writer(qsizetype(m_entries.size()) * kEntrySize);
    for (const Entry &entry : m_entries) {
        writer.put(entry.hash);
        writer.put(entry.group);
        writer.put(entry.article);
    }
    return writer.finish(kListMagic);
}

bool MessageIndex::takeEntries(const QByteArray &bytes)
{
    Reader reader(bytes, kListMagic);
    if (!reader.isGood() || reader.left() % kEntrySize != 0)
        return false;
    m_entries.resize(std::size_t(reader.left() / kEntrySize));
    for (Entry &entry : m_entries) {
        entry.hash = reader.get<quint64>();
        entry.group = reader.get<quint32>();
        entry.article = reader.get<quint32>();
    }
    return true;
}

QByteArray MessageIndex::encodedTable(const QHash<int, quint64> &generations) const
{
    Writer writer(qsizetype(m_table.size() + std::size_t(generations.size()) * 3 + 4) * 4);
    writer.put(crc32Of(encodedEntries()));
    writer.put(quint32(generations.size()));
    for (auto it = generations.constBegin(); it != generations.constEnd(); ++it) {
        writer.put(quint32(it.key()));
        writer.put(it.value());
    }
    writer.put(quint32(m_table.size()));
    for (const quint32 slot : m_table)
        writer.put(slot);
    return writer.finish(kIndexMagic);
}

bool MessageIndex::takeTable(const QByteArray &bytes)
{
    Reader reader(bytes, kIndexMagic);
    if (!reader.isGood() || reader.get<quint32>() != crc32Of(encodedEntries()))
        return false;
    m_generations.clear();
    for (quint32 left = reader.get<quint32>(); left > 0 && reader.isGood(); --left) {
        const int group = int(reader.get<quint32>());
        m_generations.insert(group, reader.get<quint64>());
    }
    const std::size_t size = reader.get<quint32>();
    if (!std::has_single_bit(size) || size <= m_entries.size() || reader.left() != qsizetype(size) * 4)
        return false;
    m_table.resize(size);
    std::size_t used = 0;
    for (quint32 &slot : m_table) {
        slot = reader.get<quint32>();
        used += slot != 0 ? 1 : 0;
        if (slot > m_entries.size() || used > m_entries.size())
            return false;
    }
    chain();
    m_live = m_entries.size();
    m_changed = false;
    return reader.isGood();
}
