#include "engine/drafts.h"

#include "config/clock.h"
#include "engine/draftjournal.h"
#include "identity/identitymanager.h"
#include "message/message.h"
#include "store/groupstore.h"
#include "support/mail.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QDir>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <optional>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// Everything that drafts need, as one run of the program has it.
struct Run
{
    Run()
    {
        if (!store.load() || !identities.load())
            qFatal("the test cannot load the store");
        if (identities.all().empty()) {
            Identity ada;
            ada.name = u"Ada"_s;
            ada.address = u"ada@example.org"_s;
            identities.add(ada);
        }
        drafts.load();
    }
    ~Run()
    {
        if (!store.close() || !identities.save())
            qFatal("the test cannot save the store");
    }

    Group &group(GroupRole role = GroupRole::Drafts) { return *store.group(role); }

    Articles articles()
    {
        Articles alive;
        for (int row = 0; row < group().rowCount(); ++row) {
            if (!group().row(row).isDead())
                alive.push_back(group().row(row).article());
        }
        return alive;
    }

    Message message(quint32 article) { return Message(group().readMessage(*group().overview(article))); }

    MessageRef stored(int draft) { return drafts.context(draft).stored; }

    GroupStore store;
    IdentityManager identities;
    Drafts drafts{store, identities};
};

Composition saying(const QString &text)
{
    Composition composition;
    composition.identity.number = 1;
    composition.identity.name = u"Ada"_s;
    composition.identity.address = u"ada@example.org"_s;
    composition.to = u"bob@example.org"_s;
    composition.subject = u"Lunch"_s;
    composition.text = text;
    return composition;
}

QString directoryOf(int draft)
{
    return configPathOf(u"Drafts/%1"_s.arg(draft));
}

QStringList attachmentFiles(int draft)
{
    return QDir(directoryOf(draft) + u"/Attachments"_s).entryList(QDir::Files);
}

/// No file of this process may grow beyond @p bytes for as long as it lives: a full disk.
class FullDisk
{
public:
    explicit FullDisk(rlim_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit = {bytes, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() { ::setrlimit(RLIMIT_FSIZE, &m_before); }

private:
    rlimit m_before = {};
};

/// Lets a process do @p deed, which tells numbers, and kills it after a while; the last number it told.
template <typename Deed>
int lastBeforeKill(int microseconds, Deed deed)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        qFatal("the test has no pipe");
    const pid_t child = ::fork();
    if (child == 0) {
        deed([&](int number) { return ::write(ends[1], &number, sizeof number) == ssize_t(sizeof number); });
        ::_exit(0);
    }
    ::close(ends[1]);
    int last = 0;
    int number = 0;
    bool killed = false;
    QElapsedTimer clock;
    clock.start();
    while (::read(ends[0], &number, sizeof number) == ssize_t(sizeof number)) {
        last = number;
        if (!killed && clock.nsecsElapsed() > microseconds * qint64(1000)) {
            ::kill(child, SIGKILL);
            killed = true;
        }
    }
    ::close(ends[0]);
    ::waitpid(child, nullptr, 0);
    return last;
}

} // namespace

class DraftsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }

    void everyFieldComesBack();
    void onlyChangesAreVersions();
    void theLastFiftyStay();
    void anAttachmentIsStoredOnce();
    void aLostAttachmentIsToldOf();
    void numbersAreNeverGivenTwice();

    void afterTheEndOfARun_data();
    void afterTheEndOfARun();
    void storingTakesThePlaceOfTheEarlier();
    void openingFindsTheVersionsAgain();
    void openingAForeignMessage();
    void closingGoesBackToWhatIsStored();
    void discardingLeavesNothing();
    void whatWasTakenBackIsNotDiscarded();

    void aFullDiskKeepsTheOldDraft();
    void cutAnywhereTheWholeVersionsStay();
    void damageTakesOneVersion();
    void aLostStateOpensTheDraft();
    void killedWhileKeeping();
    void killedWhileStoring();
};

