#include "composeprogram.h"
#include "ui/compose/extrafields.h"
#include "ui/reader/attachmentview.h"

#include <QBuffer>
#include <QClipboard>
#include <QDropEvent>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QPushButton>
#include <QSignalSpy>
#include <QToolBar>

/// The parts of the compose window: recipients, fields, attachments, panes.
class ComposePartsTest : public QObject, ComposeProgram
{
    Q_OBJECT

private slots:
    void init() { start(); }
    void cleanup() { m_program.reset(); }
    void pills_data();
    void pills();
    void keysOnPills();
    void attaches();
    void attachesLargeFiles();
    void showsSmallPictures_data();
    void showsSmallPictures();
    void writesFieldsOfItsOwn_data();
    void writesFieldsOfItsOwn();
    void beginsAnArticle();
    void offersWhatHelps();
    void goesRoundThePanes();
    void namesEverything();
    void dropsPeople();
};

void ComposePartsTest::pills_data()
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

void ComposePartsTest::pills()
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

void ComposePartsTest::keysOnPills()
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

void ComposePartsTest::attaches()
{
    const QString path = m_program->scratch.write(u"tide table.txt"_s, "06:12 low\n");
    QVERIFY(compose());
    auto *files = new QMimeData;
    files->setUrls({QUrl::fromLocalFile(path), QUrl::fromLocalFile(m_program->scratch.path(u"gone"_s)),
                    QUrl::fromLocalFile(u"/dev/zero"_s)});
    QApplication::clipboard()->setMimeData(files);
    editor()->plain()->paste();
    ComposeAttachmentModel &model = strip()->model();
    QTRY_COMPARE(model.rowCount(), 1);
    for (const QString &name : {u"gone"_s, u"/dev/zero"_s}) {
        QVERIFY(m_program->box()->text().contains(name));
        m_program->answer(u"OK"_s);
    }
    QVERIFY(strip()->isVisible());
    QCOMPARE(m_window->composition().attachments.at(0).data, "06:12 low\n");
    m_window->comeForward();
    QVERIFY(QTest::qWaitForWindowActive(m_window));

    const QSignalSpy opened(m_window, &SendWindow::attachmentOpened);
    auto *cards = strip()->findChild<AttachmentView *>();
    cards->setFocus();
    m_program->key(Qt::Key_Return);
    QCOMPARE(opened.size(), 1);
    QVERIFY(model.setData(model.index(0), u"../../ebb.txt"_s, Qt::EditRole));
    QVERIFY(!m_window->composition().attachments.at(0).name.contains(u'/'));
    const std::unique_ptr<QMimeData> dragged(model.mimeData({model.index(0)}));
    QCOMPARE(Scratch::read(dragged->urls().at(0).toLocalFile()), "06:12 low\n");

    model.add(Attachment{u"b.bin"_s, "application/octet-stream", "b", {}});
    const QRect card = cards->visualRect(model.index(0));
    QTest::mouseClick(cards->viewport(), Qt::LeftButton, {}, {card.right() - 16, card.center().y()});
    QCOMPARE(model.rowCount(), 1);
    QCOMPARE(model.attachment(0).name, u"b.bin"_s);
    cards->setCurrentIndex(model.index(0));
    m_program->key(Qt::Key_Delete);
    QCOMPARE(model.rowCount(), 0);
    QVERIFY(strip()->isHidden());
}

void ComposePartsTest::attachesLargeFiles()
{
    const QString path = m_program->scratch.write(u"film.mp4"_s, QByteArray(90'000'000, 'f'));
    QVERIFY(compose());
    fill(u"bob@example.org"_s, u"Film"_s, u"Here."_s);
    strip()->addFiles({path});
    if (strip()->isReading()) { // as long as the file is not there, neither is the message
        act("compose.send");
        QVERIFY(asking()->isVisible());
        QCOMPARE(outbox().counts().total, 0);
    }
    QTRY_VERIFY(!strip()->isReading());
    QCOMPARE(strip()->sum(), 90'000'000);
    QVERIFY(asking()->text().contains(u"refuse"_s));
    asking()->hide();
    strip()->setLimit(200'000'000);
    QVERIFY(!strip()->isTooLarge());
    strip()->setLimit(100'000'000); // encoded it is more
    QVERIFY(strip()->isTooLarge());
}

