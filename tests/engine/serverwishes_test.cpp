#include "engine/serverwishes.h"

#include "config/settings.h"
#include "engine/engine.h"
#include "net/fetcher.h"
#include "net/identifierlist.h"
#include "support/mail.h"
#include "support/memory.h"
#include "support/popmailbox.h"
#include "support/scratch.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

struct Fixture
{
    explicit Fixture(quint32 flags = AccountLeaveOnServer, int sizeLimit = 1)
    {
        if (!engine.load())
            qFatal("the test cannot load");
        AccountData data;
        data.name = u"Test"_s;
        data.kind = AccountKind::Pop3;
        data.host = u"127.0.0.1"_s;
        data.port = server.serverPort();
        data.user = u"ada"_s;
        data.password = u"secret"_s;
        data.flags = flags;
        data.sizeLimit = sizeLimit;
        number = engine.accounts().add(data);
        for (const char *id : {"a", "b", "c"})
            server.mails.push_back({id, mailText(id, id, {}, QByteArray(3000, 'x') + '\n')});
        QObject::connect(&engine.delivery(), &Delivery::newMail, &engine,
                         [this](const std::vector<NewMail> &all) {
                             for (const NewMail &one : all)
                                 announced += int(one.articles.size());
                         });
    }
    Account &account() { return *engine.accounts().account(number); }
    Group &inbox() { return *engine.groups().group(GroupRole::Inbox); }
    MessageRef ref(quint32 article) { return {inbox().number(), article}; }
    bool fetch()
    {
        QSignalSpy ended(&account(), &Account::fetchEnded);
        engine.fetch(number);
        if (ended.isEmpty() && !ended.wait(10'000))
            return false;
        engine.delivery().finish();
        return ended.first().first().value<AccountFetchReason>() == AccountFetchReason::None;
    }
    bool isWhole(quint32 article)
    {
        const auto overview = inbox().overview(article);
        return overview && !overview->has(Mark::HeaderOnly) && inbox().readMessage(*overview).contains("xxx");
    }
    IdentifierList wishes(IdentifierList::Purpose purpose) const { return {number, purpose}; }

    Scratch scratch;
    PopMailbox server;
    Engine engine;
    int number = 0;
    int announced = 0;
};

} // namespace

class ServerWishesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void theRestNow();
    void theRestLater();
    void theRestOfWhatIsDeleted_data();
    void theRestOfWhatIsDeleted();
    void renumbered();
    void shownWhileItGoesOn();
    void noLongerThere();
    void deletedOnTheServer();
    void proposedForDeletion();
    void deletedAlong_data();
    void deletedAlong();
    void shutDownInTheMiddle();
};

void ServerWishesTest::theRestNow()
{
    Fixture f;
    QVERIFY(f.fetch());
    QCOMPARE(f.announced, 3);
    QCOMPARE(f.inbox().counts().total, 3u);
    for (const quint32 article : {1u, 2u, 3u})
        QVERIFY(f.inbox().overview(article)->has(Mark::HeaderOnly));
    QVERIFY(f.inbox().overview(1)->size() > 3000);
    QSignalSpy ended(&f.engine.serverWishes(), &ServerWishes::restEnded);
    f.engine.serverWishes().fetchRest({f.ref(2), f.ref(3)});
    QVERIFY(f.engine.serverWishes().isRestWanted(f.ref(2)));
    QCOMPARE(f.engine.serverWishes().underWay(), 2);
    QTRY_COMPARE(ended.size(), 2);
    QVERIFY(f.isWhole(2) && f.isWhole(3) && !f.isWhole(1));
    QVERIFY(f.wishes(IdentifierList::Purpose::Fetch).isEmpty());
    QCOMPARE(f.server.sessions, 2);
    // The idle session serves the next one, too.
    f.engine.serverWishes().fetchRest({f.ref(1), f.ref(2)});
    QTRY_VERIFY(f.isWhole(1));
    QCOMPARE(f.server.sessions, 2);
    QVERIFY(f.fetch()); // it winds up for a fetch, which finds nothing new
    f.engine.delivery().finish();
    QCOMPARE(f.announced, 3);
    QCOMPARE(f.inbox().counts().total, 3u);
    QCOMPARE(f.scratch.reports, QStringList());
}

void ServerWishesTest::theRestLater()
{
    Fixture f;
    QVERIFY(f.fetch());
    setBoolSetting(Setting::Online, false);
    QSignalSpy told(&f.engine.serverWishes(), &ServerWishes::told);
    f.engine.serverWishes().fetchRest({f.ref(1)});
    QCOMPARE(told.size(), 1);
    QCOMPARE(told[0][0].toString(), u"The message(s) will be retrieved on the account's next fetch"_s);
    QVERIFY(f.engine.serverWishes().isRestWanted(f.ref(1)));
    QCOMPARE(f.engine.serverWishes().underWay(), 0);
    setBoolSetting(Setting::Online, true);
    QVERIFY(f.fetch());
    QVERIFY(f.isWhole(1) && !f.isWhole(2));
    QVERIFY(!f.engine.serverWishes().isRestWanted(f.ref(1)));
}

