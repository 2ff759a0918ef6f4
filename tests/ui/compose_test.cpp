#include "composeprogram.h"
#include "identity/signatures.h"
#include "ui/compose/richeditor.h"
#include "ui/compose/sendlater.h"

#include <QClipboard>
#include <QDateTimeEdit>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QSignalSpy>
#include <QStatusBar>

/// Messages are written with the keyboard, through the whole program, from the first key to the outbox.
class ComposeTest : public QObject, ComposeProgram
{
    Q_OBJECT

private slots:
    void init() { start(); }
    void cleanup() { m_program.reset(); }
    void writesAndSends();
    void takesBack();
    void asksBeforeSending_data();
    void asksBeforeSending();
    void quietWarnings();
    void replies();
    void keepsADraft();
    void comesBackAfterACrash();
    void goesOnWithADraft();
    void closesOnlyAfterAsking();
    void warningsHaveAWayBack();
    void restoresAVersion();
    void aVersionThatDroppedOutIsToldOf();
    void anotherAddressIsAChange();
    void saysThatItWasSent();
    void marksItsSignature();
    void countsWhatOneWrote();
    void sendsLater();
    void saysWhatIsNotSaved();
    void refusesWhatCannotBeSecret();
    void formats();
    void quotesAndWraps();
    void preEditDoesNotSend();
    void mailtoBringsNoFiles();
    void isSentAsShown();
    void savesFilesInSlices();
    void savesFilesStillRead();
    void filesOfTheCommandLineAreAttached();
};

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
    auto *countdown = m_program->window->findChild<QWidget *>(u"countdowns"_s);
    QTRY_VERIFY(countdown->isVisible());
    const auto buttons = countdown->findChildren<QAbstractButton *>(u"first"_s);
    const auto undo =
        std::find_if(buttons.begin(), buttons.end(), [](auto *each) { return each->isVisible(); });
    QVERIFY(undo != buttons.end());
    (*undo)->click();
    QCOMPARE(m_program->engine.outbox().entries().size(), 0U);
    findWindow();
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
    AskingBar *bar = asking();
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
    findWindow();
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

void ComposeTest::warningsHaveAWayBack()
{
    QVERIFY(compose());
    m_window->resize(1100, 600);
    fill(u"bob@example.org"_s, u"Report"_s, u"The report is attached.\n"_s);
    act("compose.send");
    auto *tick = asking()->findChild<QAbstractButton *>(u"tick"_s);
    QVERIFY(tick->isVisible());
    QCOMPARE(tick->text(), u"Don't warn me about this again"_s);
    tick->click();
    QVERIFY(isTurnedOff(SendProblem::AttachmentForgotten));
    QMenu *menu = m_window->actions().find(u"compose.warnings"_s)->menu();
    emit menu->aboutToShow();
    QCOMPARE(menu->actions().size(), 9);
    QVERIFY(!menu->actions().first()->isChecked());
    menu->actions().first()->trigger();
    QVERIFY(!isTurnedOff(SendProblem::AttachmentForgotten));
    turnOff(SendProblem::AttachmentForgotten);
    act("compose.send");
    QTRY_COMPARE(outbox().counts().total, 1);
}

void ComposeTest::restoresAVersion()
{
    QVERIFY(compose());
    for (const QString &text : {u"First thought"_s, u"Second thought"_s}) {
        editor()->plain()->setPlainText(text);
        QVERIFY(m_window->keepNow());
    }
    act("compose.history");
    auto *dialog = m_window->findChild<QDialog *>();
    auto *list = dialog->findChild<QListWidget *>();
    QCOMPARE(list->count(), 2);
    list->setCurrentRow(1);
    dialog->accept();
    QCOMPARE(editor()->plain()->toPlainText().trimmed(), u"First thought"_s);
    QVERIFY(m_window->keepNow());
    QCOMPARE(m_program->engine.drafts().versions(m_window->draft()).size(), 3U);
}

/// Fifty are kept, and each new one takes the oldest away.
void ComposeTest::aVersionThatDroppedOutIsToldOf()
{
    QVERIFY(compose());
    Drafts &drafts = m_program->engine.drafts();
    const auto keep = [&](int from, int to) {
        Composition composition = m_window->composition();
        for (int i = from; i <= to; ++i) {
            composition.text = u"Thought %1\n"_s.arg(i);
            QVERIFY(drafts.keep(m_window->draft(), composition));
        }
    };
    const auto chooseOldest = [this](const std::function<void()> &meanwhile) {
        act("compose.history");
        auto *dialog = m_window->findChild<QDialog *>();
        auto *list = dialog->findChild<QListWidget *>();
        QCOMPARE(list->count(), 50);
        list->setCurrentRow(49);
        meanwhile();
        dialog->accept();
        QTRY_VERIFY(!m_window->findChild<QDialog *>());
    };
    editor()->plain()->setPlainText(u"Thought 1"_s);
    QVERIFY(m_window->keepNow());
    keep(2, 50);
    chooseOldest([this] { editor()->plain()->setPlainText(u"Written meanwhile"_s); });
    QCOMPARE(editor()->plain()->toPlainText().trimmed(), u"Thought 1"_s);
    QVERIFY(m_window->keepNow());
    chooseOldest([&] { keep(51, 60); });
    QCOMPARE(asking()->text(), u"This version is not there any more."_s);
    QCOMPARE(editor()->plain()->toPlainText().trimmed(), u"Thought 1"_s);
}

