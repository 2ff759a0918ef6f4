// Draws the windows of transfers, accounts, identities and templates into a directory: those of the
// documentation, or with "all" after the directory every one of them light, dark, in 14 points and from right
// to left.
#include "faketransfers.h"
#include "support/discoverynetwork.h"
#include "support/scratch.h"

#include "config/clock.h"
#include "config/directory.h"
#include "engine/engine.h"
#include "engine/logintest.h"
#include "identity/signatures.h"
#include "identity/templates.h"
#include "ui/accounts/accounteditor.h"
#include "ui/accounts/accountlogwindow.h"
#include "ui/accounts/accountsdialog.h"
#include "ui/accounts/accountwizard.h"
#include "ui/accounts/certificatedialog.h"
#include "ui/accounts/passworddialog.h"
#include "ui/identities/identitiesdialog.h"
#include "ui/identities/identityeditor.h"
#include "ui/identities/signatureeditor.h"
#include "ui/identities/signaturesdialog.h"
#include "ui/identities/taglinesdialog.h"
#include "ui/identities/templateeditor.h"
#include "ui/identities/templatesdialog.h"
#include "ui/look/looks.h"
#include "ui/options/optionswindow.h"
#include "ui/transfers/fetchercontrol.h"
#include "ui/transfers/fetchererrorlist.h"

#include <QApplication>
#include <QCryptographicHash>
#include <QCursor>
#include <QDir>
#include <QImageWriter>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTest>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

/// What the documentation shows, light, and where it matters dark as well.
struct PictureRow
{
    const char *name;
    bool isDarkToo;
};
constexpr PictureRow kBook[] = {
    {"account-wizard", false}, {"account-wizard-works", true},
    {"account-editor", true},  {"accounts", false},
    {"transfers", true},       {"transfer-errors", false},
    {"account-log", false},    {"certificate", true},
    {"password", false},       {"identities", false},
    {"identity-editor", true}, {"signature-html", false},
    {"template-editor", true}, {"account-wizard-sending", false},
    {"options", true},         {"options-search", false},
};

/// The moment of the pictures: 20 November 2026, 11:31:20 UTC. It goes on when the scene says so.
qint64 now = 1'795'174'280'000;

void passMinutes(int minutes)
{
    now += minutes * 60'000;
}

