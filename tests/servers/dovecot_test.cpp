#include "servers/dovecot.h"

#include "support/mail.h"
#include "support/memory.h"

#include <QSslCertificate>
#include <QSslSocket>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;

/// What the other tests rely on when they talk to a real server.
class DovecotTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void servesWhatWasDelivered();
    void refusals_data();
    void refusals();
    void certificates_data();
    void certificates();
    void comesBackAfterAKill();

private:
    QByteArray talk(const QString &host, const QByteArray &commands) const;

    std::unique_ptr<Dovecot> m_server;
};

void DovecotTest::initTestCase()
{
    useMemoryForFiles();
    m_server = std::make_unique<Dovecot>();
    QVERIFY2(m_server->problem().isEmpty(), qPrintable(m_server->problem()));
}

/// All that the server says until it closes the connection.
QByteArray DovecotTest::talk(const QString &host, const QByteArray &commands) const
{
    QTcpSocket socket;
    socket.connectToHost(host, quint16(m_server->port()));
    socket.write(commands);
    while (socket.waitForReadyRead(5000) || socket.state() == QAbstractSocket::ConnectedState) {
    }
    return socket.readAll();
}

void DovecotTest::servesWhatWasDelivered()
{
    const std::vector<QByteArray> texts = {mailText("a", "First"), mailText("b", "Second \x80", {}, "..\n")};
    m_server->deliver(u"ada"_s, texts);
    QCOMPARE(m_server->files(u"ada"_s).size(), 2);
    const QByteArray said =
        talk(Dovecot::host(), "USER ada\r\nPASS secret\r\nLIST\r\nRETR 2\r\nDELE 1\r\nQUIT\r\n");
    for (int i = 0; i < 2; ++i) {
        const qsizetype size = texts[std::size_t(i)].size() + texts[std::size_t(i)].count('\n');
        QVERIFY2(said.contains("\r\n" + QByteArray::number(i + 1) + ' ' + QByteArray::number(size) + "\r\n"),
                 said.constData());
    }
    QVERIFY2(said.contains("Subject: Second \x80\r\n") && said.contains("\r\n...\r\n.\r\n"),
             said.constData());
    const QStringList left = m_server->files(u"ada"_s);
    QCOMPARE(left.size(), 1);
    QCOMPARE(m_server->text(u"ada"_s, left.first()), texts[1]);
}

void DovecotTest::refusals_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<QByteArray>("commands");
    QTest::addColumn<QByteArray>("refusal");
    QTest::newRow("another password")
        << Dovecot::host() << QByteArray("USER ada\r\nPASS sesame\r\nQUIT\r\n") << QByteArray("-ERR [AUTH]");
    QTest::newRow("a password in the clear")
        << Dovecot::strictHost() << QByteArray("USER ada\r\nPASS secret\r\nQUIT\r\n")
        << QByteArray("Plaintext authentication disallowed");
}

void DovecotTest::refusals()
{
    QFETCH(const QString, host);
    QFETCH(const QByteArray, commands);
    QFETCH(const QByteArray, refusal);
    const QByteArray said = talk(host, commands);
    QVERIFY2(said.startsWith("+OK") && said.contains('<') && said.contains(refusal), said.constData());
}

void DovecotTest::certificates_data()
{
    QTest::addColumn<Shown>("shown");
    QTest::addColumn<QSslError::SslError>("error");
    using Error = QSslError::SslError;
    constexpr std::array kErrors = {Error::NoError,
                                    Error::SelfSignedCertificate,
                                    Error::CertificateExpired,
                                    Error::CertificateNotYetValid,
                                    Error::HostNameMismatch,
                                    Error::UnableToGetLocalIssuerCertificate};
    for (std::size_t i = 0; i < kShownNames.size(); ++i)
        QTest::newRow(kShownNames[i]) << Shown(i) << kErrors[i];
}

void DovecotTest::certificates()
{
    QFETCH(const Shown, shown);
    QFETCH(const QSslError::SslError, error);
    QSslSocket socket;
    QSslConfiguration configuration = socket.sslConfiguration();
    configuration.setCaCertificates(QSslCertificate::fromPath(m_server->caFile()));
    socket.setSslConfiguration(configuration);
    socket.setPeerVerifyMode(QSslSocket::QueryPeer); // looks, and goes on
    socket.connectToHostEncrypted(Dovecot::host(shown), quint16(m_server->tlsPort()));
    QVERIFY(socket.waitForEncrypted(5000));
    QCOMPARE(socket.peerCertificate().digest(QCryptographicHash::Sha256).toHex(),
             m_server->fingerprint(shown));
    const QList<QSslError> errors = socket.sslHandshakeErrors();
    QVERIFY2(error == QSslError::NoError
                 ? errors.isEmpty()
                 : std::any_of(errors.begin(), errors.end(),
                               [=](const QSslError &each) { return each.error() == error; }),
             qPrintable(errors.isEmpty() ? u"no error"_s : errors.first().errorString()));
}

void DovecotTest::comesBackAfterAKill()
{
    m_server->deliver(u"grace"_s, {mailText("c", "Third")});
    QTcpSocket socket;
    socket.connectToHost(Dovecot::host(), quint16(m_server->port()));
    QVERIFY(socket.waitForReadyRead(5000));
    m_server->kill();
    QVERIFY(socket.state() != QAbstractSocket::ConnectedState || socket.waitForDisconnected(5000));
    QVERIFY2(m_server->start(), qPrintable(m_server->problem()));
    QVERIFY(talk(Dovecot::host(), "USER grace\r\nPASS secret\r\nSTAT\r\nQUIT\r\n").contains("+OK 1 "));
}

QTEST_GUILESS_MAIN(DovecotTest)
#include "dovecot_test.moc"
