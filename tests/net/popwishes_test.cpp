#include "net/popsession.h"

#include "config/settings.h"
#include "net/identifierlist.h"
#include "support/memory.h"

using namespace Qt::StringLiterals;

using Reason = AccountFetchReason;

// What the user wants of single messages at the next fetch: the rest, or that they go from the server.

class PopWishesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void wishes();
    void wishesWithoutAPlace();
    void wishesAfterRenumbering();
    void deletionOfAnother();
    void deletionThatCannotBe_data();
    void deletionThatCannotBe();
};

void PopWishesTest::wishes()
{
    PopUserAtTest user(kDelete);
    user.data.sizeLimit = 1;
    const QByteArray listing = popListing("1 a|2 b", "1 2000|2 3000");
    QVERIFY(user.play(popLogin() + listing + top(1, "a") + top(2, "b") + popQuit()));
    QVERIFY(IdentifierList(7, IdentifierList::Purpose::Fetch).add({{"a", {3, 11}}, {"gone", {3, 12}}}));
    QVERIFY(user.play(popLogin() + listing + retr(1, "a") + dele(1) + popQuit()));
    QCOMPARE(user.store.completed.size(), 1u);
    QCOMPARE(user.store.completed[0].first, 11);
    QCOMPARE(user.store.completed[0].second.text, storedText("a"));
    QCOMPARE(user.end.reason, Reason::WithErrors);
    QCOMPARE(user.end.detail, u"Message gone could not be retrieved"_s);
    QVERIFY(IdentifierList(7, IdentifierList::Purpose::Fetch).isEmpty());
    // another message under that name is no completion, also where nothing would be previewed
    user.data.sizeLimit = 0;
    QVERIFY(IdentifierList(7, IdentifierList::Purpose::Fetch).add({{"b", {3, 13}}}));
    QVERIFY(user.play(popLogin() + popListing("1 b", "1 3000") + retr(1, "c") + dele(1) + popQuit()));
    QCOMPARE(user.store.completed.size(), 1u);
    QCOMPARE(user.store.texts().back(), storedText("c"));
}

/// Lines that lost their place: what is here whole does not come twice, a header is completed all the same,
/// and nothing that was fetched is said to be lost.
void PopWishesTest::wishesWithoutAPlace()
{
    PopUserAtTest user(kLeave);
    user.data.sizeLimit = 1;
    const QByteArray listing = popListing("1 a|2 b", "1 20|2 3000");
    QVERIFY(user.play(popLogin() + listing + retr(1, "a") + top(2, "b") + popQuit()));
    QVERIFY(IdentifierList(7, IdentifierList::Purpose::Fetch).add({{"a", {}}, {"b", {}}, {"c", {}}}));
    const QByteArray more = popListing("1 a|2 b|3 c", "1 20|2 3000|3 4000");
    QVERIFY(user.play(popLogin() + more + retr(2, "b") + retr(3, "c") + popQuit()));
    QCOMPARE(user.end.reason, Reason::None);
    QCOMPARE(subjects(user.store), "abc"); // of b that is the header
    QCOMPARE(user.store.completed.size(), 1u);
    QCOMPARE(user.store.completed[0].second.identifier, "b");
    QVERIFY(IdentifierList(7, IdentifierList::Purpose::Fetch).isEmpty());
    QVERIFY(user.play(popLogin() + more + popQuit()));
}

