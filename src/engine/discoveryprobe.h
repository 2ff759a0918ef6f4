#pragma once

#include "net/discovery/discoverynetwork.h"
#include "net/socket/gsocket.h"

#include <QObject>
#include <QTimer>

#include <memory>

/// Connects to a server, hears what it is and whether it offers encryption, and leaves without signing in.
class DiscoveryProbe : public QObject
{
    Q_OBJECT

public:
    /// @p caFile: certificates trusted besides those of the system; empty: none.
    DiscoveryProbe(const ProbeTarget &target, const QString &caFile, QObject *parent);
    ~DiscoveryProbe() override;

    void start();

signals:
    void finished(ProbeAnswer answer); ///< once, from the event loop

private:
    void take(const QByteArray &block);
    void line(const QByteArray &line);
    void greeting(const QByteArray &line);
    void capability(const QByteArray &line);
    void end(ProbeAnswer answer);

    ProbeTarget m_target;
    std::unique_ptr<GSocket> m_socket;
    QTimer m_timer;
    QByteArray m_rest;     ///< the beginning of a line
    qsizetype m_heard = 0; ///< bytes
    bool m_greeted = false;
    bool m_isOver = false;
};
