#include "config/settings.h"
#include "support/scratch.h"
#include "ui/compose/composeeditor.h"
#include "ui/compose/plaineditor.h"
#include "ui/compose/quotecolours.h"
#include "ui/compose/recipientedit.h"
#include "ui/compose/richeditor.h"

#include <QClipboard>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QLineEdit>
#include <QMimeData>
#include <QTest>
#include <QTextBlock>

using namespace Qt::StringLiterals;

/// The editors and fields of the compose window by themselves.
class ComposeTextTest : public QObject
{
    Q_OBJECT

private slots:
    void formsKeepTheText_data();
    void formsKeepTheText();
    void hostileQuotations();
    void hostileHtmlIsPasted();
    void coloursByDepth();
    void wrapsWhatIsTyped_data();
    void wrapsWhatIsTyped();
    void longLinesStay();
    void depthChanges();
    void pastedLists_data();
    void pastedLists();
    void collectedOnesAreNotAccepted();
    void typedTextIsNeverLost();

private:
    Scratch m_scratch;
};

void ComposeTextTest::formsKeepTheText_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("empty lines") << u"Dear Bob,\n\n\nhello\n"_s;
    QTest::newRow("quoted") << u"Ann wrote:\n> one\n>\n> three\n>> deeper\n\nYes.\n"_s;
    QTest::newRow("indented") << u"table:\n    a   b\n\tc\n"_s;
    QTest::newRow("markup") << u"1 < 2 && <b>not bold</b> &amp;\n"_s;
    QTest::newRow("signature") << u"Text\n\n-- \nClara\n"_s;
    QTest::newRow("right to left") << u"שלום\n> مرحبا\n"_s;
}

/// What is written as plain text survives formatted text, and the way there and back loses nothing.
void ComposeTextTest::formsKeepTheText()
{
    QFETCH(QString, text);
    ComposeEditor editor;
    Composition composition;
    composition.text = text;
    editor.show(composition);
    editor.setRich(true);
    QString expected = text;
    expected.replace(u"\n>\n"_s, u"\n> \n"_s);
    QCOMPARE(editor.plainForm(), expected);
    QVERIFY(!editor.hasFormatting());
    composition = {};
    editor.read(composition);
    ComposeEditor other;
    other.show(composition); // a draft that is opened again
    QVERIFY(other.isRich());
    QCOMPARE(other.plainForm(), expected);
    editor.setRich(false);
    editor.read(composition);
    QCOMPARE(composition.text, expected);
    QVERIFY(composition.html.isEmpty());
}

