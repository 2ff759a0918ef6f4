#pragma once

#include "message/address.h"
#include "ui/texts/harmless.h"

#include <QWidget>

/// Who wrote a message: the name in bold, the address behind it, or below it where there is no room. Neither
/// is ever shortened. A click, Enter or the menu key asks for the person's menu.
class SenderView : public QWidget
{
    Q_OBJECT

public:
    explicit SenderView(QWidget *parent = nullptr);

    void setPerson(const Address &person);
    const Address &person() const { return m_person; }

    /// Name and address as they are shown.
    QString text() const;

    /// What it needs at @p width; the address never loses a letter.
    int heightFor(int width) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    void menuWanted(const Address &person, const QPoint &globalPosition);

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    struct Layout
    {
        QRect name;
        QRect address; ///< empty when the name is the address
    };

    Layout layoutFor(int width) const;
    QFont nameFont() const;
    QString nameText() const;
    QString addressText() const;
    void askForMenu();

    Address m_person;
    ShownPerson m_shown;
};
