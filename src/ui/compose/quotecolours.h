#pragma once

#include "compose/quotemarks.h"

#include <QSyntaxHighlighter>

/// Colours the quoted lines of a text by their depth, and its signature, as the reader does. One line is
/// coloured by itself, but for the few lines of a signature; so a key costs the same in a text of any length.
class QuoteColours : public QSyntaxHighlighter
{
    Q_OBJECT

public:
    explicit QuoteColours(QTextDocument *document);

protected:
    void highlightBlock(const QString &text) override;

private:
    QuoteMarks m_marks;
};

/// The same for a formatted text, whose paragraphs know how deep they are quoted. What has colours of its own
/// keeps them in the message and is only shown so that it can be read in this look.
class RichColours : public QSyntaxHighlighter
{
    Q_OBJECT

public:
    explicit RichColours(QTextDocument *document);

    /// The look has changed.
    void takeLook();

    QColor levelColour(int level) const; ///< of the bar and the text; @p level from 1

protected:
    void highlightBlock(const QString &text) override;

private:
    QColor usualColour(const QTextBlock &block) const;
    QColor colourOf(const QTextCharFormat &format, const QColor &usual, bool isOnGround) const;

    std::vector<QColor> m_levels;
    QColor m_signature;
    QColor m_base;
};
