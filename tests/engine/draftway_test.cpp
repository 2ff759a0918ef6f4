#include "draftsattest.h"
#include "engine/engine.h"
#include "support/diskfaults.h"
#include "support/memory.h"

#include <QTest>

#include <functional>
#include <sys/wait.h>

using namespace Qt::StringLiterals;

// The way of a draft: into Drafts, through the outbox and back, over the end of a run at any place.

namespace {

const QByteArray kSentId = "<sent@example.org>";

using Step = std::function<void(Run &run, int draft)>;

/// The message that was made of the draft, where it is by now.
void put(Run &run, GroupRole role)
{
    run.store.add(run.group(role), Message(mailText("sent@example.org", "Lunch")), {}, 0, 1);
}

void handOver(Run &run, int draft)
{
    run.drafts.keep(draft, saying(u"x"_s));
    if (!run.drafts.handOver(draft, kSentId))
        qFatal("the test cannot hand over");
}

void handedOver(Run &run, int draft)
{
    handOver(run, draft);
    run.drafts.handedOver(draft);
}

void takingBack(Run &run, int draft)
{
    handedOver(run, draft);
    run.drafts.takeBack(draft, kSentId, saying(u"y"_s));
}

/// One reply, handed over and waiting, in a program of its own.
int waitingReply()
{
    Engine engine;
    if (!engine.load())
        return 0;
    Identity ada;
    ada.name = u"Ada"_s;
    ada.address = u"ada@example.org"_s;
    engine.identities().add(ada);
    Composition composition = saying(u"Yes"_s);
    composition.identity = *engine.identities().defaultIdentity();
    SendWish wish;
    wish.draft = engine.drafts().begin({});
    wish.notBefore = clockSeconds() + 3600;
    const bool isWaiting = engine.drafts().keep(wish.draft, composition) &&
                           engine.drafts().store(wish.draft) &&
                           engine.composer().send(composition, wish) != 0;
    return engine.shutDown() && isWaiting ? wish.draft : 0;
}

/// Takes it back, and is killed before the @p call of its writes; false when it came to the end.
bool killedTakingBack(int call)
{
    const pid_t child = ::fork();
    if (child == 0) {
        Engine engine;
        if (!engine.load() || engine.outbox().entries().empty())
            ::_exit(1);
        DiskFaults::calls = 0;
        DiskFaults::killBefore = call;
        const bool isTaken = engine.composer().takeBack(engine.outbox().entries().front().ticket).draft != 0;
        ::_exit(isTaken ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) != 0)
        qFatal("the test cannot take back");
    return WIFSIGNALED(status);
}

} // namespace

class DraftWayTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }

    void storingTakesThePlaceOfTheEarlier();
    void openingFindsTheVersionsAgain();
    void openingAForeignMessage();
    void closingGoesBackToWhatIsStored();
    void discardingLeavesNothing();

    void afterTheEndOfARun_data();
    void afterTheEndOfARun();
    void whatTheOutboxLetGoIsWrittenOn();
    void whatIsOnItsWayIsNotOpened();
    void whatWasTakenBackIsNotDiscarded();
    void theUserGivesItUp();
    void whileGroupsWaitForTheirRepair_data();
    void whileGroupsWaitForTheirRepair();
    void killedWhileTakingBack();
};

