#pragma once

#include <QWidget>

/// One line of text that shortens itself with "…" to the room it has, and shows the whole as its tool tip
/// then. It asks for the width of its text but is content with a few characters.
class ElidedLabel : public QWidget
{
    Q_OBJECT

public:
    explicit ElidedLabel(const QString &text = {}, QWidget *parent = nullptr);

    QString text() const { return m_text; }
    /// Plain text; line breaks become blanks.
    void setText(const QString &text);
    void setElideMode(Qt::TextElideMode mode);
    void setAlignment(Qt::Alignment alignment);

    bool isElided() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    bool event(QEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    QString m_text;
    Qt::TextElideMode m_mode = Qt::ElideRight;
    Qt::Alignment m_alignment = Qt::AlignLeading | Qt::AlignVCenter;
};
