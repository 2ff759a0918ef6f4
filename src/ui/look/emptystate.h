#pragma once

#include <QWidget>

class QLabel;
class QPushButton;

/// What a pane shows that has nothing to show: a title, one sentence that says what to do, one button.
class EmptyState : public QWidget
{
    Q_OBJECT

public:
    explicit EmptyState(QWidget *parent = nullptr);

    /// Empty texts leave their line out.
    void setTexts(const QString &title, const QString &sentence, const QString &button = {});

signals:
    void buttonClicked();

private:
    QLabel *m_title;
    QLabel *m_sentence;
    QPushButton *m_button;
};
