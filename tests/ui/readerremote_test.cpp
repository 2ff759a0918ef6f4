#include "config/settings.h"
#include "support/scratch.h"
#include "ui/look/looks.h"
#include "ui/look/messagebar.h"
#include "ui/reader/bodydocument.h"
#include "ui/reader/bodyview.h"
#include "ui/reader/messageview.h"
#include "ui/reader/readeractions.h"
#include "ui/reader/remotecontent.h"
#include "ui/reader/remotepictures.h"

#include <QBuffer>
#include <QImage>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>

using namespace Qt::StringLiterals;

namespace {

/// A net that remembers what it was asked for and answers when it is told to.
class Net : public RemoteContent
{
public:
    Availability availability() const override { return state; }
    bool isTrusted(const QString &sender) const override { return trusted.contains(sender); }
    void trust(const QString &sender) override { trusted.append(sender); }
    std::unique_ptr<Session> open() override { return std::make_unique<Visit>(*this); }

    void answer(const QString &url, const QByteArray &file) { open_.take(url)(file); }
    bool waits(const QString &url) const { return open_.contains(url); }

    Availability state = Availability::Available;
    QStringList trusted;
    QStringList asked;
    int cancelled = 0;

private:
    struct Visit : Session
    {
        explicit Visit(Net &net)
            : net(net)
        {}
        ~Visit() override
        {
            net.cancelled += int(net.open_.size());
            net.open_.clear();
        }
        void fetch(const QString &url, Done done) override
        {
            net.asked.append(url);
            net.open_.insert(url, std::move(done));
        }
        Net &net;
    };

    QHash<QString, Session::Done> open_;
};

QByteArray mail(const QByteArray &html, const QByteArray &from = "Ada <Ada@Example.org>",
                const QByteArray &more = {})
{
    return "From: " + from + "\nSubject: Hello\n" + more +
           "Date: Fri, 20 Nov 2026 10:00:00 +0000\nMIME-Version: 1.0\nContent-Type: text/html\n\n" + html;
}

QByteArray png(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

const QByteArray kTwoPictures = "<p>Hello</p><img src='http://n.example/a' alt='First picture'>"
                                "<img src='https://n.example/b' width=200 height=50 alt=Second>"
                                "<img src='http://t.example/x' width=1 height=1>";

} // namespace

class ReaderRemoteTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_looks.start(); }
    void init();
    void cleanup();

    void asksForNothing_data();
    void asksForNothing();
    void showsOnce();
    void trustsASender();
    void doubtsASender_data();
    void doubtsASender();
    void obeysSettings();
    void failedPicturesLeaveTheirWords();
    void textStaysInPlace();
    void picturesFitTheWindow();
    void cancels();
    void soleSenders_data();
    void soleSenders();

private:
    BodyView *body() { return m_view->findChild<BodyView *>(); }
    MessageBar *bar() { return m_view->findChild<MessageBar *>(); }
    QString text() { return body()->toPlainText(); }
    /// The button with that text in the bar; null when none is shown.
    QPushButton *button(const QString &text)
    {
        for (QPushButton *each : bar()->findChildren<QPushButton *>())
            if (each->text() == text && !each->isHidden())
                return each;
        return nullptr;
    }
    void show(const QByteArray &text, const ReaderMarks &marks = {})
    {
        m_view->showMessage(Message(text), marks);
    }

    Looks m_looks;
    Net m_net;
    std::unique_ptr<Scratch> m_scratch;
    std::unique_ptr<MessageView> m_view;
};

void ReaderRemoteTest::init()
{
    m_scratch = std::make_unique<Scratch>();
    m_net = Net();
    m_view = std::make_unique<MessageView>();
    m_view->setRemoteContent(&m_net);
    m_view->resize(800, 600);
    m_view->show();
}

void ReaderRemoteTest::cleanup()
{
    m_view.reset();
    m_scratch.reset();
}

void ReaderRemoteTest::asksForNothing_data()
{
    QTest::addColumn<QByteArray>("html");
    QTest::addColumn<QString>("words"); // empty: there is nothing to say
    QTest::addColumn<bool>("offers");
    const auto row = [](const char *html, const char *words, bool offers) {
        QTest::newRow(html) << QByteArray(html).replace("URL", "http://n.example/x")
                            << QString::fromUtf8(words) << offers;
    };
    row("<img src=URL>", "1 image is not loaded.", true);
    row("<img src=URL><img src=URL?2>", "2 images are not loaded.", true);
    row("<img src=URL><img src=URL?2 width=1 height=1>", "1 image and 1 tracker are not loaded.", true);
    row("<img src=URL width=1 height=1><img src=URL?2 hidden>", "2 trackers are not loaded.", false);
    row("<table background=URL><tr><td>x</table>", "", false);
    row("<style>@import 'URL';</style><video src=URL></video><iframe src=URL></iframe>x", "", false);
    row("<a href=URL>x</a>", "", false);
}

