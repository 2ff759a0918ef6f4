#pragma once

#include <QString>

struct HtmlTextOptions
{
    qsizetype cap = 1024 * 1024; ///< bytes of markup and text that are read
    bool quotes = true;          ///< "> " before the lines of a quotation
    bool links = true;           ///< the address behind a link's text, where the two differ
};

/// HTML as plain text, for previews, replies and the junk test: paragraphs with an empty line between, items
/// of lists behind "- " or their number, the rows of tables as lines, pictures by their words. What the
/// message hides from its readers is left out. Lines end in "\n" and are not wrapped; none ends in a blank.
QString htmlToText(const QString &html, const HtmlTextOptions &options = {});
