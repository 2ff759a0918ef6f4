// Sends what waits in an outbox, durable marks and sent copies included.
//
//   outbox PORT DIRECTORY FILE...    each file is a message ("\n" line ends) with its envelope in its
//   X-VELMAR
//                                    fields; DIRECTORY, which must not be there, is where all is kept
//
// The time begins when the messages wait and ends when each lies in the group for sent mail. That of handing
// them over, one by one and each safe before the next, is told besides.

#include "config/directory.h"
#include "config/settings.h"
#include "engine/engine.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTimer>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

int fail(const QString &text)
{
    std::fprintf(stderr, "%s\n", qPrintable(text));
    return 1;
}

double seconds(const QElapsedTimer &timer)
{
    return double(timer.nsecsElapsed()) / 1e9;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    setConfigDirectory(arguments.value(2));
    Engine engine;
    if (arguments.size() < 4 || QFile::exists(arguments[2]) || !engine.load())
        return fail(u"usage: outbox PORT DIRECTORY FILE..."_s);
    setBoolSetting(Setting::AutoSend, false);
    AccountData data;
    data.name = u"Out"_s;
    data.host = u"127.0.0.1"_s;
    data.port = arguments[1].toInt();
    data.kind = AccountKind::Smtp;
    engine.accounts().add(data);

    SendWish wish;
    wish.countsDown = false;
    QElapsedTimer timer;
    timer.start();
    for (const QString &path : arguments.mid(3)) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly) || engine.outbox().add(file.readAll(), 0, wish) == 0)
            return fail(path + u" cannot be handed over"_s);
    }
    const double adding = seconds(timer);

    int sent = 0;
    double sending = 0;
    QObject::connect(&engine.outbox(), &Outbox::sent, &application, [&](quint64, MessageRef copy) {
        sent += copy.isNull() ? 0 : 1;
        sending = seconds(timer);
    });
    QObject::connect(&engine.outbox(), &Outbox::failed, &application,
                     [](quint64, const QString &why) { QCoreApplication::exit(fail(why)); });
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &application, [&] {
        if (engine.accounts().isBusy())
            return;
        engine.outbox().finish();
        QCoreApplication::quit();
    });
    timer.start();
    engine.outbox().sendWaiting(true);
    look.start(20);
    const int status = QCoreApplication::exec();
    std::printf("sent %d\nseconds %.6f\nadding %.6f\n", sent, sending, adding);
    return engine.shutDown() && sent == arguments.size() - 3 ? status : 1;
}
