#pragma once

#include <QWidget>

/// A round sign for a person: their initials in a colour that is always the same for their address.
class Avatar : public QWidget
{
    Q_OBJECT

public:
    /// @p size across in pixels before the icon factor: 40 in a message's header, 34 in a list, 72 on a card.
    explicit Avatar(int size, QWidget *parent = nullptr);

    /// @p name may be empty; then the address gives the initial.
    void setPerson(const QString &name, const QString &address);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    int m_size;
    QString m_name;
    QString m_address;
};

/// The first letters of the first and last word of a name, one of a single word, one of the address without
/// a name, "?" with neither. Upper case.
QString initialsOf(const QString &name, const QString &address);

/// For delegates: the same sign in @p rect.
void paintAvatar(QPainter *painter, const QRect &rect, const QString &name, const QString &address);
