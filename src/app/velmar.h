#pragma once

#include "app/demo.h"
#include "app/desktop/defaultclient.h"
#include "app/desktop/singleinstance.h"
#include "app/desktop/xdgplatform.h"
#include "app/options.h"
#include "config/logfile.h"
#include "config/reporter.h"
#include "config/terminationsignals.h"
#include "engine/engine.h"
#include "engine/stallwatch.h"
#include "ui/look/looks.h"
#include "ui/main/mainwindow.h"

#include <QApplication>
#include <QPointer>
#include <QTimer>

#include <memory>

/// The program with its window: one instance per configuration directory, started and ended in a fixed order.
class Velmar : public QApplication
{
    Q_OBJECT

public:
    Velmar(int &argc, char **argv);
    ~Velmar() override;

    /// Hands @p message to a running instance, or becomes the one that runs. An exit status when the program
    /// has to end at once; else exec() may be called.
    std::optional<int> begin(const ProgramOptions &options, const QString &message);

    /// After the event loop: tells what could not be saved at the end. The exit status, which is @p status.
    int end(int status);

    MainWindow *window() const { return m_window; }
    Engine &engine() { return m_engine; }

public slots:
    void slotAboutToQuit();
    void slotTimeout();

    /// What a command line asks for, this start's own or a later one's.
    void processMessage(const QString &message);

private:
    std::optional<int> takeOver();
    std::optional<int> failed();
    bool printUnshown();
    void collectReports();
    void askWaitOrQuit();
    bool startUp();
    void showBox(const QString &text, const QStringList &buttons, const std::function<void(int)> &answer);
    void createWindow();
    void offerAsDefaultClient();
    void beginDemo();
    void leaveWhenShown();
    void openUrl(const QString &url, const QStringList &attachments);

    TerminationSignals m_signals;
    LogFile m_log;
    XdgPlatform m_platform;
    SingleInstance m_instance;
    Looks m_looks;
    std::unique_ptr<Demo> m_demo;
    Engine m_engine;
    QPointer<MainWindow> m_window;
    std::unique_ptr<StallWatch> m_stalls; ///< what keeps the window waiting is noted in the log
    std::unique_ptr<DefaultClient> m_defaultClient;
    QTimer m_timer;
    ProgramOptions m_options;
    QString m_message;
    QList<Report> m_unshown; ///< reports from before there is a window to show them, and from after
    bool m_down = false;
};
