// Sends messages through one connection.
//
//   send PORT FILE...    each file is a message ("\n" line ends) with its envelope in its X-VELMAR fields;
//   all are
//                        read before the time begins

#include "net/account.h"
#include "net/accountmanager.h"
#include "net/smtp/smtpsender.h"

#include "config/directory.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

/// Gives out what it holds, and keeps no marks: the sender is measured alone.
class Messages : public OutgoingQueue
{
public:
    bool read(const QString &path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return false;
        m_texts.push_back(file.readAll());
        return true;
    }

    int waiting(int) const override { return int(m_texts.size() - m_next); }
    std::optional<OutgoingMessage> next(int) override
    {
        if (m_next == m_texts.size())
            return {};
        const QByteArray &text = m_texts[m_next];
        return OutgoingMessage{++m_next, text, {}};
    }
    bool sending(quint64, const QList<QByteArray> &) override { return true; }
    void accepted(quint64, const QList<QByteArray> &) override { ++sent; }
    void refused(quint64, const QList<OutgoingRefusal> &) override {}
    void release(quint64, const QString &) override {}

    int sent = 0;

private:
    std::vector<QByteArray> m_texts;
    std::size_t m_next = 0;
};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    Messages messages;
    for (const QString &path : arguments.mid(2)) {
        if (!messages.read(path)) {
            std::fprintf(stderr, "%s cannot be read\n", qPrintable(path));
            return 2;
        }
    }
    const QTemporaryDir directory;
    setConfigDirectory(directory.path());
    AccountData data;
    data.name = u"Out"_s;
    data.host = u"127.0.0.1"_s;
    data.port = arguments.value(1).toInt();
    data.kind = AccountKind::Smtp;
    AccountManager manager;
    Account account(manager, data);
    auto *sender = new SMTPSender(account, SmtpTask::Send, &messages);
    QElapsedTimer timer;
    QObject::connect(sender, &SMTPSender::sendComplete, &application, [&] {
        std::printf("sent %d\nseconds %.6f\n", messages.sent, double(timer.nsecsElapsed()) / 1e9);
        QCoreApplication::exit(0);
    });
    QObject::connect(sender, &SMTPSender::sendError, &application,
                     [](Fetcher *, AccountFetchReason, const QString &detail) {
                         std::fprintf(stderr, "%s\n", qPrintable(detail));
                         QCoreApplication::exit(1);
                     });
    timer.start();
    return sender->start() ? QCoreApplication::exec() : 1;
}
