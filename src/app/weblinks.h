#pragma once

#include <QString>

/// Whether @p url belongs to a web browser or the like: http, https or ftp.
bool isWebLink(const QString &url);

/// Opens it with the program that `HTTPLaunchApp` or `FTPLaunchApp` names ("%s" stands for the URL, no shell
/// reads it), or with the desktop's where nobody changed the setting. False: neither could be started.
bool openWebLink(const QString &url);
