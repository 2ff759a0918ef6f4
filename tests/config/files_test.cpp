#include "config/files.h"

#include "config/instancelock.h"
#include "support/scratch.h"

#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

class FilesTest : public QObject
{
    Q_OBJECT

private slots:
    void directories_data();
    void directories();
    void directoryComesFromTheFirstThatNamesIt();
    void theInstallation();
    void theDocuments();
    void configFileMakesWhatItNeeds();
    void onlyTheOwnerReadsTheDirectory();
    void aDirectoryThatCannotBeMade();
    void replacing();
    void copying();
    void texts_data();
    void texts();
    void wholeOrNotAtAll();
    void theLockIsHeldByOne();
};

void FilesTest::directories_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("cleaned");
    QTest::newRow("quoted, with backslashes") << "\"C:\\Mail\\\""
                                              << "C:/Mail";
    QTest::newRow("one quote only") << "\"/mail"
                                    << "\"/mail";
    QTest::newRow("one slash goes") << "/mail//"
                                    << "/mail/";
    QTest::newRow("the root stays") << "/"
                                    << "/";
}

void FilesTest::directories()
{
    QFETCH(QString, typed);
    QTEST(cleanedDirectory(typed), "cleaned");
}

void FilesTest::directoryComesFromTheFirstThatNamesIt()
{
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path() + u"/roaming"_s));
    qputenv("XDG_DATA_HOME", QFile::encodeName(home.path() + u"/local"_s));
    const QString own = u"/brackwater/velmar"_s;
    const auto found = [] {
        setConfigDirectory({});
        return configDirectory();
    };
    QCOMPARE(found(), home.path() + u"/local"_s + own);
    QVERIFY(!QFile::exists(configDirectory()));
    QVERIFY(QDir().mkpath(home.path() + u"/roaming"_s + own));
    QCOMPARE(found(), home.path() + u"/roaming"_s + own);
    const QString beside = QCoreApplication::applicationDirPath() + u"/Config"_s;
    QVERIFY(QDir().mkpath(beside));
    QCOMPARE(found(), beside);
    QVERIFY(configIsBesideProgram());
    qputenv("VELMAR_CONFIG_DIR", "\"/tmp\\mail/\"");
    QCOMPARE(found(), u"/tmp/mail"_s);
    QVERIFY(!configIsBesideProgram());
    setConfigDirectory(u"/elsewhere/"_s);
    QCOMPARE(configDirectory(), u"/elsewhere"_s);
    QVERIFY(QDir().rmdir(beside));
    qunsetenv("VELMAR_CONFIG_DIR");
    qunsetenv("XDG_CONFIG_HOME");
    qunsetenv("XDG_DATA_HOME");
}

void FilesTest::theInstallation()
{
    setInstallDirectory({});
    qunsetenv("VELMAR_INSTALL_DIR");
    QCOMPARE(installFile(u"Manual.pdf"_s), QString());
    qputenv("VELMAR_INSTALL_DIR", "\"C:\\Velmar\"");
    QCOMPARE(installFile(u"Manual.pdf"_s), u"C:/Velmar/Manual.pdf"_s);
    setInstallDirectory(u"/opt/velmar/"_s);
    QCOMPARE(installFile(u"a"_s), u"/opt/velmar/a"_s);
    setInstallDirectory({});
    qunsetenv("VELMAR_INSTALL_DIR");
}

void FilesTest::theDocuments()
{
    Scratch scratch;
    const QByteArray home = qgetenv("HOME");
    qputenv("HOME", QFile::encodeName(configDirectory()));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(configDirectory()));
    const QString documents = documentsDirectory();
    QVERIFY(documents.startsWith(configDirectory()));
    QVERIFY(QFileInfo(documents).isDir());
    QVERIFY(QDir().rmdir(documents));
    QVERIFY(QFile(documents).open(QIODevice::WriteOnly)); // a file in its place
    QCOMPARE(documentsDirectory(), QString());
    setStringSetting(Setting::DefaultDirectory, u"/mine"_s);
    QCOMPARE(documentsDirectory(), u"/mine"_s);
    QCOMPARE(scratch.reports, QStringList{u"Unable to locate My Documents"_s});
    qunsetenv("XDG_CONFIG_HOME");
    qputenv("HOME", home);
}

void FilesTest::configFileMakesWhatItNeeds()
{
    Scratch scratch;
    QString name = u"Groups/17/Bin0"_s;
    QVERIFY(configFile(name, false));
    QCOMPARE(name, configDirectory() + u"/Groups/17/Bin0"_s);
    QVERIFY(QFileInfo(configDirectory() + u"/Groups/17"_s).isDir());
    QVERIFY(!QFile::exists(name));
    name = u"Batches"_s;
    QVERIFY(configFile(name, true));
    QVERIFY(QFileInfo(name).isDir());
}

void FilesTest::onlyTheOwnerReadsTheDirectory()
{
    Scratch scratch;
    QVERIFY(createStoreDirectories());
    for (const char *name : {"", "/Groups", "/Accounts"}) {
        struct stat status = {};
        QCOMPARE(stat(QFile::encodeName(configDirectory() + QLatin1String(name)).constData(), &status), 0);
        QCOMPARE(status.st_mode & 0777, mode_t(0700));
    }
}

