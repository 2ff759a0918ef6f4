#pragma once

#include "compose/messagebody.h"
#include "message/message.h"

#include <QString>

/// Text for people: quoting, attribution, wrapping.

/// @p text wrapped at @p width characters (as shown: wide ones count two), at blanks and between ideographs.
/// Words are never broken. Quoted lines, what stands between the marks of a forwarded message, "-- " and what
/// stands behind it stay as they are. No wrapping makes a line look quoted. @p width below 1: as it is.
QString wrapText(const QString &text, int width);

/// Quoted paragraphs filled anew, each behind its own prefix, indented lines as they are; what @p text has
/// unquoted is wrapped as wrapText() does.
QString rewrapText(const QString &text, int width);

/// Each line behind `QuotePrefix`; lines that are quoted already get it without its blank, empty ones too.
/// Control characters go, and lines over 900 characters are broken, each piece behind the marks of the whole.
QString quotedText(const QString &text);

/// @p text without the signature that ends it ("-- " on a line of its own) and the empty lines above that;
/// unchanged where there is none. The footer that a list puts below a signature goes, too.
QString withoutSignature(const QString &text);

/// Where the signature begins, its separator included; -1 where there is none. A separator inside a forwarded
/// message is none.
qsizetype signatureStart(QStringView text);

/// The leading text of a quotation, one line: `AttributionText`, or `AttributionTextPersonal` where the
/// answer goes to its author alone ("You wrote:"). Values are not expanded again; what is no variable stays.
///
///     %f  the author's name, or the address     %s  the subject
///     %e  the author's address                  %n  the newsgroups
///     %F  both: name <address>                  %i  the Message-ID
///     %d  the date, %t the time of day, both in the user's zone and form
///     %D  the field Date as it stands           %%  "%"
QString attribution(const Message &message, bool personal);
/// The same from @p text instead of a setting.
QString filledAttribution(const QString &text, const Message &message);

/// The text of a message that a reply quotes: its plain text, or its HTML as text; signature cut unless
/// `QuoteSigs`. With `SendWrapText` its paragraphs of one line each are wrapped to fit behind `QuotePrefix`.
QString textToQuote(const MessageBody &body);

/// The whole quotation: attribution(), an empty line, the quoted text (@p selected alone where that is not
/// empty). Ends in "\n"; empty when there is nothing to quote.
QString quotation(const Message &message, const MessageBody &body, bool personal,
                  const QString &selected = {});
QString quotation(const Message &message, bool personal, const QString &selected = {});
