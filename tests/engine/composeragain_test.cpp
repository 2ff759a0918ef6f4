#include "composerattest.h"
#include "config/directory.h"
#include "config/settings.h"
#include "identity/signatures.h"
#include "net/accountmanager.h"
#include "store/bincompactor.h"
#include "support/diskfaults.h"
#include "support/mail.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QCryptographicHash>
#include <QTest>

using namespace Qt::StringLiterals;

// Sending, taking back, and going on with what was written before.

class ComposerAgainTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }

    void sendingKeepsTheDraftUntilTheOutboxLetsItGo();
    void sendingThatFailsLeavesTheDraftOpen();
    void takingBack();
    void lostAttachmentsComeFromTheMessage_data();
    void lostAttachmentsComeFromTheMessage();
    void anArticleStaysOne();
    void anotherWriterIsToldOf();
    void aFullDisk();
    void resending();
    void postedAndMailed();
    void sentWithoutACopy_data();
    void sentWithoutACopy();
};

void ComposerAgainTest::sendingKeepsTheDraftUntilTheOutboxLetsItGo()
{
    const Scratch scratch;
    Program program;
    Drafts &drafts = program.engine.drafts();
    Composition composition = program.start(Kind::New).composition;
    composition.to = u"Bob <bob@example.org>"_s;
    composition.text = u"Hello"_s;
    SendWish wish;
    wish.draft = drafts.begin({});
    QVERIFY(drafts.keep(wish.draft, composition) && drafts.store(wish.draft));
    const quint64 ticket = program.composer.send(composition, wish);
    QVERIFY(ticket != 0);
    drafts.close(wish.draft); // the window
    const OutboxEntry *entry = program.engine.outbox().entry(ticket);
    QVERIFY(entry);
    const Message waiting = textAt(program.group(GroupRole::Outbox), entry->place.article);
    QCOMPARE(waiting.to(), u"Bob <bob@example.org>"_s);
    QCOMPARE(waiting.rawHeader("X-VELMAR-RCPT-TO"), QByteArray("bob@example.org"));
    QVERIFY(drafts.recovered().empty());
    QCOMPARE(program.group(GroupRole::Drafts).counts().total, 1u);
    QVERIFY(program.composer.isKnown(u"BOB@example.org"_s));
    emit program.engine.outbox().draftSettled(wish.draft);
    QCOMPARE(program.group(GroupRole::Drafts).counts().total, 0u);
    QVERIFY(drafts.versions(wish.draft).empty());
}

void ComposerAgainTest::sendingThatFailsLeavesTheDraftOpen()
{
    const Scratch scratch;
    Program program;
    Composition composition = program.start(Kind::New).composition;
    composition.to = u"\"nobody at all\" <not an address>"_s;
    SendWish wish;
    wish.draft = program.engine.drafts().begin({});
    QVERIFY(program.engine.drafts().keep(wish.draft, composition));
    QCOMPARE(program.composer.send(composition, wish), quint64(0));
    QVERIFY(!scratch.reports.isEmpty());
    QCOMPARE(program.engine.drafts().recovered(), std::vector<int>{wish.draft});
    QCOMPARE(program.group(GroupRole::Outbox).counts().total, 0u);
}

