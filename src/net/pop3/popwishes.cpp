#include "net/pop3/popwishes.h"

#include "config/directory.h"
#include "config/files.h"
#include "config/reporter.h"

#include <QFile>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

QList<QByteArray> linesOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<QByteArray> lines = file.readAll().split('\n');
    lines.removeAll(QByteArray());
    return lines;
}

bool write(QString name, const QList<QByteArray> &lines, const char *failure)
{
    const QByteArray bytes = lines.isEmpty() ? QByteArray() : lines.join('\n') + '\n';
    if (configFile(name, false) && writeReplacing(name, bytes))
        return true;
    report(ReportLevel::Warning, "%s", failure);
    return false;
}

QByteArray lineOf(const POPFetcherBodyRequest &request)
{
    return QByteArray::number(request.place.group) + ' ' + QByteArray::number(request.place.article) + ' ' +
           request.identifier;
}

QByteArray identifierOf(const QByteArray &line)
{
    return line.mid(line.lastIndexOf(' ') + 1);
}

constexpr auto kUnableToWriteFetch = "Unable to write fetch IDs file";
constexpr auto kUnableToWriteDelete = "Unable to write delete IDs file";

bool addTo(const QString &name, const QByteArray &line, const char *failure)
{
    QList<QByteArray> lines = linesOf(configPathOf(name));
    if (lines.contains(line))
        return true;
    lines.append(line);
    return write(name, lines, failure);
}

bool takeFrom(const QString &name, const QList<QByteArray> &identifiers, const char *failure)
{
    QList<QByteArray> lines = linesOf(configPathOf(name));
    const qsizetype taken = lines.removeIf(
        [&identifiers](const QByteArray &line) { return identifiers.contains(identifierOf(line)); });
    return taken == 0 || write(name, lines, failure);
}

} // namespace

PopWishes::PopWishes(int account)
    : m_fetchPath(u"Accounts/%1/FetchIDs"_s.arg(account))
    , m_deletePath(u"Accounts/%1/DeleteIDs"_s.arg(account))
{}

std::vector<POPFetcherBodyRequest> PopWishes::toFetch() const
{
    std::vector<POPFetcherBodyRequest> requests;
    for (const QByteArray &line : linesOf(configPathOf(m_fetchPath))) {
        const QList<QByteArray> fields = line.split(' ');
        bool isGroup = false;
        bool isArticle = false;
        POPFetcherBodyRequest request;
        request.place.group = fields.value(0).toInt(&isGroup);
        request.place.article = fields.value(1).toUInt(&isArticle);
        request.identifier = fields.value(2);
        if (fields.size() == 3 && isGroup && isArticle && !request.identifier.isEmpty())
            requests.push_back(request);
        else
            note(u"A line of %1 means nothing: %2"_s.arg(m_fetchPath, QString::fromLatin1(line)));
    }
    return requests;
}

QList<QByteArray> PopWishes::toDelete() const
{
    return linesOf(configPathOf(m_deletePath));
}

bool PopWishes::fetch(const POPFetcherBodyRequest &request)
{
    return addTo(m_fetchPath, lineOf(request), kUnableToWriteFetch);
}

bool PopWishes::remove(const QByteArray &identifier)
{
    return addTo(m_deletePath, identifier, kUnableToWriteDelete);
}

bool PopWishes::fetched(const QList<QByteArray> &identifiers)
{
    return takeFrom(m_fetchPath, identifiers, kUnableToWriteFetch);
}

bool PopWishes::removed(const QList<QByteArray> &identifiers)
{
    return takeFrom(m_deletePath, identifiers, kUnableToWriteDelete);
}
