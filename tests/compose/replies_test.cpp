#include "compose/replies.h"

#include "support/scratch.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

class RepliesTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_scratch = std::make_unique<Scratch>(); }
    void cleanup() { m_scratch.reset(); }

    void answersGoWhereTheyBelong_data();
    void answersGoWhereTheyBelong();
    void answersThatMakeSenseAreOffered_data();
    void answersThatMakeSenseAreOffered();
    void referencesNameTheThread_data();
    void referencesNameTheThread();
    void theTextIsQuotedAsTheSettingsSay();
    void richAnswersTakeOnlyPicturesOfTheOriginal();
    void richAnswersHaveNoActiveContent();
    void longHtmlIsQuotedInPart();
    void inlineForwardsHaveTheirMarks();
    void inlineForwardsTakeTheFilesAlong();
    void attachedForwardsAreNamedAfterTheSubject_data();
    void attachedForwardsAreNamedAfterTheSubject();
    void nobodySeesWhatIsPrivate();
    void manyRecipientsTakeLinearTime();
    void hugeMessagesTakeLinearTime_data();
    void hugeMessagesTakeLinearTime();

private:
    static Identity me()
    {
        Identity identity;
        identity.name = u"Me"_s;
        identity.address = u"me@home.example"_s;
        return identity;
    }

    std::unique_ptr<Scratch> m_scratch;
};

namespace {

QString summaryOf(const Composition &reply)
{
    QStringList pieces;
    const auto add = [&](const char *name, const QString &value) {
        if (!value.isEmpty())
            pieces.append(QLatin1StringView(name) + u": "_s + value);
    };
    add("to", reply.to);
    add("cc", reply.cc);
    add("bcc", reply.bcc);
    add("groups", reply.newsgroups);
    add("distribution", reply.distribution);
    return pieces.join(u"; "_s);
}

} // namespace

