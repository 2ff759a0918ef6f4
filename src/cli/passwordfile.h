#pragma once

#include <QString>

class Output;

/// The password in @p path, "-" for standard input: its first line without the line end. False after a
/// complaint. That others may read the file is complained about, too.
bool readPasswordFile(Output &output, const QString &path, QString &password);
