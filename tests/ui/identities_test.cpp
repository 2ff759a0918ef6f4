#include "identityprogram.h"

#include "identity/signatures.h"
#include "ui/identities/identitiesdialog.h"
#include "ui/identities/identityeditor.h"
#include "ui/identities/identityform.h"
#include "ui/identities/identitywindows.h"
#include "ui/identities/signatureeditor.h"
#include "ui/identities/signaturesdialog.h"
#include "ui/identities/taglinesdialog.h"
#include "ui/identities/templateeditor.h"
#include "ui/identities/templatesdialog.h"

#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QTextBrowser>

class IdentitiesTest : public QObject
{
    Q_OBJECT

private slots:
    void theListFollows();
    void orderAndDefault();
    void deletionIsAskedAndGuarded();
    void everyAttributeIsSaved();
    void nothingEnteredChangesNothing();
    void problemsStandAtTheirFields_data();
    void problemsStandAtTheirFields();
    void aCopyTakesSignaturesAlong();
    void aNewOneIsEnteredForItsSignatures();
    void signaturesAreKept();
    void anUnreadableSignatureStays();
    void aRenamedSignatureStaysTheDefault();
    void htmlIsSeenHarmless();
    void commandsAreTried_data();
    void commandsAreTried();
    void taglinesAreEdited();
    void windowsComeToTheFront();
    void theKeyboardSuffices();
};

namespace {

/// All that the question before a deletion says.
QString wordsOf(QWidget *manager)
{
    QStringList words;
    for (const QLabel *label : field<QDialog>(manager, "deleteDialog")->findChildren<QLabel *>())
        words += label->text();
    return words.join(u' ');
}

} // namespace

void IdentitiesTest::theListFollows()
{
    IdentityProgram program;
    IdentitiesDialog *dialog = openIdentityManager(program.engine, &program.window);
    QCOMPARE(rows(dialog), (QStringList{u"Clara Winter"_s, u"Sailing club"_s}));
    dialog->select(program.club);
    Identity changed = program.identity(program.club);
    changed.name = u"The club"_s;
    program.identities().update(changed);
    QCOMPARE(rows(dialog).last(), u"The club"_s);
    QCOMPARE(field<QListView>(dialog, "list")->currentIndex().row(), 1); // it is the chosen one still
    program.identities().remove(program.clara);
    program.identities().remove(program.club);
    QVERIFY(field<QListView>(dialog, "list")->isHidden());
    QVERIFY(!canPress(dialog, "edit") && canPress(dialog, "new"));
}

void IdentitiesTest::orderAndDefault()
{
    IdentityProgram program;
    IdentitiesDialog *dialog = openIdentityManager(program.engine, &program.window);
    QVERIFY(QTest::qWaitForWindowActive(dialog));
    dialog->select(program.clara);
    QVERIFY(!canPress(dialog, "up") && canPress(dialog, "down") && !canPress(dialog, "default"));
    dialog->select(program.club);
    press(dialog, "default");
    QCOMPARE(program.identities().defaultIdentity()->number, program.club);
    QVERIFY(!canPress(dialog, "default"));
    QTest::keyClick(field<QListView>(dialog, "list"), Qt::Key_Up, Qt::AltModifier);
    QTRY_COMPARE(rows(dialog).first(), u"Sailing club"_s);
    IdentityManager again;
    QVERIFY(again.load()); // it is on the disk
    QCOMPARE(again.all().front().number, program.club);
    QVERIFY(again.all().front().has(IdentityDefault));
}

