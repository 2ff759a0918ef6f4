#include "store/overviewfile.h"

#include "config/clock.h"
#include "config/files.h"

#include <QFile>

#include <algorithm>
#include <cstring>
#include <sys/mman.h>

namespace {

constexpr char kMagic[] = {'V', 'O', 'V', 'W'};
constexpr qint64 kRecordSize = qint64(sizeof(Overview));
constexpr qint64 kHeaderSize = kRecordSize; // so that records stay aligned
constexpr qint64 kSmallestMapping = 1024 * 1024;
constexpr int kMostRecords = 0x7ffffffe;

/// Offsets of the header's words.
enum HeaderWord {
    Magic,
    Version,
    RecordSize,
    NextArticle,
    GenerationLow,
    GenerationHigh,
    Records,
    Settled,
    Total,
    Unread,
    FlaggedCount,
    HeaderCheck
};
constexpr int kHeaderWords = HeaderCheck + 1;

qint64 positionOf(int row)
{
    return kHeaderSize + row * kRecordSize;
}

} // namespace

OverviewFile::OverviewFile(const QString &directory)
    : m_directory(directory)
{}

OverviewFile::~OverviewFile()
{
    close();
}

QString OverviewFile::path() const
{
    return m_directory + QStringLiteral("/Overview");
}

OverviewFile::State OverviewFile::open(bool writable)
{
    close();
    if (!QFile::exists(path()))
        return State::Missing;
    m_file = FileHandle(path(), writable ? FileHandle::Mode::ReadWrite : FileHandle::Mode::Read);
    if (!m_file.isOpen())
        return State::Unreadable;
    m_writable = writable;
    char bytes[kHeaderSize];
    const qint64 got = m_file.readAt(0, bytes, kHeaderSize);
    const std::optional<Header> header = got == kHeaderSize ? decoded({bytes, kHeaderSize}) : std::nullopt;
    const qint64 size = m_file.size();
    if (!header || !map(size)) {
        close();
        return header ? State::Unreadable : State::Damaged;
    }
    m_header = *header;
    // Records behind the last sync are whole when their check word fits; a torn one at the end is written
    // over.
    m_rows = int((size - kHeaderSize) / kRecordSize);
    const int end = m_rows;
    m_rows = std::min(m_rows, int(m_header.records));
    const auto follows = [this](int row) {
        return m_records[row].isIntact() &&
               (row == 0 || m_records[row].article() > m_records[row - 1].article());
    };
    while (m_rows < end && follows(m_rows))
        ++m_rows;
    if (m_rows > int(m_header.records))
        reserveArticle(m_records[m_rows - 1].article());
    m_counts = m_header.counts;
    if (m_rows < int(m_header.records))
        return State::Cut;
    return m_header.settled && m_rows == int(m_header.records) ? State::Settled : State::Unsettled;
}

void OverviewFile::close()
{
    unmap();
    m_file.close();
    m_rows = 0;
    m_header = {};
    m_counts = {};
}

bool OverviewFile::create(quint32 nextArticle)
{
    return rewrite({}, nextArticle);
}

int OverviewFile::rowOf(quint32 article) const
{
    const Overview *end = m_records + m_rows;
    const Overview *found = std::lower_bound(
        m_records, end, article, [](const Overview &row, quint32 wanted) { return row.article() < wanted; });
    return found != end && found->article() == article ? int(found - m_records) : -1;
}

void OverviewFile::reserveArticle(quint32 article)
{
    m_header.nextArticle = qMax(m_header.nextArticle, article + 1);
}

bool OverviewFile::append(Overview overview)
{
    overview.seal();
    // Mapped before it is written: a record that is in the file must count.
    if (!unsettle() || !map(positionOf(m_rows + 1)) || !m_file.writeAt(positionOf(m_rows), overview.bytes()))
        return false;
    ++m_rows;
    reserveArticle(overview.article());
    count(overview, 1);
    return true;
}

bool OverviewFile::change(int row, Overview overview)
{
    const Overview before = m_records[row];
    overview.seal();
    if (!unsettle() || !m_file.writeAt(positionOf(row), overview.bytes()))
        return false;
    count(before, -1);
    count(overview, 1);
    return true;
}

bool OverviewFile::announceChanges()
{
    return unsettle() && m_file.sync();
}

bool OverviewFile::sync()
{
    if (m_header.settled || !m_writable)
        return true;
    // The records first: a settled header must never tell of what is not on the disk yet.
    if (!m_file.sync())
        return false;
    m_header.records = quint32(m_rows);
    m_header.counts = m_counts;
    m_header.settled = true;
    ++m_header.generation;
    if (writeHeader() && m_file.sync())
        return true;
    m_header.settled = false;
    return false;
}

void OverviewFile::recount()
{
    m_counts = {};
    for (int row = 0; row < m_rows; ++row)
        count(m_records[row], 1);
    if (m_writable && m_counts != m_header.counts)
        unsettle();
}

