#include "config/platform.h"
#include "message/yenc.h"
#include "support/scratch.h"
#include "ui/look/looks.h"
#include "ui/look/messagebar.h"
#include "ui/reader/attachmentactions.h"
#include "ui/reader/bodyformat.h"
#include "ui/reader/bodyview.h"
#include "ui/reader/findbar.h"
#include "ui/reader/messageview.h"
#include "ui/reader/readeractions.h"
#include "ui/reader/senderview.h"
#include "ui/reader/sourcewindow.h"

#include <QAbstractTextDocumentLayout>
#include <QAction>
#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QElapsedTimer>
#include <QImage>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTest>
#include <QTextBlock>
#include <QTextList>

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

QByteArray pngBytes(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

/// A desktop that remembers what it was to open.
class Desktop : public Platform
{
public:
    Desktop() { setPlatform(this); }
    ~Desktop() override { setPlatform(nullptr); }
    bool openPath(const QString &path) override
    {
        opened.append(path);
        return true;
    }
    std::optional<bool> isConnected() const override { return {}; }
    void setConnected(bool) override {}
    void askDefaultHandler(Handler, std::function<void(std::optional<bool>)>) override {}
    void becomeDefaultHandler(Handler, std::function<void(bool)>) override {}

    QStringList opened;
};

} // namespace

class ReaderTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_looks.start(); }
    void init();
    void cleanup();

    void shows_data();
    void shows();
    void colours();
    void quotationsInHtml();
    void firstBlockOfHtml();
    void foldsAndUnfolds();
    void findsFoldedWords();
    void copiesWhatWasWritten();
    void header();
    void loadsNothing_data();
    void loadsNothing();
    void ownPictures();
    void links();
    void opens_data();
    void opens();
    void savesWithoutOverwriting();
    void boundedWork_data();
    void boundedWork();
    void showAll();
    void actions();
    void source();
    void looksChange();

private:
    BodyView *body() { return m_view->findChild<BodyView *>(); }
    MessageBar *bar() { return m_view->findChild<MessageBar *>(); }
    QString text() { return body()->toPlainText(); }
    void click(const QString &target) { emit body()->linkClicked(target); }

    Looks m_looks;
    std::unique_ptr<Scratch> m_scratch;
    std::unique_ptr<MessageView> m_view;
};

void ReaderTest::init()
{
    m_scratch = std::make_unique<Scratch>();
    m_view = std::make_unique<MessageView>();
    m_view->resize(900, 600);
    m_view->show();
    m_view->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_view.get()));
}

void ReaderTest::cleanup()
{
    m_view.reset();
    m_scratch.reset();
}

