#include "net/account.h"

#include "config/clock.h"
#include "config/reporter.h"
#include "config/settings.h"
#include "net/accountdesk.h"
#include "net/accountmanager.h"
#include "net/fetcher.h"

#include <QPointer>

#include <algorithm>

// How an account fetches: from the request to the end of its last client.

using namespace Qt::StringLiterals;

namespace {
constexpr int kMostConnections = 32; ///< side by side, whatever the accounts file says
}

FetchAnswer Account::fetch(bool manual, bool allConnections)
{
    return dispatch({number(), manual, allConnections, manual, {}});
}

FetchAnswer Account::dispatch(const AccountFetchRequest &request)
{
    const bool waitsForUser = m_mark == AccountMark::PasswordWanted || m_mark == AccountMark::LoginRefused;
    if (m_step != Step::None || m_manager.areFetchesBlocked() || m_data.has(AccountLeftOut) ||
        (waitsForUser && !request.attended))
        return FetchAnswer::Nothing;
    if (m_data.isNetwork() ? !isOnline() : !request.allConnections)
        return FetchAnswer::Nothing;
    if (!mayFetchBesideOthers())
        return FetchAnswer::Nothing; // rather than once more as soon as there is room
    if (request.attended)
        clearMark(); // the user acts
    if (m_manager.isFull()) {
        m_manager.queue(request);
        return FetchAnswer::Waiting;
    }
    if (m_fetchers.empty() || kind() == AccountKind::OnlineImap) {
        begin(request);
        return FetchAnswer::Begun;
    }
    windUpFor(request);
    return FetchAnswer::Waiting;
}

/// Whether a fetch may begin, for what runs already: nothing, the online session, or sessions that are idle.
bool Account::mayFetchBesideOthers() const
{
    switch (kind()) {
    case AccountKind::OnlineImap: return m_fetchers.size() <= 1;
    case AccountKind::Pop3:
    case AccountKind::Nntp:
        return std::all_of(m_fetchers.begin(), m_fetchers.end(),
                           [](const Fetcher *fetcher) { return fetcher->isIdle(); });
    default: return m_fetchers.empty();
    }
}

/// What has left stays Gone.
void Account::finish(Step step)
{
    if (m_step == step)
        m_step = Step::None;
}

/// An idle session ends first: it may hold the mailbox's lock.
void Account::windUpFor(const AccountFetchRequest &request)
{
    m_next = request;
    for (Fetcher *fetcher : std::vector(m_fetchers)) // one that ends at once leaves the list
        fetcher->stop();
}

void Account::begin(const AccountFetchRequest &request)
{
    m_lastFetch = clockSeconds();
    m_errors.clear();
    m_reason = AccountFetchReason::None;
    m_detail.clear();
    m_step = Step::FetchLogin;
    if (!std::exchange(m_fetching, true))
        emit fetchStarted();
    m_desk->login(request.attended, [this, request](AccountFetchReason failure, const QString &detail) {
        loggedIn(request, failure, detail);
    });
}

void Account::loggedIn(const AccountFetchRequest &request, AccountFetchReason failure, const QString &detail)
{
    finish(Step::FetchLogin);
    if (failure != AccountFetchReason::None) {
        recordFailure(failure, detail, request.attended);
        if (m_fetchers.empty()) // else the one that runs beside it ends the fetch
            endFetch();
        return;
    }
    if (m_manager.isFull()) // others began while the keyring or the user was asked
        return m_manager.queue(request);
    startClients(request);
}

void Account::startClients(const AccountFetchRequest &request)
{
    const bool isNews = kind() == AccountKind::Nntp;
    const int wanted = isNews && request.allConnections ? qBound(1, m_data.connections, kMostConnections) : 1;
    const QPointer<Account> guard(this);
    m_step = Step::Launch; // a client that ends at once does not end the fetch before the others have begun
    for (int i = 0; i < wanted && guard; ++i) {
        FetcherWish wish;
        wish.manual = request.manual;
        wish.outgoing = kind() == AccountKind::Smtp || (isNews && request.manual && i == 0);
        wish.connection = i;
        FetcherFactory *factory = m_manager.factory();
        launch(factory ? factory->make(*this, wish) : nullptr, request.attended);
    }
    if (!guard)
        return;
    finish(Step::Launch);
    fetchAlong(request);
    if (guard && m_fetching && m_fetchers.empty())
        endFetch();
}

/// Each account of a chain once: chains may form a ring.
void Account::fetchAlong(const AccountFetchRequest &request)
{
    QSet<int> visited = request.visited;
    visited.insert(number());
    Account *next = m_manager.account(m_data.chained);
    if (next && !visited.contains(next->number()))
        next->dispatch({next->number(), true, true, request.attended, visited});
}

bool Account::openSession(bool attended)
{
    if (m_session || m_step == Step::SessionLogin)
        return true;
    if (m_step != Step::None || !m_fetchers.empty() || m_manager.areFetchesBlocked() || !isOnline())
        return false;
    m_step = Step::SessionLogin;
    beginServing();
    m_desk->login(attended, [this, attended](AccountFetchReason failure, const QString &detail) {
        startSession(attended, failure, detail);
    });
    return true;
}

void Account::startSession(bool attended, AccountFetchReason failure, const QString &detail)
{
    finish(Step::SessionLogin);
    const QPointer<Account> guard(this);
    if (failure != AccountFetchReason::None) {
        recordFailure(failure, detail, attended);
        endServing(failure, detail);
        if (guard)
            emit sessionEnded(failure, detail);
        return;
    }
    FetcherFactory *factory = m_manager.factory();
    std::unique_ptr<Fetcher> session = factory ? factory->makeSession(*this) : nullptr;
    m_session = session.get();
    const bool isServed = session != nullptr;
    if (isServed)
        connect(m_session, &Fetcher::idleChanged, this, &Account::sessionIdles);
    launch(std::move(session), attended);
    if (isServed || !guard)
        return;
    endServing(AccountFetchReason::Unavailable, {});
    if (guard)
        emit sessionEnded(AccountFetchReason::Unavailable, {});
}

