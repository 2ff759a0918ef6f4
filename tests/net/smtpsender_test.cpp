#include "net/smtpsession.h"

#include "net/accountoptions.h"

#include "config/settings.h"
#include "support/memory.h"

using namespace Qt::StringLiterals;

using Reason = AccountFetchReason;

// The dialogue of a sender: greeting, encryption, login, failures, and what its queue is told.

class SmtpSenderTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void login_data();
    void login();
    void encryption_data();
    void encryption();
    void failures_data();
    void failures();
    void loginIsNotEnough_data();
    void loginIsNotEnough();
    void largestMail();
    void logHidesSecrets();
    void loginTest();
    void stop_data();
    void stop();
    void abandonedBehindTheDot();
    void drip();
    void patience_data();
    void patience();
};

namespace {

const QByteArray kGreeting = "S: 220 hello\nC~ EHLO .*\n";

// tim / tanstaaftanstaaf
const QByteArray kPlain = "C: AUTH PLAIN AHRpbQB0YW5zdGFhZnRhbnN0YWFm\n";
const QByteArray kLogin =
    "C: AUTH LOGIN\nS: 334 VXNlcm5hbWU6\nC: dGlt\nS: 334 UGFzc3dvcmQ6\nC: dGFuc3RhYWZ0YW5zdGFhZg==\n";
/// The example of RFC 2195.
const QByteArray kCram = "C: AUTH CRAM-MD5\nS: 334 "
                         "PDE4OTYuNjk3MTcwOTUyQHBvc3RvZmZpY2UucmVzdG9uLm1jaS5uZXQ+\n"
                         "C: dGltIGI5MTNhNjAyYzdlZGE3YTQ5NWI0ZTZlNzMzNGQzODkw\n";

} // namespace

void SmtpSenderTest::login_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<Reason>("reason");
    QTest::addColumn<QString>("detail");
    const auto row = [](const char *name, const QByteArray &script, Reason reason = Reason::None,
                        const QString &detail = {}) {
        QTest::newRow(name) << kGreeting + script +
                                   (reason == Reason::None               ? smtpDelivery() + smtpQuit()
                                    : reason == Reason::ConnectionClosed ? "X\n"
                                                                         : "E\n")
                            << reason << detail;
    };
    row("the strongest first", "S: 250-a\nS: 250 AUTH PLAIN LOGIN CRAM-MD5\n" + kCram + "S: 235 ok\n");
    row("both lines add up", "S: 250-a\nS: 250-AUTH=LOGIN PLAIN\nS: 250-AUTH CRAM-MD5\nS: 250 HELP\nC: AUTH "
                             "CRAM-MD5\nS: 504 no\n" +
                                 kPlain + "S: 535 no\n" + kLogin + "S: 235 ok\n");
    row("another word with the name of a method is none",
        "S: 250-a\nS: 250-X-EXPS LOGIN\nS: 250 AUTH PLAIN\n" + kPlain + "S: 235 ok\n");
    row("one method in the last line", "S: 250 auth login\n" + kLogin + "S: 235 ok\n");
    row("none is offered, so all are tried, and mail goes without",
        "S: 250 a\nC: AUTH CRAM-MD5\nS: 502 no\n" + kPlain + "S: 503 no\nC: AUTH LOGIN\nS: 504 no\n");
    row("EHLO is refused", "S: 502 no\nC~ HELO .*\nS: 250 a\nC: AUTH CRAM-MD5\nS: 500 no\n" + kPlain +
                               "S: 500 no\nC: AUTH LOGIN\nS: 500 no\n");
    row("a greeting of several lines, and a challenge that is none",
        "S: 250-a\nS: 250 AUTH CRAM-MD5 PLAIN\nC: AUTH CRAM-MD5\nS: 334 !\nC: *\nS: 501 given up\n" + kPlain +
            "S: 235 ok\n");
    row("the server asks for what PLAIN has to say", "S: 250 AUTH PLAIN\n" + kPlain + "S: 334\n",
        Reason::Unexpected, u"334"_s);
    row("the last refusal is told",
        "S: 250-a\nS: 250 AUTH CRAM-MD5 PLAIN LOGIN\n" + kCram + "S: 535 first\n" + kPlain +
            "S: 534 second\n" + kLogin + "S: 535-5.7.8 third\nS: 535 5.7.8 Go away\n",
        Reason::Unexpected, u"535-5.7.8 third\n535 5.7.8 Go away"_s);
    for (const char *code : {"534", "538", "550", "554"})
        row(code, "S: 250 AUTH PLAIN\n" + kPlain + "S: " + code + " Go away\n", Reason::Unexpected,
            QLatin1String(code) + u" Go away"_s);
    row("given up by us: nothing was said of the password",
        "S: 250 AUTH CRAM-MD5\nC: AUTH CRAM-MD5\nS: 334 !\nC: *\nS: 501 given up\n", Reason::Unexpected,
        u"501 given up"_s);
    row("not now", "S: 250 AUTH PLAIN\n" + kPlain + "S: 454 later\n", Reason::Unexpected, u"454 later"_s);
    row("530 without a way to encrypt", "S: 250 AUTH PLAIN LOGIN\n" + kPlain + "S: 530 encrypt\n",
        Reason::Unexpected, u"530 encrypt"_s);
    const auto hangsUp = [&](const char *name, const QByteArray &script, const QString &awaited) {
        row(name, script, Reason::ConnectionClosed, u"Awaited was: "_s + awaited);
    };
    hangsUp("closed after HELO", "S: 502 no\nC~ HELO .*\n", u"the reply to HELO"_s);
    const QByteArray all = "S: 250 AUTH CRAM-MD5 PLAIN LOGIN\n";
    hangsUp("closed after AUTH CRAM-MD5", all + "C: AUTH CRAM-MD5\n", u"the challenge of CRAM-MD5"_s);
    hangsUp("closed after its answer", all + kCram, u"the reply to the login"_s);
    hangsUp("closed after AUTH PLAIN", "S: 250 AUTH PLAIN\n" + kPlain, u"the reply to the login"_s);
    const QByteArray login = "S: 250 AUTH LOGIN\nC: AUTH LOGIN\n";
    hangsUp("closed after AUTH LOGIN", login, u"the reply to AUTH LOGIN"_s);
    hangsUp("closed after the name", login + "S: 334 a\nC: dGlt\n", u"the reply to the user name"_s);
    hangsUp("closed after the password", "S: 250 AUTH LOGIN\n" + kLogin, u"the reply to the login"_s);
    row("421 ends it", "S: 250 AUTH PLAIN LOGIN\n" + kPlain + "S: 421 full\n", Reason::Unexpected,
        u"421 full"_s);
}

