#pragma once

#include <QString>

class QTextBlock;
class QTextDocument;

/// Writes a document of the formatted editor as HTML for mail, in a subset that every reader knows:
/// paragraphs, headings, preformatted text, lists in lists, quotations in quotations, tables with their
/// widths, borders and grounds, rules, links, pictures that are parts of the message, and the looks of
/// letters. fillWithHtml() makes the same document of it again.
QString htmlOf(const QTextDocument &document);

/// One paragraph by itself; what it writes tells two of them apart.
QString htmlOf(const QTextBlock &block);
