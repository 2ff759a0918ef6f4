#include "config/listfile.h"
#include "support/scratch.h"
#include "ui/look/colours.h"
#include "ui/look/desktopscheme.h"
#include "ui/look/icons.h"
#include "ui/look/looks.h"
#include "ui/look/oklch.h"
#include "ui/look/storedcolours.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDirIterator>
#include <QPainter>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(Scheme)

namespace {

constexpr Scheme kSchemes[] = {Scheme::Light, Scheme::Dark, Scheme::HighContrastLight,
                               Scheme::HighContrastDark};
constexpr const char *kSchemeNames[] = {"light", "dark", "high contrast", "dark high contrast"};

/// What the settings portal of a desktop answers.
class Portal : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    uint preference = 1;

public slots:
    QDBusVariant Read(const QString &space, const QString &key)
    {
        asked.append(space + u' ' + key);
        return QDBusVariant(QVariant::fromValue(QDBusVariant(preference)));
    }

public:
    QStringList asked;
};

/// The colour of the opaque pixels when they have the same one but for rounding, else an invalid one.
QColor inkOf(const QPixmap &pixmap)
{
    const QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
    QHash<QRgb, int> counts;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qAlpha(image.pixel(x, y)) == 255)
                ++counts[image.pixel(x, y)];
    QRgb ink = 0;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        if (it.value() > counts.value(ink))
            ink = it.key();
    const auto far = [ink](QRgb other) {
        return std::abs(qRed(ink) - qRed(other)) + std::abs(qGreen(ink) - qGreen(other)) +
                   std::abs(qBlue(ink) - qBlue(other)) >
               12;
    };
    const QList<QRgb> found = counts.keys();
    const bool mixed = found.isEmpty() || std::any_of(found.begin(), found.end(), far);
    return mixed ? QColor() : QColor(ink);
}

} // namespace

class LookTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { setCurrentScheme(Scheme::Light); }
    void mapping_data();
    void mapping();
    void mappedTextIsReadable();
    void tableContrast_data();
    void tableContrast();
    void palettes();
    void hueContrast();
    void automaticColours_data();
    void automaticColours();
    void changedColours();
    void readRows();
    void iconsAreWhole();
    void iconsFollowModeAndLook();
    void iconsTurnRound_data();
    void iconsTurnRound();
    void noIconWithoutADrawing();
    void theChoiceIsKept();
    void unknownLinesOfTheFile();
    void preferenceOfTheDesktop_data();
    void preferenceOfTheDesktop();
    void portal();
    void noStyleSheets();
};

void LookTest::mapping_data()
{
    QTest::addColumn<QColor>("stored");
    QTest::addColumn<QColor>("light");
    QTest::addColumn<QColor>("dark");
    QTest::newRow("first quote") << QColor(0x00007F) << QColor(0x001470) << QColor(0x769CEC);
    QTest::newRow("second quote") << QColor(0xFF0000) << QColor(0xBE473A) << QColor(0xE17E70);
    QTest::newRow("third quote") << QColor(0xFF00FF) << QColor(0xA44EA2) << QColor(0xC982C6);
    QTest::newRow("fourth quote") << QColor(0xFF7F00) << QColor(0xAE5504) << QColor(0xE59059);
    QTest::newRow("signature") << QColor(0x7F7F7F) << QColor(0x6F6F6F) << QColor(0x9E9E9E);
    QTest::newRow("link") << QColor(0x0000FF) << QColor(0x274EAA) << QColor(0x769CEC);
}

void LookTest::mapping()
{
    QFETCH(QColor, stored);
    QFETCH(QColor, light);
    QFETCH(QColor, dark);
    QCOMPARE(mapColour(stored, colour(Role::Base, Scheme::Light)).name(), light.name());
    QCOMPARE(mapColour(stored, colour(Role::Base, Scheme::Dark)).name(), dark.name());
}