void ReaderTest::shows_data()
{
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QStringList>("there");
    QTest::addColumn<QStringList>("notThere");
    const auto row = [](const char *name, const QByteArray &message, const QStringList &there,
                        const QStringList &notThere = {}) {
        QTest::newRow(name) << message << there << notThere;
    };
    row("a text is no markup", mail("text/plain", "<b>bold</b> & <img src=x>\n"),
        {u"<b>bold</b> & <img src=x>"_s});
    row("a header is no markup", "Subject: x\n\n", {u"This message has no text."_s});
    row("HTML without its scripts",
        mail("text/html", "<p>Hello<script>alert(1)</script><style>p{color:red}</style><p>World"),
        {u"Hello"_s, u"World"_s}, {u"alert"_s, u"color"_s});
    row("an enclosed message with its header",
        mail("multipart/mixed; boundary=b", "--b\nContent-Type: message/rfc822\n\nFrom: \"<i>Eve</i>\" "
                                            "<eve@example.org>\nSubject: <u>Inner</u>\n"
                                            "\nInner text\n--b--\n"),
        {u"<u>Inner</u>"_s, u"<i>Eve</i>"_s, u"eve@example.org"_s, u"Inner text"_s});
    row("the name of a text part",
        mail("multipart/mixed; boundary=b",
             "--b\n\nFirst\n--b\nContent-Type: text/plain; name=cake.txt\n\nSecond\n--b--\n"),
        {u"First"_s, u"cake.txt"_s, u"Second"_s});
    row("a picture whose end is missing",
        mail("multipart/mixed; boundary=b",
             "--b\nContent-Type: image/png; name=a.png\nContent-Transfer-Encoding: "
             "base64\n\n" +
                 pngBytes(40, 40).chopped(20).toBase64() + "\n--b--\n"),
        {u"“a.png” is damaged"_s});
    row("a picture that is none",
        mail("multipart/mixed; boundary=b", "--b\nContent-Type: image/png; name=a.png\n\nxyz\n--b--\n"),
        {u"“a.png” is damaged"_s});
    row("an unknown character set", mail("text/plain; charset=klingon", "Hi\n"),
        {u"“klingon” is not known"_s, u"Hi"_s});
    row("an armour",
        mail("text/plain", "-----BEGIN PGP SIGNED MESSAGE-----\nHash: SHA1\n\nHi\n"
                           "-----BEGIN PGP SIGNATURE-----\n\niQ\n-----END PGP SIGNATURE-----\n"),
        {u"Hi"_s}, {u"PGP"_s, u"iQ"_s});
    row("a piece", mail("message/partial; id=\"i\"; number=1; total=3", "Subject: x\n\nPart\n"),
        {u"Part 1 of 3"_s, u"Part"_s});
}

void ReaderTest::shows()
{
    QFETCH(QByteArray, message);
    QFETCH(QStringList, there);
    QFETCH(QStringList, notThere);
    m_view->showMessage(Message(message));
    for (const QString &words : there)
        QVERIFY2(text().contains(words), qPrintable(words + u" in "_s + text()));
    for (const QString &words : notThere)
        QVERIFY2(!text().contains(words), qPrintable(words + u" in "_s + text()));
}

void ReaderTest::colours()
{
    const Message message(mail("text/plain", "Own\n> quoted\n>> deeper\n-- \nme\n"));
    const auto colourOf = [this](const QString &words) {
        return body()->document()->find(words).charFormat().foreground();
    };
    m_view->showMessage(message);
    QCOMPARE(colourOf(u"Own"_s).color(), body()->palette().color(QPalette::Text));
    QCOMPARE(colourOf(u"quoted"_s).color(), QColor(0x00, 0x14, 0x70));
    QCOMPARE(colourOf(u"deeper"_s).color(), QColor(0xBE, 0x47, 0x3A));
    QCOMPARE(colourOf(u"me"_s).color(), QColor(0x6F, 0x6F, 0x6F));
    setBoolSetting(Setting::ReadUseColouring, false);
    m_view->refresh();
    for (const QString &words : {u"quoted"_s, u"deeper"_s, u"me"_s})
        QCOMPARE(colourOf(words).color(), body()->palette().color(QPalette::Text));
    setBoolSetting(Setting::ASCIIRawDisplay, false);
    m_view->showMessage(Message(mail("text/plain", "a *bold* word\n")));
    QCOMPARE(body()->document()->find(u"bold"_s).charFormat().fontWeight(), int(QFont::Bold));
}

void ReaderTest::quotationsInHtml()
{
    m_view->showMessage(Message(
        mail("text/html", "<p>mine<blockquote><p>one<p>still one<blockquote>two</blockquote><p>one again"
                          "</blockquote><p>end<p style='margin-left:40px'>indented")));
    QString levels;
    for (QTextBlock block = body()->document()->begin(); block.isValid(); block = block.next())
        if (!block.text().isEmpty())
            levels += block.text() +
                      QString::number(block.blockFormat().intProperty(bodyformat::QuoteLevel)) + u' ';
    QCOMPARE(levels, u"mine0 one1 still one1 two2 one again1 end0 indented0 "_s);
}

