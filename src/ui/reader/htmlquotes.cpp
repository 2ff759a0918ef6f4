#include "ui/reader/htmlquotes.h"

#include "ui/reader/bodyformat.h"

#include <QTextBlock>
#include <QTextCursor>
#include <QTextFrame>

#include <vector>

namespace {

constexpr int kDeepest = 24;

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
