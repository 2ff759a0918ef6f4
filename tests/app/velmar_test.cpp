#include "app/options.h"

#include "support/scratch.h"

#include <QDir>
#include <QImage>
#include <QProcess>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

constexpr int kPatience = 30000;

/// The program off screen, with nothing of the user's in reach.
class Program
{
public:
    Program(const Scratch &scratch, const QStringList &arguments)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        for (const char *name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"}) {
            const QString directory = scratch.path(QString::fromLatin1(name));
            QDir().mkpath(directory);
            QFile::setPermissions(directory, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
            environment.insert(QString::fromLatin1(name), directory);
        }
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(VELMAR_PROGRAM), arguments);
    }
    ~Program()
    {
        process.kill();
        process.waitForFinished(kPatience);
    }
    int status()
    {
        return process.waitForFinished(kPatience) && process.exitStatus() == QProcess::NormalExit
                   ? process.exitCode()
                   : -1;
    }
    void signal(int number) { ::kill(pid_t(process.processId()), number); }

    QProcess process;
};

QStringList with(const QString &directory, QStringList more = {})
{
    return QStringList{u"--config"_s, directory} + more;
}

} // namespace

class VelmarTest : public QObject
{
    Q_OBJECT

private slots:
    void options_data();
    void options();
    void answersWithoutADisplay_data();
    void answersWithoutADisplay();
    void secondStartHandsOver();
    void terminationSavesEverything_data();
    void terminationSavesEverything();
    void tellsWhatCouldNotBeSaved();
    void startsAfterAKill();
    void startsWithAnything_data();
    void startsWithAnything();
    void anUnusableDirectory();
    void anUnknownOptionIsRefused();
    void demoShowsItself();
};

void VelmarTest::options_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("config");
    QTest::addColumn<bool>("demo");
    QTest::addColumn<QString>("rest");
    QTest::addColumn<bool>("right");
    QTest::newRow("none") << "a.eml"
                          << "" << false << "a.eml" << true;
    QTest::newRow("ours") << "--demo x --pictures p"
                          << "" << true << "x" << true;
    QTest::newRow("behind a keyword") << "-url --demo -attach --config"
                                      << "" << false << "-url --demo -attach --config" << true;
    QTest::newRow("the directory") << "--config /d -email a@b"
                                   << "/d" << false << "-email a@b" << true;
    QTest::newRow("no directory for the pictures") << "--demo --pictures"
                                                   << "" << true << "" << false;
    QTest::newRow("pictures of what") << "--pictures p"
                                      << "" << false << "" << false;
}

void VelmarTest::options()
{
    QFETCH(QString, line);
    QStringList arguments = line.split(u' ');
    const ProgramOptions options = takeProgramOptions(arguments);
    QTEST(options.start.configDirectory, "config");
    QTEST(options.demo, "demo");
    QTEST(arguments.join(u' '), "rest");
    QTEST(options.problem.isEmpty(), "right");
}

void VelmarTest::answersWithoutADisplay_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("says");
    QTest::newRow("help") << u"--help"_s << 0 << QByteArray("usage: velmar");
    QTest::newRow("version") << u"--version"_s << 0 << QByteArray("2.29m");
    QTest::newRow("wrong") << u"--config"_s << 2 << QByteArray("The option --config needs");
}

void VelmarTest::answersWithoutADisplay()
{
    QFETCH(QString, option);
    QFETCH(QByteArray, says);
    Scratch scratch;
    Program program(scratch, {u"-platform"_s, u"nowhere"_s, option});
    QTEST(program.status(), "status");
    const QByteArray told = program.process.readAllStandardOutput() + program.process.readAllStandardError();
    QVERIFY2(told.contains(says), told.constData());
}

void VelmarTest::secondStartHandsOver()
{
    Scratch scratch;
    const QString directory = scratch.path(u"mail"_s);
    Program first(scratch, with(directory));
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(directory + u"/Groups/Running"_s), kPatience);
    Program second(scratch, with(directory));
    QCOMPARE(second.status(), 0);
    Program third(scratch, with(directory, {u"-url"_s, u"velmar:inbox"_s}));
    QCOMPARE(third.status(), 0);
    QCOMPARE(first.process.state(), QProcess::Running);
    Program elsewhere(scratch, with(scratch.path(u"other"_s), {u"--exit-when-shown"_s}));
    QCOMPARE(elsewhere.status(), 0);
    first.signal(SIGTERM);
    QCOMPARE(first.status(), 0);
}

void VelmarTest::terminationSavesEverything_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
}

