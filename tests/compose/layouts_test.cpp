// Every layout that we write is read by Python's email package, and by this system's own reader; both must
// find what was meant.

#include "compose/charsets.h"
#include "compose/messagebuilder.h"
#include "message/lineends.h"
#include "message/mimecontext.h"
#include "support/scratch.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

Composition mail()
{
    Composition composition;
    composition.identity.name = u"Ada Lovelace"_s;
    composition.identity.address = u"ada@example.org"_s;
    composition.to = u"bob@example.net"_s;
    composition.subject = u"Hello"_s;
    composition.text = u"Hello Bob,\n\n. a dot\n.. two\nFrom here\nblank \n-- \nAda\n"_s;
    composition.wrap = false;
    return composition;
}

QByteArray someBytes(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator random(3);
    std::generate(bytes.begin(), bytes.end(), [&] { return char(random.bounded(256)); });
    return bytes;
}

/// What a reader found of a part, in one form for both readers.
struct Found
{
    QByteArray type;
    QString name;
    QString text;     ///< of "text/" that has a known character set
    QByteArray bytes; ///< of everything
};

QList<Found> foundByUs(const QByteArray &message)
{
    const MIMEContext mime = MIMEContext::parse(message);
    QList<Found> all;
    for (int i = 0; i < mime.count(); ++i) {
        const MIMEPart &part = mime.part(i);
        if (!isMultipartCategory(part.type))
            all += Found{part.contenttype, part.name, mime.decodedText(i), mime.decodedBytes(i)};
    }
    return all;
}

QByteArray bytesOf(const QJsonValue &value)
{
    return QByteArray::fromBase64(value.toString().toLatin1());
}

QList<Found> foundByThem(const QJsonObject &message)
{
    QList<Found> all;
    const QJsonArray parts = message.value("parts"_L1).toArray();
    for (const QJsonValue &value : parts) {
        const QJsonObject part = value.toObject();
        if (!part.contains("bytes"_L1))
            continue;
        all += Found{part.value("type"_L1).toString().toLatin1(), part.value("name"_L1).toString(),
                     part.value("text"_L1).toString(), bytesOf(part.value("bytes"_L1))};
    }
    return all;
}

QStringList typesIn(const QJsonObject &message)
{
    QStringList types;
    const QJsonArray parts = message.value("parts"_L1).toArray();
    for (const QJsonValue &part : parts)
        types += part.toObject().value("type"_L1).toString();
    return types;
}

QString addressesIn(const QJsonObject &message, QLatin1StringView field)
{
    QStringList all;
    const QJsonArray addresses = message.value(field).toArray();
    for (const QJsonValue &one : addresses)
        all += one[0].toString() + u'|' + one[1].toString();
    return all.join(u'\n');
}

QByteArray onTheWire(QByteArray message)
{
    return message.replace('\n', "\r\n");
}

using Change = std::function<void(Composition &)>;

} // namespace

Q_DECLARE_METATYPE(Change)

class LayoutsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init() { m_scratch = std::make_unique<Scratch>(); }
    void cleanup() { m_scratch.reset(); }

    void layouts_data();
    void layouts();
    void texts_data();
    void texts();
    void charsets_data();
    void charsets();
    void attachments_data();
    void attachments();
    void names_data();
    void names();
    void messagesAreAttached_data();
    void messagesAreAttached();
    void blocks_data();
    void blocks();
    void keyFrames();
    void headers_data();
    void headers();

private:
    QJsonObject read(const QByteArray &message);

    QProcess m_python;
    std::unique_ptr<Scratch> m_scratch;
};

void LayoutsTest::initTestCase()
{
    m_python.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_python.start(u"python3"_s, {QFINDTESTDATA("readmail.py")});
    QVERIFY2(m_python.waitForStarted(), "python3 is needed");
}

void LayoutsTest::cleanupTestCase()
{
    m_python.closeWriteChannel();
    QVERIFY(m_python.waitForFinished());
}

