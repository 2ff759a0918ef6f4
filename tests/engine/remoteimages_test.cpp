#include "engine/imagesenders.h"
#include "engine/remoteimages.h"

#include "support/scratch.h"
#include "support/webserver.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// A server with so many pictures, who to ask for them, and one message that does.
struct Stage
{
    explicit Stage(int pictures = 1, WebServer::Then then = WebServer::Then::Close)
    {
        for (int i = 0; i < pictures; ++i)
            server.lay('/' + QByteArray::number(i), pictureAnswer(pictureBytes(1000 + i)), then);
    }

    QUrl url(int picture) const
    {
        return QUrl(u"http://pictures.example:%1/%2"_s.arg(server.port()).arg(picture));
    }
    RemoteImageRequest *ask(int picture) { return images.fetch(url(picture), budget, &asker); }

    Scratch scratch;
    WebForTest web;
    WebServer server;
    RemoteImages images = RemoteImages(web.access);
    std::shared_ptr<RemoteImageBudget> budget = std::make_shared<RemoteImageBudget>();
    QObject asker;
};

} // namespace

class RemoteImagesTest : public QObject
{
    Q_OBJECT

private slots:
    void onlyWhenAsked();
    void memory();
    void memoryIsBounded();
    void equalOnesAtATime();
    void concurrency_data();
    void concurrency();
    void giveUp();
    void refusals_data();
    void refusals();
    void settingsInBetween();
    void budget();
    void budgetsOfTwoMessages();
    void answersDestroyTheirRequest();
    void senders();
    void sendersFile();
};

void RemoteImagesTest::onlyWhenAsked()
{
    Stage stage;
    QVERIFY(RemoteImages::isFetchable(stage.url(0)));
    QVERIFY(!RemoteImages::isFetchable(QUrl(u"cid:part1"_s)));
    QCOMPARE(RemoteImages::availability(), RemoteImages::Availability::Available);
    QTest::qWait(0);
    QCOMPARE(stage.web.names->asked, QStringList());
    QCOMPARE(stage.server.accepted, 0);

    const RemoteImageRequest *request = stage.ask(0);
    const QSignalSpy finished(request, &RemoteImageRequest::finished);
    QCOMPARE(stage.web.names->asked, QStringList()); // not even now: from the event loop
    QTRY_COMPARE(finished.size(), 1);
    QVERIFY(request->isFinished());
    QCOMPARE(request->bytes(), pictureBytes(1000));
    QCOMPARE(request->problem(), QString());
    QCOMPARE(stage.web.names->asked, QStringList{u"pictures.example"_s});
    QVERIFY(stage.budget->bytes < RemoteImageBudget().bytes - 1000);
}

void RemoteImagesTest::memory()
{
    Stage stage;
    QTRY_VERIFY(stage.ask(0)->isFinished() || stage.server.accepted > 0);
    QTRY_COMPARE(stage.images.running(), 0);
    const int accepted = stage.server.accepted;
    const qint64 bytes = stage.budget->bytes;
    setBoolSetting(Setting::Online, false); // not needed for what is there
    QUrl url = stage.url(0);
    url.setFragment(u"part"_s);
    const RemoteImageRequest *again = stage.images.fetch(url, stage.budget, &stage.asker);
    QVERIFY(!again->isFinished()); // never from inside fetch()
    QTRY_COMPARE(again->bytes(), pictureBytes(1000));
    QCOMPARE(stage.server.accepted, accepted);
    QCOMPARE(stage.budget->bytes, bytes);
    setBoolSetting(Setting::DisableImageFetches, true);
    const RemoteImageRequest *never = stage.ask(0);
    QTRY_VERIFY(never->isFinished());
    QCOMPARE(never->bytes(), QByteArray());
}

void RemoteImagesTest::memoryIsBounded()
{
    Stage stage;
    const QByteArray large = pictureAnswer(pictureBytes(600 * 1024));
    for (const char *target : {"/0", "/1"})
        stage.server.lay(target, large);
    setIntSetting(Setting::ImageCacheSize, 1);
    const auto connectionsFor = [&stage](int picture) {
        const int before = stage.server.accepted;
        const RemoteImageRequest *request = stage.ask(picture);
        return QTest::qWaitFor([&] { return request->isFinished(); }) ? stage.server.accepted - before : -1;
    };
    QCOMPARE(connectionsFor(0), 1);
    QCOMPARE(connectionsFor(0), 0);
    QCOMPARE(connectionsFor(1), 1); // there is no room for both
    QCOMPARE(connectionsFor(1), 0);
    QCOMPARE(connectionsFor(0), 1);
    setIntSetting(Setting::ImageCacheSize, 0);
    QCOMPARE(connectionsFor(0), 1);
    setIntSetting(Setting::ImageCacheSize, -1);
    QCOMPARE(connectionsFor(0), 1);
}

