#include "message/charset.h"
#include "message/message.h"
#include "message/mimecontext.h"
#include "message/mimeparser.h"
#include "support/scratch.h"

#include <QDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// Bytes in one line: line ends as "|", what is no text in hexadecimal.
QByteArray printable(QByteArray bytes)
{
    const bool text = isUtf8(bytes) && std::none_of(bytes.begin(), bytes.end(), [](char c) {
                          return c >= 0 && c < ' ' && c != '\n' && c != '\t';
                      });
    return text ? bytes.replace('\n', '|') : bytes.toHex();
}

/// A part in one line: "0x101 text/plain utf-8 'name' parent: content", encodings other than 7bit behind a
/// "/", line ends of the content as "|".
QByteArray described(const MIMEContext &context, int index)
{
    const MIMEPart &part = context.part(index);
    QByteArray line = "0x" + QByteArray::number(part.type, 16) + ' ' + part.contenttype;
    if (part.encoding != SevenBit)
        line += '/' + QByteArray::number(part.encoding);
    if (!part.charset.isEmpty() && part.charset != "iso-8859-1")
        line += ' ' + part.charset;
    if (!part.name.isEmpty())
        line += " '" + part.name.toUtf8() + '\'';
    if (part.needsstrip)
        line += " strip";
    if (part.parent >= 0)
        line += " <" + QByteArray::number(part.parent);
    if (part.within >= 0)
        line += " in " + QByteArray::number(part.within);
    if (!isMultipartCategory(part.type) && !isEnclosedCategory(part.type))
        line += ": " + printable(context.decodedBytes(index));
    return line;
}

QByteArrayList described(const MIMEContext &context)
{
    QByteArrayList lines;
    for (int index = 0; index < context.count(); ++index)
        lines += described(context, index);
    return lines;
}

QByteArray mixed(const QByteArray &body)
{
    return "Content-Type: multipart/mixed; boundary=b\n\n" + body;
}

} // namespace

class MimeParseTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_scratch = std::make_unique<Scratch>(); }
    void cleanup() { m_scratch.reset(); }
    void boundaryTest_data();
    void boundaryTest();
    void files_data();
    void files();
    void singleParts_data();
    void singleParts();
    void multiparts_data();
    void multiparts();
    void positionsAreExact();
    void fieldsOfAPart();
    void enclosedInBase64_data();
    void enclosedInBase64();
    void signedBytesAreExact();
    void nestedSignedBytesAreExact();
    void texts_data();
    void texts();
    void textWithoutItsBlocks();
    void saving();
    void dumping();

private:
    std::unique_ptr<Scratch> m_scratch;
};

void MimeParseTest::boundaryTest_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<int>("result");
    QTest::addColumn<int>("index");
    QTest::newRow("separator") << QByteArray("--inner") << 1 << 0;
    QTest::newRow("closing") << QByteArray("--inner--") << 2 << 0;
    QTest::newRow("trailing blanks and line end") << QByteArray("--inner-- \t\r\n") << 2 << 0;
    QTest::newRow("more behind it") << QByteArray("--innerx") << 0 << -1;
    QTest::newRow("outer") << QByteArray("--outer") << 1 << 1;
    QTest::newRow("closing of one is the separator of another, the innermost wins")
        << QByteArray("--outer--") << 2 << 1;
    QTest::newRow("not at the start") << QByteArray(" --inner") << 0 << -1;
    QTest::newRow("two dashes alone") << QByteArray("--") << 0 << -1;
    QTest::newRow("case counts") << QByteArray("--Inner") << 0 << -1;
}

void MimeParseTest::boundaryTest()
{
    QFETCH(QByteArray, line);
    const BoundaryMatch match = testBoundary(line, {"inner", "outer", "outer--"});
    QTEST(match.result, "result");
    QTEST(int(match.index), "index");
}

/// Mail as it is found, each file with the list that it must give beside it.
void MimeParseTest::files_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("crlf");
    const QDir directory(QStringLiteral(VELMAR_TEST_DATA "/mime"));
    const QStringList names = directory.entryList({u"*.eml"_s});
    QVERIFY2(!names.isEmpty(), "no messages to read");
    for (const QString &name : names) {
        QTest::newRow(qPrintable(name)) << directory.filePath(name) << false;
        QTest::newRow(qPrintable(name + u" with CRLF"_s)) << directory.filePath(name) << true;
    }
}

