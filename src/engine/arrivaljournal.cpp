#include "engine/arrivaljournal.h"

#include "config/directory.h"
#include "config/files.h"
#include "store/compression.h"

#include <QFile>

using namespace Qt::StringLiterals;

ArrivalJournal::ArrivalJournal(int account)
    : m_path(u"Accounts/%1/Arriving"_s.arg(account))
    , m_account(account)
{}

bool ArrivalJournal::begin(Group &group)
{
    QString path = m_path;
    if (!configFile(path, false))
        return false;
    group.rowCount(); // opens it
    const QByteArray head = "group " + QByteArray::number(group.number()) + ' ' +
                            QByteArray::number(group.files().overviews().nextArticle()) + '\n';
    m_file = FileHandle(path, FileHandle::Mode::Truncate);
    m_end = head.size();
    return m_file.isOpen() && m_file.writeAt(0, head) && m_file.sync() && syncDirectoryOf(path);
}

bool ArrivalJournal::announce(const QByteArray &identifier, QByteArrayView text)
{
    const QByteArray line =
        QByteArray::number(text.size()) + ' ' + QByteArray::number(crc32Of(text)) + ' ' + identifier + '\n';
    if (!m_file.writeAt(m_end, line))
        return false;
    m_end += line.size();
    return true;
}

bool ArrivalJournal::sync()
{
    return m_file.sync();
}

void ArrivalJournal::done()
{
    m_file.close();
    QFile::remove(configPathOf(m_path));
}

std::optional<ArrivalJournal::Found> ArrivalJournal::read(const std::function<Group *(int)> &groupOf) const
{
    QFile file(configPathOf(m_path));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    Found found;
    const QList<QByteArray> lines = file.readAll().split('\n');
    const QList<QByteArray> head = lines.first().split(' ');
    Group *group = head.size() == 3 && head[0] == "group" ? groupOf(head[1].toInt()) : nullptr;
    if (!group)
        return found;
    found.group = group->number();
    const quint32 first = head[2].toUInt();
    int row = 0;
    const int rows = group->rowCount();
    for (const QByteArray &line : lines.sliced(1)) {
        const QList<QByteArray> fields = line.split(' ');
        if (fields.size() != 3)
            continue;
        // A message that was taken away again has a dead row; it has arrived all the same.
        while (row < rows &&
               (group->row(row).article() < first || group->row(row).account() != (m_account & 0xffff)))
            ++row;
        if (row == rows)
            break;
        const Overview &overview = group->row(row);
        if (overview.unpackedLength() != fields[0].toUInt() || overview.textCrc() != fields[1].toUInt())
            break;
        found.arrived.push_back(fields[2]);
        ++row;
    }
    return found;
}
