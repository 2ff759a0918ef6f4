#include "compose/envelope.h"

#include "config/reporter.h"

#include <QSet>

using namespace Qt::StringLiterals;

QList<Address> envelopeRecipients(const QStringList &fields)
{
    QList<Address> recipients;
    QSet<QString> seen;
    for (const QString &field : fields) {
        const QList<Address> addresses = parseAddresses(fieldText(field));
        for (const Address &address : addresses) {
            const qsizetype domain = address.address.lastIndexOf(u'@') + 1;
            const QString key = address.address.isEmpty() ? address.name
                                                          : address.address.first(domain) +
                                                                address.address.sliced(domain).toLower();
            if (seen.contains(key))
                continue;
            seen.insert(key);
            recipients.append(address);
        }
    }
    return recipients;
}

bool canBeAddressed(const Identity &identity, const QList<Address> &recipients)
{
    if (!isValidAddress(identity.address)) {
        report(ReportLevel::Warning,
               "Unable to send the message: the address of the identity '%s' is not valid",
               qUtf8Printable(identity.name));
        return false;
    }
    for (const Address &recipient : recipients) {
        if (isValidAddress(recipient.address))
            continue;
        report(ReportLevel::Warning, "Unable to send the message: '%s' is not a valid address",
               qUtf8Printable(recipient.address.isEmpty() ? recipient.name : recipient.address));
        return false;
    }
    return true;
}

void writeEnvelope(HeaderWriter &header, const Identity &identity, QList<Address> recipients)
{
    for (Address &recipient : recipients)
        recipient.name.clear();
    header.addresses("X-VELMAR-RCPT-TO", recipients);
    header.addresses("X-VELMAR-MAIL-FROM", {Address{QString(), identity.address}});
}