void MimeParseTest::files()
{
    QFETCH(QString, path);
    QFETCH(bool, crlf);
    QByteArray text = Scratch::read(path);
    if (crlf)
        text.replace('\n', "\r\n");
    const Message message(text);
    const MIMEContext &context = message.mime();
    const QByteArray found =
        "0x" + QByteArray::number(context.type(), 16) + '\n' + described(context).join('\n') + '\n';
    const QString wanted = path.chopped(4) + u".parts"_s;
    if (found != Scratch::read(wanted))
        QTest::qFail(qPrintable(u"not as in %1:\n%2"_s.arg(wanted, QString::fromUtf8(found))), __FILE__,
                     __LINE__);
}

void MimeParseTest::singleParts_data()
{
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QByteArrayList>("parts");
    const auto row = [](const char *name, const QByteArray &message, const QByteArrayList &parts) {
        QTest::newRow(name) << message << parts;
    };
    row("nothing at all", "", {"0x101 text/plain: "});
    row("header only", "Subject: x", {"0x101 text/plain: "});
    row("no MIME", "Subject: x\n\nhello\n", {"0x101 text/plain: hello|"});
    row("upper case and us-ascii", "Content-Type: TEXT/PLAIN; charset=US-ASCII\n\nx",
        {"0x101 text/plain: x"});
    row("field in lower case", "content-type: text/html; CHARSET=\"UTF-8\"\n\nx",
        {"0x102 text/html utf-8: x"});
    row("no converter", "Content-Type: text/plain; charset=x-unknown\n\nx",
        {"0x104 text/plain x-unknown: x"});
    row("the first of duplicates", "Content-Type: text/html\nContent-Type: image/gif\n\nx",
        {"0x102 text/html: x"});
    row("an empty first one counts too", "Content-Type:\nContent-Type: image/gif\n\nx",
        {"0x101 text/plain: x"});
    row("base64", "Content-Transfer-Encoding: BASE64\n\nSGVsbG8=\n", {"0x101 text/plain/5: Hello"});
    row("quoted-printable with a comment", "Content-Transfer-Encoding: quoted-printable (why)\n\n=41",
        {"0x101 text/plain/4: A"});
    row("8bit", "Content-Transfer-Encoding: 8bit\n\nx", {"0x101 text/plain/2: x"});
    row("binary", "Content-Transfer-Encoding: binary\n\nx", {"0x101 text/plain/3: x"});
    row("unknown encoding", "Content-Transfer-Encoding: rot13\n\nx", {"0x202 text/plain: x"});
    row("yenc is no encoding of a header", "Content-Transfer-Encoding: yenc\n\nx", {"0x202 text/plain: x"});
    row("x-uuencode", "Content-Transfer-Encoding: x-uuencode\n\nbegin 644 a\n#0V%T\nend\n",
        {"0x202 text/plain/6: Cat"});
    row("folded, with and without blanks",
        "Content-Type: application/pdf;\nname=\"a.pdf\"\nContent-Disposition: inline;\n\tfilename=b.pdf\n\nx",
        {"0x202 application/pdf 'b.pdf': x"});
    row("uuencode in a text", "Subject: x\n\nhi\nbegin 644 a.zip\n#0V%T\n`\nend\nbye\n",
        {"0x101 text/plain: hi|begin 644 a.zip|#0V%T|`|end|bye|",
         "0x202 application/zip/6 'a.zip' strip <0: Cat"});
    row("yEnc in a text", "Subject: x\n\nhi\n=ybegin line=128 size=3 name=a.zip\n[\\]\n=yend size=3\n",
        {"0x101 text/plain: hi|=ybegin line=128 size=3 name=a.zip|[\\]|=yend size=3|",
         "0x202 application/zip/7 'a.zip' strip <0: 123"});
    row("uuencode in a text that is encoded itself",
        "Content-Transfer-Encoding: quoted-printable\n\nhi=20\nbegin 644 a.zip\n#0V%T\nend\n",
        {"0x101 text/plain/4: hi |begin 644 a.zip|#0V%T|end|",
         "0x202 application/zip/6 'a.zip' strip <0 in 0: Cat"});
    row("blocks are not looked for in HTML", "Content-Type: text/html\n\nbegin 644 a.zip\n#0V%T\nend\n",
        {"0x102 text/html: begin 644 a.zip|#0V%T|end|"});
    row("inline PGP stays in its text", "Subject: x\n\n-----BEGIN PGP MESSAGE-----\n\nabc\n",
        {"0x101 text/plain strip: -----BEGIN PGP MESSAGE-----||abc|"});
    row("enclosed", "Content-Type: message/rfc822\n\nContent-Type: text/html\n\nx",
        {"0x701 message/rfc822", "0x102 text/html <0: x"});
    row("partial is not entered", "Content-Type: message/partial; id=x; number=1\n\nSubject: a\n\nx",
        {"0x702 message/partial: Subject: a||x"});
}

