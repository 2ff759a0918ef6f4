#include "html/sanitizer.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

class SanitizerTest : public QObject
{
    Q_OBJECT

private slots:
    void body_data();
    void body();
    void links_data();
    void links();
    void pictures_data();
    void pictures();
    void picturesAreListed();
    void linksThatDeceive();
    void colours_data();
    void colours();
    void theCap();
    void contrast_data();
    void contrast();
    void widths_data();
    void widths();
};

namespace {

/// What stands between <body> and </body>.
QString bodyOf(const QString &html)
{
    const qsizetype begin = html.indexOf(u'>', html.indexOf(u"<body"_s)) + 1;
    return html.sliced(begin, html.lastIndexOf(u"</body>"_s) - begin);
}

} // namespace

void SanitizerTest::body_data()
{
    QTest::addColumn<QString>("written");
    QTest::addColumn<QString>("shown");
    const auto row = [](const char *name, const char *written, const char *shown) {
        QTest::newRow(name) << QString::fromUtf8(written) << QString::fromUtf8(shown);
    };
    row("text is text", "1 &lt; 2 &amp; \"3\" > 2", "1 &lt; 2 &amp; &quot;3&quot; &gt; 2");
    row("a script", "a<script>alert('</b>')</script>b", "ab");
    row("a script in odd letters", "a<ScRiPt\n>x</sCrIpT >b", "ab");
    row("a script inside a script", "<scr<script>x</script>ipt>alert(1)</script>", "xipt&gt;alert(1)");
    row("event handlers", "<p onclick=x() ONLOAD='y' on\tfoo=1>a</p>", "<p>a</p>");
    row("a slash for a blank", "<b/onmouseover=x>a</b>", "<b>a</b>");
    row("frames and objects", "<iframe src=//x>in</iframe><object data=x>o</object><embed src=x>e", "oe");
    row("meta and base", "<meta http-equiv=refresh content='0;url=//x'><base href=//x>a", "a");
    row("a form's words stay",
        "<form action=//x><label>Name</label><input value=Me><button>Go</button></form>", "Name[Me]Go");
    row("boxes to tick", "<input type=checkbox checked>a <input type=radio>b", "☑ a ○ b");
    row("hidden fields", "<input type=hidden value=x><input type=password value=y>a", "a");
    row("what is typed into", "<textarea><script>x</script></textarea>",
        "<pre style=\"white-space:pre-wrap\">&lt;script&gt;x&lt;/script&gt;</pre>");
    row("markup through noscript", "<noscript><p title=\"</noscript><img src=x onerror=y>\">a", "<p>a</p>");
    row("markup through svg", "<svg><style><img src=x onerror=y></style></svg>a", "a");
    row("markup through math", "<math><mtext><table><mglyph><style><img src=x onerror=y></style>",
        "<div></div>");
    row("markup through a title", "<title><b>no</b></title>a", "a");
    row("an open title hides nothing", "<title>a", "a");
    row("an open comment hides nothing", "<!-- x>a", "a");
    row("comments", "a<!-- <b> -- > -->b<!-->c", "abc");
    row("conditional comments", "<!--[if mso]>x<![endif]--><![if !mso]>a<![endif]>", "a");
    row("a tag of its own kind", "<o:p>a</o:p><x-y>b</x-y>", "ab");
    row("style that loads", "<p style=\"background:url(//x) #eee; color:expression(x)\">a</p>",
        "<p style=\"background-color:#eeeeee\">a</p>");
    row("style that moves", "<p style='position:fixed;left:0;z-index:9;margin-left:-900px'>a</p>",
        "<p style=\"margin-left:0px\">a</p>");
    row("style that is huge", "<p style='font-size:900px;margin-top:9e9px'>a</p>",
        "<p style=\"font-size:72px;margin-top:100px\">a</p>");
    row("style that breaks out", "<p style='font-family:a&quot;&gt;&lt;b;color:red'>a</p>",
        "<p style=\"color:#ff0000;font-family:ab\">a</p>");
    row("not displayed", "a<div style='DISPLAY : none !important'>b<p>c</p></div>d", "ad");
    row("hidden by attribute", "a<p hidden>b</p>c", "ac");
    row("hidden from one program", "a<p style='mso-hide:all'>b</p>c", "ac");
    row("hidden, shown again inside", "<p style='visibility:hidden'>a<b style='visibility:visible'>b</b></p>",
        "<p><b>b</b></p>");
    row("letters of no size", "<p style='font-size:0'>a<i style='font-size:12px'>b</i></p>",
        "<p><i style=\"font-size:12px\">b</i></p>");
    row("a picture between letters of no size", "<p style='font-size:0'>a<img src=x alt=b></p>", "<p>b</p>");
    row("of no height", "a<div style='max-height:0;overflow:hidden'>b</div>c", "ac");
    row("no opacity", "a<span style='opacity:0'>b</span>c", "ac");
    row("a rule for a class", "<style>.x{color:#123}p.x b{font-style:italic}</style><p class=x>a<b>c</b></p>",
        "<p style=\"color:#112233\">a<b style=\"font-style:italic\">c</b></p>");
    row("the more specific rule",
        "<style>#i{color:red}.x{color:blue}p{color:lime}</style><p class=x id=i>a</p>",
        "<p style=\"color:#ff0000\">a</p>");
    row("a rule that hides", "<style>.x{display:none}</style>a<p class='y x'>b</p>", "a");
    row("rules for paper and for phones",
        "<style>@media print{p{color:red}}@media "
        "(max-width:9px){p{display:none}}p{color:blue}</style><p>a</p>",
        "<p style=\"color:#0000ff\">a</p>");
    row("what is said twice", "<p style='color:red'><font color=red>a</font></p>",
        "<p style=\"color:#ff0000\">a</p>");
    row("a padded block is a table", "<div style='padding:4px;background:#eee'>a</div>",
        "<table cellspacing=\"0\" cellpadding=\"0\" width=\"100%\"><tr><td style=\"background-color:#eeeeee;"
        "padding-top:4px;padding-right:4px;padding-bottom:4px;padding-left:4px\">a</td></tr></table>");
    row("a block in the middle", "<div style='max-width:600px;margin:0 auto'>a</div>",
        "<table cellspacing=\"0\" cellpadding=\"0\" width=\"600\" align=\"center\" style=\"margin-top:0px;"
        "margin-bottom:0px\"><tr><td width=\"600\">a</td></tr></table>");
    row("padding alone is a margin", "<div style='padding-left:4px'>a</div>",
        "<div style=\"margin-left:4px\">a</div>");
    row("a table that only wraps", "<table width='100%' border=0><tr><td>a</td></tr></table>",
        "<div><div><div>a</div></div></div>");
    row("text between cells", "<table border=1>x<tr><td>a</td></tr></table>",
        "<table cellpadding=\"1\" cellspacing=\"2\" "
        "border=\"1\"><tr><td>x</td></tr><tr><td>a</td></tr></table>");
    row("formatting over paragraphs", "<p><b>a<p>b</b>c", "<p><b>a</b></p><p><b>b</b>c</p>");
    row("misnested", "<b>a<i>b</b>c</i>d", "<b>a<i>b</i></b><i>c</i>d");
    row("a word without end", QByteArray(100, 'x').constData(),
        (QByteArray(80, 'x') + "\u200B" + QByteArray(20, 'x')).constData());
    row("what a document keeps for itself", "a\uFFFCb\uFDD0c&#xFDD1;&#1;d", "ab\uFFFDcd");
    row("blanks", "a \n\t b<pre> c\n d</pre>", "a b<pre style=\"white-space:pre-wrap\"> c\n d</pre>");
}

