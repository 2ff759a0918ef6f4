#include "net/accountmanager.h"
#include "net/fakes.h"

#include "config/settings.h"
#include "support/memory.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

CertificateReport selfSigned(const QByteArray &digit)
{
    CertificateReport report;
    report.host = u"pop.example"_s;
    report.certificate.sha256 = digit.repeated(64);
    report.certificate.commonName = u"pop.example"_s;
    report.problems = {{CertificateProblemCode::SelfSigned, u"Self signed certificate"_s}};
    return report;
}

} // namespace

class QuestionsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void askedForThePassword_data();
    void askedForThePassword();
    void nobodyIsAsked();
    void noPasswordGiven();
    void thePasswordInTheKeyring();
    void aPasswordAfterARefusal();
    void theRefusedOneIsNotKept_data();
    void theRefusedOneIsNotKept();
    void certificates_data();
    void certificates();
    void oneQuestionServesAll();
    void aChangedCertificate();
    void questionsAreWithdrawn();
    void theServerHangsUpMeanwhile_data();
    void theServerHangsUpMeanwhile();
};

void QuestionsTest::askedForThePassword_data()
{
    QTest::addColumn<PasswordKeeping>("keeping");
    QTest::addColumn<QString>("inFile");
    QTest::addColumn<int>("inKeyring");
    QTest::newRow("for this run") << PasswordKeeping::ThisRun << QString() << 0;
    QTest::newRow("in the accounts file") << PasswordKeeping::AccountsFile << u"s3cret"_s << 0;
    QTest::newRow("in the keyring") << PasswordKeeping::Keyring << QString() << 1;
}

void QuestionsTest::askedForThePassword()
{
    QFETCH(PasswordKeeping, keeping);
    AccountRig rig;
    Account *account = rig.addWithoutPassword();
    QCOMPARE(account->fetch(true, true), FetchAnswer::Begun);
    QTRY_COMPARE(rig.user.passwords.size(), 1u);
    QCOMPARE(rig.user.passwords[0].user, u"ada"_s);
    QVERIFY(rig.user.passwords[0].hasKeyring);
    QVERIFY(rig.user.passwords[0].refusal.isEmpty());
    QVERIFY(account->isFetching());
    QCOMPARE(account->fetch(true, true), FetchAnswer::Nothing); // one question is enough
    QVERIFY(rig.factory.made.empty());
    rig.user.passwordAnswer(u"s3cret"_s, keeping);
    QCOMPARE(rig.factory.last()->passwordAtStart, u"s3cret"_s);
    rig.factory.last()->complete(false);
    QCOMPARE(account->fetch(false, true), FetchAnswer::Begun); // it is known for the run
    QCOMPARE(rig.user.passwords.size(), 1u);
    QTEST(account->data().password, "inFile");
    QTEST(int(rig.keyring.entries.size()), "inKeyring");

    AccountManager later;
    later.load();
    QTEST(later.accounts().empty() ? QString() : later.accounts().front()->data().password, "inFile");
}

void QuestionsTest::nobodyIsAsked()
{
    AccountRig rig;
    AccountData data = accountData(u"a"_s);
    data.password.clear();
    data.fetchInterval = 10;
    Account *account = rig.add(data);
    const QSignalSpy ended(account, &Account::fetchEnded);
    rig.manager.fetchWhatIsDue();
    QCOMPARE(ended.size(), 1);
    QCOMPARE(ended[0][0].value<AccountFetchReason>(), AccountFetchReason::LoginFailed);
    QVERIFY(rig.user.passwords.empty());
    QCOMPARE(account->mark(), AccountMark::PasswordWanted);
    rig.manager.fetchWhatIsDue();
    QCOMPARE(account->fetch(false, true), FetchAnswer::Nothing); // once is enough
    QCOMPARE(ended.size(), 1);
    account->fetch(true, true);
    QTRY_COMPARE(rig.user.passwords.size(), 1u);
    QCOMPARE(account->mark(), AccountMark::None);

    AccountData open = accountData(u"relay"_s, AccountKind::Smtp);
    open.user.clear();
    open.password.clear();
    QCOMPARE(rig.add(open)->fetch(false, false), FetchAnswer::Begun); // who has no name logs in nowhere
    QCOMPARE(rig.factory.made.size(), 1u);
}

