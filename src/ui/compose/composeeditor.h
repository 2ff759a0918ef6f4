#pragma once

#include "compose/composition.h"

#include <QWidget>

#include <vector>

class FindBar;
class PlainEditor;
class QStackedLayout;
class QTextCursor;
class QTextDocument;
class RichEditor;

/// The text of the message that is written, plain or formatted: two editors of which one is shown, and what
/// both can do.
class ComposeEditor : public QWidget
{
    Q_OBJECT

public:
    explicit ComposeEditor(QWidget *parent = nullptr);

    bool isRich() const { return m_isRich; }
    PlainEditor *plain() const { return m_plain; }
    RichEditor *rich() const { return m_rich; }
    QWidget *current() const;

    /// Puts the text of @p composition in, formatted where it has HTML. Nothing to undo afterwards.
    void show(const Composition &composition);

    /// Takes text, html and the pictures inside the text; other attachments are left alone.
    void read(Composition &composition) const;

    /// The same as one step to undo, as far as it differs from what is shown; the cursor stays in its place.
    void changeTo(const Composition &composition);

    /// Goes over to the other form, with the text as far as that can hold it. undo() goes back, formatting
    /// and all.
    void setRich(bool rich);

    /// Whether anything would be lost by going over to plain text.
    bool hasFormatting() const;

    QString plainForm() const;

    /// Of what was written here, as countOwnWords() says.
    int wordCount(const QStringList &known = {}) const;

    void undo();
    void redo();
    bool canUndo() const;
    bool canRedo() const;
    void forgetHistory();
    void cut();
    void copy();
    void paste();
    void pastePlain();
    void pasteAsQuotation();
    void selectAll();
    void rewrap(); ///< plain text alone
    void insertText(const QString &text);

    /// At the beginning, before what is quoted.
    void placeCursor();

signals:
    void changed();
    void filesDropped(const QStringList &paths);
    void imageDropped(const QImage &image); ///< where the text cannot hold it

    /// More was pasted or dropped than can be written in: one of the two, the other is empty.
    void tooMuchPasted(const QString &text, const QString &html);
    void canUndoChanged(bool can);
    void canRedoChanged(bool can);
    void formChanged(bool rich);

private:
    /// A change of the form in the history: how many steps to undo the form had that was left, and the one
    /// gone to, the change itself included.
    struct Switch
    {
        bool toRich;
        int stepsLeft;
        int stepsThere;
    };

    void connectDocument(QTextDocument *document);
    QTextDocument *document() const;
    void showForm(bool rich);
    bool isAtSwitch() const;
    void undoText();
    void redoText();

    PlainEditor *m_plain;
    RichEditor *m_rich;
    QStackedLayout *m_stack;
    std::vector<Switch> m_done;   ///< changes of the form, the last at the end
    std::vector<Switch> m_undone; ///< those that redo() does again
    bool m_isRich = false;
    bool m_isFilling = false;
};
