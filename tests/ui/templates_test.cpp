#include "identityprogram.h"

#include "identity/templates.h"
#include "ui/identities/identitywindows.h"
#include "ui/identities/templateeditor.h"
#include "ui/identities/templatesdialog.h"
#include "ui/identities/templatevariables.h"

#include <QComboBox>
#include <QPlainTextEdit>
#include <QTest>

/// The manager and the editor of templates.
class TemplatesTest : public QObject
{
    Q_OBJECT

private slots:
    void templatesAreKept();
    void variablesAreInserted_data();
    void variablesAreInserted();
    void previewFollows();
    void unknownVariablesAreNamed_data();
    void unknownVariablesAreNamed();
};

void TemplatesTest::templatesAreKept()
{
    IdentityProgram program;
    TemplatesDialog *dialog = openTemplateManager(program.engine, &program.window);
    QVERIFY(field<QListView>(dialog, "list")->isHidden());
    press(dialog, "new");
    auto *editor = opened<TemplateEditor>(dialog);
    QVERIFY(!canPress(editor, "ok"));
    field(editor, "name")->setText(u"Thanks"_s);
    field<QPlainTextEdit>(editor, "text")->setPlainText(u"Dear %from[name],"_s);
    press(editor, "ok");
    QCOMPARE(rows(dialog), QStringList{u"Thanks"_s});
    QCOMPARE(readTemplate(u"Thanks"_s), u"Dear %from[name],"_s);
    press(dialog, "edit");
    editor = opened<TemplateEditor>(dialog);
    field(editor, "name")->setText(u"Many thanks"_s);
    press(editor, "ok");
    QCOMPARE(templateNames(), QStringList{u"Many thanks"_s});
    press(dialog, "copy");
    press(opened<TemplateEditor>(dialog), "ok");
    QCOMPARE(templateNames(), (QStringList{u"Copy of Many thanks"_s, u"Many thanks"_s}));
    press(dialog, "delete");
    confirmDelete(dialog);
    QCOMPARE(templateNames(), QStringList{u"Many thanks"_s});
}

void TemplatesTest::variablesAreInserted_data()
{
    QTest::addColumn<QString>("variable");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("text");
    QTest::newRow("plain") << u"%subject"_s << u"!"_s << u"a %subject!b"_s;
    QTest::newRow("with a part") << u"%from[name]"_s << u"!"_s << u"a %from[name]!b"_s;
    QTest::newRow("any field: typed over")
        << u"%header[X-Mailer]"_s << u"List-Id"_s << u"a %header[List-Id]b"_s;
    QTest::newRow("any format: typed over") << u"%date[d MMMM yyyy]"_s << u"yy"_s << u"a %date[yy]b"_s;
}

void TemplatesTest::variablesAreInserted()
{
    QFETCH(QString, variable);
    QFETCH(QString, typed);
    IdentityProgram program;
    auto *editor = new TemplateEditor(program.identities(), Message(), {}, &program.window);
    editor->show();
    QVERIFY(QTest::qWaitForWindowActive(editor));
    auto *text = field<QPlainTextEdit>(editor, "text");
    text->setPlainText(u"a b"_s);
    QTextCursor cursor = text->textCursor();
    cursor.setPosition(2);
    text->setTextCursor(cursor);
    auto *list = field<QListView>(editor, "variables");
    const QModelIndexList found =
        list->model()->match(list->model()->index(0, 0), Qt::DisplayRole, variable, 1, Qt::MatchFixedString);
    QCOMPARE(found.size(), 1);
    list->setCurrentIndex(found.first());
    list->setFocus();
    QTest::keyClick(list, Qt::Key_Return);
    QTRY_VERIFY(text->hasFocus());
    QVERIFY(editor->isVisible()); // that Enter meant the list alone
    text->insertPlainText(typed);
    QTEST(text->toPlainText(), "text");
}

void TemplatesTest::previewFollows()
{
    IdentityProgram program;
    const Message current(QByteArray("From: Otto <otto@pier.example>\nSubject: Boats\n\nAhoy\n"));
    auto *editor = new TemplateEditor(program.identities(), current, {}, &program.window);
    editor->show();
    auto *text = field<QPlainTextEdit>(editor, "text");
    auto *preview = field<QPlainTextEdit>(editor, "preview");
    text->setPlainText(u"%from[name], 100%%, %subject, %identity[address]\n%body[quoted]"_s);
    QTRY_VERIFY2(preview->toPlainText().startsWith(u"Otto, 100%, Boats, clara@tidewater.example"_s),
                 qPrintable(preview->toPlainText()));
    QVERIFY(preview->toPlainText().contains(u"\n> Ahoy"_s));
    field<QComboBox>(editor, "identity")->setCurrentIndex(1);
    QVERIFY(preview->toPlainText().contains(u"club@sailing.example"_s));

    auto *other = new TemplateEditor(program.identities(), Message(), {}, &program.window);
    other->setTemplate(u"x"_s, u"%from[address]"_s); // an example, where no message is open
    QVERIFY(field<QPlainTextEdit>(other, "preview")->toPlainText().contains(u'@'));
}

void TemplatesTest::unknownVariablesAreNamed_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("unknown");
    QTest::newRow("none") << u"%from %FROM[name] 100%% %% 5 % %"_s << QStringList();
    QTest::newRow("letters behind a name") << u"%fromX and %%fromY"_s << QStringList{u"%fromX"_s};
    QTest::newRow("once each") << u"%foo %bar %foo"_s << QStringList{u"%foo"_s, u"%bar"_s};
}

void TemplatesTest::unknownVariablesAreNamed()
{
    QFETCH(QString, text);
    QTEST(unknownVariables(text), "unknown");
}

QTEST_MAIN(TemplatesTest)
#include "templates_test.moc"
