#include "app/desktop/singleinstance.h"

#include "config/directory.h"
#include "config/terminationsignals.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QFile>
#include <QSocketNotifier>

#include <cstdio>
#include <unistd.h>

/// One start of the program for the tests: start_helper DIRECTORY MILLISECONDS [MESSAGE-FILE]. It says what
/// became of it; as the first instance it then names every message by its length and hash until its standard
/// input ends.

using namespace Qt::StringLiterals;

namespace {

void say(const QByteArray &line)
{
    std::printf("%s\n", line.constData());
    std::fflush(stdout);
}

QByteArray outcomeName(SingleInstance::Outcome outcome)
{
    constexpr std::array kNames = {"primary", "delivered", "not answering", "failed"};
    return kNames[std::size_t(outcome)];
}

void describe(const QString &message)
{
    const QByteArray bytes = message.toUtf8();
    say("message " + QByteArray::number(bytes.size()) + ' ' +
        QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex());
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    TerminationSignals termination;
    QObject::connect(&termination, &TerminationSignals::terminate, &application, &QCoreApplication::quit);
    const QStringList arguments = QCoreApplication::arguments();
    setConfigDirectory(arguments.value(1));
    QFile file(arguments.value(3));
    const QString message = file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();

    SingleInstance instance;
    const SingleInstance::Outcome outcome = instance.acquire(message, arguments.value(2).toInt());
    say(outcomeName(outcome));
    if (!instance.isPrimary())
        return int(outcome);
    QObject::connect(&instance, &SingleInstance::messageReceived, &application, &describe);
    instance.start();
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
    return QCoreApplication::exec();
}
