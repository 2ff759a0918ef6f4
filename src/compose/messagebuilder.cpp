#include "compose/messagebuilder.h"

#include "compose/bodypart.h"
#include "compose/envelope.h"
#include "compose/mailedmark.h"
#include "compose/messagebody.h"
#include "compose/quoting.h"
#include "config/clock.h"
#include "config/reporter.h"
#include "config/settings.h"
#include "message/date.h"
#include "message/headerblock.h"
#include "message/messageid.h"
#include "message/useragent.h"

#include <QRandomGenerator>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

/// Fields that the program writes itself, those that it shows as entry fields or choices, and those that a
/// message gets on its way.
constexpr std::array kOwnFields = {
    "archive",
    "authentication-results",
    "bcc",
    "cc",
    "date",
    "delivered-to",
    "disposition-notification-to",
    "distribution",
    "dkim-signature",
    "followup-to",
    "from",
    "importance",
    "in-reply-to",
    "lines",
    "mail-followup-to",
    "message-id",
    "mime-version",
    "newsgroups",
    "nntp-posting-host",
    "organization",
    "path",
    "posted-and-mailed",
    "received",
    "references",
    "reply-to",
    "return-path",
    "return-receipt-to",
    "sender",
    "subject",
    "supersedes",
    "to",
    "user-agent",
    "x-no-archive",
    "x-organization",
    "xref",
};
constexpr std::array kOwnBeginnings = {"content-", "x-velmar-", "resent-"};

bool isPostedAndMailed(const Composition &composition)
{
    return composition.isNews() && composition.isMail();
}

QList<Address> recipientsOf(const Composition &composition)
{
    return envelopeRecipients({composition.to, composition.cc, composition.bcc});
}

void writeReferences(HeaderWriter &header, const Composition &composition, const BuildOptions &options)
{
    const QByteArray id = cutMessageId(options.messageId);
    header.line("Message-ID", isWritableIdentifier(id) ? id : newIdentifier(composition.identity));
    header.identifiers("In-Reply-To", composition.inReplyTo);
    header.identifiers("References", composition.references);
    header.identifiers("Supersedes", composition.supersedes);
}

/// Where answers go and who writes.
void writeReplyFields(HeaderWriter &header, const Composition &composition)
{
    const Identity &identity = composition.identity;
    const bool ownReplyTo = !composition.replyTo.trimmed().isEmpty();
    header.addresses("Reply-To", ownReplyTo ? composition.replyTo : identity.replyTo);
    header.names("Followup-To", composition.followupTo);
    header.addresses("Mail-Followup-To", composition.mailFollowupTo);
    // A field of articles (RFC 5536 3.2.9); mail knows none of this name.
    header.text(composition.isNews() ? "Organization" : "X-Organization", identity.organisation);
}

void writeWishes(HeaderWriter &header, const Composition &composition)
{
    if (composition.archiveRefused) {
        header.line("Archive", "no");
        header.line("X-No-Archive", "yes");
    }
    if (composition.receipt) {
        const QList<Address> sender{{QString(), composition.identity.address}};
        header.addresses("Disposition-Notification-To", sender);
        header.addresses("Return-Receipt-To", sender);
    }
    if (composition.importance != Importance::Normal)
        header.line("Importance", composition.importance == Importance::High ? "High" : "Low");
    if (isPostedAndMailed(composition))
        header.line("Posted-And-Mailed", "yes");
    header.line("User-Agent", userAgent());
}

void writeExtraFields(HeaderWriter &header, const QList<ExtraHeader> &fields)
{
    for (const auto &[name, value] : fields) {
        if (isFieldName(name) && !isOwnField(name.toLatin1()))
            header.text(name.toLatin1(), value);
        else
            note(u"a header line of the user's was left out, its name being \"%1\""_s.arg(name));
    }
}

/// The fields that tell the senders what to do; they never leave the machine.
QByteArray controlFields(const Composition &composition, const BuildOptions &options)
{
    HeaderWriter header(composition.charset);
    if (options.purpose == BuildFor::Sending && composition.isMail())
        writeEnvelope(header, composition.identity, recipientsOf(composition));
    header.line("X-Velmar-Sign", composition.sign ? "Yes" : "No");
    header.line("X-Velmar-Encrypt", composition.encrypt ? "Yes" : "No");
    header.line("MIME-Version", "1.0");
    return header.block();
}

QByteArray linesField(QByteArrayView body)
{
    return "Lines: " + QByteArray::number(std::count(body.begin(), body.end(), '\n')) + '\n';
}

