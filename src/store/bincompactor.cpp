#include "store/bincompactor.h"

#include "config/files.h"
#include "config/reporter.h"
#include "store/binformat.h"
#include "store/compression.h"

#include <QFile>
#include <QtEndian>

#include <algorithm>
#include <cstring>

using namespace Qt::StringLiterals;
using namespace BinFormat;

namespace {

constexpr char kMovedMagic[] = {'V', 'M', 'O', 'V'};
constexpr qsizetype kMovedHead = 8; ///< the magic and a CRC-32 of the pairs
constexpr qsizetype kMoveSize = 8;  ///< article and position, 32 bits each

QByteArray encodedMoves(const std::vector<GroupFiles::Move> &moves)
{
    QByteArray bytes(kMovedHead + qsizetype(moves.size()) * kMoveSize, Qt::Uninitialized);
    char *out = bytes.data() + kMovedHead;
    for (const GroupFiles::Move &move : moves) {
        qToLittleEndian(move.article, out);
        qToLittleEndian(move.position, out + 4);
        out += kMoveSize;
    }
    std::memcpy(bytes.data(), kMovedMagic, sizeof kMovedMagic);
    qToLittleEndian(crc32Of(QByteArrayView(bytes).sliced(kMovedHead)), bytes.data() + 4);
    return bytes;
}

std::optional<std::vector<GroupFiles::Move>> decodedMoves(const QByteArray &bytes)
{
    if (bytes.size() < kMovedHead || (bytes.size() - kMovedHead) % kMoveSize != 0 ||
        std::memcmp(bytes.constData(), kMovedMagic, sizeof kMovedMagic) != 0 ||
        qFromLittleEndian<quint32>(bytes.constData() + 4) !=
            crc32Of(QByteArrayView(bytes).sliced(kMovedHead)))
        return {};
    std::vector<GroupFiles::Move> moves;
    for (const char *in = bytes.constData() + kMovedHead; in != bytes.constEnd(); in += kMoveSize)
        moves.push_back({qFromLittleEndian<quint32>(in), qFromLittleEndian<quint32>(in + 4)});
    return moves;
}

} // namespace

BinCompactor::BinCompactor(GroupFiles &files, int bin)
    : m_files(files)
    , m_bin(bin)
{
    m_files.hold(bin);
}

BinCompactor::~BinCompactor()
{
    if (m_new.isOpen())
        QFile::remove(newPath());
    if (!m_isHalfDone) // then nothing may come into the bin before the next opening has finished it
        m_files.release(m_bin);
}

BinCompactor::Progress BinCompactor::run()
{
    Progress progress = Progress::Working;
    while (progress == Progress::Working)
        progress = step(kFullBin);
    return progress;
}

BinCompactor::Progress BinCompactor::step(qint64 bytes)
{
    if (!m_begun) {
        m_begun = true;
        m_before = m_after = m_files.bin(m_bin).size();
        const qint64 live = m_files.liveSize(m_bin);
        if (m_before == 0 || (live > 0 && m_before <= live))
            return Progress::Done;
        if (QFile::exists(movedPath())) // an earlier one could not write all positions
            return fail("Unable to update bin file");
        if (live == 0)
            return m_files.removeBin(m_bin) ? Progress::Done : fail("Unable to delete empty bin file");
        if (!begin())
            return fail("Unable to open message bin file");
    }
    const qint64 until = m_scanner->position() + bytes;
    BinScanner::Record record;
    while (m_scanner->position() < until) {
        if (!m_scanner->next(record))
            return finish() ? Progress::Done : fail(m_problem);
        if (!copyRecord(record))
            return fail(m_problem);
    }
    return Progress::Working;
}

std::vector<int> BinCompactor::worthwhile(GroupFiles &files)
{
    std::map<int, qint64> live = files.liveSizes();
    std::vector<int> bins = files.bins();
    std::erase_if(bins, [&](int bin) {
        const qint64 size = files.bin(bin).size();
        return size == 0 || (size - live[bin]) * 3 <= size;
    });
    return bins;
}

std::optional<quint32> BinCompactor::newPlace(const QString &directory, int bin, quint32 article)
{
    const QString path = binPath(directory, bin);
    QFile file(path + u".moved"_s);
    if (!file.open(QIODevice::ReadOnly) || QFile::exists(path + u'~'))
        return {};
    const auto moves = decodedMoves(file.readAll());
    if (!moves)
        return {};
    const auto found =
        std::lower_bound(moves->begin(), moves->end(), article,
                         [](const GroupFiles::Move &move, quint32 wanted) { return move.article < wanted; });
    return found != moves->end() && found->article == article ? std::optional(found->position) : std::nullopt;
}

bool BinCompactor::finishInterrupted(GroupFiles &files, int bin)
{
    const QString path = binPath(files.directory(), bin);
    const QString moved = path + u".moved"_s;
    if (QFile::exists(path + u'~')) // the old bin is still in its place
        return true;                // and dropCompactions() drops both
    QFile file(moved);
    const auto moves = file.open(QIODevice::ReadOnly) ? decodedMoves(file.readAll()) : std::nullopt;
    if (moves && !files.takeMoves(bin, *moves))
        return false;
    note(u"%1: an interrupted compaction was %2"_s.arg(path, moves ? u"finished"_s : u"found damaged"_s));
    return moves.has_value();
}

