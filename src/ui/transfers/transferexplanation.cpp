#include "ui/transfers/transferexplanation.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

using enum TransferCause;

/// Words that tell the cause, wherever they stand in what server or socket said; the first row that fits
/// decides, so what is certain stands before what is probable.
struct Sign
{
    const char *words;
    TransferCause cause;
};
constexpr std::array kServerSigns = {
    // RFC 2449, RFC 3206: the words in brackets are made for programs
    Sign{"[in-use]", MailboxLocked},
    Sign{"[login-delay]", LoginTooSoon},
    Sign{"[sys/temp]", ServerTrouble},
    Sign{"[sys/perm]", ServerTrouble},
    // RFC 5530, as servers of other protocols say it
    Sign{"[inuse]", MailboxLocked},
    Sign{"[unavailable]", ServerTrouble},
    // providers that refuse the account's own password to mail programs
    Sign{"application-specific password", AppPassword},
    Sign{"app-specific password", AppPassword},
    Sign{"application password", AppPassword},
    Sign{"app password", AppPassword},
    Sign{"web login required", AppPassword},
    Sign{"log in via your web browser", AppPassword},
    Sign{"basic authentication is disabled", AppPassword},
    Sign{"basicauthblocked", AppPassword},
    Sign{"[auth]", LoginRefused},
    Sign{"[authenticationfailed]", LoginRefused},
};

/// What is said on this side: by the check of certificates, the socket and the disk.
constexpr std::array kOwnSigns = {
    // the texts of the certificate check
    Sign{"self signed certificate", SelfSigned},
    Sign{"doesn't match the certificate", HostName},
    Sign{"certificate has expired", CertificateExpired},
    Sign{"certificate is not yet valid", CertificateNotYetValid},
    Sign{"issuer certificate", CertificateUnverified},
    Sign{"unable to verify the first certificate", CertificateUnverified},
    Sign{"certificate signature failure", CertificateUnverified},
    Sign{"invalid ca certificate", CertificateUnverified},
    Sign{"certificate not trusted", CertificateUnverified},
    Sign{"certificate rejected", CertificateUnverified},
    Sign{"certificate purpose", CertificateUnverified},
    Sign{"certificate", CertificateUnverified},
    // the socket
    Sign{"connection refused", Refused},
    Sign{"host not found", HostNotFound},
    Sign{"ssl error", TlsFailed},
    Sign{"unable to read from socket", ConnectionLost},
    Sign{"connection error (", NoConnection},
    Sign{"no space left", DiskFull},
    Sign{"disk full", DiskFull},
    Sign{"disk is full", DiskFull},
    Sign{"quota exceeded", DiskFull},
    Sign{"velmar is offline", Offline},
};

/// What servers without such codes say when the mailbox is open elsewhere, or the login wrong.
constexpr std::array kLoginSigns = {
    Sign{"lock", MailboxLocked},
    Sign{"in use", MailboxLocked},
    Sign{"another session", MailboxLocked},
    Sign{"authenticat", LoginRefused},
    Sign{"authoriz", LoginRefused},
    Sign{"password", LoginRefused},
    Sign{"invalid login", LoginRefused},
    Sign{"invalid user", LoginRefused},
    Sign{"login failed", LoginRefused},
    Sign{"logon fail", LoginRefused},
    Sign{"credentials", LoginRefused},
    Sign{"permission denied", LoginRefused},
};

template <std::size_t Size>
TransferCause byWords(const std::array<Sign, Size> &signs, const QString &text)
{
    const auto found = std::find_if(signs.begin(), signs.end(), [&text](const Sign &sign) {
        return text.contains(QLatin1StringView(sign.words), Qt::CaseInsensitive);
    });
    return found == signs.end() ? None : found->cause;
}

TransferCause loginCause(const QString &detail)
{
    if (detail.contains("tls"_L1, Qt::CaseInsensitive) || detail.contains("encrypt"_L1, Qt::CaseInsensitive))
        return NoTlsOffered;
    if (isServerReply(detail))
        return LoginRefused;
    return NoPassword;
}

