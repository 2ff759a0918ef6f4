#pragma once

#include "engine/undojournal.h"
#include "store/transfer.h"

#include <functional>
#include <memory>
#include <optional>

class GroupStore;

/// One thing that is done to messages of any groups, in slices; an operation is some of these in a row. The
/// messages are looked up when the work begins, so that what the work before it moved is found again.
class MessageWork
{
public:
    /// Everything must outlive this; @p messages may still grow until the first step.
    MessageWork(GroupStore &store, UndoJournal &journal, std::shared_ptr<const MessageRefs> messages);
    virtual ~MessageWork();
    MessageWork(const MessageWork &) = delete;
    MessageWork &operator=(const MessageWork &) = delete;

    enum class Progress { Working, Done, Failed };

    /// Works for about @p milliseconds.
    Progress step(int milliseconds);

    /// Comes to a point where the work may be left for good.
    virtual void settle() {}

    /// Whether messages go to other groups, or for good; false: they stay and change.
    virtual bool movesMessages() const { return true; }

    /// Messages that are done with, one way or another.
    virtual qint64 done() const { return qint64(m_next); }

    /// The messages that it was done to, where they are now.
    const MessageRefs &reached() const { return m_reached; }
    qint64 count() const { return m_count; } ///< the same of those that are nowhere now, too

    /// Messages that were not to be found, or that it could not be done to.
    qint64 skipped() const { return m_skipped; }

    /// What it takes to take it back.
    std::vector<UndoChange> takeChanges() { return std::move(m_changes); }

protected:
    struct Entry
    {
        MessageRef now;
        int target = 0; ///< number of the group it goes to, where it goes to one
        int origin = 0;
        std::size_t index = 0; ///< among the messages
    };

    /// False: there is nothing to do with this one.
    virtual bool take(Entry &, const Overview &) { return true; }

    /// Works on the entries, which are sorted by their group, where they go, and their number there.
    virtual Progress work(int milliseconds) = 0;

    /// The entries from @p begin on that share their group and target.
    std::size_t endOfRun(std::size_t begin) const;
    Articles articlesOf(std::size_t begin, std::size_t end) const;
    UndoChange &changeFor(const UndoChange &like);

    GroupStore &m_store;
    UndoJournal &m_journal;
    std::shared_ptr<const MessageRefs> m_messages;
    std::vector<Entry> m_entries;
    std::size_t m_next = 0; ///< of the entries
    MessageRefs m_reached;
    qint64 m_count = 0;
    qint64 m_skipped = 0;

private:
    bool gather(int milliseconds);

    std::vector<UndoChange> m_changes;
    std::size_t m_gathered = 0;
    bool m_isGathered = false;
};

/// Takes messages to other groups, by one transfer after the other.
class TransferWork : public MessageWork
{
public:
    TransferWork(GroupStore &store, UndoJournal &journal, std::shared_ptr<const MessageRefs> messages,
                 Transfer::Kind kind);

    void settle() override;
    qint64 done() const override;

protected:
    Progress work(int milliseconds) override;

    /// The message of @p entry is safe in its target as @p now.
    virtual void arrived(const Entry &entry, MessageRef now) = 0;

private:
    void begin();
    void harvest();

    Transfer::Kind m_kind;
    std::unique_ptr<Transfer> m_transfer; ///< of the entries from m_next to m_end
    std::size_t m_end = 0;
};

/// Moves messages to the groups that @p target names for each (0: it stays where it is).
class MoveWork : public TransferWork
{
public:
    using Target = std::function<int(const Overview &)>;
    MoveWork(GroupStore &store, UndoJournal &journal, std::shared_ptr<const MessageRefs> messages,
             Target target);

    /// Afterwards they come from @p group: a move that was taken back leaves no trace.
    void setOrigin(int group) { m_origin = group; }

    void settle() override;

protected:
    bool take(Entry &entry, const Overview &overview) override;
    Progress work(int milliseconds) override;
    void arrived(const Entry &entry, MessageRef now) override;

private:
    bool restoreOrigins();

    Target m_targetOf;
    std::optional<int> m_origin;
    std::size_t m_originsRestored = 0; ///< of those reached
};

/// Copies messages to one group. @p before: the copies that these are again, side by side with the messages.
class CopyWork : public TransferWork
{
public:
    CopyWork(GroupStore &store, UndoJournal &journal, std::shared_ptr<const MessageRefs> messages, int target,
             MessageRefs before = {});

protected:
    bool take(Entry &entry, const Overview &overview) override;
    void arrived(const Entry &entry, MessageRef now) override;

private:
    int m_target;
    MessageRefs m_before;
};

/// Sets and clears marks and tags. With @p onlyIn: of those that are in that group.
class BitsWork : public MessageWork
{
public:
    struct Bits
    {
        quint32 marksSet = 0;
        quint32 marksCleared = 0;
        quint32 tagsSet = 0;
        quint32 tagsCleared = 0;
    };
    BitsWork(GroupStore &store, UndoJournal &journal, std::shared_ptr<const MessageRefs> messages, Bits bits,
             int onlyIn = 0);

    bool movesMessages() const override { return false; }

protected:
    bool take(Entry &entry, const Overview &overview) override;
    Progress work(int milliseconds) override;

private:
    bool change(Group &group, std::size_t begin, std::size_t end);
    void takeDown(MessageRef message, const Overview &overview);

    Bits m_bits;
    int m_onlyIn;
};

/// Deletes for good.
class RemoveWork : public MessageWork
{
public:
    using MessageWork::MessageWork;

protected:
    Progress work(int milliseconds) override;
};

/// Looks for the messages of a group that some other work is then done to.
class SearchWork : public MessageWork
{
public:
    SearchWork(GroupStore &store, UndoJournal &journal, int group,
               std::function<bool(const Overview &)> wanted, std::shared_ptr<MessageRefs> found);

    bool movesMessages() const override { return false; }
    qint64 done() const override { return 0; }

protected:
    Progress work(int milliseconds) override;

private:
    int m_group;
    int m_row = 0;
    std::function<bool(const Overview &)> m_wanted;
    std::shared_ptr<MessageRefs> m_found;
};
