#pragma once

#include "config/directory.h"
#include "engine/engine.h"
#include "engine/logintest.h"
#include "faketransfers.h"
#include "net/passwordkeeper.h"
#include "support/scratch.h"
#include "ui/accounts/accounteditor.h"
#include "ui/accounts/accountform.h"

#include <QPushButton>
#include <QTest>
#include <QTimer>

/// Answers as the test says, and remembers what it was given.
class FakeTester : public LoginTester
{
public:
    void test(const AccountData &account, const AccountOptions &options, CertificateJudge, QObject *context,
              std::function<void(const LoginResult &)> done) override
    {
        tried = account;
        triedOptions = options;
        QTimer::singleShot(0, context, [this, done = std::move(done)] { done(result); });
    }

    AccountData tried;
    AccountOptions triedOptions;
    LoginResult result;
};

/// A keyring in memory.
class FakeKeeper : public PasswordKeeper
{
public:
    void isAvailable(std::function<void(bool)> answer) override { answer(true); }
    void read(const QString &key, std::function<void(bool, const QString &)> answer) override
    {
        answer(kept.contains(key), kept.value(key));
    }
    void write(const QString &key, const QString &password, std::function<void(bool)> answer) override
    {
        kept.insert(key, password);
        answer(true);
    }
    void remove(const QString &key, std::function<void(bool)> answer) override
    {
        kept.remove(key);
        answer(true);
    }

    QHash<QString, QString> kept;
};

/// Two accounts whose clients, login tests and keyring are the test's own.
struct AccountsProgram
{
    AccountsProgram()
    {
        createStoreDirectories();
        if (!engine.load())
            qFatal("the engine does not load");
        engine.accounts().setFactory(&clients);
        engine.accounts().setPasswordKeeper(&keeper);
        home = engine.accounts().add(popAccount(QStringLiteral("Home")));
        club = engine.accounts().add(popAccount(QStringLiteral("Club")));
    }

    const AccountData &data(int account) const { return accounts().account(account)->data(); }
    AccountManager &accounts() const { return const_cast<Engine &>(engine).accounts(); }

    std::unique_ptr<AccountEditor> edit(const AccountData &account)
    {
        auto editor = std::make_unique<AccountEditor>(engine, account, tester);
        editor->setAttribute(Qt::WA_DeleteOnClose, false);
        editor->show();
        return editor;
    }
    std::unique_ptr<AccountEditor> edit(int account) { return edit(data(account)); }

    Scratch scratch;
    FakeClients clients;
    FakeTester tester;
    FakeKeeper keeper;
    Engine engine;
    int home = 0;
    int club = 0;
};

template <typename Widget>
Widget *field(const AccountEditor &editor, AccountField which)
{
    auto *widget = qobject_cast<Widget *>(editor.form().control(which));
    if (!widget)
        qFatal("there is no such field");
    return widget;
}

inline void press(QWidget &window, const char *button)
{
    auto *found = window.findChild<QPushButton *>(QLatin1StringView(button));
    if (!found || !found->isEnabled())
        qFatal("no button to press: %s", button);
    QTest::mouseClick(found, Qt::LeftButton);
}