void RepliesTest::answersGoWhereTheyBelong_data()
{
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<ReplyKind>("kind");
    QTest::addColumn<QString>("summary");
    const auto row = [](const char *name, ReplyKind kind, const QByteArray &header, const QString &summary) {
        QTest::newRow(name) << header << kind << summary;
    };
    constexpr auto Sender = ReplyKind::Sender;
    constexpr auto All = ReplyKind::All;
    constexpr auto List = ReplyKind::List;
    constexpr auto Followup = ReplyKind::Followup;
    const QByteArray joe = "From: Joe <joe@b>\n";
    const QByteArray us = joe + "To: me@home.example, Ann <ann@c>\nCc: ME2@home.example, \"B, C\" <bc@d>\n";
    const QByteArray list = us + "List-Post: <mailto:list@l.example?x=y>\n";
    const QByteArray news = joe + "Newsgroups: a.b, c.d\n";

    row("author", Sender, us, u"to: Joe <joe@b>"_s);
    row("Reply-To", Sender, us + "Reply-To: other@e, more@f\n", u"to: other@e, more@f"_s);
    row("Mail-Reply-To before Reply-To", Sender, us + "Reply-To: list@l\nMail-Reply-To: joe@home\n",
        u"to: joe@home"_s);
    row("Reply-To that is only mine", Sender, us + "Reply-To: ME@home.example\n", u"to: Joe <joe@b>"_s);
    row("Reply-To without an address", Sender, us + "Reply-To: nothing here\n", u"to: Joe <joe@b>"_s);
    row("poster", Sender, us + "Mail-Reply-To: Poster\nReply-To: x@y\n", u"to: Joe <joe@b>"_s);
    row("always", Sender, us + "Reply-To: always\n", u"to: Joe <joe@b>"_s);
    row("nobody", Sender, us + "Reply-To: nobody\n", QString());
    row("never", Sender, us + "Mail-Reply-To: never\nReply-To: x@y\n", QString());
    row("Reply-To that a list has put there", Sender, list + "Reply-To: List <LIST@l.example>\n",
        u"to: Joe <joe@b>"_s);
    row("Reply-To with the list and the author", Sender, list + "Reply-To: list@l.example, joe@home\n",
        u"to: list@l.example, joe@home"_s);
    row("only a Sender", Sender, "Sender: boss@x\n", u"to: boss@x"_s);
    row("no author", Sender, "To: ann@c\n", QString());
    row("to an article", Sender, news + "Distribution: local\n", u"to: Joe <joe@b>"_s);

    row("all", All, us, u"to: Joe <joe@b>; cc: Ann <ann@c>, \"B, C\" <bc@d>"_s);
    row("everybody once", All, us + "Reply-To: ANN@c\n", u"to: ANN@c; cc: \"B, C\" <bc@d>"_s);
    row("Mail-Followup-To", All, us + "Mail-Followup-To: list@l, me@home.example\n", u"to: list@l"_s);
    row("Mail-Followup-To: poster", All, us + "Mail-Followup-To: poster\nReply-To: x@y\n",
        u"to: Joe <joe@b>; cc: Ann <ann@c>, \"B, C\" <bc@d>"_s);
    row("Mail-Followup-To: nobody", All, us + "Mail-Followup-To: nobody\n",
        u"to: Ann <ann@c>, \"B, C\" <bc@d>"_s);
    row("Mail-Followup-To that is only mine", All, us + "Mail-Followup-To: me@home.example\n",
        u"to: Joe <joe@b>; cc: Ann <ann@c>, \"B, C\" <bc@d>"_s);
    row("all of an article", All, news + "Cc: ann@c\n", u"to: Joe <joe@b>; cc: ann@c; groups: a.b,c.d"_s);

    row("own message", Sender, "From: me@home.example\nTo: ann@c, me2@home.example\nCc: x@y\n",
        u"to: ann@c"_s);
    row("own message to all", All, "From: Me <ME@home.example>\nTo: ann@c\nCc: x@y\nBcc: z@z\n",
        u"to: ann@c; cc: x@y"_s);
    row("own message to hidden ones", All, "From: me@home.example\nBcc: z@z\n", u"bcc: z@z"_s);
    row("own note", Sender, "From: me@home.example\nTo: me@home.example\n", u"to: me@home.example"_s);

    row("list", List, list, u"to: list@l.example"_s);
    row("list with Mail-Followup-To", List, list + "Mail-Followup-To: list@l.example, joe@b\n",
        u"to: list@l.example, joe@b"_s);
    row("escaped list address", List, joe + "List-Post: <https://x/>, <MAILTO:a%2Bb@l.example> (moderated)\n",
        u"to: a+b@l.example"_s);
    row("list address that is none", List, joe + "List-Post: <mailto:a@b%0ABcc:x@y>\n", u"to: Joe <joe@b>"_s);
    row("list nobody may post to", List, joe + "List-Post: NO\nX-BeenThere: l@x.example\n",
        u"to: Joe <joe@b>"_s);
    row("X-BeenThere", List, joe + "X-BeenThere: l@x.example\n", u"to: l@x.example"_s);
    row("Mailing-List", List, joe + "Mailing-List: list l@x.example; contact o@x.example\n",
        u"to: l@x.example"_s);

    row("follow-up", Followup, news + "Distribution: local\n", u"groups: a.b,c.d; distribution: local"_s);
    row("distribution that says nothing", Followup, news + "Distribution: World\n", u"groups: a.b,c.d"_s);
    row("Followup-To", Followup, news + "Followup-To: e.f\n", u"groups: e.f"_s);
    row("Followup-To: poster", Followup, news + "Followup-To: poster\nDistribution: local\n",
        u"to: Joe <joe@b>"_s);
    row("Followup-To: nobody", Followup, news + "Followup-To: nobody\n", u"to: Joe <joe@b>"_s);
    row("Followup-To: poster among groups", Followup, news + "Followup-To: a.b,poster\n",
        u"to: Joe <joe@b>; groups: a.b"_s);
    row("Followup-To: always", Followup, news + "Followup-To: always\n",
        u"to: Joe <joe@b>; groups: a.b,c.d"_s);
    row("Mail-Copies-To", Followup, news + "Mail-Copies-To: copy@b\n", u"to: copy@b; groups: a.b,c.d"_s);
    row("Mail-Copies-To: never", Followup, news + "Mail-Copies-To: never\n", u"groups: a.b,c.d"_s);
    row("names of groups are checked", Followup, joe + "Newsgroups: a.b,,x y,a.b\n", u"groups: a.b"_s);
    row("follow-up to a mail", Followup, us, u"to: Joe <joe@b>; cc: Ann <ann@c>, \"B, C\" <bc@d>"_s);
}

void RepliesTest::answersGoWhereTheyBelong()
{
    QFETCH(QByteArray, header);
    QFETCH(ReplyKind, kind);
    ReplyOptions options;
    options.ownAddresses = {u"me2@home.example"_s};
    QTEST(summaryOf(replyTo(Message(header + "\ntext\n"), kind, me(), options)), "summary");
}

