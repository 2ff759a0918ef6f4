#include "support/scratch.h"
#include "ui/look/icons.h"
#include "ui/look/looks.h"
#include "ui/reader/bodyview.h"
#include "ui/reader/findbar.h"
#include "ui/reader/messageview.h"
#include "ui/reader/readeractions.h"

#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QTest>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {

QByteArray mail(const QByteArray &type, const QByteArray &body, const QByteArray &more = {})
{
    return "From: Ada <ada@example.org>\nTo: bob@example.org\nSubject: Hello\n"
           "Date: Fri, 20 Nov 2026 10:00:00 +0000\nMIME-Version: 1.0\nContent-Type: " +
           type + "\n" + more + "\n" + body;
}

QByteArray attached(const QByteArray &name, const QByteArray &bytes, const QByteArray &more = {})
{
    return "--b\nContent-Type: application/octet-stream; name=\"" + name +
           "\"\nContent-Transfer-Encoding: base64\n" + more + "\n" + bytes.toBase64() + "\n";
}

} // namespace

/// The actions of a window that has readers, and what they do in one.
class ReaderActionsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_looks.start(); }
    void init();
    void cleanup();

    void actionsOfAWindow();
    void choosesACharset();
    void countsPlaces();
    void buttonsStandCloseFromTheFirst();

private:
    QString text() { return m_view->findChild<BodyView *>()->toPlainText(); }

    Looks m_looks;
    std::unique_ptr<Scratch> m_scratch;
    std::unique_ptr<MessageView> m_view;
};

void ReaderActionsTest::init()
{
    m_scratch = std::make_unique<Scratch>();
    m_view = std::make_unique<MessageView>();
    m_view->resize(800, 600);
    m_view->show();
}

void ReaderActionsTest::cleanup()
{
    m_view.reset();
    m_scratch.reset();
}

void ReaderActionsTest::actionsOfAWindow()
{
    QWidget window;
    ActionRegistry registry(&window);
    ReaderActions actions(registry);
    MessageView other;
    QVERIFY(!actions[ReaderAction::Find]->isEnabled());
    actions.setReader(m_view.get());
    m_view->showMessage(Message(mail("multipart/mixed; boundary=b", "--b\n\nplain\n--b--\n")));
    QVERIFY(actions[ReaderAction::Find]->isEnabled());
    QVERIFY(!actions[ReaderAction::SaveAttachments]->isEnabled());
    QVERIFY(!actions[ReaderAction::PlainText]->isEnabled());
    registry.find(u"reader.all-headers")->trigger();
    QVERIFY(text().contains(u"MIME-Version"_s));
    QVERIFY(m_view->isChecked(ReaderAction::AllHeaders));
    actions.setReader(&other); // shows nothing
    QVERIFY(!actions[ReaderAction::AllHeaders]->isEnabled() &&
            !actions[ReaderAction::AllHeaders]->isChecked());
    actions.setReader(m_view.get());
    QVERIFY(actions[ReaderAction::AllHeaders]->isChecked());
    m_view->showMessage(
        Message(mail("multipart/mixed; boundary=b", "--b\n\nx\n" + attached("a.bin", "x") + "--b--\n")));
    QVERIFY(actions[ReaderAction::SaveAttachments]->isEnabled());
    QVERIFY(!actions[ReaderAction::ShowRemote]->isEnabled());
    m_view.reset();
    QCOMPARE(actions.have(), 0U);
}

void ReaderActionsTest::choosesACharset()
{
    QWidget window;
    ActionRegistry registry(&window);
    ReaderActions actions(registry);
    actions.setReader(m_view.get());
    const Message message(mail("text/plain; charset=iso-8859-1", "\xD0\xD2\xC9\xD7\xC5\xD4\n"));
    m_view->showMessage(message);
    emit actions.charsetMenu()->aboutToShow();
    const QList<QAction *> sets = actions.charsetMenu()->actions();
    const auto set = std::find_if(sets.begin(), sets.end(),
                                  [](const QAction *each) { return each->text().contains(u"KOI8-R"); });
    QVERIFY(set != sets.end());
    (*set)->trigger();
    QCOMPARE(text(), u"привет"_s);
    m_view->showMessage(message); // chosen for that once
    QCOMPARE(text(), u"\u00D0\u00D2\u00C9\u00D7\u00C5\u00D4"_s);
}

void ReaderActionsTest::countsPlaces()
{
    m_view->showMessage(Message(mail("text/plain", "one two one three ONE\n")));
    m_view->perform(ReaderAction::Find);
    auto *bar = m_view->findChild<FindBar *>();
    bar->findChild<QLineEdit *>()->setText(u"one"_s);
    const auto says = [bar](const QString &words) {
        for (const QLabel *label : bar->findChildren<QLabel *>())
            if (label->text() == words)
                return true;
        return false;
    };
    QVERIFY(says(u"1 of 3"_s));
    m_view->perform(ReaderAction::FindNext);
    m_view->perform(ReaderAction::FindNext);
    QVERIFY(says(u"3 of 3"_s));
    m_view->perform(ReaderAction::FindNext); // once round
    QVERIFY(says(u"1 of 3"_s));
    m_view->perform(ReaderAction::FindPrevious);
    QVERIFY(says(u"3 of 3"_s));
    bar->findChild<QLineEdit *>()->setText(u"nowhere"_s);
    QVERIFY(says(u"Not found"_s));
    QTest::keyClick(bar->findChild<QLineEdit *>(), Qt::Key_Escape);
    QVERIFY(!bar->isVisible());
}

/// The one with the menu is no wider than those that do something.
void ReaderActionsTest::buttonsStandCloseFromTheFirst()
{
    QAction archive(icon(u"archive"_s), u"Archive"_s);
    QAction junk(icon(u"junk"_s), u"Junk"_s);
    m_view->setHeaderActions({&archive}, {&junk});
    m_view->showMessage(Message(mail("text/plain", "Hello\n")));
    QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
    QList<const QToolButton *> buttons;
    for (const QToolButton *button : m_view->findChildren<QToolButton *>()) {
        if (button->defaultAction() && button->isVisible())
            buttons.append(button);
    }
    QCOMPARE(buttons.size(), 2);
    QCOMPARE(buttons[1]->width(), buttons[0]->width());
    QCOMPARE(buttons[1]->popupMode(), QToolButton::InstantPopup);
}

QTEST_MAIN(ReaderActionsTest)
#include "readeractions_test.moc"
