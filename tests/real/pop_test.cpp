#include "popuser.h"

#include <QTest>

using namespace Qt::StringLiterals;

/// The program against a real POP3 server.
class PopTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void waysIn_data();
    void waysIn();
    void refusedBeforeTheLogin_data();
    void refusedBeforeTheLogin();
    void refusedLogin_data();
    void refusedLogin();
    void oddMail();
    void leavingOnTheServer();
    void manyMessages();

private:
    /// A user that no other test has.
    PopUser newcomer() { return {*m_server, u"user%1"_s.arg(++m_users)}; }
    QByteArray loginOf(const QString &user) const;

    std::unique_ptr<Dovecot> m_server;
    int m_users = 0;
};

void PopTest::initTestCase()
{
    useMemoryForFiles();
    m_server = std::make_unique<Dovecot>();
    QVERIFY2(m_server->problem().isEmpty(), qPrintable(m_server->problem()));
}

/// The server's line about the first time that it heard that name; empty: it never did.
QByteArray PopTest::loginOf(const QString &user) const
{
    for (const QByteArray &line : m_server->log().split('\n')) {
        if (line.contains("user=<" + user.toUtf8() + '>'))
            return line;
    }
    return {};
}

/// Mails that cannot be taken for each other.
static std::vector<QByteArray> mails(const QByteArray &prefix, int count)
{
    std::vector<QByteArray> texts;
    for (int i = 0; i < count; ++i) {
        const QByteArray id = prefix + QByteArray::number(i);
        texts.push_back(mailText(id, "Number " + id, {}, QByteArray(1 + i % 70, char('a' + i % 26)) + "\n"));
    }
    return texts;
}

static void row(const char *name, Shown shown, const QStringList &options, const char *login,
                const QString &user = {})
{
    QTest::newRow(name) << shown << options << QByteArray(login) << user;
}

void PopTest::waysIn_data()
{
    QTest::addColumn<Shown>("shown");
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("login"); // of the server's line, "+" between what is in it
    QTest::addColumn<QString>("user");
    const QStringList trust = {u"--ca-file"_s, u"CA"_s};
    const QStringList pinned = {u"--fingerprint"_s, u"SEEN"_s};
    const QStringList tls = {u"--tls"_s, u"tls"_s};
    const QStringList startTls = {u"--tls"_s, u"starttls"_s};
    const QStringList apop = {u"--apop"_s};
    const QStringList strict = {u"--host"_s, Dovecot::strictHost()};
    row("in the clear", Shown::Good, {}, "Login: + method=PLAIN");
    row("STLS", Shown::Good, startTls + trust, "Login: + method=PLAIN + TLS");
    row("STLS where nothing else will do", Shown::Good, startTls + trust + strict, "Login: + TLS");
    row("TLS from the start", Shown::Good, tls + trust, "Login: + method=PLAIN + TLS");
    row("APOP", Shown::Good, apop, "Login: + method=APOP");
    row("APOP over TLS", Shown::Good, apop + tls + trust, "Login: + method=APOP + TLS");
    row("APOP refused, then the password", Shown::Good, apop, "Login: + method=PLAIN", u"hashed"_s);
    row("a good certificate by its fingerprint", Shown::Good, tls + pinned, "Login: + TLS");
    row("a self-signed certificate by its fingerprint", Shown::SelfSigned, tls + pinned, "Login: + TLS");
    row("an expired certificate by its fingerprint", Shown::Expired, startTls + trust + pinned,
        "Login: + TLS");
    row("a later certificate by its fingerprint", Shown::NotYetValid, tls + trust + pinned, "Login: + TLS");
    row("another host's certificate by its fingerprint", Shown::WrongHost, tls + trust + pinned,
        "Login: + TLS");
    row("an untrusted certificate by its fingerprint", Shown::Untrusted, startTls + pinned, "Login: + TLS");
}

/// Fills in what is known only now.
static QStringList completed(const Dovecot &server, Shown shown, QStringList options)
{
    options.replaceInStrings(u"CA"_s, server.caFile());
    options.replaceInStrings(u"SEEN"_s, QString::fromLatin1(server.fingerprint(shown)));
    if (!options.contains(u"--host"_s))
        options << u"--host"_s << Dovecot::host(shown);
    return options;
}

