#include "engine/arrivaljournal.h"

#include "config/directory.h"
#include "config/files.h"
#include "config/reporter.h"
#include "store/compression.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <map>

using namespace Qt::StringLiterals;

namespace {

/// The articles by the length and the CRC-32 of their text.
using Texts = std::map<std::pair<quint32, quint32>, Articles>;

/// What came into @p group from @p account as article @p first or later. A message that was taken away again
/// has a dead row; it has arrived all the same. One that was moved here from elsewhere has not.
Texts textsOf(Group &group, quint32 first, int account)
{
    Texts texts;
    for (int row = group.rowCount() - 1; row >= 0 && group.row(row).article() >= first; --row) {
        const Overview &overview = group.row(row);
        if (overview.account() == (account & 0xffff) && overview.originGroup() == 0)
            texts[{overview.unpackedLength(), overview.textCrc()}].push_back(overview.article());
    }
    for (auto &[text, articles] : texts)
        std::reverse(articles.begin(), articles.end());
    return texts;
}

constexpr qint64 kMostRead = 16 * 1024 * 1024; ///< bytes; what is longer is not all ours

/// Without a last line that was cut off: half an identifier names another message.
QList<QByteArray> wholeLines(QFile &file)
{
    if (file.size() > kMostRead)
        note(u"%1 is too long; its beginning is read"_s.arg(file.fileName()));
    QList<QByteArray> lines = file.read(kMostRead).split('\n');
    lines.removeLast();
    lines.removeAll(QByteArray());
    return lines;
}

} // namespace

ArrivalJournal::ArrivalJournal(int account)
    : m_path(u"Accounts/%1/Arriving"_s.arg(account))
    , m_account(account)
{}

bool ArrivalJournal::begin(Group &group)
{
    group.rowCount(); // opens it
    const QByteArray head = "group " + QByteArray::number(group.number()) + ' ' +
                            QByteArray::number(group.files().overviews().nextArticle()) + '\n';
    if (!m_file.isOpen()) {
        QString path = m_path;
        if (!configFile(path, false))
            return false;
        const bool isNew = !QFile::exists(path);
        m_file = FileHandle(path, FileHandle::Mode::Truncate);
        if (!m_file.isOpen() || (isNew && !syncDirectoryOf(path)))
            return false;
    }
    m_end = head.size();
    return m_file.writeAt(0, head);
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

/// Emptied, not removed: the next batch needs no new name on the disk.
void ArrivalJournal::done()
{
    if (m_file.cut(0))
        return;
    m_file.close();
    QFile::remove(configPathOf(m_path));
}

std::optional<ArrivalJournal::Found> ArrivalJournal::read(const std::function<Group *(int)> &groupOf) const
{
    QFile file(configPathOf(m_path));
    if (!file.open(QIODevice::ReadOnly) || file.size() == 0)
        return {};
    Found found;
    const QList<QByteArray> lines = wholeLines(file);
    const QList<QByteArray> head = lines.value(0).split(' ');
    Group *group = head.size() == 3 && head[0] == "group" ? groupOf(head[1].toInt()) : nullptr;
    if (!group)
        return found;
    found.group = group->number();
    group->rowCount(); // opens it
    found.isKnown = group->isOpen();
    if (!found.isKnown)
        return found;
    const Texts texts = textsOf(*group, head[2].toUInt(), m_account);
    std::map<std::pair<quint32, quint32>, std::size_t> taken;
    for (const QByteArray &line : lines.sliced(1)) {
        const QList<QByteArray> fields = line.split(' ');
        const auto known =
            fields.size() == 3 ? texts.find({fields[0].toUInt(), fields[1].toUInt()}) : texts.end();
        if (known == texts.end())
            continue;
        if (std::size_t &count = taken[known->first]; count < known->second.size())
            found.arrived.push_back({fields[2], known->second[count++]});
    }
    return found;
}

bool ArrivalJournal::isLeft() const
{
    return QFileInfo(configPathOf(m_path)).size() > 0;
}

bool ArrivalJournal::settle(const std::function<Group *(int)> &groupOf)
{
    if (!isLeft())
        return true;
    const std::optional<Found> found = read(groupOf);
    if (found && !found->isKnown)
        return false;
    if (found && !found->arrived.empty()) {
        Group *group = groupOf(found->group);
        QByteArray lines;
        for (const QByteArray &identifier : arrived())
            lines += identifier + '\n';
        for (const Found::Arrived &message : found->arrived)
            lines += message.identifier + '\n';
        if (!group->flush() || !writeReplacing(arrivedPath(), lines))
            return false;
        note(u"%1 messages of an interrupted fetch had arrived already"_s.arg(found->arrived.size()));
    }
    done();
    return true;
}

QList<QByteArray> ArrivalJournal::arrived() const
{
    QFile file(arrivedPath());
    if (!QFileInfo(arrivedPath()).isFile() || !file.open(QIODevice::ReadOnly)) // a pipe would be waited for
        return {};
    return wholeLines(file);
}

void ArrivalJournal::forgetArrived()
{
    if (QFile::remove(arrivedPath()))
        syncDirectoryOf(arrivedPath());
}

QString ArrivalJournal::arrivedPath() const
{
    return configPathOf(u"Accounts/%1/Arrived"_s.arg(m_account));
}
