#include "app/desktop/singleinstance.h"

#include "support/scratch.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QLocalSocket>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

#include <csignal>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

/// One start of the program in a process of its own.
class Start
{
public:
    explicit Start(const QString &directory, const QString &messageFile = {}, int milliseconds = 20'000)
    {
        m_process.start(QStringLiteral(VELMAR_START_HELPER),
                        {directory, QString::number(milliseconds), messageFile});
    }
    ~Start()
    {
        send(SIGCONT);
        m_process.closeWriteChannel();
        m_process.waitForFinished(10'000);
    }

    /// The lines it has printed so far.
    QByteArrayList lines()
    {
        m_output += m_process.readAllStandardOutput();
        return m_output.split('\n').mid(0, m_output.count('\n'));
    }
    QByteArray outcome() { return lines().value(0); }
    void send(int signal)
    {
        if (m_process.processId() > 0) // 0 would be the test's own group
            ::kill(pid_t(m_process.processId()), signal);
    }
    QProcess &process() { return m_process; }

private:
    QProcess m_process;
    QByteArray m_output;
};

QByteArray described(const QByteArray &message)
{
    return "message " + QByteArray::number(message.size()) + ' ' +
           QCryptographicHash::hash(message, QCryptographicHash::Sha1).toHex();
}

} // namespace

class SingleInstanceTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { m_scratch = std::make_unique<Scratch>(); }
    void cleanup() { m_scratch.reset(); }

    void theDirectoryIsMadePrivate();
    void oneOfTwenty();
    void messages_data();
    void messages();
    void oneForEachDirectory();
    void aPrimaryThatWasKilled();
    void aPrimaryThatQuits();
    void aPrimaryThatDoesNotAnswer();
    void aHolderOfTheLockWithoutASocket();
    void messagesWaitForTheWindow();
    void rudeVisitors_data();
    void rudeVisitors();
    void aSlowVisitor();
    void placesThatOthersReachAreLeftOut();
    void noPlaceForASocket();
    void aDirectoryThatCannotBeMade();

private:
    QString socket() const
    {
        return handOverSockets(QFileInfo(configDirectory()).canonicalFilePath()).first();
    }

    QTemporaryDir m_runtime;
    std::unique_ptr<Scratch> m_scratch;
};

void SingleInstanceTest::initTestCase()
{
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime.path()));
}

void SingleInstanceTest::theDirectoryIsMadePrivate()
{
    SingleInstance instance;
    QCOMPARE(instance.acquire({}), SingleInstance::Outcome::Primary);
    for (const char *name : {"", "/Lock"}) {
        struct stat status = {};
        QCOMPARE(stat(QFile::encodeName(configDirectory() + QLatin1String(name)).constData(), &status), 0);
        QCOMPARE(status.st_mode & 077, mode_t(0));
    }
    QVERIFY(socket().startsWith(m_runtime.path()));
    struct stat status = {};
    QCOMPARE(stat(QFile::encodeName(socket()).constData(), &status), 0);
    QVERIFY(S_ISSOCK(status.st_mode));
    QCOMPARE(status.st_mode & 077, mode_t(0));
}

