#pragma once

#include "net/socket/gsocket.h"

#include "servers/patience.h"

#include <QPointer>
#include <QStringList>

#include <memory>

/// A line socket and the record of what it told: "host", "connected", "closed", "delayed", "error 3",
/// "too long", and each line in quotes as it came.
struct RecordingSocket
{
    explicit RecordingSocket(bool useTLS = false, const TlsChoice &tls = {})
        : socket(std::make_unique<GSocket>(useTLS, tls))
    {
        GSocket *it = socket.get();
        QObject::connect(it, &GSocket::hostFound, it, [this] { events += QStringLiteral("host"); });
        QObject::connect(it, &GSocket::connected, it, [this] {
            events += QStringLiteral("connected");
            if (onConnected)
                onConnected();
        });
        QObject::connect(it, &GSocket::lineAvailable, it, [this](const QString &line) {
            ++lines;
            if (recordsLines)
                events += u'"' + line + u'"';
            if (onLine)
                onLine(line);
        });
        QObject::connect(it, &GSocket::blockAvailable, it, [this](const QByteArray &block) {
            blocks += block;
            if (onBlock)
                onBlock(block);
        });
        QObject::connect(it, &GSocket::lineTooLong, it, [this] { last(QStringLiteral("too long")); });
        QObject::connect(it, &GSocket::error, it,
                         [this](int code) { last(QStringLiteral("error %1").arg(code)); });
        QObject::connect(it, &GSocket::connectionClosed, it, [this] { last(QStringLiteral("closed")); });
        QObject::connect(it, &GSocket::delayedCloseFinished, it, [this] { last(QStringLiteral("delayed")); });
    }

    void connectTo(quint16 port) { socket->connectToHost(QStringLiteral("127.0.0.1"), port); }
    void write(const QByteArray &bytes) { socket->writeBlock(bytes.constData(), bytes.size()); }
    bool ends(int milliseconds = 5000)
    {
        return comesTrue([this] { return isOver; }, milliseconds);
    }

    std::unique_ptr<GSocket> socket;
    QStringList events;
    QByteArray blocks;
    qint64 lines = 0;
    bool recordsLines = true;
    bool isOver = false; ///< its last signal came
    std::function<void()> onConnected;
    std::function<void(const QString &)> onLine; ///< may delete the socket
    std::function<void(const QByteArray &)> onBlock;

private:
    void last(const QString &event)
    {
        events += event;
        isOver = true;
    }
};
