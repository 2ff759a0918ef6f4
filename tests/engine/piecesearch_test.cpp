#include "engine/piecesearch.h"

#include "engine/engine.h"
#include "message/message.h"
#include "support/mail.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QByteArray pieceText(int number, const QByteArray &id, const QByteArray &sender = "Ada <ada@example.org>")
{
    const QByteArray digits = QByteArray::number(number);
    QByteArray text =
        mailText(id + '.' + digits, "Charts",
                 "Content-Type: message/partial; id=\"" + id + "\"; number=" + digits + "; total=3\n");
    return text.replace("Ada <ada@example.org>", sender);
}

} // namespace

class PieceSearchTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }

    void finds()
    {
        const Scratch scratch;
        Engine engine;
        QVERIFY(engine.load());
        Group &inbox = *engine.groups().group(GroupRole::Inbox);
        const auto add = [&](const QByteArray &text) {
            return engine.groups().add(inbox, Message(text), {}, 0, 0);
        };
        const quint32 known = add(pieceText(2, "charts"));
        const quint32 dead = add(pieceText(1, "charts"));
        add(pieceText(3, "charts"));
        add(pieceText(1, "tables"));
        add(pieceText(1, "charts", "Eve <eve@example.org>"));
        add(mailText("whole", "Charts"));
        QVERIFY(engine.groups().deleteMessages(inbox, {dead}, true));

        const QString sender = inbox.texts(*inbox.overview(known)).from;
        QList<QList<QByteArray>> answers;
        const auto note = [&answers](const QList<QByteArray> &texts) { answers += texts; };
        std::make_unique<PieceSearch>(inbox, "charts", sender, note).reset(); // given up
        const PieceSearch search(inbox, "charts", sender, note);
        QVERIFY(answers.isEmpty()); // never at once
        QTRY_COMPARE(answers.size(), 1);
        QCOMPARE(answers[0].size(), 2);
        QVERIFY(answers[0].contains(inbox.readMessage(*inbox.overview(known))));
        QVERIFY(answers[0].first().contains("number=3"));
    }
};

QTEST_GUILESS_MAIN(PieceSearchTest)
#include "piecesearch_test.moc"
