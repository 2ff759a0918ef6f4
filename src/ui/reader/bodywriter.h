#pragma once

#include "ui/reader/bodystyle.h"
#include "ui/reader/plaintext.h"

#include <QList>
#include <QTextCursor>
#include <QTextFrame>

class Message;
struct DataCard;
struct SafeHtml;

/// What HTML with colours of its own lies on: its own background, or white.
QColor paperOf(const SafeHtml &html);

/// Writes the pieces of a message into its document, one behind the other from where the cursor stands.
class BodyWriter
{
public:
    /// @p fresh: the block at @p cursor is empty and waits to be filled.
    BodyWriter(const QTextCursor &cursor, const BodyStyle &style, bool fresh);

    const QTextCursor &cursor() const { return m_cursor; }
    bool isFresh() const { return m_fresh; }

    void line(const TextLine &line);
    /// The line that stands for folded ones.
    void fold(int id, const QuoteFold &fold, int level, bool fromRight);
    /// Words of the reader, with a link behind them when @p linkText is not empty.
    void note(const QString &words, const QString &linkText = {}, const QString &target = {});
    /// The name of the part that follows, below a hairline.
    void caption(const QString &name);
    /// The hairline and the distance between two parts without names.
    void divider();
    /// @p nextFold is the id of the next fold.
    void html(const SafeHtml &html, int &nextFold);
    void picture(const QString &name, const QSize &size);
    /// The most important fields of an enclosed message.
    void summary(const Message &message);
    /// Every field of a header.
    void allHeaders(const Message &message);

    /// A whole card of data.
    void dataCard(const DataCard &card);

    /// What follows stands on a card of its own until endCard().
    void beginCard();
    void endCard();

private:
    void startBlock(const QTextBlockFormat &format, const QTextCharFormat &text);
    void enterFrame(const QTextFrameFormat &format);
    void leaveFrame();
    void richText(const QString &text, const QTextCharFormat &format);
    void field(const QString &name, const QString &value);
    void cardTitle(const QString &title);
    void cardRows(const DataCard &card);
    void finishHtml(QTextFrame *frame, int &nextFold);
    QTextBlockFormat paragraph() const;
    QTextCharFormat coloured(const QColor &colour) const;
    QTextCharFormat linkFormat(const QColor &colour, const QString &target) const;
    QTextFrameFormat cardFormat(const QColor &surface, const QColor &outline) const;

    QTextCursor m_cursor;
    const BodyStyle &m_style;
    QList<QTextFrame *> m_frames; ///< the cards that are open, owned by the document
    bool m_fresh;
    bool m_afterBlank = true;
};
