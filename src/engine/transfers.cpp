#include "engine/transfers.h"

namespace {
constexpr int kToldTogether = 100; ///< milliseconds
}

Transfers::Transfers(AccountManager &accounts, QObject *parent)
    : QObject(parent)
    , m_accounts(accounts)
{
    m_clock.start();
    m_telling.setSingleShot(true);
    m_telling.setInterval(kToldTogether);
    connect(&m_telling, &QTimer::timeout, this, &Transfers::changed);
    connect(&accounts, &AccountManager::fetchStarted, this,
            [this](Account *account) { begin(m_fetches, account); });
    connect(&accounts, &AccountManager::servingStarted, this,
            [this](Account *account) { begin(m_served, account); });
    connect(&accounts, &AccountManager::servingEnded, this,
            [this](Account *account) { end(m_served, account); });
    connect(&accounts, &AccountManager::fetchEnded, this,
            [this](Account *account, AccountFetchReason reason, const QString &detail) {
                end(m_fetches, account);
                emit ended(account->number(), reason, detail);
            });
    connect(&accounts, &AccountManager::fetchDropped, this,
            [this](Account *account) { emit ended(account->number(), AccountFetchReason::Stopped, {}); });
    connect(&accounts, &AccountManager::accountDeleted, this, [this](const Account *account) {
        m_fetches.remove(account->number());
        m_served.remove(account->number());
        emit changed();
    });
}

TransferProgress Transfers::progress() const
{
    TransferProgress sum;
    bool isKnown = true;
    add(m_fetches, sum, isKnown);
    add(m_served, sum, isKnown);
    if (!isKnown)
        sum.totalBytes = sum.totalMessages = 0;
    if (sum.accounts > 1)
        sum.status.clear();
    return sum;
}

void Transfers::add(const All &all, TransferProgress &sum, bool &isKnown) const
{
    for (auto [number, one] : all.asKeyValueRange()) {
        if (!one.isRunning)
            continue;
        ++sum.accounts;
        sum.bytes += one.bytes;
        sum.totalBytes += one.totalBytes;
        sum.messages += one.messages;
        sum.totalMessages += one.totalMessages;
        isKnown = isKnown && one.totalBytes > 0;
        if (const Account *account = m_accounts.account(number))
            sum.status = account->status();
    }
}

TransferResult Transfers::result(int account) const
{
    const One one = m_fetches.value(account);
    return {one.messages, one.bytes, (one.isRunning ? m_clock.elapsed() : one.ended) - one.began};
}

void Transfers::begin(All &all, Account *account)
{
    One one;
    one.isRunning = true;
    one.began = m_clock.elapsed();
    all.insert(account->number(), one);
    connect(account, &Account::progressed, this, &Transfers::take, Qt::UniqueConnection);
    connect(account, &Account::statusChanged, this, &Transfers::tellSoon, Qt::UniqueConnection);
    emit changed();
}

/// A session serves only where no fetch runs: one account has one mailbox.
void Transfers::take(qint64 bytes, qint64 totalBytes, int messages, int totalMessages)
{
    const auto *account = qobject_cast<Account *>(sender());
    All &all = account && account->isServing() ? m_served : m_fetches;
    const auto found = account ? all.find(account->number()) : all.end();
    if (found == all.end() || !found->isRunning)
        return;
    found->bytes = bytes;
    found->totalBytes = totalBytes;
    found->messages = messages;
    found->totalMessages = totalMessages;
    tellSoon();
}

void Transfers::end(All &all, Account *account)
{
    One &one = all[account->number()];
    if (one.isRunning)
        one.ended = m_clock.elapsed();
    one.isRunning = false;
    emit changed();
}

void Transfers::tellSoon()
{
    if (!m_telling.isActive())
        m_telling.start();
}
