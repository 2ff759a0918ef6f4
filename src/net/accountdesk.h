#pragma once

#include "net/fetchreason.h"
#include "net/passwordkeeper.h"
#include "net/questions.h"

#include <QObject>
#include <QPointer>
#include <QSet>

#include <functional>
#include <vector>

class Account;
struct AccountData;

/// Where one account gets what its connections need from the keyring and from the user: the password and the
/// word on a certificate. One question serves all who wait for its answer; whoever is gone by then is not
/// called; when nobody waits any more, what is open is withdrawn. A question about a certificate that a
/// client of the account had stays when the server hangs up meanwhile: a person reads longer than servers
/// wait. Its answer is remembered, and when the certificate is accepted the account fetches again.
class AccountDesk : public QObject
{
    Q_OBJECT

public:
    explicit AccountDesk(Account &account);
    ~AccountDesk() override;

    /// Makes sure that there is a password where one is needed; one login at a time. @p done is called once,
    /// perhaps from within: with None, or with why there is none and the words for it.
    using LoginDone = std::function<void(AccountFetchReason failure, const QString &detail)>;
    void login(bool attended, LoginDone done);

    void judge(const CertificateReport &report, bool attended, QObject *context,
               std::function<void(bool accept)> answer);

    /// Makes @p password the one that counts and keeps it as the answer says.
    void keep(const QString &password, PasswordKeeping keeping);

    /// What was refused is no password any more, and the next question shows the reply.
    void refused(const QString &reply);

    /// The user, or the account's editor, changed something: what was refused may be tried again.
    void forgetRefusal();
    void forgetPassword();

    /// The password of this run; empty: there is none.
    QString password() const { return m_password; }

    /// Nobody waits any more: logins that are under way end with reason 1, connections are refused.
    void withdraw();

private:
    struct Judgement
    {
        QByteArray sha256;
        struct Waiting
        {
            QPointer<QObject> context;
            std::function<void(bool)> answer;
        };
        std::vector<Waiting> waiting;
        bool isForFetch = false; ///< one of the account's own clients waited for it
    };

    bool needsPassword() const;
    void readKeyring(bool attended);
    void askPassword(bool attended);
    void passwordGiven(const QString &password, PasswordKeeping keeping);
    void endLogin(AccountFetchReason failure, const QString &detail);
    void askCertificate(const CertificateReport &report);
    void certificateAnswered(const CertificateInfo &certificate, CertificateAnswer answer);
    bool acceptForGood(const CertificateInfo &certificate);
    void contextGone();
    bool isClient(const QObject *context) const;
    void withdrawIfNobodyWaits();

    Account &m_account;
    QString m_password;             ///< of this run
    QString m_refusal;              ///< what the server said to the last one
    LoginDone m_login;              ///< who waits for the password
    bool m_isFromKeyring = false;   ///< m_password is what the keyring holds
    bool m_isStoredRefused = false; ///< what the server refused is stored
    std::vector<Judgement> m_judgements;
    QSet<QByteArray> m_acceptedOnce;
    int m_round = 0;     ///< answers to questions of an earlier one come too late
    bool m_open = false; ///< a question is before the user
};

/// The name of an account's password in the keyring. Accounts of one user at one server share it.
QString keyringKeyOf(const AccountData &account);
