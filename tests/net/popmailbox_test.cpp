#include "net/popsession.h"

#include "config/clock.h"
#include "config/settings.h"
#include "net/identifierlist.h"
#include "support/memory.h"

using namespace Qt::StringLiterals;

using Reason = AccountFetchReason;

// What is fetched from a mailbox, kept, and deleted there: session after session.

class PopMailboxTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void sessions_data();
    void sessions();
    void texts();
    void pipelined();
    void pipelinedInHalves();
    void preview_data();
    void preview();
    void daysOnServer();
    void deletionBeforeTheDisk();
    void killedBetweenStoreAndMemory();
    void refused();
    void hangsUpAtOneMessage_data();
    void hangsUpAtOneMessage();
    void moreThanOneGigabyte();
    void namesGivenTwice();
    void uidls_data();
    void uidls();
    void otherMailbox();
    void recoveredForAnotherMailbox();
    void tenThousand();
};

namespace {

/// A session of what lies between the login and QUIT.
struct Played
{
    QByteArray script;
    const char *stored; ///< subjects of all that is in the store afterwards
    bool quits = true;
};

struct Story
{
    const char *name;
    quint32 flags;
    std::vector<Played> sessions;
};

const QByteArray kTwo = popListing("1 a|2 b", "1 10|2 20");

const std::vector<Story> &stories()
{
    static const std::vector<Story> s_stories = {
        {"left on the server, and fetched once",
         kLeave,
         {{kTwo + retr(1, "a") + retr(2, "b"), "ab"},
          {kTwo, "ab"},
          {popListing("1 b|2 c", "1 20|2 30") + retr(2, "c"), "abc"}}},
        {"deleted when both are safe",
         kDelete,
         {{kTwo + retr(1, "a") + retr(2, "b") + dele(1) + dele(2), "ab"}}},
        {"not deleted because the end was missing: again, after a look",
         kDelete,
         {{kTwo + retr(1, "a") + retr(2, "b") + dele(1) + "C: DELE 2\nX\n", "ab", false},
          {kTwo + top(1, "a") + top(2, "b") + dele(1) + dele(2), "ab"}}},
        {"another message under the same name is fetched, not deleted: size and header differ",
         kDelete,
         {{kTwo + retr(1, "a") + retr(2, "b") + dele(1) + "C: DELE 2\nX\n", "ab", false},
          {popListing("1 a|2 b", "1 11|2 20") + top(1, "c") + top(2, "b") + retr(1, "c") + dele(2) + dele(1),
           "abc"}}},
        {"another message under the same name: the header alone differs",
         kDelete,
         {{popListing("1 a", "1 10") + retr(1, "a") + "C: DELE 1\nX\n", "a", false},
          {popListing("1 a", "1 10") + top(1, "c") + retr(1, "c") + dele(1), "ac"}}},
        {"a size that changes by itself: neither fetched nor deleted",
         kDelete,
         {{popListing("1 a", "1 10") + retr(1, "a") + "C: DELE 1\nX\n", "a", false},
          {popListing("1 a", "1 12") + top(1, "a"), "a"}}},
        {"renumbered",
         kLeave,
         {{kTwo + retr(1, "a") + retr(2, "b"), "ab"},
          {popListing("1 x|2 y|3 z", "1 10|2 20|3 30") + top(1, "a") + top(2, "b") + retr(3, "c"), "abc"},
          {popListing("1 x|2 y|3 z", "1 10|2 20|3 30"), "abc"}}},
        {"renumbered, and the server has no TOP",
         kLeave,
         {{kTwo + retr(1, "a") + retr(2, "b"), "ab"},
          {popListing("1 x|2 y", "1 10|2 20") + "C: TOP 1 0\nS: -ERR\n" + retr(1, "a") + retr(2, "b"),
           "ab"}}},
        {"renumbered after a day with an empty mailbox",
         kLeave,
         {{kTwo + retr(1, "a") + retr(2, "b"), "ab"},
          {"C: STAT\nS: +OK 0 0\n", "ab"},
          {popListing("1 x|2 y", "1 10|2 20") + top(1, "a") + top(2, "b"), "ab"}}},
        {"not renumbered: one of many is gone, and a new one is as large",
         kLeave,
         {{popListing("1 a|2 b|3 c", "1 10|2 20|3 30") + retr(1, "a") + retr(2, "b") + retr(3, "c"), "abc"},
          {popListing("1 b|2 c|3 d", "1 20|2 30|3 10") + retr(3, "d"), "abcd"}}},
        {"no UIDL, left on the server: known by size and header",
         kLeave,
         {{popListing("-ERR", "1 10|2 10") + top(1, "a") + top(2, "b") + retr(1, "a") + retr(2, "b"), "ab"},
          {popListing("-ERR", "1 10|2 10") + top(1, "b") + top(2, "c") + retr(2, "c"), "abc"}}},
        {"no UIDL, deleted: known when it has come again",
         kDelete,
         {{popListing("-ERR", "1 10") + retr(1, "a") + "C: DELE 1\nX\n", "a", false},
          {popListing("-ERR", "1 10|2 10") + retr(1, "a") + retr(2, "b") + dele(1) + dele(2), "ab"}}},
        {"neither UIDL nor TOP",
         kLeave,
         {{popListing("-ERR", "1 10") + "C: TOP 1 0\nS: -ERR\n" + retr(1, "a"), "a"},
          {popListing("-ERR", "1 10") + "C: TOP 1 0\nS: -ERR\n" + retr(1, "a"), "a"}}},
        {"two of the same size and header are two",
         kLeave,
         {{popListing("-ERR", "1 10|2 10") + top(1, "a") + top(2, "a") + retr(1, "a") + retr(2, "a"), "aa"},
          {popListing("-ERR", "1 10|2 10") + top(1, "a") + top(2, "a"), "aa"}}},
        {"doubled identifiers are told apart",
         kLeave,
         {{popListing("1 a|2 a", "1 10|2 20") + top(1, "a") + top(2, "b") + retr(1, "a") + retr(2, "b"),
           "ab"},
          {popListing("1 a|2 a", "1 10|2 20") + top(1, "a") + top(2, "b"), "ab"},
          {popListing("1 a", "1 20") + top(1, "b"), "ab"}}},
        {"an identifier that is doubled later",
         kLeave,
         {{popListing("1 a", "1 10") + retr(1, "a"), "a"},
          {popListing("1 a|2 a", "1 10|2 20") + top(1, "a") + top(2, "b") + retr(2, "b"), "ab"}}},
        {"odd identifiers: blanks, none, bytes, long",
         kLeave,
         {{popListing("1 a b|2 |3 \\xE4\\x07%|4 " + QByteArray(3000, 'x'), "1 1|2 2|3 3|4 4") + top(2, "b") +
               retr(1, "a") + retr(2, "b") + retr(3, "c") + retr(4, "d"),
           "abcd"},
          {popListing("1 a b|2 |3 \\xE4\\x07%|4 " + QByteArray(3000, 'x'), "1 1|2 2|3 3|4 4") + top(2, "b"),
           "abcd"}}},
        {"runs of blanks in the numbers",
         kLeave,
         {{"C: STAT\nS: +OK  1   320\nC: UIDL\nS: +OK\nS: 1 a\nS: .\nC: LIST\nS: +OK\nS: 1   10\nS: .\n" +
               retr(1, "a"),
           "a"},
          {popListing("1 a", "1 10"), "a"}}},
        {"a listing that disagrees with STAT makes nothing absent, and nothing double",
         kLeave,
         {{kTwo + retr(1, "a") + retr(2, "b"), "ab"},
          {"C: STAT\nS: +OK 2 30\nC: UIDL\nS: +OK\nS: 2 b\nS: .\nC: LIST\nS: +OK\nS: 2 20\nS: 7 1\nS: x\nS: "
           ".\n",
           "ab"},
          {kTwo, "ab"}}},
        {"TOP refused in the middle",
         kDelete,
         {{kTwo + retr(1, "a") + retr(2, "b") + dele(1) + "C: DELE 2\nX\n", "ab", false},
          {kTwo + top(1, "a") + "C: TOP 2 0\nS: -ERR\n" + dele(1) + retr(2, "b") + dele(2), "ab"}}},
    };
    return s_stories;
}

} // namespace