void IdentitiesTest::deletionIsAskedAndGuarded()
{
    IdentityProgram program;
    program.identities().setGuard(
        [&program](int number) { return number == program.club ? u"Invitations"_s : QString(); });
    IdentitiesDialog *dialog = openIdentityManager(program.engine, &program.window);
    dialog->select(program.club);
    press(dialog, "delete");
    QCOMPARE(program.identities().all().size(), std::size_t(2)); // not before the answer
    confirmDelete(dialog);
    QCOMPARE(program.identities().all().size(), std::size_t(2));
    QVERIFY(program.scratch.reports.contains(
        u"Identity '%1' is referenced by filter '%2' and cannot be deleted"_s.arg(u"Sailing club"_s,
                                                                                  u"Invitations"_s)));
    QTRY_VERIFY(!dialog->findChild<QDialog *>(u"deleteDialog"_s));
    dialog->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(dialog));
    field<QListView>(dialog, "list")->setFocus();
    dialog->select(program.clara);
    QTest::keyClick(field<QListView>(dialog, "list"), Qt::Key_Delete);
    QTRY_VERIFY(dialog->findChild<QDialog *>(u"deleteDialog"_s));
    QVERIFY(wordsOf(dialog).contains(u"“Sailing club” becomes the default identity"_s));
    confirmDelete(dialog);
    QCOMPARE(rows(dialog), QStringList{u"Sailing club"_s});
    QTRY_VERIFY(!dialog->findChild<QDialog *>(u"deleteDialog"_s));
    press(dialog, "delete");
    QVERIFY(wordsOf(dialog).contains(u"It is the only one"_s));
}

void IdentitiesTest::everyAttributeIsSaved()
{
    IdentityProgram program;
    QVERIFY(writeSignature(program.clara, {u"Work"_s, Signature::Kind::Plain, u"Clara"_s}));
    const Group *copies = program.engine.groups().make(u"Copies"_s);
    QVERIFY(copies);
    IdentityEditor *editor = editIdentity(program.engine, program.clara, &program.window);
    field(editor, "name")->setText(u" Clara W. "_s);
    field(editor, "address")->setText(u"cw@tidewater.example"_s);
    field(editor, "replyTo")->setText(u"Desk <desk@tidewater.example>, cw@tidewater.example"_s);
    field(editor, "organisation")->setText(u"Tidewater Press"_s);
    field(editor, "hostName")->setText(u"mail.tidewater.example"_s);
    field(editor, "keyId")->setText(u"0xDEADBEEF"_s);
    auto *signature = field<QComboBox>(editor, "signature");
    signature->setCurrentIndex(signature->findData(u"Work"_s));
    press(editor, "separator");
    press(editor, "tagline");
    for (const char *folder : {"sentMail", "sentNews"}) {
        auto *box = field<QComboBox>(editor, folder);
        box->setCurrentIndex(box->findData(copies->number()));
    }
    press(editor, "ok");
    const Identity &saved = program.identity(program.clara);
    QCOMPARE(saved.name, u"Clara W."_s);
    QCOMPARE(saved.address, u"cw@tidewater.example"_s);
    QCOMPARE(saved.replyTo, u"Desk <desk@tidewater.example>, cw@tidewater.example"_s);
    QCOMPARE(saved.organisation, u"Tidewater Press"_s);
    QCOMPARE(saved.hostName, u"mail.tidewater.example"_s);
    QCOMPARE(saved.keyId, u"0xDEADBEEF"_s);
    QCOMPARE(saved.signature, u"Work"_s);
    QVERIFY(!saved.has(IdentityStandardSeparator) && saved.has(IdentityTagline));
    QCOMPARE(saved.sentMail, copies->number());
    QCOMPARE(saved.sentNews, copies->number());
    QVERIFY(saved.has(IdentityDefault)); // as before
}

/// What the form does not know, and choices that are no longer there, stay as they are.
void IdentitiesTest::nothingEnteredChangesNothing()
{
    IdentityProgram program;
    Identity odd = program.identity(program.clara);
    odd.flags |= 1u << 9;
    odd.others = {u"Zlater"_s};
    odd.signature = u"Gone"_s;
    odd.sentMail = 4711;
    QVERIFY(program.identities().update(odd));
    IdentityEditor *editor = editIdentity(program.engine, program.clara, &program.window);
    QVERIFY(!canPress(editor, "apply"));
    press(editor, "ok");
    QCOMPARE(program.identity(program.clara), odd);
}

void IdentitiesTest::problemsStandAtTheirFields_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("note");
    QTest::newRow("no address") << QByteArray("address") << QString() << u"needs a mail address"_s;
    QTest::newRow("half an address") << QByteArray("address") << u"clara"_s << u"name@provider"_s;
    QTest::newRow("two lines") << QByteArray("address") << u"a@b.example\nBcc: x@y.example"_s
                               << u"name@provider"_s;
    QTest::newRow("one bad reply address")
        << QByteArray("replyTo") << u"a@b.example, nobody"_s << u"“nobody” is no mail address"_s;
    QTest::newRow("a host name with a blank") << QByteArray("hostName") << u"my host"_s << u"letters"_s;
}

