#include "net/accountlog.h"

#include "net/accountfiles.h"
#include "net/fakes.h"

#include "config/clock.h"
#include "config/settings.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int kLong = 900; ///< characters of a text that may have been cut

/// An account that keeps a log.
struct Rig
{
    Rig()
    {
        setBoolSetting(Setting::EnableLogging, true);
        setBoolSetting(Setting::FlushLogs, true);
        manager.load();
        account = manager.account(manager.add(accountData(u"a"_s)));
    }

    QString path() const { return accountFilePath(account->number(), u"Log"_s); }
    QByteArray text() const { return Scratch::read(path()); }

    Scratch scratch;
    AccountManager manager;
    Account *account = nullptr;
};

} // namespace

class AccountLogTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void aLine();
    void settings();
    void flushed();
    void trimming();
    void secrets_data();
    void secrets();
    void theAccountsPassword();
    void repeatedPasswords_data();
    void repeatedPasswords();
    void harmlessLines();
    void cannotBeOpened();
    void reading();
    void readingTheEnd();
};

void AccountLogTest::aLine()
{
    Rig rig;
    const ClockOverride clock([] { return qint64(86'400'007); });
    rig.account->log(u"Connecting to pop.example..."_s);
    QCOMPARE(rig.text(), QByteArray("1970-01-02 00:00:00.007 Connecting to pop.example...\n"));
    struct stat info = {};
    QCOMPARE(::stat(QFile::encodeName(rig.path()).constData(), &info), 0);
    QCOMPARE(info.st_mode & 0777, mode_t(0600));
}

void AccountLogTest::settings()
{
    Rig rig;
    setBoolSetting(Setting::EnableLogging, false);
    rig.account->log(u"nowhere"_s);
    QVERIFY(!QFile::exists(rig.path()));
    QVERIFY(rig.scratch.notes.isEmpty());
    setBoolSetting(Setting::GlobalLogIncludesFetchers, true);
    rig.account->log(u"into the program's"_s);
    QCOMPARE(rig.scratch.notes, QStringList{u"a: into the program's"_s});
    QVERIFY(!QFile::exists(rig.path()));
}

void AccountLogTest::flushed()
{
    Rig rig;
    setBoolSetting(Setting::FlushLogs, false);
    rig.account->log(u"one"_s);
    QVERIFY(rig.text().isEmpty());
    rig.manager.flushLogs();
    QVERIFY(rig.text().endsWith("one\n"));
}

void AccountLogTest::trimming()
{
    Rig rig;
    setIntSetting(Setting::TrimLogs, 8);
    for (int i = 0; i < 1000; ++i)
        rig.account->log(u"line %1"_s.arg(i, 4));
    const QByteArray old = Scratch::read(rig.path() + u".old"_s);
    QVERIFY(rig.text().endsWith("line  999\n")); // the newest stay
    QVERIFY(rig.text().size() + old.size() <= 8 * 1024);
    QVERIFY(rig.text().size() + old.size() > 4 * 1024);
    const QList<AccountLogLine> lines = readAccountLog(rig.account->number(), 8 * 1024);
    for (qsizetype i = 0; i < lines.size(); ++i) // one after the other over both files
        QCOMPARE(lines[i].text, u"line %1"_s.arg(1000 - lines.size() + i, 4));
}

void AccountLogTest::secrets_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("logged");
    QTest::newRow("PASS") << u">>>> PASS hunter2 with blanks"_s << u">>>> PASS ****"_s;
    QTest::newRow("in small letters") << u">>>> pass hunter2"_s << u">>>> pass ****"_s;
    QTest::newRow("masked by the client") << u">>>> PASS ****"_s << u">>>> PASS ****"_s;
    QTest::newRow("APOP") << u">>>> APOP ada c4c9334bac560ecc979e58001b3e22fb"_s << u">>>> APOP ****"_s;
    QTest::newRow("AUTH with its answer")
        << u">>>> AUTH PLAIN AGFkYQBodW50ZXIy"_s << u">>>> AUTH PLAIN ****"_s;
    QTest::newRow("AUTH without") << u">>>> AUTH CRAM-MD5"_s << u">>>> AUTH CRAM-MD5"_s;
    QTest::newRow("AUTHENTICATE behind a tag")
        << u">>>> a7 AUTHENTICATE PLAIN AGFkYQ=="_s << u">>>> a7 AUTHENTICATE PLAIN ****"_s;
    QTest::newRow("LOGIN behind a tag") << u">>>> a7 LOGIN ada hunter2"_s << u">>>> a7 LOGIN ****"_s;
    QTest::newRow("AUTHINFO") << u">>>> AUTHINFO PASS hunter2"_s << u">>>> AUTHINFO PASS ****"_s;
    QTest::newRow("a user is no secret") << u">>>> USER ada"_s << u">>>> USER ada"_s;
    QTest::newRow("a server's line") << u"<<<< PASS me the salt"_s << u"<<<< PASS me the salt"_s;
    QTest::newRow("a status") << u"LOGIN to server"_s << u"LOGIN to server"_s;
    QTest::newRow("another command") << u">>>> RETR 7"_s << u">>>> RETR 7"_s;
}

