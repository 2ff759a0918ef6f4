#include "ui/reader/datacard.h"

#include "html/urls.h"
#include "message/date.h"
#include "message/deliverystatus.h"
#include "message/encodedword.h"
#include "message/headerblock.h"
#include "message/message.h"
#include "message/mimecontext.h"
#include "ui/reader/cardtexts.h"
#include "ui/texts/datetext.h"
#include "ui/texts/harmless.h"
#include "ui/texts/sizetext.h"

#include <QCoreApplication>
#include <QLocale>

#include <array>

using namespace Qt::StringLiterals;

namespace {

QString translated(const char *text)
{
    return QCoreApplication::translate("PartCards", text);
}

struct TypeRow
{
    const char *type;
    DataKind kind;
};

constexpr TypeRow kTypes[] = {
    {"text/vcard", DataKind::Contact},
    {"text/x-vcard", DataKind::Contact},
    {"text/calendar", DataKind::Calendar},
    {"text/x-vcalendar", DataKind::Calendar},
    {"application/ics", DataKind::Calendar},
    {"message/disposition-notification", DataKind::Receipt},
    {"message/external-body", DataKind::Elsewhere},
};

struct EndingRow
{
    const char *ending;
    DataKind kind;
};

constexpr EndingRow kEndings[] = {
    {".vcf", DataKind::Contact},
    {".ics", DataKind::Calendar},
    {".vcs", DataKind::Calendar},
};

// Sentences by DeliveryReport::Fate; %1 is an address.
constexpr std::array kFates = {
    QT_TRANSLATE_NOOP("PartCards", "There is news of your message to %1"),
    QT_TRANSLATE_NOOP("PartCards", "Your message to %1 could not be delivered"),
    QT_TRANSLATE_NOOP("PartCards", "Your message to %1 has not been delivered yet"),
    QT_TRANSLATE_NOOP("PartCards", "Your message to %1 was delivered"),
    QT_TRANSLATE_NOOP("PartCards", "Your message to %1 was passed on to a server that sends no reports"),
    QT_TRANSLATE_NOOP("PartCards", "Your message to %1 was delivered and passed on to several recipients"),
};
static_assert(kFates.size() == std::size_t(DeliveryReport::Fate::Expanded) + 1);

struct Wording
{
    const char *code;
    const char *words;
};

constexpr Wording kDispositions[] = {
    {"displayed", QT_TRANSLATE_NOOP("PartCards", "%1 has read your message")},
    {"deleted", QT_TRANSLATE_NOOP("PartCards", "%1 has deleted your message")},
    {"dispatched", QT_TRANSLATE_NOOP("PartCards", "%1 has passed your message on")},
    {"processed", QT_TRANSLATE_NOOP("PartCards", "A program has dealt with your message to %1")},
    {"denied", QT_TRANSLATE_NOOP("PartCards", "%1 does not tell what became of your message")},
    {"failed", QT_TRANSLATE_NOOP("PartCards", "Nothing can be said about your message to %1")},
};

constexpr Wording kPlaces[] = {
    {"url", QT_TRANSLATE_NOOP("PartCards", "on the web")},
    {"ftp", QT_TRANSLATE_NOOP("PartCards", "on a file server")},
    {"anon-ftp", QT_TRANSLATE_NOOP("PartCards", "on a file server")},
    {"tftp", QT_TRANSLATE_NOOP("PartCards", "on a file server")},
    {"local-file", QT_TRANSLATE_NOOP("PartCards", "in a file of the sender's machine")},
    {"mail-server", QT_TRANSLATE_NOOP("PartCards", "with a server that sends it by mail")},
};

template <std::size_t size>
QString wordsFor(const Wording (&table)[size], QByteArrayView code)
{
    for (const Wording &row : table)
        if (code.compare(QByteArrayView(row.code), Qt::CaseInsensitive) == 0)
            return translated(row.words);
    return {};
}

/// A date as headers have it, in local words where it can be read.
QString dateText(const QString &written)
{
    const std::optional<qint64> seconds = readDate(written);
    return seconds ? longDateText(QDateTime::fromSecsSinceEpoch(*seconds)) : harmlessLine(written, 100);
}

QString shownAddress(const QString &address)
{
    return isolatedAddress(harmlessLine(address, 300));
}

DataCard deliveryCard(const DeliveryReport &report)
{
    DataCard card;
    card.badge = translated("Delivery report");
    card.title =
        withoutIdleMarks(translated(kFates[std::size_t(report.fate)]).arg(shownAddress(report.recipient)));
    const QString reason =
        report.reason.isEmpty()
            ? QString()
            : QCoreApplication::translate("DeliveryStatus", report.reason.toLatin1().constData());
    const QString status = harmlessLine(report.status, 40);
    if (!reason.isEmpty())
        card.title += u": %1 (%2)"_s.arg(reason, status);
    else if (!status.isEmpty() && report.fate != DeliveryReport::Fate::Delivered)
        card.title += u" (%1)"_s.arg(status);
    if (!report.original.isEmpty())
        card.add(translated("Sent to"), shownAddress(report.original));
    card.add(translated("The server said"), harmlessLine(report.diagnostic, 1000));
    card.add(translated("Server"), harmlessLine(report.server, 200));
    card.add(translated("Last attempt"), dateText(report.lastAttempt));
    card.add(translated("Will be tried until"), dateText(report.retryUntil));
    return card;
}

/// "manual-action/MDN-sent-manually; displayed/error": the words in front of the semicolon say who did it,
/// the one behind it what was done.
QString dispositionWord(const QByteArray &field)
{
    const QString behind = QString::fromLatin1(field).section(u';', -1).trimmed();
    return behind.section(u'/', 0, 0).trimmed();
}

/// What a parameter of the part says, harmless.
QString parameterOf(const Message &message, int part, const char *name)
{
    return harmlessLine(decodeHeaderText(message.mime().parameter(part, "content-type", name)), 300);
}

QString placeText(const Message &message, int part)
{
    QStringList pieces;
    for (const char *name : {"site", "server", "directory", "name"})
        if (const QString piece = parameterOf(message, part, name); !piece.isEmpty())
            pieces.append(piece);
    return pieces.join(u" / "_s);
}

/// RFC 2046 section 5.2.3; the URL form is RFC 2017.
DataCard elsewhereCard(const Message &message, int part)
{
    const QByteArray type = message.mime().parameter(part, "content-type", "access-type");
    const QString place = wordsFor(kPlaces, type);
    DataCard card;
    card.badge = translated("Kept elsewhere");
    card.title = place.isEmpty() ? translated("This content is not in the message. It was not fetched.")
                                 : translated("This content lies %1. It was not fetched.").arg(place);
    const QString url = parameterOf(message, part, "url").remove(u' ');
    card.add(translated("Address"), url.isEmpty() ? url : isolatedAddress(url), safeTarget(url));
    card.add(translated("Where"), placeText(message, part));
    bool isNumber = false;
    const qint64 size = parameterOf(message, part, "size").toLongLong(&isNumber);
    if (isNumber && size > 0)
        card.add(translated("Size"), sizeText(size));
    card.add(translated("Until"), dateText(parameterOf(message, part, "expiration")));
    return card;
}

} // namespace

