#include "store/mailbox/mboxreader.h"
#include "store/mailbox/mboxwriter.h"

#include "support/scratch.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

struct Written
{
    QByteArray text;
    MailFlags flags;
};

QList<MboxMessage> readAll(QByteArray mbox, MboxReader::Outcome ends = MboxReader::Outcome::End)
{
    QBuffer device(&mbox);
    device.open(QIODevice::ReadOnly);
    MboxReader reader(device);
    QList<MboxMessage> messages;
    for (MboxMessage message; reader.next(message) == MboxReader::Outcome::Message;)
        messages.append(message);
    MboxMessage none;
    if (reader.next(none) != ends)
        qFatal("the end is not stable");
    return messages;
}

QByteArrayList texts(const QByteArray &mbox)
{
    QByteArrayList texts;
    for (const MboxMessage &message : readAll(mbox))
        texts.append(message.text);
    return texts;
}

QByteArray exported(const QList<Written> &messages, QList<qint64> *ends = nullptr)
{
    QBuffer device;
    device.open(QIODevice::WriteOnly);
    MboxWriter writer(device);
    for (const Written &message : messages) {
        if (!writer.write(message.text, "aiko@tidewater.example", 1795171320, message.flags))
            qFatal("a buffer takes everything");
        if (ends != nullptr)
            ends->append(device.size());
    }
    return device.data();
}

QByteArray withLineEnd(const QByteArray &text)
{
    return text.isEmpty() || text.endsWith('\n') ? text : text + '\n';
}

QByteArray nastyText(QRandomGenerator &random)
{
    static const QByteArrayList lines = {"From ",
                                         "From bob Fri Nov 20 10:42:00 2026",
                                         ">From ",
                                         ">>From x",
                                         "",
                                         "",
                                         "Content-Length: 5",
                                         "Status: RO",
                                         "X-Status: A----",
                                         "X-Mozilla-Status: 0001",
                                         "Subject: x",
                                         "plain",
                                         "\r",
                                         "From a\r",
                                         QByteArray("\0\0", 2),
                                         " folded",
                                         ">",
                                         "Fro",
                                         "From",
                                         "\xef\xbb\xbf"};
    QByteArray text;
    const int count = random.bounded(12);
    for (int i = 0; i < count; ++i)
        text +=
            lines[random.bounded(int(lines.size()))] + (i + 1 < count || random.bounded(2) != 0 ? "\n" : "");
    return text;
}

} // namespace

class MboxTest : public QObject
{
    Q_OBJECT

private slots:
    void dialects_data();
    void dialects();
    void separatorLines_data();
    void separatorLines();
    void statusFields_data();
    void statusFields();
    void writtenForm();
    void comesBackByteForByte();
    void demoComesBackToo();
    void cutAnywhere();
    void goesOnWhereItStopped();
    void notesWhatItSkips();
    void largeTexts();
    void hostileSizesStayLinear();
    void fullDisk();
    void fileThatShrinks();
};

