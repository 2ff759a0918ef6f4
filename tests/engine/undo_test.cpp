#include "engine/engine.h"
#include "message/message.h"
#include "support/mail.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// Every message of every group with all that a user can do to it.
QStringList stateOf(Engine &engine)
{
    QStringList state;
    for (Group *group : engine.groups().groups()) {
        for (int row = 0; row < group->rowCount(); ++row) {
            const Overview overview = group->row(row);
            if (overview.isDead())
                continue;
            state += u"%1 %2 %3 %4 %5"_s.arg(group->name())
                         .arg(QString::fromUtf8(group->readMessage(overview)).section(u"\n\n"_s, 1))
                         .arg(int(overview.marks()), 0, 16)
                         .arg(overview.tags(), 0, 16)
                         .arg(overview.originGroup());
        }
    }
    state.sort();
    return state;
}

struct Fixture
{
    Fixture() { start(); }
    void start()
    {
        engine = std::make_unique<Engine>();
        if (!engine->load())
            qFatal("the test cannot load");
        QObject::connect(&engine->operations(), &MessageOperations::done, engine.get(),
                         [this](const OperationResult &result) { results.push_back(result); });
    }
    /// The same store with another program, which has the journal from the first one's lines.
    void restart()
    {
        const QStringList lines = engine->journal().toLines();
        if (!engine->shutDown())
            qFatal("the test cannot save");
        start();
        engine->journal().takeLines(lines);
    }
    Group &make(const QString &name, int count)
    {
        Group &group = *engine->groups().make(name);
        for (int i = 1; i <= count; ++i)
            engine->groups().add(group,
                                 Message(mailText(QByteArray::number(i), name.toUtf8(), {},
                                                  "Text " + name.toUtf8() + QByteArray::number(i) + '\n')),
                                 {}, 0, 1);
        if (!group.flush())
            qFatal("the test cannot store");
        return group;
    }
    MessageRefs all(Group &group)
    {
        MessageRefs messages;
        for (int row = 0; row < group.rowCount(); ++row) {
            if (!group.row(row).isDead())
                messages.push_back({group.number(), group.row(row).article()});
        }
        return messages;
    }
    MessageRefs everything()
    {
        MessageRefs messages;
        for (Group *group : engine->groups().groups()) {
            const MessageRefs some = all(*group);
            messages.insert(messages.end(), some.begin(), some.end());
        }
        return messages;
    }
    void wait() { QTRY_VERIFY(!engine->tasks().isBusy()); }
    void undo()
    {
        ops().undo();
        wait();
    }
    void redo()
    {
        ops().redo();
        wait();
    }
    MessageOperations &ops() { return engine->operations(); }
    Group &role(GroupRole role) { return *engine->groups().group(role); }

    Scratch scratch;
    std::unique_ptr<Engine> engine;
    std::vector<OperationResult> results;
};

MessageRefs firstOf(const MessageRefs &messages, std::size_t count)
{
    return {messages.begin(), messages.begin() + std::ptrdiff_t(std::min(count, messages.size()))};
}

} // namespace

class UndoTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void anyOrder_data();
    void anyOrder();
    void deletingMarksAsRead();
    void onlyWhatChangedIsTakenBack();
    void notJunkGoesBack();
    void theArchiveIsMade();
    void severalGroupsAtOnce();
    void goneMessagesAreSkipped();
    void marksAreNamed();
    void forGoodIsNoStep();
    void unreadableOnesStay();
    void aRemovedGroup();
    void aNewDeedEndsRedoing();
    void undoOfWhatStillRuns();
    void marksOnTheWay();
    void stoppedHalfway();
    void readBefore();
    void limits();
    void following();
    void lines_data();
    void lines();
    void badLines_data();
    void badLines();
};

void UndoTest::anyOrder_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 1; seed <= 8; ++seed)
        QTest::addRow("%u", seed) << seed;
}

