#pragma once

#include "message/message.h"

#include <QAbstractListModel>
#include <QWidget>

#include <functional>

class AttachmentView;
class QMenu;
class QPushButton;

struct AttachmentRow
{
    int part;
    QString name;
    QString icon;
    qint64 size; ///< bytes, about
};

/// The attachments of one message, by rows. Dragging one out hands over the file that @p copyOf makes.
class AttachmentModel : public QAbstractListModel
{
    Q_OBJECT

public:
    using CopyOf = std::function<QString(int part)>;

    AttachmentModel(CopyOf copyOf, QObject *parent);

    void setRows(QList<AttachmentRow> rows);
    const AttachmentRow &row(int index) const { return m_rows[index]; }

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QStringList mimeTypes() const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;

private:
    CopyOf m_copyOf;
    QList<AttachmentRow> m_rows;
};

/// The cards of a message's attachments below its text; hidden while there are none. Enter and the space bar
/// show one, the menu key says what else can be done.
class AttachmentStrip : public QWidget
{
    Q_OBJECT

public:
    AttachmentStrip(AttachmentModel::CopyOf copyOf, QWidget *parent);

    void showAttachments(const Message &message, const QList<int> &parts);

signals:
    /// Entered or double-clicked; @p parts are all that there are.
    void activated(int part, const QList<int> &parts);
    void previewRequested(int part, const QList<int> &parts);
    void openRequested(int part);
    void openWithRequested(int part);
    void openMessageRequested(int part);
    void copyPictureRequested(int part);
    void saveRequested(const QList<int> &parts);

protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void showMenu(const QPoint &globalPosition);
    void fitButton();
    void addOpening(QMenu *menu, int part);
    QList<int> chosen() const;
    QList<int> all() const;

    Message m_message;
    AttachmentModel *m_model;
    AttachmentView *m_view;
    QPushButton *m_saveAll;
    QString m_saveWords;
};
