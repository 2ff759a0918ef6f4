#include "engine/batchfetch.h"

#include "engine/engine.h"
#include "message/message.h"
#include "net/fetcher.h"
#include "support/mail.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QDir>
#include <QSignalSpy>
#include <QTest>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

QByteArray mbox(const QByteArray &prefix, int count)
{
    QByteArray bytes;
    for (int i = 0; i < count; ++i)
        bytes += "From ada@example.org Fri Nov 20 10:00:00 2026\n" +
                 mailText(prefix + QByteArray::number(i), prefix + QByteArray::number(i)) + "\n";
    return bytes;
}

QStringList batchFiles()
{
    return QDir(configPathOf(u"Batches"_s)).entryList(QDir::Files);
}

struct Fixture
{
    Fixture()
    {
        if (!engine.load())
            qFatal("the test cannot load");
        number = addAccount(u"B"_s, spool);
    }
    int addAccount(const QString &name, const QString &path)
    {
        AccountData account;
        account.name = name;
        account.host = path;
        account.kind = AccountKind::BatchFile;
        return engine.accounts().add(account);
    }
    Task::State fetch(QString *problem = nullptr)
    {
        BatchFetch task(engine.delivery(), engine.accounts().account(number)->data());
        const Task::State state = task.run();
        received = task.received();
        if (problem)
            *problem = task.problem();
        return state;
    }
    Group &inbox() { return *engine.groups().group(GroupRole::Inbox); }
    QStringList subjects()
    {
        QStringList list;
        for (int row = 0; row < inbox().rowCount(); ++row)
            list += inbox().texts(inbox().row(row)).subject;
        return list;
    }

    Scratch scratch;
    Engine engine;
    QString spool = scratch.path(u"spool"_s);
    int number = 0;
    int received = 0;
};

QStringList names(const QString &prefix, int count)
{
    QStringList list;
    for (int i = 0; i < count; ++i)
        list += prefix + QString::number(i);
    return list;
}

} // namespace

class BatchTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void fetched();
    void nothingThere_data();
    void nothingThere();
    void pendingOnesFirst();
    void thePositionIsKept();
    void kept();
    void whatIsNoMailIsKept();
    void anotherFileSystem();
    void aBusyFile();
    void appendedMeanwhile();
    void stopped();
    void theStoreIsFull();
    void killedBeforeTheJournalWent_data();
    void killedBeforeTheJournalWent();
    void twoAccounts();
    void cannotBeDeleted();
    void theEngineFetches();
};

void BatchTest::fetched()
{
    Fixture f;
    f.scratch.write(u"spool"_s, mbox("a", 3));
    QCOMPARE(f.fetch(), Task::State::Done);
    QCOMPARE(f.received, 3);
    QCOMPARE(f.subjects(), names(u"a"_s, 3));
    QCOMPARE(f.inbox().row(0).account(), f.number);
    QVERIFY(!QFile::exists(f.spool));
    QCOMPARE(batchFiles(), QStringList());
    f.scratch.write(u"spool"_s, mbox("a", 1)); // the same again is mail like any other
    QCOMPARE(f.fetch(), Task::State::Done);
    QCOMPARE(f.subjects().size(), 4);
    QCOMPARE(f.scratch.reports, QStringList());
}

void BatchTest::nothingThere_data()
{
    QTest::addColumn<bool>("exists");
    QTest::newRow("missing") << false;
    QTest::newRow("empty") << true;
}

void BatchTest::nothingThere()
{
    QFETCH(bool, exists);
    Fixture f;
    if (exists)
        f.scratch.write(u"spool"_s, {});
    QCOMPARE(f.fetch(), Task::State::Done);
    QCOMPARE(f.received, 0);
    QCOMPARE(QFile::exists(f.spool), exists);
}