void PopTest::waysIn()
{
    QFETCH(const Shown, shown);
    QFETCH(const QStringList, options);
    QFETCH(const QByteArray, login);
    QFETCH(const QString, user);
    PopUser reader = user.isEmpty() ? newcomer() : PopUser(*m_server, user);
    const std::vector<QByteArray> texts = mails("w", 3);
    reader.deliver(texts);
    const Program::Result added = reader.addAccount(completed(*m_server, shown, options));
    QVERIFY2(added.status == 0, added.errors.constData());
    const Program::Result result = reader.fetch();
    QVERIFY2(result.status == 0, (result.out + result.errors + m_server->log()).constData());
    const QJsonObject told = result.rows().value(0);
    QVERIFY(told[u"ok"].toBool());
    QCOMPARE(told[u"reason"].toInt(-1), 0);
    QCOMPARE(told[u"received"].toInt(), 3);
    QCOMPARE(differenceTo(reader, texts), QByteArray());
    QCOMPARE(reader.left(), QStringList());
    const bool wantsApop = options.contains(u"--apop"_s);
    QByteArray line = loginOf(reader.name());
    if (wantsApop && login.contains("PLAIN")) { // it was tried first, on the same connection
        const QByteArray log = m_server->log();
        line = log.sliced(log.lastIndexOf("Login: user=<" + reader.name().toUtf8()));
    }
    for (const QByteArray &part : login.split('+'))
        QVERIFY2(line.contains(part.trimmed()), line.constData());
}

void PopTest::refusedBeforeTheLogin_data()
{
    QTest::addColumn<Shown>("shown");
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("detail");
    constexpr std::array kTexts = {
        "",
        "Self signed certificate",
        "The certificate has expired",
        "The certificate is not yet valid",
        "The host name \"127.0.0.14\" doesn't match the certificate name \"elsewhere.example\"",
        "Unable to get local issuer certificate"};
    static_assert(kTexts.size() == kShownNames.size());
    const QStringList trust = {u"--ca-file"_s, u"CA"_s};
    for (const char *tls : {"tls", "starttls"}) {
        const QStringList options = QStringList{u"--tls"_s, QString::fromLatin1(tls)} + trust;
        for (std::size_t i = 1; i < kShownNames.size(); ++i)
            QTest::newRow((QByteArray(kShownNames[i]) + ", " + tls).constData())
                << Shown(i) << options << QByteArray(kTexts[i]);
    }
    const QStringList other = {u"--fingerprint"_s, u"SEEN"_s, u"--host"_s, Dovecot::host(Shown::Expired),
                               u"--tls"_s,         u"tls"_s};
    QTest::newRow("good, its authority unknown")
        << Shown::Good << QStringList{u"--tls"_s, u"tls"_s} << QByteArray("Unable to get local issuer");
    QTest::newRow("expired, another fingerprint")
        << Shown::Good << other + trust << QByteArray("has expired");
}

void PopTest::refusedBeforeTheLogin()
{
    QFETCH(const Shown, shown);
    QFETCH(const QStringList, options);
    QFETCH(const QByteArray, detail);
    PopUser reader = newcomer();
    reader.deliver(mails("r", 1));
    QCOMPARE(reader.addAccount(completed(*m_server, shown, options)).status, 0);
    const Program::Result result = reader.fetch();
    QCOMPARE(result.status, 1);
    const QJsonObject told = result.rows().value(0);
    QVERIFY(!told[u"ok"].toBool(true));
    QCOMPARE(told[u"reason"].toInt(), 3);
    QVERIFY2(told[u"detail"].toString().toUtf8().contains(detail), result.out.constData());
    QVERIFY2(result.errors.contains("Box") && result.errors.contains(detail), result.errors.constData());
    QCOMPARE(loginOf(reader.name()), QByteArray()); // not even the name left
    QCOMPARE(reader.left().size(), 1);
}

void PopTest::refusedLogin_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("password");
    QTest::addColumn<QByteArray>("detail");
    const QStringList tls = {u"--tls"_s, u"tls"_s, u"--ca-file"_s, m_server->caFile()};
    const QStringList strict = {u"--host"_s, Dovecot::strictHost()};
    QTest::newRow("wrong password") << QStringList() << QByteArray("sesame") << QByteArray("[AUTH]");
    QTest::newRow("wrong password over TLS") << tls << QByteArray("sesame") << QByteArray("[AUTH]");
    QTest::newRow("wrong password, APOP first")
        << QStringList{u"--apop"_s} << QByteArray("sesame") << QByteArray("[AUTH]");
    QTest::newRow("no passwords in the clear") << strict << QByteArray("secret") << QByteArray("Plaintext");
}

