#pragma once

#include "engine/outboxentry.h"
#include "engine/outboxfile.h"
#include "engine/sendoff.h"
#include "engine/sentfiling.h"
#include "net/outgoingqueue.h"

#include <QObject>
#include <QTimer>

#include <deque>
#include <functional>
#include <map>
#include <vector>

class Group;
class IdentityManager;

/// The messages that wait to be sent: the group of the outbox, what is known of each, and the order in which
/// senders get them. Nothing is sent twice, whenever the program ends.
///
/// Who deletes a message from the group gives it up. What is known of it is kept: where it comes back, by an
/// undo, it waits again as it did.
class Outbox : public QObject, public OutgoingQueue
{
    Q_OBJECT

public:
    Outbox(GroupStore &store, AccountManager &accounts, IdentityManager &identities,
           QObject *parent = nullptr);
    ~Outbox() override;

    /// Reads what is known of the waiting messages; a countdown begins again, what was "sending" is perhaps
    /// sent, and what was accepted is filed. draftSettled() and its like come from within; perhapsSent() soon
    /// after. What was being taken back waits for the user, unless its draft was kept already.
    void load();

    /// Files what was accepted. For the end of a run, after the senders.
    void finish();

    /// Looks at the time: countdowns, dates and further tries. Once a second.
    void tick();

    /// Stores @p message (buildMessage(), for sending) and lets it wait. Its ticket, the first of two where
    /// it is both mailed and posted; 0 after a report: nothing is stored, the draft stays. That happens also
    /// to a message without any recipient, to a post while there is no account for news, and to what is to
    /// be encrypted and is not. accountMissing() follows where there is no account for its mail.
    quint64 add(const QByteArray &message, int identity, const SendWish &wish);

    const std::vector<OutboxEntry> &entries() const; ///< holds until something changes
    const OutboxEntry *entry(quint64 ticket) const;  ///< null when there is none; the same
    const OutboxEntry *entryAt(MessageRef place) const;

    /// False: the journal cannot be read, and nobody knows in this run what waits.
    bool isReadable() const { return m_file.isReadable(); }

    /// Whether a message waits that was written as that draft: it is not lost and not to be offered again.
    bool holdsDraft(int draft) const;

    /// Whether the message at @p place was taken back for good: what is edited now is its draft, and it lies
    /// there only until it is filed for those who got it, or can be deleted. It is no entry any more.
    bool hasLetGo(MessageRef place) const;

    /// Takes a message back as long as it is not on its way: it is edited again; its text, control headers
    /// included, with the recipients that were not served. What some were served of is filed. Null: too late,
    /// or after a report.
    ///
    /// Before anything is forgotten, @p keep gets that text and sees to it that it is on the disk as a draft;
    /// where it answers false, the message waits as before. Without it, and without a draft, the message goes
    /// to the waste basket, so that it is not lost.
    ///
    /// @p notice, for people: why it was not taken back; else what is gone already and is not sent again (of
    /// a message that is both mailed and posted the half that went: then the text has no recipients, or no
    /// newsgroups, any more). Empty: there is nothing to say.
    using Keep = std::function<bool(const QByteArray &text)>;
    QByteArray takeBack(quint64 ticket, const Keep &keep = {}, QString *notice = nullptr);

    /// Where the message stands, why it waits and until when: a line for people, never empty while it is
    /// there. It changes with changed() and, while something is counted down, with each second.
    QString status(quint64 ticket) const;
    QString statusAt(MessageRef place) const; ///< a line for each of its entries; empty: none waits there

    /// Out of its countdown, its date, its refusal, its doubt; whatever `AutoSend` says, and nothing but it.
    void sendNow(const QList<quint64> &tickets);
    void sendNow(quint64 ticket) { sendNow(QList{ticket}); }
    bool holdUntil(quint64 ticket, qint64 due); ///< seconds since 1970 UTC; false: it waits as before
    void settleAsSent(quint64 ticket);          ///< the user knows that a "perhaps sent" one was sent

    /// Seconds for which a message can be taken back; 0: it goes at once.
    static int undoDelay();
    static void setUndoDelay(int seconds);

    /// The outgoing account of an identity: the one that names it, else one that was let serve it, else of
    /// those that name none the one of its address, or the first; 0: there is none, or nobody can tell
    /// because the identities cannot be read. 0 stands for the default identity; one that was deleted is
    /// nobody else.
    int accountFor(int identity) const;

    /// Where that is 0: an outgoing account that names another identity, or one that was deleted, and could
    /// send for this one, too. It does once the user let it: letServe(). 0: there is none.
    int otherAccountFor(int identity) const;
    bool letServe(int account, int identity); ///< what waits is assigned to it; false after a report

    /// Sends what may go, through every account that something waits for: with @p manual ("Send waiting", F5)
    /// all of it, else what goes by itself (`AutoSend`, a date that has come, a further try) or was asked for
    /// before.
    void sendWaiting(bool manual);