/// Whatever was done in whatever order: as many steps back give what was before each of them, and as many
/// again what was after.
void UndoTest::anyOrder()
{
    QFETCH(quint32, seed);
    QRandomGenerator random(seed);
    Fixture f;
    f.make(u"A"_s, 40);
    f.make(u"B"_s, 25);
    f.make(u"C"_s, 10);
    if (seed % 3 == 0)
        setBoolSetting(Setting::MarkJunkAsRead, true);
    QList<QStringList> states = {stateOf(*f.engine)};
    const auto some = [&] {
        MessageRefs messages = f.everything();
        std::shuffle(messages.begin(), messages.end(), random);
        return firstOf(messages, std::size_t(random.bounded(1, random.bounded(4) == 0 ? 60 : 8)));
    };
    const auto anyGroup = [&]() -> Group & {
        const std::vector<Group *> groups = f.engine->groups().groups();
        return *groups[std::size_t(random.bounded(int(groups.size())))];
    };
    const std::vector<std::function<void()>> deeds = {
        [&] { f.ops().move(some(), anyGroup()); },
        [&] { f.ops().copy(some(), anyGroup()); },
        [&] {
            MessageRefs messages = some();
            const MessageRefs lost = f.ops().lostByRemoving(messages);
            std::erase_if(messages, [&](MessageRef m) { return std::ranges::count(lost, m) > 0; });
            f.ops().remove(messages);
        },
        [&] { f.ops().archive(some()); },
        [&] { f.ops().junk(some(), random.bounded(2) == 0); },
        [&] { f.ops().mark(some(), Mark::Read | Mark::Watched, Mark::Ignored); },
        [&] { f.ops().mark(some(), Mark::Flagged, Mark::Read); },
        [&] { f.ops().setTags(some(), 1u << random.bounded(4), 1u << random.bounded(4)); },
        [&] { f.ops().markGroupRead(anyGroup()); },
    };
    while (states.size() < 16) {
        const std::size_t before = f.results.size();
        deeds[std::size_t(random.bounded(int(deeds.size())))]();
        f.wait();
        if (f.results.size() > before && f.results.back().canUndo)
            states += stateOf(*f.engine);
        if (random.bounded(5) == 0 && states.size() > 1) {
            f.undo();
            QCOMPARE(stateOf(*f.engine), states[states.size() - 2]);
            f.redo();
            QCOMPARE(stateOf(*f.engine), states.last());
        }
    }
    for (int round = 0; round < 2; ++round) {
        for (qsizetype i = states.size() - 2; i >= 0; --i) {
            f.undo();
            QCOMPARE(stateOf(*f.engine), states[i]);
            QCOMPARE(f.results.back().skipped, 0);
            if (random.bounded(6) == 0)
                f.restart();
        }
        QVERIFY(!f.engine->journal().nextUndo());
        for (qsizetype i = 1; i < states.size(); ++i) {
            f.redo();
            QCOMPARE(stateOf(*f.engine), states[i]);
            if (random.bounded(6) == 0)
                f.restart();
        }
        QVERIFY(!f.engine->journal().nextRedo());
    }
    QCOMPARE(f.scratch.reports, QStringList());
}

void UndoTest::deletingMarksAsRead()
{
    Fixture f;
    Group &group = f.make(u"A"_s, 3);
    const QStringList before = stateOf(*f.engine);
    f.ops().remove(f.all(group));
    QCOMPARE(f.results.back().text, u"3 messages moved to Waste basket"_s);
    QCOMPARE(f.role(GroupRole::WasteBasket).counts(), (OverviewFile::Counts{3, 0, 0}));
    QCOMPARE(f.engine->journal().nextText(), u"Undo deleting 3 messages"_s);
    f.undo();
    QCOMPARE(f.results.back().text, u"Undone: 3 messages moved to Waste basket"_s);
    QCOMPARE(f.results.back().messages, f.all(group));
    QCOMPARE(group.counts(), (OverviewFile::Counts{3, 3, 0}));
    QCOMPARE(stateOf(*f.engine), before);
    QCOMPARE(f.engine->journal().nextRedoText(), u"Redo deleting 3 messages"_s);
}

