#include "store/mailbox/takeaway.h"

#include "config/files.h"
#include "config/reporter.h"

#include <QElapsedTimer>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kSlice = 1 << 20;

QString copyName(const QString &target)
{
    return target + u".copy"_s;
}

QString halfName(const QString &target)
{
    return target + u'~';
}

} // namespace

MailboxMove::MailboxMove(const QString &source, const QString &target, Way way)
    : m_source(source)
    , m_target(target)
    , m_way(way)
{}

MailboxMove::~MailboxMove()
{
    if (m_copy.isOpen())
        m_copy.remove();
}

MailboxMove::Outcome MailboxMove::step()
{
    if (m_outcome != Outcome::Going)
        return m_outcome;
    return m_started ? copySome() : start();
}

MailboxMove::Outcome MailboxMove::start()
{
    m_started = true;
    const bool half = isHalfTaken(m_target);
    if (QFileInfo(m_source).size() == 0)
        return end(half ? finishEarlier() : Outcome::Nothing);
    switch (m_lock.tryLock(m_source)) {
    case MailboxLock::Outcome::Busy: return end(Outcome::Busy);
    case MailboxLock::Outcome::Failed: return fail(u"it cannot be locked"_s);
    case MailboxLock::Outcome::Held: break;
    }
    if (!m_from.open(m_lock.handle(), QIODevice::ReadWrite | QIODevice::Unbuffered))
        return fail(u"it cannot be read"_s);
    if (m_from.size() == 0 && !half)
        return end(Outcome::Nothing);
    if (half && !earlierIsInSource())
        return end(finishEarlier());
    QFile::remove(halfName(m_target));
    if (QFile::exists(m_target))
        return fail(u"the target is there already"_s);
    if (m_way == Way::RenameIfPossible) {
        if (replaceFile(QFileInfo(m_source).canonicalFilePath(), m_target)) {
            syncDirectoryOf(m_source);
            return end(Outcome::Taken);
        }
        if (errno != EXDEV)
            return fail(u"it cannot be renamed"_s);
    }
    m_copy.setFileName(copyName(m_target));
    if (!m_copy.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        !m_copy.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner))
        return fail(u"the copy cannot be made"_s);
    return Outcome::Going;
}

/// The source was cut already; only the last name is missing.
MailboxMove::Outcome MailboxMove::finishEarlier()
{
    if (QFile::exists(m_target))
        return fail(u"the target is there already"_s);
    note(u"Finished moving the mailbox '%1' away."_s.arg(m_source));
    return replaceFile(halfName(m_target), m_target) ? Outcome::Taken : fail(u"the copy cannot be renamed"_s);
}

bool MailboxMove::earlierIsInSource() const
{
    QFile earlier(halfName(m_target));
    QFile source(m_source);
    if (!earlier.open(QIODevice::ReadOnly) || !source.open(QIODevice::ReadOnly) ||
        earlier.size() > source.size())
        return false;
    while (!earlier.atEnd()) {
        const QByteArray bytes = earlier.read(kSlice);
        if (bytes.isEmpty() || source.read(bytes.size()) != bytes)
            return false;
    }
    return true;
}

MailboxMove::Outcome MailboxMove::copySome()
{
    m_lock.touch();
    const QByteArray bytes = m_from.read(kSlice);
    if (bytes.isEmpty())
        return m_from.error() == QFileDevice::NoError ? cutSource() : fail(u"it cannot be read"_s);
    if (m_copy.write(bytes) != bytes.size())
        return fail(u"the copy cannot be written"_s);
    return Outcome::Going;
}

MailboxMove::Outcome MailboxMove::cutSource()
{
    if (!syncFile(m_copy))
        return fail(u"the copy cannot be written"_s);
    if (m_from.size() != m_copy.size())
        return m_from.size() > m_copy.size() ? Outcome::Going : fail(u"it shrank"_s);
    if (!replaceFile(copyName(m_target), halfName(m_target)))
        return fail(u"the copy cannot be renamed"_s);
    m_copy.close();
    if (::ftruncate(m_lock.handle(), 0) != 0) {
        QFile::remove(halfName(m_target));
        return fail(u"it cannot be emptied"_s);
    }
    ::fsync(m_lock.handle()); // should that fail, the mail is safe in the copy all the same
    if (!replaceFile(halfName(m_target), m_target))
        return fail(u"the copy cannot be renamed"_s);
    return end(Outcome::Taken);
}

MailboxMove::Outcome MailboxMove::end(Outcome outcome)
{
    m_outcome = outcome;
    m_from.close();
    m_lock.unlock();
    return outcome;
}

MailboxMove::Outcome MailboxMove::fail(const QString &what)
{
    note(u"The mailbox '%1' was not moved away: %2."_s.arg(m_source, what));
    if (m_copy.isOpen())
        m_copy.remove();
    return end(Outcome::Failed);
}

MailboxMove::Outcome takeAway(const QString &source, const QString &target, int milliseconds,
                              MailboxMove::Way way)
{
    constexpr int kPause = 50;
    QElapsedTimer timer;
    timer.start();
    for (;;) {
        MailboxMove move(source, target, way);
        MailboxMove::Outcome outcome = move.step();
        while (outcome == MailboxMove::Outcome::Going)
            outcome = move.step();
        const qint64 left = milliseconds - timer.elapsed();
        if (outcome != MailboxMove::Outcome::Busy || left <= 0)
            return outcome;
        ::poll(nullptr, 0, int(qMin<qint64>(left, kPause)));
    }
}

bool isHalfTaken(const QString &target)
{
    return QFile::exists(halfName(target));
}

bool removeTaken(const QString &path, qint64 size)
{
    MailboxLock lock;
    return lock.tryLock(path, MailboxLock::Ways::FileOnly) == MailboxLock::Outcome::Held &&
           QFileInfo(path).size() == size && QFile::remove(path);
}
