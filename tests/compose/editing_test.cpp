#include "compose/editing.h"

#include "compose/messagebuilder.h"
#include "support/scratch.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;

class EditingTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_scratch = std::make_unique<Scratch>(); }
    void cleanup() { m_scratch.reset(); }

    void newMessagesAreAsTheSettingsSay();
    void draftsAreReadBack_data();
    void draftsAreReadBack();
    void fieldsOfTheProgramAreNotCarriedOver();
    void receivedMessagesHaveNoSay();
    void mailtoAddressesAreRead_data();
    void mailtoAddressesAreRead();
    void mailtoCannotDoHarm_data();
    void mailtoCannotDoHarm();
    void mailtoTakesLinearTime_data();
    void mailtoTakesLinearTime();
    void signaturesAreReplaced_data();
    void signaturesAreReplaced();
    void signaturesWithoutSeparatorAreReplaced();
    void richSignaturesAreReplaced();
    void signaturesTakeLinearTime();

private:
    static Identity me()
    {
        Identity identity;
        identity.name = u"Me"_s;
        identity.address = u"me@home.example"_s;
        identity.replyTo = u"answers@home.example"_s;
        return identity;
    }
    static Composition read(const QByteArray &message, bool own)
    {
        return readComposition(Message(message), own, [](const QString &address) {
            return address == me().address ? me() : Identity();
        });
    }

    std::unique_ptr<Scratch> m_scratch;
};

void EditingTest::newMessagesAreAsTheSettingsSay()
{
    Composition mail = newComposition(me());
    QVERIFY(mail.wrap && !mail.receipt && !mail.sign && mail.attachmentForm == AttachmentForm::Mime);
    QCOMPARE(mail.charset, "UTF-8");
    QVERIFY(newComposition(me(), true).attachmentForm == AttachmentForm::Uuencode);
    setBoolSetting(Setting::UseYEncForNews, true);
    setBoolSetting(Setting::ReceiptsByDefault, true);
    setBoolSetting(Setting::SignPublicByDefault, true);
    setBoolSetting(Setting::SendWrapText, false);
    setIntSetting(Setting::CharacterSet, 1);
    mail = newComposition(me());
    QVERIFY(!mail.wrap && mail.receipt && !mail.sign);
    QCOMPARE(mail.charset, "ISO-8859-1");
    const Composition article = newComposition(me(), true);
    QVERIFY(!article.receipt && article.sign && article.attachmentForm == AttachmentForm::Yenc);
}

void EditingTest::draftsAreReadBack_data()
{
    QTest::addColumn<Composition>("written");
    const auto row = [](const char *name, auto change) {
        Composition composition = newComposition(me());
        composition.to = u"Joe <joe@b>"_s;
        composition.subject = u"Subject"_s;
        composition.text = u"text\n"_s;
        change(composition);
        QTest::newRow(name) << composition;
    };
    row("mail", [](Composition &) {});
    row("all fields", [](Composition &c) {
        c.cc = u"\"Ann, B\" <ann@b>, Jörg <j@b>"_s;
        c.bcc = u"secret@x"_s;
        c.replyTo = u"there@x"_s;
        c.mailFollowupTo = u"l@x"_s;
        c.subject = u"Grüße – %s"_s;
        c.inReplyTo = "<2@x>";
        c.references = "<1@x> <2@x>";
        c.extra = {{u"X-Mine"_s, u"välue: 1"_s}, {u"List-Id"_s, u"x"_s}};
        c.importance = Importance::High;
        c.receipt = c.sign = c.encrypt = true;
        c.text = u"Grüße 漢字\n\n> quoted\n.\nFrom me\n-- \nMe\n"_s;
    });
    row("article", [](Composition &c) {
        c.to.clear();
        c.newsgroups = u"a.b,c.d"_s;
        c.followupTo = u"a.b"_s;
        c.distribution = u"local"_s;
        c.supersedes = "<0@x>";
        c.archiveRefused = true;
    });
    row("character set", [](Composition &c) {
        c.charset = "ISO-8859-2";
        c.text = u"žluťoučký kůň\n"_s;
    });
    row("rich, with files", [](Composition &c) {
        c.html = u"<html><body><p>text <img src=\"cid:p1@home\"></p></body></html>"_s;
        c.attachments = {{u"p.png"_s, "image/png", QByteArray("\0\xff", 2), "p1@home"},
                         {u"Über: a.txt"_s, "text/plain", "just a file\n", {}},
                         {u"m.eml"_s, "message/rfc822", "Subject: x\n\ny\n", {}}};
    });
    row("uuencoded file", [](Composition &c) {
        c.attachmentForm = AttachmentForm::Uuencode;
        c.attachments = {{u"a.bin"_s, "application/octet-stream", "bytes", {}},
                         {u"b.bin"_s, "application/octet-stream", "more bytes", {}}};
    });
}

