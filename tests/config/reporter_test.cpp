#include "config/reporter.h"

#include "support/scratch.h"

#include <QTest>

using namespace Qt::StringLiterals;

class ReporterTest : public QObject
{
    Q_OBJECT

private slots:
    void longTextsAreCutBetweenCharacters_data();
    void longTextsAreCutBetweenCharacters();
    void onlyTheThreeLevelsReport();
    void aNoteStaysOnItsLine();
};

void ReporterTest::longTextsAreCutBetweenCharacters_data()
{
    QTest::addColumn<QString>("character");
    QTest::addColumn<int>("lead"); // ASCII characters in front, to move the cut through the character
    QTest::addColumn<int>("kept");
    QTest::newRow("ASCII") << "a" << 0 << 1023;
    QTest::newRow("two bytes, odd") << QString::fromUtf8("ä") << 0 << 1022;
    QTest::newRow("two bytes, even") << QString::fromUtf8("ä") << 1 << 1023;
    QTest::newRow("three bytes") << QString::fromUtf8("€") << 2 << 1022;
    QTest::newRow("four bytes") << QString::fromUtf8("😀") << 2 << 1022;
}

void ReporterTest::longTextsAreCutBetweenCharacters()
{
    QFETCH(QString, character);
    QFETCH(int, lead);
    QFETCH(int, kept);
    Scratch scratch;
    const QString text = QString(lead, u'x') + character.repeated(2000);
    report(ReportLevel::Warning, "%s", qUtf8Printable(text));
    QCOMPARE(scratch.reports.size(), 1);
    QCOMPARE(scratch.reports.first().toUtf8().size(), kept);
    QVERIFY(text.startsWith(scratch.reports.first()));
}

void ReporterTest::onlyTheThreeLevelsReport()
{
    Scratch scratch;
    for (int level = 0; level <= 4; ++level)
        report(ReportLevel(level), "level %d", level);
    QCOMPARE(scratch.reports.join(u','), u"level 1,level 2,level 3"_s);
}

void ReporterTest::aNoteStaysOnItsLine()
{
    Scratch scratch;
    note(QString::fromUtf8("a\nb\rc\td\033[0me\u2028f\u202eg"));
    QCOMPARE(scratch.notes, QStringList{QString::fromUtf8("a\\nb\\rc\\td\\x1b[0me f\\u202eg")});
}

QTEST_GUILESS_MAIN(ReporterTest)
#include "reporter_test.moc"
