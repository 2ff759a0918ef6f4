#include "message/mbox.h"

#include "config/clock.h"
#include "message/date.h"
#include "message/message.h"

#include <QFile>

#include <fcntl.h>

namespace {

constexpr int kRetryInterval = 1000; ///< milliseconds

/// The lock that mail programs share an mbox by. It belongs to the open file and goes when that is closed.
bool lockFile(QFile &file)
{
#ifdef F_OFD_SETLK
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    // A file system without locks refuses with another error; there is nobody to agree with then.
    return fcntl(file.handle(), F_OFD_SETLK, &lock) == 0 || (errno != EAGAIN && errno != EACCES);
#else
    Q_UNUSED(file)
    return true;
#endif
}

bool endsInsideLine(QFile &file)
{
    char last = '\n';
    return !file.isSequential() && file.size() > 0 && file.seek(file.size() - 1) && file.getChar(&last) &&
           last != '\n';
}

} // namespace

QByteArray mboxSeparator(const Message &message)
{
    QByteArray sender = message.mboxSender().toUtf8();
    for (char &c : sender)
        if (quint8(c) <= ' ')
            c = '_'; // readers find the date behind the first blank
    return "From " + sender + ' ' + mboxDate(clockNow());
}

QByteArray mboxEntry(const Message &message)
{
    QByteArray text = '\n' + message.text(); // the end of the separator line counts as a line end before it
    text.replace("\nFrom ", "\n>From ");
    return mboxSeparator(message) + text + (text.endsWith('\n') ? "\n" : "\n\n");
}

MboxAppender::MboxAppender(QObject *parent)
    : QObject(parent)
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(kRetryInterval);
    connect(&m_timer, &QTimer::timeout, this, &MboxAppender::attempt);
}

void MboxAppender::appendToMbox(const Message &message, const QString &path)
{
    if (m_running)
        return;
    m_running = true;
    m_path = path;
    m_entry = mboxEntry(message);
    m_retriesLeft = kMostRetries;
    attempt();
}

void MboxAppender::stop()
{
    if (m_running)
        end(false);
}

void MboxAppender::attempt()
{
    const Outcome outcome = tryOnce();
    if (outcome != Outcome::Busy || m_retriesLeft == 0)
        return end(outcome == Outcome::Appended);
    m_timer.start();
    emit waiting(m_retriesLeft--); // may stop or delete this: nothing may follow
}

MboxAppender::Outcome MboxAppender::tryOnce() const
{
    QFile file(m_path);
    const bool existed = file.exists();
    if (!file.open(QIODevice::ReadWrite | QIODevice::Append))
        return existed ? Outcome::Busy : Outcome::Failed;
    if (!lockFile(file))
        return Outcome::Busy;
    const qint64 size = file.size();
    const QByteArray entry = endsInsideLine(file) ? '\n' + m_entry : m_entry;
    if (file.write(entry) == entry.size() && file.flush())
        return Outcome::Appended;
    file.resize(size); // half a message would run into the next one
    return Outcome::Failed;
}

void MboxAppender::end(bool appended)
{
    m_timer.stop();
    m_running = false;
    m_entry.clear();
    emit finished(appended); // may delete this: nothing may follow
}