void AccountLogTest::secrets()
{
    QFETCH(QString, line);
    Rig rig;
    rig.account->log(line);
    QTEST(QString::fromUtf8(rig.text()).section(u' ', 2).chopped(1), "logged");
}

void AccountLogTest::theAccountsPassword()
{
    Rig rig;
    setBoolSetting(Setting::GlobalLogIncludesFetchers, true);
    rig.account->log(u"<<<< -ERR 'lovelace' is not your password"_s);
    QVERIFY(rig.text().endsWith("<<<< -ERR '****' is not your password\n"));
    QVERIFY(!rig.scratch.notes.join(u' ').contains(u"lovelace"_s));
}

void AccountLogTest::repeatedPasswords_data()
{
    QTest::addColumn<QString>("password");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    const QString filling(kLong, u'x');
    QTest::newRow("twice") << u"hunter2"_s << u"hunter2hunter2 no"_s << u"******** no"_s;
    QTest::newRow("as bytes") << u"pä\u20acss"_s << QString::fromLatin1(u"-ERR pä\u20acss no"_s.toUtf8())
                              << u"-ERR **** no"_s;
    QTest::newRow("cut") << u"hunter2"_s << filling + u"hunter"_s << filling + u"****"_s;
    QTest::newRow("cut as bytes") << u"pä\u20acss"_s
                                  << filling + QString::fromLatin1(u"pä\u20ac"_s.toUtf8().chopped(1))
                                  << filling + u"****"_s;
    QTest::newRow("cut within a character")
        << u"pass\u20acword"_s << filling + u"pass\ufffd"_s << filling + u"****"_s;
    QTest::newRow("longer than the text")
        << QString(10'000, u'P') << u"-ERR "_s + QString(kLong, u'P') << u"-ERR ****"_s;
    QTest::newRow("short text with its beginning") << u"login7"_s << u"-ERR login"_s << u"-ERR login"_s;
    QTest::newRow("too short") << u"no"_s << u"-ERR no"_s << u"-ERR no"_s;
}

void AccountLogTest::repeatedPasswords()
{
    QFETCH(QString, password);
    QFETCH(QString, text);
    QTEST(withoutPassword(text, password), "shown");
}

void AccountLogTest::harmlessLines()
{
    Rig rig;
    rig.account->log(u"<<<< one\r\ntwo\x1b[2J\x07"_s);
    QCOMPARE(rig.text().count('\n'), 1);
    for (const char c : {'\r', '\x1b', '\x07'})
        QVERIFY(!rig.text().contains(c));
    rig.account->log(u"<<<< "_s + QString(100'000, u'x'));
    QVERIFY(rig.text().size() < 5000); // an endless line is cut
}

void AccountLogTest::cannotBeOpened()
{
    Rig rig;
    QVERIFY(QDir().mkpath(rig.path())); // a directory of that name
    rig.account->log(u"one"_s);
    rig.account->log(u"two"_s);
    QCOMPARE(rig.scratch.reports, QStringList{u"Unable to open log file"_s}); // once
}

void AccountLogTest::reading()
{
    Rig rig;
    QVERIFY(readAccountLog(rig.account->number()).isEmpty());
    const ClockOverride clock([] { return qint64(86'400'007); });
    for (const QString &line : {u"Connected"_s, u">>>> STAT"_s, u"<<<< +OK 2 320"_s})
        rig.account->log(line);
    QFile file(rig.path());
    QVERIFY(file.open(QIODevice::Append) && file.write("a foreign line\n\n>>>> cut") > 0);
    file.close();
    const QList<AccountLogLine> lines = readAccountLog(rig.account->number());
    QCOMPARE(lines.size(), 5);
    using Direction = AccountLogLine::Direction;
    QCOMPARE(lines[0].time, u"1970-01-02 00:00:00.007"_s);
    QCOMPARE(lines[0].direction, Direction::None);
    QCOMPARE(lines[1].direction, Direction::Sent);
    QCOMPARE(lines[1].text, u"STAT"_s);
    QCOMPARE(lines[2].direction, Direction::Received);
    QCOMPARE(lines[2].text, u"+OK 2 320"_s);
    QVERIFY(lines[3].time.isEmpty());
    QCOMPARE(lines[3].text, u"a foreign line"_s);
    QCOMPARE(lines[4].text, u"cut"_s);
}

void AccountLogTest::readingTheEnd()
{
    Rig rig;
    for (int i = 0; i < 5000; ++i)
        rig.account->log(u"line %1"_s.arg(i));
    const QList<AccountLogLine> lines = readAccountLog(rig.account->number(), 1000);
    QCOMPARE(lines.last().text, u"line 4999"_s);
    QVERIFY(lines.size() > 20 && lines.size() <= 1000 / 30);
    QVERIFY(!lines.first().time.isEmpty()); // no half line
    QVERIFY(readAccountLog(rig.account->number(), 0).isEmpty());
}

QTEST_GUILESS_MAIN(AccountLogTest)
#include "accountlog_test.moc"
