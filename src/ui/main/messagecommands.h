#pragma once

#include "store/group.h"
#include "store/messageref.h"

#include <QObject>

#include <map>

class Engine;
class GroupStore;
class AskingBar;
class MessageBoxes;
class MessageList;

/// Messages by the numbers of their groups, in their order.
std::map<int, Articles> articlesByGroup(const MessageRefs &messages);

/// What the user does with the messages of a list. What a few messages take is done at once; more of them
/// join the engine's long work. Asks before anything is lost; what was moved or thrown away can be taken
/// back.
class MessageCommands : public QObject
{
    Q_OBJECT

public:
    /// Everything must outlive this; @p bar is where done deeds are told.
    MessageCommands(Engine &engine, MessageList &list, MessageBoxes &boxes, AskingBar &bar);

    /// Deletes the selection, to the waste basket where that is the way; without it, or @p forGood, it asks.
    void removeSelected(bool forGood);
    void markSelected(Mark mark, bool on);
    void mark(const MessageRefs &messages, Mark mark, bool on);
    void toggleRead();
    void toggleFlag();
    void markThreadRead();

    /// Sets or clears @p mark in the whole thread of the current message, and clears @p other.
    void toggleThread(Mark mark, Mark other);

    /// Marks the selection as junk and moves it there; or the other way, back where it came from.
    void junkSelected(bool junk);

    /// Asks for a group, then moves or copies the selection there.
    void moveSelected();
    void copySelected();
    void moveTo(Group &source, const Articles &articles, Group &target);
    void copyTo(Group &source, const Articles &articles, Group &target);

    /// Writes the current message to a file that the user names.
    void saveCurrent();

    /// Marks every message of @p group as read.
    void markGroupRead(Group &group);

    bool canUndo() const { return m_undo.target != 0; }
    void undo();

signals:
    void undoChanged();

private:
    /// What was moved last: the messages in the target remember where they came from.
    struct Undo
    {
        int source = 0;
        int target = 0; ///< 0: nothing to take back
        Articles articles;
    };

    GroupStore &groups() const;
    Group *group() const;
    Articles selectedArticles() const;
    bool allHave(const MessageRefs &messages, Mark mark) const;
    void removeForGood(const Articles &articles);
    void takeAway(const Articles &articles, Group &target);
    void pick(const QString &verb, const QString &title, std::function<void(Group &)> then);
    void remember(const Group &source, const Group &target, const Articles &articles);
    static Articles arrivedFrom(Group &target, int source, const Articles &originals);
    void moveBack(Group &junk, const Articles &articles);

    Engine &m_engine;
    MessageList &m_list;
    MessageBoxes &m_boxes;
    AskingBar &m_bar;
    Undo m_undo;
};
