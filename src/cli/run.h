#pragma once

#include <QStringList>

/// Runs velmar-cli with the words behind the program's name and returns its exit status. Needs a
/// QCoreApplication.
int runCommandLine(const QStringList &words);
