#pragma once

#include "store/headercache.h"
#include "store/overview.h"

class Message;

/// What the store keeps of a message besides its text.
struct Summary
{
    Overview overview; ///< everything that follows from the text, and the arrival; no place, no article
    HeaderTexts texts;
};

/// Reads the summary out of @p message. A message without a readable date gets the date @p arrival (seconds
/// since 1970 UTC) and the mark DateUnreadable.
Summary summaryOf(const Message &message, qint64 arrival);
