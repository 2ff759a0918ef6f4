#include "config/indexfile.h"

#include "config/directory.h"
#include "config/files.h"
#include "config/reporter.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace {

IndexFile::Outcome readWhole(const QString &path, const std::function<bool(const QByteArray &)> &reader)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return IndexFile::Outcome::Aborted;
    return reader(file.readAll()) ? IndexFile::Outcome::Loaded : IndexFile::Outcome::Refused;
}

} // namespace

IndexFile::IndexFile(QString name)
    : m_name(std::move(name))
{}

IndexFile::Outcome IndexFile::load(const std::function<bool(const QByteArray &)> &reader)
{
    const QString marker = path() + u".crash"_s;
    if (storeAccess() == StoreAccess::ReadOnly)
        return QFile::exists(path()) ? readWhole(path(), reader) : Outcome::Missing;
    if (QFile::exists(marker)) {
        note(u"%1 was being read when the program died: it is built anew"_s.arg(m_name));
        if (!QFile::remove(marker))
            return Outcome::Aborted;
        QFile::remove(path());
        return Outcome::Crashed;
    }
    if (!QFile::exists(path()))
        return Outcome::Missing;
    if (!replaceFile(path(), marker))
        return Outcome::Aborted;
    const Outcome outcome = readWhole(marker, reader);
    if (!replaceFile(marker, path()))
        return Outcome::Aborted;
    if (outcome == Outcome::Refused)
        note(u"%1 is damaged: it is built anew"_s.arg(m_name));
    return outcome;
}

bool IndexFile::save(const QByteArray &contents)
{
    if (storeAccess() == StoreAccess::ReadOnly)
        return true;
    QString path = m_name;
    return configFile(path, false) && writeReplacing(path, contents);
}

QString IndexFile::path() const
{
    return configPathOf(m_name);
}
