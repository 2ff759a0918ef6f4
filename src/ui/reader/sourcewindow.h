#pragma once

#include <QWidget>

class FindBar;
class MessageBar;
class QPlainTextEdit;
class QTimer;

/// The text of a message as it is stored. A large one shows its beginning first, and all of it on request,
/// added in slices. Lines longer than kLongestLine are broken there; control characters show what they are.
class SourceWindow : public QWidget
{
    Q_OBJECT

public:
    static constexpr qsizetype kFirstLook = 2 * 1024 * 1024; ///< bytes
    static constexpr qsizetype kLongestLine = 8000;

    SourceWindow(const QByteArray &text, const QString &subject, QWidget *parent);

    void showAll();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void appendSlice(qsizetype most);
    void setUpActions();

    QByteArray m_text;
    qsizetype m_shown = 0; ///< bytes
    bool m_isUtf8;
    QPlainTextEdit *m_view;
    FindBar *m_find;
    MessageBar *m_bar;
    QTimer *m_slices;
};
