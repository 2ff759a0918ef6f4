#pragma once

#include "engine/messagework.h"
#include "engine/task.h"

#include <deque>

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

/// An operation on messages: works in a row, and the journal's entry about them. One that takes a step back,
/// or does it again, looks at the journal when it begins, so that it finds the step of the one before it.
class OperationTask : public Task
{
    Q_OBJECT

public:
    using Way = OperationResult::Way;

    /// A deed; works follow by add(). @p place is for its words, @p expected the number of messages for its
    /// title.
    OperationTask(GroupStore &store, UndoJournal &journal, Deed deed, const QString &place, qint64 expected);

    /// The next step of the journal, back or again.
    OperationTask(GroupStore &store, UndoJournal &journal, Way way);

    void add(std::unique_ptr<MessageWork> work);

    bool movesMessages() const;

    /// It is neither entered into the journal nor told of.
    void setQuiet() { m_isQuiet = true; }

    QString title() const override;
    qint64 done() const override;
    qint64 total() const override { return m_expected; }

    const OperationResult &outcome() const { return m_result; }

protected:
    State work(int milliseconds) override;
    State halt() override;

private:
    bool begin();
    void plan(const UndoStep &step);
    void planBack(const UndoChange &change);
    void planAgain(const UndoChange &change);
    void endWork();
    State finish(State state);
    void countUp();
    void enter();
    QString inWords() const;

    GroupStore &m_store;
    UndoJournal &m_journal;
    std::deque<std::unique_ptr<MessageWork>> m_works; ///< the one at work first
    UndoStep m_step;
    OperationResult m_result;
    qint64 m_expected = 0;
    qint64 m_removed = 0; ///< for good
    bool m_begun = false;
    bool m_isQuiet = false;
};
