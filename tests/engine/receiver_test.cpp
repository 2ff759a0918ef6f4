#include "engine/accountreceiver.h"

#include "engine/engine.h"
#include "store/serverplace.h"
#include "support/mail.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>

#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int kAccount = 1;

AccountData accountData(int group = 0)
{
    AccountData data;
    data.number = kAccount;
    data.kind = AccountKind::Pop3;
    data.name = u"Test"_s;
    data.host = u"localhost"_s;
    data.group = group;
    return data;
}

ReceivedMessage whole(const QByteArray &identifier)
{
    return {mailText(identifier, identifier), identifier, false, 500};
}

ReceivedMessage header(const QByteArray &identifier)
{
    const QByteArray text = mailText(identifier, identifier);
    return {text.first(text.indexOf("\n\n") + 1), identifier, true, 70'000};
}

struct Fixture
{
    explicit Fixture(Scratch &scratch)
        : scratch(scratch)
    {
        if (!engine.load())
            qFatal("the test cannot load");
        if (!engine.accounts().account(kAccount) &&
            (engine.accounts().add(accountData()) != kAccount || !engine.accounts().save()))
            qFatal("the test has no account");
    }
    std::unique_ptr<AccountReceiver> receiver(int group = 0)
    {
        return std::make_unique<AccountReceiver>(engine.delivery(), accountData(group));
    }
    Group &inbox() { return *engine.groups().group(GroupRole::Inbox); }
    QStringList subjects(Group &group)
    {
        QStringList list;
        for (int row = 0; row < group.rowCount(); ++row) {
            if (!group.row(row).isDead())
                list += group.texts(group.row(row)).subject;
        }
        return list;
    }

    Scratch &scratch;
    Engine engine;
};

/// Runs @p work in a process of its own that is killed at its end, like a program at that moment.
template <typename Work>
void killedAfter(Work work)
{
    const pid_t child = ::fork();
    if (child == 0) {
        work();
        ::kill(::getpid(), SIGKILL);
    }
    int status = 0;
    QCOMPARE(::waitpid(child, &status, 0), child);
    QVERIFY(WIFSIGNALED(status));
}

} // namespace

class ReceiverTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void storedAndAnnounced();
    void intoItsGroup_data();
    void intoItsGroup();
    void killed_data();
    void killed();
    void aGroupToBeRepaired();
    void movedBeforeTheNextSession();
    void aCutListOfArrivals();
    void aMoveFromTheSameAccountIsNoArrival();
    void anOpenBatchIsMadeSafe();
};

void ReceiverTest::storedAndAnnounced()
{
    Scratch scratch;
    Fixture f(scratch);
    std::vector<NewMail> news;
    connect(&f.engine.delivery(), &Delivery::newMail, this, [&](const std::vector<NewMail> &arrived) {
        news.insert(news.end(), arrived.begin(), arrived.end());
    });
    QSignalSpy added(&f.inbox(), &Group::messagesAdded);
    {
        const auto receiver = f.receiver();
        QCOMPARE(receiver->recover(), QList<QByteArray>());
        for (const char *id : {"a", "b", "c"})
            QVERIFY(receiver->store(whole(id)));
        QVERIFY(receiver->flush());
        receiver->remembered();
        f.inbox().setMarks({2}, Mark::Read, {}); // the user was faster
        QVERIFY(receiver->store(whole("d")));
        QVERIFY(receiver->flush());
        receiver->remembered();
    }
    QCOMPARE(f.subjects(f.inbox()), (QStringList{u"a"_s, u"b"_s, u"c"_s, u"d"_s}));
    QCOMPARE(f.inbox().row(0).account(), kAccount);
    QCOMPARE(f.inbox().row(0).serverHash(), identifierHash("a"));
    QCOMPARE(news.size(), 1);
    QCOMPARE(news[0].group, f.inbox().number());
    QCOMPARE(news[0].articles, (Articles{1, 3, 4}));
    QCOMPARE(added.size(), 1); // together
    f.engine.delivery().finish();
    QCOMPARE(news.size(), 1);
    QCOMPARE(scratch.reports, QStringList());
}

void ReceiverTest::intoItsGroup_data()
{
    QTest::addColumn<bool>("vanished");
    QTest::newRow("there") << false;
    QTest::newRow("vanished") << true;
}

void ReceiverTest::intoItsGroup()
{
    QFETCH(bool, vanished);
    Scratch scratch;
    Fixture f(scratch);
    Group *work = f.engine.groups().make(u"Work"_s);
    const int number = work->number();
    if (vanished)
        QVERIFY(f.engine.groups().remove(*work));
    const auto receiver = f.receiver(number);
    QVERIFY(receiver->store(whole("a")) && receiver->flush());
    Group &arrivedIn = vanished ? f.inbox() : *work;
    QCOMPARE(f.subjects(arrivedIn), QStringList{u"a"_s});
}

void ReceiverTest::killed_data()
{
    QTest::addColumn<int>("step");
    QTest::addColumn<QList<QByteArray>>("recovered");
    QTest::newRow("before the flush") << 0 << QList<QByteArray>{"a", "b"};
    QTest::newRow("after the flush") << 1 << QList<QByteArray>{"a", "b"};
    QTest::newRow("when all is remembered") << 2 << QList<QByteArray>();
    QTest::newRow("in the next batch") << 3 << QList<QByteArray>{"c"};
}