void DraftWayTest::storingTakesThePlaceOfTheEarlier()
{
    const Scratch scratch;
    Run run;
    const MessageRef original{run.group(GroupRole::Inbox).number(), 7};
    const int draft = run.drafts.begin({original, DraftContext::Deed::Reply, {}});
    QVERIFY(!run.drafts.store(draft)); // nothing to store
    QVERIFY(run.drafts.keep(draft, saying(u"one"_s)));
    QVERIFY(run.drafts.store(draft));
    const Articles first = run.articles();
    QCOMPARE(first.size(), std::size_t(1));
    QVERIFY(run.group().overview(first[0])->has(Mark::Read));
    QVERIFY(run.drafts.store(draft)); // nothing new
    QCOMPARE(run.articles(), first);

    QVERIFY(run.group().setMarks(first, Mark::Flagged, {}));
    QVERIFY(run.group().setTags(first, 4, 0));
    QVERIFY(run.drafts.keep(draft, saying(u"two\u00e9"_s)));
    QVERIFY(run.drafts.store(draft));
    const Articles second = run.articles();
    QCOMPARE(second.size(), std::size_t(1));
    QVERIFY(second[0] > first[0]);
    const MessageRef place{run.group().number(), second[0]};
    QCOMPARE(run.stored(draft), place);
    QCOMPARE(run.drafts.context(draft).original, original);
    QVERIFY(run.group().overview(second[0])->has(Mark::Flagged));
    QCOMPARE(run.group().overview(second[0])->tags(), 4u);
    QCOMPARE(run.message(second[0]).subject(), u"Lunch"_s);
    QCOMPARE(run.message(second[0]).to(), u"bob@example.org"_s);
}

void DraftWayTest::openingFindsTheVersionsAgain()
{
    const Scratch scratch;
    Run run;
    const int draft = run.drafts.begin({});
    for (const QString &text : {u"one"_s, u"two"_s})
        QVERIFY(run.drafts.keep(draft, saying(text)));
    QVERIFY(run.drafts.store(draft));
    run.drafts.close(draft);
    QCOMPARE(run.drafts.open(run.stored(draft)), draft);
    QCOMPARE(run.drafts.versions(draft).size(), std::size_t(2));
    run.drafts.close(draft);

    // Deleted and brought back: another article of the same draft.
    Group &basket = run.group(GroupRole::WasteBasket);
    const Articles there = run.store.move(run.group(), run.articles(), basket);
    QCOMPARE(run.drafts.open({basket.number(), there[0]}), 0); // no draft while it lies there
    const Articles back = run.store.move(basket, there, run.group());
    QCOMPARE(run.drafts.open({run.group().number(), back[0]}), draft);
    QCOMPARE(run.drafts.versions(draft).size(), std::size_t(2));

    // A copy of it is another one.
    const Articles copy = run.store.copy(run.group(), back, run.group());
    const int other = run.drafts.open({run.group().number(), copy[0]});
    QVERIFY(other != 0 && other != draft);
    QCOMPARE(run.drafts.open({run.group().number(), 4711}), 0);
}

/// Who sent it may have written anything into it: nothing of that counts as the user's own word.
void DraftWayTest::openingAForeignMessage()
{
    const Scratch scratch;
    Run run;
    const QByteArray text = mailText("foreign@example.com", "From elsewhere",
                                     "Cc: carol@example.org\nBcc: dora@example.org\nX-Velmar-Sign: Yes\n"
                                     "X-VELMAR-RCPT-TO: evil@example.com\nX-Other: x\n"
                                     "Reply-To: evil@example.com\nContent-Type: text/html\n",
                                     "<p onclick=\"x()\">Hello<script>x()</script></p>\n");
    const quint32 article = run.store.add(run.group(), Message(text), {}, 0, 1);
    const MessageRef place{run.group().number(), article};
    QVERIFY(!run.drafts.knows(place));
    const int draft = run.drafts.open(place);
    QVERIFY(draft > 0);
    QVERIFY(!run.drafts.knows(place)); // to open it makes it nobody's own
    const Composition composition = run.drafts.version(draft, 0);
    QCOMPARE(composition.subject, u"From elsewhere"_s);
    QCOMPARE(composition.cc, u"carol@example.org"_s);
    QCOMPARE(composition.bcc, u"dora@example.org"_s); // a draft of another program is whole
    QVERIFY(!composition.sign && composition.extra.isEmpty() && composition.replyTo.isEmpty());
    QVERIFY(composition.html.contains(u"Hello"_s));
    QVERIFY(!composition.html.contains(u"script"_s) && !composition.html.contains(u"onclick"_s));
    QCOMPARE(composition.identity.number, 1);
    Composition changed = composition;
    changed.text = u"Goodbye"_s;
    QVERIFY(run.drafts.keep(draft, changed));
    QVERIFY(run.drafts.store(draft));
    QCOMPARE(run.articles().size(), std::size_t(1)); // in its place
    QVERIFY(run.articles()[0] != article);
    QVERIFY(run.drafts.knows(run.stored(draft)));
}

