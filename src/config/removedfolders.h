#pragma once

#include <QString>

/// Folders of objects that the user removed: they are set aside for 30 days instead of being deleted, as
/// "<room>/Removed/<name>-<seconds>". @p room is relative to the configuration directory.

/// Sets "<room>/<name>" aside; without such a folder nothing happens.
void setFolderAside(const QString &room, const QString &name);

/// Deletes what was set aside in @p room 30 days ago.
void deleteOldFolders(const QString &room);
