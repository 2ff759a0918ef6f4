#include "cli/terminalquestions.h"

#include "cli/output.h"
#include "config/reporter.h"

#include <QSocketNotifier>
#include <QTimer>

#include <cstdio>
#include <termios.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

QString howToTrust(const QByteArray &sha256)
{
    return u"Its SHA-256 is %1; who trusts it gives that as the account's --fingerprint"_s.arg(
        QString::fromLatin1(sha256));
}

TerminalQuestions::TerminalQuestions(Output &output)
    : m_output(output)
{}

TerminalQuestions::~TerminalQuestions()
{
    showTyping();
}

bool TerminalQuestions::isPossible()
{
    return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1;
}

void TerminalQuestions::askCertificate(const CertificateQuestion &question,
                                       std::function<void(CertificateAnswer)> answer)
{
    for (const CertificateProblem &problem : question.found.problems)
        m_output.complain(u"The certificate of '%1': %2"_s.arg(question.accountName, problem.text));
    m_output.complain(howToTrust(question.found.certificate.sha256));
    QTimer::singleShot(0, this, [answer = std::move(answer)] { answer(CertificateAnswer::Refuse); });
}

void TerminalQuestions::askPassword(const PasswordQuestion &question,
                                    std::function<void(const QString &, PasswordKeeping)> answer)
{
    m_asked.push_back({question, std::move(answer)});
    if (m_asked.size() == 1)
        askNext();
}

void TerminalQuestions::withdraw(int account)
{
    const bool isFirst = !m_asked.empty() && m_asked.front().question.account == account;
    std::erase_if(m_asked, [account](const Asked &asked) { return asked.question.account == account; });
    if (!isFirst)
        return;
    showTyping();
    askNext();
}

void TerminalQuestions::askNext()
{
    if (m_asked.empty())
        return;
    const PasswordQuestion &question = m_asked.front().question;
    m_output.holdProgress(true);
    if (!question.refusal.isEmpty())
        m_output.complain(u"The server of '%1' said: %2"_s.arg(question.accountName, question.refusal));
    std::fprintf(stderr, "Password of %s at %s: ", qUtf8Printable(onOneLine(question.user)),
                 qUtf8Printable(onOneLine(question.host)));
    std::fflush(stderr);
    m_before = std::make_unique<termios>();
    termios hidden = {};
    if (::tcgetattr(STDIN_FILENO, m_before.get()) == 0) {
        hidden = *m_before;
        hidden.c_lflag &= ~tcflag_t(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    } else {
        m_before.reset();
    }
    m_notifier = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &TerminalQuestions::typed);
}

/// A whole line: the terminal hands out nothing less. An empty one, or its end, is no password.
void TerminalQuestions::typed()
{
    char line[4096];
    const ssize_t length = ::read(STDIN_FILENO, line, sizeof line);
    showTyping();
    QByteArray password(line, qMax<qsizetype>(0, length));
    while (password.endsWith('\n') || password.endsWith('\r'))
        password.chop(1);
    const Asked asked = std::move(m_asked.front());
    m_asked.pop_front();
    asked.answer(QString::fromLocal8Bit(password), PasswordKeeping::ThisRun);
    if (!m_notifier)
        askNext();
}

void TerminalQuestions::showTyping()
{
    if (!m_notifier)
        return;
    m_notifier.release()->deleteLater(); // it may be at work
    if (m_before)
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, m_before.get());
    m_before.reset();
    std::fputc('\n', stderr);
    m_output.holdProgress(false);
}