void PopMailboxTest::sessions_data()
{
    QTest::addColumn<int>("row");
    for (int row = 0; row < int(stories().size()); ++row)
        QTest::newRow(stories()[std::size_t(row)].name) << row;
}

void PopMailboxTest::sessions()
{
    QFETCH(int, row);
    const Story &story = stories()[std::size_t(row)];
    PopUserAtTest user(story.flags);
    for (const Played &played : story.sessions) {
        QVERIFY(user.play(popLogin() + played.script + (played.quits ? popQuit() : QByteArray())));
        QCOMPARE(user.end.reason, played.quits ? Reason::None : Reason::ConnectionClosed);
        QCOMPARE(subjects(user.store), QByteArray(played.stored));
    }
    QVERIFY(user.scratch.reports.isEmpty());
}

/// What comes is what is kept: dots, bytes, line ends; in one piece, byte by byte and in other pieces.
void PopMailboxTest::texts()
{
    const QByteArray odd("\0\xff\xe4\r\rbare\nfeed", 14);
    const QByteArray longLine(1024 * 1024, 'x');
    for (const int slice : {0, 1, 2, 3, 1000}) {
        PopUserAtTest user;
        const QByteArray &line = slice == 0 || slice == 1000 ? longLine : QByteArray("short");
        ScriptedServer server(popLogin() + popListing("1 a|2 b|3 c", "1 5|2 5|3 5") +
                              "C: RETR 1\nS: +OK\nD: first\nC: RETR 2\nS: +OK\nD: empty\n"
                              "C: RETR 3\nS: +OK\nD: end\n" +
                              popQuit());
        server.setSlice(slice);
        server.lay("first", "A: b\r\n\r\n..dot\r\n...two\r\n" + odd + "\r\n" + line + "\r\n\r\n\r\n.\r\n");
        server.lay("empty", ".\r\n");
        server.lay("end", "A: c\r\n\r\n\r\n.\r\n");
        QVERIFY(user.play(server));
        const std::vector<QByteArray> expected = {"A: b\n\n.dot\n..two\n" + odd + '\n' + line + "\n\n", "",
                                                  "A: c\n\n"};
        QCOMPARE(user.store.texts(), expected);
    }
}

