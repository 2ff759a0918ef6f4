// Draws the windows of transfers and accounts into a directory: light, dark, in 14 points, from right to
// left.
#include "faketransfers.h"
#include "support/scratch.h"

#include "config/clock.h"
#include "config/directory.h"
#include "engine/engine.h"
#include "engine/logintest.h"
#include "ui/accounts/accounteditor.h"
#include "ui/accounts/accountlogwindow.h"
#include "ui/accounts/accountsdialog.h"
#include "ui/accounts/certificatedialog.h"
#include "ui/accounts/passworddialog.h"
#include "ui/look/looks.h"
#include "ui/transfers/fetchercontrol.h"
#include "ui/transfers/fetchererrorlist.h"

#include <QApplication>
#include <QDir>
#include <QListWidget>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

CertificateInfo certificate(const QString &name, char digit)
{
    CertificateInfo info;
    info.sha256 = QByteArray(32, digit) + QByteArray("0123456789abcdef0123456789abcdef");
    info.commonName = name;
    info.subject = u"CN="_s + name;
    info.issuer = u"CN=Tidewater Press Internal CA, O=Tidewater Press"_s;
    info.names = {name, u"mail."_s + name};
    info.validFrom = 1'700'000'000;
    info.validUntil = 1'790'000'000;
    return info;
}

CertificateQuestion certificateQuestion(bool changed)
{
    CertificateQuestion question;
    question.accountName = u"Home"_s;
    question.found.host = u"pop.tidewater.example"_s;
    question.found.port = 995;
    question.found.certificate = certificate(u"tidewater.example"_s, 'a');
    question.found.problems = {{CertificateProblemCode::SelfSigned, u"Self signed certificate"_s},
                               {CertificateProblemCode::HostName,
                                u"The host name \"pop.tidewater.example\" doesn't match the certificate name "
                                "\"tidewater.example\""_s}};
    if (changed)
        question.known = certificate(u"tidewater.example"_s, '7');
    return question;
}

PasswordQuestion passwordQuestion()
{
    return {1,
            u"Home"_s,
            u"clara@tidewater.example"_s,
            u"pop.tidewater.example"_s,
            u"-ERR [AUTH] Authentication failed."_s,
            true};
}

/// Everything that a picture needs, in the state in which it is drawn.
class Scene
{
public:
    explicit Scene(const QString &directory)
        : m_directory(directory)
    {
        createStoreDirectories();
        if (!m_engine.load())
            qFatal("the engine does not load");
        m_engine.accounts().setFactory(&m_clients);
        AccountData home = popAccount(u"Home"_s, u"pop.tidewater.example"_s);
        home.address = u"clara@tidewater.example"_s;
        home.fetchInterval = 10;
        home.set(AccountLeaveOnServer, true);
        home.daysOnServer = 30;
        m_home = m_engine.accounts().add(home);
        m_club = m_engine.accounts().add(popAccount(u"Sailing club"_s, u"mail.sailing.example"_s));
        AccountData press = popAccount(u"Tidewater Press"_s, u"mail.press.example"_s);
        press.set(AccountTls, false);
        press.port = 110;
        m_press = m_engine.accounts().add(press);
        AccountData batch;
        batch.name = u"System mail"_s;
        batch.kind = AccountKind::BatchFile;
        batch.host = u"/var/mail/clara"_s;
        m_batch = m_engine.accounts().add(batch);
        AccountOptions options;
        options.accepted = {certificate(u"tidewater.example"_s, 'b')};
        if (!m_engine.accounts().account(m_home)->setOptions(options))
            qFatal("the options cannot be written");
    }

