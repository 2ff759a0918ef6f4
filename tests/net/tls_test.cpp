#include "net/socket/certificateinfo.h"
#include "net/socket/qtsslsocket.h"
#include "net/socket/tlscontext.h"
#include "net/socket/verification.h"

#include "config/clock.h"
#include "servers/recordingsocket.h"
#include "servers/scriptedserver.h"
#include "servers/tlspeer.h"

#include <QSignalSpy>
#include <QTest>

#include <openssl/err.h>

#include <ctime>

using namespace Qt::StringLiterals;

namespace {

using Answer = std::function<void(bool)>;

/// Codes and texts of the problems, one line each.
QStringList problemsOf(const CertificateReport &report)
{
    QStringList lines;
    for (const CertificateProblem &problem : report.problems)
        lines += QString::number(int(problem.code)) + u' ' + problem.text;
    return lines;
}

const QString kWrongName =
    u"2 The host name \"localhost\" doesn't match the certificate name \"elsewhere.example\""_s;
const QString kExpired = u"3 The certificate has expired"_s;
const QString kNotYet = u"4 The certificate is not yet valid"_s;

} // namespace

class TlsTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void certificates_data();
    void certificates();
    void answers_data();
    void answers();
    void answersTooLate();
    void names_data();
    void names();
    void dates_data();
    void dates();
    void whatIsKnown();
    void hostileNames();
    void verificationTexts();
    void caFiles_data();
    void caFiles();
    void trustEndsWithItsUser();
    void trustOfTheSystem_data();
    void trustOfTheSystem();
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

void TlsTest::certificates_data()
{
    QTest::addColumn<QString>("certificate");
    QTest::addColumn<QString>("trusts");
    QTest::addColumn<QString>("host");
    QTest::addColumn<QStringList>("problems");
    const QString here = u"localhost"_s;
    const QString ca = u"ca"_s;
    QTest::newRow("good") << u"good"_s << ca << here << QStringList();
    QTest::newRow("good, by address") << u"good"_s << ca << u"127.0.0.1"_s << QStringList();
    QTest::newRow("through an intermediate") << u"throughintermediate"_s << ca << here << QStringList();
    QTest::newRow("self-signed and trusted") << u"selfsigned"_s << u"selfsigned"_s << here << QStringList();
    QTest::newRow("signed by nobody known")
        << u"good"_s << QString() << here << QStringList{u"5 Unable to get local issuer certificate"_s};
    QTest::newRow("signed by another")
        << u"untrusted"_s << ca << here << QStringList{u"5 Unable to get local issuer certificate"_s};
    QTest::newRow("self-signed") << u"selfsigned"_s << ca << here
                                 << QStringList{u"1 Self signed certificate"_s};
    QTest::newRow("self-signed in the chain")
        << u"selfsignedchain"_s << ca << here
        << QStringList{u"1 Self signed certificate in certificate chain"_s};
    QTest::newRow("intermediate not sent") << u"missingintermediate"_s << ca << here
                                           << QStringList{u"5 Unable to get local issuer certificate"_s};
    QTest::newRow("expired") << u"expired"_s << ca << here << QStringList{kExpired};
    QTest::newRow("intermediate expired") << u"expiredintermediate"_s << ca << here << QStringList{kExpired};
    QTest::newRow("not yet valid") << u"notyetvalid"_s << ca << here << QStringList{kNotYet};
    QTest::newRow("wrong host") << u"wronghost"_s << ca << here << QStringList{kWrongName};
    QTest::newRow("expired and wrong host")
        << u"expiredwronghost"_s << ca << here << QStringList{kExpired, kWrongName};
    QTest::newRow("wrong host, not trusted: only that")
        << u"wronghost"_s << QString() << here << QStringList{u"5 Unable to get local issuer certificate"_s};
}