void FilesTest::aDirectoryThatCannotBeMade()
{
    Scratch scratch;
    QVERIFY(createStoreDirectories());
    QVERIFY(QFile(configDirectory() + u"/Batches"_s).open(QIODevice::WriteOnly));
    QString name = u"Batches/1"_s;
    QVERIFY(!configFile(name, false));
    QCOMPARE(scratch.reports,
             QStringList{u"Unable to create configuration directory - %1/Batches"_s.arg(configDirectory())});
}

void FilesTest::replacing()
{
    Scratch scratch;
    const QString to = scratch.write(u"to"_s, "old");
    QVERIFY(!replaceFile(scratch.path(u"missing"_s), to));
    QCOMPARE(Scratch::read(to), QByteArray("old"));
    const QString from = scratch.write(u"from"_s, "new");
    QVERIFY(replaceFile(from, to));
    QCOMPARE(Scratch::read(to), QByteArray("new"));
    QVERIFY(!QFile::exists(from));
}

void FilesTest::copying()
{
    Scratch scratch;
    const QString from = scratch.write(u"from"_s, "text");
    const QString to = scratch.path(u"to"_s);
    QVERIFY(copyFile(from, to, false));
    QVERIFY(QFile::exists(from));
    QVERIFY(copyFile(from, to, true));
    QVERIFY(!QFile::exists(from));
    QCOMPARE(Scratch::read(to), QByteArray("text"));
    QVERIFY(!copyFile(from, to, false));
    QVERIFY(!copyFile(to, u"/dev/full"_s, false));
    QVERIFY(QFile::exists(to));
}

void FilesTest::texts_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("encoding");
    QTest::addColumn<QString>("text");
    QTest::newRow("UTF-8") << QByteArray("\xc3\xa4") << QByteArray() << QString::fromUtf8("ä");
    QTest::newRow("no UTF-8") << QByteArray("\xe4\x80") << QByteArray() << QString::fromUtf8("ä€");
    QTest::newRow("named") << QByteArray("\xe4") << QByteArray("iso-8859-5") << QString::fromUtf8("ф");
    QTest::newRow("unknown name") << QByteArray("\xc3\xa4") << QByteArray("x-none") << QString::fromUtf8("ä");
}

void FilesTest::texts()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, encoding);
    QFETCH(QString, text);
    Scratch scratch;
    const QString path = scratch.write(u"text"_s, bytes);
    QCOMPARE(readTextFile(path, nullptr, encoding), text);
    QVERIFY(writeTextFile(path, text, nullptr, encoding));
    QCOMPARE(readTextFile(path, nullptr, encoding), text);
    QCOMPARE(readTextFile(scratch.path(u"missing"_s)), QString());
    QCOMPARE(scratch.reports, QStringList());

    QVERIFY(!writeTextFile(u"/dev/full"_s, text));
    QCOMPARE(scratch.reports.takeFirst(), u"Unable to write file '/dev/full'"_s);
    QDir().mkpath(scratch.path(u"folder"_s));
    QCOMPARE(readTextFile(scratch.path(u"folder"_s)), QString());
    QCOMPARE(scratch.reports.takeFirst(), u"Unable to read file '%1'"_s.arg(scratch.path(u"folder"_s)));
}

void FilesTest::wholeOrNotAtAll()
{
    Scratch scratch;
    const QString path = scratch.write(u"list"_s, "old");
    QVERIFY(!writeReplacing(path, [](QFileDevice &file) { return file.write("half") == 5; }));
    QCOMPARE(Scratch::read(path), QByteArray("old"));
    QVERIFY(!QFile::exists(path + u'~'));
    QVERIFY(QFile::link(u"/dev/full"_s, path + u'~')); // a full disk
    QVERIFY(!writeReplacing(path, "new"));
    QCOMPARE(Scratch::read(path), QByteArray("old"));
    QFile::remove(path + u'~');
    QVERIFY(writeReplacing(path, "new"));
    QCOMPARE(Scratch::read(path), QByteArray("new"));
    const auto others = QFile::ReadGroup | QFile::ReadOther;
    QVERIFY(!(QFile::permissions(path) & others)); // whatever the mask of the process allows
}

void FilesTest::theLockIsHeldByOne()
{
    Scratch scratch;
    QVERIFY(createStoreDirectories());
    InstanceLock first;
    InstanceLock second;
    QCOMPARE(first.tryLock(configDirectory()), InstanceLock::Outcome::Held);
    QCOMPARE(second.tryLock(configDirectory()), InstanceLock::Outcome::Busy);
    first.unlock();
    QCOMPARE(second.tryLock(configDirectory()), InstanceLock::Outcome::Held);
    QCOMPARE(first.tryLock(scratch.path(u"missing"_s)), InstanceLock::Outcome::Failed);
}

QTEST_GUILESS_MAIN(FilesTest)
#include "files_test.moc"
