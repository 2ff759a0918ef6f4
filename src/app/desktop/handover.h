#pragma once

#include <QLocalServer>
#include <QObject>
#include <QString>
#include <QStringList>

class QDeadlineTimer;

/// How a second start of the program gives its command line to the one that runs, over a local socket:
///
///     the first    "velmar 1\n"
///     the second   the length of the text (4 bytes, big-endian), the text in UTF-8
///     the first    "OK\n"
///
/// Nothing is sent before the greeting: a process that is stopped takes connections all the same, and a text
/// in its buffers would be acted on long after its sender gave up.

/// The longest text in bytes; far above what a command line can hold.
inline constexpr qint64 kLongestHandOver = 16 * 1024 * 1024;

/// Where the socket for the configuration directory @p canonicalDirectory may lie, best place first: the
/// desktop's directory for such things, then a directory of our own for temporary files, which is made. A
/// place that others than this user can reach or own is left out, and one whose path no socket can have.
QStringList handOverSockets(const QString &canonicalDirectory);

/// Gives @p text to the process that listens at @p socket, waiting until @p deadline without an event loop.
/// False: nobody there, or no "OK" came.
bool handOver(const QString &socket, const QString &text, const QDeadlineTimer &deadline);

/// The receiving end. A visitor that says nothing, too much or no UTF-8 is hung up on.
class HandOverServer : public QObject
{
    Q_OBJECT

public:
    explicit HandOverServer(QObject *parent = nullptr);

    /// Listens at the first of @p sockets that works. What a dead process left there is removed, so the
    /// caller must hold the lock (config/instancelock.h).
    bool listen(const QStringList &sockets);

    /// How long a visitor may take, in milliseconds.
    void setPatience(int milliseconds) { m_patience = milliseconds; }

signals:
    /// The sender has its "OK" already.
    void messageReceived(const QString &text);

private:
    void welcome();

    QLocalServer m_server;
    int m_patience = 5000;
    int m_visitors = 0;
};
