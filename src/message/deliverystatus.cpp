#include "message/deliverystatus.h"

#include "message/charset.h"
#include "message/encodedword.h"
#include "message/headerblock.h"

#include <vector>

using namespace Qt::StringLiterals;

namespace {

struct Wording
{
    const char *key;
    const char *words;
};

constexpr Wording kActions[] = {
    {"failed", "could not be delivered"},
    {"delayed", "has not been delivered yet"},
    {"delivered", "was delivered"},
    {"relayed", "was passed on to a server that sends no reports"},
    {"expanded", "was delivered and passed on to several recipients"},
};

// RFC 3463, by the second and third number of a status.
constexpr Wording kReasons[] = {
    {"1.1", "no such mailbox"},
    {"1.2", "no such domain"},
    {"1.3", "the address is not valid"},
    {"1.6", "the mailbox has moved"},
    {"1.8", "the sender's domain is not valid"},
    {"2.1", "the mailbox is disabled"},
    {"2.2", "the mailbox is full"},
    {"2.3", "the message is too large for the mailbox"},
    {"3.1", "the server's disk is full"},
    {"3.4", "the message is too large for the server"},
    {"4.1", "the server does not answer"},
    {"4.2", "the connection broke"},
    {"4.3", "the name server failed"},
    {"4.4", "no route to the server"},
    {"4.6", "the message went in a loop"},
    {"4.7", "the time for delivery has run out"},
    {"5.2", "the server refused a command"},
    {"7.1", "delivery was refused"},
    {"7.26", "the sender could not be authenticated"},
};

struct ServerField
{
    const char *field;
    const char *label;
};

constexpr ServerField kServerFields[] = {
    {"Reporting-MTA", "Reported by"},
    {"Received-From-MTA", "Received from"},
    {"Arrival-Date", "Arrived there"},
};

template <std::size_t size>
QString wordsFor(const Wording (&table)[size], QByteArrayView key)
{
    for (const Wording &row : table) {
        if (key.compare(QByteArrayView(row.key), Qt::CaseInsensitive) == 0)
            return QString::fromLatin1(row.words);
    }
    return {};
}

/// A value without the type in front of it: "rfc822; a@b" is "a@b".
QString withoutType(const QByteArray &value)
{
    const qsizetype semicolon = value.indexOf(';');
    return decodeHeaderText(value.sliced(semicolon + 1).trimmed());
}

/// The groups of fields between the empty lines.
std::vector<QByteArrayView> groupsOf(QByteArrayView content)
{
    std::vector<QByteArrayView> groups;
    qsizetype start = 0;
    for (qsizetype at = 0; at <= content.size();) {
        const qsizetype found = content.indexOf('\n', at);
        const qsizetype end = found < 0 ? content.size() : found;
        if (content.sliced(at, end - at).trimmed().isEmpty()) {
            if (at > start)
                groups.push_back(content.sliced(start, at - start));
            start = std::min(end + 1, content.size());
        }
        at = end + 1;
    }
    if (start < content.size())
        groups.push_back(content.sliced(start));
    return groups;
}

/// "5.1.1" as words and number: "no such mailbox (5.1.1)".
QString reasonOf(const QByteArray &status)
{
    const qsizetype blank = status.indexOf(' ');
    const QByteArray number = blank < 0 ? status : status.first(blank);
    const QString words =
        wordsFor(kReasons, QByteArrayView(number).sliced(std::min<qsizetype>(2, number.size())));
    const QString shown = decodeHeaderText(status);
    return words.isEmpty() ? shown : u"%1 (%2)"_s.arg(words, shown);
}

void appendLine(QString &out, const QString &label, const QString &value)
{
    if (!value.isEmpty())
        out += u"    "_s + label + u": "_s + value + u'\n';
}

QString recipientText(const HeaderFields &fields)
{
    QByteArray recipient = fields.value("Final-Recipient");
    const QByteArray original = fields.value("Original-Recipient");
    if (recipient.isEmpty())
        recipient = original;
    if (recipient.isEmpty())
        return {};
    const QByteArray action = fields.value("Action");
    QString words = wordsFor(kActions, action);
    if (words.isEmpty() && !action.isEmpty())
        words = decodeHeaderText(action);
    QString out = withoutType(recipient) + (words.isEmpty() ? QString() : u": "_s + words) + u'\n';
    if (!original.isEmpty() && withoutType(original) != withoutType(recipient))
        appendLine(out, u"Sent to"_s, withoutType(original));
    appendLine(out, u"Reason"_s, reasonOf(fields.value("Status")));
    appendLine(out, u"The server said"_s, withoutType(fields.value("Diagnostic-Code")));
    appendLine(out, u"Server"_s, withoutType(fields.value("Remote-MTA")));
    appendLine(out, u"Last attempt"_s, decodeHeaderText(fields.value("Last-Attempt-Date")));
    appendLine(out, u"Will be tried until"_s, decodeHeaderText(fields.value("Will-Retry-Until")));
    return out;
}

QString serverText(const HeaderFields &fields)
{
    QString out;
    for (const ServerField &row : kServerFields) {
        const QByteArray value = fields.value(row.field);
        if (!value.isEmpty())
            out += QString::fromLatin1(row.label) + u": "_s + withoutType(value) + u'\n';
    }
    return out;
}

} // namespace

QString deliveryStatusText(QByteArrayView content)
{
    QStringList recipients;
    QString servers;
    for (const QByteArrayView group : groupsOf(content)) {
        const HeaderFields fields(group);
        if (const QString recipient = recipientText(fields); !recipient.isEmpty())
            recipients += recipient;
        servers += serverText(fields);
    }
    if (!servers.isEmpty())
        recipients += servers;
    return recipients.isEmpty() ? decodeUnlabelled(content) : recipients.join(u'\n');
}
