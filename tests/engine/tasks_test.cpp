#include "engine/storetasks.h"

#include "config/clock.h"
#include "engine/engine.h"
#include "message/message.h"
#include "support/mail.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

struct Fixture
{
    Fixture()
    {
        if (!engine.load())
            qFatal("the test cannot load");
    }
    Group &make(const QString &name, int count, qsizetype size = 10)
    {
        Group &group = *engine.groups().make(name);
        for (int i = 1; i <= count; ++i)
            engine.groups().add(
                group, Message(mailText(QByteArray::number(i), "n", {}, QByteArray(size, 'x') + '\n')), {}, 0,
                1);
        if (!group.flush())
            qFatal("the test cannot store");
        return group;
    }
    void runTasks() { QTRY_VERIFY(!engine.tasks().isBusy()); }

    Scratch scratch;
    Engine engine;
};

Articles upTo(quint32 last)
{
    Articles articles;
    for (quint32 article = 1; article <= last; ++article)
        articles.push_back(article);
    return articles;
}

} // namespace

class TasksTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void movesInPieces();
    void groupsThatGo_data();
    void groupsThatGo();
    void aRemovalDuringACompaction();
    void anExportThatIsStopped();
    void severalPaths();
    void tidying();
    void ticks();
    void theOrderOfATick();
    void shutDownInTheMiddle();
};

void TasksTest::movesInPieces()
{
    Fixture f;
    Group &from = f.make(u"From"_s, 3010);
    Group &to = f.make(u"To"_s, 0);
    Articles some = upTo(3000);
    some.push_back(5); // named twice
    TransferTask task(f.engine.groups(), from, some, TransferTask::Kind::Move, &to);
    QCOMPARE(task.total(), 3000);
    while (task.done() == 0)
        QCOMPARE(task.step(0), Task::State::Working);
    QVERIFY(task.done() < 3000); // some at a time
    QCOMPARE(task.run(), Task::State::Done);
    QCOMPARE(task.arrived(), upTo(3000));
    QCOMPARE(from.counts().total, 10u);
    QCOMPARE(to.counts().total, 3000u);
    QCOMPARE(task.result(), messageCount(3000) + u" moved"_s);
}

void TasksTest::groupsThatGo_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("move") << 0;
    QTest::newRow("import") << 1;
    QTest::newRow("export") << 2;
    QTest::newRow("compact") << 3;
    QTest::newRow("repair") << 4;
}

void TasksTest::groupsThatGo()
{
    QFETCH(int, kind);
    Fixture f;
    Group &group = f.make(u"Group"_s, 4000);
    std::unique_ptr<Task> task;
    switch (kind) {
    case 0:
        task = std::make_unique<TransferTask>(f.engine.groups(), group, upTo(4000), TransferTask::Kind::Move,
                                              f.engine.groups().group(GroupRole::Drafts));
        break;
    case 1: {
        QByteArray mails;
        for (int i = 0; i < 50; ++i)
            mails += "From a@b Fri Nov 20 10:00:00 2026\n" + mailText(QByteArray::number(i), "n") + '\n';
        task = std::make_unique<ImportTask>(f.engine.groups(), group,
                                            QStringList{f.scratch.write(u"in"_s, mails)});
        break;
    }
    case 2: task = std::make_unique<ExportTask>(group, f.scratch.path(u"out"_s)); break;
    case 3: task = std::make_unique<CompactTask>(group, CompactTask::Bins::All); break;
    default: task = std::make_unique<RepairTask>(group); break;
    }
    if (kind != 3 && kind != 4)
        QCOMPARE(task->step(0), Task::State::Working);
    QVERIFY(f.engine.groups().remove(group));
    QCOMPARE(task->run(), Task::State::Stopped);
    QVERIFY(!QFile::exists(f.scratch.path(u"out"_s)));
}

