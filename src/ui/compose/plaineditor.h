#pragma once

#include "compose/quotemarks.h"

#include <QPlainTextEdit>

#include <functional>

class QuoteColours;

/// The editor of a plain text: quoted lines in their colours, lines wrapped while one types
/// (`AutoWrapCompose`), everything in one undo history.
class PlainEditor : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit PlainEditor(QWidget *parent = nullptr);

    void setContents(const QString &text);
    QString text() const; ///< "\n" line ends; no-break spaces are what they are

    /// @name Each is one step to undo
    /// @{
    void pasteAsQuotation();
    void rewrap(); ///< the selection, or the paragraph the cursor is in
    void insertText(const QString &text);
    void setAll(const QString &text);
    void changeTo(const QString &text); ///< only what differs is replaced; the cursor stays where it is
    void changeQuoteDepth(int by);      ///< of the selected lines, or the cursor's
    /// @}

signals:
    /// Files or a picture were pasted or dropped.
    void filesDropped(const QStringList &paths);
    void imageDropped(const QImage &image);

    /// More was pasted or dropped than can be written in; nothing was inserted.
    void tooMuchPasted(const QString &text);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    bool canInsertFromMimeData(const QMimeData *source) const override;
    void insertFromMimeData(const QMimeData *source) override;
    void changeEvent(QEvent *event) override;

private:
    void takeFont();
    void wrapLine();
    QTextCursor paragraph() const;

    QuoteMarks m_marks;
    QuoteColours *m_colours;
};

/// @name How many characters are taken at once
/// @{
constexpr qsizetype kMostPlain = 2'000'000;
constexpr qsizetype kMostFormatted = 500'000; ///< a formatted text is laid out whole
/// @}

/// Whether @p text can be written in: nor may a line be so long that a key in it takes longer than a frame.
bool isFitToEdit(QStringView text, qsizetype most = kMostPlain);

/// Does @p work, which replaces the characters from @p from on, @p taken of them by @p given others, with a
/// cursor of its own, and leaves the user's where it stood in the text.
template <typename Editor, typename Work>
void keepingCursor(Editor &editor, int from, int taken, int given, Work work)
{
    const auto moved = [=](int position) {
        return position <= from ? position : position >= from + taken ? position - taken + given : from;
    };
    QTextCursor cursor = editor.textCursor();
    const int anchor = moved(cursor.anchor());
    const int position = moved(cursor.position());
    work();
    cursor = editor.textCursor();
    if (cursor.anchor() == anchor && cursor.position() == position)
        return;
    cursor.setPosition(anchor);
    cursor.setPosition(position, QTextCursor::KeepAnchor);
    editor.setTextCursor(cursor);
}

/// What @p source holds beside text: the paths of local files, or a picture. Whether there was any.
bool takeDropped(const QMimeData *source, const std::function<void(const QStringList &)> &files,
                 const std::function<void(const QImage &)> &image);
