#pragma once

#include "servers/certificates.h"
#include "servers/patience.h"
#include "servers/script.h"

#include <QFile>
#include <QRegularExpression>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslSocket>
#include <QTcpServer>
#include <QTimer>

#include <sys/socket.h>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

/// One connection of a scripted server.
class ScriptedDialogue : public QObject
{
public:
    ScriptedDialogue(qintptr descriptor, std::vector<ScriptStep> steps, bool encrypted,
                     const QSslConfiguration &tls, int slice)
        : m_steps(std::move(steps))
        , m_slice(slice)
    {
        m_socket.setSslConfiguration(tls);
        m_socket.setSocketDescriptor(descriptor);
        m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        m_next.setSingleShot(true);
        const auto goOn = [this] { play(); };
        connect(&m_next, &QTimer::timeout, this, goOn);
        connect(&m_socket, &QSslSocket::readyRead, this, goOn);
        connect(&m_socket, &QSslSocket::bytesWritten, this, goOn);
        connect(&m_socket, &QSslSocket::encryptedBytesWritten, this, goOn);
        connect(&m_socket, &QSslSocket::encrypted, this, goOn);
        connect(&m_socket, &QSslSocket::disconnected, this, goOn);
        if (encrypted)
            m_socket.startServerEncryption();
        m_next.start(0); // not before the server has taken note of this
    }

    ~ScriptedDialogue() override { m_socket.disconnect(this); } // it would go on playing as it closes

    void release()
    {
        m_isReleased = true;
        play();
    }
    bool isWaiting() const { return !isPlayed() && m_steps[m_at].kind == ScriptStep::Wait; }
    bool isPlayed() const { return m_at == m_steps.size(); }
    bool hasLeft() const { return m_socket.state() == QAbstractSocket::UnconnectedState; }
    qint64 sent() const { return m_sent - m_socket.bytesToWrite(); }
    QSslSocket &socket() { return m_socket; }

    /// What is wrong so far; empty: nothing.
    QByteArray problem()
    {
        if (!m_problem.isEmpty())
            return m_problem;
        if (!isPlayed() && hasLeft())
            return at("the client left before");
        if (isPlayed() && m_socket.bytesAvailable() > 0 && !m_hungUp)
            return "the client said besides: " + m_socket.peek(200).toPercentEncoding(" ");
        return {};
    }

    /// Where the script stands.
    QByteArray at(const char *text)
    {
        if (m_steps.empty())
            return QByteArray(text) + " the first line";
        const ScriptStep &step = m_steps[std::min(m_at, m_steps.size() - 1)];
        return QByteArray(text) + " line " + QByteArray::number(step.line) + ": " + step.source +
               (m_socket.bytesAvailable() > 0 ? " (unread: " + m_socket.peek(200).toPercentEncoding(" ") + ')'
                                              : QByteArray());
    }

private:
    void play()
    {
        if (m_playing)
            return;
        m_playing = true;
        while (!isPlayed() && m_problem.isEmpty() && !isHandshaking() && playStep(m_steps[m_at]))
            ++m_at;
        m_playing = false;
    }

    bool isHandshaking() const
    {
        return m_socket.mode() != QSslSocket::UnencryptedMode && !m_socket.isEncrypted() && !hasLeft();
    }

    /// False: it is not done yet.
    bool playStep(const ScriptStep &step)
    {
        switch (step.kind) {
        case ScriptStep::Say: return say(step);
        case ScriptStep::Expect:
        case ScriptStep::Match: return hear(step);
        case ScriptStep::Quiet: return isQuiet();
        case ScriptStep::Wait: return std::exchange(m_isReleased, false);
        case ScriptStep::StartTls: return startTls();
        case ScriptStep::Leaves: return hasLeft();
        case ScriptStep::HangUp:
        case ScriptStep::Reset:
        case ScriptStep::Truncate: return hangUp(step.kind);
        }
        return true;
    }

