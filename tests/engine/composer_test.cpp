#include "composerattest.h"
#include "config/settings.h"
#include "identity/signatures.h"
#include "identity/templates.h"
#include "net/accountmanager.h"
#include "store/serverplace.h"
#include "support/mail.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QDeadlineTimer>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

class ComposerTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }

    void withoutAnIdentity();
    void whoAnswers_data();
    void whoAnswers();
    void whatStandsInTheText_data();
    void whatStandsInTheText();
    void settingsOfANewMessage();
    void answersKnowTheirOriginal();
    void whatIsGone_data();
    void whatIsGone();
    void whatIsHereInPart_data();
    void whatIsHereInPart();
    void aSignatureFromACommand();

    void addresses();
    void addressesOfLaterMail();
    void manyAddressesInSlices();
};

void ComposerTest::withoutAnIdentity()
{
    const Scratch scratch;
    Engine engine;
    QVERIFY(engine.load());
    QVERIFY(!engine.composer().start({}).error.isEmpty());
}

void ComposerTest::whoAnswers_data()
{
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QString>("writer");
    const QString ada = u"ada@example.org"_s;
    const QString work = u"work@example.com"_s;
    QTest::newRow("the one it went to") << QByteArray("To: WORK@example.com\n") << work;
    QTest::newRow("the first of two")
        << QByteArray("To: x@y.org, ada@example.org\nCc: work@example.com\n") << ada;
    QTest::newRow("in copy") << QByteArray("To: list@y.org\nCc: Ada <work@example.com>\n") << work;
    QTest::newRow("in the envelope alone")
        << QByteArray("To: list@y.org\nDelivered-To: work@example.com\n") << work;
    QTest::newRow("nobody: the default one") << QByteArray("To: list@y.org\n") << ada;
    QTest::newRow("written by oneself")
        << QByteArray("From: work@example.com\nTo: ada@example.org\n") << work;
}

void ComposerTest::whoAnswers()
{
    QFETCH(QByteArray, header);
    QFETCH(QString, writer);
    const Scratch scratch;
    Program program;
    const QByteArray from = header.startsWith("From") ? QByteArray() : QByteArray("From: bob@y.org\n");
    const MessageRef original = program.add(GroupRole::Inbox, from + header + "Subject: s\n\ntext\n");
    for (const Kind kind : {Kind::Reply, Kind::Forward, Kind::Resend})
        QCOMPARE(program.start(kind, {original}).composition.identity.address, writer);
    const auto asked =
        program.start(Kind::Reply, {original}, [&](ComposeWish &wish) { wish.identity = program.work; });
    QCOMPARE(asked.composition.identity.address, u"work@example.com"_s);
}

void ComposerTest::whatStandsInTheText_data()
{
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<bool>("hasTemplate");
    QTest::addColumn<QString>("body");
    QTest::addColumn<QString>("text");
    const QString end = u"\n-- \nAda's signature\n"_s;
    const QString quote = u"You wrote:\n\n> text\n"_s;
    QTest::newRow("new") << Kind::New << false << QString() << end;
    QTest::newRow("new, with a text") << Kind::New << false << u"Hello\n"_s << u"Hello\n"_s + end;
    QTest::newRow("new, from a template") << Kind::New << true << QString() << u"Dear ,\n\n"_s + end;
    QTest::newRow("reply, still to type") << Kind::Reply << false << QString() << u"\n\n"_s + quote + end;
    QTest::newRow("reply, with a text") << Kind::Reply << false << u"Yes\n"_s << quote + u"\nYes\n"_s + end;
    QTest::newRow("reply, from a template")
        << Kind::Reply << true << QString() << u"Dear Bob,\n"_s + quote + u"\n"_s + end;
    QTest::newRow("forward, still to type")
        << Kind::Forward << false << QString() << u"\n\n----- Begin forwarded message -----"_s;
    QTest::newRow("forward, with a text") << Kind::Forward << false << u"See below\n"_s
                                          << u"See below\n\n----- Begin forwarded message -----"_s;
    QTest::newRow("forward, from a template")
        << Kind::Forward << true << QString()
        << u"Dear Bob,\nBob wrote:\n\n> text\n\n----- Begin forwarded message -----"_s;
}

