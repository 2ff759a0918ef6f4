#pragma once

#include "engine/messageoperations.h"
#include "ui/main/groupchoices.h"

#include <QObject>
#include <QPointer>

class Engine;
class GroupStore;
class AskingBar;
class MessageBoxes;
class MessageList;

/// What the user does with the messages of a list, wherever these are: asks before anything is lost, hands
/// the deed to the engine, and says quietly what was done and that it can be undone.
class MessageCommands : public QObject
{
    Q_OBJECT

public:
    /// Everything must outlive this; @p bar is where done deeds are told.
    MessageCommands(Engine &engine, MessageList &list, MessageBoxes &boxes, AskingBar &bar);

    /// Only the commands of the tab in front say what was done, wherever it was asked for.
    void setActive(bool active) { m_isActive = active; }

    bool canUndo() const { return m_operations.journal().nextUndo() != nullptr; }
    bool canRedo() const { return m_operations.journal().nextRedo() != nullptr; }

    /// "Undo moving 3 messages to Archive"; empty when there is nothing to undo, or redo.
    QString undoText() const { return m_operations.journal().nextText(); }
    QString redoText() const { return m_operations.journal().nextRedoText(); }

    /// Whether there is a group to move to once more, and its name.
    bool canMoveAgain() const { return lastTarget() != nullptr; }
    QString lastTargetName() const;

    /// Whether all of the selected messages carry the tag with that key.
    bool selectedHaveTag(int key) const;

public slots:
    /// Deletes the selection, to the waste basket where that is the way; what would be lost by it is asked
    /// about, and everything is with @p forGood.
    void removeSelected(bool forGood);
    void archiveSelected();

    /// Marks the selection as junk and moves it there; or the other way, back where it came from.
    void junkSelected(bool junk);

    /// Asks for a group, then moves or copies the selection there; or moves to the last one again.
    void moveSelected();
    void copySelected();
    void moveSelectedAgain();
    void moveTo(const MessageRefs &messages, Group &target);
    void copyTo(const MessageRefs &messages, Group &target);

    void mark(const MessageRefs &messages, Mark mark, bool on);
    void markSelected(Mark mark, bool on);
    void toggleRead();
    void toggleFlag();
    void markThreadRead();

    /// Sets or clears @p mark in the whole thread of the current message, and clears @p other.
    void toggleThread(Mark mark, Mark other);

    /// The same for the current message and the answers below it, to ignore them or not.
    void toggleIgnoreSubthread();

    /// The tag with that key, 1 to 9: puts it on the selection, or takes it off when all have it. 0 takes off
    /// every tag.
    void tagSelected(int key);
    void toggleTag(quint32 bit);

    /// Marks every message of @p group as read, or asks before which day.
    void markGroupRead(Group &group);
    void markOlderRead();

    /// The message was shown to the user, who did nothing: that is no deed to be undone.
    void noteRead(MessageRef message);

    /// Of the selected messages whose header alone is here, the rest; and their deletion on their server.
    void fetchRest();
    void deleteOnServer();

    /// Writes the current message to a file that the user names.
    void saveCurrent();

    void undo() { m_operations.undo(); }
    void redo() { m_operations.redo(); }

signals:
    /// What can be undone or redone.
    void undoChanged();

private:
    GroupStore &groups() const;
    Group *lastTarget() const;
    bool allHave(const MessageRefs &messages, const std::function<bool(const Overview &)> &has) const;
    void toggle(const MessageRefs &messages, Mark mark, Mark other);
    int currentPlace() const;
    MessageRefs subthread(int first) const;
    void takeAway(const MessageRefs &messages, const std::function<void()> &deed);
    void askBeforeLosing(const MessageRefs &lost, std::function<void()> then);
    void pick(const QString &verb, const QString &title, std::function<void(Group &)> then);
    void tell(const OperationResult &result);
    void offer(const QString &text, const QString &verb, void (MessageCommands::*answer)());
    void select(const MessageRefs &messages);

    Engine &m_engine;
    MessageOperations &m_operations;
    MessageList &m_list;
    MessageBoxes &m_boxes;
    AskingBar &m_bar;
    bool m_isActive = true;
    int m_lastTarget = 0;  ///< number of the group that was moved to last
    RecentGroups m_recent; ///< what was moved or copied to, to be offered first
    QString m_offered;     ///< the text in the bar with which the last deed can be taken back
};
