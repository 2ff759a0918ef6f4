#include "config/clock.h"
#include "engine/engine.h"
#include "message/message.h"
#include "support/diskfaults.h"
#include "support/mail.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QSignalSpy>
#include <QTest>

#include <sys/wait.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kNow = 1'795'000'000;

/// As compose builds it, for sending.
QByteArray outgoing(const QByteArray &id, const QByteArray &recipients = "bob@example.org",
                    const QByteArray &more = {})
{
    return mailText(id, "s " + id,
                    "Bcc: carol@example.org\nX-VELMAR-RCPT-TO: " + recipients +
                        "\nX-VELMAR-MAIL-FROM: ada@example.org\n" + more);
}

/// The whole program with one outgoing account, and a clock that stands.
struct Fixture
{
    Fixture()
    {
        Outbox::setUndoDelay(0);
        QObject::connect(&engine.outbox(), &Outbox::draftSettled, [this](int draft) { drafts += draft; });
        QObject::connect(&engine.outbox(), &Outbox::perhapsSent,
                         [this](quint64 ticket) { perhaps += ticket; });
        QObject::connect(&engine.outbox(), &Outbox::failed,
                         [this](quint64, const QString &why) { failures += why; });
        if (!engine.load())
            qFatal("the test cannot begin");
        setBoolSetting(Setting::AutoSend, false); // the senders here are the test's own
        if (engine.accounts().accounts().empty())
            addAccount(u"out"_s);
        account = engine.accounts().all().front().number;
    }

    int addAccount(const QString &name)
    {
        AccountData data;
        data.name = name;
        data.host = u"127.0.0.1"_s;
        data.kind = AccountKind::Smtp;
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
struct Server
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
                refusals += OutgoingRefusal{one, code, u"no such box"_s};
        }
        if (!refusals.isEmpty())
            queue.refused(message.ticket, refusals);
        for (qsizetype i = 0; i < served.size(); i += most) {
            const QList<QByteArray> some = served.mid(i, most);
            if (!queue.sending(message.ticket, some))
                return u"cannot be written down"_s;
            if (text == 0)
                return u"Connection closed"_s;
            if (text != 250) {
                queue.refused(message.ticket, {{QByteArray(), text, u"too large"_s}});
                return {};
            }
            taken += message;
            taken.last().remaining = some;
            queue.accepted(message.ticket, some);
        }
        return {};
    }
};

const QByteArray kThree = "a@example.org, b@example.org, c@example.org";

} // namespace

class OutboxTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void cleanup() { DiskFaults::isFull = false; }
    void sentAndFiled();
    void whatTheServerSays_data();
    void whatTheServerSays();
    void triedAgainForTwoDays();
    void recipientsThatWereServed();
    void severalTransactions();
    void held_data();
    void held();
    void takenBack();
    void takenBackInPart();
    void whereTheCopyGoes_data();
    void whereTheCopyGoes();
    void marksOnTheOriginal();
    void mailAndPostSettleEachByItself();
    void accountsComeAndGo();
    void theGroupIsTheUsersToo();
    void journal_data();
    void journal();
    void aFullDisk();
    void killed();
};

