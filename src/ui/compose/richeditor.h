#pragma once

#include "compose/composition.h"

#include <QHash>
#include <QTextEdit>

/// The editor of a formatted text. Its HTML is written anew in a small subset, without the toolkit's styles;
/// pictures in it are parts of the message ("cid:"), nothing is loaded from anywhere.
class RichEditor : public QTextEdit
{
    Q_OBJECT

public:
    explicit RichEditor(QWidget *parent = nullptr);

    /// @p pictures: the inline parts that @p html names.
    void setContents(const QString &html, const QList<Attachment> &pictures);

    /// A plain text: its lines are paragraphs, quoted ones quotations.
    void setPlain(const QString &text);

    QString html() const;               ///< a whole document
    QString plainForm() const;          ///< the same as text, quotations behind "> "
    QList<Attachment> pictures() const; ///< those that the text still shows

    void insertPicture(const QImage &image, const QString &name);
    bool insertPictureFile(const QString &path); ///< false after a report

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

protected:
    bool canInsertFromMimeData(const QMimeData *source) const override;
    void insertFromMimeData(const QMimeData *source) override;
    QVariant loadResource(int type, const QUrl &name) override;
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void merge(const QTextCharFormat &format);
    void takeFont();

    QHash<QString, Attachment> m_pictures; ///< by Content-ID
};

/// Puts @p text into @p document as RichEditor::setPlain() does; plainTextOf() (htmlwriter.h) gives it back.
void fillWithPlain(QTextDocument &document, const QString &text);
