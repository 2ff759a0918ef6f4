#include "store/binfile.h"

#include "message/message.h"
#include "store/bincompactor.h"
#include "store/binformat.h"
#include "store/compression.h"
#include "store/summary.h"
#include "support/mail.h"
#include "support/scratch.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

class Owner : public BinOwner
{
public:
    bool compressesMessages() const override { return compresses; }
    void markForRepair() override { marked = true; }

    bool compresses = true;
    bool marked = false;
};

/// Text that packs to about @p share percent of its size.
QByteArray textPackingTo(int share, qsizetype size)
{
    quint32 state = 1;
    QByteArray text(size, 'a');
    for (qsizetype i = 0; i < size * share / 100; ++i) {
        state = state * 1664525 + 1013904223;
        text[i] = char(state >> 24);
    }
    return text;
}

struct Fixture
{
    Scratch scratch;
    Owner owner;
    QString directory = makeDirectory();
    BinFile bin{directory, 0, owner};

    QString makeDirectory()
    {
        QString name = u"Groups/1"_s;
        configFile(name, true);
        return name;
    }
    QString path() const { return BinFormat::binPath(directory, 0); }
    quint32 append(const QByteArray &text)
    {
        Overview overview;
        overview.setArticle(++article);
        overview.setTextCrc(crc32Of(text));
        return bin.appendMessage(text, overview) ? overview.position() : 0xffffffff;
    }
    quint32 article = 0;
};

} // namespace

class BinTest : public QObject
{
    Q_OBJECT

private slots:
    void headerLayout();
    void compression_data();
    void compression();
    void olderFormWithoutPrefix();
    void equalLengthsAreTheTextItself();
    void lengthsBoundDecompression_data();
    void lengthsBoundDecompression();
    void everyMessageOfAFailure();
    void aFullDisk();
    void cutAtEveryByte();
    void compactionDropsDeadRecordsAndGarbage();
    void aBinOfDeadRecordsIsDeleted();
    void deletedWhileCompacting();
    void compactionThatFailsChangesNothing();
};

void BinTest::headerLayout()
{
    Fixture f;
    f.append("first");
    f.append("second");
    QVERIFY(f.bin.markDead(0));
    const QByteArray bytes = Scratch::read(f.path());
    QCOMPARE(bytes.size(), 84 + 5 + 84 + 6);
    const QByteArray second = bytes.mid(89);
    QCOMPARE(second.left(4), QByteArray("MSGD"));
    const auto word = [](const QByteArray &record, int offset) {
        return qFromLittleEndian<quint32>(record.constData() + offset);
    };
    QCOMPARE(word(second, 16), 89u); // position
    QCOMPARE(word(second, 20), 6u);  // stored
    QCOMPARE(word(second, 24), 6u);  // unpacked
    QCOMPARE(word(second, 8), 0u);
    QCOMPARE(word(bytes, 8), 1u); // dead
    QCOMPARE(second.mid(84), QByteArray("second"));
}

void BinTest::compression_data()
{
    QTest::addColumn<int>("threshold");
    QTest::addColumn<bool>("groupCompresses");
    QTest::addColumn<int>("share");
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("compressed");
    QTest::newRow("packs well") << 50 << true << 10 << 5000 << true;
    QTest::newRow("packs to 60 of 100") << 50 << true << 48 << 100 << false;
    QTest::newRow("threshold 0") << 0 << true << 0 << 5000 << false;
    QTest::newRow("negative threshold") << -5 << true << 0 << 5000 << false;
    QTest::newRow("threshold 90") << 90 << true << 60 << 5000 << true;
    QTest::newRow("threshold 150, grows") << 150 << true << 100 << 100 << false;
    QTest::newRow("the group does not") << 50 << false << 0 << 5000 << false;
    QTest::newRow("large, begins badly") << 50 << true << 5 << 4'000'000 << false;
    QTest::newRow("large, packs well") << 50 << true << 0 << 4'000'000 << true;
    QTest::newRow("empty") << 50 << true << 0 << 0 << false;
}

void BinTest::compression()
{
    QFETCH(int, threshold);
    QFETCH(bool, groupCompresses);
    QFETCH(int, share);
    QFETCH(int, size);
    QFETCH(bool, compressed);
    Fixture f;
    f.owner.compresses = groupCompresses;
    setIntSetting(Setting::CompressionThreshold, threshold);
    const QByteArray text = textPackingTo(share, size);
    const quint32 position = f.append(text);
    const std::optional<Overview> header = f.bin.headerAt(position);
    QVERIFY(header);
    QCOMPARE(header->has(Mark::Compressed), compressed);
    QCOMPARE(header->unpackedLength(), quint32(size));
    const QByteArray stored = f.bin.readStored(position);
    if (compressed) {
        QVERIFY(stored.size() < size * threshold / 100);
        QCOMPARE(qUncompress(stored), text); // the toolkit's own form
    } else {
        QCOMPARE(stored, text);
    }
    QCOMPARE(f.bin.readMessage(position), text);
}

