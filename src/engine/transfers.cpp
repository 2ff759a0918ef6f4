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
    connect(&accounts, &AccountManager::fetchStarted, this, &Transfers::begin);
    connect(&accounts, &AccountManager::fetchEnded, this, &Transfers::end);
    connect(&accounts, &AccountManager::accountDeleted, this, [this](const Account *account) {
        m_all.remove(account->number());
        emit changed();
    });
}

TransferProgress Transfers::progress() const
{
    TransferProgress sum;
    bool isKnown = true;
    for (auto [number, one] : m_all.asKeyValueRange()) {
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
    if (!isKnown)
        sum.totalBytes = sum.totalMessages = 0;
    if (sum.accounts > 1)
        sum.status.clear();
    return sum;
}

TransferResult Transfers::result(int account) const
{
    const One one = m_all.value(account);
    return {one.messages, one.bytes, (one.isRunning ? m_clock.elapsed() : one.ended) - one.began};
}

void Transfers::begin(Account *account)
{
    One one;
    one.isRunning = true;
    one.began = m_clock.elapsed();
    m_all.insert(account->number(), one);
    connect(account, &Account::progressed, this, &Transfers::take, Qt::UniqueConnection);
    connect(account, &Account::statusChanged, this, &Transfers::tellSoon, Qt::UniqueConnection);
    emit changed();
}

void Transfers::take(qint64 bytes, qint64 totalBytes, int messages, int totalMessages)
{
    const auto *account = qobject_cast<Account *>(sender());
    const auto found = account ? m_all.find(account->number()) : m_all.end();
    if (found == m_all.end() || !found->isRunning)
        return;
    found->bytes = bytes;
    found->totalBytes = totalBytes;
    found->messages = messages;
    found->totalMessages = totalMessages;
    tellSoon();
}

void Transfers::end(Account *account, AccountFetchReason reason, const QString &detail)
{
    One &one = m_all[account->number()];
    if (one.isRunning)
        one.ended = m_clock.elapsed();
    one.isRunning = false;
    emit changed();
    emit ended(account->number(), reason, detail);
}

void Transfers::tellSoon()
{
    if (!m_telling.isActive())
        m_telling.start();
}
