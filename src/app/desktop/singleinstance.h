#pragma once

#include "app/desktop/handover.h"
#include "config/instancelock.h"

#include <QStringList>

/// One running program per configuration directory. The first start holds the lock on that directory and
/// listens; a later one hands its command line over and ends.
class SingleInstance : public QObject
{
    Q_OBJECT

public:
    explicit SingleInstance(QObject *parent = nullptr);

    enum class Outcome {
        Primary,      ///< this is the one that runs; it holds the lock until it ends
        Delivered,    ///< another one runs and has the message
        NotAnswering, ///< another process holds the lock and did not take the message in time; it must not be
                      ///< ignored, since two processes never write one store. May be tried again.
        Failed,       ///< the directory or its lock cannot be made; the user has been told
    };

    /// Makes the configuration directory and finds out which of these this start is; waits at most
    /// @p milliseconds, without an event loop. A first instance that nobody can reach is told of in the log.
    Outcome acquire(const QString &message, int milliseconds = 5000);

    bool isPrimary() const { return m_lock.isHeld(); }

    /// From here on messages are given out, those that arrived before first. To be called when there is a
    /// window to show them in.
    void start();

signals:
    /// A later start's command line; empty when it had none and only wants this one brought to the front.
    void messageReceived(const QString &message);

private:
    void take(const QString &message);
    void giveOut();

    InstanceLock m_lock; // let go after the server has closed
    HandOverServer m_server;
    QStringList m_waiting;
    bool m_started = false;
};
