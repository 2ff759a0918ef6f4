#pragma once

#include "compose/composition.h"

#include <QHash>
#include <QTextEdit>

class RichColours;
class QTextFrame;
class QTextTable;

/// The editor of a formatted text. Its HTML is written anew in a small subset, without the toolkit's styles;
/// pictures in it are parts of the message ("cid:"), nothing is loaded from anywhere.
class RichEditor : public QTextEdit
{
    Q_OBJECT

public:
    explicit RichEditor(QWidget *parent = nullptr);

    /// @p pictures: the inline parts that @p html names.
    void setContents(const QString &html, const QList<Attachment> &pictures);

    /// The same as one step to undo: only the paragraphs that differ are replaced, the cursor stays.
    void changeTo(const QString &html);

    /// A plain text: its lines are paragraphs, quoted ones quotations. One step to undo.
    void setPlain(const QString &text);

    QString html() const;               ///< a whole document
    QString plainForm() const;          ///< the same as text, quotations behind "> "
    QList<Attachment> pictures() const; ///< those that the text still shows

    void insertPicture(const QImage &image, const QString &name);
    bool insertPictureFile(const QString &path); ///< false: it cannot be read or is none

    /// @name The format tool bar
    /// @{
    void setBold(bool on);
    void setItalic(bool on);
    void setUnderline(bool on);
    void setList(bool on, bool numbered);
    void setColour(const QColor &colour); ///< invalid: automatic
    void setBlockStyle(int heading);      ///< 0: body text, 1 to 3: headings, -1: quotation
    int blockStyle() const;
    /// @}

    void pasteAsQuotation();

signals:
    void filesDropped(const QStringList &paths);
    void formatChanged(); ///< at the cursor

    /// More was pasted or dropped than can be written in; nothing was inserted. One of the two is empty.
    void tooMuchPasted(const QString &text, const QString &html);

protected:
    bool canInsertFromMimeData(const QMimeData *source) const override;
    void insertFromMimeData(const QMimeData *source) override;
    QVariant loadResource(int type, const QUrl &name) override;
    void keyPressEvent(QKeyEvent *event) override;
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void merge(const QTextCharFormat &format);
    void takeFont();
    void insertAttached(const Attachment &picture, const QImage &image);
    void insertHtmlSafely(const QString &html);
    bool leaveBlock();
    bool changeListLevel(int by);
    void paintBars(QPainter &painter, const QRectF &place, double left, int level);
    const QTextTable *quotedTable(const QTextBlock &block) const;

    RichColours *m_colours;
    QHash<QString, Attachment> m_pictures; ///< by Content-ID
};