void LookTest::mappedTextIsReadable()
{
    for (const Scheme scheme : kSchemes)
        for (int red = 0; red < 256; red += 51)
            for (int green = 0; green < 256; green += 51)
                for (int blue = 0; blue < 256; blue += 51) {
                    const QColor base = colour(Role::Base, scheme);
                    const QColor mapped = mapColour(QColor(red, green, blue), base);
                    QVERIFY2(contrast(mapped, base) >= 5, qPrintable(QColor(red, green, blue).name()));
                }
}

void LookTest::tableContrast_data()
{
    QTest::addColumn<int>("front");
    QTest::addColumn<int>("ground");
    QTest::addColumn<double>("least");
    const auto add = [](const char *name, Role front, Role ground, double least) {
        QTest::newRow(name) << int(front) << int(ground) << least;
    };
    add("text", Role::Text, Role::Base, 13);
    add("text on chrome", Role::Text, Role::Chrome, 7);
    add("text on selection", Role::Text, Role::Selection, 7);
    add("text on inactive selection", Role::Text, Role::SelectionInactive, 7);
    add("text on information", Role::Text, Role::InformationBar, 7);
    add("text on a search hit", Role::Text, Role::SearchHit, 6.9);
    add("read rows", Role::ReadText, Role::Base, 9.75);
    add("second text", Role::Text2, Role::Base, 7);
    add("second text on selection", Role::Text2, Role::Selection, 4.8);
    add("second text on group heads", Role::Text2, Role::GroupHead, 4.5);
    add("hints", Role::Text3, Role::Base, 5);
    add("hints on sidebar", Role::Text3, Role::Sidebar, 4.5);
    add("fields", Role::Field, Role::Base, 3);
    add("fields on chrome", Role::Field, Role::Chrome, 3);
    add("on accent", Role::OnAccent, Role::Accent, 6.2);
    add("links", Role::Link, Role::Base, 7);
    add("links on selection", Role::Link, Role::Selection, 4.5);
    add("flag", Role::Flag, Role::Base, 4.5);
    add("junk", Role::Junk, Role::Base, 5);
    add("error on its bar", Role::Error, Role::ErrorBar, 5.6);
    add("warning on its bar", Role::Warning, Role::WarningBar, 6);
    add("good on its bar", Role::Good, Role::GoodBar, 5);
    add("information on its bar", Role::Information, Role::InformationBar, 5.4);
    add("tool tips", Role::OnToolTip, Role::ToolTip, 7);
}

void LookTest::tableContrast()
{
    QFETCH(int, front);
    QFETCH(int, ground);
    QFETCH(double, least);
    for (const Scheme scheme : kSchemes) {
        const double found = contrast(colour(Role(front), scheme), colour(Role(ground), scheme));
        const bool coloured = Role(front) >= Role::Flag && Role(front) <= Role::Information;
        const double wanted = isHighContrast(scheme) && coloured ? 6.8 : least;
        QVERIFY2(found >= wanted,
                 qPrintable(u"%1: %2"_s.arg(QLatin1StringView(kSchemeNames[int(scheme)])).arg(found)));
    }
}

void LookTest::palettes()
{
    for (const Scheme scheme : kSchemes) {
        const QPalette palette = paletteFor(scheme);
        QCOMPARE(palette.color(QPalette::Window), colour(Role::Chrome, scheme));
        QCOMPARE(palette.color(QPalette::Mid), colour(Role::Line, scheme));
        QCOMPARE(palette.color(QPalette::Dark), colour(Role::Field, scheme));
        QCOMPARE(palette.color(QPalette::HighlightedText), palette.color(QPalette::Text));
        QCOMPARE(palette.color(QPalette::Inactive, QPalette::Highlight),
                 colour(Role::SelectionInactive, scheme));
        QCOMPARE(palette.color(QPalette::Disabled, QPalette::ButtonText), colour(Role::Disabled, scheme));
    }
}