/// All that may be under way is said before the first answer is awaited, and no more than 32 commands.
void PopMailboxTest::pipelined()
{
    QByteArray uidl;
    QByteArray list;
    QByteArray asked;
    QByteArray answers;
    for (int number = 1; number <= 40; ++number) {
        const QByteArray text = QByteArray::number(number);
        uidl += '|' + text + " id" + text;
        list += '|' + text + (number == 35 ? " 9000000" : " 20");
        const QByteArray one = "C: RETR " + text + '\n';
        if (number <= 32)
            asked += one;
        answers += popText("a");
        if (number + 32 < 35)
            answers += "C: RETR " + QByteArray::number(number + 32) + '\n';
        if (number == 34) // that large one only when nothing else is under way
            answers += "Q\nC: RETR 35\n";
        if (number == 35)
            answers += "C: RETR 36\nC: RETR 37\nC: RETR 38\nC: RETR 39\nC: RETR 40\n";
    }
    PopUserAtTest user(kLeave);
    QVERIFY(user.play(popLogin("S: PIPELINING\n") + popListing(uidl.mid(1), list.mid(1)) + asked + "Q\n" +
                      answers + popQuit()));
    QCOMPARE(user.store.stored.size(), 40u);
}

void PopMailboxTest::pipelinedInHalves()
{
    PopUserAtTest user(kDelete);
    QVERIFY(user.play(popLogin("S: PIPELINING\n") + popListing("1 a|2 b|3 c", "1 5|2 5|3 5") +
                      "C: RETR 1\nC: RETR 2\nC: RETR 3\n" + popText("a") +
                      "P: +O\nP: K x\\r\\nSubj\n"
                      "P: ect: b\\r\\n\\r\\n.\nP: \\r\nP: \\n+OK\\r\\nSubject: c\\r\\n\\r\\n.\\r\\n\n"
                      "C: DELE 1\nC: DELE 2\nC: DELE 3\nS: +OK\nP: +OK\\r\\n+\nP: OK\\r\\n\n" +
                      popQuit()));
    QCOMPARE(subjects(user.store), "abc");
    QCOMPARE(user.end.reason, Reason::None);
    QVERIFY(user.end.received);
}

