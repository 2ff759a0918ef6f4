#pragma once

#include "engine/outboxfile.h"
#include "store/summary.h"

#include <QObject>

#include <map>
#include <optional>
#include <set>
#include <vector>

class Group;
class GroupStore;
class IdentityManager;

/// What becomes of messages that were sent: a copy of each, as it left, is stored; the message that was
/// answered is marked; then the message leaves the outbox, and its draft goes.
///
/// Each step can be done again: the journal names the copy before it is stored, so that after a crash it is
/// looked for instead of stored once more.
class SentFiling : public QObject
{
    Q_OBJECT

public:
    SentFiling(GroupStore &store, IdentityManager &identities, OutboxFile &file, QObject *parent = nullptr);

    /// Files the messages of @p tickets together. Those that cannot be filed now stay, after a report.
    void file(const std::vector<quint64> &tickets);

    /// Does what takes long of that for one of them, ahead of time. False: nothing is left to do so.
    bool prepareNext(const std::vector<quint64> &tickets);

    /// Completes what a crash interrupted.
    void recover(quint64 ticket);

    /// The text of a waiting message, also of one that was deleted just now; null when it is gone.
    QByteArray textOf(const OutboxRecord &record) const;

    /// Takes its message out of the outbox, unless another transport still needs it, and forgets it. False
    /// after a report: it waits as before.
    enum class Leaving {
        ToBasket, ///< whatever the settings say
        ForGood,
    };
    bool forget(quint64 ticket, Leaving how);

signals:
    void filed(quint64 ticket, MessageRef copy); ///< null where none is kept
    void draftSettled(int draft);                ///< nothing needs it any more
    void draftLacksCopy(int draft);              ///< it alone tells what was sent

private:
    struct Job
    {
        quint64 ticket;
        QByteArray sent; ///< as it left, until it is packed
        PackedMessage copy;
        Group *target = nullptr; ///< none: no copy is kept
    };

    std::optional<Job> collect(const OutboxRecord &record) const;
    bool pack(Job &job) const;
    static bool wasHandedOutSo(const OutboxRecord &record);
    std::optional<Job> prepare(const OutboxRecord &record) const;
    void forgetPrepared();
    std::optional<Job> takePrepared(const OutboxRecord &record);
    Group *targetOf(const OutboxRecord &record) const;
    bool keepsCopy(const OutboxRecord &record) const;
    bool announce(std::vector<Job> &jobs);
    bool store(const std::vector<Job> &jobs);
    quint32 findCopy(const SentCopy &copy) const;
    bool takeOut(const OutboxRecord &record, Leaving how);
    void fileTogether(std::vector<Job> jobs);
    void finish(const std::vector<quint64> &tickets);
    void settleDraft(const OutboxRecord &record, bool lacksCopy, const std::set<quint64> &done);
    void markOriginals(const OutboxRecord &record) const;
    MessageRefs placesOf(const OutboxOriginal &original) const;
    bool isNeededElsewhere(const OutboxRecord &record, const std::set<quint64> &except = {}) const;

    GroupStore &m_store;
    IdentityManager &m_identities;
    OutboxFile &m_file;
    std::optional<Job> m_collected; ///< and not packed yet
    std::map<quint64, Job> m_prepared;
    qint64 m_preparedBytes = 0;
};
