#include "message/date.h"

#include "config/clock.h"
#include "message/message.h"

#include <QElapsedTimer>
#include <QTest>
#include <QTimeZone>

using namespace Qt::StringLiterals;

class DateTest : public QObject
{
    Q_OBJECT

private slots:
    void datesAreRead_data();
    void datesAreRead();
    void whatIsNoDateIsSecondZero_data();
    void whatIsNoDateIsSecondZero();
    void endlessTextsAreLeftAlone();
    void datesAreWritten_data();
    void datesAreWritten();
    void whatIsWrittenIsReadAgain();
};

void DateTest::datesAreRead_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("utc");
    const auto row = [](const QString &text, const QString &utc) {
        QTest::newRow(qUtf8Printable(text)) << text << utc;
    };
    // Day, month word, year.
    row(u"Thu, 30 Mar 2006 18:36:28 +0200"_s, u"2006-03-30T16:36:28"_s);
    row(u"30 Mar 2006 18:36:28 -0500 (EST)"_s, u"2006-03-30T23:36:28"_s);
    row(u"Sat,  3\t Jun  2006 9:05 GMT"_s, u"2006-06-03T09:05:00"_s);
    row(u"3rd March 2006"_s, u"2006-03-03T00:00:00"_s);
    row(u"1st apr 2006 12:00"_s, u"2006-04-01T12:00:00"_s);
    row(u"Sunday, 06-Nov-94 08:49:37 GMT"_s, u"1994-11-06T08:49:37"_s);
    row(u"17-Jul-1996 02:44:25 -0700"_s, u"1996-07-17T09:44:25"_s);
    row(u"29 Feb 2004 23:59:60 +0000"_s, u"2004-03-01T00:00:00"_s);
    row(u"7 foo 12 8 Dec 2011 10:00"_s, u"2011-12-08T10:00:00"_s);
    row(u"Thu, 30 Mar 1905 00:00:00 +0000"_s, u"1905-03-30T00:00:00"_s);
    // Numbers.
    row(u"2006-03-06 10:00:00"_s, u"2006-03-06T10:00:00"_s);
    row(u"2006-03-06"_s, u"2006-03-06T00:00:00"_s);
    row(u"10:00 2006-03-06"_s, u"2006-03-06T10:00:00"_s);
    row(u"2006-03-06T10:00:00Z"_s, u"2006-03-06T10:00:00"_s);
    row(u"2006-03-06T10:00:00.123+02:00"_s, u"2006-03-06T08:00:00"_s);
    row(u"2006/3/6 10:00 -06"_s, u"2006-03-06T16:00:00"_s);
    row(u"6.3.2006 7:08 pm"_s, u"2006-03-06T19:08:00"_s);
    row(u"06/03/06"_s, u"2006-03-06T00:00:00"_s);
    row(u"6-3-6 0:00"_s, u"2006-03-06T00:00:00"_s);
    // The order of asctime.
    row(u"Thu Mar 30 18:36:28 CEST 2006"_s, u"2006-03-30T16:36:28"_s);
    row(u"Thu Mar  3 18:36:28 2006"_s, u"2006-03-03T18:36:28"_s);
    row(u"Thu Mar 30 18:36:28 2006 -0500"_s, u"2006-03-30T23:36:28"_s);
    row(u"Thu Mar 30 18:36:28 -0500 2006"_s, u"2006-03-30T23:36:28"_s);
    row(u"March 30, 2006"_s, u"2006-03-30T00:00:00"_s);
    // Years.
    row(u"1 Jan 49 00:00"_s, u"2049-01-01T00:00:00"_s);
    row(u"1 Jan 50 00:00"_s, u"1950-01-01T00:00:00"_s);
    row(u"1 Jan 102 00:00"_s, u"2002-01-01T00:00:00"_s);
    row(u"1 Jan 0102 00:00"_s, u"2002-01-01T00:00:00"_s);
    // Times and zones.
    row(u"1 Jan 2006 12:05 pm"_s, u"2006-01-01T12:05:00"_s);
    row(u"1 Jan 2006 12:05AM"_s, u"2006-01-01T00:05:00"_s);
    row(u"1 Jan 2006 6:05:04 PM EST"_s, u"2006-01-01T23:05:04"_s);
    row(u"1 Jan 2006 18:05 pm"_s, u"2006-01-01T18:05:00"_s);
    row(u"1 Jan 2006 25:61"_s, u"2006-01-01T00:00:00"_s);
    row(u"1 Jan 2006 12:00:00 +-0500"_s, u"2006-01-01T17:00:00"_s);
    row(u"1 Jan 2006 12:00:00 GMT+2"_s, u"2006-01-01T10:00:00"_s);
    row(u"1 Jan 2006 12:00:00 +530"_s, u"2006-01-01T06:30:00"_s);
    row(u"1 Jan 2006 12:00:00 +9999"_s, u"2006-01-01T12:00:00"_s);
    row(u"1 Jan 2006 12:00:00 XYZ"_s, u"2006-01-01T12:00:00"_s);
    row(u"1 Jan 2006 12:00:00 pdt"_s, u"2006-01-01T19:00:00"_s);
    row(u"1 Jan 2006 12:00:00 (EST)"_s, u"2006-01-01T17:00:00"_s);
    row(u"1 Jan 2006 12:00:00 +0100 (EST)"_s, u"2006-01-01T11:00:00"_s);
    row(u"-0500 1 Jan 2006 12:00"_s, u"2006-01-01T12:00:00"_s);
}