void DraftWayTest::closingGoesBackToWhatIsStored()
{
    const Scratch scratch;
    Run run;
    const int draft = run.drafts.begin({});
    QVERIFY(run.drafts.keep(draft, saying(u"stored"_s)));
    QVERIFY(run.drafts.store(draft));
    QVERIFY(run.drafts.keep(draft, saying(u"given up"_s)));
    run.drafts.close(draft);
    QCOMPARE(run.drafts.open(run.stored(draft)), draft);
    QCOMPARE(run.drafts.version(draft, 0).text, u"stored"_s);
    QCOMPARE(run.drafts.version(draft, 1).text, u"given up"_s); // still to be had
    QCOMPARE(run.articles().size(), std::size_t(1));
}

void DraftWayTest::discardingLeavesNothing()
{
    const Scratch scratch;
    Run run;
    const int draft = run.drafts.begin({});
    Composition composition = saying(u"x"_s);
    composition.attachments = {{u"a"_s, "a/b", "data", {}}};
    QVERIFY(run.drafts.keep(draft, composition));
    QVERIFY(run.drafts.store(draft));
    run.drafts.discard(draft);
    run.drafts.discard(draft); // twice is once
    QCOMPARE(run.articles(), Articles());
    QVERIFY(!QFileInfo::exists(directoryOf(draft)));
    QVERIFY(run.drafts.recovered().empty());
    QVERIFY(run.drafts.versions(draft).empty());
}

void DraftWayTest::afterTheEndOfARun_data()
{
    QTest::addColumn<Step>("deed");
    QTest::addColumn<bool>("isHeld");
    QTest::addColumn<int>("recovered");
    QTest::addColumn<int>("inDrafts");
    QTest::addColumn<bool>("hasFiles");
    const auto row = [](const char *name, bool isHeld, int recovered, int inDrafts, bool hasFiles,
                        const Step &deed) {
        QTest::newRow(name) << deed << isHeld << recovered << inDrafts << hasFiles;
    };
    const auto stored = [](Run &run, int draft) {
        run.drafts.keep(draft, saying(u"x"_s));
        run.drafts.store(draft);
    };
    row("nothing was written", false, 0, 0, false, [](Run &, int) {});
    row("kept", false, 1, 0, true, [](Run &run, int draft) { run.drafts.keep(draft, saying(u"x"_s)); });
    row("kept, closed", false, 0, 0, false, [](Run &run, int draft) {
        run.drafts.keep(draft, saying(u"x"_s));
        run.drafts.close(draft);
    });
    row("stored, not closed", false, 0, 1, true, stored);
    row("stored, then written on", false, 1, 1, true, [=](Run &run, int draft) {
        stored(run, draft);
        run.drafts.keep(draft, saying(u"y"_s));
    });
    row("stored, closed, deleted by the user", false, 0, 0, false, [=](Run &run, int draft) {
        stored(run, draft);
        run.drafts.close(draft);
        run.store.deleteMessages(run.group(), run.articles(), true);
    });
    row("about to be handed over, and did not arrive", false, 1, 0, true, handOver);
    row("about to be handed over, and arrived", false, 0, 0, true, [](Run &run, int draft) {
        handOver(run, draft);
        put(run, GroupRole::Outbox);
    });
    row("waits in the outbox, window closed", true, 0, 0, true, [](Run &run, int draft) {
        handedOver(run, draft);
        put(run, GroupRole::Outbox);
        run.drafts.close(draft);
    });
    row("accepted, to be filed", true, 0, 0, true, handedOver);
    row("the outbox knows nothing of it", false, 1, 0, true, handedOver);
    row("the outbox knows nothing of it, but it was sent", false, 0, 0, false, [=](Run &run, int draft) {
        stored(run, draft);
        handedOver(run, draft);
        put(run, GroupRole::SentMail);
    });
    row("thrown away before it went", false, 1, 0, true, [](Run &run, int draft) {
        handedOver(run, draft);
        put(run, GroupRole::WasteBasket);
    });
    row("about to be taken back, still there", true, 0, 0, true, takingBack);
    row("about to be taken back, out of there", false, 1, 0, true, takingBack);
    row("the same, some have got it", false, 1, 0, true, [](Run &run, int draft) {
        takingBack(run, draft);
        put(run, GroupRole::SentMail);
    });
    row("taken back", false, 1, 0, true, [](Run &run, int draft) {
        takingBack(run, draft);
        run.drafts.takenBack(draft);
    });
    row("one that had no draft, still there", false, 0, 0, false, [](Run &run, int) {
        put(run, GroupRole::Outbox);
        run.drafts.takeBack(0, kSentId, saying(u"y"_s));
    });
    row("one that had no draft, out of there", false, 1, 0, false,
        [](Run &run, int) { run.drafts.takeBack(0, kSentId, saying(u"y"_s)); });
    row("the outbox refused it", false, 1, 0, true, [](Run &run, int draft) {
        handOver(run, draft);
        run.drafts.handOverFailed(draft);
    });
}

