#include "compose/messagebuilder.h"
#include "message/address.h"
#include "message/mimecontext.h"
#include "net/popsession.h"
#include "net/smtpsession.h"
#include "servers/postfix.h"
#include "support/memory.h"

#include <QRandomGenerator>

using namespace Qt::StringLiterals;

using Reason = AccountFetchReason;

namespace {

constexpr int kMany = 250;

QString memberName(int i)
{
    return u"member%1"_s.arg(i);
}

QByteArray someBytes(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator random(5);
    std::generate(bytes.begin(), bytes.end(), [&] { return char(random.bounded(256)); });
    return bytes;
}

Composition mail(const QString &to)
{
    Composition mail;
    mail.identity.name = u"Ada \"the first\" Lovelace, Gräfin"_s;
    mail.identity.address = u"ada@test.example"_s;
    mail.to = to;
    mail.subject = u"Grüße"_s;
    mail.text = u"Hello.\n"_s;
    mail.wrap = false;
    return mail;
}

/// The readable parts of a message in one form: type, name and content.
QList<QByteArray> partsOf(const QByteArray &message)
{
    const MIMEContext mime = MIMEContext::parse(message);
    QList<QByteArray> parts;
    for (int i = 0; i < mime.count(); ++i) {
        const MIMEPart &part = mime.part(i);
        if (isMultipartCategory(part.type))
            continue;
        QByteArray content = isTextCategory(part.type) ? mime.decodedText(i).toUtf8() : mime.decodedBytes(i);
        while (content.endsWith('\n')) // the last belongs to the dot, or to a boundary
            content.chop(1);
        parts += part.contenttype + ' ' + part.name.toUtf8() + '\n' + content;
    }
    return parts;
}

/// The one with that name among partsOf(); empty without one.
QByteArray partOf(const QByteArrayList &parts, const QString &name)
{
    for (const QByteArray &part : parts) {
        if (part.first(part.indexOf('\n')).endsWith(' ' + name.toUtf8()))
            return part;
    }
    return {};
}

/// How many of @p calls begin with @p word.
qsizetype countOf(const QByteArrayList &calls, const char *word)
{
    return std::count_if(calls.begin(), calls.end(),
                         [word](const QByteArray &each) { return each.startsWith(word); });
}

QStringList addressesOf(const Message &message, const char *field)
{
    QStringList all;
    for (const Address &each : message.addresses(field))
        all += each.name + u'|' + each.address;
    return all;
}

} // namespace

Q_DECLARE_METATYPE(Composition)

/// What compose writes goes through a real server and comes back by POP3 as it was meant.
class SmtpTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void waysIn_data();
    void waysIn();
    void refused_data();
    void refused();
    void answers();
    void comesBack_data();
    void comesBack();
    void blindCopies();
    void manyRecipients();
    void largeAttachment();

private:
    std::vector<QByteArray> fetch(const QString &user, int count);
    QString newcomer() { return u"user%1"_s.arg(m_users++); }
    static QString addressOf(const QString &user) { return user + u"@test.example"_s; }

    std::unique_ptr<Dovecot> m_mailboxes;
    std::unique_ptr<Postfix> m_server;
    int m_users = 0;
};

void SmtpTest::initTestCase()
{
    const char *what = "Postfix needs root, and a machine without another mail server";
    QVERIFY2(Postfix::canRun() || !Postfix::mustRun(), what);
    if (!Postfix::canRun())
        QSKIP(what);
    useMemoryForFiles();
    m_mailboxes = std::make_unique<Dovecot>();
    QVERIFY2(m_mailboxes->problem().isEmpty(), qPrintable(m_mailboxes->problem()));
    QStringList users;
    for (int i = 0; i < 60; ++i)
        users += u"user%1"_s.arg(i);
    for (int i = 0; i < kMany; ++i)
        users += memberName(i);
    m_server = std::make_unique<Postfix>(*m_mailboxes, users);
    QVERIFY2(m_server->problem().isEmpty(), qPrintable(m_server->problem()));
}

/// What the mailbox holds once @p count messages were delivered, by POP3.
std::vector<QByteArray> SmtpTest::fetch(const QString &user, int count)
{
    if (!QTest::qWaitFor([&] { return m_mailboxes->files(user).size() >= count; }, 20000)) {
        qWarning("not delivered:\n%s", m_server->log().right(2000).constData());
        return {};
    }
    PopUserAtTest reader;
    reader.data.user = user;
    reader.data.password = u"secret"_s;
    if (!reader.meet(m_mailboxes->port()).start() || !reader.waitForEnd() ||
        reader.end.reason != Reason::None)
        qWarning("not fetched: %s", qPrintable(reader.end.detail));
    return reader.store.texts();
}

