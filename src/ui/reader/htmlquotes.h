#pragma once

class QTextFrame;

/// Gives the quotations of HTML that was inserted into @p frame (<blockquote>) the margins and bars that
/// those of plain texts have. Texts in tables inside a quotation stay as they are.
void markHtmlQuotes(QTextFrame *frame);