/// Each over a real handshake, accepted: the connection works all the same.
void TlsTest::certificates()
{
    QFETCH(QString, certificate);
    QFETCH(QString, trusts);
    QFETCH(QString, host);
    QFETCH(QStringList, problems);
    const QString stem = m_certificates.path() + u'/';
    ScriptedServer server("S: hello\nC: bye\nX",
                          {stem + certificate + u".pem"_s, stem + certificate + u".key"_s},
                          ScriptedServer::Encryption::FromTheStart);
    QStringList found;
    TlsChoice tls = {host, trusts.isEmpty() ? QString() : stem + trusts + u".pem"_s,
                     [&](const CertificateReport &report, const Answer &answer) {
                         found = problemsOf(report);
                         QCOMPARE(report.host, host);
                         QCOMPARE(report.port, server.port());
                         QCOMPARE(report.certificate.sha256.size(), 64);
                         answer(true);
                     }};
    RecordingSocket socket(true, tls);
    socket.onLine = [&](const QString &) { socket.write("bye\r\n"); };
    socket.connectTo(server.port());
    QVERIFY(socket.ends());
    QVERIFY2(server.finished(), server.problem());
    QCOMPARE(found, problems);
    QCOMPARE(socket.events, (QStringList{u"host"_s, u"connected"_s, u"\"hello\r\n\""_s, u"closed"_s}));
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
    QCOMPARE(socket.socket->errorText(), u"SSL error: "_s + kExpired.mid(2) + u", "_s + kWrongName.mid(2));
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

void TlsTest::names_data()
{
    QTest::addColumn<QByteArray>("commonName");
    QTest::addColumn<QList<QByteArray>>("hosts");
    QTest::addColumn<QList<QByteArray>>("addresses");
    QTest::addColumn<QString>("host");
    QTest::addColumn<bool>("fits");
    const QList<QByteArray> none;
    const QList<QByteArray> mail = {"mail.example.com"};
    const QList<QByteArray> star = {"*.example.com"};
    const QString host = u"mail.example.com"_s;
    QTest::newRow("alternative name") << "other"_ba << mail << none << host << true;
    QTest::newRow("case") << ""_ba << mail << none << u"MAIL.Example.COM"_s << true;
    QTest::newRow("final dot") << ""_ba << mail << none << u"mail.example.com."_s << true;
    QTest::newRow("the second of several")
        << ""_ba << (QList<QByteArray>{"a.example"} + mail) << none << host << true;
    QTest::newRow("common name alone") << "Mail.example.com"_ba << none << none << host << true;
    QTest::newRow("common name beside others")
        << "mail.example.com"_ba << QList<QByteArray>{"a.example"} << none << host << false;
    QTest::newRow("common name beside an address")
        << "mail.example.com"_ba << none << QList<QByteArray>{"127.0.0.1"} << host << false;
    QTest::newRow("nothing") << ""_ba << none << none << host << false;
    QTest::newRow("wildcard") << ""_ba << star << none << host << true;
    QTest::newRow("wildcard for two labels") << ""_ba << star << none << u"a.mail.example.com"_s << false;
    QTest::newRow("wildcard for none") << ""_ba << star << none << u"example.com"_s << false;
    QTest::newRow("wildcard within a label")
        << ""_ba << QList<QByteArray>{"m*.example.com"} << none << host << false;
    QTest::newRow("wildcard further right")
        << ""_ba << QList<QByteArray>{"mail.*.com"} << none << host << false;
    QTest::newRow("wildcard for a whole domain")
        << ""_ba << QList<QByteArray>{"*.com"} << none << u"example.com"_s << false;
    QTest::newRow("wildcard alone") << ""_ba << QList<QByteArray>{"*"} << none << u"localhost"_s << false;
    QTest::newRow("NUL behind the name")
        << ""_ba << QList<QByteArray>{"mail.example.com\0.evil.example"_ba} << none << host << false;
    QTest::newRow("NUL at the end") << ""_ba << QList<QByteArray>{"mail.example.com\0"_ba} << none << host
                                    << false;
    QTest::newRow("NUL in the common name")
        << "mail.example.com\0.evil.example"_ba << none << none << host << false;
    QTest::newRow("line end in the common name") << "mail.example.com\n"_ba << none << none << host << false;
    QTest::newRow("address") << ""_ba << none << QList<QByteArray>{"192.0.2.1"} << u"192.0.2.1"_s << true;
    QTest::newRow("another address") << ""_ba << none << QList<QByteArray>{"192.0.2.1"} << u"192.0.2.2"_s
                                     << false;
    QTest::newRow("address of version 6")
        << ""_ba << none << QList<QByteArray>{"2001:db8::1"} << u"2001:DB8:0::1"_s << true;
    QTest::newRow("address among the names")
        << ""_ba << QList<QByteArray>{"192.0.2.1"} << none << u"192.0.2.1"_s << false;
    QTest::newRow("address as the common name") << "192.0.2.1"_ba << none << none << u"192.0.2.1"_s << false;
    QTest::newRow("international") << ""_ba << QList<QByteArray>{"xn--mller-kva.example"} << none
                                   << u"m\u00fcller.example"_s << true;
    QTest::newRow("no host") << "mail.example.com"_ba << mail << none << QString() << false;
}

void TlsTest::names()
{
    QFETCH(QByteArray, commonName);
    QFETCH(QList<QByteArray>, hosts);
    QFETCH(QList<QByteArray>, addresses);
    QFETCH(QString, host);
    QFETCH(bool, fits);
    const TestCertificate certificate({.commonName = commonName, .hosts = hosts, .addresses = addresses});
    QCOMPARE(isForHost(certificate.certificate(), host), fits);
}

void TlsTest::dates_data()
{
    QTest::addColumn<int>("day");
    QTest::addColumn<QStringList>("problems");
    QTest::newRow("before all") << -100 << QStringList{kNotYet};
    QTest::newRow("the certificate came before its issuer") << -5 << QStringList{kNotYet};
    QTest::newRow("both are valid") << 5 << QStringList();
    QTest::newRow("the issuer has expired") << 15 << QStringList{kExpired};
    QTest::newRow("both have expired") << 25 << QStringList{kExpired};
}

/// The certificate is valid from day -10 to 20, its issuer from 0 to 10, the root for long.
void TlsTest::dates()
{
    QFETCH(int, day);
    QFETCH(QStringList, problems);
    constexpr qint64 kDay = Certificates::kDay;
    const TestCertificate root(
        {.commonName = "Root", .from = -1000 * kDay, .until = 1000 * kDay, .signsOthers = true});
    const TestCertificate issuer({.commonName = "Issuer", .from = 0, .until = 10 * kDay, .signsOthers = true},
                                 &root);
    const TestCertificate certificate(Certificates::here(-10 * kDay, 20 * kDay), &issuer);
    const std::unique_ptr<X509_STORE, decltype(&X509_STORE_free)> store(X509_STORE_new(), X509_STORE_free);
    X509_STORE_add_cert(store.get(), root.certificate());
    STACK_OF(X509) *sent = sk_X509_new_null();
    sk_X509_push(sent, issuer.certificate());
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const ClockOverride clock([=] { return now + 1000 + day * kDay * 1000; });
    const CertificateReport report =
        verify(certificate.certificate(), sent, store.get(), 2, u"localhost"_s, 995);
    sk_X509_free(sent);
    QCOMPARE(problemsOf(report), problems);
}

void TlsTest::whatIsKnown()
{
    const TestCertificate root({.commonName = "Root", .signsOthers = true});
    const TestCertificate certificate(Certificates::here(0, 3600), &root);
    const CertificateInfo info = certificateInfo(certificate.certificate());
    QCOMPARE(info.sha256, QSslCertificate(certificate.pem()).digest(QCryptographicHash::Sha256).toHex());
    QCOMPARE(info.commonName, u"localhost"_s);
    QCOMPARE(info.subject, u"O = Velmar tests, CN = localhost"_s);
    QCOMPARE(info.issuer, u"O = Velmar tests, CN = Root"_s);
    QCOMPARE(info.names, (QStringList{u"localhost"_s, u"mail.test.example"_s, u"127.0.0.1"_s, u"::1"_s}));
    QCOMPARE(info.validUntil - info.validFrom, 3600);
    QVERIFY(qAbs(info.validFrom - QDateTime::currentSecsSinceEpoch()) < 60);
    CertificateInfo made;
    made.commonName = u"a"_s;
    QCOMPARE(certificateText(made, CertificateTextForm::Short),
             u"CN=a/notValidBefore=1970-01-01 00:00:00/notValidAfter=1970-01-01 00:00:00"_s);
    made.version = 3;
    made.serial = "0a1b";
    QCOMPARE(certificateText(made, CertificateTextForm::Long),
             certificateText(made, CertificateTextForm::Short) + u"/version=3/serial=0a1b"_s);
}

void TlsTest::hostileNames()
{
    const TestCertificate certificate({.commonName = "a\0b\n\xe2\x80\xae"
                                                     "c"_ba,
                                       .hosts = {"x\r\ny\0z"_ba, QByteArray(5000, 'w')}});
    const CertificateInfo info = certificateInfo(certificate.certificate());
    QStringList texts = info.names;
    texts << info.commonName << info.subject << info.issuer;
    for (const QString &text : texts) {
        QVERIFY(text.size() <= 5000);
        for (const QChar c : text)
            QVERIFY2(c.category() != QChar::Other_Control && c.category() != QChar::Other_Format,
                     qPrintable(text));
    }
    QCOMPARE(info.commonName, u"a\\x00b\\n\\u202ec"_s);
}

void TlsTest::verificationTexts()
{
    const QList<int> unknown = {0, 1, 3, 5, 8, 11, 12, 15, 16, 22, 23, 33, 1000, -1};
    for (const int result : unknown)
        QCOMPARE(verificationText(result), u"An unknown error occurred"_s);
    QStringList texts;
    for (int result = 2; result <= 32; ++result) {
        if (!unknown.contains(result))
            texts += verificationText(result);
    }
    QCOMPARE(texts.size(), 22);
    QVERIFY(!texts.contains(u"An unknown error occurred"_s));
    texts.removeDuplicates();
    QCOMPARE(texts.size(), 22);
    QCOMPARE(verificationText(X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT), u"Unable to get issuer certificate"_s);
    QCOMPARE(verificationText(X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE),
             u"Unable to verify the first certificate"_s);
    QCOMPARE(verificationText(X509_V_ERR_INVALID_CA), u"Invalid CA certificate"_s);
    QCOMPARE(verificationText(32), u"Key usage does not include certificate signing"_s);
}

void TlsTest::caFiles_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("isGood");
    const TestCertificate root({.commonName = "Root", .signsOthers = true});
    QTest::newRow("one in PEM") << root.pem() << true;
    QTest::newRow("several, with words between")
        << "# first\n" + root.pem() + "# second\n" + root.pem() << true;
    QTest::newRow("in DER") << QSslCertificate(root.pem()).toDer() << true;
    QTest::newRow("empty") << QByteArray() << false;
    QTest::newRow("garbage") << QByteArray("\x30\x82garbage") << false;
    QTest::newRow("cut") << root.pem().left(300) << false;
}