/// What Python finds in @p message; no object when it fails.
QJsonObject LayoutsTest::read(const QByteArray &message)
{
    m_python.write(QByteArray::number(message.size()) + '\n' + message);
    while (!m_python.canReadLine() && m_python.waitForReadyRead(20'000))
        ;
    return QJsonDocument::fromJson(m_python.readLine()).object();
}

void LayoutsTest::layouts_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QStringList>("types");
    const Change rich = [](Composition &c) {
        c.html = u"<html><body><p>Héllo <b>Bob</b></p></body></html>\n"_s;
    };
    const Change picture = [](Composition &c) {
        c.html = u"<p><img src=\"cid:pic1@velmar\"> ü</p>\n"_s;
        c.attachments += {u"pic.png"_s, "image/png", someBytes(500), "pic1@velmar"};
    };
    const Change file = [](Composition &c) {
        c.attachments += {u"a.zip"_s, "application/zip", someBytes(5000), {}};
    };
    const auto both = [](const Change &a, const Change &b) {
        return Change([a, b](Composition &c) {
            a(c);
            b(c);
        });
    };
    const QString plain = u"text/plain"_s, html = u"text/html"_s, alternative = u"multipart/alternative"_s,
                  related = u"multipart/related"_s, mixed = u"multipart/mixed"_s, png = u"image/png"_s,
                  zip = u"application/zip"_s;
    QTest::newRow("plain") << Change([](Composition &) {}) << QStringList{plain};
    QTest::newRow("empty") << Change([](Composition &c) { c.text.clear(); }) << QStringList{plain};
    QTest::newRow("rich") << rich << QStringList{alternative, plain, html};
    QTest::newRow("picture") << picture << QStringList{alternative, plain, related, html, png};
    QTest::newRow("file") << file << QStringList{mixed, plain, zip};
    QTest::newRow("rich, file") << both(rich, file) << QStringList{mixed, alternative, plain, html, zip};
    QTest::newRow("picture, file") << both(picture, file)
                                   << QStringList{mixed, alternative, plain, related, html, png, zip};
    QTest::newRow("a picture that nothing shows")
        << both(picture, rich) << QStringList{mixed, alternative, plain, html, png};
    QTest::newRow("a picture of a plain text")
        << both(picture, [](Composition &c) { c.html.clear(); }) << QStringList{mixed, plain, png};
    QTest::newRow("signed, so nothing in 8 bits")
        << both(both(rich, file), [](Composition &c) { c.sign = true; })
        << QStringList{mixed, alternative, plain, html, zip};
}

void LayoutsTest::layouts()
{
    QFETCH(Change, change);
    Composition composition = mail();
    change(composition);
    const QByteArray message = buildMessage(composition);
    const QJsonObject found = read(onTheWire(message));
    QVERIFY2(found.value("defects"_L1).toArray().isEmpty(),
             QJsonDocument(found.value("defects"_L1).toArray()).toJson().constData());
    QTEST(typesIn(found), "types");
    const bool multipart = typesIn(found).first().startsWith("multipart/"_L1);
    QCOMPARE(found.value("preamble"_L1).toString(),
             multipart ? u"This message is in MIME format."_s : QString());
    if (composition.sign)
        QVERIFY(std::all_of(message.begin(), message.end(), [](char c) { return quint8(c) < 0x80; }));

    for (const QList<Found> &parts : {foundByThem(read(message)), foundByUs(message)}) {
        qsizetype at = 0;
        QCOMPARE(parts.at(at++).text, composition.text);
        if (!composition.html.isEmpty())
            QCOMPARE(parts.at(at++).text, composition.html);
        for (const Attachment &attachment : std::as_const(composition.attachments)) {
            QCOMPARE(parts.at(at).bytes, attachment.data);
            QCOMPARE(parts.at(at++).name, attachment.name);
        }
        QCOMPARE(parts.size(), at);
    }
    for (const QJsonValue &part : found.value("parts"_L1).toArray())
        if (part["type"_L1].toString() == "image/png"_L1)
            QCOMPARE(part["id"_L1].toString(), u"<pic1@velmar>"_s);
}

void LayoutsTest::texts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("forced");
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<QString>("charset");
    const QString qp = u"quoted-printable"_s;
    QTest::newRow("ASCII") << u"a\nb\n"_s << true << QString() << u"us-ascii"_s;
    QTest::newRow("8 bits") << u"ä €\n\n.\n"_s << false << u"8bit"_s << u"utf-8"_s;
    QTest::newRow("forced") << u"ä € = \nFrom 😀 a\n"_s << true << qp << u"utf-8"_s;
    QTest::newRow("998 bytes") << QString(998, u'x') + u'\n' << false << QString() << u"us-ascii"_s;
    QTest::newRow("999 bytes") << QString(999, u'x') + u'\n' << false << qp << u"us-ascii"_s;
    QTest::newRow("5,000 characters") << QString(5000, u'é') + u'\n' << false << qp << u"utf-8"_s;
    QTest::newRow("a CR") << u"a\rb\r\nc\n"_s << false << qp << u"us-ascii"_s;
    QTest::newRow("a NUL") << u"a"_s + QChar(0) + u"b\n"_s << false << qp << u"us-ascii"_s;
    QTest::newRow("what looks like a part")
        << u"--\n--1--2--3\nContent-Type: a/b\n\nFrom \n"_s << false << QString() << u"us-ascii"_s;
}

