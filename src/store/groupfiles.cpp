#include "store/groupfiles.h"

#include "config/reporter.h"
#include "message/message.h"
#include "store/bincompactor.h"
#include "store/binformat.h"
#include "store/binscanner.h"
#include "store/compression.h"
#include "store/summary.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace BinFormat;

GroupFiles::GroupFiles(const QString &directory)
    : m_directory(directory)
    , m_overviews(directory)
{}

GroupFiles::State GroupFiles::open(bool writable)
{
    close();
    m_writable = writable;
    if (writable)
        QDir().mkdir(m_directory, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
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
    killOrphans();
    if (state == OverviewFile::State::Settled)
        return State::Good;
    buryDeadRows();
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

quint32 GroupFiles::appendCopy(GroupFiles &source, int sourceGroup, const Overview &original)
{
    const QByteArray data = source.bin(original.bin()).readStored(original.position());
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
    const HeaderCache::Place place = cacheTexts(overview.bin(), texts);
    overview.setCachePlace(place.position, place.length);
    if (m_overviews.append(overview))
        return overview.article();
    bin(overview.bin()).markDead(overview.position());
    report(ReportLevel::Warning, "Unable to write group overview file");
    return 0;
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

void GroupFiles::buryDeadRows()
{
    for (int row = 0; row < m_overviews.rowCount(); ++row) {
        const Overview &overview = m_overviews.row(row);
        if (overview.isDead() && !overview.isGone())
            bury(overview);
    }
}

QByteArray GroupFiles::readMessage(const Overview &overview)
{
    BinFile &file = bin(overview.bin());
    const std::optional<Overview> header = file.headerAt(overview.position());
    if (header && header->article() != overview.article()) {
        // Another message lies there. Beside a running window that only means that it tidied up meanwhile.
        if (m_writable) {
            markForRepair();
            report(ReportLevel::Warning, "Message has invalid header in bin file");
            return {};
        }
        file.close();
    }
    return file.readMessage(overview.position());
}

HeaderTexts GroupFiles::texts(const Overview &overview)
{
    if (const auto texts = cache(overview.bin()).read({overview.cachePosition(), overview.cacheLength()}))
        return *texts;
    const QByteArray text = readMessage(overview);
    const HeaderTexts made = summaryOf(Message(text), overview.arrival()).texts;
    const int row = m_writable ? m_overviews.rowOf(overview.article()) : -1;
    if (row >= 0 && !text.isNull()) {
        Overview mended = m_overviews.row(row);
        const HeaderCache::Place place = cacheTexts(overview.bin(), made);
        mended.setCachePlace(place.position, place.length);
        if (place.length > 0 && !m_overviews.change(row, mended))
            note(u"%1: the header cache of article %2 could not be renewed"_s.arg(m_directory)
                     .arg(mended.article()));
    }
    return made;
}

bool GroupFiles::sync()
{
    const bool binsSafe =
        std::all_of(m_bins.begin(), m_bins.end(), [](auto &entry) { return entry.second.sync(); });
    if (!binsSafe)
        return false;
    if (m_overviews.sync())
        return true;
    report(ReportLevel::Warning, "Unable to write group overview file");
    return false;
}

qint64 GroupFiles::liveSize(int bin) const
{
    qint64 size = 0;
    for (int row = 0; row < m_overviews.rowCount(); ++row) {
        const Overview &overview = m_overviews.row(row);
        if (overview.bin() == bin && !overview.isDead())
            size += kHeaderSize + overview.storedLength();
    }
    return size;
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
        else
            overview.setGone();
        if (!m_overviews.change(row, overview))
            return false;
    }
    return m_overviews.sync();
}

void GroupFiles::forgetBin(int bin)
{
    m_bins.erase(bin);
}

bool GroupFiles::rewriteOverviews(const std::vector<Overview> &overviews, quint32 nextArticle)
{
    m_isOpen = m_overviews.rewrite(overviews, nextArticle);
    m_needsRepair = m_needsRepair && !m_isOpen;
    return m_isOpen;
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
        if (!name.endsWith(u".moved"))
            continue;
        const int number = name.sliced(3).chopped(6).toInt();
        good = BinCompactor::finishInterrupted(*this, number) && good;
    }
    for (const QString &name : leftovers) {
        if (name.endsWith(u'~'))
            QFile::remove(m_directory + u'/' + name);
    }
    return good;
}

/// Records behind the last overview of their bin were being stored when the program died. Nobody was told
/// that they are safe, and their source still has them, so they must not come back with a later repair.
void GroupFiles::killOrphans()
{
    std::map<int, qint64> ends;
    for (int row = 0; row < m_overviews.rowCount(); ++row) {
        const Overview &overview = m_overviews.row(row);
        if (overview.isGone())
            continue;
        qint64 &end = ends[overview.bin()];
        end = qMax(end, qint64(overview.position()) + kHeaderSize + overview.storedLength());
    }
    for (const int number : bins()) {
        if (bin(number).size() <= ends[number])
            continue;
        const FileHandle file(binPath(m_directory, number), FileHandle::Mode::Read);
        BinScanner scanner(file, ends[number]);
        BinScanner::Record record;
        while (scanner.next(record)) {
            if (!record.header.isDead() && bin(number).markDead(quint32(record.position)))
                note(u"%1: a message that was being stored in bin %2 was dropped"_s.arg(m_directory)
                         .arg(number));
        }
    }
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
