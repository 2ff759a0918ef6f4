#include "cli/describe.h"

#include "html/htmltotext.h"
#include "message/message.h"
#include "message/mimecontext.h"
#include "store/groupstore.h"

#include <QCryptographicHash>
#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace {

QString categoryText(int category)
{
    return u"0x%1"_s.arg(category, 0, 16);
}

QJsonArray addressList(const QList<Address> &addresses)
{
    QJsonArray list;
    for (const Address &address : addresses)
        list.append(QJsonObject{{u"name"_s, address.name}, {u"address"_s, address.address}});
    return list;
}

QString importanceText(Importance importance)
{
    switch (importance) {
    case Importance::High: return u"high"_s;
    case Importance::Low: return u"low"_s;
    case Importance::Normal: break;
    }
    return u"normal"_s;
}

QJsonObject describePart(const MIMEContext &mime, int index)
{
    const MIMEPart &part = mime.part(index);
    const QByteArray bytes = mime.decodedBytes(index);
    const QByteArray hash = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex();
    return {{u"content_type"_s, QString::fromUtf8(part.contenttype)},
            {u"category"_s, categoryText(part.type)},
            {u"charset"_s, QString::fromUtf8(part.charset)},
            {u"name"_s, part.name},
            {u"encoding"_s, part.encoding},
            {u"within"_s, part.within},
            {u"offset"_s, qint64(part.offset)},
            {u"length"_s, qint64(part.length)},
            {u"size"_s, qint64(bytes.size())},
            {u"sha256"_s, QString::fromLatin1(hash)}};
}

/// Whether the part stands in a multipart/alternative that also has a plain text.
bool hasPlainSibling(const MIMEContext &mime, int index)
{
    const int parent = mime.part(index).parent;
    const int category = parent < 0 ? mime.type() : mime.part(parent).type;
    if (category != AlternativePart)
        return false;
    for (int i = 0; i < mime.count(); ++i) {
        if (mime.part(i).parent == parent && mime.part(i).type == PlainTextPart)
            return true;
    }
    return false;
}

} // namespace

Row describeMessage(const Message &message, const QString &file)
{
    QJsonArray references;
    const QList<QByteArray> ids = message.referenceIds();
    for (const QByteArray &id : ids)
        references.append(QString::fromUtf8(id));
    const MIMEContext &mime = message.mime();
    QJsonArray parts;
    for (int i = 0; i < mime.count(); ++i)
        parts.append(describePart(mime, i));
    const std::optional<qint64> date = message.readableDate();
    Row row;
    row.add("file", file)
        .add("subject", message.subject())
        .add("from", addressList(message.addresses("From")))
        .add("to", addressList(message.addresses("To")))
        .add("cc", addressList(message.addresses("Cc")))
        .add("date", date ? QJsonValue(*date) : QJsonValue())
        .add("message_id", QString::fromUtf8(message.messageId()))
        .add("references", references)
        .add("in_reply_to", QString::fromUtf8(message.inReplyTo()))
        .add("importance", importanceText(message.importance()))
        .add("category", categoryText(mime.type()))
        .add("parts", parts);
    return row;
}

Row describeRow(Group &group, const Overview &overview)
{
    const HeaderTexts texts = group.texts(overview);
    Row row;
    row.add("number", qint64(overview.article()))
        .add("date", overview.date())
        .add("from", texts.from)
        .add("subject", texts.subject)
        .add("size", qint64(overview.size()))
        .add("read", overview.has(Mark::Read))
        .add("replied", overview.has(Mark::Replied))
        .add("flagged", overview.has(Mark::Flagged))
        .add("attachments", overview.has(Mark::Attachments))
        .add("score", overview.score())
        .add("message_id", texts.messageId);
    return row;
}

/// The roles that scripts know are those of the groups that every store has.
static QString roleInContract(GroupRole role)
{
    return role > kLastRoleMadeAtStart ? QString() : wordOf(role);
}

Row describeGroup(const GroupStore &store, Group &group)
{
    const OverviewFile::Counts counts = group.counts();
    Row row;
    row.add("number", group.number())
        .add("name", store.pathOf(group))
        .add("role", roleInContract(group.role()))
        .add("kind", wordOf(group.kind()))
        .add("total", qint64(counts.total))
        .add("unread", qint64(counts.unread))
        .add("flagged", qint64(counts.flagged))
        .add("bytes", group.bytes());
    return row;
}

QString readableBody(const Message &message)
{
    const MIMEContext &mime = message.mime();
    QStringList texts;
    for (int i = 0; i < mime.count(); ++i) {
        const MIMEPart &part = mime.part(i);
        const bool read = isTextCategory(part.type) && !part.isAttachment() &&
                          (part.type == PlainTextPart || !hasPlainSibling(mime, i));
        if (!read)
            continue;
        texts += part.type == HtmlPart ? htmlToText(mime.decodedText(i)) : mime.displayText(i);
    }
    return texts.join(u'\n');
}