void LayoutsTest::texts()
{
    QFETCH(QString, text);
    QFETCH(bool, forced);
    setBoolSetting(Setting::ForceQP, forced);
    Composition composition = mail();
    composition.text = text;
    for (const bool isAlone : {true, false}) {
        if (!isAlone)
            composition.html = u"<p>x</p>\n"_s;
        const QByteArray message = buildMessage(composition);
        const QJsonObject part = read(message).value("parts"_L1)[isAlone ? 0 : 1].toObject();
        QTEST(part.value("encoding"_L1).toString(), "encoding");
        QTEST(part.value("charset"_L1).toString(), "charset");
        QCOMPARE(QString::fromUtf8(bytesOf(part.value("bytes"_L1))), text);
        QCOMPARE(foundByUs(message).first().bytes, text.toUtf8());
    }
}

void LayoutsTest::charsets_data()
{
    QTest::addColumn<QByteArray>("charset");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("written");
    QTest::newRow("Latin-1") << QByteArray("ISO-8859-1") << u"Grüße\n"_s << u"iso-8859-1"_s;
    QTest::newRow("Latin-1 without the euro") << QByteArray("ISO-8859-1") << u"5 €\n"_s << u"utf-8"_s;
    QTest::newRow("windows-1252") << QByteArray("windows-1252") << u"“5 €”\n"_s << u"windows-1252"_s;
    QTest::newRow("Cyrillic") << QByteArray("KOI8-R") << u"Привет\n"_s << u"koi8-r"_s;
    QTest::newRow("with states") << QByteArray("ISO-2022-JP") << u"日本語\nABC 日本\n"_s << u"iso-2022-jp"_s;
    QTest::newRow("Japanese") << QByteArray("Shift_JIS") << u"日本語表\n"_s << u"shift_jis"_s;
    QTest::newRow("Chinese") << QByteArray("GB2312") << u"中文\n"_s << u"gb2312"_s;
    QTest::newRow("Chinese beyond it") << QByteArray("GB2312") << u"朶\n"_s << u"utf-8"_s;
    QTest::newRow("traditional") << QByteArray("Big5") << u"繁體\n"_s << u"big5"_s;
    QTest::newRow("Korean") << QByteArray("EUC-KR") << u"한국어\n"_s << u"euc-kr"_s;
    QTest::newRow("no set") << QByteArray("x-none") << u"ü\n"_s << u"utf-8"_s;
    QTest::newRow("not for eight bits") << QByteArray("us-ascii") << u"ü\n"_s << u"utf-8"_s;
    QTest::newRow("where ASCII is not ASCII") << QByteArray("utf-16") << u"ü\n"_s << u"utf-8"_s;
    QTest::newRow("nor here") << QByteArray("utf-7") << u"ü+\n"_s << u"utf-8"_s;
}