void ReaderTest::firstBlockOfHtml()
{
    const auto show = [this](const char *html) {
        m_view->showMessage(Message(mail("text/html", html)));
        return body()->document()->find(u"first"_s).block();
    };
    const QTextBlock centred = show("<h1 align=center>first</h1><p align=center>second");
    QCOMPARE(centred.blockFormat().alignment() & Qt::AlignHorizontal_Mask, Qt::AlignHCenter);
    QCOMPARE(centred.blockFormat().topMargin(), 0);
    const QTextBlock item = show("<ul><li>first<li>second</ul>");
    QVERIFY(item.textList());
    show("<table><tr><td>first</table>second");
    QVERIFY(text().contains(u"second"_s) && !text().contains(u'.'));
    show("first");
    QCOMPARE(text().trimmed(), u"first"_s);
}

void ReaderTest::foldsAndUnfolds()
{
    m_view->showMessage(
        Message(mail("text/plain", "Mine\n" + QByteArray("> theirs\n").repeated(18) + "End\n")));
    QCOMPARE(text(), u"Mine\nShow 18 quoted lines\nEnd"_s);
    const QTextCursor label = body()->document()->find(u"Show 18"_s);
    click(label.charFormat().anchorHref());
    QCOMPARE(text(), u"Mine\n"_s + u"theirs\n"_s.repeated(18) + u"End"_s);
    QCOMPARE(body()->document()->find(u"theirs"_s).blockFormat().intProperty(bodyformat::QuoteLevel), 1);
}

void ReaderTest::findsFoldedWords()
{
    m_view->showMessage(Message(
        mail("text/plain", "Mine\n" + QByteArray("> theirs\n").repeated(17) + "> Needle here\nEnd\n")));
    m_view->perform(ReaderAction::Find);
    auto *bar = m_view->findChild<FindBar *>();
    QVERIFY(bar->isVisible());
    bar->findChild<QLineEdit *>()->setText(u"needle"_s);
    QCOMPARE(body()->textCursor().selectedText(), u"Needle"_s);
    QCOMPARE(body()->extraSelections().size(), 1);
    m_view->perform(ReaderAction::AllHeaders,
                    !m_view->isChecked(ReaderAction::AllHeaders)); // another document, folded as before
    QCOMPARE(body()->extraSelections().size(), 0);
    m_view->perform(ReaderAction::AllHeaders, !m_view->isChecked(ReaderAction::AllHeaders));
    m_view->perform(ReaderAction::FindNext);
    QTest::keyClick(bar->findChild<QLineEdit *>(), Qt::Key_Escape);
    QVERIFY(!bar->isVisible());
    QVERIFY(body()->extraSelections().isEmpty());
}

void ReaderTest::copiesWhatWasWritten()
{
    const QByteArray longWord(2500, 'x');
    m_view->showMessage(Message(
        mail("text/plain", "Mine\n" + QByteArray("> theirs\n").repeated(13) + "\n" + longWord + "\nlast\n")));
    body()->selectAll();
    m_view->perform(ReaderAction::Copy);
    QCOMPARE(QApplication::clipboard()->text(), u"Mine\n"_s + u"theirs\n"_s.repeated(13) + u"\n"_s +
                                                    QString::fromLatin1(longWord) + u"\nlast"_s);
    QVERIFY(!QApplication::clipboard()->mimeData()->hasHtml());
}

