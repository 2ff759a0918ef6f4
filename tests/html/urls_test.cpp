#include "html/urls.h"

#include <QTest>

using namespace Qt::StringLiterals;

class UrlsTest : public QObject
{
    Q_OBJECT

private slots:
    void finding_data();
    void finding();
    void hosts_data();
    void hosts();
    void targets_data();
    void targets();
    void deceiving_data();
    void deceiving();
    void longLines();
    void tracking_data();
    void tracking();
    void confusable_data();
    void confusable();
    void remote_data();
    void remote();
};

void UrlsTest::finding_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("found"); // the text of each, and the target when it differs, in turn
    const auto row = [](const char *text, const QStringList &found) {
        QTest::newRow(text) << QString::fromUtf8(text) << found;
    };
    row("see http://a.example/b?c=d#e.", {u"http://a.example/b?c=d#e"_s});
    row("(see https://a.example/b)", {u"https://a.example/b"_s});
    row("https://a.example/b_(c), next", {u"https://a.example/b_(c)"_s});
    row("[http://a.example/[x]]", {u"http://a.example/[x]"_s});
    row("<http://a.example/>", {u"http://a.example/"_s});
    row("\"http://a.example\"", {u"http://a.example"_s});
    row("HTTP://A.EXAMPLE!", {u"HTTP://A.EXAMPLE"_s});
    row("www.a.example/x", {u"www.a.example/x"_s, u"http://www.a.example/x"_s});
    row("awww.a.example www. www.x", {});
    row("ftp.a.example", {u"ftp.a.example"_s, u"ftp://ftp.a.example"_s});
    row("news:comp.lang.c++, good news: none", {u"news:comp.lang.c++"_s});
    row("mail bob.b+c@a.example.", {u"bob.b+c@a.example"_s, u"mailto:bob.b+c@a.example"_s});
    row("mailto:bob@a.example", {u"mailto:bob@a.example"_s});
    row("<'bob'@a.example>", {u"bob'@a.example"_s, u"mailto:bob'@a.example"_s});
    row("a@b, @c.example, d@e., f@1.2", {});
    row("http://user@a.example/ b", {u"http://user@a.example/"_s});
    row("http:// https://)", {});
    row("http://a.example/ü http://b.example", {u"http://a.example/ü"_s, u"http://b.example"_s});
    row("„http://a.example“", {u"http://a.example"_s});
}

void UrlsTest::finding()
{
    QFETCH(QString, text);
    QStringList found;
    for (const UrlRange &url : findUrls(text)) {
        const QString shown = text.sliced(url.start, url.length);
        found.append(shown);
        if (url.target != shown)
            found.append(url.target);
    }
    QTEST(found, "found");
}

void UrlsTest::hosts_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("host");
    QTest::newRow("plain") << u"http://www.A.example/b"_s << u"a.example"_s;
    QTest::newRow("port") << u"https://a.example:8080"_s << u"a.example"_s;
    QTest::newRow("a user before it") << u"http://bank.example@evil.example/"_s << u"evil.example"_s;
    QTest::newRow("an @ behind it") << u"http://evil.example/@bank.example"_s << u"evil.example"_s;
    QTest::newRow("a backslash") << u"http://evil.example\\@bank.example"_s << u"evil.example"_s;
    QTest::newRow("mail") << u"mailto:bob@a.example?subject=@x"_s << u"a.example"_s;
    QTest::newRow("numbers") << u"http://[::1]/"_s << u"[::1]"_s;
    QTest::newRow("none") << u"news:x"_s << QString();
}

void UrlsTest::hosts()
{
    QFETCH(QString, target);
    QTEST(hostOf(target), "host");
}

void UrlsTest::targets_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("safe");
    QTest::newRow("as it should be") << u"https://a.example//b"_s << u"https://a.example//b"_s;
    QTest::newRow("without slashes") << u"http:evil.example"_s << u"http://evil.example"_s;
    QTest::newRow("one slash") << u"HTTPS:/evil.example"_s << u"HTTPS://evil.example"_s;
    QTest::newRow("many slashes") << u"https:///evil.example"_s << u"https://evil.example"_s;
    QTest::newRow("backslashes") << u"https:\\\\evil.example"_s << u"https://evil.example"_s;
    QTest::newRow("mail has none") << u"mailto:a@b.example"_s << u"mailto:a@b.example"_s;
    QTest::newRow("a script") << u"javascript:x"_s << QString();
}

void UrlsTest::targets()
{
    QFETCH(QString, target);
    QTEST(safeTarget(target), "safe");
}