void LayoutsTest::charsets()
{
    QFETCH(QByteArray, charset);
    QFETCH(QString, text);
    for (const bool forced : {false, true}) {
        setBoolSetting(Setting::ForceQP, forced);
        Composition composition = mail();
        composition.charset = charset;
        composition.text = composition.subject = text;
        composition.to = u"\"%1\" <bob@example.net>"_s.arg(text.trimmed());
        const QByteArray message = buildMessage(composition);
        const QJsonObject found = read(onTheWire(message));
        const QJsonObject part = found.value("parts"_L1)[0].toObject();
        QTEST(part.value("charset"_L1).toString(), "written");
        QCOMPARE(part.value("text"_L1).toString(), text);
        QCOMPARE(foundByUs(message).first().text, text);
        const QString line = text.trimmed().replace(u'\n', u' ');
        QCOMPARE(found.value("subject"_L1).toString(), line);
        QCOMPARE(Message(message).subject(), line);
        QCOMPARE(addressesIn(found, "to"_L1), line + u"|bob@example.net"_s);
    }
}

void LayoutsTest::attachments_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QByteArray>("written");
    QTest::addColumn<QString>("encoding");
    const QString qp = u"quoted-printable"_s, plain8 = u"8bit"_s, base64 = u"base64"_s;
    const QByteArray text("text/plain");
    QTest::newRow("binary") << u"a.png"_s << QByteArray("image/png") << someBytes(100'000)
                            << QByteArray("image/png") << base64;
    QTest::newRow("empty") << u"a.png"_s << QByteArray("image/png") << QByteArray() << QByteArray("image/png")
                           << base64;
    QTest::newRow("empty text") << u"a.txt"_s << text << QByteArray() << text << plain8;
    QTest::newRow("text") << u"a.txt"_s << text << QByteArray("a\nb\n") << text << plain8;
    QTest::newRow("text without a line end") << u"a.txt"_s << text << QByteArray("a\nb") << text << plain8;
    QTest::newRow("text of line ends") << u"a.txt"_s << text << QByteArray("\n\n\n") << text << plain8;
    QTest::newRow("text in UTF-8") << u"a.txt"_s << text << QByteArray("\xc3\xbc\n") << text << plain8;
    QTest::newRow("text that says its set")
        << u"a.txt"_s << QByteArray("text/plain; charset=koi8-r") << QByteArray("\xc6\xc1") << text << plain8;
    QTest::newRow("parameters of its own")
        << u"a.ics"_s << QByteArray("Text/Calendar; METHOD=REQUEST; Charset=\"utf-8\"")
        << QByteArray("\xc3\xbc\n") << QByteArray("text/calendar") << plain8;
    QTest::newRow("text of another system")
        << u"a.txt"_s << text << QByteArray("a\r\n\r\nb \r\n") << text << qp;
    QTest::newRow("text of two bytes a character") << u"a.txt"_s << text
                                                   << QByteArray("\xff\xfe"
                                                                 "a\0\r\0\n\0",
                                                                 8)
                                                   << text << qp;
    QTest::newRow("text with long lines")
        << u"a.csv"_s << QByteArray("text/csv") << QByteArray(3000, ',') << QByteArray("text/csv") << qp;
    QTest::newRow("no type") << u"a.pdf"_s << QByteArray() << QByteArray("x") << QByteArray("application/pdf")
                             << base64;
    QTest::newRow("broken type") << u"a.pdf"_s << QByteArray("pdf; x") << QByteArray("x")
                                 << QByteArray("application/pdf") << base64;
    QTest::newRow("a multipart is none here")
        << u"a.mim"_s << QByteArray("multipart/mixed; boundary=b") << QByteArray("--b\n\n--b--\n")
        << QByteArray("application/octet-stream") << base64;
}

void LayoutsTest::attachments()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, type);
    QFETCH(QByteArray, data);
    QFETCH(QByteArray, written);
    QFETCH(QString, encoding);
    Composition composition = mail();
    composition.attachments = {{name, type, data, {}}, {u"next"_s, "image/gif", "GIF", {}}};
    const QByteArray message = buildMessage(composition);
    const QJsonObject found = read(message);
    QVERIFY(found.value("defects"_L1).toArray().isEmpty());
    QCOMPARE(found.value("parts"_L1)[2]["encoding"_L1].toString(), encoding);
    QCOMPARE(found.value("parts"_L1)[2]["disposition"_L1].toString(), u"attachment"_s);
    QCOMPARE(found.value("parts"_L1)[2]["typeName"_L1].toString(), name);
    for (const QList<Found> &parts : {foundByThem(found), foundByUs(message)}) {
        QCOMPARE(parts.size(), 3);
        QCOMPARE(parts.at(1).type, written);
        QCOMPARE(parts.at(1).name, name);
        QCOMPARE(parts.at(1).bytes, data);
        QCOMPARE(parts.at(2).bytes, "GIF");
    }
}

