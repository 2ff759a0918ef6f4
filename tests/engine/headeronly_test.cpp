#include "engine/accountreceiver.h"

#include "config/clock.h"
#include "engine/engine.h"
#include "store/serverplace.h"
#include "store/transfer.h"
#include "support/mail.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QSignalSpy>
#include <QTest>

#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int kAccount = 1;
constexpr qint64 kServerSize = 70'000;

AccountData accountData()
{
    AccountData data;
    data.number = kAccount;
    data.kind = AccountKind::Pop3;
    data.name = u"Test"_s;
    data.host = u"localhost"_s;
    return data;
}

/// The body makes an attachment known that the header alone does not show.
QByteArray text(const QByteArray &id, bool hasMessageId)
{
    QByteArray text =
        mailText(id, id, "MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary=b\n",
                 "--b\n\nHello\n--b\nContent-Disposition: attachment; filename=a.bin\n\nabc\n--b--\n");
    return hasMessageId ? text : text.replace("Message-ID", "X-Other");
}

ReceivedMessage header(const QByteArray &id, bool hasMessageId = true)
{
    const QByteArray whole = text(id, hasMessageId);
    return {whole.first(whole.indexOf("\n\n") + 1), id, true, kServerSize};
}

ReceivedMessage whole(const QByteArray &id, bool hasMessageId = true)
{
    return {text(id, hasMessageId), id, false, kServerSize};
}

struct Fixture
{
    Fixture()
    {
        if (!engine.load())
            qFatal("the test cannot load");
        if (!engine.accounts().account(kAccount) &&
            (engine.accounts().add(accountData()) != kAccount || !engine.accounts().save()))
            qFatal("the test has no account");
        receiver = std::make_unique<AccountReceiver>(engine.delivery(), accountData());
    }
    bool store(const ReceivedMessage &message)
    {
        const bool good = receiver->store(message) && receiver->flush();
        receiver->remembered();
        return good;
    }
    bool complete(MessageRef place, const ReceivedMessage &message)
    {
        return receiver->complete({place.group, place.article}, message) && receiver->flush();
    }
    Group &inbox() { return *engine.groups().group(GroupRole::Inbox); }

    Engine engine;
    std::unique_ptr<AccountReceiver> receiver;
};

/// Every text of the live messages in @p group.
QList<QByteArray> texts(Group &group)
{
    QList<QByteArray> all;
    for (int row = 0; row < group.rowCount(); ++row) {
        if (!group.row(row).isDead())
            all += group.readMessage(group.row(row));
    }
    return all;
}

} // namespace

class HeaderOnlyTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void thePlaceOnTheServer_data();
    void thePlaceOnTheServer();
    void aForgedLineMeansNothing();
    void completed();
    void movedMeanwhile_data();
    void movedMeanwhile();
    void goneMeanwhile_data();
    void goneMeanwhile();
    void aTransferOnTheWay();
    void killed_data();
    void killed();
    void everythingIsRebuilt_data();
    void everythingIsRebuilt();
    void compacted();
};

void HeaderOnlyTest::thePlaceOnTheServer_data()
{
    QTest::addColumn<QByteArray>("identifier");
    QTest::addColumn<bool>("good");
    QTest::newRow("short") << QByteArray("a") << true;
    QTest::newRow("bytes of all kinds") << QByteArray("<\xe4\xff:,\"()@>") << true;
    QTest::newRow("folded") << QByteArray(5000, 'x') << true;
    QTest::newRow("exactly one piece") << QByteArray(900, 'x') << true;
    QTest::newRow("empty") << QByteArray() << false;
    QTest::newRow("a blank") << QByteArray("a b") << false;
    QTest::newRow("a line end") << QByteArray("a\nX-Evil: 1") << false;
}

