#include "ui/accounts/accountdraft.h"

#include "config/reporter.h"
#include "net/accountmanager.h"

#include <QCoreApplication>
#include <QHostAddress>

using namespace Qt::StringLiterals;

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("AccountDraft", text);
}

} // namespace

AccountData accountDataOf(const AccountDraft &draft)
{
    AccountData data;
    data.kind = draft.kind;
    data.name = draft.name;
    data.identity = draft.identity;
    if (data.isIncoming()) {
        data.fetchInterval = draft.interval;
        data.set(AccountJunkTest, true);
    }
    if (draft.kind == AccountKind::BatchFile) {
        data.host = draft.file;
        return data;
    }
    data.address = draft.address;
    data.host = draft.server.host;
    data.port = draft.server.port;
    data.user = draft.server.user;
    data.set(AccountTls, draft.server.encryption == MailEncryption::Tls);
    data.set(AccountStartTls, draft.server.encryption == MailEncryption::StartTls);
    data.set(AccountNeedsEncryption, draft.server.encryption != MailEncryption::None);
    data.set(AccountAsksForPassword, draft.keeping == PasswordKeeping::ThisRun);
    if (draft.kind != AccountKind::Pop3)
        return data;
    data.set(AccountLeaveOnServer, draft.leaves);
    data.daysOnServer = draft.leaves ? draft.daysOnServer : 0;
    return data;
}

QString freeAccountName(const QString &wanted, const AccountManager &accounts)
{
    QString name = wanted;
    for (int i = 2; accounts.find(name); ++i)
        name = u"%1 %2"_s.arg(wanted).arg(i);
    return name;
}

QString outgoingAccountName(const QString &incoming)
{
    return tr("%1, outgoing").arg(incoming);
}

QString draftProblem(const AccountDraft &draft, const AccountManager &accounts)
{
    switch (accounts.faultOf(accountDataOf(draft))) {
    case AccountFault::None: return {};
    case AccountFault::NoName: return tr("The account needs a name.");
    case AccountFault::NameTaken: return tr("There is an account of this name already.");
    case AccountFault::Separator: return tr("A name, server or user cannot hold a tab or a line break.");
    }
    return {};
}

int makeAccount(const AccountDraft &draft, AccountManager &accounts)
{
    const int number = accounts.add(accountDataOf(draft));
    Account *account = accounts.account(number);
    if (!account) {
        report(ReportLevel::Critical, "%s", qUtf8Printable(draftProblem(draft, accounts)));
        return 0;
    }
    if (draft.accepted) {
        AccountOptions options = account->options();
        options.accept(*draft.accepted);
        if (!account->setOptions(options)) {
            accounts.remove(number);
            return 0;
        }
    }
    if (!draft.password.isEmpty())
        account->keepPassword(draft.password, draft.keeping);
    if (accounts.save())
        return number;
    accounts.remove(number);
    return 0;
}

AccountDraft outgoingDraftOf(const AccountDraft &draft)
{
    AccountDraft outgoing = draft;
    outgoing.kind = AccountKind::Smtp;
    outgoing.accepted.reset();
    return outgoing;
}

bool mayTryLogin(const MailServer &server)
{
    return server.encryption != MailEncryption::None || server.host == "localhost"_L1 ||
           QHostAddress(server.host).isLoopback();
}
