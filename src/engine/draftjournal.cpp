#include "engine/draftjournal.h"

#include "config/files.h"
#include "config/listtext.h"
#include "config/reporter.h"
#include "store/compression.h"

#include <QFile>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr QByteArrayView kStart("version ");
constexpr qsizetype kLongText = 32 * 1024; ///< from here on compressing pays

/// The line that heads a record, without the word in front and the CRC behind.
QByteArray headOf(int serial, const DraftVersion &version, qint64 stored, qint64 length)
{
    const qint64 numbers[] = {serial, version.time, version.characters, stored, length};
    QByteArray head;
    for (const qint64 number : numbers)
        head += QByteArray::number(number) + ' ';
    return head;
}

QByteArray summaryLine(const DraftVersion &version, const QList<QByteArray> &contents)
{
    const QString keys = QString::fromLatin1(contents.join(' '));
    return QStringList{escapedText(version.subject), escapedText(version.beginning), keys}
               .join(u'\t')
               .toUtf8() +
           '\n';
}

void takeSummary(DraftJournal::Entry &entry, QByteArrayView line)
{
    const QStringList fields = QString::fromUtf8(line).split(u'\t');
    entry.version.subject = unescapedText(fields.value(0));
    entry.version.beginning = unescapedText(fields.value(1));
    for (const QString &key : fields.value(2).split(u' ', Qt::SkipEmptyParts))
        entry.contents.append(key.toLatin1());
}

struct Record
{
    DraftJournal::Entry entry;
    qsizetype end = 0; ///< behind its last line end
};

/// The record that begins at @p position, when it is whole.
std::optional<Record> recordAt(QByteArrayView bytes, qsizetype position)
{
    const QByteArrayView rest = bytes.sliced(position);
    const qsizetype headEnd = rest.first(qMin<qsizetype>(rest.size(), 200)).indexOf('\n');
    const qsizetype summaryEnd = headEnd < 0 ? -1 : rest.indexOf('\n', headEnd + 1);
    if (!rest.startsWith(kStart) || summaryEnd < 0)
        return {};
    const QByteArray head = rest.first(headEnd).sliced(kStart.size()).toByteArray();
    const QList<QByteArray> numbers = head.split(' ');
    Record record;
    DraftJournal::Entry &entry = record.entry;
    entry.serial = numbers.value(0).toInt();
    entry.version.time = numbers.value(1).toLongLong();
    entry.version.characters = numbers.value(2).toInt();
    entry.position = position + summaryEnd + 1;
    entry.stored = numbers.value(3).toLongLong();
    entry.length = numbers.value(4).toLongLong();
    if (numbers.size() != 6 || entry.serial <= 0 || entry.stored < 0 || entry.length < 0 ||
        entry.stored >= bytes.size() - entry.position || bytes[entry.position + entry.stored] != '\n')
        return {};
    QByteArray covered = head.first(head.lastIndexOf(' ') + 1);
    covered.append(bytes.sliced(position + headEnd + 1, summaryEnd - headEnd + entry.stored));
    if (numbers[5] != QByteArray::number(crc32Of(covered)))
        return {};
    takeSummary(entry, rest.sliced(headEnd + 1, summaryEnd - headEnd - 1));
    record.end = entry.position + entry.stored + 1;
    return record;
}

/// Whether a file holds nothing but the beginning of its first record: nobody was told that it is kept.
bool isBegun(QByteArrayView rest)
{
    if (rest.endsWith('\n')) // it may be whole, and its length be what is damaged
        return false;
    if (rest.size() <= kStart.size())
        return kStart.startsWith(rest);
    const qsizetype headEnd = rest.indexOf('\n');
    const qsizetype summaryEnd = headEnd < 0 ? -1 : rest.indexOf('\n', headEnd + 1);
    if (!rest.startsWith(kStart) || summaryEnd < 0)
        return rest.startsWith(kStart);
    const QByteArray head = rest.first(headEnd).sliced(kStart.size()).toByteArray();
    return summaryEnd + 1 + head.split(' ').value(3).toLongLong() >= rest.size();
}

} // namespace

DraftJournal::DraftJournal(QString directory)
    : m_directory(std::move(directory))
{
    m_entries = read(true);
    const std::vector<Entry> latest = read(false);
    m_inFile = int(latest.size());
    m_entries.insert(m_entries.end(), latest.begin(), latest.end());
    for (const Entry &entry : m_entries)
        m_lastSerial = qMax(m_lastSerial, entry.serial);
    if (m_entries.size() > kMost) {
        const auto firstThatCounts = m_entries.end() - kMost;
        m_old.assign(m_entries.begin(), firstThatCounts);
        m_entries.erase(m_entries.begin(), firstThatCounts);
    }
}

