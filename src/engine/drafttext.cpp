#include "engine/drafttext.h"

#include "config/listtext.h"

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

struct TextField
{
    const char *key; ///< the blank belongs to it: "text " is no start of "texts x"
    QString Composition::*value;
};
constexpr TextField kTextFields[] = {
    {"to ", &Composition::to},
    {"cc ", &Composition::cc},
    {"bcc ", &Composition::bcc},
    {"reply-to ", &Composition::replyTo},
    {"newsgroups ", &Composition::newsgroups},
    {"followup-to ", &Composition::followupTo},
    {"mail-followup-to ", &Composition::mailFollowupTo},
    {"distribution ", &Composition::distribution},
    {"subject ", &Composition::subject},
    {"text ", &Composition::text},
    {"html ", &Composition::html},
};

struct BytesField
{
    const char *key;
    QByteArray Composition::*value;
};
constexpr BytesField kBytesFields[] = {
    {"in-reply-to ", &Composition::inReplyTo},
    {"references ", &Composition::references},
    {"supersedes ", &Composition::supersedes},
    {"charset ", &Composition::charset},
};

struct Flag
{
    const char *key;
    bool Composition::*value;
};
constexpr Flag kFlags[] = {
    {"receipt ", &Composition::receipt}, {"archive-refused ", &Composition::archiveRefused},
    {"sign ", &Composition::sign},       {"encrypt ", &Composition::encrypt},
    {"wrap ", &Composition::wrap},
};

constexpr const char *kImportances[] = {"low", "normal", "high"};
constexpr const char *kForms[] = {"mime", "uuencode", "yenc"};
static_assert(std::size(kImportances) == std::size_t(Importance::High) + 1);
static_assert(std::size(kForms) == std::size_t(AttachmentForm::Yenc) + 1);

const QLatin1String kIdentity("identity ");
const QLatin1String kImportance("importance ");
const QLatin1String kForm("form ");
const QLatin1String kExtra("extra ");
const QLatin1String kAttachment("attachment ");

/// The identity as it was: the one in the list may have gone by the time that this is read.
QStringList identityFields(const Identity &identity)
{
    return {QString::number(identity.number),
            identity.name,
            identity.address,
            identity.replyTo,
            identity.organisation,
            identity.signature,
            identity.hostName,
            identity.keyId,
            QString::number(identity.flags),
            QString::number(identity.sentMail),
            QString::number(identity.sentNews)};
}

Identity identityOf(const QStringList &fields)
{
    Identity identity;
    identity.number = fields.value(0).toInt();
    identity.name = fields.value(1);
    identity.address = fields.value(2);
    identity.replyTo = fields.value(3);
    identity.organisation = fields.value(4);
    identity.signature = fields.value(5);
    identity.hostName = fields.value(6);
    identity.keyId = fields.value(7);
    identity.flags = fields.value(8).toUInt();
    identity.sentMail = fields.value(9).toInt();
    identity.sentNews = fields.value(10).toInt();
    return identity;
}

void addLine(QByteArray &text, const char *key, const QString &value)
{
    text += key + escapedText(value).toUtf8() + '\n';
}

void addFields(QByteArray &text, const Composition &composition)
{
    for (const auto &[key, value] : kTextFields) {
        if (!(composition.*value).isEmpty())
            addLine(text, key, composition.*value);
    }
    for (const auto &[key, value] : kBytesFields) {
        if (!(composition.*value).isEmpty())
            addLine(text, key, QString::fromUtf8(composition.*value));
    }
    for (const auto &[key, value] : kFlags)
        text += key + QByteArray(composition.*value ? "1\n" : "0\n");
}

template <std::size_t size>
std::optional<int> codeOf(const QString &word, const char *const (&words)[size])
{
    const auto found = std::find_if(std::begin(words), std::end(words),
                                    [&](const char *known) { return word == QLatin1String(known); });
    return found == std::end(words) ? std::nullopt : std::optional(int(found - std::begin(words)));
}

template <typename Table, typename Convert>
bool takeField(const QString &line, Composition &composition, const Table &table, Convert convert)
{
    for (const auto &[key, value] : table) {
        const QLatin1String start(key);
        if (!line.startsWith(start))
            continue;
        composition.*value = convert(unescapedText(QStringView(line).sliced(start.size())));
        return true;
    }
    return false;
}

void takeAttachment(DraftText &draft, const QStringList &fields)
{
    Attachment attachment;
    attachment.contentId = fields.value(1).toUtf8();
    attachment.contentType = fields.value(2).toUtf8();
    attachment.name = fields.value(3);
    draft.composition.attachments.append(attachment);
    draft.contents.append(fields.value(0).toLatin1());
}

void takeOther(const QString &line, DraftText &draft)
{
    Composition &composition = draft.composition;
    const QString value = line.sliced(qMin(line.size(), line.indexOf(u' ') + 1));
    if (line.startsWith(kIdentity)) {
        composition.identity = identityOf(unescapedTextList(value));
    } else if (line.startsWith(kImportance)) {
        composition.importance = Importance(codeOf(value, kImportances).value_or(int(Importance::Normal)));
    } else if (line.startsWith(kForm)) {
        composition.attachmentForm = AttachmentForm(codeOf(value, kForms).value_or(0));
    } else if (line.startsWith(kExtra)) {
        const QStringList fields = unescapedTextList(value);
        composition.extra.append({fields.value(0), fields.value(1)});
    } else if (line.startsWith(kAttachment)) {
        takeAttachment(draft, unescapedTextList(value));
    }
}

} // namespace

QByteArray draftText(const Composition &composition, const QList<QByteArray> &contents)
{
    QByteArray text;
    text.reserve(composition.text.size() + composition.html.size() + 1000);
    text += kIdentity.latin1() + escapedTextList(identityFields(composition.identity)).toUtf8() + '\n';
    addFields(text, composition);
    text += kImportance.latin1() + QByteArray(kImportances[int(composition.importance)]) + '\n';
    text += kForm.latin1() + QByteArray(kForms[int(composition.attachmentForm)]) + '\n';
    for (const ExtraHeader &extra : composition.extra)
        text += kExtra.latin1() + escapedTextList({extra.name, extra.value}).toUtf8() + '\n';
    for (qsizetype i = 0; i < composition.attachments.size(); ++i) {
        const Attachment &attachment = composition.attachments[i];
        const QStringList fields = {QString::fromLatin1(contents.value(i)),
                                    QString::fromUtf8(attachment.contentId),
                                    QString::fromUtf8(attachment.contentType), attachment.name};
        text += kAttachment.latin1() + escapedTextList(fields).toUtf8() + '\n';
    }
    return text;
}

DraftText readDraftText(QByteArrayView text)
{
    DraftText draft;
    const auto asText = [](const QString &value) { return value; };
    const auto asBytes = [](const QString &value) { return value.toUtf8(); };
    const auto asFlag = [](const QString &value) { return value == u"1"; };
    while (!text.isEmpty()) {
        const qsizetype end = text.indexOf('\n');
        const QString line = QString::fromUtf8(end < 0 ? text : text.first(end));
        text = end < 0 ? QByteArrayView() : text.sliced(end + 1);
        if (!takeField(line, draft.composition, kTextFields, asText) &&
            !takeField(line, draft.composition, kBytesFields, asBytes) &&
            !takeField(line, draft.composition, kFlags, asFlag))
            takeOther(line, draft);
    }
    return draft;
}
