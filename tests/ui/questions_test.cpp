#include "support/scratch.h"

#include "config/directory.h"
#include "engine/engine.h"
#include "faketransfers.h"
#include "net/accountfiles.h"
#include "ui/accounts/accountlogmodel.h"
#include "ui/accounts/accountlogwindow.h"
#include "ui/accounts/certificatedialog.h"
#include "ui/accounts/passworddialog.h"
#include "ui/accounts/windowquestions.h"
#include "ui/look/emptystate.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QToolButton>
#include <QTreeView>

using namespace Qt::StringLiterals;

namespace {

CertificateQuestion certificateQuestion(int account, char digit = 'a')
{
    CertificateQuestion question;
    question.account = account;
    question.accountName = u"Home"_s;
    question.found.host = u"pop.example.org"_s;
    question.found.certificate.sha256 = QByteArray(64, digit);
    question.found.certificate.commonName = u"other.example"_s;
    question.found.problems = {{CertificateProblemCode::SelfSigned, u"Self signed certificate"_s}};
    return question;
}

PasswordQuestion passwordQuestion(int account, const QString &refusal = {})
{
    return {account, u"Home"_s, u"clara"_s, u"pop.example.org"_s, refusal, true};
}

struct Asked
{
    Asked()
    {
        window.show();
        questions = std::make_unique<WindowQuestions>(&window);
    }

    void press(const char *button) const
    {
        QTest::mouseClick(questions->openDialog()->findChild<QPushButton *>(QLatin1StringView(button)),
                          Qt::LeftButton);
    }
    void askCertificate(int account, char digit = 'a')
    {
        questions->askCertificate(certificateQuestion(account, digit),
                                  [this](CertificateAnswer answer) { certificates.append(answer); });
    }
    void askPassword(int account)
    {
        questions->askPassword(passwordQuestion(account), [this](const QString &password, PasswordKeeping k) {
            passwords.append(password);
            keeping = k;
        });
    }

    QWidget window;
    std::unique_ptr<WindowQuestions> questions;
    QList<CertificateAnswer> certificates;
    QStringList passwords;
    PasswordKeeping keeping = PasswordKeeping::ThisRun;
};

/// An account whose log says what the test wants.
struct Logged
{
    Logged()
    {
        createStoreDirectories();
        accounts.setFactory(&clients);
        number = accounts.add(popAccount(u"Home"_s));
    }

    Account &account() { return *accounts.account(number); }
    void write(const QByteArray &text, const char *name = "Log")
    {
        QDir().mkpath(accountFilePath(number, {}));
        QFile file(accountFilePath(number, QLatin1StringView(name)));
        if (!file.open(QIODevice::Append) || file.write(text) != text.size())
            qFatal("the log cannot be written");
    }

    Scratch scratch;
    FakeClients clients;
    AccountManager accounts;
    int number = 0;
};

} // namespace

/// What is asked while a connection waits, and the viewer of logs.
class QuestionsTest : public QObject
{
    Q_OBJECT

private slots:
    void certificateAnswers_data();
    void certificateAnswers();
    void aChangedCertificateStandsBesideTheOldOne();
    void passwordAnswers();
    void noPasswordIsAnAnswer();
    void oneQuestionServesAllWhoWait();
    void oneAtATime();
    void withdrawnIsNotAnswered();
    void typingGoesOnElsewhere();

    void logFollowsAndMasks();
    void logBeginsAnewWhenItWasMovedAside();
    void logIsSearched();
    void reportLeavesNamesOut();
    void noLogSaysSo();
    void aLongLogOpensAtOnce();
};

void QuestionsTest::certificateAnswers_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<QByteArray>("button");
    QTest::addColumn<CertificateAnswer>("answer");
    QTest::newRow("Enter refuses") << int(Qt::Key_Return) << QByteArray() << CertificateAnswer::Refuse;
    QTest::newRow("Esc refuses") << int(Qt::Key_Escape) << QByteArray() << CertificateAnswer::Refuse;
    QTest::newRow("refuse") << 0 << "refuse"_ba << CertificateAnswer::Refuse;
    QTest::newRow("once") << 0 << "acceptOnce"_ba << CertificateAnswer::AcceptOnce;
    QTest::newRow("always") << 0 << "acceptAlways"_ba << CertificateAnswer::AcceptAlways;
}

void QuestionsTest::certificateAnswers()
{
    QFETCH(int, key);
    QFETCH(QByteArray, button);
    QFETCH(CertificateAnswer, answer);
    Asked asked;
    asked.askCertificate(1);
    QVERIFY2(!asked.questions->openDialog(), "nothing opens from within the call");
    QTRY_VERIFY(asked.questions->openDialog());
    if (key)
        QTest::keyClick(asked.questions->openDialog(), Qt::Key(key));
    else
        asked.press(button.constData());
    QCOMPARE(asked.certificates, QList{answer});
    QTRY_VERIFY(!asked.questions->isBusy());
}

