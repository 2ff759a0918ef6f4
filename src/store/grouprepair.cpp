#include "store/grouprepair.h"

#include "config/reporter.h"
#include "message/message.h"
#include "store/binformat.h"
#include "store/compression.h"
#include "store/serverplace.h"
#include "store/summary.h"

#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace BinFormat;

namespace {

quint64 placeOf(int bin, quint32 position)
{
    return quint64(bin) << 32 | position;
}

constexpr quint32 kNoArticle = 0xfffffff0; ///< from here on it cannot be a number that was given

bool isSameText(const Overview &a, const Overview &b)
{
    return a.textCrc() == b.textCrc() && a.unpackedLength() == b.unpackedLength();
}

bool isSameMessage(const Overview &known, const Overview &header)
{
    return known.article() == header.article() || isSameText(known, header);
}

/// Whether a record's header says what the overview says of it.
bool agrees(const Overview &known, const Overview &header)
{
    return known.article() == header.article() && isSameText(known, header) &&
           known.storedLength() == header.storedLength() && known.isDead() == header.isDead() &&
           known.has(Mark::Compressed) == header.has(Mark::Compressed);
}

} // namespace

GroupRepair::GroupRepair(GroupFiles &files)
    : m_files(files)
    , m_bins(files.bins())
    , m_known(OverviewFile::intactRecords(files.directory()))
    , m_seen(m_known.size(), false)
{
    std::reverse(m_bins.begin(), m_bins.end());
    for (std::size_t i = 0; i < m_known.size(); ++i) {
        if (!m_known[i].isGone())
            m_places.insert(placeOf(m_known[i].bin(), m_known[i].position()), i);
        reserve(m_known[i].article());
    }
    if (m_files.overviews().isOpen())
        m_nextArticle = qMax(m_nextArticle, m_files.overviews().nextArticle());
}

GroupRepair::Progress GroupRepair::run()
{
    Progress progress = Progress::Working;
    while (progress == Progress::Working)
        progress = step(kFullBin);
    return progress;
}

GroupRepair::Progress GroupRepair::step(qint64 bytes)
{
    if (!m_scanner) {
        if (m_bins.empty())
            return finish() ? Progress::Done : Progress::Failed;
        if (!openNextBin())
            return Progress::Failed;
    }
    const qint64 until = m_scanner->position() + bytes;
    BinScanner::Record record;
    while (m_scanner->position() < until) {
        if (!m_scanner->next(record)) {
            m_skipped += m_scanner->skipped();
            m_scanner.reset();
            break;
        }
        take(record);
    }
    return Progress::Working;
}

bool GroupRepair::openNextBin()
{
    m_bin = m_bins.back();
    m_bins.pop_back();
    m_file = FileHandle(binPath(m_files.directory(), m_bin), FileHandle::Mode::Read);
    if (!m_file.isOpen()) {
        // Without this bin every message in it would count as lost.
        report(ReportLevel::Warning, "Unable to open message bin file");
        return false;
    }
    m_scanner = std::make_unique<BinScanner>(m_file);
    return true;
}

void GroupRepair::take(const BinScanner::Record &record)
{
    const auto place = m_places.constFind(placeOf(m_bin, quint32(record.position)));
    if (place != m_places.constEnd() && isSameMessage(m_known[*place], record.header))
        return takeKnown(*place, record);
    if (takeMoved(record))
        return;
    if (record.isWhole && isSuperseded(record.header)) {
        m_files.bin(m_bin).markDead(quint32(record.position));
        return;
    }
    if (record.header.isDead()) {
        // Its own length may be torn or damaged; then it must not hide what lies behind its beginning.
        if (!record.isWhole || !m_scanner->endsWell())
            m_scanner->notARecord();
        else if (qint64(record.header.position()) == record.position)
            reserve(record.header.article());
        return;
    }
    if (std::optional<Overview> overview = recovered(record))
        found(*overview);
    else
        m_scanner->notARecord();
}

/// The header of a message that is here whole, or a whole one that a power cut kept from its header's place.
bool GroupRepair::isSuperseded(const Overview &record) const
{
    const auto known = findKnown(record.article());
    return !record.isDead() && known != m_known.end() && areStagesOfOne(*known, record);
}

std::vector<Overview>::const_iterator GroupRepair::findKnown(quint32 article) const
{
    const auto known = std::lower_bound(
        m_known.begin(), m_known.end(), article,
        [](const Overview &overview, quint32 wanted) { return overview.article() < wanted; });
    return known != m_known.end() && known->article() == article ? known : m_known.end();
}

/// An intact overview is right where its record's header is not: the overview alone has a check word.
void GroupRepair::takeKnown(std::size_t index, const BinScanner::Record &record)
{
    const Overview &known = m_known[index];
    const qint64 end = record.position + kHeaderSize + known.storedLength();
    m_seen[index] = end <= m_scanner->size();
    if (!m_seen[index])
        return m_scanner->goOnAt(record.position + 1);
    m_scanner->goOnAt(end);
    if (!agrees(known, record.header))
        m_files.bin(m_bin).rewriteHeader(known);
}

/// A record that a compaction put elsewhere before the overviews could tell.
bool GroupRepair::takeMoved(const BinScanner::Record &record)
{
    const auto known = findKnown(record.header.article());
    if (known == m_known.end() || known->bin() != m_bin || !record.isWhole ||
        !isSameText(*known, record.header) || known->storedLength() != record.header.storedLength())
        return false;
    m_moved.insert(std::size_t(known - m_known.begin()), quint32(record.position));
    return true;
}

