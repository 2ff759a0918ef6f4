#pragma once

#include "engine/undojournal.h"
#include "store/group.h"

#include <QObject>

#include <functional>
#include <memory>

class GroupStore;
class OperationTask;
class TaskRunner;

/// What came of an operation on messages.
struct OperationResult
{
    enum class Way { Done, Undone, Redone };
    Way way = Way::Done;
    Deed deed = Deed::Move;
    qint64 count = 0;     ///< messages it was done to
    qint64 skipped = 0;   ///< messages that are gone, or that it could not be done to
    QString text;         ///< "3 messages moved to Archive", for the quiet line; empty when nothing was done
    MessageRefs messages; ///< where they are now; empty for those that were deleted for good
    bool canUndo = false;
};

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
    MessageOperations(GroupStore &store, UndoJournal &journal, TaskRunner &tasks);

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

    /// Takes the bits off every message of every group, without a way back; @p then is called at the end.
    void dropTags(quint32 bits, std::function<void()> then);

    void undo();
    void redo();

    UndoJournal &journal() { return m_journal; }

signals:
    void done(const OperationResult &result);

private:
    void run(std::unique_ptr<OperationTask> task, qint64 messages);

    GroupStore &m_store;
    UndoJournal &m_journal;
    TaskRunner &m_tasks;
};
