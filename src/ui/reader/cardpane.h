#pragma once

#include "ui/reader/datacard.h"

#include <QWidget>

class BodyView;

/// Cards of data by themselves.
class CardPane : public QWidget
{
    Q_OBJECT

public:
    CardPane(const QList<DataCard> &cards, QWidget *parent);

signals:
    void linkActivated(const QString &target);

protected:
    void changeEvent(QEvent *event) override;

private:
    void write();

    QList<DataCard> m_cards;
    BodyView *m_view;
};