void Account::beginServing()
{
    if (!std::exchange(m_isServing, true))
        emit servingStarted();
}

void Account::endServing(AccountFetchReason reason, const QString &detail)
{
    if (!std::exchange(m_isServing, false))
        return;
    m_status.clear();
    emit servingEnded(reason, detail);
}

/// It has come to rest, or has something to do again.
void Account::sessionIdles()
{
    if (m_session && m_session->isIdle())
        endServing(AccountFetchReason::None, {});
    else if (m_session)
        beginServing();
}

/// Counts @p fetcher as running, wires and starts it; what cannot start has ended at once.
void Account::launch(std::unique_ptr<Fetcher> fetcher, bool attended)
{
    if (!fetcher) {
        const QString kindName = QLatin1String(kAccountKinds[std::size_t(kind())].shown);
        return recordFailure(AccountFetchReason::Unavailable,
                             tr("Accounts of the kind '%1' cannot be served yet").arg(kindName), attended);
    }
    Fetcher *client = fetcher.release(); // deletes itself after its end
    client->setAttended(attended);
    m_fetchers.push_back(client);
    connect(client, &Fetcher::fetchComplete, this, &Account::slotFetchComplete);
    connect(client, &Fetcher::fetchError, this, &Account::slotFetchError);
    connect(client, &Fetcher::progressed, this, &Account::progressed);
    connect(client, &Fetcher::statusChanged, this, [this](const QString &text) {
        m_status = text;
        emit statusChanged(text);
    });
    const QPointer<Account> guard(this);
    const QPointer<Fetcher> started(client);
    emit fetchersChanged();
    if (!guard || !started || client->start() || !guard || !started || client->hasEnded())
        return;
    const QString detail = client->lastError();
    client->abandon();
    recordFailure(AccountFetchReason::Unreachable, detail, attended);
    ended(client, AccountFetchReason::Unreachable, detail);
}

void Account::slotFetchComplete(Fetcher *fetcher, bool)
{
    ended(fetcher, AccountFetchReason::None, {});
}

void Account::slotFetchError(Fetcher *fetcher, AccountFetchReason reason, const QString &detail, bool)
{
    recordFailure(reason, detail, fetcher->isAttended());
    ended(fetcher, reason, detail);
}

void Account::recordFailure(AccountFetchReason reason, const QString &detail, bool attended)
{
    const QString words = presentable(detail);
    const QString said = words.simplified();
    if (m_fetching &&
        m_reason == AccountFetchReason::None) { // of a session that is no business of the fetch's
        m_reason = reason;
        m_detail = said;
    }
    const QString message = fetchMessage(reason, name(), words);
    if (message.isEmpty())
        return;
    log(message.simplified());
    const bool isServersWord = reason == AccountFetchReason::ServerError;
    const bool isShown = isServersWord || (attended && !boolSetting(Setting::SilentTransferErrors));
    if (isShown)
        report(ReportLevel::Warning, "%s", qUtf8Printable(message));
    if (isServersWord)
        return;
    const TransferError error{number(), name(), clockSeconds(), reason, said, message.simplified()};
    if (m_fetching)
        m_errors.push_back(error);
    m_manager.errors().add(error);
    if (!isShown)
        setMark(AccountMark::Failed, message.simplified());
}

void Account::ended(Fetcher *fetcher, AccountFetchReason reason, const QString &detail)
{
    if (std::erase(m_fetchers, fetcher) == 0)
        return;
    const bool wasSession = fetcher == m_session;
    if (wasSession)
        m_session = nullptr;
    const QPointer<Account> guard(this);
    emit fetchersChanged();
    if (guard && wasSession)
        endServing(reason, presentable(detail).simplified());
    if (guard && wasSession)
        emit sessionEnded(reason, detail);
    if (!guard)
        return;
    if (m_fetchers.empty() && m_next) {
        const AccountFetchRequest next = *std::exchange(m_next, {});
        if (dispatch(next) == FetchAnswer::Nothing)
            requestDropped();
    } else if (m_fetchers.empty() && m_fetching && m_step == Step::None) {
        endFetch();
    }
    QMetaObject::invokeMethod(&m_manager, &AccountManager::startWaiting, Qt::QueuedConnection);
}

void Account::endFetch()
{
    m_fetching = false;
    m_status.clear();
    if (m_reason == AccountFetchReason::None)
        clearMark();
    emit fetchEnded(m_reason, QString(m_detail));
}

/// Who waits for a request that will not begin hears of it, but not while the end of another fetch is still
/// to come.
void Account::requestDropped()
{
    if (m_next || m_manager.isQueued(number()))
        return;
    if (!m_fetching) {
        emit fetchDropped();
    } else if (m_step == Step::None && m_fetchers.empty()) { // it had its password and waited for room
        m_reason = AccountFetchReason::Stopped;
        endFetch();
    }
}

void Account::stop()
{
    const bool waited = m_next.has_value() || m_manager.isQueued(number());
    m_next.reset();
    m_manager.dropRequests(number());
    const QPointer<Account> guard(this);
    if (waited)
        requestDropped();
    for (Fetcher *fetcher : guard ? std::vector(m_fetchers) : std::vector<Fetcher *>()) {
        if (guard && std::find(m_fetchers.begin(), m_fetchers.end(), fetcher) != m_fetchers.end())
            fetcher->stop();
    }
    if (guard)
        m_desk->withdraw();
}
