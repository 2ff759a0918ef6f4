#include "config/listfile.h"

#include "config/clock.h"
#include "config/directory.h"
#include "config/files.h"
#include "config/reporter.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

/// One file of the protocol as it lies on disk.
struct FileOnDisk
{
    enum class State { Missing, Unreadable, Cut, Whole } state;
    QStringList lines;
};

FileOnDisk readLines(const QString &path)
{
    QFile file(path);
    if (!file.exists())
        return {FileOnDisk::State::Missing, {}};
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) // a pipe would be waited for
        return {FileOnDisk::State::Unreadable, {}};
    QStringList lines = splitLines(decodeTextFile(file.readAll()));
    const qsizetype end = lines.indexOf(u"end"_s);
    if (end < 0)
        return {FileOnDisk::State::Cut, std::move(lines)};
    lines.resize(end);
    return {FileOnDisk::State::Whole, std::move(lines)};
}

} // namespace

ListFile::ListFile(QString name, const ListFileTexts &texts)
    : m_name(std::move(name))
    , m_texts(texts)
{}

ListFile::Contents ListFile::read()
{
    m_unreadable = false;
    FileOnDisk list = readLines(path());
    FileOnDisk backup;
    switch (list.state) {
    case FileOnDisk::State::Whole:
        if (storeAccess() == StoreAccess::ReadWrite && !copyFile(path(), path() + u".backup"_s, false))
            report(ReportLevel::Warning, "%s", m_texts.unableToBackUp);
        return {Outcome::Whole, std::move(list.lines)};
    case FileOnDisk::State::Unreadable: return unreadable();
    case FileOnDisk::State::Missing:
    case FileOnDisk::State::Cut: break;
    }

    backup = readLines(path() + u".backup"_s);
    switch (backup.state) {
    case FileOnDisk::State::Whole:
        note(u"%1 is missing or not whole: its backup was read instead"_s.arg(m_name));
        return {Outcome::Backup, std::move(backup.lines)};
    case FileOnDisk::State::Unreadable: return unreadable();
    case FileOnDisk::State::Missing:
        if (list.state == FileOnDisk::State::Missing)
            return {Outcome::Missing, {}};
        break;
    case FileOnDisk::State::Cut: break;
    }
    const bool useList = list.state == FileOnDisk::State::Cut;
    keepDamaged(useList ? path() : path() + u".backup"_s);
    return {Outcome::Damaged, useList ? std::move(list.lines) : std::move(backup.lines)};
}

bool ListFile::write(const QStringList &lines)
{
    if (storeAccess() == StoreAccess::ReadOnly)
        return true;
    QString path = m_name;
    if (!m_unreadable && configFile(path, false)) {
        const QByteArray contents =
            lines.isEmpty() ? QByteArray("end\n") : lines.join(u'\n').toUtf8() + "\nend\n";
        if (writeReplacing(path, contents))
            return true;
    }
    report(ReportLevel::Warning, "%s", m_texts.unableToWrite);
    return false;
}

QString ListFile::path() const
{
    return configPathOf(m_name);
}

void ListFile::keepDamaged(const QString &path) const
{
    note(u"%1 is whole neither itself nor in its backup: its readable records were used"_s.arg(m_name));
    if (storeAccess() == StoreAccess::ReadOnly)
        return;
    const QString kept = u"%1.damaged-%2"_s.arg(configPathOf(m_name)).arg(clockSeconds());
    if (copyFile(path, kept, false))
        note(u"%1 was kept as %2"_s.arg(path, kept));
    else
        note(u"%1 could not be kept as %2"_s.arg(path, kept));
}

ListFile::Contents ListFile::unreadable()
{
    m_unreadable = true;
    report(ReportLevel::Warning, "%s", m_texts.unableToRead);
    note(u"%1 could not be opened and will not be written in this run"_s.arg(m_name));
    return {Outcome::Unreadable, {}};
}
