#include "outboxattest.h"
#include "support/memory.h"

#include <QDir>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

/// Which account a message goes through, and when its turn is.
class OutboxAccountsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void accountsComeAndGo();
    void anIdentityKeepsToItsServer();
    void aServerForTwo();
    void withoutTheIdentitiesNothingGoes();
    void whatBlocksASessionGoesLast();
    void handedBack();
    void offlineWhatIsOnItsWayArrives();
    void theCopysGroupGoesMeanwhile();
};

void OutboxAccountsTest::accountsComeAndGo()
{
    const Scratch scratch;
    OutboxAtTest f;
    const int first = f.account;
    const quint64 ticket = f.add(outgoing("1"));
    QCOMPARE(f.outbox.entry(ticket)->account, first);
    QSignalSpy missing(&f.outbox, &Outbox::accountMissing);
    f.engine.accounts().remove(first);
    QCOMPARE(f.outbox.entry(ticket)->account, 0);
    QCOMPARE(f.outbox.status(ticket), u"The message waits for an account that sends it."_s);
    f.add(outgoing("2"));
    QCOMPARE(missing.size(), 1);
    f.outbox.sendWaiting(true);
    QCOMPARE(missing.size(), 2);
    const int second = f.addAccount(u"another"_s);
    QCOMPARE(FakeServer().serve(f.outbox, first), 0);
    QCOMPARE(FakeServer().serve(f.outbox, second), 2);
}

/// What one writes as somebody else does not go through the server of the first.
void OutboxAccountsTest::anIdentityKeepsToItsServer()
{
    const Scratch scratch;
    OutboxAtTest f;
    const auto add = [&](const QString &name) {
        Identity identity;
        identity.name = name;
        identity.address = name + u"@example.org"_s;
        return f.engine.identities().add(identity);
    };
    const int ada = add(u"ada"_s);
    const int eve = add(u"eve"_s);
    AccountData data = f.engine.accounts().account(f.account)->data();
    data.identity = ada;
    QVERIFY(f.engine.accounts().update(data));
    QCOMPARE(f.outbox.accountFor(0), f.account); // the default one's
    const quint64 ticket = f.outbox.add(outgoing("1"), eve, {});
    QCOMPARE(f.outbox.entry(ticket)->account, 0);
    QVERIFY(f.outbox.status(ticket).contains(u"eve"_s));
    const int general = f.addAccount(u"general"_s);
    QCOMPARE(f.outbox.entry(ticket)->account, general);
    const int own = f.addAccount(u"own"_s, eve);
    QCOMPARE(f.outbox.entry(ticket)->account, own);
    f.engine.accounts().remove(own);
    f.engine.accounts().remove(general);
    const quint64 adas = f.outbox.add(outgoing("2"), ada, {});
    QVERIFY(f.engine.identities().remove(ada)); // which makes its server nobody else's, and it nobody else
    QCOMPARE(f.outbox.entry(ticket)->account, 0);
    QCOMPARE(f.outbox.entry(adas)->account, f.account);
    const int eves = f.addAccount(u"eve's"_s, eve);
    f.engine.accounts().remove(f.account);
    QCOMPARE(f.outbox.entry(adas)->account, 0);
    QCOMPARE(f.outbox.entry(ticket)->account, eves);
}

/// Until the user lets the server of one send for the other.
void OutboxAccountsTest::aServerForTwo()
{
    const Scratch scratch;
    std::optional<OutboxAtTest> f(std::in_place);
    Identity identity;
    identity.address = u"ada@example.org"_s;
    const int ada = f->engine.identities().add(identity);
    identity.address = u"eve@example.net"_s;
    const int eve = f->engine.identities().add(identity);
    AccountData data = f->engine.accounts().account(f->account)->data();
    data.identity = ada;
    QVERIFY(f->engine.accounts().update(data));
    QSignalSpy missing(&f->outbox, &Outbox::accountMissing);
    const quint64 ticket = f->outbox.add(outgoing("1"), eve, {});
    QCOMPARE(missing.size(), 1);
    QCOMPARE(missing[0][0].toInt(), eve);
    QCOMPARE(f->outbox.otherAccountFor(eve), f->account);
    QCOMPARE(f->outbox.otherAccountFor(ada), 0);
    QVERIFY(f->outbox.letServe(f->account, eve));
    QCOMPARE(f->outbox.entry(ticket)->account, f->account);
    QVERIFY(f->engine.shutDown());
    f.emplace();
    QCOMPARE(f->outbox.accountFor(eve), f->account);
    const int own = f->addAccount(u"own"_s, eve);
    QCOMPARE(f->outbox.accountFor(eve), own);
}

