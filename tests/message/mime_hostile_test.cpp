#include "message/mimecontext.h"
#include "message/mimeparser.h"
#include "support/scratch.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// Of everything something: multiparts in each other, messages enclosed plainly and in base64, blocks, names
/// of all kinds, a signature.
QByteArray everything()
{
    const QByteArray enclosed =
        "Subject: in\nContent-Type: multipart/mixed; boundary=e\n\n--e\n\nhi\n"
        "begin 644 a.zip\n#0V%T\n`\nend\n--e\nContent-Transfer-Encoding: quoted-printable\n\n"
        "=ybegin line=3D128 size=3D3 name=3Da\n[=5C]\n=yend size=3D3\n--e--\n";
    return "From: a@b\nMIME-Version: 1.0\nContent-Type: multipart/mixed;\n\tboundary=\"b "
           "b\"\n\npreamble\n--b b\n"
           "Content-Type: multipart/alternative; boundary=c\n\n--c\nContent-Type: text/plain; "
           "charset=koi8-r;\n"
           " format=flowed\nContent-Transfer-Encoding: quoted-printable\n\n=C1=\n=20\n--c\nContent-Type: "
           "text/html\n\n"
           "<meta charset=utf-8>\xc3\xa9\n--c--\n--b b\nContent-Type: message/rfc822\n"
           "Content-Transfer-Encoding: base64\n\n" +
           enclosed.toBase64() + "\n--b b\nContent-Type: message/rfc822\n\n" + enclosed +
           "\n--b b\nContent-Type: multipart/signed; boundary=s\n\n--s\n\nsigned\n--s\n"
           "Content-Type: application/pgp-signature; name*0*=utf-8''%C3; name*1*=%A9.asc\n\nSIG\n--s--\n--b "
           "b\n"
           "Content-Type: application/x-thing; name=\"=?utf-8?B?w6k=?= \"x\" (1)\n"
           "Content-Disposition: attachment; filename=\"a\\\"b\n\nAAEC\n--b b--\nepilogue\n";
}

/// Asks for all that a part list can tell, and checks what always holds.
void checkSound(const MIMEContext &context, qsizetype textSize)
{
    QVERIFY(context.count() <= MIMEParser::kMostParts);
    for (int index = 0; index < context.count(); ++index) {
        const MIMEPart &part = context.part(index);
        QVERIFY(part.parent < index && part.within < index && part.parent >= -1 && part.within >= -1);
        QVERIFY(part.hdroffset >= 0 && part.hdroffset <= part.offset && part.length >= 0);
        const qsizetype size = part.within < 0 ? textSize : context.decodedBytes(part.within).size();
        QVERIFY(part.offset + part.length <= size);
        context.decodedContent(index);
        context.displayText(index);
        context.signedParts(index);
        context.parameter(index, "content-type", "name");
    }
    context.signedParts();
    QVERIFY(!context.dump().isEmpty());
}

MIMEContext timedParse(const QByteArray &text, qint64 mostMilliseconds)
{
    QElapsedTimer timer;
    timer.start();
    MIMEContext context = MIMEContext::parse(text);
    if (timer.elapsed() > mostMilliseconds)
        QTest::qFail(qPrintable(u"took %1 ms"_s.arg(timer.elapsed())), __FILE__, __LINE__);
    return context;
}

} // namespace

class MimeHostileTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_scratch = std::make_unique<Scratch>(); }
    void cleanup() { m_scratch.reset(); }
    void everyPrefix();
    void everyPrefixOfASignedMessage();
    void flippedBytes();
    void deepMultiparts();
    void deepMessages();
    void deepEncodedMessages();
    void manyParts();
    void manyPartsInsideAnEncodedMessage();
    void manyBlocks();
    void odd_data();
    void odd();

private:
    std::unique_ptr<Scratch> m_scratch;
};

void MimeHostileTest::everyPrefix()
{
    const QByteArray text = everything();
    QCOMPARE(MIMEContext::parse(text).count(), 19);
    for (qsizetype size = 0; size <= text.size(); ++size)
        checkSound(MIMEContext::parse(text.first(size)), size);
}

void MimeHostileTest::everyPrefixOfASignedMessage()
{
    const QByteArray text = "Content-Type: multipart/signed; boundary=o\n\n--o\n" + everything() +
                            "\n--o\nContent-Type: application/pgp-signature\n\nSIG\n--o--\n";
    QVERIFY(MIMEContext::parse(text).signedParts()->content == everything());
    for (qsizetype size = 0; size <= text.size(); ++size)
        checkSound(MIMEContext::parse(text.first(size)), size);
}

void MimeHostileTest::flippedBytes()
{
    const QByteArray text = everything();
    QRandomGenerator random(2029);
    for (int round = 0; round < 5000; ++round) {
        QByteArray broken = text;
        for (int flips = random.bounded(1, 8); flips > 0; --flips)
            broken[qsizetype(random.bounded(int(text.size())))] = "\n -=;\":()*%\0\xff"[random.bounded(13)];
        checkSound(MIMEContext::parse(broken), broken.size());
    }
}

void MimeHostileTest::deepMultiparts()
{
    QByteArray text = "Content-Type: multipart/mixed; boundary=0\n\n";
    for (int level = 1; level <= 100'000; ++level) {
        const QByteArray outer = QByteArray::number(level - 1);
        text +=
            "--" + outer + "\nContent-Type: multipart/mixed; boundary=" + QByteArray::number(level) + "\n\n";
    }
    text += "the end\n--5\n\nsecond part of number five\n";
    const MIMEContext context = timedParse(text, 2000);
    QVERIFY(context.truncated());
    QCOMPARE(m_scratch->notes.size(), 1);
    QCOMPARE(context.count(), MIMEParser::kMostLevels + 1);
    QCOMPARE(context.part(MIMEParser::kMostLevels - 1).type, int(AttachmentPart));
    QVERIFY(context.decodedBytes(MIMEParser::kMostLevels - 1).endsWith("the end"));
    QCOMPARE(context.decodedBytes(MIMEParser::kMostLevels), "second part of number five\n");
    QCOMPARE(context.part(MIMEParser::kMostLevels).parent, 4);
}