void ServerWishesTest::theRestOfWhatIsDeleted_data()
{
    QTest::addColumn<bool>("online");
    QTest::newRow("at the next fetch") << false;
    QTest::newRow("by a session that has begun") << true;
}

/// The wish goes with its header, and nothing comes back; on the server the message stays.
void ServerWishesTest::theRestOfWhatIsDeleted()
{
    QFETCH(bool, online);
    Fixture f(0);
    QVERIFY(f.fetch());
    setBoolSetting(Setting::Online, online);
    f.engine.serverWishes().fetchRest({f.ref(1), f.ref(2)});
    QSignalSpy ended(&f.engine.serverWishes(), &ServerWishes::restEnded);
    QVERIFY(f.engine.groups().deleteMessages(f.inbox(), {2}, true));
    QCOMPARE(ended.size(), 1);
    QVERIFY(!f.wishes(IdentifierList::Purpose::Fetch).contains("b"));
    setBoolSetting(Setting::Online, true);
    if (online)
        QTRY_COMPARE(ended.size(), 2);
    QVERIFY(f.fetch());
    QVERIFY(f.isWhole(1));
    QCOMPARE(f.inbox().counts().total, 2u);
    QCOMPARE(f.server.mails.size(), 2u); // a is whole here, b and c are not
    QCOMPARE(f.server.mails[0].identifier, "b");
}

/// The server gives other names to all it has: what is wanted of the messages is found all the same.
void ServerWishesTest::renumbered()
{
    Fixture f;
    f.server.mails.push_back({"small", mailText("small", "small")});
    QVERIFY(f.fetch());
    for (PopMailbox::Mail &mail : f.server.mails)
        mail.identifier = "new-" + mail.identifier;
    QSignalSpy ended(&f.engine.serverWishes(), &ServerWishes::restEnded);
    f.engine.serverWishes().fetchRest({f.ref(1)}); // before any fetch knows of it
    QTRY_COMPARE(ended.size(), 1);
    QVERIFY(f.isWhole(1));
    QVERIFY(f.fetch());
    QCOMPARE(f.inbox().counts().total, 4u);
    f.engine.serverWishes().fetchRest({f.ref(2)});
    QTRY_COMPARE(ended.size(), 2);
    QVERIFY(f.isWhole(2));
    QSignalSpy failed(&f.engine.serverWishes(), &ServerWishes::failed);
    f.engine.serverWishes().deleteOnServer({f.ref(1), f.ref(3), f.ref(4)});
    QCOMPARE(failed.size(), 0);
    QVERIFY(f.fetch());
    QCOMPARE(f.server.mails.size(), 1u);
    QCOMPARE(f.server.mails[0].identifier, "new-b");
    QCOMPARE(f.inbox().counts().total, 4u);
}

/// As a transfer that runs; not as a fetch.
void ServerWishesTest::shownWhileItGoesOn()
{
    Fixture f;
    QVERIFY(f.fetch());
    const TransferResult before = f.engine.transfers().result(f.number);
    const qint64 lastFetch = f.account().lastFetch();
    const QSignalSpy fetches(&f.account(), &Account::fetchEnded);
    QStringList statuses;
    qint64 most = 0;
    connect(&f.engine.transfers(), &Transfers::changed, this, [&] {
        const TransferProgress progress = f.engine.transfers().progress();
        statuses += progress.status;
        most = std::max(most, progress.totalBytes);
    });
    f.engine.serverWishes().fetchRest({f.ref(1), f.ref(2)});
    QCOMPARE(f.engine.transfers().progress().accounts, 1);
    QVERIFY(f.account().isServing());
    QTRY_VERIFY(f.isWhole(1) && f.isWhole(2));
    QTRY_COMPARE(f.engine.transfers().progress().accounts, 0);
    QVERIFY(f.account().session()); // it goes on holding the connection
    QVERIFY(!statuses.isEmpty());
    QVERIFY(!f.account().isServing());
    QCOMPARE(f.engine.transfers().result(f.number).received, before.received);
    QCOMPARE(f.account().lastFetch(), lastFetch);
    QCOMPARE(fetches.size(), 0);
}

