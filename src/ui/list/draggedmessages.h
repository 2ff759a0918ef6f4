#pragma once

#include "store/messageref.h"

#include <QByteArray>

/// Messages on their way by drag and drop, of any groups.
constexpr char kMessagesMimeType[] = "application/x-velmar-messages";
QByteArray encodeDragged(const MessageRefs &messages);

/// Empty when @p bytes are no such thing.
MessageRefs decodeDragged(const QByteArray &bytes);
