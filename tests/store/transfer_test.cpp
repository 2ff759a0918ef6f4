#include "store/exporter.h"
#include "store/groupstore.h"
#include "store/importer.h"

#include "message/message.h"
#include "support/mail.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QDir>
#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

struct Fixture
{
    Fixture()
    {
        if (!createStoreDirectories() || !store.load())
            qFatal("the test cannot load its store");
    }
    Importer::Progress import(const QString &path, Group &target)
    {
        Importer importer(store, target);
        if (!importer.begin(path)) {
            reason = importer.reason();
            return Importer::Progress::Failed;
        }
        Importer::Progress progress = Importer::Progress::Working;
        while (progress == Importer::Progress::Working)
            progress = importer.step(1);
        imported = importer.imported();
        skipped = importer.skipped();
        return progress;
    }
    Exporter::Progress exportTo(const QString &path, Group &group)
    {
        Exporter exporter(group, path);
        Exporter::Progress progress = Exporter::Progress::Working;
        while (progress == Exporter::Progress::Working)
            progress = exporter.step(1);
        return progress;
    }
    QByteArray text(Group &group, quint32 article) { return group.readMessage(*group.overview(article)); }
    Group &inbox() { return *store.group(GroupRole::Inbox); }

    Scratch scratch;
    GroupStore store;
    QString reason;
    int imported = 0;
    int skipped = 0;
};

} // namespace

class TransferTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void byteForByte();
    void flagsAndDatesOfAnMbox();
    void aMaildirBecomesGroups();
    void aFolderOfFiles();
    void whatIsNoMail_data();
    void whatIsNoMail();
    void stoppedOnTheWay();
    void aGroupThatGoesMeanwhile();
    void exportsThatFail_data();
    void exportsThatFail();
};

