#pragma once

#include "ui/reader/headercard.h"

#include <QWidget>

/// The tags of a message beside its subject. As many as there is room for; a plain number stands for the
/// rest.
class TagPills : public QWidget
{
    Q_OBJECT

public:
    explicit TagPills(QWidget *parent = nullptr);

    void setTags(const QList<HeaderTag> &tags);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    int pillWidth(const QString &name) const;

    QList<HeaderTag> m_tags;
};
