#pragma once

#include "net/accountdata.h"
#include "net/accountoptions.h"
#include "net/fetchreason.h"
#include "net/socket/tlschoice.h"

#include <QString>

#include <functional>

class QObject;

/// How a first login went.
struct LoginResult
{
    AccountFetchReason reason = AccountFetchReason::None; ///< None: it worked
    QString detail;                                       ///< the server's line, or the socket's text
    bool isRefused = false;                               ///< the server refused the name or the password
    int messages = -1;      ///< in the mailbox; -1: nobody knows, or it has none
    bool isSignedIn = true; ///< false where it worked: the server asks nobody for a name and a password
};

/// Tries whether an account that is not saved yet can log in. Nothing is fetched, stored, remembered or
/// deleted, and nothing is left on the disk.
class LoginTester
{
public:
    virtual ~LoginTester() = default;

    /// Logs in with @p account, its password included, and out again, as @p options say: with the CAs and the
    /// certificates that they trust. @p judge is asked about any other certificate that has problems, before
    /// anything is sent; null: it is refused. @p done is called once, from the event loop, and not at all
    /// once
    /// @p context is gone: destroying that ends the test.
    virtual void test(const AccountData &account, const AccountOptions &options, CertificateJudge judge,
                      QObject *context, std::function<void(const LoginResult &)> done) = 0;
};

/// With the program's own clients. Those of POP3 and SMTP accounts can be tested.
class SystemLoginTester : public LoginTester
{
public:
    void test(const AccountData &account, const AccountOptions &options, CertificateJudge judge,
              QObject *context, std::function<void(const LoginResult &)> done) override;
};
