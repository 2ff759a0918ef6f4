#pragma once

#include "compose/composition.h"

#include <QDateTime>

/// Writes messages as texts with "\n" line ends: header lines, an empty line, the body. Nothing in a
/// Composition can add a line or a field of its own to the header (line ends and controls become blanks).

/// What a message is built for.
enum class BuildFor {
    Sending, ///< control headers included, Bcc included; what leaves the machine is cut down by the sender
    Draft,   ///< the same without envelope headers; readComposition() (editing.h) reads it back
};

struct BuildOptions
{
    BuildFor purpose = BuildFor::Sending;
    QByteArray messageId; ///< empty: a new one
    QDateTime date;       ///< invalid: now
};

/// The whole message. Empty after a report when an address or a name cannot be written.
QByteArray buildMessage(const Composition &composition, const BuildOptions &options = {});

/// The header block of fields that people set, in its fixed order, without the MIME fields.
QByteArray buildHeaders(const Composition &composition, const BuildOptions &options = {});

/// Adds to @p headers the control headers, "MIME-Version" and "Lines", and joins the @p body (its own
/// Content- lines, an empty line, the text).
QByteArray finishMessage(const Composition &composition, const QByteArray &headers, const QByteArray &body,
                         const BuildOptions &options = {});

/// The body alone with its Content- lines in front, then an empty line.
QByteArray buildBody(const Composition &composition);

/// The frames of RFC 3156 around what a process of keys gave; @p signedPart and its signature, or the
/// armoured data. Content- lines, an empty line, the body.
QByteArray signedBody(const QByteArray &signedPart, const QByteArray &signature);
QByteArray encryptedBody(const QByteArray &armoured);

/// @p message (as stored) for a new recipient: Resent- lines added, control headers of its own dropped,
/// everything else unchanged; the envelope goes to @p to, from the identity's bare address.
QByteArray resentMessage(const QByteArray &message, const Identity &identity, const QString &to);

/// A boundary "%d--%d--%d" that occurs in none of @p parts.
QByteArray newBoundary(const QList<QByteArray> &parts);