void IdentitiesTest::problemsStandAtTheirFields()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, text);
    QFETCH(QString, note);
    IdentityProgram program;
    const Identity before = program.identity(program.clara);
    IdentityEditor *editor = editIdentity(program.engine, program.clara, &program.window);
    QVERIFY(QTest::qWaitForWindowActive(editor));
    auto *label = field<QLabel>(editor, QByteArray(name + "Note").constData());
    field(editor, name.constData())->setText(text);
    QVERIFY(label->isHidden()); // nobody is told off while they type
    press(editor, "ok");
    QVERIFY(editor->isVisible());
    QVERIFY2(label->text().contains(note), qPrintable(label->text()));
    QVERIFY(field(editor, name.constData())->hasFocus());
    QCOMPARE(program.identity(program.clara), before);
    field(editor, name.constData())->setText(name == "replyTo" ? QString() : u"clara@tidewater.example"_s);
    QCOMPARE(label->isHidden(), name != "hostName");
}

void IdentitiesTest::aCopyTakesSignaturesAlong()
{
    IdentityProgram program;
    QVERIFY(writeSignature(program.clara, {u"Work"_s, Signature::Kind::Html, u"<b>C</b>"_s}));
    QVERIFY(writeTaglines(program.clara, {u"one"_s, u"two\nlines"_s}));
    IdentitiesDialog *dialog = openIdentityManager(program.engine, &program.window);
    dialog->select(program.clara);
    press(dialog, "copy");
    auto *editor = opened<IdentityEditor>(dialog);
    QCOMPARE(program.identities().all().size(), std::size_t(2));
    field(editor, "address")->setText(u"other@tidewater.example"_s);
    press(editor, "ok");
    QCOMPARE(program.identities().all().size(), std::size_t(3));
    const Identity &copy = program.identities().all().back();
    QVERIFY(!copy.has(IdentityDefault));
    QCOMPARE(readSignature(copy.number, u"Work"_s).value().text, u"<b>C</b>"_s);
    QCOMPARE(readTaglines(copy.number), (QStringList{u"one"_s, u"two\nlines"_s}));
    QCOMPARE(field<QListView>(dialog, "list")->currentIndex().row(), 2);
}

void IdentitiesTest::aNewOneIsEnteredForItsSignatures()
{
    IdentityProgram program;
    IdentityEditor *editor = newIdentity(program.engine, {}, &program.window);
    press(editor, "signatures");
    QVERIFY(!opened<SignaturesDialog>(editor)); // it has no address yet
    field(editor, "address")->setText(u"new@tidewater.example"_s);
    press(editor, "signatures");
    QVERIFY(opened<SignaturesDialog>(editor));
    QVERIFY(program.identities().find(u"new@tidewater.example"_s));
}

void IdentitiesTest::signaturesAreKept()
{
    IdentityProgram program;
    IdentityEditor *editor = editIdentity(program.engine, program.clara, &program.window);
    press(editor, "signatures");
    auto *dialog = opened<SignaturesDialog>(editor);
    press(dialog, "new");
    auto *signature = opened<SignatureEditor>(dialog);
    QVERIFY(!canPress(signature, "ok"));
    field(signature, "name")->setText(u"Work/Home"_s); // a name is no path
    field<QPlainTextEdit>(signature, "text")->setPlainText(u"Clara\nTidewater Press"_s);
    press(signature, "ok");
    QCOMPARE(rows(dialog), QStringList{u"Work/Home"_s});
    QVERIFY(field<QComboBox>(editor, "signature")->findData(u"Work/Home"_s) > 0);
    press(dialog, "copy");
    signature = opened<SignatureEditor>(dialog);
    QCOMPARE(field(signature, "name")->text(), u"Copy of Work/Home"_s);
    field(signature, "name")->setText(u"work/home"_s);
    QVERIFY(!canPress(signature, "ok"));
    QVERIFY(field<QLabel>(signature, "problem")->text().contains(u"already"_s));
    signature->reject();
    press(dialog, "delete");
    confirmDelete(dialog);
    QVERIFY(signatureNames(program.clara).isEmpty());
    QCOMPARE(field<QComboBox>(editor, "signature")->count(), 1);
}