void RemoteImagesTest::equalOnesAtATime()
{
    Stage stage;
    setIntSetting(Setting::ImageCacheSize, 0);
    const RemoteImageRequest *first = stage.ask(0);
    const RemoteImageRequest *second = stage.ask(0);
    RemoteImageRequest *third = stage.ask(0);
    third->cancel();
    QTRY_VERIFY(first->isFinished() && second->isFinished());
    QCOMPARE(first->bytes(), pictureBytes(1000));
    QCOMPARE(second->bytes(), first->bytes());
    QCOMPARE(third->bytes(), QByteArray());
    QCOMPARE(stage.server.accepted, 1);
    QVERIFY(stage.budget->bytes > RemoteImageBudget().bytes - 2000); // paid for once
}

void RemoteImagesTest::concurrency_data()
{
    QTest::addColumn<int>("setting");
    QTest::addColumn<int>("most");
    QTest::newRow("one") << 1 << 1;
    QTest::newRow("four") << 4 << 4;
    QTest::newRow("none means one") << 0 << 1;
    QTest::newRow("below none") << -5 << 1;
    QTest::newRow("without end") << 1000 << 16;
}

void RemoteImagesTest::concurrency()
{
    QFETCH(int, setting);
    constexpr int kPictures = 20;
    Stage stage(kPictures, WebServer::Then::Wait);
    setIntSetting(Setting::ImageFetchConcurrency, setting);
    std::vector<RemoteImageRequest *> requests;
    int most = 0;
    for (int i = 0; i < kPictures; ++i) {
        requests.push_back(stage.ask(i));
        connect(requests.back(), &RemoteImageRequest::finished, this,
                [&] { most = std::max(most, stage.images.running() + 1); });
    }
    QTRY_VERIFY(std::all_of(requests.begin(), requests.end(), [](auto *each) { return each->isFinished(); }));
    QTEST(most, "most");
    for (int i = 0; i < kPictures; ++i)
        QCOMPARE(requests[std::size_t(i)]->bytes(), pictureBytes(1000 + i));
    QCOMPARE(stage.server.accepted, kPictures);
    QCOMPARE(stage.images.running(), 0);
}

void RemoteImagesTest::giveUp()
{
    Stage stage;
    stage.server.lay("/0", "HTTP/1.1 200 OK\r\n\r\n", WebServer::Then::Drip);
    stage.server.lay("/1", pictureAnswer());
    setIntSetting(Setting::ImageFetchConcurrency, 1);
    RemoteImageRequest *one = stage.ask(0);
    const RemoteImageRequest *other = stage.ask(0);
    const RemoteImageRequest *next = stage.ask(1);
    const QSignalSpy finished(one, &RemoteImageRequest::finished);
    QTRY_COMPARE(stage.server.open, 1);
    one->cancel();
    QCOMPARE(stage.images.running(), 1); // somebody else waits for it
    delete other;
    QCOMPARE(stage.images.running(), 0);
    QTRY_COMPARE(next->bytes(), pictureBytes()); // had waited for its turn
    QTRY_COMPARE(stage.server.open, 0);
    QCOMPARE(finished.size(), 0);
    delete stage.ask(1); // from memory, and not wanted any more
    delete stage.images.fetch(QUrl(), stage.budget);
    QTest::qWait(0);
}

void RemoteImagesTest::refusals_data()
{
    QTest::addColumn<Setting>("setting");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("problem");
    const QString url = u"http://pictures.example/x"_s;
    QTest::newRow("switched off") << Setting::DisableImageFetches << u"true"_s << url
                                  << u"Fetching pictures is switched off"_s;
    QTest::newRow("offline") << Setting::Online << u"false"_s << url
                             << u"There is no connection to the network"_s;
    QTest::newRow("proxy") << Setting::WebProxy << u"not a host"_s << url
                           << u"The web proxy is not set up right"_s;
    QTest::newRow("no picture of the web")
        << Setting::Online << u"true"_s << u"file:///etc/passwd"_s << u"This is no address of the web"_s;
    QTest::newRow("private") << Setting::Online << u"true"_s << u"http://inner.example/"_s
                             << u"The address leads into a private network"_s;
}

void RemoteImagesTest::refusals()
{
    QFETCH(Setting, setting);
    QFETCH(QString, value);
    QFETCH(QString, url);
    Stage stage;
    if (setting == Setting::WebProxy)
        setStringSetting(setting, value);
    else
        setBoolSetting(setting, value == u"true");
    const RemoteImageRequest *request = stage.images.fetch(QUrl(url), stage.budget, &stage.asker);
    const QSignalSpy finished(request, &RemoteImageRequest::finished);
    QTRY_COMPARE(finished.size(), 1);
    QTEST(request->problem(), "problem");
    QCOMPARE(stage.web.names->asked.size(), url.contains(u"inner") ? 1 : 0);
    QCOMPARE(stage.server.accepted, 0);
}

