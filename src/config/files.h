#pragma once

#include <QByteArrayView>
#include <QString>
#include <QStringList>

#include <functional>

class QFileDevice;
class QObject;

/// Small helpers over whole files. They return false without a word unless their line says that they warn.

/// Puts @p from in the place of @p to in one step, so that there is no moment without a file at @p to. The
/// directory is synced, so the step itself survives a power cut.
bool replaceFile(const QString &from, const QString &to);

/// Copies @p from over @p to. With @p move a rename is tried first; otherwise the source is deleted after a
/// good copy. A source that changes its size meanwhile is no good copy.
bool copyFile(const QString &from, const QString &to, bool move);

/// The text of a file in the named encoding, empty for a missing one; empty after the warning "Unable to read
/// file '%s'" when it cannot be read. An empty encoding means UTF-8, or windows-1252 where that does not fit.
QString readTextFile(const QString &path, QObject *parent = nullptr, const QByteArray &encoding = {});

/// Writes the whole text over the file. False after the warning "Unable to write file '%s'".
bool writeTextFile(const QString &path, const QString &text, QObject *parent = nullptr,
                   const QByteArray &encoding = {});

/// A text file's bytes as text: UTF-8 when they are, else windows-1252. A byte order mark is dropped.
QString decodeTextFile(const QByteArray &bytes);

/// The lines of a text, without their "\n" or "\r\n"; a last line without an end counts, an empty one does
/// not.
QStringList splitLines(const QString &text);

/// Forces what was written to @p file to the disk.
bool syncFile(QFileDevice &file);

/// Forces the names in the directory of @p path to the disk.
bool syncDirectoryOf(const QString &path);

/// Writes a file that is whole or not there: first to @p path + "~", synced, then put in place of @p path.
/// @p write fills the open file and returns false when it could not. On failure the old file is untouched.
bool writeReplacing(const QString &path, const std::function<bool(QFileDevice &)> &write);
bool writeReplacing(const QString &path, QByteArrayView contents);