void DataCard::add(const QString &label, const QString &value, const QString &link)
{
    if (const QString lean = withoutIdleMarks(value); !lean.isEmpty())
        rows.append({label, lean, link});
}

DataKind dataKindOf(const MIMEPart &part)
{
    if (part.type == VCardPart)
        return DataKind::Contact;
    for (const TypeRow &row : kTypes)
        if (part.contenttype == QByteArrayView(row.type))
            return row.kind;
    const bool saysNothing = part.contenttype == "application/octet-stream" ||
                             part.contenttype == "text/plain" || part.contenttype == "text/directory";
    for (const EndingRow &row : kEndings)
        if (saysNothing && part.name.endsWith(QLatin1String(row.ending), Qt::CaseInsensitive))
            return row.kind;
    return DataKind::None;
}

QList<DataCard> deliveryCards(QByteArrayView content)
{
    QList<DataCard> cards;
    const QList<DeliveryReport> reports = deliveryReports(content);
    const bool tooMany = reports.size() > kMostCards;
    for (const DeliveryReport &report : reports.first(tooMany ? kMostCards - 1 : reports.size()))
        cards.append(deliveryCard(report));
    if (tooMany)
        cards.append({{},
                      translated("%1 more recipients").arg(QLocale().toString(reports.size() - cards.size())),
                      {}});
    return cards;
}

DataCard receiptCard(QByteArrayView content)
{
    const HeaderFields fields(content);
    const QByteArray disposition = fields.value("Disposition");
    QByteArray recipient = fields.value("Final-Recipient");
    if (recipient.isEmpty())
        recipient = fields.value("Original-Recipient");
    const QString address = decodeHeaderText(recipient.sliced(recipient.indexOf(';') + 1).trimmed());
    DataCard card;
    if (disposition.isEmpty() || address.isEmpty())
        return card;
    const QString word = dispositionWord(disposition);
    const QString sentence = wordsFor(kDispositions, word.toLatin1());
    card.badge = translated("Receipt");
    card.title =
        sentence.isEmpty()
            ? translated("%1 says of your message: %2").arg(shownAddress(address), harmlessLine(word, 60))
            : sentence.arg(shownAddress(address));
    card.title = withoutIdleMarks(card.title);
    const QByteArray lower = disposition.toLower();
    if (lower.contains("automatic-action") || lower.contains("mdn-sent-automatically"))
        card.add(translated("Sent"), translated("by a program, without asking"));
    card.add(translated("Program"), harmlessLine(decodeHeaderText(fields.value("Reporting-UA")), 200));
    card.add(translated("Message"),
             isolatedAddress(harmlessLine(decodeHeaderText(fields.value("Original-Message-ID")), 300)));
    return card;
}

QList<DataCard> partCards(const Message &message, int part)
{
    const MIMEPart &entry = message.mime().part(part);
    if (entry.contenttype.endsWith("/delivery-status"))
        return deliveryCards(message.mime().decodedBytes(part));
    QList<DataCard> cards;
    switch (dataKindOf(entry)) {
    case DataKind::None: break;
    case DataKind::Contact: return contactCards(message.mime().decodedText(part));
    case DataKind::Calendar: return calendarCards(message.mime().decodedText(part));
    case DataKind::Receipt: cards = {receiptCard(message.mime().decodedBytes(part))}; break;
    case DataKind::Elsewhere: cards = {elsewhereCard(message, part)}; break;
    }
    cards.removeIf([](const DataCard &card) { return card.isEmpty(); });
    return cards;
}
