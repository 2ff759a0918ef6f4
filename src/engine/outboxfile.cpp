#include "engine/outboxfile.h"

#include "config/directory.h"
#include "config/files.h"
#include "config/reporter.h"
#include "store/compression.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr QByteArrayView kHead = "velmar-outbox 1\n";
constexpr qint64 kReserved = 64 * 1024;      ///< bytes at a time
constexpr qint64 kSpare = 4 * 1024;          ///< bytes for what must be written after a sending
constexpr qint64 kPerRecipient = 16;         ///< bytes of a mark, written twice
constexpr qint64 kWorthCompacting = 1 << 20; ///< bytes
constexpr qint64 kMostRead = 256 << 20;      ///< bytes; what is longer is not all ours
constexpr int kCrcDigits = 8;

QByteArray lineOf(quint64 ticket, OutboxVerb verb, const OutboxFields &fields)
{
    QByteArray rest = ' ' + QByteArray::number(ticket) + ' ' + kOutboxVerbs[std::size_t(verb)];
    for (const QByteArray &field : fields)
        rest += ' ' + field;
    return QByteArray::number(crc32Of(rest), 16).rightJustified(kCrcDigits, '0') + rest + '\n';
}

std::optional<OutboxVerb> verbOf(const QByteArray &word)
{
    const auto found = std::find(kOutboxVerbs.begin(), kOutboxVerbs.end(), word);
    if (found == kOutboxVerbs.end())
        return {};
    return OutboxVerb(found - kOutboxVerbs.begin());
}

} // namespace

OutboxFile::OutboxFile() = default;

QString OutboxFile::path() const
{
    return configPathOf(u"Outbox/Journal"_s);
}

OutboxFile::Found OutboxFile::load()
{
    m_records.clear();
    QFile file(path());
    Found found = Found::Missing;
    if (file.exists()) {
        if (!QFileInfo(path()).isFile() || file.size() > kMostRead || !file.open(QIODevice::ReadOnly)) {
            m_isUnreadable = true;
            report(ReportLevel::Warning, "Unable to read file '%s'", qUtf8Printable(path()));
            return Found::Unreadable;
        }
        found = read(file.readAll());
        if (found == Found::Damaged && storeAccess() == StoreAccess::ReadWrite)
            QFile::copy(path(), path() + u".damaged"_s);
    }
    if (storeAccess() == StoreAccess::ReadWrite && !m_records.empty())
        rewrite(); // when it cannot be, the next mark tries again
    return found;
}

/// Lines that cannot be read count as damage where others follow them: the last one was just being written.
OutboxFile::Found OutboxFile::read(const QByteArray &bytes)
{
    const qsizetype nul = bytes.indexOf('\0');
    QByteArrayView rest = QByteArrayView(bytes).first(nul < 0 ? bytes.size() : nul);
    const bool isWhole = rest.startsWith(kHead);
    if (isWhole)
        rest = rest.sliced(kHead.size());
    int unreadable = isWhole ? 0 : 1;
    bool isDamaged = false;
    while (!rest.isEmpty()) {
        const qsizetype end = rest.indexOf('\n');
        if (end >= 0 && readLine(rest.first(end)))
            isDamaged = isDamaged || unreadable > 0;
        else
            ++unreadable;
        rest = end < 0 ? QByteArrayView() : rest.sliced(end + 1);
    }
    // A hole in the midst: a page that a power cut kept back, while a later one was written.
    const bool hasHole =
        nul >= 0 && std::any_of(bytes.begin() + nul, bytes.end(), [](char c) { return c != '\0'; });
    if (unreadable > 0 || hasHole)
        note(u"%1: lines that could not be read: %2"_s.arg(path()).arg(unreadable));
    return isDamaged || hasHole || (!isWhole && !bytes.isEmpty()) ? Found::Damaged : Found::Whole;
}

bool OutboxFile::readLine(QByteArrayView line)
{
    bool isNumber = false;
    const quint32 crc =
        line.first(qMin<qsizetype>(kCrcDigits, line.size())).toByteArray().toUInt(&isNumber, 16);
    if (!isNumber || line.size() <= kCrcDigits || crc32Of(line.sliced(kCrcDigits)) != crc)
        return false;
    OutboxFields fields = line.sliced(kCrcDigits + 1).toByteArray().split(' ');
    if (fields.size() < 2)
        return false;
    const quint64 ticket = fields.takeFirst().toULongLong();
    const std::optional<OutboxVerb> verb = verbOf(fields.takeFirst());
    m_next = qMax(m_next, ticket + 1);
    return verb && apply(ticket, *verb, fields);
}

bool OutboxFile::apply(quint64 ticket, OutboxVerb verb, const OutboxFields &fields)
{
    if (verb == OutboxVerb::Add) {
        const std::optional<OutboxRecord> record = recordOf(ticket, fields);
        if (record && !find(ticket))
            m_records.push_back(*record);
        return record.has_value();
    }
    OutboxRecord *record = find(ticket);
    if (verb == OutboxVerb::Gone) {
        if (record)
            m_records.erase(m_records.begin() + (record - m_records.data()));
        return true;
    }
    return record && applyMark(*record, verb, fields);
}

