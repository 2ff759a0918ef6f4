#include "store/mailbox/takeaway.h"

#include "config/clock.h"
#include "support/scratch.h"

#include <QDir>
#include <QTest>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using Outcome = MailboxMove::Outcome;
using Way = MailboxMove::Way;

namespace {

enum Protocol { Fcntl, Dot };

/// What a delivery program does, in plain system calls; false when it has to try again.
bool deliver(const char *path, const char *text, Protocol protocol)
{
    const QByteArray dot = QByteArray(path) + ".lock";
    if (protocol == Dot) {
        const int lock = open(dot.constData(), O_CREAT | O_EXCL | O_WRONLY, 0600);
        if (lock < 0)
            return false;
        close(lock);
    }
    const int file = open(path, O_WRONLY | O_APPEND | O_CREAT, 0600);
    struct flock whole = {};
    whole.l_type = F_WRLCK;
    bool done = file >= 0 && (protocol == Dot || fcntl(file, F_SETLKW, &whole) == 0);
    done = done && write(file, text, strlen(text)) == ssize_t(strlen(text));
    if (file >= 0)
        close(file);
    if (protocol == Dot)
        unlink(dot.constData());
    return done;
}

constexpr int kDelivered = 300;

[[noreturn]] void deliverAll(const char *path, Protocol protocol)
{
    for (int i = 0; i < kDelivered;) {
        char text[64];
        std::snprintf(text, sizeof text, "From a\nX-Number: %d\n\n\n", i);
        if (deliver(path, text, protocol))
            ++i;
        else
            usleep(100);
    }
    _exit(0);
}

bool hasEnded(pid_t process)
{
    int status = 0;
    return waitpid(process, &status, WNOHANG) == process;
}

} // namespace

class MailboxLockTest : public QObject
{
    Q_OBJECT

private slots:
    void holdsBothLocks();
    void respectsOthers();
    void staleLocks_data();
    void staleLocks();
    void noRoomForALockFile();
    void movesAway_data();
    void movesAway();
    void leftovers_data();
    void leftovers();
    void givesUpCleanly();
    void losesNothingUnderAWriter_data();
    void losesNothingUnderAWriter();
    void takenMailGrows();
};

void MailboxLockTest::holdsBothLocks()
{
    Scratch scratch;
    const QString path = scratch.write(u"mbox"_s, "x");
    MailboxLock lock;
    QCOMPARE(lock.tryLock(scratch.path(u"gone"_s)), MailboxLock::Outcome::Failed);
    QCOMPARE(lock.tryLock(path), MailboxLock::Outcome::Held);
    QVERIFY(Scratch::read(path + u".lock"_s).startsWith(QByteArray::number(getpid()) + ' '));
    const int other = open(QFile::encodeName(path).constData(), O_RDWR);
    struct flock whole = {};
    whole.l_type = F_WRLCK;
    QVERIFY(fcntl(other, F_SETLK, &whole) != 0);
    MailboxLock second;
    QCOMPARE(second.tryLock(path), MailboxLock::Outcome::Busy);
    lock.unlock();
    QVERIFY(!QFile::exists(path + u".lock"_s));
    QCOMPARE(fcntl(other, F_SETLK, &whole), 0);
    close(other);
    QCOMPARE(second.tryLock(path), MailboxLock::Outcome::Held);
}

void MailboxLockTest::respectsOthers()
{
    Scratch scratch;
    const QString path = scratch.write(u"mbox"_s, "x");
    scratch.write(u"mbox.lock"_s, "");
    MailboxLock lock;
    QCOMPARE(lock.lock(path, 120), MailboxLock::Outcome::Busy);
    QVERIFY(QFile::exists(path + u".lock"_s));
    QCOMPARE(takeAway(path, scratch.path(u"target"_s), 0), Outcome::Busy);
    QCOMPARE(Scratch::read(path), QByteArray("x"));
    QVERIFY(QFile::link(path, scratch.path(u"link"_s)));
    QCOMPARE(lock.tryLock(scratch.path(u"link"_s)), MailboxLock::Outcome::Busy); // the lock of what it names
}

