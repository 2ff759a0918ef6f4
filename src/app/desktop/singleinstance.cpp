#include "app/desktop/singleinstance.h"

#include "config/directory.h"
#include "config/reporter.h"

#include <QDeadlineTimer>
#include <QThread>

using namespace Qt::StringLiterals;

namespace {

/// Between two attempts: the first instance may hold the lock and not listen yet, or not any more.
constexpr unsigned long kNapMilliseconds = 20;

/// The configuration directory under its one true name, made if need be; empty, after a warning, if not.
QString madeDirectory()
{
    QString lock = u"Lock"_s;
    return configFile(lock, false) ? QFileInfo(configDirectory()).canonicalFilePath() : QString();
}

bool handOverToAny(const QStringList &sockets, const QString &message, const QDeadlineTimer &deadline)
{
    return std::any_of(sockets.begin(), sockets.end(),
                       [&](const QString &socket) { return handOver(socket, message, deadline); });
}

} // namespace

SingleInstance::SingleInstance(QObject *parent)
    : QObject(parent)
{
    connect(&m_server, &HandOverServer::messageReceived, this, &SingleInstance::take);
}

SingleInstance::Outcome SingleInstance::acquire(const QString &message, int milliseconds)
{
    if (isPrimary())
        return Outcome::Primary;
    const QString directory = madeDirectory();
    if (directory.isEmpty())
        return Outcome::Failed;
    const QStringList sockets = handOverSockets(directory);
    const QDeadlineTimer deadline(milliseconds);
    for (;;) {
        const InstanceLock::Outcome lock = m_lock.tryLock(directory);
        if (lock == InstanceLock::Outcome::Held) {
            if (!m_server.listen(sockets))
                note(u"There is no place for a socket: later starts cannot reach this one"_s);
            return Outcome::Primary;
        }
        if (lock == InstanceLock::Outcome::Failed) {
            report(ReportLevel::Warning, "Unable to lock configuration directory - %s",
                   qUtf8Printable(directory));
            return Outcome::Failed;
        }
        if (handOverToAny(sockets, message, deadline))
            return Outcome::Delivered;
        if (deadline.hasExpired())
            return Outcome::NotAnswering;
        QThread::msleep(kNapMilliseconds);
    }
}

void SingleInstance::start()
{
    m_started = true;
    giveOut();
}

void SingleInstance::take(const QString &message)
{
    m_waiting.append(message);
    giveOut();
}

void SingleInstance::giveOut()
{
    // whoever is called may come back here, or stay long in a message of its own: each is taken out first
    while (m_started && !m_waiting.isEmpty())
        emit messageReceived(m_waiting.takeFirst());
}