void QuestionsTest::noPasswordGiven()
{
    AccountRig rig;
    Account *account = rig.addWithoutPassword();
    const QSignalSpy ended(account, &Account::fetchEnded);
    account->fetch(true, true);
    QTRY_COMPARE(rig.user.passwords.size(), 1u);
    rig.user.passwordAnswer({}, PasswordKeeping::AccountsFile);
    QCOMPARE(ended.size(), 1);
    QCOMPARE(ended[0][0].value<AccountFetchReason>(), AccountFetchReason::LoginFailed);
    QVERIFY(rig.factory.made.empty());
    QVERIFY(!account->isFetching());
}

void QuestionsTest::thePasswordInTheKeyring()
{
    AccountRig rig;
    Account *account = rig.addWithoutPassword(AccountKeyring);
    rig.keyring.entries.insert(u"pop3://ada@pop.example"_s, u"from the ring"_s);
    account->fetch(false, true);
    QTRY_COMPARE(rig.factory.made.size(), 1u);
    QCOMPARE(rig.factory.last()->passwordAtStart, u"from the ring"_s);
    QVERIFY(rig.user.passwords.empty());
    rig.factory.last()->complete(false);

    AccountData data = account->data();
    data.host = u"Mail.Example"_s;
    QVERIFY(rig.manager.update(data)); // the entry follows
    QTRY_COMPARE(rig.keyring.entries.keys(), QStringList{u"pop3://ada@mail.example"_s});
    data.name = u"twin"_s;
    Account *twin = rig.add(data);
    rig.manager.remove(twin->number());
    QCOMPARE(rig.keyring.entries.size(), 1); // the other one still needs it
    rig.manager.remove(account->number());
    QVERIFY(rig.keyring.entries.isEmpty());
}

void QuestionsTest::aPasswordAfterARefusal()
{
    AccountRig rig;
    Account *account = rig.add(accountData(u"a"_s));
    account->fetch(true, true);
    rig.factory.last()->noteLoginRefused(u"-ERR go away"_s);
    rig.factory.last()->fail(AccountFetchReason::Unexpected, u"-ERR go away"_s, false);
    QVERIFY(rig.user.passwords.empty());
    account->fetch(true, true); // asked anew, though one is stored
    QTRY_COMPARE(rig.user.passwords.size(), 1u);
    QCOMPARE(rig.user.passwords[0].refusal, u"-ERR go away"_s);
    rig.user.passwordAnswer(u"right"_s, PasswordKeeping::AccountsFile);
    QCOMPARE(rig.factory.last()->passwordAtStart, u"right"_s);
    const QString index = configPathOf(u"Accounts/Index"_s);
    QVERIFY(Scratch::read(index).contains("\tright\t"));
    QVERIFY(!Scratch::read(index + u".backup"_s).contains("lovelace"));
}

void QuestionsTest::theRefusedOneIsNotKept_data()
{
    QTest::addColumn<bool>("inKeyring");
    QTest::addColumn<bool>("refused"); // what is stored; else what was given for the run
    QTest::addColumn<bool>("kept");
    QTest::newRow("in the accounts file") << false << true << false;
    QTest::newRow("in the keyring") << true << true << false;
    QTest::newRow("the keyring was locked: its own was not refused") << true << false << true;
}

