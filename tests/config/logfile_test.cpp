#include "config/logfile.h"

#include "config/clock.h"
#include "support/scratch.h"

#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

class LogFileTest : public QObject
{
    Q_OBJECT

private slots:
    void aLineAndItsTime();
    void onlyItsOwnerReadsIt();
    void whenTheLinesReachTheFile();
    void staysWithinItsSize();
    void aLineCutOffByACrash();
    void aLogThatCannotBeWritten();
    void besideAnotherProcess();
};

namespace {

QByteArray text()
{
    return Scratch::read(configPathOf(u"Log"_s));
}

} // namespace

void LogFileTest::aLineAndItsTime()
{
    Scratch scratch;
    QVERIFY(createStoreDirectories());
    const ClockOverride clock([] { return qint64(86400'007); });
    LogFile log(u"Log"_s);
    const NoteSink before = setNoteSink([&log](const QString &line) { log.write(line); });
    note(u"repaired \"Größe\"\nFrom x"_s);
    setNoteSink(before);
    log.write(QString(1'000'000, u'x'));
    log.flush();
    const QByteArrayList lines = text().split('\n');
    QCOMPARE(lines.at(0), QByteArray("1970-01-02 00:00:00.007 repaired \"Gr\xc3\xb6\xc3\x9f\x65\"\\nFrom x"));
    QCOMPARE(lines.at(1).size(), 24 + 4096);
    QCOMPARE(lines.size(), 3);
}

void LogFileTest::onlyItsOwnerReadsIt()
{
    Scratch scratch;
    QVERIFY(createStoreDirectories());
    LogFile log(u"Log"_s);
    log.write(u"line"_s);
    struct stat status = {};
    QCOMPARE(stat(QFile::encodeName(log.path()).constData(), &status), 0);
    QCOMPARE(status.st_mode & 0777, mode_t(0600));
}

void LogFileTest::whenTheLinesReachTheFile()
{
    Scratch scratch;
    QVERIFY(createStoreDirectories());
    {
        LogFile log(u"Log"_s);
        log.write(u"one"_s);
        QCOMPARE(text(), QByteArray());
        setBoolSetting(Setting::FlushLogs, true);
        log.write(u"two"_s);
        QCOMPARE(text().count('\n'), 2);
        setBoolSetting(Setting::FlushLogs, false);
        log.write(u"three"_s);
    }
    QCOMPARE(text().count('\n'), 3); // the end of the program flushes
}

void LogFileTest::staysWithinItsSize()
{
    Scratch scratch;
    QVERIFY(createStoreDirectories());
    setIntSetting(Setting::MainLogSize, 2);
    LogFile log(u"Log"_s);
    for (int i = 0; i < 100; ++i)
        log.write(u"line %1"_s.arg(i));
    log.flush();
    const QByteArray older = Scratch::read(log.path() + u".old"_s);
    QVERIFY(text().size() <= 1024 && older.size() <= 1024 && older.size() > 900);
    QVERIFY(text().endsWith("line 99\n"));
    const QByteArray firstHere = text().left(text().indexOf('\n')).mid(24);
    const int next = firstHere.mid(5).toInt();
    QVERIFY(next > 0);
    QVERIFY(older.endsWith("line " + QByteArray::number(next - 1) + '\n')); // nothing lost in between

    setIntSetting(Setting::MainLogSize, 0); // without bound
    for (int i = 0; i < 100; ++i)
        log.write(u"more"_s);
    log.flush();
    QVERIFY(text().size() > 2048);
}

void LogFileTest::aLineCutOffByACrash()
{
    Scratch scratch;
    QVERIFY(createStoreDirectories());
    scratch.write(u"config/Log"_s, "half a li");
    LogFile log(u"Log"_s);
    log.write(u"whole"_s);
    log.flush();
    QVERIFY(text().startsWith("half a li\n"));
    QVERIFY(text().endsWith(" whole\n"));
}

void LogFileTest::aLogThatCannotBeWritten()
{
    Scratch scratch;
    QVERIFY(createStoreDirectories());
    QVERIFY(QDir().mkdir(configPathOf(u"Log"_s)));
    LogFile log(u"Log"_s);
    log.write(u"lost"_s);
    QVERIFY(QDir().rmdir(log.path()));
    log.write(u"kept"_s); // the obstacle is gone
    log.flush();
    QVERIFY(text().endsWith(" kept\n"));
    QCOMPARE(text().count('\n'), 1);
    QCOMPARE(scratch.reports, QStringList());
}

void LogFileTest::besideAnotherProcess()
{
    Scratch scratch;
    QVERIFY(createStoreDirectories());
    setStoreAccess(StoreAccess::ReadOnly);
    LogFile log(u"Log"_s);
    log.write(u"line"_s);
    log.flush();
    QVERIFY(!QFile::exists(log.path()));
}

QTEST_GUILESS_MAIN(LogFileTest)
#include "logfile_test.moc"