void OutboxTest::sentAndFiled()
{
    const Scratch scratch;
    Fixture f;
    const quint64 ticket = f.add(outgoing("1", kThree), {.draft = 7});
    QVERIFY(ticket != 0);
    QCOMPARE(f.state(ticket), OutboxState::Waiting);
    QVERIFY(f.outbox.holdsDraft(7));
    QSignalSpy sent(&f.outbox, &Outbox::sent);
    f.now += 90;
    Server server;
    QCOMPARE(server.serve(f.outbox, f.account), 1);
    QCOMPARE(server.taken.size(), 1);
    QCOMPARE(server.taken[0].remaining,
             (QList<QByteArray>{"a@example.org", "b@example.org", "c@example.org"}));
    QCOMPARE(Message(server.taken[0].text).date(), kNow + 90);
    QVERIFY(f.drafts.isEmpty()); // not before its copy is there
    f.outbox.finish();
    QCOMPARE(f.drafts, QList<int>{7});
    QCOMPARE(sent.size(), 1);
    QCOMPARE(f.outbox.entries().size(), 0u);
    QCOMPARE(f.subjects(GroupRole::Outbox), QStringList());
    QCOMPARE(f.subjects(GroupRole::SentMail), QStringList{u"s 1"_s});
    const QByteArray copy = f.lastText(GroupRole::SentMail);
    QVERIFY(copy.contains("Bcc: carol@example.org\n"));
    QVERIFY(!copy.toUpper().contains("X-VELMAR"));
    QCOMPARE(Message(copy).date(), kNow + 90);
    QCOMPARE(Message(copy).body().toByteArray(), "Hello\n"_ba);
    QCOMPARE(scratch.reports, QStringList());
}

void OutboxTest::whatTheServerSays_data()
{
    QTest::addColumn<int>("text");
    QTest::addColumn<int>("recipient");
    QTest::addColumn<int>("state");
    QTest::addColumn<int>("attempts");
    QTest::addColumn<bool>("told");
    QTest::newRow("the text is refused for good") << 554 << 250 << int(OutboxState::Refused) << 0 << true;
    QTest::newRow("the text is refused for now") << 452 << 250 << int(OutboxState::Retrying) << 1 << false;
    QTest::newRow("the recipient is refused for good")
        << 250 << 550 << int(OutboxState::Refused) << 0 << true;
    QTest::newRow("the recipient is refused for now")
        << 250 << 451 << int(OutboxState::Retrying) << 1 << false;
    QTest::newRow("the sender refuses it itself") << 250 << 0 << int(OutboxState::Refused) << 0 << true;
    QTest::newRow("nothing comes after the dot") << 0 << 250 << int(OutboxState::PerhapsSent) << 0 << false;
}

void OutboxTest::whatTheServerSays()
{
    QFETCH(int, text);
    QFETCH(int, recipient);
    QFETCH(int, state);
    QFETCH(int, attempts);
    QFETCH(bool, told);
    const Scratch scratch;
    QByteArray id;
    for (const bool afterwards : {false, true}) { // the same is known by the next run
        Fixture f;
        if (!afterwards) {
            const quint64 ticket = f.add(outgoing("1"));
            Server server;
            server.text = text;
            server.recipients["bob@example.org"] = recipient;
            QCOMPARE(server.serve(f.outbox, f.account), 1);
            QCOMPARE(f.failures.size(), told ? 1 : 0);
            QCOMPARE(f.perhaps.size(), text == 0 ? 1 : 0);
            id = Message(f.lastText(GroupRole::Outbox)).messageId();
            QVERIFY(f.outbox.entry(ticket));
        } else {
            f.advance(1);
            QCOMPARE(f.perhaps.size(), text == 0 ? 1 : 0);
        }
        QCOMPARE(f.outbox.entries().size(), 1u);
        const OutboxEntry entry = f.outbox.entries().front();
        QCOMPARE(int(entry.state), state);
        QCOMPARE(entry.attempts, attempts);
        QVERIFY(!entry.reason.isEmpty());
        QCOMPARE(f.outbox.waiting(f.account), 0);
        QCOMPARE(f.subjects(GroupRole::SentMail), QStringList());
        if (afterwards) { // by hand it goes, as the same message
            f.outbox.sendNow(entry.ticket);
            Server server;
            QCOMPARE(server.serve(f.outbox, f.account), 1);
            QCOMPARE(Message(server.taken[0].text).messageId(), id);
        }
        QVERIFY(f.engine.shutDown());
    }
}

