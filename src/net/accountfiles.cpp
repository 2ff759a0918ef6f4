#include "net/accountfiles.h"

#include "config/clock.h"
#include "config/directory.h"
#include "config/reporter.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kSecondsKept = 30 * 24 * 3600LL;

QString removedDirectory()
{
    return configPathOf(u"Accounts/Removed"_s);
}

} // namespace

QString accountFileName(int number, const QString &file)
{
    return u"Accounts/%1/%2"_s.arg(QString::number(number), file);
}

QString accountFilePath(int number, const QString &file)
{
    return configPathOf(accountFileName(number, file));
}

void setAccountDirectoryAside(int number)
{
    const QString from = configPathOf(u"Accounts/%1"_s.arg(number));
    QString removed = u"Accounts/Removed"_s;
    if (storeAccess() == StoreAccess::ReadOnly || !QDir(from).exists() || !configFile(removed, true))
        return;
    const QString to = u"%1/%2-%3"_s.arg(removed).arg(number).arg(clockSeconds());
    if (!QDir().rename(from, to))
        note(u"%1 could not be set aside"_s.arg(from));
}

void deleteOldAccountDirectories()
{
    if (storeAccess() == StoreAccess::ReadOnly)
        return;
    const qint64 now = clockSeconds();
    const QDir removed(removedDirectory());
    for (const QString &name : removed.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        bool isOurs = false;
        const qint64 since = name.section(u'-', 1).toLongLong(&isOurs);
        if (isOurs && now - since > kSecondsKept)
            QDir(removed.filePath(name)).removeRecursively();
    }
}