void ReaderRemoteTest::asksForNothing()
{
    QFETCH(QByteArray, html);
    QFETCH(QString, words);
    show(mail(html));
    m_view->grab();
    m_view->refresh();
    QCOMPARE(m_net.asked, QStringList());
    QCOMPARE(bar()->isVisible(), !words.isEmpty());
    if (!words.isEmpty())
        QCOMPARE(bar()->text(), words);
    QFETCH(bool, offers);
    QCOMPARE(m_view->can(ReaderAction::ShowRemote), offers);
    QCOMPARE(bar()->isVisible() && button(u"Show once"_s) != nullptr, offers);
}

void ReaderRemoteTest::showsOnce()
{
    show(mail(kTwoPictures));
    QVERIFY(text().contains(u"First picture"_s)); // its words until then
    QTest::mouseClick(button(u"Show once"_s), Qt::LeftButton);
    QVERIFY(!bar()->isVisible());
    QCOMPARE(m_net.asked, (QStringList{u"http://n.example/a"_s, u"https://n.example/b"_s}));
    QVERIFY(m_net.trusted.isEmpty());
    m_net.answer(u"http://n.example/a"_s, png(30, 20));
    auto &document = static_cast<BodyDocument &>(*body()->document());
    QTRY_COMPARE(document.picture(u"http://n.example/a"_s).image.size(), QSize(30, 20));
    QCOMPARE(document.picture(u"https://n.example/b"_s).state, BodyDocument::Picture::Waiting);
    m_view->perform(ReaderAction::ZoomIn); // another document: what is here is kept, nothing asked for again
    auto &larger = static_cast<BodyDocument &>(*body()->document());
    QCOMPARE(larger.picture(u"http://n.example/a"_s).image.size(), QSize(30, 20));
    QCOMPARE(m_net.asked.size(), 2);
    show(mail("<img src='http://n.example/c'>"));
    show(mail(kTwoPictures)); // once was that once
    QCOMPARE(m_net.asked.size(), 2);
    QVERIFY(bar()->isVisible());
}

void ReaderRemoteTest::trustsASender()
{
    show(mail(kTwoPictures));
    QTest::mouseClick(button(u"Always for this sender"_s), Qt::LeftButton);
    QCOMPARE(m_net.trusted, QStringList{u"ada@example.org"_s});
    show(mail("<img src='http://n.example/c'>"));
    QVERIFY(!bar()->isVisible());
    QCOMPARE(m_net.asked.last(), u"http://n.example/c"_s);
    show(mail("<img src='http://n.example/d'>", "Eve <eve@example.org>"));
    QVERIFY(bar()->isVisible());
    QVERIFY(!m_net.asked.contains(u"http://n.example/d"_s));
}

void ReaderRemoteTest::doubtsASender_data()
{
    QTest::addColumn<QByteArray>("from");
    QTest::addColumn<QByteArray>("more");
    QTest::addColumn<bool>("junk");
    const QByteArray ada = "ada@example.org";
    QTest::newRow("two in one field") << ada + ", eve@example.org" << QByteArray() << false;
    QTest::newRow("two fields") << ada << QByteArray("From: eve@example.org\n") << false;
    QTest::newRow("marked as junk") << ada << QByteArray() << true;
    QTest::newRow("a check that failed")
        << ada << QByteArray("Authentication-Results: mx.example;\n dkim=none; dmarc = fail\n") << false;
    QTest::newRow("a name like an address")
        << QByteArray("\"ada@example.org\" <eve@example.org>") << QByteArray() << false;
}

void ReaderRemoteTest::doubtsASender()
{
    m_net.trusted = QStringList{u"ada@example.org"_s};
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, more);
    QFETCH(bool, junk);
    show(mail(kTwoPictures, from, more), {false, junk, false, false});
    QCOMPARE(m_net.asked, QStringList());
    QVERIFY(button(u"Show once"_s));
}