void TlsTest::caFiles()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, isGood);
    const QString path = m_certificates.path() + u"/made.pem"_s;
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    file.close();
    QString problem;
    QCOMPARE(bool(tlsContext(path, problem)), isGood);
    QCOMPARE(problem, isGood ? QString() : u"Failed to load the list of trusted CAs"_s);
    QCOMPARE(ERR_peek_error(), 0ul);
    if (isGood)
        return;
    TlsPeer peer(m_certificates.good);
    RecordingSocket socket(true, {u"localhost"_s, path, {}});
    socket.connectTo(peer.port());
    QVERIFY(socket.ends());
    QCOMPARE(socket.events, (QStringList{u"host"_s, u"error 3"_s}));
    QCOMPARE(socket.socket->errorText(), problem);
}

void TlsTest::trustEndsWithItsUser()
{
    QString problem;
    TlsContext one = tlsContext(m_certificates.ca, problem);
    QCOMPARE(tlsContext(m_certificates.ca, problem), one);
    TlsContext plain = tlsContext({}, problem);
    QVERIFY(plain != one);
    QCOMPARE_EQ(sk_X509_OBJECT_num(X509_STORE_get0_objects(SSL_CTX_get_cert_store(one.get()))),
                sk_X509_OBJECT_num(X509_STORE_get0_objects(SSL_CTX_get_cert_store(plain.get()))) + 1);
    const std::weak_ptr<SSL_CTX> watch = one;
    one.reset();
    QVERIFY(watch.expired());
}

