#include "identity/signaturecommand.h"

#include "config/files.h"
#include "identity/oneline.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QRegularExpression>

#include <csignal>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMostBytes = 64 * 1024;
constexpr qsizetype kMostErrors = 500;

/// What a terminal would show: programs that print for one colour their text.
QString shownText(const QByteArray &bytes)
{
    static const QRegularExpression sequences(
        u"\\x1b(?:\\[[0-9;?]*[ -/]*[@-~]|\\][^\\x07\\x1b]*(?:\\x07|\\x1b\\\\))"_s);
    QString text = decodeTextFile(bytes);
    text.remove(sequences);
    text.removeIf([](QChar c) { return c.category() == QChar::Other_Control && c != u'\n' && c != u'\t'; });
    while (text.endsWith(u'\n'))
        text.chop(1);
    return text;
}

/// With all that it started: a shell that is gone may have left others behind.
void endGroupOf(QProcess &process)
{
    if (const qint64 leader = process.processId(); leader > 0)
        ::kill(-pid_t(leader), SIGKILL);
}

/// Nobody waits for what was killed: it is taken away when the system says that it is gone.
void letGo(QProcess *process)
{
    process->setParent(QCoreApplication::instance());
    QObject::connect(process, &QProcess::finished, process, &QObject::deleteLater);
    QObject::connect(process, &QProcess::errorOccurred, process, &QObject::deleteLater);
    endGroupOf(*process);
    process->kill();
    if (process->state() == QProcess::NotRunning)
        process->deleteLater(); // it may be the one that called
}

} // namespace

SignatureCommand::SignatureCommand(QObject *parent)
    : QObject(parent)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] { fail(tr("The command took too long")); });
}

SignatureCommand::~SignatureCommand()
{
    stop();
}

void SignatureCommand::start(const QString &command)
{
    stop();
    m_process = new QProcess(this);
    m_process->setStandardInputFile(QProcess::nullDevice());
    m_process->setWorkingDirectory(QDir::homePath());
    m_process->setChildProcessModifier([] { ::setpgid(0, 0); });
    connect(m_process, &QProcess::readyReadStandardOutput, this, &SignatureCommand::takeOutput);
    connect(m_process, &QProcess::readyReadStandardError, this, &SignatureCommand::takeErrors);
    connect(m_process, &QProcess::finished, this, &SignatureCommand::ended);
    connect(
        m_process, &QProcess::errorOccurred, this,
        [this, process = m_process](QProcess::ProcessError error) {
            if (error == QProcess::FailedToStart && process == m_process)
                fail(tr("The command could not be started"));
        },
        Qt::QueuedConnection);
    m_timer.start(m_patience);
    m_process->start(u"/bin/sh"_s, {u"-c"_s, command});
}

void SignatureCommand::stop()
{
    m_timer.stop();
    m_output.clear();
    m_errors.clear();
    QProcess *process = std::exchange(m_process, nullptr);
    if (!process)
        return;
    process->disconnect(this);
    letGo(process);
}

void SignatureCommand::takeOutput()
{
    m_output += m_process->readAllStandardOutput();
    if (m_output.size() > kMostBytes)
        fail(tr("The command printed more than %1 kB").arg(kMostBytes / 1024));
}

void SignatureCommand::takeErrors()
{
    m_errors += m_process->readAllStandardError();
    m_errors.truncate(kMostErrors);
}

void SignatureCommand::ended()
{
    takeErrors();
    takeOutput();
    if (!m_process) // it was too much
        return;
    const bool isGood = m_process->exitStatus() == QProcess::NormalExit && m_process->exitCode() == 0;
    if (!isGood) {
        const QString said = oneLineOf(shownText(m_errors));
        return fail(said.isEmpty() ? tr("The command failed") : tr("The command failed: %1").arg(said));
    }
    const QString text = shownText(m_output);
    stop();
    emit finished(text, {});
}

void SignatureCommand::fail(const QString &problem)
{
    if (!m_process) // stopped meanwhile
        return;
    stop();
    emit finished({}, problem);
}
