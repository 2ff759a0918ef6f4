#include "config/settings.h"
#include "support/scratch.h"
#include "ui/compose/composeformat.h"
#include "ui/compose/htmlreader.h"
#include "ui/compose/htmlwriter.h"
#include "ui/compose/richeditor.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QRegularExpression>
#include <QTest>
#include <QTextBlock>
#include <QTextList>
#include <QTextTable>

using namespace Qt::StringLiterals;

namespace {

/// The structure of a document in words, as far as a reader would see it.
class Outline
{
public:
    static QString of(const QTextDocument &document)
    {
        Outline outline;
        outline.flow(document.rootFrame()->begin());
        return outline.m_words;
    }

private:
    void flow(QTextFrame::iterator at)
    {
        for (; !at.atEnd(); ++at) {
            if (const auto *table = qobject_cast<const QTextTable *>(at.currentFrame()))
                rows(*table);
            else if (at.currentFrame())
                flow(at.currentFrame()->begin());
            else if (!at.currentBlock().blockFormat().boolProperty(composeformat::IsFiller))
                paragraph(at.currentBlock());
        }
    }

    void rows(const QTextTable &table)
    {
        const QTextTableFormat format = table.format();
        m_words += u"table q%1 %2%3 b%4["_s.arg(composeformat::quoteLevel(format))
                       .arg(format.width().rawValue())
                       .arg(format.width().type())
                       .arg(format.border());
        for (int row = 0; row < table.rows(); ++row)
            for (int column = 0; column < table.columns(); ++column) {
                const QTextTableCell cell = table.cellAt(row, column);
                if (cell.row() != row || cell.column() != column)
                    continue;
                m_words += u"(%1x%2 "_s.arg(cell.rowSpan()).arg(cell.columnSpan());
                m_words += cell.format().background().color().name();
                m_words += u" %1 "_s.arg(cell.format().doubleProperty(QTextFormat::TableCellLeftPadding));
                flow(cell.begin());
                m_words += u')';
            }
        m_words += u']';
    }

    void paragraph(const QTextBlock &block)
    {
        const QTextBlockFormat format = block.blockFormat();
        m_words += u"{q%1 h%2 a%3 i%4 r%5 s%6"_s.arg(composeformat::quoteLevel(format))
                       .arg(format.headingLevel())
                       .arg(int(format.alignment() & Qt::AlignHorizontal_Mask & ~Qt::AlignAbsolute))
                       .arg(composeformat::ownIndent(format))
                       .arg(format.hasProperty(QTextFormat::BlockTrailingHorizontalRulerWidth))
                       .arg(format.boolProperty(composeformat::IsSignature));
        if (const QTextList *list = block.textList())
            m_words += u" list%1 %2 from%3"_s.arg(list->format().style())
                           .arg(list->format().indent())
                           .arg(std::max(1, list->format().intProperty(composeformat::ListStart)) +
                                list->itemNumber(block));
        if (format.nonBreakableLines())
            m_words += u" pre"_s;
        for (auto it = block.begin(); !it.atEnd(); ++it)
            letters(it.fragment());
        m_words += u'}';
    }

    void letters(const QTextFragment &fragment)
    {
        const QTextCharFormat format = fragment.charFormat();
        m_words += u'<';
        m_words += format.fontWeight() > QFont::Normal ? u"b" : u"";
        m_words += format.fontItalic() ? u"i" : u"";
        m_words += format.fontStrikeOut() ? u"s" : u"";
        m_words +=
            format.hasProperty(QTextFormat::ForegroundBrush) ? format.foreground().color().name() : QString();
        m_words +=
            format.hasProperty(QTextFormat::BackgroundBrush) ? format.background().color().name() : QString();
        m_words += u"%1 %2 %3|"_s.arg(format.intProperty(QTextFormat::FontPixelSize))
                       .arg(format.fontFamilies().toStringList().join(u','))
                       .arg(format.verticalAlignment());
        m_words += format.anchorHref() + u'|' + format.toImageFormat().name() + u'|' +
                   QString(fragment.text()).replace(QChar::Nbsp, u' ') + u'>';
    }

    QString m_words;
};

QMimeData *html(const QString &text)
{
    auto *data = new QMimeData;
    data->setHtml(text);
    return data;
}

void drop(QWidget *editor, QMimeData *data)
{
    QGuiApplication::clipboard()->setMimeData(data);
    QTest::keyClick(editor, Qt::Key_V, Qt::ControlModifier);
}

} // namespace

