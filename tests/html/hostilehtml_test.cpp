#include "html/htmltotext.h"
#include "html/parsedhtml.h"
#include "html/prescan.h"
#include "html/sanitizer.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;

/// Text made to keep a reader busy. What matters is not the time on one machine but what time grows with: the
/// nodes that the parser makes, how deep they lie, and what is handed on to be laid out.
class HostileHtmlTest : public QObject
{
    Q_OBJECT

private slots:
    void bounds_data();
    void bounds();
    void tagSoup();
    void tables_data();
    void tables();
    void cutAnywhere();
};

namespace {

struct Size
{
    qsizetype nodes = 0;
    qsizetype depth = 0;
};

Size sizeOf(const ParsedHtml &parsed)
{
    Size size;
    qsizetype depth = 0;
    walk(
        parsed.root(),
        [&](const GumboNode *node) {
            ++size.nodes;
            depth += isElement(node);
            size.depth = std::max(size.depth, depth);
            return true;
        },
        [&](const GumboNode *) { --depth; });
    return size;
}

/// How deep tables lie in what is shown.
int tableDepth(const QString &html)
{
    int depth = 0;
    int deepest = 0;
    for (qsizetype at = 0; (at = html.indexOf(u'<', at)) >= 0; ++at) {
        const QStringView tag = QStringView(html).sliced(at + 1);
        depth += tag.startsWith(u"table") ? 1 : tag.startsWith(u"/table") ? -1 : 0;
        deepest = std::max(deepest, depth);
    }
    return depth == 0 ? deepest : -1;
}

} // namespace

