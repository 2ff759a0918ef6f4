#pragma once

#include "net/discovery/domains.h"
#include "net/discovery/mailsettings.h"

#include <optional>

/// The settings of the large provider whose domain @p who has; nothing when the list does not know it. An
/// entry without servers says by its needs why there are none.
std::optional<MailSettings> providerFor(const MailIdentity &who);

/// The settings of the large provider whose @p exchange receives the mail of @p who.
std::optional<MailSettings> providerBehind(const QString &exchange, const MailIdentity &who);
