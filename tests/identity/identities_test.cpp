#include "identity/identitymanager.h"

#include "config/clock.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QDir>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

Identity person(const QString &name, const QString &address)
{
    Identity identity;
    identity.name = name;
    identity.address = address;
    return identity;
}

QString indexPath()
{
    return configPathOf(u"Identities/Index"_s);
}

void writeIndex(const QByteArray &bytes, const QString &name = indexPath())
{
    QDir().mkpath(configPathOf(u"Identities"_s));
    QFile file(name);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("the test cannot write %s", qPrintable(name));
}

/// "1 2* 3": the numbers in their order, the default one marked.
QString shape(const IdentityManager &identities)
{
    QStringList numbers;
    for (const Identity &one : identities.all())
        numbers += QString::number(one.number) + (one.has(IdentityDefault) ? u"*"_s : QString());
    return numbers.join(u' ');
}

/// Three of them: 1 (the default one), 2 and 3.
void addThree(IdentityManager &identities)
{
    identities.add(person(u"Ada"_s, u"ada@example.org"_s));
    identities.add(person(u"Work"_s, u"a.lovelace@example.com"_s));
    identities.add(person(u"Ada again"_s, u"ADA@example.org"_s));
}

int numberOf(const Identity *identity)
{
    return identity ? identity->number : 0;
}

} // namespace

class IdentitiesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void thereAndBack();
    void linesOfTheFile_data();
    void linesOfTheFile();
    void lettersAndWhatIsUnknown();
    void defaults_data();
    void defaults();
    void defaultsAmongChanges();
    void finding_data();
    void finding();
    void answering_data();
    void answering();
    void order_data();
    void order();
    void guard();
    void removed();
    void numbersAreNotGivenTwice();
    void oneLineEach();
    void backup_data();
    void backup();
    void cutAnywhere();
    void unreadable();
    void unwritable();
};

void IdentitiesTest::thereAndBack()
{
    Scratch scratch;
    Identity identity = person(u"Ada \"Countess\" Lovelace\u00e9 \\t"_s, u"ada@example.org"_s);
    identity.replyTo = u"Ada <replies@example.org>, b@example.org"_s;
    identity.organisation = u"Analytical \u673a\u68b0"_s;
    identity.signature = u"Work/short"_s;
    identity.hostName = u"engine.example.org"_s;
    identity.keyId = u"0xDEADBEEF"_s;
    identity.flags = IdentityTagline | (1u << 17);
    identity.sentMail = 12;
    identity.sentNews = 13;
    IdentityManager written;
    QCOMPARE(written.add(identity), 1);
    QVERIFY(written.save());

    IdentityManager read;
    QVERIFY(read.load());
    identity.number = 1;
    identity.set(IdentityDefault, true);
    QCOMPARE(read.all().size(), 1u);
    QVERIFY(read.all().front() == identity);
    QCOMPARE(read.all().front().display(), identity.name + u" <ada@example.org>"_s);
    QVERIFY(scratch.reports.isEmpty());
    QVERIFY(scratch.notes.isEmpty());
}

void IdentitiesTest::linesOfTheFile_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("found"); // name|address|reply|organisation|signature|host|key|flags|mail|news
    QTest::newRow("whole") << QByteArray("4\tAda\ta@b\tr@b\tOrg\tSig\tF6\tM12\tN13\tHhost\tKkey")
                           << u"4:Ada|a@b|r@b|Org|Sig|host|key|7|12|13"_s;
    QTest::newRow("letters in another order")
        << QByteArray("4\tAda\ta@b\t\t\t\tKkey\tN13\tF6\tHhost\tM12") << u"4:Ada|a@b||||host|key|7|12|13"_s;
    QTest::newRow("as few fields as there may be") << QByteArray("4\tAda\ta@b") << u"4:Ada|a@b||||||5|0|0"_s;
    QTest::newRow("too few") << QByteArray("4\tAda") << QString();
    QTest::newRow("empty") << QByteArray("") << QString();
    QTest::newRow("escaped") << QByteArray("4\tA\\\\t\\td\\na\ta@b\t\t\t\tF6\tHh\\\\")
                             << u"4:A\\t d a|a@b||||h\\||7|0|0"_s;
    QTest::newRow("numbers that are none")
        << QByteArray("4\tA\ta@b\t\t\t\tFx\tM-3\tN99999999999") << u"4:A|a@b||||||5|0|0"_s;
    QTest::newRow("no number") << QByteArray("x\tA\ta@b\t\t\t\tF6") << u"1:A|a@b||||||7|0|0"_s;
    QTest::newRow("a negative number") << QByteArray("-7\tA\ta@b\t\t\t\tF6") << u"1:A|a@b||||||7|0|0"_s;
    QTest::newRow("an absurd number") << QByteArray("2147483647\tA\ta@b") << u"1:A|a@b||||||5|0|0"_s;
    QTest::newRow("not UTF-8") << QByteArray("4\tAd\xe9\ta@b") << u"4:Ad\u00e9|a@b||||||5|0|0"_s;
    QTest::newRow("Windows line end") << QByteArray("4\tAda\ta@b\r") << u"4:Ada|a@b||||||5|0|0"_s;
}

