#include "net/smtp/envelope.h"

#include "message/headerblock.h"
#include "message/message.h"

#include <QSet>
#include <QUrl>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLongestAddress = 900; // bytes; a command and its parameters have to fit behind it

bool isControl(char c)
{
    return uchar(c) < ' ' || c == '\x7f';
}

/// Whether what stands outside quotes is one word, and nothing at all is a control.
bool isOneWord(QByteArrayView address)
{
    if (std::any_of(address.begin(), address.end(), isControl))
        return false;
    bool quoted = false;
    for (qsizetype i = 0; i < address.size(); ++i) {
        const char c = address[i];
        if (c == '"')
            quoted = !quoted;
        else if (quoted && c == '\\')
            ++i;
        else if (!quoted && (c == ' ' || c == '<' || c == '>' || c == '\\'))
            return false;
    }
    return !quoted;
}

bool isAscii(QByteArrayView text)
{
    return std::none_of(text.begin(), text.end(), [](char c) { return uchar(c) >= 0x80; });
}

/// Null when it has none.
QByteArray asciiDomain(const QByteArray &domain)
{
    if (isAscii(domain))
        return domain;
    const QByteArray ascii = QUrl::toAce(QString::fromUtf8(domain));
    return ascii.isEmpty() ? QByteArray() : ascii;
}

/// The first field of those that names anybody.
QList<Address> firstNamed(const Message &message, std::initializer_list<const char *> fields)
{
    for (const char *field : fields) {
        const QList<Address> addresses = message.addresses(field);
        if (!addresses.isEmpty())
            return addresses;
    }
    return {};
}

std::optional<QByteArray> senderOf(const Message &message)
{
    if (message.rawHeader("X-VELMAR-MAIL-FROM") == "<>")
        return QByteArray("");
    for (const Address &each : firstNamed(message, {"X-VELMAR-MAIL-FROM", "Resent-From", "Sender", "From"})) {
        if (!each.address.isEmpty())
            return each.address.toUtf8();
    }
    return {};
}

/// The same mailbox twice is one recipient; only its domain is known to mean the same in any case.
QByteArray mailboxOf(const QByteArray &address)
{
    const qsizetype at = address.lastIndexOf('@');
    return at < 0 ? address : address.first(at) + address.sliced(at).toLower();
}

} // namespace

EnvelopeAddress envelopeAddress(const QByteArray &written)
{
    EnvelopeAddress address;
    address.written = written;
    const qsizetype at = written.lastIndexOf('@');
    const QByteArray local = written.first(at < 0 ? written.size() : at);
    const QByteArray domain = at < 0 ? QByteArray() : asciiDomain(written.sliced(at + 1));
    address.needsUtf8 = !isAscii(local);
    address.wire = at < 0 ? local : local + '@' + domain;
    address.isUsable = isOneWord(address.wire) && address.wire.size() <= kLongestAddress &&
                       (at < 0 || (at > 0 && !domain.isEmpty()));
    return address;
}

Envelope envelopeOf(const QByteArray &message)
{
    const Message header(message.first(headerExtent(message).length)); // no copy of all the text
    QList<Address> named = firstNamed(header, {"X-VELMAR-RCPT-TO", "Resent-To"});
    if (named.isEmpty())
        named = header.addresses("To") + header.addresses("Cc");
    Envelope envelope;
    envelope.sender = senderOf(header);
    QSet<QByteArray> seen;
    for (const Address &each : named) {
        const QByteArray address = each.address.toUtf8();
        const QByteArray mailbox = mailboxOf(address);
        if (address.isEmpty() || seen.contains(mailbox))
            continue;
        seen.insert(mailbox);
        envelope.recipients.append(address);
    }
    return envelope;
}

QByteArray smtpClientName(const QString &host, const QHostAddress &address)
{
    const bool isName = host.contains(u'.') && std::all_of(host.begin(), host.end(), [](QChar c) {
                            return c.unicode() < 0x80 && (c.isLetterOrNumber() || c == u'-' || c == u'.');
                        });
    if (isName)
        return host.toLatin1();
    QHostAddress plain = address;
    plain.setScopeId({});
    bool isOld = false;
    const quint32 old = plain.toIPv4Address(&isOld);
    const QString text = isOld ? QHostAddress(old).toString() : u"IPv6:"_s + plain.toString();
    return '[' + text.toLatin1() + ']';
}
