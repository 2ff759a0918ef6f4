#include "net/accountmanager.h"

#include "config/clock.h"
#include "config/settings.h"
#include "net/accountdesk.h"
#include "net/accountfiles.h"
#include "net/fetcher.h"
#include "net/passwordkeeper.h"

#include <QPointer>
#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

AccountManager::AccountManager(QObject *parent)
    : QObject(parent)
{}

AccountManager::~AccountManager()
{
    m_questions = nullptr; // who answered may be gone already
    m_keeper = nullptr;
    shutDown();
}

bool AccountManager::load()
{
    AccountsFile::Contents contents = m_file.read();
    m_counter = contents.counter;
    m_accounts.clear();
    QSet<int> numbers;
    for (AccountData &data : contents.accounts) {
        // A line that was damaged or copied by hand: two accounts must not share a directory.
        if (data.number <= 0 || numbers.contains(data.number)) {
            data.number = ++m_counter;
            m_changed = true;
        }
        numbers.insert(data.number);
        enter(data);
    }
    m_errors.load();
    deleteOldAccountDirectories();
    return contents.isReadable;
}

bool AccountManager::save()
{
    flushLogs();
    const bool savedErrors = m_errors.save();
    if (!m_changed)
        return savedErrors;
    AccountsFile::Contents contents;
    contents.counter = m_counter;
    contents.accounts = all();
    const auto backup =
        m_secretChanged ? AccountsFile::Backup::WrittenToo : AccountsFile::Backup::LeftToReading;
    m_changed = !m_file.write(contents, backup);
    if (!m_changed)
        m_secretChanged = false;
    return !m_changed && savedErrors;
}

std::vector<AccountData> AccountManager::all() const
{
    std::vector<AccountData> all;
    for (const auto &account : m_accounts)
        all.push_back(account->data());
    return all;
}

Account *AccountManager::account(int number) const
{
    const auto found = std::find_if(m_accounts.begin(), m_accounts.end(),
                                    [number](const auto &account) { return account->number() == number; });
    return found == m_accounts.end() ? nullptr : found->get();
}

Account *AccountManager::find(const QString &name) const
{
    const auto found = std::find_if(m_accounts.begin(), m_accounts.end(),
                                    [&name](const auto &account) { return account->name() == name; });
    return found == m_accounts.end() ? nullptr : found->get();
}

AccountFault AccountManager::faultOf(const AccountData &data) const
{
    if (data.name.trimmed().isEmpty())
        return AccountFault::NoName;
    if (!AccountsFile::canHold(data))
        return AccountFault::Separator;
    const Account *namesake = find(data.name);
    return namesake && namesake->number() != data.number ? AccountFault::NameTaken : AccountFault::None;
}

Account *AccountManager::enter(const AccountData &data)
{
    m_accounts.push_back(std::make_unique<Account>(*this, data));
    Account *account = m_accounts.back().get();
    passOn(*account);
    return account;
}

/// What it tells, for those who watch them all.
void AccountManager::passOn(Account &account)
{
    Account *one = &account;
    using Ended = void (AccountManager::*)(Account *, AccountFetchReason, const QString &);
    const auto end = [this, one](Ended ended) {
        return [this, one, ended](AccountFetchReason reason, const QString &detail) {
            emit(this->*ended)(one, reason, detail);
        };
    };
    connect(one, &Account::fetchStarted, this, [this, one] { emit fetchStarted(one); });
    connect(one, &Account::fetchEnded, this, end(&AccountManager::fetchEnded));
    connect(one, &Account::fetchDropped, this, [this, one] { emit fetchDropped(one); });
    connect(one, &Account::servingStarted, this, [this, one] { emit servingStarted(one); });
    connect(one, &Account::servingEnded, this, end(&AccountManager::servingEnded));
    connect(one, &Account::markChanged, this, [this, one] { emit markChanged(one); });
}

int AccountManager::add(AccountData data)
{
    data.number = 0;
    if (faultOf(data) != AccountFault::None)
        return 0;
    data.number = ++m_counter;
    Account *account = enter(data);
    m_changed = true;
    emit accountAdded(account);
    return data.number;
}

bool AccountManager::update(const AccountData &data)
{
    Account *old = account(data.number);
    if (!old || faultOf(data) != AccountFault::None)
        return false;
    m_secretChanged =
        m_secretChanged || (data.password != old->m_data.password && !old->m_data.password.isEmpty());
    m_changed = true;
    moveInKeyring(old->m_data, data);
    old->setData(data);
    emit accountUpdated(old);
    return true;
}

void AccountManager::remove(int number)
{
    const auto found = std::find_if(m_accounts.begin(), m_accounts.end(),
                                    [number](const auto &account) { return account->number() == number; });
    if (found == m_accounts.end())
        return;
    std::unique_ptr<Account> account = std::move(*found);
    m_accounts.erase(found);
    m_changed = true;
    m_secretChanged = m_secretChanged || !account->m_data.password.isEmpty();
    dropRequests(number);
    account->leave();
    emit accountDeleted(account.get());
    setAccountDirectoryAside(number);
    forgetChainsTo(number);
    if (account->m_data.has(AccountKeyring) && m_keeper)
        removeFromKeyring(account->m_data, number);
    account->setParent(this); // it may be the one that called
    account.release()->deleteLater();
}

void AccountManager::move(int number, int place)
{
    const auto found = std::find_if(m_accounts.begin(), m_accounts.end(),
                                    [number](const auto &account) { return account->number() == number; });
    if (found == m_accounts.end() || place < 0 || place >= int(m_accounts.size()))
        return;
    const auto target = m_accounts.begin() + place;
    if (found < target)
        std::rotate(found, found + 1, target + 1);
    else
        std::rotate(target, found, found + 1);
    m_changed = true;
    emit accountUpdated(m_accounts[std::size_t(place)].get());
}

/// Unless another account logs in with the same entry.
void AccountManager::removeFromKeyring(const AccountData &data, int number)
{
    const QString key = keyringKeyOf(data);
    const bool isShared = std::any_of(m_accounts.begin(), m_accounts.end(), [&](const auto &other) {
        return other->number() != number && other->data().has(AccountKeyring) &&
               keyringKeyOf(other->data()) == key;
    });
    if (!isShared)
        m_keeper->remove(key, [](bool) {});
}

/// The entry follows its user and host, and goes when the keyring is not wanted any more.
void AccountManager::moveInKeyring(const AccountData &from, const AccountData &to)
{
    const QString newKey = keyringKeyOf(to);
    if (!m_keeper || !from.has(AccountKeyring) || (to.has(AccountKeyring) && newKey == keyringKeyOf(from)))
        return;
    if (!to.has(AccountKeyring))
        return removeFromKeyring(from, to.number);
    const QPointer<AccountManager> guard(this);
    m_keeper->read(keyringKeyOf(from), [this, guard, from, newKey](bool ok, const QString &password) {
        if (!guard || !m_keeper || !ok)
            return;
        m_keeper->write(newKey, password, [this, guard, from](bool written) {
            if (guard && m_keeper && written)
                removeFromKeyring(from, from.number);
        });
    });
}

void AccountManager::forgetChainsTo(int number)
{
    for (const auto &account : m_accounts) {
        if (account->m_data.chained != number)
            continue;
        account->m_data.chained = 0;
        emit accountUpdated(account.get());
    }
}

void AccountManager::flushLogs()
{
    for (const auto &account : m_accounts)
        account->flushLog();
}