const OutboxRecord *OutboxFile::find(quint64 ticket) const
{
    const auto found =
        std::lower_bound(m_records.begin(), m_records.end(), ticket,
                         [](const OutboxRecord &record, quint64 wanted) { return record.ticket < wanted; });
    return found == m_records.end() || found->ticket != ticket ? nullptr : &*found;
}

OutboxRecord *OutboxFile::find(quint64 ticket)
{
    return const_cast<OutboxRecord *>(std::as_const(*this).find(ticket));
}

bool OutboxFile::failed()
{
    if (!std::exchange(m_isReported, true))
        report(ReportLevel::Warning, "Unable to write file '%s'", qUtf8Printable(path()));
    return false;
}

bool OutboxFile::rewrite()
{
    QByteArray contents = kHead.toByteArray();
    for (const OutboxRecord &record : m_records) {
        contents += lineOf(record.ticket, OutboxVerb::Add, addFields(record));
        for (const auto &[verb, fields] : marksOf(record))
            contents += lineOf(record.ticket, verb, fields);
    }
    QString path = u"Outbox/Journal"_s;
    m_file.close();
    if (m_isUnreadable || storeAccess() != StoreAccess::ReadWrite || !configFile(path, false) ||
        !writeReplacing(path, contents))
        return false;
    m_file = FileHandle(path, FileHandle::Mode::ReadWrite);
    m_end = m_reserved = m_written = contents.size();
    m_isUnsynced = false;
    return m_file.isOpen();
}

bool OutboxFile::open()
{
    return m_file.isOpen() || rewrite();
}

/// Bytes that are written once are not waited for again: the size of the file stays as it is for a while.
bool OutboxFile::reserve(qint64 length)
{
    if (m_end + length <= m_reserved)
        return true;
    const QByteArray nuls(qMax(kReserved, length), '\0');
    if (!m_file.writeAt(m_reserved, nuls) || !m_file.sync())
        return false;
    m_reserved += nuls.size();
    return true;
}

bool OutboxFile::append(const QByteArray &line, Durable durable)
{
    m_isUnsynced = true; // also what could not be written: it is applied, and goes with the next rewriting
    if (!open())
        return false;
    const bool hasRoom = reserve(line.size() + (durable == Durable::Now ? kSpare + line.size() : 0));
    if (!hasRoom && durable == Durable::Now)
        return false; // nothing happened, and what is reserved is for the others
    if (!hasRoom && m_end + line.size() > m_reserved) {
        m_file.close(); // what is applied and not written goes with the next rewriting
        return false;
    }
    if (!m_file.writeAt(m_end, line)) {
        m_file.close(); // what is behind the end is unknown now: it is written anew
        return false;
    }
    m_end += line.size();
    m_isUnsynced = true;
    if (durable == Durable::Later)
        return true;
    if (!m_file.sync()) {
        m_file.close();
        return false;
    }
    m_isUnsynced = false;
    return true;
}

quint64 OutboxFile::add(OutboxRecord record, Durable durable)
{
    record.ticket = m_next;
    if (!append(lineOf(record.ticket, OutboxVerb::Add, addFields(record)), durable)) {
        failed();
        return 0;
    }
    ++m_next;
    m_isReported = false;
    m_records.push_back(std::move(record));
    return m_records.back().ticket;
}

bool OutboxFile::mark(quint64 ticket, OutboxVerb verb, const OutboxFields &fields, Durable durable)
{
    const bool isWritten = append(lineOf(ticket, verb, fields), durable);
    if (isWritten || durable == Durable::Later)
        apply(ticket, verb, fields);
    if (!isWritten)
        return failed();
    m_isReported = false;
    return true;
}

bool OutboxFile::hasRoom(std::size_t recipients)
{
    return (open() && reserve(2 * kSpare + qint64(recipients) * kPerRecipient)) || failed();
}

bool OutboxFile::mark(const std::vector<Mark> &marks)
{
    QByteArray lines;
    for (const Mark &one : marks)
        lines += lineOf(one.ticket, one.verb, one.fields);
    const bool isWritten = append(lines, Durable::Later);
    for (const Mark &one : marks)
        apply(one.ticket, one.verb, one.fields);
    m_isReported = m_isReported && !isWritten;
    return isWritten || failed();
}

void OutboxFile::drop(const std::set<quint64> &tickets)
{
    QByteArray lines;
    for (const quint64 ticket : tickets)
        lines += lineOf(ticket, OutboxVerb::Gone, {});
    std::erase_if(m_records, [&](const OutboxRecord &record) { return tickets.contains(record.ticket); });
    if (!append(lines, Durable::Later))
        failed();
}

bool OutboxFile::sync()
{
    if (!m_isUnsynced)
        return true;
    if (m_file.isOpen() && m_file.sync()) {
        m_isUnsynced = false;
        return true;
    }
    m_file.close();
    return rewrite() || failed();
}

/// So seldom that it costs nothing beside what has been written since.
void OutboxFile::compact()
{
    if (m_end - m_written > qMax(kWorthCompacting, m_written) && !rewrite())
        failed();
}
