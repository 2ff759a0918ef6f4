#include "store/mailbox/maildir.h"

#include "store/mailbox/detect.h"
#include "store/mailbox/messagefile.h"
#include "support/scratch.h"

#include <QDir>
#include <QTest>

using namespace Qt::StringLiterals;

class MaildirTest : public QObject
{
    Q_OBJECT

private slots:
    void detects_data();
    void detects();
    void detectsFolders();
    void messageFiles_data();
    void messageFiles();
    void names_data();
    void names();
    void reads();
};

void MaildirTest::detects_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<MailboxKind>("kind");
    const auto row = [](const char *name, const QByteArray &bytes, MailboxKind kind) {
        QTest::newRow(name) << bytes << kind;
    };
    row("mbox", "From a Fri Nov 20 10:42:00 2026\nA: 1\n", MailboxKind::Mbox);
    row("mbox without a date", "From a\r\nA: 1\r\n", MailboxKind::Mbox);
    row("mbox behind blank lines", "\n\nFrom a\nA: 1\n", MailboxKind::Mbox);
    row("message", "Received: by x\n\tfor y\nX-Odd: 1\n\ntext\n", MailboxKind::Message);
    row("message with a mark and blank lines", "\xef\xbb\xbf\r\n\nSubject: x\n", MailboxKind::Message);
    row("message behind a quoted separator", ">From a\nSubject: x\n", MailboxKind::Message);
    row("message behind a letter's first words", "From my friend Bob\nSubject: x\n", MailboxKind::Message);
    row("only fields that no mail needs", "Note: buy milk\nAlso: eggs\n", MailboxKind::None);
    row("prose", "From here to there is a long way.\nAnd back.\n", MailboxKind::None);
    row("prose with a mail below", "Hello,\nSubject: x\n", MailboxKind::None);
    row("PNG", "\x89PNG\r\n\x1a\n", MailboxKind::None);
    row("program",
        QByteArray("\x7f"
                   "ELF\2\1\1\0\0",
                   9),
        MailboxKind::None);
    row("NULs", QByteArray(100, '\0'), MailboxKind::None);
    row("empty", "", MailboxKind::None);
    row("blank", "\n\n\n", MailboxKind::None);
}

void MaildirTest::detects()
{
    QFETCH(QByteArray, bytes);
    Scratch scratch;
    const DetectedMailbox found = detectMailbox(scratch.write(u"file"_s, bytes));
    QTEST(found.kind, "kind");
    QCOMPARE(found.reason.isEmpty(), found.kind != MailboxKind::None);
}

void MaildirTest::detectsFolders()
{
    Scratch scratch;
    const auto kind = [&scratch](const QString &name) { return detectMailbox(scratch.path(name)).kind; };
    QCOMPARE(detectMailbox(scratch.path(u"gone"_s)).reason,
             u"'%1' does not exist"_s.arg(scratch.path(u"gone"_s)));
    QVERIFY(QDir().mkpath(scratch.path(u"plain"_s)));
    QCOMPARE(kind(u"plain"_s), MailboxKind::None);
    scratch.write(u"plain/10"_s, "Subject: ten\n");
    scratch.write(u"plain/9"_s, "Subject: nine\n");
    scratch.write(u"plain/notes.txt"_s, "hello\n");
    QCOMPARE(kind(u"plain"_s), MailboxKind::Folder);
    QCOMPARE(messageFilesIn(scratch.path(u"plain"_s)),
             QStringList({scratch.path(u"plain/9"_s), scratch.path(u"plain/10"_s)}));
    QVERIFY(QDir().mkpath(scratch.path(u"dir/cur"_s)));
    QCOMPARE(kind(u"dir"_s), MailboxKind::None);
    QVERIFY(QDir().mkpath(scratch.path(u"dir/new"_s)));
    QCOMPARE(kind(u"dir"_s), MailboxKind::Maildir);
}