void ComposerAgainTest::takingBack()
{
    const Scratch scratch;
    Program program;
    QVERIFY(writeSignature(program.ada, {u"main"_s, Signature::Kind::Plain, u"Ada"_s}));
    QVERIFY(writeTaglines(program.ada, {u"To err is human."_s}));
    program.change(program.ada, [](Identity &identity) {
        identity.signature = u"main"_s;
        identity.set(IdentityTagline, true);
    });
    const MessageRef original = program.add(GroupRole::Inbox, mailText("1@x", "Lunch"));
    Composer::Started begun = program.start(Kind::Reply, {original});
    QVERIFY(!begun.signatureEnd.isEmpty() && !begun.tagline.isEmpty());
    begun.composition.bcc = u"Carol <carol@example.org>"_s;
    SendWish wish;
    wish.draft = program.engine.drafts().begin(begun.context);
    QVERIFY(program.engine.drafts().keep(wish.draft, begun.composition));
    const quint64 ticket = program.composer.send(begun.composition, wish);
    const auto again = program.composer.takeBack(ticket);
    QCOMPARE(again.error, QString());
    QCOMPARE(again.draft, wish.draft);
    QCOMPARE(again.context, begun.context);
    QCOMPARE(again.composition.text, begun.composition.text);
    QCOMPARE(again.composition.bcc, u"Carol <carol@example.org>"_s);
    QCOMPARE(again.signature, u"main"_s);
    QCOMPARE(again.signatureEnd, begun.signatureEnd);
    QCOMPARE(again.attribution, begun.attribution);
    QCOMPARE(again.tagline, begun.tagline);
    QCOMPARE(program.engine.drafts().recovered(), std::vector<int>{wish.draft});
    QVERIFY(!program.composer.takeBack(ticket).error.isEmpty());
    // Without a draft one is begun.
    const auto bare = program.composer.takeBack(program.composer.send(begun.composition, {}));
    QVERIFY(bare.draft != 0 && bare.draft != wish.draft);
    QCOMPARE(program.engine.drafts().versions(bare.draft).size(), std::size_t(1));
    QCOMPARE(bare.composition.subject, u"Re: Lunch"_s);
    QCOMPARE(bare.composition.bcc, u"Carol <carol@example.org>"_s);
    QVERIFY(program.engine.outbox().entries().empty());
    QCOMPARE(program.group(GroupRole::WasteBasket).counts().total, 0u);
}

void ComposerAgainTest::lostAttachmentsComeFromTheMessage_data()
{
    QTest::addColumn<bool>("isSent");
    QTest::newRow("out of the outbox") << true;
    QTest::newRow("out of Drafts") << false;
}

void ComposerAgainTest::lostAttachmentsComeFromTheMessage()
{
    QFETCH(bool, isSent);
    const Scratch scratch;
    Program program;
    Drafts &drafts = program.engine.drafts();
    Composition composition = program.start(Kind::New).composition;
    composition.to = u"bob@example.org"_s;
    composition.text = u"Hello"_s;
    composition.attachments = {{u"lost.bin"_s, "application/octet-stream", "lost", {}},
                               {u"kept.bin"_s, "application/octet-stream", "kept", {}}};
    SendWish wish;
    wish.draft = drafts.begin({});
    QVERIFY(drafts.keep(wish.draft, composition) && drafts.store(wish.draft));
    const MessageRef stored = drafts.context(wish.draft).stored;
    const quint64 ticket = isSent ? program.composer.send(composition, wish) : 0;
    if (!isSent)
        drafts.close(wish.draft);
    const QByteArray key = QCryptographicHash::hash("lost", QCryptographicHash::Blake2b_256).toHex();
    QVERIFY(
        QFile::remove(configPathOf(u"Drafts/%1/Attachments/"_s.arg(wish.draft) + QString::fromLatin1(key))));
    const auto again = isSent ? program.composer.takeBack(ticket) : program.start(Kind::Draft, {stored});
    QCOMPARE(again.error + again.notice, QString());
    QSet<QByteArray> contents;
    for (const Attachment &each : again.composition.attachments)
        contents += each.data;
    QCOMPARE(contents, QSet<QByteArray>({"lost", "kept"}));
    QCOMPARE(scratch.reports, QStringList());
}

void ComposerAgainTest::anArticleStaysOne()
{
    const Scratch scratch;
    Program program;
    const auto begun = program.start(Kind::New, {}, [](ComposeWish &wish) { wish.article = true; });
    const int draft = program.engine.drafts().begin(begun.context);
    QVERIFY(program.engine.drafts().keep(draft, begun.composition));
    QVERIFY(program.composer.goOnWith(draft).isArticle); // though no group is named yet
}