    bool say(const ScriptStep &step)
    {
        if (hasLeft())
            return false;
        while (m_said < step.size) {
            if (unsent() > kMostUnsent)
                return false; // goes on when something went out
            const qint64 start = m_said % step.bytes.size();
            const qint64 left = std::min(step.bytes.size() - start, step.size - m_said);
            const qint64 piece = m_slice > 0 ? std::min(qint64(m_slice), left) : left;
            const qint64 written = m_socket.write(step.bytes.constData() + start, piece);
            if (written < 0)
                return false;
            m_said += written;
            m_sent += written;
            if (m_slice > 0) {
                m_socket.flush();
                m_next.start(0);
                if (m_said < step.size)
                    return false;
            }
        }
        m_said = 0;
        return true;
    }

    bool hear(const ScriptStep &step)
    {
        if (!m_socket.canReadLine())
            return false;
        QByteArray line = m_socket.readLine();
        if (!line.endsWith("\r\n"))
            return fail("a line end was not CR LF at", line);
        line.chop(2);
        const auto pattern = [&step] {
            return QRegularExpression(QRegularExpression::anchoredPattern(QString::fromLatin1(step.bytes)));
        };
        const bool fits = step.kind == ScriptStep::Expect
                              ? line == step.bytes
                              : pattern().match(QString::fromLatin1(line)).hasMatch();
        return fits || fail("awaited was", line);
    }

    bool isQuiet() { return m_socket.bytesAvailable() == 0 || fail("nothing was to be said before", {}); }

    bool fail(const char *text, const QByteArray &said)
    {
        m_problem =
            at(text) +
            (said.isNull() ? QByteArray() : "; the client said: " + said.left(200).toPercentEncoding(" "));
        m_socket.abort();
        return false;
    }

    bool startTls()
    {
        m_socket.flush();
        if (unsent() > 0)
            return false;
        m_socket.startServerEncryption();
        return true;
    }

    bool hangUp(ScriptStep::Kind kind)
    {
        m_hungUp = true;
        if (kind == ScriptStep::HangUp) {
            m_socket.disconnectFromHost();
            return true;
        }
        m_socket.flush();
        if (unsent() > 0)
            return false;
        if (kind == ScriptStep::Reset) {
            const struct linger atOnce = {1, 0};
            ::setsockopt(int(m_socket.socketDescriptor()), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
        }
        m_socket.abort();
        return true;
    }

    qint64 unsent() const { return m_socket.bytesToWrite() + m_socket.encryptedBytesToWrite(); }

    static constexpr qint64 kMostUnsent = 256 * 1024;

    QSslSocket m_socket;
    QTimer m_next;
    std::vector<ScriptStep> m_steps;
    std::size_t m_at = 0;
    QByteArray m_problem;
    qint64 m_said = 0; ///< bytes of the present step
    qint64 m_sent = 0;
    int m_slice = 0;
    bool m_isReleased = false;
    bool m_playing = false;
    bool m_hungUp = false;
};

/// A server that plays a page of dialogue in the test's own event loop, on a port that the system picks.
/// One step a line, indentation does not count:
///
///     S: text        the server says a line; "\r\n" is added
///     P: text        the same without the line end
///     G: 1000 text   says the text a thousand times, without line ends
///     D: name        says the bytes laid under that name, as they are
///     C: text        the client has to say this line, ended with "\r\n"
///     C~ pattern     the same, by a regular expression for the whole line
///     Q              nothing that the client said is unread here
///     W              waits until the test calls release()
///     T              TLS begins here (after a STLS or STARTTLS)
///     E              the client has to hang up
///     X, XR, XT      the server hangs up; resets the connection; breaks off without the end that TLS has
///     --             what follows is for the next connection
///
/// In texts \0 \r \n \t \\ \xNN stand for those bytes. Clients may say several lines ahead; several C: in a
/// row prove that they do. Without X the server keeps the connection open. After the run:
/// QVERIFY2(server.finished(), server.problem()).
class ScriptedServer : public QTcpServer
{
public:
    enum class Encryption { OnDemand, FromTheStart };