void ReaderTest::header()
{
    m_view->showMessage(Message("From: =?utf-8?Q?service=40bank.example?= <evil@y.example>\n"
                                "To: a@x.example, b@x.example\nSubject: <h1>Hi</h1>\n\nx\n"),
                        {true, false, false, false});
    const auto label = [this](const char *name) {
        return m_view->findChild<QWidget *>(QString::fromLatin1(name));
    };
    QVERIFY(label("claim")->isVisible());
    const auto sender = [this] { return m_view->findChild<SenderView *>()->text(); };
    QCOMPARE(sender().count(u"evil@y.example"_s), 1); // it stands in the name's place
    QVERIFY(!sender().contains(u"bank"_s));
    QVERIFY(!label("date")->isVisible());
    QVERIFY(!label("verdict")->isVisible());
    m_view->showMessage(
        Message(mail("multipart/signed; boundary=b",
                     "--b\n\nx\n--b\nContent-Type: application/pgp-signature\n\ny\n--b--\n")));
    QVERIFY(!label("claim")->isVisible());
    QVERIFY(sender().contains(u"Ada"_s) && sender().contains(u"ada@example.org"_s));
    QVERIFY(label("date")->isVisible() && label("verdict")->isVisible());
    m_view->perform(ReaderAction::AllHeaders, !m_view->isChecked(ReaderAction::AllHeaders));
    QVERIFY(text().contains(u"MIME-Version"_s) && text().contains(u"Fri, 20 Nov 2026 10:00:00 +0000"_s));
    m_view->clear(u"Nothing"_s);
    QVERIFY(!label("recipients")->isVisible());
    QVERIFY(!m_view->can(ReaderAction::Source));
}

void ReaderTest::loadsNothing_data()
{
    QTest::addColumn<QByteArray>("html");
    for (const char *html :
         {"<img src='URL'>", "<body background='URL'>x", "<table background='URL'><tr><td>x</table>",
          "<style>@import 'URL'; body { background: url(URL) }</style>x", "<link rel=stylesheet href='URL'>x",
          "<div style='background-image: url(\"URL\")'>x</div>", "<iframe src='URL'></iframe>x",
          "<object data='URL'></object>x", "<video src='URL' poster='URL'></video>x",
          "<svg><image href='URL'/></svg>x", "<meta http-equiv=refresh content='0; url=URL'>x",
          "<ul style='list-style-image: url(URL)'><li>x</ul>", "<img srcset='URL 2x' src='URL'>",
          "<input type=image src='URL'>x", "<img src='cid:x\" src=\"URL'>"})
        QTest::newRow(html) << QByteArray(html);
}

void ReaderTest::loadsNothing()
{
    QFETCH(QByteArray, html);
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    const QString secret = m_scratch->write(u"secret.png"_s, pngBytes(200, 100));
    const QByteArray http = "http://127.0.0.1:" + QByteArray::number(server.serverPort()) + "/a.png";
    for (const QByteArray &url :
         {http, "file://" + secret.toUtf8(), secret.toUtf8(), QByteArray(":/icons/reply.svg")}) {
        m_view->showMessage(Message(mail("text/html", QByteArray(html).replace("URL", url))));
        const QImage shown = body()->grab().toImage();
        QVERIFY(!shown.isNull());
        for (int y = 0; y < shown.height(); y += 5)
            for (int x = 0; x < shown.width(); x += 5)
                QVERIFY2(shown.pixelColor(x, y) != QColor(Qt::red), url.constData());
    }
    // neither here nor by the document itself
    for (const QUrl &url : {QUrl::fromLocalFile(secret), QUrl(QString::fromLatin1(http)), QUrl(secret)}) {
        QCOMPARE(body()->document()->resource(QTextDocument::ImageResource, url).value<QImage>().size(),
                 QSize(1, 1));
        QVERIFY(body()->document()->resource(QTextDocument::StyleSheetResource, url).toByteArray().isEmpty());
        QVERIFY(body()->loadResource(QTextDocument::StyleSheetResource, url).toByteArray().isEmpty());
    }
    QVERIFY(!server.waitForNewConnection(50));
}