void TransferTest::byteForByte()
{
    // Everything that an mbox could trip over, and noise.
    QList<QByteArray> texts = {
        mailText("1", "From", {},
                 "From here\n>From there\n>>From all over\n\nFrom x Fri Nov 20 10:00:00 2026\n"),
        mailText("2", "CR", {}, "one\r\ntwo\rthree\n\r\n"),
        mailText("3", "NUL", {}, QByteArray("a\0b\0\n", 5)),
        mailText("4", "8 bits \xe4\xff", "Status: RO\nX-Status: AF\nContent-Length: 3\n", "\xfe\xff\n\n\n"),
        "Subject: no body\n\n",
        "\nno header\n",
    };
    QRandomGenerator random(7);
    for (int i = 0; i < 50; ++i) {
        QByteArray body;
        for (int k = random.bounded(400); k > 0; --k)
            body += "\n\n>F rom\r\0x"[random.bounded(11)];
        texts += mailText("noise" + QByteArray::number(i), "n", {}, body + '\n');
    }
    Fixture f;
    for (const QByteArray &text : texts)
        QVERIFY(f.store.add(f.inbox(), Message(text), Mark::Flagged, 0, 1'700'000'000) > 0);
    QVERIFY(f.inbox().setMarks({2, 3}, Mark::Read, {}));
    const QString path = f.scratch.path(u"out"_s);
    QCOMPARE(f.exportTo(path, f.inbox()), Exporter::Progress::Done);
    Group &back = *f.store.make(u"Back"_s);
    QCOMPARE(f.import(path, back), Importer::Progress::Done);
    QCOMPARE(f.imported, int(texts.size()));
    QCOMPARE(f.skipped, 0);
    for (quint32 article = 1; article <= quint32(texts.size()); ++article) {
        const QByteArray was = f.text(f.inbox(), article);
        const QByteArray is = f.text(back, article);
        const auto differ = std::mismatch(was.begin(), was.end(), is.begin(), is.end());
        const qsizetype at = differ.first - was.begin();
        const QByteArray shown =
            was.mid(at - 30, 60).toPercentEncoding() + " became " + is.mid(at - 30, 60).toPercentEncoding();
        QVERIFY2(was == is, shown.constData());
        QCOMPARE(back.overview(article)->marks() & ~Marks(Mark::Compressed),
                 f.inbox().overview(article)->marks() & ~Marks(Mark::Compressed));
        QCOMPARE(back.overview(article)->arrival(), 1'700'000'000);
    }
}

void TransferTest::flagsAndDatesOfAnMbox()
{
    Fixture f;
    const QByteArray bytes = "From a@example.org Fri Nov 20 10:00:00 2026\n" +
                             mailText("1", "One", "Status: RO\nX-Status: AF\n") +
                             "\nFrom b@example.org Sat Nov 21 10:00:00 2026\n" + mailText("2", "Two");
    QCOMPARE(f.import(f.scratch.write(u"in"_s, bytes), f.inbox()), Importer::Progress::Done);
    QCOMPARE(f.imported, 2);
    QVERIFY(f.inbox().overview(1)->has(Mark::Read) && f.inbox().overview(1)->has(Mark::Flagged));
    QVERIFY(!f.inbox().overview(2)->has(Mark::Read));
    QCOMPARE(f.inbox().overview(2)->arrival() - f.inbox().overview(1)->arrival(), 86'400);
    QCOMPARE(f.inbox().counts(), (OverviewFile::Counts{2, 1, 1}));
}

void TransferTest::aMaildirBecomesGroups()
{
    Fixture f;
    const QString root = f.scratch.path(u"Maildir"_s);
    for (const QString &folder : {u""_s, u"/.Work"_s}) {
        for (const QString &name : {u"/cur"_s, u"/new"_s, u"/tmp"_s})
            QDir().mkpath(root + folder + name);
    }
    f.scratch.write(u"Maildir/cur/1.a.host:2,SF"_s, mailText("1", "One"));
    f.scratch.write(u"Maildir/new/2.b.host"_s, mailText("2", "Two"));
    f.scratch.write(u"Maildir/.Work/cur/3.c.host:2,R"_s, mailText("3", "Three"));
    QCOMPARE(f.import(root, f.inbox()), Importer::Progress::Done);
    QCOMPARE(f.imported, 3);
    QCOMPARE(f.inbox().counts(), (OverviewFile::Counts{2, 1, 1}));
    Group *work = f.store.find(u"Inbox/Work"_s);
    QVERIFY(work && work->counts().total == 1);
    QVERIFY(Scratch::read(configPathOf(u"Groups/Index"_s)).contains("name Work")); // as safe as its mail
}

void TransferTest::aFolderOfFiles()
{
    Fixture f;
    QDir().mkpath(f.scratch.path(u"folder"_s));
    for (int i = 0; i < 12; ++i)
        f.scratch.write(u"folder/%1.eml"_s.arg(i), mailText(QByteArray::number(i), "n"));
    f.scratch.write(u"folder/picture.png"_s, "\x89PNG\r\n\x1a\nnothing");
    QCOMPARE(f.import(f.scratch.path(u"folder"_s), f.inbox()), Importer::Progress::Done);
    QCOMPARE(f.imported, 12);
    QCOMPARE(f.inbox().counts().total, 12u);
}

void TransferTest::whatIsNoMail_data()
{
    QTest::addColumn<QByteArray>("bytes"); ///< null: missing
    QTest::newRow("missing") << QByteArray();
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("blank lines") << QByteArray("\n\n\n\n");
    QTest::newRow("zeros") << QByteArray(10'000, '\0');
    QTest::newRow("a program") << QByteArray("\x7f"
                                             "ELF\2\1\1\0",
                                             8)
                                      .append(QByteArray(5000, '\x90'));
}

void TransferTest::whatIsNoMail()
{
    QFETCH(QByteArray, bytes);
    Fixture f;
    const QString path = bytes.isNull() ? f.scratch.path(u"none"_s) : f.scratch.write(u"in"_s, bytes);
    QCOMPARE(f.import(path, f.inbox()), Importer::Progress::Failed);
    QVERIFY2(f.reason.contains(path), qPrintable(f.reason));
    QCOMPARE(f.inbox().counts().total, 0u);
}

void TransferTest::stoppedOnTheWay()
{
    Fixture f;
    QByteArray bytes;
    for (int i = 0; i < 200; ++i)
        bytes +=
            "From a@example.org Fri Nov 20 10:00:00 2026\n" + mailText(QByteArray::number(i), "n") + '\n';
    Importer importer(f.store, f.inbox());
    QVERIFY(importer.begin(f.scratch.write(u"in"_s, bytes)));
    QCOMPARE(importer.step(0), Importer::Progress::Working);
    QCOMPARE(importer.imported(), 0); // stored, but not safe
    QVERIFY(importer.stop());
    QCOMPARE(importer.imported(), f.inbox().rowCount());
    QVERIFY(importer.imported() >= 1 && importer.imported() < 200);
    QVERIFY(importer.done() > 0 && importer.done() < importer.total());
}

void TransferTest::aGroupThatGoesMeanwhile()
{
    Fixture f;
    const QString root = f.scratch.path(u"Maildir"_s);
    for (const QString &name : {u"/cur"_s, u"/new"_s, u"/tmp"_s, u"/.A/cur"_s, u"/.A/new"_s, u"/.A/tmp"_s})
        QDir().mkpath(root + name);
    f.scratch.write(u"Maildir/.A/cur/1.a.host:2,S"_s, mailText("1", "One"));
    for (int i = 2; i < 400; ++i)
        f.scratch.write(u"Maildir/.A/cur/%1.a.host:2,S"_s.arg(i), mailText(QByteArray::number(i), "n"));
    Importer importer(f.store, f.inbox());
    QVERIFY(importer.begin(root));
    QCOMPARE(importer.step(0), Importer::Progress::Working);
    QVERIFY(f.store.remove(*f.store.find(u"Inbox/A"_s)));
    QVERIFY(importer.stop());
}

void TransferTest::exportsThatFail_data()
{
    QTest::addColumn<QString>("target");
    QTest::newRow("a directory that is not there") << u"none/out"_s;
    QTest::newRow("a full disk") << u"full"_s;
    QTest::newRow("a text that cannot be read") << u"out"_s;
    QTest::newRow("a device") << u"null"_s;
}

void TransferTest::exportsThatFail()
{
    QFETCH(QString, target);
    Fixture f;
    for (int i = 0; i < 3; ++i)
        QVERIFY(f.store.add(f.inbox(), Message(mailText(QByteArray::number(i), "n")), {}, 0, 1) > 0);
    const QString path = f.scratch.path(target);
    if (target == u"full") {
        f.scratch.write(target, "the earlier export");
        QVERIFY(QFile::link(u"/dev/full"_s, path + u'~'));
    } else if (target == u"null") {
        QVERIFY(QFile::link(u"/dev/null"_s, path));
    } else if (target == u"out") {
        QVERIFY(f.inbox().flush());
        QVERIFY(QFile::resize(configPathOf(u"Groups/1/Bin0"_s), 400));
    }
    QCOMPARE(f.exportTo(path, f.inbox()), Exporter::Progress::Failed);
    QCOMPARE(f.scratch.reports.last(), u"Unable to write file '%1'"_s.arg(path));
    QVERIFY(!QFile::exists(path + u'~'));
    QCOMPARE(QFileInfo(path).isSymLink(), target == u"null");
    QCOMPARE(Scratch::read(path), target == u"full" ? QByteArray("the earlier export") : QByteArray());
}

QTEST_GUILESS_MAIN(TransferTest)
#include "transfer_test.moc"