void LayoutsTest::names_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("arrives");
    const auto same = [](const QString &name) { QTest::addRow("%s", qUtf8Printable(name)) << name << name; };
    same(u"a b.txt"_s);
    same(u"a \"b\" \\c\\.txt"_s);
    same(u"a; filename=b.exe"_s);
    same(u"semi;colon, (comma) <x@y>.txt"_s);
    same(u"100%25 it's.txt"_s);
    same(u"=?utf-8?q?a=2Eexe?="_s);
    same(u"Grüße.txt"_s);
    same(u"日本語 'x' %41.pdf"_s);
    same(u".profile"_s);
    same(u"😀.png"_s);
    QTest::newRow("path") << u"/home/ada/../a.txt"_s << u"a.txt"_s;
    QTest::newRow("line ends") << u"a\nb\r\nc.txt"_s << u"a b  c.txt"_s;
    QTest::newRow("long, ASCII") << QString(300, u'x') + u".txt"_s << QString(196, u'x') + u".txt"_s;
    QTest::newRow("long") << QString(300, u'é') + u".txt"_s << QString(98, u'é') + u".txt"_s;
    QTest::newRow("no name") << QString() << QString();
}

void LayoutsTest::names()
{
    QFETCH(QString, name);
    QFETCH(QString, arrives);
    setBoolSetting(Setting::BrokenAttachmentNames, false);
    for (const char *charset : {"UTF-8", "ISO-8859-1"}) {
        Composition composition = mail();
        composition.charset = charset;
        composition.attachments = {{name, "application/x-a", "x", {}}};
        const QByteArray message = buildMessage(composition);
        const QByteArrayList lines = message.split('\n');
        QVERIFY(std::all_of(lines.begin(), lines.end(), [](const QByteArray &l) { return l.size() <= 998; }));
        const QJsonObject part = read(onTheWire(message)).value("parts"_L1)[2].toObject();
        QCOMPARE(part.value("name"_L1).toString(), arrives);
        QCOMPARE(part.value("typeName"_L1).toString(), arrives);
        QCOMPARE(foundByUs(message).at(1).name, arrives);
    }
}

void LayoutsTest::messagesAreAttached_data()
{
    QTest::addColumn<QByteArray>("attached");
    QTest::addColumn<QStringList>("types");
    const QByteArray header = "From: cy@example.org\nSubject: inner\nMIME-Version: 1.0\n";
    const QString mixed = u"multipart/mixed"_s, plain = u"text/plain"_s, message = u"message/rfc822"_s;
    QTest::newRow("plain") << header + "\nbody\n" << QStringList{mixed, plain, message, plain};
    QTest::newRow("8 bits, no line end") << header + "Content-Type: text/plain; charset=utf-8\n\nb\xc3\xb6"
                                         << QStringList{mixed, plain, message, plain};
    QTest::newRow("with parts of its own")
        << header + "Content-Type: multipart/mixed; boundary=1--2--3\n\n--1--2--3\n\na\n--1--2--3--\n"
        << QStringList{mixed, plain, message, mixed, plain};
    QTest::newRow("from a file of another system")
        << QByteArray(header + "\nbody\n").replace('\n', "\r\n") << QStringList{mixed, plain, message, plain};
    QTest::newRow("lines that no server takes") << header + '\n' + QByteArray(5000, 'x') + "\n"
                                                << QStringList{mixed, plain, u"application/octet-stream"_s};
}

void LayoutsTest::messagesAreAttached()
{
    QFETCH(QByteArray, attached);
    Composition composition = mail();
    composition.attachments = {{u"inner.eml"_s, "message/rfc822", attached, {}}};
    const QByteArray message = buildMessage(composition);
    const QJsonObject found = read(onTheWire(message));
    QVERIFY(found.value("defects"_L1).toArray().isEmpty());
    QTEST(typesIn(found), "types");
    QCOMPARE(foundByUs(message).at(1).bytes, withUnixLineEnds(attached));
    QCOMPARE(foundByUs(message).at(1).name, u"inner.eml"_s);
}

