#include "net/accountmanager.h"

#include "support/memory.h"
#include "support/scratch.h"

#include <QDir>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QString indexPath()
{
    return configPathOf(u"Accounts/Index"_s);
}

void writeIndex(const QByteArray &bytes)
{
    QFile file(indexPath());
    if (!createStoreDirectories() || !file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("the test cannot write its accounts");
}

AccountData batch(const QString &name)
{
    AccountData account;
    account.name = name;
    account.host = u"/var/spool/"_s + name;
    account.kind = AccountKind::BatchFile;
    return account;
}

} // namespace

class AccountsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void theLine();
    void aLine_data();
    void aLine();
    void backup();
    void aLineThatWasCut();
    void damagedFilesHoldNoPasswords();
    void cannotBeRead();
    void cannotBeWritten();
    void numbers();
    void everyField();
    void whatIsStillFree();
    void anotherServer();
    void separators_data();
    void separators();
    void forItsOwnersEyesOnly();
    void aPasswordThatGoes_data();
    void aPasswordThatGoes();
    void chains();
    void order();
};

void AccountsTest::theLine()
{
    Scratch scratch;
    QVERIFY(createStoreDirectories());
    AccountData account = batch(u"Caf\u00e9 C:\\new \\\\ more"_s);
    account.password = u"C:\\secret"_s;
    account.port = 110;
    account.flags = 0x80000108;
    account.chained = 3;
    account.others = {{'S', u"text"_s}};
    AccountManager manager;
    manager.load();
    QCOMPARE(manager.add(account), 1);
    QVERIFY(manager.save());
    const QByteArray expected =
        u"1\nCaf\u00e9 C:\\new \\\\ more\t%1\t\tC:\\secret\tA1\tT6\tP110\tL0\tF2147483912\tH\tE0\tC0\tG0"
        "\tN0\tI0\tV0\tStext\tW3\tD0\tR0\nend\n"_s.arg(u"/var/spool/Caf\u00e9 C:\\new \\\\ more"_s)
            .toUtf8();
    QCOMPARE(Scratch::read(indexPath()), expected);
    AccountManager again;
    again.load();
    QCOMPARE(again.accounts().size(), 1u);
    const AccountData &read = again.accounts().front()->data();
    QCOMPARE(read.name, account.name);
    QCOMPARE(read.host, account.host);
    QCOMPARE(read.flags, account.flags);
    QCOMPARE(read.kind, AccountKind::BatchFile);
    QCOMPARE(read.others.value('S'), u"text"_s);
}

void AccountsTest::aLine_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("password");
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("port");
    QTest::newRow("unknown letters") << QByteArray("n\th\tu\tp\tA5\tT6\tZ9\tq\tP110") << u"n"_s << u"p"_s << 6
                                     << 110;
    QTest::newRow("another order") << QByteArray("n\th\tu\tp\tP110\tT2\tA5") << u"n"_s << u"p"_s << 2 << 110;
    QTest::newRow("letters missing") << QByteArray("n\th\tu\tp\tA5") << u"n"_s << u"p"_s << 0 << 0;
    QTest::newRow("three fields") << QByteArray("n\th\tu") << u"n"_s << QString() << 0 << 0;
    QTest::newRow("one field") << QByteArray("n") << u"n"_s << QString() << 0 << 0;
    QTest::newRow("an empty line") << QByteArray("") << QString() << QString() << 0 << 0;
    QTest::newRow("empty leading fields") << QByteArray("\t\t\t\tA5\tT6") << QString() << QString() << 6 << 0;
    QTest::newRow("no numbers") << QByteArray("n\th\tu\tp\tAx\tT-1\tPmany") << u"n"_s << u"p"_s << 0 << 0;
    QTest::newRow("a kind of later days") << QByteArray("n\th\tu\tp\tA5\tT99") << u"n"_s << u"p"_s << 0 << 0;
}

void AccountsTest::aLine()
{
    QFETCH(QByteArray, line);
    Scratch scratch;
    writeIndex("7\n" + line + "\nend\nbehind\tthe\tend\n");
    AccountManager manager;
    manager.load();
    QCOMPARE(manager.accounts().size(), 1u);
    const AccountData &account = manager.accounts().front()->data();
    QTEST(account.name, "name");
    QTEST(account.password, "password");
    QTEST(int(account.kind), "kind");
    QTEST(account.port, "port");
    QVERIFY(account.number > 0); // it names a directory
    QCOMPARE(scratch.reports, QStringList());
    QVERIFY(manager.add(batch(u"new"_s)) > 7);
    QVERIFY(manager.save());
    QVERIFY(!Scratch::read(indexPath()).contains("Z9"));
}

