#include "config/clock.h"
#include "mailattest.h"
#include "support/scratch.h"

#include <QRegularExpression>
#include <QTest>
#include <QTimeZone>

using namespace Qt::StringLiterals;

namespace {

/// Everything that a header can have.
Composition everything()
{
    Composition composition = mail();
    composition.identity.organisation = u"Engines"_s;
    composition.identity.replyTo = u"office@example.org"_s;
    composition.cc = u"cy@example.net"_s;
    composition.bcc = u"secret@example.net"_s;
    composition.newsgroups = u"comp.test, comp.misc"_s;
    composition.followupTo = u"comp.misc"_s;
    composition.mailFollowupTo = u"list@example.org"_s;
    composition.distribution = u"de"_s;
    composition.inReplyTo = "<b@x>";
    composition.references = "<a@x> <b@x>";
    composition.supersedes = "<old@x>";
    composition.importance = Importance::High;
    composition.receipt = true;
    composition.archiveRefused = true;
    composition.extra = {{u"X-Mood"_s, u"calm"_s}};
    return composition;
}

qsizetype longestLine(const QByteArray &text)
{
    qsizetype longest = 0;
    const QByteArrayList lines = text.split('\n');
    for (const QByteArray &line : lines)
        longest = std::max(longest, line.size());
    return longest;
}

} // namespace

class BuilderTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_scratch = std::make_unique<Scratch>();
        m_clock = std::make_unique<ClockOverride>([] { return qint64(1143736588) * 1000; });
    }
    void cleanup()
    {
        m_clock.reset();
        m_scratch.reset();
    }

    void fieldsStandInTheirOrder();
    void aMailHasOnlyWhatItNeeds();
    void fields_data();
    void fields();
    void longFieldsAreFolded_data();
    void longFieldsAreFolded();
    void givenIdentifiers_data();
    void givenIdentifiers();
    void freeLines_data();
    void freeLines();
    void envelope();
    void whoCannotBeReachedIsTold_data();
    void whoCannotBeReachedIsTold();
    void draftsHaveNoEnvelope();
    void postedAndMailed();
    void aCharsetThatIsTooSmall();
    void linesAreCounted();
    void resending();
    void resendingWhatIsOdd_data();
    void resendingWhatIsOdd();
    void boundaries();
    void formsOfAttachments();

private:
    std::unique_ptr<Scratch> m_scratch;
    std::unique_ptr<ClockOverride> m_clock;
};

void BuilderTest::fieldsStandInTheirOrder()
{
    const QByteArrayList expected =
        QByteArray("Path Date From Newsgroups To Cc Bcc Subject Message-ID In-Reply-To References "
                   "Supersedes Distribution Reply-To Followup-To Mail-Followup-To Organization Archive "
                   "X-No-Archive Disposition-Notification-To Return-Receipt-To Importance "
                   "Posted-And-Mailed User-Agent X-Mood")
            .split(' ');
    QCOMPARE(namesIn(buildHeaders(everything())), expected);
    const QByteArrayList controls = {"X-VELMAR-RCPT-TO", "X-VELMAR-MAIL-FROM", "X-Velmar-Sign",
                                     "X-Velmar-Encrypt", "MIME-Version",       "Lines",
                                     "Content-Type"};
    QCOMPARE(namesIn(buildMessage(everything())), expected + controls);
}

void BuilderTest::aMailHasOnlyWhatItNeeds()
{
    BuildOptions options;
    options.messageId = "<1@example.org>";
    options.date = QDateTime::fromSecsSinceEpoch(1143736588, QTimeZone(7200));
    const QByteArray header = buildHeaders(mail(), options);
    const qsizetype agent = header.indexOf("User-Agent: Velmar/");
    QVERIFY(agent > 0);
    QCOMPARE(header.first(agent),
             "Date: Thu, 30 Mar 2006 18:36:28 +0200\nFrom: Ada Lovelace <ada@example.org>\n"
             "To: bob@example.net\nSubject: Hello\nMessage-ID: <1@example.org>\n");
    const QByteArray message = buildMessage(mail(), options);
    QCOMPARE(
        message.sliced(header.size()),
        "X-VELMAR-RCPT-TO: bob@example.net\nX-VELMAR-MAIL-FROM: ada@example.org\nX-Velmar-Sign: No\n"
        "X-Velmar-Encrypt: No\nMIME-Version: 1.0\nLines: 1\nContent-Type: text/plain; charset=us-ascii\n\n"
        "Hello Bob\n");
    QCOMPARE(finishMessage(mail(), header, buildBody(mail()), options), message);
}

