#include "wizardprogram.h"

#include "identity/signatures.h"
#include "ui/accounts/certificatedialog.h"

#include <QAccessible>
#include <QComboBox>
#include <QDir>
#include <QKeySequence>
#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QSpinBox>

namespace {

CertificateReport selfSigned()
{
    CertificateReport report;
    report.host = u"pop.tidewater.example"_s;
    report.certificate.sha256 = QByteArray(64, 'a');
    report.certificate.commonName = u"pop.tidewater.example"_s;
    report.problems = {{CertificateProblemCode::SelfSigned, u"The certificate is self-signed"_s}};
    return report;
}

} // namespace

class AccountWizardTest : public QObject
{
    Q_OBJECT

private slots:
    void keysFromStartToEnd();
    void whereThePasswordIsKept_data();
    void whereThePasswordIsKept();
    void aWrongPassword();
    void nothingFound();
    void byHand();
    void unencryptedIsAsked();
    void providersDemands_data();
    void providersDemands();
    void strangersArePointedOut();
    void stopped();
    void backKeepsWhatWasTyped();
    void certificate_data();
    void certificate();
    void aMailboxFile();
    void namesAreUnique();
    void mnemonicsAndNames();
};

void AccountWizardTest::keysFromStartToEnd()
{
    Wizard wizard;
    wizard.publishSending();
    wizard.open();
    QCOMPARE(wizard.window->windowTitle(), u"Set up an account"_s);
    QSignalSpy made(wizard.window, &AccountWizard::accountMade);
    wizard.press(Qt::Key_Space); // the first kind has the focus
    QCOMPARE(QApplication::focusWidget()->objectName(), u"person"_s);
    wizard.type("Clara Winter");
    wizard.press(Qt::Key_Tab);
    wizard.type("clara@tidewater.example");
    wizard.press(Qt::Key_Tab);
    wizard.type("right");
    wizard.press(Qt::Key_Return);
    QTRY_COMPARE(wizard.verb(), u"Sign in"_s);
    QVERIFY(wizard.tester.tried.empty()); // nothing goes out before the server was seen
    wizard.press(Qt::Key_Return);
    QTRY_COMPARE(wizard.result(), u"signed in, 14 messages"_s);
    QVERIFY(wizard.engine.accounts().accounts().empty());
    wizard.press(Qt::Key_Return);
    QCOMPARE(wizard.child<ServerCard>(u"card")->server().host, u"smtp.tidewater.example"_s);
    QCOMPARE(wizard.verb(), u"Sign in"_s); // without another search
    wizard.press(Qt::Key_Return);
    QTRY_COMPARE(wizard.result(), u"signed in"_s);
    wizard.press(Qt::Key_Return);
    QCOMPARE(wizard.field(u"identityName")->text(), u"Clara Winter"_s);
    QCOMPARE(QApplication::focusWidget()->objectName(), u"organisation"_s);
    wizard.type("Tidewater Press");
    wizard.press(Qt::Key_Tab);
    wizard.child<QPlainTextEdit>(u"signature")->setPlainText(u"Clara"_s);
    wizard.button(u"next")->click();
    QCOMPARE(QApplication::focusWidget()->objectName(), u"name"_s);
    QVERIFY(wizard.engine.identities().all().empty()); // nor anything else before the last button
    wizard.child<QAbstractButton>(u"atOnce")->setChecked(false);
    wizard.press(Qt::Key_Return);
    QCOMPARE(made.count(), 1);
    QTRY_VERIFY(!wizard.window);

    const AccountData *incoming = wizard.account(AccountKind::Pop3);
    QVERIFY(incoming);
    QCOMPARE(incoming->name, u"clara@tidewater.example"_s);
    QCOMPARE(incoming->address, u"clara@tidewater.example"_s);
    QCOMPARE(incoming->host, u"pop.tidewater.example"_s);
    QCOMPARE(incoming->port, 995);
    QCOMPARE(incoming->user, u"clara"_s);
    QVERIFY(incoming->has(AccountTls) && incoming->has(AccountNeedsEncryption) &&
            incoming->has(AccountLeaveOnServer));
    QVERIFY(!incoming->has(AccountStartTls) && !incoming->has(AccountAsksForPassword));
    QCOMPARE(wizard.tester.tried.front().user, u"clara"_s);
    const AccountData *outgoing = wizard.account(AccountKind::Smtp);
    QVERIFY(outgoing);
    QCOMPARE(outgoing->name, u"clara@tidewater.example, outgoing"_s);
    QCOMPARE(outgoing->host, u"smtp.tidewater.example"_s);
    QCOMPARE(outgoing->port, 587);
    QCOMPARE(outgoing->fetchInterval, 0);
    QVERIFY(outgoing->has(AccountStartTls) && outgoing->has(AccountNeedsEncryption) &&
            !outgoing->has(AccountLeaveOnServer) && !outgoing->has(AccountJunkTest));
    const Identity *identity = wizard.engine.identities().defaultIdentity();
    QVERIFY(identity);
    QCOMPARE(identity->display(), u"Clara Winter <clara@tidewater.example>"_s);
    QCOMPARE(identity->organisation, u"Tidewater Press"_s);
    QCOMPARE(readSignature(identity->number, identity->signature).value().text, u"Clara"_s);
    QCOMPARE(incoming->identity, identity->number);
    QCOMPARE(outgoing->identity, identity->number);
    QVERIFY(QFile::exists(configDirectory() + u"/Accounts/Index"_s));
}

