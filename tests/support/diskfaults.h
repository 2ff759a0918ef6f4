#pragma once

#include <cerrno>
#include <csignal>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

/// What a test does to the program's writing: it is killed before a certain write or sync, or the disk is
/// full. For one source file of a test program: the system calls of the whole program go through here.
struct DiskFaults
{
    static inline long calls = 0;       ///< writes and syncs so far
    static inline long killBefore = -1; ///< the call of that number, from 1, is not reached; -1: never
    static inline bool isFull = false;

    /// True: the call fails.
    static bool strike()
    {
        if (++calls == killBefore)
            ::kill(::getpid(), SIGKILL);
        if (isFull)
            errno = ENOSPC;
        return isFull;
    }
};

extern "C" ssize_t pwrite(int file, const void *bytes, size_t length, off_t at)
{
    return DiskFaults::strike() ? -1 : ssize_t(::syscall(SYS_pwrite64, file, bytes, length, at));
}

extern "C" ssize_t pwritev(int file, const iovec *pieces, int count, off_t at)
{
    return DiskFaults::strike() ? -1 : ssize_t(::syscall(SYS_pwritev, file, pieces, count, at, 0));
}

extern "C" int fdatasync(int file)
{
    return DiskFaults::strike() ? -1 : int(::syscall(SYS_fdatasync, file));
}
