#include "app/velmar.h"

#include "app/desktop/urls.h"
#include "app/pictures.h"
#include "app/weblinks.h"
#include "config/directory.h"
#include "config/reporter.h"
#include "config/settings.h"
#include "ui/look/messageboxes.h"
#include "ui/main/mainwindow.h"

#include <QAbstractItemView>
#include <QFont>
#include <QIcon>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int kHandOverMilliseconds = 5000;
constexpr int kTickMilliseconds = 1000;

/// Whether there is a screen that somebody could look at.
bool somebodyIsThere()
{
    const QString platform = QGuiApplication::platformName();
    return platform != u"offscreen" && platform != u"minimal";
}

QString together(const QList<Report> &reports)
{
    QStringList texts;
    for (const Report &report : reports)
        texts += report.text;
    texts.removeDuplicates();
    return texts.join(u"\n\n"_s);
}

/// Quits the program when a widget has been painted.
class FirstPaint : public QObject
{
public:
    FirstPaint(QWidget *widget, QObject *parent)
        : QObject(parent)
    {
        widget->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            QTimer::singleShot(0, qApp, &QCoreApplication::quit);
        return false;
    }
};

} // namespace

Velmar::Velmar(int &argc, char **argv)
    : QApplication(argc, argv)
    , m_log(u"Log"_s)
    , m_platform(applicationFilePath())
{
    setApplicationName(u"velmar"_s);
    setApplicationDisplayName(u"Velmar"_s);
    setDesktopFileName(u"velmar"_s);
    setWindowIcon(QIcon::fromTheme(u"velmar"_s, QIcon(u":/velmar.svg"_s)));
    setPlatform(&m_platform);
    collectReports();
    setNoteSink([this](const QString &line) { m_log.write(line); });
    // No quit(), which would close the windows one by one and let each of them ask: what is written is kept.
    connect(&m_signals, &TerminationSignals::terminate, this, [] { exit(0); });
    m_timer.setInterval(kTickMilliseconds);
    connect(&m_timer, &QTimer::timeout, this, &Velmar::slotTimeout);
}

Velmar::~Velmar()
{
    setReportSink({});
    setNoteSink({});
    setPlatform(nullptr);
}

/// Keeps reports for later, while there is no window to show them.
void Velmar::collectReports()
{
    setReportSink([this](const Report &report) { m_unshown += report; });
}

std::optional<int> Velmar::begin(const ProgramOptions &options, const QString &message)
{
    m_options = options;
    m_message = message;
    setConfigDirectory(options.start.configDirectory);
    setInstallDirectory(options.start.installDirectory);
    if (options.demo) {
        m_demo = std::make_unique<Demo>();
        if (!m_demo->prepare()) {
            report(ReportLevel::Warning, "Unable to create the demo's directory");
            return failed();
        }
    }
    return takeOver();
}

/// Becomes the one instance, or hands over to it.
std::optional<int> Velmar::takeOver()
{
    switch (m_instance.acquire(m_message, kHandOverMilliseconds)) {
    case SingleInstance::Outcome::Delivered: return 0;
    case SingleInstance::Outcome::Primary: return startUp() ? std::nullopt : failed();
    case SingleInstance::Outcome::Failed: return failed();
    case SingleInstance::Outcome::NotAnswering: break;
    }
    if (!somebodyIsThere()) {
        report(ReportLevel::Warning, "Velmar is already running and does not answer");
        return failed();
    }
    askWaitOrQuit();
    return {};
}

/// The end of a start that cannot go on: after what there is to say was read, where there is anybody to read
/// it.
std::optional<int> Velmar::failed()
{
    if (printUnshown())
        return 1;
    showBox(together(std::exchange(m_unshown, {})), {u"&Close"_s}, [](int) { exit(1); });
    return {};
}

int Velmar::end(int status)
{
    for (const Report &report : std::as_const(m_unshown))
        note(report.text);
    if (printUnshown())
        return status;
    showBox(together(std::exchange(m_unshown, {})), {u"&Close"_s}, [status](int) { exit(status); });
    return exec();
}

/// Writes the reports to standard error where nobody would see a box. False: somebody would.
bool Velmar::printUnshown()
{
    if (!m_unshown.isEmpty() && somebodyIsThere() && !TerminationSignals::isRequested())
        return false;
    for (const Report &report : std::exchange(m_unshown, {}))
        std::fprintf(stderr, "velmar: %s\n", qUtf8Printable(onOneLine(report.text)));
    return true;
}

/// Another process holds the store and does not answer: two must never write it.
void Velmar::askWaitOrQuit()
{
    showBox(u"Velmar is already running and does not answer.\nDo you want to wait for it?"_s,
            {u"&Wait"_s, u"&Quit"_s}, [this](int button) {
                const std::optional<int> status = button == 0 ? takeOver() : 1;
                if (status)
                    exit(*status);
            });
}

/// A box while there is no window yet.
void Velmar::showBox(const QString &text, const QStringList &buttons, const std::function<void(int)> &answer)
{
    setQuitOnLastWindowClosed(false);
    m_looks.start();
    auto *box = new QMessageBox(QMessageBox::Warning, u"Velmar"_s, text);
    box->setTextFormat(Qt::PlainText);
    box->setAttribute(Qt::WA_DeleteOnClose);
    QList<QPushButton *> shown;
    for (const QString &button : buttons)
        shown += box->addButton(button, shown.isEmpty() ? QMessageBox::AcceptRole : QMessageBox::RejectRole);
    box->setDefaultButton(shown.first());
    box->setEscapeButton(shown.last());
    connect(box, &QMessageBox::finished, this, [this, box, shown, answer] {
        setQuitOnLastWindowClosed(true);
        answer(qMax(0, int(shown.indexOf(box->clickedButton()))));
    });
    box->open();
}

