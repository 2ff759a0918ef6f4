#pragma once

#include <QList>
#include <QString>
#include <QTextBlock>

class QTextDocument;
class QTextFrame;

/// The quotations of HTML (<blockquote>) in a document that it was inserted into. Their blocks stay where
/// they are, folded or not; texts in tables inside a quotation stay as they are.

/// Gives the quotations in @p frame the margins and bars that those of plain texts have.
void markHtmlQuotes(QTextFrame *frame);

/// A run of marked blocks that is to be folded.
struct HtmlFold
{
    QTextBlock first;
    QTextBlock last;
    int shown = 0; ///< lines that a window of ordinary width would show
};

/// The runs of more than kLongestOpenQuote quoted lines; none when the text is nothing but quotation. The
/// last one stands first, so that writing at one leaves the others where they are.
QList<HtmlFold> htmlFoldsOf(QTextFrame *frame);

/// Hides the blocks of @p fold; @p id stands for them.
void hideHtmlFold(const HtmlFold &fold, int id);

/// Shows what @p id stands for. False: it stands for nothing in the document.
bool showHtmlFold(QTextDocument &document, int id);

/// The folds whose text contains @p text, whatever its case.
QList<int> htmlFoldsWith(const QTextDocument &document, const QString &text);