void ServerWishesTest::noLongerThere()
{
    Fixture f;
    QVERIFY(f.fetch());
    f.server.mails.erase(f.server.mails.begin());
    QSignalSpy failed(&f.engine.serverWishes(), &ServerWishes::failed);
    f.engine.serverWishes().fetchRest({f.ref(1), f.ref(2)});
    QTRY_COMPARE(failed.size(), 1);
    QVERIFY(failed[0][0].toString().startsWith(u"Message \"a\" could not be retrieved"_s));
    QTRY_VERIFY(f.isWhole(2));
    QTRY_VERIFY(f.wishes(IdentifierList::Purpose::Fetch).isEmpty());
    QVERIFY(f.inbox().overview(1)->has(Mark::HeaderOnly));
}

void ServerWishesTest::deletedOnTheServer()
{
    Fixture f(AccountLeaveOnServer, 0);
    QVERIFY(f.fetch());
    QVERIFY(f.isWhole(1));
    QVERIFY(f.inbox().rowCount() == 3);
    QVERIFY(f.engine.groups().add(f.inbox(), Message(mailText("own", "own")), {}, 0, 1) == 4);
    QSignalSpy failed(&f.engine.serverWishes(), &ServerWishes::failed);
    f.engine.serverWishes().deleteOnServer({f.ref(2), f.ref(4)});
    QCOMPARE(failed.size(), 1); // the one that has come from nowhere
    QVERIFY(f.wishes(IdentifierList::Purpose::Delete).contains("b"));
    QVERIFY(f.fetch());
    QCOMPARE(f.server.mails.size(), 2u);
    QCOMPARE(f.server.mails[1].identifier, "c");
    QVERIFY(f.isWhole(2)); // it stays here
}

void ServerWishesTest::proposedForDeletion()
{
    Fixture f;
    setIntSetting(Setting::PreviewDeleteSize, 2);
    f.server.mails.push_back({"small", mailText("small", "small")});
    QSignalSpy proposed(&f.engine.serverWishes(), &ServerWishes::deletionProposed);
    QVERIFY(f.fetch());
    QCOMPARE(proposed.size(), 1);
    QCOMPARE(proposed.first(), (QVariantList{f.number, 3}));
    QVERIFY(f.fetch()); // nothing happens by itself
    QCOMPARE(f.server.mails.size(), 4u);
    QCOMPARE(proposed.size(), 1);
    f.server.mails.push_back({"d", mailText("d", "d", {}, QByteArray(3000, 'x') + '\n')});
    QVERIFY(f.fetch());
    QCOMPARE(proposed.size(), 2);
    f.engine.serverWishes().acceptProposal(f.number);
    QVERIFY(f.fetch());
    QCOMPARE(f.server.mails.size(), 4u);
    QCOMPARE(f.inbox().counts().total, 5u);
}

void ServerWishesTest::deletedAlong_data()
{
    QTest::addColumn<bool>("wanted");
    QTest::addColumn<int>("sizeLimit");
    QTest::newRow("whole") << true << 0;
    QTest::newRow("header only") << true << 1;
    QTest::newRow("not wanted") << false << 0;
}

void ServerWishesTest::deletedAlong()
{
    QFETCH(bool, wanted);
    QFETCH(int, sizeLimit);
    Fixture f(AccountLeaveOnServer | (wanted ? AccountDeletesAlong : 0u), sizeLimit);
    QVERIFY(f.fetch());
    QVERIFY(f.engine.groups().deleteMessages(f.inbox(), {2})); // into the basket: that is not for good
    QVERIFY(f.wishes(IdentifierList::Purpose::Delete).isEmpty());
    Group &basket = *f.engine.groups().group(GroupRole::WasteBasket);
    QVERIFY(f.engine.groups().deleteMessages(basket, {1}));
    QCOMPARE(f.wishes(IdentifierList::Purpose::Delete).contains("b"), wanted);
    QVERIFY(f.fetch());
    QCOMPARE(f.server.mails.size(), wanted ? 2u : 3u);
}

void ServerWishesTest::shutDownInTheMiddle()
{
    Fixture f(AccountLeaveOnServer, 0);
    for (int i = 0; i < 500; ++i) {
        const QByteArray id = 'm' + QByteArray::number(i);
        f.server.mails.push_back({id, mailText(id, id, {}, QByteArray(3000, 'x') + '\n')});
    }
    f.engine.fetch(f.number);
    QTRY_VERIFY(f.inbox().rowCount() > 20);
    QVERIFY(f.engine.shutDown());
    QCOMPARE(Fetcher::busyCount(), 0);
    const AccountData data = f.account().data();
    {
        Engine next;
        QVERIFY(next.load());
        QSignalSpy ended(&next.accounts(), &AccountManager::fetchEnded);
        next.fetch(data.number);
        QVERIFY(ended.wait(20'000));
        QCOMPARE(next.groups().group(GroupRole::Inbox)->counts().total, 503u);
    }
}

QTEST_GUILESS_MAIN(ServerWishesTest)
#include "serverwishes_test.moc"