/// What the reason alone says, when the words say nothing.
TransferCause byReason(AccountFetchReason reason, const QString &detail)
{
    switch (reason) {
    case AccountFetchReason::None:
    case AccountFetchReason::Stopped:
    case AccountFetchReason::Quiet: return None;
    case AccountFetchReason::Unreachable: return NoConnection;
    case AccountFetchReason::Unavailable: return ServerUnavailable;
    case AccountFetchReason::WithErrors: return PartlyFailed;
    case AccountFetchReason::LoginFailed: return loginCause(detail);
    case AccountFetchReason::TimedOut: return TimedOut;
    case AccountFetchReason::ServerError: return ServerSays;
    case AccountFetchReason::ConnectionClosed: return ConnectionLost;
    case AccountFetchReason::Unexpected:
    case AccountFetchReason::UnexpectedData:
    case AccountFetchReason::UnexpectedEnd: break;
    }
    const TransferCause cause = byWords(kLoginSigns, detail);
    return cause == None ? Unexpected : cause;
}

/// Texts: %1 is the server, %2 the port, %3 the user.
struct CauseRow
{
    TransferCause cause;
    const char *what;
    const char *whose;
    const char *advice;
    MendAction action;
};

#define WORDS(text) QT_TRANSLATE_NOOP("TransferExplanation", text)

constexpr std::array kCauses = {
    CauseRow{None, "", "", "", MendAction::Nothing},
    CauseRow{Offline, WORDS("Velmar is offline"), WORDS("Nothing is wrong: nobody uses the network now."),
             WORDS("Go online to fetch."), MendAction::GoOnline},
    CauseRow{
        HostNotFound, WORDS("the server was not found"),
        WORDS("No server is called %1 at the moment. Either this computer has no network, or the name is "
              "written wrongly."),
        WORDS("Check the network first, then the name of the server."), MendAction::EditAccount},
    CauseRow{Refused, WORDS("the server takes no connection"),
             WORDS("%1 was found, but nothing answers on port %2. Either the service is down, or port and "
                   "encryption of the account are not what it offers."),
             WORDS("Try again later; if it never worked, check port and encryption."),
             MendAction::EditAccount},
    CauseRow{NoConnection, WORDS("no connection came about"),
             WORDS("Either this computer has no network, or %1 cannot be reached now."),
             WORDS("Check the network, then try again."), MendAction::TryAgain},
    CauseRow{TimedOut, WORDS("the server did not answer in time"),
             WORDS("%1 is slow or overloaded, or something between here and there holds the connection."),
             WORDS("Try again in a while."), MendAction::TryAgain},
    CauseRow{ConnectionLost, WORDS("the connection broke off"),
             WORDS("%1 or the network ended the connection in the middle. That is mostly a passing fault."),
             WORDS("Try again."), MendAction::TryAgain},
    CauseRow{
        TlsFailed, WORDS("no encrypted connection came about"),
        WORDS("%1 answers on port %2, but not with encryption that can be used. Most likely the account's "
              "encryption and port do not belong together."),
        WORDS("Check port and encryption of the account."), MendAction::EditAccount},
    CauseRow{SelfSigned, WORDS("the server vouches only for itself"),
             WORDS("The certificate of %1 is signed by nobody else. On a server of your own that is usual; "
                   "anywhere else it may be somebody who listens."),
             WORDS("Look at the certificate before you accept it."), MendAction::SeeCertificate},
    CauseRow{HostName, WORDS("the certificate belongs to another server"),
             WORDS("What answers is not certified as %1. Most likely the server's name in the account is not "
                   "the one it calls itself; it may also be another server in its place."),
             WORDS("Compare the names before you accept it."), MendAction::SeeCertificate},
    CauseRow{
        CertificateExpired, WORDS("the server's certificate has expired"),
        WORDS("The people who run %1 have forgotten to renew it, or the clock of this computer is wrong."),
        WORDS("Check the date of this computer, or wait until the provider has renewed it."),
        MendAction::SeeCertificate},
    CauseRow{CertificateNotYetValid, WORDS("the server's certificate is not valid yet"),
             WORDS("Most likely the clock of this computer is behind."),
             WORDS("Check date and time of this computer."), MendAction::SeeCertificate},
    CauseRow{CertificateUnverified, WORDS("the server's certificate cannot be verified"),
             WORDS("Nobody whom this computer trusts vouches for %1. Its set-up may be wrong, or somebody "
                   "listens."),
             WORDS("Look at the certificate before you accept it."), MendAction::SeeCertificate},
    CauseRow{NoTlsOffered, WORDS("the server offers no encryption"),
             WORDS("The account demands encryption and %1 does not offer it on port %2, so no password was "
                   "sent. The port may be wrong, or something on the way removes the offer."),
             WORDS("Check port and encryption of the account."), MendAction::EditAccount},
    CauseRow{NoPassword, WORDS("there was no password"),
             WORDS("None is kept for this account, or its keyring stayed locked, and none was given."),
             WORDS("Enter the password."), MendAction::EnterPassword},
    CauseRow{AppPassword, WORDS("the provider wants an app password"),
             WORDS("The server answered and is the right one, but mail programs may not use your usual "
                   "password there."),
             WORDS("Make an app password on the provider's web site, then enter it here."),
             MendAction::EnterPassword},
    CauseRow{LoginRefused, WORDS("the password was refused"),
             WORDS("The server answered and is the right one. It says the name or password is wrong: most "
                   "likely the password was changed elsewhere."),
             WORDS("Fetching waits until you try again."), MendAction::EnterPassword},
    CauseRow{LoginTooSoon, WORDS("the server wants more time between two fetches"),
             WORDS("Nothing is broken: %1 allows only so many logins in a while."),
             WORDS("Try again later, or fetch less often."), MendAction::EditAccount},
    CauseRow{MailboxLocked, WORDS("the mailbox is open elsewhere"),
             WORDS("Another program or device fetches from it now, or an earlier connection has not ended "
                   "yet."),
             WORDS("Try again in a few minutes."), MendAction::TryAgain},
    CauseRow{ServerTrouble, WORDS("the server has trouble of its own"),
             WORDS("It is not your account: %1 says that something is wrong on its side."),
             WORDS("Try again later; if it lasts, tell the provider."), MendAction::TryAgain},
    CauseRow{ServerUnavailable, WORDS("the server gives no service now"),
             WORDS("%1 answers, but turns everybody or this computer away."),
             WORDS("Try again later; if it lasts, tell the provider."), MendAction::TryAgain},
    CauseRow{DiskFull, WORDS("the disk is full"),
             WORDS("There is no room on this computer's disk for new mail."),
             WORDS("Make room, then try again."), MendAction::TryAgain},
    CauseRow{NotStored, WORDS("the mail could not be stored"),
             WORDS("This computer could not write it to its disk."),
             WORDS("Look at disk and permissions, then try again."), MendAction::ShowLog},
    CauseRow{PartlyFailed, WORDS("some of it did not come"),
             WORDS("The server could not give everything; the log says what."),
             WORDS("Try again; if the same is missing, look at the log."), MendAction::TryAgain},
    CauseRow{ServerSays, WORDS("the server has something to say"), WORDS("The line below comes from %1."),
             WORDS("Read it; it is meant for you."), MendAction::ShowLog},
    CauseRow{
        Unexpected, WORDS("the server answered in an unexpected way"),
        WORDS("%1 refused a command or said what nobody understands. It is probably the server's fault."),
        WORDS("Try again; if it lasts, the log helps whoever looks into it."), MendAction::TryAgain},
};
static_assert(kCauses.size() == std::size_t(Unexpected) + 1);
static_assert([] {
    for (std::size_t i = 0; i < kCauses.size(); ++i)
        if (std::size_t(kCauses[i].cause) != i)
            return false;
    return true;
}());