/// Of a message that is found with its header alone and whole, the whole stays.
void GroupRepair::found(const Overview &overview)
{
    const auto [first, isFirst] = m_foundArticles.try_emplace(overview.article(), m_found.size());
    if (isFirst || !areStagesOfOne(m_found[first->second], overview)) {
        m_found.push_back(overview);
        return;
    }
    Overview &kept = m_found[first->second];
    Overview dropped = overview;
    if (kept.has(Mark::HeaderOnly))
        std::swap(kept, dropped);
    m_files.bin(dropped.bin()).markDead(dropped.position());
}

/// The overview of a live record that none of the intact ones speaks of; empty when its bytes only look like
/// a record. Behind a damaged stretch the position in the header may be off, but then the text's CRC must
/// fit; a text that something wrote into is kept where its record lies as it should.
std::optional<Overview> GroupRepair::recovered(const BinScanner::Record &record)
{
    const Overview &header = record.header;
    if (!record.isWhole)
        return {};
    const QByteArray text = readMessageData(m_file, record.position, header, true);
    if (text.isNull())
        return {};
    const bool inPlace = qint64(header.position()) == record.position && m_scanner->endsWell();
    const bool crcFits = header.version() == Overview::kVersion && header.textCrc() == crc32Of(text);
    if (!inPlace && !crcFits)
        return {};
    Summary summary = summaryOf(Message(text), header.arrival());
    Overview overview = header;
    if (!crcFits) { // a record of an older form, or one that something wrote into: take nothing on trust
        overview = summary.overview;
        overview.setMarks(
            (header.marks() & Marks(Mark::Read | Mark::Replied | Mark::Forwarded | Mark::Flagged)) |
            (header.marks() & Marks(Mark::Compressed | Mark::HeaderOnly)) | overview.marks());
        overview.setStoredLength(header.storedLength());
        overview.setUnpackedLength(header.unpackedLength());
        overview.setArrival(header.arrival());
        overview.setArticle(header.article());
    }
    if (const auto place = overview.has(Mark::HeaderOnly) ? serverPlaceOf(text) : std::nullopt)
        overview.setServerSize(place->size);
    overview.setBin(m_bin);
    overview.setPosition(quint32(record.position));
    overview.setTextCrc(crc32Of(text));
    const HeaderCache::Place cached = m_files.cacheTexts(m_bin, summary.texts, overview.textCrc());
    overview.setCachePlace(cached.position, cached.length);
    return overview;
}

/// Whether the text of a known message that the scan has not met is there all the same, behind a header that
/// lost its first bytes, or at a new place.
bool GroupRepair::findText(std::size_t index)
{
    Overview &known = m_known[index];
    if (const auto moved = m_moved.constFind(index); moved != m_moved.constEnd())
        known.setPosition(*moved);
    const FileHandle file(binPath(m_files.directory(), known.bin()), FileHandle::Mode::Read);
    const QByteArray text =
        file.isOpen() ? readMessageData(file, known.position(), known, true) : QByteArray();
    return !text.isNull() && crc32Of(text) == known.textCrc() &&
           m_files.bin(known.bin()).rewriteHeader(known);
}

void GroupRepair::keepKnown(std::vector<Overview> &all)
{
    for (std::size_t i = 0; i < m_known.size(); ++i) {
        Overview &overview = m_known[i];
        const bool isDead = overview.isDead();
        if (const auto moved = m_moved.constFind(i); moved != m_moved.constEnd() && (m_seen[i] || isDead))
            m_files.bin(overview.bin()).markDead(*moved);
        if (!m_seen[i] && isDead) {
            overview.setGone();
        } else if (!m_seen[i] && !findText(i)) {
            ++m_lost;
            note(u"%1: the text of article %2 is in no bin; its entry was dropped"_s.arg(m_files.directory())
                     .arg(overview.article()));
            continue;
        }
        all.push_back(overview);
        m_kept += isDead ? 0 : 1;
    }
}

void GroupRepair::addFound(std::vector<Overview> &all)
{
    QSet<quint32> used;
    for (const Overview &overview : m_known) // those that were dropped as well: no number is given twice
        used.insert(overview.article());
    for (const Overview &overview : m_found)
        reserve(overview.article());
    for (Overview &overview : m_found) {
        if (overview.article() == 0 || overview.article() >= kNoArticle || used.contains(overview.article()))
            overview.setArticle(m_nextArticle++);
        used.insert(overview.article());
        all.push_back(overview);
        m_files.bin(overview.bin()).rewriteHeader(overview);
        ++m_recovered;
    }
}

void GroupRepair::reserve(quint32 article)
{
    if (article < kNoArticle)
        m_nextArticle = qMax(m_nextArticle, article + 1);
}

bool GroupRepair::finish()
{
    std::vector<Overview> all;
    keepKnown(all);
    addFound(all);
    std::sort(all.begin(), all.end(),
              [](const Overview &a, const Overview &b) { return a.article() < b.article(); });
    if (!m_files.syncBins()) // the headers first: the overviews must find them as they say
        return false;
    if (!m_files.rewriteOverviews(all, m_nextArticle)) {
        report(ReportLevel::Warning, "Unable to write group overview file");
        return false;
    }
    m_files.dropCompactions();
    note(u"%1 was repaired: %2 messages kept, %3 recovered from the bins, %4 lost, %5 bytes skipped"_s
             .arg(m_files.directory())
             .arg(m_kept)
             .arg(m_recovered)
             .arg(m_lost)
             .arg(m_skipped));
    return true;
}