void BuilderTest::fields_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QByteArray>("line");
    const auto row = [](const char *name, const Change &change, const char *line) {
        QTest::newRow(name) << change << QByteArray(line);
    };
    row(
        "a subject outside ASCII", [](Composition &c) { c.subject = u"Grüße_1"_s; },
        "Subject: =?UTF-8?q?Gr=C3=BC=C3=9Fe=5F1?=\n");
    row(
        "in the chosen set",
        [](Composition &c) {
            c.subject = u"Grüße"_s;
            c.charset = "ISO-8859-1";
        },
        "Subject: =?ISO-8859-1?q?Gr=FC=DFe?=\n");
    row(
        "only names are encoded",
        [](Composition &c) { c.to = u"\"Böb, B.\" <bob@bücher.example>, cy@x.org"_s; },
        "To: =?UTF-8?q?B=C3=B6b=2C_B=2E?= <bob@xn--bcher-kva.example>, cy@x.org\n");
    row(
        "a name with quotes", [](Composition &c) { c.to = u"\"Bob \\\"B\\\" B., jr\" <b@x.org>"_s; },
        "To: \"Bob \\\"B\\\" B., jr\" <b@x.org>\n");
    row(
        "a local part outside ASCII stays", [](Composition &c) { c.to = u"bób@x.org"_s; },
        "To: b\xc3\xb3"
        "b@x.org\n");
    row(
        "groups without blanks", [](Composition &c) { c.newsgroups = u" comp.test ,comp.misc,"_s; },
        "Newsgroups: comp.test,comp.misc\n");
    row(
        "poster", [](Composition &c) { c.followupTo = u"poster"_s; }, "Followup-To: poster\n");
    row(
        "an own Reply-To wins",
        [](Composition &c) {
            c.identity.replyTo = u"a@x.org"_s;
            c.replyTo = u"b@x.org"_s;
        },
        "Reply-To: b@x.org\n");
    row(
        "the identity's Reply-To", [](Composition &c) { c.identity.replyTo = u"A <a@x.org>"_s; },
        "Reply-To: A <a@x.org>\n");
    row(
        "organisation of a mail", [](Composition &c) { c.identity.organisation = u"Engines"_s; },
        "X-Organization: Engines\n");
    row(
        "of an article",
        [](Composition &c) {
            c.identity.organisation = u"Engines"_s;
            c.newsgroups = u"a.b"_s;
        },
        "Organization: Engines\n");
    row(
        "low importance", [](Composition &c) { c.importance = Importance::Low; }, "Importance: Low\n");
    row(
        "signing", [](Composition &c) { c.sign = true; }, "X-Velmar-Sign: Yes\n");
    row(
        "encrypting", [](Composition &c) { c.encrypt = true; }, "X-Velmar-Encrypt: Yes\n");
    row(
        "a host name of the identity's", [](Composition &c) { c.identity.hostName = u"host.example"_s; },
        "@host.example>\n");
    row(
        "identifiers that are none", [](Composition &c) { c.references = "a <b@x> <c\x01@x> d"; },
        "References: <b@x>\n");
}

void BuilderTest::fields()
{
    QFETCH(Change, change);
    QFETCH(QByteArray, line);
    Composition composition = mail();
    change(composition);
    const QByteArray message = buildMessage(composition);
    QVERIFY2(message.contains((line.startsWith('@') ? "" : "\n") + line), message.constData());
}

void BuilderTest::longFieldsAreFolded_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("longest");
    const auto row = [](const char *name, const char *field, int longest, const Change &change) {
        QTest::newRow(name) << change << QByteArray(field) << longest;
    };
    row("250 recipients", "To", 78, [](Composition &c) {
        c.to = u"\"Smith, J.\" <someone@example.org>, other@example.net, "_s.repeated(125);
    });
    row("500 references", "References", 78, [](Composition &c) {
        c.references = QByteArray("<some.identifier.1234567890@mail.example.org> ").repeated(500);
    });
    row("a subject", "Subject", 78,
        [](Composition &c) { c.subject = u"words of  a subject "_s.repeated(200); });
    row("a subject without blanks", "Subject", 910, [](Composition &c) { c.subject = QString(5000, u'x'); });
    row("outside ASCII", "Subject", 910, [](Composition &c) { c.subject = u"Grüße "_s.repeated(500); });
    row("a long name", "Cc", 910, [](Composition &c) { c.cc = QString(2000, u'é') + u" <a@x.org>"_s; });
    row("400 groups", "Newsgroups", 920,
        [](Composition &c) { c.newsgroups = u"comp.test.some,"_s.repeated(400); });
    row("a line of one's own", "X-Long", 78, [](Composition &c) {
        c.extra = {{u"X-Long"_s, u"word "_s.repeated(1000)}};
    });
}