void MimeHostileTest::deepMessages()
{
    const QByteArray text = QByteArray("Content-Type: message/rfc822\n\n").repeated(100'000) + "x";
    const MIMEContext context = timedParse(text, 2000);
    QVERIFY(context.truncated());
    QCOMPARE(context.count(), MIMEParser::kMostLevels + 1);
    QCOMPARE(context.part(MIMEParser::kMostLevels).type, int(AttachmentPart));
    QVERIFY(context.rawContent(MIMEParser::kMostLevels).endsWith('x'));
}

/// Quoted-printable of what needs no escapes does not shrink: a message of a few megabytes could otherwise be
/// decoded a hundred times over.
void MimeHostileTest::deepEncodedMessages()
{
    const QByteArray text =
        QByteArray("Content-Type: message/rfc822\nContent-Transfer-Encoding: quoted-printable\n\n")
            .repeated(90) +
        QByteArray(1 << 20, 'x');
    const MIMEContext context = timedParse(text, 2000);
    QVERIFY(context.truncated());
    QVERIFY(context.count() < 10);
    checkSound(context, text.size());
}

void MimeHostileTest::manyParts()
{
    const QByteArray text =
        "Content-Type: multipart/mixed; boundary=b\n\n" + QByteArray("--b\n\n").repeated(10'000'000);
    const MIMEContext context = timedParse(text, 3000);
    QVERIFY(context.truncated());
    QCOMPARE(context.count(), MIMEParser::kMostParts);
    const MIMEPart &rest = context.parts().back();
    QCOMPARE(rest.type, int(AttachmentPart));
    QCOMPARE(rest.offset + rest.length, text.size());
    QVERIFY(context.rawContent(context.count() - 1).startsWith("\n--b\n"));
}

void MimeHostileTest::manyPartsInsideAnEncodedMessage()
{
    const QByteArray inner =
        "Content-Type: multipart/mixed; boundary=i\n\n" + QByteArray("--i\n\n").repeated(20'000);
    const MIMEContext context =
        timedParse("Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: message/rfc822\n"
                   "Content-Transfer-Encoding: base64\n\n" +
                       inner.toBase64() + "\n--b\n\nafter it\n--b--\n",
                   3000);
    QCOMPARE(context.count(), MIMEParser::kMostParts);
    QCOMPARE(context.parts().back().within, -1);
    QVERIFY(context.rawContent(context.count() - 1).startsWith("\nafter it"));
}

void MimeHostileTest::manyBlocks()
{
    const QByteArray text = "\n" + QByteArray("begin 644 a\n#0V%T\nend\n").repeated(50'000);
    const MIMEContext context = timedParse(text, 3000);
    QVERIFY(context.truncated());
    QVERIFY(context.count() < MIMEParser::kMostParts);
    // What is not listed stays in the text.
    QCOMPARE(context.displayText(0).count(u"begin"_s), 50'000 - (context.count() - 1));
}

void MimeHostileTest::odd_data()
{
    QTest::addColumn<QByteArray>("text");
    const QByteArray mixed = "Content-Type: multipart/mixed; boundary=b\n\n";
    constexpr qsizetype size = 4 << 20;
    const auto many = [](const char *unit) {
        return QByteArray(unit).repeated(size / qsizetype(qstrlen(unit)));
    };
    QTest::newRow("one line") << mixed + QByteArray(100 << 20, 'x');
    QTest::newRow("dashes") << mixed + many("--\n");
    QTest::newRow("one line of dashes") << mixed + many("-");
    QTest::newRow("almost boundaries") << mixed + many("--bx\n");
    QTest::newRow("quotes never closed") << "Content-Type: text/plain; " + many("a=\"x;") + "\n\nx";
    QTest::newRow("comments never closed") << "Content-Type: " + many("(") + "\n\nx";
    QTest::newRow("comments in a value") << "Content-Type: x; n=" + many(" (") + many(" )") + "z\n\nx";
    QTest::newRow("parameters") << "Content-Type: x; " + many("n=a;") + "\n\nx";
    QTest::newRow("pieces of a name") << "Content-Type: x; " + many("name*7*=a;") + "\n\nx";
    QTest::newRow("words of a name") << "Content-Type: x; name=\"" + many("=?utf-8?q?a?= ") + "\"\n\nx";
    QTest::newRow("semicolons") << "Content-Type: " + many(";") + "\n\nx";
    QTest::newRow("blanks") << "Content-Type: x;" + many(" ") + "\n\nx";
    QTest::newRow("folded lines") << "Content-Type: x" + many(";\n ") + "\n\nx";
    QTest::newRow("fields") << many("Content-Type: x\n") + "\nx";
    QTest::newRow("multiparts without boundary") << mixed + many("--b\nContent-Type: multipart/mixed\n\nx\n");
    QTest::newRow("header that never ends") << mixed + "--b\n" + many("X-Field: y\n");
    QTest::newRow("NULs") << mixed + "--b\n" + QByteArray(size, '\0');
}

void MimeHostileTest::odd()
{
    QFETCH(QByteArray, text);
    const MIMEContext context = timedParse(text, 15'000);
    QVERIFY(context.count() > 0);
    QVERIFY(context.part(0).offset + context.part(0).length <= text.size());
}

QTEST_GUILESS_MAIN(MimeHostileTest)
#include "mime_hostile_test.moc"
