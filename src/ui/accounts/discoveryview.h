#pragma once

#include "net/discovery/discovery.h"

#include <QWidget>

class QLabel;
class QPushButton;
class SignLabel;

/// The search for servers as it goes: a line for each place that is asked, and a button that stops it.
class DiscoveryView : public QWidget
{
    Q_OBJECT

public:
    /// @p discovery must outlive this.
    explicit DiscoveryView(ServerDiscovery &discovery, QWidget *parent = nullptr);

    QPushButton *stopButton() const { return m_stop; }

    /// All lines anew, and whether there is anything to stop.
    void refresh();

private:
    struct Line
    {
        SignLabel *sign;
        QLabel *text;
        QLabel *detail;
    };
    void show(SettingsSource source);

    ServerDiscovery &m_discovery;
    std::array<Line, kSettingsSources> m_lines;
    QPushButton *m_stop;
};