void DraftsTest::everyFieldComesBack()
{
    const Scratch scratch;
    Composition all =
        saying(u"Line one\nwith \"quotes\", a tab\t, a backslash \\n and \u20ac\n\n-- \nAda\n"_s);
    all.cc = u"\"Carol, the \\\"first\\\"\" <carol@example.org>"_s;
    all.bcc = u"dora@example.org"_s;
    all.replyTo = u"other@example.org"_s;
    all.newsgroups = u"misc.test"_s;
    all.followupTo = u"poster"_s;
    all.mailFollowupTo = u"list@example.org"_s;
    all.distribution = u"local"_s;
    all.inReplyTo = "<1@example.org>";
    all.references = "<0@example.org> <1@example.org>";
    all.supersedes = "<2@example.org>";
    all.extra = {{u"X-One"_s, u"a\tb"_s}, {u"X-Two"_s, QString()}};
    all.html = u"<p>Line one</p>\n<p>end\nversion 1 1 1 1 1 1</p>"_s;
    all.attachments = {{u"a name\twith a tab.png"_s, "image/png", QByteArray("\0\x89PNG\n", 6), {}},
                       {u"inline.gif"_s, "image/gif", "GIF89a", "1@picture"}};
    all.attachmentForm = AttachmentForm::Yenc;
    all.charset = "ISO-8859-15";
    all.importance = Importance::High;
    all.receipt = all.archiveRefused = all.sign = all.encrypt = true;
    all.wrap = false;
    {
        Run run;
        QVERIFY(run.drafts.keep(run.drafts.begin({}), all));
    }
    Run run;
    const std::vector<int> open = run.drafts.recovered();
    QCOMPARE(open.size(), std::size_t(1));
    const Composition back = run.drafts.version(open[0], 0);
    QCOMPARE(back.identity, *run.identities.identity(1));
    for (const auto field :
         {&Composition::to, &Composition::cc, &Composition::bcc, &Composition::replyTo,
          &Composition::newsgroups, &Composition::followupTo, &Composition::mailFollowupTo,
          &Composition::distribution, &Composition::subject, &Composition::text, &Composition::html})
        QCOMPARE(back.*field, all.*field);
    for (const auto field :
         {&Composition::inReplyTo, &Composition::references, &Composition::supersedes, &Composition::charset})
        QCOMPARE(back.*field, all.*field);
    for (const auto field : {&Composition::receipt, &Composition::archiveRefused, &Composition::sign,
                             &Composition::encrypt, &Composition::wrap})
        QCOMPARE(back.*field, all.*field);
    QCOMPARE(back.importance, all.importance);
    QCOMPARE(back.attachmentForm, all.attachmentForm);
    QCOMPARE(back.extra.size(), 2);
    QCOMPARE(back.extra[0].value, u"a\tb"_s);
    QCOMPARE(back.extra[1].name, u"X-Two"_s);
    QCOMPARE(back.attachments.size(), 2);
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(back.attachments[i].name, all.attachments[i].name);
        QCOMPARE(back.attachments[i].contentType, all.attachments[i].contentType);
        QCOMPARE(back.attachments[i].data, all.attachments[i].data);
        QCOMPARE(back.attachments[i].contentId, all.attachments[i].contentId);
    }
    QCOMPARE(scratch.reports, QStringList());
    QCOMPARE(scratch.notes, QStringList());
}