void AccountsTest::backup()
{
    Scratch scratch;
    writeIndex("3\na\th\tu\tp\tA3\tT6\nend\n");
    AccountManager().load();
    QCOMPARE(Scratch::read(indexPath() + u".backup"_s), Scratch::read(indexPath()));
    for (const QByteArray &damage : {QByteArray(), QByteArray("3\na\th\tu\tp\tA3\tT")}) {
        writeIndex(damage);
        if (damage.isNull())
            QFile::remove(indexPath());
        AccountManager manager;
        manager.load();
        QCOMPARE(manager.accounts().size(), 1u);
        QCOMPARE(manager.find(u"a"_s)->number(), 3);
        QCOMPARE(scratch.notes.size(), 1);
        scratch.notes.clear();
    }
    QFile::remove(indexPath());
    QFile::remove(indexPath() + u".backup"_s);
    QCOMPARE(scratch.reports, QStringList());
    writeIndex("3\na\th\tu\tp\tA3\tT6\nend\n");
    QVERIFY(QDir().mkdir(indexPath() + u".backup"_s)); // in the way
    AccountManager().load();
    QCOMPARE(scratch.reports, QStringList{u"Unable to backup accounts file"_s});
    QFile::remove(indexPath());
    QVERIFY(QDir().rmdir(indexPath() + u".backup"_s));
    AccountManager manager;
    manager.load();
    QVERIFY(manager.accounts().empty());
}

/// In the middle of its flags, with nothing whole beside it: no client works with what is left of them.
void AccountsTest::aLineThatWasCut()
{
    Scratch scratch;
    const QByteArray whole = "3\na\th\tu\tp\tA1\tT2\tP995\tL0\tF4368\nb\th\tu\tp\tA3\tT2\tP995\tL0\tF4368";
    for (int cut = 0; cut < 6; ++cut) { // F4368 ... F, and no flags at all
        writeIndex(whole.chopped(cut));
        AccountManager manager;
        manager.load();
        QCOMPARE(manager.accounts().size(), 2u);
        QCOMPARE(manager.find(u"a"_s)->data().flags, 4368u);
        QVERIFY(manager.find(u"b"_s)->data().has(AccountLeftOut));
        QCOMPARE(manager.find(u"b"_s)->fetch(true, true), FetchAnswer::Nothing);
    }
}

/// What is kept of a damaged file, and what was kept by an earlier version.
void AccountsTest::damagedFilesHoldNoPasswords()
{
    Scratch scratch;
    writeIndex("2\none\th1\tada\ts3cret\tA1\tT2\ntwo\th2\tbob\tse");
    QVERIFY(QFile::copy(indexPath(), indexPath() + u".damaged-1"_s));
    AccountManager manager;
    QVERIFY(manager.load());
    QCOMPARE(manager.accounts().size(), 2u);
    QCOMPARE(manager.accounts()[0]->data().password, u"s3cret"_s); // it is still in use
    const QDir directory = QFileInfo(indexPath()).dir();
    const QStringList kept = directory.entryList({u"Index.damaged-*"_s});
    QCOMPARE(kept.size(), 2);
    for (const QString &name : kept)
        QCOMPARE(Scratch::read(directory.filePath(name)), "2\none\th1\tada\t\tA1\tT2\ntwo\th2\tbob\t");
}

void AccountsTest::cannotBeRead()
{
    Scratch scratch;
    QVERIFY(createStoreDirectories());
    QVERIFY(QDir().mkpath(indexPath())); // a directory in its place
    AccountManager manager;
    QVERIFY(!manager.load());
    QCOMPARE(scratch.reports, QStringList{u"Unable to read accounts file"_s});
    QVERIFY(QDir().rmdir(indexPath()));
    QVERIFY(manager.load());
}

void AccountsTest::cannotBeWritten()
{
    Scratch scratch;
    writeIndex("3\na\th\tu\tp\tA3\tT6\nend\n");
    const QByteArray before = Scratch::read(indexPath());
    AccountManager manager;
    manager.load();
    QVERIFY(QFile::link(u"/dev/full"_s, indexPath() + u'~'));
    QVERIFY(manager.add(batch(u"b"_s)) > 0);
    QVERIFY(!manager.save());
    QCOMPARE(scratch.reports, QStringList{u"Unable to write accounts file"_s});
    QCOMPARE(Scratch::read(indexPath()), before);
    QVERIFY(manager.save()); // tried again, with room by now
    QVERIFY(Scratch::read(indexPath()).contains("\nb\t"));

    QFile::remove(indexPath());
    QVERIFY(QDir().mkdir(indexPath()));
    AccountManager blind;
    blind.load();
    QCOMPARE(scratch.reports.last(), u"Unable to read accounts file"_s);
    QVERIFY(blind.add(batch(u"c"_s)) > 0);
    QVERIFY(!blind.save());
}

