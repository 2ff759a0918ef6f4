#pragma once

#include "message/message.h"

/// "In-Reply-To" of an answer to @p original: its identifier; empty when it has no usable one.
QByteArray answerInReplyTo(const Message &original);

/// "References" of an answer (RFC 5322 section 3.6.4): those of @p original, else its "In-Reply-To" where
/// that names one message only, then its own. Of a long list the first and the newest stay, as threads need
/// them (RFC 5537 section 3.4.4).
QByteArray answerReferences(const Message &original);

/// The identifiers in @p field that may stand in a header: printable ASCII, at most 250 bytes each.
QList<QByteArray> usableIds(QByteArrayView field);
