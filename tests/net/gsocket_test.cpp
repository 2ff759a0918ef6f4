#include "net/socket/dialler.h"
#include "net/socket/gsocket.h"

#include "servers/recordingsocket.h"
#include "servers/scriptedserver.h"

#include <QElapsedTimer>
#include <QTest>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// A port of 127.0.0.1 that nobody listens on.
quint16 deadPort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

/// An address that answers nothing: its queue of connections is full.
class SilentServer
{
public:
    SilentServer(quint32 address, quint16 port)
        : m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in here = {};
        here.sin_family = AF_INET;
        here.sin_port = htons(port);
        here.sin_addr.s_addr = htonl(address);
        const auto *there = reinterpret_cast<const sockaddr *>(&here);
        isSilent = ::bind(m_listener, there, sizeof here) == 0 && ::listen(m_listener, 0) == 0;
        for (int &filler : m_fillers) {
            filler = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
            ::connect(filler, there, sizeof here);
        }
    }
    ~SilentServer()
    {
        ::close(m_listener);
        for (const int filler : m_fillers)
            ::close(filler);
    }

    bool isSilent = false;

private:
    int m_listener;
    int m_fillers[4];
};

} // namespace

class GSocketTest : public QObject
{
    Q_OBJECT

private slots:
    void lines_data();
    void lines();
    void linesAtOnce();
    void blocks();
    void deletedInSlot_data();
    void deletedInSlot();
    void eventLoopHasItsTurn();
    void serverWaits();
    void longLine();
    void longestLine();
    void ends_data();
    void ends();
    void endComesBehindTheLines();
    void noConnection_data();
    void noConnection();
    void silentAddress();
    void orderOfAddresses();
    void closing_data();
    void closing();
    void deletedAfterClose();
    void writtenBeforeConnected();
    void manyBytesOut();
    void registry();
    void errorCodes_data();
    void errorCodes();
};

void GSocketTest::lines_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QStringList>("lines");
    QTest::newRow("one") << QByteArray("S: +OK hello\nX") << QStringList{u"+OK hello\r\n"_s};
    QTest::newRow("several in one piece")
        << QByteArray("P: a\\r\\nb\\r\\nc\\r\\n\nX") << QStringList{u"a\r\n"_s, u"b\r\n"_s, u"c\r\n"_s};
    QTest::newRow("CR and LF apart") << QByteArray("P: a\\r\nP: \\n\nX") << QStringList{u"a\r\n"_s};
    QTest::newRow("empty ones") << QByteArray("P: \\n\\r\\n\\n\nX")
                                << QStringList{u"\n"_s, u"\r\n"_s, u"\n"_s};
    QTest::newRow("CR alone is no end") << QByteArray("P: a\\rb\\n\nX") << QStringList{u"a\rb\n"_s};
    QTest::newRow("NULs") << QByteArray("P: \\0a\\0\\0b\\0\\n\nX") << QStringList{u" a  b \n"_s};
    QTest::newRow("bytes above 127") << QByteArray("P: \\xE4\\xff\\n\nX") << QStringList{u"\u00e4\u00ff\n"_s};
    QTest::newRow("no end at the end") << QByteArray("S: a\nP: half\nX") << QStringList{u"a\r\n"_s};
    QTest::newRow("nothing") << QByteArray("X") << QStringList();
}

/// Once as it comes and once in pieces of every small size.
void GSocketTest::lines()
{
    QFETCH(QByteArray, script);
    QFETCH(QStringList, lines);
    QStringList awaited = {u"host"_s, u"connected"_s};
    for (const QString &line : lines)
        awaited += u'"' + line + u'"';
    awaited += u"closed"_s;
    for (int slice = 0; slice < 4; ++slice) {
        ScriptedServer server(script);
        server.setSlice(slice);
        RecordingSocket socket;
        socket.connectTo(server.port());
        QVERIFY(socket.ends());
        QCOMPARE(socket.events, awaited);
        QVERIFY2(server.finished(), server.problem());
    }
}

void GSocketTest::linesAtOnce()
{
    ScriptedServer server("G: 200000 0123456789abcdef\\r\\n\nX");
    RecordingSocket socket;
    socket.recordsLines = false;
    bool areRight = true;
    socket.onLine = [&](const QString &line) { areRight &= line == "0123456789abcdef\r\n"_L1; };
    socket.connectTo(server.port());
    QVERIFY(socket.ends(20000));
    QCOMPARE(socket.lines, 200000);
    QVERIFY(areRight);
}

