#pragma once

#include <QSyntaxHighlighter>

/// Colours the quoted lines of a text by their depth, and its signature, as the reader does. One line is
/// coloured by itself, but for the few lines of a signature; so a key costs the same in a text of any length.
class QuoteColours : public QSyntaxHighlighter
{
    Q_OBJECT

public:
    explicit QuoteColours(QTextDocument *document);

    /// How deep a line is quoted: 0, it is not.
    static int depthOf(QStringView line);

protected:
    void highlightBlock(const QString &text) override;
};
