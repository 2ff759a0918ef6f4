#include "net/socket/qtsslsocket.h"

#include "servers/recordingsocket.h"
#include "servers/scriptedserver.h"
#include "servers/tlspeer.h"

#include <QSignalSpy>
#include <QTest>

#include <ctime>

using namespace Qt::StringLiterals;

namespace {

using Answer = std::function<void(bool)>;

const QString kWrongName =
    u"The host name \"localhost\" doesn't match the certificate name \"elsewhere.example\""_s;
const QString kExpired = u"The certificate has expired"_s;

} // namespace

class TlsTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void answers_data();
    void answers();
    void answersTooLate();
    void promotion_data();
    void promotion();
    void promotionWithGarbage();
    void promotionWithoutServer();
    void promotionTwice();
    void serverName_data();
    void serverName();
    void ends_data();
    void ends();
    void brokenHandshake();
    void garbage_data();
    void garbage();
    void oldVersion();
    void strangeRecords();
    void newKeys();
    void renegotiation();
    void silentHandshake();
    void download_data();
    void download();
    void upload();
    void serverWaits();
    void closing();
    void deletedInSlot();
    void useOfDevice();

private:
    TlsChoice trusting(const CertificateJudge &judge = {}) const
    {
        return {u"localhost"_s, m_certificates.ca, judge};
    }

    Certificates m_certificates;
};

/// What this machine trusts is no matter here.
void TlsTest::init()
{
    qputenv("SSL_CERT_DIR", m_certificates.path().toUtf8() + "/none");
    qunsetenv("SSL_CERT_FILE");
}

void TlsTest::answers_data()
{
    QTest::addColumn<bool>("isAsked");
    QTest::addColumn<bool>("atOnce");
    QTest::addColumn<bool>("accepts");
    QTest::newRow("nobody to ask") << false << true << false;
    QTest::newRow("refused") << true << true << false;
    QTest::newRow("refused later") << true << false << false;
    QTest::newRow("accepted") << true << true << true;
    QTest::newRow("accepted later") << true << false << true;
}

/// Not a byte goes to the server before the answer, nor comes from it.
void TlsTest::answers()
{
    QFETCH(bool, isAsked);
    QFETCH(bool, atOnce);
    QFETCH(bool, accepts);
    TlsPeer peer(m_certificates.expiredWrongHost);
    Answer later;
    const CertificateJudge judge = [&](const CertificateReport &, const Answer &answer) {
        later = answer;
        if (atOnce)
            answer(accepts);
    };
    RecordingSocket socket(true, trusting(isAsked ? judge : CertificateJudge()));
    socket.onConnected = [&] { socket.write("USER me\r\n"); };
    socket.connectTo(peer.port());
    if (!atOnce) {
        QVERIFY(comesTrue([&] { return later && peer.isUp(); }));
        peer.say("+OK\r\n");
        QCOMPARE(socket.socket->writeBlock("x", 1), -1);
        QVERIFY(!socket.socket->isEncrypted());
        QVERIFY(!comesTrue([&] { return socket.events.size() > 1; }, 20));
        QVERIFY(peer.heard.isEmpty());
        later(accepts);
        QCOMPARE(socket.events, QStringList{u"host"_s});
    }
    if (accepts) {
        QVERIFY(comesTrue([&] { return peer.heard == "USER me\r\n"; }));
        QVERIFY(socket.socket->isEncrypted());
        return;
    }
    QVERIFY(socket.ends());
    QVERIFY(comesTrue([&] { return peer.hasLeft; }));
    QVERIFY(peer.heard.isEmpty());
    QCOMPARE(socket.events, (QStringList{u"host"_s, u"error 3"_s}));
    QCOMPARE(socket.socket->errorText(), u"SSL error: "_s + kExpired + u", "_s + kWrongName);
}

void TlsTest::answersTooLate()
{
    TlsPeer peer(m_certificates.expired);
    Answer later;
    RecordingSocket socket(
        true, trusting([&](const CertificateReport &, const Answer &answer) { later = answer; }));
    socket.connectTo(peer.port());
    QVERIFY(comesTrue([&] { return bool(later); }));
    peer.socket()->abort();
    QVERIFY(socket.ends());
    later(true);
    socket.socket.reset();
    later(true);
    QVERIFY(!comesTrue([&] { return socket.events.size() > 2; }, 1));
    QCOMPARE(socket.events, (QStringList{u"host"_s, u"closed"_s}));
}

