#include "config/settings.h"
#include "engine/engine.h"
#include "identity/signatures.h"
#include "support/scratch.h"
#include "ui/compose/composeeditor.h"
#include "ui/compose/plaineditor.h"
#include "ui/compose/recipientedit.h"
#include "ui/compose/replacebar.h"
#include "ui/compose/richeditor.h"
#include "ui/compose/sendwindow.h"
#include "ui/look/askingbar.h"
#include "ui/look/messageboxes.h"

#include <QClipboard>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QGuiApplication>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QTest>
#include <QTextBlock>

using namespace Qt::StringLiterals;

namespace {

/// A window in which a message is written, with what it needs.
class Writing
{
public:
    explicit Writing(bool isRich)
        : m_boxes(&m_parent)
    {
        if (!m_engine.load())
            qFatal("the engine does not load");
        Identity identity;
        identity.address = u"clara@tidewater.example"_s;
        m_engine.identities().add(identity);
        Composer::Started started;
        started.composition.identity = m_engine.identities().all().front();
        started.composition.text = u"Dear Bob\n"_s;
        m_number = started.composition.identity.number;
        const ComposeServices services = {m_engine.composer(),   m_engine.drafts(), m_engine.outbox(),
                                          m_engine.identities(), m_boxes,           {}};
        window = new SendWindow(services, started);
        window->comeForward();
        editor().setRich(isRich);
    }
    ~Writing() { delete window; }

    ComposeEditor &editor() const { return *window->findChild<ComposeEditor *>(); }
    bool isTold() const { return window->findChild<AskingBar *>()->isVisible(); }

    void insertFile(const QString &path) const
    {
        window->actions().find(u"compose.insertFile"_s)->trigger();
        auto *dialog = window->findChild<QFileDialog *>();
        emit dialog->fileSelected(path);
        delete dialog;
    }

    void addSignature(const QString &name, Signature::Kind kind, const QString &text) const
    {
        if (!writeSignature(m_number, {name, kind, text}))
            qFatal("no signature can be written");
    }

    void chooseSignature(const QString &name) const
    {
        QMenu *menu = window->actions().find(u"compose.signature"_s)->menu();
        emit menu->aboutToShow();
        for (QAction *action : menu->actions())
            if (action->text() == name)
                action->trigger();
    }

    SendWindow *window;

private:
    Engine m_engine;
    QWidget m_parent;
    MessageBoxes m_boxes;
    int m_number = 0;
};

} // namespace

/// The editors and fields of the compose window by themselves.
class ComposeTextTest : public QObject
{
    Q_OBJECT

private slots:
    void formsKeepTheText_data();
    void formsKeepTheText();
    void oneHistoryForBothForms();
    void changesOnlyWhatDiffers_data();
    void changesOnlyWhatDiffers();
    void pastesAsQuotation_data();
    void pastesAsQuotation();
    void largePastes_data();
    void largePastes();
    void insertsTextOfFiles_data();
    void insertsTextOfFiles();
    void signaturesWhileOneTypes_data();
    void signaturesWhileOneTypes();
    void replacesAll();
    void hostileQuotations();
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
    QVERIFY(other.isRich() && !other.hasFormatting());
    QCOMPARE(other.plainForm(), expected);
    editor.setRich(false);
    editor.read(composition);
    QCOMPARE(composition.text, text); // nothing was written meanwhile
    QVERIFY(composition.html.isEmpty());
}

/// What going over to plain text loses is there again after a step back, or straight back in the other form.
void ComposeTextTest::oneHistoryForBothForms()
{
    ComposeEditor editor;
    Composition composition;
    composition.html = u"<p><b>bold</b></p>"_s;
    editor.show(composition);
    QVERIFY(editor.hasFormatting());
    editor.rich()->textCursor().insertText(u"x"_s);
    const QString formatted = editor.rich()->html();
    editor.setRich(false);
    editor.setRich(true);
    QCOMPARE(editor.rich()->html(), formatted);
    editor.setRich(false);
    editor.plain()->insertText(u"typed "_s);
    editor.setRich(true); // now it is a plain text
    QVERIFY(!editor.rich()->html().contains(u"<b>"_s));
    editor.undo();
    QVERIFY(!editor.isRich());
    QVERIFY(editor.plainForm().startsWith(u"typed "_s));
    editor.undo();
    QVERIFY(!editor.plainForm().startsWith(u"typed "_s));
    editor.undo();
    QVERIFY(editor.isRich());
    QCOMPARE(editor.rich()->html(), formatted);
    editor.undo();
    QVERIFY(!editor.rich()->html().contains(u'x'));
    for (int i = 0; i < 4; ++i)
        editor.redo();
    QVERIFY(editor.isRich());
    QVERIFY(editor.plainForm().startsWith(u"typed "_s));
    QVERIFY(!editor.canRedo());
}

