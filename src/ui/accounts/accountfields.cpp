#include "ui/accounts/accountfields.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QHostAddress>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

template <typename... Kinds>
constexpr unsigned bits(Kinds... kinds)
{
    return ((1u << unsigned(kinds)) | ...);
}

using enum AccountKind;
using F = AccountField;
using C = FieldControl;
using S = AccountSection;

constexpr unsigned kServers = bits(OfflineImap, Pop3, Nntp, OnlineImap, Smtp);
constexpr unsigned kMail = bits(OfflineImap, Pop3, OnlineImap);
constexpr unsigned kIncoming = kMail | bits(Nntp, BatchFile);
constexpr unsigned kAll = kServers | bits(BatchFile);

#define WORDS(text) QT_TRANSLATE_NOOP("AccountFields", text)

constexpr std::array kFields = {
    AccountFieldRow{.field = F::Name,
                    .control = C::Line,
                    .section = S::General,
                    .kinds = kAll,
                    .label = WORDS("&Name"),
                    .words = "",
                    .text = &AccountData::name},
    AccountFieldRow{.field = F::Address,
                    .control = C::Line,
                    .section = S::General,
                    .kinds = kMail | bits(Smtp),
                    .label = WORDS("Mail a&ddress"),
                    .words = "",
                    .text = &AccountData::address},
    AccountFieldRow{F::File, C::Own, S::General, bits(BatchFile), WORDS("&File"), ""},
    AccountFieldRow{.field = F::Host,
                    .control = C::Line,
                    .section = S::Server,
                    .kinds = kServers,
                    .label = WORDS("&Server"),
                    .words = "",
                    .text = &AccountData::host},
    AccountFieldRow{F::Encryption, C::Own, S::Server, kServers, WORDS("&Encryption"), ""},
    AccountFieldRow{F::Port, C::Own, S::Server, kServers, WORDS("P&ort"), ""},
    AccountFieldRow{F::NeedsEncryption, C::Check, S::Server, kServers, "",
                    WORDS("Encryption &required: no password goes out without it"), AccountNeedsEncryption},
    AccountFieldRow{.field = F::User,
                    .control = C::Line,
                    .section = S::Login,
                    .kinds = kServers,
                    .label = WORDS("&User"),
                    .words = "",
                    .text = &AccountData::user},
    AccountFieldRow{F::Password, C::Own, S::Login, kServers, WORDS("&Password"), ""},
    AccountFieldRow{F::Keeping, C::Own, S::Login, kServers, WORDS("&Keep it"), ""},
    AccountFieldRow{F::Apop, C::Check, S::Login, bits(Pop3), "",
                    WORDS("Log in with &APOP where the server can"), AccountApop},
    AccountFieldRow{.field = F::Interval,
                    .control = C::Amount,
                    .section = S::Fetching,
                    .kinds = kIncoming,
                    .label = WORDS("Fetch"),
                    .words = WORDS("By itself, &every %1 minutes"),
                    .number = &AccountData::fetchInterval,
                    .proposed = 10,
                    .most = 10'080},
    AccountFieldRow{F::LeftOut, C::Check, S::Fetching, kIncoming, "",
                    WORDS("&Pause: leave this account out of all fetches"), AccountLeftOut},
    AccountFieldRow{.field = F::Identity,
                    .control = C::Choice,
                    .section = S::Sending,
                    .kinds = bits(Smtp),
                    .label = WORDS("Sends &mail of"),
                    .words = "",
                    .number = &AccountData::identity},
    AccountFieldRow{F::LeftOut, C::Check, S::Sending, bits(Smtp), "",
                    WORDS("&Hold back: what is to go through it waits in the outbox"), AccountLeftOut},
    AccountFieldRow{.field = F::SizeLimit,
                    .control = C::Amount,
                    .section = S::Fetching,
                    .kinds = kMail,
                    .label = WORDS("Large messages"),
                    .words = WORDS("&Only the header of those above %1 kB"),
                    .number = &AccountData::sizeLimit,
                    .proposed = 5'000,
                    .most = 1'000'000},
    AccountFieldRow{.field = F::Connections,
                    .control = C::Amount,
                    .section = S::Fetching,
                    .kinds = bits(Nntp),
                    .label = WORDS("Connections"),
                    .words = WORDS("Several &at once: %1"),
                    .number = &AccountData::connections,
                    .proposed = 2,
                    .most = 16},
    AccountFieldRow{.field = F::Chained,
                    .control = C::Choice,
                    .section = S::Fetching,
                    .kinds = kIncoming,
                    .label = WORDS("Then &fetch"),
                    .words = "",
                    .number = &AccountData::chained},
    AccountFieldRow{F::LeaveOnServer, C::Check, S::OnServer, bits(Pop3), WORDS("Fetched messages"),
                    WORDS("&Leave them on the server"), AccountLeaveOnServer},
    AccountFieldRow{.field = F::DaysOnServer,
                    .control = C::Amount,
                    .section = S::OnServer,
                    .kinds = bits(Pop3),
                    .label = "",
                    .words = WORDS("&Delete them there after %1 days"),
                    .number = &AccountData::daysOnServer,
                    .proposed = 14,
                    .most = 3'650},
    AccountFieldRow{F::DeletesAlong, C::Check, S::OnServer, bits(Pop3), "",
                    WORDS("Delete on the server &what is deleted here for good"), AccountDeletesAlong},
    AccountFieldRow{.field = F::Group,
                    .control = C::Choice,
                    .section = S::Delivery,
                    .kinds = kIncoming & ~bits(Nntp),
                    .label = WORDS("New mail &goes to"),
                    .words = "",
                    .number = &AccountData::group},
    AccountFieldRow{.field = F::Identity,
                    .control = C::Choice,
                    .section = S::Delivery,
                    .kinds = kIncoming,
                    .label = WORDS("Answer &as"),
                    .words = "",
                    .number = &AccountData::identity},
    AccountFieldRow{F::JunkTest, C::Check, S::Delivery, kIncoming, WORDS("What arrives"),
                    WORDS("Test it for &junk"), AccountJunkTest},
    AccountFieldRow{F::Unfiltered, C::Check, S::Delivery, kIncoming, "", WORDS("Leave it &unfiltered"),
                    AccountUnfiltered},
    AccountFieldRow{F::NoServerMoves, C::Check, S::Delivery, bits(OfflineImap, OnlineImap), "",
                    WORDS("&Move nothing on the server when a filter moves it"), AccountNoServerMoves},
    AccountFieldRow{F::CaFile, C::Own, S::Certificates, kServers, WORDS("&Trust also"), ""},
    AccountFieldRow{F::Accepted, C::Own, S::Certificates, kServers, WORDS("Accepted"), ""},
};

constexpr std::array kSections = {
    WORDS("Account"), WORDS("Server"),        WORDS("Login"),    WORDS("Fetching"),
    WORDS("Sending"), WORDS("On the server"), WORDS("New mail"), WORDS("Certificates"),
};
static_assert(kSections.size() == kAccountSections);

struct PortRow
{
    AccountKind kind;
    std::array<int, 3> ports; ///< by Encryption
};
constexpr std::array kPorts = {
    PortRow{OfflineImap, {143, 143, 993}}, PortRow{OnlineImap, {143, 143, 993}},
    PortRow{Pop3, {110, 110, 995}},        PortRow{Nntp, {119, 119, 563}},
    PortRow{Smtp, {587, 587, 465}},
};

QString words(const char *text)
{
    return QCoreApplication::translate("AccountFields", text);
}

bool holdsSeparator(const QString &text)
{
    return text.contains(u'\t') || text.contains(u'\n') || text.contains(u'\r');
}

bool isThisMachine(const QString &host)
{
    return host.compare("localhost"_L1, Qt::CaseInsensitive) == 0 || QHostAddress(host).isLoopback();
}

bool isHostName(const QString &host)
{
    return std::none_of(host.begin(), host.end(), [](QChar c) {
        return c.isSpace() || c == u'/' || c == u'@' || c.category() == QChar::Other_Control;
    });
}

QString hostProblem(const QString &host)
{
    if (host.isEmpty())
        return words(WORDS("The server needs a name."));
    if (host.contains("://"_L1))
        return words(WORDS("Only the server's name, without what stands before “//”."));
    if (host.contains(u'@'))
        return words(WORDS("This is a mail address; the server's name is mostly like mail.example.org."));
    return isHostName(host) ? QString() : words(WORDS("No server is called so: its name has no blanks."));
}

} // namespace

std::span<const AccountFieldRow> accountFields()
{
    return kFields;
}

const AccountFieldRow &rowOf(AccountField field)
{
    return *std::find_if(kFields.begin(), kFields.end(),
                         [field](const AccountFieldRow &row) { return row.field == field; });
}

QString sectionTitle(AccountSection section)
{
    return words(kSections[std::size_t(section)]);
}

Encryption encryptionOf(const AccountData &account)
{
    if (account.has(AccountTls))
        return Encryption::Tls;
    return account.has(AccountStartTls) ? Encryption::StartTls : Encryption::None;
}

void setEncryption(AccountData &account, Encryption encryption)
{
    account.set(AccountTls, encryption == Encryption::Tls);
    account.set(AccountStartTls, encryption == Encryption::StartTls);
}

int usualPort(AccountKind kind, Encryption encryption)
{
    for (const PortRow &row : kPorts)
        if (row.kind == kind)
            return row.ports[std::size_t(encryption)];
    return 0;
}

KeepingChoice keepingOf(const AccountData &account)
{
    if (account.has(AccountKeyring))
        return KeepingChoice::Keyring;
    return account.has(AccountAsksForPassword) || account.password.isEmpty() ? KeepingChoice::Ask
                                                                             : KeepingChoice::AccountsFile;
}

QHash<AccountField, QString> accountProblems(const AccountData &account, const AccountOptions &options,
                                             const QStringList &taken)
{
    QHash<AccountField, QString> problems;
    const auto add = [&problems](AccountField field, const QString &problem) {
        if (!problem.isEmpty() && !problems.contains(field))
            problems.insert(field, problem);
    };
    if (account.name.trimmed().isEmpty())
        add(F::Name, words(WORDS("The account needs a name.")));
    if (taken.contains(account.name))
        add(F::Name, words(WORDS("Another account is called so already.")));
    if (holdsSeparator(account.name))
        add(F::Name, words(WORDS("The name cannot hold tabs or line ends.")));
    if (!account.address.isEmpty() && !account.address.contains(u'@'))
        add(F::Address, words(WORDS("A mail address has an @ in it.")));
    if (holdsSeparator(account.address))
        add(F::Address, words(WORDS("The address cannot hold tabs or line ends.")));
    if (account.kind == BatchFile) {
        if (account.host.isEmpty() || holdsSeparator(account.host))
            add(F::File, words(WORDS("Choose the file that the other program fills.")));
        else if (QFileInfo(account.host).isDir())
            add(F::File, words(WORDS("This is a directory; a file is needed.")));
        return problems;
    }
    add(F::Host, hostProblem(account.host));
    if (holdsSeparator(account.user))
        add(F::User, words(WORDS("The user cannot hold tabs or line ends.")));
    if (encryptionOf(account) == Encryption::None && account.has(AccountNeedsEncryption) &&
        !isThisMachine(account.host))
        add(F::NeedsEncryption,
            words(WORDS(
                "Without encryption Velmar never logs in while it is required. Choose an encryption.")));
    if (!options.caFile.isEmpty() && !QFileInfo(options.caFile).isReadable())
        add(F::CaFile, words(WORDS("This file cannot be read.")));
    return problems;
}

QHash<AccountField, QString> accountWarnings(const AccountData &account)
{
    QHash<AccountField, QString> warnings;
    if (account.isNetwork() && encryptionOf(account) == Encryption::None && !isThisMachine(account.host))
        warnings.insert(F::Encryption,
                        words(WORDS("Everybody on the way can read the password and all mail.")));
    if (account.kind == Pop3 && !account.has(AccountLeaveOnServer))
        warnings.insert(F::LeaveOnServer,
                        words(WORDS("Fetched mail is then only on this computer: think of a backup.")));
    return warnings;
}
