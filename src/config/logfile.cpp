#include "config/logfile.h"

#include "config/clock.h"
#include "config/directory.h"
#include "config/files.h"
#include "config/settings.h"

#include <cstdio>
#include <fcntl.h>

using namespace Qt::StringLiterals;

namespace {
constexpr qsizetype kLongestLine = 4096;
}

LogFile::LogFile(QString name, Setting bound, std::function<void()> tell)
    : m_name(std::move(name))
    , m_bound(bound)
    , m_tell(std::move(tell))
{}

LogFile::~LogFile()
{
    flush();
}

QString LogFile::path() const
{
    return configPathOf(m_name);
}

void LogFile::write(const QString &line)
{
    if (storeAccess() == StoreAccess::ReadOnly)
        return;
    const QString stamped =
        clockNow().toString(u"yyyy-MM-dd hh:mm:ss.zzz ") + line.left(kLongestLine) + u'\n';
    const QByteArray bytes = stamped.toUtf8();
    if (!isReady(bytes.size()) || m_file.write(bytes) != bytes.size())
        return giveUp();
    if (boolSetting(Setting::FlushLogs))
        flush();
}

void LogFile::flush()
{
    if (m_file.isOpen() && !m_file.flush())
        giveUp();
}

bool LogFile::isReady(qint64 coming)
{
    if (!m_file.isOpen() && !open())
        return false;
    const qint64 bound = qint64(intSetting(m_bound)) * 1024 / 2;
    // pos() counts what is still in memory, size() would not
    if (bound <= 0 || m_file.pos() == 0 || m_file.pos() + coming <= bound)
        return true;
    moveAside();
    return open();
}

bool LogFile::open()
{
    const QByteArray name = QFile::encodeName(path());
    const int handle = ::open(name.constData(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (handle < 0)
        return false;
    const QFile::OpenMode mode = QFile::ReadWrite | QFile::Append;
    if (!m_file.open(handle, mode, QFileDevice::AutoCloseHandle))
        return false;
    endLineThatWasCutOff();
    return true;
}

void LogFile::endLineThatWasCutOff()
{
    const qint64 size = m_file.size();
    char last = '\n';
    if (size > 0 && m_file.seek(size - 1))
        m_file.getChar(&last);
    m_file.seek(size);
    if (last != '\n')
        m_file.putChar('\n');
}

void LogFile::moveAside()
{
    flush();
    m_file.close();
    replaceFile(path(), path() + u".old"_s); // where that fails, the old lines stay and it is tried again
}

void LogFile::giveUp()
{
    m_file.close(); // the next line tries anew: a full disk may have been cleared
    if (std::exchange(m_toldOfFailure, true))
        return;
    if (m_tell)
        m_tell();
    else
        std::fprintf(stderr, "Unable to open log file\n");
}
