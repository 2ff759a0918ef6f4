#include "net/accountmanager.h"

#include <QSet>

#include <algorithm>

AccountManager::AccountManager(QObject *parent)
    : QObject(parent)
{}

AccountManager::~AccountManager() = default;

void AccountManager::load()
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
        m_accounts.push_back(std::make_unique<Account>(*this, data));
    }
}

bool AccountManager::save()
{
    if (!m_changed)
        return true;
    AccountsFile::Contents contents;
    contents.counter = m_counter;
    for (const auto &account : m_accounts)
        contents.accounts.push_back(account->data());
    m_changed = !m_file.write(contents);
    return !m_changed;
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

int AccountManager::add(AccountData data)
{
    if (data.name.trimmed().isEmpty() || find(data.name))
        return 0;
    data.number = ++m_counter;
    m_accounts.push_back(std::make_unique<Account>(*this, data));
    m_changed = true;
    emit accountAdded(data.number);
    return data.number;
}

void AccountManager::update(const AccountData &data)
{
    if (Account *old = account(data.number)) {
        old->m_data = data;
        m_changed = true;
        emit accountUpdated(data.number);
    }
}

void AccountManager::remove(int number)
{
    const auto left =
        std::erase_if(m_accounts, [number](const auto &account) { return account->number() == number; });
    if (left == 0)
        return;
    m_changed = true;
    emit accountDeleted(number);
}
