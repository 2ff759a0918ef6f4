#pragma once

#include "engine/operationtask.h"

#include <QObject>

#include <functional>
#include <memory>

class GroupStore;
class TaskRunner;
class Tags;

/// Everything a user does to messages, wherever they are: messages of several groups at once. All of it but
/// deleting for good is entered into the journal and can be taken back.
///
/// Up to kAtOnce messages are done before the call returns; more are a task that goes before other long work.
/// Either way done() follows. References that are gone are passed over; those that moved meanwhile are found
/// as far as the journal knows.
class MessageOperations : public QObject
{
    Q_OBJECT

public:
    static constexpr std::size_t kAtOnce = 20;

    /// Everything must outlive this.
    MessageOperations(GroupStore &store, const Tags &tags, UndoJournal &journal, TaskRunner &tasks);
    ~MessageOperations() override;

    void move(const MessageRefs &messages, Group &target);
    void copy(const MessageRefs &messages, Group &target);

    /// To the waste basket; for good where that is not the way. The user is to be asked first about the
    /// messages of lostByRemoving().
    void remove(const MessageRefs &messages);
    MessageRefs lostByRemoving(const MessageRefs &messages) const;

    /// Cannot be undone: the user is to be asked first.
    void removeForGood(const MessageRefs &messages);

    /// To the group of the archive, which is made when there is none.
    void archive(const MessageRefs &messages);

    /// Marks them as junk, and as read where `MarkJunkAsRead` says so, and moves them there; or takes the
    /// mark off and moves what is in the junk group back where it came from (to the inbox when that is gone).
    void junk(const MessageRefs &messages, bool isJunk);

    void mark(const MessageRefs &messages, Marks set, Marks clear);
    void setTags(const MessageRefs &messages, quint32 set, quint32 clear);

    /// Everything in the group, or what is dated before @p before, in seconds since 1970 UTC.
    void markGroupRead(Group &group);
    void markReadBefore(Group &group, qint64 before);

    /// Takes the bits off every message of every group, without a way back; tagsDropped() follows.
    void dropTags(quint32 bits);

    void undo();
    void redo();

    UndoJournal &journal() { return m_journal; }

signals:
    void done(const OperationResult &result);

    /// No message has these bits any more.
    void tagsDropped(quint32 bits);

private:
    using Messages = std::shared_ptr<const MessageRefs>;

    MessageRefs byFate(const MessageRefs &messages, bool toBasket) const;
    std::unique_ptr<OperationTask> deed(Deed deed, const QString &place, qint64 expected);
    void addMove(OperationTask &task, const Messages &messages, int target);
    void addBits(OperationTask &task, const Messages &messages, BitsWork::Bits bits, int onlyIn = 0);
    void markFound(Group &group, std::function<bool(const Overview &)> wanted);
    void takeBack(OperationResult::Way way);
    void run(std::unique_ptr<OperationTask> task, qint64 messages);
    void queue(std::unique_ptr<OperationTask> task);
    void ended(const OperationTask &task);
    void cutJournal();

    GroupStore &m_store;
    UndoJournal &m_journal;
    TaskRunner &m_tasks;
    const Tags &m_tags;
    int m_waiting = 0; ///< operations in the queue
    int m_atWork = 0;
};
