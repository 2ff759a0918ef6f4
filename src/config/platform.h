#pragma once

#include <QString>

#include <functional>
#include <optional>

class QObject;

/// What the program asks of the desktop it runs on. Declared down here so that every room may ask; the
/// application supplies the real one, a test its own.
class Platform
{
public:
    enum class Handler { Mail, News };

    virtual ~Platform() = default;

    /// Opens a file or folder with the desktop's program for it. False: the desktop would not.
    virtual bool openPath(const QString &path) = 0;

    /// Whether the machine is connected to a network; empty where the desktop cannot tell.
    virtual std::optional<bool> isConnected() const = 0;

    /// Tells the desktop that the user went online or offline, where it has a notion of that.
    virtual void setConnected(bool online) = 0;

    /// Tells whether this program is the desktop's handler of @p handler's links and files; empty where the
    /// desktop keeps no registry of handlers or does not answer. The answer comes from the event loop, at
    /// most a few seconds later, and not at all once the desktop object is gone.
    virtual void askDefaultHandler(Handler handler, std::function<void(std::optional<bool>)> answer) = 0;

    /// Makes this program that handler; @p done learns in the same way whether it could be registered.
    virtual void becomeDefaultHandler(Handler handler, std::function<void(bool)> done) = 0;
};

/// Installs the desktop for the whole run; it must outlive its use. Null takes it away again.
void setPlatform(Platform *platform);

/// The installed desktop, or null.
Platform *platform();

/// Opens a file or folder with the desktop's program for it. False: there is no desktop, or it would not.
bool openWithShell(const QString &path);