void LookTest::hueContrast()
{
    for (const Scheme scheme : kSchemes)
        for (int hue = -1; hue < 360; hue += 7) {
            const auto [background, text] = hueColours(hue, scheme);
            QVERIFY2(contrast(background, text) >= (isHighContrast(scheme) ? 7
                                                    : isDark(scheme)       ? 6
                                                                           : 5),
                     qPrintable(QString::number(hue)));
        }
    QCOMPARE(hueFor(u"Aiko@Tidewater.Example"), hueFor(u"aiko@tidewater.example"));
    QVERIFY(hueFor(u"aiko@tidewater.example") != hueFor(u"hanna@korhonen.example"));
}

void LookTest::automaticColours_data()
{
    QTest::addColumn<Setting>("id");
    QTest::addColumn<QColor>("light");
    QTest::addColumn<QColor>("dark");
    QTest::newRow("background") << Setting::ReadColourBG << QColor(0xFFFFFF) << QColor(0x191D20);
    QTest::newRow("text") << Setting::ReadColourFG << QColor(0x1A2025) << QColor(0xE3E7EA);
    QTest::newRow("quote") << Setting::ReadColourQ1 << QColor(0x001470) << QColor(0x769CEC);
    QTest::newRow("signature") << Setting::ReadColourSig << QColor(0x6F6F6F) << QColor(0x9E9E9E);
    QTest::newRow("group heads") << Setting::GroupingColourBG << QColor(0xF0F0F0) << QColor(0x22282C);
    QTest::newRow("their text") << Setting::GroupingColourFG << QColor(0x4C5760) << QColor(0xA9B3BB);
    QTest::newRow("no colour at all") << Setting::ReadWrapWidth << QColor() << QColor();
}

void LookTest::automaticColours()
{
    Scratch scratch;
    QFETCH(Setting, id);
    QFETCH(QColor, light);
    QFETCH(QColor, dark);
    QCOMPARE(shownColour(id), light);
    setCurrentScheme(Scheme::Dark);
    QCOMPARE(shownColour(id), dark);
}

void LookTest::changedColours()
{
    Scratch scratch;
    const QColor yellow(0xFFFF00);
    setIntSetting(Setting::ReadColourQ1, storedColour(yellow));
    QVERIFY(!isAutomaticColour(Setting::ReadColourQ1));
    QCOMPARE(shownColour(Setting::ReadColourQ1), yellow); // the user's will, readable or not
    setIntSetting(Setting::ReadColourBG, storedColour(QColor(0xFFF0C0)));
    QCOMPARE(shownColour(Setting::ReadColourBG), QColor(0xFFF0C0));

    setCurrentScheme(Scheme::Dark);
    const QColor night = shownColour(Setting::ReadColourBG);
    const Oklch chosen = toOklch(QColor(0xFFF0C0));
    const Oklch shown = toOklch(night);
    QVERIFY(std::abs(shown.hue - chosen.hue) < 0.2);
    QVERIFY(shown.chroma <= 0.035);
    QVERIFY(std::abs(shown.lightness - toOklch(colour(Role::Base)).lightness - 0.02) < 0.01);
    QVERIFY(contrast(shownColour(Setting::ReadColourQ1), night) >= 5);
    setCurrentScheme(Scheme::HighContrastLight);
    QVERIFY(contrast(shownColour(Setting::ReadColourQ1), shownColour(Setting::ReadColourBG)) >= 7);
}

void LookTest::readRows()
{
    Scratch scratch;
    QCOMPARE(shownReadRowColour(), colour(Role::ReadText));
    setBoolSetting(Setting::FadeReadSpecific, true);
    setIntSetting(Setting::ReadFadeColour, 0xC0C0FF);
    QCOMPARE(shownReadRowColour(), mapColour(QColor(0xC0C0FF), colour(Role::Base)));
    setBoolSetting(Setting::FadeRead, false);
    QCOMPARE(shownReadRowColour(), colour(Role::Text));
}

void LookTest::iconsAreWhole()
{
    const QStringList names = iconNames();
    QVERIFY(names.size() > 100);
    for (const QString &name : names) {
        const QPixmap pixmap = iconPixmap(name, 40, 2, colour(Role::OnAccent));
        QCOMPARE(pixmap.size(), QSize(80, 80));
        QCOMPARE(pixmap.deviceIndependentSize(), QSizeF(40, 40));
        QVERIFY2(inkOf(pixmap) == colour(Role::OnAccent),
                 qPrintable(name)); // one colour, and something is drawn
    }
}