void TlsTest::trustOfTheSystem_data()
{
    QTest::addColumn<QByteArray>("variable");
    QTest::addColumn<QString>("name");
    QTest::newRow("a directory with names as hashes") << "SSL_CERT_DIR"_ba << QString();
    QTest::newRow("one file") << "SSL_CERT_FILE"_ba << u"/ca.pem"_s;
}

void TlsTest::trustOfTheSystem()
{
    QFETCH(QByteArray, variable);
    QFETCH(QString, name);
    QFile ca(m_certificates.ca);
    QVERIFY(ca.open(QIODevice::ReadOnly));
    const QSslCertificate certificate(&ca);
    const X509 *root = static_cast<X509 *>(certificate.handle());
    QVERIFY(root);
    ca.copy(m_certificates.path() +
            u"/%1.0"_s.arg(X509_NAME_hash_ex(X509_get_subject_name(root), nullptr, nullptr, nullptr), 8, 16,
                           QChar(u'0')));
    qputenv(variable.constData(), (m_certificates.path() + name).toUtf8());
    TlsPeer peer(m_certificates.good);
    RecordingSocket socket(true, {u"localhost"_s, {}, {}});
    socket.connectTo(peer.port());
    QVERIFY(comesTrue([&] { return socket.events.size() == 2; }));
    QCOMPARE(socket.events.last(), u"connected"_s);
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