void QuestionsTest::aChangedCertificateStandsBesideTheOldOne()
{
    CertificateQuestion question = certificateQuestion(1);
    question.known = question.found.certificate;
    question.known->sha256 = QByteArray(64, '7');
    const CertificateDialog dialog(question);
    QVERIFY(dialog.findChild<QLabel *>(u"title"_s)->text().contains(u"has changed"_s));
    QStringList texts;
    for (const QLabel *label : dialog.findChildren<QLabel *>())
        texts.append(label->text());
    QVERIFY(texts.contains(groupedFingerprint(QByteArray(64, 'a'))));
    QVERIFY(texts.contains(groupedFingerprint(QByteArray(64, '7'))));
    QVERIFY(texts.contains(u"Self signed certificate"_s));
    QCOMPARE(groupedFingerprint(QByteArray(64, 'a')).count(u"AAAA"_s), 16);
}

void QuestionsTest::passwordAnswers()
{
    Asked asked;
    asked.askPassword(1);
    QTRY_VERIFY(asked.questions->openDialog());
    auto *dialog = asked.questions->openDialog();
    QVERIFY(!dialog->findChild<QPushButton *>(u"logIn"_s)->isEnabled());
    auto *field = dialog->findChild<QLineEdit *>(u"password"_s);
    QCOMPARE(field->echoMode(), QLineEdit::Password);
    QTest::keyClicks(field, u"open sesame"_s);
    QTest::keyClick(field, Qt::Key_Return);
    QCOMPARE(asked.passwords, QStringList{u"open sesame"_s});
    QCOMPARE(asked.keeping, PasswordKeeping::Keyring);
    const PasswordDialog refused(passwordQuestion(1, u"-ERR [AUTH] no"_s));
    QCOMPARE(refused.findChild<QLabel *>(u"serverLine"_s)->text(), u"-ERR [AUTH] no"_s);
}

void QuestionsTest::noPasswordIsAnAnswer()
{
    Asked asked;
    asked.askPassword(1);
    QTRY_VERIFY(asked.questions->openDialog());
    QTest::keyClicks(asked.questions->openDialog()->findChild<QLineEdit *>(), u"half a"_s);
    QTest::keyClick(asked.questions->openDialog(), Qt::Key_Escape);
    QCOMPARE(asked.passwords, QStringList{QString()});
}

void QuestionsTest::oneQuestionServesAllWhoWait()
{
    Asked asked;
    asked.askCertificate(1);
    asked.askCertificate(1);
    QTRY_VERIFY(asked.questions->openDialog());
    asked.askCertificate(1); // while it is open
    asked.press("acceptOnce");
    QCOMPARE(asked.certificates, QList<CertificateAnswer>(3, CertificateAnswer::AcceptOnce));
    QTRY_VERIFY(!asked.questions->isBusy());
}

void QuestionsTest::oneAtATime()
{
    Asked asked;
    asked.askCertificate(1, 'a');
    asked.askCertificate(1, 'b');
    asked.askPassword(2);
    QTRY_VERIFY(asked.questions->openDialog());
    QCoreApplication::processEvents();
    QCOMPARE(asked.window.findChildren<QDialog *>().size(), 1);
    asked.press("refuse");
    QTRY_VERIFY(asked.questions->openDialog());
    asked.press("acceptAlways");
    QCOMPARE(asked.certificates, (QList{CertificateAnswer::Refuse, CertificateAnswer::AcceptAlways}));
    QTRY_VERIFY(qobject_cast<PasswordDialog *>(asked.questions->openDialog()));
}

void QuestionsTest::withdrawnIsNotAnswered()
{
    Asked asked;
    asked.askCertificate(1);
    asked.askPassword(1);
    asked.askPassword(2);
    QTRY_VERIFY(asked.questions->openDialog());
    asked.questions->withdraw(1);
    QTRY_VERIFY(qobject_cast<PasswordDialog *>(asked.questions->openDialog()));
    QVERIFY(asked.certificates.isEmpty());
    asked.questions->withdraw(2);
    QVERIFY(!asked.questions->isBusy());
    QVERIFY(asked.passwords.isEmpty());
}

void QuestionsTest::typingGoesOnElsewhere()
{
    Asked asked;
    QLineEdit letter(&asked.window);
    letter.show();
    QVERIFY(QTest::qWaitForWindowActive(&asked.window));
    letter.setFocus();
    asked.askPassword(1);
    QTRY_VERIFY(asked.questions->openDialog());
    QVERIFY(asked.questions->openDialog()->testAttribute(Qt::WA_ShowWithoutActivating));
    QVERIFY(!asked.questions->openDialog()->isModal());
    asked.questions->withdraw(1);
    letter.hide();
    asked.askPassword(2);
    QTRY_VERIFY(asked.questions->openDialog());
    QVERIFY(!asked.questions->openDialog()->testAttribute(Qt::WA_ShowWithoutActivating));
}

