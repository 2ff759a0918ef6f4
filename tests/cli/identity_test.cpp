#include "program.h"

#include <QTest>

using namespace Qt::StringLiterals;

/// The commands "identity" and "template".
class IdentityCommandsTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_program.forgetEverything(); }
    void addListRemove();
    void wrongUsage_data();
    void wrongUsage();
    void signatureFiles_data();
    void signatureFiles();
    void sameNames();
    void listThatCannotBeRead();
    void expands();
    void whoAnswers();
    void whatCannotBeExpanded_data();
    void whatCannotBeExpanded();

private:
    Program::Result add(const QString &name, const QString &address, const QStringList &more = {})
    {
        return m_program.json(QStringList{u"identity"_s, u"add"_s, u"--name"_s, name, u"--email"_s, address} +
                              more);
    }

    bool m_inMemory = (useMemoryForFiles(), true);
    Program m_program;
};

void IdentityCommandsTest::addListRemove()
{
    const Program::Result first = add(u"Ada"_s, u"ada@example.org"_s);
    QCOMPARE(first.status, 0);
    QCOMPARE(first.out,
             QByteArray("{\"default\":true,\"email\":\"ada@example.org\",\"name\":\"Ada\",\"number\":1}\n"));
    QCOMPARE(add(u"Work"_s, u"ada@example.com"_s,
                 {u"--reply-to"_s, u"Desk <desk@example.com>, b@example.com"_s, u"--organisation=Example"_s,
                  u"--host"_s, u"mail.example.com"_s, u"--default"_s})
                 .status,
             0);
    const QList<QJsonObject> rows = m_program.json({u"identity"_s, u"list"_s}).rows();
    QCOMPARE(rows.size(), 2);
    QCOMPARE(rows[0][u"default"].toBool(), false);
    QCOMPARE(rows[1][u"default"].toBool(), true);
    QVERIFY(m_program.read(u"config/Identities/Index"_s)
                .contains(
                    "2\tWork\tada@example.com\tDesk <desk@example.com>, b@example.com\tExample\t\tF5\tM0\tN0"
                    "\tHmail.example.com\tK\n"));
    const Program::Result removed = m_program.json({u"identity"_s, u"remove"_s, u"ADA@example.com"_s});
    QCOMPARE(removed.status, 0);
    QCOMPARE(removed.rows().value(0)[u"number"].toInt(), 2);
    const QList<QJsonObject> left = m_program.json({u"identity"_s, u"list"_s}).rows();
    QCOMPARE(left.size(), 1);
    QCOMPARE(left[0][u"default"].toBool(), true);
}

void IdentityCommandsTest::wrongUsage_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QByteArray>("says");
    const QStringList whole{u"add"_s, u"--name"_s, u"A"_s, u"--email"_s, u"a@example.org"_s};
    QTest::newRow("nothing") << QStringList() << QByteArray("identity wants add, list or remove N");
    QTest::newRow("no name") << QStringList{u"add"_s, u"--email"_s, u"a@example.org"_s}
                             << QByteArray("wants --name and --email");
    QTest::newRow("blank name") << QStringList{u"add"_s, u"--name"_s, u" "_s, u"--email"_s,
                                               u"a@example.org"_s}
                                << QByteArray("wants --name and --email");
    QTest::newRow("no address") << QStringList{u"add"_s, u"--name"_s, u"A"_s}
                                << QByteArray("wants --name and --email");
    QTest::newRow("an address that is none")
        << QStringList{u"add"_s, u"--name"_s, u"A"_s, u"--email"_s, u"A <a@b>"_s}
        << QByteArray("--email 'A <a@b>' is no address");
    QTest::newRow("a line end in an address")
        << QStringList{u"add"_s, u"--name"_s, u"A"_s, u"--email"_s, u"a@example.org\nBcc: x@y"_s}
        << QByteArray("is no address");
    QTest::newRow("a line end in a name")
        << QStringList{u"add"_s, u"--name"_s, u"A\nBcc: x@y"_s, u"--email"_s, u"a@example.org"_s}
        << QByteArray("on one line");
    QTest::newRow("a tab in an organisation")
        << whole + QStringList{u"--organisation"_s, u"a\tb"_s} << QByteArray("on one line");
    QTest::newRow("a reply address that is none")
        << whole + QStringList{u"--reply-to"_s, u"a@example.org, nobody"_s}
        << QByteArray("--reply-to 'a@example.org, nobody' is no address");
    QTest::newRow("a host that is none")
        << whole + QStringList{u"--host"_s, u"a b"_s} << QByteArray("--host 'a b'");
    QTest::newRow("an unknown option")
        << whole + QStringList{u"--frob"_s} << QByteArray("unknown option --frob");
    QTest::newRow("too much") << QStringList{u"remove"_s, u"1"_s, u"2"_s} << QByteArray("identity wants");
}

