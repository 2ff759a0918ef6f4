#pragma once

#include <QString>

/// The small files of an account in its directory "Accounts/<number>".

/// The name relative to the configuration directory: "Accounts/7/Log".
QString accountFileName(int number, const QString &file);

/// The full path; makes nothing.
QString accountFilePath(int number, const QString &file);

/// Puts the directory of an account that is removed aside, as "Accounts/Removed/<number>-<seconds>".
void setAccountDirectoryAside(int number);

/// Deletes what was set aside 30 days ago.
void deleteOldAccountDirectories();
