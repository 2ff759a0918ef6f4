#pragma once

#include "ui/look/messagebar.h"
#include "ui/look/panel.h"

class QLabel;
class QPushButton;
class SignLabel;

/// What is to be read before one goes on: a tinted panel with a sign, as many lines as it needs, and at most
/// one button. It stays until something else is to be said.
class Notice : public Panel
{
    Q_OBJECT

public:
    explicit Notice(QWidget *parent = nullptr); ///< hidden until something is said

    /// @p text is plain. Screen readers say it as an alert. Empty hides it.
    void say(MessageBar::Kind kind, const QString &text, const QString &button = {});
    QString text() const;

signals:
    void clicked();

private:
    SignLabel *m_sign;
    QLabel *m_text;
    QPushButton *m_button;
};
