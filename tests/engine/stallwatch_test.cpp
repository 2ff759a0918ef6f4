#include "engine/stallwatch.h"

#include "support/scratch.h"

#include <QAbstractEventDispatcher>
#include <QEventLoop>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

struct Inner : QObject
{
    std::function<void()> work;
    bool event(QEvent *) override
    {
        work();
        return true;
    }
};

} // namespace

/// Time stands still but for what the test says: that an event holds the loop, or that the loop waits so
/// long.
class StallWatchTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void aCalmLoop();
    void anEventThatHolds();
    void theHeaviestIsNamed();
    void noticesTakeNothingOver();
    void manySmallOnes();
    void whatWaitsInside();
    void aReceiverThatDies();

private:
    static constexpr qint64 kMillisecond = 1'000'000;

    void hold(int milliseconds) { m_now += milliseconds * kMillisecond; }

    /// Runs the loop through what is there to do, waiting so long before each pass.
    void waitFor(int milliseconds)
    {
        m_wait = milliseconds;
        QEventLoop loop;
        QTimer::singleShot(0, Qt::CoarseTimer, &loop, &QEventLoop::quit);
        loop.exec();
        m_wait = 0;
    }

    void run(QObject &receiver, const std::function<void()> &work)
    {
        QMetaObject::invokeMethod(&receiver, work, Qt::QueuedConnection);
        waitFor(0);
        waitFor(0);
    }

    qint64 m_now = 0;
    int m_wait = 0;
    std::unique_ptr<Scratch> m_scratch;
    std::unique_ptr<StallWatch> m_watch;
    QMetaObject::Connection m_waiting;
};

void StallWatchTest::init()
{
    m_scratch = std::make_unique<Scratch>();
    m_watch = std::make_unique<StallWatch>(nullptr, [this] { return m_now; });
    m_waiting = connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this,
                        [this] { hold(m_wait); });
    waitFor(0);
}

void StallWatchTest::cleanup()
{
    disconnect(m_waiting);
    m_watch.reset();
    m_scratch.reset();
}

void StallWatchTest::aCalmLoop()
{
    waitFor(10'000);
    waitFor(0);
    QCOMPARE(m_scratch->notes, QStringList());
    QCOMPARE(m_watch->longest().milliseconds, 0);
}

void StallWatchTest::anEventThatHolds()
{
    const QSignalSpy stalled(m_watch.get(), &StallWatch::stalled);
    QObject room;
    room.setObjectName(u"room"_s);
    auto *receiver = new QTimer(&room);
    run(*receiver, [this] { hold(50); });
    QCOMPARE(stalled.size(), 0);
    QCOMPARE(m_watch->longest().milliseconds, 50);
    run(*receiver, [this] { hold(51); });
    QCOMPARE(stalled.size(), 1);
    QCOMPARE(m_watch->longest().milliseconds, 51);
    QCOMPARE(m_scratch->notes,
             QStringList{u"The event loop was held for 51 ms, mostly by MetaCall for QTimer in "
                         "QObject 'room'"_s});
    m_watch->forget();
    QCOMPARE(m_watch->longest().milliseconds, 0);
}

void StallWatchTest::theHeaviestIsNamed()
{
    QObject outer; // in whose event another one is sent
    Inner inner;
    inner.work = [this] { hold(40); };
    inner.setObjectName(u"inner"_s);
    run(outer, [&] {
        hold(20);
        QEvent paint(QEvent::Paint);
        QCoreApplication::sendEvent(&inner, &paint);
    });
    QCOMPARE(m_watch->longest().milliseconds, 60);
    QCOMPARE(m_watch->longest().event, u"Paint for QObject 'inner'"_s);
}

/// A change that is told in between is not what the time after it goes into.
void StallWatchTest::noticesTakeNothingOver()
{
    QObject outer;
    outer.setObjectName(u"outer"_s);
    QObject told;
    run(outer, [&] {
        QEvent changed(QEvent::ToolTipChange);
        QCoreApplication::sendEvent(&told, &changed);
        hold(60);
    });
    QCOMPARE(m_watch->longest().event, u"MetaCall for QObject 'outer'"_s);
}

/// Each by itself is short, but nothing else comes between them.
void StallWatchTest::manySmallOnes()
{
    QObject receiver;
    for (int i = 0; i < 30; ++i)
        QMetaObject::invokeMethod(
            &receiver, [this] { hold(2); }, Qt::QueuedConnection);
    waitFor(0);
    waitFor(0);
    QCOMPARE(m_watch->longest().milliseconds, 60);
    QCOMPARE(m_scratch->notes.size(), 1);
}

void StallWatchTest::whatWaitsInside()
{
    QObject receiver;
    run(receiver, [this] {
        hold(60);
        waitFor(10'000);
        hold(70);
    });
    QCOMPARE(m_scratch->notes.size(), 2);
    QVERIFY(m_scratch->notes.first().contains(u"60 ms, mostly by MetaCall for QObject"));
    QCOMPARE(m_watch->longest().milliseconds, 70);
}

void StallWatchTest::aReceiverThatDies()
{
    auto *receiver = new QObject;
    receiver->setObjectName(u"gone"_s);
    run(*receiver, [this, receiver] {
        hold(60);
        delete receiver;
    });
    QCOMPARE(m_watch->longest().event, u"MetaCall for QObject 'gone'"_s);
}

QTEST_GUILESS_MAIN(StallWatchTest)
#include "stallwatch_test.moc"
