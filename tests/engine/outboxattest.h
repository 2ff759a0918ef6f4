#pragma once

#include "config/clock.h"
#include "engine/engine.h"
#include "message/message.h"
#include "support/mail.h"
#include "support/scratch.h"

#include <QTest>

inline constexpr qint64 kNow = 1'795'000'000;

/// As compose builds it, for sending.
inline QByteArray outgoing(const QByteArray &id, const QByteArray &recipients = "bob@example.org",
                           const QByteArray &more = {})
{
    return mailText(id, "s " + id,
                    "Bcc: carol@example.org\nX-VELMAR-RCPT-TO: " + recipients +
                        "\nX-VELMAR-MAIL-FROM: ada@example.org\n" + more);
}

/// The whole program with one outgoing account, and a clock that stands.
struct OutboxAtTest
{
    OutboxAtTest()
    {
        Outbox::setUndoDelay(0);
        QObject::connect(&engine.outbox(), &Outbox::draftSettled, [this](int draft) { drafts += draft; });
        QObject::connect(&engine.outbox(), &Outbox::perhapsSent,
                         [this](quint64 ticket) { perhaps += ticket; });
        QObject::connect(&engine.outbox(), &Outbox::failed,
                         [this](quint64, const QString &why) { failures += why; });
        if (!engine.load())
            qFatal("the test cannot begin");
        engine.accounts().setFetchesBlocked(true); // the senders here are the test's own
        if (engine.accounts().accounts().empty())
            addAccount(QStringLiteral("out"));
        account = engine.accounts().all().front().number;
    }

    int addAccount(const QString &name, int identity = 0, AccountKind kind = AccountKind::Smtp)
    {
        AccountData data;
        data.name = name;
        data.host = QStringLiteral("127.0.0.1");
        data.kind = kind;
        data.identity = identity;
        return engine.accounts().add(data);
    }

    quint64 add(const QByteArray &text, SendWish wish = {}) { return engine.outbox().add(text, 0, wish); }

    OutboxState state(quint64 ticket)
    {
        const OutboxEntry *entry = engine.outbox().entry(ticket);
        return entry ? entry->state : OutboxState(-1);
    }

    /// What is there, by subject.
    QStringList subjects(GroupRole role) { return subjects(*engine.groups().group(role)); }
    static QStringList subjects(Group &group)
    {
        QStringList list;
        for (int row = 0; row < group.rowCount(); ++row) {
            if (!group.row(row).isDead())
                list += group.texts(group.row(row)).subject;
        }
        return list;
    }

    QByteArray lastText(GroupRole role)
    {
        Group &group = *engine.groups().group(role);
        return group.rowCount() == 0 ? QByteArray() : group.readMessage(group.row(group.rowCount() - 1));
    }

    void advance(qint64 seconds)
    {
        now += seconds;
        engine.outbox().tick();
    }

    qint64 now = kNow;
    ClockOverride clock{[this] { return now * 1000; }};
    Engine engine;
    Outbox &outbox = engine.outbox();
    int account = 0;
    QList<int> drafts;
    QList<quint64> perhaps;
    QStringList failures;
};

/// What a server says to one recipient, or to the text: 250, or a refusal. 0: the connection ends.
struct FakeServer
{
    QHash<QByteArray, int> recipients;
    int text = 250;
    int most = 1000; ///< recipients of one transaction
    QList<OutgoingMessage> taken;

    /// One session as a sender holds it.
    int serve(OutgoingQueue &queue, int account)
    {
        int messages = 0;
        while (auto message = queue.next(account)) {
            if (++messages > 1000)
                qFatal("the queue gives the same again and again");
            queue.release(message->ticket, transact(queue, *message));
        }
        return messages;
    }

    QString transact(OutgoingQueue &queue, const OutgoingMessage &message)
    {
        QList<QByteArray> served;
        QList<OutgoingRefusal> refusals;
        for (const QByteArray &one : message.remaining) {
            const int code = recipients.value(one, 250);
            if (code == 250)
                served += one;
            else
                refusals += OutgoingRefusal{one, code, QStringLiteral("no such box")};
        }
        if (!refusals.isEmpty())
            queue.refused(message.ticket, refusals);
        for (qsizetype i = 0; i < served.size(); i += most) {
            const QList<QByteArray> some = served.mid(i, most);
            if (!queue.sending(message.ticket, some))
                return QStringLiteral("cannot be written down");
            if (text == 0)
                return QStringLiteral("Connection closed");
            if (text != 250) {
                queue.refused(message.ticket, {{QByteArray(), text, QStringLiteral("too large")}});
                return {};
            }
            taken += message;
            taken.last().remaining = some;
            queue.accepted(message.ticket, some);
        }
        return {};
    }
};

inline const QByteArray kThree = "a@example.org, b@example.org, c@example.org";