void BatchTest::pendingOnesFirst()
{
    Fixture f;
    QDir().mkpath(configPathOf(u"Batches"_s));
    f.scratch.write(u"config/Batches/1-10.pending"_s, mbox("b", 2));
    f.scratch.write(u"config/Batches/1-9.pending"_s, mbox("a", 2));
    f.scratch.write(u"config/Batches/11-1.pending"_s, mbox("foreign", 2));
    f.scratch.write(u"config/Batches/1-8"_s, mbox("finished", 2));
    for (const QString &stray : {u"position"_s, u"position~"_s, u"lock"_s, u"copy"_s}) // the batch is gone
        f.scratch.write(u"config/Batches/1-3.pending."_s + stray, "5\n");
    f.scratch.write(u"spool"_s, mbox("c", 2));
    QCOMPARE(f.fetch(), Task::State::Done);
    QCOMPARE(f.subjects(), names(u"a"_s, 2) + names(u"b"_s, 2) + names(u"c"_s, 2));
    QCOMPARE(batchFiles(), (QStringList{u"1-8"_s, u"11-1.pending"_s}));
}

void BatchTest::thePositionIsKept()
{
    Fixture f;
    QDir().mkpath(configPathOf(u"Batches"_s));
    const QByteArray bytes = mbox("a", 5);
    f.scratch.write(u"config/Batches/1-1.pending"_s, bytes);
    f.scratch.write(u"config/Batches/1-1.pending.position"_s,
                    QByteArray::number(bytes.indexOf("From ", bytes.indexOf("a2\n"))) + '\n');
    QCOMPARE(f.fetch(), Task::State::Done);
    QCOMPARE(f.subjects(), (QStringList{u"a3"_s, u"a4"_s}));
    QCOMPARE(batchFiles(), QStringList());
}

void BatchTest::kept()
{
    Fixture f;
    setBoolSetting(Setting::KeepMailBatches, true);
    for (int i = 1; i <= 2; ++i) {
        f.scratch.write(u"spool"_s, mbox("a", i));
        QCOMPARE(f.fetch(), Task::State::Done);
    }
    QCOMPARE(batchFiles(), (QStringList{u"1-1"_s, u"1-2"_s}));
    QCOMPARE(Scratch::read(configPathOf(u"Batches/1-2"_s)), mbox("a", 2));
    QCOMPARE(f.subjects().size(), 3);
}

void BatchTest::whatIsNoMailIsKept()
{
    Fixture f;
    const QByteArray thesis = "My thesis\n\nIt is about eels.\n";
    f.scratch.write(u"spool"_s, thesis);
    QCOMPARE(f.fetch(), Task::State::Done);
    QCOMPARE(f.received, 0);
    QCOMPARE(Scratch::read(configPathOf(u"Batches/1-1"_s)), thesis);
}

void BatchTest::anotherFileSystem()
{
    Fixture f;
    QTemporaryDir other(u"/var/tmp/velmar-XXXXXX"_s); // the configuration lies in memory
    const QString path = other.filePath(u"spool"_s);
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(mbox("a", 4)) > 0);
    file.close();
    AccountData account = f.engine.accounts().account(f.number)->data();
    account.host = path;
    f.engine.accounts().update(account);
    QCOMPARE(f.fetch(), Task::State::Done);
    QCOMPARE(f.subjects(), names(u"a"_s, 4));
    QCOMPARE(QFileInfo(path).size(), 0);
    QCOMPARE(batchFiles(), QStringList());
}

void BatchTest::aBusyFile()
{
    Fixture f;
    QDir().mkpath(configPathOf(u"Batches"_s));
    f.scratch.write(u"config/Batches/1-1.pending"_s, mbox("a", 2));
    f.scratch.write(u"spool"_s, mbox("b", 2));
    f.scratch.write(u"spool.lock"_s, "1 another-host\n"); // a writer at work
    QString problem;
    QCOMPARE(f.fetch(&problem), Task::State::Failed);
    QVERIFY2(problem.contains(u"in use by another program"_s), qPrintable(problem));
    QCOMPARE(f.subjects(), names(u"a"_s, 2)); // what waits already does not wait for it
    QCOMPARE(Scratch::read(f.spool), mbox("b", 2));
    QFile::remove(f.spool + u".lock"_s);
    QCOMPARE(f.fetch(), Task::State::Done);
    QCOMPARE(f.subjects(), names(u"a"_s, 2) + names(u"b"_s, 2));
}