void VelmarTest::terminationSavesEverything()
{
    QFETCH(int, signal);
    Scratch scratch;
    const QString directory = scratch.path(u"mail"_s);
    Program program(scratch, with(directory));
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(directory + u"/Groups/Running"_s), kPatience);
    QTest::qWait(200);
    program.signal(signal);
    QCOMPARE(program.status(), 0);
    QVERIFY(!QFile::exists(directory + u"/Groups/Running"_s));
    for (const char *name : {"Config", "Groups/Index", "MsgIDs", "MsgIDIndex"})
        QVERIFY2(QFile::exists(directory + u'/' + QString::fromLatin1(name)), name);
    QVERIFY(Scratch::read(directory + u"/Config"_s).endsWith("\nend\n"));
}

void VelmarTest::tellsWhatCouldNotBeSaved()
{
    Scratch scratch;
    const QString directory = scratch.path(u"mail"_s);
    QVERIFY(QDir().mkpath(directory));
    QVERIFY(QFile::link(scratch.path(u"nowhere/Config"_s), directory + u"/Config"_s));
    Program program(scratch, with(directory, {u"--exit-when-shown"_s}));
    QCOMPARE(program.status(), 0);
    QVERIFY(program.process.readAllStandardError().contains("velmar: Unable to write configuration file"));
    QVERIFY(Scratch::read(directory + u"/Log"_s).contains("Unable to write configuration file"));
}

void VelmarTest::startsAfterAKill()
{
    Scratch scratch;
    const QString directory = scratch.path(u"mail"_s);
    for (int i = 0; i < 3; ++i) {
        Program program(scratch, with(directory));
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(directory + u"/Groups/Running"_s), kPatience);
        program.signal(SIGKILL);
        program.process.waitForFinished(kPatience);
    }
    Program program(scratch, with(directory, {u"--exit-when-shown"_s}));
    QCOMPARE(program.status(), 0);
    QVERIFY(Scratch::read(directory + u"/Log"_s).contains("did not come to its end"));
}

void VelmarTest::startsWithAnything_data()
{
    QTest::addColumn<QString>("file");
    for (const char *name :
         {"Config", "Groups/Index", "Accounts/Index", "MsgIDs", "MsgIDIndex", "Groups/1/Overview",
          "Groups/1/Bin0", "Groups/1/Headers0", "Groups/Moving", "Look", "Views"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void VelmarTest::startsWithAnything()
{
    QFETCH(QString, file);
    Scratch scratch;
    const QString directory = scratch.path(u"mail"_s);
    QDir().mkpath(directory + u"/Groups/1"_s);
    QDir().mkpath(directory + u"/Accounts"_s);
    QByteArray garbage(5000, '\0');
    for (qsizetype i = 0; i < garbage.size(); ++i)
        garbage[i] = char(i * 7919 >> 3);
    scratch.write(u"mail/"_s + file, garbage);
    Program program(scratch, with(directory, {u"--exit-when-shown"_s}));
    QCOMPARE(program.status(), 0);
}

void VelmarTest::anUnusableDirectory()
{
    Scratch scratch;
    scratch.write(u"file"_s, "no directory");
    Program program(scratch, with(scratch.path(u"file/mail"_s)));
    QCOMPARE(program.status(), 1);
    QVERIFY(program.process.readAllStandardError().contains("Unable to create configuration directory - "));
}

/// Else it would open another mailbox than the one that was meant.
void VelmarTest::anUnknownOptionIsRefused()
{
    Scratch scratch;
    Program program(scratch, {u"--config-dir"_s, scratch.path(u"mine"_s)});
    QCOMPARE(program.status(), 2);
    QVERIFY(program.process.readAllStandardError().contains("unknown option --config-dir"));
}

void VelmarTest::demoShowsItself()
{
    Scratch scratch;
    const QString pictures = scratch.path(u"pictures"_s);
    Program program(scratch, {u"--demo"_s, u"--pictures"_s, pictures});
    QCOMPARE(program.status(), 0);
    const QStringList names = QDir(pictures).entryList({u"*.png"_s});
    QVERIFY(names.size() >= 4);
    const QByteArray told = program.process.readAllStandardOutput();
    for (const QString &name : names) {
        const QImage picture(pictures + u'/' + name);
        QVERIFY2(picture.width() >= 300 && picture.height() >= 200, qPrintable(name));
        QVERIFY2(told.contains(name.toUtf8()), qPrintable(name));
    }
    QVERIFY(QDir(scratch.path(u"XDG_DATA_HOME"_s)).isEmpty());
    QVERIFY(QDir(scratch.path(u"XDG_CONFIG_HOME"_s)).isEmpty());
}

QTEST_GUILESS_MAIN(VelmarTest)
#include "velmar_test.moc"
