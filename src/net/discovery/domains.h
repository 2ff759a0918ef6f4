#pragma once

#include <QString>

/// An address taken apart for the search; its domain in ASCII (IDNA) and lower case.
struct MailIdentity
{
    QString address; ///< as entered, without blanks around it
    QString localPart;
    QString domain; ///< empty: it is no address

    bool isValid() const { return !domain.isEmpty(); }
};
MailIdentity mailIdentityOf(const QString &address);

/// @p name in ASCII and lower case without a dot at its end; empty when it is no complete name of a host on
/// the net: an address, a single label, "localhost" and the names of home networks (RFC 6761, RFC 8375).
QString netHostName(const QString &name);

/// The part of @p host that somebody registered: "example.co.uk" of "pop.example.co.uk". Public suffixes of
/// two labels are told by their generic word below a country, which is enough to point a stranger out.
QString registrableDomain(const QString &host);

/// Whether both belong to the same registered domain.
bool isSameDomain(const QString &host, const QString &other);