void AccountsTest::numbers()
{
    Scratch scratch;
    writeIndex("2\na\th\tu\tp\tA5\tT6\nb\th\tu\tp\tA5\tT6\nend\n"); // a line that somebody copied
    AccountManager manager;
    manager.load();
    QCOMPARE(manager.find(u"a"_s)->number(), 5);
    QCOMPARE(manager.find(u"b"_s)->number(), 6);
    QSignalSpy deleted(&manager, &AccountManager::accountDeleted);
    manager.remove(6);
    manager.remove(77);
    QCOMPARE(deleted.size(), 1);
    QCOMPARE(manager.add(batch(u"c"_s)), 7); // never one that was given before
    QCOMPARE(manager.add(batch(u"c"_s)), 0);
    QCOMPARE(manager.add(batch(u" "_s)), 0);

    writeIndex("2147483647\na\th\tu\tp\tA2147483647\tT6\nend\n"); // garbage: nothing comes behind it
    AccountManager other;
    other.load();
    QVERIFY(other.find(u"a"_s)->number() > 0);
    QVERIFY(other.add(batch(u"b"_s)) > other.find(u"a"_s)->number());
}

void AccountsTest::everyField()
{
    Scratch scratch;
    AccountData account = batch(u"a"_s);
    account.kind = AccountKind::Pop3;
    account.user = u"ada"_s;
    account.password = u"love lace"_s;
    account.port = 995;
    account.flags = AccountTls | AccountApop | AccountLeaveOnServer | AccountNeedsEncryption | AccountKeyring;
    account.address = u"ada@example.org"_s;
    account.sizeLimit = 512;
    account.connections = 4;
    account.group = 12;
    account.identity = 3;
    account.chained = 9;
    account.daysOnServer = 14;
    account.fetchInterval = 10;
    AccountManager manager;
    manager.load();
    QCOMPARE(manager.add(account), 1);
    QVERIFY(manager.save());
    AccountManager again;
    again.load();
    const AccountData read = again.account(1)->data();
    QCOMPARE(read.user, account.user);
    QCOMPARE(read.password, account.password);
    QCOMPARE(read.port, account.port);
    QCOMPARE(read.flags, account.flags);
    QCOMPARE(read.address, account.address);
    QCOMPARE(read.sizeLimit, account.sizeLimit);
    QCOMPARE(read.connections, account.connections);
    QCOMPARE(read.group, account.group);
    QCOMPARE(read.identity, account.identity);
    QCOMPARE(read.chained, account.chained);
    QCOMPARE(read.daysOnServer, account.daysOnServer);
    QCOMPARE(read.fetchInterval, account.fetchInterval);
}

void AccountsTest::whatIsStillFree()
{
    Scratch scratch;
    writeIndex("1\na\th\tu\tp\tA1\tT2\tF163\tN5\tV6\tSseven\tR8\tP99999999999\tC-1\nend\n");
    AccountManager manager;
    manager.load();
    AccountData data = manager.account(1)->data();
    QCOMPARE(data.port, std::numeric_limits<int>::max()); // and not what is left of it
    data.set(AccountTls, true);
    QVERIFY(manager.update(data));
    QVERIFY(manager.save());
    const QByteArray line = Scratch::read(indexPath());
    for (const char *field : {"\tN5\t", "\tV6\t", "\tSseven\t", "\tR8\n", "\tF419\t"})
        QVERIFY2(line.contains(field), field); // bits 0, 1, 5 and 7, too
}

/// What a server said of itself says nothing of the next one.
void AccountsTest::anotherServer()
{
    Scratch scratch;
    writeIndex("1\na\th\tu\tp\tA1\tT5\tP587\nend\n");
    AccountManager manager;
    manager.load();
    manager.account(1)->noteLargestMail(1000);
    AccountData data = manager.account(1)->data();
    data.user = u"other"_s;
    QVERIFY(manager.update(data));
    QCOMPARE(manager.account(1)->largestMail(), 1000);
    data.host = u"elsewhere"_s;
    QVERIFY(manager.update(data));
    QCOMPARE(manager.account(1)->largestMail(), 0);
}

void AccountsTest::separators_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("fits");
    QTest::newRow("a tab") << u"a\tb"_s << false;
    QTest::newRow("a line feed") << u"a\nend"_s << false;
    QTest::newRow("a return") << u"a\r"_s << false;
    QTest::newRow("blanks and a backslash") << u" a \\t b "_s << true;
}