void RepliesTest::answersThatMakeSenseAreOffered_data()
{
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QString>("kinds"); // Sender, All, List, Followup
    QTest::newRow("a private mail") << QByteArray("From: a@b\nTo: me@home.example\n") << u"S"_s;
    QTest::newRow("a mail to many") << QByteArray("From: a@b\nTo: me@home.example, c@d\n") << u"SA"_s;
    QTest::newRow("a list") << QByteArray("From: a@b\nTo: l@x.example\nList-Post: <mailto:l@x.example>\n")
                            << u"SAL"_s;
    QTest::newRow("an article") << QByteArray("From: a@b\nNewsgroups: a.b\n") << u"SAF"_s;
    QTest::newRow("nothing") << QByteArray("Subject: x\n") << QString();
}

void RepliesTest::answersThatMakeSenseAreOffered()
{
    QFETCH(QByteArray, header);
    const Message message(header + "\n");
    QString kinds;
    for (const auto &[kind, letter] :
         {std::pair{ReplyKind::Sender, u'S'}, std::pair{ReplyKind::All, u'A'},
          std::pair{ReplyKind::List, u'L'}, std::pair{ReplyKind::Followup, u'F'}})
        if (canReplyTo(message, kind, {u"me@home.example"_s}))
            kinds += letter;
    QTEST(kinds, "kinds");
}

void RepliesTest::referencesNameTheThread_data()
{
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QByteArray>("parent");
    QTest::addColumn<QByteArray>("references");
    const auto row = [](const char *name, const QByteArray &header, const QByteArray &parent,
                        const QByteArray &references) {
        QTest::newRow(name) << header << parent << references;
    };
    row("a first message", "Message-ID: <1@x>\n", "<1@x>", "<1@x>");
    row("in a thread", "References: <1@x>\n <2@x>\nMessage-ID: <3@x>\n", "<3@x>", "<1@x> <2@x> <3@x>");
    row("only In-Reply-To", "In-Reply-To: Joe's of <1@x> today\nMessage-ID: <2@x>\n", "<2@x>", "<1@x> <2@x>");
    row("In-Reply-To several", "In-Reply-To: <0@x> <1@x>\nMessage-ID: <2@x>\n", "<2@x>", "<2@x>");
    row("no identifier", "References: <1@x>\n", "", "<1@x>");
    row("the parent already there", "References: <1@x> <3@x> <2@x>\nMessage-ID: <3@x>\n", "<3@x>",
        "<1@x> <2@x> <3@x>");
    row("what cannot stand in a header", "References: <a\x01@x> <\xE4@x> <1@x>\nMessage-ID: <2@x>\n", "<2@x>",
        "<1@x> <2@x>");
    QByteArray many;
    QByteArray kept = "<0@x>";
    for (int i = 0; i < 1000; ++i) {
        many += " <" + QByteArray::number(i) + "@x>";
        if (i >= 978)
            kept += " <" + QByteArray::number(i) + "@x>";
    }
    row("a long list keeps its first and its newest", "References:" + many + "\nMessage-ID: <m@x>\n", "<m@x>",
        kept + " <m@x>");
}

void RepliesTest::referencesNameTheThread()
{
    QFETCH(QByteArray, header);
    const Composition reply = replyTo(Message("From: a@b\n" + header + "\n"), ReplyKind::Sender, me(), {});
    QTEST(reply.inReplyTo, "parent");
    QTEST(reply.references, "references");
}

void RepliesTest::theTextIsQuotedAsTheSettingsSay()
{
    const Message mail(
        "From: Joe <joe@b>\nTo: me@home.example, ann@c\nSubject: =?utf-8?Q?h=C3=A9?=\n\ntext\n");
    const Composition personal = replyTo(mail, ReplyKind::Sender, me(), {});
    QCOMPARE(personal.text, u"You wrote:\n\n> text\n"_s);
    QCOMPARE(personal.subject, u"Re: hé"_s);
    QCOMPARE(personal.identity, me());
    QCOMPARE(replyTo(mail, ReplyKind::All, me(), {}).text, u"Joe wrote:\n\n> text\n"_s);
    QCOMPARE(replyTo(Message("Subject: rE: x\n\n"), ReplyKind::All, me(), {}).subject, u"rE: x"_s);
    ReplyOptions options;
    options.ownMessage = true;
    QCOMPARE(replyTo(mail, ReplyKind::Sender, me(), options).text, u"Joe wrote:\n\n> text\n"_s);
    QVERIFY(isPersonalReply(mail, ReplyKind::Sender, me(), {}));
    QVERIFY(!isPersonalReply(mail, ReplyKind::All, me(), {}) &&
            !isPersonalReply(mail, ReplyKind::Sender, me(), options));
    setBoolSetting(Setting::QuoteText, false);
    QVERIFY(replyTo(mail, ReplyKind::Sender, me(), {}).text.isEmpty());
    options.selectedText = u"this"_s;
    QCOMPARE(replyTo(mail, ReplyKind::All, me(), options).text, u"Joe wrote:\n\n> this\n"_s);
}

