#pragma once

#include <QListView>

/// The cards of attachments: icon or small picture, name and size of each row of its model. Shows as many
/// lines of cards as there are, up to two; more can be scrolled to.
class AttachmentView : public QListView
{
    Q_OBJECT

public:
    enum {
        SizeRole = Qt::UserRole, ///< the size in words
        IconRole,                ///< the name of the icon
        PictureRole,             ///< a QImage in the place of the icon; may be missing
    };

    explicit AttachmentView(QWidget *parent);

    /// Gives each card a cross.
    void setRemovable(bool removable);

    /// The greatest side of a picture that a card has room for, in device-independent pixels.
    static int pictureSide();

    void fitHeight();

signals:
    void removeClicked(const QModelIndex &index); ///< on its cross

protected:
    void resizeEvent(QResizeEvent *event) override;
};
