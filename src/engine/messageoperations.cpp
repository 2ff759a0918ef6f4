#include "engine/messageoperations.h"

#include "config/settings.h"
#include "engine/tags.h"
#include "engine/taskrunner.h"
#include "store/groupstore.h"

#include <algorithm>

namespace {

constexpr int kRowsAtOnce = 50'000; ///< rows that are looked through before the next picture

quint32 bitsOf(Marks marks)
{
    return quint32(int(marks));
}

/// What it is in words that such marks are set and cleared.
Deed deedOf(Marks set, Marks clear)
{
    if (set == Mark::Read && !clear)
        return Deed::MarkRead;
    if (clear == Mark::Read && !set)
        return Deed::MarkUnread;
    if (set == Mark::Flagged && !clear)
        return Deed::Flag;
    if (clear == Mark::Flagged && !set)
        return Deed::Unflag;
    if (set == Mark::Watched)
        return Deed::Watch;
    if (set == Mark::Ignored)
        return Deed::Ignore;
    if (!set && clear == Mark::Watched)
        return Deed::Unwatch;
    if (!set && clear == Mark::Ignored)
        return Deed::Unignore;
    return Deed::Mark;
}

} // namespace

MessageOperations::MessageOperations(GroupStore &store, const Tags &tags, UndoJournal &journal,
                                     TaskRunner &tasks)
    : m_store(store)
    , m_journal(journal)
    , m_tasks(tasks)
    , m_tags(tags)
{
    connect(&store, &GroupStore::messagesMoved, this,
            [this](int source, const Articles &gone, int target, const Articles &arrived) {
                if (m_atWork == 0 && m_waiting == 0 && !m_journal.nextUndo() && !m_journal.nextRedo())
                    return; // nobody would ask
                for (std::size_t i = 0; i < gone.size(); ++i)
                    m_journal.follow({source, gone[i]}, {target, arrived[i]});
            });
    connect(&store, &GroupStore::groupRemoved, this, &MessageOperations::cutJournal);
}

MessageOperations::~MessageOperations() = default;

// --- Taking elsewhere -----------------------------------------------------------------------------------

void MessageOperations::move(const MessageRefs &messages, Group &target)
{
    auto task = deed(Deed::Move, target.name(), qint64(messages.size()));
    addMove(*task, std::make_shared<const MessageRefs>(messages), target.number());
    run(std::move(task), qint64(messages.size()));
}

void MessageOperations::copy(const MessageRefs &messages, Group &target)
{
    auto task = deed(Deed::Copy, target.name(), qint64(messages.size()));
    task->add(std::make_unique<CopyWork>(m_store, m_journal, std::make_shared<const MessageRefs>(messages),
                                         target.number()));
    run(std::move(task), qint64(messages.size()));
}

void MessageOperations::archive(const MessageRefs &messages)
{
    if (messages.empty())
        return;
    Group &target = m_store.archive();
    auto task = deed(Deed::Archive, target.name(), qint64(messages.size()));
    addMove(*task, std::make_shared<const MessageRefs>(messages), target.number());
    run(std::move(task), qint64(messages.size()));
}

void MessageOperations::remove(const MessageRefs &messages)
{
    const MessageRefs lost = lostByRemoving(messages);
    if (!lost.empty())
        removeForGood(lost);
    if (lost.size() == messages.size())
        return;
    Group &basket = *m_store.group(GroupRole::WasteBasket);
    const auto kept = std::make_shared<MessageRefs>(byFate(messages, true));
    auto task = deed(Deed::Delete, basket.name(), qint64(kept->size()));
    addMove(*task, kept, basket.number());
    if (boolSetting(Setting::MarkWasteAsRead))
        addBits(*task, kept, {.marksSet = bitsOf(Mark::Read)}, basket.number());
    run(std::move(task), qint64(kept->size()));
}

MessageRefs MessageOperations::lostByRemoving(const MessageRefs &messages) const
{
    return byFate(messages, false);
}

/// Those that deleting takes to the waste basket, or the others.
MessageRefs MessageOperations::byFate(const MessageRefs &messages, bool toBasket) const
{
    MessageRefs found;
    MessageRef before;
    bool isWanted = false;
    for (const MessageRef message : messages) {
        if (message.group != before.group) {
            const Group *group = m_store.group(message.group);
            isWanted = group && m_store.usesWasteBasket(*group) == toBasket;
        }
        before = message;
        if (isWanted)
            found.push_back(message);
    }
    return found;
}

void MessageOperations::removeForGood(const MessageRefs &messages)
{
    auto task = deed(Deed::DeleteForGood, {}, qint64(messages.size()));
    task->add(
        std::make_unique<RemoveWork>(m_store, m_journal, std::make_shared<const MessageRefs>(messages)));
    run(std::move(task), qint64(messages.size()));
}

void MessageOperations::junk(const MessageRefs &messages, bool isJunk)
{
    const Group &place = *m_store.group(GroupRole::Junk);
    auto task = deed(isJunk ? Deed::Junk : Deed::NotJunk, place.name(), qint64(messages.size()));
    const auto shared = std::make_shared<const MessageRefs>(messages);
    if (isJunk) {
        const Marks read = boolSetting(Setting::MarkJunkAsRead) ? Marks(Mark::Read) : Marks();
        addBits(*task, shared, {.marksSet = bitsOf(Mark::Junk | read)});
        addMove(*task, shared, place.number());
    } else {
        addBits(*task, shared, {.marksCleared = bitsOf(Mark::Junk)});
        auto inJunk = std::make_shared<MessageRefs>();
        std::copy_if(messages.begin(), messages.end(), std::back_inserter(*inJunk),
                     [&](MessageRef message) { return message.group == place.number(); });
        task->add(std::make_unique<MoveWork>(m_store, m_journal, inJunk, [this](const Overview &overview) {
            const Group *origin = m_store.group(int(overview.originGroup()));
            const bool isPlace = origin && origin->role() != GroupRole::Junk;
            return (isPlace ? origin : m_store.group(GroupRole::Inbox))->number();
        }));
    }
    run(std::move(task), qint64(messages.size()));
}