void ReaderTest::ownPictures()
{
    const QByteArray part = "--b\nContent-Type: image/png; name=p.png\nContent-ID: <pic@x>\n"
                            "Content-Transfer-Encoding: base64\n\n" +
                            pngBytes(30, 20).toBase64() + "\n";
    const QByteArray html = "--b\nContent-Type: text/html\n\n<p>See <img src=\"cid:pic@x\"></p>\n";
    m_view->showMessage(Message(mail("multipart/related; boundary=b", html + part + "--b--\n")));
    const auto sizeOf = [this](const QString &name) {
        return body()->document()->resource(QTextDocument::ImageResource, QUrl(name)).value<QImage>().size();
    };
    QCOMPARE(sizeOf(u"cid:pic@x"_s), QSize(30, 20));
    QCOMPARE(sizeOf(u"cid:other"_s), QSize(1, 1));
    QVERIFY(m_view->findChild<QListView *>()->model()->rowCount() == 0); // it stands in the text
    const QByteArray data = "data:image/png;base64," + pngBytes(12, 12).toBase64();
    QCOMPARE(sizeOf(QString::fromLatin1(data)), QSize(12, 12));
    QCOMPARE(
        sizeOf(u"data:image/svg+xml;base64,"_s +
               QString::fromLatin1(
                   QByteArray("<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>").toBase64())),
        QSize(1, 1));
    // a picture that says it is 60,000 pixels wide and high: 14 GB, from a few bytes
    QByteArray bomb = pngBytes(1, 1);
    bomb.replace(16, 8, QByteArray::fromHex("0000ea600000ea60"));
    bomb.replace(29, 4,
                 QByteArray::fromHex(QByteArray::number(crc32(bomb.mid(12, 17)), 16).rightJustified(8, '0')));
    QCOMPARE(sizeOf(QString::fromLatin1("data:image/png;base64," + bomb.toBase64())), QSize(1, 1));
}

void ReaderTest::links()
{
    QSignalSpy activated(m_view.get(), &MessageView::linkActivated);
    QSignalSpy deceptive(m_view.get(), &MessageView::deceptiveLinkClicked);
    m_view->showMessage(
        Message(mail("text/html", "<a href='https://good.example/x'>here</a> "
                                  "<a href='https://evil.example/y'>https://bank.example/</a>")));
    click(u"https://good.example/x"_s);
    QCOMPARE(activated.takeFirst().first().toString(), u"https://good.example/x"_s);
    for (const QString &target : {u"file:///etc/passwd"_s, u"javascript:alert(1)"_s, u"reader:fold/99"_s,
                                  u"velmar:x"_s, u"smb://h/x"_s})
        click(target);
    QCOMPARE(activated.size(), 0);
    click(u"https://evil.example/y"_s);
    QCOMPARE(activated.size(), 0);
    QCOMPARE(deceptive.takeFirst(), QVariantList({u"bank.example"_s, u"evil.example"_s}));
    QVERIFY(bar()->isVisible() && bar()->text().contains(u"bank.example"_s));
    bar()->findChild<QPushButton *>(u"first"_s)->click();
    QCOMPARE(activated.takeFirst().first().toString(), u"https://evil.example/y"_s);
    // as a click hands it over, the host in its ASCII form
    m_view->showMessage(
        Message(mail("text/html; charset=utf-8", "<a href='https://b\xC3\xBC"
                                                 "cher.example/\xC3\xA4 x'>https://bank.example/</a>")));
    QTextCursor link = body()->document()->find(u"bank"_s);
    emit body()->anchorClicked(QUrl(link.charFormat().anchorHref()));
    QCOMPARE(activated.size(), 0);
    QCOMPARE(deceptive.size(), 1);
    deceptive.clear();
    // what was asked before is no longer an answer
    click(u"https://evil.example/y"_s);
    m_view->showMessage(Message(mail("text/plain", "see www.example.org\n")));
    QVERIFY(!bar()->isVisible());
    QCOMPARE(body()->document()->find(u"www"_s).charFormat().anchorHref(), u"http://www.example.org"_s);
}

void ReaderTest::opens_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("atOnce");
    QTest::addColumn<bool>("ever");
    QTest::newRow("safe") << QByteArray("a.txt") << QByteArray("x") << true << true;
    QTest::newRow("risky") << QByteArray("a.pdf") << QByteArray("x") << false << true;
    QTest::newRow("program") << QByteArray("a.sh") << QByteArray("x") << false << false;
    QTest::newRow("program under another name")
        << QByteArray("a.txt") << QByteArray("#!/bin/sh") << false << false;
}