/// Whoever wants to be asked the next time does not want the wrong one tried before.
void QuestionsTest::theRefusedOneIsNotKept()
{
    QFETCH(bool, inKeyring);
    QFETCH(bool, refused);
    QFETCH(bool, kept);
    AccountRig rig;
    AccountData data = accountData(u"a"_s);
    if (inKeyring) {
        data.password.clear();
        data.flags = AccountKeyring;
        rig.keyring.entries.insert(u"pop3://ada@pop.example"_s, u"lovelace"_s);
    }
    Account *account = rig.add(data);
    QVERIFY(rig.manager.save());
    rig.keyring.works = refused;
    account->fetch(true, true);
    if (!refused) {
        QTRY_COMPARE(rig.user.passwords.size(), 1u);
        rig.user.passwordAnswer(u"wrong"_s, PasswordKeeping::ThisRun);
    }
    QTRY_COMPARE(rig.factory.made.size(), 1u);
    rig.factory.last()->noteLoginRefused(u"-ERR no"_s);
    rig.factory.last()->fail(AccountFetchReason::Unexpected, u"-ERR no"_s, false);
    const std::size_t asked = rig.user.passwords.size();
    account->fetch(true, true);
    QTRY_COMPARE(rig.user.passwords.size(), asked + 1);
    rig.user.passwordAnswer(u"right"_s, PasswordKeeping::ThisRun);
    QCOMPARE(rig.factory.last()->passwordAtStart, u"right"_s);
    QCOMPARE(account->password(), u"right"_s);
    QCOMPARE(!rig.keyring.entries.isEmpty(), kept);
    QCOMPARE(account->data().has(AccountKeyring), kept);
    QCOMPARE(account->data().has(AccountAsksForPassword), !kept);
    QVERIFY(rig.manager.save());
    const QString index = configPathOf(u"Accounts/Index"_s);
    QVERIFY(!Scratch::read(index).contains("lovelace"));
    QVERIFY(!Scratch::read(index + u".backup"_s).contains("lovelace"));
}

void QuestionsTest::certificates_data()
{
    QTest::addColumn<CertificateAnswer>("answer");
    QTest::addColumn<bool>("goesOn");
    QTest::addColumn<bool>("asksAgainInThisRun");
    QTest::addColumn<bool>("asksAgainInTheNext");
    QTest::newRow("refused") << CertificateAnswer::Refuse << false << true << true;
    QTest::newRow("accepted once") << CertificateAnswer::AcceptOnce << true << false << true;
    QTest::newRow("accepted for good") << CertificateAnswer::AcceptAlways << true << false << false;
}

void QuestionsTest::certificates()
{
    QFETCH(CertificateAnswer, answer);
    AccountRig rig;
    Account *account = rig.add(accountData(u"a"_s));
    QObject context;
    std::optional<bool> accepted;
    const auto take = [&accepted](bool accept) { accepted = accept; };
    account->judge(selfSigned("a"), true, &context, take);
    QVERIFY(!accepted);
    QCOMPARE(rig.user.certificates.size(), 1u);
    QVERIFY(!rig.user.certificates[0].known);
    rig.user.certificateAnswer(answer);
    QVERIFY(accepted);
    QTEST(*accepted, "goesOn");
    account->judge(selfSigned("a"), true, &context, take);
    QTEST(rig.user.certificates.size() == 2, "asksAgainInThisRun");
    account->judge(selfSigned("b"), true, &context, take); // another one is another question
    QVERIFY(rig.user.certificates.size() >= 2);

    QVERIFY(rig.manager.save());
    FakeUser asked;
    AccountManager later;
    later.setQuestions(&asked);
    later.load();
    later.accounts().front()->judge(selfSigned("a"), true, &context, take);
    QTEST(!asked.certificates.empty(), "asksAgainInTheNext");

    CertificateReport fine = selfSigned("c");
    fine.problems.clear();
    accepted.reset();
    account->judge(fine, false, &context, take);
    QCOMPARE(accepted, std::optional(true));
}

void QuestionsTest::oneQuestionServesAll()
{
    AccountRig rig;
    setBoolSetting(Setting::AlwaysTrust, true); // has nothing to do with it
    Account *account = rig.add(accountData(u"a"_s));
    QObject first;
    auto second = std::make_unique<QObject>();
    int accepted = 0;
    const auto count = [&accepted](bool accept) { accepted += accept ? 1 : 100; };
    account->judge(selfSigned("a"), true, &first, count);
    account->judge(selfSigned("a"), true, second.get(), count);
    QCOMPARE(rig.user.certificates.size(), 1u);
    second.reset(); // who is gone is not answered
    rig.user.certificateAnswer(CertificateAnswer::AcceptOnce);
    QCOMPARE(accepted, 1);
    account->judge(selfSigned("d"), false, &first, count); // unattended: refused, with a mark
    QCOMPARE(accepted, 101);
    QCOMPARE(account->mark(), AccountMark::CertificateRefused);
    QCOMPARE(rig.user.certificates.size(), 1u);
}

