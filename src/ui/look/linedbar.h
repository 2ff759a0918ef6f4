#pragma once

#include <QWidget>

class QToolBar;

/// A tool bar with the room around it that it needs and a line below.
class LinedBar : public QWidget
{
    Q_OBJECT

public:
    /// Takes @p bar over, and what stands at its far end, which has all the room that the bar leaves.
    explicit LinedBar(QToolBar *bar, QWidget *end = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};
