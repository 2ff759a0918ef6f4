#pragma once

#include <QHash>
#include <QString>

#include <array>

/// The kinds of accounts by the number that the accounts file stores.
enum class AccountKind { None, OfflineImap, Pop3, Nntp, OnlineImap, Smtp, BatchFile };

struct AccountKindRow
{
    const char *shown; ///< the name for people
    const char *word;  ///< on the command line
};
constexpr std::array kAccountKinds = {
    AccountKindRow{"None", ""},
    AccountKindRow{"Mail (Offline IMAP)", "imap-offline"},
    AccountKindRow{"Mail (POP3)", "pop3"},
    AccountKindRow{"News (NNTP)", "nntp"},
    AccountKindRow{"Mail (Online IMAP)", "imap"},
    AccountKindRow{"Outgoing mail (SMTP)", "smtp"},
    AccountKindRow{"Mail (Batch File)", "batch"},
};
static_assert(kAccountKinds.size() == std::size_t(AccountKind::BatchFile) + 1);

/// Bits of an account's flags.
enum AccountFlag : quint32 {
    AccountLeftOut = 1u << 3, ///< a request to fetch does nothing
    AccountTls = 1u << 8,     ///< the connection uses TLS from its start
};

/// One server, or one batch file, that mail comes from or goes to, as the accounts file keeps it.
struct Account
{
    QString name; ///< as shown in lists and messages; unique
    QString host; ///< the server; of a batch-file account the path of the file
    QString user;
    QString password;
    int number = 0; ///< fixed for its life; names its directory "Accounts/<number>"
    AccountKind kind = AccountKind::None;
    int port = 0;
    quint32 flags = 0;
    int connections = 0;   ///< fetchers side by side (NNTP); 0 is 1
    int chained = 0;       ///< number of the account that fetches along; 0: none
    int fetchInterval = 0; ///< minutes between two fetches by itself; 0: never

    /// The further fields of the file by their letters, kept as they are.
    QHash<char, QString> others;

    /// Whether mail comes from it by itself or by a fetch.
    bool isIncoming() const { return kind != AccountKind::None && kind != AccountKind::Smtp; }
};

/// The kind that the command line calls @p word; None when there is none.
AccountKind accountKindOf(const QString &word);
