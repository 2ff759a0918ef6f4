#include "draftsattest.h"
#include "engine/draftjournal.h"
#include "support/memory.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

// The versions of drafts, whatever happens to the program or the disk.

namespace {

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
    void largeAttachmentsAreStoredInSlices();
    void aLostAttachmentIsToldOf();
    void aVersionIsLookedAtByItsSerial();
    void whoWroteIsToldWhenItIsNobodyAnyMore();
    void numbersAreNeverGivenTwice();
    void aFullDiskKeepsTheOldDraft();
    void onAFullDiskKeepingSoonTellsItsWindowAlone();
    void whatCannotBeReadIsSetAside_data();
    void whatCannotBeReadIsSetAside();
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
    const DraftVersion newest{1'795'176'002, 9, u"Lunch"_s, u"one two"_s, 2};
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

/// Whatever is attached, nothing waits long for it; and it is on the disk when that is said.
void DraftsTest::largeAttachmentsAreStoredInSlices()
{
    const Scratch scratch;
    Run run;
    const int draft = run.drafts.begin({});
    QByteArray large(20'000'000, 'x');
    for (qsizetype i = 0; i < large.size(); i += 4096)
        large[i] = char(i >> 12);
    Composition composition = saying(u"one"_s);
    composition.attachments = {{u"large.bin"_s, "a/b", large, {}}, {u"small.bin"_s, "a/b", "small", {}}};
    QSignalSpy kept(&run.drafts, &Drafts::kept);
    QSignalSpy keeping(&run.drafts, &Drafts::keeping);
    run.drafts.keepSoon(draft, composition);
    QVERIFY(run.drafts.isKeeping(draft) && kept.isEmpty());
    composition.text = u"two"_s; // written meanwhile
    run.drafts.keepSoon(draft, composition);
    int slices = 0;
    for (; kept.isEmpty(); ++slices)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QVERIFY2(slices > 20, qPrintable(QString::number(slices)));
    QVERIFY(kept.at(0).at(1).toBool() && !run.drafts.isKeeping(draft));
    QCOMPARE(keeping.last().at(1), keeping.last().at(2));
    QCOMPARE(run.drafts.versions(draft).size(), std::size_t(1));
    QCOMPARE(run.drafts.version(draft, 0).text, u"two"_s);
    QCOMPARE(run.drafts.version(draft, 0).attachments.value(0).data, large);

    // Taken off again before it was stored: nobody waits for it, and nothing is left of it.
    composition.attachments = {{u"other.bin"_s, "a/b", large + large, {}}};
    run.drafts.keepSoon(draft, composition);
    for (int i = 0; i < 40; ++i)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QVERIFY(run.drafts.isKeeping(draft));
    composition.attachments.clear();
    run.drafts.keepSoon(draft, composition);
    QCOMPARE(kept.size(), 2);
    QCOMPARE(attachmentFiles(draft).size(), 2); // of the earlier version
}

void DraftsTest::aLostAttachmentIsToldOf()
{
    Scratch scratch;
    int draft = 0;
    MessageRef stored;
    Composition composition = saying(u"one"_s);
    composition.attachments = {{u"lost.bin"_s, "a/b", "lost", {}}, {u"kept.bin"_s, "a/b", "kept", {}}};
    {
        Run run;
        draft = run.drafts.begin({});
        QVERIFY(run.drafts.keep(draft, composition) && run.drafts.store(draft));
        composition.text = u"two"_s;
        QVERIFY(run.drafts.keep(draft, composition));
        stored = run.stored(draft);
    }
    for (const QString &name : attachmentFiles(draft)) {
        QFile file(directoryOf(draft) + u"/Attachments/"_s + name);
        QVERIFY(file.open(QIODevice::ReadWrite));
        if (file.readAll() == "lost") {
            file.seek(0);
            file.write("LOST"); // as long, but something else
        }
    }
    Run run;
    const int serial = run.drafts.versions(draft).at(0).serial;
    QCOMPARE(run.drafts.reading(draft, serial).lost, QStringList(u"lost.bin"_s));
    QCOMPARE(scratch.reports, QStringList());
    const Composition back = run.drafts.version(draft, 0);
    QCOMPARE(back.attachments.size(), 1);
    QCOMPARE(back.attachments[0].data, QByteArray("kept"));
    QVERIFY(!run.drafts.store(draft)); // in the place of the message that has it
    QCOMPARE(run.stored(draft), stored);
    const QString report = u"Unable to attach file 'lost.bin'"_s;
    QCOMPARE(scratch.reports, QStringList({report, report}));
}

/// To look at versions costs no reading of files; a version keeps its name while others come.
void DraftsTest::aVersionIsLookedAtByItsSerial()
{
    const Scratch scratch;
    Run run;
    const int draft = run.drafts.begin({});
    Composition composition = saying(u"one"_s);
    composition.attachments = {{u"a.bin"_s, "a/b", "data", {}}};
    QVERIFY(run.drafts.keep(draft, composition));
    const int serial = run.drafts.versions(draft).at(0).serial;
    composition.text = u"two"_s;
    QVERIFY(run.drafts.keep(draft, composition));
    QVERIFY(QDir(directoryOf(draft) + u"/Attachments"_s).removeRecursively());
    const Composition look = run.drafts.text(draft, serial);
    QCOMPARE(look.text, u"one"_s);
    QVERIFY(look.attachments.at(0).name == u"a.bin" && look.attachments.at(0).data.isNull());
    QCOMPARE(run.drafts.reading(draft, serial).composition.text, u"one"_s);
    QVERIFY(run.drafts.text(draft, serial + 9).text.isEmpty());
    QVERIFY(run.drafts.text(draft + 1, serial).text.isEmpty());
}

/// Nobody sends as somebody else without being told.
void DraftsTest::whoWroteIsToldWhenItIsNobodyAnyMore()
{
    const Scratch scratch;
    Run run;
    Identity bea;
    bea.name = u"Bea"_s;
    bea.address = u"bea@example.org"_s;
    bea.number = run.identities.add(bea);
    const int draft = run.drafts.begin({});
    Composition composition = saying(u"x"_s);
    composition.identity = bea;
    QVERIFY(run.drafts.keep(draft, composition));
    const auto reading = [&] { return run.drafts.reading(draft, 1); };
    bea.name = u"Beatrice"_s;
    QVERIFY(run.identities.update(bea));
    QCOMPARE(reading().composition.identity.name, u"Beatrice"_s);
    QCOMPARE(reading().formerWriter, QString());
    bea.address = u"other@example.org"_s;
    QVERIFY(run.identities.update(bea));
    QCOMPARE(reading().composition.identity.address, u"other@example.org"_s);
    QCOMPARE(reading().formerWriter, u"bea@example.org"_s);
    QVERIFY(run.identities.remove(bea.number));
    QCOMPARE(reading().composition.identity.address, u"ada@example.org"_s);
    QCOMPARE(reading().formerWriter, u"bea@example.org"_s);
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

void DraftsTest::onAFullDiskKeepingSoonTellsItsWindowAlone()
{
    const Scratch scratch;
    Run run;
    const int draft = run.drafts.begin({});
    QVERIFY(run.drafts.keep(draft, saying(u"safe"_s)));
    Composition composition = saying(u"with a file"_s);
    composition.attachments = {{u"large"_s, "a/b", QByteArray(5'000'000, 'x'), {}}};
    QSignalSpy kept(&run.drafts, &Drafts::kept);
    {
        const FullDisk full(2'000'000);
        run.drafts.keepSoon(draft, composition);
        while (run.drafts.isKeeping(draft))
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    QCOMPARE(kept, QList<QVariantList>({{draft, false}}));
    QCOMPARE(scratch.reports, QStringList());
    QCOMPARE(run.drafts.versions(draft).size(), std::size_t(1));
}

void DraftsTest::whatCannotBeReadIsSetAside_data()
{
    QTest::addColumn<bool>("isStored");
    QTest::addColumn<QString>("damage");
    for (const bool isStored : {false, true}) {
        for (const QString &damage : {u"unreadable"_s, u"noise"_s, u"one byte"_s, u"the beginning of one"_s})
            QTest::addRow("%s, %s", isStored ? "stored" : "open", qPrintable(damage)) << isStored << damage;
    }
}

/// Nothing of it is lost, and the message in Drafts can be opened all the same. Only what was never kept
/// goes.
void DraftsTest::whatCannotBeReadIsSetAside()
{
    QFETCH(bool, isStored);
    QFETCH(QString, damage);
    Scratch scratch;
    int draft = 0;
    MessageRef place;
    {
        Run run;
        draft = run.drafts.begin({});
        Composition composition = saying(u"x"_s);
        composition.attachments = {{u"a"_s, "a/b", "data", {}}};
        QVERIFY(run.drafts.keep(draft, composition));
        if (isStored) {
            QVERIFY(run.drafts.store(draft));
            run.drafts.close(draft);
            place = run.stored(draft);
        }
    }
    const QString path = directoryOf(draft) + u"/Versions"_s;
    QByteArray left = Scratch::read(path);
    if (damage == u"unreadable") {
        QVERIFY(QFile::rename(path, path + u"2"_s) && QDir().mkdir(path));
    } else {
        left = damage == u"noise"      ? QByteArray(left.size(), 'x')
               : damage == u"one byte" ? left.replace("version 1", "version 3")
                                       : left.chopped(5);
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(left) == left.size());
    }
    const bool wasKept = isStored || damage != u"the beginning of one";
    Run run;
    if (isStored)
        QVERIFY(run.drafts.open(place) > draft);
    QVERIFY(isStored || run.drafts.recovered().empty());
    const QString aside = directoryOf(draft) + u".damaged"_s;
    QCOMPARE(QFileInfo::exists(aside), wasKept);
    QVERIFY(!QFileInfo::exists(directoryOf(draft)));
    QCOMPARE(scratch.reports.size(), wasKept ? 1 : 0);
    if (!wasKept)
        return;
    QCOMPARE(scratch.reports[0],
             u"Draft %1 cannot be read; what is left of it is kept in '%2'"_s.arg(draft).arg(aside));
    QCOMPARE(QDir(aside + u"/Attachments"_s).entryList(QDir::Files).size(), 1);
    if (damage != u"unreadable")
        QCOMPARE(Scratch::read(aside + u"/Versions"_s), left);
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
