#include "net/accountfiles.h"

#include "config/directory.h"
#include "config/removedfolders.h"

using namespace Qt::StringLiterals;

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
    setFolderAside(u"Accounts"_s, QString::number(number));
}

void deleteOldAccountDirectories()
{
    deleteOldFolders(u"Accounts"_s);
}