void AccountsTest::separators()
{
    QFETCH(QString, text);
    QFETCH(bool, fits);
    for (QString AccountData::*field : {&AccountData::name, &AccountData::host, &AccountData::user,
                                        &AccountData::password, &AccountData::address}) {
        Scratch scratch;
        AccountManager manager;
        manager.load();
        AccountData account = batch(u"b"_s);
        account.number = manager.add(account);
        account.*field = text;
        QCOMPARE(manager.faultOf(account), fits ? AccountFault::None : AccountFault::Separator);
        QCOMPARE(manager.update(account), fits);
        QCOMPARE(manager.account(account.number)->data().*field == text, fits);
        account.name = field == &AccountData::name ? text : u"c"_s;
        manager.remove(account.number);
        QCOMPARE(manager.add(account) > 0, fits);
        QVERIFY(manager.save());
        AccountManager again;
        again.load();
        QCOMPARE(again.accounts().size(), fits ? 1u : 0u);
    }
}

void AccountsTest::forItsOwnersEyesOnly()
{
    Scratch scratch;
    const auto mode = [](const QString &path) { return int(QFile::permissions(path)) & 0x077; };
    const auto open = [](const QString &path) {
        return QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup |
                                               QFile::ReadOther);
    };
    writeIndex("3\na\th\tu\tp\tA3\tT6\nend\n");
    QVERIFY(open(indexPath()));
    AccountManager manager;
    manager.load();
    QCOMPARE(mode(indexPath()), 0);
    QCOMPARE(mode(indexPath() + u".backup"_s), 0);

    QFile leftOver(indexPath() + u'~');
    QVERIFY(leftOver.open(QIODevice::WriteOnly) && open(leftOver.fileName()));
    leftOver.close();
    QVERIFY(manager.add(batch(u"b"_s)) > 0);
    QVERIFY(manager.save());
    QCOMPARE(mode(indexPath()), 0);
}

void AccountsTest::aPasswordThatGoes_data()
{
    QTest::addColumn<int>("way");
    QTest::newRow("changed") << 0;
    QTest::newRow("taken away") << 1;
    QTest::newRow("with its account") << 2;
    QTest::newRow("into the keyring") << 3;
}

void AccountsTest::aPasswordThatGoes()
{
    QFETCH(int, way);
    Scratch scratch;
    writeIndex("3\na\th\tu\ts3cret\tA3\tT2\nend\n");
    AccountManager manager;
    manager.load();
    QVERIFY(Scratch::read(indexPath() + u".backup"_s).contains("s3cret"));
    AccountData data = manager.account(3)->data();
    if (way == 0)
        data.password = u"other"_s;
    else
        data.password.clear();
    data.set(AccountKeyring, way == 3);
    if (way == 2)
        manager.remove(3);
    else
        QVERIFY(manager.update(data));
    QVERIFY(manager.save());
    QVERIFY(!Scratch::read(indexPath()).contains("s3cret"));
    QVERIFY(!Scratch::read(indexPath() + u".backup"_s).contains("s3cret"));
    QCOMPARE(Scratch::read(indexPath() + u".backup"_s), Scratch::read(indexPath()));
}

void AccountsTest::chains()
{
    Scratch scratch;
    AccountManager manager;
    manager.load();
    const int first = manager.add(batch(u"a"_s));
    AccountData second = batch(u"b"_s);
    second.chained = first;
    second.number = manager.add(second);
    const QSignalSpy updated(&manager, &AccountManager::accountUpdated);
    manager.remove(first);
    QCOMPARE(manager.account(second.number)->data().chained, 0);
    QCOMPARE(updated.size(), 1);
}

void AccountsTest::order()
{
    Scratch scratch;
    AccountManager manager;
    manager.load();
    for (const QString &name : {u"a"_s, u"b"_s, u"c"_s, u"d"_s})
        manager.add(batch(name));
    const auto names = [](const AccountManager &accounts) {
        QString all;
        for (const AccountData &account : accounts.all())
            all += account.name;
        return all;
    };
    manager.move(1, 2);
    QCOMPARE(names(manager), u"bcad"_s);
    manager.move(4, 0);
    QCOMPARE(names(manager), u"dbca"_s);
    manager.move(4, 4); // no such places
    manager.move(4, -1);
    manager.move(9, 1);
    QCOMPARE(names(manager), u"dbca"_s);
    QVERIFY(manager.save());
    AccountManager again;
    again.load();
    QCOMPARE(names(again), u"dbca"_s);
}

QTEST_GUILESS_MAIN(AccountsTest)
#include "accounts_test.moc"
