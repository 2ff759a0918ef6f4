#include "config/platform.h"

#include <QDir>

namespace {
Platform *s_platform = nullptr;
}

void setPlatform(Platform *platform)
{
    s_platform = platform;
}

Platform *platform()
{
    return s_platform;
}

bool openWithShell(const QString &path)
{
    return s_platform && s_platform->openPath(QDir::toNativeSeparators(path));
}