void TasksTest::aRemovalDuringACompaction()
{
    Fixture f;
    Group &group = f.make(u"Group"_s, 40, 2'000'000); // packs well, so uncompressed
    f.engine.groups().setOptions(group, GroupUncompressed);
    Group &large = f.make(u"Large"_s, 0);
    f.engine.groups().setOptions(large, GroupUncompressed);
    for (int i = 0; i < 6; ++i)
        f.engine.groups().add(large, Message(mailText("l", "n", {}, QByteArray(900'000, 'x') + '\n')), {}, 0,
                              1);
    QVERIFY(large.remove({1}) && large.flush());
    auto task = std::make_unique<CompactTask>(large, CompactTask::Bins::All);
    while (!QFile::exists(large.files().directory() + u"/Bin0~"_s))
        QCOMPARE(task->step(0), Task::State::Working);
    QVERIFY(f.engine.groups().remove(large));
    QCOMPARE(task->run(), Task::State::Stopped);
    task.reset(); // holds on to nothing of the group
    QVERIFY(f.engine.groups().find(u"Group"_s));
}

void TasksTest::anExportThatIsStopped()
{
    Fixture f;
    Group &group = f.make(u"Group"_s, 200);
    ExportTask task(group, f.scratch.path(u"out"_s));
    QCOMPARE(task.step(0), Task::State::Working);
    task.stop();
    QCOMPARE(task.run(), Task::State::Stopped);
    QVERIFY(task.result().contains(u"was not written"_s));
    QVERIFY(!QFile::exists(f.scratch.path(u"out"_s)));
}

void TasksTest::severalPaths()
{
    Fixture f;
    Group &group = f.make(u"Group"_s, 0);
    const QString good = f.scratch.write(u"good"_s, mailText("1", "n"));
    ImportTask task(f.engine.groups(), group, {good, f.scratch.path(u"missing"_s), good});
    QCOMPARE(task.run(), Task::State::Failed); // but what is mail has come
    QCOMPARE(task.imported(), 2);
    QVERIFY2(task.problem().contains(u"missing"_s), qPrintable(task.problem()));
}

void TasksTest::tidying()
{
    Fixture f;
    for (const QString &name : {u"A"_s, u"B"_s}) {
        Group &group = f.make(name, 50);
        QVERIFY(group.remove(upTo(40)) && group.flush());
    }
    qint64 now = 1'800'000'000'000;
    const ClockOverride clock([&now] { return now; });
    const auto sizeOf = [](Group *group) { return group->files().bin(0).size(); };
    Group *a = f.engine.groups().find(u"A"_s);
    Group *b = f.engine.groups().find(u"B"_s);
    const qint64 before = sizeOf(a);
    for (int i = 0; i < 15; ++i) {
        f.engine.tick();
        f.runTasks();
    }
    QVERIFY(sizeOf(a) * 3 < before); // one after the other, without waiting in between
    QVERIFY(sizeOf(b) * 3 < before);
    QCOMPARE(a->counts().total, 10u);
    QCOMPARE(f.scratch.reports, QStringList());
}

void TasksTest::ticks()
{
    Fixture f;
    QSignalSpy errors(&f.engine, &Engine::errorsWaiting);
    QSignalSpy refreshed(&f.engine, &Engine::refreshed);
    f.engine.queueError(u"one"_s);
    f.engine.queueError(u"two"_s);
    f.engine.tick();
    f.engine.tick();
    QCOMPARE(errors.size(), 1);
    QCOMPARE(errors.first().first().toStringList(), (QStringList{u"one"_s, u"two"_s}));
    QCOMPARE(refreshed.size(), 2);
    // Every fifth tick writes what changed.
    f.engine.groups().make(u"New"_s);
    const QString index = configPathOf(u"Groups/Index"_s);
    QVERIFY(!Scratch::read(index).contains("name New"));
    for (int i = 0; i < 4; ++i)
        f.engine.tick();
    QVERIFY(Scratch::read(index).contains("name New"));
}

void TasksTest::theOrderOfATick()
{
    Fixture f;
    AccountData account;
    account.name = u"due"_s;
    account.host = f.scratch.path(u"none"_s);
    account.kind = AccountKind::BatchFile;
    account.fetchInterval = 1;
    QVERIFY(f.engine.accounts().add(account) > 0);
    f.engine.queueError(u"one"_s);
    QStringList order;
    const auto see = [&](const QString &what) {
        const bool saved = QFile::exists(configPathOf(u"Accounts/Index"_s));
        order += what + (saved ? u" saved"_s : QString()) +
                 (f.engine.accounts().isBusy() ? u" fetching"_s : QString());
    };
    connect(&f.engine, &Engine::errorsWaiting, this, [&] { see(u"told"_s); });
    connect(&f.engine, &Engine::refreshed, this, [&] { see(u"refreshed"_s); });
    f.engine.tick();
    QCOMPARE(order, (QStringList{u"told"_s, u"refreshed saved fetching"_s}));
    QTRY_VERIFY(!f.engine.accounts().isBusy());
}

void TasksTest::shutDownInTheMiddle()
{
    Fixture f;
    QByteArray mails;
    for (int i = 0; i < 2000; ++i)
        mails += "From a@b Fri Nov 20 10:00:00 2026\n" + mailText(QByteArray::number(i), "n") + '\n';
    Group &group = f.make(u"Group"_s, 0);
    QSignalSpy progressed(&f.engine.tasks(), &TaskRunner::progressed);
    f.engine.importMail({f.scratch.write(u"in"_s, mails)}, group);
    while (group.rowCount() == 0)
        QVERIFY(progressed.wait());
    QVERIFY(f.engine.tasks().isBusy());
    QVERIFY(f.engine.shutDown());
    QVERIFY(f.engine.shutDown()); // once
    QVERIFY(!QFile::exists(configPathOf(u"Groups/Running"_s)));
    Engine next;
    QVERIFY(next.load());
    const quint32 total = next.groups().find(u"Group"_s)->counts().total;
    QVERIFY(total > 0 && total < 2000);
    QCOMPARE(f.scratch.notes, QStringList());
}

QTEST_GUILESS_MAIN(TasksTest)
#include "tasks_test.moc"