void ReceiverTest::killed()
{
    QFETCH(int, step);
    QFETCH(QList<QByteArray>, recovered);
    Scratch scratch;
    killedAfter([&] {
        Fixture f(scratch);
        const auto receiver = f.receiver();
        receiver->recover();
        bool good = receiver->store(whole("a")) && receiver->store(whole("b"));
        if (step > 0)
            good = good && receiver->flush();
        if (step > 1)
            receiver->remembered();
        if (step > 2)
            good = good && receiver->store(whole("c"));
        if (!good)
            ::_exit(1);
        ::kill(::getpid(), SIGKILL);
    });
    for (int session = 0; session < 3; ++session) {
        Fixture f(scratch);
        const auto receiver = f.receiver();
        QCOMPARE(receiver->recover(), recovered); // until it is remembered
        QCOMPARE(f.subjects(f.inbox()).size(), step > 2 ? 3 : 2);
        if (session == 1) {
            receiver->remembered();
            recovered.clear();
        }
    }
}

/// Nobody knows what has arrived there until it is repaired, so nothing is fetched for it.
void ReceiverTest::aGroupToBeRepaired()
{
    Scratch scratch;
    killedAfter([&] {
        Fixture f(scratch);
        const auto receiver = f.receiver();
        if (!receiver->store(whole("a")) || !receiver->flush() ||
            !QFile::remove(f.inbox().files().directory() + u"/Overview"_s))
            ::_exit(1);
        ::kill(::getpid(), SIGKILL);
    });
    Engine engine;
    engine.groups().setRepairsItself(false);
    QVERIFY(engine.load());
    QVERIFY(!AccountReceiver(engine.delivery(), accountData()).recover());
    QVERIFY(engine.groups().group(GroupRole::Inbox)->repair());
    QCOMPARE(AccountReceiver(engine.delivery(), accountData()).recover(), QList<QByteArray>{"a"});
}

void ReceiverTest::movedBeforeTheNextSession()
{
    Scratch scratch;
    killedAfter([&] {
        Fixture f(scratch);
        const auto receiver = f.receiver();
        if (!receiver->store(whole("a")) || !receiver->store(whole("b")) || !receiver->flush())
            ::_exit(1);
        ::kill(::getpid(), SIGKILL);
    });
    Fixture f(scratch);
    // The window is open for a while before anything is fetched: no trace of them stays in the inbox.
    f.engine.groups().move(f.inbox(), {1}, *f.engine.groups().group(GroupRole::Drafts));
    QVERIFY(f.engine.groups().deleteMessages(f.inbox(), {2}, true));
    QVERIFY(f.inbox().files().rewriteOverviews({}, 3));
    QCOMPARE(f.receiver()->recover(), (QList<QByteArray>{"a", "b"}));
}

/// Half an identifier is another message's.
void ReceiverTest::aCutListOfArrivals()
{
    Scratch scratch;
    Fixture f(scratch);
    const QString path = configPathOf(u"Accounts/%1/Arrived"_s.arg(kAccount));
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("uid-11\nuid-1");
    file.close();
    QCOMPARE(f.receiver()->recover(), QList<QByteArray>{"uid-11"});
    QVERIFY(file.open(QIODevice::Append)); // nor is it read without end
    file.write('\n' + QByteArray(20 * 1024 * 1024, 'x') + "\nuid-12\n");
    file.close();
    QCOMPARE(f.receiver()->recover(), (QList<QByteArray>{"uid-11", "uid-1"}));
}

void ReceiverTest::aMoveFromTheSameAccountIsNoArrival()
{
    Scratch scratch;
    killedAfter([&] {
        Fixture f(scratch);
        Group &drafts = *f.engine.groups().group(GroupRole::Drafts);
        const auto receiver = f.receiver(drafts.number());
        bool good = receiver->store(whole("old")) && receiver->flush();
        receiver->remembered();
        const auto second = f.receiver();
        good = good && second->store(whole("a"));
        // Between two messages of the batch the user brings one of the same account.
        f.engine.groups().copy(drafts, {1}, f.inbox());
        good = good && second->store(whole("b")) && second->flush();
        if (!good)
            ::_exit(1);
        ::kill(::getpid(), SIGKILL);
    });
    Fixture f(scratch);
    QCOMPARE(f.receiver()->recover(), (QList<QByteArray>{"a", "b"}));
}

void ReceiverTest::anOpenBatchIsMadeSafe()
{
    Scratch scratch;
    {
        Fixture f(scratch);
        const auto receiver = f.receiver();
        QVERIFY(receiver->store(whole("a")));
        QVERIFY(receiver->store(header("b")));
    }
    Fixture f(scratch);
    QCOMPARE(f.receiver()->recover(), (QList<QByteArray>{"a", "b"}));
    QCOMPARE(f.inbox().row(1).size(), 70'000u);
    const auto place = serverPlaceOf(f.inbox().readMessage(f.inbox().row(1)));
    QVERIFY(place);
    QCOMPARE(*place, (ServerPlace{kAccount, 70'000, "b"}));
}

QTEST_GUILESS_MAIN(ReceiverTest)
#include "receiver_test.moc"
