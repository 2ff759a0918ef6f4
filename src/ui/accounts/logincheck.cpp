#include "ui/accounts/logincheck.h"

#include "engine/logintest.h"
#include "net/accountdesk.h"
#include "net/accountmanager.h"
#include "net/passwordkeeper.h"
#include "ui/texts/harmless.h"
#include "ui/texts/messagetexts.h"
#include "ui/transfers/transferexplanation.h"
#include "ui/transfers/transfertexts.h"

#include <QTimer>

using namespace Qt::StringLiterals;

bool canTestLogin(AccountKind kind)
{
    return kind == AccountKind::Pop3 || kind == AccountKind::Smtp;
}

LoginCheck::LoginCheck(LoginTester &tester, AccountManager &accounts, const AccountData &account,
                       const AccountOptions &options, QObject *parent)
    : QObject(parent)
    , m_tester(tester)
    , m_accounts(accounts)
    , m_account(account)
    , m_options(options)
{
    const Account *known = accounts.account(account.number);
    QString password = account.password;
    if (password.isEmpty() && known)
        password = known->password();
    QTimer::singleShot(0, this, [this, password] {
        if (!password.isEmpty())
            test(password);
        else if (m_account.kind == AccountKind::Smtp && m_account.user.isEmpty())
            test({}); // a server that takes mail without a sign-in
        else if (m_account.has(AccountKeyring) && m_accounts.passwordKeeper())
            readKeyring();
        else
            askPassword();
    });
}

void LoginCheck::readKeyring()
{
    m_accounts.passwordKeeper()->read(keyringKeyOf(m_account),
                                      [self = QPointer<LoginCheck>(this)](bool ok, const QString &password) {
                                          if (!self)
                                              return;
                                          if (ok && !password.isEmpty())
                                              self->test(password);
                                          else
                                              self->askPassword();
                                      });
}

void LoginCheck::askPassword()
{
    if (!m_accounts.questions())
        return emit finished(false, tr("There is no password to log in with."));
    PasswordQuestion question;
    question.account = m_account.number;
    question.accountName = m_account.name;
    question.user = m_account.user;
    question.host = m_account.host;
    m_accounts.questions()->askPassword(
        question, [self = QPointer<LoginCheck>(this)](const QString &password, PasswordKeeping keeping) {
            if (!self)
                return;
            if (password.isEmpty())
                return emit self->finished(false, tr("No password was given."));
            if (Account *account = self->m_accounts.account(self->m_account.number))
                account->keepPassword(password, keeping);
            self->test(password);
        });
}

void LoginCheck::test(const QString &password)
{
    m_account.password = password;
    const auto judging = [this](const CertificateReport &report, std::function<void(bool)> answer) {
        judge(report, std::move(answer));
    };
    m_tester.test(m_account, m_options, judging, this, [this](const LoginResult &result) { tell(result); });
}

void LoginCheck::judge(const CertificateReport &report, std::function<void(bool)> answer)
{
    if (Account *account = m_accounts.account(m_account.number))
        return account->judge(report, true, this, std::move(answer)); // which remembers the answer
    if (!m_accounts.questions())
        return answer(false);
    CertificateQuestion question;
    question.accountName = m_account.name;
    question.found = report;
    m_accounts.questions()->askCertificate(
        question, [self = QPointer<LoginCheck>(this), answer = std::move(answer)](CertificateAnswer given) {
            if (self)
                answer(given != CertificateAnswer::Refuse);
        });
}

void LoginCheck::tell(const LoginResult &result)
{
    if (result.reason == AccountFetchReason::None && !result.isSignedIn)
        return emit finished(true, tr("The server works, and takes mail without a login."));
    if (result.reason == AccountFetchReason::None) {
        return emit finished(
            true, result.messages < 0
                      ? tr("The login works.")
                      : tr("The login works: %1 on the server.").arg(messagesInWords(result.messages)));
    }
    TransferError error;
    error.reason = result.reason;
    error.detail = result.detail;
    const TransferExplanation told = explainTransferError(error, m_account);
    emit finished(false,
                  u"%1. %2"_s.arg(withCapital(told.what), harmlessLine(result.detail.simplified(), 300)));
}
