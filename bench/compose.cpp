// Attaches a file to a mail, builds the message that is sent and writes it to TARGET.
//
//   compose FILE TARGET

#include "compose/messagebuilder.h"

#include <QElapsedTimer>
#include <QFile>

#include <cstdio>
#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace {

QByteArray messageWith(const QByteArray &bytes)
{
    Composition composition;
    composition.identity.name = u"Ada Lovelace"_s;
    composition.identity.address = u"ada@example.org"_s;
    composition.to = u"bob@example.net"_s;
    composition.subject = u"The film"_s;
    composition.text = u"Here it is.\n"_s;
    composition.attachments = {{u"film.mkv"_s, "video/x-matroska", bytes, {}}};
    return buildMessage(composition);
}

int failed(const QString &name)
{
    std::fprintf(stderr, "%s cannot be read or written\n", qUtf8Printable(name));
    return 1;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "compose FILE TARGET\n");
        return 2;
    }
    QFile file(QFile::decodeName(argv[1]));
    QFile target(QFile::decodeName(argv[2]));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return failed(file.fileName());
    const QByteArray bytes = file.readAll();
    QElapsedTimer timer;
    timer.start();
    const QByteArray message = messageWith(bytes);
    const double taken = double(timer.nsecsElapsed()) / 1e9;
    if (!target.open(QIODevice::WriteOnly | QIODevice::Unbuffered) || target.write(message) != message.size())
        return failed(target.fileName());
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("bytes %lld\nbuilding %.6f\npeak %ld\n", static_cast<long long>(message.size()), taken,
                usage.ru_maxrss * 1024);
}