void TlsTest::promotion_data()
{
    QTest::addColumn<QByteArray>("behindTheGoAhead");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("a line") << QByteArray("P: +OK injected\\r\\n\n");
    QTest::newRow("several lines and a half") << QByteArray("P: +OK 1\\r\\n+OK 2\\r\\n+OK\n");
    QTest::newRow("very much") << QByteArray("G: 2000 +OK injected\\r\\n\n");
}

/// What was said in plain behind the go-ahead is never heard (RFC 2595).
void TlsTest::promotion()
{
    QFETCH(QByteArray, behindTheGoAhead);
    ScriptedServer server("S: +OK hello\nC: STLS\nP: +OK go\\r\\n\n" + behindTheGoAhead +
                              "T\nC: CAPA\nS: +OK encrypted\nX",
                          m_certificates.good);
    RecordingSocket socket(false, trusting());
    socket.onConnected = [&] {
        if (socket.socket->isEncrypted())
            socket.write("CAPA\r\n");
    };
    socket.onLine = [&](const QString &line) {
        if (line == "+OK hello\r\n"_L1)
            socket.write("STLS\r\n");
        if (line != "+OK go\r\n"_L1)
            return;
        socket.socket->startTLS();
        QCOMPARE(socket.socket->writeBlock("PASS secret\r\n", 13), -1);
        QVERIFY(socket.socket->readLine().isEmpty());
    };
    socket.connectTo(server.port());
    QVERIFY(socket.ends());
    QVERIFY2(server.finished(), server.problem());
    QCOMPARE(socket.events,
             (QStringList{u"host"_s, u"connected"_s, u"\"+OK hello\r\n\""_s, u"\"+OK go\r\n\""_s,
                          u"connected"_s, u"\"+OK encrypted\r\n\""_s, u"closed"_s}));
}

/// A server that goes on in plain.
void TlsTest::promotionWithGarbage()
{
    ScriptedServer server("S: go\nW\nS: -ERR not really\nE");
    RecordingSocket socket(false, trusting());
    socket.onLine = [&](const QString &) { socket.socket->startTLS(); };
    socket.connectTo(server.port());
    QVERIFY(comesTrue([&] { return server.isWaiting() && server.dialogue().socket().bytesAvailable() > 0; }));
    server.release();
    QVERIFY(socket.ends());
    QCOMPARE(socket.events.last(), u"error 3"_s);
    QVERIFY(socket.socket->errorText().startsWith("SSL error: "_L1));
}

void TlsTest::promotionWithoutServer()
{
    for (const char *end : {"X", "XR"}) {
        ScriptedServer server("S: go\n"_ba + end);
        RecordingSocket socket(false, trusting());
        socket.onLine = [&](const QString &) { socket.socket->startTLS(); };
        socket.connectTo(server.port());
        QVERIFY(socket.ends());
        QCOMPARE(socket.events.last(), u"closed"_s);
        QCOMPARE(socket.events.count(u"connected"_s), 1);
    }
}

void TlsTest::promotionTwice()
{
    ScriptedServer server("S: go\nT\nS: up\nC: bye\nX", m_certificates.good);
    RecordingSocket socket(false, trusting());
    socket.onLine = [&](const QString &line) {
        socket.socket->startTLS();
        socket.socket->startTLS();
        if (line == "up\r\n"_L1)
            socket.write("bye\r\n");
    };
    socket.connectTo(server.port());
    QVERIFY(socket.ends());
    QVERIFY2(server.finished(), server.problem());
    QCOMPARE(socket.events.count(u"connected"_s), 2);
}

void TlsTest::serverName_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<QByteArray>("asked");
    QTest::newRow("name") << u"mail.test.example"_s << "mail.test.example"_ba;
    QTest::newRow("final dot") << u"localhost."_s << "localhost"_ba;
    QTest::newRow("address") << u"127.0.0.1"_s << QByteArray();
    QTest::newRow("address of version 6") << u"::1"_s << QByteArray();
}

