#pragma once

#include "net/account.h"

#include <QString>

/// What is behind a failed transfer, as far as the reason and the words of server and socket tell.
enum class TransferCause {
    None, ///< there was no failure
    Offline,
    HostNotFound,
    Refused,
    NoConnection,
    TimedOut,
    ConnectionLost,
    TlsFailed,
    SelfSigned,
    HostName,
    CertificateExpired,
    CertificateNotYetValid,
    CertificateUnverified,
    NoTlsOffered,
    NoPassword,
    AppPassword,
    LoginRefused,
    LoginTooSoon,
    MailboxLocked,
    ServerTrouble,
    ServerUnavailable,
    DiskFull,
    NotStored,
    PartlyFailed,
    ServerSays,
    Unexpected,
};

/// What the user can do about it; who owns the windows connects them.
enum class MendAction {
    Nothing,
    TryAgain,
    GoOnline,
    EnterPassword,
    EditAccount,
    SeeCertificate, ///< connects again, so that the certificate is put to the user
    ShowLog,
};

/// A failure in the words of people.
struct TransferExplanation
{
    TransferCause cause = TransferCause::None;
    QString what;   ///< "the password was refused"; goes on behind the account's name
    QString whose;  ///< one or two sentences: whose fault it probably is
    QString lost;   ///< one sentence; what was lost, which is nothing
    QString advice; ///< one sentence, what to do
    MendAction action = MendAction::Nothing;
    QString button;                               ///< the text of the button for it
    MendAction otherAction = MendAction::Nothing; ///< for a second button
    QString otherButton;
};

/// Whether @p detail is a reply of a server ("-ERR ...", "535 ...", "NO ..."), not a text of ours.
bool isServerReply(const QString &detail);

TransferCause causeOf(const TransferError &error);

/// Pure: the same for the same error and account. What the server says is never taken for more than text.
/// @p hasWorked: a fetch has ended well with the account as it is, so its settings are not the first suspect.
TransferExplanation explainTransferError(const TransferError &error, const AccountData &account,
                                         bool hasWorked = false);

/// One line for bars and status lines: "Home: the password was refused".
QString transferNotice(const TransferError &error, const AccountData &account);
