#pragma once

#include <QWidget>

#include <memory>

class AskingBar;
class EmptyState;
class MainActions;
class MessageList;
class MessageRows;
class QuickFilterBar;
class QMenu;
class QStackedLayout;
class QToolBar;
struct GroupView;

/// The list of a group with its bar above it, and what stands there when there is nothing to list.
class ListPane : public QWidget
{
    Q_OBJECT

public:
    ListPane(const MainActions &actions, QMenu *viewMenu, QWidget *parent = nullptr);

    MessageList &list() const { return *m_list; }
    AskingBar &bar() const { return *m_bar; }

    /// Shows @p rows, null for nothing, in the manner of @p view; @p title is what they are called.
    void setSource(std::unique_ptr<MessageRows> rows, const QString &title, const GroupView &view);

    /// The keyboard goes where the list is narrowed by typing.
    void openFilter();

    QuickFilterBar &filter() const { return *m_filter; }

signals:
    void emptyButtonClicked();

protected:
    void focusInEvent(QFocusEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void createBar(const MainActions &actions, QMenu *viewMenu);
    void arrange();
    void show(QWidget *page);
    using QWidget::show;
    void updateEmptyState();
    void describeEmptyGroup();
    bool isFilteredAway() const;
    QString filterInWords() const;

    QString m_title;
    QToolBar *m_tools;
    AskingBar *m_bar;
    MessageList *m_list;
    QuickFilterBar *m_filter;
    EmptyState *m_empty;
    QStackedLayout *m_stack;
};
