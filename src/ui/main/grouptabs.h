#pragma once

#include <QTabBar>

/// The tabs above the panes: one for each group that is open. They can be moved, closed with their cross or
/// the middle button, and have a menu.
class GroupTabs : public QTabBar
{
    Q_OBJECT

public:
    explicit GroupTabs(QWidget *parent = nullptr);

    /// Icon, name, and how many are unread.
    void describe(int index, const QString &iconName, const QString &title, int unread);

signals:
    void menuWanted(int index, const QPoint &globalPosition);

protected:
    void mouseReleaseEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void tabInserted(int index) override;
    void tabRemoved(int index) override;

private:
    void updateClosable();
};

/// The setting `GroupTabs`: what the tabs showed, in their order, the one in front with a star: "1,*12,-1".
struct TabsText
{
    QList<int> places; ///< numbers of groups, or of lists over many (grouptreemodel.h)
    int current = 0;   ///< index into them

    static TabsText fromText(const QString &text);
    QString toText() const;
};