void UndoTest::onlyWhatChangedIsTakenBack()
{
    Fixture f;
    Group &group = f.make(u"A"_s, 3);
    group.setMarks({2}, Mark::Read, {});
    group.setTags({3}, 2, 0);
    f.ops().mark(f.all(group), Mark::Read, {});
    QCOMPARE(f.results.back().count, 2);
    f.ops().setTags(f.all(group), 2, 0);
    QCOMPARE(f.results.back().text, u"2 messages tagged Work"_s);
    f.ops().mark(f.all(group), Mark::Read, {}); // nothing to do
    QVERIFY(!f.results.back().canUndo);
    QCOMPARE(f.results.back().text, QString());
    f.undo();
    f.undo();
    QVERIFY(!group.overview(1)->has(Mark::Read));
    QVERIFY(group.overview(2)->has(Mark::Read));
    QCOMPARE(group.overview(1)->tags(), 0u);
    QCOMPARE(group.overview(3)->tags(), 2u);
}

void UndoTest::notJunkGoesBack()
{
    Fixture f;
    Group &a = f.make(u"A"_s, 2);
    Group &b = f.make(u"B"_s, 1);
    Group &junk = f.role(GroupRole::Junk);
    f.ops().junk(f.everything(), true);
    QCOMPARE(junk.counts().total, 3u);
    // Taken out and put back: that it came from elsewhere meanwhile is forgotten.
    f.ops().move(f.all(junk), f.role(GroupRole::Drafts));
    f.undo();
    f.ops().junk(f.all(junk), false);
    QCOMPARE(f.results.back().text, u"3 messages marked as not junk"_s);
    QCOMPARE(a.counts().total, 2u);
    QCOMPARE(b.counts().total, 1u);
    QVERIFY(!a.row(a.rowCount() - 1).has(Mark::Junk));
    f.ops().junk(f.all(b), true);
    QVERIFY(f.engine->groups().remove(b));
    f.ops().junk(f.all(junk), false);
    QCOMPARE(f.role(GroupRole::Inbox).counts().total, 1u);
}

void UndoTest::theArchiveIsMade()
{
    Fixture f;
    Group &own = f.make(u"Archive"_s, 1); // the user's, and no business of ours
    Group &a = f.make(u"A"_s, 2);
    QVERIFY(!f.engine->groups().group(GroupRole::Archive));
    f.ops().archive(f.all(a));
    Group &archive = f.role(GroupRole::Archive);
    QCOMPARE(archive.name(), u"Archive 2"_s);
    QCOMPARE(archive.counts().total, 2u);
    QCOMPARE(own.counts().total, 1u);
    f.restart();
    QCOMPARE(f.role(GroupRole::Archive).name(), u"Archive 2"_s);
    f.ops().archive(f.all(*f.engine->groups().find(u"Archive"_s)));
    QCOMPARE(f.role(GroupRole::Archive).counts().total, 3u);
    QVERIFY(f.engine->groups().remove(f.role(GroupRole::Archive))); // like any folder
}

void UndoTest::severalGroupsAtOnce()
{
    Fixture f;
    f.make(u"A"_s, 15);
    f.make(u"B"_s, 15);
    Group &to = f.make(u"To"_s, 2);
    const QStringList before = stateOf(*f.engine);
    f.ops().move(f.everything(), to); // two are there already
    f.wait();
    QCOMPARE(f.results.back().text, u"30 messages moved to To"_s);
    QCOMPARE(to.counts().total, 32u);
    f.undo();
    QCOMPARE(stateOf(*f.engine), before);
    QCOMPARE(f.results.back().count, 30);
}

void UndoTest::goneMessagesAreSkipped()
{
    Fixture f;
    Group &a = f.make(u"A"_s, 3);
    Group &to = f.make(u"To"_s, 0);
    f.ops().move(f.all(a), to);
    QVERIFY(to.remove({2}));
    f.undo();
    QCOMPARE(f.results.back().count, 2);
    QCOMPARE(f.results.back().text, u"Undone: 2 messages moved to To (not 1 message)"_s);
    QCOMPARE(a.counts().total, 2u);
}