void OutboxAccountsTest::withoutTheIdentitiesNothingGoes()
{
    const Scratch scratch;
    quint64 ticket = 0;
    int own = 0;
    {
        OutboxAtTest f;
        Identity identity;
        identity.address = u"ada@example.org"_s;
        const int ada = f.engine.identities().add(identity);
        own = f.addAccount(u"own"_s, ada);
        ticket = f.outbox.add(outgoing("1"), ada, {});
        QVERIFY(f.engine.shutDown());
    }
    const QString path = configPathOf(u"Identities/Index"_s);
    const QByteArray list = Scratch::read(path);
    for (const QString &one : QDir(QFileInfo(path).path()).entryList({u"Index*"_s}, QDir::Files))
        QVERIFY(QFile::remove(QFileInfo(path).path() + u'/' + one));
    QVERIFY(QDir().mkpath(path));
    {
        OutboxAtTest f;
        QVERIFY(!f.engine.identities().isReadable());
        QCOMPARE(f.outbox.entry(ticket)->account, own);
        f.outbox.sendWaiting(true);
        for (const int account : {f.account, own})
            QCOMPARE(FakeServer().serve(f.outbox, account), 0);
        QCOMPARE(f.outbox.waiting(own), 0);
        QVERIFY(f.outbox.status(ticket).contains(u"identities"_s));
        QVERIFY(f.engine.shutDown());
    }
    QVERIFY(QDir().rmdir(path));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(list);
    file.close();
    OutboxAtTest f;
    QCOMPARE(FakeServer().serve(f.outbox, own), 1);
}

/// Whatever message ends each session of its account, in this run or in the next.
void OutboxAccountsTest::whatBlocksASessionGoesLast()
{
    const Scratch scratch;
    std::optional<OutboxAtTest> f(std::in_place);
    for (const char *id : {"1", "2", "3"})
        f->add(outgoing(id));
    QStringList order;
    for (int session = 0; session < 6; ++session) {
        const auto message = f->outbox.next(f->account);
        QVERIFY(message);
        const QString subject = Message(message->text).subject();
        order += subject;
        if (subject != u"s 1"_s) {
            QVERIFY(f->outbox.sending(message->ticket, message->remaining));
            f->outbox.accepted(message->ticket, message->remaining);
        }
        f->outbox.release(message->ticket, u"Connection closed"_s);
        f->advance(3600);
        if (session == 0) {
            QVERIFY(f->engine.shutDown());
            f.emplace();
        }
        if (session == 2)
            f->add(outgoing("4"));
    }
    QCOMPARE(order, (QStringList{u"s 1"_s, u"s 2"_s, u"s 3"_s, u"s 4"_s, u"s 1"_s, u"s 1"_s}));
}

/// A sender that looked ahead and came no further: nothing is held against the message.
void OutboxAccountsTest::handedBack()
{
    const Scratch scratch;
    OutboxAtTest f;
    f.add(outgoing("1"));
    const quint64 second = f.add(outgoing("2"), {.draft = 4});
    const quint64 first = f.outbox.next(f.account)->ticket;
    QCOMPARE(f.outbox.next(f.account)->ticket, second);
    f.outbox.handBack(second);
    f.outbox.release(first, u"Connection closed"_s);
    QCOMPARE(f.outbox.next(f.account)->ticket, second); // the first one rests
    QVERIFY(f.outbox.entry(second)->reason.isEmpty());
    Group &outbox = *f.engine.groups().group(GroupRole::Outbox);
    QVERIFY(f.engine.groups().deleteMessages(outbox, {f.outbox.entry(second)->place.article})); // meanwhile
    f.outbox.handBack(second);
    QVERIFY(!f.outbox.next(f.account));
    QCOMPARE(f.subjects(GroupRole::Outbox), QStringList{u"s 1"_s});
}

void OutboxAccountsTest::offlineWhatIsOnItsWayArrives()
{
    const Scratch scratch;
    OutboxAtTest f;
    const quint64 first = f.add(outgoing("1"));
    const quint64 second = f.add(outgoing("2"));
    const auto message = f.outbox.next(f.account);
    setOnline(false);
    const bool isTaken = f.outbox.sending(first, message->remaining);
    f.outbox.accepted(first, message->remaining);
    f.outbox.release(first, {});
    const int more = FakeServer().serve(f.outbox, f.account);
    setOnline(true);
    QVERIFY(isTaken);
    QCOMPARE(more, 0);
    f.outbox.finish();
    QCOMPARE(f.subjects(GroupRole::SentMail), QStringList{u"s 1"_s});
    QCOMPARE(f.state(second), OutboxState::Waiting);
    QCOMPARE(FakeServer().serve(f.outbox, f.account), 1);
}

/// Copies are made ready bit by bit while others are sent: before the first bit, between two, and behind
/// both.
void OutboxAccountsTest::theCopysGroupGoesMeanwhile()
{
    for (int passes = 0; passes < 4; ++passes) {
        const Scratch scratch;
        OutboxAtTest f;
        Group *mine = f.engine.groups().make(u"Mine"_s);
        const quint64 ticket = f.add(outgoing("1"), {.sentGroup = mine->number()});
        const auto message = f.outbox.next(f.account);
        QVERIFY(f.outbox.sending(ticket, message->remaining));
        f.outbox.accepted(ticket, message->remaining);
        f.outbox.release(ticket, {});
        for (int i = 0; i < passes; ++i)
            QCoreApplication::processEvents();
        QVERIFY(f.engine.groups().remove(*mine));
        QCoreApplication::processEvents();
        f.outbox.finish();
        QCOMPARE(f.subjects(GroupRole::SentMail), QStringList{u"s 1"_s});
        QCOMPARE(f.outbox.entries().size(), 0u);
    }
}

QTEST_GUILESS_MAIN(OutboxAccountsTest)
#include "outboxaccounts_test.moc"
