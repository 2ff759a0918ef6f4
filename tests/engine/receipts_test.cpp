#include "engine/receipts.h"

#include "message/mimecontext.h"
#include "outboxattest.h"
#include "support/memory.h"

using namespace Qt::StringLiterals;

namespace {

/// One who has got a message and perhaps wants its sender to know.
struct Reader : OutboxAtTest
{
    Reader()
    {
        Identity identity;
        identity.name = u"Bob"_s;
        identity.address = u"bob@example.org"_s;
        engine.identities().add(identity);
        receipts.setAsk([this](const ReceiptQuestion &question, std::function<void(ReceiptAnswer)> answer) {
            asked.push_back(question);
            answer(reply);
        });
    }

    MessageRef receive(const QByteArray &more, GroupRole role = GroupRole::Inbox)
    {
        Group &group = *engine.groups().group(role);
        return {group.number(),
                engine.groups().add(group, Message(mailText("q", "caf\xc3\xa9", more)), {}, 0, 1)};
    }

    ReadReceipts receipts{engine.groups(), engine.accounts(), engine.identities(), engine.outbox()};
    std::vector<ReceiptQuestion> asked;
    ReceiptAnswer reply = ReceiptAnswer::Send;
};

const QByteArray kWanted = "Disposition-Notification-To: Ada <ada@example.org>\n";
const QByteArray kReturn = "Return-Path: <ada@example.org>\n";

} // namespace

class ReceiptsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void whoIsAsked_data();
    void whoIsAsked();
    void answers();
    void whatIsSent();
};

void ReceiptsTest::whoIsAsked_data()
{
    QTest::addColumn<int>("setting");
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<int>("role");
    QTest::addColumn<int>("asked");
    QTest::addColumn<int>("sent");
    const int inbox = int(GroupRole::Inbox);
    QTest::newRow("nobody wants one") << 2 << kReturn << inbox << 0 << 0;
    QTest::newRow("never") << 0 << kWanted + kReturn << inbox << 0 << 0;
    QTest::newRow("asked") << 1 << kWanted + kReturn << inbox << 1 << 1;
    QTest::newRow("always") << 2 << kWanted + kReturn << inbox << 0 << 1;
    QTest::newRow("always, in another case")
        << 2 << kWanted + QByteArray("Return-Path: <Ada@EXAMPLE.org>\n") << inbox << 0 << 1;
    QTest::newRow("it would go elsewhere")
        << 2 << kWanted + QByteArray("Return-Path: <eve@example.org>\n") << inbox << 1 << 1;
    QTest::newRow("nobody knows where it came from") << 2 << kWanted << inbox << 1 << 1;
    QTest::newRow("several want one")
        << 2 << QByteArray("Disposition-Notification-To: ada@example.org, eve@example.org\n") + kReturn
        << inbox << 1 << 1;
    QTest::newRow("the address is none")
        << 2 << QByteArray("Disposition-Notification-To: ada\nReturn-Path: <ada>\n") << inbox << 0 << 0;
    QTest::newRow("a program wrote it")
        << 2 << kWanted + kReturn + QByteArray("Auto-Submitted: auto-generated\n") << inbox << 0 << 0;
    QTest::newRow("a receipt") << 2
                               << kWanted + kReturn +
                                      QByteArray("Content-Type: multipart/report; boundary=x\n")
                               << inbox << 0 << 0;
    QTest::newRow("one's own") << 2 << kWanted + kReturn << int(GroupRole::SentMail) << 0 << 0;
    QTest::newRow("two requests") << 2 << kWanted + kWanted + kReturn << inbox << 0 << 0;
    for (const char *field : {"List-Id: <club.example.org>", "Precedence: bulk"})
        QTest::newRow(field) << 2 << kWanted + kReturn + field + '\n' << inbox << 0 << 0;
    QTest::newRow("junk") << 2 << kWanted + kReturn << int(GroupRole::Junk) << 0 << 0;
}