void BinTest::olderFormWithoutPrefix()
{
    Fixture f;
    const QByteArray text = QByteArray("older form ").repeated(100);
    const QByteArray stream = qCompress(text).mid(4);
    Overview overview;
    overview.setArticle(1);
    overview.setUnpackedLength(quint32(text.size()));
    overview.setStoredLength(quint32(stream.size()));
    QVERIFY(f.bin.appendStored(stream, overview));
    QCOMPARE(f.bin.readMessage(0), text);
}

void BinTest::equalLengthsAreTheTextItself()
{
    Fixture f;
    const QByteArray text = "Subject: as long as ever\n\ntext\n";
    Overview overview;
    overview.setMark(Mark::Compressed, true);
    overview.setUnpackedLength(quint32(text.size()));
    overview.setStoredLength(quint32(text.size()));
    QVERIFY(f.bin.appendStored(text, overview));
    QCOMPARE(f.bin.readMessage(0), text);
    QCOMPARE(f.scratch.reports, QStringList());
}

void BinTest::lengthsBoundDecompression_data()
{
    QTest::addColumn<quint32>("unpacked");
    QTest::newRow("too small") << 10u;
    QTest::newRow("too large") << 100001u;
    QTest::newRow("impossibly large") << 0xfffffff0u;
}

void BinTest::lengthsBoundDecompression()
{
    QFETCH(quint32, unpacked);
    Fixture f;
    const QByteArray bomb = qCompress(QByteArray(100000, 'x'));
    Overview overview;
    overview.setMark(Mark::Compressed, true);
    overview.setUnpackedLength(unpacked);
    overview.setStoredLength(quint32(bomb.size()));
    QVERIFY(f.bin.appendStored(bomb, overview));
    QVERIFY(f.bin.readMessage(0).isNull());
    QCOMPARE(f.scratch.reports, QStringList{u"Decompression failure when reading message"_s});
}

void BinTest::everyMessageOfAFailure()
{
    Fixture f;
    f.bin.readMessage(0);
    QCOMPARE(f.scratch.reports.takeFirst(), u"Unable to open message bin file"_s);
    f.append("text of the message");
    f.bin.readMessage(100000);
    QCOMPARE(f.scratch.reports.takeFirst(), u"Unable to seek to message in bin file"_s);
    f.bin.readMessage(60);
    QCOMPARE(f.scratch.reports.takeFirst(), u"Unable to read message from bin file"_s);
    QVERIFY(!f.owner.marked);
    f.bin.readMessage(1);
    QCOMPARE(f.scratch.reports.takeFirst(), u"Message has invalid header in bin file"_s);
    QVERIFY(f.owner.marked);
    QVERIFY(QFile::resize(f.path(), 90));
    QVERIFY(f.bin.readMessage(0).isNull());
    QCOMPARE(f.scratch.reports.takeFirst(), u"Unable to read message from bin file"_s);
    QDir(f.directory).removeRecursively();
    f.bin.close();
    Overview overview;
    QVERIFY(!f.bin.appendMessage("text", overview));
    QCOMPARE(f.scratch.reports.takeFirst(), u"Unable to open message bin file"_s);
}

void BinTest::aFullDisk()
{
    Fixture f;
    QVERIFY(QFile::link(u"/dev/full"_s, f.path()));
    Overview overview;
    overview.setArticle(7);
    overview.setScore(-3);
    QVERIFY(!f.bin.appendMessage("text", overview));
    QCOMPARE(f.scratch.reports, QStringList{u"Failed to write to message bin file"_s});
    QCOMPARE(overview.storedLength(), 0u);
    QCOMPARE(overview.score(), -3);
}

void BinTest::cutAtEveryByte()
{
    Fixture f;
    const quint32 first = f.append("the first text");
    const quint32 second = f.append("the second text");
    for (qint64 size = QFile(f.path()).size() - 1; size >= 0; --size) {
        QVERIFY(QFile::resize(f.path(), size));
        QVERIFY(f.bin.readMessage(second).isNull());
        QCOMPARE(f.bin.readMessage(first), size < second ? QByteArray() : QByteArray("the first text"));
    }
}

namespace {

/// A group of @p count messages in one bin.
struct GroupFixture
{
    explicit GroupFixture(int count)
    {
        files.open(true);
        for (int i = 1; i <= count; ++i) {
            const QByteArray text = mailText(QByteArray::number(i), "Number " + QByteArray::number(i));
            files.append(text, summaryOf(Message(text), 1000));
        }
        if (!files.sync())
            qFatal("the test cannot make its group");
    }
    QByteArray textOf(quint32 article)
    {
        return files.readMessage(files.overviews().row(files.overviews().rowOf(article)));
    }
    QString subjectOf(quint32 article) { return Message(textOf(article)).subject(); }
    void kill(quint32 article) { files.kill(files.overviews().rowOf(article)); }

