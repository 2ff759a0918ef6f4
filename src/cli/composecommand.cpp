#include "cli/arguments.h"
#include "cli/command.h"
#include "cli/inputfile.h"
#include "compose/editing.h"
#include "compose/messagebuilder.h"
#include "compose/sendchecks.h"
#include "config/files.h"
#include "config/reporter.h"
#include "identity/signaturecommand.h"
#include "identity/templates.h"
#include "message/charset.h"
#include "message/contenttypes.h"

#include <QEventLoop>
#include <QFileInfo>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr const char *kRecipientOptions[] = {"--to", "--cc", "--bcc", "--newsgroups"};

QStringList problemsOf(const Arguments &arguments)
{
    QStringList problems = arguments.problems();
    const bool isAnswer = arguments.has("--reply-to") || arguments.has("--forward");
    const bool hasRecipient = std::any_of(std::begin(kRecipientOptions), std::end(kRecipientOptions),
                                          [&](const char *option) { return arguments.has(option); });
    if (!arguments.plain().isEmpty())
        problems += u"compose takes options alone; the text comes from standard input"_s;
    if (!arguments.has("--from"))
        problems += u"--from is wanted"_s;
    if (!hasRecipient && !arguments.has("--reply-to"))
        problems += u"--to is wanted"_s;
    if (!arguments.has("--subject") && !isAnswer)
        problems += u"--subject is wanted"_s;
    if (arguments.has("--reply-to") && arguments.has("--forward"))
        problems += u"--reply-to and --forward exclude each other"_s;
    if (arguments.has("--send") && arguments.has("--print"))
        problems += u"--send and --print exclude each other"_s;
    if (arguments.has("--charset") && !hasConverter(arguments.value("--charset").toLatin1()))
        problems += u"--charset '%1' is no character set"_s.arg(arguments.value("--charset"));
    for (const char *option : kRecipientOptions) // joined to one line, another address would come out
        for (const QString &value : arguments.values(option))
            if (value.contains(u'\n') || value.contains(u'\r'))
                problems += u"%1 takes one line"_s.arg(QLatin1StringView(option));
    return problems;
}

/// The message that "GROUP/NUMBER" means; null after a complaint.
MessageRef messageAt(Session &session, const QString &words)
{
    const qsizetype slash = words.lastIndexOf(u'/');
    if (slash <= 0) {
        session.output().complain(u"'%1' is no GROUP/NUMBER"_s.arg(words));
        return {};
    }
    Group *group = session.group(words.left(slash));
    const auto articles = group ? session.articles(*group, {words.sliced(slash + 1)}) : std::nullopt;
    return articles ? MessageRef{group->number(), articles->front()} : MessageRef();
}

/// How the message is begun; nothing after a complaint.
std::optional<ComposeWish> wishFor(Session &session, const Arguments &arguments)
{
    ComposeWish wish;
    const Identity *identity = session.engine().identities().find(arguments.value("--from"));
    if (!identity) {
        session.output().complain(u"There is no identity '%1'"_s.arg(arguments.value("--from")));
        return {};
    }
    wish.identity = identity->number;
    wish.article = arguments.has("--newsgroups");
    wish.form = arguments.has("--html") ? ComposeWish::Form::Rich : ComposeWish::Form::Plain;
    wish.templateName = arguments.value("--template");
    if (!wish.templateName.isEmpty() && !hasTemplate(wish.templateName)) {
        session.output().complain(u"There is no template '%1'"_s.arg(wish.templateName));
        return {};
    }
    for (const char *option : {"--reply-to", "--forward"}) {
        if (!arguments.has(option))
            continue;
        const MessageRef original = messageAt(session, arguments.value(option));
        if (original.isNull())
            return {};
        wish.originals = {original};
        wish.kind = qstrcmp(option, "--forward") == 0 ? ComposeWish::Kind::Forward : ComposeWish::Kind::Reply;
    }
    if (wish.kind == ComposeWish::Kind::Reply && wish.article)
        wish.reply = ReplyKind::Followup;
    return wish;
}

/// What standard input holds as the text.
bool takeBody(Session &session, ComposeWish &wish)
{
    const std::optional<QByteArray> bytes = inputFile(u"-"_s);
    if (!bytes) {
        session.output().complain(u"Standard input cannot be read"_s);
        return false;
    }
    wish.body = decodeTextFile(*bytes).replace("\r\n"_L1, "\n"_L1);
    wish.bodyIsHtml = wish.form == ComposeWish::Form::Rich;
    return true;
}

std::optional<Attachment> attachmentFrom(const QString &path)
{
    // Only what is a file has an end: a device or a pipe may go on for ever.
    const std::optional<QByteArray> data = QFileInfo(path).isFile() ? inputFile(path) : std::nullopt;
    if (!data) {
        report(ReportLevel::Warning, "Unable to attach file '%s'", qUtf8Printable(path));
        return {};
    }
    Attachment attachment;
    attachment.name = QFileInfo(path).fileName();
    attachment.contentType = contentTypeOf(attachment.name);
    attachment.data = *data;
    return attachment;
}

