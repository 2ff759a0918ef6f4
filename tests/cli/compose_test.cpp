#include "program.h"

#include "message/message.h"
#include "servers/scriptedserver.h"

#include <QTest>

using namespace Qt::StringLiterals;

/// Messages written by the real program: where they come to lie, and what stands in them.
class ComposeTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void init();
    void cleanup() { m_program.reset(); }

    void wrongUsage_data();
    void wrongUsage();
    void whatCannotBe_data();
    void whatCannotBe();
    void intoDrafts();
    void intoTheOutbox();
    void printed();
    void answers();
    void formattedAndAttached();
    void aCharacterSetThatIsTooSmall();
    void sent();
    void sentAndNotFiled();

private:
    Program::Result compose(const QStringList &words, const QByteArray &body = "Hello\n")
    {
        return m_program->run(QStringList{u"compose"_s, u"--from"_s, u"Ada"_s} + words, body);
    }
    QByteArray raw(const QString &group, const QString &number)
    {
        return m_program->run({u"show"_s, group, number, u"--raw"_s}).out;
    }

    QByteArray taking(const QByteArray &to, const QString &number);
    static QStringList outgoingAccount(int port);

    std::unique_ptr<Program> m_program;
};

void ComposeTest::init()
{
    m_program = std::make_unique<Program>();
    const QString signature = m_program->write(u"main.txt"_s, "Ada's signature\n");
    const auto added = m_program->run({u"identity"_s, u"add"_s, u"--name"_s, u"Ada"_s, u"--email"_s,
                                       u"ada@example.org"_s, u"--signature-file"_s, signature});
    QCOMPARE(added.status, 0);
    const QString mail = m_program->write(
        u"mail.eml"_s, "From: Bob <bob@example.org>\nTo: ada@example.org\nSubject: Lunch\nMessage-ID: <1@x>\n"
                       "\nHello\n");
    QCOMPARE(m_program->run({u"import"_s, u"Lists/kernel"_s, mail}).status, 0);
}

void ComposeTest::wrongUsage_data()
{
    QTest::addColumn<QStringList>("words");
    const QStringList to = {u"--to"_s, u"bob@example.org"_s};
    const QStringList subject = {u"--subject"_s, u"s"_s};
    const QStringList from = {u"--from"_s, u"Ada"_s};
    QTest::newRow("no identity") << to + subject;
    QTest::newRow("no recipient") << from + subject;
    QTest::newRow("no subject") << from + to;
    QTest::newRow("a word too many") << from + to + subject + QStringList{u"more"_s};
    QTest::newRow("an unknown option") << from + to + subject + QStringList{u"--quick"_s};
    QTest::newRow("two lines of recipients")
        << from + subject + QStringList{u"--to"_s, u"a@b.example\nBcc: c@d.example"_s};
    QTest::newRow("no such character set")
        << from + to + subject + QStringList{u"--charset"_s, u"latin-99"_s};
    QTest::newRow("sent and printed") << from + to + subject + QStringList{u"--send"_s, u"--print"_s};
    QTest::newRow("an answer that forwards")
        << from + to + QStringList{u"--reply-to=Inbox/1"_s, u"--forward=Inbox/1"_s};
}

void ComposeTest::wrongUsage()
{
    QFETCH(QStringList, words);
    const auto result = m_program->run(QStringList{u"compose"_s} + words);
    QCOMPARE(result.status, 2);
    QVERIFY(result.errors.contains("usage: velmar-cli compose "));
    QCOMPARE(result.out, QByteArray());
}

void ComposeTest::whatCannotBe_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QByteArray>("complaint");
    QTest::newRow("a file that is not there") << QStringList{u"--attach"_s, u"/no/such/file"_s}
                                              << QByteArray("Unable to attach file '/no/such/file'");
    QTest::newRow("a file without an end")
        << QStringList{u"--attach"_s, u"/dev/zero"_s} << QByteArray("Unable to attach file '/dev/zero'");
    QTest::newRow("no such message") << QStringList{u"--reply-to"_s, u"Lists/kernel/9"_s}
                                     << QByteArray("There is no message 9 in 'Lists/kernel'");
    QTest::newRow("no such group") << QStringList{u"--forward"_s, u"Nowhere/1"_s}
                                   << QByteArray("There is no group 'Nowhere'");
    QTest::newRow("no number") << QStringList{u"--forward"_s, u"Inbox"_s}
                               << QByteArray("'Inbox' is no GROUP/NUMBER");
    QTest::newRow("no such template")
        << QStringList{u"--template"_s, u"../Config"_s} << QByteArray("There is no template '../Config'");
    QTest::newRow("no such identity")
        << QStringList{u"--from"_s, u"Eve"_s} << QByteArray("There is no identity 'Eve'");
    QTest::newRow("what is to be encrypted")
        << QStringList{u"--encrypt"_s, u"--send"_s} << QByteArray("neither encrypted nor signed");
    QTest::newRow("no address") << QStringList{u"--to"_s, u"not an address"_s, u"--send"_s}
                                << QByteArray("address");
}

