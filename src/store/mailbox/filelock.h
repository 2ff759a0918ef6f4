#pragma once

#include <QByteArray>
#include <QString>

/// The right to change a mailbox file that other programs deliver into, asked for in both ways that mail
/// programs know: a write lock on the file (fcntl), then the file NAME.lock beside it. Held until unlock()
/// or destruction.
///
/// NAME.lock holds "pid host". It is stale, and removed, when nobody touched it for five minutes, or when
/// its host is this one and no process has its number. Where the directory refuses the file, the lock on the
/// mailbox itself is all there is, and a note says so.
class MailboxLock
{
public:
    MailboxLock() = default;
    ~MailboxLock();
    MailboxLock(const MailboxLock &) = delete;
    MailboxLock &operator=(const MailboxLock &) = delete;

    enum class Outcome {
        Held,
        Busy,   ///< another program has it
        Failed, ///< the file is missing or cannot be opened for writing
    };

    enum class Ways {
        Both,
        FileOnly, ///< for a file that was moved: who waits for NAME.lock waits at the old name
    };

    /// Tries once, without waiting. A symbolic link is followed.
    Outcome tryLock(const QString &path, Ways ways = Ways::Both);

    /// Tries for @p milliseconds, blocking: not for a program with a window.
    Outcome lock(const QString &path, int milliseconds);

    void unlock();

    /// Keeps NAME.lock from going stale during long work.
    void touch();

    /// The open file, read and write, while the lock is held; else -1.
    int handle() const { return m_handle; }

private:
    Outcome lockFile(const QByteArray &path);
    Outcome makeDotLock();
    bool removeStale();
    int claimDotLock();
    int writeOwner(int handle);

    int m_handle = -1;
    QByteArray m_dotLock; ///< its path while it exists and is ours
    quint64 m_dotInode = 0;
};
