#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

/// Addresses as header fields and people write them (RFC 5322, its obsolete forms included).

struct Address
{
    QString name;    ///< display name, decoded, without quotes; may be empty
    QString address; ///< "local@domain" as written, without angle brackets and route; may be empty

    bool operator==(const Address &) const = default;
};

/// The addresses of a field's text, encoded words not yet decoded: a decoded comma or "<" is part of a name
/// and changes nothing else. Members of groups are listed like others. A bare word is an address, several
/// words without any are a name. Never fails; linear in the text.
QList<Address> parseAddresses(const QString &field);

/// The address alone of the first entry; empty when there is none.
QString bareAddress(const QString &field);

/// The entry as text for people and entry fields, "name <address>", the name quoted where it must be.
/// parseAddresses() reads it back.
QString formatAddress(const Address &address);

/// The entries as a header field has them: names outside ASCII as encoded words in @p charset, domains
/// outside it in their ASCII form (IDNA); a local part outside it stays UTF-8 (RFC 6532). One line whatever
/// the entries hold.
QByteArray addressField(const QList<Address> &addresses, QByteArrayView charset);

/// Whether @p text is an address as one may type it: RFC 5322 "local@domain" without comments, blanks and
/// obsolete forms; letters of any script; the lengths of RFC 5321.
bool isValidAddress(QStringView text);