void AccountWizardTest::whereThePasswordIsKept_data()
{
    QTest::addColumn<int>("choice");
    QTest::addColumn<int>("inKeyring");
    QTest::addColumn<bool>("inFile");
    QTest::addColumn<bool>("asks");
    QTest::newRow("the keyring, when there is one") << 0 << 1 << false << false;
    QTest::newRow("the accounts file") << 1 << 0 << true << false;
    QTest::newRow("nowhere") << 2 << 0 << false << true;
}

void AccountWizardTest::whereThePasswordIsKept()
{
    QFETCH(int, choice);
    Wizard wizard;
    wizard.open();
    wizard.window->beginWith(AccountKind::Pop3);
    auto *keeping = wizard.child<QComboBox>(u"keeping");
    QCOMPARE(keeping->count(), 3);
    QCOMPARE(keeping->currentIndex(), 0);
    keeping->setCurrentIndex(choice);
    wizard.field(u"address")->setText(u"clara@tidewater.example"_s);
    wizard.field(u"password")->setText(u"right"_s);
    wizard.press(Qt::Key_Return);
    QTRY_COMPARE(wizard.verb(), u"Sign in"_s);
    wizard.press(Qt::Key_Return);
    QTRY_COMPARE(wizard.verb(), u"Continue"_s);
    wizard.skipToReady();
    wizard.child<QAbstractButton>(u"atOnce")->setChecked(false);
    wizard.press(Qt::Key_Return);
    QVERIFY(wizard.only());
    QTEST(int(wizard.keeper.kept.size()), "inKeyring");
    QTEST(wizard.only()->data().password == u"right"_s, "inFile");
    QTEST(wizard.only()->data().has(AccountAsksForPassword), "asks");
    QCOMPARE(wizard.only()->password(), u"right"_s); // for this run it is known in any case
}

void AccountWizardTest::aWrongPassword()
{
    Wizard wizard;
    wizard.enter(u"clara@tidewater.example"_s, u"wrong"_s);
    QTRY_COMPARE(wizard.verb(), u"Sign in"_s);
    wizard.press(Qt::Key_Return);
    QTRY_COMPARE(wizard.verb(), u"Try again"_s);
    QCOMPARE(wizard.result(), u"the server refused the name or the password"_s);
    QVERIFY(wizard.notice(u"outcome").contains(u"-ERR [AUTH] no"_s));
    QVERIFY(wizard.engine.accounts().accounts().empty());
    auto *other = wizard.child<Notice>(u"outcome")->findChild<QPushButton *>();
    QVERIFY(other->isVisible());
    other->click();
    QCOMPARE(QApplication::focusWidget()->objectName(), u"password"_s);
    wizard.type("right"); // what was there is selected
    wizard.press(Qt::Key_Return);
    QCOMPARE(wizard.verb(), u"Sign in"_s); // the server is known, the refusal belongs to the other password
    QVERIFY(wizard.notice(u"outcome").isEmpty());
    wizard.press(Qt::Key_Return);
    QTRY_COMPARE(wizard.verb(), u"Continue"_s);
    QCOMPARE(wizard.tester.tried.size(), std::size_t(2));
}

void AccountWizardTest::nothingFound()
{
    Wizard wizard;
    wizard.enter(u"clara@nowhere.example"_s, {});
    QTRY_VERIFY(wizard.notice(u"source").contains(u"No server was found"_s));
    QVERIFY(wizard.child<ServerCard>(u"card")->isEditing());
    QCOMPARE(QApplication::focusWidget()->objectName(), u"host"_s);
    QCOMPARE(wizard.verb(), QString());
    wizard.type("pop.nowhere.example");
    QCOMPARE(wizard.verb(), u"Continue"_s); // without a password there is nothing to try
    wizard.skipToReady();
    QVERIFY(wizard.notice(u"summary").contains(u"not tried"_s));
}

