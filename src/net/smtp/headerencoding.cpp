#include "net/smtp/headerencoding.h"

#include "message/address.h"
#include "message/encodedword.h"
#include "message/headerblock.h"
#include "message/lineends.h"
#include "message/message.h"
#include "net/smtp/transferencoding.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array kAddressFields = {"from",
                                       "sender",
                                       "reply-to",
                                       "to",
                                       "cc",
                                       "resent-from",
                                       "resent-to",
                                       "resent-cc",
                                       "resent-sender",
                                       "disposition-notification-to",
                                       "mail-followup-to"};

/// They have a grammar of their own that knows no encoded words.
constexpr std::array kMachineFields = {"content-type", "content-disposition",
                                       "content-id",   "received",
                                       "message-id",   "references",
                                       "in-reply-to",  "date",
                                       "return-path",  "mime-version",
                                       "newsgroups",   "resent-message-id",
                                       "resent-date",  "content-transfer-encoding"};

template <std::size_t Size>
bool isAmong(const std::array<const char *, Size> &names, QByteArrayView name)
{
    return std::any_of(names.begin(), names.end(),
                       [name](const char *one) { return name.compare(one, Qt::CaseInsensitive) == 0; });
}

bool isAscii(QByteArrayView text)
{
    return std::none_of(text.begin(), text.end(), [](char c) { return uchar(c) >= 0x80; });
}

QByteArray addressEntry(const Address &address, bool mayStay)
{
    const QByteArray entry = addressField({address}, "UTF-8");
    if (mayStay || isAscii(entry))
        return entry;
    return encodedWord(formatAddress(address), "UTF-8", WordPlace::Phrase) + ":;";
}

/// One entry a line, so that no line grows too long.
QByteArray addressLines(const Message &field, const QByteArray &name, bool mayStay)
{
    QByteArray lines;
    for (const Address &each : field.addresses(name))
        lines += (lines.isEmpty() ? "" : ",\n ") + addressEntry(each, mayStay);
    return lines;
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

/// Where a line may be broken, before blanks with more behind them; before @p most if there is such a place.
qsizetype breakOf(QByteArrayView line, qsizetype most)
{
    qsizetype found = -1;
    bool hasText = false;
    for (qsizetype i = 0; i + 1 < line.size() && (i <= most || found < 0); ++i) {
        hasText |= !isBlank(line[i]);
        if (hasText && isBlank(line[i]) && !isBlank(line[i + 1]))
            found = i;
    }
    return found;
}

/// Folded where it is too long for a server; unfolded it is the same (RFC 5322 2.2.3).
QByteArray foldedField(QByteArrayView field)
{
    if (field.size() <= kLongestMailLine)
        return field.toByteArray();
    QByteArray folded;
    while (!field.isEmpty()) {
        QByteArrayView line = takeLine(field);
        while (line.size() > kLongestMailLine && isBlank(line.back()))
            line.chop(1);
        while (line.size() > kLongestMailLine) {
            const qsizetype end = breakOf(line, kLongestMailLine);
            if (end < 0)
                break;
            folded.append(line.first(end)).append('\n');
            line = line.sliced(end);
        }
        folded.append(line).append('\n');
    }
    return folded;
}

QByteArray encodedField(QByteArrayView field, bool mayStay)
{
    const qsizetype colon = field.indexOf(':');
    const QByteArray name = field.first(colon).trimmed().toByteArray();
    if (isAmong(kMachineFields, name))
        return field.toByteArray();
    const Message alone(name + field.sliced(colon).toByteArray() + '\n'); // old software puts blanks between
    const QByteArray value = isAmong(kAddressFields, name)
                                 ? addressLines(alone, name, mayStay)
                                 : encodedWord(alone.header(name), "UTF-8").replace(' ', "\n ");
    return name + ": " + value + '\n';
}

} // namespace

QByteArray withEncodedHeader(const QByteArray &message, bool mayStay)
{
    const HeaderExtent extent = headerExtent(message);
    const QByteArrayView header = QByteArrayView(message).first(extent.length);
    QByteArray result;
    result.reserve(message.size() + 256);
    for (qsizetype at = 0; at < header.size();) {
        qsizetype end = header.indexOf('\n', at);
        while (end >= 0 && end + 1 < header.size() && (header[end + 1] == ' ' || header[end + 1] == '\t'))
            end = header.indexOf('\n', end + 1);
        const QByteArrayView field = header.sliced(at, (end < 0 ? header.size() : end + 1) - at);
        if (!isFieldLine(field))
            result += field;
        else
            result += isAscii(field) ? foldedField(field) : encodedField(field, mayStay);
        at += field.size();
    }
    return result.append(QByteArrayView(message).sliced(extent.length));
}
