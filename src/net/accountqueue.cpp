#include "net/accountmanager.h"

#include "config/clock.h"
#include "config/settings.h"
#include "net/fetcher.h"

#include <QPointer>

#include <algorithm>

// Which accounts fetch when, and how many at once.

namespace {
constexpr qint64 kSecondsAMinute = 60;
}

void AccountManager::fetchAll(bool manual)
{
    for (const AccountData &data : all()) { // the list may change meanwhile
        Account *receiving = data.isIncoming() ? account(data.number) : nullptr;
        if (receiving)
            receiving->fetch(manual, true);
    }
}

void AccountManager::fetchWhatIsDue()
{
    const qint64 now = clockSeconds();
    for (const AccountData &data : all()) {
        Account *due = data.isIncoming() && data.fetchInterval > 0 ? account(data.number) : nullptr;
        if (!due)
            continue;
        const qint64 passed = now - due->lastFetch();
        if (passed < 0 || passed >= data.fetchInterval * kSecondsAMinute) // below 0: the clock was set back
            due->fetch(false, true);
    }
    startWaiting(); // a session that has become idle makes room, too
}

void AccountManager::stopAll()
{
    for (const AccountData &data : all()) {
        if (Account *stopped = account(data.number))
            stopped->stop();
    }
}

void AccountManager::setFetchesBlocked(bool blocked)
{
    m_blocked = blocked;
}

void AccountManager::shutDown()
{
    m_blocked = true;
    m_queue.clear();
    for (const auto &account : m_accounts)
        account->leave();
}

int AccountManager::runningFetchers() const
{
    qsizetype running = 0;
    for (const auto &account : m_accounts) {
        const std::vector<Fetcher *> &fetchers = account->fetchers();
        running += std::count_if(fetchers.begin(), fetchers.end(),
                                 [](const Fetcher *fetcher) { return !fetcher->isIdle(); });
    }
    return int(running);
}

bool AccountManager::isBusy() const
{
    return !m_queue.empty() || runningFetchers() > 0 ||
           std::any_of(m_accounts.begin(), m_accounts.end(),
                       [](const auto &account) { return account->isFetching(); });
}

bool AccountManager::isFull() const
{
    const int most = intSetting(Setting::FetchConcurrency);
    return most > 0 && runningFetchers() >= most;
}

void AccountManager::queue(const AccountFetchRequest &request)
{
    if (std::find(m_queue.begin(), m_queue.end(), request) == m_queue.end())
        m_queue.push_back(request);
}

bool AccountManager::isQueued(int number) const
{
    return std::any_of(m_queue.begin(), m_queue.end(),
                       [number](const AccountFetchRequest &request) { return request.account == number; });
}

void AccountManager::dropRequests(int number)
{
    std::erase_if(m_queue,
                  [number](const AccountFetchRequest &request) { return request.account == number; });
}

void AccountManager::startWaiting()
{
    while (!m_queue.empty() && !isFull()) {
        const AccountFetchRequest request = m_queue.front();
        m_queue.pop_front();
        Account *next = account(request.account);
        if (next && next->dispatch(request) == FetchAnswer::Nothing)
            next->requestDropped();
    }
}