/// What cannot be read is named, and nothing can be saved over it.
void IdentitiesTest::anUnreadableSignatureStays()
{
    IdentityProgram program;
    QVERIFY(writeSignature(program.clara, {u"Work"_s, Signature::Kind::Plain, u"Clara"_s}));
    QFile file(configPathOf(u"Identities/%1/Signatures/Work"_s.arg(program.clara)));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(2'000'000));
    SignaturesDialog dialog(program.identities(), program.clara, &program.window);
    const QAbstractItemModel *model = field<QListView>(&dialog, "list")->model();
    QVERIFY(model->index(0, 0).data(Qt::AccessibleTextRole).toString().contains(u"cannot be read"_s));
    press(&dialog, "edit");
    auto *signature = opened<SignatureEditor>(&dialog);
    QVERIFY(field<QLabel>(signature, "problem")->text().contains(u"cannot be read"_s));
    QVERIFY(!canPress(signature, "ok"));
}

void IdentitiesTest::aRenamedSignatureStaysTheDefault()
{
    IdentityProgram program;
    QVERIFY(writeSignature(program.clara, {u"Work"_s, Signature::Kind::Plain, u"Clara"_s}));
    Identity identity = program.identity(program.clara);
    identity.signature = u"Work"_s;
    program.identities().update(identity);
    IdentityEditor *editor = editIdentity(program.engine, program.clara, &program.window);
    press(editor, "signatures");
    auto *dialog = opened<SignaturesDialog>(editor);
    press(dialog, "edit");
    auto *signature = opened<SignatureEditor>(dialog);
    field(signature, "name")->setText(u"Office"_s);
    press(signature, "ok");
    QCOMPARE(program.identity(program.clara).signature, u"Office"_s);
    QCOMPARE(signatureNames(program.clara), QStringList{u"Office"_s});
    QCOMPARE(field<QComboBox>(editor, "signature")->currentData().toString(), u"Office"_s);
    press(dialog, "delete");
    confirmDelete(dialog);
    QCOMPARE(program.identity(program.clara).signature, QString());
}

void IdentitiesTest::htmlIsSeenHarmless()
{
    IdentityProgram program;
    auto *editor = new SignatureEditor(program.clara, {}, &program.window);
    editor->open();
    QVERIFY(field<QTextBrowser>(editor, "look")->isHidden() ||
            !field<QTextBrowser>(editor, "look")->isVisible());
    field<QComboBox>(editor, "kind")->setCurrentIndex(1);
    field<QPlainTextEdit>(editor, "text")
        ->setPlainText(u"<b>Clara</b><script>alert(1)</script><img src=\"file:///etc/passwd\">"_s);
    auto *look = field<QTextBrowser>(editor, "look");
    QVERIFY(look->isVisible());
    QTRY_VERIFY(look->toPlainText().contains(u"Clara"_s));
    QVERIFY(!look->toHtml().contains(u"passwd"_s) && !look->toPlainText().contains(u"alert"_s));
}

void IdentitiesTest::commandsAreTried_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("seen");
    QTest::newRow("prints") << u"printf 'high tide\\nat six'"_s << u"high tide\nat six"_s;
    QTest::newRow("prints nothing") << u"true"_s << u"It printed nothing."_s;
    QTest::newRow("fails") << u"echo no boat >&2; exit 3"_s << u"no boat"_s;
}

void IdentitiesTest::commandsAreTried()
{
    QFETCH(QString, command);
    QFETCH(QString, seen);
    IdentityProgram program;
    auto *editor = new SignatureEditor(program.clara, {}, &program.window);
    editor->open();
    field<QComboBox>(editor, "kind")->setCurrentIndex(2);
    QVERIFY(!canPress(editor, "try"));
    field<QPlainTextEdit>(editor, "text")->setPlainText(command);
    press(editor, "try");
    QCOMPARE(field<QPushButton>(editor, "try")->text(), u"S&top"_s);
    QTRY_COMPARE(field<QPushButton>(editor, "try")->text(), u"&Try it"_s);
    const QString look = field<QTextBrowser>(editor, "look")->toPlainText();
    QVERIFY2(look.contains(seen), qPrintable(look));
}