void BatchTest::appendedMeanwhile()
{
    Fixture f;
    f.scratch.write(u"spool"_s, mbox("a", 2));
    BatchFetch task(f.engine.delivery(), f.engine.accounts().account(f.number)->data());
    while (batchFiles().isEmpty())
        QCOMPARE(task.step(0), Task::State::Working);
    while (task.total() == 0) // open: its size is known now
        QCOMPARE(task.step(0), Task::State::Working);
    QFile late(configPathOf(u"Batches/"_s + batchFiles().first())); // who had it open before it was moved
    QVERIFY(late.open(QIODevice::Append) && late.write(mbox("b", 2)) > 0);
    late.close();
    QCOMPARE(task.run(), Task::State::Done);
    QCOMPARE(f.subjects(), names(u"a"_s, 2) + names(u"b"_s, 2));
    QCOMPARE(batchFiles(), QStringList());
}

void BatchTest::stopped()
{
    Fixture f;
    f.scratch.write(u"spool"_s, mbox("a", 5));
    {
        BatchFetch task(f.engine.delivery(), f.engine.accounts().account(f.number)->data());
        while (f.inbox().rowCount() < 2)
            QCOMPARE(task.step(0), Task::State::Working);
        task.stop();
        QCOMPARE(task.run(), Task::State::Stopped);
        QCOMPARE(task.received(), f.inbox().rowCount());
    }
    QCOMPARE(f.fetch(), Task::State::Done);
    QCOMPARE(f.subjects(), names(u"a"_s, 5));
}

void BatchTest::theStoreIsFull()
{
    Fixture f;
    f.scratch.write(u"spool"_s, mbox("a", 1000));
    QCOMPARE(f.inbox().rowCount(), 0);
    {
        BatchFetch task(f.engine.delivery(), f.engine.accounts().account(f.number)->data());
        while (f.inbox().rowCount() < 2)
            QCOMPARE(task.step(0), Task::State::Working);
        // From here on the bin is on a full disk; what is in it stays readable.
        const int stored = f.inbox().rowCount();
        QVERIFY(stored < 1000);
        f.inbox().files().hold(0);
        QVERIFY(QFile::link(u"/dev/full"_s, f.inbox().files().directory() + u"/Bin1"_s));
        QCOMPARE(task.run(), Task::State::Failed);
        QCOMPARE(task.received(), stored);
    }
    QVERIFY(!f.scratch.reports.isEmpty());
    f.inbox().files().release(0);
    QVERIFY(QFile::remove(f.inbox().files().directory() + u"/Bin1"_s));
    f.inbox().close();
    QCOMPARE(f.fetch(), Task::State::Done); // neither lost nor doubled
    QCOMPARE(f.subjects(), names(u"a"_s, 1000));
}

void BatchTest::killedBeforeTheJournalWent_data()
{
    QTest::addColumn<int>("stored"); ///< of the five announced
    QTest::newRow("nothing stored") << 0;
    QTest::newRow("some stored") << 3;
    QTest::newRow("all stored") << 5;
}