void ReaderTest::opens()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, bytes);
    QFETCH(bool, atOnce);
    QFETCH(bool, ever);
    Desktop desktop;
    m_view->showMessage(
        Message(mail("multipart/mixed; boundary=b", "--b\n\nx\n" + attached(name, bytes) + "--b--\n")));
    m_view->findChild<AttachmentActions *>()->open(1);
    QCOMPARE(desktop.opened.size(), atOnce ? 1 : 0);
    QCOMPARE(bar()->isVisible(), !atOnce);
    auto *first = bar()->findChild<QPushButton *>(u"first"_s);
    if (!atOnce && ever)
        first->click();
    QCOMPARE(desktop.opened.size(), ever ? 1 : 0);
    if (ever)
        QVERIFY(desktop.opened.first().endsWith(u'/' + QString::fromLatin1(name)));
    else
        QCOMPARE(first->text(), u"Save…"_s);
}

void ReaderTest::savesWithoutOverwriting()
{
    m_view->showMessage(
        Message(mail("multipart/mixed; boundary=b",
                     "--b\n\nx\n" + attached("a.pdf", "one") + attached("../a.pdf", "two") + "--b--\n")));
    auto *actions = m_view->findChild<AttachmentActions *>();
    m_scratch->write(u"a.pdf"_s, "mine");
    QCOMPARE(actions->saveInto({1, 2}, m_scratch->path({})), 2);
    QCOMPARE(Scratch::read(m_scratch->path(u"a.pdf"_s)), QByteArray("mine"));
    QCOMPARE(Scratch::read(m_scratch->path(u"a (2).pdf"_s)), QByteArray("one"));
    QCOMPARE(Scratch::read(m_scratch->path(u"a (3).pdf"_s)), QByteArray("two"));
    QCOMPARE(bar()->kind(), MessageBar::Kind::Good);
    QCOMPARE(actions->saveInto({1}, m_scratch->path(u"no/such/place"_s)), 0);
    QCOMPARE(bar()->kind(), MessageBar::Kind::Error);
    QCOMPARE(m_scratch->reports, QStringList{u"Unable to save decoded file"_s});
}