void BuilderTest::longFieldsAreFolded()
{
    QFETCH(Change, change);
    QFETCH(QByteArray, name);
    QFETCH(int, longest);
    Composition composition = mail();
    change(composition);
    const QByteArray message = buildMessage(composition);
    const QByteArray header = headerOf(message);
    QVERIFY2(longestLine(header) <= longest, header.constData());
    QVERIFY(header.count("\n ") > 2 && !header.contains("\n \n"));
    QVERIFY2(!header.contains(name + ":\n"), "the first line of a field must not be empty");
    // A name that occurs again in a line that goes on would be cut inside a word.
    QVERIFY(valueIn(message, name.constData()).size() > 1000);
}

void BuilderTest::givenIdentifiers_data()
{
    QTest::addColumn<QByteArray>("given");
    QTest::addColumn<bool>("taken");
    QTest::newRow("good") << QByteArray("<a.b@x.org>") << true;
    QTest::newRow("none") << QByteArray() << false;
    QTest::newRow("a line end") << QByteArray("<a\nEvil: 1@x.org>") << false;
    QTest::newRow("a blank") << QByteArray("<a@x.org> <b@x.org>") << false;
    QTest::newRow("too long") << '<' + QByteArray(2000, 'a') + "@x.org>" << false;
}

void BuilderTest::givenIdentifiers()
{
    QFETCH(QByteArray, given);
    QFETCH(bool, taken);
    BuildOptions options;
    options.messageId = given;
    const QByteArray header = buildHeaders(mail(), options);
    const QByteArray id = valueIn(header, "Message-ID");
    QCOMPARE(id == given, taken);
    QVERIFY(id.endsWith(taken ? "@x.org>" : "@example.org>") && !header.contains("Evil"));
}

void BuilderTest::freeLines_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("written");
    QTest::newRow("free") << u"X-Face"_s << true;
    QTest::newRow("List-Id") << u"List-Id"_s << true;
    for (const char *name :
         {"To", "bcc", "DATE", "Subject", "X-VELMAR-RCPT-TO", "x-velmar-sign", "Content-Type", "Content-Foo",
          "MIME-Version", "Lines", "Resent-To", "Received", "Path", ""})
        QTest::addRow("own: %s", name) << QString::fromLatin1(name) << false;
    QTest::newRow("colon") << u"X-A: b"_s << false;
    QTest::newRow("blank") << u"X A"_s << false;
    QTest::newRow("outside ASCII") << u"X-Ä"_s << false;
    QTest::newRow("too long") << QString(80, u'x') << false;
}

void BuilderTest::freeLines()
{
    QFETCH(QString, name);
    QFETCH(bool, written);
    Composition composition = mail();
    composition.extra = {{name, u"value of mine"_s}};
    const QByteArray message = buildMessage(composition);
    QCOMPARE(message.contains("value of mine"), written);
    QCOMPARE(m_scratch->notes.isEmpty(), written);
}

void BuilderTest::envelope()
{
    Composition composition = mail();
    composition.to = u"Bob <bob@example.net>, cy@example.net"_s;
    composition.cc = u"friends: bob@EXAMPLE.net, Dö <do@bücher.example>;"_s;
    composition.bcc = u"secret@example.net"_s;
    const QByteArray message = buildMessage(composition);
    QCOMPARE(valueIn(message, "X-VELMAR-RCPT-TO"),
             "bob@example.net, cy@example.net, do@xn--bcher-kva.example, secret@example.net");
    QCOMPARE(valueIn(message, "X-VELMAR-MAIL-FROM"), "ada@example.org");
    QCOMPARE(valueIn(message, "Bcc"), "secret@example.net");
}

void BuilderTest::whoCannotBeReachedIsTold_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("told");
    QTest::newRow("a name alone") << Change([](Composition &c) { c.cc = u"Bob Builder"_s; })
                                  << u"'Bob Builder'"_s;
    QTest::newRow("no domain") << Change([](Composition &c) { c.to += u", bob"_s; }) << u"'bob'"_s;
    QTest::newRow("two at signs") << Change([](Composition &c) { c.bcc = u"a@b@c"_s; }) << u"'a@b@c'"_s;
    QTest::newRow("an identity without address")
        << Change([](Composition &c) { c.identity.address.clear(); }) << u"'Ada Lovelace'"_s;
}