void UndoTest::marksAreNamed()
{
    Fixture f;
    Group &a = f.make(u"A"_s, 1);
    const struct
    {
        Marks set;
        Marks clear;
        QString undo;
    } deeds[] = {
        {Mark::Watched, Mark::Ignored, u"Undo watching 1 message"_s},
        {Mark::Ignored, Mark::Watched, u"Undo ignoring 1 message"_s},
        {{}, Mark::Ignored, u"Undo no longer ignoring 1 message"_s},
        {Mark::Flagged, {}, u"Undo flagging 1 message"_s},
        {{}, Mark::Flagged, u"Undo unflagging 1 message"_s},
        {Mark::Read | Mark::Watched, {}, u"Undo marking 1 message"_s},
        {{}, Mark::Watched, u"Undo no longer watching 1 message"_s},
    };
    for (const auto &deed : deeds) {
        f.ops().mark(f.all(a), deed.set, deed.clear);
        QCOMPARE(f.engine->journal().nextText(), deed.undo);
    }
}

void UndoTest::forGoodIsNoStep()
{
    Fixture f;
    Group &a = f.make(u"A"_s, 4);
    f.ops().mark(firstOf(f.all(a), 1), Mark::Flagged, {});
    f.ops().mark(f.all(a), Mark::Read, {});
    const MessageRefs last = {{a.number(), 4}};
    f.ops().mark(last, Mark::Watched, {});
    QCOMPARE(f.ops().lostByRemoving(f.all(a)), MessageRefs());
    setBoolSetting(Setting::UseWasteBasket, false);
    QCOMPARE(f.ops().lostByRemoving(last), last);
    f.ops().remove(last);
    QCOMPARE(f.results.back().text, u"1 message deleted for good"_s);
    QVERIFY(!f.results.back().canUndo);
    QCOMPARE(f.engine->journal().nextText(), u"Undo marking 4 messages as read"_s); // watching went with it
    f.ops().removeForGood(f.all(a));
    QCOMPARE(f.engine->journal().nextText(), QString());
    f.undo();
    QCOMPARE(f.results.back().text, u"There is nothing to undo"_s);
}

void UndoTest::unreadableOnesStay()
{
    Fixture f;
    Group &a = f.make(u"A"_s, 3);
    QFile bin(a.files().directory() + u"/Bin0"_s);
    QVERIFY(bin.open(QIODevice::ReadWrite) && bin.seek(a.row(1).position()) && bin.write("XXXX") == 4);
    bin.close();
    f.ops().move(f.all(a), f.role(GroupRole::Drafts));
    QCOMPARE(f.results.back().text, u"2 messages moved to Drafts (not 1 message)"_s);
    QCOMPARE(f.all(a), (MessageRefs{{a.number(), 2}}));
    QVERIFY(!f.scratch.reports.isEmpty());
    f.scratch.reports.clear();
    f.undo();
    QCOMPARE(a.counts().total, 3u);
    QCOMPARE(f.scratch.reports, QStringList());
}

void UndoTest::aRemovedGroup()
{
    Fixture f;
    Group &a = f.make(u"A"_s, 2);
    Group &to = f.make(u"To"_s, 0);
    f.ops().move(f.all(a), to);
    QVERIFY(f.engine->groups().remove(a));
    f.undo(); // where should they go?
    QCOMPARE(f.results.back().count, 0);
    QCOMPARE(f.results.back().skipped, 2);
    QCOMPARE(to.counts().total, 2u);
    QVERIFY(f.engine->groups().remove(to));
    QVERIFY(!f.engine->journal().nextRedo());
}

void UndoTest::aNewDeedEndsRedoing()
{
    Fixture f;
    Group &a = f.make(u"A"_s, 1);
    f.ops().mark(f.all(a), Mark::Read, {});
    f.undo();
    QVERIFY(f.engine->journal().nextRedo());
    f.ops().mark(f.all(a), Mark::Flagged, {});
    QVERIFY(!f.engine->journal().nextRedo());
    f.redo();
    QCOMPARE(f.results.back().text, u"There is nothing to redo"_s);
}

