#pragma once

#include "message/message.h"

#include <QString>

/// Text for people: quoting, attribution, wrapping.

/// @p text wrapped at @p width characters (as shown: wide ones count two): quoted lines, lines without a
/// blank, "-- " and what stands behind it stay as they are.
QString wrapText(const QString &text, int width);

/// Quoted paragraphs filled anew, each behind its own prefix; what @p text has unquoted is wrapped as well.
QString rewrapText(const QString &text, int width);

/// Each line behind `QuotePrefix`; lines that are quoted already get it without its blank.
QString quotedText(const QString &text);

/// @p text without the signature that ends it ("-- " on a line of its own); unchanged where there is none.
QString withoutSignature(const QString &text);

/// The leading text of a quotation: `AttributionText`, or `AttributionTextPersonal` for one's own message,
/// its variables filled from @p message.
QString attribution(const Message &message, bool ownMessage);

/// The text of @p message that a reply quotes: its plain text, or its HTML as text; signature cut unless
/// `QuoteSigs`.
QString textToQuote(const Message &message);
