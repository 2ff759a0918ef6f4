#pragma once

#include "net/fetcher.h"
#include "net/mailreceiver.h"
#include "net/pop3/dottext.h"
#include "net/pop3/popbodyrequest.h"
#include "net/pop3/popinput.h"
#include "net/pop3/poplisting.h"

#include <QElapsedTimer>
#include <QSet>
#include <QTimer>

#include <array>
#include <deque>
#include <memory>
#include <vector>

class IdentifierList;
class PopBatch;
class PopMemory;
class PopPlan;
class PopTransfer;
struct PopCommand;
struct PopItem;
struct PopRecord;

/// What a POPFetcher is for.
enum class PopTask {
    Fetch,     ///< log in, list, fetch what is new, delete what is due, quit
    Bodies,    ///< stay connected and serve requests for single messages
    LoginTest, ///< log in, count, quit; nothing is fetched, stored, remembered or deleted
};

/// The POP3 client of an account (RFC 1939, 2449, 2595).
class POPFetcher : public Fetcher
{
    Q_OBJECT

public:
    /// @p receiver takes over what arrives; null for a login test only.
    POPFetcher(Account &account, PopTask task, std::unique_ptr<MailReceiver> receiver,
               QObject *parent = nullptr);
    ~POPFetcher() override;

    bool start() override;

    /// True between two requests of PopTask::Bodies. After 60 s of it the session winds up, because it holds
    /// the mailbox's lock.
    bool isIdle() const override { return m_state == State::Idle; }

    /// Starts nothing new, stores what has arrived whole, says QUIT where no reply is outstanding and else
    /// closes the connection; reason 1. The end may be told before this returns.
    void stop() override;

    /// Adds a request; PopTask::Bodies only, also before start(). False: this session takes none any more.
    bool request(const POPFetcherBodyRequest &request);

    /// Takes back the request for @p identifier where it is not being served yet; nothing is told of it.
    void forget(const QByteArray &identifier);

    /// Messages in the mailbox; -1 before the server told.
    int messageCount() const { return m_count; }

    /// Whether the session ended because the server refused the name or the password.
    bool isLoginRefused() const { return m_loginRefused; }

signals:
    /// One of both for every request that request() took, but for those that were taken back.
    void bodyFetched(const POPFetcherBodyRequest &request);
    void bodyFailed(const POPFetcherBodyRequest &request, const QString &reason);

    /// The message named @p identifier is larger than `PreviewDeleteSize`, of it only the header was stored,
    /// and the user may want it deleted on the server (IdentifierList).
    void deletionProposed(const QByteArray &identifier, qint64 size);

protected slots:
    void slotConnected() override;
    void slotConnectionError(int code) override;
    void slotLineAvailable(const QString &line) override;
    void slotBlockAvailable(const QByteArray &block) override;
    void slotLineTooLong() override;
    void slotConnectionClosed() override;
    void slotTimeout() override;

private slots:
    void slotIdleForLong();
    void slotBatchIsOld();

private:
    enum class State {
        Connecting,
        Greeting,
        Capa,
        CapaList,
        Stls,
        Handshake,
        Apop,
        User,
        Pass,
        Stat,
        Uidl,
        UidlList,
        List,
        SizeList,
        Transfer,
        Idle,
        BodyUidl,
        BodyUidlList,
        BodySizes,
        BodySizeList,
        BodySize,
        BodyText,
        Quit,
        Ended,
    };
    struct Step
    {
        State state;
        const char *awaits; ///< for the log and for people
        void (POPFetcher::*onLine)(const QByteArray &line);
    };
    static const std::array<Step, std::size_t(State::Ended) + 1> s_steps;
    const Step &step() const { return s_steps[std::size_t(m_state)]; }

    /// @name The dialogue
    /// @{
    void say(const QByteArray &command, State next, const QByteArray &shown = {});
    void hear(const QByteArray &line);
    void readBlocks();
    void end(AccountFetchReason reason, const QString &detail = {});
    void endWithReply(const QByteArray &line);
    void endOfEndless();
    void quit();
    /// @}

    /// @name Up to the login
    /// @{
    void greeting(const QByteArray &line);
    void capaReply(const QByteArray &line);
    void capaLine(const QByteArray &line);
    void stlsReply(const QByteArray &line);
    void apopReply(const QByteArray &line);
    void userReply(const QByteArray &line);
    void passReply(const QByteArray &line);
    void lookAtEncryption();
    void logIn();
    void sayUser();
    void refuseLogin(const QByteArray &line);
    void loggedIn();
    /// @}

