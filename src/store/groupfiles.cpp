#include "store/groupfiles.h"

#include "config/files.h"
#include "config/reporter.h"
#include "message/message.h"
#include "store/bincompactor.h"
#include "store/binformat.h"
#include "store/compression.h"
#include "store/summary.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace BinFormat;

namespace {

/// The overview of a message whose body has come: what people did with it stays, and its number, arrival and
/// origin; all else follows from the whole text.
Overview completed(const Overview &before, const Overview &whole)
{
    Overview overview = before;
    overview.setMarks((before.marks() & kMarksOfUse) | (whole.marks() & ~kMarksOfUse));
    if (!whole.has(Mark::DateUnreadable))
        overview.setDate(whole.date());
    overview.setIdHash(whole.idHash());
    overview.setParentHash(whole.parentHash());
    overview.setRootHash(whole.rootHash());
    overview.setSubjectHash(whole.subjectHash());
    overview.setServerHash(whole.serverHash());
    return overview;
}

} // namespace

GroupFiles::GroupFiles(const QString &directory)
    : m_directory(directory)
    , m_overviews(directory)
{}

GroupFiles::State GroupFiles::open(bool writable)
{
    close();
    m_writable = writable;
    if (writable && QDir().mkdir(m_directory, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
        syncDirectoryOf(m_directory);
    const OverviewFile::State state = m_overviewState = m_overviews.open(writable);
    if (state == OverviewFile::State::Unreadable)
        return State::Unreadable;
    m_isOpen = true;
    if (writable)
        return recover(state);
    if (state == OverviewFile::State::Unsettled)
        m_overviews.recount();
    // What another process is at work on is never settled; a group that has no files yet is empty.
    return m_overviews.isOpen() || state == OverviewFile::State::Missing ? State::Good : State::Damaged;
}

GroupFiles::State GroupFiles::recover(OverviewFile::State state)
{
    switch (state) {
    case OverviewFile::State::Missing: {
        const std::vector<int> found = bins();
        const bool empty =
            std::all_of(found.begin(), found.end(), [this](int n) { return bin(n).size() == 0; });
        if (!empty)
            return State::Damaged;
        m_overviewState = OverviewFile::State::Settled;
        return m_overviews.create(1) ? State::Good : State::Unreadable;
    }
    case OverviewFile::State::Unreadable:
    case OverviewFile::State::Damaged:
    case OverviewFile::State::Cut: return State::Damaged;
    case OverviewFile::State::Settled:
    case OverviewFile::State::Unsettled: break;
    }
    if (!damagedRows().empty() || !finishCompactions())
        return State::Damaged;
    if (state == OverviewFile::State::Unsettled)
        dropUnwritten();
    if (!killOrphans())
        return State::Damaged;
    if (state == OverviewFile::State::Settled)
        return syncBins() ? State::Good : State::Unreadable;
    matchRecordsToRows();
    m_overviews.recount();
    note(u"%1: the last run ended before its changes were safe; what was whole is kept"_s.arg(m_directory));
    return sync() ? State::Recovered : State::Unreadable;
}

void GroupFiles::close()
{
    m_overviews.close();
    m_bins.clear();
    m_caches.clear();
    m_appendBin = -1;
    m_isOpen = false;
    m_needsRepair = false;
}

quint32 GroupFiles::append(QByteArrayView text, const Summary &summary)
{
    Overview overview = summary.overview;
    overview.setArticle(m_overviews.nextArticle());
    overview.setTextCrc(crc32Of(text));
    return bin(binForAppending()).appendMessage(text, overview) ? enter(overview, summary.texts) : 0;
}

quint32 GroupFiles::append(const PackedMessage &message)
{
    Overview overview = message.summary.overview;
    overview.setArticle(m_overviews.nextArticle());
    return bin(binForAppending()).appendStored(message.data, overview)
               ? enter(overview, message.summary.texts)
               : 0;
}

quint32 GroupFiles::appendCopy(GroupFiles &source, int sourceGroup, const Overview &original)
{
    const QByteArray data = source.liesAt(original, original.position())
                                ? source.bin(original.bin()).readStored(original.position())
                                : QByteArray();
    if (data.size() != qsizetype(original.storedLength())) {
        source.readMessage(original); // says what is wrong
        return 0;
    }
    Overview overview = original;
    overview.setArticle(m_overviews.nextArticle());
    overview.setOrigin(quint32(sourceGroup), original.article());
    return bin(binForAppending()).appendStored(data, overview) ? enter(overview, source.texts(original)) : 0;
}

/// Enters a message whose text is in its bin into the overviews.
quint32 GroupFiles::enter(Overview overview, const HeaderTexts &texts)
{
    const HeaderCache::Place place = cacheTexts(overview.bin(), texts, overview.textCrc());
    overview.setCachePlace(place.position, place.length);
    if (m_overviews.append(overview))
        return overview.article();
    bin(overview.bin()).markDead(overview.position());
    report(ReportLevel::Warning, "Unable to write group overview file");
    return 0;
}

bool GroupFiles::complete(const std::vector<Whole> &messages)
{
    std::vector<Overview> done;
    done.reserve(messages.size());
    for (const Whole &message : messages) {
        Overview overview = completed(m_overviews.row(message.row), message.summary.overview);
        overview.setTextCrc(crc32Of(message.text));
        if (!bin(binForAppending()).appendMessage(message.text, overview)) {
            takeBack(done);
            return false;
        }
        const HeaderCache::Place place =
            cacheTexts(overview.bin(), message.summary.texts, overview.textCrc());
        overview.setCachePlace(place.position, place.length);
        done.push_back(overview);
    }
    // The header's record goes before its row points elsewhere: nothing would know of it afterwards. Until
    // then the row is what counts, and who opens these files has to look at both.
    if (!m_overviews.announceChanges()) {
        report(ReportLevel::Warning, "Unable to write group overview file");
        takeBack(done);
        return false;
    }
    for (const Whole &message : messages)
        bury(m_overviews.row(message.row));
    if (!syncBins()) {
        takeBack(done);
        return false;
    }
    for (const Overview &overview : done) {
        if (!m_overviews.change(m_overviews.rowOf(overview.article()), overview)) {
            report(ReportLevel::Warning, "Unable to write group overview file");
            return false;
        }
    }
    return sync();
}

/// What was appended for messages that stay as they are.
void GroupFiles::takeBack(const std::vector<Overview> &appended)
{
    for (const Overview &overview : appended) {
        bin(overview.bin()).markDead(overview.position());
        bringBack(m_overviews.row(m_overviews.rowOf(overview.article())));
    }
}

bool GroupFiles::kill(int row)
{
    Overview overview = m_overviews.row(row);
    overview.setMark(Mark::Dead, true);
    if (!m_overviews.change(row, overview)) {
        report(ReportLevel::Warning, "Unable to write group overview file");
        return false;
    }
    bury(overview);
    return true;
}

/// Marks the record of a dead message dead as well, so that no repair brings it back.
void GroupFiles::bury(const Overview &overview)
{
    BinFile &file = bin(overview.bin());
    const std::optional<Overview> header = file.headerAt(overview.position());
    if (header && !header->isDead() && header->article() == overview.article())
        file.markDead(overview.position());
}

/// The overviews are right: a dead row has a dead record, and a header that was to be replaced when the
/// program died is in use again.
void GroupFiles::matchRecordsToRows()
{
    for (int row = 0; row < m_overviews.rowCount(); ++row) {
        const Overview &overview = m_overviews.row(row);
        if (overview.isGone())
            continue;
        if (overview.isDead())
            bury(overview);
        else if (overview.has(Mark::HeaderOnly))
            bringBack(overview);
    }
}

void GroupFiles::bringBack(const Overview &overview)
{
    BinFile &file = bin(overview.bin());
    const std::optional<Overview> header = file.headerAt(overview.position());
    if (header && header->isDead() && header->article() == overview.article())
        file.rewriteHeader(overview);
}

QByteArray GroupFiles::readMessage(const Overview &overview)
{
    BinFile &file = bin(overview.bin());
    if (liesAt(overview, overview.position()))
        return file.readMessage(overview.position());
    if (const std::optional<quint32> place = newPlaceOf(overview))
        return file.readMessage(*place);
    if (!file.headerAt(overview.position()))
        return file.readMessage(overview.position()); // says what is wrong
    markForRepair();
    report(ReportLevel::Warning, "Message has invalid header in bin file");
    return {};
}

bool GroupFiles::liesAt(const Overview &overview, quint32 position)
{
    const std::optional<Overview> header = bin(overview.bin()).headerAt(position);
    return header && header->article() == overview.article();
}

/// Where a record is by now that a compaction moved: one of a running window, or one that could not write all
/// of the new positions.
std::optional<quint32> GroupFiles::newPlaceOf(const Overview &overview)
{
    if (!m_writable)
        bin(overview.bin()).close(); // another file may have its name now
    if (const auto place = BinCompactor::newPlace(m_directory, overview.bin(), overview.article());
        place && liesAt(overview, *place))
        return place;
    if (m_writable)
        return {};
    // The rows of the file that is open may be those of one that was replaced.
    OverviewFile now(m_directory);
    now.open(false);
    const int row = now.isOpen() ? now.rowOf(overview.article()) : -1;
    if (row < 0 || now.row(row).isDead() || !liesAt(overview, now.row(row).position()))
        return {};
    return now.row(row).position();
}

HeaderTexts GroupFiles::texts(const Overview &overview)
{
    const HeaderCache::Place known = {overview.cachePosition(), overview.cacheLength()};
    if (const auto texts = cache(overview.bin()).read(known, overview.textCrc()))
        return *texts;
    const QByteArray text = readMessage(overview);
    const HeaderTexts made = summaryOf(Message(text), overview.arrival()).texts;
    const int row = m_writable ? m_overviews.rowOf(overview.article()) : -1;
    if (row >= 0 && !text.isNull()) {
        Overview mended = m_overviews.row(row);
        const HeaderCache::Place place = cacheTexts(overview.bin(), made, overview.textCrc());
        mended.setCachePlace(place.position, place.length);
        if (place.length > 0 && !m_overviews.change(row, mended))
            note(u"%1: the header cache of article %2 could not be renewed"_s.arg(m_directory)
                     .arg(mended.article()));
    }
    return made;
}

bool GroupFiles::sync()
{
    if (!syncBins())
        return false;
    if (m_overviews.sync())
        return true;
    report(ReportLevel::Warning, "Unable to write group overview file");
    return false;
}

void GroupFiles::startWriting()
{
    for (auto &[number, bin] : m_bins)
        bin.startWriting();
}

bool GroupFiles::syncBins()
{
    return std::all_of(m_bins.begin(), m_bins.end(), [](auto &entry) { return entry.second.sync(); });
}

qint64 GroupFiles::liveSize(int bin) const
{
    const std::map<int, qint64> sizes = liveSizes();
    const auto found = sizes.find(bin);
    return found == sizes.end() ? 0 : found->second;
}

std::map<int, qint64> GroupFiles::liveSizes() const
{
    std::map<int, qint64> sizes;
    for (int row = 0; row < m_overviews.rowCount(); ++row) {
        const Overview &overview = m_overviews.row(row);
        if (!overview.isDead())
            sizes[overview.bin()] += kHeaderSize + overview.storedLength();
    }
    return sizes;
}

std::vector<int> GroupFiles::bins() const
{
    std::vector<int> numbers;
    const QStringList names = QDir(m_directory).entryList({u"Bin*"_s}, QDir::Files);
    for (const QString &name : names) {
        bool isNumber = false;
        const int number = name.mid(3).toInt(&isNumber);
        if (isNumber && number >= 0 && binPath({}, number).endsWith(name))
            numbers.push_back(number);
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

BinFile &GroupFiles::bin(int number)
{
    return m_bins.try_emplace(number, m_directory, number, static_cast<BinOwner &>(*this)).first->second;
}

HeaderCache &GroupFiles::cache(int number)
{
    return m_caches.try_emplace(number, m_directory, number).first->second;
}

qint64 GroupFiles::sizeOnDisk() const
{
    qint64 size = 0;
    const QFileInfoList files = QDir(m_directory).entryInfoList(QDir::Files);
    for (const QFileInfo &file : files)
        size += file.size();
    return size;
}

bool GroupFiles::takeMoves(int bin, const std::vector<Move> &moves)
{
    auto move = moves.begin();
    for (int row = 0; row < m_overviews.rowCount(); ++row) {
        Overview overview = m_overviews.row(row);
        if (overview.bin() != bin || overview.isGone())
            continue;
        while (move != moves.end() && move->article < overview.article())
            ++move;
        if (move != moves.end() && move->article == overview.article())
            overview.setPosition(move->position);
        else if (overview.isDead())
            overview.setGone();
        else
            continue; // it came after the compaction
        if (!m_overviews.change(row, overview))
            return false;
    }
    return m_overviews.sync();
}

void GroupFiles::forgetBin(int bin)
{
    m_bins.erase(bin);
}

bool GroupFiles::removeBin(int bin)
{
    // The rows let go first: they must not point into a later bin of the same number.
    if (!syncBins() || !takeMoves(bin, {}))
        return false;
    m_bins.erase(bin);
    m_caches.erase(bin);
    QFile::remove(cachePath(m_directory, bin));
    return QFile::remove(binPath(m_directory, bin));
}

bool GroupFiles::rewriteOverviews(const std::vector<Overview> &overviews, quint32 nextArticle)
{
    m_isOpen = m_overviews.rewrite(overviews, nextArticle);
    m_needsRepair = m_needsRepair && !m_isOpen;
    m_overviewState = m_isOpen ? OverviewFile::State::Settled : m_overviewState;
    return m_isOpen;
}

bool GroupFiles::isSuperseded(const Overview &record) const
{
    const int row = m_overviews.rowOf(record.article());
    return row >= 0 && areStagesOfOne(m_overviews.row(row), record);
}

std::vector<int> GroupFiles::damagedRows() const
{
    std::vector<int> rows;
    for (int row = 0; row < m_overviews.rowCount(); ++row) {
        if (!m_overviews.row(row).isIntact())
            rows.push_back(row);
    }
    return rows;
}

/// Completes each compaction that got as far as replacing its bin, and drops the others. False: the positions
/// of a replaced bin are not to be had, so its overviews must be made again.
bool GroupFiles::finishCompactions()
{
    const QStringList leftovers = QDir(m_directory).entryList({u"Bin*.moved"_s, u"Bin*~"_s}, QDir::Files);
    bool good = true;
    for (const QString &name : leftovers) {
        const int number = name.endsWith(u".moved") ? name.sliced(3).chopped(6).toInt() : -1;
        if (number < 0 || !binPath({}, number).endsWith(name.chopped(6)))
            continue;
        good = BinCompactor::finishInterrupted(*this, number) && good;
    }
    if (!leftovers.isEmpty() && good)
        dropCompactions();
    return good;
}

void GroupFiles::dropCompactions()
{
    // ".moved" first: without its "~" it would tell of a bin that has been replaced.
    for (const QString &pattern : {u"Bin*.moved"_s, u"Bin*~"_s}) {
        const QStringList names = QDir(m_directory).entryList({pattern}, QDir::Files);
        for (const QString &name : names)
            QFile::remove(m_directory + u'/' + name);
        if (!names.isEmpty())
            syncDirectoryOf(m_overviews.path());
    }
}

/// Rows that were not safe yet, and whose texts a power cut took.
void GroupFiles::dropUnwritten()
{
    for (int row = m_overviews.settledRows(); row < m_overviews.rowCount(); ++row) {
        Overview overview = m_overviews.row(row);
        if (overview.isDead())
            continue;
        const FileHandle file(binPath(m_directory, overview.bin()), FileHandle::Mode::Read);
        const QByteArray text = file.isOpen() && liesAt(overview, overview.position())
                                    ? readMessageData(file, overview.position(), overview, true)
                                    : QByteArray();
        if (!text.isNull() && crc32Of(text) == overview.textCrc())
            continue;
        overview.setGone();
        if (m_overviews.change(row, overview))
            note(u"%1: article %2 was being stored when the machine stopped, and was dropped"_s
                     .arg(m_directory)
                     .arg(overview.article()));
    }
}

/// Records behind the last overview of their bin were being stored when the program died. Nobody was told
/// that they are safe, and their source still has them, so they must not come back with a later repair.
/// False: a bin is not the one that the overviews know.
bool GroupFiles::killOrphans()
{
    std::map<int, Overview> last;
    for (int row = 0; row < m_overviews.rowCount(); ++row) {
        const Overview &overview = m_overviews.row(row);
        if (overview.isGone())
            continue;
        const auto [known, isFirst] = last.try_emplace(overview.bin(), overview);
        if (!isFirst && overview.position() > known->second.position())
            known->second = overview;
    }
    for (const int number : bins()) {
        const auto known = last.find(number);
        const qint64 end = known == last.end() ? 0
                                               : qint64(known->second.position()) + kHeaderSize +
                                                     known->second.storedLength();
        if (bin(number).size() <= end)
            continue;
        if (end > 0 && !liesAt(known->second, known->second.position()))
            return false;
        killOrphansBehind(number, end);
    }
    return true;
}

/// Kills the whole records from @p end on. What follows them is one that was torn, and goes: it would swallow
/// the next when the bin is scanned.
void GroupFiles::killOrphansBehind(int number, qint64 end)
{
    BinFile &file = bin(number);
    const qint64 size = file.size();
    std::optional<Overview> header = file.headerAt(quint32(end));
    while (header && end + kHeaderSize + header->storedLength() <= size) {
        if (!header->isDead() && file.markDead(quint32(end)))
            note(u"%1: a message that was being stored in bin %2 was dropped"_s.arg(m_directory).arg(number));
        end += kHeaderSize + header->storedLength();
        header = file.headerAt(quint32(qMin(end, kLargestBin)));
    }
    if (end < size && file.cut(end))
        note(u"%1: the torn end of bin %2 was cut off"_s.arg(m_directory).arg(number));
}

int GroupFiles::binForAppending()
{
    if (m_appendBin < 0) {
        const std::vector<int> found = bins();
        m_appendBin = found.empty() ? 0 : found.back();
    }
    while (m_held.contains(m_appendBin) || bin(m_appendBin).size() >= kFullBin)
        ++m_appendBin;
    return m_appendBin;
}