void ComposerTest::whatStandsInTheText()
{
    QFETCH(Kind, kind);
    QFETCH(bool, hasTemplate);
    QFETCH(QString, body);
    QFETCH(QString, text);
    const Scratch scratch;
    Program program;
    QVERIFY(writeSignature(program.ada, {u"main"_s, Signature::Kind::Plain, u"Ada's signature"_s}));
    QVERIFY(writeTemplate(u"letter"_s, u"Dear %from[name],\n%body[quoted]"_s));
    program.change(program.ada, [](Identity &identity) { identity.signature = u"main"_s; });
    const MessageRef original = program.add(
        GroupRole::Inbox, "From: Bob <bob@y.org>\nTo: ada@example.org\nSubject: s\n\ntext\n-- \nBob\n");
    const auto started = program.start(kind, kind == Kind::New ? MessageRefs() : MessageRefs{original},
                                       [&](ComposeWish &wish) {
                                           wish.templateName = hasTemplate ? u"letter"_s : QString();
                                           wish.isTyped = body.isEmpty();
                                           wish.body = body;
                                       });
    const QString begun = started.composition.text;
    const auto seen = [](QString shown) { return shown.replace(u"\n\n\n"_s, u"\n\n"_s).trimmed(); };
    if (kind == Kind::Forward) {
        QVERIFY2(seen(begun).startsWith(seen(text)), qPrintable(begun));
        QVERIFY(begun.contains(u"------ End forwarded message ------\n"_s));
        QVERIFY(begun.trimmed().endsWith(u"-- \nAda's signature"_s));
    } else {
        QCOMPARE(seen(begun), seen(text));
    }
    QVERIFY(begun.endsWith(started.signatureEnd));
    QCOMPARE(begun.count(u"\n-- \n"_s), kind == Kind::Forward ? 2 : 1); // the original's own, and ours
    QVERIFY(started.composition.html.isEmpty());
}

void ComposerTest::settingsOfANewMessage()
{
    const Scratch scratch;
    Program program;
    QVERIFY(writeTaglines(program.ada, {u"To err is human."_s}));
    program.change(program.ada, [](Identity &identity) { identity.set(IdentityTagline, true); });
    setBoolSetting(Setting::ReceiptsByDefault, true);
    setBoolSetting(Setting::SendRichTextMail, true);
    setBoolSetting(Setting::UseMIMEForMail, false);
    setBoolSetting(Setting::UseUUCodeForMail, true);
    setIntSetting(Setting::CharacterSet, 1);
    const auto started = program.start(Kind::New);
    QVERIFY(started.composition.receipt);
    QVERIFY(!started.composition.html.isEmpty());
    QCOMPARE(started.composition.attachmentForm, AttachmentForm::Uuencode);
    QVERIFY(started.composition.charset != "UTF-8");
    QCOMPARE(started.tagline, u"To err is human."_s);
    QVERIFY(started.composition.text.trimmed().endsWith(u"To err is human."_s));
    const auto article = program.start(Kind::New, {}, [](ComposeWish &wish) { wish.article = true; });
    QVERIFY(!article.composition.receipt);
    QVERIFY(article.composition.html.isEmpty());
    const auto plain =
        program.start(Kind::New, {}, [](ComposeWish &wish) { wish.form = ComposeWish::Form::Plain; });
    QVERIFY(plain.composition.html.isEmpty());
    const auto mail = program.start(
        Kind::Mailto, {}, [](ComposeWish &wish) { wish.mailto = u"mailto:bob@y.org?subject=Hi&body=One"_s; });
    QCOMPARE(mail.composition.to, u"bob@y.org"_s);
    QVERIFY(mail.composition.text.startsWith(u"One"_s));
    QVERIFY(mail.composition.html.contains(u"<div>One</div>"_s));
}

void ComposerTest::answersKnowTheirOriginal()
{
    const Scratch scratch;
    Program program;
    const MessageRef original =
        program.add(GroupRole::Inbox, "From: bob@example.org\nTo: ada@example.org\nMessage-ID: <1@x>\n"
                                      "Subject: Lunch\n\nHello\n");
    const MessageRef second = program.add(GroupRole::Inbox, mailText("2@x", "Dinner"));
    const auto reply = program.start(Kind::Reply, {original});
    const DraftContext wanted{original, DraftContext::Deed::Reply, {}, {}, true, false};
    QCOMPARE(reply.context, wanted);
    QCOMPARE(reply.composition.subject, u"Re: Lunch"_s);
    QCOMPARE(reply.composition.inReplyTo, QByteArray("<1@x>"));
    const auto selected =
        program.start(Kind::Reply, {original}, [](ComposeWish &wish) { wish.selectedText = u"ell"_s; });
    QVERIFY(selected.composition.text.contains(u"> ell\n"_s));
    const auto forward = program.start(Kind::Forward, {original, second}, [](ComposeWish &wish) {
        wish.forward = ForwardKind::Attached;
        wish.mark = ForwardMark::Behind;
    });
    QCOMPARE(forward.context.deed, DraftContext::Deed::Forward);
    QCOMPARE(forward.composition.attachments.size(), 2);
    QCOMPARE(forward.context.others, MessageRefs{second});
    QVERIFY(!program.start(Kind::Reply, {original}, [](ComposeWish &wish) { wish.reply = ReplyKind::All; })
                 .context.isPersonal);
    QCOMPARE(forward.composition.subject, u"Lunch (fwd)"_s);
    setBoolSetting(Setting::QuoteText, false);
    QVERIFY(!program.start(Kind::Reply, {original}).composition.text.contains(u'>'));
}