void ReaderRemoteTest::obeysSettings()
{
    m_net.trusted = QStringList{u"ada@example.org"_s};
    m_net.state = RemoteContent::Availability::Disabled;
    show(mail(kTwoPictures));
    QVERIFY(bar()->isVisible() && !button(u"Show once"_s));
    m_view->perform(ReaderAction::ShowRemote);
    m_view->perform(ReaderAction::TrustSender);
    QCOMPARE(m_net.asked, QStringList());
    m_net.state = RemoteContent::Availability::Offline;
    show(mail(kTwoPictures));
    QVERIFY(bar()->isVisible() && !button(u"Show once"_s));
    m_net.state = RemoteContent::Availability::Available;
    setBoolSetting(Setting::DisableImageDisplay, true);
    show(mail(kTwoPictures + "<img src=cid:x alt=Third>"));
    QVERIFY(!bar()->isVisible());
    QCOMPARE(m_net.asked, QStringList());
    QVERIFY(text().contains(u"Third"_s));
    m_view->setRemoteContent(nullptr);
    setBoolSetting(Setting::DisableImageDisplay, false);
    show(mail(kTwoPictures));
    QVERIFY(bar()->isVisible() && !button(u"Show once"_s));
}

void ReaderRemoteTest::failedPicturesLeaveTheirWords()
{
    show(mail(kTwoPictures));
    m_view->perform(ReaderAction::ShowRemote);
    QVERIFY(!text().contains(u"First picture"_s));
    m_net.answer(u"http://n.example/a"_s, {});
    m_net.answer(u"https://n.example/b"_s, "no picture at all");
    QTRY_VERIFY(text().contains(u"First picture"_s) && text().contains(u"Second"_s));
    QVERIFY(!text().contains(QChar::ObjectReplacementCharacter));
    m_view->refresh();
    QVERIFY(text().contains(u"First picture"_s));
    QCOMPARE(m_net.asked.size(), 2);
}

void ReaderRemoteTest::textStaysInPlace()
{
    show(mail("<img src='http://n.example/a'><p>" + QByteArray("word ").repeated(4000) +
              "<p id=x>Here</p><p>" + QByteArray("word ").repeated(4000)));
    m_view->perform(ReaderAction::ShowRemote);
    QTextCursor here = body()->document()->find(u"Here"_s);
    body()->verticalScrollBar()->setValue(body()->verticalScrollBar()->maximum() / 2);
    const int value = body()->verticalScrollBar()->value();
    const int before = body()->cursorRect(here).top();
    m_net.answer(u"http://n.example/a"_s, png(300, 400));
    QTRY_VERIFY(body()->verticalScrollBar()->value() != value);
    QCOMPARE(body()->verticalScrollBar()->value() - value, 399); // it was one point high
    QCOMPARE(body()->cursorRect(here).top(), before);
}

void ReaderRemoteTest::picturesFitTheWindow()
{
    show(mail("<img src='http://n.example/a'>"));
    m_view->perform(ReaderAction::ShowRemote);
    m_net.answer(u"http://n.example/a"_s, png(3000, 600));
    QTRY_VERIFY(body()->document()->size().height() > 100);
    for (const int width : {360, 800, 1200}) {
        m_view->resize(width, 600);
        QCOMPARE(body()->horizontalScrollBar()->maximum(), 0);
        QVERIFY(body()->document()->size().height() > width / 8.0); // as high as it is wide, in its shape
    }
}

void ReaderRemoteTest::cancels()
{
    show(mail(kTwoPictures));
    m_view->perform(ReaderAction::ShowRemote);
    QVERIFY(m_net.waits(u"http://n.example/a"_s));
    m_view->clear();
    QCOMPARE(m_net.cancelled, 2);
    show(mail(kTwoPictures));
    m_view->perform(ReaderAction::ShowRemote);
    m_view.reset();
    QCOMPARE(m_net.cancelled, 4);
}

void ReaderRemoteTest::soleSenders_data()
{
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QString>("sender");
    QTest::newRow("one") << QByteArray("From: Ada <ADA@Example.org>\n") << u"ada@example.org"_s;
    QTest::newRow("none") << QByteArray("Subject: x\n") << QString();
    QTest::newRow("empty") << QByteArray("From: \n") << QString();
    QTest::newRow("no domain") << QByteArray("From: ada\n") << QString();
    QTest::newRow("two at") << QByteArray("From: <a@b@c.example>\n") << QString();
    QTest::newRow("a group") << QByteArray("From: us: a@b.example, c@d.example;\n") << QString();
    QTest::newRow("twice the same") << QByteArray("From: a@b.example\nFROM: a@b.example\n") << QString();
}

void ReaderRemoteTest::soleSenders()
{
    QFETCH(QByteArray, header);
    QTEST(soleSender(Message(header + "\nx\n")), "sender");
}

QTEST_MAIN(ReaderRemoteTest)
#include "readerremote_test.moc"