void UndoTest::undoOfWhatStillRuns()
{
    Fixture f;
    Group &a = f.make(u"A"_s, 100);
    Group &to = f.make(u"To"_s, 0);
    const QStringList before = stateOf(*f.engine);
    f.ops().move(f.all(a), to);
    QVERIFY(f.engine->tasks().isBusy());
    f.ops().mark(firstOf(f.all(a), 1), Mark::Flagged, {}); // does not wait
    QCOMPARE(f.results.size(), 1u);
    f.ops().undo();
    f.ops().undo();
    f.wait();
    QCOMPARE(f.results.size(), 4u);
    QCOMPARE(stateOf(*f.engine), before);
    f.ops().redo();
    f.ops().redo();
    f.wait();
    QCOMPARE(to.counts(), (OverviewFile::Counts{100, 100, 1}));
}

/// A mark that a message gets when its copy is made already, and the source has not let go of it.
void UndoTest::marksOnTheWay()
{
    Fixture f;
    Group &a = f.make(u"A"_s, 30);
    Group &to = f.make(u"To"_s, 0);
    Articles articles;
    for (const MessageRef message : f.all(a))
        articles.push_back(message.article);
    Transfer transfer(f.engine->groups(), a, articles, to, Transfer::Kind::Move);
    while (to.rowCount() < 30)
        QCOMPARE(transfer.step(0), Transfer::Progress::Working);
    QVERIFY(a.setMarks({30}, Mark::Flagged, {}) && a.setTags({30}, 4, 0));
    QCOMPARE(f.engine->groups().move(a, {29}, f.role(GroupRole::Drafts)), Articles()); // it has left
    QCOMPARE(transfer.run().size(), 30u);
    QVERIFY(to.row(29).has(Mark::Flagged));
    QCOMPARE(to.row(29).tags(), 4u);
    QCOMPARE(a.counts().total, 0u);
    QVERIFY(!QFile::exists(configPathOf(u"Groups/Moving"_s)));
}

void UndoTest::stoppedHalfway()
{
    Fixture f;
    Group &a = f.make(u"A"_s, 3000);
    Group &to = f.make(u"To"_s, 0);
    const QStringList before = stateOf(*f.engine);
    const auto stopWhen = [&](auto condition) {
        QObject scope;
        connect(&f.engine->tasks(), &TaskRunner::progressed, &scope, [&](Task *task) {
            if (condition())
                task->stop();
        });
        f.wait();
    };
    f.ops().move(f.all(a), to);
    stopWhen([&] { return to.rowCount() > 0; });
    const qint64 moved = f.results.back().count;
    QVERIFY(moved > 0 && moved < 3000);
    QCOMPARE(a.counts().total + to.counts().total, 3000u);
    QCOMPARE(qint64(to.counts().total), moved);
    f.ops().redo();
    f.ops().undo();
    stopWhen([&] { return qint64(a.counts().total) > 3000 - moved; });
    QCOMPARE(a.counts().total + to.counts().total, 3000u);
    f.undo(); // goes on
    QCOMPARE(stateOf(*f.engine), before);
}

void UndoTest::readBefore()
{
    Fixture f;
    Group &a = *f.engine->groups().make(u"A"_s);
    for (const char *day : {"18", "19", "20"}) {
        const QByteArray date = "Date: Wed, " + QByteArray(day) + " Nov 2026 10:00:00 +0000\n";
        f.engine->groups().add(a, Message(date + "Subject: x\n\nText\n"), {}, 0, 1);
    }
    f.ops().markReadBefore(a, a.row(2).date());
    QCOMPARE(f.results.back().text, u"2 messages in A marked as read"_s);
    QCOMPARE(a.counts().unread, 1u);
    QVERIFY(!a.row(2).has(Mark::Read));
    f.undo();
    QCOMPARE(a.counts().unread, 3u);
}