void GSocketTest::blocks()
{
    for (int slice : {0, 1, 7}) {
        ScriptedServer server("P: +OK\\r\\nbody\\0 with\\nends\\0.\\r\\n-ERR\\r\\n\nX");
        server.setSlice(slice);
        RecordingSocket socket;
        socket.onLine = [&](const QString &line) { socket.socket->setBlockMode(line == "+OK\r\n"_L1); };
        socket.onBlock = [&](const QByteArray &) {
            const qsizetype end = socket.blocks.indexOf(".\r\n");
            if (end < 0)
                return;
            socket.socket->setBlockMode(false);
            socket.socket->putBack(socket.blocks.mid(end + 3));
            socket.blocks.truncate(end + 3);
        };
        socket.connectTo(server.port());
        QVERIFY(socket.ends());
        QCOMPARE(socket.blocks, QByteArray("body\0 with\nends\0.\r\n", 19));
        QCOMPARE(socket.events.mid(2), (QStringList{u"\"+OK\r\n\""_s, u"\"-ERR\r\n\""_s, u"closed"_s}));
    }
}

void GSocketTest::deletedInSlot_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<int>("deletesAt");
    QTest::newRow("in the first line of several") << QByteArray("P: 1\\n2\\n3\\n\nE") << 1;
    QTest::newRow("in a later one") << QByteArray("P: 1\\n2\\n3\\n4\\n\nE") << 3;
    QTest::newRow("when it is connected") << QByteArray("E") << 0;
}

/// With another socket in its place at once, most likely at the same address.
void GSocketTest::deletedInSlot()
{
    QFETCH(QByteArray, script);
    QFETCH(int, deletesAt);
    ScriptedServer server(script);
    RecordingSocket socket;
    const auto deletes = [&] {
        if (socket.lines == deletesAt)
            socket.socket = std::make_unique<GSocket>(false, TlsChoice());
    };
    socket.onConnected = deletes;
    socket.onLine = [&](const QString &) { deletes(); };
    socket.connectTo(server.port());
    QVERIFY2(server.finished(), server.problem());
    QCOMPARE(socket.lines, deletesAt);
    QVERIFY(!socket.isOver);
}

void GSocketTest::eventLoopHasItsTurn()
{
    ScriptedServer server("G: 300 line\\n\nX");
    RecordingSocket socket;
    QTimer turn;
    int linesInTurn = 0;
    int most = 0;
    connect(&turn, &QTimer::timeout, this, [&] { linesInTurn = 0; });
    turn.start(0);
    socket.onLine = [&](const QString &) {
        most = std::max(most, ++linesInTurn);
        QElapsedTimer work;
        work.start();
        while (work.nsecsElapsed() < 500'000) {
        }
    };
    socket.connectTo(server.port());
    QVERIFY(socket.ends());
    QCOMPARE(socket.lines, 300);
    QVERIFY2(most <= 18, qPrintable(QString::number(most))); // 8 ms of half a millisecond each, and a little
}

/// What lies in the kernel's buffers does not count: only that the server has to wait, and what is held here.
void GSocketTest::serverWaits()
{
    constexpr qint64 kAll = 60'000'000;
    ScriptedServer server("G: 6000000 012345678\\n\nX");
    RecordingSocket socket;
    socket.recordsLines = false;
    socket.onLine = [&](const QString &) { socket.socket->setPaused(true); };
    socket.connectTo(server.port());
    QTRY_COMPARE(socket.lines, 1);
    qint64 before = -1;
    QVERIFY(QTest::qWaitFor([&] { return std::exchange(before, server.dialogue().sent()) == before; }));
    QVERIFY(server.dialogue().sent() < kAll / 2);
    QVERIFY(socket.socket->bytesAvailable() <= 2 * 1024 * 1024);
    socket.onLine = {};
    socket.socket->setPaused(false);
    QVERIFY(socket.ends(20000));
    QCOMPARE(socket.lines, kAll / 10);
}

void GSocketTest::longLine()
{
    ScriptedServer server("G: 3000000 xy\nS: z\nX");
    RecordingSocket socket;
    socket.recordsLines = false;
    socket.onLine = [&](const QString &line) {
        QCOMPARE(line.size(), 6000003);
        QVERIFY(line.endsWith("xyz\r\n"_L1));
    };
    socket.connectTo(server.port());
    QVERIFY(socket.ends());
    QCOMPARE(socket.lines, 1);
}

void GSocketTest::longestLine()
{
    ScriptedServer server("S: ok\nG: 80000000 x\nS:\nE");
    RecordingSocket socket;
    socket.connectTo(server.port());
    QVERIFY(socket.ends(20000));
    QCOMPARE(socket.events.mid(2), (QStringList{u"\"ok\r\n\""_s, u"too long"_s}));
    QVERIFY(!socket.socket->isConnected());
}

