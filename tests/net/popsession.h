#pragma once

#include "net/accountmanager.h"
#include "net/pop3/popfetcher.h"
#include "servers/scriptedserver.h"
#include "support/scratch.h"

#include <QEventLoop>
#include <QSignalSpy>
#include <QTest>

/// What a receiver for tests leaves behind: it outlives the sessions, as a store does.
struct FakeStore
{
    std::vector<ReceivedMessage> stored;                    ///< flushed
    std::vector<std::pair<int, ReceivedMessage>> completed; ///< article and text
    QList<QByteArray> arrived;                              ///< flushed and not remembered
    int batches = 0;
    int failsAt = -1;     ///< flush() fails at the batch with that number, from 0
    bool forgets = false; ///< the program dies between flush() and remembered()

    std::vector<QByteArray> texts() const
    {
        std::vector<QByteArray> texts;
        for (const ReceivedMessage &message : stored)
            texts.push_back(message.text);
        return texts;
    }
};

class FakeReceiver : public MailReceiver
{
public:
    explicit FakeReceiver(FakeStore &store)
        : m_store(store)
    {}

    std::optional<QList<QByteArray>> recover() override { return m_store.arrived; }
    bool store(const ReceivedMessage &message) override
    {
        m_batch.push_back(message);
        return true;
    }
    bool complete(const WaitingMessage &place, const ReceivedMessage &message) override
    {
        m_completions.emplace_back(int(place.article), message);
        return true;
    }
    bool flush() override
    {
        if (m_store.batches++ == m_store.failsAt)
            return false;
        for (const ReceivedMessage &message : m_batch)
            m_store.arrived.append(message.identifier);
        m_store.stored.insert(m_store.stored.end(), m_batch.begin(), m_batch.end());
        m_store.completed.insert(m_store.completed.end(), m_completions.begin(), m_completions.end());
        m_batch.clear();
        m_completions.clear();
        return !m_store.forgets;
    }
    void remembered() override { m_store.arrived.clear(); }

private:
    FakeStore &m_store;
    std::vector<ReceivedMessage> m_batch;
    std::vector<std::pair<int, ReceivedMessage>> m_completions;
};

/// How a session ended.
struct PopEnd
{
    AccountFetchReason reason = AccountFetchReason::None;
    QString detail;
    bool received = false;
    int times = 0;
};

/// An account with its files and its store, and a server that plays a script for each session.
class PopUserAtTest
{
public:
    explicit PopUserAtTest(quint32 flags = AccountLeaveOnServer)
    {
        data.name = QStringLiteral("Box");
        data.host = QStringLiteral("127.0.0.1");
        data.user = QStringLiteral("mrose");
        data.password = QStringLiteral("tanstaaf");
        data.kind = AccountKind::Pop3;
        data.number = 7;
        data.flags = flags;
        if (!createStoreDirectories())
            qFatal("the test has no directories");
    }

    ~PopUserAtTest() { delete m_fetcher; }

    /// Makes a client that is about to meet @p server.
    POPFetcher &meet(ScriptedServer &server, PopTask task = PopTask::Fetch)
    {
        return meet(server.port(), task);
    }
    POPFetcher &meet(int port, PopTask task = PopTask::Fetch)
    {
        data.port = port;
        delete m_fetcher;
        m_account = std::make_unique<Account>(m_manager, data);
        auto receiver = task == PopTask::LoginTest ? nullptr : std::make_unique<FakeReceiver>(store);
        m_fetcher = new POPFetcher(*m_account, task, std::move(receiver));
        end = {};
        QObject::connect(m_fetcher, &Fetcher::fetchComplete, m_account.get(),
                         [this](Fetcher *, bool received) {
                             end = {{}, {}, received, end.times + 1};
                         });
        QObject::connect(m_fetcher, &Fetcher::fetchError, m_account.get(),
                         [this](Fetcher *, AccountFetchReason reason, const QString &detail, bool received) {
                             end = {reason, detail, received, end.times + 1};
                         });
        QObject::connect(m_fetcher, &Fetcher::statusChanged, m_account.get(),
                         [this](const QString &text) { statuses.append(text); });
        return *m_fetcher;
    }

    POPFetcher &fetcher() { return *m_fetcher; }

