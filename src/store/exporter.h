#pragma once

#include "store/mailbox/mboxwriter.h"

#include <QFile>
#include <QString>

#include <optional>

class Group;

/// Writes the messages of a group to an mbox, in slices. The file is written beside its place and put there
/// when it is whole; an import of it gives the same messages byte for byte, with their marks.
class Exporter
{
public:
    Exporter(Group &group, const QString &path);
    ~Exporter();

    enum class Progress { Working, Done, Failed };

    /// Works for about @p milliseconds. Failed: after a report; nothing is left behind.
    Progress step(int milliseconds);

    int exported() const { return m_exported; }
    int done() const { return m_row; }
    int total() const { return m_rows; }

private:
    bool begin();
    bool writeRow();
    Progress finish();

    Group &m_group;
    QString m_path;
    QFile m_file;
    std::optional<MboxWriter> m_writer;
    int m_row = 0;
    int m_rows = 0;
    int m_exported = 0;
};
