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

/// What is put below a text: signature and tagline, behind "-- \n" where the identity wants it. All are empty
/// where there is neither.
struct SignatureBlock
{
    QString plain; ///< ends in "\n"
    QString html;
    QString shown; ///< what findSignature() finds in a formatted text where @a html was put in
};
SignatureBlock signatureBlock(const Identity &identity, const QString &signature, bool isHtml,
                              const QString &tagline);

struct TextSpan
{
    qsizetype start = -1; ///< -1: there is none
    qsizetype length = 0;
};

/// Where @p known, a signature that was put in, stands in @p text: whole lines, the last of their kind, with
/// their line ends, below all that is forwarded. Blanks and empty lines may differ. What was typed behind it
/// does not belong to it. The same for plain texts and for the plain text of a formatted document.
TextSpan findSignature(QStringView text, QStringView known);

/// Puts the signature in the place of @p previous, which an earlier call returned, in text and HTML alike;
/// where that is not found, below the text. Nothing else changes: what stands there and is not known is the
/// writer's. Without a signature and a tagline @p previous is taken away. Returns what to look for later.
QString setSignature(Composition &composition, const QString &signature, bool isHtml, const QString &tagline,
                     const QString &previous = {});
