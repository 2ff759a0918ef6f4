#pragma once

#include <QStringList>
#include <QWidget>

/// The steps of a wizard in one line of words: what is done, where one is, what is to come.
class WizardSteps : public QWidget
{
    Q_OBJECT

public:
    explicit WizardSteps(QWidget *parent = nullptr);

    void setSteps(const QStringList &names);
    void setCurrent(int step);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    int widthOf(int step) const;
    QFont fontOf(int step) const;
    QString textOf(int step) const;
    void tell();

    QStringList m_names;
    int m_current = 0;
};