void SanitizerTest::body()
{
    QFETCH(QString, written);
    const SafeHtml safe = sanitizeHtml(written);
    QTEST(bodyOf(safe.html), "shown");
    QVERIFY(!safe.truncated);
}

void SanitizerTest::links_data()
{
    QTest::addColumn<QString>("href");
    QTest::addColumn<QString>("target"); // empty: no link
    QTest::newRow("https") << u" HTTPS://x.example/?a=1&amp;b='2' "_s << u"HTTPS://x.example/?a=1&b='2'"_s;
    QTest::newRow("mail") << u"mailto:a@b.example"_s << u"mailto:a@b.example"_s;
    QTest::newRow("news") << u"news:comp.lang.c++"_s << u"news:comp.lang.c++"_s;
    QTest::newRow("no scheme") << u"//x.example/"_s << u"https://x.example/"_s;
    QTest::newRow("inside the text") << u"#top"_s << u"#top"_s;
    QTest::newRow("a quote") << u"http://x/&quot;onclick=y"_s << u"http://x/\"onclick=y"_s;
    for (const char *bad :
         {"javascript:x", "JaVa\tScRiPt:x", "java&#10;script:x", "&#106;avascript:x", " javascript:x",
          "\x01javascript:x", "javascript&colon;x", "data:text/html,x", "vbscript:x", "file:///etc/passwd",
          "about:blank", "x.html", "/x", "", "cid:x", "blob:x", "jar:http://x"})
        QTest::newRow(bad) << QString::fromUtf8(bad) << QString();
}

