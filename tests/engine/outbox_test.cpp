#include "outboxattest.h"
#include "support/memory.h"

#include <QRegularExpression>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

class OutboxTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
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
    void takenBackWhenHalfIsGone_data();
    void takenBackWhenHalfIsGone();
    void whereTheCopyGoes_data();
    void whereTheCopyGoes();
    void marksOnTheOriginal();
    void mailAndPostSettleEachByItself();
    void theGroupIsTheUsersToo();
    void adoptedAndSentOn_data();
    void adoptedAndSentOn();
    void deletedAndBroughtBack_data();
    void deletedAndBroughtBack();
    void whatIsNotTaken_data();
    void whatIsNotTaken();
};

void OutboxTest::sentAndFiled()
{
    const Scratch scratch;
    OutboxAtTest f;
    const quint64 ticket = f.add(outgoing("1", kThree), {.draft = 7});
    QVERIFY(ticket != 0);
    QCOMPARE(f.state(ticket), OutboxState::Waiting);
    QVERIFY(f.outbox.holdsDraft(7));
    QSignalSpy sent(&f.outbox, &Outbox::sent);
    f.now += 90;
    FakeServer server;
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
    QTest::addColumn<OutboxState>("state");
    QTest::addColumn<QString>("status");
    const QString refused = u"It could not be sent: *."_s;
    const QString later = u"It could not be sent and is tried again at *: *."_s;
    QTest::newRow("the text is refused for good") << 554 << 250 << OutboxState::Refused << refused;
    QTest::newRow("the text is refused for now") << 452 << 250 << OutboxState::Retrying << later;
    QTest::newRow("the recipient is refused for good") << 250 << 550 << OutboxState::Refused << refused;
    QTest::newRow("the recipient is refused for now") << 250 << 451 << OutboxState::Retrying << later;
    QTest::newRow("the sender refuses it itself") << 250 << 0 << OutboxState::Refused << refused;
    QTest::newRow("nothing comes after the dot")
        << 0 << 250 << OutboxState::PerhapsSent
        << u"Nobody knows whether the message was sent. It may have arrived: *."_s;
}

void OutboxTest::whatTheServerSays()
{
    QFETCH(int, text);
    QFETCH(int, recipient);
    QFETCH(OutboxState, state);
    QFETCH(QString, status);
    const Scratch scratch;
    QByteArray id;
    for (const bool afterwards : {false, true}) { // the same is known by the next run
        OutboxAtTest f;
        if (!afterwards) {
            f.add(outgoing("1"));
            FakeServer server;
            server.text = text;
            server.recipients["bob@example.org"] = recipient;
            QCOMPARE(server.serve(f.outbox, f.account), 1);
            QCOMPARE(f.failures.size(), state == OutboxState::Refused ? 1 : 0);
            id = Message(f.lastText(GroupRole::Outbox)).messageId();
        }
        f.advance(1);
        QCOMPARE(f.perhaps.size(), state == OutboxState::PerhapsSent ? 1 : 0);
        QCOMPARE(f.outbox.entries().size(), 1u);
        const OutboxEntry entry = f.outbox.entries().front();
        QCOMPARE(entry.state, state);
        QCOMPARE(entry.attempts, state == OutboxState::Retrying ? 1 : 0);
        const QString told = f.outbox.status(entry.ticket);
        QVERIFY2(QRegularExpression::fromWildcard(status).match(told).hasMatch(), qPrintable(told));
        QCOMPARE(f.outbox.waiting(f.account), 0);
        QCOMPARE(f.subjects(GroupRole::SentMail), QStringList());
        if (afterwards) { // by hand it goes, as the same message
            f.outbox.sendNow(entry.ticket);
            FakeServer server;
            QCOMPARE(server.serve(f.outbox, f.account), 1);
            QCOMPARE(Message(server.taken[0].text).messageId(), id);
        }
        QVERIFY(f.engine.shutDown());
    }
}

