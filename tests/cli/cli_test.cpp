#include "program.h"

#include <QDirIterator>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// Name, size, time and contents of everything in a directory.
QMap<QString, QString> listingOf(const QString &directory)
{
    QMap<QString, QString> listing;
    QDirIterator entries(directory, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QFileInfo info(entries.next());
        QFile file(info.filePath());
        const QByteArray bytes =
            info.isFile() && file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        listing.insert(
            info.filePath(),
            u"%1 %2 %3"_s.arg(info.lastModified().toMSecsSinceEpoch()).arg(bytes.size()).arg(qHash(bytes)));
    }
    return listing;
}

QStringList keysOf(const QList<QJsonObject> &rows)
{
    QStringList keys = rows.isEmpty() ? QStringList() : rows.first().keys();
    keys.sort();
    return keys;
}

} // namespace

class CliTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void keys_data();
    void keys();
    void exitStatus_data();
    void exitStatus();
    void namesAndNumbers();
    void whereOptionsMayStand();
    void beneathARunningInstance();
    void interrupted();
    void whatIsNoMail_data();
    void whatIsNoMail();
    void oddMail();
    void thereAndBack();
    void outputClosedEarly();
    void marksAndThreads();
    void aDamagedStore();
    void fetchOfChainedAndLeftOutAccounts();
    void aFullDisk();
    void textForPeople();
    void rolesOfTheContract();
    void theManualKnowsAll();
    void helpHasNoBlanksAtItsEnds();

private:
    bool m_inMemory = (useMemoryForFiles(), true);
    Program m_program; ///< with ten messages in Inbox and an account
};

void CliTest::initTestCase()
{
    const QString path = m_program.write(u"ten.mbox"_s, mbox("m", 10));
    QCOMPARE(m_program.run({u"import"_s, u"Inbox"_s, path}).status, 0);
    const Program::Result account = m_program.json({u"account"_s, u"add"_s, u"--kind=batch"_s, u"--name"_s,
                                                    u"B"_s, u"--host"_s, m_program.path(u"spool"_s)});
    QCOMPARE(account.status, 0);
}

void CliTest::keys_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("keys");
    const QString row = u"attachments date flagged from message_id number read replied score size subject"_s;
    QTest::newRow("groups") << QStringList{u"groups"_s}
                            << u"bytes flagged kind name number role total unread"_s;
    QTest::newRow("list") << QStringList{u"list"_s, u"Inbox"_s} << row;
    QTest::newRow("list --threads") << QStringList{u"list"_s, u"Inbox"_s, u"--threads"_s}
                                    << u"attachments date depth flagged from message_id number read replied "
                                       "score size subject thread"_s;
    QTest::newRow("show") << QStringList{u"show"_s, u"Inbox"_s, u"1"_s}
                          << u"body category cc date file from importance in_reply_to message_id parts "
                             "references subject to"_s;
    QTest::newRow("parse") << QStringList{u"parse"_s}
                           << u"category cc date file from importance in_reply_to message_id parts "
                              "references subject to"_s;
    QTest::newRow("import") << QStringList{u"import"_s, u"Other"_s, m_program.path(u"ten.mbox"_s)}
                            << u"imported path seconds skipped"_s;
    QTest::newRow("export") << QStringList{u"export"_s, u"Inbox"_s, m_program.path(u"out"_s)}
                            << u"exported"_s;
    QTest::newRow("mark") << QStringList{u"mark"_s, u"Inbox"_s, u"1"_s, u"--read"_s} << row;
    QTest::newRow("copy") << QStringList{u"copy"_s, u"Inbox"_s, u"1"_s, u"Drafts"_s} << row;
    QTest::newRow("move") << QStringList{u"move"_s, u"Drafts"_s, u"1"_s, u"Junk"_s} << row;
    QTest::newRow("delete") << QStringList{u"delete"_s, u"Junk"_s, u"1"_s} << row;
    QTest::newRow("compact") << QStringList{u"compact"_s, u"Junk"_s} << u"after before bin group"_s;
    QTest::newRow("account list") << QStringList{u"account"_s, u"list"_s}
                                  << u"host kind name number port tls"_s;
    QTest::newRow("fetch") << QStringList{u"fetch"_s} << u"account bytes detail ok reason received seconds"_s;
    QTest::newRow("check") << QStringList{u"check"_s} << QString();
}