void SanitizerTest::links()
{
    QFETCH(QString, href);
    QFETCH(QString, target);
    const SafeHtml safe = sanitizeHtml(u"<a href=\"%1\" target=_blank ping=x>a</a>"_s.arg(href));
    const bool listed = !target.isEmpty() && !target.startsWith(u'#');
    QCOMPARE(safe.links, listed ? QStringList(target) : QStringList());
    QCOMPARE(bodyOf(safe.html),
             target.isEmpty() ? u"a"_s : u"<a href=\"%1\">a</a>"_s.arg(target.toHtmlEscaped()));
}

void SanitizerTest::pictures_data()
{
    QTest::addColumn<QString>("attributes");
    QTest::addColumn<bool>("remote");
    QTest::addColumn<QString>("shown");
    const QString none;
    QTest::newRow("part of the mail")
        << u"src=cid:a%40b width=10"_s << false << u"<img src=\"cid:a%40b\" width=\"10\">"_s;
    QTest::newRow("in the text") << u"src='data:image/png;base64,AAAA'"_s << false
                                 << u"<img src=\"data:image/png;base64,AAAA\">"_s;
    QTest::newRow("a drawing in the text")
        << u"src='data:image/svg+xml;base64,AAAA' alt=x"_s << false << u"x"_s;
    QTest::newRow("a page in the text") << u"src='data:text/html,AAAA'"_s << false << none;
    QTest::newRow("not base64") << u"src='data:image/png;base64,AA\"><b>'"_s << false << none;
    QTest::newRow("on the net") << u"src=http://x/y.png alt='A &lt; picture'"_s << false
                                << u"A &lt; picture"_s;
    QTest::newRow("on the net, asked for")
        << u"src=http://x/y.png"_s << true << u"<img src=\"http://x/y.png\">"_s;
    QTest::newRow("on the net by half an address")
        << u"src=//x/y.png"_s << true << u"<img src=\"https://x/y.png\">"_s;
    QTest::newRow("counts readers") << u"src=http://x/y width=1 height=1"_s << true << none;
    QTest::newRow("counts readers by style")
        << u"src=http://x/y style='width:1px;height:1px'"_s << true << none;
    QTest::newRow("a file") << u"src=file:///etc/passwd"_s << true << none;
    QTest::newRow("beside the text") << u"src=y.png alt=x"_s << true << u"x"_s;
    QTest::newRow("too wide") << u"src=cid:x width=1600 height=100"_s << false
                              << u"<img src=\"cid:x\" width=\"800\" height=\"50\">"_s;
}