void IdentitiesTest::linesOfTheFile()
{
    QFETCH(QByteArray, line);
    Scratch scratch;
    writeIndex("1\n" + line + "\nend\n");
    IdentityManager identities;
    QVERIFY(identities.load());
    QString found;
    for (const Identity &one : identities.all())
        found += QString::number(one.number) + u':' +
                 QStringList{one.name,
                             one.address,
                             one.replyTo,
                             one.organisation,
                             one.signature,
                             one.hostName,
                             one.keyId,
                             QString::number(one.flags),
                             QString::number(one.sentMail),
                             QString::number(one.sentNews)}
                     .join(u'|');
    QTEST(found, "found");
    QVERIFY(scratch.reports.isEmpty());
}

void IdentitiesTest::lettersAndWhatIsUnknown()
{
    Scratch scratch;
    writeIndex("1\n2\tA\ta@b\t\t\t\tZfuture \\n\tF1\tM0\tN0\tH\tK\tQ\nend\n");
    IdentityManager identities;
    QVERIFY(identities.load());
    identities.add(person(u"B"_s, u"b@b"_s));
    QVERIFY(identities.save());
    QCOMPARE(Scratch::read(indexPath()), QByteArray("1\n"
                                                    "2\tA\ta@b\t\t\t\tF1\tM0\tN0\tH\tK\tZfuture \\n\tQ\n"
                                                    "3\tB\tb@b\t\t\t\tF4\tM0\tN0\tH\tK\n"
                                                    "end\n"));
}

void IdentitiesTest::defaults_data()
{
    QTest::addColumn<QByteArray>("lines");
    QTest::addColumn<QString>("found");
    QTest::addColumn<bool>("isReported");
    QTest::newRow("one") << QByteArray("1\tA\ta@b\n2\tB\tb@b\t\t\t\tF1\n") << u"1 2*"_s << false;
    QTest::newRow("none") << QByteArray("1\tA\ta@b\n2\tB\tb@b\n") << u"1* 2"_s << false;
    QTest::newRow("two: the first stays")
        << QByteArray("1\tA\ta@b\n2\tB\tb@b\t\t\t\tF1\n3\tC\tc@c\t\t\t\tF5\n") << u"1 2* 3"_s << true;
    QTest::newRow("two of one number")
        << QByteArray("2\tA\ta@b\n2\tB\tb@b\t\t\t\tF1\n") << u"2 3*"_s << false;
    QTest::newRow("no identities") << QByteArray() << QString() << false;
}

void IdentitiesTest::defaults()
{
    QFETCH(QByteArray, lines);
    QFETCH(bool, isReported);
    Scratch scratch;
    writeIndex("1\n" + lines + "end\n");
    IdentityManager identities;
    QVERIFY(identities.load());
    QTEST(shape(identities), "found");
    const QStringList expected{u"More than one identity is set as the primary identity"_s};
    QCOMPARE(scratch.reports, isReported ? expected : QStringList());
    QVERIFY(identities.save()); // what was settled is settled for good
    scratch.reports.clear();
    IdentityManager again;
    QVERIFY(again.load());
    QTEST(shape(again), "found");
    QVERIFY(scratch.reports.isEmpty());
}

