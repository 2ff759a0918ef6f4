#pragma once

#include <memory>

class QTcpSocket;

/// Ends a connection without waiting for it, also from within a slot of its own. What was to be sent when it
/// was closed still goes out, for a few seconds.
struct TcpRelease
{
    void operator()(QTcpSocket *socket) const;
};

using TcpPointer = std::unique_ptr<QTcpSocket, TcpRelease>;
