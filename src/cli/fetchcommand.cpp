#include "cli/arguments.h"
#include "cli/command.h"
#include "cli/fetchrun.h"
#include "cli/terminalquestions.h"
#include "net/keyring/desktopkeyring.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// The numbers of the named accounts, or of all that take part. Empty after a complaint.
std::optional<std::vector<int>> accountsToFetch(Session &session, const QStringList &names)
{
    const AccountManager &manager = session.engine().accounts();
    std::vector<int> accounts;
    for (const QString &name : names) {
        const Account *account = manager.find(name);
        if (!account)
            session.output().complain(u"There is no account '%1'"_s.arg(name));
        else if (account->data().has(AccountLeftOut))
            session.output().complain(u"Account '%1' is left out of fetches"_s.arg(name));
        else if (!account->data().isIncoming())
            session.output().complain(u"Account '%1' sends mail and fetches none"_s.arg(name));
        else
            accounts.push_back(account->number());
    }
    if (qsizetype(accounts.size()) != names.size())
        return {};
    for (const AccountData &account : names.isEmpty() ? manager.all() : std::vector<AccountData>()) {
        if (account.isIncoming() && !account.has(AccountLeftOut))
            accounts.push_back(account.number);
    }
    return accounts;
}

} // namespace

ExitStatus runFetch(Session &session, const QStringList &words)
{
    const Arguments arguments(words, {}, {});
    if (!arguments.problem().isEmpty())
        return wrongUsage(session, arguments.problem());
    if (!session.open(Session::Purpose::Write) || !session.hasAccounts())
        return ExitStatus::Failed;
    const auto accounts = accountsToFetch(session, arguments.plain());
    if (!accounts)
        return ExitStatus::Failed;
    // Whoever keeps no password there needs no desktop to talk to.
    DesktopKeyring keyring;
    const std::vector<AccountData> all = session.engine().accounts().all();
    if (std::any_of(all.begin(), all.end(), [](const AccountData &one) { return one.has(AccountKeyring); }))
        session.engine().setPasswordKeeper(&keyring);
    TerminalQuestions questions(session.output());
    if (TerminalQuestions::isPossible())
        session.engine().setQuestions(&questions);
    const bool good = FetchRun(session).run(*accounts);
    session.engine().accounts().shutDown(); // nobody is asked any more
    session.engine().setQuestions(nullptr);
    session.engine().setPasswordKeeper(nullptr);
    session.output().endTable();
    return good ? ExitStatus::Done : ExitStatus::Failed;
}
