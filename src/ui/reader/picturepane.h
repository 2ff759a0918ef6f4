#pragma once

#include <QImage>
#include <QWidget>

class Message;

/// One picture of a message, as large as it is or as there is room, never beyond its own size.
class PicturePane : public QWidget
{
    Q_OBJECT

public:
    PicturePane(const Message &message, int part, QWidget *parent);

    /// Null when it cannot be shown.
    const QImage &image() const { return m_image; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QImage m_image;
};