void CliTest::keys()
{
    QFETCH(QStringList, words);
    QFETCH(QString, keys);
    const Program::Result result = m_program.json(words);
    QVERIFY2(result.status == 0, result.errors.constData());
    QCOMPARE(keysOf(result.rows()).join(u' '), keys);
    QCOMPARE(result.errors, QByteArray());
}

void CliTest::exitStatus_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("says");
    QTest::newRow("nothing") << u""_s << 2 << u"a command is wanted"_s;
    QTest::newRow("an unknown command") << u"frobnicate"_s << 2 << u"unknown command frobnicate"_s;
    QTest::newRow("an unknown option") << u"--frob list Inbox"_s << 2 << u"unknown option --frob"_s;
    QTest::newRow("an unknown late option") << u"list Inbox --frob"_s << 2 << u"unknown option --frob"_s;
    QTest::newRow("help") << u"--help"_s << 0 << u""_s;
    QTest::newRow("too little") << u"show Inbox"_s << 2 << u"usage: velmar-cli show"_s;
    QTest::newRow("too much") << u"groups x"_s << 2 << u"usage"_s;
    QTest::newRow("contradictory marks") << u"mark Inbox 1 --read --unread"_s << 2 << u"contradict"_s;
    QTest::newRow("no such group") << u"list Nowhere"_s << 1 << u"There is no group 'Nowhere'"_s;
    QTest::newRow("no such number") << u"list 99"_s << 1 << u"There is no group '99'"_s;
    QTest::newRow("no such message") << u"show Inbox 99"_s << 1 << u"There is no message 99 in 'Inbox'"_s;
    QTest::newRow("a message that is no number") << u"show Inbox +1"_s << 1 << u"There is no message +1"_s;
    QTest::newRow("import into a number that is not") << u"import 99 x"_s << 1 << u"There is no group '99'"_s;
    QTest::newRow("import what is not there") << u"import Inbox /nowhere"_s << 1 << u"/nowhere"_s;
    QTest::newRow("move to where it is") << u"move Inbox 1 Inbox"_s << 1 << u"already"_s;
    QTest::newRow("an account twice") << u"account add --kind batch --name B --host x"_s << 1 << u"already"_s;
    QTest::newRow("parse what does not end") << u"parse /dev/zero"_s << 1 << u"Unable to read file"_s;
    QTest::newRow("export onto a device") << u"export Inbox /dev/null"_s << 1 << u"Unable to write file"_s;
    QTest::newRow("a tab in a name") << u"account add --kind batch --name T\tU --host x"_s << 2
                                     << u"no tabs"_s;
    QTest::newRow("an unknown kind") << u"account add --kind x --name C --host x"_s << 2 << u"'x'"_s;
    QTest::newRow("an account that is not") << u"account remove C"_s << 1 << u"There is no account 'C'"_s;
    QTest::newRow("fetch what is not") << u"fetch C"_s << 1 << u"There is no account 'C'"_s;
    QTest::newRow("export to nowhere")
        << u"export Inbox /nowhere/x"_s << 1 << u"Unable to write file '/nowhere/x'"_s;
    QTest::newRow("parse what is not there")
        << u"parse /nowhere"_s << 1 << u"Unable to read file '/nowhere'"_s;
}

void CliTest::exitStatus()
{
    QFETCH(QString, words);
    QFETCH(int, status);
    QFETCH(QString, says);
    const Program::Result result = m_program.run(words.split(u' ', Qt::SkipEmptyParts));
    QCOMPARE(result.status, status);
    QVERIFY2(result.errors.contains(says.toUtf8()), result.errors.constData());
    QCOMPARE(result.errors.isEmpty(), status == 0);
}

void CliTest::namesAndNumbers()
{
    const QString one = m_program.write(u"one"_s, mailText("one", "One"));
    QCOMPARE(m_program.run({u"import"_s, u"/1"_s, one}).status, 0); // a group whose name is "1"
    QCOMPARE(m_program.ids(u"/1"_s), QStringList{u"one"_s});
    QCOMPARE(m_program.ids(u"1"_s).size(), 10); // the inbox
    QCOMPARE(m_program.ids(u"/Inbox"_s).size(), 10);
    QCOMPARE(m_program.run({u"import"_s, u"A//B"_s, one}).status, 1);
}