void ComposeTest::whatCannotBe()
{
    QFETCH(QStringList, words);
    QFETCH(QByteArray, complaint);
    const auto result = compose(QStringList{u"--to"_s, u"bob@example.org"_s, u"--subject"_s, u"s"_s} + words);
    QCOMPARE(result.status, 1);
    QVERIFY2(result.errors.contains(complaint), result.errors.constData());
    for (const QJsonObject &group : m_program->json({u"groups"_s}).rows()) {
        if (group[u"role"_s] == u"drafts"_s || group[u"role"_s] == u"outbox"_s)
            QCOMPARE(group[u"total"_s].toInt(), 0);
    }
}

void ComposeTest::intoDrafts()
{
    const auto result = m_program->run(
        {u"--json"_s, u"compose"_s, u"--from"_s, u"1"_s, u"--to"_s, u"Bob <bob@example.org>"_s, u"--to"_s,
         u"carol@example.org"_s, u"--bcc"_s, u"dora@example.org"_s, u"--subject"_s, u"Gr\u00f6\u00dfe"_s},
        "Hello\r\nBob\r\n");
    QCOMPARE(result.status, 0);
    const QJsonObject row = result.rows().value(0);
    QCOMPARE(row[u"group"_s].toString(), u"Drafts"_s);
    const Message message(raw(u"Drafts"_s, QString::number(row[u"number"_s].toInt())));
    QCOMPARE(QString::fromLatin1(message.messageId()), row[u"message_id"_s].toString());
    QCOMPARE(message.subject(), u"Gr\u00f6\u00dfe"_s);
    QCOMPARE(message.to(), u"Bob <bob@example.org>, carol@example.org"_s);
    QCOMPARE(message.header("Bcc"), u"dora@example.org"_s);
    QCOMPARE(message.body().toByteArray(), QByteArray("Hello\nBob\n\n-- \nAda's signature\n"));
    QCOMPARE(compose({u"--to"_s, u"x@y.org"_s, u"--subject"_s, u"two"_s}).status, 0);
    QCOMPARE(m_program->json({u"list"_s, u"Drafts"_s}).rows().size(), 2);
}

void ComposeTest::intoTheOutbox()
{
    const auto result = compose({u"--to"_s, u"bob@example.org"_s, u"--bcc"_s, u"dora@example.org"_s,
                                 u"--subject"_s, u"s"_s, u"--send"_s});
    QCOMPARE(result.status, 0);
    const Message message(raw(u"Outbox"_s, u"1"_s));
    QCOMPARE(message.rawHeader("X-VELMAR-RCPT-TO"), QByteArray("bob@example.org, dora@example.org"));
    QCOMPARE(message.rawHeader("X-VELMAR-MAIL-FROM"), QByteArray("ada@example.org"));
    QCOMPARE(m_program->json({u"list"_s, u"Drafts"_s}).rows().size(), 0);
}

void ComposeTest::printed()
{
    const auto result =
        compose({u"--to"_s, u"bob@example.org"_s, u"--subject"_s, u"s\nBcc: eve@example.org"_s, u"--print"_s},
                ".\n..\nFrom here\n");
    QCOMPARE(result.status, 0);
    const Message message(result.out);
    QVERIFY(!message.hasHeader("Bcc"));
    QVERIFY(message.body().toByteArray().startsWith(".\n..\nFrom here\n"));
    for (const QJsonObject &group : m_program->json({u"groups"_s}).rows())
        QCOMPARE(group[u"total"_s].toInt(), group[u"name"_s] == u"Lists/kernel"_s ? 1 : 0);
}

