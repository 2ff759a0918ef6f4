#pragma once

#include "net/web/webaccess.h"
#include "net/web/webproblem.h"
#include "net/web/webproxy.h"

#include <QObject>
#include <QTimer>
#include <QUrl>

class WebExchange;

/// Fetches one picture: follows redirections, each checked as if it had been asked for first, and gives up
/// when the limits are reached. Nothing happens on the net before start().
class WebRequest : public QObject
{
    Q_OBJECT

public:
    WebRequest(QUrl url, WebAccess access, WebProxy proxy, QObject *parent = nullptr);
    ~WebRequest() override;

    void start();

    /// Closes the connection; nothing is emitted any more.
    void stop();

signals:
    void received(qint64 bytes); ///< off the wire

    /// Once, never from inside start(): with None the whole file of a picture, else empty.
    void finished(const QByteArray &bytes, WebProblem problem);

private:
    void visit(const QUrl &url);
    void slotReceived(qint64 bytes);
    void slotEnded(WebProblem problem);
    void follow(const QByteArray &location);
    void end(const QByteArray &bytes, WebProblem problem);

    QUrl m_url; ///< where it is at
    WebAccess m_access;
    WebProxy m_proxy;
    QTimer m_whole;
    WebExchange *m_exchange = nullptr;
    int m_redirections = 0;
    bool m_isOver = false;
};
