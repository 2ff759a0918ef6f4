#pragma once

#include "net/accountdata.h"
#include "net/accountfetchrequest.h"
#include "net/accountoptions.h"
#include "net/fetcherfactory.h"
#include "net/fetchreason.h"
#include "net/questions.h"
#include "net/transfererrors.h"

#include <QObject>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

class AccountDesk;
class AccountManager;
class Fetcher;
class LogFile;

/// What became of a request to fetch.
enum class FetchAnswer {
    Nothing, ///< it is dropped: left out, offline, fetching already, or all fetches are blocked
    Waiting, ///< for its turn; fetchEnded() comes, or fetchDropped() when it will not begin
    Begun,   ///< fetchEnded() comes, perhaps it came already
};

/// What about an account wants the user's attention; quietly, until somebody looks after it.
enum class AccountMark {
    None,
    Failed,             ///< the last fetch did, and nobody was shown a box
    CertificateRefused, ///< an unattended fetch met a certificate that only a person can accept
    PasswordWanted,     ///< an unattended fetch found no password; it does not try again by itself
    LoginRefused,       ///< by the server; it does not try again by itself
};

/// One configured server and what goes on with it now. Owned by the AccountManager; what holds one for long
/// holds it by QPointer. One with the number 0 is in no list, for a trial, and leaves nothing on the disk.
class Account : public QObject
{
    Q_OBJECT

public:
    Account(AccountManager &manager, const AccountData &data);
    ~Account() override;

    const AccountData &data() const { return m_data; }
    int number() const { return m_data.number; }
    QString name() const { return m_data.name; }
    AccountKind kind() const { return m_data.kind; }
    AccountManager &manager() const { return m_manager; }

    /// Read from its file at the first use.
    const AccountOptions &options() const;

    /// Writes them at once (those of number 0 nowhere). False after a report: the earlier ones hold.
    bool setOptions(const AccountOptions &options);

    /// Bytes of the largest message that the server of a sender takes, as it said last; 0: nobody knows.
    qint64 largestMail() const { return options().largestMail; }

    /// Starts a fetch (a sender: a send). @p manual: the user asked for it, and may be asked; @p
    /// allConnections: not only one. The account that is chained to it fetches along, as by the user.
    FetchAnswer fetch(bool manual, bool allConnections);

    /// Begins a session that serves requests for single messages; it does not count as a fetch and waits for
    /// no turn. True: one runs or will, and sessionEnded() comes. False: there can be none now, because the
    /// program is offline or closing, or the account fetches. @p attended: the user may be asked.
    bool openSession(bool attended);
    Fetcher *session() const { return m_session; } ///< null while none runs

    /// Whether a session serves requests, or is about to: from servingStarted() to servingEnded(). It does
    /// not while it only holds its connection.
    bool isServing() const { return m_isServing; }

    /// Ends what runs or waits, at the next safe point.
    void stop();

    int runningFetchers() const { return int(m_fetchers.size()); }
    bool isFetching() const { return m_fetching; } ///< from fetchStarted() to fetchEnded()
    const std::vector<Fetcher *> &fetchers() const { return m_fetchers; }
    QString status() const { return m_status; }
    qint64 lastFetch() const
    {
        return m_lastFetch;
    } ///< when one began: seconds since 1970; 0: not in this run

    /// How the last fetch ended: the reason of its first failure. While one runs, how it stands.
    AccountFetchReason outcome() const { return m_reason; }

    /// Of the last fetch.
    const std::vector<TransferError> &errors() const { return m_errors; }

    AccountMark mark() const { return m_mark; }
    QString markText() const { return m_markText; } ///< what a person is told about it

    /// The SHA-256 of the certificate that was refused last because nobody was asked; empty: none was.
    QByteArray refusedCertificate() const { return m_refusedCertificate; }
    void clearMark();

    /// @name For its clients
    /// @{

    /// The password to log in with; empty: there is none, and nobody tries.
    QString password() const;

    /// Puts a certificate that has problems before the user, once for all connections that wait for it.
    /// @p answer is called once, perhaps from within, and not at all once @p context is gone.
    void judge(const CertificateReport &report, bool attended, QObject *context,
               std::function<void(bool accept)> answer);

    /// The server refused user or password: no fetch by itself until somebody acted, and the next question
    /// for the password shows @p reply.
    void loginRefused(const QString &reply);

