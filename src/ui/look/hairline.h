#pragma once

#include <QWidget>

/// A line of 1 px between panes or groups of controls, level or upright; never two beside one another.
class HairLine : public QWidget
{
    Q_OBJECT

public:
    explicit HairLine(Qt::Orientation orientation = Qt::Horizontal, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};
