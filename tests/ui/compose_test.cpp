#include "identity/identitymanager.h"
#include "ui/compose/composeattachments.h"
#include "ui/compose/composeeditor.h"
#include "ui/compose/composeheader.h"
#include "ui/compose/plaineditor.h"
#include "ui/compose/richeditor.h"
#include "ui/compose/sendwindow.h"
#include "windowprogram.h"

#include <QClipboard>
#include <QLineEdit>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QSignalSpy>

/// Messages are written with the keyboard, through the whole program.
class ComposeTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void writesAndSends();
    void takesBack();
    void asksBeforeSending_data();
    void asksBeforeSending();
    void quietWarnings();
    void pills_data();
    void pills();
    void keysOnPills();
    void replies();
    void keepsADraft();
    void comesBackAfterACrash();
    void goesOnWithADraft();
    void closesOnlyAfterAsking();
    void attaches();
    void formats();
    void quotesAndWraps();
    void preEditDoesNotSend();
    void mailtoBringsNoFiles();

private:
    SendWindow *compose(const char *action = "write.new");
    void type(const QString &text) const;
    void fill(const QString &to, const QString &subject, const QString &text) const;
    ComposeHeader *header() const { return m_window->findChild<ComposeHeader *>(); }
    ComposeEditor *editor() const { return m_window->findChild<ComposeEditor *>(); }
    void act(const char *name) const;
    Group &outbox() const { return *m_program->group(GroupRole::Outbox); }

    std::unique_ptr<Program> m_program;
    QPointer<SendWindow> m_window;
};

using Field = ComposeHeader::Field;

void ComposeTest::init()
{
    m_program = std::make_unique<Program>();
    Identity me;
    me.name = u"Clara Brandt"_s;
    me.address = u"clara@tidewater.example"_s;
    m_program->engine.identities().add(me);
    m_program->open();
}

void ComposeTest::cleanup()
{
    m_program.reset();
}

SendWindow *ComposeTest::compose(const char *action)
{
    m_program->act(action);
    const auto windows = QApplication::topLevelWidgets();
    for (QWidget *each : windows)
        if (auto *found = qobject_cast<SendWindow *>(each); found && found->isVisible())
            m_window = found;
    if (m_window && !QTest::qWaitForWindowActive(m_window))
        qFatal("the window does not come");
    return m_window;
}

void ComposeTest::type(const QString &text) const
{
    QTest::keyClicks(QApplication::focusWidget(), text);
}

void ComposeTest::fill(const QString &to, const QString &subject, const QString &text) const
{
    header()->setText(Field::To, to);
    header()->setText(Field::Subject, subject);
    editor()->plain()->setPlainText(text);
}

void ComposeTest::act(const char *name) const
{
    QAction *action = m_window->actions().find(QString::fromLatin1(name));
    QVERIFY2(action && action->isEnabled(), name);
    action->trigger();
}

void ComposeTest::writesAndSends()
{
    QVERIFY(compose());
    type(u"bob@example.org,"_s);
    QCOMPARE(header()->recipients(Field::To)->pills().count(), 1);
    m_program->key(Qt::Key_Return); // to Cc, to the subject, to the text
    m_program->key(Qt::Key_Return);
    type(u"Tides"_s);
    m_program->key(Qt::Key_Return);
    type(u"High water at noon."_s);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return, Qt::ControlModifier);
    QTRY_VERIFY(!m_window);
    QCOMPARE(outbox().counts().total, 1);
    const OutboxEntry entry = m_program->engine.outbox().entries().at(0);
    const Message sent(outbox().readMessage(*outbox().overview(entry.place.article)));
    QCOMPARE(sent.subject(), u"Tides"_s);
    QCOMPARE(sent.to(), u"bob@example.org"_s);
    QVERIFY(sent.header("From").contains(u"clara@tidewater.example"_s));
    QVERIFY(sent.body().startsWith("High water at noon.\n"));
}

