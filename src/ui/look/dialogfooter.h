#pragma once

#include <QString>
#include <QWidget>

class QHBoxLayout;
class QPushButton;

/// The foot of a dialog behind a line: at the leading edge a text button, at the trailing one Apply and
/// Cancel, then the default named by its verb. Enter presses the default and Esc cancels, as in any QDialog;
/// connect accepted and rejected to it.
class DialogFooter : public QWidget
{
    Q_OBJECT

public:
    /// @p verb names the default button: "Create account", "Save", "OK".
    explicit DialogFooter(const QString &verb, QWidget *parent = nullptr);

    QPushButton *defaultButton() const { return m_default; }
    QPushButton *cancelButton() const { return m_cancel; }

    /// Adds Apply, or Back in a wizard, before Cancel.
    QPushButton *addButton(const QString &text);
    /// The text button at the leading edge.
    QPushButton *addSecondary(const QString &text);
    /// A button that destroys something: red outline, never the default.
    QPushButton *addDangerous(const QString &text);

signals:
    void accepted();
    void rejected();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QHBoxLayout *m_layout;
    QPushButton *m_cancel;
    QPushButton *m_default;
    int m_leading = 0;
};