void ComposeTest::answers()
{
    const auto reply = compose({u"--reply-to"_s, u"Lists/kernel/1"_s, u"--print"_s}, "Gladly\n");
    const Message answer(reply.out);
    QCOMPARE(answer.subject(), u"Re: Lunch"_s);
    QCOMPARE(answer.inReplyTo(), QByteArray("<1@x>"));
    QCOMPARE(answer.to(), u"Bob <bob@example.org>"_s);
    QVERIFY(answer.body().toByteArray().contains("\n> Hello\n\nGladly\n\n-- \nAda's signature\n"));
    const auto elsewhere = compose({u"--reply-to"_s, u"Lists/kernel/1"_s, u"--to"_s, u"bob@y.org"_s,
                                    u"--subject"_s, u"Other"_s, u"--print"_s});
    QCOMPARE(Message(elsewhere.out).to(), u"bob@y.org"_s);
    QCOMPARE(Message(elsewhere.out).subject(), u"Other"_s);
    const auto forward =
        compose({u"--forward"_s, u"Lists/kernel/1"_s, u"--to"_s, u"bob@y.org"_s, u"--send"_s});
    QCOMPARE(forward.status, 0);
    const Message passedOn(raw(u"Outbox"_s, u"1"_s));
    QCOMPARE(passedOn.subject(), u"Fw: Lunch"_s);
    QVERIFY(passedOn.body().toByteArray().startsWith("Hello\n\n----- Begin forwarded message -----\n"));
}

void ComposeTest::formattedAndAttached()
{
    const QByteArray bytes("\0\1\2\xff\n", 5);
    const QString one = m_program->write(u"one.bin"_s, bytes);
    const QString two = m_program->write(u"two \u00e9.txt"_s, "text\n");
    const auto result = compose({u"--to"_s, u"bob@y.org"_s, u"--subject"_s, u"s"_s, u"--html"_s,
                                 u"--attach"_s, one, u"--attach"_s, two, u"--print"_s},
                                "<p>Hello <b>Bob</b></p>\n");
    QCOMPARE(result.status, 0);
    const QString printed = m_program->write(u"printed.eml"_s, result.out);
    const QJsonArray parts = m_program->json({u"parse"_s, printed}).rows().value(0)[u"parts"_s].toArray();
    QStringList found;
    for (const QJsonValue &part : parts)
        found += part[u"content_type"_s].toString().section(u';', 0, 0) + u' ' + part[u"name"_s].toString();
    QVERIFY2(found.contains(u"text/html "_s) && found.contains(u"text/plain "_s),
             qPrintable(found.join(u'|')));
    QVERIFY2(found.contains(u"text/plain two \u00e9.txt"_s), qPrintable(found.join(u'|')));
    const auto isOne = [](const QJsonValue &part) { return part[u"name"_s] == u"one.bin"_s; };
    const auto part = std::find_if(parts.begin(), parts.end(), isOne);
    QVERIFY(part != parts.end());
    QCOMPARE((*part)[u"size"_s].toInt(), 5);
    QVERIFY(result.out.contains("<p>Hello <b>Bob</b></p>"));
    QVERIFY(result.out.contains("\nHello Bob\n"));
}

void ComposeTest::aCharacterSetThatIsTooSmall()
{
    const auto fits = compose(
        {u"--to"_s, u"b@y.org"_s, u"--subject"_s, u"s"_s, u"--charset"_s, u"ISO-8859-1"_s, u"--print"_s},
        "caf\xc3\xa9\n");
    QCOMPARE(fits.errors, QByteArray());
    QVERIFY(fits.out.contains("caf\xe9\n") || fits.out.contains("caf=E9"));
    const auto tooSmall = compose(
        {u"--to"_s, u"b@y.org"_s, u"--subject"_s, u"s"_s, u"--charset"_s, u"ISO-8859-1"_s, u"--print"_s},
        "\xe6\x97\xa5\xe6\x9c\xac\n");
    QCOMPARE(tooSmall.status, 0);
    QVERIFY(tooSmall.errors.contains("Not everything fits into ISO-8859-1"));
    const QString body = Message(tooSmall.out).header("Content-Type");
    QVERIFY(!body.contains(u"8859-1"_s));
}

/// The dialogue of a server that takes the message with that number.
QByteArray ComposeTest::taking(const QByteArray &to, const QString &number)
{
    QByteArray text;
    for (const QByteArray &line : raw(u"Outbox"_s, number).chopped(1).split('\n'))
        text += line.toLower().startsWith("x-velmar-") ? "" : "C~ .*\n";
    return "C: MAIL FROM:<ada@example.org>\nS: 250 ok\nC: RCPT TO:<" + to +
           "@example.org>\nS: 250 ok\nC: DATA\nS: 354 go\n" + text + "C: .\nS: 250 ok\n";
}