void DraftsTest::onlyChangesAreVersions()
{
    const Scratch scratch;
    qint64 now = 1'795'176'000'000;
    const ClockOverride clock([&now] { return now; });
    Run run;
    const int draft = run.drafts.begin({});
    QVERIFY(run.drafts.keep(draft, saying(u"one"_s)));
    QVERIFY(run.drafts.keep(draft, saying(u"one"_s)));
    now += 2000;
    QVERIFY(run.drafts.keep(draft, saying(u"one\n  two"_s)));
    const std::vector<DraftVersion> versions = run.drafts.versions(draft);
    QCOMPARE(versions.size(), std::size_t(2));
    const DraftVersion newest{1'795'176'002, 9, u"Lunch"_s, u"one two"_s};
    QCOMPARE(versions[0], newest);
    QCOMPARE(run.drafts.version(draft, 1).text, u"one"_s);
    QCOMPARE(run.drafts.version(draft, 2).text, QString()); // there is none
    QCOMPARE(run.drafts.version(draft, -1).text, QString());
    QVERIFY(!run.drafts.keep(draft + 1, saying(u"nobody's"_s)));
}

void DraftsTest::theLastFiftyStay()
{
    const Scratch scratch;
    const QString longText = u"A text that is long enough to be compressed. "_s.repeated(2000);
    {
        Run run;
        const int draft = run.drafts.begin({});
        for (int i = 1; i <= 230; ++i) {
            Composition composition = saying(QString::number(i) + (i % 7 == 0 ? longText : QString()));
            if (i <= 10 || i == 229)
                composition.attachments = {{u"a"_s, "text/plain", QByteArray::number(i % 2), {}}};
            QVERIFY(run.drafts.keep(draft, composition));
        }
        QCOMPARE(run.drafts.versions(draft).size(), std::size_t(DraftJournal::kMost));
    }
    Run run;
    const int draft = run.drafts.recovered().at(0);
    QCOMPARE(run.drafts.versions(draft).size(), std::size_t(50));
    for (int i = 0; i < 50; ++i) {
        const int number = 230 - i;
        const QString text = run.drafts.version(draft, i).text;
        QCOMPARE(text, QString::number(number) + (number % 7 == 0 ? longText : QString()));
    }
    QCOMPARE(attachmentFiles(draft).size(), 1); // those of the first ten are named by nothing any more
    QVERIFY(Scratch::read(directoryOf(draft) + u"/Earlier"_s).count("\nversion ") < 50);
    QVERIFY(Scratch::read(directoryOf(draft) + u"/Versions"_s).count("\nversion ") < 50);
}

void DraftsTest::anAttachmentIsStoredOnce()
{
    const Scratch scratch;
    Run run;
    const int draft = run.drafts.begin({});
    const QByteArray data(100'000, 'x');
    Composition composition = saying(u"one"_s);
    composition.attachments = {{u"a.bin"_s, "application/octet-stream", data, {}}};
    QVERIFY(run.drafts.keep(draft, composition));
    composition.text = u"two"_s;
    composition.attachments.append({u"b.bin"_s, "application/octet-stream", QByteArray(100'000, 'x'), {}});
    QVERIFY(run.drafts.keep(draft, composition));
    QCOMPARE(attachmentFiles(draft).size(), 1);
    QVERIFY(QFileInfo(directoryOf(draft) + u"/Versions"_s).size() < 5000);
    QCOMPARE(run.drafts.version(draft, 0).attachments[1].data, data);
}

void DraftsTest::aLostAttachmentIsToldOf()
{
    Scratch scratch;
    Run run;
    const int draft = run.drafts.begin({});
    Composition composition = saying(u"one"_s);
    composition.attachments = {{u"lost.bin"_s, "a/b", "lost", {}}, {u"kept.bin"_s, "a/b", "kept", {}}};
    QVERIFY(run.drafts.keep(draft, composition));
    for (const QString &name : attachmentFiles(draft)) {
        QFile file(directoryOf(draft) + u"/Attachments/"_s + name);
        QVERIFY(file.open(QIODevice::ReadWrite));
        if (file.readAll() == "lost") {
            file.seek(0);
            file.write("LOST"); // as long, but something else
        }
    }
    const Composition back = run.drafts.version(draft, 0);
    QCOMPARE(back.attachments.size(), 1);
    QCOMPARE(back.attachments[0].data, QByteArray("kept"));
    QCOMPARE(scratch.reports, QStringList(u"Unable to attach file 'lost.bin'"_s));
}

void DraftsTest::numbersAreNeverGivenTwice()
{
    const Scratch scratch;
    QSet<int> given;
    for (int start = 0; start < 4; ++start) {
        Run run;
        for (int i = 0; i < 60; ++i) {
            const int draft = run.drafts.begin({});
            QVERIFY(draft > 0 && !given.contains(draft));
            given.insert(draft);
            if (i % 20 == 0)
                QVERIFY(run.drafts.keep(draft, saying(u"x"_s)));
            run.drafts.discard(draft);
        }
    }
}

void DraftsTest::afterTheEndOfARun_data()
{
    QTest::addColumn<std::function<void(Run &, int)>>("deed");
    QTest::addColumn<int>("recovered");
    QTest::addColumn<int>("inDrafts");
    QTest::addColumn<bool>("hasFiles");
    using Deed = std::function<void(Run &, int)>;
    const QByteArray id = "<sent@example.org>";
    const auto wait = [id](Run &run) {
        run.store.add(run.group(GroupRole::Outbox), Message(mailText("sent@example.org", "Lunch")), {}, 0, 1);
    };
    QTest::newRow("nothing was written") << Deed() << 0 << 0 << false;
    QTest::newRow("kept") << Deed([](Run &run, int draft) { run.drafts.keep(draft, saying(u"x"_s)); }) << 1
                          << 0 << true;
    QTest::newRow("kept, closed") << Deed([](Run &run, int draft) {
        run.drafts.keep(draft, saying(u"x"_s));
        run.drafts.close(draft);
    }) << 0 << 0 << false;
    QTest::newRow("stored, not closed") << Deed([](Run &run, int draft) {
        run.drafts.keep(draft, saying(u"x"_s));
        run.drafts.store(draft);
    }) << 0 << 1 << true;
    QTest::newRow("stored, then written on") << Deed([](Run &run, int draft) {
        run.drafts.keep(draft, saying(u"x"_s));
        run.drafts.store(draft);
        run.drafts.keep(draft, saying(u"y"_s));
    }) << 1 << 1 << true;
    QTest::newRow("stored, closed") << Deed([](Run &run, int draft) {
        run.drafts.keep(draft, saying(u"x"_s));
        run.drafts.store(draft);
        run.drafts.close(draft);
    }) << 0 << 1 << true;
    QTest::newRow("stored, its message deleted by the user") << Deed([](Run &run, int draft) {
        run.drafts.keep(draft, saying(u"x"_s));
        run.drafts.store(draft);
        run.drafts.close(draft);
        run.store.deleteMessages(run.group(), run.articles(), true);
    }) << 0 << 0 << false;
    QTest::newRow("about to be handed over, and did not arrive") << Deed([id](Run &run, int draft) {
        run.drafts.keep(draft, saying(u"x"_s));
        run.drafts.handOver(draft, id);
    }) << 1 << 0 << true;
    QTest::newRow("about to be handed over, and arrived") << Deed([id, wait](Run &run, int draft) {
        run.drafts.keep(draft, saying(u"x"_s));
        run.drafts.handOver(draft, id);
        wait(run);
    }) << 0 << 0 << true;
    QTest::newRow("waits in the outbox, window closed") << Deed([id, wait](Run &run, int draft) {
        run.drafts.keep(draft, saying(u"x"_s));
        run.drafts.handOver(draft, id);
        wait(run);
        run.drafts.handedOver(draft);
        run.drafts.close(draft);
    }) << 0 << 0 << true;
    QTest::newRow("went through the outbox, which could not tell any more")
        << Deed([id](Run &run, int draft) {
               run.drafts.keep(draft, saying(u"x"_s));
               run.drafts.handOver(draft, id);
               run.drafts.handedOver(draft);
           })
        << 0 << 0 << false;
    QTest::newRow("the outbox refused it") << Deed([id](Run &run, int draft) {
        run.drafts.keep(draft, saying(u"x"_s));
        run.drafts.handOver(draft, id);
        run.drafts.handOverFailed(draft);
    }) << 1 << 0 << true;
}

void DraftsTest::afterTheEndOfARun()
{
    QFETCH(std::function<void(Run &, int)>, deed);
    QFETCH(int, recovered);
    QFETCH(int, inDrafts);
    QFETCH(bool, hasFiles);
    const Scratch scratch;
    int draft = 0;
    {
        Run run;
        draft = run.drafts.begin({});
        if (deed)
            deed(run, draft);
    }
    for (int start = 0; start < 2; ++start) { // what the first start settles, the second one finds settled
        Run run;
        QCOMPARE(int(run.drafts.recovered().size()), recovered);
        QCOMPARE(int(run.articles().size()), inDrafts);
        QCOMPARE(QFileInfo::exists(directoryOf(draft)), hasFiles);
    }
    QCOMPARE(scratch.reports, QStringList());
}

void DraftsTest::storingTakesThePlaceOfTheEarlier()
{
    const Scratch scratch;
    Run run;
    const MessageRef original{run.group(GroupRole::Inbox).number(), 7};
    const int draft = run.drafts.begin({original, DraftContext::Deed::Reply, {}});
    QVERIFY(!run.drafts.store(draft)); // nothing to store
    QVERIFY(run.drafts.keep(draft, saying(u"one"_s)));
    QVERIFY(run.drafts.store(draft));
    const Articles first = run.articles();
    QCOMPARE(first.size(), std::size_t(1));
    QVERIFY(run.group().overview(first[0])->has(Mark::Read));
    QVERIFY(run.drafts.store(draft)); // nothing new
    QCOMPARE(run.articles(), first);

    QVERIFY(run.group().setMarks(first, Mark::Flagged, {}));
    QVERIFY(run.group().setTags(first, 4, 0));
    QVERIFY(run.drafts.keep(draft, saying(u"two\u00e9"_s)));
    QVERIFY(run.drafts.store(draft));
    const Articles second = run.articles();
    QCOMPARE(second.size(), std::size_t(1));
    QVERIFY(second[0] > first[0]);
    const MessageRef place{run.group().number(), second[0]};
    QCOMPARE(run.stored(draft), place);
    QCOMPARE(run.drafts.context(draft).original, original);
    QVERIFY(run.group().overview(second[0])->has(Mark::Flagged));
    QCOMPARE(run.group().overview(second[0])->tags(), 4u);
    QCOMPARE(run.message(second[0]).subject(), u"Lunch"_s);
    QCOMPARE(run.message(second[0]).to(), u"bob@example.org"_s);
}

void DraftsTest::openingFindsTheVersionsAgain()
{
    const Scratch scratch;
    Run run;
    const int draft = run.drafts.begin({});
    for (const QString &text : {u"one"_s, u"two"_s})
        QVERIFY(run.drafts.keep(draft, saying(text)));
    QVERIFY(run.drafts.store(draft));
    run.drafts.close(draft);
    QCOMPARE(run.drafts.open(run.stored(draft)), draft);
    QCOMPARE(run.drafts.versions(draft).size(), std::size_t(2));
    run.drafts.close(draft);

    // Deleted and brought back: another article of the same draft.
    Group &basket = run.group(GroupRole::WasteBasket);
    const Articles there = run.store.move(run.group(), run.articles(), basket);
    QCOMPARE(run.drafts.open({basket.number(), there[0]}), 0); // no draft while it lies there
    const Articles back = run.store.move(basket, there, run.group());
    QCOMPARE(run.drafts.open({run.group().number(), back[0]}), draft);
    QCOMPARE(run.drafts.versions(draft).size(), std::size_t(2));

    // A copy of it is another one.
    const Articles copy = run.store.copy(run.group(), back, run.group());
    const int other = run.drafts.open({run.group().number(), copy[0]});
    QVERIFY(other != 0 && other != draft);
    QCOMPARE(run.drafts.open({run.group().number(), 4711}), 0);
}

void DraftsTest::openingAForeignMessage()
{
    const Scratch scratch;
    Run run;
    const quint32 article = run.store.add(
        run.group(), Message(mailText("foreign@example.com", "From elsewhere", "Cc: carol@example.org\n")),
        {}, 0, 1);
    const int draft = run.drafts.open({run.group().number(), article});
    QVERIFY(draft > 0);
    const Composition composition = run.drafts.version(draft, 0);
    QCOMPARE(composition.subject, u"From elsewhere"_s);
    QCOMPARE(composition.cc, u"carol@example.org"_s);
    QCOMPARE(composition.text.trimmed(), u"Hello"_s);
    QCOMPARE(composition.identity.number, 1);
    Composition changed = composition;
    changed.text = u"Goodbye"_s;
    QVERIFY(run.drafts.keep(draft, changed));
    QVERIFY(run.drafts.store(draft));
    QCOMPARE(run.articles().size(), std::size_t(1)); // in its place
    QVERIFY(run.articles()[0] != article);
}

void DraftsTest::closingGoesBackToWhatIsStored()
{
    const Scratch scratch;
    Run run;
    const int draft = run.drafts.begin({});
    QVERIFY(run.drafts.keep(draft, saying(u"stored"_s)));
    QVERIFY(run.drafts.store(draft));
    QVERIFY(run.drafts.keep(draft, saying(u"given up"_s)));
    run.drafts.close(draft);
    QCOMPARE(run.drafts.open(run.stored(draft)), draft);
    QCOMPARE(run.drafts.version(draft, 0).text, u"stored"_s);
    QCOMPARE(run.drafts.version(draft, 1).text, u"given up"_s); // still to be had
    QCOMPARE(run.articles().size(), std::size_t(1));
}

void DraftsTest::discardingLeavesNothing()
{
    const Scratch scratch;
    Run run;
    const int draft = run.drafts.begin({});
    Composition composition = saying(u"x"_s);
    composition.attachments = {{u"a"_s, "a/b", "data", {}}};
    QVERIFY(run.drafts.keep(draft, composition));
    QVERIFY(run.drafts.store(draft));
    run.drafts.discard(draft);
    run.drafts.discard(draft); // twice is once
    QCOMPARE(run.articles(), Articles());
    QVERIFY(!QFileInfo::exists(directoryOf(draft)));
    QVERIFY(run.drafts.recovered().empty());
    QVERIFY(run.drafts.versions(draft).empty());
}

void DraftsTest::whatWasTakenBackIsNotDiscarded()
{
    const Scratch scratch;
    Run run;
    const int draft = run.drafts.begin({});
    QVERIFY(run.drafts.keep(draft, saying(u"x"_s)));
    QCOMPARE(run.drafts.takenBack("<a@example.org>"), 0);
    run.drafts.handOver(draft, "<a@example.org>");
    run.drafts.handedOver(draft);
    QVERIFY(run.drafts.recovered().empty());
    QCOMPARE(run.drafts.takenBack("<b@example.org>"), 0);
    QCOMPARE(run.drafts.takenBack("<a@example.org>"), draft);
    run.drafts.settled(draft); // some had been served: the outbox has filed that
    QCOMPARE(run.drafts.version(draft, 0).text, u"x"_s);
    run.drafts.handOver(draft, "<c@example.org>");
    run.drafts.handedOver(draft);
    run.drafts.settled(draft);
    QVERIFY(run.drafts.versions(draft).empty());
}

void DraftsTest::aFullDiskKeepsTheOldDraft()
{
    Scratch scratch;
    Run run;
    const int draft = run.drafts.begin({});
    QVERIFY(run.drafts.keep(draft, saying(u"safe"_s)));
    QVERIFY(run.drafts.store(draft));
    const Articles before = run.articles();
    const QByteArray journal = Scratch::read(directoryOf(draft) + u"/Versions"_s);
    {
        const FullDisk full(rlim_t(journal.size()) + 100); // room for the beginning of a version
        QVERIFY(!run.drafts.keep(draft, saying(u"lost"_s.repeated(100))));
        Composition composition = saying(u"with a file"_s);
        composition.attachments = {{u"large"_s, "a/b", QByteArray(50'000, 'x'), {}}};
        QVERIFY(!run.drafts.keep(draft, composition));
    }
    const QString report = u"Unable to write file '%1/Versions'"_s.arg(directoryOf(draft));
    QCOMPARE(scratch.reports, QStringList({report, report}));
    QCOMPARE(Scratch::read(directoryOf(draft) + u"/Versions"_s), journal);
    QCOMPARE(attachmentFiles(draft), QStringList());
    QCOMPARE(run.drafts.version(draft, 0).text, u"safe"_s);

    scratch.reports.clear();
    QRandomGenerator random(1);
    QString noise; // nothing that would become small
    for (int i = 0; i < 30'000; ++i)
        noise += i % 70 == 69 ? u'\n' : QChar(random.bounded(33, 127));
    QVERIFY(run.drafts.keep(draft, saying(noise)));
    {
        const FullDisk full(8000);
        QVERIFY(!run.drafts.store(draft));
        QVERIFY(!scratch.reports.isEmpty());
        QCOMPARE(run.articles(), before);
    }
    QVERIFY(run.drafts.store(draft)); // there is room again
    QCOMPARE(run.articles().size(), std::size_t(1));
    QVERIFY(run.articles() != before);
}

void DraftsTest::cutAnywhereTheWholeVersionsStay()
{
    const Scratch scratch;
    const QString directory = scratch.path(u"journal"_s);
    QVERIFY(QDir().mkpath(directory));
    QList<qint64> ends;
    {
        DraftJournal journal(directory);
        for (int i = 1; i <= 4; ++i) {
            const DraftVersion version{i, i, u"Subject\n%1"_s.arg(i), u"\tBeginning"_s};
            QVERIFY(journal.append(version, {"aa", "bb"}, "text " + QByteArray::number(i) + '\n'));
            ends += QFileInfo(directory + u"/Versions"_s).size();
        }
    }
    const QString path = directory + u"/Versions"_s;
    const QByteArray whole = Scratch::read(path);
    for (qsizetype size = whole.size(); size >= 0; --size) {
        QVERIFY(QFile::resize(path, size));
        const auto fit = std::count_if(ends.begin(), ends.end(), [size](qint64 end) { return end <= size; });
        DraftJournal journal(directory);
        QCOMPARE(qsizetype(journal.entries().size()), fit);
        for (const DraftJournal::Entry &entry : journal.entries()) {
            QCOMPARE(entry.version.subject, u"Subject\n%1"_s.arg(entry.serial));
            QCOMPARE(entry.contents, QList<QByteArray>({"aa", "bb"}));
            QCOMPARE(journal.text(entry).value_or(QByteArray()),
                     "text " + QByteArray::number(entry.serial) + '\n');
        }
    }
    // It is written on behind what is whole.
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.write(whole.first(ends[2] + 9)) > 0);
    file.close();
    DraftJournal journal(directory);
    QVERIFY(journal.append({5, 5, {}, {}}, {}, "five"));
    const DraftJournal again(directory);
    QCOMPARE(again.entries().size(), std::size_t(4));
    QCOMPARE(again.text(again.entries().back()).value_or(QByteArray()), QByteArray("five"));
}

void DraftsTest::damageTakesOneVersion()
{
    Scratch scratch;
    const QString directory = scratch.path(u"journal"_s);
    QVERIFY(QDir().mkpath(directory));
    {
        DraftJournal journal(directory);
        for (int i = 1; i <= 3; ++i)
            QVERIFY(
                journal.append({i, i, {}, {}}, {}, "text\nversion 9 9 9 9 9 9\n" + QByteArray::number(i)));
    }
    const QString path = directory + u"/Versions"_s;
    const QByteArray whole = Scratch::read(path);
    for (qsizetype at = 0; at < whole.size(); ++at) {
        QByteArray damaged = whole;
        damaged[at] = char(damaged[at] ^ 0x11);
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(damaged) == damaged.size());
        file.close();
        const DraftJournal journal(directory);
        QCOMPARE(journal.entries().size(), std::size_t(2));
        for (const DraftJournal::Entry &entry : journal.entries())
            QVERIFY(journal.text(entry)->endsWith(QByteArray::number(entry.serial)));
    }
    QVERIFY(!scratch.notes.isEmpty());
    QVERIFY(scratch.notes[0].startsWith(u"A version of a draft is damaged at byte 0 of "_s));
}

void DraftsTest::aLostStateOpensTheDraft()
{
    Scratch scratch;
    int draft = 0;
    {
        Run run;
        draft = run.drafts.begin({});
        QVERIFY(run.drafts.keep(draft, saying(u"x"_s)));
        QVERIFY(run.drafts.store(draft));
        run.drafts.close(draft);
    }
    QVERIFY(QFile::resize(directoryOf(draft) + u"/State"_s, 0));
    Run run;
    QCOMPARE(run.drafts.recovered(), std::vector<int>{draft});
    QCOMPARE(run.drafts.version(draft, 0).text, u"x"_s);
    QCOMPARE(scratch.notes, QStringList(u"The state of draft %1 is lost; it is opened again"_s.arg(draft)));
}

void DraftsTest::killedWhileKeeping()
{
    QRandomGenerator random(20261122);
    const QString padding = u"so much text that writing takes a moment "_s.repeated(500);
    for (int round = 0; round < 25; ++round) {
        const Scratch scratch;
        {
            const Run made;
        }
        const int last = lastBeforeKill(random.bounded(1000, 40'000), [&](auto tell) {
            Run run;
            const int draft = run.drafts.begin({});
            for (int i = 1; i < 100'000; ++i) {
                Composition composition = saying(QString::number(i) + u' ' + padding);
                composition.attachments = {{u"a"_s, "a/b", QByteArray::number(i / 3), {}}};
                if (!run.drafts.keep(draft, composition) || !tell(i))
                    return;
            }
        });
        QVERIFY(last > 0);
        Run run;
        const std::vector<int> open = run.drafts.recovered();
        QCOMPARE(open.size(), std::size_t(1));
        const Composition newest = run.drafts.version(open[0], 0);
        const int number = newest.text.section(u' ', 0, 0).toInt();
        QVERIFY2(number == last || number == last + 1, qPrintable(u"%1 after %2"_s.arg(number).arg(last)));
        QVERIFY(newest.text.endsWith(padding));
        QCOMPARE(newest.attachments.value(0).data, QByteArray::number(number / 3));
        QCOMPARE(int(run.drafts.versions(open[0]).size()), qMin(number, 50));
        QCOMPARE(scratch.reports, QStringList());
    }
}

void DraftsTest::killedWhileStoring()
{
    QRandomGenerator random(20261123);
    for (int round = 0; round < 25; ++round) {
        const Scratch scratch;
        {
            const Run made;
        }
        const int last = lastBeforeKill(random.bounded(1000, 40'000), [&](auto tell) {
            Run run;
            const int draft = run.drafts.begin({});
            for (int i = 1; i < 100'000; ++i) {
                if (!run.drafts.keep(draft, saying(QString::number(i))) || !run.drafts.store(draft) ||
                    !tell(i))
                    return;
            }
        });
        QVERIFY(last > 0);
        Run run;
        const Articles articles = run.articles();
        QCOMPARE(articles.size(), std::size_t(1));
        const int number = QString::fromLatin1(run.message(articles[0]).body().toByteArray()).toInt();
        QVERIFY2(number == last || number == last + 1, qPrintable(u"%1 after %2"_s.arg(number).arg(last)));
        const int draft = run.drafts.open({run.group().number(), articles[0]});
        QVERIFY(draft > 0);
        QVERIFY(run.drafts.version(draft, 0).text.toInt() >= last); // with its versions, not from its text
        QCOMPARE(int(run.drafts.versions(draft).size()), qMin(run.drafts.version(draft, 0).text.toInt(), 50));
        QCOMPARE(scratch.reports, QStringList());
    }
}

QTEST_GUILESS_MAIN(DraftsTest)
#include "drafts_test.moc"