void MboxTest::dialects_data()
{
    QTest::addColumn<QByteArray>("mbox");
    QTest::addColumn<QByteArrayList>("texts");
    const QByteArray from = "From bob@x.example Fri Nov 20 10:42:00 2026\n";
    const auto row = [](const char *name, const QByteArray &mbox, const QByteArrayList &texts) {
        QTest::newRow(name) << mbox << texts;
    };
    row("empty", "", {});
    row("NULs", QByteArray(5000, '\0'), {});
    row("no mail", "A text about\nnothing: much\n", {});
    row("two", from + "A: 1\n\nx\n\n" + from + "A: 2\n\ny\n\n", {"A: 1\n\nx\n", "A: 2\n\ny\n"});
    row("no line end at the end", from + "A: 1\n\nx", {"A: 1\n\nx\n"});
    row("no empty line at the end", from + "A: 1\n\nx\n", {"A: 1\n\nx\n"});
    row("only one empty line is the mailbox's", from + "A: 1\n\nx\n\n\n" + from + "A: 2\n",
        {"A: 1\n\nx\n\n", "A: 2\n"});
    row("empty line missing before the separator", from + "A: 1\n\nx\n" + from + "A: 2\n\ny\n",
        {"A: 1\n\nx\n", "A: 2\n\ny\n"});
    row("dated line in the middle of a paragraph", from + "A: 1\n\nx\n" + from + "said he\n",
        {"A: 1\n\nx\n" + from + "said he\n"});
    row("paragraph that begins with From", from + "A: 1\n\nx\n\nFrom Monday on, at 10:00, we sail\n",
        {"A: 1\n\nx\n\nFrom Monday on, at 10:00, we sail\n"});
    row("one word behind From, no header", from + "A: 1\n\n\nFrom here\nto there\n",
        {"A: 1\n\n\nFrom here\nto there\n"});
    row("separators without a date", "From bob\nA: 1\n\nx\n\nFrom MAILER-DAEMON\nA: 2\n",
        {"A: 1\n\nx\n", "A: 2\n"});
    row("quoted once, twice", from + "A: 1\n\n>From a\n>>From b\n> From c\nx>From d\n",
        {"A: 1\n\nFrom a\n>From b\n> From c\nx>From d\n"});
    row("CRLF", QByteArray(from + "A: 1\n\nx\ny\n\n" + from + "A: 2\n\n>From z\n\n").replace("\n", "\r\n"),
        {"A: 1\n\nx\ny\n", "A: 2\n\nFrom z\n"});
    row("CRLF behind a plain separator", from + "A: 1\r\n\r\nx\r\n\r\n" + from + "A: 2\n",
        {"A: 1\n\nx\n", "A: 2\n"});
    row("length, nothing quoted",
        from + "Content-Length: 62\n\n>From x\n\n" + from + "A: b\n\nye\n\n" + from + "A: 2\n",
        {"Content-Length: 62\n\n>From x\n\n" + from + "A: b\n\nye\n", "A: 2\n"});
    row("length, quoted", from + "Content-Length: 10\n\n>From abc\n\n" + from + "A: 2\n",
        {"Content-Length: 10\n\nFrom abc\n", "A: 2\n"});
    row("length up to the end", from + "content-length: 56\nA: 1\n\nx\n\n" + from + "A: 3\n\nyy\n",
        {"content-length: 56\nA: 1\n\nx\n\n" + from + "A: 3\n\nyy\n"});
    for (const char *wrong : {"3", "12", "99999999", "-1", "99999999999999999999", "x"})
        row(wrong, from + "Content-Length: " + wrong + "\n\nabcd\nef\n\n" + from + "A: 2\n\nyyyyyyyyyyyy\n",
            {QByteArray("Content-Length: ") + wrong + "\n\nabcd\nef\n", "A: 2\n\nyyyyyyyyyyyy\n"});
    row("blank lines and a mark first", "\xef\xbb\xbf\n\r\n\n" + from + "A: 1\n", {"A: 1\n"});
    row("garbage first", "garbage\n\n" + from + "A: 1\n", {"A: 1\n"});
    row("first message without its separator", "A: 1\n\nx\n\n" + from + "A: 2\n", {"A: 1\n\nx\n", "A: 2\n"});
    row("nothing between two separators", from + "\n" + from + "A: 2\n", {"A: 2\n"});
    row("separator alone", from.chopped(1), {});
    row("NULs in the text", from + QByteArray("A: 1\n\n\0\0x\n", 10), {QByteArray("A: 1\n\n\0\0x\n", 10)});
    row("old routing line", from + ">From bob Fri Nov 20 10:42:00 2026 remote from host\nA: 1\n",
        {"From bob Fri Nov 20 10:42:00 2026 remote from host\nA: 1\n"});
}

void MboxTest::dialects()
{
    QFETCH(QByteArray, mbox);
    QTEST(texts(mbox), "texts");
}