void MimeParseTest::singleParts()
{
    QFETCH(QByteArray, message);
    const MIMEContext context = MIMEContext::parse(message);
    QTEST(described(context), "parts");
    QCOMPARE(context.type(), context.part(0).type);
}

void MimeParseTest::multiparts_data()
{
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QByteArrayList>("parts");
    const auto row = [](const char *name, const QByteArray &message, const QByteArrayList &parts) {
        QTest::newRow(name) << message << parts;
    };
    row("two parts, preamble and epilogue are none",
        mixed("preamble\n--b\n\none\n--b\nContent-Type: text/html\n\ntwo\n\n--b--\nepilogue\n"),
        {"0x101 text/plain: one", "0x102 text/html: two|"});
    row("blanks behind the boundaries", mixed("--b  \n\none\n--b\t\n\ntwo\n--b-- \n"),
        {"0x101 text/plain: one", "0x101 text/plain: two"});
    row("closing boundary is missing", mixed("--b\n\none\n"), {"0x101 text/plain: one|"});
    row("no boundary at all", mixed("just text\n"), {"0x101 text/plain: just text|"});
    row("closed at once", mixed("text\n--b--\n"), {"0x101 text/plain: text"});
    row("a boundary with more behind it is none", mixed("--b\n\none\n--bx\n--b--\n"),
        {"0x101 text/plain: one|--bx"});
    row("empty part", mixed("--b\n--b--\n"), {"0x101 text/plain: "});
    row("header without an empty line", mixed("--b\nContent-Type: text/html\n--b--\n"),
        {"0x102 text/html: "});
    row("text in place of a header", mixed("--b\nthis is text\nmore\n--b--\n"),
        {"0x101 text/plain: this is text|more"});
    row("empty line forgotten behind a header", mixed("--b\nContent-Type: text/html\n<p>hi\n--b--\n"),
        {"0x102 text/html: <p>hi"});
    row("a header goes on behind a line that is no field when more of it comes",
        mixed("--b\nContent-Type: text/html\nname=\"a.htm\"\nContent-Transfer-Encoding: "
              "base64\n\nSGVsbG8=\n--b--\n"),
        {"0x102 text/html/5: Hello"});
    row("a header goes on in an enclosed message as in any",
        mixed("--b\nContent-Type: message/rfc822\n\nReceived: from a\nby b\nContent-Type: "
              "text/html\n\none\n--b--\n"),
        {"0x701 message/rfc822", "0x102 text/html <0: one"});
    row("inner parts behind their parent",
        mixed("--b\nContent-Type: multipart/alternative; boundary=\"c\"\n\n--c\n\none\n--c\nContent-Type: "
              "text/html\n\ntwo\n--c--\n\n--b\n\nthree\n--b--\n"),
        {"0x603 multipart/alternative", "0x101 text/plain <0: one", "0x102 text/html <0: two",
         "0x101 text/plain: three"});
    row("an outer separator ends what is open inside",
        mixed("--b\nContent-Type: multipart/mixed; boundary=c\n\n--c\n\none\n--b\n\ntwo\n--b--\n"),
        {"0x602 multipart/mixed", "0x101 text/plain <0: one", "0x101 text/plain: two"});
    row("digest: messages without saying so",
        "Content-Type: multipart/digest; boundary=b\n\n--b\n\nSubject: x\n\none\n--b\nContent-Type: "
        "text/plain\n\n"
        "two\n--b--\n",
        {"0x701 message/rfc822", "0x101 text/plain <0: one", "0x101 text/plain: two"});
    row("enclosed multipart",
        mixed("--b\nContent-Type: message/rfc822\n\nSubject: x\nContent-Type: multipart/mixed; "
              "boundary=c\n\n--c\n\n"
              "one\n--c--\n--b--\n"),
        {"0x701 message/rfc822", "0x602 multipart/mixed <0", "0x101 text/plain <1: one"});
    row("enclosed behind an empty line and a mailbox separator",
        mixed("--b\nContent-Type: message/rfc822\n\n\nFrom a@b Mon Jan 1\nContent-Type: "
              "text/html\n\none\n--b--\n"),
        {"0x701 message/rfc822", "0x102 text/html <0: one"});
    row("multipart without a boundary parameter",
        "Content-Type: multipart/mixed\n\n--x\nContent-Type: text/html\n\none\n--x--\n",
        {"0x102 text/html: one"});
    row("a boundary parameter that has nothing to do with the body",
        mixed("--x\nContent-Type: text/html\n\none\n--x--\n"), {"0x102 text/html: one"});
    row("multipart with an empty boundary", "Content-Type: multipart/mixed; boundary=\"\"\n\nhi\n",
        {"0x101 text/plain: hi|"});
    row("inner multipart without a boundary does not take its parent's",
        mixed("--b\nContent-Type: multipart/mixed\n\n--b\nContent-Type: text/html\n\none\n--b--\n"),
        {"0x602 multipart/mixed", "0x102 text/html: one"});
    row("the encoding of the message is not that of its parts",
        "Content-Transfer-Encoding: rot13\n" + mixed("--b\n\none\n--b--\n"), {"0x101 text/plain: one"});
    row("an inner multipart in an unknown encoding is an attachment",
        mixed("--b\nContent-Type: multipart/mixed; boundary=c\nContent-Transfer-Encoding: "
              "rot13\n\n--c\n--b--\n"),
        {"0x202 multipart/mixed: --c"});
    row("boundary in pieces",
        "Content-Type: multipart/mixed; boundary*0=\"a \"; boundary*1=b\n\n--a b\n\none\n",
        {"0x101 text/plain: one|"});
    row("labelled base64 but readable as it is",
        mixed("--b\nContent-Type: message/rfc822\nContent-Transfer-Encoding: base64\n\nSubject: "
              "x\n\none\n--b--\n"),
        {"0x701 message/rfc822", "0x101 text/plain <0: one"});
}