void ReaderTest::boundedWork_data()
{
    QTest::addColumn<QByteArray>("message");
    QTest::newRow("10 MB of lines") << mail(
        "text/plain", QByteArray("A line of ordinary length, more or less.\n").repeated(250'000));
    QTest::newRow("a line of 2 MB") << mail("text/plain", QByteArray(2'000'000, 'x'));
    QTest::newRow("a line of 2 MB with blanks") << mail("text/plain", QByteArray("word ").repeated(400'000));
    QTest::newRow("a quotation mark a million times") << mail("text/plain", QByteArray(1'000'000, '>'));
    QTest::newRow("NULs") << mail("text/plain", QByteArray(1'000'000, '\0'));
    QTest::newRow("a flowed line of 5 MB")
        << mail("text/plain; format=flowed", QByteArray("some words \n").repeated(450'000));
    QTest::newRow("20 nested tables") << mail("text/html", QByteArray("<table><tr><td>").repeated(20) + "x" +
                                                               QByteArray("</table>").repeated(20));
    QTest::newRow("20,000 nested divs") << mail("text/html", QByteArray("<div>").repeated(20'000) + "x");
    QTest::newRow("HTML of 2 MB without a blank") << mail("text/html", "<p>" + QByteArray(2'000'000, 'x'));
    QTest::newRow("a recipient ten thousand times")
        << "To: " + QByteArray("A Name <a@x.example>, ").repeated(10'000) + "b@x.example\n\nx\n";
    QTest::newRow("two thousand attachments")
        << mail("multipart/mixed; boundary=b", attached("a.bin", "x").repeated(2000) + "--b--\n");
    QTest::newRow("messages within messages") << mail(
        "message/rfc822", QByteArray("Subject: x\nContent-Type: message/rfc822\n\n").repeated(90) + "x\n");
}

void ReaderTest::boundedWork()
{
    QFETCH(QByteArray, message);
    const Message text(message);
    QElapsedTimer timer;
    timer.start();
    m_view->showMessage(text);
    m_view->grab();
    qInfo("%lld ms", static_cast<long long>(timer.elapsed()));
    // what bounds the work: no document of a first look is large
    QVERIFY(body()->document()->characterCount() < 1'000'000);
    QVERIFY(body()->document()->blockCount() < 20'000);
    QVERIFY(!text.text().isEmpty());
}

void ReaderTest::showAll()
{
    QByteArray lines;
    for (int line = 0; line < 20'000; ++line)
        lines += "line " + QByteArray::number(line) + " of a long text\n";
    m_view->showMessage(Message(mail("text/plain", lines)));
    QVERIFY(!text().contains(u"line 19999"_s));
    click(readerlink::showAll);
    QTRY_VERIFY(text().contains(u"line 19999"_s));
    QCOMPARE(text(), QString::fromLatin1(lines.trimmed()));
}

void ReaderTest::actions()
{
    const Message message(
        mail("multipart/alternative; boundary=b",
             "--b\n\nplain words\n--b\nContent-Type: text/html\n\n<i>rich</i> words\n--b--\n"));
    m_view->showMessage(message);
    QVERIFY(text().contains(u"rich words"_s));
    m_view->perform(ReaderAction::PlainText, !m_view->isChecked(ReaderAction::PlainText));
    QVERIFY(text().contains(u"plain words"_s));
    setBoolSetting(Setting::DisplayPlainText, true);
    m_view->showMessage(Message(mail("text/html", "<p>only <b>rich</b></p>")));
    QCOMPARE(text(), u"only rich"_s);
    const double before = body()->document()->defaultFont().pointSizeF();
    m_view->perform(ReaderAction::ZoomIn);
    QVERIFY(body()->document()->defaultFont().pointSizeF() > before);
    m_view->perform(ReaderAction::ZoomReset);
    QCOMPARE(body()->document()->defaultFont().pointSizeF(), before);
    QVERIFY(!m_view->pageDown()); // it is all in view
}

void ReaderTest::source()
{
    const QByteArray text =
        mail("text/plain", "a" + QByteArray(1, '\0') + "b\n" + QByteArray("0123456789\n").repeated(400'000));
    m_view->showMessage(Message(text));
    m_view->showSource();
    auto *window = m_view->findChild<SourceWindow *>();
    auto *view = window->findChild<QPlainTextEdit *>();
    QVERIFY(view->toPlainText().startsWith(u"From: Ada"_s));
    QVERIFY(view->toPlainText().contains(u"a\u2400b"_s));
    QVERIFY(view->document()->characterCount() <= SourceWindow::kFirstLook + 1);
    window->showAll();
    QTRY_COMPARE(view->document()->characterCount(), int(text.size()) + 1);
    QTest::keyClick(window, Qt::Key_Escape);
    QVERIFY(!window->isVisible());
}

void ReaderTest::looksChange()
{
    m_view->showMessage(
        Message(mail("text/html", "<p style='color:#222;background:#fff'>Dark on white</p>")));
    const auto surfaces = [this] {
        int cards = 0;
        for (const QTextFrame *frame : body()->document()->rootFrame()->childFrames())
            cards += frame->frameFormat().hasProperty(bodyformat::Surface) ? 1 : 0;
        return cards;
    };
    m_looks.setLook(Look::Light);
    QTRY_COMPARE(surfaces(), 0); // white on white
    m_looks.setLook(Look::Dark);
    QTRY_COMPARE(surfaces(), 1);
    m_looks.setLook(Look::Light);
    QTRY_COMPARE(surfaces(), 0);
}

QTEST_MAIN(ReaderTest)
#include "reader_test.moc"