/// What was asked for and has not begun is bound by what holds when its turn comes.
void RemoteImagesTest::settingsInBetween()
{
    Stage stage(2);
    setIntSetting(Setting::ImageFetchConcurrency, 1);
    const RemoteImageRequest *first = stage.ask(0);
    const RemoteImageRequest *second = stage.ask(1);
    connect(first, &RemoteImageRequest::finished, this,
            [] { setBoolSetting(Setting::DisableImageFetches, true); });
    QTRY_VERIFY(second->isFinished());
    QCOMPARE(first->bytes(), pictureBytes(1000));
    QCOMPARE(second->bytes(), QByteArray());
    QCOMPARE(stage.server.accepted, 1);
}

void RemoteImagesTest::budget()
{
    Stage stage(4);
    stage.budget->pictures = 3;
    stage.budget->bytes = 2000; // enough for one
    setIntSetting(Setting::ImageFetchConcurrency, 1);
    std::vector<RemoteImageRequest *> requests;
    for (int i = 0; i < 4; ++i)
        requests.push_back(stage.ask(i));
    QTRY_VERIFY(std::all_of(requests.begin(), requests.end(), [](auto *each) { return each->isFinished(); }));
    QCOMPARE(requests[0]->problem(), QString());
    QCOMPARE(requests[1]->problem(), u"The pictures of the message are too large"_s);
    QCOMPARE(requests[3]->problem(), u"The message has too many pictures"_s);
    QVERIFY(requests[1]->bytes().isEmpty() && requests[2]->bytes().isEmpty());
}

void RemoteImagesTest::budgetsOfTwoMessages()
{
    Stage stage;
    const auto poor = std::make_shared<RemoteImageBudget>(RemoteImageBudget{200, 500});
    const RemoteImageRequest *without = stage.images.fetch(stage.url(0), poor, &stage.asker);
    const RemoteImageRequest *with = stage.ask(0);
    QTRY_VERIFY(with->isFinished());
    QCOMPARE(with->bytes(), pictureBytes(1000));
    QVERIFY(without->isFinished() && without->bytes().isEmpty());
    QCOMPARE(stage.server.accepted, 1);
}

void RemoteImagesTest::answersDestroyTheirRequest()
{
    Stage stage;
    std::vector<QPointer<RemoteImageRequest>> requests;
    for (int i = 0; i < 3; ++i)
        requests.emplace_back(stage.ask(0));
    int finished = 0;
    for (const auto &request : requests) {
        connect(request, &RemoteImageRequest::finished, this, [&] {
            ++finished;
            for (const auto &each : requests)
                delete each;
        });
    }
    QTRY_COMPARE(finished, 1);
    QTRY_COMPARE(stage.images.running(), 0);
    QTest::qWait(0);
    QCOMPARE(finished, 1);
}

void RemoteImagesTest::senders()
{
    const Scratch scratch;
    ImageSenders senders;
    const QSignalSpy changed(&senders, &ImageSenders::changed);
    QVERIFY(senders.add(u" Ada@Example.ORG "_s));
    QVERIFY(senders.add(u"B\u00fccher@example.org"_s));
    QVERIFY(!senders.add(u"ada@example.org"_s));
    for (const QString &wrong : {u""_s, u"ada"_s, u"@example.org"_s, u"ada@"_s, u"end"_s, u"a@b\nend"_s,
                                 u"a@\u2028b"_s, QString(400, u'a') + u"@b"_s})
        QVERIFY(!senders.add(wrong) && !senders.contains(wrong));
    QVERIFY(senders.contains(u"ADA@example.org"_s));
    QVERIFY(!senders.contains(u"bob@example.org"_s));
    QCOMPARE(senders.list(), (QStringList{u"ada@example.org"_s, u"b\u00fccher@example.org"_s}));
    QVERIFY(senders.remove(u"Ada@example.org"_s));
    QVERIFY(!senders.remove(u"Ada@example.org"_s));
    QCOMPARE(senders.list().size(), 1);
    QCOMPARE(changed.size(), 3);
}

void RemoteImagesTest::sendersFile()
{
    Scratch scratch;
    QVERIFY(createStoreDirectories());
    const QString path = configPathOf(u"ImageSenders"_s);
    ImageSenders senders;
    senders.load();
    QVERIFY(senders.save());
    QVERIFY(!QFile::exists(path)); // nothing to say
    QVERIFY(senders.add(u"zoe@example.org"_s) && senders.add(u"Ada@example.org"_s));
    QVERIFY(senders.save());
    QCOMPARE(Scratch::read(path), QByteArray("ada@example.org\nzoe@example.org\nend\n"));

    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("Bob@example.org\nno address\n\nend\n");
    file.close();
    ImageSenders again;
    again.load();
    QCOMPARE(again.list(), QStringList{u"bob@example.org"_s});
    QCOMPARE(scratch.notes.size(), 2);

    QVERIFY(QFile::remove(path) && QDir().mkdir(path));
    ImageSenders blind;
    blind.load();
    QCOMPARE(scratch.reports, QStringList{u"Unable to read image senders file"_s});
    QVERIFY(blind.add(u"a@example.org"_s) && !blind.save());
    QCOMPARE(scratch.reports.last(), u"Unable to write image senders file"_s);
}

QTEST_GUILESS_MAIN(RemoteImagesTest)
#include "remoteimages_test.moc"
