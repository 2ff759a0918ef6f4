#include "cli/arguments.h"
#include "cli/command.h"
#include "cli/passwordfile.h"
#include "net/accountdesk.h"
#include "net/accountoptions.h"
#include "net/keyring/desktopkeyring.h"

#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QTimer>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr int kDefaultInterval = 10; ///< minutes
constexpr int kMostPort = 65535;

struct TlsRow
{
    const char *word;
    quint32 flags;
    int popPort;
    int smtpPort;
};
constexpr std::array kTls = {
    TlsRow{"none", 0, 110, 25},
    TlsRow{"starttls", AccountStartTls | AccountNeedsEncryption, 110, 587},
    TlsRow{"tls", AccountTls | AccountNeedsEncryption, 995, 465},
};
constexpr const TlsRow &kDefaultTls = kTls.back();

const TlsRow *tlsOf(const QString &word)
{
    const auto found = std::find_if(kTls.begin(), kTls.end(),
                                    [&](const TlsRow &row) { return word == QLatin1String(row.word); });
    return word.isEmpty() ? &kDefaultTls : found == kTls.end() ? nullptr : found;
}

QString tlsWord(const AccountData &account)
{
    if (account.has(AccountTls))
        return u"tls"_s;
    return account.has(AccountStartTls) ? u"starttls"_s : u"none"_s;
}

Row describeAccount(const AccountData &account)
{
    Row row;
    row.add("number", account.number)
        .add("name", account.name)
        .add("kind", QString::fromLatin1(kAccountKinds[std::size_t(account.kind)].word))
        .add("host", account.host)
        .add("port", account.port)
        .add("tls", tlsWord(account));
    return row;
}

/// An account as the words want it, besides its number and its password.
struct NewAccount
{
    AccountData data;
    AccountOptions options;
    QString identity;     ///< who answers its mail, or whose mail it sends, as the words name them
    QStringList problems; ///< of the usage
};

/// What is said of the connection.
void takeConnection(NewAccount &account, const Arguments &arguments)
{
    const TlsRow *tls = tlsOf(arguments.value("--tls"));
    if (!tls) {
        account.problems += u"--tls is none, starttls or tls"_s;
        tls = &kDefaultTls;
    }
    account.data.flags |= tls->flags;
    account.data.port = account.data.kind == AccountKind::Smtp ? tls->smtpPort : tls->popPort;
    if (arguments.has("--port")) {
        const QString port = arguments.value("--port");
        account.data.port = Session::isNumber(port) ? port.toInt() : 0;
        if (account.data.port < 1 || account.data.port > kMostPort)
            account.problems += u"--port is a number from 1 to %1"_s.arg(kMostPort);
    }
    if (arguments.has("--ca-file")) {
        account.options.caFile = QDir::current().absoluteFilePath(arguments.value("--ca-file"));
        if (!QFileInfo(account.options.caFile).isReadable())
            account.problems += u"--ca-file '%1' cannot be read"_s.arg(arguments.value("--ca-file"));
    }
    if (arguments.has("--fingerprint")) {
        CertificateInfo certificate;
        certificate.sha256 = fingerprintOf(arguments.value("--fingerprint"));
        account.options.accept(certificate);
        if (certificate.sha256.isEmpty())
            account.problems += u"--fingerprint is a SHA-256, 64 hexadecimal digits"_s;
    }
}

void refuse(NewAccount &account, const Arguments &arguments, const QString &who,
            std::initializer_list<const char *> options)
{
    for (const char *option : options) {
        if (arguments.has(option))
            account.problems += u"%1 takes no %2"_s.arg(who, QLatin1String(option));
    }
}

void takeServer(NewAccount &account, const Arguments &arguments)
{
    AccountData &data = account.data;
    const bool isSender = data.kind == AccountKind::Smtp; // some servers want no login
    data.user = arguments.value("--user");
    if (data.user.isEmpty() && !isSender)
        account.problems += u"an account of this kind wants --user"_s;
    if (data.user.contains(u'@'))
        data.address = data.user;
    if (isSender) {
        data.fetchInterval = 0;
        refuse(account, arguments, u"an outgoing account"_s, {"--apop", "--leave-on-server"});
    }
    data.set(AccountApop, arguments.has("--apop"));
    data.set(AccountLeaveOnServer, arguments.has("--leave-on-server"));
    takeConnection(account, arguments);
}

/// A batch file is a path and nothing else.
void takeBatchFile(NewAccount &account, const Arguments &arguments)
{
    account.data.host = QDir::current().absoluteFilePath(account.data.host);
    refuse(account, arguments, u"a batch file"_s,
           {"--port", "--user", "--password-file", "--tls", "--ca-file", "--apop", "--leave-on-server",
            "--fingerprint"});
}

NewAccount newAccount(const Arguments &arguments)
{
    NewAccount account;
    AccountData &data = account.data;
    data.name = arguments.value("--name");
    data.host = arguments.value("--host");
    data.kind = accountKindOf(arguments.value("--kind"));
    data.fetchInterval = kDefaultInterval;
    const bool hasKind = arguments.has("--kind");
    account.problems = arguments.problems();
    account.identity = arguments.value("--identity");
    if (hasKind && data.kind == AccountKind::None)
        account.problems += u"--kind '%1' is not known"_s.arg(arguments.value("--kind"));
    if (!hasKind || data.name.trimmed().isEmpty() || data.host.isEmpty())
        account.problems += u"account add wants --kind, --name and --host"_s;
    if (data.kind == AccountKind::BatchFile)
        takeBatchFile(account, arguments);
    else if (data.kind != AccountKind::None)
        takeServer(account, arguments);
    return account;
}