    /// @name A fetch
    /// @{
    void statReply(const QByteArray &line);
    void uidlReply(const QByteArray &line);
    void uidlLine(const QByteArray &line);
    void listReply(const QByteArray &line);
    void sizeLine(const QByteArray &line);
    void transferReply(const QByteArray &line);
    void beginTransfer();
    void goOn();
    void sayNext(const PopCommand &command);
    void topRefused();
    void retrRefused(const QByteArray &line);
    void transferText(const QByteArray &text);
    void headerLookedAt(PopItem &item, const QByteArray &header);
    bool keep(int item, const QByteArray &text, const QByteArray &header, bool isHeader);
    bool finishBatch();
    void settle();
    void confirmDeletions();
    QList<QByteArray> deletionsDone();
    void tellOfUndone(const QStringList &names);
    QString hungUpAtMessage();
    void showTransfer(const PopCommand &command);
    void showProgress(bool now);
    /// @}

    /// @name Requests for bodies
    /// @{
    void serveNext();
    void bodyUidlReply(const QByteArray &line);
    void bodyUidlLine(const QByteArray &line);
    void bodySizesReply(const QByteArray &line);
    void bodySizesLine(const QByteArray &line);
    void bodySizeReply(const QByteArray &line);
    void bodyReply(const QByteArray &line);
    void bodyText(const QByteArray &text);
    void tryCandidate();
    const PopRecord *wanted() const;
    qint64 sizeOf(const POPFetcherBodyRequest &request) const;
    qint64 soughtSize() const;
    PopRecord noteBodyRefused();
    void beginServing();
    void served();
    void showBodies(bool now);
    void failRequest(const QString &reason);
    bool finishBodies();
    void failAll(const QString &reason);
    /// @}

    void quitReply(const QByteArray &line);
    static bool isPositive(const QByteArray &line) { return line.startsWith("+OK"); }
    void nothingAwaited(const QByteArray &line);
    void ignore(const QByteArray &) {}

    bool loadMemory();
    void keepMemory();
    void beginText(qint64 size);
    void textComplete();
    void textTooLong();
    void addTrouble(const QString &text);

    const PopTask m_task;
    const std::unique_ptr<MailReceiver> m_receiver;
    std::unique_ptr<PopMemory> m_memory;
    std::unique_ptr<PopBatch> m_batch;
    State m_state = State::Connecting;
    AccountFetchReason m_reason = AccountFetchReason::None; ///< that the session will end with
    QString m_detail;
    bool m_loginRefused = false;
    bool m_received = false;

    QByteArray m_user;
    QByteArray m_password;
    QByteArray m_stamp; ///< of the greeting, with its brackets; empty: there is none
    QSet<QByteArray> m_capabilities;
    int m_count = -1;
    qint64 m_listed = 0; ///< lines of a list so far
    int m_patience = 0;  ///< milliseconds

    PopInput m_input;
    DotText m_text;
    QTimer m_slice;     ///< goes on with what was left of a block
    QTimer m_batchTime; ///< since the first message of a batch
    QTimer m_idleTime;
    bool m_inText = false;
    bool m_isClosed = false;     ///< by the server
    bool m_bareLineEnds = false; ///< the last line ended with "\n" alone

    PopListing m_listing;
    std::unique_ptr<IdentifierList> m_toFetch;
    std::unique_ptr<IdentifierList> m_toDelete;
    std::unique_ptr<PopPlan> m_plan;
    std::unique_ptr<PopTransfer> m_transfer;
    std::vector<int> m_deleted;   ///< items for which DELE was accepted
    QSet<QByteArray> m_fulfilled; ///< wishes of this session
    bool m_isSettled = false;     ///< every wish was looked at
    int m_done = 0;
    qint64 m_doneBytes = 0;
    QElapsedTimer m_sinceStatus;
    QElapsedTimer m_sinceProgress;

    std::deque<POPFetcherBodyRequest> m_requests;
    std::vector<POPFetcherBodyRequest> m_inBatch;
    POPFetcherBodyRequest m_request;
    std::deque<int> m_candidates; ///< numbers of messages that may be the one
    QSet<QByteArray> m_listedNames;
    qint64 m_bodySize = -1;
    qint64 m_wantedBytes = 0; ///< of all requests since it was idle, as far as known
    int m_wanted = 0;         ///< the same requests
    bool m_isServing = false;
};