void EditingTest::draftsAreReadBack()
{
    QFETCH(Composition, written);
    BuildOptions options;
    options.purpose = BuildFor::Draft;
    const Composition draft = read(buildMessage(written, options), true);
    for (const auto field : {&Composition::to, &Composition::cc, &Composition::bcc, &Composition::replyTo,
                             &Composition::newsgroups, &Composition::followupTo, &Composition::mailFollowupTo,
                             &Composition::distribution, &Composition::subject, &Composition::text})
        QCOMPARE(draft.*field, written.*field);
    for (const auto field : {&Composition::inReplyTo, &Composition::references, &Composition::supersedes})
        QCOMPARE(draft.*field, written.*field);
    for (const auto field :
         {&Composition::receipt, &Composition::archiveRefused, &Composition::sign, &Composition::encrypt})
        QCOMPARE(draft.*field, written.*field);
    QCOMPARE(draft.identity, written.identity);
    QVERIFY(draft.importance == written.importance && draft.attachmentForm == written.attachmentForm);
    QCOMPARE(draft.charset, written.charset);
    QCOMPARE(draft.html.trimmed(), written.html);
    QCOMPARE(draft.extra.size(), written.extra.size());
    for (qsizetype i = 0; i < draft.extra.size(); ++i) {
        QCOMPARE(draft.extra[i].name, written.extra[i].name);
        QCOMPARE(draft.extra[i].value, written.extra[i].value);
    }
    QCOMPARE(draft.attachments.size(), written.attachments.size());
    for (const Attachment &wanted : written.attachments) {
        const auto is = [&](const Attachment &one) {
            return one.data == wanted.data && one.contentId == wanted.contentId &&
                   one.contentType.startsWith(wanted.contentType) && one.name.contains(wanted.name.right(5));
        };
        QVERIFY2(std::any_of(draft.attachments.begin(), draft.attachments.end(), is),
                 qPrintable(wanted.name));
    }
}

void EditingTest::fieldsOfTheProgramAreNotCarriedOver()
{
    QByteArray header = "From: me@home.example\n";
    const QByteArrayList names = {"X-VELMAR-SIGN",
                                  "X-Velmar-Encrypt",
                                  "X-VELMAR-RCPT-TO",
                                  "x-velmar-mail-from",
                                  "X-VELMAR-Whatever",
                                  "User-Agent",
                                  "Content-Type",
                                  "content-transfer-encoding",
                                  "Content-Disposition",
                                  "Content-Language",
                                  "Message-ID",
                                  "DATE",
                                  "Lines",
                                  "MIME-Version",
                                  "Path",
                                  "NNTP-Posting-Host",
                                  "Received",
                                  "Resent-To",
                                  "Sender",
                                  "To",
                                  "Cc",
                                  "Bcc",
                                  "Subject",
                                  "Reply-To",
                                  "References",
                                  "In-Reply-To",
                                  "Newsgroups",
                                  "Followup-To",
                                  "Mail-Followup-To",
                                  "Supersedes",
                                  "Distribution",
                                  "Organization",
                                  "X-Organization",
                                  "Archive",
                                  "X-No-Archive",
                                  "Disposition-Notification-To",
                                  "Return-Receipt-To",
                                  "Importance",
                                  "Posted-And-Mailed",
                                  "DKIM-Signature",
                                  "Return-Path"};
    for (const QByteArray &name : names)
        header += name + ": 1\n";
    const Composition draft = read(header + "X-Free: a\n b\n\ntext\n", true);
    QCOMPARE(draft.extra.size(), 1);
    QCOMPARE(draft.extra.first().name, u"X-Free"_s);
    QCOMPARE(draft.extra.first().value, u"a b"_s);
}

void EditingTest::receivedMessagesHaveNoSay()
{
    const Composition read1 =
        read("From: Joe <joe@b>\nTo: me@home.example\nBcc: x@y\nReply-To: z@z\nSubject: s\n"
             "X-VELMAR-SIGN: Yes\nX-VELMAR-RCPT-TO: evil@x\nX-Free: 1\n"
             "Content-Type: text/html\n\n<p>Hi<script>x</script></p>"
             "<img src='file:///etc/passwd'>",
             false);
    QVERIFY(read1.bcc.isEmpty() && read1.extra.isEmpty() && read1.replyTo.isEmpty() && !read1.sign);
    QCOMPARE(read1.to, u"me@home.example"_s);
    QCOMPARE(read1.text, u"Hi\n"_s);
    QVERIFY(read1.html.contains("Hi"_L1) && !read1.html.contains("script"_L1) &&
            !read1.html.contains("<img"_L1));
}

