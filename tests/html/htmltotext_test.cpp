#include "html/htmltotext.h"

#include <QTest>

using namespace Qt::StringLiterals;

class HtmlToTextTest : public QObject
{
    Q_OBJECT

private slots:
    void text_data();
    void text();
    void withoutMarks();
};

void HtmlToTextTest::text_data()
{
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("plain");
    const auto row = [](const char *name, const char *html, const char *plain) {
        QTest::newRow(name) << QString::fromUtf8(html) << QString::fromUtf8(plain);
    };
    row("nothing", " <p> </p>\n", "");
    row("paragraphs", "<p>one\n two</p><p>three</p>", "one two\n\nthree\n");
    row("lines", "<div>a</div><div>b<br>c</div><div><br></div><div>d</div>", "a\nb\nc\n\nd\n");
    row("references", "a&nbsp;&lt;b&gt; &euro;", "a <b> €\n");
    row("a list", "x<ul><li>a<li>b<ul><li>c</ul></ul>y", "x\n- a\n- b\n  - c\n\ny\n");
    row("numbers", "<ol start=9><li>a<li><p>b</p></ol>", "9. a\n10. b\n");
    row("a link", "<a href=http://x.example/>here</a> and", "here <http://x.example/> and\n");
    row("a link that shows itself", "<a href=http://x.example/>x.example</a>", "x.example\n");
    row("a link to nothing good", "<a href=javascript:x>here</a>", "here\n");
    row("a table", "<table><tr><td>a<td>b<tr><td>c<td>d</table>e", "a b\nc d\ne\n");
    row("a quotation", "<p>hi</p><blockquote>a<p>b</p><blockquote>c</blockquote></blockquote>d",
        "hi\n\n> a\n>\n> b\n>\n> > c\n\nd\n");
    row("as written", "<pre>a  b\n\n c</pre>d", "a  b\n\n c\n\nd\n");
    row("pictures", "<img src=x alt='a cat'>!", "a cat!\n");
    row("scripts and styles", "<style>p{}</style><script>x</script>a<title>t</title>", "a\n");
    row("what is hidden", "<style>.h{display:none}</style><p class=h>x</p><p style='font-size:0'>y</p>a",
        "a\n");
    row("filling of previews", "a&#847;&zwnj;&shy;&#xFEFF;b", "ab\n");
}

void HtmlToTextTest::text()
{
    QFETCH(QString, html);
    QTEST(htmlToText(html), "plain");
}

void HtmlToTextTest::withoutMarks()
{
    HtmlTextOptions options;
    options.quotes = options.links = false;
    QCOMPARE(htmlToText(u"<blockquote><a href=http://x>a</a></blockquote>"_s, options), u"a\n"_s);
    options.cap = 30;
    QVERIFY(htmlToText(u"word "_s.repeated(100), options).size() <= 31);
}

QTEST_GUILESS_MAIN(HtmlToTextTest)
#include "htmltotext_test.moc"