/// Behind the empty line that ends the Content- lines at @p from.
qsizetype contentOffset(QByteArrayView text, qsizetype from)
{
    const qsizetype end = text.indexOf("\n\n", from);
    return end < 0 ? text.size() : end + 2;
}

QString withLineEnd(const QString &text)
{
    return text.isEmpty() || text.endsWith(u'\n') ? text : text + u'\n';
}

/// @p paragraph as the first one of @p html, on a line of its own.
QString withFirstParagraph(QString html, QLatin1StringView paragraph)
{
    if (html.isEmpty())
        return html;
    const qsizetype body = html.indexOf("<body"_L1, 0, Qt::CaseInsensitive);
    const qsizetype end = body < 0 ? -1 : html.indexOf(u'>', body);
    return html.insert(end + 1, (end < 0 ? ""_L1 : "\n"_L1) + paragraph);
}

/// The texts of a message in the form in which they go.
struct Texts
{
    QString plain;
    QString html;
};

Texts textsOf(const Composition &composition, const BuildOptions &options)
{
    Texts texts{composition.text, composition.html};
    if (options.purpose == BuildFor::Sending) {
        const int width = intSetting(Setting::SendWrapWidth);
        if (composition.wrap && width > 0)
            texts.plain = wrapText(texts.plain, width);
        if (isPostedAndMailed(composition)) {
            texts.plain.prepend(QLatin1StringView(kMailedMark));
            texts.html = withFirstParagraph(texts.html, QLatin1StringView(kMailedParagraph));
        }
    }
    texts.plain = withLineEnd(texts.plain);
    texts.html = withLineEnd(texts.html);
    return texts;
}

/// Whether the HTML shows the picture: an identifier stands in its URL as it is, or escaped.
bool shows(const QString &html, const Attachment &picture)
{
    const QString id = QString::fromLatin1(picture.contentId);
    return html.contains("cid:"_L1 + id) || html.contains("cid:"_L1 + id.toHtmlEscaped()) ||
           html.contains("cid:"_L1 + QString::fromLatin1(QUrl::toPercentEncoding(id, "@")));
}

/// The text in both forms, pictures beside the one that shows them; those that went are taken off @p others.
BodyPart richPart(const Texts &texts, QList<Attachment> &others, const TextRules &rules)
{
    std::vector<BodyPart> related{textPart(texts.html, "html", rules)};
    others.removeIf([&](const Attachment &attachment) {
        const bool isShown = attachment.isInline() && shows(texts.html, attachment);
        if (isShown)
            related.push_back(attachmentPart(attachment, Disposition::Inline, rules));
        return isShown;
    });
    BodyPart html = related.size() == 1 ? std::move(related.front())
                                        : multipart("related", std::move(related), {"type=\"text/html\""});
    return multipart("alternative", {textPart(texts.plain, "plain", rules), std::move(html)});
}

BodyPart bodyOf(const Composition &composition, const BuildOptions &options)
{
    const Texts texts = textsOf(composition, options);
    const bool isForced =
        composition.charsetForced && options.purpose == BuildFor::Sending; // a draft is whole
    const TextRules rules{composition.charset, boolSetting(Setting::ForceQP), composition.sign, isForced};
    QList<Attachment> others = composition.attachments;
    if (composition.html.isEmpty() && !others.isEmpty() &&
        composition.attachmentForm != AttachmentForm::Mime) {
        if (auto body = textWithBlocks(texts.plain, others, composition.attachmentForm, rules))
            return *std::move(body);
        note(u"the attachments go as MIME: the text needs an encoding, which blocks do not stand"_s);
    }
    BodyPart text =
        composition.html.isEmpty() ? textPart(texts.plain, "plain", rules) : richPart(texts, others, rules);
    if (others.isEmpty())
        return text;
    std::vector<BodyPart> parts{std::move(text)};
    for (const Attachment &attachment : std::as_const(others))
        parts.push_back(attachmentPart(attachment, Disposition::Attachment, rules));
    return multipart("mixed", std::move(parts));
}

} // namespace

QByteArray buildMessage(const Composition &composition, const BuildOptions &options)
{
    if (options.purpose == BuildFor::Sending &&
        !canBeAddressed(composition.identity, recipientsOf(composition)))
        return {};
    // One buffer from the first byte to the last: with a large attachment a second would not be free.
    const BodyPart body = bodyOf(composition, options);
    QByteArray message = buildHeaders(composition, options) + controlFields(composition, options);
    message.reserve(message.size() + writtenSize(body));
    const qsizetype head = message.size();
    appendPart(message, body);
    message.insert(head, linesField(QByteArrayView(message).sliced(contentOffset(message, head))));
    return message;
}