void MailboxLockTest::staleLocks_data()
{
    QTest::addColumn<QByteArray>("owner");
    QTest::addColumn<int>("age");
    QTest::addColumn<bool>("stale");
    char host[256] = {};
    gethostname(host, sizeof host - 1);
    const pid_t gone = fork();
    if (gone == 0)
        _exit(0);
    waitpid(gone, nullptr, 0);
    const QByteArray here = ' ' + QByteArray(host) + '\n';
    QTest::newRow("fresh, no owner") << QByteArray() << 200 << false;
    QTest::newRow("old, no owner") << QByteArray("0\n") << 400 << true;
    QTest::newRow("owner is gone") << QByteArray::number(gone) + here << 0 << true;
    QTest::newRow("owner lives") << QByteArray::number(getpid()) + here << 0 << false;
    QTest::newRow("owner on another host") << QByteArray::number(gone) + " elsewhere.example\n" << 0 << false;
    QTest::newRow("number without a host") << QByteArray::number(gone) + "\n" << 0 << false;
}

void MailboxLockTest::staleLocks()
{
    QFETCH(QByteArray, owner);
    QFETCH(int, age);
    QFETCH(bool, stale);
    Scratch scratch;
    const QString path = scratch.write(u"mbox"_s, "x");
    scratch.write(u"mbox.lock"_s, owner);
    const qint64 now = clockMilliseconds() + age * 1000;
    const ClockOverride later([now] { return now; });
    MailboxLock lock;
    QCOMPARE(lock.tryLock(path) == MailboxLock::Outcome::Held, stale);
    QCOMPARE(scratch.notes.size(), stale ? 1 : 0);
    QCOMPARE(Scratch::read(path + u".lock"_s) == owner, !stale);
}

void MailboxLockTest::noRoomForALockFile()
{
    Scratch scratch;
    const QString path = scratch.write(QString(252, u'm'), "x"); // no name may be longer than 255
    MailboxLock lock;
    QCOMPARE(lock.tryLock(path), MailboxLock::Outcome::Held);
    QCOMPARE(scratch.notes.size(), 1);
    MailboxLock second;
    QCOMPARE(second.tryLock(path), MailboxLock::Outcome::Busy);
}

void MailboxLockTest::movesAway_data()
{
    QTest::addColumn<Way>("way");
    QTest::newRow("renamed") << Way::RenameIfPossible;
    QTest::newRow("copied") << Way::Copy;
}

void MailboxLockTest::movesAway()
{
    QFETCH(Way, way);
    Scratch scratch;
    const QString target = scratch.path(u"target"_s);
    QCOMPARE(takeAway(scratch.path(u"gone"_s), target, 0, way), Outcome::Nothing);
    const QString path = scratch.write(u"mbox"_s, "");
    QCOMPARE(takeAway(path, target, 0, way), Outcome::Nothing);
    const QByteArray mail = QByteArray("From a\nA: 1\n\n\n").repeated(300000);
    scratch.write(u"mbox"_s, mail);
    QCOMPARE(takeAway(path, target, 0, way), Outcome::Taken);
    QVERIFY(Scratch::read(target) == mail);
    QCOMPARE(QFile::exists(path), way == Way::Copy);
    QCOMPARE(Scratch::read(path), QByteArray());
    scratch.write(u"mbox"_s, "more");
    QCOMPARE(takeAway(path, target, 0, way), Outcome::Failed); // never over mail that waits there
    QCOMPARE(Scratch::read(path), QByteArray("more"));
    QVERIFY(Scratch::read(target) == mail);
    const QStringList left = QDir(scratch.path(u"."_s)).entryList(QDir::Files);
    QCOMPARE(left, QStringList({u"mbox"_s, u"target"_s}));
}

void MailboxLockTest::leftovers_data()
{
    QTest::addColumn<QByteArray>("half");
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<QByteArray>("sourceAfter");
    QTest::newRow("killed before the source was cut")
        << QByteArray("one") << QByteArray("one two") << QByteArray("one two") << QByteArray();
    QTest::newRow("killed after the source was cut")
        << QByteArray("one") << QByteArray() << QByteArray("one") << QByteArray();
    QTest::newRow("cut, and new mail came")
        << QByteArray("one") << QByteArray("two") << QByteArray("one") << QByteArray("two");
}