QStringList ComposeTest::outgoingAccount(int port)
{
    return {u"account"_s,
            u"add"_s,
            u"--kind=smtp"_s,
            u"--name=Out"_s,
            u"--tls=none"_s,
            u"--host=127.0.0.1"_s,
            u"--port=%1"_s.arg(port)};
}

/// Whatever did not go makes the run fail and is told with its reason, in the run and in those behind it.
void ComposeTest::sent()
{
    for (const QString &to : {u"gone@example.org"_s, u"later@example.org"_s, u"bob@example.org"_s})
        QCOMPARE(compose({u"--to"_s, to, u"--subject"_s, u"s"_s, u"--send"_s}).status, 0);
    const auto mail = [](const QByteArray &to) {
        return "C: MAIL FROM:<ada@example.org>\nS: 250 ok\nC: RCPT TO:<" + to + "@example.org>\n";
    };
    ScriptedServer server("S: 220 hello\nC~ EHLO .*\nS: 250 hello\n" + mail("gone") +
                          "S: 550 no such user\nC: RSET\nS: 250 ok\n" + mail("later") +
                          "S: 450 come later\nC: RSET\nS: 250 ok\n" + taking("bob", u"3"_s) +
                          "C: QUIT\nS: 221 bye\nX\n");
    const QStringList add = outgoingAccount(server.port());
    QCOMPARE(m_program->run(add + QStringList{u"--identity=Eve"_s}).status, 1);
    QCOMPARE(m_program->run(add + QStringList{u"--identity=ada@example.org"_s}).status, 0);
    const auto first = runBeside(*m_program, {u"--json"_s, u"send"_s});
    QVERIFY2(server.finished(), server.problem());
    QCOMPARE(first.rows().size(), 4);
    QCOMPARE(first.rows().last()[u"sent"_s].toInt(), 1);
    const auto again = m_program->json({u"send"_s});
    QCOMPARE(again.rows().size(), 3);
    for (const Program::Result &result : {first, again}) {
        QCOMPARE(result.status, 1);
        QCOMPARE(result.rows().last()[u"failed"_s].toInt(), 2);
        QVERIFY2(result.errors.contains("Message 1 was not sent: gone@example.org: no such user"),
                 result.errors.constData());
        QVERIFY2(
            result.errors.contains("Message 2 was not sent: later@example.org: come later; tried again at "),
            result.errors.constData());
    }
    QCOMPARE(m_program->run({u"delete"_s, u"Outbox"_s, u"1"_s, u"2"_s}).status, 0);
    QCOMPARE(m_program->run({u"send"_s}).status, 0);
}

/// What a server took was sent, also when there is no place for its copy: a script that took it for unsent
/// would send it twice.
void ComposeTest::sentAndNotFiled()
{
    QCOMPARE(compose({u"--to"_s, u"bob@example.org"_s, u"--subject"_s, u"s"_s, u"--send"_s}).status, 0);
    ScriptedServer server("S: 220 hello\nC~ EHLO .*\nS: 250 hello\n" + taking("bob", u"1"_s) +
                          "C: QUIT\nS: 221 bye\nX\n");
    QCOMPARE(m_program->run(outgoingAccount(server.port())).status, 0);
    QString copies;
    for (const QJsonObject &group : m_program->json({u"groups"_s}).rows()) {
        if (group[u"role"_s] == u"sent_mail"_s)
            copies = m_program->config() + u"/Groups/%1"_s.arg(group[u"number"_s].toInt());
    }
    QVERIFY(QDir(copies).removeRecursively());
    m_program->write(QDir(m_program->path({})).relativeFilePath(copies), "no directory\n");
    const auto result = runBeside(*m_program, {u"--json"_s, u"send"_s});
    QVERIFY2(server.finished(), server.problem());
    QVERIFY2(result.errors.contains("Message 1 was sent; its copy is not stored yet"),
             result.errors.constData());
    QCOMPARE(result.status, 0);
    QCOMPARE(result.rows().first()[u"ok"_s].toBool(), true);
    QCOMPARE(result.rows().last()[u"sent"_s].toInt(), 1);
}

QTEST_GUILESS_MAIN(ComposeTest)
#include "compose_test.moc"