void BatchTest::killedBeforeTheJournalWent()
{
    QFETCH(int, stored);
    Fixture f;
    QDir().mkpath(configPathOf(u"Batches"_s));
    const QByteArray bytes = mbox("a", 5);
    QFile file(f.scratch.write(u"config/Batches/1-1.pending"_s, bytes));
    QVERIFY(file.open(QIODevice::ReadOnly));
    MboxReader reader(file);
    MboxMessage message;
    ArrivalJournal journal(f.number);
    QVERIFY(journal.begin(f.inbox()));
    for (int i = 0; i < 5; ++i) {
        QCOMPARE(reader.next(message), MboxReader::Outcome::Message);
        QVERIFY(journal.announce("1:" + QByteArray::number(message.end), message.text));
        if (i < stored)
            QVERIFY(f.engine.groups().add(f.inbox(), Message(message.text), {}, f.number, 1) > 0);
    }
    QVERIFY(journal.sync());
    QVERIFY(BatchFetch::recover(f.engine.groups(), f.number));
    QVERIFY(!QFile::exists(configPathOf(u"Accounts/1/Arriving"_s)));
    QCOMPARE(f.fetch(), Task::State::Done);
    QCOMPARE(f.received, 5 - stored);
    QCOMPARE(f.subjects(), names(u"a"_s, 5));
}

void BatchTest::twoAccounts()
{
    Fixture f;
    const QString other = f.scratch.write(u"other"_s, mbox("b", 2));
    f.scratch.write(u"spool"_s, mbox("a", 2));
    const int second = f.addAccount(u"C"_s, other);
    QCOMPARE(f.fetch(), Task::State::Done);
    f.number = second;
    QCOMPARE(f.fetch(), Task::State::Done);
    QCOMPARE(f.subjects(), names(u"a"_s, 2) + names(u"b"_s, 2));
    QCOMPARE(f.inbox().row(3).account(), second);
}

void BatchTest::cannotBeDeleted()
{
    Fixture f;
    QDir().mkpath(configPathOf(u"Batches"_s));
    f.scratch.write(u"config/Batches/1-1.pending"_s, mbox("a", 2));
    MailboxLock late; // a program that had the file open before it was moved
    QCOMPARE(late.tryLock(configPathOf(u"Batches/1-1.pending"_s), MailboxLock::Ways::FileOnly),
             MailboxLock::Outcome::Held);
    QCOMPARE(f.fetch(), Task::State::Done);
    QCOMPARE(f.scratch.reports, QStringList{u"Unable to delete batch file"_s});
    QVERIFY(batchFiles().contains(u"1-1.pending"_s));
    late.unlock();
    QCOMPARE(f.fetch(), Task::State::Done);
    QCOMPARE(f.subjects(), names(u"a"_s, 2)); // not again
    QCOMPARE(batchFiles(), QStringList());
}

void BatchTest::theEngineFetches()
{
    Fixture f;
    f.scratch.write(u"spool"_s, mbox("a", 2));
    AccountData left = f.engine.accounts().account(f.number)->data();
    left.flags = AccountLeftOut;
    f.engine.accounts().update(left);
    f.engine.fetch(f.number);
    QVERIFY(!f.engine.accounts().isBusy());
    left.flags = 0;
    const int second = f.addAccount(u"C"_s, f.scratch.write(u"other"_s, mbox("b", 1)));
    left.chained = second;
    f.engine.accounts().update(left);
    QSignalSpy ended(&f.engine.accounts(), &AccountManager::fetchEnded);
    f.engine.fetch(f.number);
    f.engine.fetch(f.number); // is fetching already
    QTRY_VERIFY(!f.engine.accounts().isBusy());
    QCOMPARE(ended.size(), 2); // and the one that goes along
    QCOMPARE(f.subjects().size(), 3);
    QCOMPARE(f.engine.transfers().result(f.number).received, 2);
    f.scratch.write(u"spool"_s, mbox("c", 1));
    f.engine.fetch(f.number);
    QVERIFY(f.engine.accounts().isBusy());
    QCOMPARE(f.engine.transfers().progress().accounts, 2);
    QTRY_VERIFY(!f.engine.accounts().isBusy());
    QCOMPARE(f.subjects().size(), 4);
    f.scratch.write(u"spool"_s, mbox("d", 1));
    f.engine.fetch(f.number);
    QVERIFY(f.engine.shutDown()); // it comes to its safe point
    QCOMPARE(Fetcher::busyCount(), 0);
}

QTEST_GUILESS_MAIN(BatchTest)
#include "batch_test.moc"
