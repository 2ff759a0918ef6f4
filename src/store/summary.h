#pragma once

#include "store/headercache.h"
#include "store/overview.h"

#include <QByteArray>

class Message;

/// What the store keeps of a message besides its text.
struct Summary
{
    Overview overview; ///< everything that follows from the text, and the arrival; no place, no article
    HeaderTexts texts;
};

/// A message as it will lie in a bin, with what follows from its text: it only needs to be written.
struct PackedMessage
{
    QByteArray data; ///< packed, where the mark Compressed is set
    Summary summary; ///< with both lengths and the checksum of the text
};

/// Reads the summary out of @p message. A message without a readable date gets the date @p arrival (seconds
/// since 1970 UTC) and the mark DateUnreadable.
Summary summaryOf(const Message &message, qint64 arrival);