void LookTest::iconsFollowModeAndLook()
{
    const QIcon reply = icon(u"reply"_s);
    const QIcon error = icon(u"error"_s, Role::Error);
    for (const Scheme scheme : kSchemes) {
        setCurrentScheme(scheme);
        const QSize size(48, 48);
        QCOMPARE(inkOf(reply.pixmap(size)), colour(Role::Text2));
        QCOMPARE(inkOf(reply.pixmap(size, QIcon::Disabled)), colour(Role::Disabled));
        QCOMPARE(inkOf(reply.pixmap(size, QIcon::Selected)), colour(Role::Link));
        QCOMPARE(inkOf(reply.pixmap(size, QIcon::Normal, QIcon::On)), colour(Role::Link));
        QCOMPARE(inkOf(error.pixmap(size)), colour(Role::Error));
        QCOMPARE(inkOf(error.pixmap(size, QIcon::Disabled)), colour(Role::Disabled));
    }
    setCurrentScheme(Scheme::Light);
    const QImage bar = iconPixmap(u"colour"_s, 40, 1, colour(Role::Text2)).toImage();
    QCOMPARE(bar.pixelColor(20, 32), colour(Role::Accent));
}

void LookTest::iconsTurnRound_data()
{
    QTest::addColumn<bool>("turns");
    for (const char *name :
         {"reply", "reply-all", "forward", "send", "undo", "redo", "align-left", "chevron-right"})
        QTest::newRow(name) << true;
    for (const char *name : {"search", "chevron-down", "delete", "signed"})
        QTest::newRow(name) << false;
}

void LookTest::iconsTurnRound()
{
    QFETCH(bool, turns);
    const QString name = QString::fromLatin1(QTest::currentDataTag());
    const QImage there = iconPixmap(name, 40, 1, Qt::black, Qt::LeftToRight).toImage();
    const QImage back = iconPixmap(name, 40, 1, Qt::black, Qt::RightToLeft).toImage();
    QCOMPARE(back == there, !turns);
}

void LookTest::noIconWithoutADrawing()
{
    QVERIFY(icon(u"no-such-drawing"_s).isNull());
    QVERIFY(icon(QString()).isNull());
    QVERIFY(iconPixmap(u"../icons/reply"_s, 0, 1, Qt::black).isNull());
}

void LookTest::theChoiceIsKept()
{
    Scratch scratch;
    {
        Looks looks;
        looks.start();
        const QSignalSpy changes(&looks, &Looks::lookChanged);
        QVERIFY(looks.setLook(Look::Dark));
        QVERIFY(looks.setDensity(Density::Compact));
        QVERIFY(looks.setDensity(Density::Compact));
        QCOMPARE(changes.size(), 2);
        QCOMPARE(QApplication::palette().color(QPalette::Base), colour(Role::Base, Scheme::Dark));
        QCOMPARE(rowHeight(RowKind::List), textHeight() + 4);
    }
    QCOMPARE(Scratch::read(configPathOf(u"Look"_s)), QByteArray("look dark\ndensity compact\nend\n"));
    Looks looks;
    looks.start();
    QCOMPARE(looks.look(), Look::Dark);
    QCOMPARE(looks.density(), Density::Compact);
    QVERIFY(looks.setLook(Look::HighContrast));
    QVERIFY(isHighContrast(currentScheme()));
    looks.setDensity(Density::Comfortable);
    looks.setLook(Look::Light);
}

void LookTest::unknownLinesOfTheFile()
{
    Scratch scratch;
    QVERIFY(QDir().mkpath(configDirectory()));
    ListFile file(u"Look"_s, {"", "", ""});
    QVERIFY(file.write({u"look sepia"_s, u"density compact"_s, u"contrast 12"_s}));
    Looks looks;
    looks.start();
    QCOMPARE(looks.look(), Look::Desktop);
    QCOMPARE(looks.density(), Density::Compact);
    QCOMPARE(scratch.notes.size(), 2);
    looks.setDensity(Density::Comfortable);
}

