#pragma once

#include <QListView>

/// The cards of attachments: icon, name and size of each row of its model. Shows as many lines of cards as
/// there are, up to two; more can be scrolled to.
class AttachmentView : public QListView
{
    Q_OBJECT

public:
    enum { SizeRole = Qt::UserRole, IconRole }; ///< texts: the size, the name of the icon

    explicit AttachmentView(QWidget *parent);

    void fitHeight();

protected:
    void resizeEvent(QResizeEvent *event) override;
};
