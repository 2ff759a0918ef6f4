#include "app/desktop/defaultclient.h"
#include "app/desktop/xdgplatform.h"

#include "support/scratch.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(std::optional<bool>)

namespace {

constexpr std::array kTypes = {"x-scheme-handler/mailto", "message/rfc822", "x-scheme-handler/news",
                               "x-scheme-handler/nntp", "message/news"};

/// A home and a PATH of its own, in which tools can be put that write their arguments to the file "told".
class FakeDesktop
{
public:
    FakeDesktop()
    {
        for (const QString &name : {u"bin"_s, u"home"_s, u"empty"_s})
            QDir().mkpath(m_scratch.path(name));
        qputenv("PATH", QFile::encodeName(m_scratch.path(u"bin"_s)));
        qputenv("HOME", QFile::encodeName(m_scratch.path(u"home"_s)));
        for (const char *name :
             {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CONFIG_DIRS", "XDG_CURRENT_DESKTOP"})
            qunsetenv(name);
        qputenv("XDG_DATA_DIRS", QFile::encodeName(m_scratch.path(u"empty"_s)));
    }
    ~FakeDesktop() { qputenv("PATH", m_path); }

    void addTool(const QString &name, const QByteArray &script)
    {
        const QString path = m_scratch.write(u"bin/"_s + name, "#!/bin/sh\n"
                                                               "printf '%s|' \"$@\" >>\"$HOME/told~\"\n"
                                                               "mv \"$HOME/told~\" \"$HOME/told\"\n" +
                                                                   script);
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("PATH", QFile::encodeName(m_scratch.path(u"bin"_s)) + ":/usr/bin:/bin");
    }
    void useRealTools() { qputenv("PATH", m_path); }
    QByteArray told() const { return Scratch::read(home(u"told"_s)); }

    /// Another program is the system's choice for every type.
    void addRival()
    {
        QDir().mkpath(m_scratch.path(u"empty/applications"_s));
        QByteArray list = "[Default Applications]\n";
        for (const char *type : kTypes)
            list += QByteArray(type) + "=rival.desktop\n";
        m_scratch.write(u"empty/applications/mimeapps.list"_s, list);
        m_scratch.write(u"empty/applications/rival.desktop"_s,
                        "[Desktop Entry]\nType=Application\nExec=true\n");
    }
    QString home(const QString &name) const { return m_scratch.path(u"home/"_s + name); }
    Scratch &scratch() { return m_scratch; }

private:
    Scratch m_scratch;
    QByteArray m_path = qgetenv("PATH");
};

std::optional<bool> isDefault(Platform &platform, Platform::Handler handler)
{
    std::optional<bool> answer;
    bool came = false;
    platform.askDefaultHandler(handler, [&](std::optional<bool> is) {
        answer = is;
        came = true;
    });
    if (!QTest::qWaitFor([&] { return came; }, 10'000))
        qFatal("no answer came");
    return answer;
}

bool becomes(Platform &platform, Platform::Handler handler)
{
    std::optional<bool> answer;
    platform.becomeDefaultHandler(handler, [&](bool done) { answer = done; });
    if (!QTest::qWaitFor([&] { return answer.has_value(); }, 10'000))
        qFatal("no answer came");
    return *answer;
}

/// A desktop that answers from the event loop what the test wants.
class ScriptedPlatform : public Platform
{
public:
    bool openPath(const QString &) override { return false; }
    std::optional<bool> isConnected() const override { return {}; }
    void setConnected(bool) override {}
    void askDefaultHandler(Handler handler, std::function<void(std::optional<bool>)> answer) override
    {
        history += handler == Handler::Mail ? u"mail? "_s : u"news? "_s;
        QTimer::singleShot(0, &m_context, [this, answer] { answer(isDefault); });
    }
    void becomeDefaultHandler(Handler handler, std::function<void(bool)> done) override
    {
        history += handler == Handler::Mail ? u"mail! "_s : u"news! "_s;
        QTimer::singleShot(0, &m_context, [this, done] { done(registers); });
    }

    std::optional<bool> isDefault = false;
    bool registers = true;
    QString history;

private:
    QObject m_context;
};

} // namespace

class PlatformTest : public QObject
{
    Q_OBJECT

private slots:
    void opening_data();
    void opening();
    void asking_data();
    void asking();
    void aToolThatHangs();
    void aDesktopThatGoesAway();
    void registering();
    void registeringForReal();
    void anEntryThatIsThere();
    void aHomeThatCannotBeWritten();
    void execLines_data();
    void execLines();
    void offers_data();
    void offers();
    void questions();
};

void PlatformTest::opening_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("given"); // "@" is the folder; empty: it is not opened
    QTest::newRow("a file") << u"@/file.txt"_s << u"@/file.txt|"_s;
    QTest::newRow("a folder") << u"@"_s << u"@|"_s;
    QTest::newRow("what a shell would read") << u"@/$(rm -r x) \"'`.txt"_s << u"@/$(rm -r x) \"'`.txt|"_s;
    QTest::newRow("like an option") << u"-help"_s << u"@/-help|"_s;
    QTest::newRow("like a URL") << u"mailto:x"_s << u"@/mailto:x|"_s;
    QTest::newRow("a web page") << u"https://example.org/?a&b"_s << u"https://example.org/?a&b|"_s;
    QTest::newRow("another URL") << u"smb://server/x"_s << QString();
    QTest::newRow("no such file") << u"@/missing"_s << QString();
}

void PlatformTest::opening()
{
    QFETCH(QString, name);
    QFETCH(QString, given);
    FakeDesktop desktop;
    const QString folder = desktop.home(u"files"_s);
    QVERIFY(QDir().mkpath(folder));
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(folder));
    for (const QString &file : {u"file.txt"_s, u"$(rm -r x) \"'`.txt"_s, u"-help"_s, u"mailto:x"_s})
        desktop.scratch().write(u"home/files/"_s + file, "text");
    XdgPlatform platform(u"/usr/bin/velmar"_s);
    QVERIFY(!platform.openPath(u"file.txt"_s)); // no xdg-open anywhere
    desktop.addTool(u"xdg-open"_s, "");
    QCOMPARE(platform.openPath(name.replace(u'@', folder)), !given.isEmpty());
    QTRY_COMPARE(QString::fromUtf8(desktop.told()), given.replace(u'@', folder));
    QVERIFY(QDir::setCurrent(before));
}

void PlatformTest::asking_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<std::optional<bool>>("answer");
    QTest::newRow("this program") << QByteArray("echo velmar.desktop") << std::optional(true);
    QTest::newRow("first of a list") << QByteArray("echo 'velmar.desktop;other.desktop;'")
                                     << std::optional(true);
    QTest::newRow("another") << QByteArray("echo other.desktop") << std::optional(false);
    QTest::newRow("second of a list")
        << QByteArray("echo 'other.desktop;velmar.desktop'") << std::optional(false);
    QTest::newRow("nobody") << QByteArray("") << std::optional(false);
    QTest::newRow("it fails") << QByteArray("echo velmar.desktop; exit 4") << std::optional<bool>();
    QTest::newRow("it dies") << QByteArray("kill -9 $$") << std::optional<bool>();
    QTest::newRow("no such tool") << QByteArray() << std::optional<bool>();
}

void PlatformTest::asking()
{
    QFETCH(QByteArray, script);
    FakeDesktop desktop;
    if (!script.isNull())
        desktop.addTool(u"xdg-mime"_s, script);
    XdgPlatform platform(u"/usr/bin/velmar"_s);
    QTEST(isDefault(platform, Platform::Handler::Mail), "answer");
    QCOMPARE(desktop.told(), script.isNull() ? QByteArray() : "query|default|x-scheme-handler/mailto|");
}

void PlatformTest::aToolThatHangs()
{
    FakeDesktop desktop;
    desktop.addTool(u"xdg-mime"_s, "echo velmar.desktop; sleep 100 & wait");
    XdgPlatform platform(u"/usr/bin/velmar"_s);
    platform.setPatience(200);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(isDefault(platform, Platform::Handler::News), std::nullopt);
    QVERIFY(!becomes(platform, Platform::Handler::News));
    QVERIFY(timer.elapsed() < 5000);
}

void PlatformTest::aDesktopThatGoesAway()
{
    FakeDesktop desktop;
    desktop.addTool(u"xdg-mime"_s, "sleep 100");
    bool came = false;
    auto platform = std::make_unique<XdgPlatform>(u"/usr/bin/velmar"_s);
    platform->askDefaultHandler(Platform::Handler::Mail, [&](std::optional<bool>) { came = true; });
    QTRY_VERIFY(!desktop.told().isEmpty()); // it runs
    QElapsedTimer timer;
    timer.start();
    platform.reset();
    QCoreApplication::processEvents();
    QVERIFY(!came);
    QVERIFY(timer.elapsed() < 5000);
}

void PlatformTest::registering()
{
    FakeDesktop desktop;
    desktop.addTool(u"xdg-mime"_s, "[ $1 = default ] || echo velmar.desktop");
    XdgPlatform platform(u"/opt/my mail/velmar"_s);
    QVERIFY(becomes(platform, Platform::Handler::Mail));
    QCOMPARE(desktop.told(), QByteArray("query|default|x-scheme-handler/mailto|"));
    const QByteArray entry = Scratch::read(desktop.home(u".local/share/applications/velmar.desktop"_s));
    QVERIFY(entry.startsWith("[Desktop Entry]\nType=Application\n"));
    QVERIFY(entry.contains("\nExec=\"/opt/my mail/velmar\" -url %u\n"));
    QVERIFY(entry.contains("\nMimeType=x-scheme-handler/mailto;message/rfc822;x-scheme-handler/news;"
                           "x-scheme-handler/nntp;message/news;\n"));
}

void PlatformTest::registeringForReal()
{
    FakeDesktop desktop;
    desktop.useRealTools();
    desktop.addRival();
    if (QStandardPaths::findExecutable(u"xdg-mime"_s).isEmpty())
        QSKIP("xdg-utils is not installed");
    XdgPlatform platform(QCoreApplication::applicationFilePath()); // it looks whether the program is there
    QCOMPARE(isDefault(platform, Platform::Handler::Mail), std::optional(false));
    QVERIFY(becomes(platform, Platform::Handler::Mail));
    QCOMPARE(isDefault(platform, Platform::Handler::Mail), std::optional(true));
    QCOMPARE(isDefault(platform, Platform::Handler::News), std::optional(false));
    QVERIFY(becomes(platform, Platform::Handler::News));
    const QByteArray list = Scratch::read(desktop.home(u".config/mimeapps.list"_s));
    for (const char *type : kTypes)
        QVERIFY2(list.contains(QByteArray(type) + "=velmar.desktop\n"), type);
}

void PlatformTest::anEntryThatIsThere()
{
    FakeDesktop desktop;
    desktop.addTool(u"xdg-mime"_s, "[ $1 = default ] || echo velmar.desktop");
    QVERIFY(QDir().mkpath(desktop.scratch().path(u"empty/applications"_s)));
    desktop.scratch().write(u"empty/applications/velmar.desktop"_s, "[Desktop Entry]\n");
    XdgPlatform platform(u"/usr/bin/velmar"_s);
    QVERIFY(becomes(platform, Platform::Handler::Mail));
    QVERIFY(!QFile::exists(desktop.home(u".local/share/applications/velmar.desktop"_s)));
}

void PlatformTest::aHomeThatCannotBeWritten()
{
    FakeDesktop desktop;
    desktop.useRealTools();
    desktop.addRival();
    desktop.scratch().write(u"home/.local"_s, "a file where a folder should be");
    XdgPlatform platform(u"/usr/bin/velmar"_s);
    QVERIFY(!becomes(platform, Platform::Handler::Mail));
    QVERIFY(QFile::remove(desktop.home(u".local"_s)));
    desktop.scratch().write(u"home/.config"_s, "another one, which the tool does not tell of");
    QVERIFY(!becomes(platform, Platform::Handler::Mail));
}

void PlatformTest::execLines_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("line");
    QTest::newRow("plain") << u"/usr/bin/velmar"_s << u"/usr/bin/velmar -url %u"_s;
    QTest::newRow("percent") << u"/50%u/v"_s << u"/50%%u/v -url %u"_s;
    QTest::newRow("what is special in quotes") << uR"(/a"b`c$d\e)"_s << uR"("/a\\"b\\`c\\$d\\\\e" -url %u)"_s;
}

void PlatformTest::execLines()
{
    QFETCH(QString, program);
    QTEST(desktopEntryExec(program, u"-url %u"_s), "line");
}

void PlatformTest::offers_data()
{
    QTest::addColumn<QString>("set"); // M, N: ask for mail, news; n: newsgroups in use; b: beside the program
    QTest::addColumn<std::optional<bool>>("isDefault");
    QTest::addColumn<QString>("answers"); // y, n: to each question; f: yes, but it cannot be registered
    QTest::addColumn<QString>("history");
    QTest::newRow("mail only") << u"MN"_s << std::optional(false) << u"y"_s << u"mail? asked mail! "_s;
    QTest::newRow("both") << u"MNn"_s << std::optional(false) << u"yy"_s
                          << u"mail? asked mail! news? asked news! "_s;
    QTest::newRow("declined") << u"MNn"_s << std::optional(false) << u"nn"_s << u"mail? asked news? asked "_s;
    QTest::newRow("mail not asked for")
        << u"Nn"_s << std::optional(false) << u"y"_s << u"news? asked news! "_s;
    QTest::newRow("news not asked for") << u"Mn"_s << std::optional(false) << u"n"_s << u"mail? asked "_s;
    QTest::newRow("it is the default") << u"MNn"_s << std::optional(true) << QString() << u"mail? news? "_s;
    QTest::newRow("no registry") << u"MNn"_s << std::optional<bool>() << QString() << u"mail? news? "_s;
    QTest::newRow("beside the program") << u"MNnb"_s << std::optional(false) << QString() << QString();
    QTest::newRow("cannot be registered")
        << u"MNn"_s << std::optional(false) << u"f"_s << u"mail? asked mail! "_s;
}

void PlatformTest::offers()
{
    QFETCH(QString, set);
    QFETCH(std::optional<bool>, isDefault);
    QFETCH(QString, answers);
    Scratch scratch;
    setBoolSetting(Setting::AskDefaultMailClient, set.contains(u'M'));
    setBoolSetting(Setting::AskDefaultNewsClient, set.contains(u'N'));
    ScriptedPlatform platform;
    platform.isDefault = isDefault;
    platform.registers = !answers.contains(u'f');
    DefaultClient client(platform);
    QSignalSpy finished(&client, &DefaultClient::finished);
    connect(&client, &DefaultClient::questionRaised, this, [&] {
        platform.history += u"asked "_s;
        const bool yes = answers.front() != u'n';
        answers.remove(0, 1);
        QTimer::singleShot(0, &client, [&client, yes] { client.answer(yes); });
    });
    client.start(set.contains(u'n'), set.contains(u'b'));
    QTRY_COMPARE(finished.size(), 1);
    QCOMPARE(answers, QString());
    QTEST(platform.history, "history");
    const QStringList warned{u"Failed to create registry entries"_s};
    QCOMPARE(scratch.reports, platform.registers ? QStringList() : warned);
}

void PlatformTest::questions()
{
    Scratch scratch;
    setBoolSetting(Setting::AskDefaultNewsClient, true);
    ScriptedPlatform platform;
    DefaultClient client(platform);
    QSignalSpy raised(&client, &DefaultClient::questionRaised);
    client.start(true, false);
    QTRY_COMPARE(raised.size(), 1);
    QCOMPARE(raised.at(0).at(0).toString(), u"Velmar is not currently set up as your default mail client.\n"
                                            "Do you want to make it your default?"_s);
    client.answer(false);
    QTRY_COMPARE(raised.size(), 2);
    QCOMPARE(raised.at(1).at(0).toString(), u"Velmar is not currently set up as your default news client.\n"
                                            "Do you want to make it your default?"_s);
    QCOMPARE(scratch.reports, QStringList());
}

QTEST_GUILESS_MAIN(PlatformTest)
#include "platform_test.moc"