void ComposeTest::anotherAddressIsAChange()
{
    QVERIFY(compose());
    Identity me = m_window->composition().identity;
    me.organisation = u"Harbour"_s;
    QVERIFY(m_program->engine.identities().update(me));
    QCOMPARE(m_window->composition().identity.organisation, u"Harbour"_s);
    QVERIFY2(!m_window->isChanged(), "nobody has written anything");
    me.address = u"clara@harbour.example"_s;
    QVERIFY(m_program->engine.identities().update(me));
    QVERIFY(m_window->isChanged());
}

void ComposeTest::saysThatItWasSent()
{
    Drafts &drafts = m_program->engine.drafts();
    const int draft = drafts.begin({});
    Composition composition;
    composition.identity = *m_program->engine.identities().defaultIdentity();
    composition.text = u"Gone already\n"_s;
    QVERIFY(drafts.keep(draft, composition) && drafts.handOver(draft, "<1@tidewater.example>"));
    drafts.handedOver(draft);
    drafts.sentWithoutCopy(draft);
    m_program->window->reopenWriting();
    findWindow();
    QVERIFY(m_window);
    QCOMPARE(asking()->text(), u"This message was sent already, but no copy of it could be stored."_s);
    auto *remove = asking()->findChild<QAbstractButton *>(u"first"_s);
    QCOMPARE(remove->text(), u"Delete draft"_s);
    remove->click();
    m_program->answer(u"Delete draft"_s);
    QTRY_VERIFY(!m_window);
    QVERIFY(drafts.versions(draft).empty());
}

void ComposeTest::marksItsSignature()
{
    const int me = m_program->engine.identities().defaultIdentity()->number;
    for (const char *name : {"Long", "Short"})
        QVERIFY(writeSignature(me, {QLatin1String(name), Signature::Kind::Plain, QLatin1String(name)}));
    QVERIFY(compose());
    const auto marked = [this] {
        QMenu *menu = m_window->actions().find(u"compose.signature"_s)->menu();
        emit menu->aboutToShow();
        QStringList names;
        for (const QAction *each : menu->actions())
            if (each->isChecked())
                names.append(each->text());
        return names;
    };
    const auto choose = [this](const QString &name) {
        for (QAction *each : m_window->actions().find(u"compose.signature"_s)->menu()->actions())
            if (each->text() == name)
                return each->trigger();
    };
    QCOMPARE(marked(), QStringList{u"None"_s});
    choose(u"Short"_s);
    QCOMPARE(marked(), QStringList{u"Short"_s});
    act("compose.rich");
    QCOMPARE(marked(), QStringList{u"Short"_s});
    choose(u"None"_s);
    QCOMPARE(marked(), QStringList{u"None"_s});
    choose(u"Long"_s);
    editor()->rich()->clear(); // taken away by hand
    QCOMPARE(marked(), QStringList{u"None"_s});
}

void ComposeTest::countsWhatOneWrote()
{
    Identity me = *m_program->engine.identities().defaultIdentity();
    QVERIFY(writeSignature(me.number, {u"Long"_s, Signature::Kind::Plain, u"Clara Brandt, Tidewater"_s}));
    me.signature = u"Long"_s;
    QVERIFY(m_program->engine.identities().update(me));
    QVERIFY(m_program->window->selectMessage(m_program->articles.front()));
    QVERIFY(compose("write.reply"));
    const auto says = [this](const QString &words) {
        const auto labels = m_window->statusBar()->findChildren<QLabel *>();
        return std::any_of(labels.begin(), labels.end(), [&](auto *each) { return each->text() == words; });
    };
    QVERIFY(editor()->plain()->toPlainText().contains(u"Brandt"_s));
    QVERIFY(says(u"0 words"_s));
    type(u"Thank you"_s);
    QTRY_VERIFY(says(u"2 words"_s));
    act("compose.rich");
    QTRY_VERIFY(says(u"2 words"_s));
}