    /// @name OutgoingQueue
    /// accepted() and refused() are on the disk with the next sending(), or some milliseconds later; what a
    /// power cut takes before is perhaps sent. Nothing is filed before.
    /// @{
    int waiting(int account) const override;
    std::optional<OutgoingMessage> next(int account) override; ///< offline: none; what is on its way arrives
    bool hasRoom(quint64 ticket) override;
    bool sending(quint64 ticket, const QList<QByteArray> &recipients) override;
    void accepted(quint64 ticket, const QList<QByteArray> &recipients) override;
    void refused(quint64 ticket, const QList<OutgoingRefusal> &refusals) override;
    void release(quint64 ticket, const QString &reason) override;
    void handBack(quint64 ticket) override;
    /// @}

signals:
    void changed();                                  ///< entries(); many at once
    void sent(quint64 ticket, MessageRef copy);      ///< all recipients; copy is null where none is kept
    void failed(quint64 ticket, const QString &why); ///< some or all refused it, and it waits for the user
    void perhapsSent(quint64 ticket);
    void draftSettled(int draft);   ///< it was sent, its copy is stored, where one was wanted
    void draftLacksCopy(int draft); ///< it was sent, but its text was damaged before it was copied
    void draftReturned(int draft);  ///< the user gave its message up: it is no longer on its way, and closed
    void accountMissing(int identity); ///< something waits, and no outgoing account is for it

private:
    std::optional<OutboxRecord> recordFor(const QByteArray &text, int identity, const SendWish &wish) const;
    std::vector<OutboxOriginal> originalsOf(const SendWish &wish) const;
    QString refusalOf(const QByteArray &text, const SendWish &wish, bool isNews) const;
    quint64 enter(OutboxRecord record, OutboxTransport transport, const QList<QByteArray> &recipients);
    bool storeText(const QByteArray &text, const std::vector<quint64> &tickets);
    int accountFor(const OutboxRecord &record) const;
    int newsAccount() const;
    void assignAccount(OutboxRecord &record);
    void assignAccounts();

    void doubtEverything();
    void lookUp(quint64 ticket);
    void lookForAway(OutboxRecord &record);
    void adoptAll(OutboxFile::Found found);
    void adopt(quint32 article, bool isDoubtful);
    void doubt(OutboxRecord &record, const QString &reason);

    struct Taking
    {
        std::vector<quint64> tickets; ///< those that wait no more
        QByteArray text;              ///< null: it cannot be
        QString notice;
    };
    Taking lookAtTaking(quint64 ticket) const;
    bool markTaken(const std::vector<quint64> &tickets);
    void unmarkTaken(const std::vector<quint64> &tickets);
    void letGo(const std::vector<quint64> &tickets, bool isKept);
    void completeTaking();
    void followGroup();
    void messagesRemoved(const std::vector<quint32> &articles);
    void sendAway(OutboxRecord &record);
    void rescueDoubtful(const std::vector<quint32> &articles);
    bool cameBack(quint32 article);
    void giveUp(int draft);

    QString waitingStatus(const OutboxRecord &record) const;
    QString accountStatus(const OutboxRecord &record) const;

    /// The tickets that an account's sender gets, in their order, as they were at a time.
    struct Ready
    {
        qint64 at = 0; ///< seconds since 1970 UTC
        std::deque<quint64> tickets;
    };
    OutboxRecord *nextReady(int account);
    std::deque<quint64> readyTickets(int account, qint64 now) const;
    std::optional<OutgoingMessage> lease(OutboxRecord &record);

    bool isWanted(const OutboxRecord &record) const;
    bool isReady(const OutboxRecord &record, qint64 now) const;
    void cannotWrite(OutboxRecord &record);
    void askAll(int account);
    void fetchStarted(const Account *account);
    void keepInClear(OutboxRecord &record);
    void putOff(OutboxRecord &record);
    void released(OutboxRecord &record, const QString &reason);
    void settle(quint64 ticket);
    QDateTime localTime();
    void prepareSettled();
    void endLease(quint64 ticket, const std::function<void(OutboxRecord &)> &unserved);
    void fileSettled();
    void endLeases(int account, const QString &reason);
    Group &group() const;
    void touched();

    GroupStore &m_store;
    AccountManager &m_accounts;
    IdentityManager &m_identities;
    OutboxFile m_file;
    SentFiling m_filing;
    Sendoff m_sendoff;
    mutable std::vector<OutboxEntry> m_entries;
    mutable bool m_isStale = true;
    std::vector<quint64> m_settled; ///< accepted, and to be filed
    std::vector<quint64> m_untold;  ///< perhaps sent, found at the start
    std::map<int, Ready> m_ready;   ///< by account
    QTimer m_syncing;
    QTimer m_fileSoon;
    QTimer m_prepareSoon;
    QTimer m_telling;
    QDateTime m_localTime;
    qint64 m_lastTick = 0;
    qint64 m_fileAgain = 0;   ///< after a failure
    qint64 m_forgetAgain = 0; ///< what was let go and could not be; 0: there is none
    bool m_isOwnChange = false;
    bool m_wasOnline = false;
};
