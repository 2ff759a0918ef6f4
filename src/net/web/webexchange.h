#pragma once

#include "net/web/httpanswer.h"
#include "net/web/webaccess.h"
#include "net/web/webproxy.h"
#include "net/web/weburl.h"

#include <QObject>
#include <QTimer>

#include <array>
#include <memory>

class QSslSocket;

/// One GET over HTTP/1.1 on a connection of its own: look the name up, check the addresses, connect to what
/// was checked, ask, read the answer. Nothing is sent but what every request sends: no cookies, no origin, no
/// language, no name of this program.
class WebExchange : public QObject
{
    Q_OBJECT

public:
    /// @p mostBytes bounds the content.
    WebExchange(WebUrl url, const WebAccess &access, WebProxy proxy, qint64 mostBytes, QObject *parent);
    ~WebExchange() override;

    void start();

    /// Closes the connection; nothing is emitted any more.
    void stop();

    const HttpAnswer &answer() const { return m_answer; }

signals:
    void received(qint64 bytes);    ///< off the wire, heads included; answer() has taken them
    void ended(WebProblem problem); ///< once; with None the answer is complete, whatever its status

private:
    enum class State { Idle, Resolving, Connecting, Tunnelling, Encrypting, Answering, Ended };
    struct Step
    {
        State state;
        void (WebExchange::*onBytes)();
        void (WebExchange::*onLoss)(); ///< the connection failed or was closed
    };
    static const std::array<Step, 7> s_steps;

    void resolve(const QString &name);
    void resolved(const QList<QHostAddress> &addresses);
    void connectToNext();
    void openSocket();
    void connected();
    void encrypt();
    void encrypted();
    void ask();

    void slotReadyRead();
    void slotLost();
    void ignoreBytes();
    void ignoreLoss();
    void tunnelBytes();
    void tunnelLoss();
    void encryptionLoss();
    void answerBytes();
    void answerLoss();

    bool takeBytes(HttpAnswer &answer);
    void say(const QByteArray &text, State next);
    void end(WebProblem problem);
    void closeSocket();

    WebUrl m_url;
    WebAccess m_access;
    WebProxy m_proxy;
    State m_state = State::Idle;
    QList<QHostAddress> m_addresses; ///< checked, not yet tried
    quint16 m_port = 0;
    int m_attemptMilliseconds = 0;
    QTimer m_attempt;
    QSslSocket *m_socket = nullptr;
    HttpAnswer m_tunnel; ///< the proxy's answer to CONNECT
    HttpAnswer m_answer;
};
