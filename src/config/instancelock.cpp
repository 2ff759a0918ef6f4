#include "config/instancelock.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

InstanceLock::~InstanceLock()
{
    unlock();
}

InstanceLock::Outcome InstanceLock::tryLock(const QString &directory)
{
    if (isHeld())
        return Outcome::Held;
    const QByteArray path = QFile::encodeName(directory + u"/Lock"_s);
    const int handle = ::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (handle < 0)
        return Outcome::Failed;
    if (::flock(handle, LOCK_EX | LOCK_NB) != 0) {
        const bool busy = errno == EWOULDBLOCK;
        ::close(handle);
        return busy ? Outcome::Busy : Outcome::Failed;
    }
    m_handle = handle;
    return Outcome::Held;
}

void InstanceLock::unlock()
{
    if (m_handle >= 0)
        ::close(m_handle);
    m_handle = -1;
}
