#pragma once

#include "net/questions.h"

#include <QObject>

#include <deque>
#include <memory>

class Output;
class QSocketNotifier;
struct termios;

/// What a person is told about a certificate that was refused, and has that SHA-256.
QString howToTrust(const QByteArray &sha256);

/// Asks the person at the terminal for passwords, without showing what is typed. Certificates with a problem
/// are refused, because who fetches here accepts them by their fingerprint; what is wrong is said.
class TerminalQuestions : public QObject, public UserQuestions
{
    Q_OBJECT

public:
    explicit TerminalQuestions(Output &output);
    ~TerminalQuestions() override;

    /// Whether a person sits there.
    static bool isPossible();

    void askCertificate(const CertificateQuestion &question,
                        std::function<void(CertificateAnswer)> answer) override;
    void askPassword(const PasswordQuestion &question,
                     std::function<void(const QString &password, PasswordKeeping)> answer) override;
    void withdraw(int account) override;

private:
    struct Asked
    {
        PasswordQuestion question;
        std::function<void(const QString &password, PasswordKeeping)> answer;
    };

    void askNext();
    void typed();
    void showTyping();

    Output &m_output;
    std::deque<Asked> m_asked; ///< the first one is being asked while m_notifier is there
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::unique_ptr<termios> m_before; ///< the terminal while nothing is asked
};