void MboxTest::separatorLines_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("sender");
    QTest::addColumn<qint64>("date");
    const qint64 date = 1795171320; // 2026-11-20 10:42:00
    QTest::newRow("asctime") << QByteArray("From a@b.example Fri Nov 20 10:42:00 2026")
                             << QByteArray("a@b.example") << date;
    QTest::newRow("one-digit day") << QByteArray("From a  Fri Nov  6 10:42:00 2026") << QByteArray("a")
                                   << date - 14 * 86400;
    QTest::newRow("zone before") << QByteArray("From a Fri Nov 20 11:42:00 +0100 2026") << QByteArray("a")
                                 << date;
    QTest::newRow("zone behind") << QByteArray("From a Fri Nov 20 05:42:00 2026 -0500") << QByteArray("a")
                                 << date;
    QTest::newRow("named zone") << QByteArray("From a Fri Nov 20 10:42:00 GMT 2026") << QByteArray("a")
                                << date;
    QTest::newRow("as in a header") << QByteArray("From a Fri, 20 Nov 2026 10:42:00 +0000") << QByteArray("a")
                                    << date;
    QTest::newRow("without seconds") << QByteArray("From a Fri Nov 20 10:42 2026") << QByteArray("a") << date;
    QTest::newRow("host behind") << QByteArray("From a Fri Nov 20 10:42:00 2026 remote from b")
                                 << QByteArray("a") << date;
    QTest::newRow("sender of two words")
        << QByteArray("From Aiko T Fri Nov 20 10:42:00 2026") << QByteArray("Aiko T") << date;
    QTest::newRow("no sender") << QByteArray("From Fri Nov 20 10:42:00 2026") << QByteArray() << date;
    QTest::newRow("a dash") << QByteArray("From - Fri Nov 20 10:42:00 2026") << QByteArray("-") << date;
    QTest::newRow("sender named like a day")
        << QByteArray("From sun Fri Nov 20 10:42:00 2026") << QByteArray("sun") << date;
    QTest::newRow("ISO") << QByteArray("From a 2026-11-20 10:42:00") << QByteArray("a") << date;
}

void MboxTest::separatorLines()
{
    QFETCH(QByteArray, line);
    const QList<MboxMessage> messages = readAll("From x\nA: 1\n\n\n" + line + "\nB: 2\n");
    QCOMPARE(messages.size(), 2);
    QTEST(messages[1].sender, "sender");
    QTEST(messages[1].date.value_or(-1), "date");
}

void MboxTest::statusFields_data()
{
    QTest::addColumn<QByteArray>("fields");
    QTest::addColumn<MailFlags>("flags");
    QTest::newRow("none") << QByteArray("A: 1\n") << MailFlags{};
    QTest::newRow("read") << QByteArray("Status: RO\n") << MailFlags{.read = true};
    QTest::newRow("old, unread") << QByteArray("status:O\n") << MailFlags{};
    QTest::newRow("letters") << QByteArray("Status: R\nX-Status: AF\n")
                             << MailFlags{.read = true, .answered = true, .flagged = true};
    QTest::newRow("bits") << QByteArray("X-Mozilla-Status: 1007\nX-Mozilla-Status2: 00000000\n")
                          << MailFlags{.read = true, .answered = true, .flagged = true, .forwarded = true};
    QTest::newRow("removed") << QByteArray("X-Mozilla-Status: 0009\n")
                             << MailFlags{.read = true, .deleted = true};
    QTest::newRow("in the text") << QByteArray("A: 1\n\nStatus: RO\n") << MailFlags{};
}

void MboxTest::statusFields()
{
    QFETCH(QByteArray, fields);
    const QList<MboxMessage> messages = readAll("From x\n" + fields);
    QCOMPARE(messages.size(), 1);
    QTEST(messages[0].flags, "flags");
    QCOMPARE(messages[0].text, fields); // not ours, so they stay
}

