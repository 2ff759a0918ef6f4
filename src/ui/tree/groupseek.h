#pragma once

#include <QTimer>
#include <QWidget>

class QKeyEvent;

/// What is typed into the tree to find a group, shown at the tree's foot until nothing came for a second.
class GroupSeek : public QWidget
{
    Q_OBJECT

public:
    /// @p view is where it lies; hidden until something is typed.
    explicit GroupSeek(QWidget *view);

    /// Whether the key belongs to a search: a letter or digit begins one, what writes something continues it.
    bool wants(const QKeyEvent &event) const;

    /// Takes a key that it wants; sought() tells what is typed by now.
    void take(const QKeyEvent &event);
    void end();

    /// Whether there is a group like that.
    void setFound(bool found);

    const QString &text() const { return m_text; }

signals:
    void sought(const QString &text);

protected:
    void paintEvent(QPaintEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void place();
    QString shownText() const;

    QWidget *m_view;
    QTimer m_timer;
    QString m_text;
    bool m_found = true;
};