void ComposeTest::takesBack()
{
    Outbox::setUndoDelay(10);
    QVERIFY(compose());
    fill(u"bob@example.org"_s, u"Tides"_s, u"Too early"_s);
    act("compose.send");
    QTRY_VERIFY(!m_window);
    QTRY_VERIFY(m_program->bar().contains(u"second"_s));
    m_program->viewers()->current().pane()->bar().findChild<QAbstractButton *>(u"first"_s)->click();
    QCOMPARE(m_program->engine.outbox().entries().size(), 0U);
    for (QWidget *each : QApplication::topLevelWidgets())
        if (auto *found = qobject_cast<SendWindow *>(each); found && found->isVisible())
            m_window = found;
    QVERIFY(m_window);
    QCOMPARE(editor()->plain()->toPlainText().trimmed(), u"Too early"_s);
    QCOMPARE(header()->text(Field::To), u"bob@example.org"_s);
    m_program->answer(u"No"_s); // an account that sends was offered
    m_window->close();          // it lies nowhere else: that is asked about
    QVERIFY(m_program->box());
    m_program->answer(u"Resume Editing"_s);
    QVERIFY(m_window);
}

void ComposeTest::asksBeforeSending_data()
{
    QTest::addColumn<QString>("to");
    QTest::addColumn<QString>("subject");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("question");
    QTest::newRow("no recipients") << u""_s << u"S"_s << u"Text"_s
                                   << u"You have not specified any recipients"_s;
    QTest::newRow("no subject")
        << u"a@b.example"_s << u""_s << u"Text"_s
        << u"You have not specified a subject for your message.\nDo you want to send it anyway or continue editing?"_s;
    QTest::newRow("no content")
        << u"a@b.example"_s << u"S"_s << u""_s
        << u"Your message contains no content.\nDo you want to send it anyway or continue editing?"_s;
    QTest::newRow("only quoted")
        << u"a@b.example"_s << u"S"_s << u"> What you said\n"_s
        << u"Your message contains only quoted text.\nDo you want to send it anyway or continue editing?"_s;
}

void ComposeTest::asksBeforeSending()
{
    QFETCH(QString, to);
    QFETCH(QString, subject);
    QFETCH(QString, text);
    QFETCH(QString, question);
    QVERIFY(compose());
    fill(to, subject, text);
    act("compose.send");
    QVERIFY(m_program->box());
    QCOMPARE(m_program->box()->text(), question);
    const bool refuses = to.isEmpty();
    m_program->answer(refuses ? u"OK"_s : u"Edit"_s);
    QVERIFY(m_window);
    QCOMPARE(outbox().counts().total, 0);
    if (refuses)
        return;
    act("compose.send");
    m_program->answer(u"Send"_s);
    QTRY_VERIFY(!m_window);
    QCOMPARE(outbox().counts().total, 1);
}

void ComposeTest::quietWarnings()
{
    QVERIFY(compose());
    fill(u"bob@example.org"_s, u"Report"_s, u"The report is attached.\n"_s);
    act("compose.send");
    auto *bar = m_window->findChild<AskingBar *>();
    QVERIFY(bar->isVisible());
    QCOMPARE(outbox().counts().total, 0);
    header()->setText(Field::To, {}); // what is wrong by then is found
    bar->findChild<QAbstractButton *>(u"second"_s)->click();
    m_program->answer(u"OK"_s);
    QCOMPARE(outbox().counts().total, 0);
    header()->setText(Field::To, u"bob@example.org"_s);
    act("compose.send");
    bar->findChild<QAbstractButton *>(u"second"_s)->click();
    QTRY_COMPARE(outbox().counts().total, 1);
}

void ComposeTest::pills_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QStringList>("addresses");
    QTest::newRow("two by comma") << u"a@x.example, b@x.example,"_s
                                  << QStringList{u"a@x.example"_s, u"b@x.example"_s};
    QTest::newRow("semicolon") << u"a@x.example;b@x.example;"_s
                               << QStringList{u"a@x.example"_s, u"b@x.example"_s};
    QTest::newRow("comma in quotes") << u"\"Brandt, Clara\" <c@x.example>,"_s
                                     << QStringList{u"c@x.example"_s};
    QTest::newRow("doubled") << u"a@x.example,A@x.example,"_s << QStringList{u"a@x.example"_s};
}

void ComposeTest::pills()
{
    QFETCH(QString, typed);
    QFETCH(QStringList, addresses);
    QVERIFY(compose());
    type(typed);
    RecipientEdit *to = header()->recipients(Field::To);
    QStringList found;
    for (const RecipientPill &pill : to->pills().all())
        found.append(pill.address.address);
    QCOMPARE(found, addresses);
}

