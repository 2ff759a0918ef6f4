#include "ui/compose/quotecolours.h"

#include "ui/compose/composeformat.h"
#include "ui/look/colours.h"
#include "ui/look/oklch.h"
#include "ui/look/storedcolours.h"

#include <QTextDocument>
#include <QTextTable>

using namespace Qt::StringLiterals;

namespace {

/// The state of a line: how many lines stand between it and the separator above it. Signatures are short;
/// what comes later is text.
constexpr int kNoSignature = -1;
constexpr int kLongestSignature = 30;

constexpr Setting kQuoteColours[] = {Setting::ReadColourQ1, Setting::ReadColourQ2, Setting::ReadColourQ3,
                                     Setting::ReadColourQ4};
constexpr int kQuoteKinds = int(std::size(kQuoteColours));

/// @p above: the state of the line above.
int signatureState(const QString &text, int above)
{
    if (text == kSignatureSeparator)
        return 0;
    return above >= 0 && above < kLongestSignature ? above + 1 : kNoSignature;
}

/// Whether something lies between the paper and @p block: such a place is a card of the light look.
bool hasGround(const QTextBlock &block)
{
    if (block.blockFormat().hasProperty(QTextFormat::BackgroundBrush))
        return true;
    QTextFrame *frame = QTextCursor(block).currentFrame();
    for (int position = block.position(); frame && frame->parentFrame();
         position = frame->firstPosition() - 1, frame = frame->parentFrame()) {
        if (frame->frameFormat().hasProperty(QTextFormat::BackgroundBrush))
            return true;
        const auto *table = qobject_cast<const QTextTable *>(frame);
        if (table && table->cellAt(position).format().hasProperty(QTextFormat::BackgroundBrush))
            return true;
    }
    return false;
}

} // namespace

QuoteColours::QuoteColours(QTextDocument *document)
    : QSyntaxHighlighter(document)
{}

void QuoteColours::highlightBlock(const QString &text)
{
    const int state = signatureState(text, previousBlockState());
    setCurrentBlockState(state);
    if (const int depth = m_marks.depthOf(text); depth > 0)
        setFormat(0, int(text.size()), shownColour(kQuoteColours[(depth - 1) % kQuoteKinds]));
    else if (state != kNoSignature)
        setFormat(0, int(text.size()), shownColour(Setting::ReadColourSig));
}

RichColours::RichColours(QTextDocument *document)
    : QSyntaxHighlighter(document)
{
    takeLook();
}

void RichColours::takeLook()
{
    m_levels.clear();
    for (const Setting setting : kQuoteColours)
        m_levels.push_back(shownColour(setting));
    m_signature = shownColour(Setting::ReadColourSig);
    m_base = shownColour(Setting::SendColourBG);
    rehighlight();
}

QColor RichColours::levelColour(int level) const
{
    return m_levels[std::size_t(level - 1) % m_levels.size()];
}

/// Of the letters that say nothing themselves; invalid: the editor's own.
QColor RichColours::usualColour(const QTextBlock &block) const
{
    const QTextBlockFormat format = block.blockFormat();
    if (const int level = composeformat::quoteLevel(format); level > 0)
        return levelColour(level);
    const bool isSignature =
        format.boolProperty(composeformat::IsSignature) || currentBlockState() != kNoSignature;
    return isSignature ? m_signature : QColor();
}

QColor RichColours::colourOf(const QTextCharFormat &format, const QColor &usual, bool isOnGround) const
{
    const bool isLight = currentScheme() == Scheme::Light;
    const bool isCard = isOnGround || format.hasProperty(QTextFormat::BackgroundBrush);
    if (format.isAnchor() && !format.hasProperty(QTextFormat::ForegroundBrush))
        return colour(Role::Link, isCard ? Scheme::Light : currentScheme());
    if (format.hasProperty(QTextFormat::ForegroundBrush)) {
        const QColor own = format.foreground().color();
        return isLight || isCard ? QColor() : mapColour(own, m_base);
    }
    if (isCard)
        return isLight ? QColor() : colour(Role::Text, Scheme::Light);
    return usual;
}

void RichColours::highlightBlock(const QString &text)
{
    setCurrentBlockState(signatureState(QString(text).replace(QChar::Nbsp, u' '), previousBlockState()));
    const QTextBlock block = currentBlock();
    const QColor usual = usualColour(block);
    const bool isOnGround = hasGround(block);
    for (auto it = block.begin(); !it.atEnd(); ++it) {
        const QTextFragment fragment = it.fragment();
        const QColor shown = colourOf(fragment.charFormat(), usual, isOnGround);
        if (shown.isValid())
            setFormat(fragment.position() - block.position(), fragment.length(), shown);
    }
}