void RepliesTest::richAnswersTakeOnlyPicturesOfTheOriginal()
{
    const Message original(
        "From: Joe <joe@b>\nContent-Type: multipart/related; boundary=b\n\n--b\nContent-Type: text/html\n\n"
        "<p>Hi <img src=\"cid:a&amp;1@x\"><img src='cid:a&amp;1@x'><img src=\"cid:svg@x\">"
        "<img src=\"cid:none@x\"><img src=\"http://spy.example/p.png\" width=50 height=50>"
        "<img src=\"file:///etc/passwd\"><img src=\"/etc/passwd\"><img "
        "src=\"data:image/png;base64,AAAA\"></p>\n"
        "--b\nContent-Type: image/png; name=\"../../x.png\"\nContent-ID: <a&1@x>\n"
        "Content-Transfer-Encoding: base64\n\niVBORw0KGgo=\n"
        "--b\nContent-Type: image/svg+xml\nContent-ID: <svg@x>\n\n<svg/>\n--b--\n");
    ReplyOptions options;
    options.rich = true;
    const Composition reply = replyTo(original, ReplyKind::All, me(), options);
    QCOMPARE(reply.attachments.size(), 1);
    const Attachment &picture = reply.attachments.first();
    QCOMPARE(picture.contentType, "image/png");
    QCOMPARE(picture.data, QByteArray::fromBase64("iVBORw0KGgo="));
    QVERIFY(picture.isInline() && !picture.contentId.contains('&') && !picture.name.contains(u'/'));
    static const QRegularExpression kImages(u"<img[^>]* src=\"([^\"]*)\""_s);
    QStringList sources;
    for (auto found = kImages.globalMatch(reply.html); found.hasNext();)
        sources.append(found.next().captured(1));
    QCOMPARE(sources, QStringList(2, u"cid:"_s + QString::fromLatin1(picture.contentId)));
    QVERIFY(!reply.html.contains("spy.example"_L1) && !reply.html.contains("passwd"_L1));
}

void RepliesTest::richAnswersHaveNoActiveContent()
{
    const Message original("From: =?utf-8?Q?=3Cb=3EJoe=3C/b=3E?= <joe@b>\nContent-Type: text/html\n\n"
                           "<style>p{color:#123456}</style><script>x()</script><p onclick=x()>One</p>"
                           "<form action=http://x><iframe src=http://y></iframe></blockquote></body>two");
    ReplyOptions options;
    options.rich = true;
    const Composition reply = replyTo(original, ReplyKind::All, me(), options);
    QVERIFY(reply.html.startsWith("<p>&lt;b&gt;Joe&lt;/b&gt; wrote:</p><blockquote"_L1));
    for (const auto &bad : {u"script"_s, u"onclick"_s, u"<form"_s, u"<iframe"_s, u"<style"_s, u"<html"_s})
        QVERIFY2(!reply.html.contains(bad, Qt::CaseInsensitive), qPrintable(reply.html));
    QCOMPARE(reply.html.count("<blockquote"_L1), reply.html.count("</blockquote"_L1));
    QVERIFY(reply.html.indexOf("two"_L1) < reply.html.indexOf("</blockquote"_L1));
    QCOMPARE(reply.text, u"<b>Joe</b> wrote:\n\n> One\n>\n> two\n"_s);
    QVERIFY(replyTo(Message("From: a@b\n\nplain\n"), ReplyKind::All, me(), options).html.isEmpty());
}

