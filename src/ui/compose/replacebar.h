#pragma once

#include <QWidget>

class ComposeEditor;
class QLabel;
class QLineEdit;

/// A bar that replaces words in the text that is written: one place after the other, or all in one step to
/// undo.
class ReplaceBar : public QWidget
{
    Q_OBJECT

public:
    ReplaceBar(ComposeEditor *editor, QWidget *parent);

    void open();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void replace();
    void replaceAll();
    bool findNext();

    ComposeEditor *m_editor;
    QLineEdit *m_words;
    QLineEdit *m_by;
    QLabel *m_result;
};
