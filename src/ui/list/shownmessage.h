#pragma once

#include "store/headercache.h"
#include "store/overview.h"
#include "ui/list/messagesort.h"

#include <QList>
#include <QString>

#include <functional>

/// A word that the user gave a message, in a colour made of its hue (colours.h).
struct ShownTag
{
    QString name;
    int hue = -1;
};

/// The tags for the bits of Overview::tags(), in their order.
using TagNames = std::function<QList<ShownTag>(quint32)>;

/// "2 new of 5" of a thread.
struct ThreadCounts
{
    int messages = 1;
    int unread = 0;
};

/// What a painted row of a list needs.
struct ShownMessage
{
    Overview overview;
    HeaderTexts texts;
    QString subject; ///< as it is shown
    QString people;  ///< whom it is from, or to
    QList<ShownTag> tags;
    int depth = 0;
    bool hasAnswers = false;
    bool isExpanded = false;
    ThreadCounts thread; ///< of a message with answers: what is below it, and itself
};

/// A heading between the messages.
struct ShownHeading
{
    QString text;
    int messages = 0;
    bool isFolded = false;
};

/// The message in one column, in words.
QString columnText(const ShownMessage &message, MessageColumn column);

/// The row as a screen reader says it.
QString spokenMessage(const ShownMessage &message);
QString spokenHeading(const ShownHeading &heading);

/// "2 new of 5", or only how many there are.
QString threadText(const ThreadCounts &counts);