    /// @p certificate is needed for T and for TLS from the start.
    explicit ScriptedServer(const QByteArray &script, const CertificateFiles &certificate = {},
                            Encryption encryption = Encryption::OnDemand)
        : m_script(script)
        , m_encryption(encryption)
    {
        if (!certificate.certificate.isEmpty())
            present(certificate);
        if (!listen(QHostAddress::LocalHost))
            qFatal("the test cannot listen");
    }

    quint16 port() const { return serverPort(); }

    /// What D: says. To be called before the first connection.
    void lay(const QByteArray &name, const QByteArray &bytes) { m_laid.insert(name, bytes); }

    /// Everything goes out in pieces of @p bytes, each in a pass of the event loop of its own; 0: as it
    /// comes.
    void setSlice(int bytes) { m_slice = bytes; }

    /// The certificate of the connections to come.
    void present(const CertificateFiles &files)
    {
        QFile key(files.key);
        if (!key.open(QIODevice::ReadOnly))
            qFatal("the test lacks %s", qPrintable(files.key));
        m_tls.setLocalCertificateChain(QSslCertificate::fromPath(files.certificate));
        m_tls.setPrivateKey(QSslKey(key.readAll(), QSsl::Ec));
        m_tls.setPeerVerifyMode(QSslSocket::VerifyNone);
        m_tls.setCaCertificates({}); // they would be read for every connection
    }

    int connections() const { return int(m_dialogues.size()); }

    /// Of the connection with that place, in the order of their beginning.
    ScriptedDialogue &dialogue(int place = 0) { return *m_dialogues.at(std::size_t(place)); }

    /// Whether a connection stands at a W, and the way past it.
    bool isWaiting() const
    {
        return std::any_of(m_dialogues.begin(), m_dialogues.end(),
                           [](const auto &one) { return one->isWaiting(); });
    }
    void release()
    {
        for (const auto &one : m_dialogues) {
            if (one->isWaiting())
                one->release();
        }
    }

    /// Whether everything was played and nothing else was said; gives what is on its way a moment.
    bool finished()
    {
        const auto isOver = [this] { return isPlayed() || findProblem(); };
        return comesTrue(isOver, kPatienceMilliseconds) && !findProblem();
    }

    /// Why finished() was false.
    const char *problem()
    {
        if (findProblem() || isPlayed())
            return m_problem.constData();
        m_problem = "not all connections were made";
        for (const auto &one : m_dialogues) {
            if (!one->isPlayed())
                m_problem = one->at("still at");
        }
        return m_problem.constData();
    }

protected:
    void incomingConnection(qintptr descriptor) override
    {
        const std::size_t place = m_dialogues.size();
        const bool isAwaited = place < script().size();
        if (!isAwaited)
            m_problem = "one connection more than awaited";
        m_dialogues.push_back(std::make_unique<ScriptedDialogue>(
            descriptor, isAwaited ? script()[place] : std::vector<ScriptStep>(),
            m_encryption == Encryption::FromTheStart, m_tls, m_slice));
    }

private:
    const std::vector<std::vector<ScriptStep>> &script()
    {
        if (!m_parsed)
            m_parsed.emplace(m_script, m_laid);
        return m_parsed->connections;
    }

    bool isPlayed()
    {
        return m_dialogues.size() >= script().size() &&
               std::all_of(m_dialogues.begin(), m_dialogues.end(),
                           [](const auto &one) { return one->isPlayed(); });
    }

    bool findProblem()
    {
        for (const auto &one : m_dialogues) {
            if (m_problem.isEmpty())
                m_problem = one->problem();
        }
        return !m_problem.isEmpty();
    }

    static constexpr int kPatienceMilliseconds = 3000;

    QByteArray m_script;
    std::optional<Script> m_parsed;
    QHash<QByteArray, QByteArray> m_laid;
    Encryption m_encryption;
    QSslConfiguration m_tls = QSslConfiguration::defaultConfiguration();
    int m_slice = 0;
    std::vector<std::unique_ptr<ScriptedDialogue>> m_dialogues;
    QByteArray m_problem;
};