void MailboxLockTest::leftovers()
{
    QFETCH(QByteArray, half);
    QFETCH(QByteArray, source);
    Scratch scratch;
    const QString target = scratch.path(u"target"_s);
    const QString path = scratch.write(u"mbox"_s, source);
    scratch.write(u"target~"_s, half);
    scratch.write(u"target.copy"_s, "on"); // a copy that was never whole
    QVERIFY(isHalfTaken(target));
    QCOMPARE(takeAway(path, target, 0, Way::Copy), Outcome::Taken);
    QVERIFY(!isHalfTaken(target));
    QTEST(Scratch::read(target), "target");
    QTEST(Scratch::read(path), "sourceAfter");
}

void MailboxLockTest::givesUpCleanly()
{
    Scratch scratch;
    const QString path = scratch.write(u"mbox"_s, QByteArray(3 << 20, 'x'));
    {
        MailboxMove move(path, scratch.path(u"target"_s), Way::Copy);
        QCOMPARE(move.step(), Outcome::Going);
        QCOMPARE(move.step(), Outcome::Going);
    }
    QCOMPARE(QDir(scratch.path(u"."_s)).entryList(QDir::Files), QStringList{u"mbox"_s});
    QCOMPARE(QFileInfo(path).size(), 3 << 20);
    MailboxLock lock;
    QCOMPARE(lock.tryLock(path), MailboxLock::Outcome::Held);
}

void MailboxLockTest::losesNothingUnderAWriter_data()
{
    QTest::addColumn<Way>("way");
    QTest::addColumn<int>("protocol");
    QTest::newRow("copy, writer locks the file") << Way::Copy << int(Fcntl);
    QTest::newRow("copy, writer makes a lock file") << Way::Copy << int(Dot);
    QTest::newRow("rename, writer locks the file") << Way::RenameIfPossible << int(Fcntl);
    QTest::newRow("rename, writer makes a lock file") << Way::RenameIfPossible << int(Dot);
}

void MailboxLockTest::losesNothingUnderAWriter()
{
    QFETCH(Way, way);
    QFETCH(int, protocol);
    Scratch scratch;
    const QString path = scratch.path(u"mbox"_s);
    const QByteArray name = QFile::encodeName(path);
    const pid_t writer = fork();
    QVERIFY(writer >= 0);
    if (writer == 0)
        deliverAll(name.constData(), Protocol(protocol));
    QStringList targets;
    bool ended = false;
    for (int pass = 0; pass < 100000 && !(ended && QFileInfo(path).size() == 0); ++pass) {
        ended = ended || hasEnded(writer);
        const QString target = scratch.path(u"target%1"_s.arg(targets.size()));
        const Outcome outcome = takeAway(path, target, 1000, way);
        QVERIFY(outcome == Outcome::Taken || outcome == Outcome::Nothing || outcome == Outcome::Busy);
        if (outcome == Outcome::Taken)
            targets.append(target);
    }
    if (!ended)
        kill(writer, SIGKILL);
    QVERIFY(ended);
    QByteArray all; // read at the end: a late writer of a renamed file wrote into its target
    for (const QString &target : targets)
        all += Scratch::read(target);
    for (int i = 0; i < kDelivered; ++i)
        QCOMPARE(all.count("X-Number: " + QByteArray::number(i) + "\n"), 1);
}

void MailboxLockTest::takenMailGrows()
{
    Scratch scratch;
    const QString path = scratch.write(u"mbox"_s, "one ");
    const int late = open(QFile::encodeName(path).constData(), O_WRONLY | O_APPEND);
    const QString target = scratch.path(u"target"_s);
    QCOMPARE(takeAway(path, target, 0), Outcome::Taken);
    QCOMPARE(write(late, "two", 3), ssize_t(3));
    close(late);
    QVERIFY(!removeTaken(target, 4));
    QCOMPARE(Scratch::read(target), QByteArray("one two"));
    QVERIFY(removeTaken(target, 7));
    QVERIFY(!QFile::exists(target));
}

QTEST_GUILESS_MAIN(MailboxLockTest)
#include "mailboxlock_test.moc"
