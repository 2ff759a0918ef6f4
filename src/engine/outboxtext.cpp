#include "engine/outboxtext.h"

#include "message/date.h"
#include "message/headerblock.h"
#include "message/message.h"
#include "net/smtp/envelope.h"

#include <QSet>

#include <algorithm>
#include <array>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

constexpr QByteArrayView kControls = "x-velmar-";
constexpr QByteArrayView kResent = "resent-";
constexpr QByteArrayView kEnvelope = "X-VELMAR-RCPT-TO";
constexpr std::array kPostFields = {"Newsgroups",   "Followup-To",       "Supersedes",
                                    "Distribution", "Posted-And-Mailed", "Path"};

bool isNamed(QByteArrayView name, QByteArrayView wanted)
{
    return name.compare(wanted, Qt::CaseInsensitive) == 0;
}

/// Each field of the header goes through @p change: the name, and the whole of it with its line ends.
QByteArray changed(const QByteArray &message,
                   const std::function<QByteArray(QByteArrayView name, QByteArrayView field)> &change)
{
    const HeaderExtent extent = headerExtent(message);
    const QByteArrayView header = QByteArrayView(message).first(extent.length);
    QByteArray result;
    result.reserve(message.size() + 128);
    for (qsizetype at = 0; at < header.size();) {
        qsizetype end = header.indexOf('\n', at);
        while (end >= 0 && end + 1 < header.size() && (header[end + 1] == ' ' || header[end + 1] == '\t'))
            end = header.indexOf('\n', end + 1);
        const QByteArrayView field = header.sliced(at, (end < 0 ? header.size() : end + 1) - at);
        const qsizetype colon = field.indexOf(':');
        result += change(field.first(qMax<qsizetype>(colon, 0)).trimmed(), field);
        at += field.size();
    }
    return result.append(QByteArrayView(message).sliced(extent.length));
}

constexpr std::array kTo = {"To", "Cc", "Bcc"};
constexpr std::array kResentTo = {"Resent-To", "Resent-Cc", "Resent-Bcc"};

/// The first fields that a resending puts in front, up to one that is another's or that comes again.
QByteArray resentBlock(const QByteArray &message)
{
    const HeaderFields fields(QByteArrayView(message).first(headerExtent(message).length));
    QByteArray block;
    QSet<QByteArray> seen;
    for (qsizetype i = 0; i < fields.count(); ++i) {
        const QByteArray name = fields.at(i).name.toByteArray().toLower();
        if (name.startsWith(kControls))
            continue;
        if (!name.startsWith(kResent) || seen.contains(name))
            break;
        seen.insert(name);
        block += name + ": " + fields.at(i).value.toByteArray() + '\n';
    }
    return block;
}

} // namespace

bool isResent(const QByteArray &message)
{
    return !resentBlock(message).isEmpty();
}

QList<QByteArray> outgoingRecipients(const QByteArray &message, bool ownControls)
{
    if (ownControls)
        return envelopeOf(message).recipients;
    const bool isSentOn = isResent(message);
    const Message header(isSentOn ? resentBlock(message) : message.first(headerExtent(message).length));
    QList<QByteArray> list;
    QSet<QByteArray> known = {QByteArray()};
    for (const char *field : isSentOn ? kResentTo : kTo) {
        for (const Address &one : header.addresses(field)) {
            const QByteArray bare = one.address.toUtf8();
            if (!known.contains(bare))
                list += bare;
            known.insert(bare);
        }
    }
    return list;
}

bool isPost(const QByteArray &message)
{
    return !Message(message.first(headerExtent(message).length)).rawHeader("Newsgroups").isEmpty();
}

bool wouldLeaveInClear(const QByteArray &message)
{
    const Message header(message.first(headerExtent(message).length));
    return header.rawHeader("X-Velmar-Encrypt").compare("yes", Qt::CaseInsensitive) == 0 &&
           !header.rawHeader("Content-Type").toLower().startsWith("multipart/encrypted");
}

QByteArray withoutPost(const QByteArray &message)
{
    return changed(message, [](QByteArrayView name, QByteArrayView field) {
        const bool isOfPost = std::any_of(kPostFields.begin(), kPostFields.end(), [name](const char *one) {
            return isNamed(name, QByteArrayView(one));
        });
        return isOfPost ? QByteArray() : field.toByteArray();
    });
}

QByteArray withoutControls(const QByteArray &message)
{
    return changed(message, [](QByteArrayView name, QByteArrayView field) {
        const bool isControl =
            name.size() >= kControls.size() && isNamed(name.first(kControls.size()), kControls);
        return isControl ? QByteArray() : field.toByteArray();
    });
}

QByteArray dated(const QByteArray &message, const QDateTime &date, bool isResent)
{
    const QByteArray wanted = isResent ? "Resent-Date"_ba : "Date"_ba;
    const QByteArray line = wanted + ": " + formatDate(date) + '\n';
    bool isThere = false;
    const QByteArray text = changed(message, [&](QByteArrayView name, QByteArrayView field) {
        if (isThere || !isNamed(name, wanted))
            return field.toByteArray();
        isThere = true;
        return line;
    });
    if (isThere)
        return text;
    const bool hasHeader = headerExtent(text).length > 0;
    qsizetype first = 0; // an empty line behind the date would end the header
    while (hasHeader && first < text.size() && text[first] == '\n')
        ++first;
    return line + text.mid(first);
}

QByteArray onlyTo(const QByteArray &message, const QList<QByteArray> &left)
{
    QSet<QByteArray> wanted;
    for (const QByteArray &address : left)
        wanted.insert(address.toLower());
    return changed(message, [&wanted](QByteArrayView name, QByteArrayView field) {
        bool isOfRecipients = false;
        for (const QByteArrayView one :
             {QByteArrayView("To"), QByteArrayView("Cc"), QByteArrayView("Bcc"), kEnvelope})
            isOfRecipients = isOfRecipients || isNamed(name, one);
        if (!isOfRecipients)
            return field.toByteArray();
        const QByteArray label = name.toByteArray();
        QList<Address> kept;
        for (const Address &one : Message(field.toByteArray() + '\n').addresses(label)) {
            if (wanted.contains(one.address.toUtf8().toLower()))
                kept += one;
        }
        return kept.isEmpty() ? QByteArray() : label + ": " + addressField(kept, "UTF-8") + '\n';
    });
}
