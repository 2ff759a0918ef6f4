#include "config/settings.h"
#include "engine/engine.h"
#include "servers/dovecot.h"
#include "support/mail.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

/// Large messages on a real server: first the header, then the rest, then they go from there.
class PopRestTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void headerThenTheRest();
    void deletedBeforeTheRest();
    void goneFromTheServer();

private:
    std::unique_ptr<Dovecot> m_server;
};

namespace {

constexpr int kLimit = 20; // kilobytes

QByteArray small(const QByteArray &id)
{
    return mailText(id, "Small " + id);
}

/// Lines that a client could spoil.
QByteArray large(const QByteArray &id)
{
    QByteArray body;
    for (int line = 0; body.size() < 3 * kLimit * 1024; ++line)
        body += (line % 9 == 0 ? ".." : "") + QByteArray::number(line) + QByteArray(line % 60, 'x') + '\n';
    return mailText(id, "Large " + id, {}, body);
}

/// The program with one account, from which what has been fetched is deleted.
struct Reader
{
    Reader(Dovecot &server, const QString &user, const std::vector<QByteArray> &texts)
        : server(server)
    {
        server.deliver(user, texts);
        if (!engine.load())
            qFatal("the test cannot load");
        AccountData data;
        data.name = u"Box"_s;
        data.kind = AccountKind::Pop3;
        data.host = Dovecot::host();
        data.port = server.port();
        data.user = user;
        data.password = u"secret"_s;
        data.sizeLimit = kLimit;
        number = engine.accounts().add(data);
    }

    AccountFetchReason fetch()
    {
        QSignalSpy ended(engine.accounts().account(number), &Account::fetchEnded);
        engine.fetch(number);
        if (ended.isEmpty() && !ended.wait(10'000))
            qFatal("the fetch does not end");
        engine.delivery().finish();
        return ended.first().first().value<AccountFetchReason>();
    }
    Group &inbox() { return *engine.groups().group(GroupRole::Inbox); }
    MessageRef ref(quint32 article) { return {inbox().number(), article}; }
    bool isHeaderOnly(quint32 article) { return inbox().overview(article)->has(Mark::HeaderOnly); }
    QByteArray text(quint32 article) { return inbox().readMessage(*inbox().overview(article)); }
    QList<QByteArray> left() const
    {
        QList<QByteArray> texts;
        const QString user = engine.accounts().account(number)->data().user;
        for (const QString &file : server.files(user))
            texts += server.text(user, file);
        return texts;
    }

    Scratch scratch;
    Dovecot &server;
    mutable Engine engine;
    int number = 0;
};

} // namespace

void PopRestTest::initTestCase()
{
    useMemoryForFiles();
    m_server = std::make_unique<Dovecot>();
    QVERIFY2(m_server->problem().isEmpty(), qPrintable(m_server->problem()));
}

void PopRestTest::headerThenTheRest()
{
    Reader reader(*m_server, u"ada"_s, {small("a"), large("b"), small("c"), large("d")});
    QCOMPARE(reader.fetch(), AccountFetchReason::None);
    QCOMPARE(reader.inbox().counts().total, 4u);
    QCOMPARE(reader.left(), (QList<QByteArray>{large("b"), large("d")})); // no rule deletes a mere header
    for (const quint32 article : {1u, 2u, 3u, 4u})
        QCOMPARE(reader.isHeaderOnly(article), article % 2 == 0);
    QVERIFY(reader.text(2).contains("Subject: Large b\n") && !reader.text(2).contains("xxx"));
    QCOMPARE(reader.fetch(), AccountFetchReason::None);
    QCOMPARE(reader.inbox().counts().total, 4u);

    QVERIFY(reader.inbox().setMarks({2}, Mark::Flagged, {}));
    QSignalSpy ended(&reader.engine.serverWishes(), &ServerWishes::restEnded);
    reader.engine.serverWishes().fetchRest({reader.ref(2)});
    QTRY_COMPARE(ended.size(), 1);
    QVERIFY(ended[0][1].toBool());
    QCOMPARE(reader.text(2), large("b").chopped(1)); // its last line end belongs to the dot behind it
    QVERIFY(reader.inbox().overview(2)->has(Mark::Flagged) && !reader.isHeaderOnly(2));
    QCOMPARE(reader.fetch(), AccountFetchReason::None);
    QCOMPARE(reader.inbox().counts().total, 4u);
    QCOMPARE(reader.left(), (QList<QByteArray>{large("d")}));
    QVERIFY(reader.isHeaderOnly(4));
    QCOMPARE(reader.scratch.reports, QStringList());
}

void PopRestTest::deletedBeforeTheRest()
{
    Reader reader(*m_server, u"bob"_s, {large("e"), large("f")});
    QCOMPARE(reader.fetch(), AccountFetchReason::None);
    reader.engine.serverWishes().deleteOnServer({reader.ref(1)});
    QCOMPARE(reader.fetch(), AccountFetchReason::None);
    QCOMPARE(reader.left(), (QList<QByteArray>{large("f")}));
    QVERIFY(reader.isHeaderOnly(1) && reader.isHeaderOnly(2));
}

void PopRestTest::goneFromTheServer()
{
    Reader reader(*m_server, u"grace"_s, {large("g"), large("h")});
    QCOMPARE(reader.fetch(), AccountFetchReason::None);
    m_server->remove(u"grace"_s, m_server->files(u"grace"_s).first()); // by another program
    QSignalSpy failed(&reader.engine.serverWishes(), &ServerWishes::failed);
    QSignalSpy ended(&reader.engine.serverWishes(), &ServerWishes::restEnded);
    reader.engine.serverWishes().fetchRest({reader.ref(1), reader.ref(2)});
    QTRY_COMPARE(ended.size(), 2);
    QCOMPARE(failed.size(), 1);
    QVERIFY2(failed[0][0].toString().contains(u"Message no longer exists"_s),
             qPrintable(failed[0][0].toString()));
    QVERIFY(reader.isHeaderOnly(1));
    QCOMPARE(reader.text(2), large("h").chopped(1));
}

QTEST_GUILESS_MAIN(PopRestTest)
#include "poprest_test.moc"
