#pragma once

#include "ui/look/colours.h"

#include <QWidget>

class ElidedLabel;
class QPushButton;
class QToolButton;

/// What is to be said in the pane it speaks of, instead of a modal box: a sign, one line that is shortened
/// when it must, at most two text buttons, and a cross. It takes no focus from where the user works. One bar
/// a pane: what is shown next replaces what was there.
class MessageBar : public QWidget
{
    Q_OBJECT

public:
    enum class Kind { Information, Good, Warning, Error };

    /// Hidden until something is shown.
    explicit MessageBar(QWidget *parent = nullptr);

    /// Shows @p text; @p first and @p second are the texts of the buttons, empty for none. Screen readers say
    /// it as an alert.
    void showMessage(Kind kind, const QString &text, const QString &first = {}, const QString &second = {});

    /// Says it in other words, without another alert: a countdown.
    void changeText(const QString &text);

    Kind kind() const { return m_kind; }
    QString text() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    void firstClicked();
    void secondClicked();
    /// By its cross; the bar has hidden itself.
    void closed();

protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void arrange();
    int hintHeight() const;

    Kind m_kind = Kind::Information;
    QWidget *m_sign;
    ElidedLabel *m_text;
    QPushButton *m_first;
    QPushButton *m_second;
    QToolButton *m_close;
};