void SmtpSenderTest::login()
{
    QFETCH(const QByteArray, script);
    QFETCH(const Reason, reason);
    QFETCH(const QString, detail);
    SmtpUserAtTest user;
    user.queue.add(waitingMail());
    QVERIFY(user.play(script));
    QCOMPARE(user.end.reason, reason);
    QCOMPARE(user.end.detail, detail);
    QCOMPARE(user.end.sent, reason == Reason::None);
    QCOMPARE(user.end.loginRefused, script.contains("Go away"));
    QCOMPARE(user.queue.calls.size(), reason == Reason::None ? 3 : 0);
}

void SmtpSenderTest::encryption_data()
{
    QTest::addColumn<quint32>("flags");
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<bool>("fromTheStart");
    QTest::addColumn<Reason>("reason");
    const QByteArray secure =
        "S: 250-a\nS: 250 AUTH PLAIN\n" + kPlain + "S: 235 ok\n" + smtpDelivery() + smtpQuit();
    const auto row = [](const char *name, quint32 flags, const QByteArray &script, Reason reason,
                        bool fromTheStart = false) {
        QTest::newRow(name) << flags << kGreeting + script << fromTheStart << reason;
    };
    row("STARTTLS, and what was learnt before is forgotten", AccountStartTls,
        "S: 250-a\nS: 250-AUTH CRAM-MD5\nS: 250 STARTTLS\nC: STARTTLS\nS: 220 go\nT\nC~ EHLO .*\n" + secure,
        Reason::None);
    row("answers sent along with the reply to STARTTLS count for nothing", AccountStartTls,
        "S: 250-a\nS: 250 STARTTLS\nC: STARTTLS\nP: 220 go\\r\\n250 AUTH LOGIN\\r\\n\nT\nC~ EHLO .*\n" +
            secure,
        Reason::None);
    row("TLS from the start", AccountTls, secure, Reason::None, true);
    row("none is offered", AccountStartTls, "S: 250-a\nS: 250 AUTH PLAIN\nE\n", Reason::LoginFailed);
    row("EHLO is refused", AccountStartTls, "S: 500 what\nE\n", Reason::LoginFailed);
    row("STARTTLS is refused", AccountStartTls, "S: 250 STARTTLS\nC: STARTTLS\nS: 454 no\nE\n",
        Reason::LoginFailed);
    row("closed after STARTTLS", AccountStartTls, "S: 250 STARTTLS\nC: STARTTLS\nX\n",
        Reason::ConnectionClosed);
    row("closed as encryption begins", AccountStartTls, "S: 250 STARTTLS\nC: STARTTLS\nS: 220 go\nX\n",
        Reason::ConnectionClosed);
    const QByteArray none =
        "C: AUTH CRAM-MD5\nS: 502 no\n" + kPlain + "S: 502 no\nC: AUTH LOGIN\nS: 502 no\n";
    const QByteArray encrypt = "S: 530 encrypt\nC: STARTTLS\nS: 220 go\nT\nC~ EHLO .*\n";
    row("530 to MAIL asks for it", 0,
        "S: 250-a\nS: 250 STARTTLS\n" + none + "C: MAIL FROM:<ada@example.com>\n" + encrypt + secure,
        Reason::None);
    row("530 to a batch asks for it", 0,
        "S: 250-a\nS: 250-PIPELINING\nS: 250 STARTTLS\n" + none +
            "C: MAIL FROM:<ada@example.com>\nC: RCPT TO:<bob@example.org>\nS: 530 encrypt\nQ\n" +
            QByteArray(encrypt).replace("530 encrypt", "503 MAIL first") + secure,
        Reason::None);
    row("530 asks for it", 0,
        "S: 250-a\nS: 250-STARTTLS\nS: 250 AUTH PLAIN\n" + kPlain +
            "S: 530 encrypt\nC: STARTTLS\nS: 220 go\nT\nC~ EHLO .*\n" + secure,
        Reason::None);
}