void IdentitiesTest::defaultsAmongChanges()
{
    Scratch scratch;
    IdentityManager identities;
    QVERIFY(!identities.defaultIdentity());
    addThree(identities);
    QCOMPARE(shape(identities), u"1* 2 3"_s);
    identities.setDefault(2);
    QCOMPARE(shape(identities), u"1 2* 3"_s);
    identities.setDefault(9);
    QCOMPARE(shape(identities), u"1 2* 3"_s);
    Identity changed = *identities.identity(2);
    changed.set(IdentityDefault, false);
    QVERIFY(identities.update(changed)); // nobody else has become it
    QCOMPARE(shape(identities), u"1 2* 3"_s);
    changed = *identities.identity(3);
    changed.set(IdentityDefault, true);
    QVERIFY(identities.update(changed));
    QCOMPARE(shape(identities), u"1 2 3*"_s);
    Identity fourth = person(u"D"_s, u"d@d"_s);
    fourth.set(IdentityDefault, true);
    QCOMPARE(identities.add(fourth), 4);
    QCOMPARE(shape(identities), u"1 2 3 4*"_s);
    QVERIFY(identities.remove(4));
    QCOMPARE(shape(identities), u"1* 2 3"_s);
    QVERIFY(!identities.remove(4));
    QVERIFY(!identities.update(fourth));
}

void IdentitiesTest::finding_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("number");
    QTest::newRow("number") << u"2"_s << 2;
    QTest::newRow("no such number") << u"9"_s << 0;
    QTest::newRow("name") << u"work"_s << 2;
    QTest::newRow("address") << u"A.Lovelace@EXAMPLE.com"_s << 2;
    QTest::newRow("display form") << u" Work <a.lovelace@example.com> "_s << 2;
    QTest::newRow("the first with an address") << u"ada@example.org"_s << 1;
    QTest::newRow("nothing") << u" "_s << 0;
    QTest::newRow("part of a name") << u"Wor"_s << 0;
}

void IdentitiesTest::finding()
{
    QFETCH(QString, text);
    Scratch scratch;
    IdentityManager identities;
    addThree(identities);
    QTEST(numberOf(identities.find(text)), "number");
}

void IdentitiesTest::answering_data()
{
    QTest::addColumn<QStringList>("recipients");
    QTest::addColumn<int>("accounts");
    QTest::addColumn<int>("default_");
    QTest::addColumn<int>("number");
    const QString stranger = u"x@example.net"_s;
    const QString ada = u"Ada@Example.org"_s;
    const QString work = u"a.lovelace@example.com"_s;
    QTest::newRow("written to one of them") << QStringList{stranger, work} << 0 << 1 << 2;
    QTest::newRow("the first of the recipients counts") << QStringList{work, ada} << 0 << 1 << 2;
    QTest::newRow("to nobody we know, the account's") << QStringList{stranger} << 2 << 1 << 2;
    QTest::newRow("to nobody we know, no account's") << QStringList{stranger} << 0 << 3 << 3;
    QTest::newRow("an account's that is gone") << QStringList{stranger} << 9 << 2 << 2;
    QTest::newRow("the recipient before the account's") << QStringList{ada} << 2 << 1 << 1;
    QTest::newRow("two have the address: the account's") << QStringList{ada} << 3 << 1 << 3;
    QTest::newRow("two have the address: the default one") << QStringList{ada} << 0 << 3 << 3;
    QTest::newRow("two have the address: the first") << QStringList{ada} << 0 << 2 << 1;
    QTest::newRow("no recipients") << QStringList() << 0 << 2 << 2;
    QTest::newRow("an empty recipient") << QStringList{QString()} << 0 << 2 << 2;
}

void IdentitiesTest::answering()
{
    QFETCH(QStringList, recipients);
    QFETCH(int, accounts);
    QFETCH(int, default_);
    Scratch scratch;
    IdentityManager identities;
    QVERIFY(!identities.answering(recipients, accounts));
    addThree(identities);
    identities.setDefault(default_);
    QTEST(numberOf(identities.answering(recipients, accounts)), "number");
}

