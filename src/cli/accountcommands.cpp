#include "cli/arguments.h"
#include "cli/command.h"
#include "config/terminationsignals.h"
#include "engine/batchfetch.h"

#include <QDir>
#include <QElapsedTimer>

using namespace Qt::StringLiterals;

namespace {

constexpr int kDefaultInterval = 10; ///< minutes

Row describeAccount(const AccountData &account)
{
    Row row;
    row.add("number", account.number)
        .add("name", account.name)
        .add("kind", QString::fromLatin1(kAccountKinds[std::size_t(account.kind)].word))
        .add("host", account.host)
        .add("port", account.port)
        .add("tls", (account.flags & AccountTls) != 0 ? u"tls"_s : u"none"_s);
    return row;
}

ExitStatus addAccount(Session &session, const Arguments &arguments)
{
    AccountData account;
    account.name = arguments.value("--name");
    account.host = arguments.value("--host");
    account.kind = accountKindOf(arguments.value("--kind"));
    account.fetchInterval = kDefaultInterval;
    if (account.kind == AccountKind::None)
        return wrongUsage(session, u"--kind '%1' is not known"_s.arg(arguments.value("--kind")));
    if (account.name.trimmed().isEmpty() || account.host.isEmpty())
        return wrongUsage(session, u"account add wants --kind, --name and --host"_s);
    const auto endsField = [](QChar c) { return c == u'\t' || c == u'\n' || c == u'\r'; };
    for (const QString &text : {account.name, account.host}) {
        if (std::any_of(text.begin(), text.end(), endsField))
            return wrongUsage(session, u"--name and --host are on one line and have no tabs"_s);
    }
    if (account.kind != AccountKind::BatchFile) {
        session.output().complain(
            u"Accounts of kind '%1' cannot be set up yet; batch files can"_s.arg(arguments.value("--kind")));
        return ExitStatus::Failed;
    }
    account.host = QDir::current().absoluteFilePath(account.host);
    if (!session.open(Session::Purpose::Write))
        return ExitStatus::Failed;
    AccountManager &accounts = session.engine().accounts();
    const int number = accounts.add(account);
    if (number == 0) {
        session.output().complain(u"There is an account '%1' already"_s.arg(account.name));
        return ExitStatus::Failed;
    }
    if (!accounts.save())
        return ExitStatus::Failed;
    session.output().row(describeAccount(accounts.account(number)->data()));
    session.output().endTable();
    return ExitStatus::Done;
}

ExitStatus listAccounts(Session &session)
{
    if (!session.open(Session::Purpose::Read))
        return ExitStatus::Failed;
    for (const AccountData &account : session.engine().accounts().all())
        session.output().row(describeAccount(account));
    session.output().endTable();
    return ExitStatus::Done;
}

ExitStatus removeAccount(Session &session, const QString &name)
{
    if (!session.open(Session::Purpose::Write))
        return ExitStatus::Failed;
    AccountManager &accounts = session.engine().accounts();
    const Account *account = accounts.find(name);
    if (!account) {
        session.output().complain(u"There is no account '%1'"_s.arg(name));
        return ExitStatus::Failed;
    }
    const Row row = describeAccount(account->data());
    accounts.remove(account->number());
    if (!accounts.save())
        return ExitStatus::Failed;
    session.output().row(row);
    session.output().endTable();
    return ExitStatus::Done;
}

/// The named accounts, or all that take part, and behind them those that are chained to them. Empty after a
/// complaint.
std::optional<std::vector<AccountData>> accountsToFetch(Session &session, const QStringList &names)
{
    const AccountManager &manager = session.engine().accounts();
    std::vector<AccountData> accounts;
    for (const QString &name : names) {
        const Account *account = manager.find(name);
        if (!account) {
            session.output().complain(u"There is no account '%1'"_s.arg(name));
            return {};
        }
        accounts.push_back(account->data());
    }
    const auto takesPart = [](const AccountData &account) {
        return account.isIncoming() && (account.flags & AccountLeftOut) == 0;
    };
    if (names.isEmpty())
        std::ranges::copy_if(manager.all(), std::back_inserter(accounts), takesPart);
    for (std::size_t i = 0; i < accounts.size(); ++i) {
        const Account *chained = manager.account(accounts[i].chained);
        const auto isChained = [&](const AccountData &account) {
            return account.number == chained->number();
        };
        if (chained && takesPart(chained->data()) &&
            std::none_of(accounts.begin(), accounts.end(), isChained))
            accounts.push_back(chained->data());
    }
    return accounts;
}

/// What keeps an account from being fetched; empty when nothing does.
QString fetchProblem(const AccountData &account)
{
    if (account.kind != AccountKind::BatchFile)
        return u"Account '%1' is of a kind that cannot be fetched yet"_s.arg(account.name);
    if ((account.flags & AccountLeftOut) != 0)
        return u"Account '%1' is left out of fetches"_s.arg(account.name);
    return {};
}

bool fetchAccount(Session &session, const AccountData &account)
{
    if (const QString problem = fetchProblem(account); !problem.isEmpty()) {
        session.output().complain(problem);
        return false;
    }
    QElapsedTimer timer;
    timer.start();
    BatchFetch fetch(session.engine().delivery(), account);
    const bool ok = session.run(fetch) == Task::State::Done;
    Row row;
    row.add("account", account.name)
        .add("ok", ok)
        .add("reason", ok ? 0 : BatchFetch::kReason)
        .add("detail", fetch.problem())
        .add("received", fetch.received())
        .add("bytes", fetch.bytes())
        .add("seconds", double(timer.elapsed()) / 1000);
    session.output().row(row);
    session.output().endRows();
    return ok;
}

} // namespace

ExitStatus runAccount(Session &session, const QStringList &words)
{
    const QString verb = words.value(0);
    const Arguments arguments(words.mid(1), {"--apop", "--leave-on-server"},
                              {"--kind", "--name", "--host", "--port", "--user", "--password-file", "--tls",
                               "--ca-file", "--fingerprint"});
    if (!arguments.problem().isEmpty())
        return wrongUsage(session, arguments.problem());
    if (verb == u"add" && arguments.plain().isEmpty())
        return addAccount(session, arguments);
    if (verb == u"list" && words.size() == 1)
        return listAccounts(session);
    if (verb == u"remove" && arguments.plain().size() == 1)
        return removeAccount(session, arguments.plain().first());
    return wrongUsage(session, u"account wants add, list or remove NAME"_s);
}

ExitStatus runFetch(Session &session, const QStringList &words)
{
    const Arguments arguments(words, {}, {});
    if (!arguments.problem().isEmpty())
        return wrongUsage(session, arguments.problem());
    if (!session.open(Session::Purpose::Write))
        return ExitStatus::Failed;
    const auto accounts = accountsToFetch(session, arguments.plain());
    if (!accounts)
        return ExitStatus::Failed;
    ExitStatus status = ExitStatus::Done;
    for (const AccountData &account : *accounts) {
        if (TerminationSignals::isRequested())
            break;
        if (!fetchAccount(session, account))
            status = ExitStatus::Failed;
    }
    session.output().endTable();
    return status;
}
