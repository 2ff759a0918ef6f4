#include "store/exporter.h"

#include "config/files.h"
#include "config/reporter.h"
#include "message/message.h"
#include "store/group.h"
#include "store/marksofflags.h"

#include <QElapsedTimer>
#include <QFileInfo>

Exporter::Exporter(Group &group, const QString &path)
    : m_group(group)
    , m_path(path)
    , m_file(path + u'~')
{}

Exporter::~Exporter()
{
    if (m_file.isOpen())
        m_file.remove();
}

Exporter::Progress Exporter::step(int milliseconds)
{
    if (!m_writer && !begin())
        return finish();
    QElapsedTimer timer;
    timer.start();
    while (m_row < m_rows) {
        if (!writeRow())
            return finish();
        if (timer.hasExpired(milliseconds))
            return Progress::Working;
    }
    return finish();
}

bool Exporter::begin()
{
    const QFileInfo target(m_path);
    const bool isDevice = target.exists() && !target.isFile(); // it would be replaced by a file
    if (isDevice || !m_file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    m_rows = m_group.rowCount();
    m_writer.emplace(m_file);
    return true;
}

bool Exporter::writeRow()
{
    const Overview overview = m_group.row(m_row);
    if (!overview.isDead()) {
        const QByteArray text = m_group.readMessage(overview);
        if (text.isNull())
            return false; // an export with holes must not look like a whole one
        const QByteArray sender = Message(text).mboxSender().toUtf8();
        if (!m_writer->write(text, sender, overview.arrival(), flagsOf(overview.marks())))
            return false;
        ++m_exported;
    }
    ++m_row;
    return true;
}

/// Puts the whole file in its place, or clears away what could not become one.
Exporter::Progress Exporter::finish()
{
    const bool whole = m_file.isOpen() && m_row == m_rows && syncFile(m_file);
    const bool wasOpen = m_file.isOpen();
    m_file.close();
    if (whole && replaceFile(m_file.fileName(), m_path))
        return Progress::Done;
    if (wasOpen)
        m_file.remove();
    report(ReportLevel::Warning, "Unable to write file '%s'", qUtf8Printable(m_path));
    return Progress::Failed;
}
