// Downloads one large text over TLS through the line socket, read in blocks, as bodies of messages are.
//
//   download PORT CAFILE TARGET    asks 127.0.0.1 for TARGET as a web server is asked

#include "net/socket/gsocket.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>

using namespace Qt::StringLiterals;

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 4) {
        std::fprintf(stderr, "download PORT CAFILE TARGET\n");
        return 2;
    }
    GSocket socket(true, {u"127.0.0.1"_s, arguments[2], {}});
    QElapsedTimer timer;
    qint64 bytes = 0;
    QObject::connect(&socket, &GSocket::connected, &socket, [&] {
        const QByteArray request = "GET " + arguments[3].toUtf8() + " HTTP/1.0\r\n\r\n";
        socket.setBlockMode(true);
        socket.writeBlock(request.constData(), request.size());
    });
    QObject::connect(&socket, &GSocket::blockAvailable, &socket,
                     [&](const QByteArray &block) { bytes += block.size(); });
    QObject::connect(&socket, &GSocket::connectionClosed, &application, [&] {
        std::printf("bytes %lld\nseconds %.6f\n", static_cast<long long>(bytes),
                    double(timer.nsecsElapsed()) / 1e9);
        QCoreApplication::exit(0);
    });
    QObject::connect(&socket, &GSocket::error, &application, [&](int code) {
        std::fprintf(stderr, "%d: %s\n", code, qUtf8Printable(socket.errorText()));
        QCoreApplication::exit(1);
    });
    timer.start();
    socket.connectToHost(u"127.0.0.1"_s, arguments[1].toUShort());
    return QCoreApplication::exec();
}
