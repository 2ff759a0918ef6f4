#pragma once

#include "message/address.h"

#include <QWidget>

class Message;

/// The fields that say to whom a message went: one line of names, as many as fit, with "3 more" at its end.
/// A click, Enter or the space bar shows everybody with their addresses.
class RecipientsView : public QWidget
{
    Q_OBJECT

public:
    explicit RecipientsView(QWidget *parent = nullptr);

    void showMessage(const Message &message);

    bool isExpanded() const { return m_expanded; }
    void setExpanded(bool expanded);

    /// What is written at @p width, without the labels' own colours; for screen readers and tests.
    QString textFor(int width) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

signals:
    /// Another message, or folded and unfolded: the height is another one.
    void extentChanged();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    struct Field
    {
        QString label;
        QStringList shortNames; ///< for the line
        QStringList fullNames;  ///< with addresses
        qsizetype more = 0;     ///< that are not in the lists
    };
    struct Piece
    {
        QString text;
        bool isLabel;
    };

    QList<Piece> lineFor(int width) const;
    QString fullText(const Field &field) const;
    int labelWidth() const;
    bool canExpand() const;
    void paintLine(QPainter &painter, const QRect &place) const;
    void paintAll(QPainter &painter, const QRect &place) const;

    QList<Field> m_fields;
    bool m_expanded = false;
};