void AccountWizardTest::byHand()
{
    Wizard wizard;
    wizard.enter(u"clara@tidewater.example"_s, u"right"_s);
    QTRY_COMPARE(wizard.verb(), u"Sign in"_s);
    wizard.change();
    auto *card = wizard.child<ServerCard>(u"card");
    auto *encryption = wizard.child<QComboBox>(u"encryption");
    auto *port = wizard.child<QSpinBox>(u"port");
    encryption->setCurrentIndex(1);
    QCOMPARE(port->value(), 110);
    port->setValue(2110);
    encryption->setCurrentIndex(0);
    QCOMPARE(port->value(), 2110); // a port of the user's own stays
    wizard.field(u"host")->selectAll();
    wizard.field(u"host")->setFocus();
    QVERIFY(wizard.notice(u"source").isEmpty()); // it spoke of another server
    wizard.type("a b");
    QCOMPARE(wizard.verb(), QString());
    wizard.field(u"host")->setText(u"Bücher.example"_s);
    wizard.field(u"user")->setText(u" clara.k "_s);
    QCOMPARE(card->server().host, u"xn--bcher-kva.example"_s);
    wizard.press(Qt::Key_Return);
    QTRY_COMPARE(wizard.verb(), u"Continue"_s);
    const AccountData &tried = wizard.tester.tried.back();
    QCOMPARE(tried.host, u"xn--bcher-kva.example"_s);
    QCOMPARE(tried.port, 2110);
    QCOMPARE(tried.user, u"clara.k"_s);
}

void AccountWizardTest::unencryptedIsAsked()
{
    Wizard wizard;
    wizard.enter(u"clara@tidewater.example"_s, u"right"_s);
    QTRY_COMPARE(wizard.verb(), u"Sign in"_s);
    wizard.change();
    QVERIFY(!wizard.child<QLabel>(u"warning")->isVisible());
    wizard.child<QComboBox>(u"encryption")->setCurrentIndex(2);
    QVERIFY(wizard.child<QLabel>(u"warning")->isVisible());
    QCOMPARE(wizard.verb(), u"Continue"_s); // no password goes out for a try
    wizard.field(u"host")->setText(u"127.0.0.1"_s);
    QCOMPARE(wizard.verb(), u"Sign in"_s); // this machine itself is another matter
    wizard.press(Qt::Key_Return);
    QTRY_COMPARE(wizard.verb(), u"Continue"_s);
    QVERIFY(!wizard.tester.tried.back().has(AccountTls) && !wizard.tester.tried.back().has(AccountStartTls));
}

void AccountWizardTest::providersDemands_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("words");
    QTest::addColumn<QString>("verb");
    QTest::newRow("app password") << u"c@gmail.com"_s << u"app password"_s << u"Sign in"_s;
    QTest::newRow("a switch") << u"c@gmx.de"_s << u"switch POP3 on"_s << u"Sign in"_s;
    QTest::newRow("OAuth2") << u"c@outlook.com"_s << u"OAuth2"_s << QString();
    QTest::newRow("no POP3") << u"c@icloud.com"_s << u"offers no POP3"_s << QString();
    QTest::newRow("its own program") << u"c@proton.me"_s << u"a program of Proton's own"_s << QString();
}

void AccountWizardTest::providersDemands()
{
    QFETCH(QString, address);
    QFETCH(QString, words);
    Wizard wizard;
    wizard.enter(address, u"right"_s);
    QTRY_VERIFY2(wizard.notice(u"needs").contains(words), qPrintable(wizard.notice(u"needs")));
    QTEST(wizard.verb(), "verb");
    QVERIFY(wizard.network.asked.isEmpty());
}

void AccountWizardTest::strangersArePointedOut()
{
    Wizard wizard;
    wizard.network.files[u"https://autoconfig.tidewater.example/mail/config-v1.1.xml"_s] =
        publishedSettings("pop.elsewhere.example");
    wizard.enter(u"clara@tidewater.example"_s, u"right"_s);
    QTRY_VERIFY(wizard.notice(u"stranger").contains(u"elsewhere.example, not to tidewater.example"_s));
    QCOMPARE(wizard.verb(), u"Sign in"_s);
}

