#include "net/accountfiles.h"

#include "net/accountoptions.h"
#include "net/fakes.h"
#include "net/identifierlist.h"

#include "config/clock.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

CertificateInfo certificate(const QByteArray &digit)
{
    CertificateInfo info;
    info.sha256 = digit.repeated(64);
    info.commonName = u"mail\texample"_s;
    info.subject = u"CN=mail.example\nO=A \\ B"_s;
    info.issuer = u"CN=Test CA"_s;
    info.names = {u"mail.example"_s, u"*.example"_s};
    info.validFrom = 1'700'000'000;
    info.validUntil = 1'800'000'000;
    return info;
}

QByteArrayList identifiersOf(const IdentifierList &list)
{
    QByteArrayList identifiers;
    for (const IdentifierList::Entry &entry : list.entries())
        identifiers += entry.identifier;
    return identifiers;
}

} // namespace

class AccountFilesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void options();
    void optionsOfLaterDays();
    void optionsAreCut();
    void optionsWithoutEnd();
    void fingerprints_data();
    void fingerprints();
    void wishes();
    void wishesAreCut_data();
    void wishesAreCut();
    void wishesCannotBeWritten_data();
    void wishesCannotBeWritten();
    void removedAccounts();
};

void AccountFilesTest::options()
{
    Scratch scratch;
    QVERIFY(readAccountOptions(7).caFile.isEmpty());
    AccountOptions options;
    options.caFile = u"/home/ada/own\nca.pem"_s;
    options.login = LoginMethod::Digest;
    options.largestMail = 35'882'577'000;
    options.serve(12);
    options.serve(3);
    options.serve(12);
    options.accept(certificate("a"));
    options.accept(certificate("b"));
    options.accept(certificate("a")); // is the newest again
    QVERIFY(writeAccountOptions(7, options));
    const AccountOptions read = readAccountOptions(7);
    QCOMPARE(read.caFile, options.caFile);
    QCOMPARE(read.login, LoginMethod::Digest);
    QCOMPARE(read.largestMail, options.largestMail);
    QCOMPARE(read.identities, (std::vector<int>{12, 3}));
    QCOMPARE(read.accepted.size(), 2u);
    const CertificateInfo &newest = read.accepted.back();
    QCOMPARE(newest.sha256, QByteArray("a").repeated(64));
    QCOMPARE(newest.commonName, u"mail\texample"_s);
    QCOMPARE(newest.subject, u"CN=mail.example\nO=A \\ B"_s);
    QCOMPARE(newest.issuer, u"CN=Test CA"_s);
    QCOMPARE(newest.names, QStringList({u"mail.example"_s, u"*.example"_s}));
    QCOMPARE(newest.validFrom, 1'700'000'000);
    QCOMPARE(newest.validUntil, 1'800'000'000);
    QVERIFY(read.accepts(QByteArray("b").repeated(64)));
    QVERIFY(!read.accepts(QByteArray("c").repeated(64)));
    QVERIFY(!AccountOptions().accepts({}));
    struct stat info = {};
    QCOMPARE(::stat(QFile::encodeName(accountFilePath(7, u"Options"_s)).constData(), &info), 0);
    QCOMPARE(info.st_mode & 0777, mode_t(0600));
}

void AccountFilesTest::optionsOfLaterDays()
{
    Scratch scratch;
    QVERIFY(QDir().mkpath(accountFilePath(7, {})));
    QFile file(accountFilePath(7, u"Options"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("login telepathy\ncertificate xyz\nshape round\nca-file /ca\nend\n");
    file.close();
    const AccountOptions options = readAccountOptions(7);
    QCOMPARE(options.login, LoginMethod::Automatic);
    QCOMPARE(options.caFile, u"/ca"_s);
    QVERIFY(options.accepted.empty());
    QVERIFY(writeAccountOptions(7, options));
    for (const char *line : {"login telepathy\n", "certificate xyz\n", "shape round\n"})
        QVERIFY(Scratch::read(file.fileName()).contains(line));
}

void AccountFilesTest::optionsAreCut()
{
    Scratch scratch;
    AccountOptions options;
    options.caFile = u"/ca/of/mine"_s;
    options.accept(certificate("a"));
    QVERIFY(writeAccountOptions(7, options));
    const QString path = accountFilePath(7, u"Options"_s);
    for (qint64 size = QFile(path).size() - 1; size >= 0; --size) {
        QVERIFY(QFile::resize(path, size));
        const AccountOptions read = readAccountOptions(7);
        QVERIFY(read.caFile.isEmpty() || read.caFile == options.caFile);
        for (const CertificateInfo &one : read.accepted)
            QCOMPARE(one.issuer, u"CN=Test CA"_s);
    }
}

/// Nobody reads a hundred megabytes for them.
void AccountFilesTest::optionsWithoutEnd()
{
    Scratch scratch;
    AccountOptions options;
    options.caFile = u"/ca/of/mine"_s;
    QVERIFY(writeAccountOptions(7, options));
    QVERIFY(QFile::resize(accountFilePath(7, u"Options"_s), 100 * 1024 * 1024));
    QVERIFY(readAccountOptions(7).caFile.isEmpty());
    QCOMPARE(scratch.reports, QStringList{u"Unable to read account options file"_s});
}

void AccountFilesTest::fingerprints_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("is");
    QTest::newRow("digits") << u"ab"_s.repeated(32) << true;
    QTest::newRow("capitals and colons") << u"AB:"_s.repeated(32) << true;
    QTest::newRow("blanks") << u"ab "_s.repeated(32) << true;
    QTest::newRow("too short") << u"ab"_s.repeated(31) << false;
    QTest::newRow("SHA-1") << u"ab"_s.repeated(20) << false;
    QTest::newRow("too long") << u"ab"_s.repeated(33) << false;
    QTest::newRow("no digit") << u"xb"_s + u"ab"_s.repeated(31) << false;
    QTest::newRow("wide digits") << u"\uff11"_s.repeated(64) << false;
    QTest::newRow("empty") << QString() << false;
}

void AccountFilesTest::fingerprints()
{
    QFETCH(QString, text);
    QFETCH(bool, is);
    QCOMPARE(fingerprintOf(text), is ? QByteArray("ab").repeated(32) : QByteArray());
}

void AccountFilesTest::wishes()
{
    Scratch scratch;
    using Purpose = IdentifierList::Purpose;
    IdentifierList list(7, Purpose::Fetch);
    QVERIFY(list.isEmpty());
    QVERIFY(list.add({{"one", {3, 17}}, {"end", {}}, {"two words", {}}, {"", {}}, {"line\nend", {}}}));
    QVERIFY(list.add({{"one", {4, 18}}, {"three", {}}})); // its place is another one now
    IdentifierList again(7, Purpose::Fetch);
    QCOMPARE(identifiersOf(again), QByteArrayList({"one", "end", "three"}));
    QCOMPARE(again.find("one").place.group, 4);
    QCOMPARE(again.find("one").place.article, 18u);
    QCOMPARE(again.find("end").place.group, 0);
    QVERIFY(!again.contains("two"));
    QVERIFY(again.find("two").identifier.isEmpty());
    QVERIFY(IdentifierList(7, Purpose::Delete).isEmpty());
    QVERIFY(again.remove({"one", "unknown", "three"}));
    QCOMPARE(identifiersOf(IdentifierList(7, Purpose::Fetch)), QByteArrayList({"end"}));
    QVERIFY(again.contains("end"));
    QVERIFY(again.remove({"end"}));
    QVERIFY(IdentifierList(7, Purpose::Fetch).isEmpty());
    QVERIFY(scratch.notes.isEmpty());
}

void AccountFilesTest::wishesAreCut_data()
{
    QTest::addColumn<IdentifierList::Purpose>("purpose");
    QTest::newRow("to fetch: the whole lines count") << IdentifierList::Purpose::Fetch;
    QTest::newRow("to delete: nothing does") << IdentifierList::Purpose::Delete;
}

void AccountFilesTest::wishesAreCut()
{
    QFETCH(IdentifierList::Purpose, purpose);
    const bool isFetch = purpose == IdentifierList::Purpose::Fetch;
    Scratch scratch;
    IdentifierList list(7, purpose);
    QVERIFY(list.add({{"id-1", {}}, {"id-12", {3, 17}}, {"id-123", {}}}));
    const QString path = accountFilePath(7, isFetch ? u"FetchIDs"_s : u"DeleteIDs"_s);
    for (qint64 size = QFile(path).size() - 1; size >= 0; --size) {
        QVERIFY(QFile::resize(path, size));
        const qsizetype whole = Scratch::read(path).count('\n');
        scratch.notes.clear();
        const IdentifierList read(7, purpose);
        QCOMPARE(identifiersOf(read), identifiersOf(list).first(isFetch ? qMin(whole, qsizetype(3)) : 0));
        QCOMPARE(scratch.notes.size(), 1);
    }
}

void AccountFilesTest::wishesCannotBeWritten_data()
{
    QTest::addColumn<IdentifierList::Purpose>("purpose");
    QTest::addColumn<QString>("said");
    QTest::newRow("FetchIDs") << IdentifierList::Purpose::Fetch << u"Unable to write fetch IDs file"_s;
    QTest::newRow("DeleteIDs") << IdentifierList::Purpose::Delete << u"Unable to write delete IDs file"_s;
}

void AccountFilesTest::wishesCannotBeWritten()
{
    QFETCH(IdentifierList::Purpose, purpose);
    Scratch scratch;
    IdentifierList list(7, purpose);
    QVERIFY(list.add({{"one", {}}}));
    const QString name = QString::fromLatin1(QTest::currentDataTag());
    QVERIFY(QFile::link(u"/dev/full"_s, accountFilePath(7, name) + u'~'));
    QVERIFY(!list.add({{"two", {}}}));
    QTEST(scratch.reports.join(u' '), "said");
    QCOMPARE(identifiersOf(list), QByteArrayList({"one"}));
    QCOMPARE(identifiersOf(IdentifierList(7, purpose)), QByteArrayList({"one"}));
}

void AccountFilesTest::removedAccounts()
{
    constexpr qint64 kDay = 24 * 3600;
    Scratch scratch;
    qint64 seconds = 100 * kDay;
    const ClockOverride clock([&seconds] { return seconds * 1000; });
    AccountManager manager;
    manager.load();
    const int number = manager.add(accountData(u"a"_s));
    IdentifierList list(number, IdentifierList::Purpose::Fetch);
    QVERIFY(list.add({{"one", {}}}));
    manager.remove(number);
    QVERIFY(!QFile::exists(accountFilePath(number, {})));
    const QString aside = configPathOf(u"Accounts/Removed/%1-%2"_s.arg(number).arg(seconds));
    QVERIFY(QFile::exists(aside + u"/FetchIDs"_s)); // nothing is lost at once
    QVERIFY(QDir().mkpath(configPathOf(u"Accounts/Removed/not ours"_s)));
    QVERIFY(manager.save());
    seconds += 30 * kDay;
    AccountManager().load();
    QVERIFY(QFile::exists(aside));
    seconds += 1;
    AccountManager().load();
    QVERIFY(!QFile::exists(aside));
    QVERIFY(QFile::exists(configPathOf(u"Accounts/Removed/not ours"_s)));
}

QTEST_GUILESS_MAIN(AccountFilesTest)
#include "accountfiles_test.moc"
