#include "ui/transfers/transferexplanation.h"

#include <QSet>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

TransferError failure(AccountFetchReason reason, const QString &detail)
{
    return {7, u"Home"_s, 0, reason, detail, {}};
}

AccountData home()
{
    AccountData account;
    account.name = u"Home"_s;
    account.host = u"pop.example.org"_s;
    account.port = 995;
    account.user = u"clara"_s;
    account.kind = AccountKind::Pop3;
    return account;
}

} // namespace

/// What a failure is called, whose fault it is and what mends it.
class ExplanationTest : public QObject
{
    Q_OBJECT

private slots:
    void causes_data();
    void causes();
    void everyFailureIsToldWhole();
    void aServersNameIsOnlyText();
    void settingsThatHaveWorkedAreNotBlamed();
    void lossFollowsTheKind();
    void noticeIsOneLine();
};

void ExplanationTest::causes_data()
{
    using enum AccountFetchReason;
    using enum MendAction;
    using Cause = TransferCause;
    QTest::addColumn<AccountFetchReason>("reason");
    QTest::addColumn<QString>("detail");
    QTest::addColumn<TransferCause>("cause");
    QTest::addColumn<MendAction>("action");
    const auto row = [](const char *name, AccountFetchReason reason, const char *detail, Cause cause,
                        MendAction action) {
        QTest::newRow(name) << reason << QString::fromUtf8(detail) << cause << action;
    };
    row("no failure", AccountFetchReason::None, "", Cause::None, MendAction::Nothing);
    row("stopped by hand, whatever was said", Stopped, "Connection refused", Cause::None,
        MendAction::Nothing);
    row("refused", Unreachable, "Connection refused", Cause::Refused, EditAccount);
    row("host not found", Unreachable, "Host not found", Cause::HostNotFound, EditAccount);
    row("another socket error", Unreachable, "Connection error (7)", Cause::NoConnection, TryAgain);
    row("read error", Unreachable, "Unable to read from socket", Cause::ConnectionLost, TryAgain);
    row("handshake", Unreachable, "SSL error", Cause::TlsFailed, EditAccount);
    row("self-signed", Unreachable, "Self signed certificate", Cause::SelfSigned, SeeCertificate);
    row("self-signed in the chain", Unreachable, "Self signed certificate in certificate chain",
        Cause::SelfSigned, SeeCertificate);
    row("wrong name", Unreachable, R"(The host name "a" doesn't match the certificate name "b")",
        Cause::HostName, SeeCertificate);
    row("expired", Unreachable, "The certificate has expired", Cause::CertificateExpired, SeeCertificate);
    row("not yet valid", Unreachable, "The certificate is not yet valid", Cause::CertificateNotYetValid,
        SeeCertificate);
    row("no issuer", Unreachable, "Unable to get local issuer certificate", Cause::CertificateUnverified,
        SeeCertificate);
    row("no TLS", LoginFailed, "The server offers no TLS", Cause::NoTlsOffered, EditAccount);
    row("no password", LoginFailed, "No password was given", Cause::NoPassword, EnterPassword);
    row("[AUTH]", Unexpected, "-ERR [AUTH] Authentication failed.", Cause::LoginRefused, EnterPassword);
    row("refused in free words", Unexpected, "-ERR invalid password", Cause::LoginRefused, EnterPassword);
    row("app password beats [AUTH]", Unexpected, "-ERR [AUTH] Application-specific password required",
        Cause::AppPassword, EnterPassword);
    row("[IN-USE]", Unexpected, "-ERR [IN-USE] Do you have another session?", Cause::MailboxLocked, TryAgain);
    row("locked in free words", Unexpected, "-ERR maildrop already locked", Cause::MailboxLocked, TryAgain);
    row("[SYS/TEMP]", Unexpected, "-ERR [SYS/TEMP] try later", Cause::ServerTrouble, TryAgain);
    row("[LOGIN-DELAY]", Unexpected, "-ERR [LOGIN-DELAY] minimum time", Cause::LoginTooSoon, EditAccount);
    row("greeting refuses", Unavailable, "-ERR closed for today", Cause::ServerUnavailable, TryAgain);
    row("time-out", TimedOut, "", Cause::TimedOut, TryAgain);
    row("closed", ConnectionClosed, "", Cause::ConnectionLost, TryAgain);
    row("partly", WithErrors, "message 12 could not be read", Cause::PartlyFailed, TryAgain);
    row("server speaks", ServerError, "-ERR [AUTH] read this", Cause::ServerSays, ShowLog);
    row("this disk is full", UnexpectedData, "Unable to write: No space left on device", Cause::DiskFull,
        TryAgain);
    row("the server's disk is full", Unexpected, "-ERR no space left on device", Cause::Unexpected, TryAgain);
    row("not stored", UnexpectedData, "Unable to write overview", Cause::NotStored, ShowLog);
    row("offline", Unreachable, "Velmar is offline", Cause::Offline, GoOnline);
    row("nonsense", Unexpected, "HTTP/1.0 400", Cause::Unexpected, TryAgain);
}

