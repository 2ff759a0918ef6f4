#include "message/message.h"
#include "message/mimecontext.h"
#include "support/scratch.h"
#include "ui/reader/attachmentfiles.h"
#include "ui/reader/bodyplan.h"
#include "ui/reader/plaintext.h"
#include "ui/texts/datetext.h"
#include "ui/texts/harmless.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// Lines as "2:text", a signature's with "s:" before it, a cut line's with "+" behind it.
QStringList written(const PlainText &text)
{
    QStringList lines;
    for (const TextLine &line : text.lines)
        lines.append((line.signature ? u"s:"_s : QString()) + QString::number(line.quote) + u':' + line.text +
                     (line.continued ? u"+"_s : QString()));
    return lines;
}

QString written(const BodyPlan &plan)
{
    static constexpr const char *kKinds[] = {"text", "html", "image", "delivery", "piece",
                                             "(",    ")",    "note",  "data"};
    QStringList out;
    for (const BodySection &section : plan.sections)
        out.append(QString::fromLatin1(kKinds[section.kind]) +
                   (section.part < 0 || section.kind == BodySection::End ? QString()
                                                                         : QString::number(section.part)));
    for (const int part : plan.attachments)
        out.append(u'@' + QString::number(part));
    return out.join(u' ');
}

/// A multipart of @p type out of parts, each a type and perhaps further header lines.
QByteArray multipart(const QByteArray &type, const QList<QByteArray> &parts)
{
    QByteArray text = "MIME-Version: 1.0\nContent-Type: multipart/" + type + "; boundary=b\n\n";
    for (const QByteArray &part : parts)
        text += "--b\nContent-Type: " + part + "\n\nx\n";
    return text + "--b--\n";
}

} // namespace

class ReaderTextTest : public QObject
{
    Q_OBJECT

private slots:
    void plainText_data();
    void plainText();
    void armour();
    void longLines_data();
    void longLines();
    void folds_data();
    void folds();
    void emphasis_data();
    void emphasis();
    void plans_data();
    void plans();
    void people_data();
    void people();
    void dates_data();
    void dates();
    void risks_data();
    void risks();
    void namesThatAreFree();
    void copiesForOthers();
};

void ReaderTextTest::plainText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("flowed");
    QTest::addColumn<bool>("delsp");
    QTest::addColumn<QStringList>("lines");
    const auto row = [](const char *name, const QString &text, const QStringList &lines, bool flowed = false,
                        bool delsp = false) { QTest::newRow(name) << text << flowed << delsp << lines; };
    row("quotation marks in every manner", u"> a\n>> b\n> > c\n>d\n> > > e"_s,
        {u"1:a"_s, u"2:b"_s, u"2:c"_s, u"1:d"_s, u"3:e"_s});
    row("blanks behind the mark's own blank stay", u">   code()\n"_s, {u"1:  code()"_s});
    row("a mailbox's mark before From is no quotation", u"Well.\n>From here on"_s,
        {u"0:Well."_s, u"0:>From here on"_s});
    row("but within a quotation it is one", u"> so\n>From here on"_s, {u"1:so"_s, u"1:From here on"_s});
    row("CRLF, and no line end at the end", u"a\r\nb"_s, {u"0:a"_s, u"0:b"_s});
    row("empty lines at the end go", u"a\n\n \n"_s, {u"0:a"_s});
    row("the signature is the last one", u"x\n-- \nfirst\n-- \nme"_s,
        {u"0:x"_s, u"0:-- "_s, u"0:first"_s, u"s:0:-- "_s, u"s:0:me"_s});
    row("a mark without its blank begins no signature", u"x\n--\nme"_s, {u"0:x"_s, u"0:--"_s, u"0:me"_s});
    row("a quoted signature is part of the quotation", u"> -- \n> me"_s, {u"1:-- "_s, u"1:me"_s});
    row("control characters show themselves", u"a\x1b[1m\x7f"_s + QChar(0) + u"b\tc"_s,
        {u"0:a\u241b[1m\u2421\u2400b\tc"_s});
    row("marks that a document keeps for itself", u"a\uFFFC\uFDD0\u2029b"_s, {u"0:a\uFFFD\uFFFD b"_s});
    row("piles of accents stay within the line", u"a"_s + QString(500, QChar(0x301)) + u"b\u0301"_s,
        {u"0:a"_s + QString(8, QChar(0x301)) + u"b\u0301"_s});
    row("flowed lines are joined", u"one \ntwo \nthree\nfour"_s, {u"0:one two three"_s, u"0:four"_s}, true);
    row("not so without format=flowed", u"one \ntwo"_s, {u"0:one "_s, u"0:two"_s});
    row("DelSp takes the blank away", u"灯 \n台"_s, {u"0:灯台"_s}, true, true);
    row("stuffed lines", u" From here\n >no quotation\n  two"_s,
        {u"0:From here"_s, u"0:>no quotation"_s, u"0: two"_s}, true);
    row("flowed quotations join by depth", u">> a \n>> b\n> c \nd"_s, {u"2:a b"_s, u"1:c "_s, u"0:d"_s},
        true);
    row("in flowed text only bare marks count", u"> > a"_s, {u"1:> a"_s}, true);
    row("a signature's mark never flows", u"x \n-- \nme"_s, {u"0:x "_s, u"s:0:-- "_s, u"s:0:me"_s}, true);
    row("nothing at all", u""_s, {});
}