void IdentityCommandsTest::wrongUsage()
{
    QFETCH(QStringList, words);
    QFETCH(QByteArray, says);
    const Program::Result result = m_program.run(QStringList{u"identity"_s} + words);
    QCOMPARE(result.status, 2);
    QVERIFY2(result.errors.contains(says), result.errors.constData());
    QVERIFY(result.errors.contains("usage: velmar-cli identity"));
    QVERIFY(m_program.json({u"identity"_s, u"list"_s}).rows().isEmpty());
}

void IdentityCommandsTest::signatureFiles_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QByteArray>("contents");
    QTest::newRow("plain") << u"Work.txt"_s << QByteArray("Ada\nLovelace\n") << u"Work"_s
                           << QByteArray("Ada\nLovelace\n");
    QTest::newRow("with a separator, from Windows")
        << u".signature"_s << QByteArray("-- \r\nAda\r\n") << u"Signature"_s << QByteArray("Ada\n");
    QTest::newRow("HTML") << u"rich.HTML"_s << QByteArray("<b>Ada</b>") << u"rich"_s
                          << QByteArray("Signature: html\n<b>Ada</b>\n");
}

void IdentityCommandsTest::signatureFiles()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, stored);
    QFETCH(QByteArray, contents);
    const QString path = m_program.write(file, bytes);
    QCOMPARE(add(u"Ada"_s, u"ada@example.org"_s, {u"--signature-file"_s, path}).status, 0);
    QCOMPARE(m_program.read(u"config/Identities/1/Signatures/"_s + stored), contents);
    QVERIFY(m_program.read(u"config/Identities/Index"_s).contains('\t' + stored.toUtf8() + "\tF5"));
    const Program::Result missing = add(u"B"_s, u"b@example.org"_s, {u"--signature-file"_s, u"/nowhere"_s});
    QCOMPARE(missing.status, 1);
    QCOMPARE(missing.errors, QByteArray("velmar-cli: Unable to read file '/nowhere'\n"));
    QCOMPARE(m_program.json({u"identity"_s, u"list"_s}).rows().size(), 1);
}

void IdentityCommandsTest::sameNames()
{
    add(u"Ada"_s, u"ada@example.org"_s);
    add(u"Ada"_s, u"ada@example.com"_s);
    const Program::Result result = m_program.run({u"identity"_s, u"remove"_s, u"ada"_s});
    QCOMPARE(result.status, 1);
    QVERIFY(result.errors.contains("There are several identities 'ada'"));
    QCOMPARE(m_program.run({u"identity"_s, u"remove"_s, u"2"_s}).status, 0);
    const Program::Result gone = m_program.run({u"identity"_s, u"remove"_s, u"2"_s});
    QCOMPARE(gone.status, 1);
    QVERIFY(gone.errors.contains("There is no identity '2'"));
}

void IdentityCommandsTest::listThatCannotBeRead()
{
    QVERIFY(QDir().mkpath(m_program.path(u"config/Identities/Index"_s)));
    for (const QStringList &words :
         {QStringList{u"identity"_s, u"list"_s}, QStringList{u"identity"_s, u"remove"_s, u"1"_s}}) {
        const Program::Result result = m_program.run(words);
        QCOMPARE(result.status, 1);
        QVERIFY(result.errors.contains("Unable to read identities file"));
    }
    QCOMPARE(add(u"Ada"_s, u"ada@example.org"_s).status, 1);
}

