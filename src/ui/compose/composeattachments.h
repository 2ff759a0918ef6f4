#pragma once

#include "ui/compose/attachmentloader.h"

#include <QAbstractListModel>
#include <QImage>
#include <QTimer>
#include <QWidget>

#include <memory>
#include <optional>

class AttachmentFiles;
class AttachmentView;
class ProgressLine;
class QLabel;
class QMimeData;

/// What goes with the message that is written, by rows; pictures inside the text are not listed. Small
/// pictures for the rows are made one after the other, between events. What is dragged out is a copy.
class ComposeAttachmentModel : public QAbstractListModel
{
    Q_OBJECT

public:
    explicit ComposeAttachmentModel(QObject *parent);

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
    QStringList mimeTypes() const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;

signals:
    void changed();

private:
    void makePicture();

    QList<Attachment> m_all;
    int m_listed = 0;                        ///< of those, from the first
    QList<std::optional<QImage>> m_pictures; ///< of the listed ones; a null image: there is none
    QTimer m_picturing;
    std::shared_ptr<AttachmentFiles> m_files; ///< what was dragged out lives as long as a window
};

/// The cards of the attachments at the foot of the compose window, with their sum; hidden while there are
/// none. Del or its cross takes one away, F2 renames it, Enter opens it.
class ComposeAttachments : public QWidget
{
    Q_OBJECT

public:
    explicit ComposeAttachments(QWidget *parent = nullptr);

    ComposeAttachmentModel &model() { return *m_model; }

    /// The most that a message may have on its way, in bytes; 0: nobody knows.
    void setLimit(qint64 bytes);
    qint64 limit() const { return m_limit; }

    /// The bytes of the files, and what they come to on their way, encoded.
    qint64 sum() const;
    qint64 sumOnItsWay() const;
    bool isTooLarge() const { return m_limit > 0 && sumOnItsWay() > m_limit; }

    /// Files that are still being read are not in the model yet.
    void addFiles(const QStringList &paths);
    bool isReading() const;
    void finishReading(); ///< what is still to be read, at once

signals:
    void openWanted(const Attachment &attachment);
    void addWanted();
    void becameLarge(); ///< more than may go, or than many servers take where nobody knows

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
    ProgressLine *m_progress;
    AttachmentLoader *m_loader;
    qint64 m_limit = 0;
    bool m_wasAlarming = false;
};

/// The local files among what is dragged or pasted.
QStringList localFilesIn(const QMimeData *data);