void SingleInstanceTest::oneOfTwenty()
{
    std::vector<std::unique_ptr<Start>> starts;
    QByteArrayList expected;
    for (int i = 0; i < 20; ++i) {
        const QByteArray message = "-url mailto:" + QByteArray::number(i);
        expected.append(described(message));
        starts.push_back(
            std::make_unique<Start>(configDirectory(), m_scratch->write(QString::number(i), message)));
    }
    const auto count = [&](const QByteArray &outcome) {
        return std::count_if(starts.begin(), starts.end(), [&](auto &s) { return s->outcome() == outcome; });
    };
    QTRY_COMPARE_WITH_TIMEOUT(count("delivered"), 19, 30'000);
    const auto primary =
        std::find_if(starts.begin(), starts.end(), [](auto &start) { return start->outcome() == "primary"; });
    QVERIFY(primary != starts.end());
    expected.removeAt(primary - starts.begin()); // its own command line it has already
    std::sort(expected.begin(), expected.end());
    QTRY_COMPARE((*primary)->lines().size(), 20);
    QByteArrayList received = (*primary)->lines().mid(1);
    std::sort(received.begin(), received.end());
    QCOMPARE(received, expected);
}

void SingleInstanceTest::messages_data()
{
    QTest::addColumn<QByteArray>("message");
    QTest::newRow("none: only to the front") << QByteArray();
    QTest::newRow("Unicode") << QByteArray("-url mailto:\xc3\xa4@b \xf0\x9f\x93\xa7 \xe2\x80\xa8");
    QTest::newRow("NULs and line ends") << QByteArray("a\0b\r\nc", 6);
    QTest::newRow("1 MB") << QByteArray(1'000'000, 'x') + "end";
}

void SingleInstanceTest::messages()
{
    QFETCH(QByteArray, message);
    Start first(configDirectory());
    QTRY_COMPARE(first.outcome(), QByteArray("primary"));
    Start second(configDirectory(), m_scratch->write(u"message"_s, message));
    QTRY_COMPARE(second.outcome(), QByteArray("delivered"));
    QTRY_COMPARE(first.lines().value(1), described(message));
}

void SingleInstanceTest::oneForEachDirectory()
{
    Start first(configDirectory());
    QTRY_COMPARE(first.outcome(), QByteArray("primary"));
    Start other(m_scratch->path(u"other"_s));
    QTRY_COMPARE(other.outcome(), QByteArray("primary"));
    QVERIFY(QFile::link(configDirectory(), m_scratch->path(u"link"_s)));
    Start sameByAnotherName(m_scratch->path(u"link/../link"_s));
    QTRY_COMPARE(sameByAnotherName.outcome(), QByteArray("delivered"));
}

void SingleInstanceTest::aPrimaryThatWasKilled()
{
    Start first(configDirectory());
    QTRY_COMPARE(first.outcome(), QByteArray("primary"));
    first.send(SIGKILL);
    QTRY_COMPARE(first.process().state(), QProcess::NotRunning);
    QVERIFY(QFile::exists(socket())); // it could not clean up
    Start second(configDirectory());
    QTRY_COMPARE(second.outcome(), QByteArray("primary"));
    Start third(configDirectory());
    QTRY_COMPARE(third.outcome(), QByteArray("delivered"));
}

void SingleInstanceTest::aPrimaryThatQuits()
{
    Start first(configDirectory());
    QTRY_COMPARE(first.outcome(), QByteArray("primary"));
    first.send(SIGTERM);
    QTRY_COMPARE(first.process().state(), QProcess::NotRunning);
    QCOMPARE(first.process().exitStatus(), QProcess::NormalExit);
    QCOMPARE(first.process().exitCode(), 0);
    QVERIFY(!QFile::exists(socket()));
}

void SingleInstanceTest::aPrimaryThatDoesNotAnswer()
{
    const QString message = m_scratch->write(u"message"_s, "late");
    Start first(configDirectory());
    QTRY_COMPARE(first.outcome(), QByteArray("primary"));
    first.send(SIGSTOP);
    Start second(configDirectory(), message, 300);
    QTRY_COMPARE(second.outcome(), QByteArray("not answering"));
    QTRY_COMPARE(second.process().state(), QProcess::NotRunning);
    Start third(configDirectory());
    first.send(SIGCONT);
    QTRY_COMPARE(third.outcome(), QByteArray("delivered"));
    QTRY_COMPARE(first.lines().value(1), described({}));
    QCOMPARE(first.lines().size(), 2); // what was given up does not come after all
}

void SingleInstanceTest::aHolderOfTheLockWithoutASocket()
{
    QVERIFY(createStoreDirectories());
    auto holder = std::make_unique<InstanceLock>();
    QCOMPARE(holder->tryLock(configDirectory()), InstanceLock::Outcome::Held);
    SingleInstance instance;
    QElapsedTimer timer;
    timer.start();
    const std::clock_t before = std::clock();
    QCOMPARE(instance.acquire({}, 500), SingleInstance::Outcome::NotAnswering);
    QVERIFY(timer.elapsed() >= 500);
    QVERIFY(std::clock() - before < CLOCKS_PER_SEC / 10); // it waits and does not spin
    holder.reset();
    QCOMPARE(instance.acquire({}), SingleInstance::Outcome::Primary);
}

void SingleInstanceTest::messagesWaitForTheWindow()
{
    SingleInstance instance;
    QSignalSpy received(&instance, &SingleInstance::messageReceived);
    QCOMPARE(instance.acquire({}), SingleInstance::Outcome::Primary);
    Start one(configDirectory(), m_scratch->write(u"one"_s, "one"));
    QTRY_COMPARE(one.outcome(), QByteArray("delivered"));
    Start two(configDirectory(), m_scratch->write(u"two"_s, "two"));
    QTRY_COMPARE(two.outcome(), QByteArray("delivered"));
    QCOMPARE(received.size(), 0);
    instance.start();
    QCOMPARE(received.size(), 2);
    QCOMPARE(received.at(0).at(0).toString(), u"one"_s);
    Start three(configDirectory(), m_scratch->write(u"three"_s, "three"));
    QTRY_COMPARE(received.size(), 3);
    QCOMPARE(received.at(2).at(0).toString(), u"three"_s);
}

void SingleInstanceTest::rudeVisitors_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("another protocol") << QByteArray("GET / HTTP/1.1\r\n\r\n");
    QTest::newRow("a length of 4 GB") << QByteArray("\xff\xff\xff\xff", 4);
    QTest::newRow("more than announced") << QByteArray("\0\0\0\1ab", 6);
    QTest::newRow("no UTF-8") << QByteArray("\0\0\0\2\xc3\x28", 6);
    QTest::newRow("half a character at the end") << QByteArray("\0\0\0\1\xc3", 5);
}