/// The store knows its messages by the names they had.
void PopWishesTest::wishesAfterRenumbering()
{
    PopUserAtTest user(kLeave);
    user.data.sizeLimit = 1;
    QVERIFY(user.play(popLogin() + popListing("1 a|2 b|3 c", "1 2000|2 3000|3 10") + top(1, "a") +
                      top(2, "b") + retr(3, "c") + popQuit()));
    const QByteArray listing = popListing("1 x|2 y|3 z", "1 2000|2 3000|3 10");
    const QByteArray looks = top(1, "a") + top(2, "b") + top(3, "c");
    QVERIFY(IdentifierList(7, IdentifierList::Purpose::Fetch).add({{"a", {3, 11}}}));
    QVERIFY(user.play(popLogin() + listing + looks + retr(1, "a") + popQuit()));
    QCOMPARE(user.end.reason, Reason::None);
    QCOMPARE(user.store.completed.size(), 1u);
    QCOMPARE(user.store.completed[0].first, 11);
    QCOMPARE(user.store.completed[0].second.identifier, "a");
    // and the session after
    QVERIFY(IdentifierList(7, IdentifierList::Purpose::Fetch).add({{"b", {3, 12}}}));
    QVERIFY(IdentifierList(7, IdentifierList::Purpose::Delete).add({{"c", {}}}));
    QVERIFY(user.play(popLogin() + listing + top(3, "c") + retr(2, "b") + dele(3) + popQuit()));
    QCOMPARE(user.end.reason, Reason::None);
    QCOMPARE(user.store.completed.size(), 2u);
    QCOMPARE(user.store.completed[1].second.identifier, "b");
    QVERIFY(IdentifierList(7, IdentifierList::Purpose::Fetch).isEmpty());
    QVERIFY(IdentifierList(7, IdentifierList::Purpose::Delete).isEmpty());
    // what is new there under a name that the store has already gets another one
    QVERIFY(
        user.play(popLogin() + popListing("1 x|2 y|3 a", "1 2000|2 3000|3 50") + retr(3, "d") + popQuit()));
    QVERIFY(user.store.stored.back().identifier.startsWith("a%~"));
    QCOMPARE(subjects(user.store), "abcd");
}

/// A wish is for one message, not for whatever has its name.
void PopWishesTest::deletionOfAnother()
{
    const QByteArray listing = popListing("1 a", "1 10");
    PopUserAtTest user(kLeave);
    QVERIFY(user.play(popLogin() + listing + retr(1, "a") + popQuit()));
    QVERIFY(IdentifierList(7, IdentifierList::Purpose::Delete).add({{"a", {}}}));
    QVERIFY(user.play(popLogin() + listing + top(1, "c") + retr(1, "c") + popQuit()));
    QCOMPARE(subjects(user.store), "ac");
    QVERIFY(IdentifierList(7, IdentifierList::Purpose::Delete).isEmpty());
}

void PopWishesTest::deletionThatCannotBe_data()
{
    QTest::addColumn<QByteArray>("session");
    QTest::addColumn<QString>("told");
    QTest::newRow("its size is another one")
        << popListing("1 a", "1 12") + top(1, "a") << u"Message a was not deleted on the server"_s;
    QTest::newRow("it is gone already") << QByteArray("C: STAT\nS: +OK 0 0\n") << QString();
    QTest::newRow("another one has its name")
        << popListing("1 a", "1 10") + top(1, "c") + retr(1, "c") << QString();
}

/// Not silently: the user believes that it is gone.
void PopWishesTest::deletionThatCannotBe()
{
    QFETCH(QByteArray, session);
    QFETCH(QString, told);
    PopUserAtTest user(kLeave);
    QVERIFY(user.play(popLogin() + popListing("1 a", "1 10") + retr(1, "a") + popQuit()));
    QVERIFY(IdentifierList(7, IdentifierList::Purpose::Delete).add({{"a", {}}}));
    QVERIFY(user.play(popLogin() + session + popQuit()));
    QCOMPARE(user.end.reason, told.isEmpty() ? Reason::None : Reason::WithErrors);
    QVERIFY2(user.end.detail.startsWith(told), qPrintable(user.end.detail));
    QCOMPARE(user.end.detail.isEmpty(), told.isEmpty());
    QVERIFY(IdentifierList(7, IdentifierList::Purpose::Delete).isEmpty());
}

QTEST_GUILESS_MAIN(PopWishesTest)

#include "popwishes_test.moc"