void DraftWayTest::afterTheEndOfARun()
{
    QFETCH(Step, deed);
    QFETCH(bool, isHeld);
    QFETCH(int, recovered);
    QFETCH(int, inDrafts);
    QFETCH(bool, hasFiles);
    const Scratch scratch;
    int draft = 0;
    {
        Run run;
        draft = run.drafts.begin({});
        deed(run, draft);
    }
    for (int start = 0; start < 2; ++start) { // what the first start settles, the second one finds settled
        Run run(isHeld ? std::set{draft} : std::set<int>());
        QCOMPARE(int(run.drafts.recovered().size()), recovered);
        QCOMPARE(int(run.articles().size()), inDrafts);
        QCOMPARE(QFileInfo::exists(directoryOf(draft)), hasFiles);
    }
    QCOMPARE(scratch.reports, QStringList());
}

/// Some have got it, and it lies in the outbox until that is filed: the draft is no longer the outbox's.
void DraftWayTest::whatTheOutboxLetGoIsWrittenOn()
{
    for (const bool hadDraft : {true, false}) {
        const Scratch scratch;
        int draft = 0;
        {
            Run run;
            put(run, GroupRole::Outbox);
            if (hadDraft)
                takingBack(run, draft = run.drafts.begin({}));
            else
                draft = run.drafts.takeBack(0, kSentId, saying(u"y"_s));
        }
        Run run(hadDraft ? std::set{draft} : std::set<int>(), true, true);
        QCOMPARE(run.drafts.recovered(), std::vector<int>{draft});
        run.drafts.settled(draft); // it is filed now
        QCOMPARE(run.drafts.version(draft, 0).text, u"y"_s);
    }
}

void DraftWayTest::whatIsOnItsWayIsNotOpened()
{
    const Scratch scratch;
    Run run;
    const int draft = run.drafts.begin({});
    QVERIFY(run.drafts.keep(draft, saying(u"x"_s)) && run.drafts.store(draft));
    const MessageRef place = run.stored(draft);
    QVERIFY(run.drafts.handOver(draft, kSentId));
    QCOMPARE(run.drafts.open(place), 0);
    run.drafts.handedOver(draft);
    QCOMPARE(run.drafts.open(place), 0);
    QVERIFY(run.drafts.waitsInOutbox(place));
    QCOMPARE(run.drafts.takeBack(draft, kSentId, saying(u"x"_s)), draft);
    run.drafts.takenBack(draft);
    QCOMPARE(run.drafts.open(place), draft);
}