void PopMailboxTest::preview_data()
{
    QTest::addColumn<int>("sizeLimit");
    QTest::addColumn<int>("mailbox");
    QTest::addColumn<int>("message");
    QTest::addColumn<QByteArray>("fetched");
    const QByteArray wholeA = retr(1, "a");
    const QByteArray wholeB = retr(2, "b");
    const QByteArray headB = top(2, "b");
    // the messages have 1 and 3 KB
    QTest::newRow("no limit") << 0 << 0 << 0 << wholeA + wholeB;
    QTest::newRow("the account's limit") << 2 << 0 << 0 << wholeA + headB;
    QTest::newRow("the limit for messages") << 0 << 0 << 2 << wholeA + headB;
    QTest::newRow("the limit for messages, in a small mailbox") << 0 << 4 << 2 << wholeA + wholeB;
    QTest::newRow("both limits") << 0 << 3 << 2 << wholeA + headB;
    QTest::newRow("the limit for mailboxes alone") << 0 << 3 << 0 << top(1, "a") + headB;
}

/// Of what was previewed nothing is deleted by a rule; it is proposed, and done when the user says so.
void PopMailboxTest::preview()
{
    QFETCH(int, sizeLimit);
    QFETCH(int, mailbox);
    QFETCH(int, message);
    QFETCH(QByteArray, fetched);
    const QByteArray listing = popListing("1 a|2 b", "1 1024|2 3072");
    const bool hasHeader = fetched.contains("TOP 2");
    PopUserAtTest user(kDelete);
    user.data.sizeLimit = sizeLimit;
    setIntSetting(Setting::PreviewMailboxSize, mailbox);
    setIntSetting(Setting::PreviewMessageSize, message);
    setIntSetting(Setting::PreviewDeleteSize, 2);
    QByteArray deletions = (fetched.contains("RETR 1") ? dele(1) : QByteArray()) + (hasHeader ? "" : dele(2));
    ScriptedServer server(popLogin() + listing + fetched + deletions + popQuit());
    QSignalSpy proposed(&user.meet(server), &POPFetcher::deletionProposed);
    QVERIFY(user.fetcher().start() && user.waitForEnd());
    QVERIFY2(server.finished(), server.problem());
    QCOMPARE(proposed.size(), hasHeader ? 1 : 0);
    QCOMPARE(user.store.stored[1].headerOnly, hasHeader);
    QCOMPARE(user.store.stored[1].text, hasHeader ? QByteArray("Subject: b\n") : storedText("b"));
    QCOMPARE(user.store.stored[1].serverSize, 3072);
    if (!hasHeader)
        return;
    const QByteArray left = popListing("1 b", "1 3072");
    QVERIFY(user.play(popLogin() + left + popQuit()));
    QVERIFY(IdentifierList(7, IdentifierList::Purpose::Delete).add({{"b", {}}}));
    QVERIFY(
        user.play(popLogin() + left + top(1, "b") + dele(1) + "C: QUIT\nX\n")); // not confirmed: once more
    QVERIFY(user.play(popLogin() + left + top(1, "b") + dele(1) + popQuit()));
    QVERIFY(IdentifierList(7, IdentifierList::Purpose::Delete).isEmpty());
}