void AccountWizardTest::stopped()
{
    Wizard wizard;
    wizard.network.silent = {u"https://autoconfig.tidewater.example/mail/config-v1.1.xml"_s};
    wizard.tester.silent = true;
    wizard.enter(u"clara@tidewater.example"_s, u"right"_s);
    QCOMPARE(QApplication::focusWidget()->objectName(), u"stop"_s);
    QCOMPARE(wizard.verb(), QString());
    wizard.press(Qt::Key_Space);
    QVERIFY(wizard.child<ServerCard>(u"card")->isEditing());
    wizard.type("pop.tidewater.example");
    wizard.press(Qt::Key_Return);
    QTRY_COMPARE(wizard.tester.tried.size(), std::size_t(1));
    QCOMPARE(wizard.verb(), QString());
    wizard.press(Qt::Key_Escape); // stops, and the window stays
    QVERIFY(wizard.window->isVisible());
    QCOMPARE(wizard.verb(), u"Sign in"_s);
    wizard.press(Qt::Key_Escape);
    QTRY_VERIFY(!wizard.window);
    QVERIFY(wizard.engine.accounts().accounts().empty());
}

void AccountWizardTest::backKeepsWhatWasTyped()
{
    Wizard wizard;
    wizard.enter(u"clara@tidewater.example"_s, u"right"_s);
    QTRY_COMPARE(wizard.verb(), u"Sign in"_s);
    wizard.change();
    wizard.field(u"user")->setText(u"clara.k"_s);
    wizard.press(Qt::Key_Return);
    QTRY_COMPARE(wizard.verb(), u"Continue"_s);
    wizard.skipToReady();
    wizard.field(u"name")->setText(u"Tidewater"_s);
    const qsizetype asked = wizard.network.asked.size();
    wizard.button(u"back")->click();
    QVERIFY(!wizard.child<QAbstractButton>(u"wantsIdentity")->isChecked());
    wizard.button(u"back")->click();
    QVERIFY(!wizard.child<QAbstractButton>(u"wanted")->isChecked());
    wizard.button(u"back")->click();
    QCOMPARE(wizard.child<ServerCard>(u"card")->server().user, u"clara.k"_s);
    QCOMPARE(wizard.verb(), u"Continue"_s); // it works still
    wizard.button(u"back")->click();
    QCOMPARE(wizard.field(u"address")->text(), u"clara@tidewater.example"_s);
    QCOMPARE(wizard.field(u"password")->text(), u"right"_s);
    QVERIFY(!wizard.button(u"back")->isVisible());
    wizard.press(Qt::Key_Return);
    wizard.skipToReady();
    QCOMPARE(wizard.field(u"name")->text(), u"Tidewater"_s);
    QCOMPARE(wizard.network.asked.size(), asked); // the same address is not searched for again
    QCOMPARE(wizard.tester.tried.size(), std::size_t(1));
    for (int page = 0; page < 4; ++page)
        wizard.button(u"back")->click();
    wizard.field(u"address")->setText(u"clara@nowhere.example"_s);
    wizard.press(Qt::Key_Return);
    QTRY_VERIFY(wizard.notice(u"source").contains(u"nowhere.example"_s));
    QVERIFY(wizard.child<ServerCard>(u"card")->server().host.isEmpty());
}

void AccountWizardTest::certificate_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("verb");
    QTest::addColumn<bool>("kept");
    QTest::newRow("refused") << u"refuse"_s << u"Try again"_s << false;
    QTest::newRow("accepted once") << u"acceptOnce"_s << u"Continue"_s << false;
    QTest::newRow("accepted for good") << u"acceptAlways"_s << u"Continue"_s << true;
}

void AccountWizardTest::certificate()
{
    QFETCH(QString, button);
    QFETCH(QString, verb);
    QFETCH(bool, kept);
    Wizard wizard;
    wizard.tester.problem = selfSigned();
    wizard.enter(u"clara@tidewater.example"_s, u"right"_s);
    QTRY_COMPARE(wizard.verb(), u"Sign in"_s);
    wizard.press(Qt::Key_Return);
    QTRY_VERIFY(wizard.window->findChild<CertificateDialog *>());
    wizard.window->findChild<CertificateDialog *>()->findChild<QPushButton *>(button)->click();
    QTRY_COMPARE(wizard.verb(), verb);
    if (button == u"refuse"_s)
        return;
    wizard.tester.problem = {};
    wizard.skipToReady();
    wizard.child<QAbstractButton>(u"atOnce")->setChecked(false);
    wizard.press(Qt::Key_Return);
    QVERIFY(wizard.only());
    QCOMPARE(wizard.only()->options().accepts(QByteArray(64, 'a')), kept);
}