/// Who is no identity any more, or none here, writes no more in silence under another name.
void ComposerAgainTest::anotherWriterIsToldOf()
{
    const Scratch scratch;
    Program program;
    Drafts &drafts = program.engine.drafts();
    auto begun = program.start(Kind::New, {}, [&](ComposeWish &wish) { wish.identity = program.work; });
    const int draft = drafts.begin(begun.context);
    QVERIFY(drafts.keep(draft, begun.composition));
    QCOMPARE(program.composer.goOnWith(draft).notice, QString());
    QVERIFY(program.engine.identities().remove(program.work));
    const auto again = program.composer.goOnWith(draft);
    QCOMPARE(again.composition.identity.address, u"ada@example.org"_s);
    QVERIFY(again.notice.contains(u"work@example.com"_s) && again.notice.contains(u"ada@example.org"_s));
    const MessageRef foreign = program.add(GroupRole::Drafts, "From: X <x@y.org>\nSubject: s\n\ntext\n");
    QVERIFY(program.start(Kind::Draft, {foreign}).notice.contains(u"x@y.org"_s));
    const MessageRef own = program.add(GroupRole::Drafts, "From: ADA@example.org\nSubject: t\n\ntext\n");
    QCOMPARE(program.start(Kind::Draft, {own}).notice, QString());
}

/// Where the draft cannot be kept, nothing is sent, and nothing is taken back.
void ComposerAgainTest::aFullDisk()
{
    Scratch scratch;
    Program program;
    Composition composition = program.start(Kind::New).composition;
    composition.to = u"bob@example.org"_s;
    SendWish wish;
    wish.draft = program.engine.drafts().begin({});
    QVERIFY(program.engine.drafts().keep(wish.draft, composition));
    composition.text = u"changed"_s;
    DiskFaults::isFull = true;
    QCOMPARE(program.composer.send(composition, wish), quint64(0));
    DiskFaults::isFull = false;
    QVERIFY(!scratch.reports.isEmpty());
    QVERIFY(program.engine.outbox().entries().empty());
    const quint64 ticket = program.composer.send(composition, wish);
    QVERIFY(ticket != 0);
    DiskFaults::isFull = true;
    QVERIFY(!program.composer.takeBack(ticket).error.isEmpty());
    DiskFaults::isFull = false;
    QVERIFY(program.engine.outbox().entry(ticket));
    QVERIFY(program.engine.drafts().recovered().empty());
    QCOMPARE(program.composer.takeBack(ticket).draft, wish.draft);
}

void ComposerAgainTest::resending()
{
    const Scratch scratch;
    Program program;
    const MessageRef original = program.add(GroupRole::Inbox, mailText("1@x", "Lunch"));
    const Identity identity = program.start(Kind::Resend, {original}).composition.identity;
    QVERIFY(program.composer.resend(original, identity, u"dora@example.org"_s) != 0);
    const Message waiting = textAt(program.group(GroupRole::Outbox), 1);
    QCOMPARE(waiting.messageId(), QByteArray("<1@x>"));
    QCOMPARE(waiting.rawHeader("Resent-To"), QByteArray("dora@example.org"));
    QCOMPARE(program.composer.resend({1, 99}, identity, u"dora@example.org"_s), quint64(0));
    // Nothing was written: the message that came lies where it lay.
    const auto taken = program.composer.takeBack(program.engine.outbox().entries().front().ticket);
    QVERIFY(taken.error.isEmpty() && taken.draft == 0);
    QVERIFY(program.engine.outbox().entries().empty() && program.engine.drafts().recovered().empty());
    // Without it the message is written on, as somebody else's.
    const QByteArray foreign = mailText("2@x", "Dinner", "X-Velmar-Sign: Yes\nBcc: evil@example.com\n");
    const MessageRef gone = program.add(GroupRole::Inbox, foreign);
    const quint64 ticket = program.composer.resend(gone, identity, u"dora@example.org"_s);
    QVERIFY(program.engine.groups().deleteMessages(program.group(GroupRole::Inbox), {gone.article}, true));
    const auto kept = program.composer.takeBack(ticket);
    QVERIFY(kept.draft != 0 && !kept.composition.sign && kept.composition.bcc.isEmpty());
    QCOMPARE(kept.composition.subject, u"Dinner"_s);
}