QByteArray buildHeaders(const Composition &composition, const BuildOptions &options)
{
    HeaderWriter header(composition.charset);
    if (composition.isNews())
        header.line("Path", "not-for-mail");
    header.line("Date", formatDate(options.date.isValid() ? options.date : clockNow()));
    header.addresses("From", {Address{composition.identity.name, composition.identity.address}});
    header.names("Newsgroups", composition.newsgroups);
    header.addresses("To", composition.to);
    header.addresses("Cc", composition.cc);
    header.addresses("Bcc", composition.bcc);
    header.text("Subject", composition.subject);
    writeReferences(header, composition, options);
    header.names("Distribution", composition.distribution);
    writeReplyFields(header, composition);
    writeWishes(header, composition);
    writeExtraFields(header, composition.extra);
    return header.block();
}

QByteArray finishMessage(const Composition &composition, const QByteArray &headers, const QByteArray &body,
                         const BuildOptions &options)
{
    const QByteArrayView content = QByteArrayView(body).sliced(contentOffset(body, 0));
    return headers + controlFields(composition, options) + linesField(content) + body;
}

QByteArray buildBody(const Composition &composition, const BuildOptions &options)
{
    const BodyPart body = bodyOf(composition, options);
    QByteArray text;
    text.reserve(writtenSize(body));
    appendPart(text, body);
    return text;
}

QByteArray postedForm(const QByteArray &message)
{
    const QByteArray lineBefore = "\n\n";
    const Message header(message.first(headerExtent(message).length));
    const qsizetype mark = message.indexOf(lineBefore + kMailedMark);
    if (!header.hasHeader("Posted-And-Mailed") || mark < 0)
        return message;
    QByteArray text = message;
    text.remove(mark + lineBefore.size(), qsizetype(qstrlen(kMailedMark)));
    const qsizetype html = text.indexOf("\nContent-Type: text/html", mark);
    const qsizetype paragraph = html < 0 ? -1 : text.indexOf(QByteArray("\n") + kMailedParagraph, html);
    if (paragraph >= 0)
        text.remove(paragraph + 1, qsizetype(qstrlen(kMailedParagraph)));
    text = withoutPrivateHeaders(text);
    const qsizetype length = headerExtent(text).length;
    const qsizetype lines = text.first(length).indexOf("\nLines: ") + 1;
    const QByteArray field = linesField(QByteArrayView(text).sliced(contentOffset(text, 0)));
    return lines == 0 ? text : text.replace(lines, text.indexOf('\n', lines) + 1 - lines, field);
}

QByteArray newIdentifier(const Identity &identity)
{
    const QString host = fieldText(identity.hostName);
    return newMessageId(host.isEmpty() ? identity.address : "x@"_L1 + host);
}

QByteArray newBoundary(const QList<QByteArray> &parts, std::function<int()> number)
{
    // All of one length: none can be the beginning of another, which some readers would take for it.
    if (!number)
        number = [] { return QRandomGenerator::global()->bounded(10'000'000, 100'000'000); };
    const auto occurs = [&](const QByteArray &boundary) {
        return std::any_of(parts.begin(), parts.end(),
                           [&](const QByteArray &part) { return part.contains(boundary); });
    };
    QByteArray boundary;
    do {
        QByteArrayList numbers;
        for (int i = 0; i < 3; ++i)
            numbers += QByteArray::number(number());
        boundary = numbers.join("--");
    } while (occurs(boundary));
    return boundary;
}

bool isOwnField(QByteArrayView name)
{
    const QByteArray lower = name.trimmed().toByteArray().toLower();
    return std::any_of(kOwnFields.begin(), kOwnFields.end(), [&](const char *own) { return lower == own; }) ||
           std::any_of(kOwnBeginnings.begin(), kOwnBeginnings.end(),
                       [&](const char *own) { return lower.startsWith(own); });
}

AttachmentForm preferredAttachmentForm(bool isArticle)
{
    if (boolSetting(isArticle ? Setting::UseMIMEForNews : Setting::UseMIMEForMail))
        return AttachmentForm::Mime;
    if (isArticle && boolSetting(Setting::UseYEncForNews))
        return AttachmentForm::Yenc;
    const bool uuencode = boolSetting(isArticle ? Setting::UseUUCodeForNews : Setting::UseUUCodeForMail);
    return uuencode ? AttachmentForm::Uuencode : AttachmentForm::Mime;
}
