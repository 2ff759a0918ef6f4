#pragma once

#include "ui/look/colours.h"

#include <QWidget>

/// A rounded ground with a border for what belongs together: a card on chrome, or tinted for what went well
/// or wrong. What lies in it keeps its colours.
class Panel : public QWidget
{
    Q_OBJECT

public:
    /// Card, or one of the grounds of message bars, or Base for what a machine said.
    explicit Panel(Role ground = Role::Card, QWidget *parent = nullptr);

    Role ground() const { return m_ground; }
    void setGround(Role ground);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    Role m_ground;
};