/// It is the account's host that counts, not the address that the connection was made to.
void TlsTest::serverName()
{
    QFETCH(QString, host);
    QFETCH(QByteArray, asked);
    TlsPeer peer(m_certificates.good);
    RecordingSocket socket(true, {host, m_certificates.ca, {}});
    socket.connectTo(peer.port());
    QVERIFY(comesTrue([&] { return socket.events.size() == 2; }));
    QCOMPARE(socket.events.last(), u"connected"_s);
    QCOMPARE(peer.askedFor, asked);
    QCOMPARE(socket.socket->certificate().commonName, u"localhost"_s);
}

void TlsTest::ends_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::newRow("by the book") << QByteArray("S: bye\nX");
    QTest::newRow("without the notice of TLS") << QByteArray("S: bye\nC: go\nXT");
    QTest::newRow("by a reset") << QByteArray("S: bye\nC: go\nXR");
}

void TlsTest::ends()
{
    QFETCH(QByteArray, script);
    ScriptedServer server(script, m_certificates.good, ScriptedServer::Encryption::FromTheStart);
    RecordingSocket socket(true, trusting());
    socket.onLine = [&](const QString &) { socket.write("go\r\n"); };
    socket.connectTo(server.port());
    QVERIFY(socket.ends());
    QCOMPARE(socket.events, (QStringList{u"host"_s, u"connected"_s, u"\"bye\r\n\""_s, u"closed"_s}));
}

/// The server goes away after 1, 38, 75 ... bytes of its part of the handshake.
void TlsTest::brokenHandshake()
{
    qint64 whole = 0;
    for (qint64 bytes = 1; whole == 0 || bytes < whole; bytes += 37) {
        TlsPeer peer(m_certificates.good);
        peer.breakOffAfter(bytes);
        RecordingSocket socket(true, trusting());
        socket.connectTo(peer.port());
        QVERIFY(socket.ends());
        QCOMPARE(socket.events.last(), u"closed"_s);
        if (socket.events.contains(u"connected"_s))
            whole = bytes;
        QVERIFY(bytes < 5000);
    }
    QVERIFY(whole > 500);
}

void TlsTest::garbage_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::newRow("a greeting in plain") << QByteArray("S: +OK hello\nE");
    QTest::newRow("a page of the web") << QByteArray("S: HTTP/1.1 400 Bad Request\nS:\nE");
    QTest::newRow("an alert") << QByteArray("P: \\x15\\x03\\x03\\x00\\x02\\x02\\x28\nE");
    QTest::newRow("a record of the wrong kind") << QByteArray("P: \\x17\\x03\\x03\\x00\\x05hello\nE");
    QTest::newRow("a server hello of 16 MB")
        << QByteArray("P: \\x16\\x03\\x03\\x40\\x00\\x02\\xFF\\xFF\\xFF\nG: 20000 x\nE");
    QTest::newRow("noise") << QByteArray("G: 10000 \\xA7\\x13\\x5c\nE");
}

void TlsTest::garbage()
{
    QFETCH(QByteArray, script);
    ScriptedServer server(script);
    RecordingSocket socket(true, trusting());
    socket.connectTo(server.port());
    QVERIFY(socket.ends());
    QCOMPARE(socket.events, (QStringList{u"host"_s, u"error 3"_s}));
    QVERIFY(socket.socket->errorText().startsWith("SSL error: "_L1));
    QVERIFY(socket.socket->errorText().size() > 15);
}

/// A server hello of TLS 1.1 (RFC 4346, 7.4.1.3) with a cipher that it could have.
void TlsTest::oldVersion()
{
    const QByteArray hello = "\x02\x00\x00\x26\x03\x02"_ba + QByteArray(32, 'r') + "\x00\xc0\x13\x00"_ba;
    QByteArray script = "P: \\x16\\x03\\x02\\x00\\x2A";
    for (const char c : hello)
        script += "\\x" + QByteArray(1, c).toHex();
    ScriptedServer server(script + "\nE");
    RecordingSocket socket(true, trusting());
    socket.connectTo(server.port());
    QVERIFY(socket.ends());
    QCOMPARE(socket.events.last(), u"error 3"_s);
}

