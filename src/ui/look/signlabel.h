#pragma once

#include "ui/look/colours.h"
#include "ui/look/metrics.h"

#include <QWidget>

/// One of the drawn icons as a sign beside words: it says nothing that they do not, so screen readers pass it
/// by. It follows every change of look and font.
class SignLabel : public QWidget
{
    Q_OBJECT

public:
    explicit SignLabel(const QString &icon = {}, Role role = Role::Text2, IconUse use = IconUse::Bar,
                       QWidget *parent = nullptr);

    /// Empty: nothing is drawn, the room stays.
    void setSign(const QString &icon, Role role);
    QString sign() const { return m_icon; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_icon;
    Role m_role;
    IconUse m_use;
};
