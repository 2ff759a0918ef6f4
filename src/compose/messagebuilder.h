#pragma once

#include "compose/composition.h"

#include <QDateTime>

#include <functional>

/// Writes messages as texts with "\n" line ends: header lines, an empty line, the body. Nothing in a
/// Composition can add a line or a field of its own to the header (line ends and controls become blanks).

/// What a message is built for.
enum class BuildFor {
    Sending, ///< control headers included, Bcc included; what leaves the machine is cut down by the sender
    Draft,   ///< the same without envelope headers, the text as typed; readComposition() (editing.h) reads it
};

struct BuildOptions
{
    BuildFor purpose = BuildFor::Sending;
    QByteArray messageId; ///< empty: a new one
    QDateTime date;       ///< invalid: now
};

/// The whole message. Empty after a report when an address cannot be sent to or from.
QByteArray buildMessage(const Composition &composition, const BuildOptions &options = {});

/// The header block of fields that people set, in its fixed order, without the MIME fields.
QByteArray buildHeaders(const Composition &composition, const BuildOptions &options = {});

/// Adds to @p headers the control headers, "MIME-Version" and "Lines", and joins the @p body (its own
/// Content- lines, an empty line, the text).
QByteArray finishMessage(const Composition &composition, const QByteArray &headers, const QByteArray &body,
                         const BuildOptions &options = {});

/// The body alone with its Content- lines in front, then an empty line.
QByteArray buildBody(const Composition &composition, const BuildOptions &options = {});

/// The frames of RFC 3156 around what a process of keys gave; @p signedPart (a buildBody()) and its
/// signature, or the armoured data. Content- lines, an empty line, the body. @p micalg names the digest.
QByteArray signedBody(const QByteArray &signedPart, const QByteArray &signature,
                      const QByteArray &micalg = "pgp-sha1");
QByteArray encryptedBody(const QByteArray &armoured);

/// @p message (as stored) for a new recipient: Resent- lines added, control headers of its own dropped,
/// everything else unchanged; the envelope goes to @p to, from the identity's bare address. Empty after a
/// report as in buildMessage().
QByteArray resentMessage(const QByteArray &message, const Identity &identity, const QString &to);

/// What goes to the newsgroups of a message that was built to be posted and mailed: without its envelope, its
/// Bcc, and "[Posted and mailed]", which stands in what is mailed alone. Both bear one identifier. Any other
/// message is as it was.
QByteArray postedForm(const QByteArray &message);

/// A new message identifier under the identity's host name, or else the domain of its address.
QByteArray newIdentifier(const Identity &identity);

/// A boundary "%d--%d--%d" of pseudo-random numbers that occurs in none of @p parts; a test may give the
/// numbers.
QByteArray newBoundary(const QList<QByteArray> &parts, std::function<int()> number = {});

/// Whether the program writes the field @p name itself, shows it as an entry field or a choice, or a message
/// gets it on its way: such a one is no free line of the user's. Any case.
bool isOwnField(QByteArrayView name);

/// How attachments go: as `UseMIMEForMail` and `UseUUCodeForMail` say, or for articles their likes and
/// `UseYEncForNews`. None of them: MIME.
AttachmentForm preferredAttachmentForm(bool isArticle);