void SmtpSenderTest::encryption()
{
    QFETCH(const quint32, flags);
    QFETCH(const QByteArray, script);
    QFETCH(const bool, fromTheStart);
    QFETCH(const Reason, reason);
    const Certificates certificates;
    ScriptedServer server(script, certificates.good,
                          fromTheStart ? ScriptedServer::Encryption::FromTheStart
                                       : ScriptedServer::Encryption::OnDemand);
    SmtpUserAtTest user(flags);
    user.trusted = certificates.ca;
    user.queue.add(waitingMail());
    QVERIFY(user.play(server));
    QVERIFY2(user.end.reason == reason, qPrintable(user.end.detail));
    QCOMPARE(user.queue.calls.size(), reason == Reason::None ? 3 : 0);
    QCOMPARE(user.statuses.contains(u"SSL negotiation complete"_s), reason == Reason::None);
}

void SmtpSenderTest::failures_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<Reason>("reason");
    QTest::addColumn<QString>("detail");
    QTest::addColumn<QByteArrayList>("calls");
    const QByteArray mail = smtpHello() + "C: MAIL FROM:<ada@example.com>\n";
    const QByteArray rcpt = mail + "S: 250 ok\nC: RCPT TO:<bob@example.org>\n";
    const QByteArray data = rcpt + "S: 250 ok\nC: DATA\n";
    const QByteArray text = data + "S: 354 go\n" + arrivingMail();
    const QByteArrayList waits = {"release 1 early"};
    const QByteArrayList perhaps = {"sending 1 bob@example.org", "release 1 early"};
    const auto row = [](const char *name, const QByteArray &script, Reason reason, const QString &detail,
                        const QByteArrayList &calls) {
        QTest::newRow(name) << script << reason << detail << calls;
    };
    const auto hangsUp = [&](const char *name, const QByteArray &script, const QString &awaited,
                             const QByteArrayList &calls) {
        row(name, script + "X\n", Reason::ConnectionClosed, u"Awaited was: "_s + awaited, calls);
    };
    hangsUp("closed instead of a greeting", {}, u"the greeting"_s, {});
    hangsUp("closed in the greeting", "P: 220 he\n", u"the greeting"_s, {});
    hangsUp("closed after EHLO", kGreeting, u"the reply to EHLO"_s, {});
    hangsUp("closed in the reply to EHLO", kGreeting + "S: 250-a\n", u"the rest of the reply to EHLO"_s, {});
    hangsUp("closed after MAIL", mail, u"the reply to MAIL"_s, waits);
    hangsUp("closed after RCPT", rcpt, u"the reply to RCPT"_s, waits);
    hangsUp("closed after DATA", data, u"the reply to DATA"_s, waits);
    hangsUp("closed after the final dot", text, u"the reply to the message"_s, perhaps);
    hangsUp("closed in the last reply", text + "P: 250 o\n", u"the reply to the message"_s, perhaps);
    hangsUp("closed after RSET", rcpt + "S: 550 no\nC: RSET\n", u"the reply to RSET"_s,
            {"refused 1 | bob@example.org 550 no", "release 1 early"});
    row("closed instead of a reply to QUIT", text + "S: 250 ok\nC: QUIT\nX\n", Reason::None, {},
        {"sending 1 bob@example.org", "accepted 1 bob@example.org", "release 1"});
    row("anything in reply to QUIT", text + "S: 250 ok\nC: QUIT\nS: what?\nE\n", Reason::None, {},
        {"sending 1 bob@example.org", "accepted 1 bob@example.org", "release 1"});
    row("a greeting that refuses", "S: 554-no\nS: 554 service\nE\n", Reason::Unavailable,
        u"554-no\n554 service"_s, {});
    row("a greeting of another protocol", "S: +OK POP3\nE\n", Reason::Unavailable, u"+OK POP3"_s, {});
    row("a greeting with two codes", "S: 554-a\nS: 220 b\nE\n", Reason::Unavailable, u"554-a\n220 b"_s, {});
    row("EHLO refused for now", kGreeting + "S: 451 later\nE\n", Reason::Unexpected, u"451 later"_s, {});
    row("a reply with two codes", kGreeting + "S: 250-a\nS: 550 b\nE\n", Reason::Unexpected,
        u"250-a\n550 b"_s, {});
    row("a reply without an end", kGreeting + "G: 1200 250-a\\r\\n\nE\n", Reason::Unexpected, QString(), {});
    row("DATA taken without 354", data + "S: 250 ok\nE\n", Reason::Unexpected, u"250 ok"_s, waits);
    row("RCPT answered as nobody does", rcpt + "S: 354 go\nE\n", Reason::Unexpected, u"354 go"_s, waits);
    row("a text answered as nobody does", text + "S: 220 ok\nE\n", Reason::Unexpected, u"220 ok"_s, perhaps);
    row("no reply to the text", text + "S: hello\nE\n", Reason::Unexpected, u"hello"_s, perhaps);
    row("a reply of too many bytes", kGreeting + "G: 300 250-" + QByteArray(2000, 'x') + "\\r\\n\nE\n",
        Reason::Unexpected, QString(), {});
    row("530 to MAIL", mail + "S: 530 log in\nE\n", Reason::LoginFailed, u"530 log in"_s, waits);
    row("an answer to the text before there is any", data + "P: 354 go\\r\\n250 queued\\r\\n\nE\n",
        Reason::Unexpected, u"250 queued"_s, waits);
    row("the beginning of such an answer", data + "P: 354 go\\r\\n250-queued\\r\\n\nQ\nP: 250 now\\r\\n\nE\n",
        Reason::Unexpected, u"250-queued\n250 now"_s, waits);
    row("a refusal of the text before there is any", data + "P: 354 go\\r\\n550 no\\r\\n\nE\n",
        Reason::Unexpected, u"550 no"_s, {"refused 1 |  550 no", "release 1 early"});
    row("530 to RCPT", rcpt + "S: 530 log in\nE\n", Reason::LoginFailed, u"530 log in"_s, waits);
    row("530 to DATA", data + "S: 530 log in\nE\n", Reason::LoginFailed, u"530 log in"_s, waits);
    row("a text that is not for people",
        mail + "S: 421 \\x1b[31m\\xe2\\x80\\xae" + QByteArray(400, 'x') + "\nE\n", Reason::Unexpected,
        u"421 \\x1b[31m\\u202e"_s + QString(400, u'x'),
        {"refused 1 |  421 \\x1b[31m\\u202e" + QByteArray(286, 'x') + "\xe2\x80\xa6", "release 1 early"});
    row("421 after MAIL", mail + "S: 421 full\nE\n", Reason::Unexpected, u"421 full"_s,
        {"refused 1 |  421 full", "release 1 early"});
    row("421 after RCPT", rcpt + "S: 421 full\nE\n", Reason::Unexpected, u"421 full"_s,
        {"refused 1 |  421 full", "release 1 early"});
    row("421 after the final dot", text + "S: 421 full\nE\n", Reason::Unexpected, u"421 full"_s,
        {"sending 1 bob@example.org", "refused 1 |  421 full", "release 1 early"});
}

