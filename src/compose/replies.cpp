#include "compose/replies.h"

#include "compose/editing.h"
#include "compose/messagebody.h"
#include "compose/quotemarks.h"
#include "compose/quoting.h"
#include "compose/references.h"
#include "compose/replyaddresses.h"
#include "compose/richquote.h"
#include "config/settings.h"
#include "html/htmlescape.h"
#include "message/safename.h"

using namespace Qt::StringLiterals;

namespace {

QString listed(const QList<Address> &addresses)
{
    QString out;
    for (const Address &address : addresses) {
        if (!out.isEmpty())
            out += u", ";
        out += formatAddress(address);
    }
    return out;
}

QString htmlLine(QStringView text)
{
    return u"<p>"_s + htmlEscaped(text) + u"</p>"_s;
}

QStringList allOwn(const Identity &identity, const ReplyOptions &options)
{
    return options.ownAddresses + QStringList{identity.address};
}

bool isPersonalAnswer(const ReplyAddresses &found, ReplyKind kind)
{
    return kind == ReplyKind::Sender && found.isPrivate();
}

/// Nobody answers to more than that: what follows is left out, so that the window comes soon.
constexpr qsizetype kMostQuoted = 300 * 1024;

void quoteRich(Composition &reply, const Message &original, const MessageBody &body, bool personal)
{
    const RichQuote quote = richQuote(body, original.mime(), reply.identity.address, kMostQuoted);
    if (quote.html.isEmpty())
        return;
    reply.html = htmlLine(attribution(original, personal)) + u"<blockquote type=\"cite\">"_s + quote.html +
                 u"</blockquote><p><br></p>"_s;
    reply.attachments += quote.pictures;
}

/// "Distribution: world" says nothing.
QString carriedDistribution(const Message &original)
{
    const QString distribution = original.header("Distribution").trimmed();
    return distribution.compare(u"world", Qt::CaseInsensitive) == 0 ? QString() : distribution;
}

constexpr QStringView kMarksInFront[] = {u"fw:", u"fwd:"};
constexpr QStringView kMarkBehind = u"(fwd)";

QStringView withoutMarkInFront(QStringView subject)
{
    for (const QStringView mark : kMarksInFront) {
        if (subject.startsWith(mark, Qt::CaseInsensitive))
            return subject.sliced(mark.size()).trimmed();
    }
    return subject;
}

Attachment attachedMessage(const Message &message)
{
    Attachment attachment;
    const QString ending = message.hasHeader("Newsgroups") ? u".nws"_s : u".eml"_s;
    attachment.name = safeFileName(message.subject()) + ending;
    attachment.contentType = "message/rfc822";
    attachment.data = withoutPrivateHeaders(message.text());
    return attachment;
}

QString forwardedText(const Message &original, const MessageBody &body)
{
    QString text = kForwardBegin.toString() + u'\n' + original.headerSummary() + u'\n' + body.text;
    if (!text.endsWith(u'\n'))
        text += u'\n';
    return text + kForwardEnd.toString() + u'\n';
}

QString forwardedHtml(const Message &original, const QString &content)
{
    QString summary = htmlEscaped(original.headerSummary().trimmed());
    summary.replace(u'\n', u"<br>"_s);
    return u"<p><br></p>"_s + htmlLine(kForwardBegin) + u"<p>"_s + summary + u"</p>"_s + content +
           htmlLine(kForwardEnd);
}

void forwardInline(Composition &composition, const Message &original, const ReplyOptions &options)
{
    const MIMEContext &mime = original.mime();
    MessageBody body = bodyOf(mime);
    RichQuote quote;
    if (options.rich && options.selectedText.isEmpty())
        quote = richQuote(body, mime, composition.identity.address);
    if (!options.selectedText.isEmpty())
        body.text = options.selectedText;
    composition.text = forwardedText(original, body);
    if (!quote.html.isEmpty())
        composition.html = forwardedHtml(original, quote.html);
    composition.attachments = quote.pictures;
    for (const int part : body.others)
        if (!quote.parts.contains(part))
            composition.attachments.append(attachmentFrom(mime, part));
    if (body.isCut || quote.isCut) // nothing gets lost on the way
        composition.attachments.append(attachedMessage(original));
}

} // namespace

Composition replyTo(const Message &original, ReplyKind kind, const Identity &identity,
                    const ReplyOptions &options)
{
    const ReplyAddresses found =
        replyAddresses(original, kind, allOwn(identity, options), options.ownMessage);
    Composition reply = newComposition(identity, !found.groups.isEmpty());
    reply.to = listed(found.to);
    reply.cc = listed(found.cc);
    reply.bcc = listed(found.bcc);
    reply.newsgroups = found.groups.join(u',');
    if (!found.groups.isEmpty())
        reply.distribution = carriedDistribution(original);
    reply.subject = original.replySubject();
    reply.inReplyTo = answerInReplyTo(original);
    reply.references = answerReferences(original);

    const bool isPersonal = isPersonalAnswer(found, kind);
    if (boolSetting(Setting::QuoteText) || !options.selectedText.isEmpty()) {
        const MessageBody body = bodyOf(original.mime());
        reply.text = quotation(original, body, isPersonal, options.selectedText);
        if (options.rich && options.selectedText.isEmpty())
            quoteRich(reply, original, body, isPersonal);
    }
    return reply;
}

bool isPersonalReply(const Message &original, ReplyKind kind, const Identity &identity,
                     const ReplyOptions &options)
{
    return isPersonalAnswer(replyAddresses(original, kind, allOwn(identity, options), options.ownMessage),
                            kind);
}

QString forwardSubject(const QString &subject, ForwardMark mark)
{
    const QStringView whole = QStringView(subject).trimmed();
    const bool isBehind = whole.endsWith(kMarkBehind, Qt::CaseInsensitive);
    const bool isInFront = withoutMarkInFront(whole).size() < whole.size();
    if (mark == ForwardMark::Behind ? isBehind : isInFront)
        return whole.toString();
    if (mark == ForwardMark::Behind)
        return u"%1 (fwd)"_s.arg(withoutMarkInFront(whole)).trimmed();
    return u"Fw: %1"_s.arg(isBehind ? whole.chopped(kMarkBehind.size()) : whole).trimmed();
}

Composition forward(const QList<Message> &originals, ForwardKind kind, ForwardMark mark,
                    const Identity &identity, const ReplyOptions &options)
{
    Composition composition = newComposition(identity);
    if (originals.isEmpty())
        return composition;
    composition.subject = forwardSubject(originals.first().subject(), mark);
    if (kind == ForwardKind::Inline)
        forwardInline(composition, originals.first(), options);
    else
        for (const Message &original : originals)
            composition.attachments.append(attachedMessage(original));
    return composition;
}

bool canReplyTo(const Message &original, ReplyKind kind, const QStringList &ownAddresses)
{
    if (kind == ReplyKind::List)
        return !listAddress(original).isEmpty() || original.hasHeader("Mail-Followup-To");
    if (kind == ReplyKind::Followup)
        return !groupsIn(original.newsgroups()).isEmpty();
    const ReplyAddresses found = replyAddresses(original, kind, ownAddresses, false);
    if (kind == ReplyKind::Sender)
        return !found.isEmpty();
    return found.to.size() + found.cc.size() + found.groups.size() > 1;
}
