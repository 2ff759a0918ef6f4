#include "net/pop3/dottext.h"
#include "net/pop3/popheader.h"
#include "net/pop3/poplisting.h"
#include "net/pop3/popmemory.h"

#include "support/memory.h"
#include "support/scratch.h"

#include <QDir>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

// What the POP3 client is made of: texts with a final dot, digests of headers, and what is remembered.

class PopMemoryTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void dotText_data();
    void dotText();
    void lyingSizes();
    void headers_data();
    void headers();
    void identifiers();
    void listing();
    void endlessListing();
    void cutAtEveryByte();
    void flippedBits();
    void cannotBeRead();
    void cannotBeWritten();
    void uidlsFile();
    void addedTo();
    void broughtBack();
    void renamed();
};

namespace {

PopRecord record(const QByteArray &identifier, qint64 size = 10)
{
    PopRecord record;
    record.identifier = identifier;
    record.taken = 1'700'000'000;
    record.size = size;
    record.header = QByteArray(32, 'a');
    record.isFetched = true;
    return record;
}

PopMemory memory()
{
    return PopMemory(1, u"user"_s, u"host"_s);
}

QString path(const QString &file)
{
    return configPathOf(u"Accounts/1/"_s + file);
}

void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("the test cannot write %s", qPrintable(path));
}

/// Three messages, written as a session does it, up to the end of the session or not.
void remember(bool saved)
{
    PopMemory taken = memory();
    if (!taken.load())
        qFatal("nothing to load");
    for (const char *name : {"one", "two", "three"}) {
        taken.remember(record(name));
        if (!taken.commit())
            qFatal("the test cannot write");
    }
    if (saved && !taken.save())
        qFatal("the test cannot save");
}

} // namespace

void PopMemoryTest::dotText_data()
{
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<bool>("bare");
    QTest::addColumn<int>("announced");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("rest");
    const auto row = [](const char *name, const char *sent, const char *text, const char *rest = "",
                        bool bare = false, int announced = 0) {
        QTest::newRow(name) << QByteArray(sent) << bare << announced << QByteArray(text) << QByteArray(rest);
    };
    row("lines", "a\r\nb\r\n.\r\n", "a\nb");
    row("only the last line end goes", "a\r\n\r\n\r\n.\r\n", "a\n\n");
    row("nothing", ".\r\n", "");
    row("the next reply stays", "a\r\n.\r\n+OK\r\n", "a", "+OK\r\n");
    row("dots", "..\r\n...\r\n..a\r\n.a\r\n.\r\n", ".\n..\n.a\na");
    row("a lonely carriage return", "a\rb\r\r\n.\r\n", "a\rb\r");
    row("all line ends are bare", "a\n..b\n.\nnext", "a\n.b", "next", true);
    row("a bare dot within a message is no end", "a\n.\n+OK\r\nb\r\n.\r\n", "a\n.\n+OK\nb", "", false, 13);
    row("a dot behind a bare line end is no end", "a\n.\r\nb\r\n.\r\n", "a\n.\nb", "", false, 9);
    row("but it is when all has come", "a\n.\r\n+OK\r\n", "a", "+OK\r\n", false, 2);
    row("dots behind a bare line end", "a\n..b\n.c\r\n.\r\n", "a\n.b\n.c");
    row("a bare dot where nobody knows the size", "a\r\nb\n.\nc\n.\r\nd\r\n.\r\n", "a\nb\n.\nc\n.\nd");
    row("the same, and all line ends before it are bare", "a\nb\n.\r\n+OK\r\n", "a\nb", "+OK\r\n");
}