void SmtpSenderTest::failures()
{
    QFETCH(const QByteArray, script);
    QFETCH(const Reason, reason);
    QFETCH(const QString, detail);
    QFETCH(const QByteArrayList, calls);
    SmtpUserAtTest user(0, {});
    user.queue.add(waitingMail());
    QVERIFY(user.play(script));
    QCOMPARE(user.end.reason, reason);
    if (!detail.isNull())
        QCOMPARE(user.end.detail, detail);
    QCOMPARE(user.queue.calls, calls);
    for (const QString &why : user.queue.reasons)
        QCOMPARE(why.isEmpty(), reason == Reason::None);
    QCOMPARE(user.end.times, 1);
}

void SmtpSenderTest::loginIsNotEnough_data()
{
    QTest::addColumn<QByteArray>("extensions");
    QTest::addColumn<QByteArray>("answers");
    const QByteArray mail = "C: MAIL FROM:<ada@example.com>\n";
    const QByteArray rcpt = "C: RCPT TO:<bob@example.org>\n";
    const QByteArray rset = "C: RSET\nS: 250 ok\n";
    QTest::newRow("to MAIL") << QByteArray() << mail + "S: 530 no\n";
    QTest::newRow("to a batch") << QByteArray("S: 250-PIPELINING\n")
                                << mail + rcpt + "S: 530 no\nS: 503 MAIL first\n";
    QTest::newRow("to DATA") << QByteArray()
                             << mail + "S: 250 ok\n" + rcpt + "S: 250 ok\nC: DATA\nS: 530 no\n" + rset;
}

