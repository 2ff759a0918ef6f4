#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

/// One message in a file of its own.

/// The message in the file: "\n" line ends, without a byte order mark, leading blank lines and a "From " or
/// ">From " line in front of the header. Nothing, with a note, when it cannot be read, is empty or is larger
/// than 2 GB.
std::optional<QByteArray> readMessageFile(const QString &path);

/// Whether a text that begins with @p head is a message: fields from its first line on, one of them a field
/// that every mail or article has some of.
bool looksLikeMessage(QByteArrayView head);

/// @p head without what tolerant readers pass over in front of a header: a byte order mark, blank lines, and
/// a "From " or ">From " line.
QByteArrayView withoutPreamble(QByteArrayView head);

/// The first bytes of a file, up to 64 KB; nothing when it cannot be read.
std::optional<QByteArray> headOfFile(const QString &path);

/// The paths of the message files in a folder, by name, those that begin with a
/// number first and by its value. Hidden files,
/// subfolders and files that are no message are left out.
QStringList messageFilesIn(const QString &folder);