void LayoutsTest::blocks_data()
{
    QTest::addColumn<int>("form");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("type");
    const int uu = int(AttachmentForm::Uuencode), yenc = int(AttachmentForm::Yenc);
    QTest::newRow("uuencode") << uu << u"Hello\n"_s << u"text/plain"_s;
    QTest::newRow("uuencode, 8 bits") << uu << u"Grüße\n"_s << u"text/plain"_s;
    QTest::newRow("yEnc") << yenc << u"Hello\n"_s << u"text/plain"_s;
    QTest::newRow("yEnc, 8 bits") << yenc << u"Grüße\n"_s << u"text/plain"_s;
    QTest::newRow("a text that no block stands")
        << yenc << QString(2000, u'x') + u'\n' << u"multipart/mixed"_s;
}

void LayoutsTest::blocks()
{
    QFETCH(int, form);
    QFETCH(QString, text);
    QFETCH(QString, type);
    setBoolSetting(Setting::ForceQP, true);
    Composition composition = mail();
    composition.text = text;
    composition.attachmentForm = AttachmentForm(form);
    composition.attachments = {{u"ä b.bin"_s, {}, someBytes(70'000), {}}, {u"c.txt"_s, {}, "Cat\n", {}}};
    const QByteArray message = buildMessage(composition);
    const QJsonObject found = read(message);
    QCOMPARE(typesIn(found).first(), type);
    const QList<Found> ours = foundByUs(message);
    QCOMPARE(ours.size(), 3);
    for (qsizetype i = 0; i < 2; ++i) {
        const Attachment &attachment = composition.attachments.at(i);
        QCOMPARE(ours.at(i + 1).name, attachment.name);
        QCOMPARE(ours.at(i + 1).bytes, attachment.data);
        if (type != "text/plain"_L1)
            continue;
        const QJsonValue theirs = found.value("parts"_L1)[0]["blocks"_L1][i];
        QCOMPARE(theirs[0].toString(), attachment.name);
        QCOMPARE(bytesOf(theirs[1]), attachment.data);
        QCOMPARE(found.value("parts"_L1)[0]["text"_L1].toString(), text);
    }
    QCOMPARE(m_scratch->notes.isEmpty(), type == "text/plain"_L1);
}

void LayoutsTest::keyFrames()
{
    Composition composition = mail();
    composition.sign = true;
    composition.text = u"Grüße \n"_s;
    const QByteArray part = buildBody(composition);
    const QByteArray signature = "-----BEGIN PGP SIGNATURE-----\n\nabc\n-----END PGP SIGNATURE-----\n";
    const QByteArray message =
        finishMessage(composition, buildHeaders(composition), signedBody(part, signature, "pgp-sha512"));
    const QJsonObject found = read(onTheWire(message));
    QVERIFY(found.value("defects"_L1).toArray().isEmpty());
    QCOMPARE(typesIn(found),
             (QStringList{u"multipart/signed"_s, u"text/plain"_s, u"application/pgp-signature"_s}));
    QCOMPARE(found.value("parts"_L1)[0]["micalg"_L1].toString(), u"pgp-sha512"_s);
    QCOMPARE(found.value("parts"_L1)[0]["protocol"_L1].toString(), u"application/pgp-signature"_s);
    QCOMPARE(found.value("parts"_L1)[1]["text"_L1].toString(), composition.text);
    const std::optional<SignedParts> halves = MIMEContext::parse(message).signedParts();
    QVERIFY(halves);
    QCOMPARE(halves->content, part);
    QCOMPARE(halves->signature.trimmed(), signature.trimmed());

    const QByteArray armour = "-----BEGIN PGP MESSAGE-----\n\nabc\n-----END PGP MESSAGE-----\n";
    const QJsonObject encrypted =
        read(finishMessage(composition, buildHeaders(composition), encryptedBody(armour)));
    QVERIFY(encrypted.value("defects"_L1).toArray().isEmpty());
    QCOMPARE(typesIn(encrypted), (QStringList{u"multipart/encrypted"_s, u"application/pgp-encrypted"_s,
                                              u"application/octet-stream"_s}));
    QCOMPARE(encrypted.value("parts"_L1)[0]["protocol"_L1].toString(), u"application/pgp-encrypted"_s);
    QCOMPARE(bytesOf(encrypted.value("parts"_L1)[1]["bytes"_L1]), "Version: 1\n");
    QCOMPARE(bytesOf(encrypted.value("parts"_L1)[2]["bytes"_L1]).trimmed(), armour.trimmed());
}

void LayoutsTest::headers_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("value");
    const auto row = [](const char *name, const char *field, const QString &value, const Change &change) {
        QTest::newRow(name) << change << QString::fromLatin1(field) << value;
    };
    row("names of every kind", "to",
        u"B. \"Q\" \\ O'Neil, jr|b@x.org\n Łódź, Ż. (z)|z@x.org\nplain|p@x.org\n|q@x.org\n=?x?=|r@x.org"_s
            .replace(u"\n Ł"_s, u"\nŁ"_s),
        [](Composition &c) {
            c.to = u"\"B. \\\"Q\\\" \\\\ O'Neil, jr\" <b@x.org>, \"Łódź, Ż. (z)\" <z@x.org>, plain "
                   u"<p@x.org>, q@x.org, "
                   "\"=?x?=\" <r@x.org>"_s;
        });
    row("a quoted local part, a literal", "cc", u"|\"a b\"@x.org\n|c@[127.0.0.1]"_s,
        [](Composition &c) { c.cc = u"\"a b\"@x.org, c@[127.0.0.1]"_s; });
    QStringList many, expected;
    for (int i = 0; i < 250; ++i) {
        many += u"\"Nümber, %1\" <n%1@example.org>"_s.arg(i);
        expected += u"Nümber, %1|n%1@example.org"_s.arg(i);
    }
    row("250 recipients", "to", expected.join(u'\n'), [=](Composition &c) { c.to = many.join(u", "_s); });
    row("a long name", "to", QString(1500, u'é') + u" x|a@x.org"_s,
        [](Composition &c) { c.to = QString(1500, u'é') + u" x <a@x.org>"_s; });
    const QString longText = u"words and  more words "_s.repeated(100).trimmed();
    row("a long subject", "subject", longText, [=](Composition &c) { c.subject = longText; });
    const QString umlauts = u"Grüße an alle "_s.repeated(200).trimmed();
    row("long, outside ASCII", "subject", umlauts, [=](Composition &c) { c.subject = umlauts; });
    row("long, without blanks", "subject", QString(3000, u'x'),
        [](Composition &c) { c.subject = QString(3000, u'x'); });
    row("looks encoded", "subject", u"=?utf-8?q?=41?="_s,
        [](Composition &c) { c.subject = u"=?utf-8?q?=41?="_s; });
    row("a line of one's own", "extra", u"Grüße_"_s, [](Composition &c) {
        c.extra = {{u"X-Extra"_s, u"Grüße_"_s}};
    });
    QStringList ids;
    for (int i = 0; i < 300; ++i)
        ids += u"<some.identifier.%1@mail.example.org>"_s.arg(i);
    row("300 references", "references", ids.join(u'\n'),
        [=](Composition &c) { c.references = ids.join(u' ').toLatin1(); });
}

void LayoutsTest::headers()
{
    QFETCH(Change, change);
    QFETCH(QString, field);
    QFETCH(QString, value);
    Composition composition = mail();
    change(composition);
    const QJsonObject found = read(onTheWire(buildMessage(composition)));
    const QJsonValue is = found.value(field);
    QString text = is.toString();
    if (field == "references"_L1)
        text = is.toVariant().toStringList().join(u'\n');
    else if (is.isArray())
        text = addressesIn(found, QLatin1StringView(field.toLatin1()));
    QCOMPARE(text, value);
    QCOMPARE(found.value("parts"_L1)[0]["text"_L1].toString(), composition.text);
}

QTEST_GUILESS_MAIN(LayoutsTest)
#include "layouts_test.moc"
