#include "app/desktop/urls.h"

#include <QTest>

using namespace Qt::StringLiterals;

class UrlsTest : public QObject
{
    Q_OBJECT

private slots:
    void kinds_data();
    void kinds();
    void mail_data();
    void mail();
    void news_data();
    void news();
    void files_data();
    void files();
    void aLongLink();
};

void UrlsTest::kinds_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<UrlKind>("kind");
    QTest::addColumn<QString>("told");
    const QString newsgroups = u"Velmar cannot open newsgroups yet: %s"_s;
    const QString unknown = u"Velmar does not know this kind of link: %s"_s;
    QTest::newRow("empty") << QString() << UrlKind::None << u"There is nothing to open"_s;
    QTest::newRow("file") << u"file:///a"_s << UrlKind::File << u"Velmar cannot open message files yet: %s"_s;
    QTest::newRow("mail") << u"MailTo:a@b"_s << UrlKind::Mail << u"Velmar cannot write messages yet: %s"_s;
    QTest::newRow("own") << u"velmar:x"_s << UrlKind::Velmar
                         << u"Velmar cannot open links to its own folders yet: %s"_s;
    QTest::newRow("news") << u"news:x"_s << UrlKind::News << newsgroups;
    QTest::newRow("nntp") << u"nntp://s/x"_s << UrlKind::Nntp << newsgroups;
    QTest::newRow("web") << u"https://example.org"_s << UrlKind::Unknown << unknown;
    QTest::newRow("no scheme") << u"/home/u/mailto"_s << UrlKind::Unknown << unknown;
    QTest::newRow("only like one") << u"mailtox:a"_s << UrlKind::Unknown << unknown;
    QTest::newRow("a colon alone") << u":mailto"_s << UrlKind::Unknown << unknown;
}

void UrlsTest::kinds()
{
    QFETCH(QString, url);
    const ParsedUrl parsed = parseUrl(url);
    QTEST(parsed.kind, "kind");
    QTEST(QString::fromLatin1(noWindowText(parsed.kind)), "told");
    QCOMPARE(parsed.text, url);
}

void UrlsTest::mail_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("fields");
    QTest::newRow("nothing") << u"mailto:"_s << QString();
    QTest::newRow("an address") << u"mailto:a@b"_s << u"to=a@b;"_s;
    QTest::newRow("several") << u"mailto:a@b,c@d,?to=e@f&cc=g@h,i@j&CC=k@l&bcc=m@n"_s
                             << u"to=a@b|c@d|e@f;cc=g@h|i@j|k@l;bcc=m@n;"_s;
    QTest::newRow("a comma in one") << u"mailto:%22Smith%2C%20Jo%22%20%3Cjo@b%3E"_s
                                    << u"to=\"Smith, Jo\" <jo@b>;"_s;
    QTest::newRow("plus and percent stay")
        << u"mailto:a+b%25c@d?subject=1+1%zz%2"_s << u"to=a+b%c@d;subject=1+1%zz%2;"_s;
    QTest::newRow("UTF-8") << u"mailto:a@b?subject=caf%C3%A9"_s << u"to=a@b;subject=café;"_s;
    QTest::newRow("windows-1252") << u"mailto:a@b?subject=caf%E9"_s << u"to=a@b;subject=café;"_s;
    QTest::newRow("as it stands") << u"mailto:a@b?subject=café"_s << u"to=a@b;subject=café;"_s;
    QTest::newRow("body") << u"mailto:?body=1%0D%0A2%0A3%0D4%00%09."_s << u"body=1\n2\n3\n4\t.;"_s;
    QTest::newRow("a header of its own") << u"mailto:a@b%0D%0ABcc:x@y?subject=s%0ABcc:%20x@y%E2%80%A8z"_s
                                         << u"to=a@bBcc:x@y;subject=sBcc: x@yz;"_s;
    QTest::newRow("attachments") << u"mailto:a@b?attach=/etc/passwd&attachment=/etc/passwd&Attach=x"_s
                                 << u"to=a@b;"_s;
    QTest::newRow("other headers") << u"mailto:a@b?from=x@y&reply-to=x@y&x-evil=1&content-type=text/html"_s
                                   << u"to=a@b;"_s;
    QTest::newRow("a name in code") << u"mailto:a@b?%61ttach=/etc/passwd&s%75bject=s"_s
                                    << u"to=a@b;subject=s;"_s;
    QTest::newRow("a reply") << u"mailto:l@b?In-Reply-To=%3C1@x%3E"_s << u"to=l@b;inReplyTo=<1@x>;"_s;
    QTest::newRow("no reply") << u"mailto:l@b?in-reply-to=%3C1@x%3E%20%3C2@x%3E"_s << u"to=l@b;"_s;
    QTest::newRow("the first of two")
        << u"mailto:?subject=1&subject=2&body=3&body=4"_s << u"subject=1;body=3;"_s;
    QTest::newRow("out of a page's source")
        << u"mailto:a@b?subject=1&amp;body=2"_s << u"to=a@b;subject=1;body=2;"_s;
    QTest::newRow("a value with =") << u"mailto:?subject=a=b&&=x&body"_s << u"subject=a=b;"_s;
    QTest::newRow("a fragment") << u"mailto:a@b?subject=1#body=2"_s << u"to=a@b;subject=1;"_s;
}