void UrlsTest::deceiving_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("target");
    QTest::addColumn<bool>("deceptive");
    QTest::newRow("the same") << u"http://a.example"_s << u"https://www.a.example/x"_s << false;
    QTest::newRow("words") << u"Click here"_s << u"http://a.example"_s << false;
    QTest::newRow("another") << u"https://bank.example/login"_s << u"http://evil.example/"_s << true;
    QTest::newRow("a name alone") << u"bank.example"_s << u"http://evil.example/"_s << true;
    QTest::newRow("an ending alike") << u"bank.example"_s << u"http://evilbank.example/"_s << true;
    QTest::newRow("within") << u"bank.example"_s << u"http://mail.bank.example/"_s << false;
    QTest::newRow("an address") << u"me@bank.example"_s << u"mailto:me@evil.example"_s << true;
    QTest::newRow("marks that are not seen")
        << u"www.ba\u200Bnk.exa\u00ADmple"_s << u"http://evil.example/"_s << true;
    QTest::newRow("in the midst") << u"Log in: https://bank.example now"_s << u"http://evil.example"_s
                                  << true;
    QTest::newRow("a name and its port") << u"bank.example:443"_s << u"http://evil.example"_s << true;
    QTest::newRow("a name and words") << u"Node.js in short"_s << u"http://a.example"_s << false;
    QTest::newRow("a newsgroup") << u"news.answers.example"_s << u"news:news.answers.example"_s << false;
    QTest::newRow("long words behind it")
        << u"https://bank.example "_s + QString(400, u'x') << u"http://evil.example"_s << true;
    QTest::newRow("to no host") << u"me@bank.example"_s << u"mailto:?to=me@evil.example"_s << true;
    QTest::newRow("somebody of another house")
        << u"Ask me@bank.example"_s << u"http://help.example"_s << false;
    QTest::newRow("the end of a sentence") << u"Read on.Then sleep"_s << u"http://a.example"_s << false;
    QTest::newRow("a version") << u"Version 1.2"_s << u"http://a.example"_s << false;
}

void UrlsTest::deceiving()
{
    QFETCH(QString, text);
    QFETCH(QString, target);
    QTEST(isDeceptive(text, target), "deceptive");
}

/// Each of these took time by the square of its length in some finder.
void UrlsTest::longLines()
{
    for (const QString &piece :
         {u"www."_s, u"news:"_s, u"@"_s, u"a@"_s, u"http://"_s, u"www./"_s, u"http://("_s, u"a.b@c-"_s}) {
        const QString line = piece.repeated(400'000 / piece.size());
        qsizetype end = 0;
        for (const UrlRange &url : findUrls(line)) {
            QVERIFY(url.start >= end && url.length > 0);
            end = url.start + url.length;
        }
        QVERIFY(end <= line.size());
    }
}

void UrlsTest::tracking_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("opened");
    const auto row = [](const char *target, const char *opened) {
        QTest::newRow(target) << QString::fromLatin1(target) << QString::fromLatin1(opened);
    };
    row("https://a.example/x?utm_source=n&id=7&UTM_Medium=mail", "https://a.example/x?id=7");
    row("https://a.example/x?fbclid=1", "https://a.example/x");
    row("https://a.example/x?mc_eid=1&mc_cid=2#part", "https://a.example/x#part");
    row("https://a.example/x?a=%26utm_x%3D1&&b", "https://a.example/x?a=%26utm_x%3D1&&b");
    row("https://a.example/x?sutm_source=1&utm=2", "https://a.example/x?sutm_source=1&utm=2");
    row("https://a.example/#?utm_source=1", "https://a.example/#?utm_source=1");
    row("https://a.example/x?", "https://a.example/x");
    row("mailto:a@b.example?subject=utm_source&utm_source=1",
        "mailto:a@b.example?subject=utm_source&utm_source=1");
}

void UrlsTest::tracking()
{
    QFETCH(QString, target);
    QTEST(withoutTracking(target), "opened");
    QStringList removed;
    QCOMPARE(withoutTracking(withoutTracking(target), &removed), withoutTracking(target));
    QVERIFY(removed.isEmpty());
}

void UrlsTest::confusable_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<bool>("confusable");
    QTest::newRow("Latin") << u"example.org"_s << false;
    QTest::newRow("Latin with accents") << u"müller.example"_s << false;
    QTest::newRow("one Cyrillic letter") << u"p\u0430ypal.com"_s << true;
    QTest::newRow("all of them look Latin") << u"\u0430\u0440\u0440\u04cf\u0435.com"_s << true;
    QTest::newRow("Cyrillic under a Cyrillic end") << u"\u0440\u043e\u0441\u0430.\u0440\u0444"_s << false;
    QTest::newRow("a Cyrillic word") << u"\u043f\u043e\u0447\u0442\u0430.com"_s << false;
    QTest::newRow("Japanese with Latin") << u"\u65e5\u672c\u30ab\u30caabc.jp"_s << false;
    QTest::newRow("Greek and Cyrillic") << u"\u03b1\u0431.example"_s << true;
    QTest::newRow("a number") << u"192.0.2.1"_s << false;
    QTest::newRow("nothing") << QString() << false;
}

void UrlsTest::confusable()
{
    QFETCH(QString, host);
    QTEST(isConfusable(host), "confusable");
}

void UrlsTest::remote_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("address"); // empty: none
    const auto row = [](const char *source, const char *address) {
        QTest::newRow(source) << QString::fromUtf8(source) << QString::fromUtf8(address);
    };
    row("http://a.example/x", "http://a.example/x");
    row(" HTTPS://a.example/x\n", "HTTPS://a.example/x");
    row("//a.example/x", "https://a.example/x");
    row("ht\ttp://a.example/x", "http://a.example/x");
    row("http://u:p@a.example/x", "");
    row("http:///x", "");
    row("http://", "");
    row("https:a.example", "");
    row("file://a.example/x", "");
    row("\\\\a.example\\x", "");
    row("http:\\\\a.example\\x", "");
    row("ftp://a.example/x", "");
    row("javascript:x//", "");
    row("cid:x", "");
    row("x.png", "");
}

void UrlsTest::remote()
{
    QFETCH(QString, source);
    QTEST(remoteAddress(source), "address");
}

QTEST_GUILESS_MAIN(UrlsTest)
#include "urls_test.moc"