void HostileHtmlTest::bounds_data()
{
    QTest::addColumn<QString>("html");
    const auto row = [](const char *name, const QString &piece, int times, const QString &after = QString()) {
        QTest::newRow(name) << piece.repeated(times) + after + u"end"_s;
    };
    row("nested blocks", u"<div>"_s, 20'000);
    row("nested blocks with text", u"<div>a"_s, 20'000, u"</div>b"_s.repeated(20'000));
    row("open bold", u"<b>x"_s, 100'000);
    row("open bold, each its own", u"<b class=a><b class=b><font size=1>"_s, 30'000);
    row("open links", u"<a href=http://x>x"_s, 100'000);
    row("bold left open in blocks", u"<div><b class=q>x</div>"_s, 50'000);
    row("paragraphs that take fonts along", u"<p><font color=red><i>x"_s, 50'000);
    row("misnested", u"<b><p><i></b></p></i>"_s, 20'000);
    row("text between rows", u"<table><b>x<tr>y"_s, 20'000);
    row("tables in tables", u"<table><tr><td>"_s, 20'000);
    row("tables that never have a cell", u"<table>"_s, 50'000);
    row("open links in tags", u"<link "_s, 50'000);
    row("open comments", u"<!--"_s, 100'000);
    row("open scripts", u"<script>"_s, 100'000);
    row("open quotes", u"<a href=\"x' "_s, 100'000);
    row("angle brackets", u"<"_s, 200'000);
    row("NULs", QString(QChar(0)) + u"<b>a"_s, 20'000);
    row("one word", u"a"_s, 2'000'000);
    row("items", u"<li>x"_s, 100'000);
    row("lists", u"<ul><li>x"_s, 20'000);
    row("quotations", u"<blockquote>x"_s, 20'000);
    row("headings", u"<h1><h2>"_s, 50'000);
    row("ruby and options", u"<rt><option><select>x"_s, 20'000);
    row("plain text for ever", u"<plaintext>"_s, 50'000);
    row("pictures", u"<img src=cid:x>"_s, 20'000);
    row("accents", u"a"_s + QString(1000, QChar(0x301)), 20);
    row("drawings", u"<svg><math><foreignObject>"_s, 20'000);
    row("spans", u"<tr><td colspan=60000 rowspan=60000>x"_s, 400);
}

void HostileHtmlTest::bounds()
{
    QFETCH(QString, html);
    const Prescan scanned = prescan(html, HtmlOptions::kFirstLook);
    QVERIFY(scanned.html.size() <= HtmlOptions::kFirstLook + 4096);
    const Size size = sizeOf(ParsedHtml(scanned.html));
    QVERIFY2(size.nodes <= scanned.html.size() / 2 + 10, qPrintable(QString::number(size.nodes)));
    QVERIFY2(size.depth <= kDeepestElement * 3 / 2, qPrintable(QString::number(size.depth)));
    const SafeHtml safe = sanitizeHtml(html);
    QVERIFY(safe.html.size() <= HtmlOptions::kFirstLook * 4);
    QVERIFY(safe.truncated || safe.html.contains(u"end"));
    QVERIFY(safe.html.count(u"<img") <= 400);         // each is an object of its own to the layout
    QVERIFY(safe.html.count(QChar(0x301)) <= 8 * 20); // shaping is quadratic in the marks on a letter
}

/// Pieces of markup in no order: the scan's idea of what is open and the parser's must not drift apart.
void HostileHtmlTest::tagSoup()
{
    static constexpr const char *kPieces[] = {"<b>",         "</b>",
                                              "<i class=x>", "</i>",
                                              "<a href=#x>", "</a>",
                                              "<p>",         "</p>",
                                              "<div>",       "</div>",
                                              "<table>",     "</table>",
                                              "<tr>",        "<td>",
                                              "</td>",       "</tr>",
                                              "<tbody>",     "<caption>",
                                              "</caption>",  "<ul>",
                                              "</ul>",       "<li>",
                                              "<dl>",        "<dd>",
                                              "<h1>",        "</h2>",
                                              "<nobr>",      "<font size=2>",
                                              "</font>",     "<pre>",
                                              "</pre>",      "<hr>",
                                              "<br>",        "<body bgcolor=red>",
                                              "</body>",     "<html>",
                                              "<head>",      "<form>",
                                              "<button>",    "<select>",
                                              "<svg>",       "</svg>",
                                              "<math>",      "<frameset>",
                                              "<textarea>",  "</textarea>",
                                              "<input>",     "<img>",
                                              "text",        " ",
                                              "&amp",        "<",
                                              "<!--",        "-->"};
    QRandomGenerator random(20);
    for (int round = 0; round < 25; ++round) {
        QString html;
        for (int i = 0; i < 2000; ++i)
            html += QLatin1StringView(kPieces[random.bounded(int(std::size(kPieces)))]);
        const Prescan scanned = prescan(html, HtmlOptions::kFirstLook);
        const Size size = sizeOf(ParsedHtml(scanned.html));
        QVERIFY2(size.nodes <= 4 * 2000, qPrintable(QString::number(size.nodes)));
        QVERIFY(size.depth <= kDeepestElement * 3 / 2);
        QVERIFY(tableDepth(sanitizeHtml(html).html) >= 0);
        QVERIFY(htmlToText(html).size() < 8 * html.size());
    }
}

void HostileHtmlTest::tables_data()
{
    QTest::addColumn<QString>("html");
    QTest::addColumn<int>("deepest");
    QTest::addColumn<int>("most");
    const QString level = u"<table border=1><tr><td>left<td>right "_s;
    QTest::newRow("three") << level.repeated(3) << 3 << 3;
    QTest::newRow("twenty") << level.repeated(20) << 8 << 8;
    QTest::newRow("much text inside eight") << level.repeated(8) + u"word "_s.repeated(20'000) << 3 << 3;
    QTest::newRow("one after the other") << (level + u"</table>"_s).repeated(500) << 1 << 80;
    QTest::newRow("20,000 cells") << u"<table border=1>"_s +
                                         (u"<tr>"_s + u"<td>x"_s.repeated(10)).repeated(2000)
                                  << 0 << 0;
    QTest::newRow("huge spans") << u"<table border=1>"_s +
                                       u"<tr><td colspan=999 rowspan=999>x<td>y"_s.repeated(400)
                                << 0 << 0;
    QTest::newRow("padded blocks") << u"<div style='padding:5px;background:#eee'>a"_s.repeated(5000) << 2
                                   << 80;
}

void HostileHtmlTest::tables()
{
    QFETCH(QString, html);
    const QString shown = sanitizeHtml(html).html;
    QTEST(tableDepth(shown), "deepest");
    QFETCH(int, most);
    QVERIFY2(shown.count(u"<table"_s) <= most, qPrintable(QString::number(shown.count(u"<table"_s))));
}

void HostileHtmlTest::cutAnywhere()
{
    const QString whole =
        u"<!DOCTYPE html><style>.a{color:red}</style><body bgcolor=#fff><!-- c --><table border=1><tr>"
        "<td class=a style=\"padding:3px\">ä&amp;<a href='http://x.example/'>y</a><img src=\"cid:1\">"
        "</table><textarea>x</textarea><script>z</script>"_s;
    for (qsizetype length = 0; length <= whole.size(); ++length) {
        const SafeHtml safe = sanitizeHtml(whole.first(length));
        QVERIFY2(safe.html.startsWith(u"<html>") && safe.html.endsWith(u"</body></html>"),
                 qPrintable(safe.html));
        QCOMPARE(safe.html.count(u'<'), safe.html.count(u'>'));
    }
}

QTEST_GUILESS_MAIN(HostileHtmlTest)
#include "hostilehtml_test.moc"
