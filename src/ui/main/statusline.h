#pragma once

#include <QTimer>
#include <QWidget>

class ElidedLabel;
class Notices;
class ProgressLine;
class QToolButton;
class Task;
class TaskRunner;

/// The line below the panes: where one is, what is going on, whether the network is used.
class StatusLine : public QWidget
{
    Q_OBJECT

public:
    /// Both must outlive this.
    StatusLine(TaskRunner &tasks, const Notices &notices, QWidget *parent = nullptr);

    void setText(const QString &text);
    QString text() const;

    /// In the place of the text for as long as it is not empty: the target of a link.
    void setHint(const QString &hint);

    /// Says something for a few seconds, in the place of the text.
    void announce(const QString &news);
    void setOnline(bool online);

    /// Work that is no task: the sorting of a list by text.
    void showSorting(int done, int total);
    void endSorting();

    /// What is fetched or sent, unless a task is at work. @p total 0: nobody knows, the text counts.
    void showTransfer(const QString &text, qint64 done, qint64 total);
    void endTransfer();

signals:
    void onlineClicked();
    void noticesClicked();
    void sortingStopped();
    void transfersStopped();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void showTask(Task *task);
    void endTask();
    void stop();
    void showNotices();
    void showText();

    const Notices &m_notices;
    TaskRunner &m_tasks;
    ElidedLabel *m_text;
    ProgressLine *m_progress;
    QToolButton *m_mark; ///< there is something in the list of errors
    QToolButton *m_online;
    QString m_plain;
    QString m_news;
    QString m_hint;
    QTimer m_newsTimer;
    bool m_sorting = false;
    bool m_transfers = false;
};
