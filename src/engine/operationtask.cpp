#include "engine/operationtask.h"

#include "config/clock.h"
#include "engine/storetasks.h"
#include "store/groupstore.h"

#include <algorithm>
#include <ranges>

OperationTask::OperationTask(GroupStore &store, UndoJournal &journal, Deed deed, const QString &place,
                             qint64 expected)
    : m_store(store)
    , m_journal(journal)
    , m_expected(expected)
    , m_begun(true)
{
    m_step.deed = m_result.deed = deed;
    m_step.place = place;
}

OperationTask::OperationTask(GroupStore &store, UndoJournal &journal, Way way)
    : m_store(store)
    , m_journal(journal)
{
    m_result.way = way;
}

void OperationTask::add(std::unique_ptr<MessageWork> work)
{
    m_works.push_back(std::move(work));
}

bool OperationTask::movesMessages() const
{
    return !m_begun || std::ranges::any_of(m_works, [](const auto &work) { return work->movesMessages(); });
}

QString OperationTask::title() const
{
    if (m_isQuiet)
        return tr("Taking a removed tag off its messages");
    const QString deed = deedInWords(m_step.deed, m_expected, m_step.place);
    switch (m_result.way) {
    case Way::Done: break;
    case Way::Undone: return m_begun ? tr("Undo %1").arg(deed) : tr("Undo");
    case Way::Redone: return m_begun ? tr("Redo %1").arg(deed) : tr("Redo");
    }
    return deed.left(1).toUpper() + deed.sliced(1);
}

qint64 OperationTask::done() const
{
    return m_works.empty() ? m_expected : qMin(m_works.front()->done(), m_expected);
}

Task::State OperationTask::work(int milliseconds)
{
    if (!m_begun && !begin())
        return finish(State::Done);
    if (m_works.empty())
        return finish(State::Done);
    switch (m_works.front()->step(milliseconds)) {
    case MessageWork::Progress::Working: return State::Working;
    case MessageWork::Progress::Done: endWork(); return State::Working;
    case MessageWork::Progress::Failed: break;
    }
    endWork();
    return finish(State::Failed);
}

Task::State OperationTask::halt()
{
    if (!m_works.empty()) {
        m_works.front()->settle();
        endWork();
    }
    return finish(State::Stopped);
}

/// Takes the step from the journal. False: there is none.
bool OperationTask::begin()
{
    const UndoStep *step = m_result.way == Way::Undone ? m_journal.nextUndo() : m_journal.nextRedo();
    if (!step)
        return false;
    m_begun = true;
    m_step.deed = m_result.deed = step->deed;
    m_step.place = step->place;
    m_expected = step->messages;
    plan(*step);
    return true;
}

void OperationTask::plan(const UndoStep &step)
{
    if (m_result.way == Way::Redone) {
        for (const UndoChange &change : step.changes)
            planAgain(change);
        return;
    }
    for (const UndoChange &change : std::views::reverse(step.changes))
        planBack(change);
}

void OperationTask::planBack(const UndoChange &change)
{
    const auto messages = std::make_shared<const MessageRefs>(
        change.kind == UndoChange::Kind::Copy ? change.copies : change.messages);
    switch (change.kind) {
    case UndoChange::Kind::Move: {
        const auto target = [source = change.source](const Overview &) { return source; };
        auto work = std::make_unique<MoveWork>(m_store, m_journal, messages, target);
        work->setOrigin(change.origin);
        return add(std::move(work));
    }
    case UndoChange::Kind::Copy: return add(std::make_unique<RemoveWork>(m_store, m_journal, messages));
    case UndoChange::Kind::Bits: break;
    }
    const BitsWork::Bits bits = {change.marksCleared, change.marksSet, change.tagsCleared, change.tagsSet};
    add(std::make_unique<BitsWork>(m_store, m_journal, messages, bits));
}

void OperationTask::planAgain(const UndoChange &change)
{
    const auto messages = std::make_shared<const MessageRefs>(change.messages);
    switch (change.kind) {
    case UndoChange::Kind::Move: {
        const auto target = [number = change.target](const Overview &) { return number; };
        return add(std::make_unique<MoveWork>(m_store, m_journal, messages, target));
    }
    case UndoChange::Kind::Copy:
        return add(std::make_unique<CopyWork>(m_store, m_journal, messages, change.target, change.copies));
    case UndoChange::Kind::Bits: break;
    }
    const BitsWork::Bits bits = {change.marksSet, change.marksCleared, change.tagsSet, change.tagsCleared};
    add(std::make_unique<BitsWork>(m_store, m_journal, messages, bits));
}

/// Takes down what the first of the works has done.
void OperationTask::endWork()
{
    MessageWork &work = *m_works.front();
    for (UndoChange &change : work.takeChanges())
        m_step.changes.push_back(std::move(change));
    const MessageRefs &reached = work.reached();
    m_result.messages.insert(m_result.messages.end(), reached.begin(), reached.end());
    m_removed += work.count() - qint64(reached.size());
    const qint64 skipped = work.skipped();
    m_result.skipped =
        m_result.way == Way::Done ? qMax(m_result.skipped, skipped) : m_result.skipped + skipped;
    m_works.pop_front();
}

Task::State OperationTask::finish(State state)
{
    m_works.clear();
    countUp();
    enter();
    // What was stopped, or failed, on the way back can be gone on with.
    if (state == State::Done && m_begun && m_result.way == Way::Undone)
        m_journal.undone();
    if (state == State::Done && m_begun && m_result.way == Way::Redone)
        m_journal.redone();
    m_result.text = inWords();
    return state;
}

/// Each message once, where the last of the works left it.
void OperationTask::countUp()
{
    MessageRefs &messages = m_result.messages;
    std::ranges::transform(messages, messages.begin(),
                           [this](MessageRef message) { return m_journal.whereNow(message); });
    if (!std::ranges::is_sorted(messages))
        std::ranges::sort(messages);
    messages.erase(std::unique(messages.begin(), messages.end()), messages.end());
    m_result.count = qint64(messages.size()) + m_removed;
    if (m_result.way != Way::Done)
        m_result.skipped = qBound(0LL, m_expected - m_result.count, m_result.skipped);
}

/// Makes a step of what was done.
void OperationTask::enter()
{
    if (m_result.way != Way::Done || m_isQuiet || m_step.changes.empty())
        return;
    m_step.time = clockSeconds();
    m_step.messages = m_result.count;
    m_journal.record(m_step);
    m_result.canUndo = true;
}

QString OperationTask::inWords() const
{
    if (!m_begun)
        return m_result.way == Way::Undone ? tr("There is nothing to undo") : tr("There is nothing to redo");
    const QString skipped =
        m_result.skipped == 0 ? QString() : tr(" (not %1)").arg(messageCount(m_result.skipped));
    if (m_result.count == 0)
        return m_result.skipped == 0
                   ? QString()
                   : tr("%1 could not be found any more").arg(messageCount(m_result.skipped));
    const QString done = doneInWords(m_result.deed, m_result.count, m_step.place);
    switch (m_result.way) {
    case Way::Done: break;
    case Way::Undone: return tr("Undone: %1").arg(done) + skipped;
    case Way::Redone: return tr("Done again: %1").arg(done) + skipped;
    }
    return done + skipped;
}
