#pragma once

#include "net/accountmanager.h"
#include "net/smtp/smtpsender.h"
#include "servers/scriptedserver.h"
#include "support/scratch.h"

#include <QEventLoop>
#include <QTest>

#include <deque>

/// A queue that writes down what it was told, word by word: "sending 1 a@x b@x", "accepted 1 a@x",
/// "refused 1 550 a@x: no such user", "release 1", "back 2".
class FakeQueue : public OutgoingQueue
{
public:
    void add(const QByteArray &text, const QList<QByteArray> &remaining = {})
    {
        m_waiting.push_back({++m_last, text, remaining});
    }

    int waiting(int) const override
    {
        ++asked;
        return int(m_waiting.size());
    }

    bool hasRoom(quint64) override { return isRoomy; }

    std::optional<OutgoingMessage> next(int) override
    {
        if (m_waiting.empty())
            return {};
        const OutgoingMessage message = m_waiting.front();
        m_waiting.pop_front();
        return message;
    }

    bool sending(quint64 ticket, const QList<QByteArray> &recipients) override
    {
        note("sending", ticket, recipients);
        if (onSending)
            onSending();
        return canWrite;
    }

    void accepted(quint64 ticket, const QList<QByteArray> &recipients) override
    {
        note("accepted", ticket, recipients);
    }

    void refused(quint64 ticket, const QList<OutgoingRefusal> &refusals) override
    {
        QByteArray line = "refused " + QByteArray::number(ticket);
        for (const OutgoingRefusal &each : refusals)
            line += " | " + each.recipient + ' ' + QByteArray::number(each.code) + ' ' + each.text.toUtf8();
        calls.append(line);
    }

    void release(quint64 ticket, const QString &reason) override
    {
        calls.append("release " + QByteArray::number(ticket) + (reason.isEmpty() ? "" : " early"));
        reasons.append(reason);
    }

    void handBack(quint64 ticket) override { calls.append("back " + QByteArray::number(ticket)); }

    QList<QByteArray> calls;
    QStringList reasons;
    bool canWrite = true;
    bool isRoomy = true;
    mutable int asked = 0; ///< how often for the number of those that wait
    std::function<void()> onSending;

private:
    void note(const char *what, quint64 ticket, const QList<QByteArray> &recipients)
    {
        calls.append(QByteArray(what) + ' ' + QByteArray::number(ticket) + ' ' + recipients.join(' '));
    }

    std::deque<OutgoingMessage> m_waiting;
    quint64 m_last = 0;
};

/// How a session ended.
struct SmtpEnd
{
    AccountFetchReason reason = AccountFetchReason::None;
    QString detail;
    bool sent = false;
    int times = 0;
    bool loginRefused = false;
};

/// Somebody with an outgoing account and messages that wait.
class SmtpUserAtTest
{
public:
    explicit SmtpUserAtTest(quint32 flags = 0, const QString &password = QStringLiteral("tanstaaftanstaaf"))
    {
        data.name = QStringLiteral("Out");
        data.host = QStringLiteral("127.0.0.1");
        data.user = QStringLiteral("tim");
        data.password = password;
        data.kind = AccountKind::Smtp;
        data.number = 7;
        data.flags = flags;
    }

    ~SmtpUserAtTest() { delete m_sender; }

