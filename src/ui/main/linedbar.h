#pragma once

#include <QWidget>

class QToolBar;

/// A tool bar with the room around it that it needs and a line below.
class LinedBar : public QWidget
{
    Q_OBJECT

public:
    /// Takes @p bar over.
    explicit LinedBar(QToolBar *bar, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};