void MimeParseTest::multiparts()
{
    QFETCH(QByteArray, message);
    const MIMEContext context = MIMEContext::parse(message);
    QTEST(described(context), "parts");
    QVERIFY(isMultipartCategory(context.type()));
    QVERIFY(!context.truncated());
}

void MimeParseTest::positionsAreExact()
{
    const QByteArray text = mixed("--b\nContent-Type: text/html\n\none\n--b--\n");
    const MIMEContext context = MIMEContext::parse(text);
    const MIMEPart &part = context.part(0);
    QCOMPARE(part.hdroffset, text.indexOf("Content-Type: text/html"));
    QCOMPARE(part.offset, text.indexOf("one"));
    QCOMPARE(part.length, 3);
    QCOMPARE(context.rawHeader(0).toByteArray(), "Content-Type: text/html\n\n");
    QVERIFY(context.rawContent(0).data() == text.constData() + part.offset); // shared, not copied
}

void MimeParseTest::fieldsOfAPart()
{
    const MIMEContext context = MIMEContext::parse(
        "Content-Type: text/plain; format=Flowed; DelSp=yes\nContent-Disposition: ATTACHMENT; filename=a\n"
        "Content-ID: <x@y>\nContent-Location: http://z/\nContent-Description: =?utf-8?q?=C3=A9?=\n\nx");
    const MIMEPart &part = context.part(0);
    QVERIFY(part.flowed);
    QVERIFY(part.delsp);
    QCOMPARE(part.disposition, "attachment");
    QCOMPARE(part.contentid, "<x@y>");
    QCOMPARE(part.contentlocation, "http://z/");
    QCOMPARE(part.desc, u"\u00e9"_s);
    QVERIFY(part.isAttachment());
    QCOMPARE(context.indexOfContentId("x@y"), 0);
    QCOMPARE(context.indexOfContentId("y@x"), -1);
    QCOMPARE(context.parameter(0, "content-type", "format"), "Flowed");
}

