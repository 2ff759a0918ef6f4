#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QString>

#include <optional>

/// The envelope of a message (RFC 5321): whom MAIL and RCPT name, and how.

/// An address as MAIL and RCPT carry it.
struct EnvelopeAddress
{
    QByteArray written;     ///< as the message names it, UTF-8; by that the queue knows it
    QByteArray wire;        ///< between the angle brackets, its domain in the ASCII form (IDNA)
    bool needsUtf8 = false; ///< the part before the "@" is outside ASCII

    /// Whether it can stand in a command: it has no control, no blank or angle bracket outside quotes, and a
    /// length that a line of commands holds.
    bool isUsable = false;
};

/// @p written without its angle brackets; empty is the sender of notices and no recipient.
EnvelopeAddress envelopeAddress(const QByteArray &written);

struct Envelope
{
    /// None: the message names nobody. Empty: the sender of notices, to whom nothing can be returned.
    std::optional<QByteArray> sender;
    QList<QByteArray> recipients; ///< each once, in the order of the message
};

/// What the header of @p message says: the fields of the envelope itself, else those of a message that is
/// sent on, else its authors and receivers.
Envelope envelopeOf(const QByteArray &message);

/// The name in EHLO and HELO: @p host where that is a full one, else the address of this end as a literal
/// (RFC 5321 4.1.3).
QByteArray smtpClientName(const QString &host, const QHostAddress &address);