void UndoTest::limits()
{
    UndoJournal journal;
    journal.setLimits({3, 100});
    UndoStep step;
    step.messages = 30;
    for (int i = 1; i <= 5; ++i) {
        step.time = i;
        journal.record(step);
    }
    for (int i = 5; i >= 3; --i) {
        QCOMPARE(journal.nextUndo()->time, i);
        journal.undone();
    }
    QVERIFY(!journal.nextUndo());
    step.messages = 1000; // more than there may be: the newest one stays
    journal.record(step);
    QCOMPARE(journal.nextUndo()->messages, 1000);
    QVERIFY(!journal.nextRedo());
    journal.record(step);
    journal.undone();
    QVERIFY(!journal.nextUndo());
}

void UndoTest::following()
{
    UndoJournal journal;
    journal.follow({1, 1}, {2, 5});
    journal.follow({2, 5}, {1, 9});
    QCOMPARE(journal.whereNow({1, 1}), (MessageRef{1, 9}));
    QCOMPARE(journal.whereNow({1, 2}), (MessageRef{1, 2}));
    journal.follow({1, 9}, {1, 1}); // in a circle: not followed
    QCOMPARE(journal.whereNow({1, 1}), (MessageRef{1, 9}));
    UndoStep step;
    step.changes.resize(1);
    step.changes[0].messages = {{1, 1}, {1, 2}};
    journal.record(step);
    const QStringList lines = journal.toLines();
    journal.takeLines(lines);
    QCOMPARE(journal.nextUndo()->changes[0].messages, (MessageRefs{{1, 9}, {1, 2}}));
}

void UndoTest::lines_data()
{
    QTest::addColumn<QString>("line");
    QTest::newRow("nothing") << u"move\t0\t0\t"_s;
    QTest::newRow("moved") << u"archive\t1800000000\t5\tA\\tname\tmove 1 2 0 2:1-4;7:9\tmove 3 2 8 2:5"_s;
    QTest::newRow("copied") << u"copy\t1\t2\tTo\tcopy 4 1:1,3 4:8-9"_s;
    QTest::newRow("bits") << u"delete\t1\t2\t\tbits 12 2 80000000 0 1:1-2"_s;
    QTest::newRow("falling") << u"read\t1\t3\t\tbits 2 0 0 0 1:3,2,1;2:1;1:4"_s;
    QTest::newRow("the greatest number") << u"read\t1\t1\t\tbits 2 0 0 0 1:4294967295"_s;
}

void UndoTest::lines()
{
    QFETCH(QString, line);
    const std::optional<UndoStep> step = UndoStep::fromLine(line);
    QVERIFY(step);
    QCOMPARE(step->toLine(), line);
    QVERIFY(UndoStep::fromLine(step->toLine()) == step);
}

void UndoTest::badLines_data()
{
    QTest::addColumn<QString>("line");
    QTest::newRow("empty") << QString();
    QTest::newRow("an unknown deed") << u"paint\t1\t1\tx"_s;
    QTest::newRow("a field is missing") << u"move\t1\t1"_s;
    QTest::newRow("no time") << u"move\tx\t1\tx"_s;
    QTest::newRow("an unknown change") << u"move\t1\t1\tx\tpaint 1 2 0 1:1"_s;
    QTest::newRow("a number is missing") << u"move\t1\t1\tx\tmove 1 2 1:1"_s;
    QTest::newRow("no group") << u"move\t1\t1\tx\tmove 1 2 0 1"_s;
    QTest::newRow("article 0") << u"move\t1\t1\tx\tmove 1 2 0 1:0"_s;
    QTest::newRow("backwards") << u"move\t1\t1\tx\tmove 1 2 0 1:9-3"_s;
    QTest::newRow("endless") << u"move\t1\t1\tx\tmove 1 2 0 1:1-4294967295"_s;
    QTest::newRow("endless in pieces") << u"move\t1\t1\tx\tmove 1 2 0 1:1-15000000,20000000-34000000"_s;
    QTest::newRow("not side by side") << u"copy\t1\t1\tx\tcopy 4 1:1-3 4:1-2"_s;
    QTest::newRow("bits that are none") << u"read\t1\t1\tx\tbits 2 g 0 0 1:1"_s;
}

void UndoTest::badLines()
{
    QFETCH(QString, line);
    QVERIFY(!UndoStep::fromLine(line));
}

QTEST_GUILESS_MAIN(UndoTest)
#include "undo_test.moc"
