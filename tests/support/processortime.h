#pragma once

#include <QtGlobal>

#include <ctime>

/// Microseconds that this process has worked: what it waits for others does not count.
inline qint64 processorTime()
{
    timespec time = {};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return time.tv_sec * qint64(1'000'000) + time.tv_nsec / 1000;
}