void ReaderTextTest::plainText()
{
    QFETCH(QString, text);
    QFETCH(bool, flowed);
    QFETCH(bool, delsp);
    QTEST(written(readPlainText(text, {flowed, delsp, false})), "lines");
}

void ReaderTextTest::armour()
{
    const PlainText text = readPlainText(u"Before\n-----BEGIN PGP SIGNED MESSAGE-----\nHash: SHA256\n\n"
                                         "Text\n- -----not armour\n-----BEGIN PGP SIGNATURE-----\n\niQEz\n"
                                         "-----END PGP SIGNATURE-----\nAfter\n"_s,
                                         {false, false, true});
    QCOMPARE(written(text), QStringList({u"0:Before"_s, u"0:Text"_s, u"0:-----not armour"_s, u"0:After"_s}));
    QVERIFY(text.isSigned && !text.isEncrypted);
    const PlainText secret = readPlainText(
        u"-----BEGIN PGP MESSAGE-----\n\nhQEM\n-----END PGP MESSAGE-----\nSeen"_s, {false, false, true});
    QCOMPARE(written(secret), QStringList({u"0:Seen"_s}));
    QVERIFY(secret.isEncrypted && !secret.isSigned);
}

void ReaderTextTest::longLines_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("mostPieces");
    QTest::newRow("no blanks") << QString(2'000'000, u'x') << 2001;
    QTest::newRow("blanks") << u"word "_s.repeated(400'000) << 140;
    QTest::newRow("pairs of surrogates") << u"\U0001F4F7"_s.repeated(5000) << 21;
    QTest::newRow("short enough") << u"word "_s.repeated(1000) << 1;
}

void ReaderTextTest::longLines()
{
    QFETCH(QString, line);
    QFETCH(int, mostPieces);
    const PlainText text = readPlainText(line);
    QVERIFY2(text.lines.size() <= mostPieces, QByteArray::number(text.lines.size()).constData());
    QString whole;
    for (const TextLine &piece : text.lines) {
        QVERIFY(piece.text.size() <= 16'000);
        QVERIFY(!piece.text.isEmpty() && !piece.text.front().isLowSurrogate());
        whole += piece.text;
    }
    QCOMPARE(whole, line);
    QVERIFY(!text.lines.last().continued);
}

void ReaderTextTest::folds_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<QuoteFold>>("folds");
    QTest::newRow("twelve stay") << u"mine\n"_s + u"> q\n"_s.repeated(12) << QList<QuoteFold>();
    QTest::newRow("thirteen fold") << u"mine\n"_s + u"> q\n"_s.repeated(13) + u"end\n"_s
                                   << QList<QuoteFold>{{1, 13, 13}};
    QTest::newRow("all depths are one run")
        << u"mine\n"_s + u"> q\n>> r\n"_s.repeated(9) << QList<QuoteFold>{{1, 18, 18}};
    QTest::newRow("each run by itself") << u"> q\n"_s.repeated(13) + u"mine\n"_s + u"> q\n"_s.repeated(3) +
                                               u"mine\n"_s + u"> q\n"_s.repeated(20)
                                        << QList<QuoteFold>{{0, 13, 13}, {18, 20, 20}};
    QTest::newRow("nothing but quotation") << u"> q\n"_s.repeated(30) + u"\n"_s << QList<QuoteFold>();
    QTest::newRow("long lines count as often as they wrap")
        << u"mine\n> "_s + u"word "_s.repeated(200) << QList<QuoteFold>{{1, 1, 13}};
}

