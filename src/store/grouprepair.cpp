#include "store/grouprepair.h"

#include "config/reporter.h"
#include "message/message.h"
#include "store/binformat.h"
#include "store/compression.h"
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
        m_nextArticle = qMax(m_nextArticle, m_known[i].article() + 1);
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
    if (place != m_places.constEnd() && m_known[*place].article() == record.header.article()) {
        m_seen[*place] = record.isWhole;
        if (m_known[*place].isDead() && !record.header.isDead())
            m_files.bin(m_bin).markDead(quint32(record.position));
        return;
    }
    if (record.isWhole && record.header.isDead())
        return;
    if (std::optional<Overview> overview = recovered(record))
        m_found.push_back(*overview);
    else
        m_scanner->notARecord();
}

/// The overview of a live record that none of the intact ones speaks of; empty when its bytes only look like
/// a record. Behind a damaged stretch the position in the header may be off, but then the text's CRC must
/// fit.
std::optional<Overview> GroupRepair::recovered(const BinScanner::Record &record)
{
    const Overview &header = record.header;
    if (!record.isWhole)
        return {};
    const QByteArray text = readMessageData(m_file, record.position, header, true);
    if (text.isNull())
        return {};
    const bool inPlace = qint64(header.position()) == record.position;
    const bool crcFits = header.version() == Overview::kVersion && header.textCrc() == crc32Of(text);
    if (!inPlace && !crcFits)
        return {};
    Summary summary = summaryOf(Message(text), header.arrival());
    Overview overview = header;
    if (!crcFits) { // a record of an older form, or one that something wrote into: take nothing on trust
        overview = summary.overview;
        overview.setMarks(
            (header.marks() & Marks(Mark::Read | Mark::Replied | Mark::Forwarded | Mark::Flagged)) |
            (header.marks() & Mark::Compressed) | overview.marks());
        overview.setStoredLength(header.storedLength());
        overview.setUnpackedLength(header.unpackedLength());
        overview.setArrival(header.arrival());
        overview.setArticle(header.article());
    }
    overview.setBin(m_bin);
    overview.setPosition(quint32(record.position));
    const HeaderCache::Place cached = m_files.cacheTexts(m_bin, summary.texts);
    overview.setCachePlace(cached.position, cached.length);
    return overview;
}

bool GroupRepair::finish()
{
    std::vector<Overview> all;
    QSet<quint32> used;
    for (std::size_t i = 0; i < m_known.size(); ++i) {
        Overview &overview = m_known[i];
        used.insert(overview.article());
        if (m_seen[i] || overview.isDead()) {
            if (!m_seen[i])
                overview.setGone();
            all.push_back(overview);
            m_kept += overview.isDead() ? 0 : 1;
        } else {
            ++m_lost;
            note(u"%1: the text of article %2 is in no bin; its entry was dropped"_s.arg(m_files.directory())
                     .arg(overview.article()));
        }
    }
    for (const Overview &overview : m_found)
        m_nextArticle = qMax(m_nextArticle, overview.article() < 0xfffffff0 ? overview.article() + 1 : 1);
    for (Overview &overview : m_found) {
        if (overview.article() == 0 || overview.article() >= 0xfffffff0 || used.contains(overview.article()))
            overview.setArticle(m_nextArticle++);
        used.insert(overview.article());
        all.push_back(overview);
        m_files.bin(overview.bin()).rewriteHeader(overview);
        ++m_recovered;
    }
    std::sort(all.begin(), all.end(),
              [](const Overview &a, const Overview &b) { return a.article() < b.article(); });
    if (!m_files.rewriteOverviews(all, m_nextArticle)) {
        report(ReportLevel::Warning, "Unable to write group overview file");
        return false;
    }
    note(u"%1 was repaired: %2 messages kept, %3 recovered from the bins, %4 lost, %5 bytes skipped"_s
             .arg(m_files.directory())
             .arg(m_kept)
             .arg(m_recovered)
             .arg(m_lost)
             .arg(m_skipped));
    return m_files.sync();
}