void PopMailboxTest::daysOnServer()
{
    qint64 now = 1'700'000'000'000;
    const ClockOverride clock([&now] { return now; });
    PopUserAtTest user(kLeave);
    user.data.daysOnServer = 7;
    const QByteArray listing = popListing("1 a", "1 10");
    QVERIFY(user.play(popLogin() + listing + retr(1, "a") + popQuit()));
    now += 7LL * 24 * 3600 * 1000 - 1000;
    QVERIFY(user.play(popLogin() + listing + popQuit()));
    now += 1000;
    QVERIFY(user.play(popLogin() + listing + top(1, "a") + dele(1) + popQuit()));
    // gone for 30 days it is still known, then it is forgotten
    now += 29LL * 24 * 3600 * 1000;
    QVERIFY(user.play(popLogin() + "C: STAT\nS: +OK 0 0\n" + popQuit()));
    QVERIFY(user.file(u"Fetched"_s).contains(" a "));
    now += 2LL * 24 * 3600 * 1000;
    QVERIFY(user.play(popLogin() + "C: STAT\nS: +OK 0 0\n" + popQuit()));
    QVERIFY(!user.file(u"Fetched"_s).contains(" a "));
}

void PopMailboxTest::deletionBeforeTheDisk()
{
    PopUserAtTest user(kDelete);
    user.store.failsAt = 0;
    QVERIFY(user.play(popLogin() + kTwo + retr(1, "a") + retr(2, "b") + "E\nQ\n"));
    QCOMPARE(user.end.reason, Reason::WithErrors);
    QVERIFY(!user.end.received);
    QVERIFY(user.play(popLogin() + kTwo + retr(1, "a") + retr(2, "b") + dele(1) + dele(2) + popQuit()));
    QCOMPARE(subjects(user.store), "ab");
}

/// Killed when the messages were in the store and nothing was written down: they are known in all detail, not
/// fetched again, and deleted.
void PopMailboxTest::killedBetweenStoreAndMemory()
{
    PopUserAtTest user(kDelete);
    user.store.forgets = true;
    QVERIFY(user.play(popLogin() + kTwo + retr(1, "a") + retr(2, "b") + "E\nQ\n"));
    QCOMPARE(user.store.arrived.size(), 2);
    // and once more, in a session that remembers what the one before it left
    const QByteArray three = popListing("1 a|2 b|3 c", "1 10|2 20|3 30") + top(1, "a") + top(2, "b");
    QVERIFY(user.play(popLogin() + three + dele(1) + dele(2) + retr(3, "c") + "E\nQ\n"));
    user.store.forgets = false;
    QCOMPARE(user.store.arrived.size(), 1);
    QVERIFY(user.play(popLogin() + three + top(3, "c") + dele(1) + dele(2) + dele(3) + popQuit()));
    QCOMPARE(subjects(user.store), "abc");
    QVERIFY(user.store.arrived.isEmpty());
}

void PopMailboxTest::refused()
{
    PopUserAtTest user(kLeave);
    const QByteArray no = "C: RETR 1\nS: -ERR broken\n";
    for (int time = 1; time <= 2; ++time) {
        QVERIFY(user.play(popLogin() + kTwo + no + "E\nQ\n"));
        QCOMPARE(user.end.reason, Reason::Unexpected);
        QCOMPARE(user.end.detail, u"-ERR broken"_s);
    }
    QVERIFY(user.play(popLogin() + kTwo + no + retr(2, "b") + popQuit()));
    QCOMPARE(user.end.reason, Reason::WithErrors);
    QVERIFY(user.end.detail.contains(u"-ERR broken"_s));
    QCOMPARE(subjects(user.store), "b");
    QVERIFY(user.play(popLogin() + kTwo + popQuit()));
    QCOMPARE(user.end.reason, Reason::None);
}

void PopMailboxTest::hangsUpAtOneMessage_data()
{
    QTest::addColumn<int>("sizeLimit");
    QTest::addColumn<QByteArray>("until"); // what is said and heard before the server hangs up
    QTest::newRow("when it is asked for") << 0 << QByteArray("C: RETR 1\n");
    QTest::newRow("in the middle of it") << 0 << QByteArray("C: RETR 1\nS: +OK\nS: Subject: a\n");
    QTest::newRow("at its header") << 1 << QByteArray("C: TOP 1 0\nS: +OK\n");
}