void IdentitiesTest::order_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<int>("place");
    QTest::addColumn<QString>("found");
    QTest::newRow("to the end") << 1 << 2 << u"2 3 1*"_s;
    QTest::newRow("to the front") << 3 << 0 << u"3 1* 2"_s;
    QTest::newRow("where it is") << 2 << 1 << u"1* 2 3"_s;
    QTest::newRow("beyond the end") << 2 << 3 << u"1* 2 3"_s;
    QTest::newRow("before the front") << 2 << -1 << u"1* 2 3"_s;
    QTest::newRow("what is not there") << 9 << 0 << u"1* 2 3"_s;
}

void IdentitiesTest::order()
{
    QFETCH(int, number);
    QFETCH(int, place);
    Scratch scratch;
    IdentityManager identities;
    addThree(identities);
    identities.move(number, place);
    QTEST(shape(identities), "found");
    QVERIFY(identities.save());
    IdentityManager read;
    QVERIFY(read.load());
    QTEST(shape(read), "found");
}

void IdentitiesTest::guard()
{
    Scratch scratch;
    IdentityManager identities;
    addThree(identities);
    identities.setGuard([](int number) { return number == 2 ? u"To work %s"_s : QString(); });
    QSignalSpy changes(&identities, &IdentityManager::changed);
    QVERIFY(!identities.remove(2));
    QCOMPARE(scratch.reports,
             QStringList{u"Identity 'Work' is referenced by filter 'To work %s' and cannot be deleted"_s});
    QVERIFY(identities.identity(2));
    QCOMPARE(changes.count(), 0);
    QVERIFY(identities.remove(1));
    QCOMPARE(changes.count(), 1);
    QCOMPARE(shape(identities), u"2* 3"_s);
}

/// Nothing of its folder goes before the list without it is safe, and then only aside.
void IdentitiesTest::removed()
{
    Scratch scratch;
    qint64 now = 1'700'000'000;
    const ClockOverride clock([&now] { return now * 1000; });
    IdentityManager identities;
    addThree(identities);
    QVERIFY(identities.save());
    const QString folder = configPathOf(u"Identities/2"_s);
    const QString aside = configPathOf(u"Identities/Removed/2-1700000000"_s);
    QVERIFY(QDir().mkpath(folder + u"/Signatures"_s));
    QVERIFY(identities.remove(2));
    QVERIFY(QDir(folder).exists());
    QVERIFY(identities.save());
    QVERIFY(!QDir(folder).exists());
    QVERIFY(QDir(aside + u"/Signatures"_s).exists());
    const auto loadedAfterDays = [&now](int days) {
        now = 1'700'000'000 + days * 86'400LL + 1;
        IdentityManager later;
        return later.load();
    };
    QVERIFY(loadedAfterDays(29));
    QVERIFY(QDir(aside).exists());
    QVERIFY(loadedAfterDays(30));
    QVERIFY(!QDir(aside).exists());
}

void IdentitiesTest::numbersAreNotGivenTwice()
{
    Scratch scratch;
    {
        IdentityManager identities;
        addThree(identities);
        QVERIFY(identities.remove(3));
        QVERIFY(identities.save());
    }
    IdentityManager identities;
    QVERIFY(identities.load());
    QCOMPARE(shape(identities), u"1* 2"_s);
    QCOMPARE(identities.add(person(u"New"_s, u"n@example.org"_s)), 4);
}

/// What is typed or read becomes parts of header fields.
void IdentitiesTest::oneLineEach()
{
    Scratch scratch;
    const QString nasty = u" a\r\nBcc: x@y\u2028\u2029\u0085\t\v\0b\n"_s;
    const QString harmless = u"a  Bcc: x@y      b"_s;
    Identity identity = person(nasty, nasty);
    identity.replyTo = identity.organisation = identity.hostName = identity.keyId = identity.signature =
        nasty;
    identity.others = {u"Zgood"_s, u"Z\t9\tEvil\te@e"_s, u"Y\n9\tEvil\te@e"_s};
    IdentityManager identities;
    const int added = identities.add(identity);
    const Identity &found = *identities.identity(added);
    for (const QString &text : {found.name, found.address, found.replyTo, found.organisation, found.hostName,
                                found.keyId, found.signature})
        QCOMPARE(text, harmless);
    QVERIFY(identities.save());
    IdentityManager read;
    QVERIFY(read.load());
    QVERIFY(read.all() == identities.all());
    QCOMPARE(read.all().size(), 1u);
    QCOMPARE(read.all().front().others, QStringList{u"Zgood"_s});
}