void OutboxTest::triedAgainForTwoDays()
{
    const Scratch scratch;
    OutboxAtTest f;
    const quint64 ticket = f.add(outgoing("1"));
    FakeServer server;
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
    FakeServer server;
    server.recipients = {{"b@example.org", 550}, {"c@example.org", 451}};
    {
        OutboxAtTest f;
        const quint64 ticket = f.add(outgoing("1", kThree), {.draft = 3});
        server.serve(f.outbox, f.account);
        QCOMPARE(f.state(ticket), OutboxState::Retrying);
        QCOMPARE(f.outbox.entry(ticket)->remaining, (QList<QByteArray>{"b@example.org", "c@example.org"}));
        QVERIFY(f.failures.value(0).contains(u"b@example.org: no such box"_s));
        QVERIFY(f.engine.shutDown());
    }
    OutboxAtTest f;
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
    OutboxAtTest f;
    const quint64 ticket = f.add(outgoing("1", kThree));
    const auto message = f.outbox.next(f.account);
    QVERIFY(f.outbox.sending(ticket, {"a@example.org"}));
    f.outbox.accepted(ticket, {"a@example.org"});
    QVERIFY(f.outbox.sending(ticket, {"b@example.org"}));
    f.outbox.release(ticket, u"Connection closed"_s); // c was not tried
    QCOMPARE(f.state(ticket), OutboxState::PerhapsSent);
    f.outbox.settleAsSent(ticket); // b has got it
    FakeServer server;
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
        OutboxAtTest f;
        Outbox::setUndoDelay(delay);
        const quint64 ticket = f.add(outgoing("1"), {.notBefore = notBefore, .countsDown = countsDown});
        QCOMPARE(f.state(ticket), goesAfter > 0 ? OutboxState::Held : OutboxState::Waiting);
        QCOMPARE(f.outbox.entry(ticket)->countsDown, goesAfter > 0 && !isDate);
        QCOMPARE(f.outbox.waiting(f.account), goesAfter > 0 ? 0 : 1);
        f.advance(goesAfter - 1);
        QVERIFY(f.engine.shutDown());
    }
    OutboxAtTest f; // its countdown begins again, a date stays what it was
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
    OutboxAtTest f;
    const quint64 first = f.add(outgoing("1"), {.draft = 4});
    QCOMPARE(f.outbox.takeBack(first), outgoing("1"));
    QCOMPARE(f.outbox.entries().size(), 0u);
    QCOMPARE(f.subjects(GroupRole::WasteBasket), QStringList());
    QCOMPARE(f.drafts, QList<int>()); // it is edited again
    const quint64 second = f.add(outgoing("2"));
    QVERIFY(f.outbox.next(f.account));
    QVERIFY(f.outbox.takeBack(second).isNull()); // on its way
    f.outbox.release(second, u"stopped"_s);
    QCOMPARE(f.state(second), OutboxState::Waiting);
    QCOMPARE(f.outbox.takeBack(second), outgoing("2"));
    QCOMPARE(f.subjects(GroupRole::WasteBasket), QStringList{u"s 2"_s}); // nothing else has it
    QCOMPARE(f.subjects(GroupRole::Outbox), QStringList());
}

void OutboxTest::takenBackInPart()
{
    const Scratch scratch;
    OutboxAtTest f;
    QByteArray text = outgoing("1", "bob@example.org, carol@example.org");
    const quint64 ticket = f.add(text, {.draft = 6});
    FakeServer server;
    server.recipients["carol@example.org"] = 550;
    server.serve(f.outbox, f.account);
    QString notice;
    const QByteArray rest = f.outbox.takeBack(ticket, {}, &notice);
    QCOMPARE(notice, u"Some have it already; they are no recipients any more."_s);
    QVERIFY(rest.contains("X-VELMAR-RCPT-TO: carol@example.org\n"));
    QVERIFY(rest.contains("Bcc: carol@example.org\n"));
    QVERIFY(!rest.contains("bob@"));
    QVERIFY(!f.outbox.holdsDraft(6)); // it is open again
    f.outbox.finish();
    QCOMPARE(f.drafts, QList<int>()); // and stays, whatever becomes of the copy
    QCOMPARE(f.subjects(GroupRole::SentMail), QStringList{u"s 1"_s}); // bob has got it
    QCOMPARE(f.outbox.entries().size(), 0u);
}

