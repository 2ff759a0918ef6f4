#pragma once

#include <QString>

class QTextDocument;

/// Writes a document of the formatted editor as HTML for mail: paragraphs, headings, lists, quotations, bold,
/// italic, underline, colours, links, alignment and pictures, nothing else.
QString htmlOf(const QTextDocument &document);

/// The same as plain text with "\n" line ends: quotations behind "> ", lists behind "- " or their number.
QString plainTextOf(const QTextDocument &document);
