#include "wizardprogram.h"

#include "ui/accounts/outgoingoffer.h"
#include "ui/look/messageboxes.h"

#include <QMessageBox>
#include <QPlainTextEdit>

/// What the wizard does about sending, and the question that leads to it.
class SendingWizardTest : public QObject
{
    Q_OBJECT

private slots:
    void whereMailIsSentFrom_data();
    void whereMailIsSentFrom();
    void sendingMayWait();
    void whatIsThereIsNotAskedFor();
    void onlySending();
    void anotherLoginToSend_data();
    void anotherLoginToSend();
    void nothingIsHalfSaved_data();
    void nothingIsHalfSaved();
    void anOutgoingAccountIsOffered_data();
    void anOutgoingAccountIsOffered();
};

/// Where the server that sends comes from, and what is in the fields then.
void SendingWizardTest::whereMailIsSentFrom_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("where"); ///< host:port:user
    QTest::addColumn<bool>("byHand");
    QTest::newRow("published with the other")
        << u"clara@tidewater.example"_s << u"smtp.tidewater.example:587:clara"_s << false;
    QTest::newRow("a large provider") << u"c@gmail.com"_s << u"smtp.gmail.com:465:c@gmail.com"_s << false;
    QTest::newRow("service records") << u"c@records.example"_s
                                     << u"out.records.example:465:c@records.example"_s << false;
    QTest::newRow("a usual name") << u"c@usual.example"_s << u"mail.usual.example:587:c@usual.example"_s
                                  << false;
    QTest::newRow("published without it, a usual name")
        << u"c@half.example"_s << u"smtp.half.example:465:c"_s << false;
    QTest::newRow("nothing: beside what receives")
        << u"c@alone.example"_s << u"smtp.alone.example:465:c"_s << true;
}

void SendingWizardTest::whereMailIsSentFrom()
{
    QFETCH(QString, address);
    QFETCH(bool, byHand);
    Wizard wizard;
    wizard.publishSending();
    wizard.network.records[u"_pop3s._tcp.records.example"_s] = {{u"in.records.example"_s, 995}};
    wizard.network.records[u"_submissions._tcp.records.example"_s] = {{u"out.records.example"_s, 465}};
    wizard.network.servers = {{u"pop.usual.example:995"_s, ProbeAnswer::Works},
                              {u"mail.usual.example:587"_s, ProbeAnswer::Works},
                              {u"smtp.half.example:465"_s, ProbeAnswer::Works}};
    for (const char *domain : {"half", "alone"})
        wizard.network
            .files[u"https://autoconfig.%1.example/mail/config-v1.1.xml"_s.arg(QLatin1StringView(domain))] =
            publishedSettings(QByteArray("pop.") + domain + ".example");
    wizard.enter(address, u"right"_s);
    QTRY_COMPARE(wizard.verb(), u"Sign in"_s);
    wizard.press(Qt::Key_Return);
    QTRY_COMPARE(wizard.verb(), u"Continue"_s);
    wizard.press(Qt::Key_Return);
    QTRY_COMPARE(wizard.verb(), u"Sign in"_s);
    const auto *card = wizard.child<ServerCard>(u"card");
    const MailServer server = card->server();
    QTEST(u"%1:%2:%3"_s.arg(server.host).arg(server.port).arg(server.user), "where");
    QCOMPARE(card->isEditing(), byHand);
    QCOMPARE(wizard.notice(u"source").contains(u"No server to send through"_s), byHand);
}

/// Whoever only wants to read is not kept; what is there already is not asked for.
void SendingWizardTest::sendingMayWait()
{
    Wizard wizard;
    wizard.publishSending();
    wizard.enter(u"clara@tidewater.example"_s, {});
    QTRY_COMPARE(wizard.verb(), u"Continue"_s);
    wizard.skipToReady();
    QVERIFY(wizard.notice(u"summary").contains(u"Nothing is set up for sending"_s));
    wizard.child<QAbstractButton>(u"atOnce")->setChecked(false);
    wizard.press(Qt::Key_Return);
    QTRY_VERIFY(!wizard.window);
    QVERIFY(wizard.only() && wizard.engine.identities().all().empty());
}