void ComposePartsTest::showsSmallPictures_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<bool>("shown");
    const auto encoded = [](const QSize &size, const char *format = "PNG") {
        QImage image(size, QImage::Format_RGB32);
        image.fill(Qt::blue);
        QByteArray bytes;
        QBuffer buffer(&bytes);
        image.save(&buffer, format);
        return bytes;
    };
    const QByteArray png = encoded({200, 100});
    QByteArray bomb = encoded({20, 10}, "BMP"); // its header says 30,000 by 30,000
    bomb.replace(18, 8, QByteArray::fromHex("3075000030750000"));
    QTest::newRow("picture") << png << true;
    QTest::newRow("bomb") << bomb << false;
    QTest::newRow("a line") << encoded({4000, 1}) << false;
    QTest::newRow("cut off") << png.first(30) << false;
    QTest::newRow("drawing") << QByteArray("<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>")
                             << false;
    QTest::newRow("nothing") << QByteArray() << false;
}

void ComposePartsTest::showsSmallPictures()
{
    QFETCH(QByteArray, file);
    QFETCH(bool, shown);
    QVERIFY(compose());
    ComposeAttachmentModel &model = strip()->model();
    model.add(Attachment{u"sea.png"_s, "image/png", file, {}});
    QSignalSpy painted(&model, &QAbstractItemModel::dataChanged);
    QCOMPARE(painted.wait(300), shown);
    const auto picture = model.data(model.index(0), AttachmentView::PictureRole).value<QImage>();
    QCOMPARE(!picture.isNull(), shown);
    QVERIFY(picture.height() <= 2 * AttachmentView::pictureSide());
}

void ComposePartsTest::writesFieldsOfItsOwn_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("sent");    ///< of the field
    QTest::addColumn<QString>("problem"); ///< a word of it
    QTest::newRow("plain") << u"X-Tide"_s << u"low"_s << u"low"_s << QString();
    QTest::newRow("colon typed") << u"X-Tide:"_s << u"low"_s << u"low"_s << QString();
    QTest::newRow("line break") << u"X-Tide"_s << u"low\r\nBcc: evil@example.org"_s << u"low"_s << QString();
    QTest::newRow("own") << u"message-id"_s << u"<1@x>"_s << QString() << u"program itself"_s;
    QTest::newRow("no name") << u"X Tide"_s << u"low"_s << QString() << u"name"_s;
    QTest::newRow("value alone") << u""_s << u"low"_s << QString() << u"no name"_s;
}

void ComposePartsTest::writesFieldsOfItsOwn()
{
    QFETCH(QString, name);
    QFETCH(QString, value);
    QFETCH(QString, sent);
    QFETCH(QString, problem);
    setBoolSetting(Setting::EditHeaders, true);
    QVERIFY(compose());
    fill(u"bob@example.org"_s, u"S"_s, u"Text"_s);
    const auto edits = m_window->findChild<ExtraFields *>()->findChildren<QLineEdit *>();
    QCOMPARE(edits.size(), 2);
    QVERIFY(edits[0]->isVisible());
    edits[0]->setText(name);
    edits[1]->setText(value);
    act("compose.send");
    if (!problem.isEmpty()) {
        QVERIFY2(asking()->text().contains(problem), qPrintable(asking()->text()));
        QVERIFY(edits[0]->hasFocus());
        return;
    }
    QTRY_COMPARE(outbox().counts().total, 1);
    const OutboxEntry entry = m_program->engine.outbox().entries().at(0);
    const Message message(outbox().readMessage(*outbox().overview(entry.place.article)));
    QVERIFY(message.header("X-Tide").startsWith(sent));
    QVERIFY(message.header("Bcc").isEmpty());
}

void ComposePartsTest::beginsAnArticle()
{
    ComposeWish wish;
    wish.article = true;
    MessageBoxes &boxes = m_program->window->boxes();
    Engine &engine = m_program->engine;
    SendWindow window({engine.composer(), engine.drafts(), engine.outbox(), engine.identities(), boxes, {}},
                      engine.composer().start(wish));
    window.setAttribute(Qt::WA_DeleteOnClose, false);
    window.comeForward();
    auto *fields = window.findChild<ComposeHeader *>();
    QVERIFY(fields->isShown(Field::Newsgroups));
    QVERIFY(!fields->isShown(Field::To));
    QAction *showTo = window.actions().find(u"compose.to"_s);
    QVERIFY(showTo->isEnabled() && !showTo->isChecked());
    showTo->trigger();
    QVERIFY(fields->isShown(Field::To));
    window.actions().find(u"compose.send"_s)->trigger();
    QCOMPARE(m_program->box()->text(), u"You have not specified any newsgroups"_s);
    m_program->answer(u"OK"_s);
}