QString DraftJournal::pathOf(bool isEarlier) const
{
    return m_directory + (isEarlier ? "/Earlier"_L1 : "/Versions"_L1);
}

std::vector<DraftJournal::Entry> DraftJournal::read(bool isEarlier)
{
    std::vector<Entry> entries;
    QFile file(pathOf(isEarlier));
    if (!file.exists())
        return entries;
    const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    if (!file.isOpen() || file.error() != QFileDevice::NoError || bytes.size() < file.size()) {
        note(u"The versions of a draft cannot be read: %1"_s.arg(file.fileName()));
        m_hasDamage = true;
        m_unreadable += file.fileName();
        return entries;
    }
    qsizetype position = 0;
    while (position < bytes.size()) {
        if (std::optional<Record> record = recordAt(bytes, position)) {
            record->entry.isEarlier = isEarlier;
            entries.push_back(std::move(record->entry));
            position = record->end;
            continue;
        }
        note(u"A version of a draft is damaged at byte %1 of %2"_s.arg(position).arg(file.fileName()));
        const qsizetype next = bytes.indexOf(kStart, position + 1);
        position = next < 0 ? bytes.size() : next;
    }
    m_hasDamage = m_hasDamage || (entries.empty() && !bytes.isEmpty() && !isBegun(bytes));
    if (!isEarlier)
        m_end = bytes.size(); // what stands there damaged stays for who can read more out of it
    return entries;
}

std::optional<QByteArray> DraftJournal::text(const Entry &entry) const
{
    const FileHandle file(pathOf(entry.isEarlier), FileHandle::Mode::Read);
    QByteArray bytes(entry.stored, Qt::Uninitialized);
    if (!file.isOpen() || file.readAt(entry.position, bytes.data(), entry.stored) != entry.stored)
        return {};
    if (entry.length == 0)
        return bytes;
    const QByteArray unpacked =
        decompressText(QByteArrayView(bytes).sliced(qMin<qsizetype>(4, bytes.size())), quint32(entry.length));
    return unpacked.isNull() ? std::nullopt : std::optional(unpacked);
}

bool DraftJournal::openForWriting()
{
    if (m_file.isOpen())
        return true;
    if (!setUnreadableAside())
        return false;
    const QString path = pathOf(false);
    const bool isNew = !QFile::exists(path);
    m_file = FileHandle(path, FileHandle::Mode::ReadWrite);
    return m_file.isOpen() && (!isNew || syncDirectoryOf(path));
}

bool DraftJournal::setUnreadableAside()
{
    m_unreadable.removeIf([](const QString &path) { return replaceFile(path, path + u".unreadable"_s); });
    return m_unreadable.isEmpty();
}

/// Where it fails, the file just grows on.
void DraftJournal::rotate()
{
    if (!replaceFile(pathOf(false), pathOf(true)))
        return;
    m_file.close();
    m_inFile = 0;
    m_end = 0;
    std::erase_if(m_entries, [](const Entry &entry) { return entry.isEarlier; });
    m_old.clear();
    for (Entry &entry : m_entries)
        entry.isEarlier = true;
}

bool DraftJournal::append(const DraftVersion &version, const QList<QByteArray> &contents,
                          const QByteArray &text)
{
    if (!setUnreadableAside()) // before anything takes its name
        return false;
    if (m_inFile >= kMost)
        rotate();
    QByteArray packed;
    if (text.size() >= kLongText)
        packed = compressText(text, text.size() * 9 / 10);
    const QByteArray &stored = packed.isEmpty() ? text : packed;
    const qint64 length = packed.isEmpty() ? 0 : text.size();
    const QByteArray head = headOf(m_lastSerial + 1, version, stored.size(), length);
    const QByteArray rest = summaryLine(version, contents) + stored;
    const QByteArray record =
        kStart.toByteArray() + head + QByteArray::number(crc32Of(head + rest)) + '\n' + rest + '\n';
    if (!openForWriting())
        return false;
    if (!m_file.writeAt(m_end, record) || !m_file.sync()) {
        m_file.cut(m_end);
        return false;
    }
    const qint64 position = m_end + record.size() - 1 - stored.size();
    m_entries.push_back({++m_lastSerial, version, contents, false, position, stored.size(), length});
    m_end += record.size();
    ++m_inFile;
    if (m_entries.size() > kMost) {
        m_old.push_back(std::move(m_entries.front()));
        m_entries.erase(m_entries.begin());
    }
    return true;
}

QList<QByteArray> DraftJournal::contents() const
{
    QList<QByteArray> keys;
    for (const std::vector<Entry> *entries : {&m_old, &m_entries}) {
        for (const Entry &entry : *entries)
            keys += entry.contents;
    }
    return keys;
}
