#include "net/identifierlist.h"

#include "config/directory.h"
#include "config/files.h"
#include "config/reporter.h"
#include "net/accountfiles.h"

#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

struct PurposeRow
{
    const char *file;
    const char *unableToWrite;
};
constexpr std::array kPurposes = {
    PurposeRow{"FetchIDs", "Unable to write fetch IDs file"},
    PurposeRow{"DeleteIDs", "Unable to write delete IDs file"},
};
static_assert(kPurposes.size() == std::size_t(IdentifierList::Purpose::Delete) + 1);

const PurposeRow &rowOf(IdentifierList::Purpose purpose)
{
    return kPurposes[std::size_t(purpose)];
}

IdentifierList::Entry entryOf(const QByteArray &line)
{
    const QList<QByteArray> fields = line.split(' ');
    IdentifierList::Entry entry{fields.first(), {}};
    if (fields.size() >= 3)
        entry.place = {fields[1].toInt(), fields[2].toUInt()};
    return entry;
}

QByteArray lineOf(const IdentifierList::Entry &entry)
{
    if (entry.place.group == 0)
        return entry.identifier + '\n';
    return entry.identifier + ' ' + QByteArray::number(entry.place.group) + ' ' +
           QByteArray::number(entry.place.article) + '\n';
}

/// Whether it can be a field of a line.
bool isPlain(const QByteArray &identifier)
{
    return !identifier.isEmpty() &&
           std::all_of(identifier.begin(), identifier.end(), [](char c) { return uchar(c) > ' '; });
}

} // namespace

IdentifierList::IdentifierList(int account, Purpose purpose)
    : m_account(account)
    , m_purpose(purpose)
{
    read();
}

void IdentifierList::read()
{
    const QString path = accountFilePath(m_account, QLatin1String(rowOf(m_purpose).file));
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) // a pipe would be waited for
        return;
    QList<QByteArray> lines = file.readAll().split('\n');
    lines.removeLast(); // what stands behind the last line end
    const bool isWhole = !lines.isEmpty() && lines.last() == " end";
    if (isWhole)
        lines.removeLast();
    else
        note(u"%1 is not whole: %2"_s.arg(path, m_purpose == Purpose::Fetch
                                                    ? u"its whole lines were used"_s
                                                    : u"no message is deleted for it"_s));
    if (!isWhole && m_purpose == Purpose::Delete)
        return;
    for (const QByteArray &line : lines) {
        const Entry entry = entryOf(line);
        if (!isPlain(entry.identifier) || m_rows.contains(entry.identifier))
            continue;
        m_rows.insert(entry.identifier, m_entries.size());
        m_entries += entry;
    }
}

IdentifierList::Entry IdentifierList::find(const QByteArray &identifier) const
{
    const auto row = m_rows.constFind(identifier);
    return row == m_rows.cend() ? Entry() : m_entries[*row];
}

bool IdentifierList::add(const QList<Entry> &entries)
{
    QList<Entry> all = m_entries;
    QHash<QByteArray, qsizetype> rows = m_rows;
    for (const Entry &entry : entries) {
        if (!isPlain(entry.identifier))
            continue;
        const qsizetype row = rows.value(entry.identifier, all.size());
        rows.insert(entry.identifier, row);
        if (row < all.size())
            all[row] = entry;
        else
            all += entry;
    }
    return write(all);
}

bool IdentifierList::remove(const QList<QByteArray> &identifiers)
{
    const QSet<QByteArray> gone(identifiers.begin(), identifiers.end());
    QList<Entry> left;
    for (const Entry &entry : m_entries) {
        if (!gone.contains(entry.identifier))
            left += entry;
    }
    return left.size() == m_entries.size() || write(left);
}

bool IdentifierList::write(const QList<Entry> &entries)
{
    QByteArray text;
    QHash<QByteArray, qsizetype> rows;
    for (const Entry &entry : entries) {
        rows.insert(entry.identifier, rows.size());
        text += lineOf(entry);
    }
    QString path = accountFileName(m_account, QLatin1String(rowOf(m_purpose).file));
    if (storeAccess() == StoreAccess::ReadOnly || !configFile(path, false) ||
        !writeReplacing(path, text + " end\n")) {
        report(ReportLevel::Warning, "%s", rowOf(m_purpose).unableToWrite);
        return false;
    }
    m_entries = entries;
    m_rows = std::move(rows);
    return true;
}
