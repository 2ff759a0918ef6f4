#pragma once

#include <QWidget>

/// What a first start shows in place of an empty list: what to do first.
class Welcome : public QWidget
{
    Q_OBJECT

public:
    explicit Welcome(QWidget *parent = nullptr);

signals:
    void accountWanted();
    void importWanted();
    void batchAccountWanted();
    void lookAroundWanted();
};
