#pragma once

#include <QHostAddress>
#include <QUrl>

#include <optional>

/// A web address taken apart for a request.
struct WebUrl
{
    bool isEncrypted = false;
    QString host;         ///< ASCII, lower case, no dot at its end; an IPv6 address without brackets
    QHostAddress literal; ///< null unless the host is an address
    quint16 port = 0;
    QByteArray target; ///< path and query, as they are sent

    QByteArray hostField() const; ///< the host as it is sent: in brackets where it must be, port unless usual
    QByteArray hostAndPort() const;
    QByteArray whole() const; ///< without fragment, as a proxy wants it
};

/// Nothing unless @p url is http or https, without a user, to a host on the net. A host is a complete name:
/// one label alone or a name of home networks (RFC 6761, RFC 8375, .local ...) can mean the reader's own
/// network only. What looks like a number is an address, and must be written as such addresses are.
std::optional<WebUrl> webUrlOf(const QUrl &url);
