#pragma once

#include <QWidget>

class ElidedLabel;
class QProgressBar;
class QToolButton;

/// Work that is going on, in a status line: what, how far, and a button that stops it. What is done within a
/// second is not shown at all.
class ProgressLine : public QWidget
{
    Q_OBJECT

public:
    explicit ProgressLine(QWidget *parent = nullptr);

    /// @p whole of 0 means of unknown length: then only the text counts. The first call begins the second
    /// after which the line appears.
    void setProgress(const QString &text, qint64 done, qint64 whole);
    void finish();

signals:
    void stopClicked();

private:
    void appear();

    ElidedLabel *m_text;
    QProgressBar *m_bar;
    QToolButton *m_stop;
    class QTimer *m_delay;
    bool m_running = false;
    bool m_known = false;
};
