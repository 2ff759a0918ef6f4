#pragma once

#include "net/accountdata.h"
#include "net/accountoptions.h"
#include "net/questions.h"

#include <QObject>
#include <QPointer>

class AccountManager;
class LoginTester;
struct LoginResult;

/// Whether there is a way to try.
bool canTestLogin(AccountKind kind);

/// One try whether an account can log in, with the password that is at hand, kept in the keyring, or asked
/// for. Destroying it ends the try.
class LoginCheck : public QObject
{
    Q_OBJECT

public:
    /// All must outlive this. Of @p account the password may be empty.
    LoginCheck(LoginTester &tester, AccountManager &accounts, const AccountData &account,
               const AccountOptions &options, QObject *parent);

signals:
    /// Once, from the event loop. @p text says how it went, in a sentence.
    void finished(bool works, const QString &text);

private:
    void readKeyring();
    void askPassword();
    void test(const QString &password);
    void judge(const CertificateReport &report, std::function<void(bool)> answer);
    void tell(const LoginResult &result);

    LoginTester &m_tester;
    AccountManager &m_accounts;
    AccountData m_account;
    AccountOptions m_options;
};