void ComposeTest::keysOnPills()
{
    QVERIFY(compose());
    RecipientEdit *to = header()->recipients(Field::To);
    to->setText(u"a@x.example, b@x.example, not an address"_s);
    QVERIFY(!to->pills().all().last().doubt.isEmpty());
    to->entry()->setFocus();
    m_program->key(Qt::Key_Backspace); // chooses the last one
    QCOMPARE(to->pills().current(), 2);
    m_program->key(Qt::Key_Delete);
    QCOMPARE(to->pills().count(), 2);
    m_program->key(Qt::Key_Left);
    m_program->key(Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QApplication::clipboard()->text(), u"a@x.example"_s);
    m_program->key(Qt::Key_F2);
    QCOMPARE(to->entry()->text(), u"a@x.example"_s);
    QCOMPARE(to->pills().count(), 1);
    m_program->key(Qt::Key_Return);
    QCOMPARE(to->pills().count(), 2);
}

void ComposeTest::replies()
{
    QVERIFY(m_program->window->selectMessage(m_program->articles.front()));
    QVERIFY(compose("write.reply"));
    QVERIFY(header()->text(Field::Subject).startsWith(u"Re: "_s));
    QVERIFY(!header()->text(Field::To).isEmpty());
    QVERIFY(editor()->plain()->toPlainText().contains(u"\n> "_s));
    QVERIFY(editor()->plain()->hasFocus());
    act("compose.send");
    QCOMPARE(m_program->box()->text(),
             u"Your message has not been modified.\nDo you want to send it anyway or continue editing?"_s);
    m_program->answer(u"Edit"_s);
}

void ComposeTest::keepsADraft()
{
    QVERIFY(compose());
    const int draft = m_window->draft();
    type(u"bob@example.org,"_s);
    editor()->plain()->insertPlainText(u"Half a thought"_s);
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->engine.drafts().versions(draft).empty(), 5000);
    QCOMPARE(m_program->engine.drafts().version(draft, 0).text, u"Half a thought\n"_s);
    QCOMPARE(m_program->group(GroupRole::Drafts)->counts().total, 0);
    act("compose.save");
    QCOMPARE(m_program->group(GroupRole::Drafts)->counts().total, 1);
    m_window->close();
    QTRY_VERIFY(!m_window);
    QCOMPARE(m_program->group(GroupRole::Drafts)->counts().total, 1);
}

void ComposeTest::comesBackAfterACrash()
{
    QVERIFY(compose());
    editor()->plain()->insertPlainText(u"Not lost"_s);
    QVERIFY(m_window->keepNow());
    m_program->window->keepWriting(); // as at the end of the program
    QVERIFY(!m_window);
    m_program->window->reopenWriting();
    for (QWidget *each : QApplication::topLevelWidgets())
        if (auto *found = qobject_cast<SendWindow *>(each))
            m_window = found;
    QVERIFY(m_window);
    QCOMPARE(editor()->plain()->toPlainText().trimmed(), u"Not lost"_s);
}

void ComposeTest::goesOnWithADraft()
{
    QVERIFY(compose());
    fill(u"bob@example.org"_s, u"Later"_s, u"One"_s);
    act("compose.save");
    m_window->close();
    QTRY_VERIFY(!m_window);
    m_program->window->selectGroup(m_program->group(GroupRole::Drafts)->number());
    QTRY_COMPARE(m_program->subjects(), QStringList{u"Later"_s});
    Group *drafts = m_program->group(GroupRole::Drafts);
    QVERIFY(m_program->window->selectMessage(drafts->row(drafts->rowCount() - 1).article()));
    QVERIFY(compose("write.editOwn"));
    QCOMPARE(editor()->plain()->toPlainText().trimmed(), u"One"_s);
    QCOMPARE(header()->text(Field::To), u"bob@example.org"_s);
}

void ComposeTest::closesOnlyAfterAsking()
{
    QVERIFY(compose());
    editor()->plain()->insertPlainText(u"Something"_s);
    m_window->close();
    QVERIFY(m_program->box());
    QCOMPARE(m_program->box()->text(),
             u"You have made changes to this message.\nPlease confirm that you wish to "
             "close\nthis message without sending it."_s);
    m_program->answer(u"Resume Editing"_s);
    QVERIFY(m_window && m_window->isVisible());
    m_window->close();
    m_program->answer(u"Discard Changes and Close"_s);
    QTRY_VERIFY(!m_window);
}