void OutboxTest::triedAgainForTwoDays()
{
    const Scratch scratch;
    Fixture f;
    const quint64 ticket = f.add(outgoing("1"));
    Server server;
    server.text = 451;
    QList<qint64> pauses;
    qint64 last = f.now;
    while (f.now - kNow < 4 * 24 * 3600) {
        if (server.serve(f.outbox, f.account) > 0) {
            pauses += (f.now - last) / 60;
            last = f.now;
        }
        f.advance(60);
    }
    QCOMPARE(pauses.mid(0, 6), (QList<qint64>{0, 5, 15, 60, 60, 60}));
    QCOMPARE(pauses.size(), 1 + 3 + 47);
    QCOMPARE(f.state(ticket), OutboxState::Refused);
    QCOMPARE(f.failures.size(), 1);
    QVERIFY(f.failures[0].contains(u"too large"_s));
}

void OutboxTest::recipientsThatWereServed()
{
    const Scratch scratch;
    Server server;
    server.recipients = {{"b@example.org", 550}, {"c@example.org", 451}};
    {
        Fixture f;
        const quint64 ticket = f.add(outgoing("1", kThree), {.draft = 3});
        server.serve(f.outbox, f.account);
        QCOMPARE(f.state(ticket), OutboxState::Retrying);
        QCOMPARE(f.outbox.entry(ticket)->remaining, (QList<QByteArray>{"b@example.org", "c@example.org"}));
        QVERIFY(f.failures.value(0).contains(u"b@example.org: no such box"_s));
        QVERIFY(f.engine.shutDown());
    }
    Fixture f;
    QCOMPARE(f.outbox.entries().size(), 1u);
    const quint64 ticket = f.outbox.entries().front().ticket;
    f.advance(5 * 60);
    server.recipients.remove("c@example.org");
    QCOMPARE(server.serve(f.outbox, f.account), 1);
    QCOMPARE(server.taken.last().remaining, QList<QByteArray>{"c@example.org"});
    QCOMPARE(f.state(ticket), OutboxState::Refused);
    f.outbox.sendNow(ticket);
    server.recipients.clear();
    QCOMPARE(server.serve(f.outbox, f.account), 1);
    QCOMPARE(server.taken.last().remaining, QList<QByteArray>{"b@example.org"});
    f.outbox.finish();
    QCOMPARE(f.subjects(GroupRole::SentMail), QStringList{u"s 1"_s});
    QCOMPARE(f.drafts, QList<int>{3});
}

void OutboxTest::severalTransactions()
{
    const Scratch scratch;
    Fixture f;
    const quint64 ticket = f.add(outgoing("1", kThree));
    const auto message = f.outbox.next(f.account);
    QVERIFY(f.outbox.sending(ticket, {"a@example.org"}));
    f.outbox.accepted(ticket, {"a@example.org"});
    QVERIFY(f.outbox.sending(ticket, {"b@example.org"}));
    f.outbox.release(ticket, u"Connection closed"_s); // c was not tried
    QCOMPARE(f.state(ticket), OutboxState::PerhapsSent);
    f.outbox.settleAsSent(ticket); // b has got it
    Server server;
    QCOMPARE(server.serve(f.outbox, f.account), 1);
    QCOMPARE(server.taken[0].remaining, QList<QByteArray>{"c@example.org"});
    f.outbox.finish();
    QCOMPARE(f.subjects(GroupRole::SentMail), QStringList{u"s 1"_s});
}

void OutboxTest::held_data()
{
    QTest::addColumn<int>("delay");
    QTest::addColumn<bool>("countsDown");
    QTest::addColumn<qint64>("notBefore");
    QTest::addColumn<qint64>("goesAfter");
    QTest::newRow("ten seconds to take it back") << 10 << true << qint64(0) << qint64(10);
    QTest::newRow("no delay is wanted") << 0 << true << qint64(0) << qint64(0);
    QTest::newRow("it shall not be held") << 10 << false << qint64(0) << qint64(0);
    QTest::newRow("at a date") << 10 << true << kNow + 3600 << qint64(3600);
    QTest::newRow("at a date that has passed") << 10 << true << kNow - 3600 << qint64(10);
}

