#include "support/scratch.h"
#include "ui/look/looks.h"
#include "ui/look/messagebar.h"
#include "ui/reader/bodyview.h"
#include "ui/reader/linktexts.h"
#include "ui/reader/messageview.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

/// Links of a message: what is said about them, and what becomes of them.
class ReaderLinksTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_looks.start(); }
    void init();
    void cleanup();

    void words_data();
    void words();
    void byKeyboard();
    void underTheMouse();
    void opens_data();
    void opens();
    void menu();

private:
    BodyView *body() { return m_view->findChild<BodyView *>(); }
    void show(const QByteArray &html)
    {
        m_view->showMessage(Message("From: ada@example.org\nMIME-Version: 1.0\n"
                                    "Content-Type: text/html; charset=utf-8\n\n" +
                                    html));
    }
    QPoint placeOf(const QString &text)
    {
        const QTextCursor found = body()->document()->find(text);
        return body()->cursorRect(found).center() - QPoint(4, 0);
    }

    Looks m_looks;
    std::unique_ptr<Scratch> m_scratch;
    std::unique_ptr<MessageView> m_view;
};

void ReaderLinksTest::init()
{
    m_scratch = std::make_unique<Scratch>();
    m_view = std::make_unique<MessageView>();
    m_view->resize(800, 600);
    m_view->show();
    QVERIFY(QTest::qWaitForWindowActive(m_view.get()));
}

void ReaderLinksTest::cleanup()
{
    m_view.reset();
    m_scratch.reset();
}

void ReaderLinksTest::words_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("words");
    QTest::newRow("plain") << u"https://a.example/x?y=1"_s << u"https://a.example/x?y=1"_s;
    QTest::newRow("tells who follows") << u"https://a.example/?utm_source=b&fbclid=c&d=1"_s
                                       << u"https://a.example/?d=1, without utm_source, fbclid"_s;
    QTest::newRow("letters beyond ASCII")
        << u"https://b\u00fccher.example/"_s << u"https://xn--bcher-kva.example/ (b\u00fccher.example)"_s;
    QTest::newRow("sent as it is shown")
        << u"http://xn--bcher-kva.example/"_s << u"http://xn--bcher-kva.example/ (b\u00fccher.example)"_s;
    QTest::newRow("turns around") << u"http://a.example/\u202Egpj.exe"_s
                                  << u"http://a.example/%E2%80%AEgpj.exe"_s;
    QTest::newRow("mail") << u"mailto:bob@b.example"_s << u"mailto:bob@b.example"_s;
}

void ReaderLinksTest::words()
{
    QFETCH(QString, target);
    QTEST(linkInWords(target), "words");
}

void ReaderLinksTest::byKeyboard()
{
    show("<a href='http://a.example/?utm_source=x'>one</a> and <a href='http://b.example/'>two</a>");
    QSignalSpy hovered(m_view.get(), &MessageView::linkHovered);
    QSignalSpy activated(m_view.get(), &MessageView::linkActivated);
    body()->setFocus();
    QTest::keyClick(body(), Qt::Key_Tab);
    QVERIFY(!hovered.isEmpty());
    QCOMPARE(hovered.last().first().toString(), u"http://a.example/, without utm_source"_s);
    QTest::keyClick(body(), Qt::Key_Tab);
    QCOMPARE(hovered.last().first().toString(), u"http://b.example/"_s);
    QTest::keyClick(body(), Qt::Key_Backtab);
    QTest::keyClick(body(), Qt::Key_Return);
    QCOMPARE(activated.size(), 1);
    QCOMPARE(activated.first().first().toString(), u"http://a.example/"_s); // what was shown
    QVERIFY(body()->hasFocus());
}

void ReaderLinksTest::underTheMouse()
{
    show("<p><a href='https://a.example/x'>one</a> beside");
    QSignalSpy hovered(m_view.get(), &MessageView::linkHovered);
    const auto moveTo = [this](const QPoint &place) {
        QMouseEvent move(QEvent::MouseMove, place, body()->viewport()->mapToGlobal(place), Qt::NoButton,
                         Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(body()->viewport(), &move);
    };
    QVERIFY(body()->viewport()->hasMouseTracking());
    moveTo(placeOf(u"one"_s));
    QVERIFY(!hovered.isEmpty());
    QCOMPARE(hovered.last().first().toString(), u"https://a.example/x"_s);
    moveTo(placeOf(u"beside"_s));
    QCOMPARE(hovered.last().first().toString(), QString());
}

void ReaderLinksTest::opens_data()
{
    QTest::addColumn<QByteArray>("html");
    QTest::addColumn<QString>("opened");
    QTest::addColumn<QString>("asked"); // a word of the question; empty: it is opened at once
    QTest::newRow("at once") << QByteArray("<a href='https://a.example/x'>go</a>") << u"https://a.example/x"_s
                             << QString();
    QTest::newRow("names another site")
        << QByteArray("<a href='https://evil.example/x'>go www.bank.example</a>")
        << u"https://evil.example/x"_s << u"evil.example"_s;
    QTest::newRow("is another site") << QByteArray(
                                            "<a href='https://evil.example/x?utm_id=1'>bank.example/go</a>")
                                     << u"https://evil.example/x"_s << u"evil.example"_s;
    QTest::newRow("mixes alphabets") << QByteArray("<a href='https://p\u0430ypal.com/'>go</a>")
                                     << u"https://p\u0430ypal.com/"_s << u"xn--"_s;
}

void ReaderLinksTest::opens()
{
    QFETCH(QByteArray, html);
    QFETCH(QString, asked);
    show(html);
    QSignalSpy activated(m_view.get(), &MessageView::linkActivated);
    body()->setFocus();
    QTest::keyClick(body(), Qt::Key_Tab);
    QTest::keyClick(body(), Qt::Key_Return);
    auto *bar = m_view->findChild<MessageBar *>();
    QCOMPARE(bar->isVisible(), !asked.isEmpty());
    if (!asked.isEmpty()) {
        QVERIFY(activated.isEmpty());
        QVERIFY2(bar->text().contains(asked), qPrintable(bar->text()));
        QTest::mouseClick(bar->findChildren<QPushButton *>().first(), Qt::LeftButton);
    }
    QCOMPARE(activated.size(), 1);
    QFETCH(QString, opened);
    QCOMPARE(QUrl(activated.first().first().toString()), QUrl(opened));
}

void ReaderLinksTest::menu()
{
    show("<p><a href='https://a.example/x?fbclid=1'>one <b>and</b> two</a> beside");
    const QPoint place = placeOf(u"one"_s);
    QContextMenuEvent event(QContextMenuEvent::Mouse, place, body()->viewport()->mapToGlobal(place));
    QApplication::sendEvent(body()->viewport(), &event);
    auto *menu = body()->findChild<QMenu *>();
    QVERIFY(menu);
    const auto chosen = [menu](QStringView words) {
        for (QAction *action : menu->actions())
            if (action->text().remove(u'&') == words)
                return action->trigger(), true;
        return false;
    };
    QVERIFY(chosen(u"Copy link address"));
    QCOMPARE(QApplication::clipboard()->text(), u"https://a.example/x"_s);
    QVERIFY(chosen(u"Copy link text"));
    QCOMPARE(QApplication::clipboard()->text(), u"one and two"_s);
    menu->close();
}

QTEST_MAIN(ReaderLinksTest)
#include "readerlinks_test.moc"