void ComposeTest::attaches()
{
    const QString path = m_program->scratch.path(u"tide table.txt"_s);
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("06:12 low\n");
    file.close();
    QVERIFY(compose());
    auto *files = new QMimeData;
    files->setUrls({QUrl::fromLocalFile(path), QUrl::fromLocalFile(m_program->scratch.path(u"gone"_s))});
    QApplication::clipboard()->setMimeData(files);
    editor()->plain()->paste();
    auto *strip = m_window->findChild<ComposeAttachments *>();
    QCOMPARE(strip->model().rowCount(), 1);
    QVERIFY(m_program->box()->text().startsWith(u"Unable to attach file"_s));
    m_program->answer(u"OK"_s);
    QVERIFY(strip->isVisible());
    const Composition now = m_window->composition();
    QCOMPARE(now.attachments.at(0).name, u"tide table.txt"_s);
    QCOMPARE(now.attachments.at(0).data, "06:12 low\n");
    strip->model().remove(0);
    QVERIFY(strip->isHidden());
}

void ComposeTest::formats()
{
    QVERIFY(compose());
    editor()->plain()->setPlainText(u"Dear Bob\n> quoted\n"_s);
    act("compose.rich");
    QVERIFY(editor()->isRich());
    editor()->rich()->selectAll();
    editor()->rich()->setBold(true);
    Composition now = m_window->composition();
    QVERIFY2(now.html.contains(u"<b>Dear Bob</b>"_s), qPrintable(now.html));
    QVERIFY(now.html.contains(u"<blockquote type=\"cite\">"_s));
    QVERIFY2(now.text.contains(u"> quoted"_s), qPrintable(now.text));
    act("compose.rich"); // what would be lost is asked about
    QVERIFY(editor()->isRich());
    m_window->findChild<AskingBar *>()->findChild<QAbstractButton *>(u"first"_s)->click();
    QVERIFY(!editor()->isRich());
    QCOMPARE(m_window->composition().html, QString());
}

void ComposeTest::quotesAndWraps()
{
    setIntSetting(Setting::SendWrapWidth, 40);
    QVERIFY(compose());
    editor()->plain()->setFocus();
    for (int i = 0; i < 12; ++i)
        type(u"water "_s);
    for (const QString &line : editor()->plain()->toPlainText().split(u'\n'))
        QVERIFY2(line.size() <= 41, qPrintable(line));
    editor()->plain()->clear();
    QApplication::clipboard()->setText(u"one\ntwo"_s);
    act("compose.pasteQuoted");
    QCOMPARE(editor()->plain()->toPlainText(), u"> one\n> two\n"_s);
    editor()->undo();
    QCOMPARE(editor()->plain()->toPlainText(), QString());
}

/// Enter belongs to the input method while a word is being composed.
void ComposeTest::preEditDoesNotSend()
{
    QVERIFY(compose());
    fill(u"bob@example.org"_s, u"S"_s, u"Text"_s);
    editor()->plain()->setFocus();
    QInputMethodEvent composing(u"すし"_s, {});
    QApplication::sendEvent(editor()->plain(), &composing);
    m_program->key(Qt::Key_Return, Qt::ControlModifier);
    QVERIFY(m_window);
    QCOMPARE(outbox().counts().total, 0);
    QInputMethodEvent done;
    done.setCommitString(u"寿司"_s);
    QApplication::sendEvent(editor()->plain(), &done);
    QVERIFY(editor()->plain()->toPlainText().contains(u"寿司"_s));
    m_program->key(Qt::Key_Return, Qt::ControlModifier);
    QTRY_VERIFY(!m_window);
}

void ComposeTest::mailtoBringsNoFiles()
{
    m_program->window->write(
        u"mailto:a@x.example?subject=Hi%0ABcc:%20evil@x.example&body=Text&attach=/etc/passwd&attachment=/etc/passwd"_s);
    for (QWidget *each : QApplication::topLevelWidgets())
        if (auto *found = qobject_cast<SendWindow *>(each))
            m_window = found;
    QVERIFY(m_window);
    const Composition now = m_window->composition();
    QCOMPARE(now.to, u"a@x.example"_s);
    QCOMPARE(now.bcc, QString());
    QVERIFY(!now.subject.contains(u'\n'));
    QVERIFY(now.attachments.isEmpty());
}

QTEST_MAIN(ComposeTest)
#include "compose_test.moc"