void QuestionsTest::aChangedCertificate()
{
    AccountRig rig;
    Account *account = rig.add(accountData(u"a"_s));
    QObject context;
    account->judge(selfSigned("a"), true, &context, [](bool) {});
    rig.user.certificateAnswer(CertificateAnswer::AcceptAlways);
    account->judge(selfSigned("b"), true, &context, [](bool) {});
    QCOMPARE(rig.user.certificates.size(), 2u);
    QVERIFY(rig.user.certificates[1].known);
    QCOMPARE(rig.user.certificates[1].known->sha256, QByteArray("a").repeated(64));
    QCOMPARE(rig.user.certificates[1].known->commonName, u"pop.example"_s);
}

void QuestionsTest::questionsAreWithdrawn()
{
    AccountRig rig;
    Account *account = rig.addWithoutPassword();
    const QSignalSpy ended(account, &Account::fetchEnded);
    account->fetch(true, true);
    QTRY_COMPARE(rig.user.passwords.size(), 1u);
    account->stop();
    QCOMPARE(rig.user.withdrawn, QList<int>{account->number()});
    QCOMPARE(ended.size(), 1);
    QCOMPARE(ended[0][0].value<AccountFetchReason>(), AccountFetchReason::Stopped);
    rig.user.passwordAnswer(u"too late"_s, PasswordKeeping::AccountsFile);
    QVERIFY(account->password().isEmpty());
    QVERIFY(rig.factory.made.empty());

    auto context = std::make_unique<QObject>();
    account->judge(selfSigned("a"), true, context.get(), [](bool) { QFAIL("nobody is there"); });
    context.reset();
    QCOMPARE(rig.user.withdrawn.size(), 2);
    rig.user.certificateAnswer(CertificateAnswer::AcceptAlways);
    QVERIFY(account->options().accepted.empty());
}

void QuestionsTest::theServerHangsUpMeanwhile_data()
{
    QTest::addColumn<CertificateAnswer>("answer");
    QTest::addColumn<bool>("fetchesAgain");
    QTest::newRow("refused") << CertificateAnswer::Refuse << false;
    QTest::newRow("accepted once") << CertificateAnswer::AcceptOnce << true;
    QTest::newRow("accepted for good") << CertificateAnswer::AcceptAlways << true;
}

/// A person reads longer than a server waits: the question stays, and its answer counts.
void QuestionsTest::theServerHangsUpMeanwhile()
{
    QFETCH(CertificateAnswer, answer);
    QFETCH(bool, fetchesAgain);
    AccountRig rig;
    Account *account = rig.add(accountData(u"a"_s));
    account->fetch(true, true);
    const QPointer<FakeFetcher> client = rig.factory.last();
    account->judge(selfSigned("a"), true, client, [](bool) { QFAIL("nobody is there"); });
    client->fail(AccountFetchReason::ConnectionClosed, {}, false);
    QTRY_VERIFY(!client);
    QVERIFY(rig.user.withdrawn.isEmpty());
    rig.user.certificateAnswer(answer);
    QCOMPARE(rig.factory.made.size(), fetchesAgain ? 2u : 1u);
    QCOMPARE(account->isFetching(), fetchesAgain);
    bool accepted = false;
    account->judge(selfSigned("a"), false, &rig.manager, [&](bool accept) { accepted = accept; });
    QCOMPARE(accepted, fetchesAgain);

    // who stops the account wants no question any more
    account->judge(selfSigned("b"), true, &rig.manager, [](bool) {});
    const int withdrawn = int(rig.user.withdrawn.size());
    account->stop();
    QCOMPARE(rig.user.withdrawn.size(), withdrawn + 1);
}

QTEST_GUILESS_MAIN(QuestionsTest)
#include "questions_test.moc"