/// The fields that the words name take the place of those that an answer has.
bool takeFields(const Arguments &arguments, Composition &composition)
{
    const auto take = [&](const char *option, QString &field) {
        if (arguments.has(option))
            field = arguments.values(option).join(", "_L1);
    };
    take("--to", composition.to);
    take("--cc", composition.cc);
    take("--bcc", composition.bcc);
    if (arguments.has("--newsgroups"))
        composition.newsgroups = arguments.values("--newsgroups").join(u',');
    if (arguments.has("--subject"))
        composition.subject = arguments.value("--subject");
    if (arguments.has("--charset"))
        composition.charset = arguments.value("--charset").toLatin1();
    for (const QString &path : arguments.values("--attach")) {
        const std::optional<Attachment> attachment = attachmentFrom(path);
        if (!attachment)
            return false;
        composition.attachments.append(*attachment);
    }
    return true;
}

/// A signature that is what a command prints; the message goes without it, after a complaint, when the
/// command fails.
void runSignature(Session &session, Composer::Started &started)
{
    if (started.signatureCommand.isEmpty())
        return;
    QEventLoop loop;
    SignatureCommand command;
    QObject::connect(
        &command, &SignatureCommand::finished, &loop, [&](const QString &text, const QString &problem) {
            if (problem.isEmpty())
                setSignature(started.composition, text, false, started.tagline, started.signatureEnd);
            else
                session.output().complain(problem);
            loop.quit();
        });
    command.start(started.signatureCommand);
    loop.exec();
}

/// What keeps the message from going, said; and a character set into which its text fits.
bool maySend(Session &session, Composition &composition, const ComposeWish &wish)
{
    SendContext context;
    context.isArticle = wish.article;
    context.isReply = wish.kind == ComposeWish::Kind::Reply;
    bool may = true;
    for (const SendFinding &finding : checkBeforeSending(composition, context)) {
        if (finding.problem == SendProblem::CharsetTooSmall) {
            session.output().complain(u"Not everything fits into %1; it is written in %2"_s.arg(
                QString::fromLatin1(composition.charset),
                finding.detail.isEmpty() ? u"UTF-8"_s : finding.detail));
            composition.charset = finding.detail.isEmpty() ? "UTF-8" : finding.detail.toLatin1();
        } else if (rowOf(finding.problem).refuses) {
            session.output().complain(finding.text);
            may = false;
        }
    }
    return may;
}

ExitStatus showPlace(Session &session, MessageRef place)
{
    Group *group = session.groups().group(place.group);
    const std::optional<Overview> overview = group ? group->overview(place.article) : std::nullopt;
    if (!overview)
        return ExitStatus::Failed;
    session.output().row(Row()
                             .add("group", session.groups().pathOf(*group))
                             .add("number", qint64(place.article))
                             .add("message_id", group->texts(*overview).messageId));
    session.output().endTable();
    return ExitStatus::Done;
}

ExitStatus printMessage(Session &session, const Composition &composition)
{
    const QByteArray text = buildMessage(composition);
    if (text.isEmpty())
        return ExitStatus::Failed;
    session.output().bytes(text);
    return ExitStatus::Done;
}

ExitStatus toOutbox(Session &session, const Composer::Started &started)
{
    SendWish wish;
    wish.original = started.context.original;
    wish.isReply = started.context.deed == DraftContext::Deed::Reply;
    wish.isForward = started.context.deed == DraftContext::Deed::Forward;
    wish.countsDown = false;                             // nobody sits before a script to take it back
    session.engine().accounts().setFetchesBlocked(true); // that is what "send" is for
    Outbox &outbox = session.engine().outbox();
    const OutboxEntry *entry = outbox.entry(session.engine().composer().send(started.composition, wish));
    return entry ? showPlace(session, entry->place) : ExitStatus::Failed;
}

ExitStatus toDrafts(Session &session, const Composer::Started &started)
{
    Drafts &drafts = session.engine().drafts();
    const int draft = drafts.begin(started.context);
    if (!drafts.keep(draft, started.composition) || !drafts.store(draft)) {
        drafts.discard(draft);
        return ExitStatus::Failed;
    }
    const MessageRef place = drafts.context(draft).stored;
    drafts.close(draft);
    return showPlace(session, place);
}

} // namespace

ExitStatus runCompose(Session &session, const QStringList &words)
{
    const Arguments arguments(words, {"--html", "--send", "--print", "--encrypt", "--sign"},
                              {"--from", "--to", "--cc", "--bcc", "--newsgroups", "--subject", "--attach",
                               "--charset", "--reply-to", "--forward", "--template"});
    if (const QStringList problems = problemsOf(arguments); !problems.isEmpty())
        return wrongUsage(session, problems);
    if (arguments.has("--encrypt") || arguments.has("--sign")) { // rather nothing than one that is not
        session.output().complain(u"Messages can be neither encrypted nor signed in this version"_s);
        return ExitStatus::Failed;
    }
    const bool prints = arguments.has("--print");
    if (!session.open(prints ? Session::Purpose::Read : Session::Purpose::Write))
        return ExitStatus::Failed;
    std::optional<ComposeWish> wish = wishFor(session, arguments);
    if (!wish || !takeBody(session, *wish))
        return ExitStatus::Failed;
    Composer::Started started = session.engine().composer().start(*wish);
    if (!started.error.isEmpty()) {
        session.output().complain(started.error);
        return ExitStatus::Failed;
    }
    runSignature(session, started);
    if (!takeFields(arguments, started.composition))
        return ExitStatus::Failed;
    if (!maySend(session, started.composition, *wish) && arguments.has("--send"))
        return ExitStatus::Failed;
    if (prints)
        return printMessage(session, started.composition);
    return arguments.has("--send") ? toOutbox(session, started) : toDrafts(session, started);
}