void CliTest::whereOptionsMayStand()
{
    for (const QStringList &words :
         {QStringList{u"--json"_s, u"groups"_s}, QStringList{u"groups"_s, u"--json"_s}}) {
        const QList<QJsonObject> rows = m_program.run(words).rows();
        QVERIFY(rows.size() >= 7);
        QCOMPARE(rows.first()[u"role"].toString(), u"inbox"_s);
    }
}

void CliTest::beneathARunningInstance()
{
    const QByteArray lock = QFile::encodeName(m_program.config() + u"/Lock"_s);
    const int handle = ::open(lock.constData(), O_RDWR | O_CLOEXEC);
    QVERIFY(handle >= 0 && ::flock(handle, LOCK_EX | LOCK_NB) == 0);
    const QMap<QString, QString> before = listingOf(m_program.config());
    for (const QString &words : {u"groups"_s, u"list Inbox"_s, u"list Inbox --threads"_s, u"show Inbox 1"_s,
                                 u"account list"_s, u"check"_s}) {
        const Program::Result result = m_program.run(words.split(u' '));
        QVERIFY2(result.status == 0, (words.toUtf8() + ": " + result.errors).constData());
        QCOMPARE(listingOf(m_program.config()), before);
    }
    for (const QString &words : {u"import Inbox ten.mbox"_s, u"move Inbox 1 Junk"_s, u"copy Inbox 1 Junk"_s,
                                 u"delete Inbox 1"_s, u"mark Inbox 1 --read"_s, u"compact"_s, u"fetch"_s,
                                 u"account add --kind batch --name N --host h"_s, u"account remove B"_s}) {
        const Program::Result result = m_program.run(words.split(u' '));
        QCOMPARE(result.status, 1);
        QVERIFY2(result.errors.contains("Velmar is running"), result.errors.constData());
        QCOMPARE(listingOf(m_program.config()), before);
    }
    QCOMPARE(m_program.run({u"export"_s, u"Inbox"_s, m_program.path(u"beneath"_s)}).status, 0);
    QCOMPARE(listingOf(m_program.config()), before);
    ::close(handle);
}

