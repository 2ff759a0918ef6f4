#include "html/htmltotext.h"
#include "html/parsedhtml.h"
#include "html/prescan.h"
#include "html/sanitizer.h"

#include <QRandomGenerator>
#include <QRegularExpression>
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
    void asksNobody_data();
    void asksNobody();
    void countsWhatCounts_data();
    void countsWhatCounts();
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

/// Every way that a browser knows to load something. What is left names no place on the net but in links.
void HostileHtmlTest::asksNobody_data()
{
    QTest::addColumn<QString>("html");
    for (const char *html : {"<img src=URL>",
                             "<IMG SRC='URL'>",
                             "<img/src=URL>",
                             "<img srcset='URL 1x, URL?2 2x'>",
                             "<img src=x srcset=URL>",
                             "<img src=' URL '>",
                             "<img src=\"ht\ttp://n.example/x\">",
                             "<img src='&#104;ttp://n.example/x'>",
                             "<img src='http&colon;//n.example/x'>",
                             "<img src=\"\x01http://n.example/x\">",
                             "<img lowsrc=URL dynsrc=URL>",
                             "<img src=//n.example/x>",
                             "<img src='\\\\n.example\\x'>",
                             "<img src=file://n.example/x>",
                             "<img src='http:\\\\n.example\\x'>",
                             "<img src='http://u:p@n.example/x'>",
                             "<img src='cid:http://n.example/x'>",
                             "<img src='data:image/svg+xml;base64,AAAA'>",
                             "<img src='data:image/svg+xml,<svg><image href=URL>'>",
                             "<img src='data:text/html,<img src=URL>'>",
                             "<img src=ftp://n.example/x>",
                             "<picture><source srcset=URL><img src=URL></picture>",
                             "<input type=image src=URL>",
                             "<body background=URL>",
                             "<table background=URL><tr background=URL><td background=URL>x</table>",
                             "<div style='background:url(URL)'>x</div>",
                             "<div style='background-image:url(\"URL\")'>x</div>",
                             "<div style='BACKGROUND:URL(  URL  )'>x</div>",
                             "<div style='background:u\\rl(URL)'>x</div>",
                             "<ul style='list-style-image:url(URL)'><li>x</ul>",
                             "<p style='cursor:url(URL),auto'>x</p>",
                             "<p style='content:url(URL)'>x</p>",
                             "<p style='border-image:url(URL) 1'>x</p>",
                             "<style>@import 'URL';@import url(URL);p{background:url(URL)}</style><p>x</p>",
                             "<style>@font-face{font-family:f;src:url(URL)}p{font-family:f}</style><p>x</p>",
                             "<style>p:before{content:url(URL)}</style><p>x</p>",
                             "<link rel=stylesheet href=URL>x",
                             "<link rel=preload href=URL as=image><link rel=dns-prefetch href=URL>x",
                             "<meta http-equiv=refresh content='0;url=URL'>x",
                             "<base href=URL><img src=x.png>",
                             "<iframe src=URL></iframe>x",
                             "<iframe srcdoc='<img src=URL>'></iframe>x",
                             "<frameset><frame src=URL>",
                             "<object data=URL></object>x",
                             "<embed src=URL>x",
                             "<applet code=URL></applet>x",
                             "<video src=URL poster=URL autoplay></video>x",
                             "<video><source src=URL><track src=URL></video>x",
                             "<audio src=URL autoplay></audio>x",
                             "<bgsound src=URL>x",
                             "<svg><image xlink:href=URL /></svg>x",
                             "<svg><use href=URL /></svg>x",
                             "<math href=URL>x</math>",
                             "<script src=URL></script>x",
                             "<form action=URL><input><button formaction=URL>x</button></form>",
                             "<isindex action=URL>x",
                             "<a ping=URL>x</a>",
                             "<noscript><img src=URL></noscript>x",
                             "<!--[if mso]><img src=URL><![endif]-->x",
                             "<v:image src=URL />x",
                             "<v:fill src=URL />x",
                             "<blockquote cite=URL>x</blockquote>",
                             "<html manifest=URL>x",
                             "<p style=\"behavior:url(URL);-moz-binding:url(URL)\">x</p>",
                             "<b style=\"filter:url(URL)\">x</b>",
                             "<table><img src=URL></table>",
                             "<textarea><img src=URL></textarea>"})
        QTest::newRow(html) << QString::fromUtf8(html).replace(u"URL"_s, u"http://n.example/x"_s);
}

