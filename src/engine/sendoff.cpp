#include "engine/sendoff.h"

#include "config/clock.h"
#include "net/fetchreason.h"

#include <array>

namespace {

/// Seconds before a session that failed is tried again; the last one holds for all further ones.
constexpr std::array<qint64, 4> kPauses = {60, 5 * 60, 15 * 60, 60 * 60};

} // namespace

Sendoff::Sendoff(AccountManager &accounts, QObject *parent)
    : QObject(parent)
    , m_accounts(accounts)
{
    connect(&accounts, &AccountManager::fetchEnded, this, &Sendoff::fetchEnded);
    connect(&accounts, &AccountManager::fetchDropped, this,
            [this](const Account *account) { m_started.remove(account->number()); });
    connect(&accounts, &AccountManager::accountUpdated, this,
            [this](const Account *account) { m_troubles.remove(account->number()); });
    connect(&accounts, &AccountManager::accountDeleted, this, [this](const Account *account) {
        m_troubles.remove(account->number());
        m_started.remove(account->number());
        m_spoilt.remove(account->number());
        emit ended(account->number(), {});
    });
}

bool Sendoff::start(int number, Wish wish)
{
    Account *account = m_accounts.account(number);
    if (!account || account->kind() != AccountKind::Smtp || account->isFetching())
        return false; // posts go with the fetch of their account
    const Trouble trouble = m_troubles.value(number);
    if (wish != Wish::AtOnce && (trouble.isStopped || trouble.notBefore > clockSeconds()))
        return false;
    if (wish == Wish::AtOnce)
        m_troubles.remove(number);
    m_started.insert(number); // it may begin, and end, at once
    const bool isWelcome = account->fetch(wish != Wish::ByItself, true) != FetchAnswer::Nothing;
    if (!isWelcome)
        m_started.remove(number);
    return isWelcome;
}

void Sendoff::resume(int account)
{
    const auto found = m_troubles.find(account);
    if (found == m_troubles.end())
        return;
    found->isStopped = false;
    found->notBefore = 0;
}

void Sendoff::resumeAll()
{
    for (Trouble &trouble : m_troubles)
        trouble.notBefore = 0;
}

void Sendoff::fetchEnded(Account *account, AccountFetchReason reason, const QString &detail)
{
    if (account->kind() != AccountKind::Smtp && account->kind() != AccountKind::Nntp)
        return;
    const int number = account->number();
    m_started.remove(number);
    const bool isSpoilt = m_spoilt.remove(number);
    if (!isSpoilt && (reason == AccountFetchReason::None || reason == AccountFetchReason::WithErrors)) {
        m_troubles.remove(number);
    } else if (reason == AccountFetchReason::Stopped) {
        m_troubles[number].isStopped = true;
    } else {
        Trouble &trouble = m_troubles[number];
        const auto pause = qMin<std::size_t>(std::size_t(trouble.failures++), kPauses.size() - 1);
        trouble.notBefore = clockSeconds() + kPauses[pause];
        trouble.said = fetchMessage(reason, account->name(), detail).simplified();
        if (trouble.said.isEmpty())
            trouble.said = detail.simplified();
    }
    emit ended(number, detail);
}