void GSocketTest::ends_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::newRow("by the book") << QByteArray("S: bye\nX");
    QTest::newRow("by a reset") << QByteArray("S: bye\nC: go\nXR");
    QTest::newRow("in the middle of a line") << QByteArray("S: bye\nP: an\nX");
}

void GSocketTest::ends()
{
    QFETCH(QByteArray, script);
    ScriptedServer server(script);
    RecordingSocket socket;
    socket.onLine = [&](const QString &) { socket.write("go\r\n"); };
    socket.connectTo(server.port());
    QVERIFY(socket.ends());
    QCOMPARE(socket.events.mid(2), (QStringList{u"\"bye\r\n\""_s, u"closed"_s}));
    QVERIFY(!socket.socket->isConnected());
    QCOMPARE(socket.socket->writeBlock("x", 1), -1);
}

/// The server is long gone when the last of its lines is read.
void GSocketTest::endComesBehindTheLines()
{
    ScriptedServer server("G: 50 line\\n\nX");
    RecordingSocket socket;
    socket.onLine = [&](const QString &) { socket.socket->setPaused(true); };
    socket.connectTo(server.port());
    for (int i = 1; i <= 50; ++i) {
        QTRY_COMPARE(socket.lines, i);
        QVERIFY(!socket.isOver);
        socket.socket->setPaused(false);
    }
    QVERIFY(socket.ends());
    QCOMPARE(socket.events.last(), u"closed"_s);
}

void GSocketTest::noConnection_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<QStringList>("events");
    QTest::newRow("nobody listens") << u"127.0.0.1"_s << QStringList{u"host"_s, u"error 0"_s};
    QTest::newRow("nobody listens on either address")
        << u"localhost"_s << QStringList{u"host"_s, u"error 0"_s};
    QTest::newRow("no such name") << u"no..such..name"_s << QStringList{u"error 1"_s};
}

void GSocketTest::noConnection()
{
    QFETCH(QString, host);
    QFETCH(QStringList, events);
    for (const bool useTLS : {false, true}) {
        RecordingSocket socket(useTLS);
        socket.socket->connectToHost(host, deadPort());
        QVERIFY(socket.events.isEmpty());
        QVERIFY(socket.ends());
        QCOMPARE(socket.events, events);
        QCOMPARE(socket.socket->errorText(),
                 events.last() == u"error 0"_s ? u"Connection refused"_s : u"Host not found"_s);
    }
}

