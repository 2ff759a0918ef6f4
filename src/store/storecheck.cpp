#include "store/storecheck.h"

#include "store/binformat.h"
#include "store/binscanner.h"
#include "store/compression.h"
#include "store/groupstore.h"

#include <QDir>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace BinFormat;

StoreCheck::StoreCheck(GroupStore &store, bool repair, std::function<void(const Finding &)> found)
    : m_store(store)
    , m_repair(repair)
    , m_tell(std::move(found))
{}

void StoreCheck::checkGroup(Group &group)
{
    m_pending.clear();
    const bool readable = group.open() == Group::Opened::Ready;
    if (!readable)
        tell(group.number(), "overview", u"the overview file is missing or damaged"_s, false);
    else if (checkOverviews(group) & checkBins(group)) // both, whatever the first found
        checkCounts(group);
    if (!m_pending.empty() && m_repair)
        repairGroup(group);
    for (const Finding &finding : m_pending) {
        ++m_found;
        m_repaired += finding.repaired ? 1 : 0;
        m_tell(finding);
    }
}

void StoreCheck::tell(int group, const char *what, const QString &detail, bool repaired)
{
    m_pending.push_back({group, QString::fromLatin1(what), detail, repaired});
}

/// Each live message: its record, its lengths, its text.
bool StoreCheck::checkOverviews(Group &group)
{
    const std::size_t before = m_pending.size();
    GroupFiles &files = group.files();
    for (int row = 0; row < group.rowCount(); ++row) {
        const Overview overview = group.row(row);
        const auto complain = [&](const char *what, const QString &detail) {
            tell(group.number(), what, u"article %1: %2"_s.arg(overview.article()).arg(detail), false);
        };
        if (!overview.isIntact()) {
            complain("overview", u"its overview is damaged"_s);
            continue;
        }
        if (overview.isGone())
            continue;
        const std::optional<Overview> header = files.bin(overview.bin()).headerAt(overview.position());
        const bool present = header && header->article() == overview.article();
        if (overview.isDead()) {
            if (present && !header->isDead())
                complain("bin", u"it is deleted, but its record in the bin is not marked"_s);
            continue;
        }
        if (!present) {
            complain("text", u"its record is not where the overview says"_s);
            continue;
        }
        if (header->isDead())
            complain("bin", u"its record is marked as deleted"_s);
        const FileHandle file(binPath(files.directory(), overview.bin()), FileHandle::Mode::Read);
        const QByteArray text = readMessageData(file, overview.position(), *header, true);
        if (text.isNull())
            complain("text", u"its text cannot be read"_s);
        else if (crc32Of(text) != overview.textCrc())
            complain("text", u"its text is not what was stored"_s);
    }
    return m_pending.size() == before;
}

/// Each record in the bins: whether an overview knows it, and what lies between the records.
bool StoreCheck::checkBins(Group &group)
{
    const std::size_t before = m_pending.size();
    GroupFiles &files = group.files();
    for (const int bin : files.bins()) {
        const FileHandle file(binPath(files.directory(), bin), FileHandle::Mode::Read);
        BinScanner scanner(file);
        BinScanner::Record record;
        while (scanner.next(record)) {
            const int row = files.overviews().rowOf(record.header.article());
            const bool known = row >= 0 && group.row(row).bin() == bin &&
                               qint64(group.row(row).position()) == record.position;
            if (!known && !record.header.isDead())
                tell(group.number(), "bin",
                     u"Bin%1 at byte %2: a message that no overview knows"_s.arg(bin).arg(record.position),
                     false);
        }
        if (scanner.skipped() > 0)
            tell(group.number(), "bin",
                 u"Bin%1: %2 bytes belong to no message"_s.arg(bin).arg(scanner.skipped()), false);
    }
    const QStringList strays = QDir(files.directory()).entryList({u"*~"_s, u"*.moved"_s}, QDir::Files);
    for (const QString &name : strays)
        tell(group.number(), "bin", u"%1 was left behind by an interrupted compaction"_s.arg(name), false);
    return m_pending.size() == before;
}

void StoreCheck::checkCounts(Group &group)
{
    OverviewFile::Counts right;
    for (int row = 0; row < group.rowCount(); ++row) {
        const Overview &overview = group.row(row);
        if (overview.isDead())
            continue;
        ++right.total;
        right.unread += overview.has(Mark::Read) ? 0 : 1;
        right.flagged += overview.has(Mark::Flagged) ? 1 : 0;
    }
    const OverviewFile::Counts told = group.counts();
    if (right != told)
        tell(group.number(), "counts",
             u"%1 messages, %2 unread, %3 flagged are told, there are %4, %5, %6"_s.arg(told.total)
                 .arg(told.unread)
                 .arg(told.flagged)
                 .arg(right.total)
                 .arg(right.unread)
                 .arg(right.flagged),
             false);
}

/// Repairs the group, compacts what is no message away, and says of each finding whether it is gone.
void StoreCheck::repairGroup(Group &group)
{
    std::vector<Finding> findings;
    std::swap(findings, m_pending);
    bool repaired = group.repair();
    for (const int bin : group.files().bins()) {
        if (repaired && !m_store.compactBin(group, bin))
            repaired = false;
    }
    if (repaired && group.flush() && checkOverviews(group) && checkBins(group))
        checkCounts(group);
    for (Finding &finding : findings) {
        finding.repaired =
            repaired && std::none_of(m_pending.begin(), m_pending.end(), [&](const Finding &left) {
                return left.what == finding.what && left.detail == finding.detail;
            });
    }
    m_pending = std::move(findings);
}

void StoreCheck::checkIndex()
{
    m_pending.clear();
    int live = 0;
    for (Group *group : m_store.groups()) {
        if (group->open() != Group::Opened::Ready)
            continue;
        for (int row = 0; row < group->rowCount(); ++row) {
            const Overview &overview = group->row(row);
            if (overview.isDead() || overview.idHash() == 0)
                continue;
            ++live;
            const std::vector<MessageIndex::Place> places = m_store.index().find(overview.idHash());
            const MessageIndex::Place place = {group->number(), overview.article()};
            if (std::find(places.begin(), places.end(), place) == places.end())
                tell(group->number(), "index",
                     u"article %1 is missing in the index"_s.arg(overview.article()), false);
        }
    }
    if (live != m_store.index().size())
        tell(0, "index", u"the index holds %1 messages, there are %2"_s.arg(m_store.index().size()).arg(live),
             false);
    if (!m_pending.empty() && m_repair)
        m_store.rebuildIndex();
    for (Finding &finding : m_pending) {
        finding.repaired = m_repair;
        ++m_found;
        m_repaired += m_repair ? 1 : 0;
        m_tell(finding);
    }
}
