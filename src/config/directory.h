#pragma once

#include <QString>

/// Where the program keeps its data, and the paths of its files in there.

/// How this process uses the configuration directory.
enum class StoreAccess {
    ReadWrite,
    ReadOnly, ///< beside another process that owns it: nothing is made, renamed, copied, repaired or written
};

/// Chooses the configuration directory ahead of everything else, as the option --config does; before the
/// first use of configDirectory(). An empty text takes the choice back and forgets what was found (tests).
void setConfigDirectory(const QString &path);

/// The same for the installation, as the option --install does.
void setInstallDirectory(const QString &path);

void setStoreAccess(StoreAccess access);
StoreAccess storeAccess();

/// The configuration directory, with "/" between its parts and none at the end. In this order: --config; the
/// variable VELMAR_CONFIG_DIR; a folder "Config" beside the program; "brackwater/velmar" in the XDG
/// configuration folder if it exists there; the same in the XDG data folder. Found once and kept. Empty,
/// after a warning, where the machine knows no such folder.
QString configDirectory();

/// Whether the configuration lies beside the program, as on a stick that is carried around.
bool configIsBesideProgram();

/// Turns @p name, relative to the configuration directory, into a full path in place and makes the directory
/// it needs: itself when @p isDirectory, else the one that holds it. Only their owner may read new
/// directories. False, after a warning, when one cannot be made. Makes nothing with read-only access.
bool configFile(QString &name, bool isDirectory);

/// The full path of @p name in the configuration directory; makes nothing.
QString configPathOf(const QString &name);

/// Makes the directories "Accounts" and "Groups".
bool createStoreDirectories();

/// The settings file's path; empty when its directory could not be made.
QString configPath();

/// The installation directory + @p name; the directory comes from --install or VELMAR_INSTALL_DIR. Empty
/// without either.
QString installFile(const QString &name);

/// `DefaultDirectory`, else the desktop's folder for documents, which is made when missing; empty, after a
/// warning, when there is none.
QString documentsDirectory();

/// A directory as someone typed it: a pair of enclosing double quotes taken off, backslashes turned into "/"
/// and one "/" at the end removed.
QString cleanedDirectory(const QString &text);