void ComposeTextTest::changesOnlyWhatDiffers_data()
{
    QTest::addColumn<QString>("html"); // "" for plain text
    QTest::newRow("plain") << QString();
    QTest::newRow("formatted") << u"<p>one</p><p>t<b>w</b>o</p><div class=\"signature\"><p>-- </p><p>old</p>"
                                  "</div><p>below</p>"_s;
}

/// A signature that comes while one types moves no cursor, and is one step of the history.
void ComposeTextTest::changesOnlyWhatDiffers()
{
    QFETCH(QString, html);
    ComposeEditor editor;
    Composition composition;
    composition.text = u"one\ntwo\n-- \nold\nbelow\n"_s;
    composition.html = html;
    editor.show(composition);
    QTest::keyClicks(editor.current(), u"typed"_s);
    const QString before = editor.plainForm();
    Composition now;
    editor.read(now);
    now.text.replace(u"old\n"_s, u"Clara\nTidewater\n"_s);
    now.html.replace(u">old<"_s, u">Clara<br>Tidewater<"_s);
    editor.changeTo(now);
    QCOMPARE(editor.plainForm(), u"typedone\ntwo\n-- \nClara\nTidewater\nbelow\n"_s);
    QTest::keyClicks(editor.current(), u"!"_s);
    QVERIFY(editor.plainForm().startsWith(u"typed!one\n"_s));
    editor.undo();
    editor.undo();
    QCOMPARE(editor.plainForm(), before);
    editor.undo();
    QVERIFY(editor.plainForm().startsWith(u"one\n"_s));
}

void ComposeTextTest::pastesAsQuotation_data()
{
    QTest::addColumn<bool>("rich");
    QTest::addColumn<QString>("before"); // the cursor stands at its end
    QTest::addColumn<QString>("after");
    for (const bool rich : {false, true}) {
        QTest::addRow("empty, %s", rich ? "formatted" : "plain") << rich << u""_s << u"> one\n>> two\n\n"_s;
        QTest::addRow("in a line, %s", rich ? "formatted" : "plain")
            << rich << u"text"_s << u"text\n> one\n>> two\n\n"_s;
    }
}

void ComposeTextTest::pastesAsQuotation()
{
    QFETCH(bool, rich);
    QFETCH(QString, before);
    QFETCH(QString, after);
    ComposeEditor editor;
    Composition composition;
    composition.text = before;
    editor.show(composition);
    editor.setRich(rich);
    rich ? editor.rich()->moveCursor(QTextCursor::End) : editor.plain()->moveCursor(QTextCursor::End);
    QGuiApplication::clipboard()->setText(u"one\n> two\n"_s);
    editor.pasteAsQuotation();
    QString shown = editor.plainForm();
    QCOMPARE(rich ? shown : shown + u'\n', after);
    editor.undo();
    QCOMPARE(editor.plainForm().trimmed(), before);
}