/// 530 from a server that has had its login is a refusal of the message, which would come back for ever.
void SmtpSenderTest::loginIsNotEnough()
{
    QFETCH(const QByteArray, extensions);
    QFETCH(const QByteArray, answers);
    SmtpUserAtTest user;
    user.queue.add(waitingMail());
    QVERIFY(user.play(kGreeting + "S: 250-a\n" + extensions + "S: 250 AUTH PLAIN\n" + kPlain + "S: 235 ok\n" +
                      answers + smtpQuit()));
    QCOMPARE(user.end.reason, Reason::WithErrors);
    QCOMPARE(user.queue.calls, QByteArrayList({"refused 1 |  530 no", "release 1"}));
}

/// Known before the next message is written; until the server says something else, or is another one.
void SmtpSenderTest::largestMail()
{
    SmtpUserAtTest user(0, {});
    for (const auto &[extensions, largest] :
         {std::pair("SIZE 35882577", 35882577), {"SIZE 0", 0}, {"SIZE 1000", 1000}, {"HELP", 0}}) {
        QVERIFY(user.play(smtpHello(extensions) + smtpQuit()));
        QCOMPARE(user.account().largestMail(), largest);
        QCOMPARE(readAccountOptions(7).largestMail, largest);
    }
}

void SmtpSenderTest::logHidesSecrets()
{
    SmtpUserAtTest user;
    setBoolSetting(Setting::EnableLogging, true);
    user.queue.add(waitingMail());
    QVERIFY(user.play(
        kGreeting + "S: 250 AUTH PLAIN LOGIN\n" + kPlain +
        "S: 535 what is AHRpbQB0YW5zdGFhZnRhbnN0YWFm?\nC: AUTH LOGIN\nS: 334\nC: dGlt\nS: 334\n"
        "C: dGFuc3RhYWZ0YW5zdGFhZg==\nS: 535 tanstaaftanstaaf dGFuc3RhYWZ0YW5zdGFhZg== is wrong\nE\n"));
    user.account().flushLog();
    const QByteArray log = Scratch::read(configPathOf(u"Accounts/7/Log"_s));
    QVERIFY2(log.contains(">>>> AUTH PLAIN ****") && log.contains("<<<< 535"), log.constData());
    for (const char *secret : {"AHRpbQB0", "dGFuc3Rh", "tanstaaf"})
        QVERIFY2(!log.contains(secret), log.constData());
    QCOMPARE(user.end.detail.count(u"dGFuc3Rh"_s), 0);
}