void BuilderTest::whoCannotBeReachedIsTold()
{
    QFETCH(Change, change);
    QFETCH(QString, told);
    Composition composition = mail();
    change(composition);
    QVERIFY(buildMessage(composition).isEmpty());
    QCOMPARE(m_scratch->reports.size(), 1);
    QVERIFY2(m_scratch->reports.first().contains(told), qPrintable(m_scratch->reports.first()));
}

void BuilderTest::draftsHaveNoEnvelope()
{
    Composition composition = mail();
    composition.to = u"Bob"_s;
    composition.bcc = u"secret@example.net"_s;
    composition.sign = true;
    composition.text = u"word "_s.repeated(30);
    BuildOptions options;
    options.purpose = BuildFor::Draft;
    const QByteArray message = buildMessage(composition, options);
    QVERIFY(!message.contains("X-VELMAR-RCPT-TO") && !message.contains("X-VELMAR-MAIL-FROM"));
    QCOMPARE(valueIn(message, "X-VELMAR-SIGN"), "Yes");
    QCOMPARE(valueIn(message, "Bcc"), "secret@example.net");
    QCOMPARE(bodyOf(message).count('\n'), bodyOf(message).count("=\n") + 1); // not wrapped
}

void BuilderTest::postedAndMailed()
{
    Composition composition = mail();
    composition.newsgroups = u"comp.test"_s;
    composition.bcc = u"secret@example.net"_s;
    composition.text = u"Hello Bob\n\n[Posted and mailed]\n\n\u20ac\n"_s; // what somebody wrote stays
    const QByteArray mailed = buildMessage(composition);
    QVERIFY(bodyOf(mailed).startsWith("[Posted and mailed]\n\nHello Bob\n\n[Posted and mailed]\n\n"));
    QCOMPARE(valueIn(mailed, "Lines"), "7");
    const QByteArray posted = postedForm(mailed);
    QCOMPARE(bodyOf(posted), bodyOf(mailed).sliced(21));
    QCOMPARE(valueIn(posted, "Lines"), "5");
    QVERIFY(!namesIn(posted).contains("X-VELMAR-RCPT-TO") && !posted.contains("secret"));
    for (const char *name : {"Posted-And-Mailed", "Newsgroups", "To", "Message-ID"})
        QCOMPARE(valueIn(posted, name), valueIn(mailed, name));

    composition.html = u"<html><BODY style=\"x\"><b>Hello</b></body></html>"_s;
    const QByteArray rich = buildMessage(composition);
    QVERIFY(rich.contains("<BODY style=\"x\">\n<p>[Posted and mailed]</p>\n<b>"));
    QVERIFY(!postedForm(rich).contains("<p>[Posted") && postedForm(rich).count("[Posted and mailed]") == 1);
    composition.newsgroups.clear();
    const QByteArray mail = buildMessage(composition);
    QCOMPARE(postedForm(mail), mail);
}

/// Who goes on with a character set that is too small was told so; a draft loses nothing.
void BuilderTest::aCharsetThatIsTooSmall()
{
    Composition composition = mail();
    composition.charset = "ISO-8859-1";
    composition.text = u"B\u00f6b \u20ac \U0001F600"_s;
    composition.html = u"<p>\u20ac</p>"_s;
    QVERIFY(buildMessage(composition).contains(composition.text.toUtf8())); // nobody was asked
    composition.charsetForced = true;
    const QByteArray sent = buildMessage(composition);
    QVERIFY(sent.contains("charset=ISO-8859-1\nContent-Transfer-Encoding: 8bit\n\nB\xf6"
                          "b ? ?\n"));
    QVERIFY(sent.contains("<p>&#8364;</p>"));
    BuildOptions draft;
    draft.purpose = BuildFor::Draft;
    QVERIFY(buildMessage(composition, draft).contains(composition.text.toUtf8()));
}

void BuilderTest::linesAreCounted()
{
    Composition composition = mail();
    composition.text = u"a\n\nb"_s;
    composition.attachments = {{u"a.bin"_s, "image/png", QByteArray(100, 'x'), {}}};
    const QByteArray message = buildMessage(composition);
    QVERIFY(message.endsWith("--\n"));
    QCOMPARE(valueIn(message, "Lines").toInt(), bodyOf(message).count('\n'));
}

