#pragma once

#include <QWidget>

/// The subject of a message, in as many lines as it needs, but at most three; what is left then stands in the
/// tool tip.
class SubjectLabel : public QWidget
{
    Q_OBJECT

public:
    explicit SubjectLabel(QWidget *parent = nullptr);

    /// Plain text in one line.
    void setText(const QString &text);
    QString text() const { return m_text; }

    int heightFor(int width) const;
    /// Whether it takes more than one line at its width.
    bool isWrapped() const { return linesFor(width()).size() > 1; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    bool event(QEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    QStringList linesFor(int width) const;

    QString m_text;
};
