#pragma once

#include <QCoreApplication>

#include <array>

/// The columns of a message list, in the order that they have at first. Their numbers lie in the file
/// "Views": one that was used keeps its meaning.
enum class MessageColumn { State, Flag, Subject, Clip, From, Score, Date, Size, Thread };

struct MessageColumnRow
{
    const char *name; ///< for the header, its menu and the screen reader
    const char *icon; ///< shown in the header in place of the name; empty: the name
    int characters;   ///< width in average characters; 0: an icon, or the rest of the room
    bool descending;  ///< the order that the first click gives
    bool atFirst;     ///< shown until the user chooses
};
constexpr std::array kMessageColumns = {
    MessageColumnRow{QT_TRANSLATE_NOOP("MessageListModel", "State"), "mail", 0, false, true},
    MessageColumnRow{QT_TRANSLATE_NOOP("MessageListModel", "Flag"), "flag", 0, true, true},
    MessageColumnRow{QT_TRANSLATE_NOOP("MessageListModel", "Subject"), "", 0, false, true},
    MessageColumnRow{QT_TRANSLATE_NOOP("MessageListModel", "Attachments"), "attach", 0, true, true},
    MessageColumnRow{QT_TRANSLATE_NOOP("MessageListModel", "From"), "", 24, false, true},
    MessageColumnRow{QT_TRANSLATE_NOOP("MessageListModel", "Score"), "", 9, true, true},
    MessageColumnRow{QT_TRANSLATE_NOOP("MessageListModel", "Date"), "", 14, true, true},
    MessageColumnRow{QT_TRANSLATE_NOOP("MessageListModel", "Size"), "", 10, true, false},
    MessageColumnRow{QT_TRANSLATE_NOOP("MessageListModel", "Thread"), "", 14, true, false},
};
static_assert(kMessageColumns.size() == std::size_t(MessageColumn::Thread) + 1);
constexpr int kMessageColumnCount = int(kMessageColumns.size());

inline bool isTextColumn(MessageColumn column)
{
    return column == MessageColumn::Subject || column == MessageColumn::From;
}

/// How a list of messages is ordered.
struct MessageSort
{
    MessageColumn column = MessageColumn::Date;
    Qt::SortOrder order = Qt::DescendingOrder;
    bool threads = true;  ///< answers below what they answer; a thread stands where its newest message would
    bool headings = true; ///< "Today", "Yesterday" ... between the messages when they are sorted by date

    bool operator==(const MessageSort &) const = default;
};
