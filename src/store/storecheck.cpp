#include "store/storecheck.h"

#include "store/binformat.h"
#include "store/binscanner.h"
#include "store/compression.h"
#include "store/groupstore.h"

#include <QDir>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace BinFormat;

StoreCheck::StoreCheck(GroupStore &store, std::function<void(const Finding &)> found)
    : m_store(store)
    , m_tell(std::move(found))
{}

void StoreCheck::checkGroup(Group &group)
{
    if (group.open() != Group::Opened::Ready)
        return tell(group.number(), "overview", u"the overview file is damaged or cannot be read"_s);
    checkFile(group);
    checkOverviews(group);
    checkBins(group);
    checkCounts(group);
}

void StoreCheck::checkIndex()
{
    int live = 0;
    for (Group *group : m_store.groups()) {
        for (int row = 0; row < group->rowCount(); ++row) {
            const Overview &overview = group->row(row);
            if (overview.isDead() || overview.idHash() == 0)
                continue;
            ++live;
            const std::vector<MessageIndex::Place> places = m_store.index().find(overview.idHash());
            const MessageIndex::Place place = {group->number(), overview.article()};
            if (std::find(places.begin(), places.end(), place) == places.end())
                tell(group->number(), "index",
                     u"article %1 is missing in the index"_s.arg(overview.article()));
        }
    }
    if (live != m_store.index().size())
        tell(0, "index",
             u"the index holds %1 messages, there are %2"_s.arg(m_store.index().size()).arg(live));
}

void StoreCheck::tell(int group, const char *what, const QString &detail)
{
    m_tell({group, QString::fromLatin1(what), detail});
}

/// What the overview file says of itself, and what an interrupted compaction left behind.
void StoreCheck::checkFile(Group &group)
{
    if (group.files().overviewState() == OverviewFile::State::Cut)
        tell(group.number(), "overview", u"the overview file was cut short"_s);
    if (group.files().overviewState() == OverviewFile::State::Missing && !group.files().bins().empty())
        tell(group.number(), "overview", u"the overview file is missing"_s);
    const QStringList strays =
        QDir(group.files().directory()).entryList({u"Bin*~"_s, u"Bin*.moved"_s}, QDir::Files);
    for (const QString &name : strays)
        tell(group.number(), "bin", u"%1 was left behind by an interrupted compaction"_s.arg(name));
}

void StoreCheck::checkOverviews(Group &group)
{
    for (int row = 0; row < group.rowCount(); ++row) {
        const Overview overview = group.row(row);
        if (!overview.isIntact())
            tell(group.number(), "overview", u"the entry of article %1 is damaged"_s.arg(overview.article()));
        else if (!overview.isGone())
            checkOverview(group, overview);
    }
}

/// Whether the record is where the overview says, and dead or alive like it.
void StoreCheck::checkOverview(Group &group, const Overview &overview)
{
    const std::optional<Overview> header = group.files().bin(overview.bin()).headerAt(overview.position());
    const bool present = header && header->article() == overview.article();
    if (overview.isDead()) {
        if (present && !header->isDead())
            tell(group.number(), "bin",
                 u"article %1 is deleted, but its record in the bin is not marked"_s.arg(overview.article()));
        return;
    }
    if (!present)
        return tell(group.number(), "text",
                    u"the record of article %1 is not where its overview says"_s.arg(overview.article()));
    if (header->isDead())
        tell(group.number(), "bin",
             u"the record of article %1 is marked as deleted"_s.arg(overview.article()));
    checkText(group, overview, *header);
}

void StoreCheck::checkText(Group &group, const Overview &overview, const Overview &header)
{
    const FileHandle file(binPath(group.files().directory(), overview.bin()), FileHandle::Mode::Read);
    const QByteArray text = readMessageData(file, overview.position(), header, true);
    if (text.isNull())
        tell(group.number(), "text", u"the text of article %1 cannot be read"_s.arg(overview.article()));
    else if (crc32Of(text) != overview.textCrc())
        tell(group.number(), "text",
             u"the text of article %1 is not what was stored"_s.arg(overview.article()));
}

/// Each record in the bins: whether an overview knows it, and what lies between the records.
void StoreCheck::checkBins(Group &group)
{
    const OverviewFile &overviews = group.files().overviews();
    for (const int bin : group.files().bins()) {
        const FileHandle file(binPath(group.files().directory(), bin), FileHandle::Mode::Read);
        BinScanner scanner(file);
        BinScanner::Record record;
        while (scanner.next(record)) {
            const int row = overviews.rowOf(record.header.article());
            const bool known = row >= 0 && overviews.row(row).bin() == bin &&
                               qint64(overviews.row(row).position()) == record.position;
            if (!known && !record.header.isDead())
                tell(group.number(), "bin",
                     u"Bin%1, byte %2: a message that no overview knows"_s.arg(bin).arg(record.position));
        }
        if (scanner.skipped() > 0)
            tell(group.number(), "bin",
                 u"Bin%1: %2 bytes belong to no message"_s.arg(bin).arg(scanner.skipped()));
    }
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
    if (right == told)
        return;
    tell(group.number(), "counts",
         u"%1 messages, %2 unread, %3 flagged are told; there are %4, %5, %6"_s.arg(told.total)
             .arg(told.unread)
             .arg(told.flagged)
             .arg(right.total)
             .arg(right.unread)
             .arg(right.flagged));
}
