#include "net/accountdesk.h"

#include "config/reporter.h"
#include "net/accountmanager.h"
#include "net/fetcher.h"

#include <algorithm>

using namespace Qt::StringLiterals;

QString keyringKeyOf(const AccountData &account)
{
    return u"%1://%2@%3"_s.arg(QLatin1String(kAccountKinds[std::size_t(account.kind)].word), account.user,
                               account.host.toLower());
}

AccountDesk::AccountDesk(Account &account)
    : m_account(account)
{}

AccountDesk::~AccountDesk() = default;

/// Who sends or reads news without a user's name does not log in; a mailbox always has its user.
bool AccountDesk::needsPassword() const
{
    const AccountData &data = m_account.data();
    const bool mayBeOpen = data.kind == AccountKind::Smtp || data.kind == AccountKind::Nntp;
    return data.isNetwork() && !(mayBeOpen && data.user.isEmpty());
}

void AccountDesk::login(bool attended, LoginDone done)
{
    const AccountManager &manager = m_account.manager();
    const bool asksAnew = !m_refusal.isEmpty() && attended && manager.questions();
    if (!needsPassword() || (!m_account.password().isEmpty() && !asksAnew))
        return done(AccountFetchReason::None, {});
    m_login = std::move(done);
    if (m_account.data().has(AccountKeyring) && manager.passwordKeeper() && m_refusal.isEmpty())
        readKeyring(attended);
    else
        askPassword(attended);
}

void AccountDesk::readKeyring(bool attended)
{
    const QPointer<AccountDesk> guard(this);
    m_account.manager().passwordKeeper()->read(
        keyringKeyOf(m_account.data()),
        [this, guard, attended, round = m_round](bool ok, const QString &password) {
            if (!guard || round != m_round)
                return;
            if (!ok || password.isEmpty())
                return askPassword(attended);
            m_password = password;
            m_isFromKeyring = true;
            endLogin(AccountFetchReason::None, {});
        });
}

void AccountDesk::askPassword(bool attended)
{
    UserQuestions *questions = m_account.manager().questions();
    if (!attended || !questions) {
        m_account.setMark(AccountMark::PasswordWanted, tr("'%1' wants its password").arg(m_account.name()));
        return endLogin(AccountFetchReason::LoginFailed, tr("No password is stored for this account"));
    }
    const QPointer<AccountDesk> guard(this);
    const int round = m_round;
    const auto ask = [this, guard, round](bool hasKeyring) {
        if (!guard || round != m_round)
            return;
        UserQuestions *asks = m_account.manager().questions();
        if (!asks)
            return passwordGiven({}, PasswordKeeping::ThisRun);
        const AccountData &data = m_account.data();
        asks->askPassword({data.number, data.name, data.user, data.host, m_refusal, hasKeyring},
                          [this, guard, round](const QString &password, PasswordKeeping keeping) {
                              if (guard && round == m_round)
                                  passwordGiven(password, keeping);
                          });
    };
    m_open = true;
    if (PasswordKeeper *keeper = m_account.manager().passwordKeeper())
        keeper->isAvailable(ask);
    else
        ask(false);
}

void AccountDesk::passwordGiven(const QString &password, PasswordKeeping keeping)
{
    m_open = !m_judgements.empty();
    if (password.isEmpty())
        return endLogin(AccountFetchReason::LoginFailed, tr("No password was given"));
    keep(password, keeping);
    endLogin(AccountFetchReason::None, {});
}

void AccountDesk::refused(const QString &reply)
{
    const QString &stored = m_account.data().password;
    m_isStoredRefused = !stored.isEmpty() && (m_password.isEmpty() || m_password == stored);
    m_isStoredRefused = m_isStoredRefused || m_isFromKeyring;
    m_refusal = reply;
}

void AccountDesk::forgetRefusal()
{
    m_refusal.clear();
    m_isStoredRefused = false;
}

void AccountDesk::forgetPassword()
{
    m_password.clear();
    m_isFromKeyring = false;
}

/// What is for this run leaves alone what is stored, unless that is what the server has refused.
void AccountDesk::keep(const QString &password, PasswordKeeping keeping)
{
    const bool isForRun = keeping == PasswordKeeping::ThisRun;
    const bool isStoredWrong = m_isStoredRefused;
    forgetRefusal();
    m_password = password;
    m_isFromKeyring = false;
    if (isForRun && !isStoredWrong)
        return;
    AccountManager &manager = m_account.manager();
    PasswordKeeper *keeper = manager.passwordKeeper();
    AccountData data = m_account.data();
    data.set(AccountAsksForPassword, isForRun);
    data.set(AccountKeyring, keeping == PasswordKeeping::Keyring && keeper);
    data.password = keeping == PasswordKeeping::AccountsFile ? password : QString();
    if (keeping == PasswordKeeping::Keyring && keeper) {
        keeper->write(keyringKeyOf(data), password, [name = data.name](bool ok) {
            if (!ok)
                report(ReportLevel::Warning, "Unable to store the password of '%s' in the keyring",
                       qUtf8Printable(name));
        });
    }
    if (!manager.update(data))
        report(ReportLevel::Warning, "Unable to keep the password of '%s' in the accounts file",
               qUtf8Printable(data.name));
    m_password = password;
    m_isFromKeyring = data.has(AccountKeyring);
    manager.save();
}

