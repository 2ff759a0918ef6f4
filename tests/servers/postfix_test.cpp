#include "servers/postfix.h"

#include "servers/patience.h"
#include "support/memory.h"

#include <QSslSocket>
#include <QTest>

using namespace Qt::StringLiterals;

/// What the other tests rely on when they send to a real server.
class PostfixTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void offers_data();
    void offers();
    void answers();
    void delivers();

private:
    QByteArray talk(Door door, const QByteArray &commands) const;

    std::unique_ptr<Dovecot> m_mailboxes;
    std::unique_ptr<Postfix> m_server;
};

void PostfixTest::initTestCase()
{
    const char *what = "Postfix needs root, and a machine without another mail server";
    QVERIFY2(Postfix::canRun() || !Postfix::mustRun(), what);
    if (!Postfix::canRun())
        QSKIP(what);
    useMemoryForFiles();
    m_mailboxes = std::make_unique<Dovecot>();
    QVERIFY2(m_mailboxes->problem().isEmpty(), qPrintable(m_mailboxes->problem()));
    m_server = std::make_unique<Postfix>(*m_mailboxes, QStringList{u"ada"_s});
    QVERIFY2(m_server->problem().isEmpty(), qPrintable(m_server->problem()));
}

/// All that the server says until it closes the connection.
QByteArray PostfixTest::talk(Door door, const QByteArray &commands) const
{
    QSslSocket socket;
    socket.setPeerVerifyMode(QSslSocket::VerifyNone);
    if (door == Door::Tls)
        socket.connectToHostEncrypted(Postfix::host(), quint16(m_server->port(door)));
    else
        socket.connectToHost(Postfix::host(), quint16(m_server->port(door)));
    socket.write(commands);
    while (socket.waitForReadyRead(5000) || socket.state() == QAbstractSocket::ConnectedState) {
    }
    return socket.readAll();
}

void PostfixTest::offers_data()
{
    QTest::addColumn<Door>("door");
    QTest::addColumn<QByteArray>("commands");
    QTest::addColumn<QByteArrayList>("said");
    QTest::addColumn<QByteArray>("unsaid");
    QTest::newRow("plain") << Door::Plain << QByteArray("EHLO a\r\nQUIT\r\n")
                           << QByteArrayList{"SIZE 60000000"} << QByteArray("8BITMIME");
    QTest::newRow("login") << Door::Login << QByteArray("EHLO a\r\nAUTH PLAIN AGFkYQBzZWNyZXQ=\r\nQUIT\r\n")
                           << QByteArrayList{"-STARTTLS\r\n", "-AUTH PLAIN LOGIN CRAM-MD5\r\n",
                                             "-AUTH=", "235 2.7.0"}
                           << QByteArray("535");
    QTest::newRow("wrong password") << Door::Login
                                    << QByteArray("EHLO a\r\nAUTH PLAIN AGFkYQBzZXNhbWU=\r\nQUIT\r\n")
                                    << QByteArrayList{"535 5.7.8"} << QByteArray("235");
    QTest::newRow("submission") << Door::Submission
                                << QByteArray("EHLO a\r\nMAIL FROM:<ada@test.example>\r\nQUIT\r\n")
                                << QByteArrayList{"-STARTTLS\r\n", "530 5.7.0"} << QByteArray("AUTH");
    QTest::newRow("TLS from the start")
        << Door::Tls
        << QByteArray("EHLO a\r\nMAIL FROM:<a@test.example>\r\nRCPT TO:<ada@test.example>\r\nQUIT\r\n")
        << QByteArrayList{"-AUTH PLAIN", "554 5.7.1"} << QByteArray("STARTTLS");
}

void PostfixTest::offers()
{
    QFETCH(const Door, door);
    QFETCH(const QByteArray, commands);
    QFETCH(const QByteArrayList, said);
    QFETCH(const QByteArray, unsaid);
    const QByteArray all = talk(door, commands);
    for (const QByteArray &each : said)
        QVERIFY2(all.contains(each), all.constData());
    QVERIFY2(!all.contains(unsaid), all.constData());
}

void PostfixTest::answers()
{
    const QByteArray all =
        talk(Door::Plain, "EHLO a\r\nMAIL FROM:<a@test.example>\r\nRCPT TO:<later@test.example>\r\n"
                          "RCPT TO:<full@test.example>\r\nRCPT TO:<no@test.example>\r\n"
                          "RCPT TO:<nobody@test.example>\r\nRCPT TO:<a@example.org>\r\n"
                          "RCPT TO:<gone@test.example>\r\n");
    for (const char *answer :
         {"450 4.2.0", "452 4.2.2", "550 5.1.1 <no@", "550 5.1.1 <nobody@", "554 5.7.1 <a@", "421 4.3.2"})
        QVERIFY2(all.contains(answer), all.constData());
}

void PostfixTest::delivers()
{
    talk(Door::Plain, "EHLO a\r\nMAIL FROM:<a@test.example>\r\nRCPT TO:<ada@test.example>\r\nDATA\r\n"
                      "Subject: x\r\n\r\n..\r\n.\r\nQUIT\r\n");
    QVERIFY2(QTest::qWaitFor([this] { return m_mailboxes->files(u"ada"_s).size() == 1; }),
             m_server->log().constData());
    const QByteArray text = m_mailboxes->text(u"ada"_s, m_mailboxes->files(u"ada"_s).first());
    QVERIFY2(text.startsWith("Return-Path: <a@test.example>\n") && text.contains("\nSubject: x\n") &&
                 text.endsWith("\n\n.\n"),
             text.constData());
}

QTEST_GUILESS_MAIN(PostfixTest)
#include "postfix_test.moc"