/// A message that the server cannot read ends not every session before those behind it.
void PopMailboxTest::hangsUpAtOneMessage()
{
    QFETCH(int, sizeLimit);
    QFETCH(QByteArray, until);
    PopUserAtTest user(kLeave);
    user.data.sizeLimit = sizeLimit;
    const QByteArray listing = popListing("1 a|2 b", "1 2000|2 20");
    for (int time = 1; time <= 3; ++time) {
        QVERIFY(user.play(popLogin() + listing + until + "X\n"));
        QCOMPARE(user.end.reason, time < 3 ? Reason::ConnectionClosed : Reason::WithErrors);
    }
    QVERIFY2(user.end.detail.contains(u"message 1 for the third time"_s), qPrintable(user.end.detail));
    QVERIFY(user.play(popLogin() + listing + retr(2, "b") + popQuit()));
    QCOMPARE(user.end.reason, Reason::None);
    QCOMPARE(subjects(user.store), "b");
}

/// Only the header, and that is said; where there is no TOP it is said once.
void PopMailboxTest::moreThanOneGigabyte()
{
    const QByteArray listing = popListing("1 a|2 b", "1 1500000000|2 20");
    PopUserAtTest user(kDelete);
    QVERIFY(user.play(popLogin() + listing + top(1, "a") + retr(2, "b") + dele(2) + popQuit()));
    QCOMPARE(user.end.reason, Reason::WithErrors);
    QCOMPARE(user.end.detail, u"Message 1 is larger than 1 GB; only its header was fetched"_s);
    QVERIFY(user.store.stored[0].headerOnly);
    PopUserAtTest other(kDelete);
    QVERIFY(other.play(popLogin() + listing + "C: TOP 1 0\nS: -ERR\n" + retr(2, "b") + dele(2) + popQuit()));
    QCOMPARE(other.end.detail, u"Message 1 is larger than 1 GB and stays on the server"_s);
    QVERIFY(other.play(popLogin() + popListing("1 a", "1 1500000000") + popQuit()));
    QCOMPARE(other.end.reason, Reason::None);
}

/// What comes back under its old name and size is looked at once: it may be another message.
void PopMailboxTest::namesGivenTwice()
{
    const QByteArray listing = popListing("1 a", "1 10");
    for (const bool byUs : {true, false}) {
        PopUserAtTest user(kLeave);
        QVERIFY(user.play(popLogin() + listing + retr(1, "a") + popQuit()));
        if (byUs)
            QVERIFY(IdentifierList(7, IdentifierList::Purpose::Delete).add({{"a", {}}}));
        QVERIFY(user.play(popLogin() + (byUs ? listing + top(1, "a") + dele(1) : "C: STAT\nS: +OK 0 0\n") +
                          popQuit()));
        QVERIFY(user.play(popLogin() + listing + top(1, "a") + popQuit()));
        QVERIFY(user.play(popLogin() + listing + popQuit()));
        QVERIFY(user.play(popLogin() + "C: STAT\nS: +OK 0 0\n" + popQuit()));
        QVERIFY(user.play(popLogin() + listing + top(1, "c") + retr(1, "c") + popQuit()));
        QCOMPARE(subjects(user.store), "ac");
    }
}

void PopMailboxTest::uidls_data()
{
    QTest::addColumn<QByteArray>("uidls");
    QTest::addColumn<QByteArray>("fetched");
    const QByteArray whole = "2\n1700000000 a\n1700000001 b\n";
    QTest::newRow("whole") << whole << QByteArray();
    QTest::newRow("from a future with other numbers")
        << QByteArray("99\n99999999999 a\n-5 b\n") << QByteArray();
    QTest::newRow("cut within an identifier") << QByteArray("2\n1700000000 a\n1700000001 bc") << retr(2, "b");
    QTest::newRow("garbage") << QByteArray("\0\xff\n\n \n x\n1 2 3\n1700000000 a\n", 28) << retr(2, "b");
    QTest::newRow("empty") << QByteArray() << retr(1, "a") + retr(2, "b");
    QTest::newRow("nothing but a number") << QByteArray("7") << retr(1, "a") + retr(2, "b");
}

