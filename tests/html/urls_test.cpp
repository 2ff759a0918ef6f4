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
    void deceiving_data();
    void deceiving();
    void longLines();
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

QTEST_GUILESS_MAIN(UrlsTest)
#include "urls_test.moc"