void ComposeTextTest::hostileQuotations()
{
    const QString deep = QString(200'000, u'>') + u" end\n"_s;
    ComposeEditor editor;
    Composition composition;
    composition.text = deep + u"text\n"_s;
    editor.show(composition);
    QElapsedTimer clock;
    clock.start();
    editor.setRich(true);
    QVERIFY(editor.plainForm().contains(u" end"_s));
    QVERIFY2(clock.elapsed() < 5000, qPrintable(QString::number(clock.elapsed())));
    composition = {};
    editor.read(composition);
    QVERIFY(composition.html.count(u"<blockquote"_s) <= 20);
}

void ComposeTextTest::hostileHtmlIsPasted()
{
    RichEditor editor;
    auto *data = new QMimeData;
    data->setHtml(u"<p onclick=\"x()\">a<script>alert(1)</script><img src=\"file:///etc/passwd\">"
                  "<a href=\"javascript:x()\">b</a></p>"_s);
    QGuiApplication::clipboard()->setMimeData(data);
    editor.paste();
    const QString html = editor.html();
    for (const char *never : {"script", "passwd", "onclick", "javascript"})
        QVERIFY2(!html.contains(QLatin1StringView(never)), qPrintable(html));
    QVERIFY(html.contains(u'a') && html.contains(u'b'));
}

void ComposeTextTest::coloursByDepth()
{
    QCOMPARE(QuoteColours::depthOf(u"text > more"), 0);
    QCOMPARE(QuoteColours::depthOf(u"> one"), 1);
    QCOMPARE(QuoteColours::depthOf(u"> > two"), 2);
    QCOMPARE(QuoteColours::depthOf(u">>> three"), 3);
    PlainEditor editor;
    editor.setPlainText(u"plain\n> one\n>> two"_s);
    const auto colourOf = [&editor](int line) {
        const auto formats = editor.document()->findBlockByNumber(line).layout()->formats();
        return formats.isEmpty() ? QColor() : formats.first().format.foreground().color();
    };
    QVERIFY(!colourOf(0).isValid());
    QVERIFY(colourOf(1).isValid() && colourOf(2).isValid());
    QVERIFY(colourOf(1) != colourOf(2));
}

void ComposeTextTest::wrapsWhatIsTyped_data()
{
    QTest::addColumn<bool>("wraps");
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::newRow("a long line") << true << u"one two three four five"_s << u"one two three four\nfivex"_s;
    QTest::newRow("switched off") << false << u"one two three four five"_s << u"one two three four fivex"_s;
    QTest::newRow("quoted") << true << u"> one two three four five"_s << u"> one two three four fivex"_s;
    QTest::newRow("one word") << true << QString(30, u'a') << QString(30, u'a') + u'x';
}

void ComposeTextTest::wrapsWhatIsTyped()
{
    QFETCH(bool, wraps);
    QFETCH(QString, before);
    QFETCH(QString, after);
    setBoolSetting(Setting::AutoWrapCompose, wraps);
    setIntSetting(Setting::SendWrapWidth, 20);
    PlainEditor editor;
    editor.setPlainText(before);
    editor.moveCursor(QTextCursor::End);
    QTest::keyClick(&editor, Qt::Key_X, Qt::NoModifier);
    QString typed = editor.toPlainText();
    QCOMPARE(typed.remove(u' '), after.remove(u' '));
    QVERIFY(editor.textCursor().atEnd());
    editor.undo();
    QCOMPARE(editor.toPlainText(), before); // the break goes with the key that made it
    resetSettings();
}

/// A line of a megabyte costs nothing at every key and is left as it was pasted.
void ComposeTextTest::longLinesStay()
{
    PlainEditor editor;
    editor.setPlainText(u"word "_s.repeated(200'000));
    editor.moveCursor(QTextCursor::End);
    QTest::keyClick(&editor, Qt::Key_X);
    QCOMPARE(editor.document()->blockCount(), 1);
}

void ComposeTextTest::depthChanges()
{
    PlainEditor editor;
    editor.setPlainText(u"a\n> b"_s);
    editor.selectAll();
    editor.changeQuoteDepth(1);
    QCOMPARE(editor.toPlainText(), u"> a\n>> b"_s);
    editor.selectAll();
    editor.changeQuoteDepth(-1);
    QCOMPARE(editor.toPlainText(), u"a\n> b"_s);
}

void ComposeTextTest::pastedLists_data()
{
    QTest::addColumn<QString>("pasted");
    QTest::addColumn<int>("pills");
    QTest::newRow("commas") << u"a@x.example, b@x.example"_s << 2;
    QTest::newRow("semicolons") << u"Ann <a@x.example>; Bob <b@x.example>"_s << 2;
    QTest::newRow("lines") << u"a@x.example\r\nb@x.example\nc@x.example\n"_s << 3;
    QTest::newRow("a comma in quotes") << u"\"Brandt, Ann\" <a@x.example>, b@x.example"_s << 2;
    QString many;
    for (int i = 0; i < 1000; ++i)
        many += u"u%1@x.example, "_s.arg(i);
    QTest::newRow("a thousand, twice") << many + many << 1000;
}

void ComposeTextTest::pastedLists()
{
    QFETCH(QString, pasted);
    QFETCH(int, pills);
    RecipientEdit field;
    QGuiApplication::clipboard()->setText(pasted);
    QTest::keyClick(field.entry(), Qt::Key_V, Qt::ControlModifier);
    QCOMPARE(field.pills().count(), pills);
    QVERIFY(field.entry()->text().isEmpty());
}

/// A proposal becomes a recipient when it is chosen, never by going on.
void ComposeTextTest::collectedOnesAreNotAccepted()
{
    RecipientEdit field;
    field.setProposals([](const QString &) {
        return QList<RecipientEdit::Proposal>{{{u"Hanna"_s, u"hanna@spam.example"_s}, true}};
    });
    field.show();
    field.entry()->setFocus();
    QTest::keyClicks(field.entry(), u"hanna"_s);
    QTest::keyClick(field.entry(), Qt::Key_Return);
    QVERIFY(!field.text().contains(u"spam.example"_s));
    QVERIFY(field.text().contains(u"hanna"_s));
}

void ComposeTextTest::typedTextIsNeverLost()
{
    RecipientEdit field;
    field.setText(u"a@x.example"_s);
    field.entry()->setText(u"half typ"_s);
    QVERIFY(field.text().contains(u"half typ"_s));
    field.commit();
    QVERIFY(field.text().contains(u"half typ"_s));
    QVERIFY(field.text().contains(u"a@x.example"_s));
}

QTEST_MAIN(ComposeTextTest)
#include "composetext_test.moc"