void TlsTest::strangeRecords()
{
    TlsPeer peer(m_certificates.good);
    RecordingSocket socket(true, trusting());
    socket.connectTo(peer.port());
    QVERIFY(comesTrue([&] { return socket.socket->isEncrypted() && peer.isUp(); }));
    for (int i = 0; i < 3000; ++i)
        peer.say(i % 30 == 29 ? "\n" : "x");
    QVERIFY(comesTrue([&] { return socket.lines == 100; }));
    peer.say("+OK before\r\n");
    peer.sayRaw("this is no record");
    QVERIFY(socket.ends());
    QCOMPARE(socket.events.mid(102), (QStringList{u"\"+OK before\r\n\""_s, u"error 3"_s}));
    QVERIFY(socket.socket->errorText().startsWith("Failed to read from SSL, "_L1));
}

void TlsTest::newKeys()
{
    TlsPeer peer(m_certificates.good);
    RecordingSocket socket(true, trusting());
    socket.connectTo(peer.port());
    QVERIFY(comesTrue([&] { return socket.socket->isEncrypted() && peer.isUp(); }));
    for (int i = 1; i <= 20; ++i) {
        peer.updateKeys();
        peer.say("line\r\n");
        QVERIFY(comesTrue([&] { return socket.lines == i; }));
        socket.write("answer\r\n");
        QVERIFY(comesTrue([&] { return peer.heard.size() == i * 8; }));
    }
    for (int i = 0; i < 200; ++i)
        peer.updateKeys();
    peer.say("line\r\n");
    QVERIFY(comesTrue([&] { return socket.lines == 21; }));
    QVERIFY(!socket.isOver);
}

/// Refused: another certificate could come with it.
void TlsTest::renegotiation()
{
    TlsPeer peer(m_certificates.good, TLS1_2_VERSION);
    RecordingSocket socket(true, trusting());
    socket.connectTo(peer.port());
    QVERIFY(comesTrue([&] { return socket.socket->isEncrypted() && peer.isUp(); }));
    peer.say("before\r\n");
    peer.renegotiate();
    peer.say("after\r\n");
    QVERIFY(comesTrue([&] { return socket.isOver || socket.lines > 1; }));
    QCOMPARE(socket.events.count(u"connected"_s), 1);
    QCOMPARE(socket.events.value(2), u"\"before\r\n\""_s);
}

/// A server that says nothing costs nothing while the client waits for it.
void TlsTest::silentHandshake()
{
    ScriptedServer server("P: \\x16\\x03\\x03\\x10\nE");
    RecordingSocket socket(true, trusting());
    socket.connectTo(server.port());
    QVERIFY(comesTrue([&] { return server.connections() == 1; }));
    const std::clock_t before = std::clock();
    QVERIFY(!socket.ends(100));
    QVERIFY(std::clock() - before < CLOCKS_PER_SEC / 20);
    socket.socket->close();
    QVERIFY(socket.ends());
    QCOMPARE(socket.events, (QStringList{u"host"_s, u"closed"_s}));
}

void TlsTest::download_data()
{
    QTest::addColumn<bool>("inBlocks");
    QTest::newRow("in blocks") << true;
    QTest::newRow("in lines") << false;
}

