#pragma once

#include <QWidget>

class MessageView;

/// Where the link under the mouse or the focus leads, over the lower edge of a reader whose window has no
/// status line. Belongs to the reader.
class TargetHint : public QWidget
{
    Q_OBJECT

public:
    explicit TargetHint(MessageView *reader);

protected:
    void paintEvent(QPaintEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void tell(const QString &target);
    void place();

    QString m_target;
};