void PopMemoryTest::dotText()
{
    QFETCH(QByteArray, sent);
    QFETCH(bool, bare);
    QFETCH(int, announced);
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, rest);
    for (qsizetype cut = 0; cut <= sent.size(); ++cut) { // two pieces, cut everywhere
        DotText taker;
        taker.begin(announced, bare);
        QByteArrayView stream = QByteArrayView(sent).first(cut);
        bool complete = taker.take(stream);
        if (!complete) {
            QVERIFY(stream.isEmpty());
            stream = QByteArrayView(sent).sliced(cut);
            complete = taker.take(stream);
            QCOMPARE(stream.toByteArray(), rest);
        }
        QVERIFY(complete);
        QCOMPARE(taker.takeText(), text);
    }
}

void PopMemoryTest::lyingSizes()
{
    DotText text;
    const QByteArray line = QByteArray(70, 'x') + "\r\n";
    const QByteArray sent = line.repeated(10000) + ".\r\n";
    for (const qint64 announced : {qint64(-1), qint64(1), qint64(1) << 50}) {
        text.begin(announced, false);
        QByteArrayView stream = sent;
        QVERIFY(text.take(stream));
        QCOMPARE(text.octets(), 720000);
        QCOMPARE(text.lines(), 10000);
        QCOMPARE(text.takeText().size(), 709999);
    }
}

void PopMemoryTest::headers_data()
{
    QTest::addColumn<QByteArray>("one");
    QTest::addColumn<QByteArray>("other");
    QTest::addColumn<bool>("same");
    const auto row = [](const char *name, const char *one, const char *other, bool same) {
        QTest::newRow(name) << QByteArray(one) << QByteArray(other) << same;
    };
    row("header and whole message", "A: b\nC: d\n", "A: b\nC: d\n\nbody\n\nmore", true);
    row("no body", "A: b", "A: b\n\n", true);
    row("empty header", "", "\nbody", true);
    row("another value", "A: b", "A: c", false);
    row("another line end", "A: b\nC: d", "A: bC: d", false);
    row("what a server writes into it", "A: b\nC: d", "X-UIDL: 7\n folded\nA: b\nstatus: RO\nC: d\nStatus: O",
        true);
    row("what only looks like it", "A: b", "A: b\nStatus-Code: 7", false);
    row("folded behind one of those that stay", "A: b\n c", "A: b\n d", false);
}

void PopMemoryTest::headers()
{
    QFETCH(QByteArray, one);
    QFETCH(QByteArray, other);
    QFETCH(bool, same);
    QCOMPARE(headerDigest(one).size(), 32);
    QCOMPARE(headerDigest(one) == headerDigest(other), same);
}

void PopMemoryTest::identifiers()
{
    QCOMPARE(popIdentifier("whqtswO00WBw418f9t5JxYwZ"), "whqtswO00WBw418f9t5JxYwZ");
    QCOMPARE(popIdentifier("a b\t%\xe4"), "a%20b%09%25%E4");
    const QByteArray longOne(1 << 20, 'x');
    QCOMPARE(popIdentifier(longOne).size(), 66);
    QVERIFY(popIdentifier(longOne) != popIdentifier(longOne + 'x'));
    const QByteArray made = madeIdentifier(4711, QByteArray(32, 'b'), 2);
    QCOMPARE(sizeInMadeIdentifier(made), 4711);
    QCOMPARE(headerInMadeIdentifier(made), QByteArray(32, 'b'));
    QCOMPARE(sizeInMadeIdentifier(popIdentifier(made)), -1); // no server can say it
}

void PopMemoryTest::listing()
{
    PopListing listing;
    listing.begin(3);
    for (const char *line : {"2 b", "1 a", "3 a"})
        listing.addIdentifier(line);
    for (const char *line : {"1 10 octets", "3 30", "2 20"})
        listing.addSize(line);
    const PopListing unfinished = listing;
    listing.finish();
    QVERIFY(listing.hasAllIdentifiers() && listing.hasAllSizes());
    QCOMPARE(listing.totalSize(), 60);
    QCOMPARE(listing.messages()[0].identifier, "a");
    QVERIFY(listing.messages()[0].isDoubled && !listing.messages()[1].isDoubled);
    for (const char *line :
         {"0 1", "4 1", "1 11", "x", "1", "-1 5", "99999999999 1", "2 -5", "2 99999999999999999"}) {
        PopListing other = unfinished;
        other.addSize(line);
        QVERIFY2(!other.hasAllSizes(), line);
        QCOMPARE(other.totalSize(), 60);
    }
}

