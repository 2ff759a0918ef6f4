#pragma once

#include <QWidget>

class ElidedLabel;
class ProgressLine;
class QToolButton;
class Task;
class TaskRunner;

/// The line below the panes: where one is, what is going on, whether the network is used.
class StatusLine : public QWidget
{
    Q_OBJECT

public:
    /// @p tasks must outlive this.
    explicit StatusLine(TaskRunner &tasks, QWidget *parent = nullptr);

    void setText(const QString &text);
    QString text() const;

    /// In the place of the text for as long as it is not empty: the target of a link.
    void setHint(const QString &hint);
    void setOnline(bool online);

    /// Work that is no task: the sorting of a list by text.
    void showSorting(int done, int total);
    void endSorting();

signals:
    void onlineClicked();
    void sortingStopped();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void showTask(Task *task);
    void endTask();
    void stop();

    TaskRunner &m_tasks;
    ElidedLabel *m_text;
    ProgressLine *m_progress;
    QToolButton *m_online;
    QString m_plain;
    QString m_hint;
    bool m_sorting = false;
};
