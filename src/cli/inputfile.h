#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// The bytes of the file at @p path, of standard input for "-". Nothing when it cannot be read, or does not
/// end within 1 GB: a device or a pipe may go on for ever.
std::optional<QByteArray> inputFile(const QString &path);