/// Formatted text: what is read of HTML, and what is written.
class ComposeHtmlTest : public QObject
{
    Q_OBJECT

private slots:
    void structuresComeBack_data();
    void structuresComeBack();
    void arrivesAsTyped();
    void formsOfLinksAndTables();
    void signatureMarkIsNotTyped();
    void leavesListsAndQuotations();
    void insertsPictures();
    void hostileHtmlIsPasted();

private:
    Scratch m_scratch;
};

void ComposeHtmlTest::structuresComeBack_data()
{
    QTest::addColumn<QString>("html");
    QTest::addColumn<QStringList>("holds"); // of the outline
    const auto row = [](const char *name, const QString &html, const QStringList &holds) {
        QTest::newRow(name) << html << holds;
    };
    row("a table",
        u"<p>a</p><table width=\"400\" border=\"2\" cellpadding=\"5\"><tr>"
        "<td bgcolor=\"#ff0000\" style=\"padding-left:7px\" colspan=\"2\">head</td></tr>"
        "<tr><td width=\"30%\">left</td><td align=\"right\">right<br>two</td></tr></table>b"_s,
        {u"table q0 4001 b2[(1x2 #ff0000 7 {q0"_s, u"a2 i0 r0 s0<0  0|||right\u2028two>"_s});
    row("a table in a table, quoted",
        u"<blockquote><p>x</p><table><tr><td><table width=\"90%\"><tr><td>in</td><td>ner</td></tr></table>"
        "</td></tr></table><p>y</p></blockquote><p>z</p>"_s,
        {u"table q1 "_s, u"table q0 902 "_s, u"{q1 h0 a1 i0 r0 s0<0  0|||y>"_s,
         u"{q0 h0 a1 i0 r0 s0<0  0|||z>"_s});
    row("quotations in quotations",
        u"<blockquote style=\"margin:0 0 0 .8ex\">one<div>two</div><blockquote><p>deep</p><p "
        "style=\"margin-left:20px\">deeper</p></blockquote>back</blockquote>out"_s,
        {u"{q1 h0 a1 i0 r0 s0<0  0|||two>"_s, u"{q2 h0 a1 i0 r0 s0<0  0|||deep>"_s,
         u"{q2 h0 a1 i20 r0 s0<0  0|||deeper>"_s, u"{q1 h0 a1 i0 r0 s0<0  0|||back>"_s, u"{q0 "_s});
    row("a quotation in a cell",
        u"<blockquote><table><tr><td>c<blockquote>d</blockquote></td></tr></table>"
        "</blockquote>"_s,
        {u"table q1 "_s, u"{q0 h0 a1 i0 r0 s0<0  0|||c>}{q1 "_s});
    row("lists in lists",
        u"<ul><li>a<ol start=\"5\"><li>n1</li><li>n2<ol style=\"list-style-type:lower-roman\"><li>r</li>"
        "</ol></li></ol></li><li>b</li></ul><p>text</p>"_s,
        {u"list-1 1 from1<0  0|||a>"_s, u"list-4 2 from5<0  0|||n1>"_s, u"list-4 2 from6"_s,
         u"list-7 3 from1"_s, u"list-1 1 from2<0  0|||b>"_s});
    row("letters",
        u"<p align=\"center\"><b>b</b><i>i</i><s>s</s><sub>1</sub><sup>2</sup><span "
        "style=\"color:#123456;background-color:#ffee00;font-size:21px;font-family:Georgia, 'Times "
        "New'\">c</span></p>"_s,
        {u"a4 "_s, u"<b0  0|||b>"_s, u"<i0  0|"_s, u"<s0  0|"_s, u"<0  2|||1>"_s, u"<0  1|||2>"_s,
         u"<#123456#ffee0021 Georgia,Times New 0|||c>"_s});
    row("headings, rules, code", u"<h1>One</h1><h3>Three</h3><hr><pre>a  b\n\n  c\td</pre>after"_s,
        {u"{q0 h1 "_s, u"{q0 h3 "_s, u"r1 s0}"_s, u"pre<0 monospace 0|||a  b>}"_s, u"|||  c\td>"_s});
    row("links and pictures",
        u"<a href=\"https://x.example/?a=1&amp;b=2\">read <b>this</b></a> <img "
        "src=\"cid:p1\" width=\"20\" height=\"10\" alt=\"logo\">"_s,
        {u"https://x.example/?a=1&b=2||read >"_s, u"|cid:p1|"_s});
    row("lists and code that end a cell",
        u"<table><tr><td><ul><li>a</li></ul></td><td><pre>b</pre></td></tr></table><p>c</p>"_s,
        {u"list-1 1 from1<0  0|||a>})"_s, u" pre<0 monospace 0|||b>})"_s});
    row("a button",
        u"x <a href=\"https://x.example\" style=\"background-color:#003355;color:#ffffff\">Buy</a>"_s,
        {u"<#ffffff#0033550  0|https://x.example||Buy>"_s});
    row("the signature",
        u"<p>t</p><div class=\"signature\"><p>-- </p><table><tr><td>me</td></tr></table>"
        "<div>end</div></div><p>below</p>"_s,
        {u"s1<0  0|||-- >"_s, u"s1<0  0|||end>"_s, u"s0<0  0|||below>"_s});
    row("from the right", u"<p dir=\"rtl\">שלום</p><p>x</p>"_s, {u"שלום"_s});
}