/// Where the account has worked before, what is else put down to its settings lies elsewhere.
constexpr std::array kPassingCauses = {
    CauseRow{HostNotFound, WORDS("the server was not found"),
             WORDS("No server is called %1 at the moment. The account has worked before, so most likely this "
                   "computer has no network, or the service that looks up names is down."),
             WORDS("Check the network, then try again."), MendAction::TryAgain},
    CauseRow{Refused, WORDS("the server takes no connection"),
             WORDS("%1 was found, but nothing answers on port %2. The account has worked before, so most "
                   "likely the service is down for a while."),
             WORDS("Try again later; if it lasts, ask the provider whether its servers have changed."),
             MendAction::TryAgain},
};

const CauseRow &rowOf(TransferCause cause, bool hasWorked)
{
    const auto passing = std::find_if(kPassingCauses.begin(), kPassingCauses.end(),
                                      [cause](const CauseRow &row) { return row.cause == cause; });
    return hasWorked && passing != kPassingCauses.end() ? *passing : kCauses[std::size_t(cause)];
}

/// What a second button offers: another try, or where that comes first, what would else have come first.
MendAction otherActionOf(const CauseRow &row)
{
    if (row.action == MendAction::Nothing)
        return MendAction::Nothing;
    if (row.action != MendAction::TryAgain)
        return MendAction::TryAgain;
    const MendAction usual = kCauses[std::size_t(row.cause)].action;
    return usual == MendAction::TryAgain ? MendAction::Nothing : usual;
}

