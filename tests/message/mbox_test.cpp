#include "message/mbox.h"

#include "config/clock.h"
#include "message/message.h"
#include "support/scratch.h"

#include <QSignalSpy>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>

using namespace Qt::StringLiterals;

class MboxTest : public QObject
{
    Q_OBJECT

private slots:
    void entriesAreQuoted_data();
    void entriesAreQuoted();
    void theSenderIsOneWord();
    void messagesAreAppended_data();
    void messagesAreAppended();
    void aLockedFileIsTriedAgain();
    void waitingEndsAfterSixtyRetries();
    void waitingCanBeStopped();
    void aFileThatCannotBeMadeFailsAtOnce();
    void aFullDiskLeavesTheFileAsItWas();
};

void MboxTest::entriesAreQuoted_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("entry"); // behind the separator line
    QTest::newRow("body line") << QByteArray("A: b\n\nFrom x\n From y\n")
                               << QByteArray("A: b\n\n>From x\n From y\n\n");
    QTest::newRow("quoted line stays")
        << QByteArray("A: b\n\n>From x\n") << QByteArray("A: b\n\n>From x\n\n");
    QTest::newRow("first line") << QByteArray("From x\nA: b\n\n") << QByteArray(">From x\nA: b\n\n\n");
    QTest::newRow("no line end") << QByteArray("A: b\n\nc") << QByteArray("A: b\n\nc\n\n");
    QTest::newRow("empty") << QByteArray() << QByteArray("\n");
}

void MboxTest::entriesAreQuoted()
{
    QFETCH(QByteArray, text);
    const QByteArray entry = mboxEntry(Message(text));
    QTEST(entry.sliced(entry.indexOf('\n') + 1), "entry");
}

void MboxTest::theSenderIsOneWord()
{
    const ClockOverride clock([] { return qint64(0); });
    QCOMPARE(mboxSeparator(Message("From: a@b\n")), QByteArray("From a@b Thu Jan 01 00:00:00 1970"));
    QCOMPARE(mboxSeparator(Message("From: \"a b\"@c\n")),
             QByteArray("From \"a_b\"@c Thu Jan 01 00:00:00 1970"));
    QVERIFY(mboxSeparator(Message()).startsWith("From MAILER-DAEMON Thu"));
}

void MboxTest::messagesAreAppended_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("between");
    QTest::newRow("new file") << QByteArray() << QByteArray();
    QTest::newRow("whole file") << QByteArray("From x\n\n") << QByteArray();
    QTest::newRow("file without a last line end") << QByteArray("From x\n\na") << QByteArray("\n");
}

void MboxTest::messagesAreAppended()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, between);
    const ClockOverride clock([] { return qint64(0); });
    Scratch scratch;
    const QString path = before.isNull() ? scratch.path(u"mbox"_s) : scratch.write(u"mbox"_s, before);
    const Message message("From: a@b\n\ntext\n");
    MboxAppender appender;
    QSignalSpy finished(&appender, &MboxAppender::finished);
    appender.appendToMbox(message, path);
    appender.appendToMbox(message, path);
    QCOMPARE(finished.count(), 2);
    QVERIFY(finished.at(0).at(0).toBool() && finished.at(1).at(0).toBool());
    QCOMPARE(Scratch::read(path), before + between + mboxEntry(message) + mboxEntry(message));
}

void MboxTest::aLockedFileIsTriedAgain()
{
    Scratch scratch;
    const QString path = scratch.write(u"mbox"_s, "");
    auto holder = std::make_unique<QFile>(path);
    QVERIFY(holder->open(QIODevice::ReadWrite));
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    QCOMPARE(fcntl(holder->handle(), F_OFD_SETLK, &lock), 0);

    MboxAppender appender;
    appender.setRetryInterval(0);
    QSignalSpy finished(&appender, &MboxAppender::finished);
    connect(&appender, &MboxAppender::waiting, this, [&](int retries) {
        if (retries == MboxAppender::kMostRetries - 3)
            holder.reset();
    });
    appender.appendToMbox(Message("A: b\n"), path);
    QVERIFY(appender.isRunning());
    QCOMPARE(Scratch::read(path), QByteArray());
    QVERIFY(finished.count() == 1 || finished.wait());
    QVERIFY(finished.at(0).at(0).toBool());
    QVERIFY(Scratch::read(path).endsWith("\nA: b\n\n"));
}

void MboxTest::waitingEndsAfterSixtyRetries()
{
    Scratch scratch;
    QDir().mkpath(scratch.path(u"directory"_s)); // exists and cannot be opened
    MboxAppender appender;
    appender.setRetryInterval(0);
    QSignalSpy finished(&appender, &MboxAppender::finished);
    QSignalSpy waiting(&appender, &MboxAppender::waiting);
    appender.appendToMbox(Message("A: b\n"), scratch.path(u"directory"_s));
    QVERIFY(finished.wait());
    QCOMPARE(waiting.count(), 60);
    QCOMPARE(finished.count(), 1);
    QVERIFY(!finished.at(0).at(0).toBool());
}

void MboxTest::waitingCanBeStopped()
{
    Scratch scratch;
    QDir().mkpath(scratch.path(u"directory"_s));
    MboxAppender appender;
    QSignalSpy finished(&appender, &MboxAppender::finished);
    appender.appendToMbox(Message("A: b\n"), scratch.path(u"directory"_s));
    QVERIFY(appender.isRunning());
    QCOMPARE(finished.count(), 0);
    appender.stop();
    appender.stop();
    QCOMPARE(finished.count(), 1);
    QVERIFY(!finished.at(0).at(0).toBool());
    QVERIFY(!appender.isRunning());
}

void MboxTest::aFileThatCannotBeMadeFailsAtOnce()
{
    Scratch scratch;
    MboxAppender appender;
    QSignalSpy finished(&appender, &MboxAppender::finished);
    appender.appendToMbox(Message("A: b\n"), scratch.path(u"missing/mbox"_s));
    QCOMPARE(finished.count(), 1);
    QVERIFY(!finished.at(0).at(0).toBool());
}

void MboxTest::aFullDiskLeavesTheFileAsItWas()
{
    Scratch scratch;
    const QByteArray before(1000, 'x');
    const QString path = scratch.write(u"mbox"_s, before);
    rlimit limit = {};
    QCOMPARE(getrlimit(RLIMIT_FSIZE, &limit), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit full = {100'000, limit.rlim_max}; // a part of the message fits
    QCOMPARE(setrlimit(RLIMIT_FSIZE, &full), 0);

    MboxAppender appender;
    QSignalSpy finished(&appender, &MboxAppender::finished);
    appender.appendToMbox(Message("A: b\n\n" + QByteArray(200'000, 'y')), path);
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, handler);
    QCOMPARE(finished.count(), 1);
    QVERIFY(!finished.at(0).at(0).toBool());
    QCOMPARE(Scratch::read(path), before);
}

QTEST_GUILESS_MAIN(MboxTest)
#include "mbox_test.moc"