    SMTPSender &meet(ScriptedServer &server, SmtpTask task = SmtpTask::Send)
    {
        return meet(server.port(), task);
    }
    SMTPSender &meet(int port, SmtpTask task = SmtpTask::Send)
    {
        data.port = port;
        delete m_sender;
        m_account = std::make_unique<Account>(m_manager, data);
        if (!trusted.isEmpty()) {
            AccountOptions options;
            options.caFile = trusted;
            if (!m_account->setOptions(options))
                qFatal("the test cannot set options");
        }
        m_sender = new SMTPSender(*m_account, task, task == SmtpTask::Send ? &queue : nullptr);
        end = {};
        QObject::connect(m_sender, &SMTPSender::sendComplete, m_account.get(), [this](Fetcher *, bool sent) {
            end = {{}, {}, sent, end.times + 1};
        });
        QObject::connect(m_sender, &SMTPSender::sendError, m_account.get(),
                         [this](Fetcher *, AccountFetchReason reason, const QString &detail, bool sent) {
                             end = {reason, detail, sent, end.times + 1, m_sender->isLoginRefused()};
                         });
        QObject::connect(m_sender, &Fetcher::statusChanged, m_account.get(),
                         [this](const QString &text) { statuses.append(text); });
        return *m_sender;
    }

    SMTPSender &sender() { return *m_sender; }
    Account &account() { return *m_account; }

    bool waitForEnd()
    {
        return comesTrue([this] { return end.times > 0; }, 20000);
    }

    bool play(const QByteArray &script, SmtpTask task = SmtpTask::Send, int slice = 0)
    {
        ScriptedServer server(script);
        server.setSlice(slice);
        return play(server, task);
    }
    bool play(ScriptedServer &server, SmtpTask task = SmtpTask::Send)
    {
        SMTPSender &sender = meet(server, task);
        if (!sender.start() || !waitForEnd()) {
            qWarning("it did not %s: %s", end.times > 0 ? "start" : "end", server.problem());
            return false;
        }
        if (!server.finished()) {
            qWarning("%s", server.problem());
            return false;
        }
        return true;
    }

    Scratch scratch;
    AccountData data;
    QString trusted; ///< a file of certificates
    FakeQueue queue;
    SmtpEnd end;
    QStringList statuses;

private:
    AccountManager m_manager;
    std::unique_ptr<Account> m_account;
    QPointer<SMTPSender> m_sender;
};

/// The dialogue up to the first message of an account that does not log in; @p extensions are "A|B".
inline QByteArray smtpHello(const QByteArray &extensions = {})
{
    QByteArray script = "S: 220 mail.example ESMTP\nC~ EHLO .*\n";
    if (extensions.isEmpty())
        return script + "S: 250 mail.example\n";
    const QList<QByteArray> words = extensions.split('|');
    script += "S: 250-mail.example\n";
    for (const QByteArray &word : words.first(words.size() - 1))
        script += "S: 250-" + word + '\n';
    return script + "S: 250 " + words.last() + '\n';
}

inline QByteArray smtpQuit()
{
    return "C: QUIT\nS: 221 bye\nX\n";
}

/// A message as it waits: internal fields included.
inline QByteArray waitingMail(const QByteArray &recipients = "bob@example.org",
                              const QByteArray &body = "Hello.\n")
{
    return "From: Ada <ada@example.com>\nTo: " + recipients +
           "\nBcc: secret@example.org\nSubject: x\nX-VELMAR-RCPT-TO: " + recipients +
           "\nX-Velmar-Mail-From: ada@example.com\nX-VELMAR-SIGN: Yes\n\n" + body;
}

/// What of waitingMail() has to arrive, as lines of a script.
inline QByteArray arrivingMail(const QByteArray &recipients = "bob@example.org",
                               const QByteArray &body = "C: Hello.\n")
{
    return "C: From: Ada <ada@example.com>\nC: To: " + recipients + "\nC: Subject: x\nC:\n" + body + "C: .\n";
}

inline const QByteArray kMailFromAda = "C: MAIL FROM:<ada@example.com>\n";

/// A whole transaction, not pipelined.
inline QByteArray smtpDelivery(const QByteArray &recipient = "bob@example.org",
                               const QByteArray &parameters = {})
{
    return "C: MAIL FROM:<ada@example.com>" + parameters + "\nS: 250 ok\nC: RCPT TO:<" + recipient +
           ">\nS: 250 ok\nC: DATA\nS: 354 go\n" + arrivingMail(recipient) + "S: 250 queued\n";
}
