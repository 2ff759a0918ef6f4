#pragma once

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

// What the real servers of tests have in common: a place, ports, a process and its end.

/// A port that is free on all addresses, below those that the system gives to outgoing connections.
inline int freeServerPort()
{
    constexpr int kFirstPort = 20000;
    constexpr int kLastPort = 32700;
    for (;;) {
        const int port = QRandomGenerator::global()->bounded(kFirstPort, kLastPort);
        QTcpServer server;
        if (server.listen(QHostAddress::AnyIPv4, quint16(port)))
            return port;
    }
}

/// The place for the files of @p server, by its name.
class ServerDirectory : public QTemporaryDir
{
public:
    explicit ServerDirectory(const QString &server)
        : QTemporaryDir((isShort(QDir::tempPath()) ? QDir::tempPath() : QStringLiteral("/tmp")) + u'/' +
                        server + QStringLiteral("-XXXXXX"))
    {
        if (!isValid()) // else its files would go into the root directory
            qFatal("no temporary directory: %s", qPrintable(errorString()));
        QFile::setPermissions(path(), QFile::Permissions::fromInt(0x7755)); // its users walk through
    }

private:
    /// The paths of its sockets end at 107.
    static bool isShort(const QString &path) { return path.size() <= 50; }
};

/// When process @p id began, in the system's own count; empty when there is none.
inline QByteArray startOfProcess(qint64 id)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(id));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray line = file.readAll();
    return line.sliced(line.lastIndexOf(')') + 2).split(' ').value(19); // proc(5): field 22
}

/// The process of a server: it ends with the test, and takes with it all that it started.
class ServerProcess
{
public:
    /// What it has to say goes into @p output.
    explicit ServerProcess(const QString &output)
    {
        m_process.setChildProcessModifier([] {
            setsid();
            prctl(PR_SET_PDEATHSIG, SIGTERM);
        });
        m_process.setStandardInputFile(QProcess::nullDevice());
        m_process.setStandardErrorFile(output);
        m_process.setStandardOutputFile(QProcess::nullDevice());
    }

    void setEnvironment(const QProcessEnvironment &environment)
    {
        m_process.setProcessEnvironment(environment);
    }

    /// Empty, or why it did not start.
    QString start(const QString &program, const QStringList &words)
    {
        m_process.start(program, words);
        if (!m_process.waitForStarted())
            return m_process.errorString();
        m_started = startOfProcess(m_process.processId());
        return {};
    }

    /// Until it greets at @p port. False: it has ended, or takes longer than @p milliseconds.
    bool awaitGreeting(const QString &host, int port, int milliseconds)
    {
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < milliseconds) {
            QTcpSocket socket;
            socket.connectToHost(host, quint16(port));
            if (socket.waitForConnected(1000) && socket.waitForReadyRead(milliseconds))
                return true;
            if (m_process.waitForFinished(5))
                return false;
        }
        return false;
    }

    void kill()
    {
        const qint64 id = m_process.processId();
        if (id == 0)
            return;
        if (startOfProcess(id) == m_started) // else the number is somebody else's by now
            ::kill(pid_t(-id), SIGKILL);
        m_process.waitForFinished();
    }

private:
    QProcess m_process;
    QByteArray m_started; ///< when it began, as the system writes it
};
