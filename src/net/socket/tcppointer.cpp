#include "net/socket/tcppointer.h"

#include <QCoreApplication>
#include <QTcpSocket>
#include <QTimer>

#include <chrono>

using namespace std::chrono_literals;

namespace {

constexpr auto kLinger = 5s;

} // namespace

void TcpRelease::operator()(QTcpSocket *socket) const
{
    socket->disconnect();
    socket->setParent(QCoreApplication::instance()); // should the program end first
    if (socket->state() == QAbstractSocket::ClosingState && socket->bytesToWrite() > 0) {
        QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        QTimer::singleShot(kLinger, socket, &QObject::deleteLater);
        return;
    }
    socket->abort();
    socket->deleteLater();
}
