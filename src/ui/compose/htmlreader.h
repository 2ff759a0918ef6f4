#pragma once

#include <QString>

class QTextDocument;

/// Fills @p document, whose undo history goes, with @p html. Beyond the toolkit's reader: every paragraph and
/// table knows how deep it is quoted and whether it belongs to the signature, lists keep their first number,
/// and a line end that closes a paragraph is none.
void fillWithHtml(QTextDocument &document, const QString &html);