void OutboxTest::held()
{
    QFETCH(int, delay);
    QFETCH(bool, countsDown);
    QFETCH(qint64, notBefore);
    QFETCH(qint64, goesAfter);
    const Scratch scratch;
    const bool isDate = notBefore > kNow;
    {
        Fixture f;
        Outbox::setUndoDelay(delay);
        const quint64 ticket = f.add(outgoing("1"), {.notBefore = notBefore, .countsDown = countsDown});
        QCOMPARE(f.state(ticket), goesAfter > 0 ? OutboxState::Held : OutboxState::Waiting);
        QCOMPARE(f.outbox.entry(ticket)->countsDown, goesAfter > 0 && !isDate);
        QCOMPARE(f.outbox.waiting(f.account), goesAfter > 0 ? 0 : 1);
        f.advance(goesAfter - 1);
        QVERIFY(f.engine.shutDown());
    }
    Fixture f; // its countdown begins again, a date stays what it was
    Outbox::setUndoDelay(delay);
    QCOMPARE(f.outbox.entries().size(), 1u);
    f.advance(qMax<qint64>(0, goesAfter - 1));
    QCOMPARE(f.outbox.waiting(f.account), goesAfter > 1 && isDate ? 0 : f.outbox.waiting(f.account));
    f.advance(11);
    QCOMPARE(f.outbox.waiting(f.account), 1);
}

void OutboxTest::takenBack()
{
    const Scratch scratch;
    Fixture f;
    const quint64 first = f.add(outgoing("1"), {.draft = 4});
    QCOMPARE(f.outbox.takeBack(first), outgoing("1"));
    QCOMPARE(f.outbox.entries().size(), 0u);
    QCOMPARE(f.subjects(GroupRole::WasteBasket), QStringList());
    QCOMPARE(f.drafts, QList<int>()); // it is edited again
    const quint64 second = f.add(outgoing("2"));
    QVERIFY(f.outbox.next(f.account));
    QVERIFY(f.outbox.takeBack(second).isNull()); // on its way
    f.outbox.remove(second);
    f.outbox.release(second, u"stopped"_s);
    QCOMPARE(f.state(second), OutboxState::Waiting);
    QCOMPARE(f.outbox.takeBack(second), outgoing("2"));
    QCOMPARE(f.subjects(GroupRole::WasteBasket), QStringList{u"s 2"_s}); // nothing else has it
    QCOMPARE(f.subjects(GroupRole::Outbox), QStringList());
}

void OutboxTest::takenBackInPart()
{
    const Scratch scratch;
    Fixture f;
    QByteArray text = outgoing("1", "bob@example.org, carol@example.org");
    const quint64 ticket = f.add(text);
    Server server;
    server.recipients["carol@example.org"] = 550;
    server.serve(f.outbox, f.account);
    const QByteArray rest = f.outbox.takeBack(ticket);
    QVERIFY(rest.contains("X-VELMAR-RCPT-TO: carol@example.org\n"));
    QVERIFY(rest.contains("Bcc: carol@example.org\n"));
    QVERIFY(!rest.contains("bob@"));
    f.outbox.finish();
    QCOMPARE(f.subjects(GroupRole::SentMail), QStringList{u"s 1"_s}); // bob has got it
    QCOMPARE(f.outbox.entries().size(), 0u);
}

void OutboxTest::whereTheCopyGoes_data()
{
    QTest::addColumn<QString>("off"); ///< a setting that is not wanted
    QTest::addColumn<bool>("bounce");
    QTest::addColumn<bool>("reply");
    QTest::addColumn<QString>("place"); ///< nothing: none is kept
    QTest::addColumn<bool>("read");
    QTest::newRow("sent mail") << QString() << false << false << u"Sent mail"_s << true;
    QTest::newRow("unread") << u"MarkReadOnSend"_s << false << false << u"Sent mail"_s << false;
    QTest::newRow("none") << u"KeepSentMail"_s << false << false << QString() << true;
    QTest::newRow("none of what was sent on") << QString() << true << false << QString() << true;
    QTest::newRow("reply") << u"SameFolder"_s << false << true << u"Work"_s << true;
    QTest::newRow("no reply") << u"SameFolder"_s << false << false << u"Sent mail"_s << true;
    QTest::newRow("unread reply") << u"SameFolderUnread"_s << false << true << u"Work"_s << false;
    QTest::newRow("the identity's") << u"Identity"_s << false << false << u"Mine"_s << true;
}

