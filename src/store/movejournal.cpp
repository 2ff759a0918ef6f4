#include "store/movejournal.h"

#include "config/directory.h"
#include "config/files.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace {

QString path()
{
    return configPathOf(u"Groups/Moving"_s);
}

} // namespace

bool MoveJournal::write(const Move &move)
{
    QByteArray text = QByteArray::number(move.source) + ' ' + QByteArray::number(move.target) + ' ' +
                      QByteArray::number(move.firstInTarget) + '\n';
    for (const quint32 article : move.articles)
        text += QByteArray::number(article) + '\n';
    return writeReplacing(path(), text + "end\n");
}

bool MoveJournal::exists()
{
    return QFile::exists(path());
}

std::optional<MoveJournal::Move> MoveJournal::read()
{
    QFile file(path());
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<QByteArray> lines = file.readAll().split('\n');
    const QList<QByteArray> head = lines.takeFirst().split(' ');
    const qsizetype end = lines.indexOf("end");
    if (head.size() != 3 || end < 0)
        return {};
    Move move = {head[0].toInt(), head[1].toInt(), head[2].toUInt(), {}};
    for (const QByteArray &line : lines.first(end))
        move.articles.insert(line.toUInt());
    return move;
}

void MoveJournal::remove()
{
    QFile::remove(path());
}
