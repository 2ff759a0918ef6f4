#include "outboxattest.h"
#include "support/diskfaults.h"
#include "support/memory.h"

#include <QDir>

#include <sys/wait.h>

using namespace Qt::StringLiterals;

/// What a run leaves when it is killed, when the disk is full, when the journal is damaged.
class OutboxJournalTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void cleanup() { DiskFaults::isFull = false; }
    void journal_data();
    void journal();
    void aFullDisk();
    void aFullDiskWhileTheUserChangesHisMind();
    void withoutACopyTheDraftStays();
    void aMarkThatFoundNoRoom();
    void itStaysSmall();
    void whileTheGroupWaitsForItsRepair();
    void killed();
    void killedWhileItIsTakenBack();
};

void OutboxJournalTest::journal_data()
{
    QTest::addColumn<QString>("damage");
    QTest::addColumn<int>("perhaps"); ///< of three that wait
    QTest::newRow("whole") << u"none"_s << 0;
    QTest::newRow("its last line is cut off") << u"cut"_s << 0;
    QTest::newRow("a line in its midst is another one") << u"flip"_s << 3;
    QTest::newRow("it is gone") << u"gone"_s << 3;
    QTest::newRow("a page of it was never written") << u"hole"_s << 3;
}

void OutboxJournalTest::journal()
{
    QFETCH(QString, damage);
    QFETCH(int, perhaps);
    const Scratch scratch;
    const QString path = configPathOf(u"Outbox/Journal"_s);
    {
        OutboxAtTest f;
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
    for (int run = 0; run < 2; ++run) // a doubt outlasts what is written anew
        QVERIFY(OutboxAtTest().engine.shutDown());
    OutboxAtTest f;
    QCOMPARE(f.outbox.entries().size(), 3u);
    int doubtful = 0;
    for (const OutboxEntry &entry : f.outbox.entries())
        doubtful += entry.state == OutboxState::PerhapsSent ? 1 : 0;
    QCOMPARE(doubtful, perhaps);
    QCOMPARE(FakeServer().serve(f.outbox, f.account), 3 - perhaps);
    for (const OutboxEntry &entry : std::vector(f.outbox.entries()))
        f.outbox.sendNow(entry.ticket);
    FakeServer server;
    QCOMPARE(server.serve(f.outbox, f.account), perhaps);
    f.outbox.finish();
    QCOMPARE(f.subjects(GroupRole::SentMail).size(), 3);
}

void OutboxJournalTest::aFullDisk()
{
    Scratch scratch;
    OutboxAtTest f;
    const quint64 first = f.add(outgoing("1"));
    DiskFaults::isFull = true;
    QCOMPARE(f.add(outgoing("2"), {.draft = 2}), 0u); // and its draft stays
    QVERIFY(!scratch.reports.isEmpty());
    FakeServer server;
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

/// Nothing goes sooner than was said before, and nothing that somebody edits.
void OutboxJournalTest::aFullDiskWhileTheUserChangesHisMind()
{
    const Scratch scratch;
    OutboxAtTest f;
    Outbox::setUndoDelay(10);
    const quint64 ticket = f.add(outgoing("1"), {.draft = 2});
    DiskFaults::isFull = true;
    QVERIFY(!f.outbox.holdUntil(ticket, kNow + 3600));
    QCOMPARE(f.state(ticket), OutboxState::Held);
    QString notice;
    const auto keep = [](const QByteArray &) { return true; };
    QVERIFY(f.outbox.takeBack(ticket, keep, &notice).isNull());
    QVERIFY(!notice.isEmpty());
    DiskFaults::isFull = false;
    QVERIFY(f.outbox.holdUntil(ticket, kNow + 3600));
    QVERIFY(f.outbox
                .takeBack(
                    ticket, [](const QByteArray &) { return false; }, &notice)
                .isNull());
    QVERIFY(!notice.isEmpty());
    QCOMPARE(f.state(ticket), OutboxState::Held);
    const MessageRef place = f.outbox.entry(ticket)->place;
    QVERIFY(!f.outbox
                 .takeBack(ticket,
                           [](const QByteArray &) {
                               DiskFaults::isFull =
                                   true; // the draft is there, and nothing else can be written
                               return true;
                           })
                 .isNull());
    f.outbox.sendNow(ticket);
    f.advance(24 * 3600);
    QCOMPARE(f.outbox.waiting(f.account), 0);
    QCOMPARE(f.outbox.entries().size(), 0u); // nobody can send it again from there
    QVERIFY(f.outbox.hasLetGo(place) && !f.outbox.holdsDraft(2));
    DiskFaults::isFull = false;
    f.advance(61);
    QVERIFY(!f.outbox.hasLetGo(place));
    QCOMPARE(f.subjects(GroupRole::Outbox), QStringList());
}

/// A sent message of which nothing is left but its draft.
void OutboxJournalTest::withoutACopyTheDraftStays()
{
    for (const bool isWanted : {true, false}) {
        Scratch scratch;
        OutboxAtTest f;
        setBoolSetting(Setting::KeepSentMail, isWanted);
        const QByteArray large =
            outgoing("1") + QByteArray("Hello.\n").repeated(20'000); // not kept in memory
        const quint64 ticket = f.add(large, {.draft = 7});
        Group &group = *f.engine.groups().group(GroupRole::Outbox);
        const auto message = f.outbox.next(f.account);
        QVERIFY(f.outbox.sending(ticket, message->remaining));
        f.outbox.accepted(ticket, message->remaining);
        f.outbox.release(ticket, {});
        group.close();
        for (const QString &bin :
             QDir(configPathOf(u"Groups/%1"_s.arg(group.number()))).entryList(QDir::Files)) {
            if (!bin.startsWith(u"Overview"_s))
                QVERIFY(QFile::resize(configPathOf(u"Groups/%1/%2"_s.arg(group.number()).arg(bin)), 0));
        }
        f.outbox.finish();
        QCOMPARE(f.outbox.entries().size(), 0u);
        QCOMPARE(f.drafts, isWanted ? QList<int>() : QList<int>{7});
        QCOMPARE(scratch.reports.join(u' ').contains(u"draft is kept"_s), isWanted);
    }
}

/// It is written as soon as there is room, and not believed to be there.
void OutboxJournalTest::aMarkThatFoundNoRoom()
{
    const Scratch scratch;
    std::optional<OutboxAtTest> f(std::in_place);
    const quint64 ticket = f->add(outgoing("1"));
    QVERIFY(f->engine.shutDown());
    f.emplace(); // the journal is written anew, and nothing is reserved behind it
    QVERIFY(f->outbox.next(f->account));
    DiskFaults::isFull = true;
    f->outbox.refused(ticket, {{{}, 554, u"no"_s}});
    DiskFaults::isFull = false;
    f->outbox.release(ticket, {});
    QVERIFY(f->engine.shutDown());
    f.emplace();
    QCOMPARE(f->state(ticket), OutboxState::Refused);
}

/// Also while something waits all the time.
void OutboxJournalTest::itStaysSmall()
{
    const Scratch scratch;
    OutboxAtTest f;
    const QString reason(2000, u'x');
    const quint64 ticket = f.add(outgoing("1"));
    const QString path = configPathOf(u"Outbox/Journal"_s);
    for (int i = 0; i < 1000; ++i) {
        f.outbox.sendNow(ticket);
        if (!f.outbox.next(f.account))
            QFAIL("it does not wait");
        f.outbox.refused(ticket, {{{}, 554, reason}});
        f.outbox.release(ticket, {});
        f.outbox.tick();
    }
    QVERIFY2(QFileInfo(path).size() < 1'500'000, QByteArray::number(QFileInfo(path).size()).constData());
    QCOMPARE(f.state(ticket), OutboxState::Refused);
}

void OutboxJournalTest::whileTheGroupWaitsForItsRepair()
{
    Scratch scratch;
    OutboxAtTest f;
    const quint64 ticket = f.add(outgoing("1"));
    Group &group = *f.engine.groups().group(GroupRole::Outbox);
    group.close();
    group.setRepairsItself(false);
    QVERIFY(QFile::remove(configPathOf(u"Groups/%1/Overview"_s.arg(group.number()))));
    QVERIFY(!f.outbox.next(f.account));
    QVERIFY(group.needsRepair());
    QCOMPARE(f.state(ticket), OutboxState::Waiting); // not given up because it cannot be read now
    QVERIFY(group.repair());
    FakeServer server;
    server.serve(f.outbox, f.account);
    QCOMPARE(server.taken.size(), 1);
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
    OutboxAtTest f;
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
void OutboxJournalTest::killed()
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

        OutboxAtTest f;
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

/// What somebody may be writing on does not go by itself, and what nobody has is still there.
void OutboxJournalTest::killedWhileItIsTakenBack()
{
    const auto takeBack = [](Witness &witness) {
        OutboxAtTest f;
        const quint64 ticket = f.add(outgoing("1"), {.draft = 4});
        DiskFaults::calls = 0;
        f.outbox.takeBack(ticket, [&](const QByteArray &) {
            witness.say("kept");
            return true;
        });
        DiskFaults::killBefore = -1;
        return DiskFaults::calls;
    };
    int stayed = 0;
    bool isAlive = false;
    for (long call = 1; !isAlive; ++call) {
        const Scratch scratch;
        Witness witness(scratch);
        const pid_t child = ::fork();
        if (child == 0) {
            DiskFaults::calls = -1'000'000;
            DiskFaults::killBefore = call;
            takeBack(witness);
            ::_exit(0);
        }
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        isAlive = !WIFSIGNALED(status);
        OutboxAtTest f;
        const bool isKept = witness.count("kept") == 1;
        const bool isThere = !f.outbox.entries().empty();
        QVERIFY2(isKept || isThere, QByteArray::number(call).constData());
        QVERIFY2(!isKept || f.outbox.waiting(f.account) == 0, QByteArray::number(call).constData());
        QCOMPARE(isThere, !f.subjects(GroupRole::Outbox).isEmpty());
        stayed += isKept && isThere ? 1 : 0;
    }
    QCOMPARE(stayed, 1); // until it is written down that it may go
}

QTEST_GUILESS_MAIN(OutboxJournalTest)
#include "outboxjournal_test.moc"
