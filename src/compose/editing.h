#pragma once

#include "compose/composition.h"

#include <functional>
#include <optional>

/// An empty message as the settings want it: character set, wrapping, receipt, form of attachments, keys.
Composition newComposition(const Identity &identity, bool isArticle = false);

/// @p message, a draft, a sent or a waiting one, as it can be edited again. Control headers count only with
/// @p ownMessage (built here and in an outbox or drafts group); fields that the program writes itself are
/// never carried over as free lines. @p identities finds the identity by its address.
Composition readComposition(const Message &message, bool ownMessage,
                            const std::function<Identity(const QString &address)> &identities);

/// A mailto: URL (RFC 6068): to, cc, bcc, subject, body and in-reply-to, nothing else. Empty: it is none.
std::optional<Composition> readMailto(const QString &url, const Identity &identity);

/// The signature below the text, behind "-- \n" where the identity wants it; one that stands there already
/// (behind the last separator, above it nothing changes) is replaced. Without a signature and a tagline it is
/// taken away. Where no separator marks it, @p previous is what an earlier call returned: it goes if the text
/// still ends with it. Returns what now ends the plain text.
QString setSignature(Composition &composition, const QString &signature, bool isHtml, const QString &tagline,
                     const QString &previous = {});
