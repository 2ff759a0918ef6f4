#pragma once

#include <QDBusMessage>
#include <QObject>

class QDBusPendingCallWatcher;

/// Whether the desktop wants windows dark: as the settings portal says (org.freedesktop.appearance,
/// color-scheme), else as the platform's own palette looks. The portal is asked without waiting; a desktop
/// without one is no fault.
class DesktopScheme : public QObject
{
    Q_OBJECT

public:
    explicit DesktopScheme(QObject *parent = nullptr);

    /// Looks at the platform's palette, so before the application is given one of ours, and asks the portal.
    void start();

    bool isDark() const { return m_dark; }

    /// Takes in an answer of the portal: 1 dark, 2 light, anything else no preference.
    void take(uint preference);

signals:
    void changed();

private slots:
    void settingChanged(const QDBusMessage &message);

private:
    void answered(QDBusPendingCallWatcher *call);
    void setDark(bool dark);

    bool m_platformDark = false;
    bool m_dark = false;
};
