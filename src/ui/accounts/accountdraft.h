#pragma once

#include "net/accountdata.h"
#include "net/discovery/mailsettings.h"
#include "net/questions.h"

#include <optional>

class AccountManager;

/// An account that is being set up and not saved yet.
struct AccountDraft
{
    AccountKind kind = AccountKind::Pop3;
    QString person;  ///< the name that others see; may be empty
    QString name;    ///< as shown in lists
    QString address; ///< the mail address
    QString password;
    PasswordKeeping keeping = PasswordKeeping::AccountsFile; ///< ThisRun: asked for each time
    MailServer server;
    bool isOpen = false;                     ///< the server was tried and asks nobody to sign in
    bool leaves = true;                      ///< what is fetched stays on the server
    int daysOnServer = 0;                    ///< and for how many days; 0: for good
    int interval = 10;                       ///< minutes between two fetches; 0: only by hand
    int identity = 0;                        ///< who answers its mail, or whose mail it sends; 0: the default
    QString file;                            ///< of a batch-file account
    std::optional<CertificateInfo> accepted; ///< whatever its problems
};

/// What the accounts file will hold, but for number and password.
AccountData accountDataOf(const AccountDraft &draft);

/// @p wanted, or "wanted 2" and so on where that name is taken.
QString freeAccountName(const QString &wanted, const AccountManager &accounts);

/// What the account that sends is called beside the one named @p incoming.
QString outgoingAccountName(const QString &incoming);

/// What is wrong with the draft's name or its other texts, in a sentence; empty: nothing.
QString draftProblem(const AccountDraft &draft, const AccountManager &accounts);

/// Enters the account and saves it, its password and the certificate that was accepted. Its number; 0 after
/// a report: nothing of it was made.
int makeAccount(const AccountDraft &draft, AccountManager &accounts);

/// The same for an account that sends what the one of @p draft answers.
AccountDraft outgoingDraftOf(const AccountDraft &draft);

/// Whether the user may be asked to send the password there: over TLS, or to this machine itself.
bool mayTryLogin(const MailServer &server);
