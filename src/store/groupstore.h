#pragma once

#include "message/message.h"
#include "store/group.h"
#include "store/groupsfile.h"
#include "store/messageindex.h"
#include "store/messageref.h"
#include "store/summary.h"

#include <QObject>

#include <memory>
#include <vector>

class Transfer;

/// What is known of a message besides its text when it comes into the store.
struct Arrival
{
    int account = 0;        ///< that it comes from; 0: none
    qint64 time = 0;        ///< seconds since 1970 UTC
    Marks marks = {};       ///< besides those that the text asks for
    quint64 serverHash = 0; ///< as in the overview
    qint64 serverSize = 0;  ///< the same, with the mark HeaderOnly
};

/// Every group of the program and what crosses them: the tree and its file, the index of Message-IDs, moving
/// between groups. Owns the groups; pointers to them hold until groupRemoved().
class GroupStore : public QObject
{
    Q_OBJECT

public:
    explicit GroupStore(QObject *parent = nullptr);
    ~GroupStore() override;

    /// Reads the groups file, makes the groups of the seven roles where they are missing, completes what a
    /// crash left half done and loads the index. False after a report: the configuration directory cannot be
    /// used.
    bool load();

    /// Writes what changed: each group's files, the groups file, and with @p force (or after some minutes)
    /// the index. False after a report.
    bool save(bool force);

    /// Writes the groups file alone, if it has changed: before messages that came into a new group are told
    /// of as safe. False after a report.
    bool saveTree();

    /// Whether damaged groups are repaired at their first use (by default, where `AutoRepairs` says so);
    /// before load().
    void setRepairsItself(bool repairs) { m_repairsItself = repairs; }

    /// The last save of a run: the next one need not look for what was left half done.
    bool close();

    /// @name The tree
    /// @{
    std::vector<Group *> groups() const; ///< in the order of the file
    std::vector<Group *> children(int parent) const;
    Group *group(int number) const;     ///< null when there is none
    Group *group(GroupRole role) const; ///< never null once loaded, except for None and Archive

    /// The group of the archive, made when there is none; a folder of that name that is not it is let alone.
    Group &archive();

    /// A group by its full name, "/" between the levels, a leading "/" allowed; null when there is none.
    Group *find(const QString &path) const;
    QString pathOf(const Group &group) const;

    /// The group of that full name, made with the levels above it when missing; @p kind is that of the last.
    /// Null when a level's name is empty or holds control characters.
    Group *make(const QString &path, GroupKind kind = GroupKind::Folder);

    /// False: the name is empty, holds "/" or control characters, or a sibling has it.
    bool rename(Group &group, const QString &name);

    /// Puts the group, with all below it, into @p parent, 0 for the top of the tree. False: it has a role,
    /// @p parent is not there or lies within the group, or a group of that name lies there already.
    bool reparent(Group &group, int parent);

    /// Removes a group with all below it and every message in them. False, and nothing is changed: it or one
    /// below has a role that is always there, or, after a report, the groups file cannot be written.
    bool remove(Group &group);
    void setOptions(Group &group, quint32 options);
    /// @}

    /// @name Messages
    /// @{
    /// Stores a message as received. @p marks come to those that its text asks for; @p arrival is in seconds
    /// since 1970 UTC. The article's number, or 0 after a report. Safe after the group's flush().
    quint32 add(Group &group, const Message &message, Marks marks, int account, qint64 arrival);

    /// The same for one of many: its group is told of it by Group::tellOfAdded(), with the others at once.
    quint32 addQuietly(Group &group, const Message &message, const Arrival &arrival);

    /// The same in two steps: what takes long may be done before, and need not be done at once. Without data
    /// after a report.
    PackedMessage pack(const Group &target, const Message &message, const Arrival &arrival) const;
    quint32 addQuietly(Group &group, const PackedMessage &message);

    /// Puts whole messages into the places of those of which only the header is here. Safe when it returns;
    /// those that are gone or whole are passed over. Afterwards @p messages has those that were completed.
    /// False after a report.
    struct WholeMessage
    {
        MessageRef place;
        Message text;
        quint64 serverHash = 0;
    };
    [[nodiscard]] bool complete(std::vector<WholeMessage> &messages);

    /// What is on its way between groups arrives now, before something happens that it must not meet.
    void settleTransfer();

    /// Copies or moves the messages at once and returns the articles they have in @p target; what cannot be
    /// read stays where it is, after a report. A move is safe when this returns; of a crash on the way
    /// nothing is lost or doubled. Many of them take a Transfer, in slices.
    Articles copy(Group &source, const Articles &articles, Group &target);
    Articles move(Group &source, const Articles &articles, Group &target);

    /// To the waste basket where the settings ask for it, otherwise, and from there, or with @p forGood, for
    /// good.
    bool deleteMessages(Group &source, const Articles &articles, bool forGood = false);

    /// Whether deleting from @p group means moving to the waste basket.
    bool usesWasteBasket(const Group &group) const;

    /// Where the message with that Message-ID ("<...>") is.
    std::vector<MessageIndex::Place> findMessage(const QByteArray &messageId) const;
    /// @}

    /// Compacts one bin at once. False after a report.
    bool compactBin(Group &group, int bin);

    const MessageIndex &index() const { return m_index; }

    /// Builds the index anew from all overviews.
    void rebuildIndex();

signals:
    void groupAdded(Group *group);
    void groupRemoved(int number);   ///< it is gone already
    void groupChanged(Group *group); ///< its name, place or options

    /// Messages are about to be deleted for good, but for those whose group goes with them.
    void messagesDeleting(Group *group, const Articles &articles);

    /// Messages have gone to another group; the articles are side by side.
    void messagesMoved(int source, const Articles &gone, int target, const Articles &arrived);

private:
    friend class Transfer;

    Group *enter(const GroupRecord &record);
    quint32 entered(const Group &group, quint32 article, const Summary &summary);
    void makeRoleGroups();
    void adoptStrayDirectories();
    bool finishRemoval(int number);
    void straightenParents();
    bool noteUncleanEnd();
    std::vector<Group *> withDescendants(Group &group) const;
    void updateIndex();
    void indexGroup(Group &group);
    void dropFromIndex(Group &group, const Articles &articles);
    std::vector<GroupRecord> records() const;

    GroupsFile m_file;
    std::vector<std::unique_ptr<Group>> m_groups;
    MessageIndex m_index;
    Transfer *m_transfer = nullptr; ///< the one with messages on their way
    int m_nextNumber = 1;
    std::vector<GroupRecord> m_saved; ///< what the groups file holds
    bool m_repairsItself = true;
    bool m_unclean = false;
    qint64 m_lastIndexSave = 0;
};
