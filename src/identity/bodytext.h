#pragma once

#include "message/message.h"

/// What a person reads of the body of @p message, with "\n" line ends: its texts that are no attachments; of
/// alternatives the plain one, HTML as plain text where there is no other. Enclosed messages count only where
/// the message has no text of its own.
QString bodyText(const Message &message);
