#pragma once

#include <QWidget>

class FindBar;
class MessageBar;
class QPlainTextEdit;
class QTimer;

/// A text as it is, with a bar to find words in it. A large one shows its beginning first, and all of it on
/// request, added in slices. Lines longer than kLongestLine are broken there; control characters show what
/// they are. Nothing in it is a link or markup.
class SourceText : public QWidget
{
    Q_OBJECT

public:
    static constexpr qsizetype kFirstLook = 2 * 1024 * 1024; ///< bytes
    static constexpr qsizetype kLongestLine = 8000;

    /// @p text is UTF-8 where it can be, else bytes in Latin-1.
    SourceText(const QByteArray &text, QWidget *parent);

    void showAll();
    /// Lines end at the edge of the window or run on beyond it.
    void setWrapped(bool wrapped);
    bool isWrapped() const;

    void find();
    void findNext();
    void findPrevious();

private:
    void appendSlice(qsizetype most);

    QByteArray m_text;
    qsizetype m_shown = 0; ///< bytes
    bool m_isUtf8;
    QPlainTextEdit *m_view;
    FindBar *m_find;
    MessageBar *m_bar;
    QTimer *m_slices;
};