void ComposeTest::sendsLater()
{
    QVERIFY(compose());
    fill(u"bob@example.org"_s, u"S"_s, u"Text"_s);
    act("compose.sendLater");
    auto *dialog = m_window->findChild<QDialog *>();
    QCOMPARE(dialog->windowTitle(), u"Send later"_s);
    auto *time = dialog->findChild<QDateTimeEdit *>();
    QCOMPARE(time->text().count(u':'), 1); // no seconds
    const auto proposals = dialog->findChildren<QRadioButton *>();
    QCOMPARE(proposals.first()->text().count(u':'), 1);
    proposals.last()->setChecked(true);
    const QDateTime then = QDateTime::currentDateTime().addDays(3);
    time->setDateTime(then);
    dialog->accept();
    QTRY_VERIFY(!m_window);
    const OutboxEntry entry = m_program->engine.outbox().entries().at(0);
    QCOMPARE(entry.state, OutboxState::Held);
    QVERIFY(std::abs(entry.due - then.toSecsSinceEpoch()) <= 60);
    qint64 changed = 0;
    QDialog *again = askSendingTime(
        m_program->window.get(), [&changed](qint64 due) { changed = due; }, entry.due);
    again->accept();
    QCOMPARE(changed / 60, entry.due / 60);
}

void ComposeTest::saysWhatIsNotSaved()
{
    QVERIFY(compose());
    const QString directory = configPathOf(u"Drafts"_s);
    QVERIFY(QDir(directory).removeRecursively());
    m_program->scratch.write(u"config/Drafts"_s, "in the way");
    editor()->plain()->setPlainText(u"Not to be lost"_s);
    QVERIFY(!m_window->keepNow());
    QVERIFY(asking()->isVisible());
    QCOMPARE(asking()->kind(), MessageBar::Kind::Error);
    QVERIFY(!m_program->window->boxes().isBusy());
    asking()->findChild<QAbstractButton *>(u"second"_s)->click();
    auto *dialog = m_window->findChild<QFileDialog *>(u"saveElsewhere"_s);
    QVERIFY(dialog);
    const QString path = m_program->scratch.path(u"saved.eml"_s);
    emit dialog->fileSelected(path);
    dialog->reject();
    QVERIFY(Scratch::read(path).contains("Not to be lost"));
    QVERIFY(QFile::remove(directory));
    QVERIFY(m_window->keepNow());
    QCOMPARE(asking()->kind(), MessageBar::Kind::Good);
}

void ComposeTest::refusesWhatCannotBeSecret()
{
    setBoolSetting(Setting::EncryptByDefault, true);
    QVERIFY(compose());
    fill(u"bob@example.org"_s, u"S"_s, u"Text"_s);
    act("compose.send");
    QVERIFY(asking()->isVisible());
    QCOMPARE(outbox().counts().total, 0);
    asking()->findChild<QAbstractButton *>(u"first"_s)->click();
    act("compose.send");
    QTRY_COMPARE(outbox().counts().total, 1);
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
    QVERIFY(now.html.contains(u"<blockquote type=\"cite\""_s));
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
    findWindow();
    QVERIFY(m_window);
    const Composition now = m_window->composition();
    QCOMPARE(now.to, u"a@x.example"_s);
    QCOMPARE(now.bcc, QString());
    QVERIFY(!now.subject.contains(u'\n'));
    QVERIFY(now.attachments.isEmpty());
}

void ComposeTest::filesOfTheCommandLineAreAttached()
{
    const QString path = m_program->scratch.write(u"tides.txt"_s, "High water at noon\n");
    m_program->window->write({}, {path});
    findWindow();
    QVERIFY(m_window);
    QTRY_COMPARE(m_window->composition().attachments.size(), 1);
    QCOMPARE(m_window->composition().attachments[0].data, "High water at noon\n");
}

/// Whoever changes an identity meanwhile sees as whom the message goes, and it goes so.
void ComposeTest::isSentAsShown()
{
    QVERIFY(compose());
    IdentityManager &identities = m_program->engine.identities();
    Identity me = identities.all().front();
    me.address = u"clara@harbour.example"_s;
    QVERIFY(identities.update(me));
    QCOMPARE(m_window->composition().identity.address, me.address);
    QVERIFY(asking()->text().contains(u"clara@tidewater.example"_s));
}

void ComposeTest::savesFilesInSlices()
{
    QVERIFY(compose());
    QSignalSpy keeping(&m_program->engine.drafts(), &Drafts::keeping);
    strip()->model().add(Attachment{u"film.mp4"_s, "video/mp4", QByteArray(40'000'000, 'f'), {}});
    QVERIFY(keeping.wait(5000)); // by the pause after the last change
    QTRY_VERIFY(!m_program->engine.drafts().versions(m_window->draft()).empty());
}

/// The program ends while a file is being attached.
void ComposeTest::savesFilesStillRead()
{
    const QString path = m_program->scratch.write(u"film.mp4"_s, QByteArray(90'000'000, 'f'));
    QVERIFY(compose());
    strip()->addFiles({path});
    QVERIFY(m_window->keepNow());
    const Composition kept = m_program->engine.drafts().version(m_window->draft(), 0);
    QCOMPARE(kept.attachments.size(), 1);
    QCOMPARE(kept.attachments.first().data.size(), 90'000'000);
}

QTEST_MAIN(ComposeTest)
#include "compose_test.moc"
