#include "app/weblinks.h"

#include "config/platform.h"
#include "config/settings.h"

#include <QProcess>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

QString schemeOf(const QString &url)
{
    return url.left(url.indexOf(u':')).toLower();
}

Setting settingFor(const QString &url)
{
    return schemeOf(url) == u"ftp" ? Setting::FTPLaunchApp : Setting::HTTPLaunchApp;
}

} // namespace

bool isWebLink(const QString &url)
{
    const QString scheme = schemeOf(url);
    return scheme == u"http" || scheme == u"https" || scheme == u"ftp";
}

bool openWebLink(const QString &url)
{
    // In ASCII and without blanks: what follows an address in a message must not become an argument.
    const QString safe = QString::fromLatin1(QUrl(url).toEncoded());
    if (!isWebLink(safe))
        return false;
    const QString command = stringSetting(settingFor(url));
    // The stored default names a browser that no desktop has any more.
    if (command.isEmpty() || command == defaultStringSetting(settingFor(url)))
        return openWithShell(safe);
    QStringList words = QProcess::splitCommand(command);
    const bool named = words.replaceInStrings(u"%s"_s, safe).contains(safe);
    if (!named)
        words += safe;
    const QString program = words.takeFirst();
    return QProcess::startDetached(program, words);
}
