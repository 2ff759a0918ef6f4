#pragma once

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

    QString text() const; ///< "\n" line ends; no-break spaces are what they are

    /// @name Each is one step to undo
    /// @{
    void pasteAsQuotation();
    void rewrap(); ///< the selection, or the paragraph the cursor is in
    void insertText(const QString &text);
    void replaceAll(const QString &text); ///< the cursor stays in its line where it can
    void changeQuoteDepth(int by);        ///< of the selected lines, or the cursor's
    /// @}

signals:
    /// Files or a picture were pasted or dropped.
    void filesDropped(const QStringList &paths);
    void imageDropped(const QImage &image);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    bool canInsertFromMimeData(const QMimeData *source) const override;
    void insertFromMimeData(const QMimeData *source) override;
    void changeEvent(QEvent *event) override;

private:
    void takeFont();
    void wrapLine();
    QTextCursor paragraph() const;

    QuoteColours *m_colours;
};

/// What @p source holds beside text: the paths of local files, or a picture. Whether there was any.
bool takeDropped(const QMimeData *source, const std::function<void(const QStringList &)> &files,
                 const std::function<void(const QImage &)> &image);