CertificateInfo certificate(const QString &name, char digit)
{
    CertificateInfo info;
    info.sha256 = QCryptographicHash::hash(name.toUtf8() + digit, QCryptographicHash::Sha256).toHex();
    info.commonName = name;
    info.subject = u"CN="_s + name;
    info.issuer = u"CN=Tidewater Press Internal CA, O=Tidewater Press"_s;
    info.names = {name, u"mail."_s + name};
    info.validFrom = 1'764'547'200;
    info.validUntil = 1'827'705'600;
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

/// Signs in at once.
class PictureTester : public LoginTester
{
public:
    void test(const AccountData &account, const AccountOptions &, CertificateJudge, QObject *context,
              std::function<void(const LoginResult &)> done) override
    {
        QMetaObject::invokeMethod(
            context,
            [done, isOutgoing = account.kind == AccountKind::Smtp] {
                done({AccountFetchReason::None, {}, false, isOutgoing ? -1 : 1284});
            },
            Qt::QueuedConnection);
    }
};

/// Everything that a picture needs, in the state in which it is drawn.
class Scene
{
public:
    Scene(const QString &directory, bool all)
        : m_directory(directory)
        , m_all(all)
    {
        createStoreDirectories();
        if (!m_engine.load())
            qFatal("the engine does not load");
        m_engine.accounts().setFactory(&m_clients);
        m_network.files[u"https://autoconfig.tidewater.example/mail/config-v1.1.xml"_s] =
            publishedSettings("pop.tidewater.example")
                .replace("</emailProvider>",
                         "<outgoingServer type=\"smtp\"><hostname>smtp.tidewater.example</hostname>"
                         "<port>465</port><socketType>SSL</socketType><username>%EMAILLOCALPART%</username>"
                         "</outgoingServer></emailProvider>");
        AccountData home = popAccount(u"Home"_s, u"pop.tidewater.example"_s);
        home.address = u"clara@tidewater.example"_s;
        home.fetchInterval = 10;
        home.set(AccountLeaveOnServer, true);
        home.daysOnServer = 30;
        m_home = m_engine.accounts().add(home);
        m_club = m_engine.accounts().add(popAccount(u"Sailing club"_s, u"mail.sailing.example"_s));
        AccountData press = popAccount(u"Tidewater Press, editors' mailbox"_s, u"mail.press.example"_s);
        press.set(AccountTls, false);
        press.port = 110;
        m_press = m_engine.accounts().add(press);
        AccountData batch;
        batch.name = u"System mail"_s;
        batch.kind = AccountKind::BatchFile;
        batch.host = u"/var/mail/clara"_s;
        m_batch = m_engine.accounts().add(batch);
        AccountData out;
        out.name = u"Sailing club, outgoing"_s;
        out.kind = AccountKind::Smtp;
        out.host = u"smtp.sailing.example"_s;
        out.port = 587;
        out.user = u"club"_s;
        out.set(AccountStartTls, true);
        m_out = m_engine.accounts().add(out);
        addIdentities();
        addErrors();
        AccountOptions options;
        options.accepted = {certificate(u"tidewater.example"_s, 'b')};
        if (!m_engine.accounts().account(m_home)->setOptions(options))
            qFatal("the options cannot be written");
    }

    void draw(const QString &look)
    {
        m_look = look;
        drawWizard();
        drawTransfers();
        drawAccounts();
        drawQuestions();
        drawIdentities();
        drawOptions();
        m_clients.of(m_home)->end();
        QTest::qWait(20);
    }

private:
    /// Of an earlier day.
    void addErrors()
    {
        const qint64 time = now / 1000 - 20 * 3600;
        TransferErrors &errors = m_engine.accounts().errors();
        errors.add(
            {m_home, u"Home"_s, time, AccountFetchReason::TimedOut, {}, u"Account 'Home' has timed out"_s});
        errors.add(
            {m_press, u"Tidewater Press, editors' mailbox"_s, time + 4000, AccountFetchReason::Unreachable,
             u"Connection refused"_s,
             u"Unable to connect to account 'Tidewater Press, editors' mailbox': Connection refused"_s});
    }

    void drawWizard()
    {
        auto *wizard = new AccountWizard(m_engine, m_network, m_tester);
        wizard->beginWith(AccountKind::Pop3);
        wizard->setVisible(true);
        wizard->findChild<QLineEdit *>(u"person"_s)->setText(u"Clara Winter"_s);
        wizard->findChild<QLineEdit *>(u"address"_s)->setText(u"clara@tidewater.example"_s);
        wizard->findChild<QLineEdit *>(u"password"_s)->setText(u"secret"_s);
        save(*wizard, "account-wizard-person");
        auto *next = wizard->findChild<QPushButton *>(u"next"_s);
        next->click();
        QTest::qWait(100);
        save(*wizard, "account-wizard");
        next->click();
        QTest::qWait(100);
        save(*wizard, "account-wizard-works");
        next->click();
        QTest::qWait(30);
        next->click();
        QTest::qWait(100);
        save(*wizard, "account-wizard-sending");
        next->click();
        save(*wizard, "account-wizard-identity");
        next->click();
        save(*wizard, "account-wizard-ready");
        delete wizard;
    }

    void drawTransfers()
    {
        setBoolSetting(Setting::EnableLogging, true);
        FetcherControl control(m_engine.accounts());
        end(m_batch, 0);
        for (int i = 0; i < 3; ++i)
            fail(m_club, AccountFetchReason::Unexpected, u"-ERR [AUTH] Authentication failed."_s);
        FakeFetcher &home = fetch(m_home);
        for (const char *said :
             {"<+OK POP3 ready", ">CAPA", "<+OK", "<TOP", "<UIDL", "<PIPELINING", "<.", ">USER clara", "<+OK",
              ">PASS secret42", "<+OK Logged in.", ">STAT", "<+OK 512 3600000", ">UIDL", "<+OK"}) {
            const bool isSent = *said == '>';
            now += isSent ? 1 : 38;
            home.line(isSent ? ">>>> " : "<<<< ", said + 1);
        }
        home.say(u"Receiving message 173 of 512"_s);
        emit home.progressed(1'200'000, 3'600'000, 143, 512);
        QTest::qWait(1200);
        emit home.progressed(1'500'000, 3'600'000, 173, 512);
        end(m_press, 4);
        QTest::qWait(200);
        save(control, "transfers");
        control.slotShowErrors();
        save(*control.errorList(), "transfer-errors");
    }

    void drawAccounts()
    {
        auto *accounts = new AccountsDialog(m_engine);
        save(*accounts, "accounts");
        for (const auto &[number, name] : {std::pair{m_home, "account-editor"},
                                           {m_press, "editor-plain"},
                                           {m_batch, "editor-batch"},
                                           {m_out, "editor-outgoing"}}) {
            accounts->editAccount(number);
            auto *editor = accounts->findChildren<AccountEditor *>().last();
            if (number == m_press)
                editor->findChild<QPushButton *>(u"ok"_s)->click();
            save(*editor, name);
            if (number == m_home) {
                editor->resize(editor->width(), editor->sizeHint().height() * 3);
                save(*editor, "editor-whole");
            }
            delete editor;
        }
        accounts->findChild<QPushButton *>(u"delete"_s)->click();
        save(*accounts->findChild<QDialog *>(u"deleteDialog"_s), "delete");
        delete accounts;
    }

    void drawQuestions()
    {
        AccountLogWindow log(*m_engine.accounts().account(m_home));
        log.setAttribute(Qt::WA_DeleteOnClose, false);
        save(log, "account-log");
        CertificateDialog once(certificateQuestion(false));
        save(once, "certificate");
        CertificateDialog changed(certificateQuestion(true));
        save(changed, "certificate-changed");
        PasswordDialog password(passwordQuestion());
        save(password, "password");
    }

    void addIdentities()
    {
        Identity clara;
        clara.name = u"Clara Winter"_s;
        clara.address = u"clara@winter.example"_s;
        clara.organisation = u"Tidewater Press"_s;
        clara.signature = u"Work"_s;
        clara.set(IdentityTagline, true);
        m_clara = m_engine.identities().add(clara);
        Identity club;
        club.name = u"Sailing club"_s;
        club.address = u"club@sailing.example"_s;
        club.replyTo = u"Board <board@sailing.example>"_s;
        m_engine.identities().add(club);
        Identity press;
        press.name = u"Tidewater Press, editors"_s;
        press.address = u"editors@press.example"_s;
        press.organisation = u"Tidewater Press"_s;
        m_engine.identities().add(press);
        writeSignature(m_clara, {u"Work"_s, Signature::Kind::Html,
                                 u"<p><b>Clara Winter</b><br>\n<i>Tidewater Press</i>, editor<br>\n"
                                 "<a href=\"https://tidewater.example\">tidewater.example</a></p>"_s});
        writeSignature(m_clara, {u"Friends"_s, Signature::Kind::Plain, u"Clara\n+49 40 555 0142"_s});
        writeSignature(m_clara, {u"Tide of the day"_s, Signature::Kind::Command, u"tides --today Harbour"_s});
        writeTaglines(m_clara, {u"A smooth sea never made a skilled sailor."_s,
                                u"Ships are safe in harbour,\nbut that is not what ships are for."_s,
                                u"Every book is a voyage."_s});
        writeTemplate(u"Thanks for your manuscript"_s, manuscriptText());
        writeTemplate(u"Reply with greeting"_s, u"Hello %from[name],\n\n%body[quoted]"_s);
    }

    static QString manuscriptText()
    {
        return u"Dear %from[name],\n\nthank you for your message of %date[d MMMM] about “%subject”.\nWe "
               u"shall "
               "answer within 14 days.\n\n%identity[name]\n%identity[address]\n\n%body[quoted]"_s;
    }

    void drawIdentities()
    {
        IdentitiesDialog identities(m_engine);
        save(identities, "identities");
        auto *editor = new IdentityEditor(m_engine, *m_engine.identities().identity(m_clara));
        save(*editor, "identity-editor");
        editor->resize(editor->width(), editor->sizeHint().height() * 3);
        editor->findChild<QLineEdit *>(u"address"_s)->setText(u"clara@"_s);
        editor->findChild<QPushButton *>(u"ok"_s)->click();
        save(*editor, "identity-editor-whole");
        delete editor;
        SignaturesDialog signatures(m_engine.identities(), m_clara);
        save(signatures, "signatures");
        SignatureEditor html(m_clara, u"Work"_s);
        save(html, "signature-html");
        SignatureEditor command(m_clara, {});
        command.setSignature({u"Tide"_s, Signature::Kind::Command, u"echo 'High tide at 18:04'"_s});
        command.show();
        command.findChild<QPushButton *>(u"try"_s)->click();
        QTest::qWait(300);
        save(command, "signature-command");
        TaglinesDialog taglines(m_clara);
        save(taglines, "taglines");
        TemplatesDialog templates(m_engine.identities(), Message());
        save(templates, "templates");
        TemplateEditor text(m_engine.identities(), Message(), u"Thanks for your manuscript"_s);
        save(text, "template-editor");
        for (QDialog *each : {static_cast<QDialog *>(&identities), static_cast<QDialog *>(&signatures),
                              static_cast<QDialog *>(&html), static_cast<QDialog *>(&command),
                              static_cast<QDialog *>(&taglines), static_cast<QDialog *>(&templates),
                              static_cast<QDialog *>(&text)})
            each->setAttribute(Qt::WA_DeleteOnClose, false);
    }

    void drawOptions()
    {
        OptionsWindow options(nullptr);
        options.setAttribute(Qt::WA_DeleteOnClose, false);
        for (const auto &[page, name] : {std::pair{OptionPage::Writing, "options-writing"},
                                         {OptionPage::Sending, "options-sending"},
                                         {OptionPage::Format, "options-format"},
                                         {OptionPage::Replies, "options"}}) {
            options.showPage(page);
            save(options, name);
        }
        options.findChild<QLineEdit *>(u"search"_s)->setText(u"text"_s);
        save(options, "options-search");
    }

    FakeFetcher &fetch(int account)
    {
        passMinutes(1);
        m_engine.accounts().account(account)->clearMark();
        m_engine.accounts().account(account)->fetch(true, true);
        return *m_clients.of(account);
    }

    void fail(int account, AccountFetchReason reason, const QString &detail)
    {
        fetch(account).end(reason, detail);
        QTest::qWait(10);
    }

    void end(int account, int messages)
    {
        FakeFetcher &fetcher = fetch(account);
        emit fetcher.progressed(messages * 2500, messages * 2500, messages, messages);
        fetcher.end();
        QTest::qWait(10);
    }

    bool isWanted(const char *name) const
    {
        if (m_all)
            return true;
        const auto found = std::find_if(std::begin(kBook), std::end(kBook), [name](const PictureRow &row) {
            return QByteArrayView(row.name) == name;
        });
        return found != std::end(kBook) && (found->isDarkToo || m_look != "dark"_L1);
    }

    void save(QWidget &window, const char *name) const
    {
        window.show();
        QTest::qWait(30);
        if (!isWanted(name))
            return;
        const QString suffix = m_all || m_look != "light"_L1 ? u'-' + m_look : QString();
        const QString path = m_directory + u'/' + QLatin1StringView(name) + suffix + u".png"_s;
        QImageWriter writer(path, "png");
        writer.setCompression(100);
        if (!writer.write(window.grab().toImage()))
            qFatal("a picture cannot be saved");
        std::printf("%s\n", qUtf8Printable(path));
    }

    QString m_directory;
    QString m_look;
    const bool m_all;
    Engine m_engine;
    FakeClients m_clients;
    NetworkForTest m_network;
    PictureTester m_tester;
    int m_home = 0;
    int m_club = 0;
    int m_press = 0;
    int m_batch = 0;
    int m_out = 0;
    int m_clara = 0;
};

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("TZ", "UTC");
    QApplication application(argc, argv);
    if (argc < 2)
        qFatal("give the directory of the pictures");
    const QString directory = QString::fromLocal8Bit(argv[1]);
    const bool all = argc > 2 && QByteArrayView(argv[2]) == "all";
    QDir().mkpath(directory);
    const ClockOverride clock([] { return now; });
    QCursor::setPos(10'000, 10'000); // under it a button would look pressed
    QFont font = QApplication::font();
    font.setPointSizeF(10);
    QApplication::setFont(font);
    Scratch scratch;
    Looks looks;
    looks.start();
    Scene scene(directory, all);
    looks.setLook(Look::Light);
    scene.draw(u"light"_s);
    looks.setLook(Look::Dark);
    scene.draw(u"dark"_s);
    if (!all)
        return 0;
    looks.setLook(Look::Light);
    QApplication::setLayoutDirection(Qt::RightToLeft);
    scene.draw(u"rtl"_s);
    QApplication::setLayoutDirection(Qt::LeftToRight);
    font.setPointSizeF(14);
    looks.setFont(font);
    scene.draw(u"14pt"_s);
    return 0;
}
