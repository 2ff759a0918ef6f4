#include "cli/arguments.h"
#include "cli/command.h"
#include "cli/inputfile.h"
#include "compose/quoting.h"
#include "identity/templates.h"

using namespace Qt::StringLiterals;

namespace {

/// The bytes of a file; nothing after a complaint.
std::optional<QByteArray> bytesOf(Session &session, const QString &path)
{
    std::optional<QByteArray> bytes = inputFile(path);
    if (!bytes)
        session.output().complain(u"Unable to read file '%1'"_s.arg(path));
    return bytes;
}

/// A template of the folder, else the text of a file. Nothing after a complaint.
std::optional<QString> textOf(Session &session, const QString &name)
{
    if (hasTemplate(name))
        return readTemplate(name);
    const std::optional<QByteArray> bytes = bytesOf(session, name);
    return bytes ? std::optional(templateText(*bytes)) : std::nullopt;
}

/// Who would answer @p message.
const Identity *answering(const IdentityManager &identities, const Message &message)
{
    QStringList recipients;
    for (const char *field : {"To", "Cc"}) {
        for (const Address &one : message.addresses(field))
            recipients += one.address;
    }
    return identities.answering(recipients, 0);
}

ExitStatus expand(Session &session, const QString &name, const Arguments &arguments)
{
    if (!session.open(Session::Purpose::Read))
        return ExitStatus::Failed;
    const std::optional<QString> text = textOf(session, name);
    if (!text)
        return ExitStatus::Failed;
    TemplateValues values;
    if (arguments.has("--message")) {
        const std::optional<QByteArray> bytes = bytesOf(session, arguments.value("--message"));
        if (!bytes)
            return ExitStatus::Failed;
        values.message = Message(*bytes);
    }
    const IdentityManager &identities = session.engine().identities();
    const Identity *identity = arguments.has("--identity") ? identities.find(arguments.value("--identity"))
                                                           : answering(identities, values.message);
    if (arguments.has("--identity") && !identity) {
        session.output().complain(u"There is no identity '%1'"_s.arg(arguments.value("--identity")));
        return ExitStatus::Failed;
    }
    if (identity)
        values.identity = *identity;
    values.quotedBody = [&values] { return quotation(values.message, false); };
    session.output().text(expandTemplate(*text, values));
    return ExitStatus::Done;
}

} // namespace

ExitStatus runTemplate(Session &session, const QStringList &words)
{
    const Arguments arguments(words.mid(1), {}, {"--message", "--identity"});
    if (!arguments.problem().isEmpty())
        return wrongUsage(session, arguments.problems());
    if (words.value(0) != u"expand" || arguments.plain().size() != 1)
        return wrongUsage(session, u"template wants expand NAME or expand FILE"_s);
    return expand(session, arguments.plain().first(), arguments);
}
