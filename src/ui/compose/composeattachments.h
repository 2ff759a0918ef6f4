#pragma once

#include "compose/composition.h"

#include <QAbstractListModel>
#include <QWidget>

#include <optional>

class QLabel;
class AttachmentView;

/// What goes with the message that is written, by rows; pictures inside the text are not listed.
class ComposeAttachmentModel : public QAbstractListModel
{
    Q_OBJECT

public:
    using QAbstractListModel::QAbstractListModel;

    void setAll(QList<Attachment> attachments);
    const QList<Attachment> &all() const { return m_all; } ///< the inline ones behind the others
    const Attachment &attachment(int row) const { return m_all[row]; }
    void add(const Attachment &attachment);
    void remove(int row);
    void rename(int row, const QString &name);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

signals:
    void changed();

private:
    QList<Attachment> m_all;
    int m_listed = 0; ///< of those, from the first
};

/// The cards of the attachments at the foot of the compose window, with their sum; hidden while there are
/// none. Del takes one away, F2 renames it, Enter opens it.
class ComposeAttachments : public QWidget
{
    Q_OBJECT

public:
    explicit ComposeAttachments(QWidget *parent = nullptr);

    ComposeAttachmentModel &model() { return *m_model; }

    /// The most that may go, in bytes; 0: nobody knows.
    void setLimit(qint64 bytes);
    qint64 sum() const;

signals:
    void openWanted(const Attachment &attachment);
    void addWanted();
    void filesDropped(const QStringList &paths);

protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void refresh();
    void removeSelected();
    void menu(const QPoint &globalPosition);

    ComposeAttachmentModel *m_model;
    AttachmentView *m_view;
    QLabel *m_sum;
    qint64 m_limit = 0;
};

/// The file at @p path to attach, its bytes as they are now. Empty, after the report "Unable to attach file
/// '%1'", when it cannot be read.
std::optional<Attachment> readAttachment(const QString &path);
