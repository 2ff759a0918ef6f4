#include "cli/arguments.h"
#include "cli/command.h"
#include "cli/inputfile.h"
#include "config/files.h"
#include "identity/oneline.h"
#include "identity/signatures.h"
#include "message/address.h"

#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

Row describeIdentity(const Identity &identity)
{
    Row row;
    row.add("number", identity.number)
        .add("name", identity.name)
        .add("email", identity.address)
        .add("default", identity.has(IdentityDefault));
    return row;
}

bool areAddresses(const QString &text)
{
    const QList<Address> addresses = parseAddresses(text);
    return !addresses.isEmpty() && std::all_of(addresses.begin(), addresses.end(), [](const Address &one) {
        return isValidAddress(one.address);
    });
}

/// Where a file of a signature begins with the separator, as those of other programs may.
QString withoutSeparator(const QString &text)
{
    return text.startsWith("-- \n"_L1) ? text.sliced(4) : text;
}

/// The signature in a file, named after it. Nothing, after a complaint, when it cannot be read.
std::optional<Signature> signatureIn(Output &output, const QString &path)
{
    const std::optional<QByteArray> bytes = inputFile(path);
    if (!bytes) {
        output.complain(u"Unable to read file '%1'"_s.arg(path));
        return {};
    }
    const QFileInfo info(path);
    const QString suffix = info.suffix().toLower();
    const QString base = path == u"-" ? QString() : info.completeBaseName();
    Signature signature;
    signature.name = base.isEmpty() ? u"Signature"_s : oneLineOf(base);
    signature.kind = suffix == u"html" || suffix == u"htm" ? Signature::Kind::Html : Signature::Kind::Plain;
    signature.text = withoutSeparator(decodeTextFile(*bytes).replace("\r\n"_L1, "\n"_L1));
    return signature;
}

/// An identity as the words want it, besides its number and its signature.
struct NewIdentity
{
    Identity identity;
    QStringList problems; ///< of the usage
};

NewIdentity newIdentity(const Arguments &arguments)
{
    NewIdentity wanted{{}, arguments.problems()};
    Identity &identity = wanted.identity;
    identity.name = arguments.value("--name").trimmed();
    identity.address = arguments.value("--email").trimmed();
    identity.replyTo = arguments.value("--reply-to").trimmed();
    identity.organisation = arguments.value("--organisation").trimmed();
    identity.hostName = arguments.value("--host").trimmed();
    identity.set(IdentityDefault, arguments.has("--default"));
    if (identity.name.isEmpty() || identity.address.isEmpty())
        wanted.problems += u"identity add wants --name and --email"_s;
    else if (!isValidAddress(identity.address))
        wanted.problems += u"--email '%1' is no address"_s.arg(identity.address);
    if (!identity.replyTo.isEmpty() && !areAddresses(identity.replyTo))
        wanted.problems += u"--reply-to '%1' is no address"_s.arg(identity.replyTo);
    if (!identity.hostName.isEmpty() && !isValidAddress(u"x@"_s + identity.hostName))
        wanted.problems += u"--host '%1' is no name of a host"_s.arg(identity.hostName);
    for (const QString &text : {identity.name, identity.replyTo, identity.organisation}) {
        if (text != oneLineOf(text))
            wanted.problems += u"--name, --reply-to and --organisation are on one line and have no tabs"_s;
    }
    wanted.problems.removeDuplicates();
    return wanted;
}

bool openList(Session &session, Session::Purpose purpose)
{
    return session.open(purpose) && session.engine().identities().isReadable();
}

/// Enters it with its signature and writes everything; 0 when nothing of it is left.
int enter(IdentityManager &identities, const Identity &identity, const std::optional<Signature> &signature)
{
    const int number = identities.add(identity);
    if ((!signature || writeSignature(number, *signature)) && identities.save())
        return number;
    identities.remove(number);
    return 0;
}

ExitStatus addIdentity(Session &session, const Arguments &arguments)
{
    NewIdentity wanted = newIdentity(arguments);
    if (!wanted.problems.isEmpty())
        return wrongUsage(session, wanted.problems);
    std::optional<Signature> signature;
    if (arguments.has("--signature-file")) {
        signature = signatureIn(session.output(), arguments.value("--signature-file"));
        if (!signature)
            return ExitStatus::Failed;
        wanted.identity.signature = signature->name;
    }
    if (!openList(session, Session::Purpose::Write))
        return ExitStatus::Failed;
    IdentityManager &identities = session.engine().identities();
    const int number = enter(identities, wanted.identity, signature);
    if (number == 0)
        return ExitStatus::Failed;
    session.output().row(describeIdentity(*identities.identity(number)));
    session.output().endTable();
    return ExitStatus::Done;
}

ExitStatus listIdentities(Session &session)
{
    if (!openList(session, Session::Purpose::Read))
        return ExitStatus::Failed;
    for (const Identity &identity : session.engine().identities().all())
        session.output().row(describeIdentity(identity));
    session.output().endTable();
    return ExitStatus::Done;
}

/// Whether several identities are called so, and none has it as its number.
bool isAmbiguous(const IdentityManager &identities, const QString &text)
{
    if (Session::isNumber(text) && identities.identity(text.toInt()))
        return false;
    const auto isCalled = [&text](const Identity &one) {
        return text.compare(one.name, Qt::CaseInsensitive) == 0 ||
               text.compare(one.address, Qt::CaseInsensitive) == 0;
    };
    return std::count_if(identities.all().begin(), identities.all().end(), isCalled) > 1;
}

ExitStatus removeIdentity(Session &session, const QString &text)
{
    if (!openList(session, Session::Purpose::Write))
        return ExitStatus::Failed;
    IdentityManager &identities = session.engine().identities();
    const Identity *identity = identities.find(text);
    if (!identity || isAmbiguous(identities, text)) {
        session.output().complain((identity ? u"There are several identities '%1': say which by its number"_s
                                            : u"There is no identity '%1'"_s)
                                      .arg(text));
        return ExitStatus::Failed;
    }
    const Row row = describeIdentity(*identity);
    if (!identities.remove(identity->number) || !identities.save())
        return ExitStatus::Failed;
    session.output().row(row);
    session.output().endTable();
    return ExitStatus::Done;
}

} // namespace

ExitStatus runIdentity(Session &session, const QStringList &words)
{
    const QString verb = words.value(0);
    const Arguments arguments(
        words.mid(1), {"--default"},
        {"--name", "--email", "--reply-to", "--organisation", "--host", "--signature-file"});
    if (verb == u"add" && (arguments.plain().isEmpty() || !arguments.problems().isEmpty()))
        return addIdentity(session, arguments);
    if (!arguments.problem().isEmpty())
        return wrongUsage(session, arguments.problems());
    if (verb == u"list" && words.size() == 1)
        return listIdentities(session);
    if (verb == u"remove" && words.size() == 2 && arguments.plain().size() == 1)
        return removeIdentity(session, arguments.plain().first());
    return wrongUsage(session, u"identity wants add, list or remove N"_s);
}
