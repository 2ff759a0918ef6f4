#include "config/removedfolders.h"

#include "config/clock.h"
#include "config/directory.h"
#include "config/reporter.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kSecondsKept = 30 * 24 * 3600LL;

QString removedFolderOf(const QString &room)
{
    return room + u"/Removed"_s;
}

} // namespace

void setFolderAside(const QString &room, const QString &name)
{
    const QString from = configPathOf(room + u'/' + name);
    QString removed = removedFolderOf(room);
    if (storeAccess() == StoreAccess::ReadOnly || !QDir(from).exists() || !configFile(removed, true))
        return;
    const QString to = u"%1/%2-%3"_s.arg(removed, name, QString::number(clockSeconds()));
    if (!QDir().rename(from, to))
        note(u"%1 could not be set aside"_s.arg(from));
}

void deleteOldFolders(const QString &room)
{
    if (storeAccess() == StoreAccess::ReadOnly)
        return;
    const qint64 now = clockSeconds();
    const QDir removed(configPathOf(removedFolderOf(room)));
    for (const QString &name : removed.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        bool isOurs = false;
        const qint64 since = name.section(u'-', -1).toLongLong(&isOurs);
        if (isOurs && now - since > kSecondsKept)
            QDir(removed.filePath(name)).removeRecursively();
    }
}
