#pragma once

#include "compose/messagebody.h"
#include "html/sanitizer.h"

/// The HTML of a message that is quoted or passed on: the sanitiser's, with those pictures of the message's
/// own parts that it shows as attachments of their own. Nothing in it refers to anything else.
struct RichQuote
{
    QString html; ///< what stands inside a body; empty: the message has no HTML
    QList<Attachment> pictures;
    QList<int> parts;   ///< where the pictures came from
    bool isCut = false; ///< there was more than the sanitiser takes
};

/// @p most: bytes of HTML that are looked at, each.
RichQuote richQuote(const MessageBody &body, const MIMEContext &mime, const QString &sender,
                    qsizetype most = HtmlOptions::kEverything);
