#pragma once

#include <QString>

class QTextDocument;

/// The formatted text as plain text with "\n" line ends: quotations behind the quote marks, lists behind "- "
/// or their number, the cells of a row side by side, links with their address where they do not show it.
QString plainTextOf(const QTextDocument &document);

/// Whether @p document has anything that its plain form cannot say; what only parts paragraphs is nothing.
bool hasFormatting(const QTextDocument &document);

/// The other way: every line a paragraph, quoted ones quotations, addresses links. plainTextOf() gives the
/// same text back.
void fillWithPlain(QTextDocument &document, const QString &text);
