#include "config/settings.h"

#include "config/clock.h"
#include "config/platform.h"
#include "config/settingstable.h"
#include "support/scratch.h"

#include <QTest>

#include <set>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

/// A desktop that knows its connection and notes what it was told.
class FakePlatform : public Platform
{
public:
    bool openPath(const QString &) override { return false; }
    std::optional<bool> isConnected() const override { return connected; }
    void setConnected(bool online) override { told = online; }
    void askDefaultHandler(Handler, std::function<void(std::optional<bool>)>) override {}
    void becomeDefaultHandler(Handler, std::function<void(bool)>) override {}

    std::optional<bool> connected;
    std::optional<bool> told;
};

} // namespace

class SettingsTest : public QObject
{
    Q_OBJECT

private slots:
    void everyKeyStandsOnce();
    void defaultsFollowTheTable();
    void rowsFourToSixAreCrossed();
    void whatIsSavedComesBack();
    void lines_data();
    void lines();
    void aCutFileIsCompletedFromItsBackup();
    void backupFollowsEveryGoodLoad();
    void savesAtMostEveryFiveSeconds();
    void aClockSetBackDoesNotStopSaving();
    void unwritableFileKeepsTheChangesMarked();
    void unreadableFile_data();
    void unreadableFile();
    void aTextIsCutAtItsLineEnd();
    void garbage();
    void fonts();
    void toolBars();
    void geometry_data();
    void geometry();
    void online();
    void readOnlyAccessTouchesNothing();
};

void SettingsTest::everyKeyStandsOnce()
{
    std::set<QByteArray> keys;
    for (const SettingRow &row : kSettings)
        QVERIFY2(keys.insert(row.key).second, row.key);
    QCOMPARE(int(Setting::WindowTextColour), int(kSettings.size()));
}

void SettingsTest::defaultsFollowTheTable()
{
    Scratch scratch;
    QCOMPARE(intSetting(Setting::BayesMaxTokens), 200000);
    QCOMPARE(intSetting(Setting::GroupingColourBG), 0xf0f0f0);
    QCOMPARE(stringSetting(Setting::QuotePrefix), u"> "_s);
    QCOMPARE(stringSetting(Setting::ToolbarGroupView), u"VC D G Ug RrFf"_s);
    QCOMPARE(boolSetting(Setting::UseWasteBasket), true);
    QCOMPARE(boolSetting(Setting::KeepMailBatches), false);
    QCOMPARE(stringSetting(Setting::WebProxyPort), QString());
}

void SettingsTest::rowsFourToSixAreCrossed()
{
    Scratch scratch;
    QCOMPARE(boolSetting(Setting::ASCIIRawDisplay), true);
    QCOMPARE(boolSetting(Setting::AskDefaultMailClient), true);
    QCOMPARE(boolSetting(Setting::AskDefaultNewsClient), false);
    setBoolSetting(Setting::ASCIIRawDisplay, false, true);
    QVERIFY(
        Scratch::read(configPath()).contains("\nAskDefaultMailClient=false\nAskDefaultNewsClient=true\n"));
    setBoolSetting(Setting::AskDefaultNewsClient, true, true);
    QVERIFY(Scratch::read(configPath()).contains("\nASCIIRawDisplay=true\n"));
}

void SettingsTest::whatIsSavedComesBack()
{
    Scratch scratch;
    setStringSetting(Setting::AttributionText, QString::fromUtf8("Am %d schrieb %f = Ä:"));
    setIntSetting(Setting::POPTimeout, -7);
    setBoolSetting(Setting::AutoFetch, false);
    QVERIFY(saveConfig(true));
    const QList<QByteArray> lines = Scratch::read(configPath()).split('\n');
    QCOMPARE(lines.size(), qsizetype(kSettings.size()) + 2);
    QCOMPARE(lines.at(lines.size() - 2), QByteArray("end"));
    resetSettings();
    QVERIFY(loadConfig(false));
    QCOMPARE(stringSetting(Setting::AttributionText), QString::fromUtf8("Am %d schrieb %f = Ä:"));
    QCOMPARE(intSetting(Setting::POPTimeout), -7);
    QCOMPARE(boolSetting(Setting::AutoFetch), false);
}

