#include "identity/signaturecommand.h"

#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

constexpr int kPatience = 20'000; ///< milliseconds; nothing here takes so long

bool isAlive(const QByteArray &process)
{
    return ::kill(pid_t(process.trimmed().toInt()), 0) == 0;
}

} // namespace

class SignatureCommandTest : public QObject
{
    Q_OBJECT

private slots:
    void output_data();
    void output();
    void problems_data();
    void problems();
    void endsWhatItStarted();
    void tooSlow();
    void startedAgain();
    void goneBeforeItsEnd();
};

void SignatureCommandTest::output_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("text");
    QTest::newRow("usual") << u"echo 'Ada <ada@example.org>'"_s << u"Ada <ada@example.org>"_s;
    QTest::newRow("lines, line ends behind them dropped") << u"printf 'a\\n\\nb\\n\\n\\n'"_s << u"a\n\nb"_s;
    QTest::newRow("through a pipe") << u"printf 'b\\na\\n' | sort"_s << u"a\nb"_s;
    QTest::newRow("Windows line ends") << u"printf 'a\\r\\nb\\r\\n'"_s << u"a\nb"_s;
    QTest::newRow("UTF-8") << u"printf '\\303\\244'"_s << u"\u00e4"_s;
    QTest::newRow("not UTF-8") << u"printf '\\344x'"_s << u"\u00e4x"_s;
    QTest::newRow("colours of a terminal")
        << u"printf '\\033[1;31mred\\033[0m\\033]0;title\\007!'"_s << u"red!"_s;
    QTest::newRow("NULs, bells and tabs") << u"printf 'a\\000b\\007\\tc'"_s << u"ab\tc"_s;
    QTest::newRow("nothing") << u"true"_s << QString();
    QTest::newRow("no command") << QString() << QString();
    QTest::newRow("waits for input") << u"cat; echo done"_s << u"done"_s;
    QTest::newRow("complaints are not taken") << u"echo no >&2; echo yes"_s << u"yes"_s;
    QTest::newRow("as much as may be") << u"head -c 65536 /dev/zero | tr '\\0' x"_s << QString(65536, u'x');
}

void SignatureCommandTest::output()
{
    QFETCH(QString, command);
    SignatureCommand runner;
    QSignalSpy finished(&runner, &SignatureCommand::finished);
    runner.start(command);
    QVERIFY(runner.isRunning());
    QVERIFY(finished.isEmpty());
    QVERIFY(finished.wait(kPatience));
    QVERIFY(!runner.isRunning());
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished[0][1].toString(), QString());
    QTEST(finished[0][0].toString(), "text");
}

void SignatureCommandTest::problems_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("problem");
    QTest::newRow("fails") << u"echo text; exit 3"_s << u"The command failed"_s;
    QTest::newRow("fails and says why")
        << u"printf 'no\\nluck\\n' >&2; exit 3"_s << u"The command failed: no luck"_s;
    QTest::newRow("killed") << u"kill -9 $$"_s << u"The command failed"_s;
    QTest::newRow("prints for ever") << u"yes"_s << u"The command printed more than 64 kB"_s;
    QTest::newRow("one byte too much")
        << u"head -c 65537 /dev/zero | tr '\\0' x"_s << u"The command printed more than 64 kB"_s;
}

void SignatureCommandTest::problems()
{
    QFETCH(QString, command);
    SignatureCommand runner;
    QSignalSpy finished(&runner, &SignatureCommand::finished);
    runner.start(command);
    QVERIFY(finished.wait(kPatience));
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished[0][0].toString(), QString());
    QTEST(finished[0][1].toString(), "problem");
}

/// What a shell left behind goes with it.
void SignatureCommandTest::endsWhatItStarted()
{
    QTemporaryDir directory;
    const QString path = directory.filePath(u"child"_s);
    SignatureCommand runner;
    runner.start(u"sleep 1000 & echo $! > '%1~'; mv '%1~' '%1'; wait"_s.arg(path));
    QFile file(path);
    QTRY_VERIFY_WITH_TIMEOUT(file.exists(), kPatience);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray child = file.readAll();
    QVERIFY(isAlive(child));
    runner.stop();
    QVERIFY(!runner.isRunning());
    QTRY_VERIFY_WITH_TIMEOUT(!isAlive(child), kPatience);
}

void SignatureCommandTest::tooSlow()
{
    SignatureCommand runner;
    runner.setPatience(50);
    QSignalSpy finished(&runner, &SignatureCommand::finished);
    QElapsedTimer timer;
    timer.start();
    runner.start(u"sleep 1000 | cat"_s);
    QVERIFY(finished.wait(kPatience));
    QVERIFY(timer.elapsed() < kPatience / 2);
    QCOMPARE(finished[0][1].toString(), u"The command took too long"_s);
}

void SignatureCommandTest::startedAgain()
{
    SignatureCommand runner;
    QSignalSpy finished(&runner, &SignatureCommand::finished);
    runner.start(u"sleep 1000"_s);
    runner.start(u"echo second"_s);
    QVERIFY(finished.wait(kPatience));
    QCOMPARE(finished[0][0].toString(), u"second"_s);
    connect(&runner, &SignatureCommand::finished, &runner, [&runner](const QString &text) {
        if (text == u"third")
            runner.start(u"echo fourth"_s); // from within its own signal
    });
    runner.start(u"echo third"_s);
    QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 3, kPatience);
    QCOMPARE(finished[2][0].toString(), u"fourth"_s);
}

void SignatureCommandTest::goneBeforeItsEnd()
{
    QElapsedTimer timer;
    timer.start();
    {
        SignatureCommand runner;
        runner.start(u"sleep 1000"_s);
    }
    QVERIFY(timer.elapsed() < kPatience / 2);
}

QTEST_GUILESS_MAIN(SignatureCommandTest)
#include "signaturecommand_test.moc"
