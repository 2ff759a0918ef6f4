#include "compose/editing.h"

#include "compose/charsets.h"
#include "compose/mailedmark.h"
#include "compose/messagebody.h"
#include "compose/messagebuilder.h"
#include "compose/references.h"
#include "compose/richquote.h"
#include "config/settings.h"
#include "message/encodedword.h"
#include "message/headerblock.h"

#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

QString addressText(const Message &message, const char *field)
{
    QString out;
    for (const Address &address : message.addresses(field)) {
        if (!out.isEmpty())
            out += u", ";
        out += formatAddress(address);
    }
    return out;
}

bool saysYes(const Message &message, const char *field)
{
    return message.header(field).compare(u"yes", Qt::CaseInsensitive) == 0;
}

void readFields(Composition &composition, const Message &message)
{
    composition.to = addressText(message, "To");
    composition.cc = addressText(message, "Cc");
    composition.mailFollowupTo = addressText(message, "Mail-Followup-To");
    composition.newsgroups = message.newsgroups();
    composition.followupTo = message.header("Followup-To");
    composition.distribution = message.header("Distribution");
    composition.subject = message.subject();
    composition.inReplyTo = usableIds(message.rawHeader("In-Reply-To")).value(0);
    composition.references = usableIds(message.references()).join(' ');
    composition.importance = message.importance();
    composition.receipt = !message.readReceiptTo().isEmpty();
    composition.archiveRefused = message.header("Archive").compare(u"no", Qt::CaseInsensitive) == 0 ||
                                 saysYes(message, "X-No-Archive");
}

/// What only a message that was written here may say.
void readOwnFields(Composition &composition, const Message &message)
{
    composition.bcc = addressText(message, "Bcc");
    composition.supersedes = usableIds(message.rawHeader("Supersedes")).value(0);
    composition.sign = saysYes(message, "X-Velmar-Sign");
    composition.encrypt = saysYes(message, "X-Velmar-Encrypt");
    const QString replyTo = addressText(message, "Reply-To");
    const QString usual =
        addressText(Message("Reply-To: " + composition.identity.replyTo.toUtf8() + "\n"), "Reply-To");
    if (replyTo != usual)
        composition.replyTo = replyTo;
    const HeaderFields fields(message.headerBlock());
    for (qsizetype i = 0; i < fields.count(); ++i) {
        const HeaderFields::Field field = fields.at(i);
        if (!isOwnField(field.name))
            composition.extra.append(
                {QString::fromLatin1(field.name), decodeHeaderText(unfolded(field.value))});
    }
}

QByteArray charsetFor(const QByteArray &named)
{
    for (const QByteArray &offered : offeredCharsets())
        if (offered.compare(named, Qt::CaseInsensitive) == 0)
            return offered;
    return defaultCharset();
}

/// The Content-IDs that @p html refers to.
QSet<QString> shownIds(const QString &html)
{
    static constexpr QStringView kScheme = u"cid:";
    QSet<QString> ids;
    for (qsizetype at = 0; (at = html.indexOf(kScheme, at, Qt::CaseInsensitive)) >= 0;) {
        at += kScheme.size();
        const qsizetype from = at;
        while (at < html.size() && html[at] != u'"' && html[at] != u'\'' && html[at] != u'>' &&
               !html[at].isSpace())
            ++at;
        ids.insert(html.sliced(from, at - from));
    }
    return ids;
}

QByteArray withoutBrackets(QByteArray id)
{
    return id.replace('<', QByteArray()).replace('>', QByteArray());
}

AttachmentForm formOf(int encoding)
{
    return encoding == Yenc       ? AttachmentForm::Yenc
           : encoding == Uuencode ? AttachmentForm::Uuencode
                                  : AttachmentForm::Mime;
}

void readBody(Composition &composition, const Message &message, bool ownMessage)
{
    const MIMEContext &mime = message.mime();
    const MessageBody body = bodyOf(mime);
    composition.text = body.text;
    composition.charset = charsetFor(body.charset);
    QList<int> taken;
    if (ownMessage) {
        composition.html = body.html.join(QString());
    } else if (!body.html.isEmpty()) {
        const RichQuote quote = richQuote(body, mime, composition.identity.address);
        composition.html = quote.html;
        composition.attachments = quote.pictures;
        taken = quote.parts;
    }
    const QSet<QString> shown = ownMessage ? shownIds(composition.html) : QSet<QString>();
    composition.attachmentForm = body.others.isEmpty() ? composition.attachmentForm : AttachmentForm::Mime;
    for (const int part : body.others) {
        if (taken.contains(part))
            continue;
        Attachment attachment = attachmentFrom(mime, part);
        const QByteArray id = withoutBrackets(mime.part(part).contentid);
        if (shown.contains(QString::fromUtf8(id)))
            attachment.contentId = id;
        composition.attachmentForm = std::max(composition.attachmentForm, formOf(mime.part(part).encoding));
        composition.attachments.append(attachment);
    }
}

/// Before each block below a text stands an empty line.
void dropLinesOfBlocks(Composition &composition)
{
    if (composition.attachmentForm == AttachmentForm::Mime)
        return;
    for (qsizetype left = composition.attachments.size(); left > 0 && composition.text.endsWith("\n\n"_L1);
         --left)
        composition.text.chop(1);
}

/// What is put in front of the mailed form of an article is not the writer's.
void dropMailedMark(Composition &composition, const Message &message)
{
    if (!message.hasHeader("Posted-And-Mailed"))
        return;
    const QLatin1StringView mark(kMailedMark);
    if (composition.text.startsWith(mark))
        composition.text.remove(0, mark.size());
    const QLatin1StringView paragraph(kMailedParagraph);
    if (const qsizetype at = composition.html.indexOf(paragraph); at >= 0)
        composition.html.remove(at, paragraph.size());
}

} // namespace

Composition newComposition(const Identity &identity, bool isArticle)
{
    Composition composition;
    composition.identity = identity;
    composition.charset = defaultCharset();
    composition.wrap = boolSetting(Setting::SendWrapText);
    composition.receipt = !isArticle && boolSetting(Setting::ReceiptsByDefault);
    composition.attachmentForm = preferredAttachmentForm(isArticle);
    composition.sign = boolSetting(isArticle ? Setting::SignPublicByDefault : Setting::SignPrivateByDefault);
    composition.encrypt = !isArticle && boolSetting(Setting::EncryptByDefault);
    return composition;
}

Composition readComposition(const Message &message, bool ownMessage,
                            const std::function<Identity(const QString &address)> &identities)
{
    const QList<Address> from = message.addresses("From");
    Composition composition = newComposition(identities(from.isEmpty() ? QString() : from.first().address));
    composition.sign = composition.encrypt = false;
    readFields(composition, message);
    readBody(composition, message, ownMessage);
    if (ownMessage) {
        readOwnFields(composition, message);
        dropMailedMark(composition, message);
        dropLinesOfBlocks(composition);
    }
    return composition;
}
