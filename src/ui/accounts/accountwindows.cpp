#include "ui/accounts/accountwindows.h"

#include "engine/engine.h"
#include "ui/accounts/accountdraft.h"
#include "ui/accounts/accounteditor.h"
#include "ui/accounts/accountlogwindow.h"

namespace {

template <typename Window>
Window *raised(Window *window)
{
    window->show();
    window->raise();
    window->activateWindow();
    return window;
}

} // namespace

AccountEditor *editAccount(Engine &engine, int number, LoginTester &tester, QWidget *window)
{
    const Account *account = engine.accounts().account(number);
    if (!account)
        return nullptr;
    for (AccountEditor *open : window->findChildren<AccountEditor *>())
        if (open->account() == number && open->isVisible())
            return raised(open);
    return raised(new AccountEditor(engine, account->data(), tester, window));
}

AccountEditor *copyAccount(Engine &engine, int number, LoginTester &tester, QWidget *window)
{
    const Account *account = engine.accounts().account(number);
    if (!account)
        return nullptr;
    AccountData copy = account->data();
    copy.number = 0;
    copy.name = freeAccountName(AccountEditor::tr("Copy of %1").arg(copy.name), engine.accounts());
    copy.password.clear();
    copy.set(AccountKeyring, false);
    return raised(new AccountEditor(engine, copy, tester, window, number));
}

AccountLogWindow *showAccountLog(Account &account, QWidget *window)
{
    for (AccountLogWindow *open : window->findChildren<AccountLogWindow *>())
        if (open->account() == &account && open->isVisible())
            return raised(open);
    return raised(new AccountLogWindow(account, window));
}
