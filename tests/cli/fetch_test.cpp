#include "program.h"

#include "servers/certificates.h"
#include "servers/scriptedserver.h"
#include "support/popmailbox.h"

#include <QRegularExpression>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;

/// POP3 accounts on the command line.
class FetchTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void init();
    void wrongUsage_data();
    void wrongUsage();
    void fetched();
    void left();
    void refused_data();
    void refused();
    void anUntrustedCertificate();
    void accountsThatCannotBeRead();
    void stopped();

private:
    Program::Result add(const QString &name, const QStringList &more = {});
    QStringList fetch(const QString &name) { return {u"--json"_s, u"fetch"_s, name}; }

    std::unique_ptr<Program> m_program;
    std::unique_ptr<PopMailbox> m_server;
};

void FetchTest::init()
{
    m_program = std::make_unique<Program>();
    m_server = std::make_unique<PopMailbox>();
    for (const char *id : {"a", "b"})
        m_server->mails.push_back({id, mailText(id, id)});
}

Program::Result FetchTest::add(const QString &name, const QStringList &more)
{
    return m_program->run(QStringList{u"--json"_s, u"account"_s, u"add"_s, u"--kind=pop3"_s, u"--name"_s,
                                      name, u"--host=127.0.0.1"_s, u"--user=ada"_s, u"--tls=none"_s,
                                      u"--port=%1"_s.arg(m_server->serverPort())} +
                              more,
                          "secret\nmore\n");
}

void FetchTest::wrongUsage_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<QByteArray>("complaint");
    QTest::newRow("a port") << u"--user u --port 70000"_s << QByteArray("--port is a number");
    QTest::newRow("no user") << u""_s << QByteArray("wants --user");
    QTest::newRow("TLS") << u"--user u --tls ssl"_s << QByteArray("none, starttls or tls");
    QTest::newRow("a fingerprint") << u"--user u --fingerprint abc"_s << QByteArray("64 hexadecimal digits");
    QTest::newRow("a CA file") << u"--user u --ca-file /none"_s << QByteArray("cannot be read");
    // and all of it at once
    const QString many = u"--tls ssl --port 0 --fingerprint abc --colour red"_s;
    for (const char *complaint : {"wants --user", "none, starttls or tls", "--port is a number",
                                  "64 hexadecimal digits", "unknown option --colour"})
        QTest::newRow((QByteArray("of many: ") + complaint).constData()) << many << QByteArray(complaint);
}

void FetchTest::wrongUsage()
{
    QFETCH(QString, words);
    QFETCH(QByteArray, complaint);
    const Program::Result result =
        m_program->run(QStringList{u"account"_s, u"add"_s, u"--kind=pop3"_s, u"--name=P"_s, u"--host=h"_s} +
                       words.split(u' ', Qt::SkipEmptyParts));
    QCOMPARE(result.status, 2);
    QVERIFY2(result.errors.contains(complaint), result.errors.constData());
    QCOMPARE(m_program->json({u"account"_s, u"list"_s}).rows().size(), 0);
}

void FetchTest::fetched()
{
    const Program::Result added = add(u"P"_s, {u"--password-file=-"_s});
    QCOMPARE(added.status, 0);
    QCOMPARE(added.rows().first().value(u"tls"_s).toString(), u"none"_s);
    const Program::Result result = runBeside(*m_program, fetch(u"P"_s));
    QCOMPARE(result.status, 0);
    QCOMPARE(result.errors, QByteArray());
    QCOMPARE(result.rows().size(), 1);
    const QJsonObject row = result.rows().first();
    QCOMPARE(row.value(u"ok"_s).toBool(), true);
    QCOMPARE(row.value(u"reason"_s).toInt(), 0);
    QCOMPARE(row.value(u"received"_s).toInt(), 2);
    QVERIFY(row.value(u"bytes"_s).toInt() > 200);
    QCOMPARE(m_program->json({u"list"_s, u"Inbox"_s}).rows().size(), 2);
    QCOMPARE(m_server->mails.size(), 0u); // it is safe here
    QCOMPARE(runBeside(*m_program, fetch(u"P"_s)).rows().first().value(u"received"_s).toInt(), 0);
    QVERIFY(!m_program->json({u"account"_s, u"list"_s}).out.contains("secret"));
}

void FetchTest::left()
{
    QCOMPARE(add(u"P"_s, {u"--password-file=-"_s, u"--leave-on-server"_s}).status, 0);
    for (int i = 0; i < 2; ++i)
        QCOMPARE(runBeside(*m_program, fetch(u"P"_s)).status, 0);
    QCOMPARE(m_server->mails.size(), 2u);
    QCOMPARE(m_program->json({u"list"_s, u"Inbox"_s}).rows().size(), 2);
}