void TlsTest::download()
{
    QFETCH(bool, inBlocks);
    QByteArray text;
    for (int i = 0; i < 500'000; ++i)
        text += QByteArray::number(i) + '\n';
    ScriptedServer server("D: text\nX", m_certificates.good, ScriptedServer::Encryption::FromTheStart);
    server.lay("text", text);
    RecordingSocket socket(true, trusting());
    socket.recordsLines = false;
    socket.socket->setBlockMode(inBlocks);
    socket.onLine = [&](const QString &line) { socket.blocks += line.toLatin1(); };
    socket.connectTo(server.port());
    QVERIFY(socket.ends(20000));
    QVERIFY(socket.blocks == text);
    QCOMPARE(socket.lines, inBlocks ? 0 : 500'000);
}

void TlsTest::upload()
{
    TlsPeer peer(m_certificates.good);
    RecordingSocket socket(true, trusting());
    const QByteArray piece(100'000, 'x');
    qint64 given = 0;
    qint64 written = 0;
    qint64 mostWaiting = 0;
    const auto giveMore = [&] {
        while (given < 20'000'000 && socket.socket->bytesToWrite() < 500'000) {
            given += socket.socket->writeBlock(piece.constData(), piece.size());
            mostWaiting = std::max(mostWaiting, socket.socket->bytesToWrite());
        }
    };
    socket.onConnected = giveMore;
    connect(socket.socket.get(), &GSocket::bytesWritten, this, [&](int bytes) {
        written += bytes;
        giveMore();
    });
    socket.connectTo(peer.port());
    QVERIFY(comesTrue([&] { return peer.heard.size() == 20'000'000; }, 20000));
    QCOMPARE(written, 20'000'000);
    QVERIFY(mostWaiting < 700'000);
}

void TlsTest::serverWaits()
{
    ScriptedServer server("G: 6000000 012345678\\n\nX", m_certificates.good,
                          ScriptedServer::Encryption::FromTheStart);
    RecordingSocket socket(true, trusting());
    socket.recordsLines = false;
    socket.onLine = [&](const QString &) { socket.socket->setPaused(true); };
    socket.connectTo(server.port());
    QVERIFY(comesTrue([&] { return socket.lines == 1; }));
    qint64 before = -1;
    QVERIFY(QTest::qWaitFor([&] { return std::exchange(before, server.dialogue().sent()) == before; }));
    QVERIFY(server.dialogue().sent() < 30'000'000);
    QVERIFY(socket.socket->bytesAvailable() <= 2 * 1024 * 1024);
    socket.onLine = {};
    socket.socket->setPaused(false);
    QVERIFY(socket.ends(20000));
    QCOMPARE(socket.lines, 6'000'000);
}

/// All that was handed over, then the notice of the end.
void TlsTest::closing()
{
    TlsPeer peer(m_certificates.good);
    RecordingSocket socket(true, trusting());
    const QByteArray much(3'000'000, 'x');
    socket.onConnected = [&] {
        socket.write(much);
        socket.write("QUIT\r\n");
        socket.socket->close();
        QVERIFY(!socket.isOver);
    };
    socket.connectTo(peer.port());
    QVERIFY(socket.ends());
    QVERIFY(comesTrue([&] { return peer.hasLeft; }));
    QCOMPARE(peer.heard.size(), much.size() + 6);
    QVERIFY(peer.heardEnd());
    QCOMPARE(socket.events.last(), u"delayed"_s);
}

void TlsTest::deletedInSlot()
{
    ScriptedServer server("S: 1\nP: 2\\n3\\n4\\n\nC: QUIT\nE", m_certificates.good,
                          ScriptedServer::Encryption::FromTheStart);
    RecordingSocket socket(true, trusting());
    socket.onLine = [&](const QString &line) {
        if (line != "3\n"_L1)
            return;
        socket.write("QUIT\r\n");
        socket.socket->close();
        socket.socket = std::make_unique<GSocket>(true, TlsChoice());
    };
    socket.connectTo(server.port());
    QVERIFY2(server.finished(), server.problem());
    QCOMPARE(socket.lines, 3);
}

void TlsTest::useOfDevice()
{
    QtSSLSocket socket(trusting());
    char byte = 'x';
    QCOMPARE(socket.readBlock(&byte, 1), -1);
    QCOMPARE(socket.writeBlock(&byte, 1), -1);
    QCOMPARE(socket.readBlock(nullptr, 1), -1);
    QCOMPARE(socket.writeBlock(nullptr, 1), -1);
    QVERIFY(!socket.open(QIODevice::ReadWrite));
    TlsPeer peer(m_certificates.good);
    socket.connectToHost(u"127.0.0.1"_s, peer.port());
    QVERIFY(comesTrue([&] { return socket.isConnected() && peer.isUp(); }));
    QVERIFY(!socket.open(QIODevice::ReadWrite));
    QCOMPARE(socket.errorText(),
             u"QSocket::readBlock: Socket is not open, QSocket::writeBlock: Socket is not open, "
             "QSocket::readBlock: Null pointer error, QSocket::writeBlock: Null pointer error, "
             "QtSSLSocket::open: Already open"_s);
    peer.say("a\nbc");
    QVERIFY(comesTrue([&] { return socket.bytesAvailable() == 4; }));
    QCOMPARE(socket.readBlock(&byte, 1), 1);
    QCOMPARE(byte, 'a');
    QCOMPARE(socket.takeAvailable(), "\nbc"_ba);
    QSignalSpy closed(&socket, &QtSSLSocket::connectionClosed);
    peer.sayEnd();
    QVERIFY(closed.wait());
    QCOMPARE(socket.readBlock(&byte, 1), -1);
}

QTEST_GUILESS_MAIN(TlsTest)
#include "tls_test.moc"
