#include "message/contentlines.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;

class ContentLinesTest : public QObject
{
    Q_OBJECT

private slots:
    void lines_data();
    void lines();
    void parameters();
    void partsOfAValue();
    void components_data();
    void components();
    void boundedWork_data();
    void boundedWork();
};

namespace {

/// "GROUP.NAME;P=a,b:text" of every line, in one text.
QString written(const QList<ContentLine> &lines)
{
    QStringList out;
    for (const ContentLine &line : lines) {
        QString head = (line.group.isEmpty() ? QString() : QString::fromLatin1(line.group) + u'.') +
                       QString::fromLatin1(line.name);
        for (const ContentLine::Parameter &one : line.parameters)
            head += u';' + QString::fromLatin1(one.name) + u'=' + one.values.join(u'|');
        out.append(head + u':' + line.text());
    }
    return out.join(u' ');
}

/// "A(B C(D))": the names of components, one in the other.
QString tree(const ContentComponent &component)
{
    QStringList inner;
    for (const ContentComponent &one : component.components)
        inner.append(tree(one));
    return QString::fromLatin1(component.name) +
           (inner.isEmpty() ? QString() : u'(' + inner.join(u' ') + u')');
}

} // namespace

void ContentLinesTest::lines_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("lines");
    QTest::newRow("three kinds of line ends") << u"A:1\r\nB:2\nC:3\rD:4"_s << u"A:1 B:2 C:3 D:4"_s;
    QTest::newRow("folded with a blank and with a tab")
        << u"NOTE:one\r\n  two\r\n\tthree"_s << u"NOTE:one twothree"_s;
    QTest::newRow("names in any case, with a group")
        << u"item1.email;Type=home:a@b"_s << u"item1.EMAIL;TYPE=home:a@b"_s;
    QTest::newRow("escapes") << u"NOTE:a\\, b\\; c\\\\d\\ne\\N\\"_s << u"NOTE:a, b; c\\d\ne\n\\"_s;
    QTest::newRow("colons, semicolons and commas in quotes")
        << u"ATTENDEE;CN=\"a:b;c,d\";ROLE=x:mailto:q@r"_s << u"ATTENDEE;CN=a:b;c,d;ROLE=x:mailto:q@r"_s;
    QTest::newRow("several values") << u"TEL;TYPE=home,\"cell,x\",voice:1"_s
                                    << u"TEL;TYPE=home|cell,x|voice:1"_s;
    QTest::newRow("circumflex escapes") << u"A;P=x^^y^nz^'q^r:1"_s << u"A;P=x^y\nz\"q^r:1"_s;
    QTest::newRow("bare words of version 2.1") << u"TEL;HOME;VOICE:1"_s << u"TEL;TYPE=HOME;TYPE=VOICE:1"_s;
    QTest::newRow("quoted-printable in its own character set")
        << u"FN;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:J=F6rg"_s
        << u"FN;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:Jörg"_s;
    QTest::newRow("quoted-printable with soft line breaks, the next line not folded")
        << u"NOTE;QUOTED-PRINTABLE:one=0A=\ntwo: =C3=BC=\n\nFN:x"_s
        << u"NOTE;ENCODING=QUOTED-PRINTABLE:one\ntwo: ü FN:x"_s;
    QTest::newRow("quoted-printable that ends in the middle")
        << u"NOTE;QUOTED-PRINTABLE:abc=\r\n"_s << u"NOTE;ENCODING=QUOTED-PRINTABLE:abc"_s;
    QTest::newRow("a quote that is never closed") << u"A;CN=\"b:c\nD:e"_s << u"A;CN=\"b:c D:e"_s;
    QTest::newRow("lines that are none") << u"\n\nno colon\n:no name\nA:b\n  \n"_s << u"A:b "_s;
    QTest::newRow("byte order mark") << u"\uFEFFA:b"_s << u"A:b"_s;
    QTest::newRow("nothing") << QString() << QString();
}

void ContentLinesTest::lines()
{
    QFETCH(QString, text);
    QTEST(written(readContentLines(text)), "lines");
}

void ContentLinesTest::parameters()
{
    const QList<ContentLine> lines = readContentLines(u"TEL;TYPE=home,Cell;TYPE=pref;X=:1"_s);
    QCOMPARE(lines.size(), 1);
    QVERIFY(lines[0].has("TYPE", u"CELL"));
    QVERIFY(lines[0].has("TYPE", u"pref"));
    QVERIFY(!lines[0].has("TYPE", u"work"));
    QCOMPARE(lines[0].parameter("TYPE"), u"home"_s);
    QCOMPARE(lines[0].parameter("VALUE"), QString());
}

void ContentLinesTest::partsOfAValue()
{
    const QList<ContentLine> lines = readContentLines(u"N:Ber\\;ry;Ann\\,a;;Dr\\\\;\nC:a,b\\,c"_s);
    QCOMPARE(lines[0].texts(), QStringList({u"Ber;ry"_s, u"Ann,a"_s, {}, u"Dr\\"_s, {}}));
    QCOMPARE(lines[1].texts(u','), QStringList({u"a"_s, u"b,c"_s}));
}

void ContentLinesTest::components_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shape");
    QTest::newRow("two cards") << u"BEGIN:vcard\nEND:VCARD\nBegin:VCARD\nEND:VCARD"_s << u"(VCARD VCARD)"_s;
    QTest::newRow("nested") << u"BEGIN:A\nBEGIN:B\nBEGIN:C\nEND:C\nEND:B\nBEGIN:D\nEND:D\nEND:A"_s
                            << u"(A(B(C) D))"_s;
    QTest::newRow("without an end") << u"BEGIN:A\nBEGIN:B\nX:1"_s << u"(A(B))"_s;
    QTest::newRow("an inner one without an end")
        << u"BEGIN:A\nBEGIN:B\nEND:A\nBEGIN:C\nEND:C"_s << u"(A(B) C)"_s;
    QTest::newRow("an end of nothing") << u"END:Q\nBEGIN:A\nEND:Z\nBEGIN:B\nEND:B\nEND:A"_s << u"(A(B))"_s;
}

void ContentLinesTest::components()
{
    QFETCH(QString, text);
    QTEST(tree(readContentComponents(text)), "shape");
}

void ContentLinesTest::boundedWork_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("a million lines") << u"A;B=c:d\n"_s.repeated(1'000'000);
    QTest::newRow("a folded line without end") << u"A:"_s + u"x\n "_s.repeated(3'000'000);
    QTest::newRow("a line of parameters") << u"A"_s + u";B=\"c\",d"_s.repeated(400'000) + u":e"_s;
    QTest::newRow("a line of quotes") << u"A;B="_s + u"\""_s.repeated(1'000'001) + u";C:d"_s;
    QTest::newRow("components in components") << u"BEGIN:A\n"_s.repeated(200'000);
    QTest::newRow("components beside components") << u"BEGIN:A\nEND:A\n"_s.repeated(200'000);
    QTest::newRow("soft line breaks") << u"A;QUOTED-PRINTABLE:"_s + u"x=\n"_s.repeated(2'000'000);
}

void ContentLinesTest::boundedWork()
{
    QFETCH(QString, text);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(readContentLines(text).size() <= contentlimit::kLines);
    QVERIFY(readContentComponents(text).components.size() <= contentlimit::kComponents);
    QVERIFY2(timer.elapsed() < 10'000, qPrintable(QString::number(timer.elapsed())));
}

QTEST_GUILESS_MAIN(ContentLinesTest)
#include "contentlines_test.moc"