/// What UIDLs alone names is not fetched, and, because nobody knows what it was, not deleted.
void PopMailboxTest::uidls()
{
    QFETCH(QByteArray, uidls);
    QFETCH(QByteArray, fetched);
    PopUserAtTest user(kDelete);
    user.writeFile(u"UIDLs"_s, uidls);
    QByteArray deletions;
    for (const int number : {1, 2}) {
        if (fetched.contains("RETR " + QByteArray::number(number)))
            deletions += dele(number);
    }
    QVERIFY(user.play(popLogin() + kTwo + fetched + deletions + popQuit()));
    QVERIFY(user.play(popLogin() + "C: STAT\nS: +OK 0 0\n" + popQuit()));
    QCOMPARE(user.file(u"UIDLs"_s), "0\n");
    QCOMPARE(user.file(u"UIDLs.backup"_s), "0\n");
}

void PopMailboxTest::otherMailbox()
{
    PopUserAtTest user(kLeave);
    QVERIFY(user.play(popLogin() + kTwo + retr(1, "a") + retr(2, "b") + popQuit()));
    user.data.user = u"carol"_s;
    const QByteArray carol = popLogin().replace("mrose", "carol");
    QVERIFY(user.play(carol + popListing("1 a", "1 10") + retr(1, "c") + popQuit()));
    user.data.user = u"mrose"_s;
    QVERIFY(user.play(popLogin() + kTwo + popQuit()));
    user.data.user = u"carol"_s;
    QVERIFY(user.play(carol + popListing("1 a", "1 10") + popQuit()));
    QCOMPARE(subjects(user.store), "abc");
}

/// What a session left in the store belongs to its mailbox, not to that of the next one.
void PopMailboxTest::recoveredForAnotherMailbox()
{
    const QByteArray listing = popListing("1 a", "1 10");
    PopUserAtTest user(kLeave);
    user.store.forgets = true;
    QVERIFY(user.play(popLogin() + listing + retr(1, "a") + "E\nQ\n"));
    user.store.forgets = false;
    user.data.user = u"carol"_s;
    QVERIFY(user.play(popLogin().replace("mrose", "carol") + listing + retr(1, "a") + popQuit()));
    user.data.user = u"mrose"_s;
    QVERIFY(user.play(popLogin() + listing + popQuit()));
    QCOMPARE(subjects(user.store), "aa");
}

/// A mailbox of some size, and the loop is never held for long.
void PopMailboxTest::tenThousand()
{
    constexpr int kMessages = 10000;
    QByteArray listing = "C: STAT\nS: +OK 10000 1\nC: UIDL\nD: uidl\nC: LIST\nD: list\n";
    QByteArray uidl = "+OK\r\n";
    QByteArray list = "+OK\r\n";
    QByteArray text = "+OK\r\nSubject: a\r\n\r\n" +
                      QByteArray("A line of a text, as long as they are.\r\n").repeated(100) + ".\r\n";
    QByteArray script;
    for (int number = 1; number <= kMessages; ++number) {
        const QByteArray name = QByteArray::number(number);
        uidl += name + " identifier" + name + "\r\n";
        list += name + " 4100\r\n";
        script += "C: RETR " + name + '\n';
        if (number > 31)
            script += "D: text\n";
    }
    for (int left = 0; left < 31; ++left)
        script += "D: text\n";
    PopUserAtTest user(kLeave);
    ScriptedServer server(popLogin("S: PIPELINING\n") + listing + script + popQuit());
    server.lay("uidl", uidl + ".\r\n");
    server.lay("list", list + ".\r\n");
    server.lay("text", text);
    QElapsedTimer time;
    time.start();
    QVERIFY(user.play(server));
    qInfo("10,000 messages of 4 KB, the server included: %lld ms", time.elapsed());
    QCOMPARE(user.store.stored.size(), std::size_t(kMessages));
    QVERIFY(user.store.batches >= kMessages / 200);
}

QTEST_GUILESS_MAIN(PopMailboxTest)

#include "popmailbox_test.moc"
