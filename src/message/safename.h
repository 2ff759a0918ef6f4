#pragma once

#include <QString>

/// A name that came from a message, made fit to be a file's name in any directory: no path, no control or
/// direction characters, no leading dots, no name of a Windows device, at most @p mostBytes of UTF-8 (the
/// extension is kept). "Untitled" when nothing is left.
QString safeFileName(const QString &name, int mostBytes = 200);

/// Whether a file of this name may be opened without a warning: its extension, in any case, is one of
/// `SafeExtensions`.
bool isSafeToOpen(const QString &name);
