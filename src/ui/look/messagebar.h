#pragma once

#include "ui/look/colours.h"

#include <QWidget>

class ElidedLabel;
class QCheckBox;
class QPushButton;
class QToolButton;

/// What is to be said in the pane it speaks of, instead of a modal box: a sign, one line that is shortened
/// when it must, at most two text buttons, a box to tick where there is room for one, and a cross. It takes
/// no focus from where the user works. One bar a pane: what is shown next replaces what was there.
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

    /// Adds a box to tick to what is shown now; in a narrow bar there is none.
    void offerTick(const QString &text);

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
    void ticked(bool on);

protected:
    void resizeEvent(QResizeEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void arrange();
    int hintHeight() const;
    void fitTick();

    Kind m_kind = Kind::Information;
    QWidget *m_sign;
    ElidedLabel *m_text;
    QCheckBox *m_tick;
    QPushButton *m_first;
    QPushButton *m_second;
    QToolButton *m_close;
};
