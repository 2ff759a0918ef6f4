#pragma once

#include "config/settingids.h"

#include <QRect>
#include <QString>

/// The settings table and its file "Config": one typed value per row of settingstable.h.
///
/// The file is written in place; what protects it is its last line "end" together with the copy
/// "Config.backup", which every good load refreshes.

QString stringSetting(Setting id);
int intSetting(Setting id);
bool boolSetting(Setting id);

/// The setters mark the table as changed; @p saveNow writes the file at once. A text is cut at its first line
/// end, which the file cannot hold.
void setStringSetting(Setting id, const QString &value, bool saveNow = false);
void setIntSetting(Setting id, int value, bool saveNow = false);
void setBoolSetting(Setting id, bool value, bool saveNow = false);

/// The value that the row has when nobody changed it.
QString defaultStringSetting(Setting id);
int defaultIntSetting(Setting id);
bool defaultBoolSetting(Setting id);

/// Reads the file; rows it does not name keep their defaults. A file that is missing or lacks its "end" line
/// is made up from the backup. False, after a warning, only when the file exists and cannot be opened.
bool loadConfig(bool fromBackup);

/// Writes the file when something changed; unless @p force, at most once in 5 seconds, what is left over
/// staying marked for a later call. False, after a warning, when it cannot be written: the changes stay
/// marked.
bool saveConfig(bool force);

/// Every row back at its default and nothing marked as changed, without a look at any file.
void resetSettings();

/// @name What is derived from several rows
/// @{

/// The font for the windows as Qt's description of a font; empty means the desktop's own.
QString applicationFontText();

/// The font to print with, as Qt's description of a font.
QString printerFontText();

enum class ToolBarWindow { Main, GroupList, GroupView, MessageView };
enum class ToolBarKind { Main, Group, Message };

/// The letters of a window's tool bar, one action each, a blank being a separator.
QString toolBarLayout(ToolBarWindow window, ToolBarKind bar);

/// A window's place from "left,top,width,height"; an invalid rectangle when the text is not four integers.
QRect windowGeometry(Setting id);
void setWindowGeometry(Setting id, const QRect &geometry);

/// Whether to use the network: what the desktop knows unless `IgnoreOnlineStatus`, else `Online`.
bool isOnline();

/// Remembers the user's wish in `Online` and tells the desktop.
void setOnline(bool online);
/// @}
