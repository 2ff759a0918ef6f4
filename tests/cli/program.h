#pragma once

#include "support/mail.h"
#include "support/memory.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

/// Runs the real program on a configuration directory of its own.
class Program
{
public:
    struct Result
    {
        int status = -1; ///< -1: killed
        QByteArray out;
        QByteArray errors;

        QList<QJsonObject> rows() const
        {
            QList<QJsonObject> rows;
            for (const QByteArray &line : out.split('\n')) {
                if (!line.isEmpty())
                    rows += QJsonDocument::fromJson(line).object();
            }
            return rows;
        }
    };

    Result run(const QStringList &words, const QByteArray &input = {})
    {
        QProcess process;
        start(process, words);
        process.write(input);
        process.closeWriteChannel();
        process.waitForFinished(60'000);
        return resultOf(process);
    }

    /// With "--json" in front.
    Result json(const QStringList &words) { return run(QStringList{QStringLiteral("--json")} + words); }

    /// Kills the program after @p microseconds, unless it has ended by then.
    Result runAndKill(const QStringList &words, int microseconds)
    {
        QProcess process;
        start(process, QStringList{QStringLiteral("--json")} + words);
        process.waitForStarted();
        if (!process.waitForFinished(microseconds / 1000)) {
            process.kill(); // by its own number: nobody else's
            process.waitForFinished(60'000);
        }
        return resultOf(process);
    }

    void start(QProcess &process, const QStringList &words)
    {
        process.start(QStringLiteral(VELMAR_CLI), QStringList{QStringLiteral("--config"), config()} + words);
    }
    static Result resultOf(QProcess &process)
    {
        const bool ended = process.exitStatus() == QProcess::NormalExit;
        return {ended ? process.exitCode() : -1, process.readAllStandardOutput(),
                process.readAllStandardError()};
    }

    QString config() const { return path(QStringLiteral("config")); }
    QString path(const QString &name) const { return m_directory.path() + u'/' + name; }
    QString write(const QString &name, const QByteArray &bytes) const
    {
        QDir().mkpath(QFileInfo(path(name)).path());
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("the test cannot write %s", qPrintable(name));
        return file.fileName();
    }
    QByteArray read(const QString &name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void forgetEverything() { QDir(config()).removeRecursively(); }

    /// The Message-IDs of a group without their brackets, each as often as it is there.
    QStringList ids(const QString &group)
    {
        QStringList ids;
        const QList<QJsonObject> rows = json({QStringLiteral("list"), group}).rows();
        for (const QJsonObject &row : rows)
            ids += row[u"message_id"].toString().mid(1).chopped(1);
        ids.sort();
        return ids;
    }

private:
    QTemporaryDir m_directory;
};

/// Runs the program while this process goes on serving.
inline Program::Result runBeside(Program &program, const QStringList &words,
                                 const std::function<void(QProcess &)> &then = {})
{
    QProcess process;
    program.start(process, words);
    process.closeWriteChannel();
    if (!process.waitForStarted())
        qFatal("the program cannot be started");
    if (then)
        then(process);
    if (!QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 60'000))
        process.kill();
    return Program::resultOf(process);
}

/// An mbox of @p count mails whose identifiers are @p prefix and a number from 0 on.
inline QByteArray mbox(const QByteArray &prefix, int count, qsizetype bodySize = 600)
{
    QByteArray bytes;
    for (int i = 0; i < count; ++i) {
        const QByteArray id = prefix + QByteArray::number(i);
        bytes += "From ada@example.org Fri Nov 20 10:00:00 2026\n" +
                 mailText(id, "Number " + id, {}, "Text of " + id + "\n" + QByteArray(bodySize, 'x') + "\n") +
                 "\n";
    }
    return bytes;
}
