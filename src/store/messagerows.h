#pragma once

#include "store/group.h"
#include "store/messageref.h"

#include <QPointer>
#include <QTimer>

#include <deque>
#include <unordered_map>

class GroupStore;

/// The messages that a list shows, numbered as rows: those of one group, or of many. A row keeps its number
/// until rowsReset(); what came to the end has higher ones. Rows that are not listed (any more) keep theirs.
class MessageRows : public QObject
{
    Q_OBJECT

public:
    virtual int rowCount() const = 0;
    virtual const Overview &row(int row) const = 0; ///< valid until something changes
    virtual bool isListed(int row) const = 0;       ///< false: it was deleted, or belongs here no more
    virtual MessageRef refAt(int row) const = 0;
    virtual int rowOf(MessageRef message) const = 0;       ///< -1: it was never here
    virtual Group *groupOf(int row) const = 0;             ///< null when the group is gone
    virtual Group *group() const { return nullptr; }       ///< the only one; null for several
    virtual bool isComplete() const { return true; }       ///< false: more is still being looked for
    virtual bool showsRecipients(int row) const;           ///< it was written here
    virtual bool showsRecipients() const { return false; } ///< all were
    HeaderTexts texts(int row) const;

    /// The message that the reader looks at stays listed, even if it belongs here no more, until another one
    /// is held; a null one holds nothing.
    virtual void hold(MessageRef) {}

signals:
    void rowsMoved(); ///< some came to the end, some are listed no more
    void rowsChanged(const MessageRefs &messages);
    void rowsReset(); ///< every row may be another one
    void completed();
};

/// Whether the messages of such a group were written here.
bool holdsOwnMessages(const Group &group);

/// The rows of one group, as they are: nothing is kept of them here.
class GroupRows : public MessageRows
{
    Q_OBJECT

public:
    /// Opens @p group; when that is destroyed there are no rows.
    explicit GroupRows(Group &group);

    int rowCount() const override { return m_group ? m_group->rowCount() : 0; }
    const Overview &row(int row) const override { return m_group->row(row); }
    bool isListed(int row) const override { return !m_group->row(row).isDead(); }
    MessageRef refAt(int row) const override { return {m_group->number(), m_group->row(row).article()}; }
    int rowOf(MessageRef message) const override;
    Group *groupOf(int) const override { return m_group; }
    Group *group() const override { return m_group; }
    bool showsRecipients() const override { return m_group && holdsOwnMessages(*m_group); }

private:
    QPointer<Group> m_group;
};

/// The flagged messages of all groups but the waste basket and junk, as long as they are flagged. Groups that
/// have some are looked through in short slices.
class FlaggedRows : public MessageRows
{
    Q_OBJECT

public:
    /// @p store must outlive this.
    explicit FlaggedRows(GroupStore &store);

    int rowCount() const override { return int(m_entries.size()); }
    const Overview &row(int row) const override;
    bool isListed(int row) const override { return m_entries[std::size_t(row)].listed; }
    MessageRef refAt(int row) const override { return m_entries[std::size_t(row)].ref; }
    int rowOf(MessageRef message) const override;
    Group *groupOf(int row) const override { return m_entries[std::size_t(row)].group; }
    bool isComplete() const override { return m_waiting.empty(); }
    void hold(MessageRef message) override;

private:
    struct Entry
    {
        MessageRef ref;
        Group *group; ///< null: gone
        bool listed;
    };

    void watch(Group *group);
    void forget(int number);
    void lookAgain(Group *group);
    void slice();
    bool lookThrough(Group &group, int milliseconds);
    bool check(Group &group, quint32 article);
    void checkAll(Group &group, const Articles &articles);
    bool belongs(Group &group, quint32 article) const;

    GroupStore &m_store;
    std::vector<Entry> m_entries;
    std::unordered_map<quint64, int> m_rows; ///< by reference
    std::deque<int> m_waiting;               ///< numbers of the groups to be looked through
    int m_nextRow = 0;                       ///< of the first of them
    MessageRef m_held;
    QTimer m_timer;
};