void ComposerTest::whatIsGone_data()
{
    QTest::addColumn<Kind>("kind");
    for (const Kind kind :
         {Kind::Reply, Kind::Forward, Kind::Draft, Kind::EditAsNew, Kind::Resend, Kind::Mailto})
        QTest::addRow("%d", int(kind)) << kind;
}

void ComposerTest::whatIsGone()
{
    QFETCH(Kind, kind);
    const Scratch scratch;
    Program program;
    const MessageRef nowhere{program.group(GroupRole::Inbox).number(), 99};
    QVERIFY(!program.start(kind, {nowhere}).error.isEmpty());
    QVERIFY(!program.start(kind, {{4711, 1}}).error.isEmpty());
    QVERIFY(!program.start(kind, {}).error.isEmpty());
    QCOMPARE(scratch.reports, QStringList());
}

void ComposerTest::whatIsHereInPart_data()
{
    QTest::addColumn<Kind>("kind");
    for (const Kind kind : {Kind::Reply, Kind::Forward, Kind::Draft, Kind::EditAsNew, Kind::Resend})
        QTest::addRow("%d", int(kind)) << kind;
}

/// Nothing passes the header of a message on as if it were the whole; an answer says why it quotes nothing.
void ComposerTest::whatIsHereInPart()
{
    QFETCH(Kind, kind);
    Scratch scratch;
    Program program;
    Group &inbox = program.group(GroupRole::Inbox);
    const QByteArray header = withServerPlace({1, 5000, "uid"}, "From: Bob <bob@y.org>\nSubject: s\n");
    const quint32 half = program.engine.groups().addQuietly(
        inbox, Message(header), {.account = 1, .time = 1, .marks = Mark::HeaderOnly, .serverSize = 5000});
    const MessageRef place{inbox.number(), half};
    const MessageRef whole = program.add(GroupRole::Inbox, mailText("2@x", "Dinner"));
    const auto started =
        program.start(kind, {place, whole}, [](ComposeWish &wish) { wish.forward = ForwardKind::Attached; });
    QCOMPARE(started.headersOnly, MessageRefs{place});
    QCOMPARE(started.error.isEmpty(), kind == Kind::Reply);
    QCOMPARE(started.notice.isEmpty(), kind != Kind::Reply);
    QVERIFY(started.composition.text.trimmed().isEmpty());
    if (kind == Kind::Resend) {
        QCOMPARE(program.composer.resend(place, Identity(), u"dora@example.org"_s), quint64(0));
        QCOMPARE(scratch.reports.size(), 1);
    }
}

void ComposerTest::aSignatureFromACommand()
{
    const Scratch scratch;
    Program program;
    QVERIFY(writeSignature(program.ada, {u"clock"_s, Signature::Kind::Command, u"date"_s}));
    program.change(program.ada, [](Identity &identity) { identity.signature = u"clock"_s; });
    const auto started = program.start(Kind::New);
    QCOMPARE(started.signatureCommand, u"date"_s);
    QVERIFY(started.composition.text.trimmed().isEmpty());
}