void IdentitiesTest::backup_data()
{
    QTest::addColumn<QByteArray>("index");
    QTest::addColumn<QByteArray>("backup");
    QTest::addColumn<QString>("found");
    const QByteArray whole = "1\n1\tA\ta@b\t\t\t\tF1\n2\tB\tb@b\t\t\t\tF0\nend\n";
    QTest::newRow("no file") << QByteArray() << whole << u"1* 2"_s;
    QTest::newRow("cut file") << QByteArray("1\n1\tA\ta") << whole << u"1* 2"_s;
    QTest::newRow("both cut: what is there") << QByteArray("1\n5\tA\ta@b\n") << QByteArray("1\n") << u"5*"_s;
    QTest::newRow("neither") << QByteArray() << QByteArray() << QString();
    QTest::newRow("no version") << QByteArray("7\tA\ta@b\nend\n") << QByteArray() << u"7*"_s;
    QTest::newRow("a later version") << QByteArray("2\n7\tA\ta@b\nend\n") << QByteArray() << u"7*"_s;
    QTest::newRow("nothing but the end") << QByteArray("end\n") << whole << QString();
}

void IdentitiesTest::backup()
{
    QFETCH(QByteArray, index);
    QFETCH(QByteArray, backup);
    Scratch scratch;
    if (!index.isEmpty())
        writeIndex(index);
    if (!backup.isEmpty())
        writeIndex(backup, indexPath() + u".backup"_s);
    IdentityManager identities;
    QVERIFY(identities.load());
    QTEST(shape(identities), "found");
    QVERIFY(scratch.reports.isEmpty());
}

void IdentitiesTest::cutAnywhere()
{
    Scratch scratch;
    IdentityManager identities;
    addThree(identities);
    QVERIFY(identities.save());
    IdentityManager first;
    QVERIFY(first.load()); // makes the backup
    const QByteArray whole = Scratch::read(indexPath());
    for (qsizetype size = whole.size() - 5; size >= 0; --size) { // "end" without its line end is whole
        writeIndex(whole.first(size));
        IdentityManager read;
        QVERIFY(read.load());
        QCOMPARE(shape(read), u"1* 2 3"_s);
    }
}

void IdentitiesTest::unreadable()
{
    Scratch scratch;
    QVERIFY(QDir().mkpath(indexPath()));
    IdentityManager identities;
    QVERIFY(!identities.load());
    QCOMPARE(scratch.reports, QStringList{u"Unable to read identities file"_s});
    identities.add(person(u"A"_s, u"a@b"_s));
    QVERIFY(!identities.save());
    QCOMPARE(scratch.reports.last(), u"Unable to write identities file"_s);
    QVERIFY(QDir(indexPath()).exists());
    QVERIFY(!identities.saveInPassing());
    QCOMPARE(scratch.reports.size(), 2); // nobody is told every few seconds
    identities.add(person(u"B"_s, u"b@b"_s));
    QVERIFY(!identities.saveInPassing());
    QCOMPARE(scratch.reports.size(), 3);
}

void IdentitiesTest::unwritable()
{
    Scratch scratch;
    IdentityManager identities;
    addThree(identities);
    QVERIFY(QDir().mkpath(indexPath() + u'~')); // nothing can be written beside the list
    QVERIFY(QDir().mkpath(configPathOf(u"Identities/2"_s)));
    QVERIFY(identities.remove(2));
    QVERIFY(!identities.save());
    QCOMPARE(scratch.reports, QStringList{u"Unable to write identities file"_s});
    QVERIFY(QDir(configPathOf(u"Identities/2"_s)).exists());
    QVERIFY(QDir().rmdir(indexPath() + u'~'));
    QVERIFY(identities.save()); // it is tried again
    QVERIFY(!QDir(configPathOf(u"Identities/2"_s)).exists());
    scratch.reports.clear();
    QVERIFY(QDir().mkpath(indexPath() + u".backup"_s));
    QVERIFY(identities.load());
    QCOMPARE(scratch.reports, QStringList{u"Unable to backup identities file"_s});
}

QTEST_GUILESS_MAIN(IdentitiesTest)
#include "identities_test.moc"
