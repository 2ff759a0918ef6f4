#include "message/deliverystatus.h"

#include "message/charset.h"
#include "message/encodedword.h"
#include "message/headerblock.h"

#include <QCoreApplication>

#include <vector>

using namespace Qt::StringLiterals;

namespace {

using Fate = DeliveryReport::Fate;

struct FateRow
{
    const char *action;
    Fate fate;
    const char *words;
};

constexpr FateRow kFates[] = {
    {"failed", Fate::Failed, "could not be delivered"},
    {"delayed", Fate::Delayed, "has not been delivered yet"},
    {"delivered", Fate::Delivered, "was delivered"},
    {"relayed", Fate::Relayed, "was passed on to a server that sends no reports"},
    {"expanded", Fate::Expanded, "was delivered and passed on to several recipients"},
};

struct Wording
{
    const char *key;
    const char *words;
};

// RFC 3463, by the second and third number of a status.
constexpr Wording kReasons[] = {
    {"1.1", QT_TRANSLATE_NOOP("DeliveryStatus", "no such mailbox")},
    {"1.2", QT_TRANSLATE_NOOP("DeliveryStatus", "no such domain")},
    {"1.3", QT_TRANSLATE_NOOP("DeliveryStatus", "the address is not valid")},
    {"1.6", QT_TRANSLATE_NOOP("DeliveryStatus", "the mailbox has moved")},
    {"1.8", QT_TRANSLATE_NOOP("DeliveryStatus", "the sender's domain is not valid")},
    {"2.1", QT_TRANSLATE_NOOP("DeliveryStatus", "the mailbox is disabled")},
    {"2.2", QT_TRANSLATE_NOOP("DeliveryStatus", "the mailbox is full")},
    {"2.3", QT_TRANSLATE_NOOP("DeliveryStatus", "the message is too large for the mailbox")},
    {"3.1", QT_TRANSLATE_NOOP("DeliveryStatus", "the server's disk is full")},
    {"3.4", QT_TRANSLATE_NOOP("DeliveryStatus", "the message is too large for the server")},
    {"4.1", QT_TRANSLATE_NOOP("DeliveryStatus", "the server does not answer")},
    {"4.2", QT_TRANSLATE_NOOP("DeliveryStatus", "the connection broke")},
    {"4.3", QT_TRANSLATE_NOOP("DeliveryStatus", "the name server failed")},
    {"4.4", QT_TRANSLATE_NOOP("DeliveryStatus", "no route to the server")},
    {"4.6", QT_TRANSLATE_NOOP("DeliveryStatus", "the message went in a loop")},
    {"4.7", QT_TRANSLATE_NOOP("DeliveryStatus", "the time for delivery has run out")},
    {"5.2", QT_TRANSLATE_NOOP("DeliveryStatus", "the server refused a command")},
    {"7.1", QT_TRANSLATE_NOOP("DeliveryStatus", "delivery was refused")},
    {"7.26", QT_TRANSLATE_NOOP("DeliveryStatus", "the sender could not be authenticated")},
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

QString reasonFor(QByteArrayView number)
{
    for (const Wording &row : kReasons) {
        if (number == QByteArrayView(row.key))
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

void appendLine(QString &out, const QString &label, const QString &value)
{
    if (!value.isEmpty())
        out += u"    "_s + label + u": "_s + value + u'\n';
}

DeliveryReport readReport(const HeaderFields &fields)
{
    DeliveryReport report;
    const QString original = withoutType(fields.value("Original-Recipient"));
    report.recipient = withoutType(fields.value("Final-Recipient"));
    if (report.recipient.isEmpty())
        report.recipient = original;
    else if (original != report.recipient)
        report.original = original;
    report.action = decodeHeaderText(fields.value("Action"));
    for (const FateRow &row : kFates) {
        if (report.action.compare(QLatin1String(row.action), Qt::CaseInsensitive) == 0)
            report.fate = row.fate;
    }
    const QByteArray status = fields.value("Status");
    const qsizetype blank = status.indexOf(' ');
    const QByteArrayView number = blank < 0 ? QByteArrayView(status) : QByteArrayView(status).first(blank);
    report.reason = reasonFor(number.sliced(std::min<qsizetype>(2, number.size())));
    report.status = decodeHeaderText(status);
    report.diagnostic = withoutType(fields.value("Diagnostic-Code"));
    report.server = withoutType(fields.value("Remote-MTA"));
    report.lastAttempt = decodeHeaderText(fields.value("Last-Attempt-Date"));
    report.retryUntil = decodeHeaderText(fields.value("Will-Retry-Until"));
    return report;
}

QString fateWords(const DeliveryReport &report)
{
    for (const FateRow &row : kFates) {
        if (row.fate == report.fate)
            return QString::fromLatin1(row.words);
    }
    return report.action;
}

QString recipientText(const DeliveryReport &report)
{
    const QString words = fateWords(report);
    QString out = report.recipient + (words.isEmpty() ? QString() : u": "_s + words) + u'\n';
    appendLine(out, u"Sent to"_s, report.original);
    appendLine(out, u"Reason"_s,
               report.reason.isEmpty() ? report.status : u"%1 (%2)"_s.arg(report.reason, report.status));
    appendLine(out, u"The server said"_s, report.diagnostic);
    appendLine(out, u"Server"_s, report.server);
    appendLine(out, u"Last attempt"_s, report.lastAttempt);
    appendLine(out, u"Will be tried until"_s, report.retryUntil);
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

QList<DeliveryReport> deliveryReports(QByteArrayView content)
{
    QList<DeliveryReport> reports;
    for (const QByteArrayView group : groupsOf(content)) {
        const DeliveryReport report = readReport(HeaderFields(group));
        if (!report.recipient.isEmpty())
            reports.append(report);
    }
    return reports;
}

QString deliveryStatusText(QByteArrayView content)
{
    QStringList recipients;
    QString servers;
    for (const QByteArrayView group : groupsOf(content)) {
        const HeaderFields fields(group);
        if (const DeliveryReport report = readReport(fields); !report.recipient.isEmpty())
            recipients += recipientText(report);
        servers += serverText(fields);
    }
    if (!servers.isEmpty())
        recipients += servers;
    return recipients.isEmpty() ? decodeUnlabelled(content) : recipients.join(u'\n');
}