void SmtpTest::waysIn_data()
{
    QTest::addColumn<Door>("door");
    QTest::addColumn<quint32>("flags");
    QTest::addColumn<bool>("logsIn");
    QTest::addColumn<QByteArray>("logged");
    QTest::newRow("without a login") << Door::Plain << quint32(0) << false << QByteArray("client=");
    QTest::newRow("CRAM-MD5") << Door::Login << quint32(0) << true << QByteArray("sasl_method=CRAM-MD5");
    QTest::newRow("STARTTLS") << Door::Login << quint32(AccountStartTls) << true
                              << QByteArray("sasl_method=CRAM-MD5");
    QTest::newRow("submission") << Door::Submission << quint32(AccountStartTls | AccountNeedsEncryption)
                                << true << QByteArray("sasl_method=CRAM-MD5");
    QTest::newRow("TLS from the start") << Door::Tls << quint32(AccountTls | AccountNeedsEncryption) << true
                                        << QByteArray("sasl_method=CRAM-MD5");
    QTest::newRow("the server knows a hash only, so PLAIN follows")
        << Door::Tls << quint32(AccountTls) << true << QByteArray("sasl_method=PLAIN");
}

void SmtpTest::waysIn()
{
    QFETCH(const Door, door);
    QFETCH(const quint32, flags);
    QFETCH(const bool, logsIn);
    QFETCH(const QByteArray, logged);
    constexpr int kMails = 4; // of which the last two begin behind the text before them
    const QString user = newcomer();
    const QString login = logged.endsWith("PLAIN") ? u"hashed"_s : user;
    const auto encrypted = [this] { return m_server->log().count("TLS connection established from"); };
    const qsizetype before = encrypted();
    {
        SmtpUserAtTest ada(flags, logsIn ? u"secret"_s : QString());
        ada.trusted = m_mailboxes->caFile();
        ada.data.user = login;
        for (int i = 0; i < kMails; ++i)
            ada.queue.add(buildMessage(mail(addressOf(user))));
        QVERIFY(ada.meet(m_server->port(door)).start() && ada.waitForEnd());
        QVERIFY2(ada.end.reason == Reason::None, qPrintable(ada.end.detail));
        QCOMPARE(countOf(ada.queue.calls, "accepted"), kMails);
    }
    QCOMPARE(fetch(user, kMails).size(), std::size_t(kMails));
    QCOMPARE(encrypted() - before, (flags & (AccountStartTls | AccountTls)) != 0 ? 1 : 0);
    const QByteArray expected = logsIn ? logged + ", sasl_username=" + login.toUtf8() : logged;
    QVERIFY2(m_server->log().contains(expected), m_server->log().constData());
}

void SmtpTest::refused_data()
{
    QTest::addColumn<Door>("door");
    QTest::addColumn<quint32>("flags");
    QTest::addColumn<QString>("password");
    QTest::addColumn<Reason>("reason");
    QTest::addColumn<QString>("detail");
    QTest::newRow("wrong password") << Door::Login << quint32(0) << u"sesame"_s << Reason::Unexpected
                                    << u"535 5.7.8"_s;
    QTest::newRow("no encryption is offered") << Door::Plain << quint32(AccountStartTls) << u"secret"_s
                                              << Reason::LoginFailed << u"does not offer one (STARTTLS)"_s;
    QTest::newRow("encryption is demanded, and behind it a login")
        << Door::Submission << quint32(0) << QString() << Reason::WithErrors << u"554 5.7.1"_s;
}

void SmtpTest::refused()
{
    QFETCH(const Door, door);
    QFETCH(const quint32, flags);
    QFETCH(const QString, password);
    QFETCH(const QString, detail);
    SmtpUserAtTest ada(flags, password);
    ada.trusted = m_mailboxes->caFile();
    ada.data.user = u"user0"_s;
    ada.queue.add(buildMessage(mail(addressOf(u"user0"_s))));
    QVERIFY(ada.meet(m_server->port(door)).start() && ada.waitForEnd());
    QTEST(ada.end.reason, "reason");
    QVERIFY2(ada.end.detail.contains(detail), qPrintable(ada.end.detail));
    QVERIFY(!ada.end.sent);
}