void OutboxTest::whereTheCopyGoes()
{
    QFETCH(QString, off);
    QFETCH(bool, bounce);
    QFETCH(bool, reply);
    QFETCH(QString, place);
    QFETCH(bool, read);
    const Scratch scratch;
    Fixture f;
    setBoolSetting(Setting::FileInSameFolder, off.startsWith(u"SameFolder"_s));
    setBoolSetting(Setting::KeepSentMail, off != u"KeepSentMail"_s);
    setBoolSetting(Setting::MarkReadOnSend, off != u"MarkReadOnSend"_s);
    setBoolSetting(Setting::MarkReadOnSendFile, off != u"SameFolderUnread"_s);
    Group &work = *f.engine.groups().make(u"Work"_s);
    Group &mine = *f.engine.groups().make(u"Mine"_s);
    const quint32 original = f.engine.groups().add(work, Message(mailText("o", "o")), {}, 0, 1);
    Identity identity;
    identity.name = u"Ada"_s;
    identity.address = u"ada@example.org"_s;
    identity.sentMail = off == u"Identity"_s ? mine.number() : 0;
    const int number = f.engine.identities().add(identity);
    SendWish wish{.isReply = reply, .isBounce = bounce};
    wish.original = {work.number(), original};
    QVERIFY(f.outbox.add(outgoing("1"), number, wish) != 0);
    Server().serve(f.outbox, f.account);
    f.outbox.finish();
    QStringList found;
    for (Group *group : f.engine.groups().groups()) {
        for (int row = 0; row < group->rowCount(); ++row) {
            const Overview &overview = group->row(row);
            if (overview.isDead() || group->texts(overview).subject != u"s 1"_s)
                continue;
            found += group->name();
            QCOMPARE(overview.has(Mark::Read), read);
        }
    }
    QCOMPARE(found, place.isEmpty() ? QStringList() : QStringList{place});
    QCOMPARE(f.outbox.entries().size(), 0u);
}

void OutboxTest::marksOnTheOriginal()
{
    const Scratch scratch;
    Fixture f;
    Group &inbox = *f.engine.groups().group(GroupRole::Inbox);
    for (const bool isReply : {true, false}) {
        const quint32 article =
            f.engine.groups().add(inbox, Message(mailText("o", "o")), Mark::Flagged, 0, 1);
        SendWish wish{.isReply = isReply, .isForward = !isReply};
        wish.original = {inbox.number(), article};
        f.add(outgoing(isReply ? "1" : "2"), wish);
        QVERIFY(!inbox.overview(article)->has(Mark::Replied));
        Server().serve(f.outbox, f.account);
        f.outbox.finish();
        QCOMPARE(inbox.overview(article)->has(Mark::Replied), isReply);
        QCOMPARE(inbox.overview(article)->has(Mark::Forwarded), !isReply);
        QCOMPARE(inbox.overview(article)->has(Mark::Flagged), !isReply); // `UnflagOnReply`
    }
}

