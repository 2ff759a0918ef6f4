#include "program.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QSet>
#include <QTest>

using namespace Qt::StringLiterals;

/// The program killed at random moments: what it has told of as stored is there exactly once, and nothing is
/// found wrong after the next start.
class KillTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void importing();
    void fetchingABatch();
    void compacting();
    void moving();

private:
    /// Somewhere within the time that the whole takes, in microseconds.
    int moment(qint64 whole) { return int(m_random.bounded(2000, int(whole * 1100) + 4000)); }
    /// Milliseconds that the words take on a fresh copy.
    qint64 timeOf(Program &program, const QStringList &words);
    static bool hasTwice(const QStringList &ids)
    {
        return QSet<QString>(ids.begin(), ids.end()).size() != ids.size();
    }
    static void settled(Program &program);

    QRandomGenerator m_random{20261121};
};

void KillTest::initTestCase()
{
    useMemoryForFiles();
}

qint64 KillTest::timeOf(Program &program, const QStringList &words)
{
    QElapsedTimer timer;
    timer.start();
    if (program.json(words).status != 0)
        qFatal("the test cannot run %s", qPrintable(words.join(u' ')));
    return timer.elapsed();
}

/// Nothing is wrong, and nothing was there to be mended by hand.
void KillTest::settled(Program &program)
{
    const Program::Result check = program.json({u"check"_s});
    QVERIFY2(check.status == 0, (check.out + check.errors).constData());
}

void KillTest::importing()
{
    constexpr int kFiles = 6;
    constexpr int kMails = 150;
    Program program;
    QStringList words = {u"import"_s, u"New/Group"_s};
    for (int i = 0; i < kFiles; ++i)
        words += program.write(u"%1.mbox"_s.arg(i), mbox(QByteArray::number(i) + '-', kMails));
    const qint64 whole = timeOf(program, words);
    int killed = 0;
    for (int round = 0; round < 20; ++round) {
        program.forgetEverything();
        const Program::Result result = program.runAndKill(words, moment(whole));
        killed += result.status == -1 ? 1 : 0;
        settled(program);
        if (QTest::currentTestFailed())
            return;
        QStringList ids;
        if (program.run({u"groups"_s}).out.contains("New/Group"))
            ids = program.ids(u"New/Group"_s);
        QVERIFY(!hasTwice(ids));
        const QSet<QString> there(ids.begin(), ids.end());
        const QList<QJsonObject> told = result.rows();
        for (int i = 0; i < told.size(); ++i) {
            QCOMPARE(told[i][u"imported"].toInt(), kMails);
            for (int mail = 0; mail < kMails; ++mail)
                QVERIFY(there.contains(u"%1-%2"_s.arg(i).arg(mail)));
        }
    }
    QVERIFY2(killed >= 5, QByteArray::number(killed).constData());
}

void KillTest::fetchingABatch()
{
    constexpr int kMails = 400;
    Program program;
    const QByteArray mails = mbox("m", kMails, 3000);
    const QString file = program.write(u"batch"_s, mails);
    const QStringList add = {u"account"_s, u"add"_s, u"--kind"_s, u"batch"_s,
                             u"--name"_s,  u"B"_s,   u"--host"_s, file};
    QCOMPARE(program.run(add).status, 0);
    const qint64 whole = timeOf(program, {u"fetch"_s});
    int killed = 0;
    for (int round = 0; round < 5; ++round) {
        program.forgetEverything();
        QCOMPARE(program.run(add).status, 0);
        program.write(u"batch"_s, mails);
        for (int i = 0; i < 4; ++i)
            killed += program.runAndKill({u"fetch"_s, u"B"_s}, moment(whole)).status == -1 ? 1 : 0;
        QCOMPARE(program.run({u"fetch"_s}).status, 0);
        const QStringList ids = program.ids(u"Inbox"_s);
        QVERIFY(!hasTwice(ids));
        QCOMPARE(ids.size(), kMails);
        QCOMPARE(QDir(program.config() + u"/Batches"_s).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                 QStringList());
        settled(program);
        if (QTest::currentTestFailed())
            return;
    }
    QVERIFY2(killed >= 4, QByteArray::number(killed).constData());
}

void KillTest::compacting()
{
    constexpr int kMails = 300;
    Program program;
    QCOMPARE(program.run({u"import"_s, u"Inbox"_s, program.write(u"a"_s, mbox("m", kMails, 40'000))}).status,
             0);
    qint64 whole = 60;
    int killed = 0;
    QStringList expected = program.ids(u"Inbox"_s);
    for (int round = 0; round < 12; ++round) {
        QStringList dead = {u"delete"_s, u"Inbox"_s};
        for (int i = 0; i < 20; ++i) {
            const int number = round * 20 + i;
            dead += QString::number(number + 1);
            expected.removeOne(u"m%1"_s.arg(number));
        }
        QCOMPARE(program.run(dead).status, 0);
        killed += program.runAndKill({u"compact"_s, u"Inbox"_s}, moment(whole)).status == -1 ? 1 : 0;
        QCOMPARE(program.ids(u"Inbox"_s), expected);
        settled(program);
        if (QTest::currentTestFailed())
            return;
        // Every text is its own, and no temporary file stays.
        const QString some = QString::number(kMails - round);
        QVERIFY(program.run({u"show"_s, u"Inbox"_s, some, u"--raw"_s})
                    .out.contains("Text of m" + QByteArray::number(kMails - round - 1)));
        const QStringList left = QDir(program.config() + u"/Groups/1"_s).entryList({u"*~"_s, u"*.moved"_s});
        QCOMPARE(left, QStringList());
        if (round == 0)
            whole = timeOf(program, {u"compact"_s, u"Inbox"_s});
    }
    QVERIFY2(killed >= 2, QByteArray::number(killed).constData());
}

void KillTest::moving()
{
    constexpr int kMails = 400;
    Program program;
    QCOMPARE(program.run({u"import"_s, u"Inbox"_s, program.write(u"a"_s, mbox("m", kMails))}).status, 0);
    const QStringList all = program.ids(u"Inbox"_s);
    int killed = 0;
    qint64 whole = 80;
    for (int round = 0; round < 8; ++round) {
        const QString from = round % 2 == 0 ? u"Inbox"_s : u"Drafts"_s;
        const QString to = round % 2 == 0 ? u"Drafts"_s : u"Inbox"_s;
        QStringList words = {u"move"_s, from};
        for (const QJsonObject &row : program.json({u"list"_s, from}).rows())
            words += QString::number(row[u"number"].toInt());
        if (words.size() == 2)
            continue;
        words += to;
        QElapsedTimer timer;
        timer.start();
        const bool wasKilled = program.runAndKill(words, moment(whole)).status == -1;
        killed += wasKilled ? 1 : 0;
        whole = wasKilled ? whole : timer.elapsed();
        QStringList both = program.ids(u"Inbox"_s) + program.ids(u"Drafts"_s);
        both.sort();
        QCOMPARE(both, all);
        settled(program);
        if (QTest::currentTestFailed())
            return;
    }
    QVERIFY2(killed >= 1, QByteArray::number(killed).constData());
}

QTEST_GUILESS_MAIN(KillTest)
#include "kill_test.moc"