void MimeParseTest::enclosedInBase64_data()
{
    QTest::addColumn<QByteArray>("lineEnd");
    QTest::newRow("our line ends") << QByteArray("\n");
    QTest::newRow("those of the wire") << QByteArray("\r\n");
}

void MimeParseTest::enclosedInBase64()
{
    QFETCH(QByteArray, lineEnd);
    const QByteArray content =
        QByteArray("Content-Type: text/html;\n charset=utf-8\n\n<p>one").replace('\n', lineEnd);
    const QByteArray inner =
        QByteArray("Subject: x\nContent-Type: multipart/signed; boundary=c\n\n--c\n").replace('\n', lineEnd) +
        content + QByteArray("\n--c\n\nSIG\n--c--\n").replace('\n', lineEnd);
    const MIMEContext context =
        MIMEContext::parse(mixed("--b\nContent-Type: message/rfc822\nContent-Transfer-Encoding: base64\n\n" +
                                 inner.toBase64() + "\n--b\n\ntwo\n--b--\n"));
    QCOMPARE(described(context), (QByteArrayList{"0x701 message/rfc822/5", "0x605 multipart/signed <0 in 0",
                                                 "0x102 text/html utf-8 <1 in 0: <p>one",
                                                 "0x101 text/plain <1 in 0: SIG", "0x101 text/plain: two"}));
    QCOMPARE(context.part(2).offset, inner.indexOf("<p>"));
    QCOMPARE(context.decodedBytes(0), inner);
    const std::optional<SignedParts> halves = context.signedParts(1);
    QVERIFY(halves);
    QCOMPARE(halves->content, "Content-Type: text/html;\n charset=utf-8\n\n<p>one");
}

void MimeParseTest::signedBytesAreExact()
{
    const QByteArray content = "Content-Type: multipart/mixed; boundary=c\n\n--c\n\none \n--c--\n\n";
    const MIMEContext context = MIMEContext::parse(
        "Content-Type: multipart/signed; boundary=s; micalg=pgp-sha1\n\nnot signed\n--s\n" + content +
        "\n--s\nContent-Type: application/pgp-signature\n\nSIG\n--s--\nepilogue\n");
    QCOMPARE(context.type(), int(SignedPart));
    QCOMPARE(described(context), (QByteArrayList{"0x602 multipart/mixed", "0x101 text/plain <0: one ",
                                                 "0x204 application/pgp-signature: SIG"}));
    const std::optional<SignedParts> halves = context.signedParts();
    QVERIFY(halves);
    QCOMPARE(halves->content, content);
    QCOMPARE(halves->signature, "SIG");
    QCOMPARE(halves->signaturePart, 2);
    QCOMPARE(context.parameter(-1, "content-type", "micalg"), "pgp-sha1");

    QVERIFY(!MIMEContext::parse("Content-Type: multipart/signed; boundary=s\n\n--s\n\none\n--s--\n")
                 .signedParts());
    QVERIFY(!MIMEContext::parse("Subject: x\n\none").signedParts());
}

void MimeParseTest::nestedSignedBytesAreExact()
{
    const MIMEContext context = MIMEContext::parse(mixed(
        "--b\nContent-Type: multipart/signed; boundary=s\n\n--s\nContent-Type: text/plain\n\none\n\n--s\n"
        "Content-Type: application/pgp-signature\nContent-Transfer-Encoding: "
        "base64\n\nU0lH\n--s--\n--b--\n"));
    const std::optional<SignedParts> halves = context.signedParts(0);
    QVERIFY(halves);
    QCOMPARE(halves->content, "Content-Type: text/plain\n\none\n");
    QCOMPARE(halves->signature, "SIG");
}

