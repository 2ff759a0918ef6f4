#pragma once

#include <QAbstractButton>

/// A button as wide as a page: icon, title and one line that says more.
class Card : public QAbstractButton
{
    Q_OBJECT

public:
    Card(const QString &icon, const QString &title, const QString &line, QWidget *parent = nullptr);

    /// The one to begin with: tinted, its border in the accent's colour.
    void setFirst(bool first);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;

private:
    QString m_icon;
    QString m_line;
    bool m_first = false;
};