void LookTest::preferenceOfTheDesktop_data()
{
    QTest::addColumn<QColor>("platform");
    QTest::addColumn<uint>("preference");
    QTest::addColumn<bool>("dark");
    QTest::newRow("none, light platform") << QColor(Qt::white) << 0U << false;
    QTest::newRow("none, dark platform") << QColor(Qt::black) << 0U << true;
    QTest::newRow("dark over a light platform") << QColor(Qt::white) << 1U << true;
    QTest::newRow("light over a dark platform") << QColor(Qt::black) << 2U << false;
    QTest::newRow("a value of the future") << QColor(Qt::black) << 7U << true;
}

void LookTest::preferenceOfTheDesktop()
{
    QFETCH(QColor, platform);
    QFETCH(uint, preference);
    QFETCH(bool, dark);
    QPalette palette = QApplication::palette();
    palette.setColor(QPalette::Window, platform);
    QApplication::setPalette(palette);
    DesktopScheme scheme;
    scheme.start();
    const bool before = scheme.isDark();
    const QSignalSpy changes(&scheme, &DesktopScheme::changed);
    scheme.take(preference);
    QCOMPARE(scheme.isDark(), dark);
    QCOMPARE(changes.size(), qsizetype(before != dark));
}

void LookTest::portal()
{
    if (!QDBusConnection::sessionBus().isConnected())
        QSKIP("there is no dbus-daemon to talk to");
    QDBusConnection desktop =
        QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), u"desktop"_s);
    Portal portal;
    QVERIFY(desktop.registerService(u"org.freedesktop.portal.Desktop"_s));
    QVERIFY(desktop.registerObject(u"/org/freedesktop/portal/desktop"_s, &portal,
                                   QDBusConnection::ExportAllSlots));
    QApplication::setPalette(paletteFor(Scheme::Light));

    DesktopScheme scheme;
    scheme.start();
    QTRY_VERIFY(scheme.isDark());
    QCOMPARE(portal.asked, QStringList{u"org.freedesktop.appearance color-scheme"_s});

    const auto tell = [&](const QString &key, uint value) {
        QDBusMessage signal = QDBusMessage::createSignal(
            u"/org/freedesktop/portal/desktop"_s, u"org.freedesktop.portal.Settings"_s, u"SettingChanged"_s);
        signal << u"org.freedesktop.appearance"_s << key << QVariant::fromValue(QDBusVariant(value));
        QVERIFY(desktop.send(signal));
    };
    QSignalSpy changes(&scheme, &DesktopScheme::changed);
    tell(u"accent-color"_s, 2);
    tell(u"color-scheme"_s, 2);
    QVERIFY(changes.wait());
    QVERIFY(!scheme.isDark());
    QCOMPARE(changes.size(), 1);
    QDBusConnection::disconnectFromBus(u"desktop"_s);
}

void LookTest::noStyleSheets()
{
    int files = 0;
    QDirIterator sources(QStringLiteral(VELMAR_TEST_DATA "/../../src/ui"), {u"*.cpp"_s, u"*.h"_s},
                         QDir::Files, QDirIterator::Subdirectories);
    while (sources.hasNext()) {
        QFile file(sources.next());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY2(!file.readAll().contains("setStyleSheet"), qPrintable(file.fileName()));
        ++files;
    }
    QVERIFY(files > 0);
}

int main(int argc, char *argv[])
{
    QProcess bus; // its own, so that no test hears what the desktop says
    bus.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address"_s});
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus.waitForStarted() && bus.waitForReadyRead()
                                            ? bus.readAllStandardOutput().trimmed()
                                            : "unix:path=/dev/null");
    QApplication application(argc, argv);
    LookTest test;
    const int failures = QTest::qExec(&test, argc, argv);
    bus.kill();
    bus.waitForFinished();
    return failures;
}

#include "look_test.moc"
