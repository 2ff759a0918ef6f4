#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>

/// What the outbox reads and changes in the header of a message that was built here.

/// Bare addresses of the envelope: of the control header, else of "Resent-To", else of To, Cc and Bcc; each
/// once. @p ownControls: whether control headers count.
QList<QByteArray> envelopeRecipients(const QByteArray &message, bool ownControls);

/// Whether it is to be posted, too.
bool isPost(const QByteArray &message);

/// @p message without its control headers.
QByteArray withoutControls(const QByteArray &message);

/// @p message dated @p date; one that is resent keeps its own date, its "Resent-Date" is set.
QByteArray dated(const QByteArray &message, const QDateTime &date, bool isResent);

/// @p message with the recipients @p left alone, in its entry fields and in the control header.
QByteArray onlyTo(const QByteArray &message, const QList<QByteArray> &left);
