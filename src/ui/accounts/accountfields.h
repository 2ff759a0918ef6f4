#pragma once

#include "net/accountdata.h"
#include "net/accountoptions.h"
#include "net/questions.h"

#include <QHash>
#include <QString>

#include <span>

/// What the account editor shows, as a table: which field, for which kinds of accounts, under which title,
/// and what of the account it changes. A field exists in no other place.

enum class AccountSection { General, Server, Login, Fetching, Sending, OnServer, Delivery, Certificates };
constexpr int kAccountSections = int(AccountSection::Certificates) + 1;

QString sectionTitle(AccountSection section);

enum class AccountField {
    Name,
    Address,
    File,
    Host,
    Encryption,
    Port,
    NeedsEncryption,
    User,
    Password,
    Keeping,
    Apop,
    Interval,
    LeftOut,
    SizeLimit,
    Connections,
    Chained,
    LeaveOnServer,
    DaysOnServer,
    DeletesAlong,
    Group,
    Identity,
    Unfiltered,
    JunkTest,
    NoServerMoves,
    CaFile,
    Accepted,
};

enum class FieldControl {
    Line,   ///< a line of text
    Check,  ///< a flag
    Amount, ///< a check box and a number, which is 0 when it is off
    Choice, ///< a number that stands for something else
    Own,    ///< built by hand
};

struct AccountFieldRow
{
    AccountField field;
    FieldControl control;
    AccountSection section;
    unsigned kinds;    ///< bits by AccountKind
    const char *label; ///< before the control
    const char *words; ///< of a check box; of an amount with %1 for its place
    quint32 flag = 0;
    QString AccountData::*text = nullptr;
    int AccountData::*number = nullptr;
    int proposed = 0; ///< an amount that was off begins with
    int most = 0;
};

std::span<const AccountFieldRow> accountFields();
const AccountFieldRow &rowOf(AccountField field);

enum class Encryption { None, StartTls, Tls };

Encryption encryptionOf(const AccountData &account);
void setEncryption(AccountData &account, Encryption encryption);

/// The port that servers of @p kind listen on with @p encryption; 0 where there is none.
int usualPort(AccountKind kind, Encryption encryption);

enum class KeepingChoice { Keyring, AccountsFile, Ask };

KeepingChoice keepingOf(const AccountData &account);

/// What is wrong with @p account, by field, in sentences; empty: nothing. @p taken are the names of the
/// others.
QHash<AccountField, QString> accountProblems(const AccountData &account, const AccountOptions &options,
                                             const QStringList &taken);

/// What the user should know although it may be so, by field.
QHash<AccountField, QString> accountWarnings(const AccountData &account);