// --- Marks and tags -------------------------------------------------------------------------------------

void MessageOperations::mark(const MessageRefs &messages, Marks set, Marks clear)
{
    auto task = deed(deedOf(set, clear), {}, qint64(messages.size()));
    addBits(*task, std::make_shared<const MessageRefs>(messages),
            {.marksSet = bitsOf(set), .marksCleared = bitsOf(clear)});
    run(std::move(task), qint64(messages.size()));
}

void MessageOperations::setTags(const MessageRefs &messages, quint32 set, quint32 clear)
{
    QStringList names;
    for (const Tag &tag : m_tags.of(set))
        names += tag.name;
    auto task =
        deed(set != 0 ? Deed::Tag : Deed::Untag, names.join(QStringLiteral(", ")), qint64(messages.size()));
    addBits(*task, std::make_shared<const MessageRefs>(messages), {.tagsSet = set, .tagsCleared = clear});
    run(std::move(task), qint64(messages.size()));
}

void MessageOperations::markGroupRead(Group &group)
{
    markFound(group, [](const Overview &overview) { return !overview.has(Mark::Read); });
}

void MessageOperations::markReadBefore(Group &group, qint64 before)
{
    markFound(group, [before](const Overview &overview) {
        return !overview.has(Mark::Read) && overview.date() < before;
    });
}

void MessageOperations::markFound(Group &group, std::function<bool(const Overview &)> wanted)
{
    const qint64 unread = group.counts().unread;
    auto task = deed(Deed::GroupRead, group.name(), unread);
    const auto found = std::make_shared<MessageRefs>();
    task->add(std::make_unique<SearchWork>(m_store, m_journal, group.number(), std::move(wanted), found));
    addBits(*task, found, {.marksSet = bitsOf(Mark::Read)});
    if (group.rowCount() <= kRowsAtOnce)
        return run(std::move(task), unread);
    queue(std::move(task));
}

void MessageOperations::dropTags(quint32 bits)
{
    auto task = deed(Deed::Untag, {}, 0);
    // No words and no step: the tags are gone for everybody.
    for (Group *group : m_store.groups()) {
        const auto found = std::make_shared<MessageRefs>();
        task->add(std::make_unique<SearchWork>(
            m_store, m_journal, group->number(),
            [bits](const Overview &overview) { return (overview.tags() & bits) != 0; }, found));
        addBits(*task, found, {.tagsCleared = bits});
    }
    task->setQuiet();
    connect(task.get(), &Task::ended, this, [this, bits, ending = task.get()] {
        if (ending->state() == Task::State::Done && m_store.save(false))
            emit tagsDropped(bits);
    });
    m_tasks.add(std::move(task));
}

// --- Back and again -------------------------------------------------------------------------------------

void MessageOperations::undo()
{
    takeBack(OperationResult::Way::Undone);
}

void MessageOperations::redo()
{
    takeBack(OperationResult::Way::Redone);
}

void MessageOperations::takeBack(OperationResult::Way way)
{
    cutJournal();
    auto task = std::make_unique<OperationTask>(m_store, m_journal, way);
    const UndoStep *step = way == OperationResult::Way::Undone ? m_journal.nextUndo() : m_journal.nextRedo();
    // With others before it, it is not known yet which step will be the next.
    if (m_waiting > 0)
        return queue(std::move(task));
    run(std::move(task), step ? step->messages : 0);
}

/// Steps whose messages are all gone are no longer offered.
void MessageOperations::cutJournal()
{
    m_journal.cut([this](MessageRef message) {
        Group *group = m_store.group(message.group);
        return group && group->overview(message.article).has_value();
    });
}

// --- Running --------------------------------------------------------------------------------------------

std::unique_ptr<OperationTask> MessageOperations::deed(Deed deed, const QString &place, qint64 expected)
{
    return std::make_unique<OperationTask>(m_store, m_journal, deed, place, expected);
}

void MessageOperations::addMove(OperationTask &task, const Messages &messages, int target)
{
    task.add(std::make_unique<MoveWork>(m_store, m_journal, messages,
                                        [target](const Overview &) { return target; }));
}

void MessageOperations::addBits(OperationTask &task, const Messages &messages, BitsWork::Bits bits,
                                int onlyIn)
{
    task.add(std::make_unique<BitsWork>(m_store, m_journal, messages, bits, onlyIn));
}

void MessageOperations::run(std::unique_ptr<OperationTask> task, qint64 messages)
{
    // Behind a move of many it would have to wait here until that is safe.
    if (messages > qint64(kAtOnce) || (m_waiting > 0 && task->movesMessages()))
        return queue(std::move(task));
    ++m_atWork;
    task->run();
    --m_atWork;
    ended(*task);
}

void MessageOperations::queue(std::unique_ptr<OperationTask> task)
{
    ++m_waiting;
    connect(task.get(), &Task::ended, this, [this, ending = task.get()] { ended(*ending); });
    connect(task.get(), &QObject::destroyed, this, [this] { --m_waiting; });
    m_tasks.addUrgent(std::move(task));
}

void MessageOperations::ended(const OperationTask &task)
{
    if (task.outcome().deed == Deed::DeleteForGood)
        cutJournal();
    emit done(task.outcome());
}