void QuestionsTest::logFollowsAndMasks()
{
    Logged logged;
    logged.write("2026-11-22 00:00:00.000 Connected\n", "Log.old");
    logged.write(
        "2026-11-22 00:00:01.000 >>>> USER clara\n2026-11-22 00:00:01.500 >>>> PASS hunter2\nhalf a li");
    AccountLogModel model(logged.number);
    QCOMPARE(model.rowCount(), 3);
    QCOMPARE(model.text(0), u"2026-11-22 00:00:00.000 Connected"_s);
    QCOMPARE(model.line(1).direction, AccountLogLine::Direction::Sent);
    QCOMPARE(model.text(2), u"2026-11-22 00:00:01.500 >>>> PASS ****"_s);
    logged.write("ne\n2026-11-22 00:00:02.000 <<<< +OK\n");
    model.follow();
    QCOMPARE(model.rowCount(), 5);
    QCOMPARE(model.text(3), u"half a line"_s);
    QCOMPARE(model.line(4).text, u"+OK"_s);
}

void QuestionsTest::logBeginsAnewWhenItWasMovedAside()
{
    Logged logged;
    logged.write("one\ntwo\n");
    AccountLogModel model(logged.number);
    const QString path = accountFilePath(logged.number, u"Log"_s);
    QVERIFY(QFile::rename(path, path + u".old"_s));
    logged.write("new\n");
    model.follow();
    QCOMPARE(model.rowCount(), 3);
    QCOMPARE(model.text(2), u"new"_s);
}

void QuestionsTest::logIsSearched()
{
    Logged logged;
    logged.write("alpha\nBeta\ngamma beta\n");
    const AccountLogModel model(logged.number);
    QCOMPARE(model.find(u"beta"_s, -1, true), 1);
    QCOMPARE(model.find(u"beta"_s, 1, true), 2);
    QCOMPARE(model.find(u"beta"_s, 2, true), 1); // round
    QCOMPARE(model.find(u"beta"_s, 2, false), 1);
    QCOMPARE(model.find(u"beta"_s, 1, false), 2);
    QCOMPARE(model.find(u"delta"_s, 0, true), -1);
    QCOMPARE(model.find(u"alpha"_s, 1, false), 0);
}

void QuestionsTest::reportLeavesNamesOut()
{
    Logged logged;
    logged.write("Connecting to pop.example.org...\n<<<< +OK imap7.example.org 10.1.2.3 ready\n"
                 ">>>> USER clara\n<<<< clara@example.org has mail from bob@elsewhere.example\n");
    auto *window = new AccountLogWindow(logged.account());
    window->show();
    QTest::mouseClick(window->findChild<QToolButton *>(u"copyReport"_s), Qt::LeftButton);
    const QString text = QApplication::clipboard()->text();
    for (const char *secret : {"clara", "pop.", "10.1.2.3", "bob@", "elsewhere"})
        QVERIFY2(!text.contains(QLatin1StringView(secret)), qPrintable(text));
    QVERIFY(text.contains(u"Connecting to server.example.org..."_s));
    window->findChild<QCheckBox *>(u"anonymous"_s)->setChecked(false);
    QTest::mouseClick(window->findChild<QToolButton *>(u"copyReport"_s), Qt::LeftButton);
    QVERIFY(QApplication::clipboard()->text().contains(u"USER clara"_s));
    delete window;
}

void QuestionsTest::noLogSaysSo()
{
    Logged logged;
    auto *window = new AccountLogWindow(logged.account());
    window->show();
    QCOMPARE(window->windowTitle(), u"Log for account 'Home'"_s);
    const auto *empty = window->findChild<EmptyState *>();
    QVERIFY(empty->isVisible());
    QVERIFY(empty->findChild<QLabel *>()->text() == u"No logs available"_s);
    QTest::mouseClick(empty->findChild<QPushButton *>(), Qt::LeftButton);
    QVERIFY(boolSetting(Setting::EnableLogging));
    logged.account().log(u"Connected"_s);
    window->refresh();
    QVERIFY(!empty->isVisible());
    QCOMPARE(window->findChild<QTreeView *>()->model()->rowCount(), 1);
    delete window;
}

/// 10 MB; the bound is a hundred times what it takes on an idle machine.
void QuestionsTest::aLongLogOpensAtOnce()
{
    Logged logged;
    QByteArray text;
    while (text.size() < 10'000'000)
        text += "2026-11-22 00:00:01.000 <<<< +OK 1234 octets follow, number " +
                QByteArray::number(text.size()) + '\n';
    logged.write(text);
    QElapsedTimer timer;
    timer.start();
    auto *window = new AccountLogWindow(logged.account());
    window->show();
    QCoreApplication::processEvents();
    const qint64 opened = timer.restart();
    logged.write("2026-11-22 00:00:01.000 >>>> QUIT\n");
    window->refresh();
    const qint64 followed = timer.restart();
    window->findChild<QLineEdit *>(u"find"_s)->setText(u"quit"_s);
    QTest::keyClick(window->findChild<QLineEdit *>(u"find"_s), Qt::Key_Return);
    const qint64 found = timer.elapsed();
    const auto *list = window->findChild<QTreeView *>();
    QCOMPARE(list->currentIndex().row(), list->model()->rowCount() - 1);
    qInfo("opened in %lld ms, followed in %lld ms, found in %lld ms", opened, followed, found);
    QVERIFY(opened + followed + found < 30'000);
    delete window;
}

QTEST_MAIN(QuestionsTest)
#include "questions_test.moc"