void FetchTest::refused_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<int>("reason");
    QTest::newRow("no password, and no terminal to ask at") << u"password"_s << 7;
    QTest::newRow("a wrong password") << u"wrong"_s << 5;
    QTest::newRow("nobody listens") << u"closed"_s << 3;
}

void FetchTest::refused()
{
    QFETCH(QString, what);
    QFETCH(int, reason);
    QCOMPARE(add(u"P"_s, what == u"password" ? QStringList() : QStringList{u"--password-file=-"_s}).status,
             0);
    if (what == u"wrong")
        m_server->password = "another";
    if (what == u"closed")
        m_server->close();
    const Program::Result result = runBeside(*m_program, fetch(u"P"_s));
    QCOMPARE(result.status, 1);
    QCOMPARE(result.rows().size(), 1);
    QCOMPARE(result.rows().first().value(u"ok"_s).toBool(), false);
    QCOMPARE(result.rows().first().value(u"reason"_s).toInt(), reason);
    QVERIFY2(result.errors.contains("account 'P'"), result.errors.constData());
    QVERIFY(!(result.errors + result.out).contains("secret"));
}

/// Who trusts it learns how to say so.
void FetchTest::anUntrustedCertificate()
{
    const Certificates certificates;
    const auto session = [&](bool trusted) {
        return std::make_unique<ScriptedServer>(
            trusted ? "S: +OK ready\nC: CAPA\nS: -ERR\nC: USER ada\nS: +OK\nC: PASS secret\nS: +OK\nC: STAT\n"
                      "S: +OK 0 0\nC: QUIT\nS: +OK"
                    : "",
            certificates.selfSigned, ScriptedServer::Encryption::FromTheStart);
    };
    const auto fetched = [&](const QString &name, const QString &fingerprint) {
        const std::unique_ptr<ScriptedServer> server = session(!fingerprint.isEmpty());
        QStringList words = {u"account"_s,
                             u"add"_s,
                             u"--kind=pop3"_s,
                             u"--name"_s,
                             name,
                             u"--host=localhost"_s,
                             u"--user=ada"_s,
                             u"--password-file=-"_s,
                             u"--port=%1"_s.arg(server->port())};
        if (!fingerprint.isEmpty())
            words += {u"--fingerprint"_s, fingerprint};
        if (m_program->run(words, "secret\n").status != 0)
            qFatal("the account cannot be added");
        return runBeside(*m_program, fetch(name));
    };
    const Program::Result refused = fetched(u"A"_s, {});
    QCOMPARE(refused.status, 1);
    QVERIFY2(refused.errors.contains("--fingerprint"), refused.errors.constData());
    const QRegularExpressionMatch sha256 =
        QRegularExpression(u"[0-9a-f]{64}"_s).match(QString::fromUtf8(refused.errors));
    QVERIFY2(sha256.hasMatch(), refused.errors.constData());
    QCOMPARE(fetched(u"B"_s, sha256.captured()).status, 0);
}

void FetchTest::accountsThatCannotBeRead()
{
    QCOMPARE(add(u"P"_s, {u"--password-file=-"_s}).status, 0);
    const QString index = m_program->config() + u"/Accounts/Index"_s;
    QVERIFY(QFile::rename(index, index + u".away"_s) && QDir().mkpath(index));
    for (const QStringList &words : {QStringList{u"fetch"_s}, QStringList{u"account"_s, u"list"_s}}) {
        const Program::Result result = m_program->run(words);
        QCOMPARE(result.status, 1);
        QVERIFY2(result.errors.contains("Unable to read accounts file"), result.errors.constData());
    }
    QCOMPARE(add(u"Q"_s, {u"--password-file=-"_s}).status, 1);
}

void FetchTest::stopped()
{
    for (int i = 0; i < 3000; ++i) {
        const QByteArray id = 'm' + QByteArray::number(i);
        m_server->mails.push_back({id, mailText(id, id, {}, QByteArray(2000, 'x') + '\n')});
    }
    QCOMPARE(add(u"P"_s, {u"--password-file=-"_s}).status, 0);
    const Program::Result result = runBeside(*m_program, fetch(u"P"_s), [&](QProcess &process) {
        QVERIFY(QTest::qWaitFor([&] { return m_server->said.size() > 300; }, 30'000));
        ::kill(pid_t(process.processId()), SIGTERM);
    });
    QCOMPARE(result.status, 1);
    const qsizetype received = m_program->json({u"list"_s, u"Inbox"_s}).rows().size();
    QVERIFY(received < 3002);
    const Program::Result rest = runBeside(*m_program, fetch(u"P"_s));
    QCOMPARE(rest.status, 0);
    QCOMPARE(m_program->json({u"list"_s, u"Inbox"_s}).rows().size(), 3002);
}

QTEST_GUILESS_MAIN(FetchTest)
#include "fetch_test.moc"