void EditingTest::mailtoAddressesAreRead_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QStringList>("fields"); // to, cc, bcc, subject, text, in-reply-to
    const auto row = [](const char *name, const QString &url, QStringList fields) {
        fields += QStringList(6 - fields.size());
        QTest::newRow(name) << url << fields;
    };
    row("nobody", u"mailto:"_s, {});
    row("one", u"MailTo:joe@b.org"_s, {u"joe@b.org"_s});
    row("several", u"mailto:a@b,%22c%2Cd%22%20%3Ce@f%3E?to=g@h&TO=i@j"_s,
        {u"a@b, \"c,d\" <e@f>, g@h, i@j"_s});
    row("with a name", u"mailto:Joe%20%3Cjoe@b.org%3E"_s, {u"Joe <joe@b.org>"_s});
    row("all fields",
        u"mailto:a@b?cc=c@d&bcc=e@f&subject=50%25+more&body=one%0D%0Atwo%0Athree&in-reply-to=%3C1@x%3E"_s,
        {u"a@b"_s, u"c@d"_s, u"e@f"_s, u"50%+more"_s, u"one\ntwo\nthree"_s, u"<1@x>"_s});
    row("UTF-8", u"mailto:user@example.org?subject=caf%C3%A9&body=na\u00EFve"_s,
        {u"user@example.org"_s, QString(), QString(), u"café"_s, u"naïve"_s});
    row("encoded word", u"mailto:?subject=%3D%3Futf-8%3FQ%3Fcaf%3DC3%3DA9%3F%3D"_s,
        {QString(), QString(), QString(), u"café"_s});
    row("an & of HTML", u"mailto:a@b?subject=x&amp;cc=c@d"_s, {u"a@b"_s, u"c@d"_s, QString(), u"x"_s});
    row("a number sign", u"mailto:a@b?subject=Case #5"_s, {u"a@b"_s, QString(), QString(), u"Case #5"_s});
    row("percent signs that are none", u"mailto:a@b?subject=100% %zz %4"_s,
        {u"a@b"_s, QString(), QString(), u"100% %zz %4"_s});
}

void EditingTest::mailtoAddressesAreRead()
{
    QFETCH(QString, url);
    QFETCH(QStringList, fields);
    const std::optional<Composition> read = readMailto(url, me());
    QVERIFY(read);
    const QStringList found = {read->to,      read->cc,   read->bcc,
                               read->subject, read->text, QString::fromLatin1(read->inReplyTo)};
    QCOMPARE(found, fields);
    QCOMPARE(read->references, read->inReplyTo);
    QCOMPARE(read->identity, me());
}

void EditingTest::mailtoCannotDoHarm_data()
{
    QTest::addColumn<QString>("url");
    QTest::newRow("attach") << u"mailto:a@b?attach=/etc/passwd&attachment=file:///etc/passwd"_s;
    QTest::newRow("other fields")
        << u"mailto:a@b?from=evil@x&reply-to=evil@x&x-velmar-rcpt-to=evil@x&newsgroups=e"_s;
    QTest::newRow("line end in the subject") << u"mailto:a@b?subject=x%0D%0ABcc:%20evil@x"_s;
    QTest::newRow("other line ends") << u"mailto:a@b?subject=x%E2%80%A8Bcc:evil@x%C2%85%0B%0C%00"_s;
    QTest::newRow("line end in an address") << u"mailto:a%0Ab@c%0ABcc:%20%22evil@x%22?cc=a@b%0D%0AX-A:%201"_s;
    QTest::newRow("line end in the name of a field") << u"mailto:a@b?x%0ABcc=evil@x&bcc%0A=evil@x"_s;
    QTest::newRow("encoded word with a line end") << u"mailto:a@b?subject=%3D?utf-8?Q?a%3D0ABcc:evil@x?%3D"_s;
    QTest::newRow("identifier") << u"mailto:a@b?in-reply-to=%3C1%0ABcc:evil@x%3E"_s;
    QTest::newRow("controls in the body") << u"mailto:a@b?body=%00%1B[31m%07x%0A--%20%0Anot a signature"_s;
}

