#include "cli/arguments.h"
#include "cli/command.h"
#include "cli/describe.h"
#include "message/message.h"

#include <QFile>
#include <QJsonArray>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

/// One message as text for people.
void show(Output &output, const Row &row)
{
    for (const auto &[name, value] : row.fields()) {
        if (qstrcmp(name, "parts") != 0)
            output.text(QString::fromLatin1(name).leftJustified(12) + shownValue(value) + u'\n');
    }
    const QJsonArray parts = row.toJson().value(u"parts"_s).toArray();
    for (const QJsonValue &part : parts) {
        Row line;
        for (const char *name :
             {"content_type", "category", "charset", "name", "encoding", "offset", "length", "size"})
            line.add(name, part[QLatin1String(name)]);
        output.row(line);
    }
    output.endTable();
    output.text(u"\n"_s);
}

/// Nothing when it cannot be read, or does not end: a device or a pipe may go on for ever.
std::optional<QByteArray> contents(const QString &path)
{
    constexpr qsizetype kLongest = qsizetype(1) << 30;
    constexpr qint64 kPiece = 1 << 20;
    QFile file(path);
    const bool open = path == u"-" ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly);
    if (!open)
        return {};
    QByteArray bytes;
    for (QByteArray piece = file.read(kPiece); !piece.isEmpty(); piece = file.read(kPiece)) {
        if (bytes.size() + piece.size() > kLongest)
            return {};
        bytes += piece;
    }
    return file.error() == QFileDevice::NoError ? std::optional(std::move(bytes)) : std::nullopt;
}

} // namespace

ExitStatus runParse(Session &session, const QStringList &words)
{
    const Arguments arguments(words, {}, {});
    if (!arguments.problem().isEmpty())
        return wrongUsage(session, arguments.problem());
    const QStringList paths = arguments.plain().isEmpty() ? QStringList{u"-"_s} : arguments.plain();
    ExitStatus status = ExitStatus::Done;
    for (const QString &path : paths) {
        const std::optional<QByteArray> bytes = contents(path);
        if (!bytes) {
            session.output().complain(u"Unable to read file '%1'"_s.arg(path));
            status = ExitStatus::Failed;
            continue;
        }
        const Row row = describeMessage(Message(*bytes), path);
        if (session.output().isJson())
            session.output().row(row);
        else
            show(session.output(), row);
    }
    return status;
}