void HeaderOnlyTest::thePlaceOnTheServer()
{
    QFETCH(QByteArray, identifier);
    QFETCH(bool, good);
    const ServerPlace place{7, 123'456'789'012, identifier};
    const QByteArray text = withServerPlace(place, "Subject: x\n");
    QCOMPARE(!text.isNull(), good);
    if (!good)
        return;
    QVERIFY(text.endsWith("\nSubject: x\n"));
    for (const QByteArray &line : text.split('\n'))
        QVERIFY(line.size() < 998);
    QCOMPARE(serverPlaceOf(text), std::optional(place));
    QCOMPARE(serverPlaceOf(withServerPlace(place, " more\nSubject: x\n")), std::optional(place));
    QCOMPARE(Message(text).header("Subject"), u"x"_s);
    QCOMPARE(serverPlaceOf("X-Velmar-On-Server: 1 x " + identifier + '\n'), std::nullopt);
}

void HeaderOnlyTest::aForgedLineMeansNothing()
{
    Scratch scratch;
    Fixture f;
    ReceivedMessage forged = whole("a");
    forged.text.prepend("X-Velmar-On-Server: 1 500 stolen\n");
    QVERIFY(f.store(forged));
    QSignalSpy told(&f.engine.serverWishes(), &ServerWishes::told);
    f.engine.serverWishes().fetchRest({{f.inbox().number(), 1}});
    QCOMPARE(told.size(), 0);
    QVERIFY(!f.engine.serverWishes().isRestWanted({f.inbox().number(), 1}));
    QVERIFY(f.complete({f.inbox().number(), 1}, whole("stolen")));
    QCOMPARE(texts(f.inbox()), (QList<QByteArray>{forged.text, text("stolen", true)}));
}

void HeaderOnlyTest::completed()
{
    Scratch scratch;
    Fixture f;
    std::vector<NewMail> news;
    connect(&f.engine.delivery(), &Delivery::newMail, this, [&](const std::vector<NewMail> &arrived) {
        news.insert(news.end(), arrived.begin(), arrived.end());
    });
    for (const char *id : {"a", "b", "c"})
        QVERIFY(f.store(header(id)));
    Group &inbox = f.inbox();
    f.engine.delivery().finish();
    QVERIFY(inbox.setMarks({2}, Mark::Flagged | Mark::Watched, {}));
    QVERIFY(inbox.setTags({2}, 5, 0));
    const Overview before = *inbox.overview(2);
    QVERIFY(before.has(Mark::HeaderOnly));
    QCOMPARE(before.size(), quint32(kServerSize));
    QVERIFY(!before.has(Mark::Attachments));
    QSignalSpy changed(&inbox, &Group::messagesChanged);
    QVERIFY(f.complete({inbox.number(), 2}, whole("b")));
    f.engine.delivery().finish();

    const Overview after = *inbox.overview(2);
    QCOMPARE(inbox.readMessage(after), text("b", true));
    QVERIFY(!after.has(Mark::HeaderOnly));
    QVERIFY(after.has(Mark::Flagged) && after.has(Mark::Watched) && after.has(Mark::Attachments));
    QCOMPARE(after.tags(), 5u);
    QCOMPARE(after.arrival(), before.arrival());
    QCOMPARE(after.idHash(), before.idHash());
    QCOMPARE(after.size(), quint32(text("b", true).size()));
    QCOMPARE(after.serverHash(), identifierHash("b"));
    QCOMPARE(inbox.texts(after).subject, u"b"_s);
    QCOMPARE(changed.size(), 1);
    QCOMPARE(inbox.counts().total, 3u);
    QCOMPARE(news.size(), 1); // not again
    QCOMPARE(news[0].articles, (Articles{1, 2, 3}));
    QVERIFY(f.complete({inbox.number(), 2}, whole("b"))); // a second answer to one wish
    QCOMPARE(texts(inbox).size(), 3);
    QCOMPARE(scratch.reports, QStringList());
}

void HeaderOnlyTest::movedMeanwhile_data()
{
    QTest::addColumn<bool>("hasMessageId");
    QTest::newRow("by its Message-ID") << true;
    QTest::newRow("by its line") << false;
}

void HeaderOnlyTest::movedMeanwhile()
{
    QFETCH(bool, hasMessageId);
    Scratch scratch;
    Fixture f;
    QVERIFY(f.store(header("a", hasMessageId)));
    QVERIFY(f.store(header("b", hasMessageId)));
    Group &drafts = *f.engine.groups().group(GroupRole::Drafts);
    QCOMPARE(f.engine.groups().move(f.inbox(), {1, 2}, drafts), (Articles{1, 2}));
    QCOMPARE(drafts.overview(2)->size(), quint32(kServerSize)); // it travels with the message
    QVERIFY(f.complete({f.inbox().number(), 2}, whole("b", hasMessageId)));
    QCOMPARE(drafts.readMessage(*drafts.overview(2)), text("b", hasMessageId));
    QVERIFY(drafts.overview(1)->has(Mark::HeaderOnly));
    QCOMPARE(texts(f.inbox()).size(), 0);
}

void HeaderOnlyTest::goneMeanwhile_data()
{
    movedMeanwhile_data();
}

/// It may be deleted on the server next: what came is kept.
void HeaderOnlyTest::goneMeanwhile()
{
    QFETCH(bool, hasMessageId);
    Scratch scratch;
    Fixture f;
    QVERIFY(f.store(header("a", hasMessageId)));
    QVERIFY(f.engine.groups().deleteMessages(f.inbox(), {1}, true));
    for (int i = 0; i < 2; ++i) { // a second answer, after a session that was interrupted
        QVERIFY(f.complete({f.inbox().number(), 1}, whole("a", hasMessageId)));
        f.receiver->remembered();
    }
    QCOMPARE(texts(f.inbox()), QList<QByteArray>{text("a", hasMessageId)});
    QVERIFY(!f.inbox().overview(2)->has(Mark::HeaderOnly));
    QCOMPARE(f.inbox().overview(2)->serverHash(), identifierHash("a"));
    QVERIFY(f.store(header("b", hasMessageId)));
    QVERIFY(f.complete({}, whole("b", hasMessageId))); // nobody said where
    QCOMPARE(texts(f.inbox()).size(), 2);
    QVERIFY(!f.inbox().overview(3)->has(Mark::HeaderOnly));
}

void HeaderOnlyTest::aTransferOnTheWay()
{
    Scratch scratch;
    Fixture f;
    QVERIFY(f.store(header("a")));
    Group &drafts = *f.engine.groups().group(GroupRole::Drafts);
    Transfer transfer(f.engine.groups(), f.inbox(), {1}, drafts, Transfer::Kind::Move);
    QCOMPARE(transfer.step(1000), Transfer::Progress::Working);
    QCOMPARE(transfer.step(1000), Transfer::Progress::Working); // it is in both groups now
    QVERIFY(f.complete({f.inbox().number(), 1}, whole("a")));
    transfer.run();
    QCOMPARE(texts(f.inbox()).size(), 0);
    QCOMPARE(texts(drafts), QList<QByteArray>{text("a", true)});
}

void HeaderOnlyTest::killed_data()
{
    QTest::addColumn<int>("microseconds");
    for (int i = 0; i < 40; ++i)
        QTest::newRow(QByteArray::number(i).constData()) << i * 97;
}

/// Killed at some moment while messages are completed, one batch after the other.
void HeaderOnlyTest::killed()
{
    QFETCH(int, microseconds);
    constexpr int kMessages = 40;
    Scratch scratch;
    int ready[2];
    QCOMPARE(::pipe(ready), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        Fixture f;
        for (int i = 1; i <= kMessages; ++i) {
            if (!f.receiver->store(header(QByteArray::number(i))))
                ::_exit(1);
        }
        if (!f.receiver->flush() || ::write(ready[1], "x", 1) != 1)
            ::_exit(1);
        for (int i = 1; i <= kMessages; i += 4) {
            for (int k = i; k < i + 4; ++k) {
                if (!f.receiver->complete({f.inbox().number(), quint32(k)}, whole(QByteArray::number(k))))
                    ::_exit(1);
            }
            if (!f.receiver->flush() || !f.store(whole("new" + QByteArray::number(i))))
                ::_exit(1);
        }
        ::pause();
    }
    ::close(ready[1]);
    char byte = 0;
    QCOMPARE(::read(ready[0], &byte, 1), 1);
    ::close(ready[0]);
    ::usleep(useconds_t(microseconds));
    QCOMPARE(::kill(child, SIGKILL), 0);
    QCOMPARE(::waitpid(child, nullptr, 0), child);

    Fixture f;
    for (const bool rebuilt : {false, true}) {
        if (rebuilt) { // by the bins alone, nothing else comes of it
            QVERIFY(f.inbox().flush());
            f.inbox().close();
            QVERIFY(QFile::remove(f.inbox().files().directory() + u"/Overview"_s));
        }
        QMap<QByteArray, int> seen;
        for (const QByteArray &one : texts(f.inbox())) {
            const QByteArray id = Message(one).subject().toLatin1();
            ++seen[id];
            const std::optional<ServerPlace> place = serverPlaceOf(one);
            if (place)
                QCOMPARE(place->identifier, id);
            else
                QCOMPARE(one, text(id, true));
        }
        for (int i = 1; i <= kMessages; ++i)
            QCOMPARE(seen.value(QByteArray::number(i)), 1);
        for (const int count : seen)
            QCOMPARE(count, 1);
    }
}

void HeaderOnlyTest::everythingIsRebuilt_data()
{
    QTest::addColumn<bool>("buried");
    QTest::newRow("as it should be") << true;
    QTest::newRow("the header's record was not on the disk as dead") << false;
}

void HeaderOnlyTest::everythingIsRebuilt()
{
    QFETCH(bool, buried);
    Scratch scratch;
    Fixture f;
    QVERIFY(f.store(header("a")));
    QVERIFY(f.store(header("b")));
    const Overview before = *f.inbox().overview(1);
    QVERIFY(f.complete({f.inbox().number(), 1}, whole("a")));
    if (!buried) {
        QVERIFY(f.inbox().files().bin(before.bin()).rewriteHeader(before));
        // With its overviews, a repair keeps to them.
        QVERIFY(f.inbox().repair());
        QCOMPARE(texts(f.inbox()).size(), 2);
        QVERIFY(f.inbox().files().bin(before.bin()).rewriteHeader(before));
    }
    f.inbox().close();
    QVERIFY(QFile::remove(f.inbox().files().directory() + u"/Overview"_s));
    QCOMPARE(texts(f.inbox()).size(), 2);
    QCOMPARE(f.inbox().readMessage(*f.inbox().overview(1)), text("a", true));
    const Overview b = *f.inbox().overview(2);
    QVERIFY(b.has(Mark::HeaderOnly));
    QCOMPARE(b.size(), quint32(kServerSize)); // read from its line
}

void HeaderOnlyTest::compacted()
{
    Scratch scratch;
    Fixture f;
    for (const char *id : {"a", "b", "c"})
        QVERIFY(f.store(header(id)));
    QVERIFY(f.complete({f.inbox().number(), 1}, whole("a")));
    const Overview before = *f.inbox().overview(2);
    QVERIFY(f.complete({f.inbox().number(), 2}, whole("b")));
    // As a power cut could leave it: the header's record is alive, and its row tells of the whole.
    QVERIFY(f.inbox().files().bin(before.bin()).rewriteHeader(before));
    QVERIFY(f.engine.groups().compactBin(f.inbox(), before.bin()));
    QCOMPARE(texts(f.inbox()).size(), 3);
    for (const auto &[article, id] : {std::pair(1u, "a"), std::pair(2u, "b")})
        QCOMPARE(f.inbox().readMessage(*f.inbox().overview(article)), text(id, true));
    QVERIFY(f.inbox().overview(3)->has(Mark::HeaderOnly));
    QCOMPARE(scratch.reports, QStringList());
}

QTEST_GUILESS_MAIN(HeaderOnlyTest)
#include "headeronly_test.moc"