void SmtpSenderTest::loginTest()
{
    SmtpUserAtTest user;
    user.queue.add(waitingMail());
    QVERIFY(user.play(kGreeting + "S: 250 AUTH PLAIN\n" + kPlain + "S: 235 ok\n" + smtpQuit(),
                      SmtpTask::LoginTest));
    QCOMPARE(user.end.reason, Reason::None);
    QVERIFY(user.queue.calls.isEmpty());
}

void SmtpSenderTest::stop_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QByteArrayList>("calls");
    const QByteArray mail = smtpHello() + "C: MAIL FROM:<ada@example.com>\n";
    const QByteArray text =
        mail + "S: 250 ok\nC: RCPT TO:<bob@example.org>\nS: 250 ok\nC: DATA\nS: 354 go\n" + arrivingMail();
    QTest::newRow("before the greeting") << QByteArray("W\nE\n") << QByteArrayList();
    QTest::newRow("in a transaction") << mail + "W\nE\n" << QByteArrayList{"release 1 early"};
    QTest::newRow("behind the final dot, whose reply is waited for")
        << text + "W\nS: 250 ok\n" + smtpQuit()
        << QByteArrayList{"sending 1 bob@example.org", "accepted 1 bob@example.org", "release 1"};
}

void SmtpSenderTest::stop()
{
    QFETCH(const QByteArray, script);
    QFETCH(const QByteArrayList, calls);
    SmtpUserAtTest user(0, {});
    user.queue.add(waitingMail());
    user.queue.add(waitingMail());
    ScriptedServer server(script);
    QVERIFY(user.meet(server).start());
    QVERIFY(comesTrue([&] { return server.isWaiting(); }));
    user.sender().stop();
    server.release();
    QVERIFY(user.waitForEnd());
    QVERIFY2(server.finished(), server.problem());
    QCOMPARE(user.end.reason, Reason::Stopped);
    QCOMPARE(user.queue.calls, calls);
    QCOMPARE(user.queue.waiting(7), calls.isEmpty() ? 2 : 1);
}

/// The program ends: what nobody will hear any more is not called sent, and not called unsent.
void SmtpSenderTest::abandonedBehindTheDot()
{
    SmtpUserAtTest user(0, {});
    user.queue.add(waitingMail());
    ScriptedServer server(smtpHello() +
                          "C: MAIL FROM:<ada@example.com>\nS: 250 ok\nC: RCPT TO:<bob@example.org>\n"
                          "S: 250 ok\nC: DATA\nS: 354 go\n" +
                          arrivingMail() + "W\nE\n");
    QVERIFY(user.meet(server).start());
    QVERIFY(comesTrue([&] { return server.isWaiting(); }));
    user.sender().stop();
    QCOMPARE(user.queue.calls.size(), 1);
    user.sender().abandon();
    QCOMPARE(user.queue.calls, QByteArrayList({"sending 1 bob@example.org", "release 1 early"}));
    server.release();
    QVERIFY2(server.finished(), server.problem());
    QCOMPARE(user.end.times, 0);
}

/// Each byte is a sign of life, and yet there is an end to the waiting for a reply.
void SmtpSenderTest::drip()
{
    SmtpUserAtTest user(0, {});
    ScriptedServer server("S: 220 a\nC~ EHLO .*\nG: 100000000 x\n");
    SMTPSender &sender = user.meet(server);
    sender.setMinute(100);
    server.setSlice(1);
    QVERIFY(sender.start() && user.waitForEnd());
    QCOMPARE(user.end.reason, Reason::TimedOut);
}