void AccountWizardTest::aMailboxFile()
{
    Wizard wizard;
    wizard.open();
    wizard.press(Qt::Key_Tab);
    wizard.press(Qt::Key_Space);
    QCOMPARE(QApplication::focusWidget()->objectName(), u"path"_s);
    wizard.type("spool");
    QCOMPARE(wizard.verb(), QString()); // not a whole path
    wizard.field(u"path")->setText(u"/var/mail/clara.mbox"_s);
    wizard.press(Qt::Key_Return);
    QCOMPARE(wizard.field(u"name")->text(), u"clara"_s);
    wizard.child<QAbstractButton>(u"atOnce")->setChecked(false);
    wizard.press(Qt::Key_Return);
    QVERIFY(wizard.only());
    QCOMPARE(wizard.only()->kind(), AccountKind::BatchFile);
    QCOMPARE(wizard.only()->data().host, u"/var/mail/clara.mbox"_s);
}

void AccountWizardTest::namesAreUnique()
{
    Wizard wizard;
    AccountData other;
    other.kind = AccountKind::Pop3;
    other.name = u"clara@tidewater.example"_s;
    QVERIFY(wizard.engine.accounts().add(other) > 0);
    wizard.enter(u"clara@tidewater.example"_s, {});
    QTRY_COMPARE(wizard.verb(), u"Continue"_s);
    wizard.skipToReady();
    QCOMPARE(wizard.field(u"name")->text(), u"clara@tidewater.example 2"_s);
    for (const QString &name : {other.name, u" "_s, u"a\tb"_s}) {
        wizard.field(u"name")->setText(name);
        QVERIFY(!wizard.child<QLabel>(u"nameProblem")->text().isEmpty());
        QCOMPARE(wizard.verb(), QString());
    }
}

/// On each page: no mnemonic twice, and no control without a name.
void AccountWizardTest::mnemonicsAndNames()
{
    Wizard wizard;
    const auto check = [&wizard](const char *page) {
        QStringList keys;
        for (const QWidget *widget : wizard.window->findChildren<QWidget *>()) {
            if (!widget->isVisible())
                continue;
            QString text;
            if (const auto *button = qobject_cast<const QAbstractButton *>(widget))
                text = button->text();
            if (const auto *label = qobject_cast<const QLabel *>(widget); label && label->buddy())
                text = label->text();
            const QString key = QKeySequence::mnemonic(text).toString();
            QVERIFY2(key.isEmpty() || !keys.contains(key), qPrintable(QLatin1String(page) + u": "_s + text));
            keys += key;
            const bool takesFocus =
                (widget->focusPolicy() & Qt::TabFocus) && // what a spin box is made of is its
                widget->objectName() != u"qt_spinbox_lineedit"_s;
            QAccessibleInterface *accessible =
                QAccessible::queryAccessibleInterface(const_cast<QWidget *>(widget));
            QVERIFY2(!takesFocus || (accessible && !accessible->text(QAccessible::Name).isEmpty()),
                     qPrintable(QLatin1String(page) + u": "_s + widget->objectName()));
        }
    };
    wizard.open();
    check("kind");
    wizard.window->beginWith(AccountKind::Pop3);
    check("person");
    wizard.field(u"address")->setText(u"c@gmail.com"_s);
    wizard.field(u"password")->setText(u"wrong"_s);
    wizard.press(Qt::Key_Return);
    check("search");
    QTRY_COMPARE(wizard.verb(), u"Sign in"_s);
    check("found");
    wizard.press(Qt::Key_Return);
    QTRY_COMPARE(wizard.verb(), u"Try again"_s);
    check("refused");
    wizard.change();
    check("by hand");
    wizard.button(u"secondary")->click(); // back to what was found
    QVERIFY(!wizard.child<ServerCard>(u"card")->isEditing());
    QCOMPARE(wizard.verb(), u"Sign in"_s);
    wizard.press(Qt::Key_Return);
    QTRY_COMPARE(wizard.verb(), u"Try again"_s);
    wizard.button(u"secondary")->click(); // untried
    QTRY_VERIFY(wizard.child<QAbstractButton>(u"wanted")->isVisible());
    check("sending");
    wizard.button(u"secondary")->click();
    check("sending by hand");
    wizard.child<QAbstractButton>(u"wanted")->setChecked(false);
    wizard.press(Qt::Key_Return);
    check("identity");
    wizard.button(u"next")->click();
    check("ready");
}

QTEST_MAIN(AccountWizardTest)
#include "accountwizard_test.moc"