void ComposerAgainTest::postedAndMailed()
{
    const Scratch scratch;
    Program program;
    Outbox &outbox = program.engine.outbox();
    Outbox::setUndoDelay(0);
    setBoolSetting(Setting::AutoSend, false);
    AccountData data;
    data.host = u"127.0.0.1"_s;
    data.name = u"out"_s;
    data.kind = AccountKind::Smtp;
    const int mail = program.engine.accounts().add(data);
    data.name = u"news"_s;
    data.kind = AccountKind::Nntp;
    const int news = program.engine.accounts().add(data);
    Composition composition = program
                                  .start(Kind::New, {},
                                         [](ComposeWish &wish) {
                                             wish.article = true;
                                             wish.newsgroups = u"misc.test"_s;
                                         })
                                  .composition;
    composition.to = u"bob@example.org"_s;
    composition.text = u"Hello"_s;
    QVERIFY(program.composer.send(composition, {}) != 0);
    const std::vector<OutboxEntry> entries = outbox.entries();
    QCOMPARE(entries.size(), std::size_t(2));
    for (const OutboxEntry &entry : entries)
        outbox.sendNow(entry.ticket);
    const auto mailed = outbox.next(mail);
    const auto posted = outbox.next(news);
    QVERIFY(mailed && mailed->text.contains("\n\n[Posted and mailed]\n\nHello\n"));
    QVERIFY(posted && posted->text.contains("\n\nHello\n"));
    QVERIFY(!posted->text.contains("[Posted and mailed]"));
}

void ComposerAgainTest::sentWithoutACopy_data()
{
    QTest::addColumn<bool>("isThrownAway");
    QTest::newRow("its text is damaged") << false;
    QTest::newRow("thrown away while it was on its way") << true;
}

/// It was accepted, and there is nothing to copy: only where the user did not want that, there is more to
/// say.
void ComposerAgainTest::sentWithoutACopy()
{
    QFETCH(bool, isThrownAway);
    const Scratch scratch;
    Outbox::setUndoDelay(0);
    int draft = 0;
    {
        Program program;
        program.engine.accounts().setFetchesBlocked(true);
        AccountData smtp;
        smtp.name = u"out"_s;
        smtp.host = u"127.0.0.1"_s;
        smtp.kind = AccountKind::Smtp;
        const int account = program.engine.accounts().add(smtp);
        Composition composition = program.start(Kind::New).composition;
        composition.to = u"bob@example.org"_s;
        composition.text = u"Hello\n"_s.repeated(20'000); // too large to be kept in memory
        draft = program.engine.drafts().begin({});
        QVERIFY(program.engine.drafts().keep(draft, composition));
        const quint64 ticket = program.composer.send(composition, {.draft = draft});
        Outbox &outbox = program.engine.outbox();
        const MessageRef place = outbox.entry(ticket)->place;
        QVERIFY(outbox.next(account) && outbox.sending(ticket, {"bob@example.org"}));
        if (isThrownAway) {
            Group &waiting = program.group(GroupRole::Outbox);
            program.engine.groups().deleteMessages(waiting, {place.article});
            QVERIFY(waiting.flush());
            QCOMPARE(BinCompactor(waiting.files(), 0).run(), BinCompactor::Progress::Done);
        } else {
            QFile bin(program.group(GroupRole::Outbox).files().directory() + u"/Bin0"_s);
            QVERIFY(bin.open(QIODevice::ReadWrite));
            QVERIFY(bin.write(QByteArray(bin.size(), 'x')) == bin.size());
        }
        outbox.accepted(ticket, {"bob@example.org"});
        outbox.release(ticket, {});
        outbox.finish();
        QVERIFY(outbox.entries().empty());
    }
    const auto isSaid = [](const QString &report) { return report.contains(u"its draft is kept"); };
    QCOMPARE(std::count_if(scratch.reports.begin(), scratch.reports.end(), isSaid), isThrownAway ? 0 : 1);
    Program program;
    QCOMPARE(program.engine.drafts().recovered(), isThrownAway ? std::vector<int>() : std::vector{draft});
    if (isThrownAway)
        return;
    const auto again = program.composer.goOnWith(draft);
    QVERIFY2(again.notice.startsWith(u"This message was sent already, but no copy"),
             qPrintable(again.notice));
    QVERIFY(again.composition.text.startsWith(u"Hello"_s));
    QVERIFY(program.composer.send(again.composition, {.draft = draft}) != 0);
    QVERIFY2(!program.engine.drafts().context(draft).wasSent, "what becomes of this one is not known yet");
}

QTEST_GUILESS_MAIN(ComposerAgainTest)
#include "composeragain_test.moc"