void UrlsTest::mail()
{
    QFETCH(QString, url);
    const MailtoFields mail = parseUrl(url).mail;
    QString fields;
    const auto add = [&fields](const char *name, const QString &value) {
        if (!value.isEmpty())
            fields += QLatin1String(name) + u'=' + value + u';';
    };
    add("to", mail.to.join(u'|'));
    add("cc", mail.cc.join(u'|'));
    add("bcc", mail.bcc.join(u'|'));
    add("subject", mail.subject);
    add("body", mail.body);
    add("inReplyTo", mail.inReplyTo);
    QTEST(fields, "fields");
}

void UrlsTest::news_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("target"); // server, port, group, Message-ID, article
    QTest::newRow("group") << u"news:comp.lang.c"_s << u",0,comp.lang.c,,"_s;
    QTest::newRow("article") << u"news:1%25x@y.z"_s << u",0,,1%x@y.z,"_s;
    QTest::newRow("in brackets") << u"news:%3C1@y%3E"_s << u",0,,1@y,"_s;
    QTest::newRow("server") << u"news://news.x:8119/comp.lang.c"_s << u"news.x,8119,comp.lang.c,,"_s;
    QTest::newRow("server alone") << u"news://news.x"_s << u"news.x,0,,,"_s;
    QTest::newRow("number") << u"nntp://news.x/comp.lang.c/17"_s << u"news.x,0,comp.lang.c,,17"_s;
    QTest::newRow("without the number") << u"nntp://news.x/comp.lang.c"_s << u"news.x,0,comp.lang.c,,"_s;
    QTest::newRow("a command in it") << u"news:x%0D%0AQUIT"_s << u",0,xQUIT,,"_s;
}

void UrlsTest::news()
{
    QFETCH(QString, url);
    const NewsTarget target = parseUrl(url).news;
    QTEST((QStringList{target.server, QString::number(target.port), target.group, target.messageId,
                       target.article}
               .join(u',')),
          "target");
}

void UrlsTest::files_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("back"); // the URL that the path gives; empty when there is none
    QTest::newRow("plain") << u"file:///a/b.eml"_s << u"/a/b.eml"_s << u"file:///a/b.eml"_s;
    QTest::newRow("one slash") << u"file:/a"_s << u"/a"_s << u"file:///a"_s;
    QTest::newRow("this machine") << u"FILE://localhost/a"_s << u"/a"_s << u"file:///a"_s;
    QTest::newRow("another one") << u"file://server/a"_s << QString() << QString();
    QTest::newRow("in code") << u"file:///a%20%23%3F%25%22%5C%C3%A9"_s << u"/a #?%\"\\é"_s
                             << u"file:///a%20%23%3F%25%22%5C%C3%A9"_s;
    QTest::newRow("two slashes") << u"file:////server/a"_s << u"//server/a"_s << u"file:///server/a"_s;
    QTest::newRow("a NUL") << u"file:///a%00.eml"_s << QString() << QString();
    QTest::newRow("nothing") << u"file:"_s << QString() << QString();
    QTest::newRow("a path") << u"/a"_s << QString() << QString();
}

void UrlsTest::files()
{
    QFETCH(QString, url);
    QFETCH(QString, path);
    QFETCH(QString, back);
    QCOMPARE(localPath(url), path);
    QCOMPARE(parseUrl(url).path, path);
    if (!path.isEmpty())
        QCOMPARE(fileUrl(path), back);
}

void UrlsTest::aLongLink()
{
    const QString url =
        u"mailto:"_s + u"a@b,"_s.repeated(100'000) + u"?body="_s + u"%0A&body=%41"_s.repeated(100'000);
    QBENCHMARK_ONCE
    {
        const ParsedUrl parsed = parseUrl(url);
        QCOMPARE(parsed.mail.to.size(), 100'000);
        QCOMPARE(parsed.mail.body, u"\n"_s);
    }
}

QTEST_GUILESS_MAIN(UrlsTest)
#include "urls_test.moc"