void SanitizerTest::pictures()
{
    QFETCH(QString, attributes);
    QFETCH(bool, remote);
    HtmlOptions options;
    options.remoteImages = remote;
    QTEST(bodyOf(sanitizeHtml(u"<img %1 onerror=x>"_s.arg(attributes), options).html), "shown");
}

void SanitizerTest::picturesAreListed()
{
    const SafeHtml safe =
        sanitizeHtml(u"<img src=http://a/1><img src=http://a/1><img src=http://t/2 width=1 height=1>"
                     "<img src=CID:x%40y><img src=cid:z><table background=http://a/3></table>"_s);
    QCOMPARE(safe.remoteImages, QStringList{u"http://a/1"_s});
    QCOMPARE(safe.cids, (QStringList{u"x@y"_s, u"z"_s}));
    const QString picture =
        u"<img src=data:image/png;base64,%1>"_s.arg(QString(HtmlOptions::kFirstLook * 2, u'A'));
    const SafeHtml large = sanitizeHtml(picture + u"<p>after</p>"_s);
    QVERIFY(!large.truncated);
    QVERIFY(large.html.contains(u"<p>after</p>"));
}

void SanitizerTest::linksThatDeceive()
{
    const SafeHtml safe = sanitizeHtml(u"<a href=http://evil.example/><b>www.bank</b>.example</a>"
                                       "<a href=http://login.bank.example/>bank.example</a>"
                                       "<a href=http://evil.example/>Log in</a>"_s);
    QCOMPARE(safe.links.size(), 3);
    QCOMPARE(safe.deceptiveLinks.size(), 1);
    QCOMPARE(safe.deceptiveLinks.first().text, u"www.bank.example"_s);
    QCOMPARE(safe.deceptiveLinks.first().target, u"http://evil.example/"_s);
}

void SanitizerTest::colours_data()
{
    QTest::addColumn<QString>("written");
    QTest::addColumn<bool>("own");
    QTest::addColumn<QString>("background");
    QTest::newRow("none") << u"<p style='font-weight:bold'>a"_s << false << QString();
    QTest::newRow("black text") << u"<font color=black>a"_s << false << QString();
    QTest::newRow("a colour") << u"<font color=red>a"_s << true << QString();
    QTest::newRow("a page") << u"<body bgcolor=ABCDEF>a"_s << true << u"#abcdef"_s;
    QTest::newRow("a page by style") << u"<body style='background:hsl(120,100%,50%)'>a"_s << true
                                     << u"#00ff00"_s;
    QTest::newRow("half transparent")
        << u"<body style='background:rgba(0,0,0,.5)'>a"_s << true << u"#808080"_s;
    QTest::newRow("transparent") << u"<body style='background:transparent'>a"_s << false << QString();
    QTest::newRow("a cell") << u"<table><tr><td bgcolor=#eee>a<td>b"_s << true << QString();
    QTest::newRow("no colour at all") << u"<font color='nonesuch'>a"_s << false << QString();
}

void SanitizerTest::colours()
{
    QFETCH(QString, written);
    const SafeHtml safe = sanitizeHtml(written);
    QTEST(safe.hasOwnColours, "own");
    QTEST(safe.background, "background");
}

void SanitizerTest::theCap()
{
    HtmlOptions options;
    options.cap = 100;
    const SafeHtml words = sanitizeHtml(u"<p>"_s + u"word &amp; "_s.repeated(50), options);
    QVERIFY(words.truncated);
    QVERIFY2(words.html.endsWith(u"word</p></body></html>") ||
                 words.html.endsWith(u"&amp;</p></body></html>"),
             qPrintable(words.html));
    const SafeHtml exact = sanitizeHtml(u"<p>short</p>"_s, options);
    QVERIFY(!exact.truncated);
}