void HostileHtmlTest::asksNobody()
{
    QFETCH(QString, html);
    static const QRegularExpression loads(
        u"(src|srcset|background|poster|data|action|style)\\s*=\\s*\"[^\"]*(n\\.example|//|\\\\)"_s,
        QRegularExpression::CaseInsensitiveOption);
    for (const bool consent : {false, true}) {
        HtmlOptions options;
        options.remoteImages = consent;
        const SafeHtml safe = sanitizeHtml(html, options);
        QString shown = safe.html;
        for (const QString &wanted : safe.remoteImages) { // what was asked for may be there
            QVERIFY2(wanted.startsWith(u"http://n.example/") || wanted == u"https://n.example/x"_s,
                     qPrintable(wanted));
            if (consent)
                shown.remove(u"src=\"%1\""_s.arg(wanted));
        }
        QVERIFY2(!shown.contains(loads) || shown.contains(u"src=\"cid:"), qPrintable(safe.html));
        QVERIFY2(!shown.contains(u"url(", Qt::CaseInsensitive), qPrintable(safe.html));
    }
}

void HostileHtmlTest::countsWhatCounts_data()
{
    QTest::addColumn<QString>("html");
    QTest::addColumn<int>("images");
    QTest::addColumn<int>("trackers");
    QTest::addColumn<int>("others");
    const auto row = [](const char *html, int images, int trackers, int others) {
        QTest::newRow(html) << QString::fromUtf8(html).replace(u"URL"_s, u"http://n.example"_s) << images
                            << trackers << others;
    };
    row("<img src=URL/1><img src=URL/1><img src=URL/2 width=600>", 2, 0, 0);
    row("<img src=URL/1 width=1 height=1>", 0, 1, 0);
    row("<img src=URL/1 width=0 height=0><img src=URL/2 height=1>", 0, 2, 0);
    row("<img src=URL/1 style='width:1px;height:1px'>", 0, 1, 0);
    row("<img src=URL/1 style='display:none'>", 0, 1, 0);
    row("<img src=URL/1 style='visibility:hidden' width=90 height=90>", 0, 1, 0);
    row("<img src=URL/1 hidden>", 0, 1, 0);
    row("<div style='display:none'><p><img src=URL/1></p></div>", 0, 1, 0);
    row("<div style='display:none'><img src=URL/1 width=300 height=200></div>", 0, 0, 0);
    row("<style>.t{display:none}</style><img class=t src=URL/1>", 0, 1, 0);
    row("<img src=URL/wf/open?upn=x alt=''>", 0, 1, 0);
    row("<img src=URL/wf/open?upn=x width=200 height=80>", 1, 0, 0);
    row("<img src=URL/news?about=/wf/open>", 1, 0, 0);
    row("<img src=URL/spacer width=1 height=20><img src=URL/line width=600 height=1>", 0, 0, 2);
    row("<img srcset='URL/1 1x, URL/2 2x'>", 1, 0, 0);
    row("<table background=URL/1><tr><td style='background:url(URL/2)'>x</table>", 0, 0, 2);
    row("<style>@import url(URL/1); p{color:red}</style><video poster=URL/2></video>", 0, 0, 2);
    row("<iframe src=URL/1></iframe><object data=URL/2></object><audio src=URL/3></audio>", 0, 0, 3);
    row("<a href=URL/1>x</a><img src=cid:x><img src=file:///x>", 0, 0, 0);
}

void HostileHtmlTest::countsWhatCounts()
{
    QFETCH(QString, html);
    const SafeHtml safe = sanitizeHtml(html);
    QTEST(int(safe.remoteImages.size()), "images");
    QTEST(int(safe.trackers.size()), "trackers");
    QTEST(safe.remoteOthers, "others");
    HtmlOptions consent;
    consent.remoteImages = true;
    const SafeHtml asked = sanitizeHtml(html, consent);
    QCOMPARE(asked.html.count(u"src=\"http"), asked.remoteImages.isEmpty() ? 0 : int(html.count(u"<img")));
    for (const QString &tracker : safe.trackers)
        QVERIFY(!asked.html.contains(tracker));
}

QTEST_GUILESS_MAIN(HostileHtmlTest)
#include "hostilehtml_test.moc"