void IdentityCommandsTest::expands()
{
    add(u"Ada"_s, u"ada@example.org"_s);
    const QString message =
        m_program.write(u"mail"_s, "From: Bob <bob@example.net>\nTo: ada@example.org\n"
                                   "Date: Fri, 20 Nov 2026 09:30:00 +0000\nSubject: Hi\n\nHello\n");
    const QByteArray text = "Dear %from[name],\n%body[quoted]\n100%% %identity[address] %date[yyyy]\n";
    const QByteArray found = "Dear Bob,\nBob wrote:\n\n> Hello\n\n100% ada@example.org 2026\n";
    const QString file = m_program.write(u"reply"_s, text);
    QCOMPARE(m_program.run({u"template"_s, u"expand"_s, file, u"--message"_s, message}).out, found);
    QCOMPARE(m_program.run({u"template"_s, u"expand"_s, u"-"_s, u"--message"_s, message}, text).out, found);
    m_program.write(u"config/Templates/Thanks %2F bye"_s, text);
    QCOMPARE(m_program.run({u"template"_s, u"expand"_s, u"Thanks / bye"_s, u"--message"_s, message}).out,
             found);
    const Program::Result alone = m_program.run({u"template"_s, u"expand"_s, u"-"_s}, "100%% sure");
    QCOMPARE(alone.status, 0);
    QCOMPARE(alone.out, QByteArray("100% sure\n"));
}

void IdentityCommandsTest::whoAnswers()
{
    const auto identityFor = [this](const QStringList &more) {
        return m_program.run(QStringList{u"template"_s, u"expand"_s, u"-"_s} + more, "%identity[address]")
            .out.trimmed();
    };
    QCOMPARE(identityFor({}), QByteArray());
    add(u"Ada"_s, u"ada@example.org"_s);
    add(u"Work"_s, u"ada@example.com"_s);
    const QString message = m_program.write(u"mail"_s, "To: x@example.net\nCc: Ada <ADA@example.com>\n\n");
    QCOMPARE(identityFor({}), QByteArray("ada@example.org"));
    QCOMPARE(identityFor({u"--message"_s, message}), QByteArray("ada@example.com"));
    QCOMPARE(identityFor({u"--message"_s, message, u"--identity"_s, u"Ada"_s}),
             QByteArray("ada@example.org"));
}

void IdentityCommandsTest::whatCannotBeExpanded_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("says");
    QTest::newRow("nothing") << u"template"_s << 2 << QByteArray("usage: velmar-cli template expand");
    QTest::newRow("no name") << u"template expand"_s << 2 << QByteArray("template wants");
    QTest::newRow("two names") << u"template expand a b"_s << 2 << QByteArray("template wants");
    QTest::newRow("another verb") << u"template list x"_s << 2 << QByteArray("template wants");
    QTest::newRow("what is not there")
        << u"template expand /nowhere"_s << 1 << QByteArray("Unable to read file '/nowhere'");
    QTest::newRow("no such message") << u"template expand - --message /nowhere"_s << 1
                                     << QByteArray("Unable to read file '/nowhere'");
    QTest::newRow("no such identity")
        << u"template expand - --identity B"_s << 1 << QByteArray("There is no identity 'B'");
    QTest::newRow("a file without an end")
        << u"template expand /dev/zero"_s << 1 << QByteArray("Unable to read file");
}

void IdentityCommandsTest::whatCannotBeExpanded()
{
    QFETCH(QString, words);
    QFETCH(QByteArray, says);
    const Program::Result result = m_program.run(words.split(u' '));
    QTEST(result.status, "status");
    QVERIFY2(result.errors.contains(says), result.errors.constData());
    QCOMPARE(result.out, QByteArray());
}

QTEST_GUILESS_MAIN(IdentityCommandsTest)
#include "identity_test.moc"
