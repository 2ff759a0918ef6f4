#include "cli/arguments.h"
#include "cli/command.h"
#include "cli/describe.h"
#include "cli/inputfile.h"
#include "message/message.h"

#include <QJsonArray>

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

} // namespace

ExitStatus runParse(Session &session, const QStringList &words)
{
    const Arguments arguments(words, {}, {});
    if (!arguments.problem().isEmpty())
        return wrongUsage(session, arguments.problem());
    const QStringList paths = arguments.plain().isEmpty() ? QStringList{u"-"_s} : arguments.plain();
    ExitStatus status = ExitStatus::Done;
    for (const QString &path : paths) {
        const std::optional<QByteArray> bytes = inputFile(path);
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
