#pragma once

#include "config/settings.h"
#include "message/message.h"
#include "store/groupstore.h"
#include "support/scratch.h"
#include "ui/list/groupview.h"
#include "ui/list/messagelistmodel.h"

#include <QTime>

using namespace Qt::StringLiterals;

// Messages for the tests of lists.

constexpr qint64 kNoon = 1795176000; ///< Fri, 20 Nov 2026 12:00:00 UTC

struct Mail
{
    const char *id;
    const char *subject;
    const char *from;
    int minute; ///< of that day
    const char *answers = "";
    Marks marks = Mark::Read;
};

/// A store whose inbox holds what a test puts there.
class Box
{
public:
    Box()
    {
        store.load();
        setBoolSetting(Setting::PromoteFlagged, false);
    }

    Group &inbox() { return *store.group(GroupRole::Inbox); }

    quint32 add(const Mail &mail)
    {
        QByteArray text = "From: " + QByteArray(mail.from) + "\nSubject: " + mail.subject +
                          "\nMessage-ID: <" + mail.id + ">\nDate: Fri, 20 Nov 2026 " +
                          QTime(0, 0).addSecs(mail.minute * 60).toString(u"HH:mm:ss"_s).toLatin1() +
                          " +0000\n";
        if (*mail.answers)
            text += "References: <" + QByteArray(mail.answers) + ">\n";
        return store.add(inbox(), Message(text + "\nHello\n"), mail.marks, 0, kNoon);
    }

    MessageRef ref(quint32 article) { return {inbox().number(), article}; }

    Scratch scratch;
    GroupStore store;
};

inline const Mail kMails[] = {
    {"a", "Tides", "Zoe <z@example.org>", 10},
    {"b", "Re: Tides", "Ada <a@example.org>", 30, "a", Marks()},
    {"c", "lamps", "bert <b@example.org>", 20},
    {"d", "Re: Tides", "Carl <c@example.org>", 40, "b", Marks()},
    {"e", "Anchors", "Ada <a@example.org>", 25, "", Mark::Flagged},
};

inline const MessageSort kPlain = {MessageColumn::Date, Qt::DescendingOrder, true, false};

inline GroupView plainView()
{
    GroupView view;
    view.sort = kPlain;
    return view;
}

/// The messages by their identifiers, below each other by ">"; headings by their texts.
inline QString subjects(const MessageListModel &model)
{
    QStringList words;
    for (int place = 0; place < model.rowCount(); ++place) {
        if (model.isHeading(place)) {
            words.append(u'[' + model.heading(place).text + u']');
            continue;
        }
        const ShownMessage item = model.item(place);
        words.append(QString(item.depth, u'>') + item.texts.messageId.sliced(1, 1));
    }
    return words.join(u' ');
}
