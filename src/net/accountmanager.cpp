#include "net/accountmanager.h"

#include <QSet>

#include <algorithm>

void AccountManager::load()
{
    m_contents = m_file.read();
    QSet<int> numbers;
    for (Account &account : m_contents.accounts) {
        // A line that was damaged or copied by hand: two accounts must not share a directory.
        if (account.number <= 0 || numbers.contains(account.number)) {
            account.number = ++m_contents.counter;
            m_changed = true;
        }
        numbers.insert(account.number);
    }
}

bool AccountManager::save()
{
    if (m_changed)
        m_changed = !m_file.write(m_contents);
    return !m_changed;
}

const Account *AccountManager::account(int number) const
{
    const auto &accounts = m_contents.accounts;
    const auto found = std::find_if(accounts.begin(), accounts.end(),
                                    [number](const Account &account) { return account.number == number; });
    return found == accounts.end() ? nullptr : &*found;
}

const Account *AccountManager::find(const QString &name) const
{
    const auto &accounts = m_contents.accounts;
    const auto found = std::find_if(accounts.begin(), accounts.end(),
                                    [&name](const Account &account) { return account.name == name; });
    return found == accounts.end() ? nullptr : &*found;
}

int AccountManager::add(Account account)
{
    if (account.name.trimmed().isEmpty() || find(account.name))
        return 0;
    account.number = ++m_contents.counter;
    m_contents.accounts.push_back(account);
    m_changed = true;
    emit accountAdded(account.number);
    return account.number;
}

void AccountManager::update(const Account &account)
{
    if (Account *old = get(account.number)) {
        *old = account;
        m_changed = true;
        emit accountUpdated(account.number);
    }
}

void AccountManager::remove(int number)
{
    const auto left = std::erase_if(m_contents.accounts,
                                    [number](const Account &account) { return account.number == number; });
    if (left == 0)
        return;
    m_changed = true;
    emit accountDeleted(number);
}

Account *AccountManager::get(int number)
{
    return const_cast<Account *>(account(number));
}
