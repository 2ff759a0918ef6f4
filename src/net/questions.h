#pragma once

#include "net/socket/certificate.h"

#include <QString>

#include <functional>
#include <optional>

/// A certificate with a problem, or another one than the user accepted before.
struct CertificateQuestion
{
    int account = 0;
    QString accountName;
    CertificateReport found;
    std::optional<CertificateInfo> known; ///< the one that was accepted before, when it changed
};

enum class CertificateAnswer { Refuse, AcceptOnce, AcceptAlways };

struct PasswordQuestion
{
    int account = 0;
    QString accountName;
    QString user;
    QString host;
    QString refusal;         ///< what the server said to the last one; empty: there was none
    bool hasKeyring = false; ///< whether the desktop has one
};

enum class PasswordKeeping { ThisRun, AccountsFile, Keyring };

/// What the user must be asked while a connection waits. The answer comes by callback from the event loop,
/// once, and never from within the call; the implementation opens no nested loop. One question serves all
/// connections that wait for it.
class UserQuestions
{
public:
    virtual ~UserQuestions() = default;

    virtual void askCertificate(const CertificateQuestion &question,
                                std::function<void(CertificateAnswer)> answer) = 0;

    /// An empty password: the user gave none.
    virtual void askPassword(const PasswordQuestion &question,
                             std::function<void(const QString &password, PasswordKeeping)> answer) = 0;

    /// Nobody waits for the answers about this account any more: what is open for it closes.
    virtual void withdraw(int account) = 0;
};
