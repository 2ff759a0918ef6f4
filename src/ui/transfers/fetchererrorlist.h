#pragma once

#include <QDialog>

class EmptyState;
class QModelIndex;
class QPushButton;
class QTreeView;
class TransferErrors;
class TransferErrorsModel;

/// The window of all errors of transfers, those of earlier runs as well.
class FetcherErrorList : public QDialog
{
    Q_OBJECT

public:
    /// @p errors must outlive this.
    explicit FetcherErrorList(TransferErrors &errors, QWidget *parent = nullptr);

signals:
    void logWanted(int account);

private slots:
    void slotClear();
    void slotCopy(); ///< all of them, to the clipboard
    void slotDoubleClicked(const QModelIndex &index);

private:
    void showState();
    void copySelected();

    TransferErrors &m_errors;
    TransferErrorsModel *m_model;
    QTreeView *m_list;
    EmptyState *m_empty;
    QPushButton *m_clear;
    QPushButton *m_copy;
};