void ComposeTextTest::largePastes_data()
{
    QTest::addColumn<bool>("rich");
    QTest::addColumn<bool>("html");
    QTest::addColumn<QString>("pasted");
    QTest::addColumn<bool>("taken");
    const QString line = u"word "_s.repeated(200'000);
    const QString lines = u"a line of text\n"_s.repeated(350'000);
    const QString paragraphs = u"<p>a paragraph</p>"_s.repeated(300'000);
    QTest::newRow("a line of 1 MB, plain") << false << false << line << false;
    QTest::newRow("a line of 1 MB, formatted") << true << false << line << false;
    QTest::newRow("5 MB, plain") << false << false << lines << false;
    QTest::newRow("5 MB, formatted") << true << false << lines << false;
    QTest::newRow("HTML of 5 MB") << true << true << paragraphs << false;
    QTest::newRow("HTML of one paragraph")
        << true << true << u"<p>"_s + u"<b>a</b> word "_s.repeated(5000) + u"</p>"_s << false;
    QTest::newRow("1 MB, plain") << false << false << lines.first(1'000'000) << true;
}

/// What would hold the window is not taken, and told.
void ComposeTextTest::largePastes()
{
    QFETCH(bool, rich);
    QFETCH(bool, html);
    QFETCH(QString, pasted);
    QFETCH(bool, taken);
    ComposeEditor editor;
    editor.setRich(rich);
    QString refused;
    connect(&editor, &ComposeEditor::tooMuchPasted, &editor,
            [&refused](const QString &text, const QString &markup) { refused = text + markup; });
    auto *data = new QMimeData;
    if (html)
        data->setHtml(pasted);
    else
        data->setText(pasted);
    QGuiApplication::clipboard()->setMimeData(data);
    rich ? editor.rich()->paste() : editor.plain()->paste();
    QCOMPARE(refused, taken ? QString() : pasted);
    QCOMPARE(editor.plainForm().size() > 1, taken);
}

void ComposeTextTest::insertsTextOfFiles_data()
{
    QTest::addColumn<bool>("rich");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("taken");
    QTest::newRow("plain") << false << QByteArray("a <b>\nc") << true;
    QTest::newRow("formatted") << true << QByteArray("a <b>\nc") << true;
    QTest::newRow("no text") << false << QByteArray("a\0b", 3) << false;
    QTest::newRow("too large") << false << QByteArray(5'000'000, 'x') << false;
}

void ComposeTextTest::insertsTextOfFiles()
{
    QFETCH(bool, rich);
    QFETCH(QByteArray, bytes);
    QFETCH(bool, taken);
    const Writing writing(rich);
    writing.insertFile(m_scratch.write(u"file"_s, bytes));
    const QString expected = taken ? QString::fromUtf8(bytes) + u"Dear Bob\n"_s : u"Dear Bob\n"_s;
    QCOMPARE(writing.editor().plainForm().trimmed(), expected.trimmed());
    QCOMPARE(writing.isTold(), !taken);
    writing.editor().undo();
    QCOMPARE(writing.editor().plainForm().trimmed(), u"Dear Bob"_s);
}

void ComposeTextTest::signaturesWhileOneTypes_data()
{
    QTest::addColumn<bool>("rich");
    QTest::newRow("plain") << false;
    QTest::newRow("formatted") << true;
}

/// A signature comes below the text, whatever is typed meanwhile; another one takes its place; one that
/// cannot be read changes nothing.
void ComposeTextTest::signaturesWhileOneTypes()
{
    QFETCH(bool, rich);
    const Writing writing(rich);
    writing.addSignature(u"late"_s, Signature::Kind::Command, u"printf 'from a program'"_s);
    writing.addSignature(u"other"_s, Signature::Kind::Html, u"<b>from HTML</b>"_s);
    ComposeEditor &editor = writing.editor();
    writing.chooseSignature(u"late"_s);
    QTest::keyClicks(editor.current(), u"ab"_s);
    QTRY_VERIFY(editor.plainForm().contains(u"from a program"_s));
    QTest::keyClicks(editor.current(), u"c"_s);
    QVERIFY2(editor.plainForm().startsWith(u"abcDear Bob\n"_s), qPrintable(editor.plainForm()));
    writing.chooseSignature(u"other"_s);
    QVERIFY(!editor.plainForm().contains(u"from a program"_s));
    QCOMPARE(editor.plainForm().count(u"from HTML"_s), 1);
    const QString before = editor.plainForm();
    const QString path = configPathOf(u"Identities/1/Signatures/other"_s);
    QVERIFY(QFile::resize(path, 0) && QFile::remove(path) && QDir().mkdir(path));
    writing.chooseSignature(u"other"_s);
    QVERIFY(QDir().rmdir(path));
    QCOMPARE(editor.plainForm(), before);
    editor.current()->setFocus();
    editor.undo();
    QVERIFY(editor.plainForm().contains(u"from a program"_s));
}

void ComposeTextTest::replacesAll()
{
    for (const bool rich : {false, true}) {
        ComposeEditor editor;
        Composition composition;
        composition.text = u"one two\n> One\nnone\n"_s;
        editor.show(composition);
        editor.setRich(rich);
        ReplaceBar bar(&editor, nullptr);
        const auto fields = bar.findChildren<QLineEdit *>();
        fields.at(0)->setText(u"one"_s);
        fields.at(1)->setText(u"one one"_s);
        bar.findChildren<QPushButton *>().at(1)->click();
        QCOMPARE(editor.plainForm(), u"one one two\n> one one\nnone one\n"_s);
        editor.undo();
        QCOMPARE(editor.plainForm(), composition.text);
    }
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

void ComposeTextTest::coloursByDepth()
{
    setStringSetting(Setting::QuotePrefix, u"| "_s);
    ComposeEditor editor;
    Composition composition;
    composition.text = u"plain > text\n> one\n> > two\n| one\n"_s;
    editor.show(composition);
    const auto colourOf = [](const QTextDocument *document, int line) {
        const auto formats = document->findBlockByNumber(line).layout()->formats();
        return formats.isEmpty() ? QColor() : formats.first().format.foreground().color();
    };
    for (int form = 0; form < 2; ++form) {
        const QTextDocument *document = form ? editor.rich()->document() : editor.plain()->document();
        QVERIFY(!colourOf(document, 0).isValid());
        QVERIFY(colourOf(document, 1).isValid() && colourOf(document, 2).isValid());
        QVERIFY(colourOf(document, 1) != colourOf(document, 2));
        QCOMPARE(colourOf(document, 3), colourOf(document, 1));
        editor.setRich(true);
    }
    resetSettings();
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
