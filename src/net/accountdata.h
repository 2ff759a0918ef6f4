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

/// Bits of an account's flags. Bits 0, 1, 5 and 7 are kept as they are read; a bit once given a meaning is
/// never used for another.
enum AccountFlag : quint32 {
    AccountApop = 1u << 2,          ///< POP3: log in with APOP where the greeting allows it
    AccountLeftOut = 1u << 3,       ///< a request to fetch does nothing
    AccountLeaveOnServer = 1u << 4, ///< what is fetched stays on the server, for as long as daysOnServer says
    AccountStartTls = 1u << 6,      ///< the connection is promoted to TLS before the login
    AccountTls = 1u << 8,           ///< the connection uses TLS from its start
    AccountUnfiltered = 1u << 9,    ///< filters are not applied to what it receives
    AccountJunkTest = 1u << 10,     ///< what it receives is tested for junk
    AccountNoServerMoves = 1u << 11,   ///< what a filter moves stays where it is on the server
    AccountNeedsEncryption = 1u << 12, ///< no credential ever leaves without TLS, but to this machine itself
    AccountKeyring = 1u << 13,         ///< the password is kept in the desktop's keyring
    AccountDeletesAlong = 1u << 14,    ///< what is deleted here for good is deleted on the server, too
    AccountAsksForPassword = 1u << 15, ///< the password is kept nowhere, and the user wants it so
};

/// One server, or one batch file, that mail comes from or goes to, as the accounts file keeps it.
struct AccountData
{
    QString name; ///< as shown in lists and messages; unique
    QString host; ///< the server; of a batch-file account the path of the file
    QString user;
    QString password; ///< empty where it is kept elsewhere or nowhere
    int number = 0;   ///< fixed for its life; names its directory "Accounts/<number>"
    AccountKind kind = AccountKind::None;
    int port = 0;
    quint32 flags = 0;
    QString address;     ///< the mail address that the account serves
    int sizeLimit = 0;   ///< kilobytes: of larger messages only the header is fetched; 0: no limit of its own
    int connections = 0; ///< fetchers side by side (NNTP); 0 is 1
    int group = 0;       ///< number of the group that its mail arrives in; 0: the inbox
    int identity = 0;    ///< number of the identity that answers its mail; 0: the default one
    int chained = 0;     ///< number of the account that fetches along; 0: none
    int daysOnServer =
        0; ///< with AccountLeaveOnServer: days after which a message is deleted there; 0: never
    int fetchInterval = 0; ///< minutes between two fetches by itself; 0: never

    /// The further fields of the file by their letters, kept as they are.
    QHash<char, QString> others;

    bool has(AccountFlag flag) const { return (flags & flag) != 0; }
    void set(AccountFlag flag, bool on) { flags = on ? flags | flag : flags & ~quint32(flag); }

    /// Whether mail comes from it by itself or by a fetch.
    bool isIncoming() const { return kind != AccountKind::None && kind != AccountKind::Smtp; }

    /// Whether it is served over the network.
    bool isNetwork() const { return kind != AccountKind::None && kind != AccountKind::BatchFile; }
};

/// The kind that the command line calls @p word; None when there is none.
AccountKind accountKindOf(const QString &word);