void OutboxTest::mailAndPostSettleEachByItself()
{
    const Scratch scratch;
    Fixture f;
    AccountData data;
    data.name = u"news"_s;
    data.host = u"127.0.0.1"_s;
    data.kind = AccountKind::Nntp;
    const int news = f.engine.accounts().add(data);
    const quint64 mail = f.add(outgoing("1", "bob@example.org", "Newsgroups: misc.test\n"), {.draft = 5});
    QCOMPARE(f.outbox.entries().size(), 2u);
    const OutboxEntry post = f.outbox.entries().back();
    QCOMPARE(post.transport, OutboxTransport::News);
    QCOMPARE(post.account, news);
    Server server;
    QCOMPARE(server.serve(f.outbox, f.account), 1);
    f.outbox.finish();
    QCOMPARE(f.state(mail), OutboxState(-1));
    QCOMPARE(f.subjects(GroupRole::SentMail), QStringList{u"s 1"_s});
    QCOMPARE(f.subjects(GroupRole::Outbox), QStringList{u"s 1"_s}); // the post needs it
    QCOMPARE(f.drafts, QList<int>());
    const auto message = f.outbox.next(news);
    QVERIFY(message && f.outbox.sending(message->ticket, {}));
    f.outbox.accepted(message->ticket, {});
    f.outbox.release(message->ticket, {});
    f.outbox.finish();
    QCOMPARE(f.subjects(GroupRole::SentNews), QStringList{u"s 1"_s});
    QCOMPARE(f.subjects(GroupRole::Outbox), QStringList());
    QCOMPARE(f.drafts, QList<int>{5});
}

void OutboxTest::accountsComeAndGo()
{
    const Scratch scratch;
    Fixture f;
    const int first = f.account;
    const quint64 ticket = f.add(outgoing("1"));
    QCOMPARE(f.outbox.entry(ticket)->account, first);
    const quint64 leased = f.add(outgoing("2"));
    f.outbox.sendNow(leased);
    QSignalSpy missing(&f.outbox, &Outbox::accountMissing);
    f.engine.accounts().remove(first);
    QCOMPARE(f.outbox.entry(ticket)->account, 0);
    f.add(outgoing("3"));
    QCOMPARE(missing.size(), 1);
    f.outbox.sendWaiting(true);
    QCOMPARE(missing.size(), 2);
    const int second = f.addAccount(u"another"_s);
    QCOMPARE(f.outbox.waiting(second), 3);
    QCOMPARE(Server().serve(f.outbox, first), 0);
    QCOMPARE(Server().serve(f.outbox, second), 3);
}

void OutboxTest::theGroupIsTheUsersToo()
{
    const Scratch scratch;
    Fixture f;
    Group &group = *f.engine.groups().group(GroupRole::Outbox);
    const quint64 gone = f.add(outgoing("1"));
    const quint64 kept = f.add(outgoing("2"));
    f.engine.groups().deleteMessages(group, {f.outbox.entry(gone)->place.article});
    QCOMPARE(f.state(gone), OutboxState(-1));
    QCOMPARE(f.state(kept), OutboxState::Waiting);
    // A received message that asks to be sent to others is not sent there.
    Group &inbox = *f.engine.groups().group(GroupRole::Inbox);
    const quint32 received = f.engine.groups().add(
        inbox, Message(mailText("x", "x", "X-VELMAR-RCPT-TO: eve@example.org\n")), {}, 0, 1);
    f.engine.groups().move(inbox, {received}, group);
    QCOMPARE(f.outbox.entries().size(), 2u);
    const OutboxEntry adopted = f.outbox.entries().back();
    QCOMPARE(adopted.state, OutboxState::Refused);
    f.outbox.sendNow(adopted.ticket);
    Server server;
    QCOMPARE(server.serve(f.outbox, f.account), 2);
    QCOMPARE(server.taken.last().remaining, QList<QByteArray>{"bob@example.org"});
    QVERIFY(!server.taken.last().text.contains("eve@"));
}

void OutboxTest::journal_data()
{
    QTest::addColumn<QString>("damage");
    QTest::addColumn<int>("perhaps"); ///< of three that wait
    QTest::newRow("whole") << u"none"_s << 0;
    QTest::newRow("its last line is cut off") << u"cut"_s << 0;
    QTest::newRow("a line in its midst is another one") << u"flip"_s << 3;
    QTest::newRow("it is gone") << u"gone"_s << 3;
    QTest::newRow("a page of it was never written") << u"hole"_s << 3;
}

