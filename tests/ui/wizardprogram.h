#pragma once

#include "engine/engine.h"
#include "engine/logintest.h"
#include "net/passwordkeeper.h"
#include "ui/accounts/accountwizard.h"
#include "ui/accounts/notice.h"
#include "ui/accounts/servercard.h"
#include "ui/look/looks.h"

#include "support/discoverynetwork.h"
#include "support/scratch.h"

#include <QAbstractButton>
#include <QApplication>
#include <QHash>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

/// Signs in as the test has laid out; the password "right" is the right one.
class TesterForTest : public LoginTester
{
public:
    void test(const AccountData &account, const AccountOptions &, CertificateJudge judge, QObject *context,
              std::function<void(const LoginResult &)> done) override
    {
        tried.push_back(account);
        const auto end = [this, account, context, done](bool accepted) {
            LoginResult result{
                AccountFetchReason::None, {}, false, account.kind == AccountKind::Smtp ? -1 : 14};
            if (!accepted)
                result = {AccountFetchReason::Unreachable, u"the certificate was refused"_s};
            else if (account.password != u"right"_s)
                result = {AccountFetchReason::Unexpected, u"-ERR [AUTH] no"_s, true};
            result.isSignedIn = !asksNobody;
            if (!silent)
                QMetaObject::invokeMethod(
                    context, [done, result] { done(result); }, Qt::QueuedConnection);
        };
        if (problem.problems.empty())
            return end(true);
        QMetaObject::invokeMethod(
            context, [this, judge, end] { judge(problem, end); }, Qt::QueuedConnection);
    }

    std::vector<AccountData> tried;
    bool silent = false;
    bool asksNobody = false; ///< for a name and a password
    CertificateReport problem;
};

class KeeperForTest : public PasswordKeeper
{
public:
    void isAvailable(std::function<void(bool)> answer) override { answer(true); }
    void read(const QString &key, std::function<void(bool, const QString &)> answer) override
    {
        answer(true, kept.value(key));
    }
    void write(const QString &key, const QString &password, std::function<void(bool)> answer) override
    {
        kept[key] = password;
        answer(true);
    }
    void remove(const QString &key, std::function<void(bool)> answer) override
    {
        kept.remove(key);
        answer(true);
    }
    QHash<QString, QString> kept;
};

/// The wizard in a program of its own, worked by its keys.
class Wizard
{
public:
    Wizard()
    {
        looks.start();
        if (!engine.load())
            qFatal("the test has no engine");
        engine.accounts().setPasswordKeeper(&keeper);
        network.files[u"https://autoconfig.tidewater.example/mail/config-v1.1.xml"_s] =
            publishedSettings("pop.tidewater.example");
    }
    ~Wizard()
    {
        delete window;
        engine.accounts().setPasswordKeeper(nullptr);
        engine.shutDown();
    }

    /// The domain publishes both of its servers.
    void publishSending()
    {
        QByteArray &file = network.files[u"https://autoconfig.tidewater.example/mail/config-v1.1.xml"_s];
        file.replace(
            "</emailProvider>",
            "<outgoingServer type=\"smtp\"><hostname>smtp.tidewater.example</hostname><port>587</port>"
            "<socketType>STARTTLS</socketType><username>%EMAILLOCALPART%</username>"
            "<authentication>password-cleartext</authentication></outgoingServer></emailProvider>");
    }

    void open()
    {
        window = new AccountWizard(engine, network, tester);
        window->setVisible(true);
        QVERIFY(QTest::qWaitForWindowActive(window));
    }
    /// Up to the server's page.
    void enter(const QString &address, const QString &password)
    {
        open();
        window->beginWith(AccountKind::Pop3);
        field(u"address")->setText(address);
        field(u"password")->setText(password);
        press(Qt::Key_Return);
    }

    /// Change…, by its mnemonic: that presses the button as a finger would, for a moment.
    void change() const
    {
        press(Qt::Key_H, Qt::AltModifier);
        QTRY_VERIFY(child<ServerCard>(u"card")->isEditing());
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const
    {
        QWidget *target = QApplication::focusWidget();
        QTest::keyClick(target ? target : window, key, modifiers);
    }
    void type(const char *text) const
    {
        for (; *text; ++text)
            QTest::keyClick(QApplication::focusWidget(), *text);
    }

    QLineEdit *field(QStringView name) const { return child<QLineEdit>(name); }
    QPushButton *button(QStringView name) const { return child<QPushButton>(name); }
    QString notice(QStringView name) const
    {
        const auto *notice = child<Notice>(name);
        return notice->isHidden() ? QString() : notice->text();
    }
    QString result() const
    {
        const auto *label = child<QLabel>(u"resultText");
        return label->isVisible() ? label->text() : QString();
    }
    QString verb() const
    {
        const QPushButton *next = button(u"next");
        return next->isEnabled() ? next->text().remove(u'&') : QString();
    }
    /// What is sought on the page that is shown, where several have it.
    template <typename Type>
    Type *child(QStringView name) const
    {
        for (Type *each : window->findChildren<Type *>(name.toString())) {
            if (each->isVisible())
                return each;
        }
        for (const QStringView page : {QStringView(u"sendingPage"), QStringView(u"serverPage")}) {
            const auto *shown = window->findChild<QWidget *>(page.toString());
            if (Type *each = shown->findChild<Type *>(name.toString()); each && shown->isVisible())
                return each;
        }
        return window->findChild<Type *>(name.toString());
    }

    /// From the page of the server that receives to the last one, without what sends and without an identity.
    void skipToReady() const
    {
        press(Qt::Key_Return);
        QTRY_VERIFY(child<QAbstractButton>(u"wanted")->isEnabled());
        child<QAbstractButton>(u"wanted")->setChecked(false);
        press(Qt::Key_Return);
        child<QAbstractButton>(u"wantsIdentity")->setChecked(false);
        press(Qt::Key_Return);
        QVERIFY(field(u"name")->isVisible());
    }
    const AccountData *account(AccountKind kind) const
    {
        for (const auto &each : const_cast<Engine &>(engine).accounts().accounts()) {
            if (each->kind() == kind)
                return &each->data();
        }
        return nullptr;
    }
    QString passwordOf(AccountKind kind) const
    {
        const AccountData *data = account(kind);
        return data ? const_cast<Engine &>(engine).accounts().account(data->number)->password() : QString();
    }
    /// The incoming one.
    Account *only() const
    {
        const auto &all = const_cast<Engine &>(engine).accounts().accounts();
        return all.size() == 1 ? all.front().get() : nullptr;
    }

    Scratch scratch;
    Looks looks;
    Engine engine;
    NetworkForTest network;
    TesterForTest tester;
    KeeperForTest keeper;
    QPointer<AccountWizard> window;
};
