#pragma once

#include "config/platform.h"

#include <QObject>
#include <QStringList>

/// The desktops of freedesktop.org: files are opened with xdg-open, the handlers are registered with
/// xdg-mime.
class XdgPlatform : public QObject, public Platform
{
    Q_OBJECT

public:
    /// @p program is this program's file, which the handlers' entry starts.
    explicit XdgPlatform(QString program, QObject *parent = nullptr);
    ~XdgPlatform() override;

    /// Also opens a URL of http, https or ftp. No shell reads the name.
    bool openPath(const QString &path) override;
    std::optional<bool> isConnected() const override;

    /// The desktop's network manager decides for itself: nothing to tell.
    void setConnected(bool online) override;

    void askDefaultHandler(Handler handler, std::function<void(std::optional<bool>)> answer) override;
    void becomeDefaultHandler(Handler handler, std::function<void(bool)> done) override;

    /// How long one call of a desktop's tool may take, in milliseconds.
    void setPatience(int milliseconds) { m_patience = milliseconds; }

private:
    /// What the tool printed; empty when it could not be run, failed or took too long.
    using Output = std::optional<QByteArray>;
    void run(const QStringList &arguments, std::function<void(const Output &)> done);
    bool makeDesktopEntry() const;

    QString m_program;
    int m_patience = 5000;
};

/// The line Exec= of a desktop entry that starts @p program with @p arguments, quoted as desktop
/// entries ask for it.
QString desktopEntryExec(const QString &program, const QString &arguments);
