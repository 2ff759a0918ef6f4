#include "ui/list/shownmessage.h"

#include "ui/texts/messagetexts.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace {

QString threadColumnText(const ShownMessage &message)
{
    if (!message.hasAnswers)
        return {};
    const QString messages = QString::number(message.thread.messages);
    return message.thread.unread > 0 ? QCoreApplication::translate("MessageList", "%1, %2 new")
                                           .arg(messages)
                                           .arg(message.thread.unread)
                                     : messages;
}

} // namespace

QString threadText(const ThreadCounts &counts)
{
    return counts.unread > 0 ? QCoreApplication::translate("MessageList", "%1 new of %2")
                                   .arg(counts.unread)
                                   .arg(counts.messages)
                             : QString::number(counts.messages);
}

QString columnText(const ShownMessage &message, MessageColumn column)
{
    const Overview &overview = message.overview;
    switch (column) {
    case MessageColumn::State:
        return overview.has(Mark::Read) ? QString() : QCoreApplication::translate("MessageList", "Unread");
    case MessageColumn::Flag:
        return overview.has(Mark::Flagged) ? QCoreApplication::translate("MessageList", "Flagged")
                                           : QString();
    case MessageColumn::Subject: return message.subject;
    case MessageColumn::Clip:
        return overview.has(Mark::Attachments) ? QCoreApplication::translate("MessageList", "Attachments")
                                               : QString();
    case MessageColumn::From: return message.people;
    case MessageColumn::Score: return scoreText(overview.score());
    case MessageColumn::Date: return shortDate(overview.date());
    case MessageColumn::Size: return shortSize(overview.size());
    case MessageColumn::Thread: return threadColumnText(message);
    }
    return {};
}

QString spokenMessage(const ShownMessage &message)
{
    QStringList words = {spokenRow(message.overview, message.people, message.texts.subject)};
    for (const ShownTag &tag : message.tags)
        words.append(tag.name);
    const int answers = message.thread.messages - 1;
    if (message.hasAnswers && !message.isExpanded)
        words.append(answers == 1
                         ? QCoreApplication::translate("MessageList", "1 answer hidden")
                         : QCoreApplication::translate("MessageList", "%1 answers hidden").arg(answers));
    return words.join(u", "_s);
}

QString spokenHeading(const ShownHeading &heading)
{
    const QString words = heading.text + u", "_s + messagesInWords(heading.messages);
    return heading.isFolded ? words + u", "_s + QCoreApplication::translate("MessageList", "folded") : words;
}