void ComposePartsTest::offersWhatHelps()
{
    QVERIFY(compose());
    fill(u"\"Korhonen, Hanna\" <hanna@korhonen.example>"_s, u"S"_s, u"Text"_s);
    act("compose.send"); // from now on she is known
    QTRY_VERIFY(!m_window);
    QVERIFY(compose());
    fill(u"hanna@korhomen.example"_s, u"S"_s, u"Text"_s);
    QTRY_VERIFY(asking()->isVisible());
    RecipientEdit *to = header()->recipients(Field::To);
    QVERIFY(!to->pills().all().first().doubt.isEmpty());
    asking()->findChild<QAbstractButton *>(u"first"_s)->click();
    QCOMPARE(to->pills().all().first().address.address, u"hanna@korhonen.example"_s);
    QVERIFY(to->pills().all().first().doubt.isEmpty());
    QStringList many;
    for (int i = 0; i < 16; ++i)
        many.append(u"person%1@example.org"_s.arg(i));
    header()->setText(Field::Cc, many.join(u", "_s));
    turnOff(SendProblem::NewAddress);
    act("compose.send");
    QCOMPARE(asking()->findChild<QPushButton *>(u"first"_s)->text(), u"Move to Bcc"_s);
    asking()->findChild<QAbstractButton *>(u"first"_s)->click();
    QCOMPARE(header()->recipients(Field::Bcc)->pills().count(), 17);
    QVERIFY(header()->text(Field::Cc).isEmpty());
}

void ComposePartsTest::goesRoundThePanes()
{
    QVERIFY(compose());
    strip()->model().add(Attachment{u"a.txt"_s, "text/plain", "a", {}});
    header()->recipients(Field::To)->entry()->setFocus();
    QList<QWidget *> panes = {editor(), strip(), m_window->findChild<QToolBar *>(u"composeBar"_s), header()};
    for (QWidget *pane : std::as_const(panes)) {
        m_program->key(Qt::Key_F6);
        QVERIFY2(pane->isAncestorOf(QApplication::focusWidget()), pane->metaObject()->className());
    }
    std::reverse(panes.begin(), panes.end());
    panes.move(0, 3); // from the header backwards
    for (QWidget *pane : std::as_const(panes)) {
        m_program->key(Qt::Key_F6, Qt::ShiftModifier);
        QVERIFY2(pane->isAncestorOf(QApplication::focusWidget()), pane->metaObject()->className());
    }
}

/// Every control says what it is, and no key of a menu means two things.
void ComposePartsTest::namesEverything()
{
    setBoolSetting(Setting::EditHeaders, true);
    QVERIFY(compose());
    act("compose.rich");
    const auto widgets = m_window->findChildren<QWidget *>();
    for (const QWidget *each : widgets) {
        const bool isControl = (each->focusPolicy() & Qt::TabFocus) == Qt::TabFocus && each->isVisible();
        const auto *button = qobject_cast<const QAbstractButton *>(each);
        if (!isControl || qobject_cast<const QMenuBar *>(each))
            continue;
        const bool named = !each->accessibleName().isEmpty() || (button && !button->text().isEmpty());
        QVERIFY2(named, qPrintable(QLatin1StringView(each->metaObject()->className()) + each->objectName()));
    }
    for (const QAction *top : m_window->menuBar()->actions()) {
        QStringList keys;
        for (const QAction *action : top->menu()->actions())
            if (const qsizetype at = action->text().indexOf(u'&'); at >= 0)
                keys.append(action->text().mid(at + 1, 1).toLower());
        QCOMPARE(QSet<QString>(keys.begin(), keys.end()).size(), keys.size());
    }
}

void ComposePartsTest::dropsPeople()
{
    QVERIFY(compose());
    RecipientEdit *to = header()->recipients(Field::To);
    to->setText(u"a@x.example, b@x.example"_s);
    QMimeData people;
    people.setText(u"\"Brandt, \\\"Cla\\\" ra\" <c@x.example>, A@x.example"_s);
    const QPoint start(1, to->pills().all().first().place.center().y());
    QDragEnterEvent enter(start, Qt::CopyAction, &people, Qt::LeftButton, {});
    QApplication::sendEvent(to->viewport(), &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent drop(start, Qt::CopyAction, &people, Qt::LeftButton, {});
    QApplication::sendEvent(to->viewport(), &drop);
    QCOMPARE(to->pills().count(), 3);
    QCOMPARE(to->pills().all().first().address.name, u"Brandt, \"Cla\" ra"_s);
    to->entry()->setFocus();
    m_program->key(Qt::Key_Backspace);
    m_program->key(Qt::Key_A, Qt::ControlModifier);
    m_program->key(Qt::Key_X, Qt::ControlModifier);
    QCOMPARE(to->pills().count(), 0);
    header()->recipients(Field::Cc)->entry()->setFocus();
    m_program->key(Qt::Key_V, Qt::ControlModifier);
    QCOMPARE(header()->recipients(Field::Cc)->pills().count(), 3);
    QCOMPARE(header()->recipients(Field::Cc)->pills().all().first().address.name, u"Brandt, \"Cla\" ra"_s);
}

QTEST_MAIN(ComposePartsTest)
#include "composeparts_test.moc"
