// A Dovecot with mail in it, for as long as standard input stays open. Tells its ports and where its
// authority's certificate lies, then follows orders, one a line, each answered by a line:
//
//   natural USER COUNT    puts the generated mail into the mailbox of USER
//   large USER BYTES      puts one message with an attachment into it
//   left USER             how many messages are in it

#include "mailmaker.h"
#include "servers/dovecot.h"

#include <QCoreApplication>
#include <QTextStream>

using namespace Qt::StringLiterals;

namespace {

std::vector<QByteArray> natural(int count)
{
    MailMaker maker(MailMaker::Kind::Natural, 20'190'101);
    std::vector<QByteArray> texts;
    texts.reserve(std::size_t(count));
    while (count-- > 0)
        texts.push_back(maker.next().text);
    return texts;
}

/// An attachment as mail carries it: lines of base64 that do not shrink much.
QByteArray large(qint64 bytes)
{
    constexpr int kLine = 76;
    QByteArray text = "From: ada@example.org\nTo: bob@example.org\nSubject: A film\n"
                      "Message-ID: <film@example.org>\nDate: Fri, 20 Nov 2026 10:00:00 +0000\n"
                      "MIME-Version: 1.0\nContent-Type: video/mp4; name=\"film.mp4\"\n"
                      "Content-Disposition: attachment\nContent-Transfer-Encoding: base64\n\n";
    text.reserve(bytes + kLine + 1);
    quint32 state = 1;
    while (text.size() < bytes) {
        for (int i = 0; i < kLine; ++i) {
            state = state * 1664525 + 1013904223;
            text += "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"[state >> 26];
        }
        text += '\n';
    }
    return text;
}

QString obey(Dovecot &server, const QStringList &words)
{
    const QString order = words.value(0);
    const QString user = words.value(1);
    const qint64 amount = words.value(2).toLongLong();
    if (order == "natural"_L1 && amount > 0)
        server.deliver(user, natural(int(amount)));
    else if (order == "large"_L1 && amount > 0)
        server.deliver(user, {large(amount)});
    else if (order != "left"_L1)
        return u"what?"_s;
    return QString::number(server.files(user).size());
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    Dovecot server;
    QTextStream out(stdout);
    if (!server.problem().isEmpty()) {
        QTextStream(stderr) << server.problem() << Qt::endl;
        return 1;
    }
    out << server.port() << ' ' << server.tlsPort() << ' ' << server.caFile() << Qt::endl;
    QTextStream in(stdin);
    for (QString line = in.readLine(); !line.isNull(); line = in.readLine())
        out << obey(server, line.split(u' ')) << Qt::endl;
    return 0;
}
