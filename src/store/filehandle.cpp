#include "store/filehandle.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

int flagsOf(FileHandle::Mode mode)
{
    switch (mode) {
    case FileHandle::Mode::Read: return O_RDONLY | O_CLOEXEC;
    case FileHandle::Mode::ReadWrite: return O_RDWR | O_CREAT | O_CLOEXEC;
    case FileHandle::Mode::Truncate: return O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC;
    }
    return O_RDONLY;
}

} // namespace

FileHandle::FileHandle(const QString &path, Mode mode)
    : m_descriptor(::open(QFile::encodeName(path).constData(), flagsOf(mode), 0600))
{}

FileHandle::~FileHandle()
{
    close();
}

FileHandle::FileHandle(FileHandle &&other) noexcept
    : m_descriptor(std::exchange(other.m_descriptor, -1))
{}

FileHandle &FileHandle::operator=(FileHandle &&other) noexcept
{
    if (this != &other) {
        close();
        m_descriptor = std::exchange(other.m_descriptor, -1);
    }
    return *this;
}

void FileHandle::close()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_descriptor = -1;
}

qint64 FileHandle::size() const
{
    struct stat status = {};
    return ::fstat(m_descriptor, &status) == 0 ? qint64(status.st_size) : -1;
}

qint64 FileHandle::readAt(qint64 position, char *target, qint64 length) const
{
    qint64 done = 0;
    while (done < length) {
        const ssize_t got = ::pread(m_descriptor, target + done, std::size_t(length - done), position + done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return -1;
        if (got == 0)
            break;
        done += got;
    }
    return done;
}

bool FileHandle::writeAt(qint64 position, QByteArrayView bytes) const
{
    qint64 done = 0;
    while (done < bytes.size()) {
        const ssize_t put =
            ::pwrite(m_descriptor, bytes.data() + done, std::size_t(bytes.size() - done), position + done);
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            return false;
        done += put;
    }
    return true;
}

bool FileHandle::writeAt(qint64 position, QByteArrayView first, QByteArrayView second) const
{
    const iovec pieces[2] = {{const_cast<char *>(first.data()), std::size_t(first.size())},
                             {const_cast<char *>(second.data()), std::size_t(second.size())}};
    const ssize_t put = ::pwritev(m_descriptor, pieces, 2, position);
    if (put == first.size() + second.size())
        return true;
    const qsizetype done = put < 0 ? 0 : qsizetype(put);
    if (done < first.size())
        return writeAt(position + done, first.sliced(done)) && writeAt(position + first.size(), second);
    return writeAt(position + done, second.sliced(done - first.size()));
}

bool FileHandle::cut(qint64 size) const
{
    return ::ftruncate(m_descriptor, size) == 0;
}

void FileHandle::startWriting() const
{
#ifdef SYNC_FILE_RANGE_WRITE
    ::sync_file_range(m_descriptor, 0, 0, SYNC_FILE_RANGE_WRITE);
#endif
}

bool FileHandle::sync() const
{
    return ::fdatasync(m_descriptor) == 0;
}