void SingleInstanceTest::rudeVisitors()
{
    QFETCH(QByteArray, bytes);
    SingleInstance instance;
    QSignalSpy received(&instance, &SingleInstance::messageReceived);
    QCOMPARE(instance.acquire({}), SingleInstance::Outcome::Primary);
    instance.start();
    QLocalSocket visitor;
    visitor.connectToServer(socket());
    QVERIFY(visitor.waitForConnected());
    QTRY_COMPARE(visitor.bytesAvailable(), 9);
    QCOMPARE(visitor.readAll(), QByteArray("velmar 1\n"));
    visitor.write(bytes);
    QTRY_COMPARE_WITH_TIMEOUT(visitor.state(), QLocalSocket::UnconnectedState,
                              2000); // at once, not when patience ends
    QCOMPARE(visitor.readAll(), QByteArray());
    QCOMPARE(m_scratch->notes.size(), 1);
    Start polite(configDirectory(), m_scratch->write(u"message"_s, "text"));
    QTRY_COMPARE(polite.outcome(), QByteArray("delivered"));
    QCOMPARE(received.size(), 1);
}

void SingleInstanceTest::aSlowVisitor()
{
    QVERIFY(createStoreDirectories());
    InstanceLock lock;
    QCOMPARE(lock.tryLock(configDirectory()), InstanceLock::Outcome::Held);
    HandOverServer server;
    server.setPatience(100);
    QVERIFY(server.listen({socket()}));
    QSignalSpy received(&server, &HandOverServer::messageReceived);
    std::vector<std::unique_ptr<QLocalSocket>> crowd;
    for (int i = 0; i < 100; ++i) {
        crowd.push_back(std::make_unique<QLocalSocket>());
        crowd.back()->connectToServer(socket());
        QVERIFY(crowd.back()->waitForConnected());
        crowd.back()->write("\0\0", 2);
        QCoreApplication::processEvents();
    }
    for (auto &visitor : crowd)
        QTRY_COMPARE(visitor->state(), QLocalSocket::UnconnectedState);
    QCOMPARE(received.size(), 0);
    server.setPatience(5000);
    Start polite(configDirectory(), m_scratch->write(u"message"_s, "text"));
    QTRY_COMPARE(polite.outcome(), QByteArray("delivered"));
    QCOMPARE(received.size(), 1);
}

void SingleInstanceTest::placesThatOthersReachAreLeftOut()
{
    const QString open = m_scratch->path(u"open"_s);
    QVERIFY(QDir().mkdir(open));
    ::chmod(QFile::encodeName(open).constData(), 0755);
    const QString link = m_scratch->path(u"link"_s);
    QVERIFY(QFile::link(m_runtime.path(), link));
    const QString deep = m_scratch->path(QString(100, u'd'));
    QCOMPARE(::mkdir(QFile::encodeName(deep).constData(), 0700), 0);
    for (const QString &place : {open, link, deep, m_scratch->path(u"missing"_s), u"relative"_s}) {
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(place));
        const QStringList sockets = handOverSockets(u"/config"_s);
        QVERIFY(!sockets.isEmpty()); // the directory of our own
        for (const QString &socket : sockets)
            QVERIFY2(!socket.startsWith(place), qPrintable(socket));
    }
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime.path()));
    QVERIFY(handOverSockets(u"/config"_s).first() != handOverSockets(u"/other"_s).first());
}

void SingleInstanceTest::noPlaceForASocket()
{
    HandOverServer server;
    QVERIFY(!server.listen({}));
    QVERIFY(!server.listen({m_scratch->path(u"missing/socket"_s)}));
    QVERIFY(!handOver(m_scratch->path(u"missing/socket"_s), u"text"_s, QDeadlineTimer(1000)));
}

void SingleInstanceTest::aDirectoryThatCannotBeMade()
{
    setConfigDirectory(m_scratch->write(u"file"_s, "") + u"/config"_s);
    SingleInstance instance;
    QCOMPARE(instance.acquire({}), SingleInstance::Outcome::Failed);
    QCOMPARE(m_scratch->reports.size(), 1);

    setConfigDirectory(m_scratch->path(u"other"_s));
    QVERIFY(QDir().mkpath(m_scratch->path(u"other/Lock"_s)));
    QCOMPARE(instance.acquire({}), SingleInstance::Outcome::Failed);
    QCOMPARE(m_scratch->reports.last(),
             u"Unable to lock configuration directory - %1"_s.arg(m_scratch->path(u"other"_s)));
}

QTEST_GUILESS_MAIN(SingleInstanceTest)
#include "singleinstance_test.moc"
