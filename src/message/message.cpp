#include "message/message.h"

#include "message/charset.h"
#include "message/date.h"
#include "message/encodedword.h"
#include "message/headerblock.h"
#include "message/lineends.h"
#include "message/messageid.h"
#include "message/mimecontext.h"
#include "message/parameters.h"

#include <QHash>

using namespace Qt::StringLiterals;

struct Message::Data
{
    explicit Data(const QByteArray &raw)
        : text(raw)
        , extent(headerExtent(text))
        , fields(QByteArrayView(text).first(extent.length))
    {}

    const QByteArray text; // the fields look into it
    const HeaderExtent extent;
    const HeaderFields fields;
    QHash<QByteArray, QByteArray> values; ///< found so far, by lower-case name
    std::unique_ptr<const MIMEContext> mime;
};

namespace {

QString withoutComments(const QString &value)
{
    const qsizetype begin = value.indexOf(u'(');
    const qsizetype end = value.lastIndexOf(u')');
    if (begin < 0 || end < begin)
        return value;
    return (value.first(begin) + value.sliced(end + 1)).trimmed();
}

} // namespace

Message::Message()
    : Message(QByteArray())
{}

Message::Message(const QByteArray &text)
    : m_data(std::make_shared<Data>(withUnixLineEnds(text)))
{}

const QByteArray &Message::text() const
{
    return m_data->text;
}

QByteArrayView Message::headerBlock() const
{
    return QByteArrayView(m_data->text).first(m_data->extent.length);
}

QByteArrayView Message::body() const
{
    return QByteArrayView(m_data->text).sliced(m_data->extent.bodyOffset);
}

qsizetype Message::bodyOffset() const
{
    return m_data->extent.bodyOffset;
}

QByteArray Message::rawHeader(QByteArrayView name) const
{
    const QByteArray key = name.toByteArray().toLower();
    const auto known = m_data->values.constFind(key);
    if (known != m_data->values.cend())
        return *known;
    return *m_data->values.insert(key, m_data->fields.value(name));
}

bool Message::hasHeader(QByteArrayView name) const
{
    return m_data->fields.contains(name);
}

QString Message::textOf(const QByteArray &raw, HeaderFlags flags) const
{
    const QByteArray fallback =
        isUtf8(raw) ? QByteArray() : ParameterList(rawHeader("Content-Type")).bytes("charset");
    const QString value = flags.testFlag(HeaderFlag::Decode) ? decodeHeaderText(raw, fallback)
                                                             : decodeUnlabelled(raw, fallback);
    return flags.testFlag(HeaderFlag::StripComments) ? withoutComments(value) : value;
}

QString Message::header(QByteArrayView name, HeaderFlags flags) const
{
    const QByteArray raw = rawHeader(name);
    return raw.isEmpty() ? QString() : textOf(raw, flags);
}

QList<Address> Message::addresses(QByteArrayView name) const
{
    return parseAddresses(header(name, {}));
}

qint64 Message::date(DateSource source) const
{
    return readableDate(source).value_or(0);
}

std::optional<qint64> Message::readableDate(DateSource source) const
{
    if (source == DateSource::DateOnly)
        return readDate(header("Date", HeaderFlag::StripComments));
    const QString date = header("Date", {});
    return readDate(date.isEmpty() ? header("Resent-Date", {}) : date);
}

std::optional<qint64> Message::receivedDate() const
{
    const QString received = header("Received", {});
    return readDate(QStringView(received).sliced(received.lastIndexOf(u';') + 1));
}

QString Message::mboxSender() const
{
    for (const char *name : {"Return-Path", "Sender", "From"}) {
        const QString value = header(name, {});
        if (value.isEmpty())
            continue;
        if (const QString sender = bareAddress(value); !sender.isEmpty())
            return sender;
        break;
    }
    return u"MAILER-DAEMON"_s;
}

Importance Message::importance() const
{
    const QString value = header("Importance").trimmed().toLower();
    if (value == "high"_L1)
        return Importance::High;
    return value == "low"_L1 ? Importance::Low : Importance::Normal;
}

QString Message::organization() const
{
    const QString value = header("Organization");
    return value.isEmpty() ? header("X-Organization") : value;
}

QString Message::newsgroups() const
{
    return header("Newsgroups");
}

QString Message::to() const
{
    return header("To");
}

QString Message::cc() const
{
    return header("CC");
}

QString Message::readReceiptTo() const
{
    const QString value = header("Disposition-Notification-To", {});
    return value.isEmpty() ? header("Return-Receipt-To", {}) : value;
}

CrossReference Message::xref() const
{
    CrossReference reference;
    const QList<QByteArray> words = rawHeader("XRef").simplified().split(' ');
    reference.server = words.first();
    const qsizetype colon = reference.server.lastIndexOf(':');
    bool numeric = false;
    const int port = colon > 0 ? reference.server.sliced(colon + 1).toInt(&numeric) : 0;
    if (numeric) {
        reference.port = port;
        reference.server.truncate(colon);
    }
    for (const QByteArray &word : words.sliced(1))
        if (const qsizetype split = word.indexOf(':'); split > 0 && split + 1 < word.size())
            reference.entries.append({word.first(split), word.sliced(split + 1)});
    return reference;
}

QByteArray Message::messageId() const
{
    return cutMessageId(rawHeader("Message-ID"));
}

QByteArray Message::inReplyTo() const
{
    return cutMessageId(rawHeader("In-Reply-To"));
}

QByteArray Message::references() const
{
    return rawHeader("References");
}

QList<QByteArray> Message::referenceIds() const
{
    return messageIds(references());
}

QString Message::subject() const
{
    return header("Subject");
}

QString Message::baseSubject() const
{
    return baseSubjectOf(subject());
}

QString Message::replySubject() const
{
    return replySubjectOf(subject());
}

const MIMEContext &Message::mime() const
{
    if (!m_data->mime)
        m_data->mime = std::make_unique<const MIMEContext>(MIMEContext::parse(m_data->text));
    return *m_data->mime;
}

QString baseSubjectOf(const QString &subject)
{
    if (!subject.startsWith("re:"_L1, Qt::CaseInsensitive))
        return subject;
    qsizetype begin = 3;
    while (begin < subject.size() && subject[begin] == u' ')
        ++begin;
    return subject.sliced(begin);
}

QString replySubjectOf(const QString &subject)
{
    return subject.startsWith("re:"_L1, Qt::CaseInsensitive) ? subject : "Re: "_L1 + subject;
}