    void draw(const QString &suffix)
    {
        setBoolSetting(Setting::EnableLogging, true);
        FetcherControl control(m_engine.accounts());
        for (int i = 0; i < 3; ++i)
            fail(m_club, AccountFetchReason::Unexpected, u"-ERR [AUTH] Authentication failed."_s);
        FakeFetcher &home = fetch(m_home);
        home.line(">>>> ", "USER clara");
        home.line("<<<< ", "+OK");
        home.line(">>>> ", "PASS secret42");
        home.line("<<<< ", "+OK Logged in.");
        home.say(u"Receiving message 143 of 512"_s);
        emit home.progressed(1'200'000, 3'600'000, 143, 512);
        QTest::qWait(1200);
        emit home.progressed(1'500'000, 3'600'000, 173, 512);
        FakeFetcher &press = fetch(m_press);
        emit press.progressed(10'000, 10'000, 4, 4);
        press.end();
        QTest::qWait(200);
        save(control, u"transfers"_s + suffix);
        control.slotShowErrors();
        save(*control.errorList(), u"errors"_s + suffix);
        AccountsDialog *accounts = new AccountsDialog(m_engine);
        save(*accounts, u"accounts"_s + suffix);
        for (const auto &[number, name] :
             {std::pair{m_home, u"editor"_s}, {m_press, u"editor-plain"_s}, {m_batch, u"editor-batch"_s}}) {
            accounts->editAccount(number);
            auto *editor = accounts->findChildren<AccountEditor *>().last();
            if (number == m_press)
                editor->findChild<QPushButton *>(u"ok"_s)->click();
            save(*editor, name + suffix);
            if (number == m_home) {
                editor->resize(editor->width(), editor->sizeHint().height() * 3);
                save(*editor, u"editor-whole"_s + suffix);
            }
            delete editor;
        }
        accounts->findChild<QPushButton *>(u"delete"_s)->click();
        save(*accounts->findChild<QDialog *>(u"deleteDialog"_s), u"delete"_s + suffix);
        AccountLogWindow log(*m_engine.accounts().account(m_home));
        log.setAttribute(Qt::WA_DeleteOnClose, false);
        save(log, u"log"_s + suffix);
        CertificateDialog once(certificateQuestion(false));
        save(once, u"certificate"_s + suffix);
        CertificateDialog changed(certificateQuestion(true));
        save(changed, u"certificate-changed"_s + suffix);
        PasswordDialog password(passwordQuestion());
        save(password, u"password"_s + suffix);
        delete accounts;
        home.end();
        QTest::qWait(20);
    }

private:
    FakeFetcher &fetch(int account)
    {
        m_engine.accounts().account(account)->clearMark();
        m_engine.accounts().account(account)->fetch(true, true);
        return *m_clients.of(account);
    }

    void fail(int account, AccountFetchReason reason, const QString &detail)
    {
        fetch(account).end(reason, detail);
        QTest::qWait(10);
    }

    void save(QWidget &window, const QString &name)
    {
        window.show();
        QTest::qWait(30);
        if (!window.grab().save(m_directory + u'/' + name + u".png"_s))
            qFatal("a picture cannot be saved");
    }

    QString m_directory;
    Engine m_engine;
    FakeClients m_clients;
    int m_home = 0;
    int m_club = 0;
    int m_press = 0;
    int m_batch = 0;
};

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    if (argc < 2)
        qFatal("give the directory of the pictures");
    const QString directory = QString::fromLocal8Bit(argv[1]);
    QDir().mkpath(directory);
    QFont font = QApplication::font();
    font.setPointSizeF(10);
    QApplication::setFont(font);
    Scratch scratch;
    Looks looks;
    looks.start();
    Scene scene(directory);
    looks.setLook(Look::Light);
    scene.draw(u"-light"_s);
    looks.setLook(Look::Dark);
    scene.draw(u"-dark"_s);
    looks.setLook(Look::Light);
    QApplication::setLayoutDirection(Qt::RightToLeft);
    scene.draw(u"-rtl"_s);
    QApplication::setLayoutDirection(Qt::LeftToRight);
    font.setPointSizeF(14);
    looks.setFont(font);
    scene.draw(u"-14pt"_s);
    return 0;
}