void GSocketTest::silentAddress()
{
    ScriptedServer server("S: here\nX");
    SilentServer silent(0x7F000002, server.port());
    QVERIFY(silent.isSilent);
    RecordingSocket socket;
    socket.socket->connectToHost(
        u"mail.test.example"_s, server.port(),
        {QHostAddress(u"127.0.0.2"_s), QHostAddress(u"::1"_s), QHostAddress(u"127.0.0.1"_s)});
    QElapsedTimer timer;
    timer.start();
    QVERIFY(socket.ends());
    QVERIFY(timer.elapsed() >= 200);
    QVERIFY(timer.elapsed() < 15'000); // no patience of a dead address
    QCOMPARE(socket.events, (QStringList{u"host"_s, u"connected"_s, u"\"here\r\n\""_s, u"closed"_s}));
    QCOMPARE(socket.socket->peerAddress(), u"127.0.0.1"_s);
    QCOMPARE(socket.socket->addresses().size(), 3);
}

void GSocketTest::orderOfAddresses()
{
    const auto list = [](const QString &text) {
        QList<QHostAddress> addresses;
        for (const QString &one : text.split(u' ', Qt::SkipEmptyParts))
            addresses += QHostAddress(one);
        return addresses;
    };
    QCOMPARE(Dialler::ordered(list(u"::1 ::2 ::3 10.0.0.1"_s)), list(u"::1 10.0.0.1 ::2 ::3"_s));
    QCOMPARE(Dialler::ordered(list(u"10.0.0.1 ::1 10.0.0.2 ::2"_s)), list(u"10.0.0.1 ::1 10.0.0.2 ::2"_s));
    QCOMPARE(Dialler::ordered(list(u"::1 ::1"_s)), list(u"::1"_s));
    QCOMPARE(Dialler::ordered({}).size(), 0);
    QCOMPARE(Dialler::ordered(list(u"::1 ::2 ::3 ::4 ::5 ::6 ::7 ::8 ::9 10.0.0.1"_s)).size(), 8);
}

void GSocketTest::closing_data()
{
    QTest::addColumn<QByteArray>("toSay");
    QTest::addColumn<QString>("end");
    QTest::newRow("nothing left to say") << QByteArray() << u"closed"_s;
    QTest::newRow("something to say") << QByteArray("QUIT\r\n") << u"delayed"_s;
}

/// What comes besides is not handed out any more.
void GSocketTest::closing()
{
    QFETCH(QByteArray, toSay);
    QFETCH(QString, end);
    ScriptedServer server("S: ok\nS: more\n"_ba + (toSay.isEmpty() ? "" : "C: QUIT\n") + "E");
    RecordingSocket socket;
    socket.onLine = [&](const QString &) {
        socket.write(toSay);
        socket.socket->close();
        socket.socket->close();
        QVERIFY(!socket.isOver);
    };
    socket.connectTo(server.port());
    QVERIFY(socket.ends());
    QCOMPARE(socket.events.mid(2), (QStringList{u"\"ok\r\n\""_s, end}));
    QVERIFY2(server.finished(), server.problem());
    QCOMPARE(socket.events.size(), 4);
}

void GSocketTest::deletedAfterClose()
{
    ScriptedServer server("S: ok\nC: QUIT\nE");
    RecordingSocket socket;
    socket.onLine = [&](const QString &) {
        socket.write("QUIT\r\n");
        socket.socket->close();
        socket.socket.reset();
    };
    socket.connectTo(server.port());
    QVERIFY2(server.finished(), server.problem());
}

void GSocketTest::writtenBeforeConnected()
{
    ScriptedServer server("Q\nE");
    RecordingSocket socket;
    QCOMPARE(socket.socket->writeBlock("a\r\n", 3), -1);
    socket.connectTo(server.port());
    QCOMPARE(socket.socket->writeBlock("a\r\n", 3), -1);
    socket.onConnected = [&] { socket.socket->close(); };
    QVERIFY(socket.ends());
    QVERIFY2(server.finished(), server.problem());
}

void GSocketTest::manyBytesOut()
{
    const QByteArray line(8 * 1000 * 1000, 'x');
    ScriptedServer server("C~ x+\nS: thanks\nX");
    RecordingSocket socket;
    qint64 written = 0;
    connect(socket.socket.get(), &GSocket::bytesWritten, this, [&](int bytes) { written += bytes; });
    socket.onConnected = [&] {
        socket.write(line + "\r\n");
        QVERIFY(socket.socket->bytesToWrite() > 0);
    };
    socket.connectTo(server.port());
    QVERIFY(socket.ends(20000));
    QVERIFY2(server.finished(), server.problem());
    QCOMPARE(written, line.size() + 2);
}

void GSocketTest::registry()
{
    auto socket = std::make_unique<GSocket>(false, TlsChoice());
    const GSocket *address = socket.get();
    QVERIFY(GSocket::isLive(address));
    socket.reset();
    QVERIFY(!GSocket::isLive(address));
}

void GSocketTest::errorCodes_data()
{
    QTest::addColumn<QAbstractSocket::SocketError>("error");
    QTest::addColumn<int>("connecting");
    QTest::addColumn<int>("connected");
    QTest::newRow("refused") << QAbstractSocket::ConnectionRefusedError << 0 << 2;
    QTest::newRow("closed") << QAbstractSocket::RemoteHostClosedError << -1 << -1;
    QTest::newRow("not found") << QAbstractSocket::HostNotFoundError << 1 << 2;
    QTest::newRow("no right") << QAbstractSocket::SocketAccessError << 7 << 7;
    QTest::newRow("no resources") << QAbstractSocket::SocketResourceError << 4 << 4;
    QTest::newRow("time-out") << QAbstractSocket::SocketTimeoutError << 5 << 2;
    QTest::newRow("network") << QAbstractSocket::NetworkError << 7 << 2;
    QTest::newRow("not supported") << QAbstractSocket::UnsupportedSocketOperationError << 10 << 10;
    QTest::newRow("not known") << QAbstractSocket::UnknownSocketError << -1 << -1;
}

void GSocketTest::errorCodes()
{
    QFETCH(QAbstractSocket::SocketError, error);
    QFETCH(int, connecting);
    QFETCH(int, connected);
    QCOMPARE(socketErrorCode(error, SocketPhase::Connecting).value_or(-1), connecting);
    QCOMPARE(socketErrorCode(error, SocketPhase::Connected).value_or(-1), connected);
    const bool isClose = error == QAbstractSocket::RemoteHostClosedError;
    QCOMPARE(socketErrorCode(error, SocketPhase::Connected).has_value(), !isClose);
}

QTEST_GUILESS_MAIN(GSocketTest)
#include "gsocket_test.moc"