    Scratch scratch;
    QString directory = scratch.path(u"group"_s);
    QString path = BinFormat::binPath(directory, 0);
    GroupFiles files{directory};
};

} // namespace

void BinTest::compactionDropsDeadRecordsAndGarbage()
{
    GroupFixture f(6);
    // Garbage between two records, with something in it that begins like one.
    f.files.close();
    QByteArray bytes = Scratch::read(f.path);
    const qsizetype third = bytes.indexOf("MSGD", bytes.indexOf("MSGD", 4) + 4);
    bytes[bytes.indexOf("MSGD", third + 4)] = 'X'; // the fourth is lost
    QFile file(f.path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    file.close();
    f.files.open(true);
    f.kill(1);
    f.kill(4);
    QVERIFY(f.files.sync());
    BinCompactor compactor(f.files, 0);
    QCOMPARE(compactor.run(), BinCompactor::Progress::Done);
    QCOMPARE(compactor.sizeAfter(), f.files.liveSize(0));
    QCOMPARE(f.files.bin(0).size(), compactor.sizeAfter());
    for (const quint32 article : {2u, 3u, 5u, 6u})
        QCOMPARE(f.subjectOf(article), u"Number %1"_s.arg(article));
    const std::optional<Overview> header = f.files.bin(0).headerAt(0);
    QVERIFY(header);
    QCOMPARE(header->article(), 2u);
    QCOMPARE(header->position(), 0u); // word 3 moves along
    QVERIFY(!QFile::exists(f.path + u".moved"_s));
    QCOMPARE(f.scratch.reports, QStringList());
}

void BinTest::aBinOfDeadRecordsIsDeleted()
{
    GroupFixture f(3);
    for (const quint32 article : {1u, 2u, 3u})
        f.kill(article);
    QVERIFY(f.files.sync());
    QCOMPARE(BinCompactor::worthwhile(f.files), std::vector<int>{0});
    QCOMPARE(BinCompactor(f.files, 0).run(), BinCompactor::Progress::Done);
    QVERIFY(!QFile::exists(f.path));
    // What comes into the bin now has nothing to do with the rows of the dead.
    const QByteArray text = mailText("new", "New");
    const quint32 article = f.files.append(text, summaryOf(Message(text), 1));
    QVERIFY(f.files.sync());
    f.files.close();
    QCOMPARE(f.files.open(true), GroupFiles::State::Good);
    QCOMPARE(f.textOf(article), text);
}

void BinTest::deletedWhileCompacting()
{
    GroupFixture f(5);
    f.kill(2);
    QVERIFY(f.files.sync());
    BinCompactor compactor(f.files, 0);
    for (int i = 0; i < 4; ++i)
        QCOMPARE(compactor.step(1), BinCompactor::Progress::Working);
    f.kill(1); // copied already
    f.kill(5); // not yet
    const QByteArray text = mailText("new", "New");
    const quint32 article = f.files.append(text, summaryOf(Message(text), 1)); // goes to another bin
    QCOMPARE(compactor.run(), BinCompactor::Progress::Done);
    QCOMPARE(f.files.bins(), (std::vector<int>{0, 1}));
    QCOMPARE(f.textOf(article), text);
    QCOMPARE(f.subjectOf(3), u"Number 3"_s);
    const FileHandle file(f.path, FileHandle::Mode::Read);
    BinScanner scanner(file);
    BinScanner::Record record;
    std::vector<std::pair<quint32, bool>> found;
    while (scanner.next(record))
        found.emplace_back(record.header.article(), record.header.isDead());
    QCOMPARE(found, (std::vector<std::pair<quint32, bool>>{{1, true}, {3, false}, {4, false}}));
}

void BinTest::compactionThatFailsChangesNothing()
{
    GroupFixture f(4);
    f.kill(1);
    QVERIFY(f.files.sync());
    const QByteArray before = Scratch::read(f.path);
    QVERIFY(QFile::link(u"/dev/full"_s, f.path + u'~'));
    QCOMPARE(BinCompactor(f.files, 0).run(), BinCompactor::Progress::Failed);
    QCOMPARE(f.scratch.reports, QStringList{u"Unable to write new bin file"_s});
    QCOMPARE(Scratch::read(f.path), before);
    QCOMPARE(f.subjectOf(4), u"Number 4"_s);
    QVERIFY(!QFile::exists(f.path + u'~'));
}

QTEST_GUILESS_MAIN(BinTest)
#include "bin_test.moc"
