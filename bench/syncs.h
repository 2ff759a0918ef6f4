#pragma once

#include <cstdint>

/// What this process has waited for the disk so far. Linked into a program, or loaded ahead of the C library
/// into one of others (LD_PRELOAD), which then writes both numbers into the file that BENCH_SYNCS names when
/// it ends.
struct Syncs
{
    long count = 0;
    std::int64_t nanoseconds = 0;
};
Syncs syncsSoFar();