/// Fixed answers of the server, among recipients who are served.
void SmtpTest::answers()
{
    const QString user = newcomer();
    {
        SmtpUserAtTest ada(0, {});
        const auto waiting = [&](const QString &to) { ada.queue.add(buildMessage(mail(to))); };
        waiting(u"later@test.example, full@test.example, no@test.example, a@elsewhere.example, "_s +
                addressOf(user));
        waiting(u"no@test.example"_s);
        waiting(addressOf(user));
        waiting(u"gone@test.example"_s);
        waiting(addressOf(user));
        QVERIFY(ada.meet(m_server->port(Door::Login)).start() && ada.waitForEnd());
        QCOMPARE(ada.end.reason, Reason::Unexpected);
        QVERIFY2(ada.end.detail.startsWith(u"421 4.3.2"_s), qPrintable(ada.end.detail));
        const QByteArrayList &calls = ada.queue.calls;
        for (const char *each : {"| later@test.example 450 4.2.0", "| full@test.example 452 4.2.2",
                                 "| no@test.example 550 5.1.1", "| a@elsewhere.example 554 5.7.1"})
            QVERIFY2(calls.first().contains(each), calls.first().constData());
        QCOMPARE(countOf(calls, "accepted"), 2);
        QVERIFY2(calls.contains("release 4 early") && calls.join('\n').contains("refused 4 |  421 4.3.2"),
                 calls.join('\n').constData());
        QCOMPARE(ada.queue.waiting(7), 1);
    }
    QCOMPARE(fetch(user, 2).size(), 2);
}

void SmtpTest::comesBack_data()
{
    QTest::addColumn<Composition>("composition");
    QTest::addColumn<Door>("door");
    const auto row = [](const char *name, const std::function<void(Composition &)> &change) {
        Composition composition = mail({});
        change(composition);
        QTest::newRow(name) << composition << Door::Login;
        QTest::newRow((QByteArray(name) + ", through an old server").constData())
            << composition << Door::Plain;
    };
    row("plain", [](Composition &it) { it.text = u"One line\n\n> quoted\n-- \nAda\n"_s; });
    row("leading dots", [](Composition &it) { it.text = u".\n..\n.a\n\n.\n...\n"_s; });
    row("lines of 5,000 characters",
        [](Composition &it) { it.text = u"word ä "_s.repeated(700) + u'\n' + QString(5000, u'x') + u'\n'; });
    row("rich, with a picture", [](Composition &it) {
        it.html = u"<html><body><p>Gr\u00fc\u00dfe <b>fett</b> <img src=\"cid:p@x\"></p></body></html>"_s;
        it.attachments = {{u"p.png"_s, "image/png", someBytes(3000), "p@x"}};
    });
    row("attachments", [](Composition &it) {
        it.attachments = {{u"B\u00fcro \"1\"; \u65e5\u672c.pdf"_s, "application/pdf", someBytes(70001), {}},
                          {u"a b.txt"_s, "text/plain; charset=utf-8", QByteArray("zw\xc3\xb6lf\r\n.\n"), {}},
                          {u"empty.bin"_s, "application/octet-stream", {}, {}}};
    });
    struct Written
    {
        const char *charset;
        QString text;
    };
    for (const Written &each : {Written{"UTF-8", u"\u20ac \u65e5\u672c\u8a9e \U0001f600\n"_s},
                                {"ISO-8859-1", u"caf\u00e9\n"_s},
                                {"ISO-8859-15", u"5 \u20ac\n"_s},
                                {"KOI8-R", u"\u041f\u0440\u0438\u0432\u0435\u0442\n"_s},
                                {"ISO-2022-JP", u"\u65e5\u672c\u8a9e\n"_s},
                                {"windows-1252", u"\u201equoted\u201c\n"_s}})
        row(each.charset, [&](Composition &it) {
            it.charset = each.charset;
            it.text = each.text;
            it.subject = each.text.trimmed();
        });
}