void SendingWizardTest::whatIsThereIsNotAskedFor()
{
    Wizard wizard;
    Identity identity;
    identity.name = u"Clara Winter"_s;
    identity.address = u"clara@tidewater.example"_s;
    const int number = wizard.engine.identities().add(identity);
    AccountData outgoing;
    outgoing.kind = AccountKind::Smtp;
    outgoing.name = u"Out"_s;
    outgoing.address = u"CLARA@tidewater.example"_s;
    QVERIFY(wizard.engine.accounts().add(outgoing) > 0);
    wizard.enter(u"clara@tidewater.example"_s, {});
    QCOMPARE(wizard.field(u"person")->text(), u"Clara Winter"_s);
    QTRY_COMPARE(wizard.verb(), u"Continue"_s);
    wizard.press(Qt::Key_Return);
    QCOMPARE(QApplication::focusWidget()->objectName(), u"name"_s); // the last page at once
    QVERIFY(!wizard.notice(u"summary").contains(u"Nothing is set up for sending"_s));
    wizard.child<QAbstractButton>(u"atOnce")->setChecked(false);
    wizard.press(Qt::Key_Return);
    QCOMPARE(wizard.engine.accounts().accounts().size(), std::size_t(2));
    QCOMPARE(wizard.account(AccountKind::Pop3)->identity, number);
}

void SendingWizardTest::onlySending()
{
    Wizard wizard;
    wizard.publishSending();
    wizard.open();
    Identity identity;
    identity.name = u"Clara Winter"_s;
    identity.address = u"clara@tidewater.example"_s;
    wizard.window->beginWith(AccountKind::Smtp, wizard.engine.identities().add(identity));
    QCOMPARE(wizard.field(u"person")->text(), u"Clara Winter"_s);
    QCOMPARE(wizard.field(u"address")->text(), u"clara@tidewater.example"_s);
    QCOMPARE(QApplication::focusWidget(), wizard.field(u"password"));
    wizard.field(u"password")->setText(u"right"_s);
    wizard.press(Qt::Key_Return);
    QTRY_COMPARE(wizard.verb(), u"Sign in"_s);
    QVERIFY(!wizard.child<QAbstractButton>(u"wanted")->isVisible()); // it is what the wizard was opened for
    wizard.press(Qt::Key_Return);
    QTRY_COMPARE(wizard.verb(), u"Continue"_s);
    wizard.press(Qt::Key_Return);
    wizard.press(Qt::Key_Return);
    QVERIFY(!wizard.child<QAbstractButton>(u"atOnce")->isVisible());
    wizard.press(Qt::Key_Return);
    QTRY_VERIFY(!wizard.window);
    QVERIFY(wizard.only());
    QCOMPARE(wizard.only()->kind(), AccountKind::Smtp);
    QCOMPARE(wizard.only()->password(), u"right"_s);
    QCOMPARE(wizard.engine.identities().all().size(), std::size_t(1)); // no second one
}

/// Who signs in to send with another name and password than to fetch; and what happens when nobody asks.
void SendingWizardTest::anotherLoginToSend_data()
{
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QString>("result");
    QTest::addColumn<QString>("kept");
    QTest::newRow("another name and password") << u"sender"_s << u"right"_s << u"signed in"_s << u"right"_s;
    QTest::newRow("the same password") << u"sender"_s << QString() << u"the server refused"_s << u"wrong"_s;
    QTest::newRow("the server asks nobody")
        << u"anybody"_s << u"right"_s << u"it takes mail without a sign-in"_s << u"right"_s;
    QTest::newRow("no name, no password") << QString() << u"right"_s << QString() << QString();
}