bool OverviewFile::rewrite(const std::vector<Overview> &overviews, quint32 nextArticle)
{
    Header header;
    header.nextArticle = qMax(nextArticle, overviews.empty() ? 1u : overviews.back().article() + 1);
    // Never one that an index knows from before, not even when the clock was set back.
    header.generation = qMax(m_header.generation + 1, quint64(clockMilliseconds()));
    header.records = quint32(overviews.size());
    Counts counts;
    std::swap(counts, m_counts);
    for (const Overview &overview : overviews)
        count(overview, 1);
    std::swap(counts, m_counts);
    header.counts = counts;

    const bool written = writeReplacing(path(), [&](QFileDevice &file) {
        const QByteArray head = encoded(header);
        if (file.write(head) != head.size())
            return false;
        return std::all_of(overviews.begin(), overviews.end(), [&file](Overview overview) {
            overview.seal();
            return file.write(overview.bytes().data(), kRecordSize) == kRecordSize;
        });
    });
    return written && open(true) == State::Settled;
}

std::optional<OverviewFile::Head> OverviewFile::headOf(const QString &directory)
{
    const FileHandle file(OverviewFile(directory).path(), FileHandle::Mode::Read);
    char bytes[kHeaderSize];
    if (!file.isOpen() || file.readAt(0, bytes, kHeaderSize) != kHeaderSize)
        return {};
    const std::optional<Header> header = decoded({bytes, kHeaderSize});
    if (!header || !header->settled || file.size() != positionOf(int(header->records)))
        return {};
    return Head{header->counts, header->generation};
}

std::vector<Overview> OverviewFile::intactRecords(const QString &directory)
{
    std::vector<Overview> records;
    const FileHandle file(OverviewFile(directory).path(), FileHandle::Mode::Read);
    if (!file.isOpen())
        return records;
    const qint64 size = file.size();
    Overview record;
    for (qint64 at = kHeaderSize; at + kRecordSize <= size; at += kRecordSize) {
        if (file.readAt(at, reinterpret_cast<char *>(&record), kRecordSize) != kRecordSize)
            break;
        if (record.isIntact() && (records.empty() || record.article() > records.back().article()))
            records.push_back(record);
    }
    return records;
}

QByteArray OverviewFile::encoded(const Header &header)
{
    std::array<quint32_le, kHeaderWords> words = {};
    std::memcpy(words.data(), kMagic, sizeof kMagic);
    words[Version] = Overview::kVersion;
    words[RecordSize] = quint32(kRecordSize);
    words[NextArticle] = header.nextArticle;
    words[GenerationLow] = quint32(header.generation);
    words[GenerationHigh] = quint32(header.generation >> 32);
    words[Records] = header.records;
    words[Settled] = header.settled ? 1 : 0;
    words[Total] = header.counts.total;
    words[Unread] = header.counts.unread;
    words[FlaggedCount] = header.counts.flagged;
    QByteArray bytes(kHeaderSize, '\0');
    std::memcpy(bytes.data(), words.data(), sizeof words);
    words[HeaderCheck] = quint32(identifierHash(bytes.first(HeaderCheck * 4)));
    std::memcpy(bytes.data(), words.data(), sizeof words);
    return bytes;
}

std::optional<OverviewFile::Header> OverviewFile::decoded(QByteArrayView bytes)
{
    std::array<quint32_le, kHeaderWords> words;
    std::memcpy(words.data(), bytes.data(), sizeof words);
    if (std::memcmp(words.data(), kMagic, sizeof kMagic) != 0 || words[Version] != Overview::kVersion ||
        words[RecordSize] != quint32(kRecordSize) || words[Records] > quint32(kMostRecords) ||
        words[HeaderCheck] != quint32(identifierHash(bytes.first(HeaderCheck * 4))))
        return {};
    Header header;
    header.nextArticle = words[NextArticle];
    header.generation = words[GenerationLow] | quint64(words[GenerationHigh]) << 32;
    header.records = words[Records];
    header.settled = words[Settled] != 0;
    header.counts = {words[Total], words[Unread], words[FlaggedCount]};
    return header;
}

bool OverviewFile::writeHeader()
{
    return m_file.writeAt(0, encoded(m_header));
}

/// Says in the file that changes are under way.
bool OverviewFile::unsettle()
{
    if (!m_writable)
        return false;
    if (!m_header.settled)
        return true;
    m_header.settled = false;
    if (writeHeader())
        return true;
    m_header.settled = true;
    return false;
}

/// Maps the file far enough for @p size bytes, with room to grow; pages behind its end are not touched.
bool OverviewFile::map(qint64 size)
{
    if (quint64(size) <= m_mappedSize)
        return true;
    unmap();
    const qint64 wanted = m_writable ? qMax(kSmallestMapping, size + size / 2) : qMax(size, kHeaderSize);
    void *mapping = ::mmap(nullptr, std::size_t(wanted), PROT_READ, MAP_SHARED, m_file.descriptor(), 0);
    if (mapping == MAP_FAILED)
        return false;
    m_mapping = mapping;
    m_mappedSize = std::size_t(wanted);
    m_records = reinterpret_cast<const Overview *>(static_cast<const char *>(mapping) + kHeaderSize);
    return true;
}

void OverviewFile::unmap()
{
    if (m_mapping)
        ::munmap(m_mapping, m_mappedSize);
    m_mapping = nullptr;
    m_mappedSize = 0;
    m_records = nullptr;
}

void OverviewFile::count(const Overview &overview, int sign)
{
    if (overview.isDead())
        return;
    m_counts.total += quint32(sign);
    if (!overview.has(Mark::Read))
        m_counts.unread += quint32(sign);
    if (overview.has(Mark::Flagged))
        m_counts.flagged += quint32(sign);
}
