#pragma once

#include <QTextDocument>
#include <QWidget>

#include <functional>

class QLabel;
class QPlainTextEdit;
class QTextEdit;
class SearchField;

/// A bar under a text that finds words in it: every place is marked, Enter and F3 go to the next one, Esc
/// closes it. The same for texts of either kind.
class FindBar : public QWidget
{
    Q_OBJECT

public:
    FindBar(QTextEdit *text, QWidget *parent);
    FindBar(QPlainTextEdit *text, QWidget *parent);

    /// Opens it with the selected words, ready to type.
    void open();
    void close();
    /// The document was exchanged: marks it anew if the bar is open.
    void refresh();

    void findNext() { find({}); }
    void findPrevious() { find(QTextDocument::FindBackward); }

signals:
    /// The words to find have changed, before the first place is sought.
    void searching(const QString &text);
    void closed();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    /// What the two kinds of text widgets have in common without saying so.
    struct Target
    {
        std::function<QTextDocument *()> document;
        std::function<QTextCursor()> cursor;
        std::function<void(const QTextCursor &)> setCursor;
        std::function<void(const QList<QTextCursor> &)> mark;
        QWidget *widget;
    };

    FindBar(Target target, QWidget *parent);
    template <typename Text>
    static Target targetFor(Text *text);
    void find(QTextDocument::FindFlags flags);
    void changed(const QString &text);
    void markAll();
    void showCount();

    Target m_target;
    SearchField *m_field;
    QLabel *m_count;
    QList<int> m_starts; ///< of the places that were found, in order
};