void CliTest::interrupted()
{
    Program program;
    QStringList words = {u"--json"_s, u"import"_s, u"Inbox"_s};
    const QString path = program.write(u"big"_s, mbox("m", 4000, 8000));
    words += {path, path, path};
    QProcess process;
    program.start(process, words);
    QVERIFY(process.waitForStarted());
    while (!QFile::exists(program.config() + u"/Groups/1/Bin0"_s) && !process.waitForFinished(1)) {
    }
    ::kill(pid_t(process.processId()), SIGINT);
    QVERIFY(process.waitForFinished(60'000));
    const Program::Result result = Program::resultOf(process);
    QCOMPARE(result.status, 1);
    QVERIFY2(result.errors.contains("Stopped: "), result.errors.constData());
    QCOMPARE(result.rows().size(), 1); // nothing was begun after it
    QCOMPARE(program.ids(u"Inbox"_s).size(), qsizetype(result.rows().first()[u"imported"].toInt()));
    QCOMPARE(program.run({u"check"_s}).status, 0);
}

void CliTest::whatIsNoMail_data()
{
    QTest::addColumn<QByteArray>("bytes"); ///< null: a directory
    QTest::newRow("a picture")
        << QByteArray("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16).append(QByteArray(3000, '\x7f'));
    QTest::newRow("an empty file") << QByteArray("");
    QTest::newRow("a poem") << QByteArray("Roses are red\nviolets are blue\n");
    QTest::newRow("a directory without mail") << QByteArray();
}

void CliTest::whatIsNoMail()
{
    QFETCH(QByteArray, bytes);
    QString path = m_program.path(u"empty-directory"_s);
    if (bytes.isNull())
        QDir().mkpath(path);
    else
        path = m_program.write(u"no-mail"_s, bytes);
    const Program::Result result = m_program.json({u"import"_s, u"Inbox"_s, path});
    QCOMPARE(result.status, 1);
    QVERIFY2(result.errors.contains(path.toUtf8()), result.errors.constData());
    QCOMPARE(result.rows().first()[u"imported"].toInt(), 0);
    QCOMPARE(m_program.ids(u"Inbox"_s).size(), 10);
    QCOMPARE(m_program.json({u"import"_s, u"Never made"_s, path}).status, 1);
    QVERIFY(!m_program.json({u"groups"_s}).out.contains("Never made"));
}

void CliTest::oddMail()
{
    // CRLF, 8-bit bytes, NULs, no final line end, "From " in a text: as many out as in.
    QByteArray bytes =
        mbox("odd", 3).replace("\n", "\r\n") + mbox("even", 2).replace("Text", QByteArray("T\xe4\0xt", 5));
    bytes += "From x@example.org Fri Nov 20 10:00:00 2026\n" + mailText("last",
                                                                        "L\xc3\xa4"
                                                                        "st",
                                                                        {}, ">From here on\nFrom us all");
    const Program::Result result =
        m_program.json({u"import"_s, u"Odd"_s, m_program.write(u"odd.mbox"_s, bytes)});
    QCOMPARE(result.status, 0);
    QCOMPARE(result.rows().first()[u"imported"].toInt(), 6);
    QCOMPARE(m_program.ids(u"Odd"_s).size(), 6);
    const QByteArray last = m_program.run({u"show"_s, u"Odd"_s, u"6"_s, u"--raw"_s}).out;
    QVERIFY(last.endsWith("\nFrom here on\nFrom us all\n"));
    QVERIFY(!m_program.run({u"show"_s, u"Odd"_s, u"1"_s, u"--raw"_s}).out.contains('\r'));
    QCOMPARE(m_program.run({u"check"_s}).status, 0);
}

void CliTest::thereAndBack()
{
    QCOMPARE(m_program.run({u"mark"_s, u"Odd"_s, u"2"_s, u"--read"_s, u"--flagged"_s}).status, 0);
    QCOMPARE(m_program.run({u"export"_s, u"Odd"_s, m_program.path(u"back"_s)}).status, 0);
    QCOMPARE(m_program.run({u"import"_s, u"Back"_s, m_program.path(u"back"_s)}).status, 0);
    for (int number = 1; number <= 6; ++number) {
        const QString text = QString::number(number);
        QCOMPARE(m_program.run({u"show"_s, u"Back"_s, text, u"--raw"_s}).out,
                 m_program.run({u"show"_s, u"Odd"_s, text, u"--raw"_s}).out);
    }
    QCOMPARE(m_program.json({u"list"_s, u"Back"_s}).out, m_program.json({u"list"_s, u"Odd"_s}).out);
    QVERIFY(!QFile::exists(m_program.path(u"back~"_s)));
}

void CliTest::outputClosedEarly()
{
    Program program;
    QCOMPARE(program.run({u"import"_s, u"Inbox"_s, program.write(u"many"_s, mbox("m", 3000, 10))}).status, 0);
    QProcess shell;
    shell.start(u"bash"_s,
                {u"-c"_s, u"'%1' --config '%2' --json list Inbox | head -1; echo ${PIPESTATUS[0]}"_s.arg(
                              QStringLiteral(VELMAR_CLI), program.config())});
    QVERIFY(shell.waitForFinished(60'000));
    const QList<QByteArray> lines = shell.readAllStandardOutput().split('\n');
    QVERIFY(lines[0].startsWith('{'));
    QCOMPARE(lines[1], QByteArray("1"));
    QVERIFY(!QFile::exists(program.config() + u"/Groups/Running"_s)); // it came to its proper end
}

void CliTest::marksAndThreads()
{
    Program program;
    QByteArray mails;
    for (const char *mail : {"a", "b\nReferences: <a>", "c\nReferences: <a> <b>"}) {
        const QByteArray text(mail);
        const QByteArray id = text.first(1);
        mails += "From x@example.org Fri Nov 20 10:00:00 2026\n" +
                 mailText(id, id, text.size() > 1 ? text.sliced(2) + "\n" : QByteArray()) + "\n";
    }
    QCOMPARE(program.run({u"import"_s, u"Inbox"_s, program.write(u"t"_s, mails)}).status, 0);
    QList<QJsonObject> rows = program.json({u"list"_s, u"Inbox"_s, u"--threads"_s}).rows();
    QCOMPARE(rows.size(), 3);
    for (int depth = 0; depth < 3; ++depth) {
        QCOMPARE(rows[depth][u"depth"].toInt(), depth);
        QCOMPARE(rows[depth][u"thread"].toInt(), 1);
    }
    rows = program.json({u"mark"_s, u"Inbox"_s, u"1"_s, u"3"_s, u"--flagged"_s, u"--read"_s}).rows();
    QCOMPARE(rows.size(), 2);
    QVERIFY(rows[1][u"flagged"].toBool() && rows[1][u"read"].toBool());
    const QJsonObject inbox = program.json({u"groups"_s}).rows().first();
    QCOMPARE(inbox[u"unread"].toInt(), 1);
    QCOMPARE(inbox[u"flagged"].toInt(), 2);
    QCOMPARE(program.json({u"delete"_s, u"Inbox"_s, u"2"_s, u"2"_s}).rows().size(), 2);
    QCOMPARE(program.ids(u"Waste basket"_s), QStringList{u"b"_s});
}

void CliTest::aDamagedStore()
{
    Program program;
    QCOMPARE(program.run({u"import"_s, u"Inbox"_s, program.write(u"a"_s, mbox("m", 20))}).status, 0);
    QVERIFY(QFile::resize(program.config() + u"/Groups/1/Overview"_s, 500));
    Program::Result check = program.json({u"check"_s});
    QCOMPARE(check.status, 1);
    QCOMPARE(keysOf(check.rows()).join(u' '), u"detail group repaired what"_s);
    QCOMPARE(check.rows().first()[u"group"].toInt(), 1);
    QVERIFY(!check.rows().first()[u"repaired"].toBool());
    QCOMPARE(program.json({u"check"_s}).status, 1); // looking mends nothing
    check = program.json({u"check"_s, u"--repair"_s});
    QCOMPARE(check.status, 0);
    QVERIFY(check.rows().first()[u"repaired"].toBool());
    QCOMPARE(program.json({u"check"_s}).out, QByteArray());
    QCOMPARE(program.ids(u"Inbox"_s).size(), 20);
}

void CliTest::fetchOfChainedAndLeftOutAccounts()
{
    Program program;
    program.write(u"config/Accounts/Index"_s,
                  "3\nA\t/none\t\t\tA1\tT6\tW2\nB\t/none\t\t\tA2\tT6\tW1\nC\t/none\t\t\tA3\tT6\tF8\nend\n");
    const auto fetched = [&program](const QStringList &names) {
        QStringList accounts;
        for (const QJsonObject &row : program.json(QStringList{u"fetch"_s} + names).rows())
            accounts += row.value(u"account"_s).toString();
        return accounts.join(u' ');
    };
    QCOMPARE(fetched({u"B"_s}), u"B A"_s);
    QCOMPARE(fetched({}), u"A B"_s);
    const Program::Result leftOut = program.run({u"fetch"_s, u"C"_s});
    QCOMPARE(leftOut.status, 1);
    QVERIFY(leftOut.errors.contains("Account 'C' is left out of fetches"));
}

void CliTest::aFullDisk()
{
    Program program;
    const QString path = program.write(u"a"_s, mbox("m", 5));
    QCOMPARE(program.run({u"groups"_s}).status, 0);
    QDir().mkpath(program.config() + u"/Groups/1"_s);
    const QString bin = program.config() + u"/Groups/1/Bin0"_s;
    QVERIFY(QFile::link(u"/dev/full"_s, bin));
    const Program::Result result = program.json({u"import"_s, u"Inbox"_s, path});
    QCOMPARE(result.status, 1);
    QVERIFY2(result.errors.contains("Failed to write to message bin file"), result.errors.constData());
    QCOMPARE(result.rows().first()[u"imported"].toInt(), 0);
    QVERIFY(QFile::remove(bin));
    QCOMPARE(program.run({u"import"_s, u"Inbox"_s, path}).status, 0);
    QCOMPARE(program.ids(u"Inbox"_s).size(), 5);
    // What cannot be written to does not end in silence.
    QProcess shell;
    shell.start(u"bash"_s, {u"-c"_s, u"'%1' --config '%2' groups > /dev/full"_s.arg(
                                         QStringLiteral(VELMAR_CLI), program.config())});
    QVERIFY(shell.waitForFinished(60'000));
    QCOMPARE(shell.exitCode(), 1);
}

void CliTest::textForPeople()
{
    const QByteArray groups = m_program.run({u"groups"_s}).out;
    QVERIFY(groups.startsWith("number"));
    QVERIFY(groups.contains("Waste basket"));
    const QString path = m_program.path(u"ten.mbox"_s);
    const QByteArray lines = m_program.run({u"import"_s, u"Twice"_s, path, path}).out;
    QCOMPARE(lines.count('\n'), 3); // one head, and a line for each path

    const QString hostile =
        m_program.write(u"hostile"_s, "From: a@b.example\nSubject: =?utf-8?Q?=1B]0;x=C2=9B=7F?=\n"
                                      "Content-Type: text/plain; charset=utf-8\n\n"
                                      "1\t\033[2J2\xc2\x9b"
                                      "3\n");
    QCOMPARE(m_program.run({u"import"_s, u"Hostile"_s, hostile}).status, 0);
    for (const QString &option : {u"--body"_s, u"--quiet"_s, u"--json"_s}) {
        const QByteArray shown = m_program.run({u"show"_s, u"Hostile"_s, u"1"_s, option}).out;
        QVERIFY(shown.contains('3'));
        QVERIFY(!shown.contains('\033') && !shown.contains("\xc2\x9b") && !shown.contains('\x7f'));
    }
    QCOMPARE(m_program.run({u"show"_s, u"Hostile"_s, u"1"_s, u"--body"_s}).out.trimmed(),
             "1\t\\x1b[2J2\\x9b3");
    QCOMPARE(m_program.run({u"show"_s, u"Hostile"_s, u"1"_s, u"--raw"_s}).out, m_program.read(u"hostile"_s));
}

/// Scripts know seven roles; a group that the window made for another is a folder to them.
void CliTest::rolesOfTheContract()
{
    Program program;
    program.write(u"config/Groups/Index"_s, "next 9\nnumber 8\tname Archive\trole archive\nend\n");
    QStringList roles;
    const QList<QJsonObject> rows = program.json({u"groups"_s}).rows();
    for (const QJsonObject &row : rows)
        roles += row[u"name"].toString() + u'=' + row[u"role"].toString();
    QCOMPARE(rows.size(), 8);
    QVERIFY2(roles.contains(u"Archive="_s), qPrintable(roles.join(u' ')));
    QVERIFY(roles.contains(u"Junk=junk"_s));
    QVERIFY(program.read(u"config/Groups/Index"_s).contains("role archive")); // not forgotten by it
}

/// Every command and option that the program tells of.
void CliTest::theManualKnowsAll()
{
    QFile file(QStringLiteral(VELMAR_MANUAL));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString manual = QString::fromUtf8(file.readAll()).remove(u'\\');
    static const QRegularExpression words(u"--[a-z-]+|^  [a-z]+"_s, QRegularExpression::MultilineOption);
    const QString help = QString::fromUtf8(m_program.run({u"--help"_s}).out);
    QRegularExpressionMatchIterator found = words.globalMatch(help);
    QVERIFY(found.hasNext());
    while (found.hasNext()) {
        const QString word = found.next().captured().trimmed();
        QVERIFY2(manual.contains(word), qPrintable(word));
    }
}

void CliTest::helpHasNoBlanksAtItsEnds()
{
    const QByteArray said = m_program.run({u"--help"_s}).out + m_program.run({u"send"_s, u"x"_s}).errors;
    QVERIFY2(said.contains("usage: velmar-cli send\n"), said.constData());
    QVERIFY2(!said.contains(" \n"), said.constData());
}

QTEST_GUILESS_MAIN(CliTest)
#include "cli_test.moc"