void OutboxTest::journal()
{
    QFETCH(QString, damage);
    QFETCH(int, perhaps);
    const Scratch scratch;
    const QString path = configPathOf(u"Outbox/Journal"_s);
    {
        Fixture f;
        for (const char *id : {"1", "2", "3"})
            QVERIFY(f.add(outgoing(id)) != 0);
        QVERIFY(f.engine.shutDown());
    }
    QByteArray bytes = Scratch::read(path);
    const QList<QByteArray> lines = bytes.left(bytes.indexOf('\0')).split('\n');
    QCOMPARE(lines.size(), 5); // the head, three, nothing
    if (damage == u"cut"_s)
        bytes = lines.mid(0, 4).join('\n') + "\n0123abcd 3 sen";
    else if (damage == u"flip"_s)
        bytes[lines[0].size() + 14] = 'x';
    else if (damage == u"hole"_s)
        bytes.replace(lines[0].size() + 1, lines[1].size(), QByteArray(lines[1].size(), '\0'));
    QFile file(path);
    if (damage == u"gone"_s) {
        QVERIFY(file.remove());
    } else {
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        file.close();
    }
    Fixture f;
    QCOMPARE(f.outbox.entries().size(), 3u);
    int doubtful = 0;
    for (const OutboxEntry &entry : f.outbox.entries())
        doubtful += entry.state == OutboxState::PerhapsSent ? 1 : 0;
    QCOMPARE(doubtful, perhaps);
    QCOMPARE(Server().serve(f.outbox, f.account), 3 - perhaps);
    for (const OutboxEntry &entry : std::vector(f.outbox.entries()))
        f.outbox.sendNow(entry.ticket);
    Server server;
    QCOMPARE(server.serve(f.outbox, f.account), perhaps);
    f.outbox.finish();
    QCOMPARE(f.subjects(GroupRole::SentMail).size(), 3);
}

void OutboxTest::aFullDisk()
{
    Scratch scratch;
    Fixture f;
    const quint64 first = f.add(outgoing("1"));
    DiskFaults::isFull = true;
    QCOMPARE(f.add(outgoing("2"), {.draft = 2}), 0u); // and its draft stays
    QVERIFY(!scratch.reports.isEmpty());
    Server server;
    server.serve(f.outbox, f.account);
    QCOMPARE(server.taken.size(), 0); // what cannot be written down is not sent
    DiskFaults::isFull = false;
    f.outbox.sendWaiting(true);
    QCOMPARE(f.state(first), OutboxState::Waiting);
    const auto message = f.outbox.next(f.account);
    QVERIFY(message && f.outbox.sending(first, message->remaining));
    DiskFaults::isFull = true; // between the dot and the answer
    f.outbox.accepted(first, message->remaining);
    f.outbox.release(first, {});
    f.outbox.finish();
    QCOMPARE(f.subjects(GroupRole::SentMail), QStringList());
    DiskFaults::isFull = false;
    f.advance(61);
    QCOMPARE(f.subjects(GroupRole::SentMail), QStringList{u"s 1"_s});
    QCOMPARE(f.subjects(GroupRole::Outbox), QStringList());
    QCOMPARE(f.outbox.entries().size(), 0u);
}

namespace {

/// What a server and a window have seen, in a file that outlives the program.
class Witness
{
public:
    explicit Witness(const Scratch &scratch)
        : m_path(scratch.path(u"witness"_s))
    {}

    void say(const QByteArray &line)
    {
        QFile file(m_path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Append) || file.write(line + '\n') < 0)
            ::_exit(2);
    }
    int count(const QByteArray &line) const { return int(Scratch::read(m_path).split('\n').count(line)); }

private:
    QString m_path;
};

constexpr int kMails = 3;

