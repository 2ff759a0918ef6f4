#pragma once

#include "net/discovery/discovery.h"
#include "ui/look/messagebar.h"

/// A sentence about what was found, and how much it weighs.
struct DiscoveryWords
{
    MessageBar::Kind kind = MessageBar::Kind::Information;
    QString text;      ///< empty: there is nothing to say
    QString page = {}; ///< where the user can do something about it; empty: nowhere
    bool ends = false; ///< the account cannot be set up
};

/// Where @p settings for the addresses of @p domain come from.
DiscoveryWords sourceWords(const MailSettings &settings, const QString &domain);

/// That the server belongs to somebody else than the address; nothing where it does not.
DiscoveryWords strangerWords(const MailSettings &settings, MailProtocol protocol, const QString &domain);

/// What the provider demands before a mail program can sign in with @p protocol.
DiscoveryWords needWords(const MailSettings &settings, MailProtocol protocol);

/// What a search that found nothing to use came to.
DiscoveryWords nothingWords(const ServerDiscovery &discovery, MailProtocol protocol);
