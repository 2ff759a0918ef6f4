#include "cli/fetchrun.h"

#include "cli/terminalquestions.h"
#include "config/settings.h"
#include "config/terminationsignals.h"
#include "net/fetchreason.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int kLook = 50;            ///< milliseconds between two looks at how far it is
constexpr int kLongestStop = 10'000; ///< milliseconds that servers get to say goodbye

} // namespace

FetchRun::FetchRun(Session &session)
    : m_session(session)
    , m_accounts(session.engine().accounts())
{
    m_timer.setInterval(kLook);
    connect(&m_timer, &QTimer::timeout, this, &FetchRun::look);
    connect(&m_accounts, &AccountManager::fetchEnded, this, &FetchRun::ended);
    connect(&m_accounts, &AccountManager::fetchDropped, this,
            [this](Account *account) { ended(account, AccountFetchReason::Stopped, {}); });
}

bool FetchRun::run(const std::vector<int> &accounts)
{
    for (const int number : accounts) {
        Account *account = m_accounts.account(number);
        if (account->fetch(true, true) == FetchAnswer::Nothing && !account->isFetching()) {
            m_session.output().complain(
                u"Account '%1' cannot be fetched now: Velmar is set to work offline"_s.arg(account->name()));
            m_good = false;
        }
    }
    m_timer.start();
    if (m_accounts.isBusy())
        m_loop.exec();
    m_session.engine().delivery().finish();
    m_session.output().endProgress();
    return m_good && !m_isStopping;
}

void FetchRun::look()
{
    if (!m_accounts.isBusy())
        return m_loop.quit();
    showProgress();
    if (!TerminationSignals::isRequested() || std::exchange(m_isStopping, true))
        return;
    m_accounts.setFetchesBlocked(true);
    m_accounts.stopAll();
    QTimer::singleShot(kLongestStop, &m_loop, &QEventLoop::quit);
}

void FetchRun::showProgress()
{
    const TransferProgress progress = m_session.engine().transfers().progress();
    const QString title =
        progress.status.isEmpty() ? u"Fetching %1 accounts"_s.arg(progress.accounts) : progress.status;
    m_session.output().progress(title, progress.bytes, progress.totalBytes);
}

void FetchRun::ended(Account *account, AccountFetchReason reason, const QString &detail)
{
    const bool ok = reason == AccountFetchReason::None || reason == AccountFetchReason::Quiet;
    if (!ok) {
        m_good = false;
        explain(*account, reason, detail);
    }
    const TransferResult result = m_session.engine().transfers().result(account->number());
    Row row;
    row.add("account", account->name())
        .add("ok", ok)
        .add("reason", int(reason))
        .add("detail", detail)
        .add("received", result.received)
        .add("bytes", result.bytes)
        .add("seconds", double(result.milliseconds) / 1000);
    m_session.output().row(row);
    m_session.output().endRows();
}

/// In the product's own words, where those were not said already.
void FetchRun::explain(const Account &account, AccountFetchReason reason, const QString &detail)
{
    const bool isReported =
        reason == AccountFetchReason::ServerError || !boolSetting(Setting::SilentTransferErrors);
    const QString message = fetchMessage(reason, account.name(), detail);
    if (!message.isEmpty() && !isReported)
        m_session.output().complain(message.simplified());
    if (account.mark() == AccountMark::CertificateRefused && !account.markText().isEmpty())
        m_session.output().complain(account.markText());
    if (account.mark() == AccountMark::CertificateRefused && !account.refusedCertificate().isEmpty())
        m_session.output().complain(howToTrust(account.refusedCertificate()));
}