void MaildirTest::messageFiles_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("as it is") << QByteArray("A: 1\n\nx\ry") << QByteArray("A: 1\n\nx\ry");
    QTest::newRow("CRLF") << QByteArray("A: 1\r\n\r\nx\r\n") << QByteArray("A: 1\n\nx\n");
    QTest::newRow("preamble") << QByteArray("\xef\xbb\xbf\nFrom a b\nA: 1\n") << QByteArray("A: 1\n");
    QTest::newRow("empty") << QByteArray() << QByteArray();
}

void MaildirTest::messageFiles()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, text);
    Scratch scratch;
    const std::optional<QByteArray> read = readMessageFile(scratch.write(u"file"_s, bytes));
    QCOMPARE(read.value_or(QByteArray()), text);
    QCOMPARE(scratch.notes.size(), read ? 0 : 1);
}

void MaildirTest::names_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<MailFlags>("flags");
    QTest::newRow("new") << u"1795171320.M1P2.host"_s << MailFlags{};
    QTest::newRow("all") << u"1.a.host:2,DFPRST"_s << MailFlags{true, true, true, true, true, true};
    QTest::newRow("seen") << u"1.a.host,S=12:2,Sab"_s << MailFlags{.read = true};
    QTest::newRow("no colon in names") << u"1.a.host!2,RS"_s << MailFlags{.read = true, .answered = true};
    QTest::newRow("semicolon") << u"1.a.host;2,F"_s << MailFlags{.flagged = true};
    QTest::newRow("experimental info") << u"1.a.host:1,FS"_s << MailFlags{};
    QTest::newRow("no flags") << u"1.STF.host:2,"_s << MailFlags{};
    QTest::newRow("short") << u"S"_s << MailFlags{};
}

void MaildirTest::names()
{
    QFETCH(QString, name);
    QTEST(flagsOfMaildirName(name), "flags");
}

void MaildirTest::reads()
{
    Scratch scratch;
    for (const char *folder : {"cur", "new", "tmp", ".Sent/cur", ".Sent/new", ".Lists.kernel/cur",
                               ".Lists.kernel/new", "Old/cur", "Old/new", ".nothing"})
        QVERIFY(QDir().mkpath(scratch.path(u"dir/"_s + QLatin1String(folder))));
    scratch.write(u"dir/new/300.c.host"_s, "A: 3\n");
    scratch.write(u"dir/cur/100.a.host:2,S"_s, "A: 1\r\n");
    scratch.write(u"dir/cur/20.b.host:2,"_s, "");
    scratch.write(u"dir/tmp/50.d.host"_s, "half");
    scratch.write(u"dir/cur/.hidden"_s, "A: 9\n");
    const Maildir maildir(scratch.path(u"dir"_s));

    const QList<MaildirMessage> messages = maildir.messages();
    QCOMPARE(messages.size(), 3);
    QCOMPARE(messages[1].delivered, qint64(100));
    QVERIFY(messages[1].flags.read);
    QVERIFY(!maildir.read(messages[0])); // empty
    QCOMPARE(scratch.notes.size(), 1);
    QCOMPARE(maildir.read(messages[1]).value_or(""), QByteArray("A: 1\n"));
    QVERIFY(QFile::rename(messages[2].path, scratch.path(u"dir/cur/300.c.host:2,RS"_s)));
    QCOMPARE(maildir.read(messages[2]).value_or(""), QByteArray("A: 3\n"));
    QVERIFY(QFile::remove(messages[1].path));
    QVERIFY(!maildir.read(messages[1]));
    QCOMPARE(scratch.notes.size(), 2);

    QStringList folders;
    for (const MaildirFolder &folder : maildir.folders())
        folders.append(folder.name);
    QCOMPARE(folders, QStringList({QString(), u"Lists/kernel"_s, u"Old"_s, u"Sent"_s}));
}

QTEST_GUILESS_MAIN(MaildirTest)
#include "maildir_test.moc"