void PopMemoryTest::endlessListing()
{
    PopListing listing;
    listing.begin(std::numeric_limits<int>::max());
    for (int i = 0; i < 2 * PopListing::kMostMessages; ++i)
        listing.addSize("x");
    QVERIFY(!listing.isEndless());
    for (int i = 0; i < 2000; ++i)
        listing.addSize("x");
    QVERIFY(listing.isEndless());
}

/// Every line that is whole counts, and what comes later is not spoilt by the one that is not.
void PopMemoryTest::cutAtEveryByte()
{
    Scratch scratch;
    remember(false);
    const QByteArray whole = Scratch::read(path(u"Fetched"_s));
    QCOMPARE(whole.count('\n'), 4);
    for (qsizetype size = whole.size(); size >= 0; --size) {
        write(path(u"Fetched"_s), whole.first(size));
        PopMemory cut = memory();
        QVERIFY(cut.load());
        const int ends =
            int(whole.first(size).count('\n')) + (size < whole.size() && whole[size] == '\n' ? 1 : 0);
        QCOMPARE(bool(cut.find("one")), ends >= 2);
        QCOMPARE(bool(cut.find("two")), ends >= 3);
        QCOMPARE(bool(cut.find("three")), ends >= 4);
        cut.remember(record("later"));
        QVERIFY(cut.commit());
        PopMemory again = memory();
        QVERIFY(again.load());
        QVERIFY(again.find("later"));
        QCOMPARE(bool(again.find("two")), ends >= 3);
    }
}

/// One line is lost at most, and with UIDLs beside it not even that: it is known, though not in detail.
void PopMemoryTest::flippedBits()
{
    Scratch scratch;
    remember(true);
    const QByteArray whole = Scratch::read(path(u"Fetched"_s));
    for (qsizetype at = 0; at < whole.size(); ++at) {
        QByteArray bytes = whole;
        bytes[at] = char(bytes[at] ^ 4);
        write(path(u"Fetched"_s), bytes);
        PopMemory damaged = memory();
        QVERIFY(damaged.load());
        int inDetail = 0;
        for (const char *name : {"one", "two", "three"}) {
            QVERIFY2(damaged.find(name) && damaged.find(name)->isFetched, name);
            inDetail += damaged.find(name)->isKnownInDetail() ? 1 : 0;
        }
        QVERIFY(inDetail >= 1);
    }
}

void PopMemoryTest::cannotBeRead()
{
    for (const QString &file : {u"Fetched"_s, u"UIDLs"_s}) {
        Scratch scratch;
        QVERIFY(QDir().mkpath(path(file))); // a directory cannot be read as a file
        QVERIFY(!memory().load());
        QCOMPARE(scratch.reports, QStringList(u"Unable to read UIDLs file"_s));
    }
}

void PopMemoryTest::cannotBeWritten()
{
    Scratch scratch;
    PopMemory taken = memory();
    QVERIFY(taken.load());
    taken.remember(record("one"));
    QVERIFY(QDir().mkpath(path(u"Fetched"_s)));
    QVERIFY(!taken.announce(record("two")));
    QVERIFY(!taken.commit());
    QCOMPARE(scratch.reports, QStringList(2, u"Unable to write UIDLs file"_s));
    QVERIFY(QDir().rmdir(path(u"Fetched"_s)));
    QVERIFY(taken.commit()); // nothing of it was forgotten
    PopMemory again = memory();
    QVERIFY(again.load() && again.find("one"));
}