/// What a text has of structure is in the editor, and in what is written of it.
void ComposeHtmlTest::structuresComeBack()
{
    QFETCH(QString, html);
    QFETCH(QStringList, holds);
    QTextDocument first;
    fillWithHtml(first, html);
    const QString outline = Outline::of(first);
    for (const QString &each : holds)
        QVERIFY2(outline.contains(each), qPrintable(each + u'\n' + outline));
    const QString written = htmlOf(first);
    for (const QString &tag : {u"li"_s, u"pre"_s, u"td"_s, u"blockquote"_s, u"div"_s, u"a"_s})
        QCOMPARE(written.count(u"</%1>"_s.arg(tag)),
                 written.count(QRegularExpression(u"<%1[ >]"_s.arg(tag))));
    QTextDocument second;
    fillWithHtml(second, written);
    QCOMPARE(Outline::of(second), outline);
    QCOMPARE(htmlOf(second), written);
    for (QTextBlock block = first.begin(); block.isValid(); block = block.next())
        QCOMPARE(block.charFormat().fontWordSpacing() + block.charFormat().fontLetterSpacing(), 0.0);
}

void ComposeHtmlTest::arrivesAsTyped()
{
    RichEditor editor;
    QTest::keyClicks(&editor, u"one"_s);
    QTest::keyClick(&editor, Qt::Key_Return);
    QTest::keyClick(&editor, Qt::Key_Return);
    QTest::keyClicks(&editor, u"  a < b"_s);
    QVERIFY2(editor.html().contains(u"<div>one</div>\n<div><br></div>\n<div>\u00A0 a &lt; b</div>"_s),
             qPrintable(editor.html()));
    QCOMPARE(editor.plainForm(), u"one\n\n  a < b\n"_s);
}

void ComposeHtmlTest::formsOfLinksAndTables()
{
    RichEditor editor;
    editor.setContents(
        u"<p>See <a href=\"https://x.example/long\">this</a> and <a href=\"https://y.example\">"
        "https://y.example</a></p><table><tr><td>a</td><td>b</td></tr><tr><td>c</td><td>d</td>"
        "</tr></table><ol start=\"3\"><li>x<ul><li>y</li></ul></li></ol><hr>"_s,
        {});
    QCOMPARE(editor.plainForm(), u"See this <https://x.example/long> and https://y.example\na  b\nc  d\n"
                                 "3. x\n  - y\n________________________________________\n"_s);
    setStringSetting(Setting::QuotePrefix, u"| "_s);
    editor.setPlain(u"| quoted\n|| deeper\nwww.x.example\n"_s);
    QCOMPARE(editor.html().count(u"<blockquote"_s), 2);
    QVERIFY(editor.html().contains(u"<a href=\"http://www.x.example\">www.x.example</a>"_s));
    QCOMPARE(editor.plainForm(), u"| quoted\n|| deeper\nwww.x.example\n"_s);
    resetSettings();
}