void MboxTest::writtenForm()
{
    QBuffer device;
    device.open(QIODevice::WriteOnly);
    MboxWriter writer(device);
    QVERIFY(writer.write("A: 1\n\nFrom x\n>From y", "", 0, {.read = true, .flagged = true}));
    QVERIFY(writer.write("B: 2\n", "a b@c\n", 1795171320, {}));
    QCOMPARE(device.data(),
             QByteArray("From MAILER-DAEMON Thu Jan  1 00:00:00 1970\nStatus: RO\nX-Status: -F---\n"
                        "A: 1\n\n>From x\n>>From y\n\n"
                        "From a_b@c Fri Nov 20 10:42:00 2026\nStatus: O\nX-Status: -----\nB: 2\n\n"));
    device.buffer().clear();
    device.seek(0);
    QVERIFY(writer.write("C: 3\n", QByteArray(5000, 'x'), 1795171320, {}));
    QCOMPARE(readAll(device.data()).value(0).date, std::optional<qint64>(1795171320));
}

void MboxTest::comesBackByteForByte()
{
    QRandomGenerator random(20261120);
    for (int round = 0; round < 2000; ++round) {
        QList<Written> sent;
        for (int i = random.bounded(4); i >= 0; --i) {
            const quint32 bits = random.generate();
            sent.append({nastyText(random),
                         {(bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0, (bits & 8) != 0,
                          (bits & 16) != 0, (bits & 32) != 0}});
        }
        const QByteArray mbox = exported(sent);
        const QList<MboxMessage> back = readAll(mbox);
        QCOMPARE(back.size(), sent.size());
        for (qsizetype i = 0; i < sent.size(); ++i) {
            QCOMPARE(back[i].text, withLineEnd(sent[i].text));
            QVERIFY(back[i].flags == sent[i].flags);
            QCOMPARE(back[i].sender, QByteArray("aiko@tidewater.example"));
            QCOMPARE(back[i].date.value_or(0), qint64(1795171320));
        }
    }
}

/// Mail as it is met: every kind of part, character set and fault that the demo shows.
void MboxTest::demoComesBackToo()
{
    const QList<MboxMessage> demo =
        readAll(Scratch::read(QStringLiteral(VELMAR_TEST_DATA "/../../data/demo.mbox")));
    QVERIFY(demo.size() >= 60);
    QList<Written> sent;
    for (const MboxMessage &message : demo) {
        QVERIFY2(message.text.startsWith("Return-Path: <"), message.text.left(80).constData());
        QVERIFY(message.date.has_value());
        sent.append({message.text, message.flags});
    }
    const QList<MboxMessage> back = readAll(exported(sent));
    QCOMPARE(back.size(), demo.size());
    for (qsizetype i = 0; i < demo.size(); ++i) {
        QCOMPARE(back[i].text, demo[i].text);
        QVERIFY(back[i].flags == demo[i].flags);
    }
}

void MboxTest::cutAnywhere()
{
    QList<qint64> ends;
    const QList<Written> sent = {{"A: 1\n\nx\n\n", {.read = true}},
                                 {"Content-Length: 2\n\nFrom y Fri Nov 20 10:42:00 2026\nB: 3\n", {}},
                                 {"\n\n", {.flagged = true}}};
    const QByteArray mbox = exported(sent, &ends);
    for (qsizetype size = mbox.size(); size >= 0; --size) {
        const QList<MboxMessage> back = readAll(mbox.first(size));
        const qsizetype whole =
            std::count_if(ends.begin(), ends.end(), [size](qint64 end) { return end <= size; });
        QVERIFY(back.size() >= whole);
        for (qsizetype i = 0; i < whole; ++i) {
            // the beginning of a separator that was cut inside "From" is a line like any other
            const bool stub = i + 1 == whole && size - ends[i] > 0 && size - ends[i] < 5;
            const QByteArray rest = stub ? "\n" + mbox.sliced(ends[i], size - ends[i]) + "\n" : QByteArray();
            QCOMPARE(back[i].text, sent[i].text + rest);
            QVERIFY(back[i].flags == sent[i].flags);
        }
    }
}

void MboxTest::goesOnWhereItStopped()
{
    QByteArray mbox = exported({{"A: 1\n", {}}, {"A: 2\n\nx", {}}, {"A: 3\n", {}}});
    const QList<MboxMessage> all = readAll(mbox);
    for (qsizetype i = 0; i < all.size(); ++i) {
        QCOMPARE(all[i].start, i == 0 ? 0 : all[i - 1].end);
        QBuffer device(&mbox);
        device.open(QIODevice::ReadOnly);
        MboxReader reader(device);
        reader.goOnAt(all[i].end);
        MboxMessage next;
        const bool last = i + 1 == all.size();
        QCOMPARE(reader.next(next), last ? MboxReader::Outcome::End : MboxReader::Outcome::Message);
        QCOMPARE(next.text, last ? QByteArray() : all[i + 1].text);
    }
}

void MboxTest::notesWhatItSkips()
{
    Scratch scratch;
    const QByteArray from = "From bob Fri Nov 20 10:42:00 2026\n";
    QCOMPARE(texts("garbage\n\n" + from + "\n" + from + "A: 1\n").size(), 1);
    QCOMPARE(scratch.notes, QStringList({u"Passed over what is no mail: bytes 0 to 9 of the mailbox."_s,
                                         u"Passed over an empty message: bytes 9 to 44 of the mailbox."_s}));
}

/// Separators and quoting on both sides of every border of the reader's window.
void MboxTest::largeTexts()
{
    for (int size = (256 << 10) - 160; size < (256 << 10) + 60; size += 3) {
        const QList<Written> sent = {{"A: 1\n\n" + QByteArray(size, 'x') + "\nFrom y\n", {}},
                                     {"A: 2\n", {.read = true}}};
        const QList<MboxMessage> back = readAll(exported(sent));
        QCOMPARE(back.size(), 2);
        QVERIFY(back[0].text == sent[0].text);
        QVERIFY(back[1].text == sent[1].text && back[1].flags == sent[1].flags);
        QVERIFY(texts("From a\n" + sent[0].text + "\nFrom b Fri Nov 20 10:42:00 2026\nB: 2\n") ==
                QByteArrayList({sent[0].text, "B: 2\n"}));
    }
}

void MboxTest::hostileSizesStayLinear()
{
    const QByteArray from = "From bob Fri Nov 20 10:42:00 2026\n";
    const int size = 8 << 20;
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(texts(from + "A: 1\n\n" + QByteArray(size, 'x')).value(0).size(), size + 7);
    QCOMPARE(texts(from + "A: 1\n\n" + QByteArray("From \n").repeated(size / 6)).size(), 1);
    QCOMPARE(texts(from + "A: 1\n\n" + QByteArray(size, '>') + "From \n").value(0).size(), size + 11);
    QCOMPARE(texts(QByteArray("\n").repeated(size)).size(), 0);
    QCOMPARE(texts(QByteArray("From a\nContent-Length: 9\n\nx\n\n").repeated(size / 32)).size(), size / 32);
    QVERIFY2(timer.elapsed() < 20000, qPrintable(QString::number(timer.elapsed())));
}

void MboxTest::fullDisk()
{
    QFile full(u"/dev/full"_s);
    QVERIFY(full.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    MboxWriter writer(full);
    QVERIFY(!writer.write("A: 1\n", "a", 0, {}));
}

void MboxTest::fileThatShrinks()
{
    Scratch scratch;
    const QByteArray message = "From a\nA: 1\n\n" + QByteArray(400 << 10, 'x') + "\n\n";
    const QString path = scratch.write(u"mbox"_s, message + message);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    MboxReader reader(file);
    MboxMessage got;
    QVERIFY(QFile::resize(path, message.size() + 100));
    QCOMPARE(reader.next(got), MboxReader::Outcome::Failed);
    QCOMPARE(reader.next(got), MboxReader::Outcome::Failed);
    QCOMPARE(scratch.notes.size(), 1);
}

QTEST_GUILESS_MAIN(MboxTest)
#include "mbox_test.moc"
