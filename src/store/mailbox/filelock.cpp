#include "store/mailbox/filelock.h"

#include "config/clock.h"
#include "config/reporter.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QList>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kStaleSeconds = 300;

QByteArray hostName()
{
    char name[256] = {};
    return ::gethostname(name, sizeof name - 1) == 0 ? QByteArray(name) : QByteArray();
}

QByteArray smallFile(const QByteArray &path)
{
    QFile file(QFile::decodeName(path));
    return file.open(QIODevice::ReadOnly) ? file.read(300) : QByteArray();
}

bool isSame(const struct stat &a, const struct stat &b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool isStale(const QByteArray &path, const struct stat &status)
{
    if (clockSeconds() - status.st_mtim.tv_sec > kStaleSeconds)
        return true;
    const QList<QByteArray> words = smallFile(path).simplified().split(' ');
    bool ok = false;
    const int process = words.first().toInt(&ok);
    return words.size() == 2 && ok && process > 0 && words.at(1) == hostName() && ::kill(process, 0) != 0 &&
           errno == ESRCH;
}

struct Descriptor
{
    int handle = -1;
    explicit Descriptor(int opened)
        : handle(opened)
    {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor()
    {
        if (handle >= 0)
            ::close(handle);
    }
};

/// A lock file that appears only when its owner stands in it: one killed before would leave an empty file,
/// which nobody could know to be stale for a while. Not every file system can do it; the handle is -1 then.
Descriptor namelessFileBeside(const QByteArray &path)
{
    const QByteArray directory = path.first(path.lastIndexOf('/') + 1);
    return Descriptor(::open(directory.constData(), O_WRONLY | O_TMPFILE | O_CLOEXEC, 0644));
}

/// 0, or the error number; EEXIST when the name is taken.
int giveName(int handle, const QByteArray &path)
{
    const QByteArray process = "/proc/self/fd/" + QByteArray::number(handle);
    return ::linkat(AT_FDCWD, process.constData(), AT_FDCWD, path.constData(), AT_SYMLINK_FOLLOW) == 0
               ? 0
               : errno;
}

} // namespace

MailboxLock::~MailboxLock()
{
    unlock();
}

MailboxLock::Outcome MailboxLock::tryLock(const QString &path, Ways ways)
{
    unlock();
    const QByteArray real = QFile::encodeName(QFileInfo(path).canonicalFilePath());
    Outcome outcome = lockFile(real);
    if (outcome != Outcome::Held || ways == Ways::FileOnly)
        return outcome;
    m_dotLock = real + ".lock";
    outcome = makeDotLock();
    if (outcome != Outcome::Held)
        unlock();
    return outcome;
}

MailboxLock::Outcome MailboxLock::lock(const QString &path, int milliseconds)
{
    constexpr int kPause = 50;
    QElapsedTimer timer;
    timer.start();
    for (;;) {
        const Outcome outcome = tryLock(path);
        const qint64 left = milliseconds - timer.elapsed();
        if (outcome != Outcome::Busy || left <= 0)
            return outcome;
        ::poll(nullptr, 0, int(qMin<qint64>(left, kPause)));
    }
}

void MailboxLock::unlock()
{
    struct stat lock = {};
    if (!m_dotLock.isEmpty() && ::lstat(m_dotLock.constData(), &lock) == 0 && lock.st_ino == m_dotInode)
        ::unlink(m_dotLock.constData()); // unless somebody found it stale and has his own there now
    m_dotLock.clear();
    if (m_handle >= 0)
        ::close(m_handle);
    m_handle = -1;
}

void MailboxLock::touch()
{
    if (!m_dotLock.isEmpty())
        ::utimensat(AT_FDCWD, m_dotLock.constData(), nullptr, 0);
}

/// A lock of the open file, not of the process (which would lose it when any part of the program closes the
/// same mailbox); the two kinds exclude each other.
MailboxLock::Outcome MailboxLock::lockFile(const QByteArray &path)
{
    m_handle = path.isEmpty() ? -1 : ::open(path.constData(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
    if (m_handle < 0)
        return Outcome::Failed;
    struct flock whole = {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    Outcome outcome = Outcome::Held;
    struct stat opened = {};
    struct stat named = {};
    if (::fcntl(m_handle, F_OFD_SETLK, &whole) != 0)
        outcome = errno == EAGAIN || errno == EACCES ? Outcome::Busy : Outcome::Failed;
    else if (::fstat(m_handle, &opened) != 0 || ::stat(path.constData(), &named) != 0 ||
             !isSame(opened, named))
        outcome = Outcome::Busy; // another program put a new file there meanwhile
    if (outcome != Outcome::Held)
        unlock();
    return outcome;
}

MailboxLock::Outcome MailboxLock::makeDotLock()
{
    int error = claimDotLock();
    if (error == EEXIST && removeStale())
        error = claimDotLock();
    if (error == 0)
        return Outcome::Held;
    const QByteArray path = std::exchange(m_dotLock, {}); // it is not ours to remove
    if (error == EEXIST)
        return Outcome::Busy;
    if (error != EACCES && error != EPERM && error != EROFS && error != ENAMETOOLONG)
        return Outcome::Failed;
    note(u"No lock file can be made at '%1': the lock on the mailbox itself must do."_s.arg(
        QFile::decodeName(path)));
    return Outcome::Held;
}

/// 0, or the error number. Where no file can be made without a name, or given one later, it has its name from
/// the start.
int MailboxLock::claimDotLock()
{
    const Descriptor nameless = namelessFileBeside(m_dotLock);
    if (nameless.handle >= 0 && writeOwner(nameless.handle) == 0) {
        const int error = giveName(nameless.handle, m_dotLock);
        if (error == 0 || error == EEXIST)
            return error;
    }
    const Descriptor named(::open(m_dotLock.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    if (named.handle < 0)
        return errno;
    const int error = writeOwner(named.handle);
    if (error != 0)
        ::unlink(m_dotLock.constData());
    return error;
}

/// The same, and notes which file it is.
int MailboxLock::writeOwner(int handle)
{
    const QByteArray owner = QByteArray::number(::getpid()) + ' ' + hostName() + '\n';
    struct stat status = {};
    const ssize_t written = ::write(handle, owner.constData(), std::size_t(owner.size()));
    if (written < 0 || ::fstat(handle, &status) != 0)
        return errno;
    m_dotInode = status.st_ino;
    return written == owner.size() ? 0 : ENOSPC;
}

/// Moves a stale lock file aside first, so that of two programs which both found it stale the second does not
/// remove the fresh one of the first.
bool MailboxLock::removeStale()
{
    struct stat judged = {};
    struct stat moved = {};
    if (::lstat(m_dotLock.constData(), &judged) != 0)
        return errno == ENOENT;
    if (!isStale(m_dotLock, judged))
        return false;
    const QByteArray aside = m_dotLock + '.' + QByteArray::number(::getpid());
    if (::rename(m_dotLock.constData(), aside.constData()) != 0)
        return errno == ENOENT;
    const bool same = ::lstat(aside.constData(), &moved) == 0 && isSame(judged, moved);
    if (!same && ::link(aside.constData(), m_dotLock.constData()) != 0)
        note(u"A lock file of another program was lost: '%1'."_s.arg(QFile::decodeName(m_dotLock)));
    ::unlink(aside.constData());
    if (same)
        note(u"Removed the stale lock file '%1'."_s.arg(QFile::decodeName(m_dotLock)));
    return same;
}
