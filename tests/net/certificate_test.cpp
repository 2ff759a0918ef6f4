#include "net/socket/certificateinfo.h"
#include "net/socket/tlscontext.h"
#include "net/socket/verification.h"

#include "config/clock.h"
#include "servers/recordingsocket.h"
#include "servers/scriptedserver.h"
#include "servers/tlspeer.h"

#include <QTest>

#include <openssl/err.h>

using namespace Qt::StringLiterals;

namespace {

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

class CertificateTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void certificates_data();
    void certificates();
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

private:
    Certificates m_certificates;
};

/// What this machine trusts is no matter here.
void CertificateTest::init()
{
    qputenv("SSL_CERT_DIR", m_certificates.path().toUtf8() + "/none");
    qunsetenv("SSL_CERT_FILE");
}

void CertificateTest::certificates_data()
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
void CertificateTest::certificates()
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
                     [&](const CertificateReport &report, const std::function<void(bool)> &answer) {
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

void CertificateTest::names_data()
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

void CertificateTest::names()
{
    QFETCH(QByteArray, commonName);
    QFETCH(QList<QByteArray>, hosts);
    QFETCH(QList<QByteArray>, addresses);
    QFETCH(QString, host);
    QFETCH(bool, fits);
    const TestCertificate certificate({.commonName = commonName, .hosts = hosts, .addresses = addresses});
    QCOMPARE(isForHost(certificate.certificate(), host), fits);
}

void CertificateTest::dates_data()
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
void CertificateTest::dates()
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

void CertificateTest::whatIsKnown()
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

void CertificateTest::hostileNames()
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

void CertificateTest::verificationTexts()
{
    const QHash<int, QString> texts = {
        {2, u"Unable to get issuer certificate"_s},
        {4, u"Unable to decrypt certificate's signature"_s},
        {6, u"Unable to decode issuer public key"_s},
        {7, u"Certificate signature failure"_s},
        {9, u"The certificate is not yet valid"_s},
        {10, u"The certificate has expired"_s},
        {13, u"Format error in certificate's notBefore field"_s},
        {14, u"Format error in certificate's notAfter field"_s},
        {17, u"Out of memory"_s},
        {18, u"Self signed certificate"_s},
        {19, u"Self signed certificate in certificate chain"_s},
        {20, u"Unable to get local issuer certificate"_s},
        {21, u"Unable to verify the first certificate"_s},
        {24, u"Invalid CA certificate"_s},
        {25, u"Path length constraint exceeded"_s},
        {26, u"Unsupported certificate purpose"_s},
        {27, u"Certificate not trusted"_s},
        {28, u"Certificate rejected"_s},
        {29, u"Subject issuer mismatch"_s},
        {30, u"Authority and subject key identifier mismatch"_s},
        {31, u"Authority and issuer serial number mismatch"_s},
        {32, u"Key usage does not include certificate signing"_s},
        {X509_V_ERR_INVALID_CA, u"Invalid CA certificate"_s}, // its number since OpenSSL 3
    };
    for (int result = -1; result <= 100; ++result)
        QCOMPARE(verificationText(result), texts.value(result, u"An unknown error occurred"_s));
}

void CertificateTest::caFiles_data()
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

void CertificateTest::caFiles()
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

void CertificateTest::trustEndsWithItsUser()
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

void CertificateTest::trustOfTheSystem_data()
{
    QTest::addColumn<QByteArray>("variable");
    QTest::addColumn<QString>("name");
    QTest::newRow("a directory with names as hashes") << "SSL_CERT_DIR"_ba << QString();
    QTest::newRow("one file") << "SSL_CERT_FILE"_ba << u"/ca.pem"_s;
}

void CertificateTest::trustOfTheSystem()
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

QTEST_GUILESS_MAIN(CertificateTest)
#include "certificate_test.moc"
