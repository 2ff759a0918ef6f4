#pragma once

#include <QKeySequence>
#include <QLineEdit>

/// A field to search or filter with: an icon at its beginning, at its end the key that leads to it while it
/// is empty, else a cross. Esc empties it, where it does not leave at once.
class SearchField : public QLineEdit
{
    Q_OBJECT

public:
    /// @p icon is "search" or "filter".
    SearchField(const QString &icon, const QString &placeholder, QWidget *parent = nullptr);

    /// The key shown at the end; the window makes it work.
    void setKeyHint(const QKeySequence &key);

    /// For dialogs and bars, which Esc closes whatever is typed.
    void setEscapeLeaves(bool leaves) { m_escapeLeaves = leaves; }

signals:
    /// Esc in an empty field, or in one that it leaves: the user wants to be where they were.
    void left();

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void arrange();
    QRect iconRect() const;
    int keyWidth() const;

    QString m_icon;
    QKeySequence m_key;
    bool m_escapeLeaves = false;
};