void EditingTest::mailtoCannotDoHarm()
{
    QFETCH(QString, url);
    const std::optional<Composition> read = readMailto(url, me());
    QVERIFY(read && read->attachments.isEmpty() && read->extra.isEmpty() && read->bcc.isEmpty());
    QVERIFY(read->replyTo.isEmpty() && read->newsgroups.isEmpty() && read->html.isEmpty());
    const auto isControl = [](QChar c) { return (c < u' ' && c != u'\n') || c == QChar::LineSeparator; };
    for (const QString &text : {read->to, read->cc, read->subject, read->text})
        QVERIFY(std::none_of(text.begin(), text.end(), isControl));
    QVERIFY(!read->subject.contains(u'\n') && !read->to.contains(u'\n') && !read->cc.contains(u'\n'));
    QVERIFY(!read->text.contains("-- \n"_L1));
    const Message built(buildMessage(*read));
    QVERIFY(!built.hasHeader("Bcc") && !built.hasHeader("X-A"));
}

void EditingTest::mailtoTakesLinearTime_data()
{
    QTest::addColumn<QString>("url");
    constexpr int kMega = 1'000'000;
    QTest::newRow("addresses") << u"mailto:"_s + u"a@b,"_s.repeated(100'000);
    QTest::newRow("fields") << u"mailto:?"_s + u"cc=a@b&"_s.repeated(100'000);
    QTest::newRow("percent signs") << u"mailto:?subject="_s + u"%25"_s.repeated(kMega);
    QTest::newRow("body") << u"mailto:?body="_s + u"--%20%0A"_s.repeated(kMega / 4);
    QTest::newRow("bodies") << u"mailto:"_s + u"?body=&"_s.repeated(kMega / 7);
    QTest::newRow("brackets") << u"mailto:"_s + u"<("_s.repeated(kMega / 2);
}

void EditingTest::mailtoTakesLinearTime()
{
    QFETCH(QString, url);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(readMailto(url, me()));
    QVERIFY2(timer.elapsed() < 10000, qPrintable(QString::number(timer.elapsed())));
    for (const auto &none : {u"http://x"_s, u"mailt"_s, u""_s, u"javascript:mailto:a@b"_s})
        QVERIFY(!readMailto(none, me()));
}

void EditingTest::signaturesAreReplaced_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("previous");
    QTest::addColumn<QString>("signature");
    QTest::addColumn<QString>("tagline");
    QTest::addColumn<QString>("result");
    const auto row = [](const char *name, const QString &text, const QString &previous,
                        const QString &signature, const QString &tagline, const QString &result) {
        QTest::newRow(name) << text << previous << signature << tagline << result;
    };
    const QString forwarded =
        u"----- Begin forwarded message -----\nx\n-- \nOld\n------ End forwarded message ------\n"_s;
    const QString old = u"-- \nOld\n"_s;
    row("below an empty text", {}, {}, u"Me"_s, {}, u"\n-- \nMe\n"_s);
    row("below a text", u"text"_s, {}, u"Me\nHere\n"_s, {}, u"text\n\n-- \nMe\nHere\n"_s);
    row("replaced", u"text\n\n\n-- \nOld\n"_s, old, u"Me"_s, {}, u"text\n\n\n-- \nMe\n"_s);
    row("what was typed below stays", u"text\n\n-- \nOld\n\nP.S. more\n> quoted\n"_s, old, u"Me"_s, {},
        u"text\n\n-- \nMe\n\nP.S. more\n> quoted\n"_s);
    row("blanks may differ", u"text\n-- \nOld\n\n lines  "_s, u"-- \nOld\nlines\n"_s, u"Me"_s, {},
        u"text\n-- \nMe\n"_s);
    row("the last of two", u"-- \nOld\n-- \nOld\n"_s, old, u"Me"_s, {}, u"-- \nOld\n-- \nMe\n"_s);
    row("one that nobody knows stays", u"a\n-- \nChanged\n"_s, old, u"Me"_s, {},
        u"a\n-- \nChanged\n\n-- \nMe\n"_s);
    row("no part of a line", u"-- \nOlder\n"_s, old, u"Me"_s, {}, u"-- \nOlder\n\n-- \nMe\n"_s);
    row("taken away", u"text\n\n-- \nOld\nmore"_s, old, {}, {}, u"text\n\nmore"_s);
    row("nothing to take away", u"text"_s, old, {}, {}, u"text"_s);
    row("a tagline", u"text\n"_s, {}, u"Me"_s, u"Be\nnice"_s, u"text\n\n-- \nMe\n\nBe\nnice\n"_s);
    row("a tagline alone", u"text\n"_s, {}, {}, u"Be nice"_s, u"text\n\n-- \nBe nice\n"_s);
    row("below a quotation", u"> a\n> -- \n> Old\n"_s, old, u"Me"_s, {}, u"> a\n> -- \n> Old\n\n-- \nMe\n"_s);
    row("below a forwarded message", forwarded, old, u"Me"_s, {}, forwarded + u"\n-- \nMe\n"_s);
}

void EditingTest::signaturesAreReplaced()
{
    QFETCH(QString, previous);
    QFETCH(QString, signature);
    QFETCH(QString, tagline);
    QFETCH(QString, result);
    Composition composition;
    QFETCH(QString, text);
    composition.text = text;
    const QString known = setSignature(composition, signature, false, tagline, previous);
    QCOMPARE(composition.text, result);
    setSignature(composition, signature, false, tagline, known);
    QCOMPARE(composition.text, result);
    QVERIFY(composition.html.isEmpty());
}

void EditingTest::signaturesWithoutSeparatorAreReplaced()
{
    Composition composition;
    composition.identity.set(IdentityStandardSeparator, false);
    composition.text = u"text"_s;
    const QString first = setSignature(composition, u"Old"_s, false, {});
    QCOMPARE(composition.text, u"text\n\nOld\n"_s);
    composition.text += u"\nP.S."_s;
    setSignature(composition, u"<b>Me</b>"_s, true, u"Be nice"_s, first);
    QCOMPARE(composition.text, u"text\n\nMe\n\nBe nice\n\nP.S."_s);
}

void EditingTest::richSignaturesAreReplaced()
{
    const QString start = u"<html><body><p>text -- here</p><blockquote><p>-- </p><p>Old</p></blockquote>"_s;
    const QString block = u"<div class=\"signature\">%1</div>"_s;
    Composition composition;
    composition.html = start + u"</body></html>"_s;
    composition.text = u"text -- here\n> -- \n> Old\n"_s;
    const QString first = setSignature(composition, u"<i>Old</i>"_s, true, {});
    const QString apart = start + u"<div><br></div>"_s;
    QCOMPARE(composition.html,
             apart + block.arg(u"<div>-- </div><div><i>Old</i></div>"_s) + u"</body></html>"_s);
    QVERIFY(composition.text.endsWith("\n\n-- \nOld\n"_L1));
    const QString second = setSignature(composition, u"a < b\n\nMe"_s, false, u"Be nice"_s, first);
    const QString lines = u"<div>-- </div><div>a &lt; b</div><div><br></div><div>Me</div>"
                          "<div><br></div><div>Be nice</div>"_s;
    QCOMPARE(composition.html, apart + block.arg(lines) + u"</body></html>"_s);
    setSignature(composition, {}, false, {}, second);
    QCOMPARE(composition.html, apart + u"</body></html>"_s);
    setSignature(composition, u"Me"_s, false, {});
    QCOMPARE(composition.html, apart + block.arg(u"<div>-- </div><div>Me</div>"_s) + u"</body></html>"_s);
    for (const auto &[spelling, left] :
         {std::pair(u"<p style=\"x\"><span style=\"y\">-- </span></p><p>Old</p>"_s, QString()),
          {u"<p>--\u00A0</p>Old<p>P.S.</p>"_s, u"<p>P.S.</p>"_s},
          {block.arg(u"\n<p>-- </p>\n<p>Old</p>\n<p>P.S.</p>\n"_s), block.arg(u"\n\n<p>P.S.</p>\n"_s)},
          {u"<div>--&nbsp;<br>Old<br>P.S.</div>"_s, u"<div><br>P.S.</div>"_s},
          {u"<p>-- </p><p>Older</p>"_s, u"<p>-- </p><p>Older</p>"_s}}) {
        composition.html = start + spelling + u"</body></html>"_s;
        setSignature(composition, {}, false, {}, first);
        QCOMPARE(composition.html, start + left + u"</body></html>"_s);
    }
}

void EditingTest::signaturesTakeLinearTime()
{
    constexpr int kMega = 1'000'000;
    QElapsedTimer timer;
    timer.start();
    for (const QString &piece :
         {u"<p>-- </p>"_s, u"<span>"_s, u"--"_s, u"<blockquote>-- <"_s, u"-- \n"_s, u"<"_s}) {
        Composition composition;
        composition.html = piece.repeated(kMega / piece.size()) + u"-- </p>"_s;
        composition.text = composition.html;
        setSignature(composition, u"Me"_s, false, {}, u"-- \nMe\n"_s);
        QVERIFY(composition.html.endsWith("<div>Me</div></div>"_L1) &&
                composition.text.endsWith("-- \nMe\n"_L1));
        setSignature(composition, u"Me"_s, false, {}, piece);
    }
    QVERIFY2(timer.elapsed() < 10000, qPrintable(QString::number(timer.elapsed())));
}

QTEST_GUILESS_MAIN(EditingTest)
#include "editing_test.moc"