void IdentitiesTest::taglinesAreEdited()
{
    IdentityProgram program;
    QVERIFY(writeTaglines(program.clara, {u"first"_s, u"second"_s}));
    IdentityEditor *editor = editIdentity(program.engine, program.clara, &program.window);
    press(editor, "taglines");
    auto *dialog = opened<TaglinesDialog>(editor);
    field<QPlainTextEdit>(dialog, "text")->setPlainText(u"first\nof two lines"_s);
    field<QListWidget>(dialog, "list")->setCurrentRow(1);
    press(dialog, "delete");
    press(dialog, "new");
    field<QPlainTextEdit>(dialog, "text")->setPlainText(u"% third"_s);
    press(dialog, "new"); // stays empty, and is none
    QCOMPARE(readTaglines(program.clara), (QStringList{u"first"_s, u"second"_s}));
    press(dialog, "ok");
    QCOMPARE(readTaglines(program.clara), (QStringList{u"first\nof two lines"_s, u"% third"_s}));
}

void IdentitiesTest::windowsComeToTheFront()
{
    IdentityProgram program;
    QCOMPARE(openIdentityManager(program.engine, &program.window),
             openIdentityManager(program.engine, &program.window));
    QCOMPARE(editIdentity(program.engine, program.club, &program.window),
             editIdentity(program.engine, program.club, &program.window));
    QVERIFY(!editIdentity(program.engine, 4711, &program.window));
    const QPointer<IdentityEditor> editor = editIdentity(program.engine, program.club, &program.window);
    program.identities().remove(program.club);
    QTRY_VERIFY(!editor); // what it edits is gone
}

/// Tab reaches every control, each has a name, no mnemonic is there twice.
void IdentitiesTest::theKeyboardSuffices()
{
    IdentityProgram program;
    QVERIFY(writeSignature(program.clara, {u"Work"_s, Signature::Kind::Html, u"<b>C</b>"_s}));
    const QList<QDialog *> windows = {
        openIdentityManager(program.engine, &program.window),
        editIdentity(program.engine, program.clara, &program.window),
        new SignaturesDialog(program.identities(), program.clara, &program.window),
        new SignatureEditor(program.clara, u"Work"_s, &program.window),
        new TaglinesDialog(program.clara, &program.window),
        openTemplateManager(program.engine, &program.window),
        new TemplateEditor(program.identities(), Message(), {}, &program.window),
    };
    for (QDialog *window : windows) {
        window->show();
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window));
        QStringList keys;
        QSet<QWidget *> left;
        for (QWidget *widget : window->findChildren<QWidget *>()) {
            if (!widget->isVisible() || widget->window() != window)
                continue;
            const auto *button = qobject_cast<const QAbstractButton *>(widget);
            const auto *label = qobject_cast<const QLabel *>(widget);
            const QString text = button                    ? button->text()
                                 : label && label->buddy() ? label->text()
                                                           : QString();
            const QString key = QKeySequence::mnemonic(text).toString();
            QVERIFY2(key.isEmpty() || !keys.contains(key), qPrintable(window->objectName() + u": "_s + text));
            keys += key;
            if (!widget->isEnabled() || !(widget->focusPolicy() & Qt::TabFocus))
                continue;
            QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(widget);
            QVERIFY2(accessible && !accessible->text(QAccessible::Name).isEmpty(),
                     qPrintable(window->objectName() + u": "_s + widget->objectName()));
            left.insert(widget);
        }
        for (qsizetype steps = 2 * left.size(); steps > 0 && !left.isEmpty(); --steps) {
            left.remove(QApplication::focusWidget());
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QStringList missed;
        for (const QWidget *widget : std::as_const(left))
            missed += QLatin1StringView(widget->metaObject()->className()) + u' ' + widget->objectName();
        QVERIFY2(missed.isEmpty(), qPrintable(window->objectName() + u": "_s + missed.join(u", "_s)));
        QTest::keyClick(window, Qt::Key_Escape);
        QVERIFY2(!window->isVisible(), qPrintable(window->objectName()));
    }
}

QTEST_MAIN(IdentitiesTest)
#include "identities_test.moc"
