#include "net/keyring/desktopkeyring.h"

#include <QTemporaryDir>
#include <QTest>

#include <optional>

using namespace Qt::StringLiterals;

class KeyringTest : public QObject
{
    Q_OBJECT

private slots:
    void withoutASession();
    void goneBeforeTheAnswer();
};

/// As under cron: nobody is started, nobody is waited for, and nothing is kept in a plain file instead.
void KeyringTest::withoutASession()
{
    const QTemporaryDir home;
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("XDG_RUNTIME_DIR", home.path().toLocal8Bit());
    DesktopKeyring keyring;
    std::optional<bool> available;
    std::optional<bool> written;
    std::optional<bool> found;
    std::optional<bool> removed;
    keyring.isAvailable([&](bool ok) { available = ok; });
    keyring.write(u"pop3://ada@example"_s, u"s3cret"_s, [&](bool ok) { written = ok; });
    keyring.read(u"pop3://ada@example"_s, [&](bool ok, const QString &password) {
        found = ok;
        QVERIFY(password.isEmpty());
    });
    keyring.remove(u"pop3://ada@example"_s, [&](bool ok) { removed = ok; });
    QVERIFY(!available && !written && !found && !removed); // never from within the call
    QTRY_VERIFY(available && written && found && removed);
    for (const std::optional<bool> &answer : {available, written, found, removed})
        QCOMPARE(answer, std::optional(false));
}

void KeyringTest::goneBeforeTheAnswer()
{
    auto keyring = std::make_unique<DesktopKeyring>();
    keyring->isAvailable([](bool) { QFAIL("nobody asked any more"); });
    keyring.reset();
    QCoreApplication::processEvents();
}

QTEST_GUILESS_MAIN(KeyringTest)
#include "keyring_test.moc"
