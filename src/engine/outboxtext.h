#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>

/// What the outbox reads and changes in the header of a message that was built here.

/// Bare addresses that it goes to, each once: those of its envelope (net/smtp/envelope.h), or, where control
/// headers are no word of ours, those of To, Cc and Bcc, or of the newest resending where it isResent().
QList<QByteArray> outgoingRecipients(const QByteArray &message, bool ownControls);

/// Whether it is about to be sent on: nothing but its sender has touched it since it was resent (RFC 5322
/// 3.6.6), for who receives it puts his trace in front.
bool isResent(const QByteArray &message);

/// Whether it is to be posted, too.
bool isPost(const QByteArray &message);

/// Whether it is marked to be encrypted, and nobody has done it.
bool wouldLeaveInClear(const QByteArray &message);

/// @p message without the newsgroups and what else concerns its posting.
QByteArray withoutPost(const QByteArray &message);

/// @p message without its control headers.
QByteArray withoutControls(const QByteArray &message);

/// @p message dated @p date; one that is resent keeps its own date, its "Resent-Date" is set.
QByteArray dated(const QByteArray &message, const QDateTime &date, bool isResent);

/// @p message with the recipients @p left alone, in its entry fields and in the control header.
QByteArray onlyTo(const QByteArray &message, const QList<QByteArray> &left);
