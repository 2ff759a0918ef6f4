#pragma once

#include <QString>

#include <array>

/// Why a session of a fetcher ended. The numbers are shown by the command line and never change.
enum class AccountFetchReason {
    None,           ///< all went well
    Stopped,        ///< the user, or the end of the program
    Quiet,          ///< nothing to report
    Unreachable,    ///< no connection, or its certificate was refused
    Unavailable,    ///< the greeting refuses service
    Unexpected,     ///< a reply that nobody expects, or a refusal
    WithErrors,     ///< the rest went well
    LoginFailed,    ///< TLS is wanted and not offered, or no password was given
    UnexpectedData, ///< as Unexpected, while mail is transferred
    UnexpectedEnd,  ///< as Unexpected, while the session is closed
    TimedOut,
    ServerError,      ///< the server has something to say; always shown in a box
    ConnectionClosed, ///< by the server, unexpectedly
};

struct FetchReasonRow
{
    const char *message; ///< %1 is the account's name, %2 the text of the fetcher; empty: there is none
};
constexpr std::array kFetchReasons = {
    FetchReasonRow{""},
    FetchReasonRow{""},
    FetchReasonRow{""},
    FetchReasonRow{"Unable to connect to account '%1':\n\n%2"},
    FetchReasonRow{"Service unavailable for account '%1':\n\n%2"},
    FetchReasonRow{"Unexpected response received from account '%1':\n\n%2"},
    FetchReasonRow{"Account '%1' completed transfer with errors:\n\n%2"},
    FetchReasonRow{"Unable to login to account '%1':\n\n%2"},
    FetchReasonRow{"Unexpected response received from account '%1':\n\n%2"},
    FetchReasonRow{"Unexpected response received from account '%1':\n\n%2"},
    FetchReasonRow{"Account '%1' has timed out"},
    FetchReasonRow{"Error received from account '%1':\n\n%2"},
    FetchReasonRow{"Account '%1' closed connection unexpectedly"},
};
static_assert(kFetchReasons.size() == std::size_t(AccountFetchReason::ConnectionClosed) + 1);

/// What a person is told; empty where there is nothing to tell.
QString fetchMessage(AccountFetchReason reason, const QString &account, const QString &detail);