void ExplanationTest::causes()
{
    QFETCH(AccountFetchReason, reason);
    QFETCH(QString, detail);
    QFETCH(TransferCause, cause);
    QFETCH(MendAction, action);
    const TransferExplanation told = explainTransferError(failure(reason, detail), home());
    QCOMPARE(told.cause, cause);
    QCOMPARE(told.action, action);
}

void ExplanationTest::everyFailureIsToldWhole()
{
    QSet<QString> titles;
    for (int reason = int(AccountFetchReason::Unreachable);
         reason <= int(AccountFetchReason::ConnectionClosed); ++reason) {
        const auto told = explainTransferError(failure(AccountFetchReason(reason), {}), home());
        QVERIFY2(!told.what.isEmpty() && !told.what.endsWith(u'.'), qPrintable(told.what));
        for (const QString &sentence : {told.whose, told.lost, told.advice}) {
            QVERIFY2(sentence.endsWith(u'.'), qPrintable(sentence));
            QVERIFY2(!sentence.contains(u'%'), qPrintable(sentence));
        }
        QVERIFY(!told.button.isEmpty());
        QVERIFY2(told.otherAction != told.action, qPrintable(told.button));
        QCOMPARE(told.otherButton.isEmpty(), told.otherAction == MendAction::Nothing);
        titles.insert(told.what);
    }
    QVERIFY2(titles.size() >= 6, "the reasons are told apart");
}

void ExplanationTest::aServersNameIsOnlyText()
{
    AccountData account = home();
    account.host = u"%2.example"_s;
    const auto told =
        explainTransferError(failure(AccountFetchReason::Unreachable, u"Connection refused"_s), account);
    QVERIFY2(told.whose.contains("%2.example was found"_L1), qPrintable(told.whose));
    QVERIFY2(told.whose.contains("port 995"_L1), qPrintable(told.whose));
}

void ExplanationTest::settingsThatHaveWorkedAreNotBlamed()
{
    for (const char *detail : {"Connection refused", "Host not found"}) {
        const TransferError error = failure(AccountFetchReason::Unreachable, QString::fromLatin1(detail));
        const auto fresh = explainTransferError(error, home());
        const auto told = explainTransferError(error, home(), true);
        QCOMPARE(told.cause, fresh.cause);
        QVERIFY2(told.whose.contains("has worked before"_L1), qPrintable(told.whose));
        QCOMPARE(told.action, MendAction::TryAgain);
        QCOMPARE(told.otherAction, MendAction::EditAccount);
        QCOMPARE(told.otherButton, fresh.button);
    }
    const TransferError refused = failure(AccountFetchReason::Unexpected, u"-ERR [AUTH] no"_s);
    QCOMPARE(explainTransferError(refused, home(), true).action, MendAction::EnterPassword);
}

void ExplanationTest::lossFollowsTheKind()
{
    AccountData account = home();
    const auto lost = [&account](AccountFetchReason reason) {
        return explainTransferError(failure(reason, {}), account).lost;
    };
    QVERIFY(lost(AccountFetchReason::TimedOut).contains("stays on the server"_L1));
    QVERIFY(lost(AccountFetchReason::WithErrors).contains("arrived whole is kept"_L1));
    account.kind = AccountKind::Smtp;
    QVERIFY(lost(AccountFetchReason::TimedOut).contains("waits in the outbox"_L1));
    account.kind = AccountKind::BatchFile;
    QVERIFY(lost(AccountFetchReason::TimedOut).contains("in its file"_L1));
}

void ExplanationTest::noticeIsOneLine()
{
    QCOMPARE(transferNotice(failure(AccountFetchReason::TimedOut, {}), home()),
             u"Home: the server did not answer in time"_s);
    QCOMPARE(transferNotice(failure(AccountFetchReason::Stopped, {}), home()), QString());
}

QTEST_APPLESS_MAIN(ExplanationTest)
#include "explanation_test.moc"
