#include "engine/engine.h"
#include "message/message.h"
#include "support/mail.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QRandomGenerator>
#include <QTest>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int kMails = 10'000; ///< several batches of a move
constexpr int kRounds = 8;

MessageRefs all(Group &group)
{
    MessageRefs messages;
    for (int row = 0; row < group.rowCount(); ++row) {
        if (!group.row(row).isDead())
            messages.push_back({group.number(), group.row(row).article()});
    }
    return messages;
}

/// Deletes everything in the inbox and takes that back, and is killed in the slice of that number. Returns
/// how many slices there were when it came to the end.
int deleteAndUndo(int slice)
{
    Engine engine;
    if (!engine.load())
        return 0;
    int slices = 0;
    QObject::connect(&engine.tasks(), &TaskRunner::progressed, &engine, [&] {
        if (++slices == slice)
            ::kill(::getpid(), SIGKILL);
    });
    engine.operations().remove(all(*engine.groups().group(GroupRole::Inbox)));
    engine.operations().undo();
    while (engine.tasks().isBusy())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return engine.shutDown() ? slices : 0;
}

/// The same in a process of its own; true when it was killed.
bool killedIn(int slice)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(deleteAndUndo(slice) > 0 ? 0 : 1);
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

} // namespace

class KilledUndoTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void neitherLostNorDoubled();
};

void KilledUndoTest::neitherLostNorDoubled()
{
    const Scratch scratch;
    {
        Engine engine;
        QVERIFY(engine.load());
        Group &inbox = *engine.groups().group(GroupRole::Inbox);
        engine.groups().setOptions(inbox, GroupUncompressed);
        const QByteArray padding(1000, 'x');
        for (int i = 0; i < kMails; ++i)
            QVERIFY(engine.groups().add(inbox,
                                        Message(mailText(QByteArray::number(i), "n", {}, padding + '\n')), {},
                                        0, 1) > 0);
        QVERIFY(engine.shutDown());
    }
    const int slices = deleteAndUndo(0);
    QVERIFY2(slices > 10, QByteArray::number(slices).constData());
    QRandomGenerator random(20261122);
    int killed = 0;
    int split = 0; // rounds that found the messages in both groups
    for (int round = 0; round < kRounds; ++round) {
        killed += killedIn(random.bounded(1, slices)) ? 1 : 0;
        Engine engine;
        QVERIFY(engine.load());
        Group &inbox = *engine.groups().group(GroupRole::Inbox);
        Group &basket = *engine.groups().group(GroupRole::WasteBasket);
        QSet<QString> there;
        for (Group *group : {&inbox, &basket}) {
            for (const MessageRef message : all(*group)) {
                const Overview overview = *group->overview(message.article);
                there.insert(group->texts(overview).messageId);
                QVERIFY(message.article % 500 != 0 || group->readMessage(overview).endsWith("xx\n"));
            }
        }
        QCOMPARE(there.size(), kMails);
        QCOMPARE(int(inbox.counts().total + basket.counts().total), kMails);
        split += inbox.counts().total > 0 && basket.counts().total > 0 ? 1 : 0;
        engine.operations().move(all(basket), inbox);
        QTRY_VERIFY_WITH_TIMEOUT(!engine.tasks().isBusy(), 60'000);
        QVERIFY(engine.shutDown());
    }
    QVERIFY(killed > kRounds / 2); // the others came to their end before
    QVERIFY(split > 0);
    QCOMPARE(scratch.reports, QStringList());
}

QTEST_GUILESS_MAIN(KilledUndoTest)
#include "killedundo_test.moc"
