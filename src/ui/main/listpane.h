#pragma once

#include <QWidget>

class EmptyState;
class Group;
class MainActions;
class AskingBar;
class MessageList;
class QMenu;
class QStackedLayout;
class QToolBar;
class Welcome;
struct GroupView;

/// The list of a group with its bar above it, and what stands there when there is nothing to list.
class ListPane : public QWidget
{
    Q_OBJECT

public:
    ListPane(const MainActions &actions, QMenu *viewMenu, QWidget *parent = nullptr);

    MessageList &list() const { return *m_list; }
    AskingBar &bar() const { return *m_bar; }
    Welcome &welcome() const { return *m_welcome; }

    void setGroup(Group *group, const GroupView &view);

    /// In the place of everything else in the window's right half.
    void showWelcome(bool shows);
    bool showsWelcome() const;

signals:
    void emptyButtonClicked();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void createBar(const MainActions &actions, QMenu *viewMenu);
    void arrange();
    void show(QWidget *page);
    using QWidget::show;
    void updateEmptyState();

    QToolBar *m_tools;
    QWidget *m_toolBox;
    AskingBar *m_bar;
    MessageList *m_list;
    EmptyState *m_empty;
    Welcome *m_welcome;
    QStackedLayout *m_stack;
};