void ReceiptsTest::whoIsAsked()
{
    QFETCH(int, setting);
    QFETCH(QByteArray, header);
    QFETCH(int, role);
    QFETCH(int, asked);
    QFETCH(int, sent);
    const Scratch scratch;
    Reader r;
    setIntSetting(Setting::SendReadReceipts, setting);
    const MessageRef message = r.receive(header, GroupRole(role));
    r.receipts.shown(message);
    r.receipts.shown(message); // looked at once more
    QCOMPARE(int(r.asked.size()), asked);
    QCOMPARE(int(r.outbox.entries().size()), sent);
    FakeServer server;
    QCOMPARE(server.serve(r.outbox, r.account), sent);
    r.outbox.finish();
    QCOMPARE(r.subjects(GroupRole::SentMail).size(), role == int(GroupRole::SentMail) ? 1 : 0);
}

void ReceiptsTest::answers()
{
    const Scratch scratch;
    Reader r;
    const MessageRef message = r.receive(kWanted + kReturn);
    const auto wanted = [&] {
        return r.engine.groups().group(message.group)->overview(message.article)->has(Mark::ReceiptWanted);
    };
    r.reply = ReceiptAnswer::None;
    r.receipts.shown(message);
    r.reply = ReceiptAnswer::Later;
    r.receipts.shown(message); // it was out of sight in between
    QVERIFY(wanted());
    const MessageRef copy = r.receive(kWanted + kReturn);
    r.receipts.shown(message);
    r.receipts.shown(copy);
    QCOMPARE(r.asked.size(), 2u); // not again in this run
    ReadReceipts nextRun(r.engine.groups(), r.engine.accounts(), r.engine.identities(), r.engine.outbox());
    nextRun.shown(message);
    QVERIFY(wanted()); // nobody can be asked
    nextRun.setAsk([](const ReceiptQuestion &question, const std::function<void(ReceiptAnswer)> &answer) {
        QCOMPARE(question.receiver, u"ada@example.org"_s);
        QVERIFY(!question.isElsewhere);
        answer(ReceiptAnswer::Refuse);
    });
    nextRun.shown(message);
    QVERIFY(!wanted());
    QVERIFY(!nextRun.due(copy));
    QCOMPARE(r.outbox.entries().size(), 0u);
    const MessageRef own = r.receive(kWanted + kReturn + "Message-ID: <another>\n");
    QVERIFY(nextRun.due(own));
    Identity ada;
    ada.address = u"Ada@example.org"_s;
    r.engine.identities().add(ada);
    QVERIFY(!nextRun.due(own));
}

void ReceiptsTest::whatIsSent()
{
    const Scratch scratch;
    Reader r;
    r.receipts.shown(r.receive(kWanted + kReturn + QByteArray("Cc: x@example.org\n")));
    FakeServer server;
    QCOMPARE(server.serve(r.outbox, r.account), 1);
    QCOMPARE(server.taken[0].remaining, QList<QByteArray>{"ada@example.org"});
    const Message receipt(server.taken[0].text);
    QCOMPARE(receipt.rawHeader("X-VELMAR-MAIL-FROM"), "<>"_ba);
    QCOMPARE(receipt.header("From"), u"Bob <bob@example.org>"_s);
    QCOMPARE(receipt.subject(), u"Read receipt Re: café"_s);
    QCOMPARE(receipt.inReplyTo(), "<q>"_ba);
    QCOMPARE(receipt.references(), "<q>"_ba);
    QVERIFY(receipt.readReceiptTo().isEmpty());
    const MIMEContext &mime = receipt.mime();
    QCOMPARE(mime.count(), 2); // the report itself is no entry
    QVERIFY(receipt.rawHeader("Content-Type")
                .startsWith("multipart/report; report-type=disposition-notification;"));
    QCOMPARE(
        mime.decodedText(0).trimmed(),
        u"This is a read receipt generated automatically in response to the following\nmessage that you "
        "sent me:\n\nFrom: Ada <ada@example.org>\nTo: bob@example.org\nCc: x@example.org\nSubject: café\n"
        "Date: Fri, 20 Nov 2026 10:00:00 +0000\nMessage-ID: <q>"_s);
    QCOMPARE(mime.part(1).contenttype, "message/disposition-notification"_ba);
    const QByteArray report = mime.decodedBytes(1);
    QVERIFY(report.contains("Final-Recipient: rfc822;bob@example.org\n"));
    QVERIFY(report.contains("Original-Message-ID: <q>\n"));
    QVERIFY(report.contains("Disposition: manual-action/MDN-sent-manually; displayed\n"));
}

QTEST_GUILESS_MAIN(ReceiptsTest)
#include "receipts_test.moc"