void DateTest::datesAreRead()
{
    QFETCH(QString, text);
    const std::optional<qint64> seconds = readDate(text);
    QVERIFY(seconds);
    QTEST(QDateTime::fromSecsSinceEpoch(*seconds, Qt::UTC).toString(u"yyyy-MM-ddTHH:mm:ss"), "utc");
}

void DateTest::whatIsNoDateIsSecondZero_data()
{
    QTest::addColumn<QString>("text");
    for (const char *text : {"", "yesterday", "12:00:00", "31 Feb 2006", "0 Jan 2006", "30 Mrz 2006",
                             "1 anf 2006", "2006-13-01", "32.1.2006", "99999999999999999999", "Mar 30",
                             "Mar 30 18:36:28 -0500", "28 CEST 2006", "20 M\xc3\xa4rz 2006", "1 Ja 2006"})
        QTest::newRow(text) << QString::fromUtf8(text);
}

void DateTest::whatIsNoDateIsSecondZero()
{
    QFETCH(QString, text);
    QVERIFY(!readDate(text));
    QCOMPARE(Message("Date: " + text.toUtf8()).date(), 0);
}

void DateTest::endlessTextsAreLeftAlone()
{
    QElapsedTimer timer;
    timer.start();
    for (const QString &piece : {u"Mar 1 "_s, u"1 "_s, u"1"_s, u"1 a"_s, u"12:"_s})
        QVERIFY(!readDate(piece.repeated(2'000'000)));
    QVERIFY(timer.elapsed() < 2000);
}

void DateTest::datesAreWritten_data()
{
    QTest::addColumn<int>("offset");
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<QByteArray>("mbox");
    QTest::newRow("UTC") << 0 << QByteArray("Mon, 3 Apr 2006 01:02:03 +0000")
                         << QByteArray("Mon Apr 03 01:02:03 2006");
    QTest::newRow("east") << 20700 << QByteArray("Mon, 3 Apr 2006 06:47:03 +0545")
                          << QByteArray("Mon Apr 03 06:47:03 2006");
    QTest::newRow("west, the day before")
        << -12600 << QByteArray("Sun, 2 Apr 2006 21:32:03 -0330") << QByteArray("Sun Apr 02 21:32:03 2006");
}

void DateTest::datesAreWritten()
{
    QFETCH(int, offset);
    const QDateTime moment = QDateTime(QDate(2006, 4, 3), QTime(1, 2, 3), Qt::UTC).toOffsetFromUtc(offset);
    QTEST(formatDate(moment), "field");
    QTEST(mboxDate(moment), "mbox");
}

void DateTest::whatIsWrittenIsReadAgain()
{
    for (qint64 seconds = 0; seconds < 4'000'000'000; seconds += 12'345'678) {
        const ClockOverride clock([=] { return seconds * 1000; });
        QCOMPARE(readDate(QString::fromLatin1(formatDate())), seconds);
    }
}

QTEST_GUILESS_MAIN(DateTest)
#include "date_test.moc"