void PopMemoryTest::uidlsFile()
{
    Scratch scratch;
    remember(true);
    const QByteArray expected = "3\n1700000000 one\n1700000000 three\n1700000000 two\n";
    QCOMPARE(Scratch::read(path(u"UIDLs"_s)), expected);
    QCOMPARE(Scratch::read(path(u"UIDLs.backup"_s)), expected);
    QVERIFY(QFile::remove(path(u"Fetched"_s)));
    for (qsizetype size = expected.size() - 1; size >= 0; --size) { // cut anywhere, the backup makes it up
        write(path(u"UIDLs"_s), expected.first(size));
        PopMemory cut = memory();
        QVERIFY(cut.load());
        for (const char *name : {"one", "two", "three"})
            QVERIFY(cut.find(name));
        QVERIFY(!cut.find("thr") && !cut.find("t"));
    }
}

/// What is there when a session ends without an end is what was made safe.
void PopMemoryTest::addedTo()
{
    Scratch scratch;
    remember(true);
    PopMemory taken = memory();
    QVERIFY(taken.load());
    QVERIFY(taken.announce(record("arriving", 5)));
    QVERIFY(taken.announce(record("lost", 6)));
    taken.remember(record("pending"));
    PopMemory again = memory();
    QVERIFY(again.load());
    QVERIFY(!again.find("arriving") && !again.find("pending"));
    again.addRecovered({"arriving", "unknown"});
    QCOMPARE(again.find("arriving")->size, 5);
    QVERIFY(again.find("arriving")->isKnownInDetail());
    QVERIFY(again.find("unknown")->isFetched && !again.find("unknown")->isKnownInDetail());
    QVERIFY(!again.find("lost"));
}

/// A session that dies in its first moments does not cost what had been set aside.
void PopMemoryTest::broughtBack()
{
    Scratch scratch;
    remember(true);
    PopMemory other(1, u"user"_s, u"elsewhere"_s);
    QVERIFY(other.load() && other.settleMailbox());
    QVERIFY(!other.find("one"));
    other.remember(record("other"));
    QVERIFY(other.commit());
    for (int session = 0; session < 2; ++session) {
        PopMemory taken = memory();
        QVERIFY(taken.load() && taken.settleMailbox());
        QVERIFY(taken.find("one") && taken.find("three") && !taken.find("other"));
        QVERIFY(taken.announce(record("arriving")));
    }
}

/// The store goes on to know by its first name what the server calls otherwise now.
void PopMemoryTest::renamed()
{
    Scratch scratch;
    remember(true);
    for (const char *name : {"x", "y"}) { // twice, with the file in between
        PopMemory taken = memory();
        QVERIFY(taken.load());
        taken.setListed({QByteArray(name)});
        QVERIFY(taken.exchange(10, QByteArray(32, 'a'), name));
        QVERIFY(taken.commit());
        if (QByteArray(name) == "y")
            QVERIFY(taken.save());
    }
    PopMemory later = memory();
    QVERIFY(later.load());
    const QList<QByteArray> names = memory().readStoreNames();
    QCOMPARE(QSet<QByteArray>(names.begin(), names.end()), (QSet<QByteArray>{"one", "two", "three"}));
    int renamed = 0;
    for (const QByteArray &name : names) {
        const PopRecord *record = later.findStored(name);
        QVERIFY(record);
        QCOMPARE(record->storeName(), name);
        renamed += record->identifier != name ? 1 : 0;
        QCOMPARE(later.find(name) == nullptr, record->identifier != name);
    }
    QVERIFY(renamed >= 1);
    QVERIFY(!later.findStored("y")); // that is what the server says
    PopMemory other(1, u"another"_s, u"host"_s);
    QVERIFY(other.readStoreNames().isEmpty());
    remember(true);
    QVERIFY(QFile::remove(path(u"Fetched"_s))); // what others have written
    for (const char *name : {"one", "two", "three"})
        QVERIFY(memory().readStoreNames().contains(name));
}

QTEST_GUILESS_MAIN(PopMemoryTest)

#include "popmemory_test.moc"
