#pragma once

#include "config/directory.h"
#include "config/reporter.h"
#include "config/settings.h"

#include <QFile>
#include <QTemporaryDir>

/// A fresh configuration directory for as long as it lives, with the settings at their defaults, and a record
/// of what was reported and noted meanwhile.
class Scratch
{
public:
    Scratch()
    {
        setConfigDirectory(m_directory.path() + QStringLiteral("/config"));
        setStoreAccess(StoreAccess::ReadWrite);
        resetSettings();
        m_reportSink = setReportSink([this](const Report &report) { reports.append(report.text); });
        m_noteSink = setNoteSink([this](const QString &line) { notes.append(line); });
    }
    ~Scratch()
    {
        setReportSink(m_reportSink);
        setNoteSink(m_noteSink);
        setConfigDirectory({});
        resetSettings();
    }
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;

    /// A path beside the configuration directory, for files of the test's own.
    QString path(const QString &name) const { return m_directory.path() + u'/' + name; }

    QString write(const QString &name, const QByteArray &bytes) const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("the test cannot write %s", qPrintable(file.fileName()));
        return file.fileName();
    }
    static QByteArray read(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QStringList reports;
    QStringList notes;

private:
    QTemporaryDir m_directory;
    ReportSink m_reportSink;
    NoteSink m_noteSink;
};
