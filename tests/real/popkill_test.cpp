#include "popuser.h"

#include "net/fetchreason.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;

/// The client or the server killed while mail is fetched and deleted on the server: in the end each message
/// is in the store once, and none is left.
class PopKillTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void clientKilled();
    void serverKilled();

private:
    PopUser newcomer() { return {*m_server, u"user%1"_s.arg(++m_users)}; }
    int moment() { return int(m_random.bounded(m_whole)); }
    void tookAll(const QElapsedTimer &timer) { m_whole = std::min(m_whole, timer.nsecsElapsed() / 1000); }
    int reasonOfBrokenFetch(PopUser &user);
    void settled(PopUser &user, const std::vector<QByteArray> &texts);

    static constexpr int kInRow = 4; ///< breaks at most before a mailbox is fetched to its end

    std::unique_ptr<Dovecot> m_server;
    std::vector<QByteArray> m_texts;
    QRandomGenerator m_random{20261122};
    int m_users = 0;
    qint64 m_whole = 0; ///< microseconds that a fetch takes to its end
};

static QByteArray lines(qsizetype size)
{
    QByteArray text;
    while (text.size() < size)
        text += QByteArray(1 + text.size() % 70, 'x') + '\n';
    return text;
}

/// Among them are such as have an identifier in common, and such as are the same: they are messages of their
/// own all the same.
static std::vector<QByteArray> mailbox()
{
    constexpr int kMails = 500;
    std::vector<QByteArray> texts;
    for (int i = 0; i < kMails; ++i) {
        const QByteArray id = "m" + QByteArray::number(i);
        const qsizetype size = i % 10 == 0 ? 60'000 + i : 500 + i;
        texts.push_back(mailText(id, "Number " + id, {}, lines(size)));
    }
    texts[210] = mailText("m211", "Other", {}, "A text of its own\n");
    texts[300] = texts[301] = texts[450];
    return texts;
}

void PopKillTest::initTestCase()
{
    useMemoryForFiles();
    m_server = std::make_unique<Dovecot>();
    QVERIFY2(m_server->problem().isEmpty(), qPrintable(m_server->problem()));
    m_texts = mailbox();
    PopUser user = newcomer();
    user.deliver(m_texts);
    QCOMPARE(user.addAccount().status, 0);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(user.fetch().status, 0);
    m_whole = timer.nsecsElapsed() / 1000;
    settled(user, m_texts);
}

/// Fetched to the end, everything is where it belongs.
void PopKillTest::settled(PopUser &user, const std::vector<QByteArray> &texts)
{
    const Program::Result result = user.fetch();
    QVERIFY2(result.status == 0, (result.out + result.errors + m_server->log().right(2000)).constData());
    QCOMPARE(differenceTo(user, texts), QByteArray());
    QCOMPARE(user.left(), QStringList());
    const Program::Result check = user.json({u"check"_s});
    QVERIFY2(check.status == 0, (check.out + check.errors).constData());
}

void PopKillTest::clientKilled()
{
    constexpr int kKills = 20;
    int killed = 0;
    for (int mailbox = 0; killed < kKills; ++mailbox) {
        QVERIFY2(mailbox < kKills, QByteArray::number(killed).constData());
        PopUser user = newcomer();
        user.deliver(m_texts);
        QCOMPARE(user.addAccount().status, 0);
        for (int i = 0; i < kInRow; ++i) {
            QElapsedTimer timer;
            timer.start();
            if (user.runAndKill(PopUser::fetchWords(), moment()).status != -1) {
                tookAll(timer);
                break;
            }
            ++killed;
        }
        settled(user, m_texts);
        if (QTest::currentTestFailed())
            return;
    }
}

void PopKillTest::serverKilled()
{
    constexpr int kKills = 8;
    int broken = 0;
    for (int mailbox = 0; broken < kKills; ++mailbox) {
        QVERIFY2(mailbox < 2 * kKills, QByteArray::number(broken).constData());
        PopUser user = newcomer();
        user.deliver(m_texts);
        QCOMPARE(user.addAccount().status, 0);
        for (int i = 0; i < kInRow; ++i) {
            QElapsedTimer timer;
            timer.start();
            const int reason = reasonOfBrokenFetch(user);
            QVERIFY2(m_server->start(), qPrintable(m_server->problem()));
            if (reason == int(AccountFetchReason::None)) {
                tookAll(timer);
                break;
            }
            QVERIFY2(reason == int(AccountFetchReason::Unreachable) ||
                         reason == int(AccountFetchReason::ConnectionClosed),
                     QByteArray::number(reason).constData());
            broken += reason == int(AccountFetchReason::ConnectionClosed) ? 1 : 0;
        }
        settled(user, m_texts);
        if (QTest::currentTestFailed())
            return;
    }
}

/// Kills the server under a fetch; with what the fetch ended, -1 when it does not say.
int PopKillTest::reasonOfBrokenFetch(PopUser &user)
{
    QProcess process;
    user.start(process, QStringList{u"--json"_s} + PopUser::fetchWords());
    process.waitForFinished(moment() / 1000);
    m_server->kill();
    if (process.state() != QProcess::NotRunning)
        process.waitForFinished(20'000);
    const Program::Result result = Program::resultOf(process);
    const int reason = result.rows().value(0)[u"reason"].toInt(-1);
    return result.status == (reason == 0 ? 0 : 1) ? reason : -1;
}

QTEST_GUILESS_MAIN(PopKillTest)
#include "popkill_test.moc"