void AccountDesk::endLogin(AccountFetchReason failure, const QString &detail)
{
    ++m_round;
    if (const LoginDone done = std::exchange(m_login, {}))
        done(failure, detail);
}

void AccountDesk::judge(const CertificateReport &report, bool attended, QObject *context,
                        std::function<void(bool)> answer)
{
    const QByteArray sha256 = report.certificate.sha256;
    if (report.problems.empty() || m_acceptedOnce.contains(sha256) || m_account.options().accepts(sha256))
        return answer(true);
    if (!attended || !m_account.manager().questions()) {
        m_account.m_refusedCertificate = sha256;
        m_account.setMark(AccountMark::CertificateRefused,
                          tr("The certificate of '%1' was refused: %2")
                              .arg(m_account.name(), report.problems.front().text));
        return answer(false);
    }
    connect(context, &QObject::destroyed, this, &AccountDesk::contextGone);
    auto known = std::find_if(m_judgements.begin(), m_judgements.end(),
                              [&](const Judgement &judgement) { return judgement.sha256 == sha256; });
    const bool isAsked = known != m_judgements.end();
    if (!isAsked)
        known = m_judgements.insert(known, Judgement{sha256, {}});
    known->waiting.push_back({context, std::move(answer)});
    known->isForFetch = known->isForFetch || isClient(context);
    if (!isAsked)
        askCertificate(report);
}

bool AccountDesk::isClient(const QObject *context) const
{
    const std::vector<Fetcher *> &clients = m_account.fetchers();
    return std::find(clients.begin(), clients.end(), context) != clients.end();
}

void AccountDesk::askCertificate(const CertificateReport &report)
{
    CertificateQuestion question;
    question.account = m_account.number();
    question.accountName = m_account.name();
    question.found = report;
    if (!m_account.options().accepted.empty())
        question.known = m_account.options().accepted.back();
    m_open = true;
    const QPointer<AccountDesk> guard(this);
    m_account.manager().questions()->askCertificate(
        question, [this, guard, certificate = report.certificate](CertificateAnswer answer) {
            if (guard)
                certificateAnswered(certificate, answer);
        });
}

void AccountDesk::certificateAnswered(const CertificateInfo &certificate, CertificateAnswer answer)
{
    const auto asked = std::find_if(m_judgements.begin(), m_judgements.end(),
                                    [&](const Judgement &j) { return j.sha256 == certificate.sha256; });
    if (asked == m_judgements.end())
        return; // withdrawn
    const Judgement judgement = std::move(*asked);
    m_judgements.erase(asked);
    m_open = !m_judgements.empty() || m_login;
    if (answer == CertificateAnswer::AcceptOnce ||
        (answer == CertificateAnswer::AcceptAlways && !acceptForGood(certificate)))
        m_acceptedOnce.insert(certificate.sha256);
    const QPointer<AccountDesk> guard(this);
    bool isHeard = false;
    for (const Judgement::Waiting &waiting : judgement.waiting) {
        if (!waiting.context || !guard)
            continue;
        isHeard = true;
        waiting.answer(answer != CertificateAnswer::Refuse);
    }
    if (!isHeard && judgement.isForFetch && answer != CertificateAnswer::Refuse)
        m_account.fetch(true, true);
}

/// False: it cannot be written down, and holds for this run only.
bool AccountDesk::acceptForGood(const CertificateInfo &certificate)
{
    AccountOptions options = m_account.options();
    options.accept(certificate);
    return m_account.setOptions(options);
}

void AccountDesk::contextGone()
{
    std::erase_if(m_judgements, [](Judgement &judgement) {
        std::erase_if(judgement.waiting, [](const auto &waiting) { return !waiting.context; });
        return judgement.waiting.empty() && !judgement.isForFetch;
    });
    withdrawIfNobodyWaits();
}

void AccountDesk::withdrawIfNobodyWaits()
{
    if (!m_open || !m_judgements.empty() || m_login)
        return;
    m_open = false;
    ++m_round;
    if (UserQuestions *questions = m_account.manager().questions())
        questions->withdraw(m_account.number());
}

void AccountDesk::withdraw()
{
    const QPointer<AccountDesk> guard(this);
    const std::vector<Judgement> judgements = std::exchange(m_judgements, {});
    endLogin(AccountFetchReason::Stopped, {});
    for (const Judgement &judgement : judgements) {
        for (const Judgement::Waiting &waiting : judgement.waiting) {
            if (waiting.context)
                waiting.answer(false);
        }
    }
    if (guard)
        withdrawIfNobodyWaits();
}
