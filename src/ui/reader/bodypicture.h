#pragma once

#include <QCache>
#include <QImage>
#include <QObject>
#include <QTextObjectInterface>

class BodyDocument;

/// Lays out and draws the pictures of a BodyDocument: never wider than the text may be, in the shape they
/// have, and with a quiet box where one is still to come whose size is known.
class BodyPicture : public QObject, public QTextObjectInterface
{
    Q_OBJECT
    Q_INTERFACES(QTextObjectInterface)

public:
    explicit BodyPicture(BodyDocument *document);

    QSizeF intrinsicSize(QTextDocument *document, int position, const QTextFormat &format) override;
    void drawObject(QPainter *painter, const QRectF &rect, QTextDocument *document, int position,
                    const QTextFormat &format) override;

private:
    QImage scaled(const QString &name, const QImage &image, const QSize &size);

    BodyDocument *m_document;
    QCache<std::pair<QString, std::pair<int, int>>, QImage> m_scaled; ///< by name, width and height
};