void SendingWizardTest::anotherLoginToSend()
{
    QFETCH(QString, user);
    QFETCH(QString, password);
    QFETCH(QString, result);
    QFETCH(QString, kept);
    Wizard wizard;
    wizard.publishSending();
    wizard.enter(u"clara@tidewater.example"_s, u"wrong"_s);
    QTRY_COMPARE(wizard.verb(), u"Sign in"_s);
    wizard.press(Qt::Key_Return);
    QTRY_COMPARE(wizard.verb(), u"Try again"_s);
    wizard.button(u"secondary")->click(); // untried
    QTRY_COMPARE(wizard.verb(), u"Sign in"_s);
    wizard.change();
    wizard.field(u"user")->setText(user);
    wizard.field(u"ownPassword")->setText(password);
    wizard.tester.asksNobody = user == u"anybody"_s;
    wizard.press(Qt::Key_Return);
    QTRY_VERIFY2(result.isEmpty() || wizard.result().contains(result), qPrintable(wizard.result()));
    if (result.contains(u"refused"_s))
        return;
    if (!result.isEmpty())
        wizard.press(Qt::Key_Return);
    wizard.press(Qt::Key_Return);
    const QString summary = wizard.notice(u"summary");
    QCOMPARE(summary.contains(u"Signed in to smtp.tidewater.example"_s), user == u"sender"_s);
    QCOMPARE(summary.contains(u"smtp.tidewater.example is used without a sign-in"_s), user != u"sender"_s);
    wizard.child<QAbstractButton>(u"atOnce")->setChecked(false);
    wizard.press(Qt::Key_Return);
    QVERIFY(wizard.account(AccountKind::Smtp));
    QCOMPARE(wizard.account(AccountKind::Smtp)->user, user);
    QTEST(wizard.passwordOf(AccountKind::Smtp), "kept");
    QCOMPARE(wizard.passwordOf(AccountKind::Pop3), u"wrong"_s);
}

/// Both accounts and the identity, or none of them.
void SendingWizardTest::nothingIsHalfSaved_data()
{
    QTest::addColumn<QString>("beside");
    QTest::newRow("the account") << u"Accounts/Index~"_s;
    QTest::newRow("the signature") << u"Identities/1/Signatures/Standard~"_s;
}

void SendingWizardTest::nothingIsHalfSaved()
{
    QFETCH(QString, beside);
    Wizard wizard;
    wizard.publishSending();
    wizard.enter(u"clara@tidewater.example"_s, {});
    QTRY_COMPARE(wizard.verb(), u"Continue"_s);
    wizard.press(Qt::Key_Return);
    wizard.press(Qt::Key_Return);
    wizard.press(Qt::Key_Return);
    wizard.child<QAbstractButton>(u"atOnce")->setChecked(false);
    wizard.child<QPlainTextEdit>(u"signature")->setPlainText(u"Clara"_s);
    beside = configPathOf(beside);
    QVERIFY(QDir().mkpath(beside)); // nothing can be written beside it
    wizard.press(Qt::Key_Return);
    QVERIFY(wizard.window && wizard.window->isVisible());
    QVERIFY(!wizard.scratch.reports.isEmpty());
    QVERIFY(wizard.engine.accounts().accounts().empty() && wizard.engine.identities().all().empty());
    QVERIFY(QDir().rmdir(beside));
    wizard.press(Qt::Key_Return);
    QTRY_VERIFY(!wizard.window);
    QCOMPARE(wizard.engine.accounts().accounts().size(), std::size_t(2));
    QCOMPARE(wizard.engine.identities().all().size(), std::size_t(1));
}

void SendingWizardTest::anOutgoingAccountIsOffered_data()
{
    QTest::addColumn<bool>("has");
    QTest::addColumn<int>("button");
    QTest::addColumn<int>("wanted");
    QTest::newRow("there is one") << true << -1 << 0;
    QTest::newRow("yes") << false << 0 << 1;
    QTest::newRow("no") << false << 1 << 0;
}

void SendingWizardTest::anOutgoingAccountIsOffered()
{
    QFETCH(bool, has);
    QFETCH(int, button);
    Wizard wizard;
    if (has) {
        AccountData outgoing;
        outgoing.kind = AccountKind::Smtp;
        outgoing.name = u"Out"_s;
        QVERIFY(wizard.engine.accounts().add(outgoing) > 0);
    }
    QWidget window;
    window.show();
    MessageBoxes boxes(&window);
    int wanted = 0;
    QCOMPARE(offerOutgoingAccount(wizard.engine, boxes, &window, [&wanted] { ++wanted; }), !has);
    if (button >= 0) {
        QTRY_VERIFY(boxes.openBox());
        QCOMPARE(boxes.openBox()->text(),
                 u"You have not set up any outgoing mail accounts.\nWould you like to "
                 "set one up now?"_s);
        boxes.openBox()->buttons().at(button)->click();
        QTRY_VERIFY(!boxes.isBusy());
    }
    QTEST(wanted, "wanted");
}

QTEST_MAIN(SendingWizardTest)
#include "sendingwizard_test.moc"