void SmtpSenderTest::patience_data()
{
    QTest::addColumn<QByteArray>("script"); ///< up to where the server stalls
    QTest::addColumn<int>("minutes");
    QTest::addColumn<QString>("awaited");
    QTest::addColumn<QByteArrayList>("calls");
    const QByteArray mail = smtpHello() + "C: MAIL FROM:<ada@example.com>\n";
    const QByteArray rcpt = mail + "S: 250 ok\nC: RCPT TO:<bob@example.org>\n";
    const QByteArray data = rcpt + "S: 250 ok\nC: DATA\n";
    const QByteArray text = data + "S: 354 go\n" + arrivingMail();
    const QByteArrayList waits = {"release 1 early"};
    const QByteArrayList sent = {"sending 1 bob@example.org", "accepted 1 bob@example.org", "release 1"};
    const auto row = [](const char *name, const QByteArray &script, int minutes, const QString &awaited,
                        const QByteArrayList &calls) {
        QTest::newRow(name) << script << minutes << awaited << calls;
    };
    row("greeting", {}, 5, u"the greeting"_s, {});
    row("EHLO", kGreeting, 5, u"the reply to EHLO"_s, {});
    row("HELO", kGreeting + "S: 502 no\nC~ HELO .*\n", 5, u"the reply to HELO"_s, {});
    const QByteArray all = kGreeting + "S: 250 AUTH CRAM-MD5 PLAIN LOGIN\n";
    const QByteArray login = kGreeting + "S: 250 AUTH LOGIN\nC: AUTH LOGIN\n";
    row("STARTTLS", kGreeting + "S: 250 STARTTLS\nC: STARTTLS\n", 2, u"the reply to STARTTLS"_s, {});
    row("AUTH CRAM-MD5", all + "C: AUTH CRAM-MD5\n", 5, u"the challenge of CRAM-MD5"_s, {});
    row("its answer", all + kCram, 5, u"the reply to the login"_s, {});
    row("AUTH PLAIN", kGreeting + "S: 250 AUTH PLAIN\n" + kPlain, 5, u"the reply to the login"_s, {});
    row("AUTH LOGIN", login, 5, u"the reply to AUTH LOGIN"_s, {});
    row("user name", login + "S: 334 a\nC: dGlt\n", 5, u"the reply to the user name"_s, {});
    row("password", kGreeting + "S: 250 AUTH LOGIN\n" + kLogin, 5, u"the reply to the login"_s, {});
    row("MAIL", mail, 5, u"the reply to MAIL"_s, waits);
    row("RCPT", rcpt, 5, u"the reply to RCPT"_s, waits);
    row("DATA", data, 2, u"the reply to DATA"_s, waits);
    row("final dot", text, 10, u"the reply to the message"_s,
        {"sending 1 bob@example.org", "release 1 early"});
    row("RSET", rcpt + "S: 550 no\nC: RSET\n", 5, u"the reply to RSET"_s,
        {"refused 1 | bob@example.org 550 no", "release 1 early"});
    row("QUIT", text + "S: 250 ok\nC: QUIT\n", 1, {}, sent);
}

/// A server that says nothing any more: how long it is waited for (RFC 5321 4.5.3.2), and what is known then.
void SmtpSenderTest::patience()
{
    QFETCH(const QByteArray, script);
    QFETCH(const int, minutes);
    QFETCH(const QString, awaited);
    QFETCH(const QByteArrayList, calls);
    SmtpUserAtTest user(script.contains("STARTTLS") ? quint32(AccountStartTls) : 0);
    if (!script.contains("AUTH "))
        user.data.password.clear();
    user.queue.add(waitingMail());
    int atSending = 3 * 60 * 1000;
    user.queue.onSending = [&] { atSending = user.sender().patience(); };
    ScriptedServer server(script + "W\nE\n");
    QVERIFY(user.meet(server).start());
    QVERIFY(comesTrue([&] { return server.isWaiting(); }));
    QVERIFY(comesTrue([&] { return user.sender().patience() == minutes * 60 * 1000; }));
    QCOMPARE(atSending, 3 * 60 * 1000);
    QVERIFY(QMetaObject::invokeMethod(&user.sender(), "slotTimeout"));
    QCOMPARE(user.end.reason, awaited.isEmpty() ? Reason::None : Reason::TimedOut);
    if (!awaited.isEmpty())
        QCOMPARE(user.end.detail, u"Awaited was: "_s + awaited);
    QCOMPARE(user.queue.calls, calls);
    server.release();
    QVERIFY2(server.finished(), server.problem());
}

QTEST_GUILESS_MAIN(SmtpSenderTest)
#include "smtpsender_test.moc"
