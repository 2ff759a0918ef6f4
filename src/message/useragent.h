#pragma once

#include <QByteArray>

/// The version of the program as it shows itself: "2.29m".
QByteArray versionText();

/// The value of User-Agent: "Velmar/", the version, and the toolkit's and the system's in brackets.
QByteArray userAgent();