struct ActionRow
{
    MendAction action;
    const char *button;
};
constexpr std::array kActions = {
    ActionRow{MendAction::Nothing, ""},
    ActionRow{MendAction::TryAgain, WORDS("Try again")},
    ActionRow{MendAction::GoOnline, WORDS("Go online")},
    ActionRow{MendAction::EnterPassword, WORDS("Enter new password…")},
    ActionRow{MendAction::EditAccount, WORDS("Edit account…")},
    ActionRow{MendAction::SeeCertificate, WORDS("Look at the certificate…")},
    ActionRow{MendAction::ShowLog, WORDS("Show log")},
};
static_assert(kActions.size() == std::size_t(MendAction::ShowLog) + 1);

QString words(const char *text)
{
    return *text ? QCoreApplication::translate("TransferExplanation", text) : QString();
}

/// In one step: a server's name may hold "%2" as well.
QString filled(const char *text, const AccountData &account)
{
    const QString template_ = words(text);
    QString result;
    result.reserve(template_.size() + account.host.size());
    for (qsizetype i = 0; i < template_.size(); ++i) {
        const QStringView rest = QStringView(template_).sliced(i);
        if (rest.startsWith(u"%1"_s) || rest.startsWith(u"%2"_s)) {
            result += rest[1] == u'1' ? account.host : QString::number(account.port);
            ++i;
        } else {
            result += rest.front();
        }
    }
    return result;
}

QString lossOf(TransferCause cause, const AccountData &account)
{
    if (cause == None)
        return {};
    if (account.kind == AccountKind::Smtp)
        return words(WORDS("Nothing was lost: what was not sent waits in the outbox."));
    if (account.kind == AccountKind::BatchFile)
        return words(WORDS("Nothing was lost: what was not taken over lies in its file."));
    if (cause == DiskFull || cause == NotStored || cause == PartlyFailed)
        return words(WORDS("Nothing was lost: what arrived whole is kept, the rest stays on the server."));
    return words(WORDS("Nothing was lost: what was not fetched stays on the server."));
}

} // namespace

bool isServerReply(const QString &detail)
{
    return detail.startsWith(u'-') || (!detail.isEmpty() && detail.front().isDigit()) ||
           detail.startsWith("NO "_L1) || detail.startsWith("BAD "_L1);
}

TransferCause causeOf(const TransferError &error)
{
    if (byReason(error.reason, error.detail) == None)
        return None;
    if (error.reason == AccountFetchReason::ServerError)
        return ServerSays;
    TransferCause cause = byWords(kServerSigns, error.detail);
    if (cause == None && !isServerReply(error.detail))
        cause = byWords(kOwnSigns, error.detail);
    if (cause == None && error.detail.startsWith("unable to "_L1, Qt::CaseInsensitive))
        cause = NotStored;
    return cause == None ? byReason(error.reason, error.detail) : cause;
}

TransferExplanation explainTransferError(const TransferError &error, const AccountData &account,
                                         bool hasWorked)
{
    const CauseRow &row = rowOf(causeOf(error), hasWorked);
    TransferExplanation explanation;
    explanation.cause = row.cause;
    explanation.what = filled(row.what, account);
    explanation.whose = filled(row.whose, account);
    explanation.lost = lossOf(row.cause, account);
    explanation.advice = filled(row.advice, account);
    explanation.action = row.action;
    explanation.button = words(kActions[std::size_t(row.action)].button);
    explanation.otherAction = otherActionOf(row);
    explanation.otherButton = words(kActions[std::size_t(explanation.otherAction)].button);
    return explanation;
}

QString transferNotice(const TransferError &error, const AccountData &account)
{
    const TransferExplanation explanation = explainTransferError(error, account);
    const QString &name = error.accountName.isEmpty() ? account.name : error.accountName;
    return explanation.what.isEmpty() ? QString() : u"%1: "_s.arg(name) + explanation.what;
}