void DraftWayTest::whatWasTakenBackIsNotDiscarded()
{
    const Scratch scratch;
    Run run;
    const int draft = run.drafts.begin({});
    handedOver(run, draft);
    QVERIFY(run.drafts.recovered().empty());
    QCOMPARE(run.drafts.takeBack(draft, kSentId, saying(u"y"_s)), draft);
    run.drafts.settled(draft); // some had been served: the outbox has filed that
    run.drafts.takenBack(draft);
    run.drafts.settled(draft);
    QCOMPARE(run.drafts.version(draft, 0).text, u"y"_s);
    handedOver(run, draft);
    run.drafts.settled(draft);
    QVERIFY(run.drafts.versions(draft).empty());
}

void DraftWayTest::theUserGivesItUp()
{
    const Scratch scratch;
    int draft = 0;
    {
        Run run;
        draft = run.drafts.begin({});
        handedOver(run, draft);
        put(run, GroupRole::WasteBasket);
        run.drafts.givenUp(draft);
    }
    Run run;
    QVERIFY(run.drafts.recovered().empty());
    Group &basket = run.group(GroupRole::WasteBasket);
    const Articles back = run.store.move(basket, {1}, run.group());
    QCOMPARE(run.drafts.open({run.group().number(), back.at(0)}), draft); // with its versions
}

void DraftWayTest::whileGroupsWaitForTheirRepair_data()
{
    QTest::addColumn<Step>("deed");
    QTest::newRow("closed") << Step([](Run &run, int draft) {
        run.drafts.keep(draft, saying(u"x"_s));
        run.drafts.store(draft);
        run.drafts.close(draft);
    });
    QTest::newRow("handed over") << Step([](Run &run, int draft) {
        handedOver(run, draft);
        put(run, GroupRole::SentMail);
    });
}

/// What seems to be gone, or sent, may look otherwise when the groups are whole again.
void DraftWayTest::whileGroupsWaitForTheirRepair()
{
    QFETCH(Step, deed);
    for (const GroupRole role : {GroupRole::Drafts, GroupRole::Outbox}) {
        Scratch scratch;
        int draft = 0;
        QString overview;
        {
            Run run;
            draft = run.drafts.begin({});
            deed(run, draft);
            run.store.add(run.group(role), Message(mailText("other@example.org", "Other")), {}, 0, 1);
            overview = configPathOf(u"Groups/%1/Overview"_s.arg(run.group(role).number()));
        }
        QVERIFY(QFile::remove(overview));
        Run run({}, false);
        QVERIFY(run.group(role).needsRepair());
        QVERIFY(QFileInfo::exists(directoryOf(draft)));
        run.drafts.close(draft);
        QCOMPARE(run.drafts.version(draft, 0).text, u"x"_s);
    }
}

/// Wherever the program ends, the message waits or is written again: never neither, never both.
void DraftWayTest::killedWhileTakingBack()
{
    int asDraft = 0;
    int inOutbox = 0;
    for (int call = 1; call < 200; ++call) {
        const Scratch scratch;
        const int draft = waitingReply();
        QVERIFY(draft != 0);
        const bool isKilled = killedTakingBack(call);
        Engine engine;
        QVERIFY(engine.load());
        const bool isOpen = engine.drafts().open(engine.drafts().context(draft).stored) == draft;
        const bool isWaiting = !engine.outbox().entries().empty();
        QVERIFY2(isOpen != isWaiting,
                 qPrintable(u"before call %1: %2, %3"_s.arg(call).arg(isOpen).arg(isWaiting)));
        QCOMPARE(engine.drafts().version(draft, 0).text, u"Yes"_s);
        asDraft += isOpen ? 1 : 0;
        inOutbox += isWaiting ? 1 : 0;
        engine.shutDown();
        if (!isKilled)
            break;
    }
    QVERIFY2(asDraft > 1 && inOutbox > 1, qPrintable(u"%1, %2"_s.arg(asDraft).arg(inOutbox)));
}

QTEST_GUILESS_MAIN(DraftWayTest)
#include "draftway_test.moc"