void BuilderTest::resending()
{
    const QByteArray original =
        "\nReceived: x\nX-VELMAR-RCPT-TO: evil@example.org,\n evil2@example.org\nFrom: cy@x.org\n"
        "x-velmar-sign: Yes\nTo: dan@x.org\nSubject: a\n b\n\nX-VELMAR-MAIL-FROM: text\n\n";
    const QByteArray message = resentMessage(original, ada(), u"Bób <bob@example.net>, eve@example.net"_s);
    QCOMPARE(namesIn(message),
             (QByteArrayList{"Resent-Date", "Resent-From", "Resent-To", "Resent-Message-ID",
                             "X-VELMAR-RCPT-TO", "X-VELMAR-MAIL-FROM", "Received", "From", "To", "Subject"}));
    QCOMPARE(valueIn(message, "X-VELMAR-RCPT-TO"), "bob@example.net, eve@example.net");
    QCOMPARE(valueIn(message, "X-VELMAR-MAIL-FROM"), "ada@example.org");
    QCOMPARE(valueIn(message, "Resent-From"), "Ada Lovelace <ada@example.org>");
    QVERIFY(message.endsWith(
        "\nReceived: x\nFrom: cy@x.org\nTo: dan@x.org\nSubject: a\n b\n\nX-VELMAR-MAIL-FROM: text\n\n"));
    QVERIFY(!message.contains("evil"));
    QVERIFY(resentMessage(original, ada(), u"nobody"_s).isEmpty());
    QCOMPARE(m_scratch->reports.size(), 1);
}

void BuilderTest::resendingWhatIsOdd_data()
{
    QTest::addColumn<QByteArray>("original");
    QTest::addColumn<QByteArray>("end");
    QTest::newRow("nothing") << QByteArray() << QByteArray("\n\n");
    QTest::newRow("no header") << QByteArray("\nbody\n") << QByteArray("\n\nbody\n");
    QTest::newRow("no body") << QByteArray("A: b\n") << QByteArray("\nA: b\n\n");
    QTest::newRow("no line end") << QByteArray("A: b") << QByteArray("\nA: b\n\n");
    QTest::newRow("CRLF") << QByteArray("A: b\r\n\r\nc\r\n") << QByteArray("\nA: b\n\nc\n");
}

void BuilderTest::resendingWhatIsOdd()
{
    QFETCH(QByteArray, original);
    QFETCH(QByteArray, end);
    const QByteArray message = resentMessage(original, ada(), u"b@x.org"_s);
    QVERIFY2(message.endsWith(end), message.constData());
    QVERIFY(message.startsWith("Resent-Date: "));
}

void BuilderTest::boundaries()
{
    const QByteArray first = newBoundary({});
    static const QRegularExpression form(u"^\\d+--\\d+--\\d+\\z"_s);
    QVERIFY(form.match(QString::fromLatin1(first)).hasMatch());
    int next = 1;
    QCOMPARE(newBoundary({"a", "b\n--1--2--3--\n"}, [&] { return next++; }), "4--5--6");
    QCOMPARE(newBoundary({}).size(), first.size()); // none is the beginning of another
    const QByteArray signedPart = "Content-Type: text/plain\n\nx";
    const QByteArray frame = signedBody(signedPart, "sig", "pgp-sha512");
    const qsizetype begin = frame.indexOf("\n--") + 1;
    const QByteArray line = frame.sliced(begin, frame.indexOf('\n', begin) - begin);
    QVERIFY(frame.contains('\n' + line + '\n' + signedPart + '\n' + line + '\n'));
    QVERIFY(frame.endsWith('\n' + line + "--\n"));
}

void BuilderTest::formsOfAttachments()
{
    QCOMPARE(preferredAttachmentForm(false), AttachmentForm::Mime);
    QCOMPARE(preferredAttachmentForm(true), AttachmentForm::Uuencode);
    setBoolSetting(Setting::UseYEncForNews, true);
    QCOMPARE(preferredAttachmentForm(true), AttachmentForm::Yenc);
    setBoolSetting(Setting::UseMIMEForMail, false);
    QCOMPARE(preferredAttachmentForm(false), AttachmentForm::Mime);
    setBoolSetting(Setting::UseUUCodeForMail, true);
    QCOMPARE(preferredAttachmentForm(false), AttachmentForm::Uuencode);
}

QTEST_GUILESS_MAIN(BuilderTest)
#include "builder_test.moc"
