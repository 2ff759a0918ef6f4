#include "engine/discoveryprobe.h"
#include "engine/logintest.h"

#include "config/settings.h"
#include "servers/scriptedserver.h"
#include "support/scratch.h"

#include <QEventLoop>
#include <QSignalSpy>
#include <QTest>

#include <optional>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(MailProtocol)
Q_DECLARE_METATYPE(ProbeAnswer)

/// What happens on the wire before an account exists: servers are looked at, and signed in to for a try.
class FirstContactTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void probes_data();
    void probes();
    void probesOverTls_data();
    void probesOverTls();
    void nobodyThere();
    void logins_data();
    void logins();
    void loginOverTls_data();
    void loginOverTls();
    void givenUp();

private:
    static ProbeAnswer probe(const ProbeTarget &target, const QString &caFile = {})
    {
        DiscoveryProbe probe(target, caFile, nullptr);
        QSignalSpy ended(&probe, &DiscoveryProbe::finished);
        probe.start();
        if (!ended.wait())
            qFatal("the probe has no end");
        return ended.front().front().value<ProbeAnswer>();
    }

    static AccountData account(quint16 port, bool tls)
    {
        AccountData data;
        data.kind = AccountKind::Pop3;
        data.name = u"Trial"_s;
        data.host = u"localhost"_s;
        data.port = port;
        data.user = u"clara"_s;
        data.password = u"secret"_s;
        data.set(AccountTls, tls);
        data.set(AccountNeedsEncryption, true);
        return data;
    }

    static LoginResult login(const AccountData &data, const CertificateJudge &judge = {},
                             const AccountOptions &options = {})
    {
        SystemLoginTester tester;
        QObject context;
        QEventLoop loop;
        std::optional<LoginResult> result;
        tester.test(data, options, judge, &context, [&](const LoginResult &ended) {
            result = ended;
            loop.quit();
        });
        QTimer::singleShot(10'000, &loop, &QEventLoop::quit);
        loop.exec();
        if (!result)
            qFatal("the sign-in has no end");
        return *result;
    }

    std::optional<Certificates> m_certificates;
};

void FirstContactTest::initTestCase()
{
    m_certificates.emplace();
}

void FirstContactTest::probes_data()
{
    QTest::addColumn<MailProtocol>("protocol");
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<ProbeAnswer>("answer");
    QTest::newRow("POP3 with STLS") << MailProtocol::Pop3
                                    << QByteArray(
                                           "S: +OK hello\nC: CAPA\nS: +OK\nS: TOP\nS: STLS\nS: .\nC: QUIT")
                                    << ProbeAnswer::Works;
    QTest::newRow("POP3 without") << MailProtocol::Pop3
                                  << QByteArray("S: +OK hello\nC: CAPA\nS: +OK\nS: TOP\nS: .\nC: QUIT")
                                  << ProbeAnswer::NoTls;
    QTest::newRow("POP3 without CAPA")
        << MailProtocol::Pop3 << QByteArray("S: +OK hello\nC: CAPA\nS: -ERR what\nC: QUIT")
        << ProbeAnswer::NoTls;
    QTest::newRow("IMAP with STARTTLS")
        << MailProtocol::Imap
        << QByteArray("S: * OK hello\nC: a CAPABILITY\nS: * CAPABILITY IMAP4rev1 STARTTLS\nC: b LOGOUT")
        << ProbeAnswer::Works;
    QTest::newRow("SMTP with STARTTLS, a greeting of two lines")
        << MailProtocol::Smtp
        << QByteArray(
               "S: 220-hello\nS: 220 there\nC~ EHLO .*\nS: 250-x\nS: 250-STARTTLS\nS: 250 HELP\nC: QUIT")
        << ProbeAnswer::Works;
    QTest::newRow("another service") << MailProtocol::Pop3 << QByteArray("S: SSH-2.0-x\nE")
                                     << ProbeAnswer::OtherService;
    QTest::newRow("a line without an end")
        << MailProtocol::Pop3 << QByteArray("P: +OK \nG: 40000 x") << ProbeAnswer::OtherService;
    QTest::newRow("capabilities without an end")
        << MailProtocol::Pop3 << QByteArray("S: +OK\nC: CAPA\nS: +OK\nG: 40000 x\\r\\n")
        << ProbeAnswer::OtherService;
    QTest::newRow("hangs up") << MailProtocol::Pop3 << QByteArray("X") << ProbeAnswer::Silent;
    QTest::newRow("hangs up after the greeting")
        << MailProtocol::Pop3 << QByteArray("S: +OK\nC: CAPA\nX") << ProbeAnswer::Silent;
}

void FirstContactTest::probes()
{
    QFETCH(MailProtocol, protocol);
    QFETCH(QByteArray, script);
    ScriptedServer server(script);
    const ProbeAnswer answer = probe({protocol, u"localhost"_s, server.port(), MailEncryption::StartTls});
    QTEST(answer, "answer");
    if (answer != ProbeAnswer::OtherService)
        QVERIFY2(server.finished(), server.problem());
}

void FirstContactTest::probesOverTls_data()
{
    QTest::addColumn<QString>("which");
    QTest::addColumn<ProbeAnswer>("answer");
    QTest::newRow("good") << u"good"_s << ProbeAnswer::Works;
    QTest::newRow("self-signed") << u"self"_s << ProbeAnswer::Untrusted;
    QTest::newRow("expired") << u"expired"_s << ProbeAnswer::Untrusted;
}

