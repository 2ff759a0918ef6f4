#include "mailattest.h"
#include "support/scratch.h"

#include <QTest>

using namespace Qt::StringLiterals;

class HeaderInjectionTest : public QObject
{
    Q_OBJECT

private slots:
    void nothingGetsIntoTheHeader_data();
    void nothingGetsIntoTheHeader();
};

/// Whatever stands in an entry field, an attachment's name or a template's value.
void HeaderInjectionTest::nothingGetsIntoTheHeader_data()
{
    QTest::addColumn<Change>("change");
    const auto all = [](const char *name, const std::function<void(Composition &, const QString &)> &set) {
        struct Attack
        {
            const char *name;
            QString text;
        };
        const Attack attacks[] = {
            {"line end", u"x\nEvil: 1"_s},
            {"CRLF and a body", u"x\r\nEvil: 1\r\n\r\nEvil body"_s},
            {"CR", u"x\rEvil: 1"_s},
            {"NUL", u"x"_s + QChar(0) + u"\nEvil: 1"_s},
            {"separators", u"x\u2028Evil: 1\u2029Evil: 2\u0085Evil: 3\vEvil: 4\fEvil: 5"_s},
            {"folded", u"x\n Evil: 1\n\tEvil: 2\nEvil: 3"_s},
            {"an encoded line end", u"=?utf-8?q?x=0AEvil: 1?="_s},
            {"outside ASCII", u"é\nEvil: 1\n\n<a@b>"_s},
            {"an address", u"a@example.org\nEvil: 1"_s},
            {"a name", u"\"x\nEvil: 1\" <a@example.org>"_s},
            {"brackets", u"<a@example.org>\nEvil: 1>"_s},
            {"a quote", u"x\"\nEvil: 1; y=\""_s},
        };
        for (const Attack &attack : attacks) {
            const QString text = attack.text;
            QTest::addRow("%s: %s", name, attack.name)
                << Change([set, text](Composition &c) { set(c, text); });
        }
    };
    all("name", [](Composition &c, const QString &t) { c.identity.name = t; });
    all("organisation", [](Composition &c, const QString &t) { c.identity.organisation = t; });
    all("host name", [](Composition &c, const QString &t) { c.identity.hostName = t; });
    all("address", [](Composition &c, const QString &t) { c.identity.address = t; });
    all("To", [](Composition &c, const QString &t) { c.to = t; });
    all("Bcc", [](Composition &c, const QString &t) { c.bcc = t; });
    all("Reply-To", [](Composition &c, const QString &t) { c.replyTo = t; });
    all("Newsgroups", [](Composition &c, const QString &t) { c.newsgroups = t; });
    all("Followup-To", [](Composition &c, const QString &t) { c.followupTo = t; });
    all("Distribution", [](Composition &c, const QString &t) { c.distribution = t; });
    all("Mail-Followup-To", [](Composition &c, const QString &t) { c.mailFollowupTo = t; });
    all("Subject", [](Composition &c, const QString &t) { c.subject = t; });
    all("In-Reply-To", [](Composition &c, const QString &t) { c.inReplyTo = '<' + t.toUtf8() + '>'; });
    all("References", [](Composition &c, const QString &t) { c.references = '<' + t.toUtf8() + '>'; });
    all("Supersedes", [](Composition &c, const QString &t) { c.supersedes = '<' + t.toUtf8() + '>'; });
    all("extra value", [](Composition &c, const QString &t) { c.extra = {{u"X-A"_s, t}}; });
    all("extra name", [](Composition &c, const QString &t) { c.extra = {{t, u"x"_s}}; });
    all("charset", [](Composition &c, const QString &t) {
        c.charset = t.toUtf8();
        c.text = c.subject = u"ü"_s;
    });
    all("attachment's name", [](Composition &c, const QString &t) {
        c.attachments = {{t, "image/png", "x", {}}};
    });
    all("attachment's type", [](Composition &c, const QString &t) {
        c.attachments = {{u"a"_s, t.toUtf8(), "x", {}}, {u"a"_s, "a/b; x=" + t.toUtf8(), "x", {}}};
    });
    all("picture's identifier", [](Composition &c, const QString &t) {
        c.html = u"<img src=\"cid:x\">"_s;
        c.attachments = {{u"a"_s, "image/png", "x", t.toLatin1()}};
    });
    all("block's name", [](Composition &c, const QString &t) {
        c.attachments = {{t, "image/png", "x", {}}};
        c.attachmentForm = AttachmentForm::Uuencode;
    });
}

void HeaderInjectionTest::nothingGetsIntoTheHeader()
{
    QFETCH(Change, change);
    const Scratch scratch;
    Composition composition = mail();
    change(composition);
    BuildOptions options;
    options.purpose = BuildFor::Draft; // refuses nobody
    const QByteArray message = buildMessage(composition, options);
    QVERIFY(!message.isEmpty());
    const QByteArrayList lines = message.split('\n');
    for (const QByteArray &line : lines)
        QVERIFY2(!line.startsWith("Evil"), message.constData());
    const QByteArray header = headerOf(message);
    QVERIFY(std::all_of(header.begin(), header.end(), [](char c) { return c == '\n' || quint8(c) >= ' '; }));
    const QByteArrayList names = namesIn(message);
    QVERIFY(names.contains("MIME-Version") && names.contains("Content-Type"));
}

QTEST_GUILESS_MAIN(HeaderInjectionTest)
#include "headerinjection_test.moc"
