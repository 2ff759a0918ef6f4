#pragma once

#include <QFileInfo>
#include <QString>

/// Puts the temporary directories of a test into memory, where the system has a place for that: tests that
/// sync thousands of times would measure the disk.
inline void useMemoryForFiles()
{
    if (QFileInfo(QStringLiteral("/dev/shm")).isWritable())
        qputenv("TMPDIR", "/dev/shm");
}
