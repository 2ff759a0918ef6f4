#pragma once

#include <QFile>
#include <QRandomGenerator>
#include <QTcpServer>

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

// What the real servers of tests have in common: ports, and ends.

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

/// When process @p id began, in the system's own count; empty when there is none.
inline QByteArray startOfProcess(qint64 id)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(id));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray line = file.readAll();
    return line.sliced(line.lastIndexOf(')') + 2).split(' ').value(19); // proc(5): field 22
}

/// In the child, before it becomes the server: a group of its own, and an end with the test's process.
inline void leadOwnProcessGroup()
{
    setsid();
    prctl(PR_SET_PDEATHSIG, SIGTERM);
}