void SettingsTest::lines_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("prefix");
    QTest::addColumn<int>("timeout");
    QTest::addColumn<bool>("online");
    QTest::newRow("an equals sign in the value")
        << QByteArray("QuotePrefix=a=b=c\nend\n") << "a=b=c" << 120 << true;
    QTest::newRow("no key, no equals sign, a key unknown")
        << QByteArray("=x\nQuotePrefix\nNoSuch=1\nend\n") << "> " << 120 << true;
    QTest::newRow("case counts") << QByteArray("quoteprefix=x\nOnline=TRUE\nend\n") << "> " << 120 << false;
    QTest::newRow("no number is 0") << QByteArray("POPTimeout=soon\nend\n") << "> " << 0 << true;
    QTest::newRow("the later of two") << QByteArray("POPTimeout=1\nPOPTimeout=2\nend\n") << "> " << 2 << true;
    QTest::newRow("nothing behind the end")
        << QByteArray("POPTimeout=1\nend\nPOPTimeout=2\n") << "> " << 1 << true;
    QTest::newRow("CRLF") << QByteArray("POPTimeout=9\r\nOnline=true\r\nend\r\n") << "> " << 9 << true;
    QTest::newRow("windows-1252") << QByteArray("QuotePrefix=\xc4\x80z\xe4\nend\n")
                                  << QString::fromUtf8("Ä€zä") << 120 << true;
    QTest::newRow("cut, and no backup") << QByteArray("POPTimeout=5\n") << "> " << 5 << true;
}

void SettingsTest::lines()
{
    QFETCH(QByteArray, file);
    Scratch scratch;
    QFile config(configPath());
    QVERIFY(config.open(QIODevice::WriteOnly));
    config.write(file);
    config.close();
    QVERIFY(loadConfig(false));
    QTEST(stringSetting(Setting::QuotePrefix), "prefix");
    QTEST(intSetting(Setting::POPTimeout), "timeout");
    QTEST(boolSetting(Setting::Online), "online");
    QCOMPARE(scratch.reports, QStringList());
}

void SettingsTest::aCutFileIsCompletedFromItsBackup()
{
    Scratch scratch;
    setIntSetting(Setting::POPTimeout, 30);
    setIntSetting(Setting::ReadWrapWidth, 60);
    QVERIFY(saveConfig(true));
    QVERIFY(loadConfig(false)); // makes the backup
    QFile config(configPath());
    QVERIFY(config.open(QIODevice::WriteOnly | QIODevice::Truncate));
    config.write("POPTimeout=31\nNoBackupKnows=1\n");
    config.close();
    QVERIFY(loadConfig(false));
    QCOMPARE(intSetting(Setting::POPTimeout), 30);
    QCOMPARE(intSetting(Setting::ReadWrapWidth), 60);
    QCOMPARE(scratch.notes.size(), 1);
}

void SettingsTest::backupFollowsEveryGoodLoad()
{
    Scratch scratch;
    setIntSetting(Setting::POPTimeout, 30, true);
    const QString backup = configPath() + u".backup"_s;
    QVERIFY(!QFile::exists(backup));
    QVERIFY(loadConfig(false));
    QCOMPARE(Scratch::read(backup), Scratch::read(configPath()));
    QVERIFY(QFile::remove(backup));
    QVERIFY(QDir().mkpath(backup)); // a folder stands in the way
    QVERIFY(loadConfig(false));
    QCOMPARE(scratch.reports, QStringList{u"Unable to backup config file"_s});
}

void SettingsTest::savesAtMostEveryFiveSeconds()
{
    Scratch scratch;
    qint64 now = 1'000'000;
    ClockOverride clock([&now] { return now * 1000; });
    const auto saved = [] { return Scratch::read(configPath()).contains("POPTimeout=2\n"); };
    setIntSetting(Setting::POPTimeout, 1);
    QVERIFY(saveConfig(false));
    ++now;
    setIntSetting(Setting::POPTimeout, 2);
    QVERIFY(saveConfig(false));
    QVERIFY(!saved());
    now += 3;
    QVERIFY(saveConfig(false));
    QVERIFY(!saved());
    ++now;
    QVERIFY(saveConfig(false));
    QVERIFY(saved());
}

void SettingsTest::aClockSetBackDoesNotStopSaving()
{
    Scratch scratch;
    qint64 now = 1'000'000;
    ClockOverride clock([&now] { return now * 1000; });
    setIntSetting(Setting::POPTimeout, 1);
    QVERIFY(saveConfig(false));
    now -= 5000;
    setIntSetting(Setting::POPTimeout, 2);
    QVERIFY(saveConfig(false));
    QVERIFY(Scratch::read(configPath()).contains("POPTimeout=2\n"));
}

void SettingsTest::unwritableFileKeepsTheChangesMarked()
{
    Scratch scratch;
    QVERIFY(QDir().mkpath(configPath())); // a folder in the place of the file
    setIntSetting(Setting::POPTimeout, 1);
    QVERIFY(!saveConfig(true));
    QCOMPARE(scratch.reports, QStringList{u"Unable to write configuration file"_s});
    QVERIFY(QDir().rmdir(configPath()));
    QVERIFY(saveConfig(true));
    QVERIFY(QFile::exists(configPath()));
}

void SettingsTest::unreadableFile_data()
{
    QTest::addColumn<bool>("pipe");
    QTest::newRow("a folder") << false;
    QTest::newRow("a pipe that nobody writes to") << true;
}

