#pragma once

#include "net/discovery/domains.h"
#include "net/discovery/mailsettings.h"

#include <QByteArray>

/// More than this nobody needs to publish.
constexpr qint64 kMostAutoconfigBytes = 256 * 1024;

/// What a file of published settings says (clientConfig, version 1.1).
struct Autoconfig
{
    bool isOne = false;              ///< false: something else
    QString name;                    ///< the provider's, for people; may be empty
    std::vector<MailServer> servers; ///< those that can be used, and those with OAuth2 only, in their order
    int withoutTls = 0;              ///< servers that were passed over because they offer no encryption
};

/// Reads @p xml tolerantly: unknown elements are passed over, a file that breaks off keeps what came before.
/// Document types, and with them entities, are refused.
Autoconfig readAutoconfig(const QByteArray &xml, const MailIdentity &who);