bool BinCompactor::begin()
{
    m_old = FileHandle(binPath(m_files.directory(), m_bin), FileHandle::Mode::Read);
    m_new = FileHandle(newPath(), FileHandle::Mode::Truncate);
    m_after = 0;
    m_scanner = std::make_unique<BinScanner>(m_old);
    return m_old.isOpen() && m_new.isOpen();
}

/// Copies @p record if it is a live message of the group. False after setting the problem.
bool BinCompactor::copyRecord(const BinScanner::Record &record)
{
    const int row = m_files.overviews().rowOf(record.header.article());
    const bool known = row >= 0 && m_files.overviews().row(row).bin() == m_bin &&
                       qint64(m_files.overviews().row(row).position()) == record.position;
    if (!known)
        return passOver(record);
    Overview overview = m_files.overviews().row(row);
    if (overview.isDead())
        return true;
    if (!record.isWhole || record.header.storedLength() != overview.storedLength()) {
        m_files.suspect();
        m_problem = "Unable to read message bin file";
        return false;
    }
    QByteArray data(overview.storedLength(), Qt::Uninitialized);
    if (m_old.readAt(record.position + kHeaderSize, data.data(), data.size()) != data.size()) {
        m_problem = "Unable to read message bin file";
        return false;
    }
    overview.setPosition(quint32(m_after));
    const QByteArray header = recordHeader(overview);
    if (!m_new.writeAt(m_after, header, data)) {
        m_problem = "Unable to write new bin file";
        return false;
    }
    m_moves.push_back({overview.article(), quint32(m_after)});
    m_after += kHeaderSize + data.size();
    return true;
}

/// Leaves out what is no message of this group: a dead one whose row is gone, one that a power cut left
/// beside the message that took its place, or bytes that only look like a record. A message that the
/// overviews have lost is neither, and must not go: false.
bool BinCompactor::passOver(const BinScanner::Record &record)
{
    if (record.isWhole && record.header.isDead() && m_scanner->endsWell())
        return true;
    if (record.isWhole && m_files.isSuperseded(record.header))
        return true;
    const bool isLost =
        record.isWhole && !record.header.isDead() && qint64(record.header.position()) == record.position &&
        m_scanner->endsWell() &&
        crc32Of(readMessageData(m_old, record.position, record.header, true)) == record.header.textCrc();
    if (isLost) {
        m_files.suspect();
        m_problem = "Unable to determine bin size";
        return false;
    }
    m_scanner->notARecord();
    return true;
}

/// Puts the new bin in place. What was deleted, or replaced, since its record was copied is marked dead in
/// there first.
bool BinCompactor::finish()
{
    if (m_files.liveSize(m_bin) > m_after) { // a record is not where its overview says
        m_files.suspect();
        m_problem = "Unable to read message bin file";
        return false;
    }
    m_problem = "Unable to write new bin file";
    // A message that was completed lies behind younger ones.
    std::sort(m_moves.begin(), m_moves.end(),
              [](const GroupFiles::Move &a, const GroupFiles::Move &b) { return a.article < b.article; });
    const quint32_le dead(quint32(Mark::Dead));
    for (const GroupFiles::Move &move : m_moves) {
        const int row = m_files.overviews().rowOf(move.article);
        if (row >= 0 && !m_files.overviews().row(row).isDead() && m_files.overviews().row(row).bin() == m_bin)
            continue;
        if (!m_new.writeAt(move.position + kFlagsOffset,
                           {reinterpret_cast<const char *>(&dead), sizeof dead}))
            return false;
    }
    if (!m_new.sync() || !writeReplacing(movedPath(), encodedMoves(m_moves)))
        return false;
    m_problem = "Unable to update bin file";
    m_files.forgetBin(m_bin);
    if (!replaceFile(newPath(), binPath(m_files.directory(), m_bin))) {
        QFile::remove(movedPath());
        return false;
    }
    m_new.close();
    if (!m_files.takeMoves(m_bin, m_moves)) {
        m_isHalfDone = true; // the next opening finishes it
        return false;
    }
    // Gone for good before anything comes into the bin: a power cut must not bring old positions back.
    m_isHalfDone = !QFile::remove(movedPath()) || !syncDirectoryOf(movedPath());
    return !m_isHalfDone;
}

BinCompactor::Progress BinCompactor::fail(const char *text)
{
    report(ReportLevel::Warning, "%s", text);
    if (m_new.isOpen())
        QFile::remove(newPath());
    m_new.close();
    m_after = m_before;
    return Progress::Failed;
}

QString BinCompactor::newPath() const
{
    return binPath(m_files.directory(), m_bin) + u'~';
}

QString BinCompactor::movedPath() const
{
    return binPath(m_files.directory(), m_bin) + u".moved"_s;
}