/// What is written below a signature is no part of it.
void ComposeHtmlTest::signatureMarkIsNotTyped()
{
    RichEditor editor;
    editor.setContents(u"<p>t</p><div class=\"signature\"><p>Clara</p></div>"_s, {});
    editor.moveCursor(QTextCursor::End);
    QTest::keyClick(&editor, Qt::Key_Return);
    QTest::keyClicks(&editor, u"PS"_s);
    const QString html = editor.html();
    QVERIFY2(html.indexOf(u"PS"_s) > html.indexOf(u"</div>"_s, html.indexOf(u"Clara"_s)), qPrintable(html));
    QCOMPARE(html.count(u"class=\"signature\""_s), 1);
    QVERIFY(!editor.document()->lastBlock().blockFormat().boolProperty(composeformat::IsSignature));
}

void ComposeHtmlTest::leavesListsAndQuotations()
{
    RichEditor editor;
    editor.setPlain(u"> quoted"_s);
    editor.moveCursor(QTextCursor::End);
    QTest::keyClick(&editor, Qt::Key_Return);
    QTest::keyClick(&editor, Qt::Key_Return); // in the empty line: out of the quotation
    QTest::keyClicks(&editor, u"answer"_s);
    QCOMPARE(editor.plainForm(), u"> quoted\nanswer\n"_s);
    editor.setPlain(u"a"_s);
    editor.setList(true, true);
    editor.moveCursor(QTextCursor::End);
    QTest::keyClick(&editor, Qt::Key_Return);
    QTest::keyClick(&editor, Qt::Key_Tab);
    QTest::keyClicks(&editor, u"b"_s);
    QTest::keyClick(&editor, Qt::Key_Return);
    QTest::keyClick(&editor, Qt::Key_Backtab);
    QTest::keyClicks(&editor, u"c"_s);
    QCOMPARE(editor.plainForm(), u"1. a\n  1. b\n2. c\n"_s);
    QTest::keyClick(&editor, Qt::Key_Return);
    QTest::keyClick(&editor, Qt::Key_Return);
    QTest::keyClicks(&editor, u"d"_s);
    QCOMPARE(editor.plainForm(), u"1. a\n  1. b\n2. c\nd\n"_s);
}

void ComposeHtmlTest::insertsPictures()
{
    QImage image(2000, 10, QImage::Format_RGB32);
    image.fill(Qt::red);
    const QString path = m_scratch.path(u"wide.png"_s);
    QVERIFY(image.save(path));
    RichEditor editor;
    QVERIFY(editor.insertPictureFile(path));
    QVERIFY(!editor.insertPictureFile(m_scratch.write(u"no.png"_s, "text")));
    QVERIFY(!editor.insertPictureFile(m_scratch.path(u"gone.png"_s)));
    QCOMPARE(editor.pictures().size(), 1);
    QCOMPARE(editor.pictures().at(0).name, u"wide.png"_s);
    QVERIFY(
        editor.html().contains(u"<img src=\"cid:"_s + QString::fromUtf8(editor.pictures().at(0).contentId)));
    QVERIFY(editor.html().contains(u"width=\"640\""_s));
    RichEditor again;
    again.setContents(editor.html(), editor.pictures());
    QCOMPARE(again.pictures().size(), 1);
    editor.undo(); // what is not in the text does not go along
    QVERIFY(editor.pictures().isEmpty());
}

void ComposeHtmlTest::hostileHtmlIsPasted()
{
    RichEditor editor;
    drop(&editor,
         ::html(u"<p onclick=\"x()\">a<script>alert(1)</script><img src=\"file:///etc/passwd\">"
                "<img src=\"cid:other@x\"><img src=\"https://tracker.example/p.png\"><img "
                "src=\"data:image/png;base64,AAAA\"><link rel=\"stylesheet\" href=\"file:///x.css\">"
                "<a href=\"javascript:x()\">b</a></p><table><tr><td>cell</td><td>cell</td></tr></table>"_s));
    const QString html = editor.html();
    for (const char *never : {"script", "passwd", "onclick", "javascript", "<img", "tracker", "x.css"})
        QVERIFY2(!html.contains(QLatin1StringView(never)), qPrintable(html));
    QVERIFY(html.contains(u'a') && html.contains(u'b'));
    QVERIFY2(html.contains(u"<td"_s), qPrintable(html));
    QVERIFY(editor.pictures().isEmpty());
}

QTEST_MAIN(ComposeHtmlTest)
#include "composehtml_test.moc"
