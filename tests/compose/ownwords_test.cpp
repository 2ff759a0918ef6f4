#include "compose/ownwords.h"

#include "support/scratch.h"

#include <QTest>

using namespace Qt::StringLiterals;

class OwnWordsTest : public QObject
{
    Q_OBJECT

private slots:
    void counts_data();
    void counts();
};

void OwnWordsTest::counts_data()
{
    const QString attribution = u"On 1 May 2026, Bob Tide of the harbour wrote:"_s;
    const QString signature = u"-- \nClara Brandt\nTidewater\n"_s;
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("known");
    QTest::addColumn<int>("words");
    QTest::newRow("nothing") << u""_s << QStringList() << 0;
    QTest::newRow("words") << u"don't re-open the sea’s gate,\n42 times - ever\n"_s << QStringList() << 8;
    QTest::newRow("a reply begins with none")
        << u"\n\n"_s + attribution + u"\n\n> One\n>> Two\n\n"_s + signature
        << QStringList{signature, attribution} << 0;
    QTest::newRow("between what is quoted")
        << attribution + u"\n\n> One\nYes, of course.\n> Two\nNo.\n"_s << QStringList{attribution} << 4;
    QTest::newRow("wrapped above a quotation")
        << u"On 1 May 2026, Bob Tide\nof the harbour wrote:\n> One\nYes.\n"_s << QStringList{attribution}
        << 1;
    QTest::newRow("below the quotation of an attribution")
        << attribution + u"\n> "_s + attribution + u"\n> > One\nYes.\n"_s << QStringList{attribution} << 1;
    QTest::newRow("a signature of which nobody knows") << u"Yes.\n\n"_s + signature << QStringList() << 1;
    QTest::newRow("above a quotation") << u"Yes.\n"_s + signature + u"> One\nNo.\n"_s << QStringList() << 2;
    QTest::newRow("without a separator")
        << u"Yes.\n\nClara Brandt\n"_s << QStringList{u"Clara Brandt\n"_s} << 1;
    QTest::newRow("the same words within a sentence")
        << u"This is Clara Brandt\n"_s << QStringList{u"Clara Brandt\n"_s} << 4;
    QTest::newRow("forwarded")
        << u"Look:\n----- Begin forwarded message -----\nSubject: S\n\nText\n-- \nBob\n"
           "------ End forwarded message ------\nNice.\n"_s
        << QStringList() << 2;
    QTest::newRow("its end is gone") << u"----- Begin forwarded message -----\nOne two\n"_s << QStringList()
                                     << 5;
}

void OwnWordsTest::counts()
{
    QFETCH(QString, text);
    QFETCH(QStringList, known);
    QFETCH(int, words);
    const Scratch scratch;
    QCOMPARE(countOwnWords(text, known), words);
}

QTEST_GUILESS_MAIN(OwnWordsTest)
#include "ownwords_test.moc"