void SanitizerTest::contrast_data()
{
    QTest::addColumn<QString>("written");
    QTest::addColumn<QString>("colour"); // of the last text; empty: none is said
    QTest::newRow("nothing said") << u"a"_s << QString();
    QTest::newRow("black on nothing") << u"<p style='color:black'>a"_s << QString();
    QTest::newRow("black on white") << u"<p style='color:black;background:#fff'>a"_s << u"#000000"_s;
    QTest::newRow("readable") << u"<p style='color:#767676'>a"_s << u"#767676"_s;
    QTest::newRow("white on nothing") << u"<p style='color:#fff'>a"_s << u"#737373"_s;
    QTest::newRow("dark on dark") << u"<p style='background:#222;color:#333'>a"_s << u"#8e8e8e"_s;
    QTest::newRow("the ground darkens") << u"<body bgcolor=black><p>a"_s << u"#f2f4f5"_s;
    QTest::newRow("a row darkens") << u"<table border=1><tr bgcolor=black><td>a"_s << u"#f2f4f5"_s;
    QTest::newRow("a link on dark") << u"<body bgcolor=black><a href=http://x.example/>a"_s << u"#3b7f99"_s;
    QTest::newRow("light again inside")
        << u"<body bgcolor=black><p style='background:white'>a"_s << u"#1a2025"_s;
}

void SanitizerTest::contrast()
{
    QFETCH(QString, written);
    static const QRegularExpression colours(u"[^-]color:(#[0-9a-f]{6})"_s);
    QString last;
    for (const QRegularExpressionMatch &match : colours.globalMatch(sanitizeHtml(written).html))
        last = match.captured(1);
    QTEST(last, "colour");
}

void SanitizerTest::widths_data()
{
    QTest::addColumn<QString>("written");
    QTest::addColumn<QStringList>("widths");
    QTest::newRow("fits") << u"<table width=300 border=1><tr><td width=100>a<td>b</table>"_s
                          << QStringList{u"300"_s, u"100"_s};
    QTest::newRow("too wide") << u"<table width=800 border=1><tr><td width=600>a<td width=200>b</table>"_s
                              << QStringList{u"100%"_s, u"75%"_s, u"25%"_s};
    QTest::newRow("cells too wide") << u"<table border=1><tr><td width=600>a<td width=200>b</table>"_s
                                    << QStringList{u"100%"_s, u"75%"_s, u"25%"_s};
    QTest::newRow("tables inside") << u"<table width=800 border=1><tr><td><table width=400 border=1><tr>"
                                      "<td>a<td>b</table><td>c</table>"_s
                                   << QStringList{u"100%"_s, u"200"_s};
    QTest::newRow("a picture inside")
        << u"<table width=800 border=1><tr><td>b<td><img src=cid:x width=300 height=100></table>"_s
        << QStringList{u"100%"_s, u"150"_s};
    QTest::newRow("a picture") << u"<img src=cid:x width=500 height=100>"_s << QStringList{u"400"_s};
    QTest::newRow("a block") << u"<div style='max-width:900px;margin:0 auto'>a</div>"_s
                             << QStringList{u"100%"_s};
}

void SanitizerTest::widths()
{
    QFETCH(QString, written);
    HtmlOptions options;
    options.width = 400;
    const SafeHtml safe = sanitizeHtml(written, options);
    static const QRegularExpression given(u" width=\"([0-9]+%?)\""_s);
    QStringList widths;
    for (const QRegularExpressionMatch &match : given.globalMatch(safe.html))
        widths.append(match.captured(1));
    QTEST(widths, "widths");
    QVERIFY(safe.widest >= 300 || written.contains(u"<img src=cid:x width=500"_s));
}

QTEST_GUILESS_MAIN(SanitizerTest)
#include "sanitizer_test.moc"