void PopTest::refusedLogin()
{
    QFETCH(const QStringList, options);
    QFETCH(const QByteArray, password);
    QFETCH(const QByteArray, detail);
    PopUser reader = newcomer();
    const std::vector<QByteArray> texts = mails("p", 2);
    reader.deliver(texts);
    QCOMPARE(reader.addAccount(options, password).status, 0);
    const Program::Result result = reader.fetch();
    QCOMPARE(result.status, 1);
    const QJsonObject told = result.rows().value(0);
    QCOMPARE(told[u"reason"].toInt(), 5);
    QVERIFY2(told[u"detail"].toString().startsWith("-ERR"_L1) && result.out.contains(detail),
             result.out.constData());
    QVERIFY(!(result.out + result.errors).contains(password));
    QCOMPARE(reader.left().size(), 2);

    QCOMPARE(reader.run({u"account"_s, u"remove"_s, u"Box"_s}).status, 0);
    QCOMPARE(reader.addAccount().status, 0);
    QCOMPARE(reader.fetch().status, 0);
    QCOMPARE(differenceTo(reader, texts), QByteArray());
}

/// What a server must not be believed to change, byte for byte.
void PopTest::oddMail()
{
    const std::vector<QByteArray> texts = {
        mailText("dots", "Dots", {}, ".\n..\n.a\n\n.\n"),
        mailText("bytes", "Bytes", {}, QByteArray("NUL \0 and \x80\xFF\r alone\n", 20)),
        mailText("line", "A long line", {}, QByteArray(300'000, 'x') + "\n"),
        mailText("empty", "No body", {}, ""),
        mailText("ends", "Empty lines at the end", {}, "text\n\n\n\n"),
        mailText("from", "A separator", {}, "\nFrom nobody Mon Jan 1 00:00:00 2024\nFrom: x\n"),
        "Subject: no header but this\n\nbody\n",
        mailText("same", "Twice the same"),
        mailText("same", "Twice the same"),
        mailText("same", "Twice the id", {}, "other\n"),
    };
    PopUser reader = newcomer();
    reader.deliver(texts);
    QCOMPARE(reader.addAccount().status, 0);
    const Program::Result result = reader.fetch();
    QVERIFY2(result.status == 0, result.errors.constData());
    QCOMPARE(differenceTo(reader, texts), QByteArray());
    QCOMPARE(reader.left(), QStringList());
}

void PopTest::leavingOnTheServer()
{
    PopUser reader = newcomer();
    std::vector<QByteArray> texts = mails("l", 20);
    reader.deliver(texts);
    QCOMPARE(reader.addAccount({u"--leave-on-server"_s}).status, 0);
    QCOMPARE(reader.fetch().rows().value(0)[u"received"].toInt(), 20);
    QCOMPARE(reader.left().size(), 20);
    QCOMPARE(reader.fetch().rows().value(0)[u"received"].toInt(-1), 0);
    QCOMPARE(differenceTo(reader, texts), QByteArray());

    m_server->remove(reader.name(), reader.left().at(3)); // by another program
    const std::vector<QByteArray> later = mails("later", 2);
    reader.deliver(later);
    texts.insert(texts.end(), later.begin(), later.end());
    QCOMPARE(reader.fetch().rows().value(0)[u"received"].toInt(), 2);
    QCOMPARE(reader.fetch().rows().value(0)[u"received"].toInt(-1), 0);
    QCOMPARE(differenceTo(reader, texts), QByteArray());
    QCOMPARE(reader.left().size(), 21);
}

void PopTest::manyMessages()
{
    constexpr int kMany = 10'000;
    PopUser reader = newcomer();
    std::vector<QByteArray> texts = mails("m", kMany);
    reader.deliver(texts);
    QCOMPARE(reader.addAccount({u"--leave-on-server"_s}).status, 0);
    const Program::Result first = reader.fetch();
    QVERIFY2(first.status == 0, first.errors.constData());
    QCOMPARE(first.rows().value(0)[u"received"].toInt(), kMany);
    const std::vector<QByteArray> later = mails("afterwards", 5);
    reader.deliver(later);
    texts.insert(texts.end(), later.begin(), later.end());
    QCOMPARE(reader.fetch().rows().value(0)[u"received"].toInt(), 5);
    QCOMPARE(differenceTo(reader, texts), QByteArray());
    QCOMPARE(reader.left().size(), kMany + 5);
}

QTEST_GUILESS_MAIN(PopTest)
#include "pop_test.moc"