void MimeParseTest::texts_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("labelled") << QByteArray("text/plain; charset=koi8-r") << QByteArray("\xc1")
                              << u"\u0430"_s;
    QTest::newRow("label in quotes") << QByteArray("text/plain; charset='utf-8'") << QByteArray("\xc3\xa9")
                                     << u"\u00e9"_s;
    QTest::newRow("unlabelled UTF-8") << QByteArray("text/plain") << QByteArray("\xc3\xa9") << u"\u00e9"_s;
    QTest::newRow("us-ascii that is UTF-8")
        << QByteArray("text/plain; charset=us-ascii") << QByteArray("\xc3\xa9") << u"\u00e9"_s;
    QTest::newRow("unlabelled and no UTF-8")
        << QByteArray("text/plain") << QByteArray("\xe9\x80") << u"\u00e9\u20ac"_s;
    QTest::newRow("a wrong label is believed")
        << QByteArray("text/plain; charset=iso-8859-1") << QByteArray("\xc3\xa9") << u"\u00c3\u00a9"_s;
    QTest::newRow("no converter") << QByteArray("text/plain; charset=x-unknown") << QByteArray("\xe9")
                                  << u"\u00e9"_s;
    QTest::newRow("unlabelled Japanese")
        << QByteArray("text/plain") << QByteArray("\x1b$B$\"\x1b(B") << u"\u3042"_s;
    QTest::newRow("HTML with meta") << QByteArray("text/html")
                                    << QByteArray("<meta charset=\"koi8-r\"><p>\xc1")
                                    << u"<meta charset=\"koi8-r\"><p>\u0430"_s;
    QTest::newRow("HTML with the older meta")
        << QByteArray("text/html") << QByteArray("<META content='text/html; charset=koi8-r'>\xc1")
        << u"<META content='text/html; charset=koi8-r'>\u0430"_s;
    QTest::newRow("HTML: the label wins")
        << QByteArray("text/html; charset=utf-8") << QByteArray("<meta charset=koi8-r>\xc3\xa9")
        << u"<meta charset=koi8-r>\u00e9"_s;
    QTest::newRow("HTML: meta too late")
        << QByteArray("text/html") << QByteArray(1024, ' ') + "<meta charset=koi8-r>\xc1"
        << QString(1024, u' ') + u"<meta charset=koi8-r>\u00c1"_s;
}

void MimeParseTest::texts()
{
    QFETCH(QByteArray, type);
    QFETCH(QByteArray, bytes);
    const MIMEContext context = MIMEContext::parse("Content-Type: " + type + "\n\n" + bytes);
    QTEST(context.decodedText(0), "text");
    QCOMPARE(context.decodedContent(0).text, context.decodedText(0));
    QCOMPARE(context.decodedContent(0).bytes, bytes);
}

void MimeParseTest::textWithoutItsBlocks()
{
    const QByteArray body =
        "one\nbegin 644 a\n#0V%T\nend\n=ybegin line=1 size=1 name=b\n[\n=yend size=1\ntwo\n";
    QCOMPARE(MIMEContext::parse("\n" + body).displayText(0), u"one\ntwo\n"_s);
    const QByteArray onTheWire = QByteArray(body).replace("\n", "\r\n");
    const MIMEContext encoded =
        MIMEContext::parse("Content-Transfer-Encoding: base64\n\n" + onTheWire.toBase64());
    QCOMPARE(encoded.displayText(0), u"one\ntwo\n"_s);
    QCOMPARE(encoded.decodedText(0), QString::fromLatin1(body));
    QCOMPARE(encoded.count(), 3);
}

void MimeParseTest::saving()
{
    const MIMEContext context = MIMEContext::parse("Content-Transfer-Encoding: base64\n\nAAEC\n");
    const QString path = m_scratch->path(u"saved.bin"_s);
    QVERIFY(context.savePart(0, path));
    QCOMPARE(Scratch::read(path), QByteArray("\0\1\2", 3));
    QVERIFY(!context.savePart(0, m_scratch->path(u"no/such/directory"_s)));
    QCOMPARE(m_scratch->reports, QStringList{u"Unable to save decoded file"_s});
}

void MimeParseTest::dumping()
{
    const QByteArray dump =
        MIMEContext::parse(mixed("--b\nContent-ID: <i>\n\none\n--b\n\ntwo\n--b--\n")).dump();
    QVERIFY(dump.startsWith(
        "Dumping MIME Context...\ntype = 1538\nname = \ndesc = \ncontenttype = text/plain\n"
        "charset = iso-8859-1\ncontentid = <i>\ncontentlocation = \nencoding = 1\ntype = 257\n"
        "hdroffset = 47\noffset = 64\nlength = 3\nneedsstrip = 0\n-----\nname = \n"));
    QCOMPARE(dump.count("-----"), 1);
}

QTEST_GUILESS_MAIN(MimeParseTest)
#include "mime_parse_test.moc"