void ReaderTextTest::folds()
{
    QFETCH(QString, text);
    QTEST(foldsOf(readPlainText(text).lines), "folds");
}

void ReaderTextTest::emphasis_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("marked");
    QTest::newRow("three kinds") << u"a *bold* and /slanted/, _under_."_s
                                 << QStringList{u"*bold*"_s, u"/slanted/"_s, u"_under_"_s};
    QTest::newRow("several words") << u"*two words*"_s << QStringList{u"*two words*"_s};
    QTest::newRow("paths, names and sums") << u"/usr/share/doc a_b_c 2*3*4 and/or/not"_s << QStringList();
    QTest::newRow("a mark alone, or with a blank inside") << u"5 * 3 * 2, *not *"_s << QStringList();
}

void ReaderTextTest::emphasis()
{
    QFETCH(QString, line);
    QStringList marked;
    for (const Emphasis &found : findEmphasis(line))
        marked.append(line.sliced(found.start, found.length));
    QTEST(marked, "marked");
}

void ReaderTextTest::plans_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("preferPlain");
    QTest::addColumn<QString>("plan");
    const auto row = [](const char *name, const QByteArray &text, const QString &plan, bool plain = false) {
        QTest::newRow(name) << text << plain << plan;
    };
    const QByteArray plain = "text/plain";
    const QByteArray html = "text/html";
    row("a plain message", "Subject: x\n\nHello\n", u"text0"_s);
    row("the richest form", multipart("alternative", {plain, html}), u"html1"_s);
    row("the plain form, if preferred", multipart("alternative", {plain, html}), u"text0"_s, true);
    row("HTML in a false order", multipart("alternative", {html, plain}), u"html0"_s);
    row("an invitation stands above its text", multipart("alternative", {plain, "text/calendar"}),
        u"data1 text0 @1"_s);
    row("a contact by its name", multipart("mixed", {plain, "application/octet-stream; name=A.VCF"}),
        u"text0 data1 @1"_s);
    row("a receipt is no file", multipart("report", {plain, "message/disposition-notification"}),
        u"text0 data1"_s);
    row("text, file, footer", multipart("mixed", {plain, "application/pdf; name=a.pdf", plain}),
        u"text0 text2 @1"_s);
    row("a text that is attached", multipart("mixed", {plain, "text/plain\nContent-Disposition: attachment"}),
        u"text0 @1"_s);
    row("pictures", multipart("mixed", {plain, "image/png; name=a.png", "image/svg+xml; name=b.svg"}),
        u"text0 image1 @1 @2"_s);
    row("a signature is no file", multipart("signed", {plain, "application/pgp-signature; name=s.asc"}),
        u"text0"_s);
    row("encrypted", multipart("encrypted", {"application/pgp-encrypted", "application/octet-stream"}),
        u"note @1"_s);
    row("an enclosed message",
        multipart("mixed", {plain, "message/rfc822\n\nSubject: in\nContent-Type: text/html"}),
        u"text0 (1 html2 ) @1"_s);
    row("a digest", multipart("digest", {"message/rfc822\n\nSubject: 1", "message/rfc822\n\nSubject: 2"}),
        u"(0 text1 ) (2 text3 )"_s);
    row("a bounce", multipart("report", {plain, "message/delivery-status\n\nReporting-MTA: dns; a"}),
        u"text0 delivery1"_s);
    row("a multipart without parts", "Content-Type: multipart/mixed; boundary=b\n\n--b--\n", u"note"_s);
}

void ReaderTextTest::plans()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, preferPlain);
    const Message message(text);
    QTEST(written(planBody(message.mime(), {preferPlain, true})), "plan");
}

void ReaderTextTest::people_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<QString>("claim");
    QTest::newRow("an honest name") << u"Aiko Tanabe"_s << u"Aiko Tanabe"_s << QString();
    QTest::newRow("none") << QString() << u"evil@y.example"_s << QString();
    QTest::newRow("somebody else's address")
        << u"paypal@x.example"_s << u"evil@y.example"_s << u"paypal@x.example"_s;
    QTest::newRow("somebody else's address among words")
        << u"Bank (service@bank.example)"_s << u"evil@y.example"_s << u"service@bank.example"_s;
    QTest::newRow("one's own address") << u"EVIL@y.example"_s << u"evil@y.example"_s << QString();
    QTest::newRow("directions, line ends, markup")
        << u"A\u202E\u2066\r\nB\u200B <b>"_s << u"A B <b>"_s << QString();
    QTest::newRow("a pile of accents")
        << u"a\u0301\u0301\u0301\u0301\u0301\u0301"_s << u"a\u0301\u0301\u0301"_s << QString();
}