void ComposerTest::addresses()
{
    const Scratch scratch;
    Program program;
    const auto from = [&](GroupRole role, const QByteArray &field, const QByteArray &address) {
        program.add(role, field + ": " + address + "\nSubject: s\n\n.\n");
    };
    for (int i = 0; i < 3; ++i)
        from(GroupRole::Inbox, "From", "Often Seen <anna@seen.org>");
    from(GroupRole::Inbox, "From", "once@seen.org");
    from(GroupRole::Inbox, "From", "=?utf-8?q?Ren=C3=A9_Ab=C3=A9?= <rene@seen.org>");
    from(GroupRole::Inbox, "From", "no address at all");
    from(GroupRole::Junk, "From", "abuser@junk.org");
    from(GroupRole::WasteBasket, "From", "about@waste.org");
    from(GroupRole::Drafts, "To", "absent@draft.org");
    from(GroupRole::SentMail, "To", "anton@written.org, Zoe <zoe@written.org>");
    from(GroupRole::SentMail, "To",
         "zoe@written.org\nCc: Cora <copied@written.org>\nBcc: hidden@written.org");
    from(GroupRole::Inbox, "From", "zoe@written.org");

    const QSignalSpy changed(&program.composer, &Composer::addressesChanged);
    QVERIFY(program.composer.complete(u"a"_s, 10).isEmpty()); // the question begins the search
    QTRY_COMPARE(program.composer.complete(u"once@"_s, 10).size(), 1);
    QTRY_VERIFY(!changed.isEmpty());
    const auto found = [&](const QString &beginning, int most = 10) {
        QStringList list;
        for (const Composer::KnownAddress &known : program.composer.complete(beginning, most))
            list += known.address.address;
        return list;
    };
    QCOMPARE(found(u"a"_s), QStringList({u"anton@written.org"_s, u"anna@seen.org"_s, u"rene@seen.org"_s}));
    QCOMPARE(found(u"A"_s, 1), QStringList({u"anton@written.org"_s}));
    QCOMPARE(found(u"seen"_s), QStringList({u"anna@seen.org"_s})); // a word of the name, not the domain
    QCOMPARE(found(u"ab\u00e9"_s), QStringList({u"rene@seen.org"_s}));
    QCOMPARE(found(u""_s), QStringList());
    QCOMPARE(found(u"cora"_s) + found(u"hidden"_s),
             QStringList({u"copied@written.org"_s, u"hidden@written.org"_s}));
    QCOMPARE(found(u"abu"_s) + found(u"abo"_s) + found(u"abs"_s), QStringList());
    const Composer::KnownAddress zoe = program.composer.complete(u"zoe"_s, 1).at(0);
    const Composer::KnownAddress wanted{{u"Zoe"_s, u"zoe@written.org"_s}, 2, false};
    QCOMPARE(zoe, wanted);
    QVERIFY(program.composer.isKnown(u"Once@Seen.org"_s));
    QVERIFY(program.composer.isKnown(u"ada@example.org"_s)); // oneself
    QVERIFY(!program.composer.isKnown(u"abuser@junk.org"_s));
    QVERIFY(program.composer.isNew(u"abuser@junk.org"_s));
    QVERIFY(!program.composer.isNew(u"abuser@"_s) && !program.composer.isNew(u"once@seen.org"_s));
    QCOMPARE(program.composer.knownAddresses(),
             QStringList({u"zoe@written.org"_s, u"copied@written.org"_s, u"hidden@written.org"_s,
                          u"anton@written.org"_s}));
}

void ComposerTest::addressesOfLaterMail()
{
    const Scratch scratch;
    Program program;
    program.composer.complete(u"x"_s, 1);
    program.add(GroupRole::Inbox, "From: first@late.org\nSubject: s\n\n.\n");
    QTRY_VERIFY(program.composer.isKnown(u"first@late.org"_s));
    program.add(GroupRole::Inbox, "From: second@late.org\nSubject: s\n\n.\n");
    QTRY_VERIFY(program.composer.isKnown(u"second@late.org"_s));
    Group &later = *program.engine.groups().make(u"Later"_s);
    program.engine.groups().add(later, Message("From: third@late.org\n\n.\n"), {}, 0, 1);
    QTRY_VERIFY(program.composer.isKnown(u"third@late.org"_s));
    QCOMPARE(program.composer.complete(u"first"_s, 1).at(0).weight, 1); // counted once
}

void ComposerTest::manyAddressesInSlices()
{
    const Scratch scratch;
    GroupStore store;
    QVERIFY(store.load());
    Group &inbox = *store.group(GroupRole::Inbox);
    for (int i = 0; i < 20'000; ++i) {
        const QByteArray number = QByteArray::number(i);
        QVERIFY(store.addQuietly(inbox, Message("From: p" + number + "@many.org\n\n.\n"), {}) != 0);
    }
    SeenAddresses seen(store, SeenAddresses::Limits{15'000, 4'000});
    seen.start();
    int slices = 0;
    const QDeadlineTimer patience(60'000);
    for (; !seen.isComplete() && !patience.hasExpired(); ++slices)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QVERIFY(seen.isComplete());
    QVERIFY2(slices > 4, qPrintable(QString::number(slices)));
    QVERIFY(seen.isKnown(u"p19999@many.org"_s)); // the newest first
    QVERIFY(!seen.isKnown(u"p0@many.org"_s));
    QCOMPARE(seen.complete(u"p1"_s, 5000).size(), 4000); // no more than that are kept
}

QTEST_GUILESS_MAIN(ComposerTest)
#include "composer_test.moc"
