#include "net/pop3/uidlsfile.h"

#include "config/directory.h"
#include "config/files.h"
#include "config/reporter.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

/// Adds what @p bytes name to @p entries. False: there are fewer than there should be.
bool addEntries(const QByteArray &bytes, const QString &name, QList<UidlsEntry> &entries)
{
    QList<QByteArray> lines = bytes.split('\n');
    bool isNumber = false;
    const qint64 announced = lines.takeFirst().trimmed().toLongLong(&isNumber);
    qint64 skipped = bytes.isEmpty() || bytes.endsWith('\n') ? 0 : 1;
    if (skipped > 0 && !lines.isEmpty())
        lines.removeLast(); // it was cut off, and half an identifier names another message
    qint64 read = 0;
    for (const QByteArray &line : lines) {
        const qsizetype blank = line.indexOf(' ');
        bool hasTime = false;
        const qint64 taken = line.left(blank).toLongLong(&hasTime);
        const QByteArray identifier = line.mid(blank + 1);
        if (blank > 0 && hasTime && !identifier.isEmpty() && !identifier.contains(' ')) {
            entries.append({taken, identifier});
            ++read;
        } else if (!line.isEmpty()) {
            ++skipped;
        }
    }
    if (skipped > 0)
        note(u"%1 lines of %2 mean nothing and were skipped"_s.arg(skipped).arg(name));
    return isNumber && read >= announced;
}

/// False: it is there and cannot be read.
bool readWhole(const QString &path, QByteArray &bytes)
{
    QFile file(path);
    if (!file.exists())
        return true;
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) // a pipe would be waited for
        return false;
    bytes = file.readAll();
    return file.error() == QFileDevice::NoError;
}

} // namespace

UidlsFile::UidlsFile(int account)
    : m_name(u"Accounts/%1/UIDLs"_s.arg(account))
{}

std::optional<QList<UidlsEntry>> UidlsFile::read() const
{
    const QString path = configPathOf(m_name);
    QByteArray bytes;
    if (!readWhole(path, bytes)) {
        report(ReportLevel::Warning, "Unable to read UIDLs file");
        return {};
    }
    QList<UidlsEntry> entries;
    if (!bytes.isEmpty() && addEntries(bytes, m_name, entries))
        return entries;
    QByteArray backup;
    if (readWhole(path + u".backup"_s, backup) && !backup.isEmpty()) {
        note(u"%1 is missing or damaged; its backup counts as well"_s.arg(m_name));
        addEntries(backup, m_name + u".backup"_s, entries);
    }
    return entries;
}

bool UidlsFile::write(const QList<UidlsEntry> &entries) const
{
    QByteArray bytes = QByteArray::number(entries.size()) + '\n';
    for (const UidlsEntry &entry : entries)
        bytes += QByteArray::number(entry.taken) + ' ' + entry.identifier + '\n';
    QString path = m_name;
    if (configFile(path, false) && writeReplacing(path, bytes)) {
        copyFile(path, path + u".backup"_s, false);
        return true;
    }
    report(ReportLevel::Warning, "Unable to write UIDLs file");
    return false;
}

void UidlsFile::remove() const
{
    const QString path = configPathOf(m_name);
    QFile::remove(path + u".backup"_s);
    QFile::remove(path);
}
