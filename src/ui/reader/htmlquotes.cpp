#include "ui/reader/htmlquotes.h"

#include "ui/reader/bodyformat.h"
#include "ui/reader/plaintext.h"

#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFrame>

#include <vector>

namespace {

constexpr int kDeepest = 24;
constexpr int kUsualWidth = 80; ///< characters

/// The document says of the first block of a quotation only that it is one: the others are known by being
/// indented as far.
class Quotations
{
public:
    /// The depth of @p block; to be asked in the order of the text.
    int depthOf(const QTextBlock &block)
    {
        const QTextBlockFormat format = block.blockFormat();
        const double margin = format.leftMargin();
        while (!m_margins.empty() && margin < m_margins.back())
            m_margins.pop_back();
        const bool begins = format.intProperty(QTextFormat::BlockQuoteLevel) > 0;
        if (begins && margin > innermost() && m_margins.size() < kDeepest)
            m_margins.push_back(margin);
        return int(m_margins.size());
    }

    double innermost() const { return m_margins.empty() ? 0 : m_margins.back(); }

private:
    std::vector<double> m_margins; ///< of the quotations that we are in, the innermost last
};

} // namespace

void markHtmlQuotes(QTextFrame *frame)
{
    Quotations quotations;
    for (auto at = frame->begin(); !at.atEnd(); ++at) {
        const QTextBlock block = at.currentBlock();
        if (!block.isValid() || block.text().isRightToLeft())
            continue;
        const int depth = quotations.depthOf(block);
        if (depth == 0)
            continue;
        QTextBlockFormat format = block.blockFormat();
        format.setLeftMargin(format.leftMargin() - quotations.innermost() + depth * bodyformat::kQuoteStep);
        format.setRightMargin(0);
        format.setProperty(bodyformat::QuoteLevel, depth);
        QTextCursor(block).setBlockFormat(format);
    }
}

QList<HtmlFold> htmlFoldsOf(QTextFrame *frame)
{
    QList<HtmlFold> folds;
    HtmlFold run;
    bool hasOwnWords = false;
    const auto endRun = [&] {
        if (run.shown > kLongestOpenQuote)
            folds.prepend(run);
        run = {};
    };
    for (auto at = frame->begin(); !at.atEnd(); ++at) {
        const QTextBlock block = at.currentBlock();
        const bool isQuoted = block.isValid() && block.blockFormat().hasProperty(bodyformat::QuoteLevel);
        if (!isQuoted) { // a table cannot be hidden
            hasOwnWords = hasOwnWords || !block.isValid() || !block.text().trimmed().isEmpty();
            endRun();
            continue;
        }
        if (!run.first.isValid())
            run.first = block;
        run.last = block;
        run.shown += 1 + block.length() / kUsualWidth;
    }
    endRun();
    return hasOwnWords ? folds : QList<HtmlFold>();
}

void hideHtmlFold(const HtmlFold &fold, int id)
{
    for (QTextBlock block = fold.first; block.isValid(); block = block.next()) {
        QTextBlockFormat format;
        format.setProperty(bodyformat::FoldedIn, id);
        QTextCursor(block).mergeBlockFormat(format);
        block.setVisible(false);
        if (block == fold.last)
            return;
    }
}

bool showHtmlFold(QTextDocument &document, int id)
{
    const auto isInside = [id](const QTextBlock &block) {
        return block.blockFormat().hasProperty(bodyformat::FoldedIn) &&
               block.blockFormat().intProperty(bodyformat::FoldedIn) == id;
    };
    QTextBlock block = document.begin();
    while (block.isValid() && !isInside(block))
        block = block.next();
    if (!block.isValid() || block.isVisible())
        return false;
    QTextBlock label = block.previous();
    int last = block.position();
    for (; block.isValid() && isInside(block); block = block.next()) {
        block.setVisible(true);
        last = block.position() + block.length();
    }
    QTextCursor cursor(label);
    cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor);
    const int begin = label.position();
    const QTextBlockFormat format = label.next().blockFormat();
    const int length = label.length();
    cursor.removeSelectedText();
    cursor.setBlockFormat(format); // removing a block takes the format of the first one
    document.markContentsDirty(begin, last - begin - length);
    return true;
}

QList<int> htmlFoldsWith(const QTextDocument &document, const QString &text)
{
    QList<int> found;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const int id = block.blockFormat().intProperty(bodyformat::FoldedIn);
        if (!block.isVisible() && !found.contains(id) && block.text().contains(text, Qt::CaseInsensitive))
            found.append(id);
    }
    return found;
}