void OutboxTest::takenBackWhenHalfIsGone_data()
{
    QTest::addColumn<OutboxTransport>("gone");
    QTest::addColumn<bool>("isFiled");
    QTest::newRow("the mail") << OutboxTransport::Mail << true;
    QTest::newRow("the mail, not filed yet") << OutboxTransport::Mail << false;
    QTest::newRow("the post") << OutboxTransport::News << true;
}

/// Sending again what was edited must not send that half again.
void OutboxTest::takenBackWhenHalfIsGone()
{
    QFETCH(OutboxTransport, gone);
    QFETCH(bool, isFiled);
    const Scratch scratch;
    OutboxAtTest f;
    const int news = f.addAccount(u"news"_s, 0, AccountKind::Nntp);
    const quint64 mail = f.add(outgoing("1", "bob@example.org", "Newsgroups: misc.test\n"));
    const bool isMail = gone == OutboxTransport::Mail;
    const auto message = f.outbox.next(isMail ? f.account : news);
    QVERIFY(message && f.outbox.sending(message->ticket, {}));
    f.outbox.accepted(message->ticket, {});
    f.outbox.release(message->ticket, {});
    if (isFiled)
        f.outbox.finish();
    QString notice;
    const QByteArray rest = f.outbox.takeBack(isMail ? mail + 1 : mail, {}, &notice);
    QVERIFY(!rest.isNull() && !notice.isEmpty());
    QCOMPARE(rest.contains("Newsgroups:"), isMail);
    for (const char *field : {"\nTo:", "\nBcc:", "X-VELMAR-RCPT-TO:"})
        QCOMPARE(rest.contains(field), !isMail);
    f.outbox.finish();
    QCOMPARE(f.outbox.entries().size(), 0u);
    QCOMPARE(f.subjects(isMail ? GroupRole::SentMail : GroupRole::SentNews), QStringList{u"s 1"_s});
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
    OutboxAtTest f;
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
    FakeServer().serve(f.outbox, f.account);
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
    for (const bool isReply : {true, false}) {
        const Scratch scratch;
        std::optional<OutboxAtTest> f(std::in_place);
        const auto inbox = [&] { return f->engine.groups().group(GroupRole::Inbox); };
        Group &work = *f->engine.groups().make(u"Work"_s);
        const auto add = [&](const char *id) {
            return f->engine.groups().add(*inbox(), Message(mailText(id, "o")), Mark::Flagged, 0, 1);
        };
        const quint32 stays = add("a");
        const quint32 moves = add("b");
        SendWish wish{.isReply = isReply, .isForward = !isReply};
        wish.original = {inbox()->number(), stays};
        wish.others = {{inbox()->number(), moves}};
        f->add(outgoing("1"), wish);
        const quint32 moved = f->engine.groups().move(*inbox(), {moves}, work).front();
        QVERIFY(!inbox()->overview(stays)->has(Mark::Replied));
        QVERIFY(f->engine.shutDown());
        f.emplace();
        FakeServer().serve(f->outbox, f->account);
        f->outbox.finish();
        Group &workNow = *f->engine.groups().find(u"Work"_s);
        for (const Overview &overview : {*inbox()->overview(stays), *workNow.overview(moved)}) {
            QCOMPARE(overview.has(Mark::Replied), isReply);
            QCOMPARE(overview.has(Mark::Forwarded), !isReply);
            QCOMPARE(overview.has(Mark::Flagged), !isReply); // `UnflagOnReply`
        }
    }
}

