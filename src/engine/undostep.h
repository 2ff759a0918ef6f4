#pragma once

#include "store/messageref.h"

#include <QString>

#include <array>
#include <optional>
#include <vector>

/// What the user did to messages, in one step, as plain data: enough to take it back and to do it again.

/// What a step was, for its words.
enum class Deed {
    Move,
    Copy,
    Delete,
    Archive,
    Junk,
    NotJunk,
    MarkRead,
    MarkUnread,
    Flag,
    Unflag,
    Watch,
    Unwatch,
    Ignore,
    Unignore,
    Mark, ///< any other marks
    Tag,
    Untag,
    GroupRead,     ///< all of a group, or all before a date
    DeleteForGood, ///< is told of, but never a step
};

/// A piece of a step. The references are those of the moment after it was done.
struct UndoChange
{
    enum class Kind {
        Move, ///< the messages went from `source` to `target`
        Copy, ///< `copies` of the messages were made in `target`
        Bits, ///< the messages got and lost marks and tags
    };
    Kind kind = Kind::Bits;
    MessageRefs messages;
    MessageRefs copies; ///< side by side with the messages
    int source = 0;     ///< numbers of groups
    int target = 0;
    int origin = 0; ///< of a move: the group that the messages had been in before `source`; 0: none known

    /// Only the bits that were not, or were, set before.
    quint32 marksSet = 0;
    quint32 marksCleared = 0;
    quint32 tagsSet = 0;
    quint32 tagsCleared = 0;

    bool operator==(const UndoChange &) const = default;
};

struct UndoStep
{
    Deed deed = Deed::Move;
    qint64 time = 0;                 ///< seconds since 1970 UTC
    qint64 messages = 0;             ///< how many it was done to
    QString place;                   ///< the name of the group, or of the tag, that the words need
    std::vector<UndoChange> changes; ///< in the order in which they were done

    bool operator==(const UndoStep &) const = default;

    /// One line of text, without a line end, and back; empty for what is no step.
    QString toLine() const;
    static std::optional<UndoStep> fromLine(const QString &line);
};

/// Whether it takes messages out of the list in which it is done.
bool movesMessages(Deed deed);

/// "3 messages moved to Archive": what was done to @p messages.
QString doneInWords(Deed deed, qint64 messages, const QString &place);

/// "moving 3 messages to Archive", behind "Undo" or "Redo".
QString deedInWords(Deed deed, qint64 messages, const QString &place);