QString textOf(AccountFault fault, const AccountData &account)
{
    switch (fault) {
    case AccountFault::None: break;
    case AccountFault::NoName: return u"account add wants --kind, --name and --host"_s;
    case AccountFault::NameTaken: return u"There is an account '%1' already"_s.arg(account.name);
    case AccountFault::Separator:
        return u"--name, --host, --user and the password are on one line and have no tabs"_s;
    }
    return {};
}

/// False after a complaint.
bool takeIdentity(Session &session, NewAccount &account)
{
    if (account.identity.isEmpty())
        return true;
    const Identity *identity = session.engine().identities().find(account.identity);
    if (identity)
        account.data.identity = identity->number;
    else
        session.output().complain(u"There is no identity '%1'"_s.arg(account.identity));
    return identity != nullptr;
}

/// Enters it and writes everything, or leaves nothing of it behind.
bool enter(Session &session, const NewAccount &account, int &number)
{
    AccountManager &accounts = session.engine().accounts();
    number = accounts.add(account.data);
    if (number == 0)
        return false;
    const bool hasOptions = !account.options.caFile.isEmpty() || !account.options.accepted.empty();
    if ((!hasOptions || accounts.account(number)->setOptions(account.options)) && accounts.save())
        return true;
    accounts.remove(number);
    return false;
}

bool canBeServed(AccountKind kind)
{
    return kind == AccountKind::BatchFile || kind == AccountKind::Pop3 || kind == AccountKind::Smtp;
}

ExitStatus addAccount(Session &session, const Arguments &arguments)
{
    NewAccount account = newAccount(arguments);
    if (!account.problems.isEmpty())
        return wrongUsage(session, account.problems);
    if (!canBeServed(account.data.kind)) {
        session.output().complain(
            u"Accounts of kind '%1' cannot be set up yet; pop3, smtp and batch can"_s.arg(
                arguments.value("--kind")));
        return ExitStatus::Failed;
    }
    if (arguments.has("--password-file") &&
        !readPasswordFile(session.output(), arguments.value("--password-file"), account.data.password))
        return ExitStatus::Failed;
    if (!session.open(Session::Purpose::Write) || !session.hasAccounts() || !takeIdentity(session, account))
        return ExitStatus::Failed;
    const AccountFault fault = session.engine().accounts().faultOf(account.data);
    if (fault == AccountFault::Separator)
        return wrongUsage(session, textOf(fault, account.data));
    if (fault != AccountFault::None) {
        session.output().complain(textOf(fault, account.data));
        return ExitStatus::Failed;
    }
    int number = 0;
    if (!enter(session, account, number))
        return ExitStatus::Failed;
    session.output().row(describeAccount(session.engine().accounts().account(number)->data()));
    session.output().endTable();
    return ExitStatus::Done;
}

ExitStatus listAccounts(Session &session)
{
    if (!session.open(Session::Purpose::Read) || !session.hasAccounts())
        return ExitStatus::Failed;
    for (const AccountData &account : session.engine().accounts().all())
        session.output().row(describeAccount(account));
    session.output().endTable();
    return ExitStatus::Done;
}

/// Takes the password out of the desktop's keyring, where it is kept there; the keyring gets some seconds.
void forgetPassword(Session &session, const AccountData &account)
{
    if (!account.has(AccountKeyring))
        return;
    constexpr int kPatience = 5000; // milliseconds
    DesktopKeyring keyring;
    QEventLoop loop;
    bool isGone = false;
    keyring.remove(keyringKeyOf(account), [&](bool ok) {
        isGone = ok;
        loop.quit();
    });
    QTimer::singleShot(kPatience, &loop, &QEventLoop::quit);
    loop.exec();
    if (!isGone)
        session.output().complain(
            u"The password of '%1' could not be taken out of the keyring"_s.arg(account.name));
}

ExitStatus removeAccount(Session &session, const QString &name)
{
    if (!session.open(Session::Purpose::Write) || !session.hasAccounts())
        return ExitStatus::Failed;
    AccountManager &accounts = session.engine().accounts();
    const Account *account = accounts.find(name);
    if (!account) {
        session.output().complain(u"There is no account '%1'"_s.arg(name));
        return ExitStatus::Failed;
    }
    const Row row = describeAccount(account->data());
    forgetPassword(session, account->data());
    accounts.remove(account->number());
    if (!accounts.save())
        return ExitStatus::Failed;
    session.output().row(row);
    session.output().endTable();
    return ExitStatus::Done;
}

} // namespace

ExitStatus runAccount(Session &session, const QStringList &words)
{
    const QString verb = words.value(0);
    const Arguments arguments(words.mid(1), {"--apop", "--leave-on-server"},
                              {"--kind", "--name", "--host", "--port", "--user", "--password-file", "--tls",
                               "--ca-file", "--fingerprint", "--identity"});
    if (verb == u"add" && (arguments.plain().isEmpty() || !arguments.problems().isEmpty()))
        return addAccount(session, arguments);
    if (!arguments.problem().isEmpty())
        return wrongUsage(session, arguments.problems());
    if (verb == u"list" && words.size() == 1)
        return listAccounts(session);
    if (verb == u"remove" && arguments.plain().size() == 1)
        return removeAccount(session, arguments.plain().first());
    return wrongUsage(session, u"account wants add, list or remove NAME"_s);
}