void SettingsTest::unreadableFile()
{
    QFETCH(bool, pipe);
    Scratch scratch;
    if (pipe)
        QCOMPARE(::mkfifo(QFile::encodeName(configPath()).constData(), 0600), 0);
    else
        QVERIFY(QDir().mkpath(configPath()));
    QVERIFY(!loadConfig(false));
    QCOMPARE(scratch.reports, QStringList{u"Unable to read configuration file"_s});
    QCOMPARE(intSetting(Setting::POPTimeout), 120);
}

void SettingsTest::aTextIsCutAtItsLineEnd()
{
    Scratch scratch;
    setStringSetting(Setting::QuotePrefix, u"> \nOnline=false"_s, true);
    QCOMPARE(stringSetting(Setting::QuotePrefix), u"> "_s);
    QVERIFY(loadConfig(false));
    QCOMPARE(boolSetting(Setting::Online), true);
}

void SettingsTest::garbage()
{
    Scratch scratch;
    setIntSetting(Setting::POPTimeout, 30, true);
    const QByteArray good = Scratch::read(configPath());
    for (qsizetype cut = 0; cut < good.size(); cut += 7) {
        QFile::remove(configPath() + u".backup"_s);
        QByteArray bad = good.left(cut);
        for (qsizetype i = 3; i < bad.size(); i += 11)
            bad[i] = char(bad[i] ^ char(0x80 + i));
        QFile config(configPath());
        QVERIFY(config.open(QIODevice::WriteOnly | QIODevice::Truncate));
        config.write(bad);
        config.close();
        QVERIFY(loadConfig(false));
        QVERIFY(!QFile::exists(configPath() + u".backup"_s));
    }
}

void SettingsTest::fonts()
{
    Scratch scratch;
    QCOMPARE(applicationFontText(), QString());
    setStringSetting(Setting::AppFont, u"Serif,12"_s);
    QCOMPARE(applicationFontText(), QString());
    setBoolSetting(Setting::OverrideSystemFont, true);
    QCOMPARE(applicationFontText(), u"Serif,12"_s);
    setBoolSetting(Setting::OverridePrinterFont, true);
    QCOMPARE(printerFontText(), u"Courier New,8"_s);
    setStringSetting(Setting::PrinterFont, u"Serif,9"_s);
    QCOMPARE(printerFontText(), u"Serif,9"_s);
}

void SettingsTest::toolBars()
{
    Scratch scratch;
    QCOMPARE(toolBarLayout(ToolBarWindow::MessageView, ToolBarKind::Main), u"MN L t sAd"_s);
    QCOMPARE(toolBarLayout(ToolBarWindow::Main, ToolBarKind::Group), u"VC D G Ug RrFf"_s);
    QCOMPARE(toolBarLayout(ToolBarWindow::GroupView, ToolBarKind::Message), u"p<>n"_s);
    setStringSetting(Setting::ToolbarMessageViewMain, u"N"_s);
    QCOMPARE(toolBarLayout(ToolBarWindow::MessageView, ToolBarKind::Main), u"N"_s);
    QCOMPARE(toolBarLayout(ToolBarWindow::GroupView, ToolBarKind::Main), u"MN L t sAd"_s);
}

void SettingsTest::geometry_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("valid");
    QTest::newRow("four") << "10,-20,300,400" << true;
    QTest::newRow("three") << "10,20,300" << false;
    QTest::newRow("five") << "10,20,300,400,500" << false;
    QTest::newRow("no number") << "10,20,300,x" << false;
    QTest::newRow("empty") << "" << false;
}

void SettingsTest::geometry()
{
    QFETCH(QString, text);
    Scratch scratch;
    setStringSetting(Setting::WindowSizeMain, text);
    QTEST(windowGeometry(Setting::WindowSizeMain).isValid(), "valid");
    setWindowGeometry(Setting::WindowSizeMain, QRect(10, -20, 300, 400));
    QCOMPARE(windowGeometry(Setting::WindowSizeMain), QRect(10, -20, 300, 400));
}

void SettingsTest::online()
{
    Scratch scratch;
    FakePlatform desktop;
    setPlatform(&desktop);
    QCOMPARE(isOnline(), true); // nobody knows: the setting
    desktop.connected = false;
    QCOMPARE(isOnline(), false);
    setBoolSetting(Setting::IgnoreOnlineStatus, true);
    QCOMPARE(isOnline(), true);
    setOnline(false);
    QCOMPARE(isOnline(), false);
    QCOMPARE(desktop.told, std::optional(false));
    setPlatform(nullptr);
}

void SettingsTest::readOnlyAccessTouchesNothing()
{
    Scratch scratch;
    setStoreAccess(StoreAccess::ReadOnly);
    QVERIFY(loadConfig(false));
    setIntSetting(Setting::POPTimeout, 1, true);
    QVERIFY(createStoreDirectories());
    QVERIFY(!QFile::exists(configDirectory()));
}

QTEST_GUILESS_MAIN(SettingsTest)
#include "settings_test.moc"