void OutboxTest::mailAndPostSettleEachByItself()
{
    const Scratch scratch;
    OutboxAtTest f;
    const int news = f.addAccount(u"news"_s, 0, AccountKind::Nntp);
    const quint64 mail = f.add(outgoing("1", "bob@example.org", "Newsgroups: misc.test\n"), {.draft = 5});
    QCOMPARE(f.outbox.entries().size(), 2u);
    const OutboxEntry post = f.outbox.entries().back();
    QCOMPARE(post.transport, OutboxTransport::News);
    QCOMPARE(post.account, news);
    FakeServer server;
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

void OutboxTest::theGroupIsTheUsersToo()
{
    const Scratch scratch;
    OutboxAtTest f;
    Group &group = *f.engine.groups().group(GroupRole::Outbox);
    QSignalSpy returned(&f.outbox, &Outbox::draftReturned);
    const quint64 gone = f.add(outgoing("1"), {.draft = 9});
    const quint64 kept = f.add(outgoing("2"));
    f.engine.groups().deleteMessages(group, {f.outbox.entry(gone)->place.article});
    QCOMPARE(f.state(gone), OutboxState(-1));
    QCOMPARE(returned.size(), 1); // its draft is there as before
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
    FakeServer server;
    QCOMPARE(server.serve(f.outbox, f.account), 2);
    QCOMPARE(server.taken.last().remaining, QList<QByteArray>{"bob@example.org"});
    QVERIFY(!server.taken.last().text.contains("eve@"));
}

void OutboxTest::adoptedAndSentOn_data()
{
    QTest::addColumn<QByteArray>("front");
    QTest::addColumn<QList<QByteArray>>("recipients");
    const QByteArray resent = "Resent-From: ada@example.org\nResent-To: carl@example.org\n";
    const QByteArray earlier =
        "Resent-From: x@example.org\nResent-To: y@example.org\nResent-Cc: z@example.org\n";
    const QList<QByteArray> own = {"bob@example.org"};
    const QList<QByteArray> sentOn = {"carl@example.org"};
    QTest::newRow("it is its writer's") << QByteArray() << own;
    QTest::newRow("it was being sent on") << resent << sentOn;
    QTest::newRow("a second time") << resent + earlier << sentOn;
    QTest::newRow("its control fields are nobody's word")
        << "X-VELMAR-RCPT-TO: eve@example.org\n" + resent << sentOn;
    QTest::newRow("somebody sent it on to here") << "Received: from a by b; x\n" + earlier << own;
}

/// The journal of the outbox is lost: to whom it goes, its fields alone say.
void OutboxTest::adoptedAndSentOn()
{
    QFETCH(QByteArray, front);
    QFETCH(QList<QByteArray>, recipients);
    const Scratch scratch;
    OutboxAtTest f;
    f.engine.groups().add(*f.engine.groups().group(GroupRole::Outbox), Message(front + mailText("x", "x")),
                          {}, 0, 1);
    QCOMPARE(f.outbox.entries().size(), 1u);
    f.outbox.sendNow(f.outbox.entries().front().ticket);
    FakeServer server;
    QCOMPARE(server.serve(f.outbox, f.account), 1);
    QCOMPARE(server.taken[0].remaining, recipients);
    const bool isSentOn = recipients != QList<QByteArray>{"bob@example.org"};
    QCOMPARE(server.taken[0].text.contains("Resent-Date: "), isSentOn);
}

void OutboxTest::deletedAndBroughtBack_data()
{
    QTest::addColumn<bool>("isRestarted");
    QTest::newRow("at once") << false;
    QTest::newRow("in another run") << true;
}

/// Whom it has reached it does not reach again.
void OutboxTest::deletedAndBroughtBack()
{
    QFETCH(bool, isRestarted);
    const Scratch scratch;
    FakeServer server;
    server.recipients = {{"b@example.org", 550}};
    std::optional<OutboxAtTest> f(std::in_place);
    QSignalSpy returned(&f->outbox, &Outbox::draftReturned);
    const quint64 partly = f->add(outgoing("1", kThree), {.draft = 3});
    server.serve(f->outbox, f->account);
    server.text = 0;
    const quint64 perhaps = f->add(outgoing("2"));
    server.serve(f->outbox, f->account);
    Group &outbox = *f->engine.groups().group(GroupRole::Outbox);
    f->engine.groups().deleteMessages(outbox, {f->outbox.entry(partly)->place.article});
    setBoolSetting(Setting::UseWasteBasket, false);
    f->engine.groups().deleteMessages(outbox, {f->outbox.entry(perhaps)->place.article}); // not destroyed
    QCOMPARE(f->outbox.entries().size(), 0u);
    QCOMPARE(returned.size(), 1);
    f->outbox.finish();
    QCOMPARE(f->subjects(GroupRole::SentMail), QStringList{u"s 1"_s}); // two have it
    QCOMPARE(f->drafts, QList<int>());
    if (isRestarted) {
        QVERIFY(f->engine.shutDown());
        f.emplace();
        QCOMPARE(f->outbox.entries().size(), 0u);
    }
    Group &basket = *f->engine.groups().group(GroupRole::WasteBasket);
    Articles articles;
    for (int row = 0; row < basket.rowCount(); ++row)
        articles.push_back(basket.row(row).article());
    QCOMPARE(articles.size(), 2u);
    f->engine.groups().move(basket, articles, *f->engine.groups().group(GroupRole::Outbox));
    QCOMPARE(f->outbox.entries().size(), 2u);
    QCOMPARE(f->state(partly), OutboxState::Refused);
    QCOMPARE(f->outbox.entry(partly)->remaining, QList<QByteArray>{"b@example.org"});
    QCOMPARE(f->state(perhaps), OutboxState::PerhapsSent);
    f->outbox.sendNow(partly);
    FakeServer good;
    good.serve(f->outbox, f->account);
    QCOMPARE(good.taken.size(), 1);
    QCOMPARE(good.taken[0].remaining, QList<QByteArray>{"b@example.org"});
    f->outbox.finish();
    QCOMPARE(f->subjects(GroupRole::SentMail), QStringList{u"s 1"_s}); // and one copy is enough
    QCOMPARE(f->drafts, QList<int>{3});
}

void OutboxTest::whatIsNotTaken_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("nobody can encrypt it yet, and it must not leave readable")
        << "X-Velmar-Encrypt: Yes\n" + outgoing("1");
    QTest::newRow("it goes to nobody")
        << QByteArray("From: ada@example.org\nSubject: s\nMessage-ID: <1>\n\nHello\n");
    QTest::newRow("it is posted, and nothing can be posted")
        << outgoing("1", "bob@example.org", "Newsgroups: misc.test\n");
}

void OutboxTest::whatIsNotTaken()
{
    QFETCH(QByteArray, text);
    Scratch scratch;
    OutboxAtTest f;
    QCOMPARE(f.add(text), 0U);
    QCOMPARE(scratch.reports.size(), 1);
    QCOMPARE(f.subjects(GroupRole::Outbox), QStringList());
    QVERIFY(f.add("X-Velmar-Encrypt: No\n" + outgoing("2")) != 0);
    if (!text.startsWith("X-Velmar-Encrypt"))
        return;
    // By another way it comes there all the same, stays, and says why.
    f.engine.groups().add(*f.engine.groups().group(GroupRole::Outbox), Message(text), {}, 0, 1);
    const quint64 ticket = f.outbox.entries().back().ticket;
    f.outbox.sendNow(ticket);
    QCOMPARE(FakeServer().serve(f.outbox, f.account), 1); // the other one
    QCOMPARE(f.outbox.status(ticket),
             u"It could not be sent: It is to be encrypted, which is not possible yet."_s);
}

QTEST_GUILESS_MAIN(OutboxTest)
#include "outbox_test.moc"
