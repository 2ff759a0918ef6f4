#include "config/terminationsignals.h"

#include <QSignalSpy>
#include <QTest>

#include <csignal>
#include <unistd.h>

class TerminationSignalsTest : public QObject
{
    Q_OBJECT

private slots:
    void quitsOnce_data();
    void quitsOnce();
    void aClosedPipeIsAFailedWrite();
    void theHandlersComeBack();
};

void TerminationSignalsTest::quitsOnce_data()
{
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("second");
    QTest::newRow("TERM, then INT") << SIGTERM << SIGINT;
    QTest::newRow("INT twice") << SIGINT << SIGINT;
}

void TerminationSignalsTest::quitsOnce()
{
    QFETCH(int, first);
    QFETCH(int, second);
    TerminationSignals termination;
    QSignalSpy terminate(&termination, &TerminationSignals::terminate);
    QVERIFY(!TerminationSignals::isRequested());
    QCOMPARE(raise(first), 0);
    QVERIFY(TerminationSignals::isRequested());
    QCOMPARE(terminate.count(), 0); // never inside the handler
    QVERIFY(terminate.wait());
    QCOMPARE(raise(second), 0);
    QCoreApplication::processEvents();
    QCOMPARE(terminate.count(), 1);
}

void TerminationSignalsTest::aClosedPipeIsAFailedWrite()
{
    TerminationSignals termination;
    int ends[2];
    QCOMPARE(pipe(ends), 0);
    close(ends[0]);
    QCOMPARE(write(ends[1], "x", 1), ssize_t(-1));
    QCOMPARE(errno, EPIPE);
    close(ends[1]);
    QVERIFY(!TerminationSignals::isRequested());
}

void TerminationSignalsTest::theHandlersComeBack()
{
    struct sigaction before = {};
    sigaction(SIGTERM, nullptr, &before);
    {
        TerminationSignals termination;
        struct sigaction during = {};
        sigaction(SIGTERM, nullptr, &during);
        QVERIFY(during.sa_handler != before.sa_handler);
    }
    struct sigaction after = {};
    sigaction(SIGTERM, nullptr, &after);
    QVERIFY(after.sa_handler == before.sa_handler);
}

QTEST_GUILESS_MAIN(TerminationSignalsTest)
#include "terminationsignals_test.moc"
