#include "message/useragent.h"

#include <QOperatingSystemVersion>
#include <QtGlobal>

namespace {

/// The system as user agents of this program have always named it; later systems bear the last name.
QByteArray systemTag()
{
    const QOperatingSystemVersion system = QOperatingSystemVersion::current();
    if (system.type() == QOperatingSystemVersion::Windows)
        return system.majorVersion() >= 6 ? "Windows-Vista" : "Win32";
    return system.type() == QOperatingSystemVersion::MacOS ? "Mac-OS/10" : "Unknown-OS";
}

} // namespace

QByteArray versionText()
{
    return "2.29m";
}

QByteArray userAgent()
{
    return "Velmar/" + versionText() + " (Qt/" + qVersion() + ") (" + systemTag() + ')';
}