void FirstContactTest::probesOverTls()
{
    QFETCH(QString, which);
    const CertificateFiles &files = which == u"good"_s   ? m_certificates->good
                                    : which == u"self"_s ? m_certificates->selfSigned
                                                         : m_certificates->expired;
    ScriptedServer server("S: +OK hello", files, ScriptedServer::Encryption::FromTheStart);
    QTEST(probe({MailProtocol::Pop3, u"localhost"_s, server.port(), MailEncryption::Tls}, m_certificates->ca),
          "answer");
}

void FirstContactTest::nobodyThere()
{
    QTcpServer gone;
    QVERIFY(gone.listen(QHostAddress::LocalHost));
    const quint16 port = gone.serverPort();
    gone.close();
    QCOMPARE(probe({MailProtocol::Pop3, u"localhost"_s, port, MailEncryption::Tls}), ProbeAnswer::Silent);
    QCOMPARE(probe({MailProtocol::Pop3, u"no such host.invalid"_s, 995, MailEncryption::Tls}),
             ProbeAnswer::Silent);
}

void FirstContactTest::logins_data()
{
    QTest::addColumn<QByteArray>("afterUser");
    QTest::addColumn<AccountFetchReason>("reason");
    QTest::addColumn<bool>("refused");
    QTest::addColumn<int>("messages");
    QTest::newRow("accepted") << QByteArray(
                                     "S: +OK\nC: PASS secret\nS: +OK\nC: STAT\nS: +OK 3 120\nC: QUIT\nS: +OK")
                              << AccountFetchReason::None << false << 3;
    QTest::newRow("refused") << QByteArray("S: +OK\nC: PASS secret\nS: -ERR no\nE")
                             << AccountFetchReason::Unexpected << true << -1;
    QTest::newRow("hangs up") << QByteArray("X") << AccountFetchReason::ConnectionClosed << false << -1;
}

/// To this machine itself a password may go without encryption.
void FirstContactTest::logins()
{
    QFETCH(QByteArray, afterUser);
    const Scratch scratch;
    setBoolSetting(Setting::EnableLogging, true);
    ScriptedServer server("S: +OK hello\nC: CAPA\nS: -ERR\nC: USER clara\n" + afterUser);
    const LoginResult result = login(account(server.port(), false));
    QTEST(result.reason, "reason");
    QTEST(result.isRefused, "refused");
    QTEST(result.messages, "messages");
    QVERIFY2(server.finished(), server.problem());
    QVERIFY(!QFile::exists(configDirectory() + u"/Accounts/Index"_s)); // nothing is remembered
    QVERIFY(!QFile::exists(configDirectory() + u"/Accounts/0"_s));     // nor logged
}

void FirstContactTest::loginOverTls_data()
{
    QTest::addColumn<QString>("trust");
    QTest::addColumn<bool>("asks");
    QTest::addColumn<bool>("accept");
    QTest::addColumn<AccountFetchReason>("reason");
    QTest::newRow("accepted") << u""_s << true << true << AccountFetchReason::None;
    QTest::newRow("refused") << u""_s << true << false << AccountFetchReason::Unreachable;
    QTest::newRow("accepted for good before")
        << u"fingerprint"_s << false << true << AccountFetchReason::None;
    QTest::newRow("the account's own CA") << u"ca"_s << false << true << AccountFetchReason::None;
}

void FirstContactTest::loginOverTls()
{
    QFETCH(QString, trust);
    QFETCH(bool, accept);
    const Scratch scratch;
    setBoolSetting(Setting::EnableLogging, true);
    const bool hasCa = trust == u"ca";
    AccountOptions options;
    if (hasCa)
        options.caFile = m_certificates->ca;
    if (trust == u"fingerprint") { // as a first try shows it
        ScriptedServer first("", m_certificates->selfSigned, ScriptedServer::Encryption::FromTheStart);
        login(account(first.port(), true), [&](const CertificateReport &report, const auto &answer) {
            options.accept(report.certificate);
            answer(false);
        });
        QCOMPARE(options.accepted.size(), 1u);
    }
    const QByteArray script =
        accept ? "S: +OK hello\nC: CAPA\nS: -ERR\nC: USER clara\nS: +OK\nC: PASS secret\nS: +OK\n"
                 "C: STAT\nS: +OK 0 0\nC: QUIT\nS: +OK"
               : "";
    ScriptedServer server(script, hasCa ? m_certificates->good : m_certificates->selfSigned,
                          ScriptedServer::Encryption::FromTheStart);
    int asked = 0;
    const auto judge = [&](const CertificateReport &report, const auto &answer) {
        ++asked;
        QVERIFY(!report.problems.empty());
        answer(accept);
    };
    const LoginResult result = login(account(server.port(), true), judge, options);
    QTEST(asked > 0, "asks");
    QTEST(result.reason, "reason");
    QVERIFY(!QFile::exists(configDirectory() + u"/Accounts"_s));
    if (accept)
        QVERIFY2(server.finished(), server.problem());
}

/// Who destroys the context hears nothing more, and the connection is closed.
void FirstContactTest::givenUp()
{
    const Scratch scratch;
    ScriptedServer server("S: +OK hello\nC: CAPA\nE");
    SystemLoginTester tester;
    auto context = std::make_unique<QObject>();
    bool told = false;
    tester.test(account(server.port(), false), {}, {}, context.get(),
                [&](const LoginResult &) { told = true; });
    QTRY_VERIFY(server.connections() == 1 && server.dialogue().isPlayed() == false &&
                server.dialogue().sent() > 0);
    context.reset();
    QVERIFY(!told);
    QTRY_VERIFY(server.dialogue().hasLeft());
    QVERIFY(!told);
}

QTEST_GUILESS_MAIN(FirstContactTest)
#include "firstcontact_test.moc"
