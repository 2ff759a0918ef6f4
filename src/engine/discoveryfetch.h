#pragma once

#include "net/web/webaccess.h"
#include "net/web/webproblem.h"

#include <QObject>
#include <QTimer>
#include <QUrl>

class WebExchange;

/// Fetches one file of published settings, over https and nothing else, wherever it is redirected to.
class DiscoveryFetch : public QObject
{
    Q_OBJECT

public:
    DiscoveryFetch(QUrl url, WebAccess access, QObject *parent);
    ~DiscoveryFetch() override;

    /// The rules of the web for it: the public net, the port of https, @p mostBytes, few redirections.
    static WebAccess toTheWorld(qint64 mostBytes);

    void start();

signals:
    /// Once, from the event loop. Null @p bytes: there is none, for the reason @p problem, which is empty
    /// where the server says that nothing is published.
    void finished(const QByteArray &bytes, const QString &problem);

private:
    void visit();
    void slotEnded(WebProblem problem);
    void follow(const QByteArray &location);
    void end(const QByteArray &bytes, const QString &problem);
    void fail(WebProblem problem);

    QUrl m_url; ///< where it is at
    WebAccess m_access;
    QTimer m_whole;
    WebExchange *m_exchange = nullptr;
    int m_redirections = 0;
    bool m_isOver = false;
};
