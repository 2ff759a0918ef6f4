#include "config/directory.h"

#include "config/reporter.h"
#include "config/settings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <cerrno>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

struct Directories
{
    QString chosenConfig;
    QString chosenInstall;
    std::optional<QString> config;
    bool besideProgram = false;
    StoreAccess access = StoreAccess::ReadWrite;
};

Directories &directories()
{
    static Directories s_directories;
    return s_directories;
}

const QString kOwnFolder = u"/brackwater/velmar"_s;

QString withoutQuotes(QString text)
{
    if (text.size() >= 2 && text.startsWith(u'"') && text.endsWith(u'"'))
        text = text.mid(1, text.size() - 2);
    return text.replace(u'\\', u'/');
}

QString findConfigDirectory()
{
    Directories &found = directories();
    QString chosen = found.chosenConfig;
    if (chosen.isEmpty())
        chosen = qEnvironmentVariable("VELMAR_CONFIG_DIR");
    if (!chosen.isEmpty())
        return QDir::cleanPath(QDir::current().absoluteFilePath(cleanedDirectory(chosen)));

    if (QCoreApplication::instance()) {
        const QString beside = QCoreApplication::applicationDirPath() + u"/Config"_s;
        if (QFileInfo(beside).isDir()) {
            found.besideProgram = true;
            return beside;
        }
    }
    const QString roaming = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    if (!roaming.isEmpty() && QFileInfo(roaming + kOwnFolder).isDir())
        return roaming + kOwnFolder;
    const QString local = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (!local.isEmpty())
        return local + kOwnFolder;
    report(ReportLevel::Warning, "Unable to determine configuration directory");
    return {};
}

bool makeDirectory(const QString &path)
{
    if (path.isEmpty())
        return false;
    if (QFileInfo(path).isDir())
        return true;
    const QString parent = path.left(path.lastIndexOf(u'/'));
    if (!parent.isEmpty() && parent != path && !makeDirectory(parent))
        return false;
    return ::mkdir(QFile::encodeName(path).constData(), 0700) == 0 ||
           (errno == EEXIST && QFileInfo(path).isDir()); // another process was faster
}

} // namespace

void setConfigDirectory(const QString &path)
{
    directories().chosenConfig = path;
    directories().config.reset();
    directories().besideProgram = false;
}

void setInstallDirectory(const QString &path)
{
    directories().chosenInstall = path;
}

void setStoreAccess(StoreAccess access)
{
    directories().access = access;
}

StoreAccess storeAccess()
{
    return directories().access;
}

QString configDirectory()
{
    std::optional<QString> &cached = directories().config;
    if (!cached)
        cached = findConfigDirectory();
    return *cached;
}

bool configIsBesideProgram()
{
    configDirectory();
    return directories().besideProgram;
}

bool configFile(QString &name, bool isDirectory)
{
    name = configPathOf(name);
    if (storeAccess() == StoreAccess::ReadOnly)
        return true;
    QString needed = name;
    if (!isDirectory)
        needed = name.count(u'/') >= 2 ? name.left(name.lastIndexOf(u'/')) : configDirectory();
    if (makeDirectory(needed))
        return true;
    report(ReportLevel::Warning, "Unable to create configuration directory - %s", qUtf8Printable(needed));
    return false;
}

QString configPathOf(const QString &name)
{
    return configDirectory() + u'/' + name;
}

bool createStoreDirectories()
{
    QString accounts = u"Accounts"_s;
    QString groups = u"Groups"_s;
    return configFile(accounts, true) && configFile(groups, true);
}

QString configPath()
{
    QString path = u"Config"_s;
    return configFile(path, false) ? path : QString();
}

QString installFile(const QString &name)
{
    QString directory = directories().chosenInstall;
    if (directory.isEmpty())
        directory = qEnvironmentVariable("VELMAR_INSTALL_DIR");
    if (directory.isEmpty())
        return {};
    directory = withoutQuotes(directory);
    if (!directory.endsWith(u'/'))
        directory += u'/';
    return directory + name;
}

QString documentsDirectory()
{
    const QString chosen = stringSetting(Setting::DefaultDirectory);
    if (!chosen.isEmpty())
        return chosen;
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    if (!documents.isEmpty() && QDir().mkpath(documents))
        return documents;
    report(ReportLevel::Warning, "Unable to locate My Documents");
    return {};
}

QString cleanedDirectory(const QString &text)
{
    QString path = withoutQuotes(text);
    if (path.size() > 1 && path.endsWith(u'/'))
        path.chop(1);
    return path;
}