/// An answer quotes as much as somebody reads; what is passed on is whole.
void RepliesTest::longHtmlIsQuotedInPart()
{
    const QByteArray line = "<p>Some words of a long text that says little.</p>\n";
    const Message original("From: a@b\nContent-Type: text/html\n\n<html><body>" + line.repeated(20'000) +
                           "<p>the end</p></body></html>\n");
    ReplyOptions options;
    options.rich = true;
    const QString quoted = replyTo(original, ReplyKind::Sender, me(), options).html;
    QVERIFY2(quoted.size() > 200'000 && quoted.size() < 500'000, qPrintable(QString::number(quoted.size())));
    QVERIFY(quoted.endsWith("</blockquote><p><br></p>"_L1));
    QVERIFY(forward({original}, ForwardKind::Inline, ForwardMark::Front, me(), options)
                .html.contains("the end"_L1));
}

void RepliesTest::inlineForwardsHaveTheirMarks()
{
    const Message original("Date: Thu, 30 Mar 2006 18:36:28 +0200\nFrom: Joe <joe@b>\nTo: me@home.example\n"
                           "Cc: x@y\nSubject: News\nReferences: <1@x>\n\ntext\n-- \nJoe");
    const Composition front = forward({original}, ForwardKind::Inline, ForwardMark::Front, me(), {});
    QCOMPARE(front.text, u"----- Begin forwarded message -----\nDate: Thu, 30 Mar 2006 18:36:28 +0200\n"
                         "From: Joe <joe@b>\nTo: me@home.example\nCc: x@y\nSubject: News\n\ntext\n-- \nJoe\n"
                         "------ End forwarded message ------\n"_s);
    QCOMPARE(front.subject, u"Fw: News"_s);
    QVERIFY(front.to.isEmpty() && front.references.isEmpty());
    QCOMPARE(forward({original}, ForwardKind::Inline, ForwardMark::Behind, me(), {}).subject,
             u"News (fwd)"_s);
    const Message again("Subject: fw: News (FWD)\n\n");
    for (const ForwardMark mark : {ForwardMark::Front, ForwardMark::Behind})
        QCOMPARE(forward({again}, ForwardKind::Inline, mark, me(), {}).subject, u"fw: News (FWD)"_s);
    QCOMPARE(forwardSubject(u"Fw: News"_s, ForwardMark::Behind), u"News (fwd)"_s); // chosen afterwards
    QCOMPARE(forwardSubject(u"News (fwd)"_s, ForwardMark::Front), u"Fw: News"_s);
}

void RepliesTest::inlineForwardsTakeTheFilesAlong()
{
    const Message original(
        "Subject: x\nContent-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: multipart/related; "
        "boundary=c\n\n"
        "--c\nContent-Type: text/html\n\n<p>Hi<img src=cid:1@x></p>\n--c\nContent-Type: image/png\n"
        "Content-ID: <1@x>\n\npicture\n--c--\n--b\nContent-Type: application/pdf; name=a.pdf\n\npdf\n--b\n"
        "Content-Type: message/rfc822\n\nBcc: secret@x\nSubject: inner\rbcc : secret\r\r\rX-Velmar-Sign: "
        "secret\nResent-Bcc: secret\n secret\n\nx\n--b--\n");
    const auto names = [](const Composition &composition) {
        QStringList found;
        for (const Attachment &attachment : composition.attachments)
            found.append(attachment.name + (attachment.isInline() ? u" inline"_s : QString()));
        return found;
    };
    const Composition plain = forward({original}, ForwardKind::Inline, ForwardMark::Front, me(), {});
    QCOMPARE(plain.attachments.size(), 3);
    QVERIFY(names(plain).filter(u"inline"_s).isEmpty() && names(plain).contains(u"a.pdf"_s));
    QCOMPARE(plain.attachments.last().data, "Subject: inner\n\nx");
    ReplyOptions options;
    options.rich = true;
    const Composition rich = forward({original}, ForwardKind::Inline, ForwardMark::Front, me(), options);
    QCOMPARE(rich.attachments.size(), 3);
    QCOMPARE(names(rich).filter(u"inline"_s).size(), 1);
    const qsizetype begin = rich.html.indexOf("<p>----- Begin forwarded message -----</p>"_L1);
    QVERIFY(begin >= 0 && begin < rich.html.indexOf("Hi"_L1));
    const Message huge("Subject: huge\nContent-Type: text/html\n\n" +
                       QByteArray("<p>some words").repeated(330'000));
    QCOMPARE(names(forward({huge}, ForwardKind::Inline, ForwardMark::Front, me(), options)), {u"huge.eml"_s});
    QVERIFY(rich.html.endsWith("<p>------ End forwarded message ------</p>"_L1));
}

void RepliesTest::attachedForwardsAreNamedAfterTheSubject_data()
{
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QString>("name");
    QTest::newRow("mail") << QByteArray("Subject: Hello\n") << u"Hello.eml"_s;
    QTest::newRow("article") << QByteArray("Subject: Hello\nNewsgroups: a.b\n") << u"Hello.nws"_s;
    QTest::newRow("no subject") << QByteArray("From: a@b\n") << u"Untitled.eml"_s;
}

void RepliesTest::attachedForwardsAreNamedAfterTheSubject()
{
    QFETCH(QByteArray, header);
    const Message original(header + "\ntext\n");
    const Composition composition = forward({original, Message("Subject: ../../etc/x\n\n")},
                                            ForwardKind::Attached, ForwardMark::Front, me(), {});
    QCOMPARE(composition.attachments.size(), 2);
    QTEST(composition.attachments.first().name, "name");
    QCOMPARE(composition.attachments.first().contentType, "message/rfc822");
    QCOMPARE(composition.attachments.first().data, original.text());
    QVERIFY(!composition.attachments.last().name.contains(u'/'));
    QVERIFY(composition.text.isEmpty());
}

void RepliesTest::nobodySeesWhatIsPrivate()
{
    const Message own("From: me@home.example\nTo: a@b\nBCC: secret@x,\n other@y\nX-velmar-rcpt-to: secret@x\n"
                      "X-VELMAR-Future: 1\nSubject: x\n\nBcc: text\n");
    const Composition attached = forward({own}, ForwardKind::Attached, ForwardMark::Front, me(), {});
    QCOMPARE(attached.attachments.first().data, "From: me@home.example\nTo: a@b\nSubject: x\n\nBcc: text\n");
    const Composition inlined = forward({own}, ForwardKind::Inline, ForwardMark::Front, me(), {});
    QVERIFY(!inlined.text.contains("secret"_L1));
}

void RepliesTest::manyRecipientsTakeLinearTime()
{
    QByteArray to = "To: me@home.example";
    for (int i = 0; i < 100'000; ++i)
        to += ",\n user" + QByteArray::number(i) + "@example.org";
    QByteArray list;
    for (int i = 0; i < 50'000; ++i)
        list += " <" + QByteArray::number(i) + "@x>";
    QElapsedTimer timer;
    timer.start();
    const Composition reply =
        replyTo(Message("From: a@b\n" + to + "\nReferences:" + list + "\n\n"), ReplyKind::All, me(), {});
    QCOMPARE(reply.cc.count(u'@'), 100'000);
    QVERIFY2(timer.elapsed() < 10000, qPrintable(QString::number(timer.elapsed())));
}

void RepliesTest::hugeMessagesTakeLinearTime_data()
{
    QTest::addColumn<QByteArray>("html");
    constexpr int kSize = 400'000;
    QTest::newRow("pictures") << QByteArray("<img src=cid:1@x>").repeated(kSize / 17);
    QTest::newRow("pictures that are not there") << QByteArray("<img src=cid:z@x>").repeated(kSize / 17);
    QTest::newRow("quotations") << QByteArray("<blockquote>a").repeated(kSize / 13);
    QTest::newRow("one word") << QByteArray(kSize, 'a');
    QTest::newRow("paragraphs") << QByteArray("<p>some words").repeated(kSize / 13);
}

void RepliesTest::hugeMessagesTakeLinearTime()
{
    QFETCH(QByteArray, html);
    QByteArray message =
        "From: a@b\nContent-Type: multipart/related; boundary=b\n\n--b\nContent-Type: text/html\n\n" + html +
        "\n";
    for (int i = 0; i < 5000; ++i)
        message += "--b\nContent-Type: image/png\nContent-ID: <" + QByteArray::number(i) + "@x>\n\nx\n";
    QElapsedTimer timer;
    timer.start();
    ReplyOptions options;
    options.rich = true;
    const Composition reply = replyTo(Message(message), ReplyKind::Sender, me(), options);
    const Composition passed =
        forward({Message(message)}, ForwardKind::Inline, ForwardMark::Front, me(), options);
    QVERIFY2(timer.elapsed() < 20000, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(!reply.html.isEmpty() && reply.attachments.size() <= 1);
    QCOMPARE(passed.attachments.size(), 5000);
}

QTEST_GUILESS_MAIN(RepliesTest)
#include "replies_test.moc"