bool Velmar::startUp()
{
    m_engine.groups().setRepairsItself(false); // repairs take their time, and a window shows how far they are
    if (!m_engine.load())
        return false;
    m_stalls = std::make_unique<StallWatch>();
    m_looks.start();
    const QString chosenFont = applicationFontText();
    if (QFont font; !chosenFont.isEmpty() && font.fromString(chosenFont))
        m_looks.setFont(font);
    createWindow();
    connect(this, &QCoreApplication::aboutToQuit, this, &Velmar::slotAboutToQuit);
    m_timer.start();
    m_window->reopenWriting();
    if (m_demo)
        beginDemo();
    else if (!m_options.exitWhenShown) {
        m_window->offerFirstAccount();
        offerAsDefaultClient();
    }
    connect(&m_instance, &SingleInstance::messageReceived, this, &Velmar::processMessage);
    if (!m_message.isEmpty())
        processMessage(m_message);
    m_instance.start(); // other starts come after this one's own command line
    return true;
}

void Velmar::createWindow()
{
    m_window = new MainWindow(m_engine, m_looks);
    m_window->setAttribute(Qt::WA_DeleteOnClose);
    MessageBoxes &boxes = m_window->boxes(); // reports go there from now on
    connect(m_window, &MainWindow::urlWanted, this, [this](const QString &url) { openUrl(url, {}); });
    connect(m_window, &MainWindow::demoWanted, this,
            [] { QProcess::startDetached(applicationFilePath(), {u"--demo"_s}); });
    m_window->show();
    for (Group *group : m_engine.groups().groups()) {
        if (group->needsRepair() && boolSetting(Setting::AutoRepairs))
            m_engine.repair(*group);
    }
    if (m_options.exitWhenShown)
        leaveWhenShown();
    for (const Report &early : std::as_const(m_unshown))
        boxes.show(early.level, early.text);
    m_unshown.clear();
}

void Velmar::offerAsDefaultClient()
{
    const auto isNews = [](const AccountData &account) { return account.kind == AccountKind::Nntp; };
    const std::vector<AccountData> accounts = m_engine.accounts().all();
    m_defaultClient = std::make_unique<DefaultClient>(m_platform);
    connect(m_defaultClient.get(), &DefaultClient::questionRaised, m_window, [this](const QString &text) {
        MessageBoxes::Question question;
        question.text = text;
        question.buttons = {QString::fromLatin1(DefaultClient::kMakeDefault),
                            QString::fromLatin1(DefaultClient::kLeave)};
        m_window->boxes().ask(question, m_defaultClient.get(),
                              [this](int button) { m_defaultClient->answer(button == 0); });
    });
    m_defaultClient->start(std::any_of(accounts.begin(), accounts.end(), isNews), configIsBesideProgram());
}

void Velmar::beginDemo()
{
    connect(m_demo.get(), &Demo::ready, this, [this] {
        m_window->selectGroup(m_engine.groups().group(GroupRole::Inbox)->number());
        if (!m_options.pictures.isEmpty())
            (new Pictures(*m_window, m_engine, m_looks, m_options.pictures, this))->start();
    });
    m_demo->fill(m_engine);
}

/// For the measurement of the start: the end of the program as soon as the window has painted its list, or
/// what it shows in the place of an empty one.
void Velmar::leaveWhenShown()
{
    const auto *list = m_window->findChild<QAbstractItemView *>(u"messageList"_s);
    new FirstPaint(list && list->isVisible() ? list->viewport() : m_window.data(), this);
}

void Velmar::processMessage(const QString &message)
{
    if (m_window)
        m_window->comeForward();
    const CommandLine line = parseMessage(message);
    if (!line.url.isEmpty())
        openUrl(line.url, line.attachments);
}

/// What a link or a file asks for. What has no window yet is said so plainly.
void Velmar::openUrl(const QString &url, const QStringList &attachments)
{
    const ParsedUrl parsed = parseUrl(url);
    if (parsed.kind == UrlKind::None)
        return;
    if (parsed.kind == UrlKind::File && !parsed.path.isEmpty() && m_window) {
        // After the main window has come forward, so that this one stands in front.
        QTimer::singleShot(0, m_window, [this, path = parsed.path] { m_window->openMessageFile(path); });
        return;
    }
    if (parsed.kind == UrlKind::Mail && m_window) {
        QTimer::singleShot(0, m_window, [this, url, attachments] { m_window->write(url, attachments); });
        return;
    }
    if (isWebLink(url) && openWebLink(url))
        return;
    const QByteArray text = QString::fromUtf8(noWindowText(parsed.kind)).replace(u"%s"_s, url).toUtf8();
    report(ReportLevel::Information, "%s", text.constData());
}

void Velmar::slotTimeout()
{
    m_engine.tick();
    m_log.flush();
}

void Velmar::slotAboutToQuit()
{
    if (std::exchange(m_down, true))
        return;
    m_timer.stop();
    if (m_window) {
        m_window->refresh(); // notes where it stands
        m_window->keepWriting();
    }
    collectReports(); // no box opens any more
    m_engine.shutDown();
    if (m_window)
        m_window->close();
    m_log.flush();
}