    /// Without the pauses of QTest::qWaitFor(), which would make byte by byte last for ever.
    bool waitForEnd()
    {
        QEventLoop loop;
        QTimer::singleShot(20000, &loop, &QEventLoop::quit);
        if (end.times == 0) {
            QObject::connect(m_fetcher, &Fetcher::fetchComplete, &loop, &QEventLoop::quit);
            QObject::connect(m_fetcher, &Fetcher::fetchError, &loop, &QEventLoop::quit);
            loop.exec();
        }
        return end.times > 0;
    }

    /// Plays @p script with a client from the start to the end. False after a word about what went wrong.
    bool play(const QByteArray &script, PopTask task = PopTask::Fetch, int slice = 0)
    {
        ScriptedServer server(script);
        server.setSlice(slice);
        return play(server, task);
    }
    bool play(ScriptedServer &server, PopTask task = PopTask::Fetch)
    {
        POPFetcher &fetcher = meet(server, task);
        if (!fetcher.start() || !waitForEnd()) {
            qWarning("it did not %s: %s", end.times > 0 ? "start" : "end", server.problem());
            return false;
        }
        if (!server.finished()) {
            qWarning("%s", server.problem());
            return false;
        }
        return true;
    }

    QByteArray file(const QString &name) const
    {
        return Scratch::read(configPathOf(QStringLiteral("Accounts/7/") + name));
    }
    void writeFile(const QString &name, const QByteArray &bytes) const
    {
        QString path = QStringLiteral("Accounts/7/") + name;
        QFile file(path);
        if (!configFile(path, false))
            qFatal("the test has no directory");
        file.setFileName(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("the test cannot write %s", qPrintable(path));
    }

    Scratch scratch;
    AccountData data;
    FakeStore store;
    PopEnd end;
    QStringList statuses;

private:
    AccountManager m_manager;
    std::unique_ptr<Account> m_account;
    QPointer<POPFetcher> m_fetcher;
};

/// Lines of a script: a message with that subject and body, as RETR gives it, and its header, as TOP does.
inline QByteArray popText(const QByteArray &subject, const QByteArray &body = "text")
{
    return "S: +OK\nS: Subject: " + subject + "\nS:\nS: " + body + "\nS: .\n";
}
inline QByteArray popHeader(const QByteArray &subject)
{
    return "S: +OK\nS: Subject: " + subject + "\nS:\nS: .\n";
}
inline QByteArray storedText(const QByteArray &subject, const QByteArray &body = "text")
{
    return "Subject: " + subject + "\n\n" + body;
}

/// The dialogue over the listing; @p uidl and @p list are "1 a|2 b".
inline QByteArray popListing(const QByteArray &uidl, const QByteArray &list)
{
    const auto lines = [](const QByteArray &all) {
        QByteArray lines = "S: +OK\n";
        for (const QByteArray &line : all.split('|'))
            lines += "S: " + line + '\n';
        return lines + "S: .\n";
    };
    return "C: STAT\nS: +OK " + QByteArray::number(list.count('|') + 1) + " 1000\nC: UIDL\n" +
           (uidl == "-ERR" ? QByteArray("S: -ERR no\n") : lines(uidl)) + "C: LIST\n" + lines(list);
}

inline QByteArray popQuit()
{
    return "C: QUIT\nS: +OK\nX\n";
}

/// The dialogue up to the login, as it mostly goes.
inline QByteArray popLogin(const QByteArray &capabilities = {})
{
    return "S: +OK ready\nC: CAPA\nS: +OK\n" + capabilities +
           "S: .\nC: USER mrose\nS: +OK\nC: PASS tanstaaf\nS: +OK\n";
}

/// Flags of accounts, and what is said and heard about one message.
inline constexpr quint32 kLeave = AccountLeaveOnServer;
inline constexpr quint32 kDelete = 0;

inline QByteArray retr(int number, const QByteArray &subject)
{
    return "C: RETR " + QByteArray::number(number) + '\n' + popText(subject);
}

inline QByteArray top(int number, const QByteArray &subject)
{
    return "C: TOP " + QByteArray::number(number) + " 0\n" + popHeader(subject);
}

inline QByteArray dele(int number)
{
    return "C: DELE " + QByteArray::number(number) + "\nS: +OK\n";
}

/// The letters that the subjects of all stored messages begin with.
inline QByteArray subjects(const FakeStore &store)
{
    QByteArray subjects;
    for (const QByteArray &text : store.texts())
        subjects += text.mid(9, 1);
    return subjects;
}