void ReaderTextTest::people()
{
    QFETCH(QString, name);
    const ShownPerson person = shownPerson({name, u"evil@y.example"_s});
    QTEST(person.name, "shown");
    QTEST(person.claim, "claim");
    QCOMPARE(person.address, u"evil@y.example"_s);
}

void ReaderTextTest::dates_data()
{
    QTest::addColumn<QDateTime>("moment");
    QTest::addColumn<QString>("text");
    const auto at = [](int y, int m, int d) { return QDateTime(QDate(y, m, d), QTime(9, 5)); };
    QTest::newRow("today") << at(2026, 11, 21) << u"Today 09:05"_s;
    QTest::newRow("yesterday") << at(2026, 11, 20) << u"Yesterday 09:05"_s;
    QTest::newRow("six days") << at(2026, 11, 15) << u"Sun 09:05"_s;
    QTest::newRow("a week") << at(2026, 11, 14) << u"14 Nov 09:05"_s;
    QTest::newRow("another year") << at(2025, 11, 21) << u"21 Nov 2025 09:05"_s;
    QTest::newRow("tomorrow") << at(2026, 11, 22) << u"22 Nov 09:05"_s;
}

void ReaderTextTest::dates()
{
    QFETCH(QDateTime, moment);
    QTEST(shortDateText(moment, QDateTime(QDate(2026, 11, 21), QTime(12, 0))), "text");
}

void ReaderTextTest::risks_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("risk");
    const auto row = [](const char *what, const QString &name, OpenRisk risk, const QByteArray &bytes = "x") {
        QTest::newRow(what) << name << bytes << int(risk);
    };
    row("declared safe", u"a.txt"_s, OpenRisk::None);
    row("in capitals", u"A.PNG"_s, OpenRisk::None);
    row("a document", u"a.pdf"_s, OpenRisk::Ask);
    row("no extension", u"a"_s, OpenRisk::Ask);
    row("a program", u"a.EXE"_s, OpenRisk::Never);
    row("behind a second extension", u"photo.jpg.desktop"_s, OpenRisk::Never);
    row("a launcher under a false name", u"a.txt"_s, OpenRisk::Never, "# x\n[Desktop Entry]\nExec=rm\n");
    row("a script under a false name", u"a.png"_s, OpenRisk::Never, "#!/bin/sh\n");
    row("a program of this system", u"a.txt"_s, OpenRisk::Never, QByteArray("\x7f") + "ELF\x02");
}

void ReaderTextTest::risks()
{
    Scratch scratch;
    QFETCH(QString, name);
    QFETCH(QByteArray, bytes);
    QTEST(int(openRiskOf(name, bytes)), "risk");
}

void ReaderTextTest::namesThatAreFree()
{
    Scratch scratch;
    const QString first = scratch.write(u"file.pdf"_s, "1");
    const QString directory = QFileInfo(first).path();
    QCOMPARE(QFileInfo(freePath(directory, u"file.pdf"_s)).fileName(), u"file (2).pdf"_s);
    QVERIFY(QFile::link(scratch.path(u"nowhere"_s), scratch.path(u"file (2).pdf"_s)));
    QCOMPARE(QFileInfo(freePath(directory, u"file.pdf"_s)).fileName(), u"file (3).pdf"_s);
    QCOMPARE(QFileInfo(freePath(directory, u"other"_s)).fileName(), u"other"_s);
}

void ReaderTextTest::copiesForOthers()
{
    Scratch scratch;
    const Message message(multipart("mixed", {"text/plain", "application/pdf; name=\"../../a b.pdf\""}));
    QString path;
    {
        AttachmentFiles files;
        path = files.copyOf(message, 1);
        QCOMPARE(QFileInfo(path).fileName(), u"a b.pdf"_s);
        QCOMPARE(Scratch::read(path), QByteArray("x"));
        QCOMPARE(QFile::permissions(path) &
                     (QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther | QFile::ExeOwner),
                 QFile::Permissions());
        QVERIFY(files.copyOf(message, 1) != path);
    }
    QVERIFY(!QFile::exists(path));
    setStringSetting(Setting::TempDir, scratch.path(u"not/there"_s)); // then the desktop's own will do
    AttachmentFiles files;
    QCOMPARE(Scratch::read(files.copyOf(message, 1)), QByteArray("x"));
}

QTEST_MAIN(ReaderTextTest)
#include "readertext_test.moc"