/// Hands messages over and sends them, like a run of the program; ends at the call that kills it.
int addAndSend(Witness &witness)
{
    Fixture f;
    QObject::connect(&f.outbox, &Outbox::draftSettled,
                     [&](int draft) { witness.say("settled " + QByteArray::number(draft)); });
    DiskFaults::calls = 0;
    for (int i = 1; i <= kMails; ++i) {
        if (f.add(outgoing(QByteArray::number(i), kThree), {.draft = i}) != 0)
            witness.say("added " + QByteArray::number(i));
    }
    while (const auto message = f.outbox.next(f.account)) {
        const QByteArray subject = Message(message->text).subject().toLatin1().mid(2);
        if (f.outbox.sending(message->ticket, message->remaining)) {
            witness.say("sent " + subject);
            f.outbox.accepted(message->ticket, message->remaining);
        }
        f.outbox.release(message->ticket, {});
        f.outbox.finish();
    }
    DiskFaults::killBefore = -1;
    return int(DiskFaults::calls);
}

} // namespace

/// At every single write and sync.
void OutboxTest::killed()
{
    long calls = 0;
    {
        const Scratch scratch;
        Witness witness(scratch);
        calls = addAndSend(witness);
        QCOMPARE(witness.count("sent 3"), 1);
        QCOMPARE(witness.count("settled 3"), 1);
    }
    QVERIFY(calls > 40);
    int doubtful = 0;
    for (long call = 1; call <= calls; ++call) {
        const Scratch scratch;
        Witness witness(scratch);
        const pid_t child = ::fork();
        if (child == 0) {
            DiskFaults::calls = -1'000'000; // counted anew when the sending begins
            DiskFaults::killBefore = call;
            addAndSend(witness);
            ::_exit(0);
        }
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        QVERIFY2(WIFSIGNALED(status), QByteArray::number(call).constData());

        Fixture f;
        QObject::connect(&f.outbox, &Outbox::draftSettled,
                         [&](int draft) { witness.say("settled " + QByteArray::number(draft)); });
        for (const int draft : std::as_const(f.drafts)) // at the start already
            witness.say("settled " + QByteArray::number(draft));
        QStringList unsure;
        for (const OutboxEntry &entry : f.outbox.entries()) {
            Group &group = *f.engine.groups().group(entry.place.group);
            if (entry.state == OutboxState::PerhapsSent)
                unsure += group.texts(*group.overview(entry.place.article)).subject.mid(2);
            else
                QCOMPARE(entry.state, OutboxState::Waiting);
        }
        doubtful += int(unsure.size());
        while (const auto message = f.outbox.next(f.account)) {
            QVERIFY(f.outbox.sending(message->ticket, message->remaining));
            witness.say("sent " + Message(message->text).subject().toLatin1().mid(2));
            f.outbox.accepted(message->ticket, message->remaining);
            f.outbox.release(message->ticket, {});
        }
        f.outbox.finish();
        const QStringList copies = f.subjects(GroupRole::SentMail);
        const QStringList left = f.subjects(GroupRole::Outbox);
        for (int i = 1; i <= kMails; ++i) {
            const QByteArray id = QByteArray::number(i);
            const QString subject = u"s %1"_s.arg(i);
            const bool isUnsure = unsure.contains(QString::number(i));
            const int sent = witness.count("sent " + id);
            const QByteArray where = "call " + QByteArray::number(call) + ", message " + id;
            QVERIFY2(sent <= 1, where.constData());
            QVERIFY2(copies.count(subject) == (sent == 1 && !isUnsure ? 1 : 0), where.constData());
            QVERIFY2(left.count(subject) == (isUnsure ? 1 : 0), where.constData());
            QVERIFY2(witness.count("added " + id) == 0 || sent == 1 || isUnsure, where.constData());
            QVERIFY2((witness.count("settled " + id) > 0) == (copies.count(subject) == 1), where.constData());
        }
        QVERIFY(f.engine.shutDown());
    }
    QVERIFY(doubtful > 0);
}

QTEST_GUILESS_MAIN(OutboxTest)
#include "outbox_test.moc"
