#include "message/message.h"
#include "message/mimecontext.h"
#include "ui/reader/diagnosis.h"

#include <QTest>

using namespace Qt::StringLiterals;

/// What the reader says of messages that are written wrongly.
class DiagnosisTest : public QObject
{
    Q_OBJECT

private slots:
    void faults_data();
    void faults();
    void chosenCharset();
    void oneLine();
    void largeMessages();
};

namespace {

const QByteArray kHead = "From: ada@example.org\nDate: Fri, 20 Nov 2026 10:00:00 +0000\nMIME-Version: 1.0\n";

QByteArray typed(const QByteArray &type, const QByteArray &body)
{
    return kHead + "Content-Type: " + type + "\n\n" + body;
}

QStringList faultsOf(const QByteArray &text, const QByteArray &charset = {})
{
    const Message message(text);
    return diagnose(message, message.mime(), charset);
}

} // namespace

void DiagnosisTest::faults_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QStringList>("faults");
    const auto row = [](const char *name, const QByteArray &text, const QStringList &faults) {
        QTest::newRow(name) << text << faults;
    };
    const QByteArray base64 =
        "--b\nContent-Type: image/png; name=a.png\nContent-Transfer-Encoding: base64\n\n";
    row("nothing wrong", typed("text/plain", "Hello\n"), {});
    row("nothing wrong with UTF-8", typed("text/plain; charset=utf-8", "\xC3\xA4\n"), {});
    row("nothing wrong with parts", typed("multipart/mixed; boundary=b", "--b\n\nx\n--b--\nfooter\n"), {});
    row("nothing wrong with base64",
        typed("multipart/mixed; boundary=b", "--b\n\nx\n" + base64 + "QUJD\nQUI=\n--b--\n"), {});
    row("base64 whose lines hold no whole groups",
        typed("multipart/mixed; boundary=b", "--b\n\nx\n" + base64 + "QUJDQ\nUJ\nD\n--b--\n"), {});
    row("UTF-8 without saying so", typed("text/plain", "\xC3\xA4\n"), {});
    row("a character that stands for an unknown one",
        typed("text/plain; charset=utf-8", "\xC3\xA4 \xEF\xBF\xBD\n"), {});
    row("nothing at all", "", {u"The message is empty."_s});
    row("no header", "\n\nHello\n", {u"It has no header."_s, u"It names no sender."_s, u"It has no date."_s});
    row("no sender", "Date: Fri, 20 Nov 2026 10:00:00 +0000\n\nx\n", {u"It names no sender."_s});
    row("an empty sender", "From: \nDate: Fri, 20 Nov 2026 10:00:00 +0000\n\nx\n",
        {u"Its sender cannot be read."_s});
    row("no date", "From: a@b.example\n\nx\n", {u"It has no date."_s});
    row("a broken date", "From: a@b.example\nDate: yesterday\n\nx\n", {u"Its date cannot be read."_s});
    row("no text", kHead + "\n\n", {u"It has no text."_s});
    row("an unknown set", typed("text/plain; charset=x-nonesuch", "\xE4\n"),
        {u"Its character set “x-nonesuch” is not known."_s});
    row("no set", typed("text/plain", "\xE4\n"),
        {u"It does not say which character set it is written in."_s});
    row("the wrong set", typed("text/plain; charset=utf-8", "a\xE4z\n"),
        {u"Some letters do not exist in its character set “utf-8”."_s});
    row("no boundary", typed("multipart/mixed", "--b\n\nx\n--b--\n"),
        {u"It does not say where its parts begin."_s});
    row("another boundary", typed("multipart/mixed; boundary=c", "--b\n\nx\n--b--\n"),
        {u"It has no parts where it announces some."_s});
    row("cut", typed("multipart/mixed; boundary=b", "--b\n\nx\n--b\n\ny"),
        {u"The end of the message is missing."_s});
    row("cut in a picture", typed("multipart/mixed; boundary=b", "--b\n\nx\n" + base64 + "QUJDQU"),
        {u"The end of the message is missing."_s, u"“a.png” breaks off."_s});
    row("an inner multipart that is cut",
        typed("multipart/mixed; boundary=b",
              "--b\nContent-Type: multipart/alternative; boundary=c\n\n--c\n\nx\n--b--\n"),
        {u"The end of the message is missing."_s});
    row("too many parts",
        typed("multipart/mixed; boundary=b", QByteArray("--b\n\nx\n").repeated(10'500) + "--b--\n"),
        {u"It has too many parts to list them all."_s});
    row("everything", "Date: x\nContent-Type: text/plain; charset=utf-8\n\n\xE4",
        {u"Some letters do not exist in its character set “utf-8”."_s, u"It names no sender."_s,
         u"Its date cannot be read."_s});
}

void DiagnosisTest::faults()
{
    QFETCH(QByteArray, text);
    QTEST(faultsOf(text), "faults");
}

void DiagnosisTest::chosenCharset()
{
    QCOMPARE(faultsOf(typed("text/plain; charset=x-nonesuch", "\xE4\n"), "koi8-r"), QStringList());
}

void DiagnosisTest::oneLine()
{
    QCOMPARE(faultsInWords({}), QString());
    QCOMPARE(faultsInWords({u"A."_s}), u"A."_s);
    QCOMPARE(faultsInWords({u"A."_s, u"B."_s, u"C."_s}), u"A. There are 2 more faults."_s);
    QCOMPARE(faultsInWords({u"A."_s, u"B."_s}), u"A. There is 1 more fault."_s);
}

/// Their end is looked at, not all of them.
void DiagnosisTest::largeMessages()
{
    const QByteArray line = QByteArray(76, 'A') + '\n';
    const QByteArray begin = "--b\n\nx\n--b\nContent-Type: image/png; name=a.png\n"
                             "Content-Transfer-Encoding: base64\n\n";
    const QByteArray whole = begin + line.repeated(40'000);
    QCOMPARE(faultsOf(typed("multipart/mixed; boundary=b", whole + "--b--\n")), QStringList());
    QCOMPARE(faultsOf(typed("multipart/mixed; boundary=b", whole + "AA\n--b--\n")),
             QStringList{u"“a.png” breaks off."_s});
}

QTEST_GUILESS_MAIN(DiagnosisTest)
#include "diagnosis_test.moc"