    /// The server takes messages of at most so many bytes; 0: it names no limit.
    void noteLargestMail(qint64 bytes);

    /// Whether commands may go behind a final dot: not any more in this run, once the server broke off there.
    bool takesCommandsEarly() const { return m_takesCommandsEarly; }
    void noteBreakBehindDot() { m_takesCommandsEarly = false; }
    /// @}

    /// Makes @p password the one that counts and keeps it as @p keeping says, for a window as for an answer.
    void keepPassword(const QString &password, PasswordKeeping keeping);

    /// Adds a line to the account's log, where logs are kept (`EnableLogging`), and to that of the program
    /// under `GlobalLogIncludesFetchers`. Made harmless and without secrets; one line it stays.
    void log(const QString &text);
    bool isLogged() const; ///< whether log() keeps anything
    void flushLog();

    /// @p text without this account's password, should a server repeat it.
    QString withoutSecrets(const QString &text) const;

    /// The same of what a server said, short enough for people, its lines without controls.
    QString presentable(const QString &reply) const;

signals:
    void statusChanged(const QString &text);
    void progressed(qint64 bytesDone, qint64 bytesTotal, int done, int total);
    void fetchStarted();

    /// All of its clients have ended: the reason and detail of the first failure, if there was one. Once for
    /// every fetchStarted().
    void fetchEnded(AccountFetchReason reason, const QString &detail);

    /// A request that waited for its turn will not begin.
    void fetchDropped();
    void sessionEnded(AccountFetchReason reason, const QString &detail);

    /// @name A session at work; one session may serve many times, and is no fetch
    /// @{
    void servingStarted();

    /// It is idle, with None, or has ended.
    void servingEnded(AccountFetchReason reason, const QString &detail);
    /// @}
    void fetchersChanged(); ///< how many run
    void markChanged();

public slots:
    void slotFetchComplete(Fetcher *fetcher, bool received);
    void slotFetchError(Fetcher *fetcher, AccountFetchReason reason, const QString &detail, bool received);

private:
    friend class AccountManager;
    friend class AccountDesk;

    /// What is being done on the way to a client; nothing else begins meanwhile.
    enum class Step {
        None,
        FetchLogin,   ///< a fetch waits for its password
        Launch,       ///< its clients are started, one after the other
        SessionLogin, ///< a session waits for its password
        Gone,         ///< for good: it leaves
    };
    void finish(Step step);

    FetchAnswer dispatch(const AccountFetchRequest &request);
    bool mayFetchBesideOthers() const;
    void windUpFor(const AccountFetchRequest &request);
    void begin(const AccountFetchRequest &request);
    void loggedIn(const AccountFetchRequest &request, AccountFetchReason failure, const QString &detail);
    void startClients(const AccountFetchRequest &request);
    void fetchAlong(const AccountFetchRequest &request);
    void startSession(bool attended, AccountFetchReason failure, const QString &detail);
    void launch(std::unique_ptr<Fetcher> fetcher, bool attended);
    void requestDropped();
    void recordFailure(AccountFetchReason reason, const QString &detail, bool attended);
    void ended(Fetcher *fetcher, AccountFetchReason reason, const QString &detail);
    void endFetch();
    void beginServing();
    void endServing(AccountFetchReason reason, const QString &detail);
    void sessionIdles();
    void setMark(AccountMark mark, const QString &text);
    void setData(const AccountData &data);
    void leave();

    AccountManager &m_manager;
    AccountData m_data;
    mutable std::optional<AccountOptions> m_options;
    std::unique_ptr<AccountDesk> m_desk;
    std::unique_ptr<LogFile> m_log;
    std::vector<Fetcher *> m_fetchers; ///< the session among them
    Fetcher *m_session = nullptr;
    std::vector<TransferError> m_errors;
    std::optional<AccountFetchRequest> m_next; ///< begins when the session that winds up has ended
    AccountFetchReason m_reason = AccountFetchReason::None; ///< of the fetch's first failure
    QString m_detail;                                       ///< the same
    QString m_status;
    QString m_markText;
    QByteArray m_refusedCertificate;
    AccountMark m_mark = AccountMark::None;
    qint64 m_lastFetch = 0;
    Step m_step = Step::None;
    bool m_fetching = false;
    bool m_isServing = false;
    bool m_takesCommandsEarly = true;
};