/// Text, parts and their names, and everybody's name are what compose had written.
void SmtpTest::comesBack()
{
    QFETCH(Composition, composition);
    QFETCH(const Door, door);
    const QString user = newcomer();
    composition.to = u"\"Bob (\\\"B\\\") M\u00fcller, jr.\" <"_s + addressOf(user) + u'>';
    QByteArray written;
    {
        SmtpUserAtTest ada(0, {});
        written = buildMessage(composition);
        ada.queue.add(written);
        QVERIFY(ada.meet(m_server->port(door)).start() && ada.waitForEnd());
        QVERIFY2(ada.end.reason == Reason::None, qPrintable(ada.end.detail));
    }
    const std::vector<QByteArray> texts = fetch(user, 1);
    QCOMPARE(texts.size(), std::size_t(1));
    const Message before(written), after(texts.front());
    QCOMPARE(partsOf(after.text()), partsOf(before.text()));
    QByteArrayList parts = partsOf(after.text());
    const QByteArray text = composition.text.toUtf8();
    QVERIFY2(parts.takeFirst().contains('\n' + text.chopped(1)), text.constData());
    for (const Attachment &each : composition.attachments) {
        const QByteArray part = partOf(parts, each.name);
        QVERIFY2(!part.isEmpty(), qPrintable(each.name));
        QVERIFY(each.contentType.startsWith("text/") || part.endsWith('\n' + each.data));
    }
    QCOMPARE(after.subject(), composition.subject);
    QCOMPARE(addressesOf(after, "To"), QStringList{u"Bob (\"B\") M\u00fcller, jr.|"_s + addressOf(user)});
    QCOMPARE(addressesOf(after, "From"), QStringList{composition.identity.name + u"|ada@test.example"_s});
    QCOMPARE(after.messageId(), before.messageId());
    const QByteArray header = after.headerBlock().toByteArray().toLower();
    QVERIFY2(!header.contains("x-velmar-"), header.constData());
}

void SmtpTest::blindCopies()
{
    const QString open = newcomer(), copied = newcomer(), blind = newcomer();
    {
        SmtpUserAtTest ada(0, {});
        Composition composition = mail(addressOf(open));
        composition.cc = addressOf(copied);
        composition.bcc = addressOf(blind);
        ada.queue.add(buildMessage(composition));
        QVERIFY(ada.meet(m_server->port(Door::Login)).start() && ada.waitForEnd());
        QCOMPARE(ada.queue.calls.value(1).count('@'), 3);
    }
    for (const QString &user : {open, copied, blind}) {
        const std::vector<QByteArray> texts = fetch(user, 1);
        QCOMPARE(texts.size(), std::size_t(1));
        const Message message(texts.front());
        QVERIFY(!message.hasHeader("Bcc"));
        QCOMPARE(message.text().contains(blind.toLatin1() + '@'), user == blind); // the server's own lines
    }
}

void SmtpTest::manyRecipients()
{
    QStringList all;
    for (int i = 0; i < kMany; ++i)
        all += addressOf(memberName(i));
    SmtpUserAtTest ada(0, {});
    ada.queue.add(buildMessage(mail(all.join(u", "_s))));
    QVERIFY(ada.meet(m_server->port(Door::Login)).start() && ada.waitForEnd());
    QVERIFY2(ada.end.reason == Reason::None, qPrintable(ada.end.detail));
    QCOMPARE(countOf(ada.queue.calls, "accepted"), 3);
    const auto delivered = [&](int count) {
        for (int i = 0; i < kMany; ++i) {
            if (m_mailboxes->files(memberName(i)).size() != count)
                return false;
        }
        return true;
    };
    QVERIFY(QTest::qWaitFor([&] { return delivered(1); }, 60000));
    const std::vector<QByteArray> texts = fetch(memberName(kMany - 1), 1);
    QCOMPARE(texts.size(), std::size_t(1));
    QStringList named;
    for (const QString &each : all)
        named += u'|' + each;
    QCOMPARE(addressesOf(Message(texts.front()), "To"), named);
}

void SmtpTest::largeAttachment()
{
    const QString user = newcomer();
    const QByteArray bytes = someBytes(20'000'000);
    {
        SmtpUserAtTest ada(AccountTls, u"secret"_s);
        ada.trusted = m_mailboxes->caFile();
        Composition composition = mail(addressOf(user));
        composition.attachments = {{u"large.bin"_s, "application/octet-stream", bytes, {}}};
        ada.queue.add(buildMessage(composition));
        composition.attachments.front().data = someBytes(Postfix::kMostBytes);
        ada.queue.add(buildMessage(composition));
        QVERIFY(ada.meet(m_server->port(Door::Tls)).start() && ada.waitForEnd());
        QCOMPARE(ada.end.reason, Reason::WithErrors);
        QCOMPARE(countOf(ada.queue.calls, "accepted"), 1);
        QVERIFY2(ada.end.detail.contains(u"and the server takes 60.0 MB at most"_s),
                 qPrintable(ada.end.detail));
    }
    const std::vector<QByteArray> texts = fetch(user, 1);
    QCOMPARE(texts.size(), std::size_t(1));
    const MIMEContext mime = MIMEContext::parse(texts.front());
    QCOMPARE(mime.count(), 2);
    QVERIFY(mime.decodedBytes(1) == bytes);
}

QTEST_GUILESS_MAIN(SmtpTest)
#include "smtp_test.moc"
